#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <limits>
#include <thread>

#include <platform/Clock.h>

namespace {

using mesk::ClockAt;

class ClockTest : public testing::Test {
 protected:
  ~ClockTest() override { mesk::resetClock(); }
};

std::int64_t systemMillis() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

TEST_F(ClockTest, UnsetClockIsTheSystems) {
  const std::int64_t before = systemMillis();
  const std::int64_t clock = mesk::clockMillis();
  EXPECT_LE(before, clock);
  EXPECT_LE(clock, systemMillis());
}

TEST_F(ClockTest, SetClockStandsStillUntilItIsReset) {
  mesk::setClock(1'000'000'000'123);
  EXPECT_EQ(mesk::clockMillis(), 1'000'000'000'123);
  std::int64_t out = 0;
  EXPECT_EQ(_time64(&out), 1'000'000'000);
  EXPECT_EQ(out, 1'000'000'000);
  mesk::setClock(0);
  EXPECT_EQ(_time64(nullptr), 0);
  mesk::resetClock();
  EXPECT_GT(_time64(nullptr), 1'500'000'000);
}

TEST_F(ClockTest, SecondsAreRoundedDownBefore1970) {
  const std::int64_t rows[][2] = {{-1, -1}, {-999, -1}, {-1000, -1}, {-1001, -2}, {0, 0}, {999, 0}};
  for (const auto& [millis, seconds] : rows) {
    mesk::setClock(millis);
    EXPECT_EQ(_time64(nullptr), seconds) << millis;
  }
}

TEST_F(ClockTest, ScopeIsSeenByItsOwnThreadOnly) {
  mesk::setClock(5000);
  {
    const ClockAt scope(7000);
    EXPECT_EQ(mesk::clockMillis(), 7000);
    std::int64_t elsewhere = 0;
    std::thread([&] { elsewhere = mesk::clockMillis(); }).join();
    EXPECT_EQ(elsewhere, 5000);
  }
  EXPECT_EQ(mesk::clockMillis(), 5000);
}

TEST_F(ClockTest, ScopesNest) {
  mesk::setClock(1);
  const ClockAt outer(2);
  {
    const ClockAt inner(3);
    EXPECT_EQ(mesk::clockMillis(), 3);
    mesk::setClock(4);
    EXPECT_EQ(mesk::clockMillis(), 3);
  }
  EXPECT_EQ(mesk::clockMillis(), 2);
}

class ZoneTest : public testing::Test {
 protected:
  ZoneTest() {
    setenv("TZ", "Europe/Berlin", 1);
    tzset();
  }
  ~ZoneTest() override {
    unsetenv("TZ");
    tzset();
  }
};

TEST_F(ZoneTest, LocalTimeAndBackAreInverse) {
  const std::int64_t summer = 1'594'450'800;  // 2020-07-11 07:00 UTC
  struct tm* local = _localtime64(&summer);
  ASSERT_NE(local, nullptr);
  EXPECT_EQ(local->tm_hour, 9);
  EXPECT_EQ(local->tm_isdst, 1);
  EXPECT_EQ(_mktime64(local), summer);
}

TEST_F(ZoneTest, MakingTimeNormalisesInPlace) {
  struct tm local {};
  local.tm_year = 120;
  local.tm_mon = 0;
  local.tm_mday = 32;
  local.tm_isdst = -1;
  EXPECT_EQ(_mktime64(&local), 1'580'511'600);  // 2020-02-01 00:00 in Berlin
  EXPECT_EQ(local.tm_mon, 1);
  EXPECT_EQ(local.tm_mday, 1);
  EXPECT_EQ(local.tm_wday, 6);
}

TEST_F(ZoneTest, YearThatDoesNotFitHasNoLocalTime) {
  const std::int64_t never = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(_localtime64(&never), nullptr);
  EXPECT_EQ(_localtime64(nullptr), nullptr);
}

TEST_F(ZoneTest, EachThreadHasALocalTimeOfItsOwn) {
  const std::int64_t here = 0;
  const struct tm* mine = _localtime64(&here);
  std::thread([] {
    const std::int64_t there = 1'000'000'000;
    _localtime64(&there);
  }).join();
  EXPECT_EQ(mine->tm_year, 70);
}

}  // namespace
