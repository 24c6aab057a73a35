// Texts between native code and Java, whatever the code page of the process and the bytes are.
#include <mesk/bridge/MDObject.h>

#include <cstring>
#include <memory>
#include <string>

#include "FakeJava.h"
#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

std::string taken(char* text) {
  const std::string copy(text);
  ::operator delete(text);
  return copy;
}

/// A native text of one's own memory, so that the address sanitizer watches its end.
jstring toJava(ThreadContext& ctx, const std::string& native) {
  const std::unique_ptr<char[]> text(new char[native.size() + 1]);
  std::memcpy(text.get(), native.c_str(), native.size() + 1);
  return MDObject::stringTojString(ctx, text.get());
}

void nativeToJava(FakeJava& java, ThreadContext& ctx, const PageOfText& page, const std::string& native) {
  const jstring string = toJava(ctx, native);
  claim((string == nullptr) == (native.empty() || !page.usable), "null for a text, or a string for none");
  if (string == nullptr) return;
  std::string text = java.textOf(string);
  if (planted("the last character is lost on the way to Java")) text.pop_back();

  // The work buffer holds three bytes for each of the text's, the zero byte included.
  const Converted whole = convertedWhole(native, page.number, kUtf8CodePage, kTargetIsJava);
  const bool fits = whole.text.size() < native.size() * 3;
  claim(fits ? text == whole.text : whole.text.starts_with(text) && text.size() + 6 >= native.size() * 3,
        "Java got another text");

  const auto characters = decode(native, false);
  if (page.number == kUtf8CodePage && characters) {
    claim(text == encode(*characters, true), "Java got another text than by the definition of UTF-8");
    claim(taken(MDObject::jStringToString(ctx, string)) == native, "the text does not come back from Java");
  } else {
    ctx.env->DeleteLocalRef(string);
  }
}

void javaToNative(FakeJava& java, ThreadContext& ctx, const PageOfText& page, const std::u32string& characters) {
  const std::string given = encode(characters, true);
  char* const native = MDObject::jStringToString(ctx, java.newString(given));
  claim((native == nullptr) == characters.empty(), "null for a text, or a text for none");
  if (native == nullptr) return;
  std::string text = taken(native);
  claim(text.size() <= given.size(), "the text is longer than its memory");
  if (planted("the last byte is lost on the way from Java") && !text.empty()) text.pop_back();
  if (!page.usable) {
    claim(text.empty(), "a text in a code page that there is not");
    return;
  }

  const Converted whole = convertedWhole(given, kUtf8CodePage, page.number, kSourceIsJava);
  if (whole.text.size() <= given.size()) {
    claim(text == whole.text, "another text came from Java");
  } else {
    // Cut: the beginning of it, which ends in the state in which texts end.
    const std::string beginning = convertedWhole(text, page.number, kUtf8CodePage, 0).text;
    const std::string all = convertedWhole(whole.text, page.number, kUtf8CodePage, 0).text;
    claim(all.starts_with(beginning), "what was cut is no beginning of the text");
  }
  if (page.number != kUtf8CodePage || !decode(given, true)) return;
  const jstring back = toJava(ctx, text);
  claim(java.textOf(back) == given, "the text does not come back from native code");
  ctx.env->DeleteLocalRef(back);
}

/// Characters as UTF-16 would hold them, halves of pairs without partner included.
std::u32string charactersOf(const std::string& bytes) {
  std::u32string characters;
  Bytes input(bytes.data(), bytes.size());
  while (!input.empty()) {
    const std::uint32_t wide = input.number<std::uint32_t>();
    constexpr std::uint32_t kEnds[] = {0x80, 0x800, 0x10000, 0x110000};
    const std::uint32_t character = (wide >> 8) % kEnds[wide & 3];
    const bool isLow = character >= 0xDC00 && character < 0xE000;
    // Two halves that meet would be a pair.
    if (isLow && !characters.empty() && characters.back() >= 0xD800 && characters.back() < 0xDC00) continue;
    characters += character;
  }
  return characters;
}

}  // namespace

void run(Bytes& input) {
  const PageOfText& page = input.oneOf(kPages);
  const bool fromJava = input.flag();
  std::string bytes = input.rest();
  // 0 would be the locale's.
  setProcessCodePage(page.number == 0 ? 1 : page.number);

  FakeJava java;
  ThreadContext ctx(java.env());
  if (fromJava) {
    javaToNative(java, ctx, page, charactersOf(bytes));
  } else {
    bytes.resize(std::strlen(bytes.c_str()));
    nativeToJava(java, ctx, page, bytes);
  }
  if (planted("a reference is left behind")) java.newString("");
  claim(java.locals() == 0 && java.globals() == 0, "a reference is left behind");
  java.claimGoodManners();
}

}  // namespace mesk::fuzz
