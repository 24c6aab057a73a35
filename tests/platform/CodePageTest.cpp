#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unicode/ucnv.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <platform/CodePage.h>
#include "Support.h"

namespace {

using namespace mesk;
using namespace std::string_literals;

constexpr std::uint32_t kUtf8 = kUtf8CodePage;

struct Converted {
  std::uint32_t result;
  std::string text;  ///< without its terminating zero
};

/// Converts `text` (its terminator is added) into `capacity` bytes.
Converted convert(std::uint32_t from, std::uint32_t to, std::uint32_t flags, const std::string& text,
                  std::size_t capacity) {
  std::string target(capacity + 1, '\x7E');
  CodePageConversion conversion{from,
                                to,
                                flags,
                                text.c_str(),
                                static_cast<std::uint32_t>(text.size() + 1),
                                target.data(),
                                static_cast<std::uint32_t>(capacity),
                                0};
  const std::uint32_t result = sqlocpcv(&conversion);
  EXPECT_LE(conversion.targetLength, capacity);
  EXPECT_EQ(target[capacity], '\x7E') << "written beyond the capacity";
  if (conversion.targetLength == 0) return {result, ""};
  EXPECT_EQ(target[conversion.targetLength - 1], '\0');
  target.resize(conversion.targetLength - 1);
  return {result, target};
}

Converted convert(std::uint32_t from, std::uint32_t to, std::uint32_t flags, const std::string& text) {
  return convert(from, to, flags, text, text.size() * 6 + 16);
}

void appendByte(std::string& text, std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); }

// The two forms of UTF-8, written down once more and independently of the service.

void appendThree(std::string& text, std::uint32_t unit) {
  appendByte(text, 0xE0 + unit / 0x1000);
  appendByte(text, 0x80 + unit / 0x40 % 0x40);
  appendByte(text, 0x80 + unit % 0x40);
}

std::string utf8(std::uint32_t c, bool java) {
  std::string text;
  if (c == 0) {
    text = "\xC0\x80";
  } else if (c <= 0x7F) {
    appendByte(text, c);
  } else if (c <= 0x7FF) {
    appendByte(text, 0xC0 + c / 0x40);
    appendByte(text, 0x80 + c % 0x40);
  } else if (c <= 0xFFFF) {
    appendThree(text, c);
  } else if (java) {
    appendThree(text, 0xD800 + (c - 0x10000) / 0x400);
    appendThree(text, 0xDC00 + (c - 0x10000) % 0x400);
  } else {
    appendByte(text, 0xF0 + c / 0x40000);
    appendByte(text, 0x80 + c / 0x1000 % 0x40);
    appendByte(text, 0x80 + c / 0x40 % 0x40);
    appendByte(text, 0x80 + c % 0x40);
  }
  return text;
}

