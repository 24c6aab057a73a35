#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include <scheduler/Scratch.h>
#include <scheduler/ShellWords.h>

namespace mesk::host {
namespace {

using Words = std::vector<std::string>;

std::string refusal(const std::string& line) {
  try {
    shellWords(line);
  } catch (const ShellWordsError& refused) {
    return refused.what();
  }
  return "accepted";
}

TEST(ShellWordsTest, BlanksSeparateWords) {
  EXPECT_EQ(shellWords(""), Words{});
  EXPECT_EQ(shellWords(" \t\n"), Words{});
  EXPECT_EQ(shellWords("  a  b\tc\nd "), (Words{"a", "b", "c", "d"}));
}

TEST(ShellWordsTest, QuotesKeepBlanksAndJoinWithWhatStandsBesideThem) {
  EXPECT_EQ(shellWords(R"('a b' "c d")"), (Words{"a b", "c d"}));
  EXPECT_EQ(shellWords(R"(a'b c'd"e f"g)"), (Words{"ab cde fg"}));
  EXPECT_EQ(shellWords(R"('' "")"), (Words{"", ""}));
}

TEST(ShellWordsTest, BackslashesMeanWhatTheyMeanToAShell) {
  EXPECT_EQ(shellWords(R"(a\ b \' \\)"), (Words{"a b", "'", "\\"}));
  EXPECT_EQ(shellWords(R"("\"\\\$\`\n")"), (Words{R"("\$`\n)"}));
  EXPECT_EQ(shellWords(R"('\')"), (Words{"\\"}));
  EXPECT_EQ(shellWords("a\\\nb \\\n c"), (Words{"ab", "c"}));
}

TEST(ShellWordsTest, NothingIsExpanded) { EXPECT_EQ(shellWords("$HOME *.c ~"), (Words{"$HOME", "*.c", "~"})); }

TEST(ShellWordsTest, WhatIsLeftOpenIsNamedWithItsPlace) {
  EXPECT_EQ(refusal("ab 'c"), "no closing ' for the one at character 4");
  EXPECT_EQ(refusal("\"c\\\""), "no closing \" for the one at character 1");
  EXPECT_EQ(refusal("ab\\"), "nothing follows the backslash at character 3");
}

TEST(ShellWordsTest, WordsComeBackFromTheirLine) {
  std::mt19937_64 random(randomSeed());
  const std::string letters = "ab '\"\\$`\n\t*~ä";
  const auto upTo = [&](std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random); };
  for (int round = 0; round < 3000; ++round) {
    Words words(upTo(4));
    for (std::string& word : words) {
      for (std::size_t i = upTo(6); i > 0; --i) word += letters[upTo(letters.size() - 1)];
    }
    ASSERT_EQ(shellWords(shellLine(words)), words) << shellLine(words);
  }
}

}  // namespace
}  // namespace mesk::host
