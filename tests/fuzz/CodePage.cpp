// Conversion between code pages: whatever the bytes, the pages and the room are.
#include <platform/CodePage.h>

#include <algorithm>
#include <memory>
#include <string>

#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

constexpr char kUntouched = '\x55';

struct Case {
  PageOfText from;
  PageOfText to;
  std::uint32_t flags;
  std::uint32_t room;
  std::string source;

  bool toJava() const { return (flags & kTargetIsJava) != 0; }
  bool fromJava() const { return (flags & kSourceIsJava) != 0; }
};

/// A conversion into exactly the room of the case, where the address sanitizer watches its end.
Converted converted(const Case& c) {
  const std::unique_ptr<char[]> target(new char[c.room]);
  std::fill_n(target.get(), c.room, kUntouched);
  CodePageConversion conversion{
      c.from.number, c.to.number, c.flags, c.source.data(), static_cast<std::uint32_t>(c.source.size()),
      target.get(),  c.room,      0};
  const std::uint32_t result = sqlocpcv(&conversion);
  if (conversion.targetLength != 0 && planted("the zero byte at the end is lost")) {
    target[conversion.targetLength - 1] = 'x';
  }

  if (result == kCodePageUnusable || c.room == 0) {
    claim(conversion.targetLength == 0, "nothing was written, and yet there is a length");
    claim(std::all_of(target.get(), target.get() + c.room, [](char byte) { return byte == kUntouched; }),
          "an unusable code page changed the target");
    return {result, {}};
  }
  claim(conversion.targetLength >= 1 && conversion.targetLength <= c.room, "the length is not within the room");
  claim(target[conversion.targetLength - 1] == '\0', "the text does not end with a zero byte");
  std::string text(target.get(), conversion.targetLength - 1);
  claim(text.find('\0') == std::string::npos, "the text has a zero byte within");
  return {result, text};
}

/// In one form of UTF-8, whatever page the bytes are of.
std::string seen(const std::string& text, std::uint32_t page, bool java) {
  const std::uint32_t flags = java ? kSourceIsJava : 0U;
  return convertedWhole(text, page, kUtf8CodePage, flags).text;
}

void claimCut(const Case& c, const Converted& cut, const Converted& whole) {
  const bool fits = whole.text.size() < c.room;
  claim((cut.result == kCodePageTruncated) == !fits, "cut, though it fits, or the other way round");
  if (fits) {
    claim(cut.result == whole.result && cut.text == whole.text, "the room decides what a text becomes that fits");
    return;
  }
  std::string beginning = seen(cut.text, c.to.number, c.toJava());
  if (planted("a text is cut within a character")) beginning += '\x80';
  const std::string all = seen(whole.text, c.to.number, c.toJava());
  claim(all.starts_with(beginning), "a cut text is no beginning of the whole one");
}

void claimWhole(const Case& c, Converted whole) {
  if (planted("a substitution is kept secret") && whole.result == kCodePageSubstituted) whole.result = kCodePageOk;
  if (planted("a character is changed") && !whole.text.empty()) whole.text.front() = '#';
  if (c.to.number == kUtf8CodePage) {
    claim(decode(whole.text, c.toJava()).has_value(), "the target is not UTF-8 of the form that was asked for");
  }
  std::string source = c.source;
  if (!source.empty() && source.back() == '\0') source.pop_back();

  if (c.from.number == kUtf8CodePage && source.find('\0') == std::string::npos) {
    const auto characters = decode(source, c.fromJava());
    claim(characters.has_value() || whole.result == kCodePageSubstituted, "malformed bytes were taken for a text");
    if (characters && c.to.number == kUtf8CodePage) {
      claim(whole.result == kCodePageOk && whole.text == encode(*characters, c.toJava()),
            "another text than by the definition of UTF-8");
    }
    if (characters && whole.result == kCodePageOk && c.to.exact) {
      claim(seen(whole.text, c.to.number, c.toJava()) == encode(*characters, false), "the text does not come back");
    }
  }
}

}  // namespace

void run(Bytes& input) {
  Case c{};
  c.from = input.oneOf(kPages);
  c.to = input.oneOf(kPages);
  c.flags = input.number<std::uint8_t>() & (kSourceIsJava | kTargetIsJava);
  c.room = input.number<std::uint16_t>() % 600;
  c.source = input.rest();

  const Converted once = converted(c);
  const Converted again = converted(c);
  claim(once.result == again.result && once.text == again.text, "the same conversion twice differs");
  const bool usable = c.from.usable && c.to.usable;
  claim((once.result == kCodePageUnusable) == !usable, "unusable code pages were used, or the other way round");
  if (!usable) return;

  const Converted whole = convertedWhole(c.source, c.from.number, c.to.number, c.flags);
  claim(whole.result == kCodePageOk || whole.result == kCodePageSubstituted, "no room is enough");
  claimCut(c, once, whole);
  claimWhole(c, whole);
}

}  // namespace mesk::fuzz