bool isSurrogate(std::uint32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

const std::string kReplacement = "\xEF\xBF\xBD";

// ---- UTF-8 and Java's form of it ----

TEST(CodePageTest, EveryScalarValueSurvivesJavasFormAndBack) {
  for (std::uint32_t c = 0; c <= 0x10FFFF; ++c) {
    if (isSurrogate(c)) continue;
    const Converted native = convert(kUtf8, kUtf8, kSourceIsJava, utf8(c, true));
    ASSERT_EQ(native.result, kCodePageOk) << std::hex << c;
    ASSERT_EQ(native.text, utf8(c, false)) << std::hex << c;
    const Converted java = convert(kUtf8, kUtf8, kTargetIsJava, native.text);
    ASSERT_EQ(java.result, kCodePageOk) << std::hex << c;
    ASSERT_EQ(java.text, utf8(c, true)) << std::hex << c;
  }
}

TEST(CodePageTest, EveryLoneSurrogateBecomesOneReplacementCharacter) {
  for (std::uint32_t c = 0xD800; c <= 0xDFFF; ++c) {
    std::string lone = "a";
    appendThree(lone, c);
    for (const char* after : {"", "b", "\xE2\x82\xAC"}) {
      const Converted native = convert(kUtf8, kUtf8, kSourceIsJava, lone + after);
      ASSERT_EQ(native.result, kCodePageSubstituted) << std::hex << c;
      ASSERT_EQ(native.text, "a" + kReplacement + after) << std::hex << c;
    }
  }
}

TEST(CodePageTest, SurrogatesInTheWrongOrderAreTwoReplacementCharacters) {
  std::string text;
  appendThree(text, 0xDC00);
  appendThree(text, 0xD800);
  EXPECT_EQ(convert(kUtf8, kUtf8, kSourceIsJava, text).text, kReplacement + kReplacement);
  text.clear();
  appendThree(text, 0xD83D);
  text += utf8(0x1F600, true);
  EXPECT_EQ(convert(kUtf8, kUtf8, kSourceIsJava, text).text, kReplacement + utf8(0x1F600, false));
}

TEST(CodePageTest, ZeroCharacterStaysTwoBytesBothWays) {
  const std::string text = "a\xC0\x80z";
  for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) {
    const Converted converted = convert(kUtf8, kUtf8, flags, text);
    EXPECT_EQ(converted.result, kCodePageOk);
    EXPECT_EQ(converted.text, text);
  }
  EXPECT_EQ(convert(kUtf8, kUtf8, kTargetIsJava, "a\0z"s).text, text);
}

TEST(CodePageTest, ZeroCharacterIsSubstitutedWhereItWouldEndTheText) {
  const Converted converted = convert(kUtf8, 819, kSourceIsJava, "a\xC0\x80z");
  EXPECT_EQ(converted.result, kCodePageSubstituted);
  EXPECT_EQ(converted.text, "a\x1Az");
}

TEST(CodePageTest, SourceWithoutATerminatorIsEndedAllTheSame) {
  char target[8];
  CodePageConversion conversion{kUtf8, kUtf8, 0, "abcdef", 3, target, sizeof target, 0};
  EXPECT_EQ(sqlocpcv(&conversion), kCodePageOk);
  EXPECT_EQ(conversion.targetLength, 4u);
  EXPECT_STREQ(target, "abc");
}

TEST(CodePageTest, EmptySourceIsAnEmptyText) {
  for (const std::uint32_t codePage : {kUtf8, 819u}) {
    char target[2] = {'x', 'x'};
    CodePageConversion conversion{codePage, codePage, 0, nullptr, 0, target, sizeof target, 99};
    EXPECT_EQ(sqlocpcv(&conversion), kCodePageOk);
    EXPECT_EQ(conversion.targetLength, 1u);
    EXPECT_STREQ(target, "");
  }
}

// ---- Code pages ----

struct NamedPage {
  std::uint32_t number;
  std::uint32_t atLeast;  ///< characters it has
};

class CodePagesTest : public testing::TestWithParam<NamedPage> {};

TEST_P(CodePagesTest, EveryCharacterOfTheCodePageRoundTrips) {
  const NamedPage page = GetParam();
  const bool hasAll = page.number == kUtf8 || page.number == 5488;
  const std::uint32_t last = hasAll ? 0x10FFFF : 0x2FFFF;  // beyond, no other code page has anything
  std::size_t characters = 0;
  for (std::uint32_t c = 1; c <= last; ++c) {
    if (isSurrogate(c)) continue;
    const std::string java = utf8(c, true);
    const Converted native = convert(kUtf8, page.number, kSourceIsJava, java);
    ASSERT_NE(native.result, kCodePageTruncated);
    if (native.result != kCodePageOk) continue;
    // Characters for private use that a code page lacks may stand for some other one there.
    const bool isPrivate = c >= 0xE000 && c <= 0xF8FF;
    if (isPrivate && !hasAll) continue;
    ++characters;
    const Converted back = convert(page.number, kUtf8, kTargetIsJava, native.text);
    ASSERT_EQ(back.result, kCodePageOk) << std::hex << c;
    ASSERT_EQ(back.text, java) << std::hex << c;
  }
  EXPECT_GE(characters, page.atLeast);
}

