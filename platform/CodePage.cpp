#include <platform/CodePage.h>

#include <langinfo.h>
#include <locale.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

// A conversion between two forms of UTF-8 is done here, character by character. Every other one goes
// through UTF-16, with ICU at the end or ends that are not UTF-8. In that UTF-16 whatever was no
// character in the source, and U+0000, which a text that ends at the first zero byte cannot hold
// outside UTF-8, stand as a surrogate without partner: no code page has it, so each target puts its
// own substitution character there.
namespace {

using namespace mesk;

constexpr char32_t kReplacement = 0xFFFD;
constexpr char16_t kNoCharacter = 0xDC00;

constexpr bool isSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }
constexpr bool isHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
constexpr bool isLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

constexpr char32_t joinSurrogates(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// ---- UTF-8 ----

struct Decoded {
  char32_t character;
  std::size_t bytes;  ///< at least 1
  bool valid;
};

constexpr Decoded malformed(std::size_t bytes) { return {kReplacement, bytes, false}; }

/// The first character of the `left` (at least 1) bytes at `at`. A malformed sequence ends before the
/// first byte that cannot continue it.
Decoded decodeUtf8(const unsigned char* at, std::size_t left, bool java) {
  const unsigned char first = at[0];
  if (first < 0x80) return {first, 1, true};
  if (first == 0xC0 && left >= 2 && at[1] == 0x80) return {0, 2, true};

  std::size_t length;
  char32_t character;
  unsigned char lowest = 0x80;
  unsigned char highest = 0xBF;
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
    character = first & 0x1Fu;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    character = first & 0x0Fu;
    if (first == 0xE0) lowest = 0xA0;
    if (first == 0xED && !java) highest = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4 && !java) {
    length = 4;
    character = first & 0x07u;
    if (first == 0xF0) lowest = 0x90;
    if (first == 0xF4) highest = 0x8F;
  } else {
    return malformed(1);
  }
  for (std::size_t i = 1; i < length; ++i) {
    if (i == left || at[i] < lowest || at[i] > highest) return malformed(i);
    character = (character << 6) | (at[i] & 0x3Fu);
    lowest = 0x80;
    highest = 0xBF;
  }
  if (!isSurrogate(character)) return {character, length, true};

  // Java's form only: two surrogates make one character.
  if (isHighSurrogate(character) && left >= 6) {
    if (at[3] == 0xED && at[4] >= 0xB0 && at[4] <= 0xBF && at[5] >= 0x80 && at[5] <= 0xBF) {
      const char32_t low = 0xD000u | ((at[4] & 0x3Fu) << 6) | (at[5] & 0x3Fu);
      return {joinSurrogates(character, low), 6, true};
    }
  }
  return malformed(3);
}

constexpr std::size_t kLongestCharacter = 6;

/// Writes `character` to `out` and answers the number of bytes.
std::size_t encodeUtf8(char32_t character, bool java, char* out) {
  const auto byte = [](char32_t value) { return static_cast<char>(static_cast<unsigned char>(value)); };
  const auto three = [&](char32_t value, char* at) {
    at[0] = byte(0xE0 | (value >> 12));
    at[1] = byte(0x80 | ((value >> 6) & 0x3F));
    at[2] = byte(0x80 | (value & 0x3F));
  };
  if (character != 0 && character < 0x80) {
    out[0] = byte(character);
    return 1;
  }
  if (character < 0x800) {  // U+0000 too: as one zero byte it would end the text
    out[0] = byte(0xC0 | (character >> 6));
    out[1] = byte(0x80 | (character & 0x3F));
    return 2;
  }
  if (character < 0x10000) {
    three(character, out);
    return 3;
  }
  if (java) {
    three(0xD800 + ((character - 0x10000) >> 10), out);
    three(0xDC00 + (character & 0x3FF), out + 3);
    return 6;
  }
  out[0] = byte(0xF0 | (character >> 18));
  out[1] = byte(0x80 | ((character >> 12) & 0x3F));
  out[2] = byte(0x80 | ((character >> 6) & 0x3F));
  out[3] = byte(0x80 | (character & 0x3F));
  return 4;
}

