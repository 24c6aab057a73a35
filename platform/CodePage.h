// Conversion between code pages.
//
// Java's form of UTF-8 writes U+0000 as C0 80 and a character above U+FFFF as two surrogates of
// three bytes each; the flags say which side of a conversion speaks it.
#pragma once

#include <cstdint>

#include <platform/Export.h>

namespace mesk {

enum CodePage : std::uint32_t { kUtf8CodePage = 1208 };

enum CodePageFlags : std::uint32_t {
  kSourceIsJava = 1,  ///< the source is Java's form of UTF-8
  kTargetIsJava = 2,  ///< the target is Java's form of UTF-8
};

enum CodePageResult : std::uint32_t {
  kCodePageOk = 0,
  kCodePageTruncated = 0x800F0055,    ///< cut between characters for lack of room
  kCodePageSubstituted = 0x800F0058,  ///< something had no counterpart and became the substitution character
  kCodePageUnusable = 0x800F005B,     ///< one of the code pages is unknown; nothing was written
};

}  // namespace mesk

extern "C" {

/// One conversion. Lengths are in bytes and count the terminating zero where there is one.
struct CodePageConversion {
  std::uint32_t sourceCodePage;
  std::uint32_t targetCodePage;
  std::uint32_t flags;
  const char* source;
  std::uint32_t sourceLength;
  char* target;
  std::uint32_t targetCapacity;
  std::uint32_t targetLength;  ///< out: bytes written
};

/// The code page of the process, from its locale.
MESK_PLATFORM_API std::uint32_t sqlogetcpcc();

/// Converts; answers a `mesk::CodePageResult`. A zero byte at the end of the source is its terminator.
/// When the room does not suffice, the text is cut between characters and still ends with a zero byte;
/// only a capacity of 0 leaves the target untouched. What the target cannot express becomes its
/// substitution character (U+FFFD in UTF-8); so does a lone surrogate and each malformed sequence. A
/// text that is both cut and substituted answers `kCodePageTruncated`. U+0000 is C0 80 in UTF-8 of
/// either form, and has no counterpart in other code pages, where a zero byte ends the text. Code pages
/// whose characters have zero bytes in them (UTF-16 and its like) cannot be used. Any thread.
MESK_PLATFORM_API std::uint32_t sqlocpcv(CodePageConversion* conversion);

}  // extern "C"

namespace mesk {

/// Makes `codePage` the code page of the process; 0 goes back to the locale's. For hosts and tests
/// that know better than the locale, before the first conversion of another thread.
MESK_PLATFORM_API void setProcessCodePage(std::uint32_t codePage);

}  // namespace mesk