INSTANTIATE_TEST_SUITE_P(Named, CodePagesTest,
                         testing::Values(NamedPage{kUtf8, 0x10FFFF - 0x800}, NamedPage{819, 255}, NamedPage{1252, 250},
                                         NamedPage{932, 7000}, NamedPage{950, 13000}, NamedPage{1383, 6700},
                                         NamedPage{5488, 0x10FFFF - 0x800}),
                         [](const auto& test) { return std::to_string(test.param.number); });

TEST(CodePageTest, KnownBytesOfEachNamedCodePage) {
  struct Row {
    std::uint32_t codePage;
    const char* native;
    const char* utf8;
  };
  const Row rows[] = {
      {819, "caf\xE9", "caf\u00E9"},
      {1252, "\x80 \x93q\x94", "\u20AC \u201Cq\u201D"},
      {932, "\x93\xFA\x96{", "\u65E5\u672C"},
      {950, "\xA4\xA4\xA4\xE5", "\u4E2D\u6587"},
      {1383, "\xD6\xD0\xCE\xC4", "\u4E2D\u6587"},
      {5488, "\xD6\xD0\xCE\xC4 \x94\x39\xFC\x36", "\u4E2D\u6587 \U0001F600"},
      {850, "caf\x82", "caf\u00E9"},
      {1251, "\xCC\xE8\xF0", "\u041C\u0438\u0440"},
      {923, "\xA4", "\u20AC"},
      {954, "\xC6\xFC\xCB\xDC", "\u65E5\u672C"},
      {970, "\xC7\xD1", "\uD55C"},
      {367, "plain", "plain"},
  };
  for (const Row& row : rows) {
    const Converted to = convert(row.codePage, kUtf8, kTargetIsJava, row.native);
    const Converted from = convert(kUtf8, row.codePage, 0, row.utf8);
    EXPECT_EQ(to.result, kCodePageOk) << row.codePage;
    EXPECT_EQ(from.result, kCodePageOk) << row.codePage;
    EXPECT_EQ(from.text, row.native) << row.codePage;
    EXPECT_EQ(convert(kUtf8, kUtf8, kSourceIsJava, to.text).text, row.utf8) << row.codePage;
  }
}

TEST(CodePageTest, EveryByteOfSingleByteCodePagesRoundTrips) {
  for (const std::uint32_t codePage : {819u, 1252u}) {
    for (std::uint32_t byte = 1; byte <= 0xFF; ++byte) {
      std::string text;
      appendByte(text, byte);
      const Converted java = convert(codePage, kUtf8, kTargetIsJava, text);
      ASSERT_EQ(java.result, kCodePageOk) << codePage << ' ' << byte;
      ASSERT_EQ(convert(kUtf8, codePage, kSourceIsJava, java.text).text, text) << codePage << ' ' << byte;
    }
  }
}

TEST(CodePageTest, OneCodePageToAnother) {
  const Converted converted = convert(1252, 923, 0, "\x80 \xE9");
  EXPECT_EQ(converted.result, kCodePageOk);
  EXPECT_EQ(converted.text, "\xA4 \xE9");
}

TEST(CodePageTest, WhatTheTargetLacksBecomesItsSubstitutionCharacter) {
  // U+200B is one that converters like to drop.
  for (const char* missing : {"\u20AC", "\u65E5", "\U0001F600", "\u200B", "\u00AD\u200B"}) {
    const std::string text = "a"s + missing + "z";
    const Converted converted = convert(kUtf8, 819, 0, text);
    EXPECT_EQ(converted.result, kCodePageSubstituted) << missing;
    EXPECT_NE(converted.text.find('\x1A'), std::string::npos) << missing;
    EXPECT_EQ(converted.text.front(), 'a');
    EXPECT_EQ(converted.text.back(), 'z');
  }
}

