#include <gtest/gtest.h>
#include <poll.h>

#include <cerrno>
#include <chrono>
#include <limits>

#include <scheduler/Timer.h>

namespace mesk::host {
namespace {

std::int64_t nowMillis() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

bool isReadable(const Timer& timer, int patience) {
  struct pollfd wait = {timer.fd(), POLLIN, 0};
  return ::poll(&wait, 1, patience) == 1;
}

TEST(TimerTest, AMomentThatHasPassedIsReportedOnce) {
  Timer timer;
  for (const std::int64_t past : {nowMillis() - 1000, std::int64_t{1}, std::int64_t{0}, std::int64_t{-5},
                                  std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_TRUE(timer.setAt(past));
    EXPECT_TRUE(isReadable(timer, -1));
    EXPECT_EQ(timer.drain(), Timer::Event::kExpired);
    EXPECT_EQ(timer.drain(), Timer::Event::kNothing);
  }
}

TEST(TimerTest, AMomentToComeIsNotReportedBefore) {
  Timer timer;
  const std::int64_t moment = nowMillis() + 20;
  timer.setAt(moment);
  ASSERT_TRUE(isReadable(timer, -1));
  EXPECT_EQ(timer.drain(), Timer::Event::kExpired);
  EXPECT_GE(nowMillis(), moment);
}

TEST(TimerTest, NothingIsReportedWithoutAnAlarm) {
  Timer timer;
  EXPECT_FALSE(isReadable(timer, 0));
  EXPECT_EQ(timer.drain(), Timer::Event::kNothing);
  timer.setAt(nowMillis() - 1000);
  timer.clear();
  EXPECT_EQ(timer.drain(), Timer::Event::kNothing);
  timer.setAt(std::numeric_limits<std::int64_t>::max());
  EXPECT_FALSE(isReadable(timer, 0));
}

TEST(TimerTest, WhatTheSystemSaysOfASetClockIsAChangeOfTheClock) {
  EXPECT_EQ(Timer::meaning(-1, ECANCELED), Timer::Event::kClockChanged);
  EXPECT_EQ(Timer::meaning(-1, EAGAIN), Timer::Event::kNothing);
  EXPECT_EQ(Timer::meaning(8, 0), Timer::Event::kExpired);
}

}  // namespace
}  // namespace mesk::host
