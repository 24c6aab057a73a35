#include <scheduler/Utf8.h>

#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

namespace mesk::host {

std::int32_t nextCharacter(const std::string& text, std::size_t& at) {
  const std::size_t size = text.size();
  UChar32 character = 0;
// The macro is ICU's; its inner conversions are not ours to change.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
  U8_NEXT(text.data(), at, size, character);
#pragma GCC diagnostic pop
  return character < 0 ? -1 : character;
}

std::size_t countCharacters(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < text.size(); ++count) nextCharacter(text, at);
  return count;
}

std::size_t findBadUtf8(const std::string& text) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    if (nextCharacter(text, at) < 0) return begin;
  }
  return std::string::npos;
}

std::string inCapitals(const std::string& text) {
  std::string result;
  icu::UnicodeString::fromUTF8(text).toUpper(icu::Locale::getRoot()).toUTF8String(result);
  return result;
}

}  // namespace mesk::host