TEST(CodePageTest, LoneSurrogateIsTheSubstitutionCharacterOfEveryTarget) {
  for (const std::uint32_t codePage : {819u, 1252u, 932u, 950u, 1383u, 5488u}) {
    const Converted converted = convert(kUtf8, codePage, kSourceIsJava, "a\xED\xA0\x80z");
    EXPECT_EQ(converted.result, kCodePageSubstituted) << codePage;
    EXPECT_GE(converted.text.size(), 3u) << codePage;
    EXPECT_EQ(converted.text.front(), 'a');
    EXPECT_EQ(converted.text.back(), 'z');
  }
}

TEST(CodePageTest, BytesThatAreNoCharacterBecomeTheReplacementCharacter) {
  const Converted converted = convert(932, kUtf8, kTargetIsJava, "a\x93");
  EXPECT_EQ(converted.result, kCodePageSubstituted);
  EXPECT_EQ(converted.text, "a" + kReplacement);
  EXPECT_EQ(convert(367, kUtf8, kTargetIsJava, "a\xE9z").text, "a" + kReplacement + "z");
}

TEST(CodePageTest, UnknownCodePagesAreUnusableAndNothingIsWritten) {
  const std::uint32_t rows[][2] = {{kUtf8, 99999}, {99999, kUtf8}, {99999, 99999}, {kUtf8, 0}, {819, 99999}};
  for (const auto& [from, to] : rows) {
    char target[4] = {'x', 'y', 'z', 'w'};
    CodePageConversion conversion{from, to, 0, "a", 2, target, sizeof target, 77};
    EXPECT_EQ(sqlocpcv(&conversion), kCodePageUnusable);
    EXPECT_EQ(conversion.targetLength, 0u);
    EXPECT_EQ(std::memcmp(target, "xyzw", 4), 0);
  }
}

TEST(CodePageTest, CodePagesWithZeroBytesInCharactersAreUnusable) {
  for (const std::uint32_t codePage : {1200u, 1202u, 13488u, 1232u}) {
    EXPECT_EQ(convert(kUtf8, codePage, 0, "a").result, kCodePageUnusable) << codePage;
  }
}

// ---- Room ----

struct Room {
  const char* name;
  std::uint32_t codePage;
  std::uint32_t flags;
};

class RoomTest : public testing::TestWithParam<Room> {};

