// UTF-8 and its Java form, written down a second time and plainly, and the code pages that the targets convert with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <platform/CodePage.h>

namespace mesk::fuzz {

struct PageOfText {
  std::uint32_t number;
  bool usable;
  bool exact;  ///< whatever converts to it without substitution comes back as it was
};

/// One byte a character, two, four; EBCDIC; with shifts between alphabets; none at all.
inline constexpr PageOfText kPages[] = {
    {kUtf8CodePage, true, true}, {819, true, true},  {1252, true, true},   {437, true, true},   {850, true, true},
    {1251, true, true},          {37, true, true},   {1047, true, true},   {930, true, false},  {943, true, false},
    {950, true, false},          {954, true, false}, {970, true, false},   {1386, true, false}, {5488, true, true},
    {1200, false, false},        {0, false, false},  {99999, false, false}};

/// The characters of `text`, or nothing when it is not UTF-8: by the table of well-formed sequences, with U+0000 as
/// C0 80. Java's form writes each half of a surrogate pair as a sequence of its own; halves without partner are
/// refused unless `halves`.
inline std::optional<std::u32string> decode(std::string_view text, bool java, bool halves = false) {
  std::u32string characters;
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = [&](std::size_t i) -> std::uint32_t {
      return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0;
    };
    const auto isNext = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const std::uint32_t first = byte(0);
    std::uint32_t character = 0;
    std::size_t length = 1;
    if (first < 0x80) {
      if (first == 0) return std::nullopt;
      character = first;
    } else if (first < 0xE0) {
      length = 2;
      if (!isNext(1)) return std::nullopt;
      character = (first & 0x1F) << 6 | (byte(1) & 0x3F);
      if (first < 0xC0 || (character < 0x80 && character != 0)) return std::nullopt;
    } else if (first < 0xF0) {
      length = 3;
      if (!isNext(1) || !isNext(2)) return std::nullopt;
      character = (first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
      if (character < 0x800) return std::nullopt;
      if (character >= 0xD800 && character < 0xE000 && !java) return std::nullopt;
    } else {
      length = 4;
      if (java || !isNext(1) || !isNext(2) || !isNext(3)) return std::nullopt;
      character = (first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
      if (first > 0xF7 || character < 0x10000 || character > 0x10FFFF) return std::nullopt;
    }
    at += length;
    const bool isLow = character >= 0xDC00 && character < 0xE000;
    const bool afterHigh = !characters.empty() && characters.back() >= 0xD800 && characters.back() < 0xDC00;
    if (isLow && afterHigh) {
      characters.back() = 0x10000 + ((characters.back() - 0xD800) << 10) + (character - 0xDC00);
    } else {
      characters += character;
    }
  }
  for (const char32_t character : characters) {
    if (!halves && character >= 0xD800 && character < 0xE000) return std::nullopt;
  }
  return characters;
}

inline std::string encode(std::u32string_view characters, bool java) {
  std::string text;
  const auto put = [&text](std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
  const auto three = [&](std::uint32_t c) {
    put(0xE0 | c >> 12);
    put(0x80 | (c >> 6 & 0x3F));
    put(0x80 | (c & 0x3F));
  };
  for (const char32_t character : characters) {
    const std::uint32_t c = character;
    if (c != 0 && c < 0x80) {
      put(c);
    } else if (c < 0x800) {
      put(0xC0 | c >> 6);
      put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      three(c);
    } else if (java) {
      three(0xD800 + ((c - 0x10000) >> 10));
      three(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      put(0xF0 | c >> 18);
      put(0x80 | (c >> 12 & 0x3F));
      put(0x80 | (c >> 6 & 0x3F));
      put(0x80 | (c & 0x3F));
    }
  }
  return text;
}

/// What a conversion gave.
struct Converted {
  std::uint32_t result;
  std::string text;  ///< without its zero byte
};

/// Converts with room for whatever comes out.
inline Converted convertedWhole(std::string_view source, std::uint32_t from, std::uint32_t to, std::uint32_t flags) {
  std::string target(source.size() * 16 + 32, '\x55');
  CodePageConversion conversion{from,          to, flags, source.data(), static_cast<std::uint32_t>(source.size()),
                                target.data(), 0,  0};
  conversion.targetCapacity = static_cast<std::uint32_t>(target.size());
  const std::uint32_t result = sqlocpcv(&conversion);
  target.resize(conversion.targetLength == 0 ? 0 : conversion.targetLength - 1);
  return {result, target};
}

}  // namespace mesk::fuzz
