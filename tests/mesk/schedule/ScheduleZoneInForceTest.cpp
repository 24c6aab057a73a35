// The calculator follows the zone of the process, whatever becomes of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include <mesk/schedule/LocalZone.h>

#include "PlainStepping.h"
#include "ScheduleFixture.h"
#include "Zones.h"

namespace mesk {
namespace {

const char* const kNow = "2026-03-28 12:00:00";

/// Daily at 02:30 in the zone in force.
Outcome nextRun(const char* reference = kNow) {
  return computed(Rule(kEveryDays, 1).start("2020-01-01 02:30:00"), at(kNow), at(reference), 0);
}

/// The run after noon of 28 March 2026 UTC, a day on in local time, in `zone`: what plain stepping says.
time64 plainlyIn(const char* zone) {
  const InZone inZone(zone);
  const Rule rule = Rule(kEveryDays, 1).start("2020-01-01 02:30:00");
  const auto answer = plain::Stepping(rule).next(at(kNow), at(kNow), false);
  EXPECT_TRUE(answer && answer->code == 0) << zone;
  return answer ? answer->time : 0;
}

TEST(ScheduleZoneInForceTest, AChangeOfTZIsNoticedAndTheWayBackToo) {
  // The clocks change between the reference and the run in some of them, so the runs are not the same.
  const char* const zones[] = {"Europe/Berlin", "Asia/Gaza", "UTC", "Europe/Berlin", "Australia/Lord_Howe", "UTC"};
  const InZone outer("UTC");
  for (const char* const zone : zones) {
    const time64 expected = plainlyIn(zone);
    // Nobody calls tzset: the change is noticed without.
    ::setenv("TZ", zone, 1);
    EXPECT_EQ(nextRun().time, expected) << zone << ": " << shown(nextRun().time);
    ASSERT_NE(LocalZone::inForce(), nullptr) << zone;
  }
  EXPECT_EQ(plainlyIn("Europe/Berlin"), at("2026-03-29 11:00:00"));
  EXPECT_EQ(plainlyIn("UTC"), at("2026-03-29 12:00:00"));
}

TEST(ScheduleZoneInForceTest, ATableOfAZoneIsLearnedOnce) {
  const LocalZone* berlin = nullptr;
  {
    const InZone inZone("Europe/Berlin");
    berlin = LocalZone::inForce();
  }
  {
    const InZone inZone("Europe/Lisbon");
    EXPECT_NE(LocalZone::inForce(), berlin);
  }
  const InZone inZone("Europe/Berlin");
  EXPECT_EQ(LocalZone::inForce(), berlin);
}

TEST(ScheduleZoneInForceTest, WithoutTZTheZoneOfTheSystemHolds) {
  const InZone outer("Pacific/Apia");
  const time64 inApia = nextRun().time;
  ::unsetenv("TZ");
  ::tzset();
  const Rule rule = Rule(kEveryDays, 1).start("2020-01-01 02:30:00");
  const auto expected = plain::Stepping(rule).next(at(kNow), at(kNow), false);
  ASSERT_TRUE(expected && expected->code == 0);
  EXPECT_EQ(nextRun().time, expected->time);
  // Whatever the machine's zone is, it is a table that is asked, if there is one.
  EXPECT_EQ(LocalZone::inForce() != nullptr, std::filesystem::exists("/etc/localtime"));
  ::setenv("TZ", "Pacific/Apia", 1);
  EXPECT_EQ(nextRun().time, inApia);
}

TEST(ScheduleZoneInForceTest, ARuleInTheEnvironmentIsAZone) {
  // Berlin's clocks, told as a rule.
  const InZone inZone("CET-1CEST,M3.5.0,M10.5.0/3");
  ASSERT_NE(LocalZone::inForce(), nullptr);
  EXPECT_EQ(nextRun().time, at("2026-03-29 11:00:00"));
}

TEST(ScheduleZoneInForceTest, ANameThatNothingStandsForIsUTCAsForTheCLibrary) {
  for (const char* const name : {"No/Such_Zone", "nonsense", ":Nowhere", "12", "CET-1CEST,nonsense"}) {
    const time64 expected = plainlyIn(name);
    const InZone inZone(name);
    EXPECT_EQ(nextRun().time, expected) << name;
    EXPECT_EQ(nextRun("2019-01-01 00:00:00").time, at("2026-03-29 00:00:00")) << name;
  }
}

TEST(ScheduleZoneInForceTest, AZoneThatCountsLeapSecondsIsLeftToThePlatform) {
  const char* const zone = "right/Europe/Berlin";
  ASSERT_TRUE(std::filesystem::exists(kZoneFolder / zone)) << "install tzdata with its leap seconds";
  const InZone inZone(zone);
  EXPECT_EQ(LocalZone::inForce(), nullptr);
  const Rule rules[] = {Rule(kEveryMinutes, 45), Rule(kEveryHours, 7),      Rule(kEveryDays, 1),
                        Rule(kEveryWeeks, 1, 7), Rule(kMonthsOnDay, 1, 31), Rule(kMonthsOnNthWeekday, 1, 40),
                        Rule(kEveryYears, 1)};
  for (const Rule& rule : rules) {
    // Across the leap second at the end of 2016, and across changes of the clocks.
    for (const char* const reference : {"2016-12-31 23:10:13", "2017-03-25 20:00:00", "2016-12-01 04:00:00"}) {
      const time64 now = at(reference) + 3 * 3600;
      const auto expected = plain::Stepping(rule).next(now, at(reference), false);
      ASSERT_TRUE(expected && expected->code == 0) << reference;
      const Outcome outcome = computed(rule, now, at(reference), 0);
      EXPECT_EQ(outcome.code, 0);
      EXPECT_EQ(outcome.time, expected->time) << reference << ": " << shown(outcome.time);
    }
  }
  const InZone usual("Europe/Berlin");
  EXPECT_NE(LocalZone::inForce(), nullptr) << "the table is back with the zone";
}

TEST(ScheduleZoneInForceTest, ThreadsThatMeetAZoneAtOnceComputeAlike) {
  constexpr int kThreads = 4;
  // None of them was met in this process before.
  for (const char* const zone : {"America/Sao_Paulo", "Asia/Tehran", "America/St_Johns", "Africa/Casablanca",
                                 "Europe/Dublin", "America/Santiago", "Antarctica/Troll", "Asia/Kathmandu"}) {
    const time64 expected = plainlyIn(zone);
    const InZone inZone(zone);
    const ClockStopped clock(at(kNow));
    const Rule rule = Rule(kEveryDays, 1).start("2020-01-01 02:30:00");
    std::latch start(kThreads);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int round = 0; round < 200; ++round) {
          time64 next = at(kNow);
          if (computeNextTime(rule, next, 0) != 0 || next != expected) ++wrong;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(wrong.load(), 0) << zone;
    EXPECT_NE(LocalZone::inForce(), nullptr) << zone;
  }
}

}  // namespace
}  // namespace mesk