// 930 changes its state within a text and must end in the state in which it began.
TEST_P(RoomTest, CutBetweenCharactersAtEveryLength) {
  const Room room = GetParam();
  const std::vector<std::uint32_t> characters = {'a', 0xE9, 0x65E5, 0x672C, 'b', 0x1F600, 0x4E2D, 'c', 0x20AC};
  std::vector<std::string> beginnings;  // of the converted text, after each character
  std::string source;
  for (std::size_t n = 0; n <= characters.size(); ++n) {
    beginnings.push_back(convert(kUtf8, room.codePage, room.flags, source).text);
    if (n < characters.size()) source += utf8(characters[n], false);
  }
  const std::string& whole = beginnings.back();
  const std::uint32_t wholeResult = convert(kUtf8, room.codePage, room.flags, source).result;
  for (std::size_t capacity = 0; capacity <= whole.size() + 3; ++capacity) {
    const Converted cut = convert(kUtf8, room.codePage, room.flags, source, capacity);
    if (capacity > whole.size()) {
      EXPECT_EQ(cut.result, wholeResult);
      EXPECT_EQ(cut.text, whole);
      continue;
    }
    EXPECT_EQ(cut.result, kCodePageTruncated) << capacity;
    std::string longest;
    for (const std::string& beginning : beginnings) {
      if (beginning.size() < capacity) longest = beginning;
    }
    EXPECT_EQ(cut.text, longest) << capacity;
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, RoomTest,
                         testing::Values(Room{"Utf8", kUtf8, 0}, Room{"Java", kUtf8, kTargetIsJava},
                                         Room{"Latin1", 819, 0}, Room{"Windows", 1252, 0}, Room{"Japanese", 932, 0},
                                         Room{"Chinese", 950, 0}, Room{"EucChinese", 1383, 0}, Room{"Gb18030", 5488, 0},
                                         Room{"ShiftStates", 930, 0}),
                         [](const auto& test) { return test.param.name; });

TEST(CodePageTest, NoRoomAtAllWritesNothing) {
  for (const std::uint32_t codePage : {kUtf8, 819u}) {
    char target[2] = {'x', 'y'};
    CodePageConversion conversion{kUtf8, codePage, 0, "a", 2, target, 0, 77};
    EXPECT_EQ(sqlocpcv(&conversion), kCodePageTruncated);
    EXPECT_EQ(conversion.targetLength, 0u);
    EXPECT_EQ(target[0], 'x');
  }
}

// ---- Malformed input ----

/// A page whose end nobody may cross: what is placed there ends where the forbidden page begins.
class Edge {
 public:
  Edge() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    void* pages = mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) throw std::runtime_error("mmap");
    start_ = static_cast<char*>(pages);
    if (mprotect(start_ + size_, size_, PROT_NONE) != 0) throw std::runtime_error("mprotect");
  }
  ~Edge() { munmap(start_, 2 * size_); }
  Edge(const Edge&) = delete;
  Edge& operator=(const Edge&) = delete;

  char* last(std::size_t bytes) { return start_ + size_ - bytes; }
  char* place(std::string_view bytes) {
    return static_cast<char*>(std::memcpy(last(bytes.size()), bytes.data(), bytes.size()));
  }

 private:
  std::size_t size_;
  char* start_;
};

/// Whether `text` is sound in the form, by its characters' own bytes.
bool isSound(std::string_view text, bool java) {
  while (!text.empty()) {
    const auto first = static_cast<unsigned char>(text[0]);
    bool found = false;
    // Decode by length, encode again: only the one right way to write a character gives the same bytes.
    for (const std::size_t length : {1u, 2u, 3u, 4u, 6u}) {
      if (length > text.size()) break;
      const auto at = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
      std::uint32_t c = 0;
      if (length == 1) c = first;
      if (length == 2) c = (at(0) % 0x20) * 0x40 + at(1) % 0x40;
      if (length == 3) c = (at(0) % 0x10) * 0x1000 + at(1) % 0x40 * 0x40 + at(2) % 0x40;
      if (length == 4) c = (at(0) % 8) * 0x40000 + at(1) % 0x40 * 0x1000 + at(2) % 0x40 * 0x40 + at(3) % 0x40;
      if (length == 6)
        c = 0x10000 + (at(1) % 0x10) * 0x10000 + at(2) % 0x40 * 0x400 + at(4) % 0x10 * 0x40 + at(5) % 0x40;
      if (c > 0x10FFFF || isSurrogate(c) || utf8(c, java) != text.substr(0, length)) continue;
      text.remove_prefix(length);
      found = true;
      break;
    }
    if (!found) return false;
  }
  return true;
}

