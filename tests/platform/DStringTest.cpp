#include <gtest/gtest.h>

#include <cstring>

#include <platform/DString.h>

namespace {

using mesk::DBuffer;
using mesk::DString;

DBuffer bufferOf(const char* text) { return DBuffer::fromContents(text, std::strlen(text)); }

int sign(int value) { return (value > 0) - (value < 0); }

TEST(DBufferTest, HoldsACopy) {
  char bytes[] = {'a', '\0', 'b'};
  const DBuffer buffer = DBuffer::fromContents(bytes, sizeof bytes);
  bytes[0] = 'x';
  ASSERT_EQ(buffer.size(), 3u);
  EXPECT_EQ(std::memcmp(buffer.data(), "a\0b", 3), 0);
}

TEST(DBufferTest, NullOfNoLengthIsEmpty) { EXPECT_EQ(DBuffer::fromContents(nullptr, 0).size(), 0u); }

TEST(DBufferTest, ComparesOverTheNamedLengthOnly) {
  struct Row {
    const char* left;
    const char* right;
    std::size_t length;
    int expected;
  };
  const Row rows[] = {
      {"bob", "bob", 3, 0}, {"bobby", "bob", 3, 0}, {"bobby", "bob", 4, 1}, {"bob", "bobby", 4, -1},
      {"zz", "aaa", 3, -1}, {"aaa", "zz", 3, 1},    {"ab", "abc", 9, -1},   {"b", "abc", 9, 1},
      {"\xE9", "z", 1, 1},  {"", "", 0, 0},         {"", "", 1, 0},         {"", "a", 0, 0},
      {"abx", "aby", 2, 0}, {"abx", "aby", 3, -1},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(sign(bufferOf(row.left).compare(bufferOf(row.right), row.length)), row.expected)
        << row.left << " and " << row.right << " over " << row.length;
  }
}

TEST(DStringTest, NullIsEmptyAndNeverHandedOut) {
  EXPECT_STREQ(DString(nullptr).text(), "");
  EXPECT_STREQ(DString().text(), "");
  EXPECT_EQ(DString().length(), 0u);
}

TEST(DStringTest, AppendsAndCompares) {
  DString text("an");
  text.append("n").append(nullptr).append("");
  EXPECT_STREQ(text.text(), "ann");
  EXPECT_EQ(text.length(), 3u);
  EXPECT_TRUE(text == DString("ann"));
  EXPECT_FALSE(text == DString("anne"));
}

}  // namespace
