#include <gtest/gtest.h>

#include <random>
#include <string>

#include <scheduler/Scratch.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

TEST(UnitsTest, DurationsAreReadInTheirUnits) {
  EXPECT_EQ(durationFromText("0s"), 0);
  EXPECT_EQ(durationFromText("90s"), 90);
  EXPECT_EQ(durationFromText("5m"), 300);
  EXPECT_EQ(durationFromText("1h30m"), 5400);
  EXPECT_EQ(durationFromText("1d"), 86400);
  EXPECT_EQ(durationFromText("1d1s"), 86401);
  EXPECT_EQ(durationFromText("366d"), 366 * 86400);
}

TEST(UnitsTest, WhatIsNoDurationIsRefused) {
  for (const char* text :
       {"", "5", "m", "-5m", "+5m", "5 m", "5M", "1m1h", "1m1m", "1.5h", "366d1s", "9999999999s", "5mx"}) {
    EXPECT_THROW(durationFromText(text), FormatError) << text;
  }
}

TEST(UnitsTest, ADurationComesBackFromItsText) {
  std::mt19937_64 random(randomSeed());
  std::uniform_int_distribution<std::int64_t> any(0, 366 * 86400);
  for (int i = 0; i < 2000; ++i) {
    const std::int64_t seconds = any(random);
    ASSERT_EQ(durationFromText(durationText(seconds)), seconds) << durationText(seconds);
  }
  EXPECT_EQ(durationText(5400), "1h30m");
}

TEST(UnitsTest, SizesAreReadInTheirUnits) {
  EXPECT_EQ(sizeFromText("0"), 0);
  EXPECT_EQ(sizeFromText("4096"), 4096);
  EXPECT_EQ(sizeFromText("64KiB"), 65536);
  EXPECT_EQ(sizeFromText("3MiB"), 3 << 20);
  EXPECT_EQ(sizeFromText("1GiB"), 1 << 30);
  for (const char* text : {"", "KiB", "-1", "1 KiB", "1kb", "1KB", "2GiB", "999999999GiB", "1KiBx"}) {
    EXPECT_THROW(sizeFromText(text), FormatError) << text;
  }
}

TEST(UnitsTest, SizesAreWrittenInTheLargestUnitThatFits) {
  EXPECT_EQ(sizeText(0), "0");
  EXPECT_EQ(sizeText(1023), "1023");
  EXPECT_EQ(sizeText(1024), "1KiB");
  EXPECT_EQ(sizeText(1536), "1536");
  EXPECT_EQ(sizeText(1 << 20), "1MiB");
}

TEST(UnitsTest, NumbersStayInTheirRange) {
  EXPECT_EQ(numberFromText("1", 1, 9), 1);
  EXPECT_EQ(numberFromText("9", 1, 9), 9);
  for (const char* text : {"0", "10", "", " 1", "1 ", "0x1", "1.0", "-1", "99999999999999999999"}) {
    EXPECT_THROW(numberFromText(text, 1, 9), FormatError) << text;
  }
}

}  // namespace
}  // namespace mesk::host