TEST(CodePageTest, SoundnessCheckCanFail) {
  for (const char* bad : {"\x80", "\xC1\x81", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC3"}) {
    EXPECT_FALSE(isSound(bad, false)) << bad;
    EXPECT_FALSE(isSound(bad, true)) << bad;
  }
  EXPECT_TRUE(isSound(utf8(0x1F600, false), false));
  EXPECT_TRUE(isSound(utf8(0x1F600, true), true));
  EXPECT_FALSE(isSound(utf8(0x1F600, true), false));
}

class MalformedTest : public testing::Test {
 protected:
  /// Converts bytes at the edge of what may be read, into room at the edge of what may be written.
  std::string check(std::string_view bytes, std::uint32_t codePage, std::uint32_t flags, std::uint32_t capacity) {
    char* target = target_.last(capacity);
    CodePageConversion conversion{
        codePage, kUtf8, flags, source_.place(bytes), static_cast<std::uint32_t>(bytes.size()), target, capacity, 0};
    const std::uint32_t result = sqlocpcv(&conversion);
    EXPECT_TRUE(result == kCodePageOk || result == kCodePageSubstituted || result == kCodePageTruncated);
    if (conversion.targetLength == 0) return "";
    std::string text(target, conversion.targetLength - 1);
    EXPECT_EQ(target[text.size()], '\0');
    EXPECT_TRUE(isSound(text, (flags & kTargetIsJava) != 0)) << testing::PrintToString(bytes);
    return text;
  }

  void checkAll(std::string_view bytes) {
    for (const std::uint32_t flags : {0u, 1u, 2u, 3u}) check(bytes, kUtf8, flags, 32);
  }

  Edge source_;
  Edge target_;
};

TEST_F(MalformedTest, EveryTwoBytes) {
  for (std::uint32_t first = 0; first <= 0xFF; ++first) {
    std::string one;
    appendByte(one, first);
    checkAll(one);
    for (std::uint32_t second = 0; second <= 0xFF; ++second) {
      std::string two = one;
      appendByte(two, second);
      checkAll(two);
      if (HasFailure()) return;
    }
  }
}

const std::vector<std::uint32_t> kEdgeBytes = {0x01, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xAF, 0xB0, 0xBF, 0xC0,
                                               0xC1, 0xC2, 0xDF, 0xE0, 0xED, 0xEF, 0xF0, 0xF4, 0xF5, 0xFF};

TEST_F(MalformedTest, EveryThreeAndFourBytesThatBeginOrEndARange) {
  for (const std::uint32_t a : kEdgeBytes) {
    for (const std::uint32_t b : kEdgeBytes) {
      for (const std::uint32_t c : kEdgeBytes) {
        std::string three;
        for (const std::uint32_t byte : {a, b, c}) appendByte(three, byte);
        checkAll(three);
        for (const std::uint32_t d : kEdgeBytes) {
          std::string four = three;
          appendByte(four, d);
          check(four, kUtf8, kTargetIsJava, 32);
          check(four, kUtf8, kSourceIsJava, 32);
        }
        if (HasFailure()) return;
      }
    }
  }
}

TEST_F(MalformedTest, HalvesOfPairsInJavasFormEndAnywhere) {
  const std::string pair = utf8(0x1F600, true);
  for (std::size_t length = 1; length < pair.size(); ++length) {
    for (const std::uint32_t next : kEdgeBytes) {
      std::string text = pair.substr(0, length);
      checkAll(text);
      appendByte(text, next);
      checkAll(text);
    }
  }
}

TEST_F(MalformedTest, RandomBytesInEveryCodePageAndRoom) {
  std::mt19937_64 random(support::seed());
  for (int round = 0; round < 20000; ++round) {
    std::string bytes;
    const std::uint64_t length = random() % 24;
    for (std::uint64_t i = 0; i < length; ++i) {
      appendByte(bytes, random() % 3 != 0 ? kEdgeBytes[random() % kEdgeBytes.size()]
                                          : static_cast<std::uint32_t>(random() % 256));
    }
    const auto flags = static_cast<std::uint32_t>(random() % 4);
    const auto capacity = static_cast<std::uint32_t>(random() % 80);
    for (const std::uint32_t codePage : {kUtf8, 819u, 1252u, 932u, 950u, 1383u, 5488u}) {
      check(bytes, codePage, flags, capacity);
      // The other way, the room is what counts; reading back must not fail either.
      CodePageConversion conversion{kUtf8,
                                    codePage,
                                    flags & kSourceIsJava,
                                    source_.place(bytes),
                                    static_cast<std::uint32_t>(bytes.size()),
                                    target_.last(capacity),
                                    capacity,
                                    0};
      sqlocpcv(&conversion);
      ASSERT_LE(conversion.targetLength, capacity);
    }
    ASSERT_FALSE(HasFailure());
  }
}

/// What ICU makes of standard UTF-8: the same number of replacement characters at the same places is
/// what everybody else shows for the same broken text.
std::string byIcu(std::string_view bytes) {
  UErrorCode error = U_ZERO_ERROR;
  static UConverter* const converter = ucnv_open("UTF-8", &error);
  char16_t pivot[64];
  const std::int32_t length =
      ucnv_toUChars(converter, pivot, 64, bytes.data(), static_cast<std::int32_t>(bytes.size()), &error);
  char text[256];
  const std::int32_t out = ucnv_fromUChars(converter, text, sizeof text, pivot, length, &error);
  EXPECT_TRUE(U_SUCCESS(error));
  return {text, static_cast<std::size_t>(out)};
}

TEST_F(MalformedTest, ReplacementsStandWhereOthersPutThem) {
  std::mt19937_64 random(support::seed());
  for (int round = 0; round < 50000; ++round) {
    std::string bytes;
    for (std::uint64_t i = 1 + random() % 12; i != 0; --i) appendByte(bytes, kEdgeBytes[random() % kEdgeBytes.size()]);
    if (bytes.find("\xC0\x80") != std::string::npos) continue;  // U+0000, deliberately
    ASSERT_EQ(check(bytes, kUtf8, 0, 64), byIcu(bytes)) << testing::PrintToString(bytes);
  }
}

// ---- The process, threads ----

TEST(CodePageTest, ProcessCodePageCanBeSetAndGivenBack) {
  const std::uint32_t ofLocale = sqlogetcpcc();
  setProcessCodePage(932);
  EXPECT_EQ(sqlogetcpcc(), 932u);
  setProcessCodePage(0);
  EXPECT_EQ(sqlogetcpcc(), ofLocale);
}

TEST(CodePageTest, ProcessCodePageFollowsTheLocale) {
  support::Directory locales;
  struct Row {
    const char* charmap;
    std::uint32_t codePage;
  };
  const Row rows[] = {{"UTF-8", 1208},  {"ISO-8859-1", 819}, {"ISO-8859-15", 923}, {"EUC-JP", 954},
                      {"GB2312", 1383}, {"GBK", 1386},       {"CP1251", 1251},     {"BIG5", 950},
                      {"EUC-KR", 970},  {"KOI8-R", 878},     {"IBM850", 850}};
  for (const Row& row : rows) {
    const std::string name = fmt::format("x.{}", row.charmap);
    // localedef answers 1 for mere warnings, so the locale itself is what is looked for.
    support::run(fmt::format(MESK_LOCALEDEF " -c -i POSIX -f {} {}", row.charmap, locales.file(name.c_str())));
    ASSERT_TRUE(support::fs::exists(locales.path() / name / "LC_CTYPE")) << name;
    const support::Result result =
        support::run(MESK_PROBE " codePage", fmt::format("LOCPATH={} LC_ALL={}", locales.path().string(), name));
    EXPECT_EQ(result.out, fmt::format("{}\n", row.codePage)) << name;
  }
}

TEST(CodePageTest, LocaleThatSaysNothingMeansUtf8) {
  for (const char* locale : {"LC_ALL=C", "LC_ALL=POSIX", "LC_ALL=no_SUCH", "-u LC_ALL -u LC_CTYPE -u LANG"}) {
    EXPECT_EQ(support::run(MESK_PROBE " codePage", locale).out, "1208\n") << locale;
  }
}

TEST(CodePageTest, EightThreadsConvertAtOnce) {
  support::onThreads(8, [](int) {
    for (int n = 0; n < 500; ++n) {
      for (const std::uint32_t codePage : {932u, 5488u}) {
        const Converted native = convert(kUtf8, codePage, 0, "\u65E5\u672C");
        ASSERT_EQ(convert(codePage, kUtf8, 0, native.text).text, "\u65E5\u672C");
      }
    }
  });
}

}  // namespace