// ---- Target ----

/// The target of a conversion: takes whole characters while there is room for them and the zero byte.
class Target {
 public:
  Target(char* bytes, std::uint32_t capacity)
      : bytes_(bytes), hasEnd_(capacity != 0), room_(hasEnd_ ? capacity - 1 : 0), truncated_(!hasEnd_) {}

  /// Bytes that still fit before the zero byte.
  std::size_t room() const { return room_ - written_; }
  bool truncated() const { return truncated_; }

  /// Writes one character, or cuts the text there and answers false.
  bool put(const char* character, std::size_t length) {
    if (length > room()) truncated_ = true;
    if (truncated_) return false;
    write(character, length);
    return true;
  }

  /// Writes `length` bytes, which must fit.
  void write(const char* bytes, std::size_t length) {
    if (length != 0) std::memcpy(bytes_ + written_, bytes, length);
    written_ += length;
  }

  void cut() { truncated_ = true; }

  /// Ends the text and answers its length in bytes, the zero byte included.
  std::uint32_t finish() {
    if (!hasEnd_) return 0;
    bytes_[written_] = '\0';
    return static_cast<std::uint32_t>(written_ + 1);
  }

 private:
  char* bytes_;
  bool hasEnd_;
  std::size_t room_;
  std::size_t written_ = 0;
  bool truncated_;
};

// ---- ICU ----

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};

/// A converter of ICU, with its callbacks set so that nothing is dropped and every substitution is noticed.
struct Converter {
  std::unique_ptr<UConverter, CloseConverter> icu;
  bool substituted = false;
};

bool isFault(UConverterCallbackReason reason) { return reason <= UCNV_IRREGULAR; }

void substituteToUnicode(const void* context, UConverterToUnicodeArgs* arguments, const char*, std::int32_t,
                         UConverterCallbackReason reason, UErrorCode* error) {
  if (!isFault(reason)) return;
  static_cast<Converter*>(const_cast<void*>(context))->substituted = true;
  *error = U_ZERO_ERROR;
  ucnv_cbToUWriteUChars(arguments, &kNoCharacter, 1, 0, error);
}

void substituteFromUnicode(const void* context, UConverterFromUnicodeArgs* arguments, const UChar*, std::int32_t,
                           UChar32, UConverterCallbackReason reason, UErrorCode* error) {
  if (!isFault(reason)) return;
  static_cast<Converter*>(const_cast<void*>(context))->substituted = true;
  *error = U_ZERO_ERROR;
  ucnv_cbFromUWriteSub(arguments, 0, error);
}

/// Numbers whose plain "ibm-<number>" is not what texts of today are written in, or is no name at all.
struct NamedCodePage {
  std::uint32_t number;
  const char* name;
};
constexpr std::array kNamedCodePages = {
    NamedCodePage{367, "US-ASCII"},    NamedCodePage{819, "ISO-8859-1"},        NamedCodePage{932, "windows-31j"},
    NamedCodePage{936, "windows-936"}, NamedCodePage{943, "ibm-943_P15A-2003"}, NamedCodePage{950, "windows-950"},
    NamedCodePage{1383, "ibm-1383"},   NamedCodePage{1386, "ibm-1386"},         NamedCodePage{1392, "gb18030"},
    NamedCodePage{5488, "gb18030"},
};

UConverter* openByName(const std::string& name) {
  UErrorCode error = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name.c_str(), &error);
  return U_SUCCESS(error) ? converter : nullptr;
}

UConverter* openByNumber(std::uint32_t number) {
  for (const NamedCodePage& named : kNamedCodePages) {
    if (named.number == number) return openByName(named.name);
  }
  const std::string digits = std::to_string(number);
  // "ibm-125x" are these code pages as they were before the euro.
  const bool ofWindows = number >= 1250 && number <= 1258;
  const std::array<const char*, 3> prefixes =
      ofWindows ? std::array{"windows-", "cp", "ibm-"} : std::array{"ibm-", "windows-", "cp"};
  for (const char* prefix : prefixes) {
    if (UConverter* converter = openByName(prefix + digits)) return converter;
  }
  return nullptr;
}

std::unique_ptr<Converter> makeConverter(std::uint32_t codePage) {
  auto converter = std::make_unique<Converter>();
  converter->icu.reset(openByNumber(codePage));
  UConverter* icu = converter->icu.get();
  // Characters of two bytes and more have zero bytes in them, which end a text here.
  if (icu == nullptr || ucnv_getMinCharSize(icu) > 1) return nullptr;

  UErrorCode error = U_ZERO_ERROR;
  ucnv_setToUCallBack(icu, substituteToUnicode, converter.get(), nullptr, nullptr, &error);
  ucnv_setFromUCallBack(icu, substituteFromUnicode, converter.get(), nullptr, nullptr, &error);
  return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

/// The calling thread's converter of a code page, or null; opening one is slow, and one serves one thread.
Converter* converterFor(std::uint32_t codePage) {
  thread_local std::unordered_map<std::uint32_t, std::unique_ptr<Converter>> converters;
  const auto found = converters.find(codePage);
  if (found != converters.end()) return found->second.get();
  return converters.emplace(codePage, makeConverter(codePage)).first->second.get();
}

// ---- Conversions ----

bool utf8ToUtf8(std::string_view source, std::uint32_t flags, Target& target) {
  const bool fromJava = (flags & kSourceIsJava) != 0;
  const bool toJava = (flags & kTargetIsJava) != 0;
  bool substituted = false;
  const auto* at = reinterpret_cast<const unsigned char*>(source.data());
  const unsigned char* const end = at + source.size();
  while (at != end) {
    const unsigned char* plain = at;
    while (plain != end && *plain != 0 && *plain < 0x80) ++plain;
    if (plain != at) {
      const auto run = static_cast<std::size_t>(plain - at);
      const std::size_t fits = std::min(run, target.room());
      target.write(reinterpret_cast<const char*>(at), fits);
      if (fits != run) {
        target.cut();
        break;
      }
      at = plain;
      continue;
    }
    const Decoded decoded = decodeUtf8(at, static_cast<std::size_t>(end - at), fromJava);
    char bytes[kLongestCharacter];
    if (!target.put(bytes, encodeUtf8(decoded.character, toJava, bytes))) break;
    substituted |= !decoded.valid;
    at += decoded.bytes;
  }
  return substituted;
}

/// What a conversion writes down in between. It may be a password, so nothing of it stays in memory.
template <class Characters>
class Wiped {
 public:
  Wiped() = default;
  ~Wiped() { wipe(); }
  Wiped(const Wiped&) = delete;
  Wiped& operator=(const Wiped&) = delete;

  Characters& get() { return characters_; }

  /// Emptied, with room for `count`.
  Characters& withRoom(std::size_t count) {
    wipe();
    characters_.clear();
    characters_.reserve(count);
    return characters_;
  }

 private:
  void wipe() { explicit_bzero(characters_.data(), characters_.capacity() * sizeof(typename Characters::value_type)); }

  Characters characters_;
};

bool utf8ToPivot(std::string_view source, bool java, Wiped<std::u16string>& wiped) {
  bool substituted = false;
  std::u16string& pivot = wiped.withRoom(source.size());
  const auto* at = reinterpret_cast<const unsigned char*>(source.data());
  const unsigned char* const end = at + source.size();
  while (at != end) {
    const Decoded decoded = decodeUtf8(at, static_cast<std::size_t>(end - at), java);
    at += decoded.bytes;
    if (!decoded.valid) {
      substituted = true;
      pivot += kNoCharacter;
    } else if (decoded.character < 0x10000) {
      pivot += static_cast<char16_t>(decoded.character);
    } else {
      pivot += static_cast<char16_t>(0xD800 + ((decoded.character - 0x10000) >> 10));
      pivot += static_cast<char16_t>(0xDC00 + (decoded.character & 0x3FF));
    }
  }
  return substituted;
}

bool codePageToPivot(Converter& converter, std::string_view source, Wiped<std::u16string>& wiped) {
  converter.substituted = false;
  UErrorCode error = U_ZERO_ERROR;
  std::u16string& pivot = wiped.withRoom(source.size());
  pivot.resize(source.size());
  const auto convert = [&] {
    error = U_ZERO_ERROR;
    return ucnv_toUChars(converter.icu.get(), pivot.data(), static_cast<std::int32_t>(pivot.size()), source.data(),
                         static_cast<std::int32_t>(source.size()), &error);
  };
  std::int32_t length = convert();
  if (error == U_BUFFER_OVERFLOW_ERROR) {
    wiped.withRoom(static_cast<std::size_t>(length)).resize(static_cast<std::size_t>(length));
    length = convert();
  }
  pivot.resize(static_cast<std::size_t>(length));
  return converter.substituted;
}

bool pivotToUtf8(const std::u16string& pivot, bool java, Target& target) {
  for (std::size_t i = 0; i < pivot.size(); ++i) {
    char32_t character = pivot[i];
    if (isHighSurrogate(character) && i + 1 < pivot.size() && isLowSurrogate(pivot[i + 1])) {
      character = joinSurrogates(character, pivot[++i]);
    } else if (isSurrogate(character)) {
      character = kReplacement;
    }
    char bytes[kLongestCharacter];
    if (!target.put(bytes, encodeUtf8(character, java, bytes))) break;
  }
  return false;
}

/// Converts the first `units` of `pivot` and answers the bytes that this needs.
std::size_t encode(Converter& converter, const std::u16string& pivot, std::size_t units, std::string& bytes) {
  UErrorCode error = U_ZERO_ERROR;
  return static_cast<std::size_t>(ucnv_fromUChars(converter.icu.get(), bytes.data(),
                                                  static_cast<std::int32_t>(bytes.size()), pivot.data(),
                                                  static_cast<std::int32_t>(units), &error));
}

bool pivotToCodePage(Converter& converter, std::u16string& pivot, Target& target) {
  std::replace(pivot.begin(), pivot.end(), u'\0', kNoCharacter);
  converter.substituted = false;
  Wiped<std::string> wiped;
  std::string& bytes = wiped.withRoom(target.room());
  bytes.resize(target.room());
  std::size_t length = encode(converter, pivot, pivot.size(), bytes);
  if (length > bytes.size()) {
    // Find the longest beginning that fits. It is converted as a text of its own, because in some code
    // pages a text must end in the state in which it began.
    target.cut();
    std::size_t fits = 0;
    std::size_t tooMany = pivot.size();
    while (tooMany - fits > 1) {
      const std::size_t middle = fits + (tooMany - fits) / 2;
      (encode(converter, pivot, middle, bytes) <= bytes.size() ? fits : tooMany) = middle;
    }
    if (fits != 0 && isHighSurrogate(pivot[fits - 1])) --fits;
    length = encode(converter, pivot, fits, bytes);
  }
  target.write(bytes.data(), length);
  return converter.substituted;
}

std::uint32_t convert(CodePageConversion& conversion) {
  const bool fromUtf8 = conversion.sourceCodePage == kUtf8CodePage;
  const bool toUtf8 = conversion.targetCodePage == kUtf8CodePage;
  Converter* const from = fromUtf8 ? nullptr : converterFor(conversion.sourceCodePage);
  Converter* const to = toUtf8 ? nullptr : converterFor(conversion.targetCodePage);
  conversion.targetLength = 0;
  if ((!fromUtf8 && from == nullptr) || (!toUtf8 && to == nullptr)) return kCodePageUnusable;

  // ICU counts in 32-bit signed integers, and a byte may become three.
  constexpr std::uint32_t kLongestText = 0x20000000;
  if ((!fromUtf8 || !toUtf8) && conversion.sourceLength > kLongestText) return kCodePageUnusable;

  std::string_view source(conversion.source, conversion.sourceLength);
  if (!source.empty() && source.back() == '\0') source.remove_suffix(1);
  Target target(conversion.target, conversion.targetCapacity);
  bool substituted = false;
  if (fromUtf8 && toUtf8) {
    substituted = utf8ToUtf8(source, conversion.flags, target);
  } else {
    Wiped<std::u16string> wiped;
    substituted = fromUtf8 ? utf8ToPivot(source, (conversion.flags & kSourceIsJava) != 0, wiped)
                           : codePageToPivot(*from, source, wiped);
    std::u16string& pivot = wiped.get();
    substituted |= toUtf8 ? pivotToUtf8(pivot, (conversion.flags & kTargetIsJava) != 0, target)
                          : pivotToCodePage(*to, pivot, target);
  }
  conversion.targetLength = target.finish();
  if (target.truncated()) return kCodePageTruncated;
  return substituted ? kCodePageSubstituted : kCodePageOk;
}

// ---- The code page of the process ----

/// Codesets of locales whose number ICU does not know, or for which it knows one that nobody uses.
struct NumberedCodeset {
  const char* name;
  std::uint32_t number;
};
constexpr std::array kNumberedCodesets = {
    NumberedCodeset{"BIG5", 950},    NumberedCodeset{"EUC-JP", 954},  NumberedCodeset{"EUC-KR", 970},
    NumberedCodeset{"GB2312", 1383}, NumberedCodeset{"GBK", 1386},    NumberedCodeset{"GB18030", 5488},
    NumberedCodeset{"CP1250", 1250}, NumberedCodeset{"CP1251", 1251}, NumberedCodeset{"CP1252", 1252},
    NumberedCodeset{"CP1253", 1253}, NumberedCodeset{"CP1254", 1254}, NumberedCodeset{"CP1255", 1255},
    NumberedCodeset{"CP1256", 1256}, NumberedCodeset{"CP1257", 1257}, NumberedCodeset{"CP1258", 1258},
};

std::uint32_t numberOf(const std::string& codeset) {
  // Plain ASCII says nothing about bytes above 127. UTF-8 agrees with it below and can express any text.
  if (codeset.empty() || codeset == "ANSI_X3.4-1968" || codeset == "US-ASCII") return kUtf8CodePage;

  for (const NumberedCodeset& numbered : kNumberedCodesets) {
    if (codeset == numbered.name) return numbered.number;
  }
  const std::unique_ptr<UConverter, CloseConverter> converter(openByName(codeset));
  if (converter == nullptr) return kUtf8CodePage;
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t number = ucnv_getCCSID(converter.get(), &error);
  if (U_FAILURE(error) || number <= 0) return kUtf8CodePage;
  const auto codePage = static_cast<std::uint32_t>(number);
  return codePage == kUtf8CodePage || converterFor(codePage) != nullptr ? codePage : kUtf8CodePage;
}

std::uint32_t codePageOfLocale() {
  // The locale of the environment is looked at without becoming that of the process.
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (locale == nullptr) return kUtf8CodePage;
  const std::string codeset = nl_langinfo_l(CODESET, locale);
  freelocale(locale);
  return numberOf(codeset);
}

std::atomic<std::uint32_t> givenCodePage{0};

}  // namespace

std::uint32_t sqlogetcpcc() {
  const std::uint32_t given = givenCodePage.load(std::memory_order_relaxed);
  if (given != 0) return given;
  static const std::uint32_t codePage = codePageOfLocale();
  return codePage;
}

std::uint32_t sqlocpcv(CodePageConversion* conversion) { return convert(*conversion); }

namespace mesk {

void setProcessCodePage(std::uint32_t codePage) { givenCodePage.store(codePage, std::memory_order_relaxed); }

}  // namespace mesk
