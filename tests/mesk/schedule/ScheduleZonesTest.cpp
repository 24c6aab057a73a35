// The calculator beside plain stepping, in every zone there is.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <barrier>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "PlainStepping.h"
#include "ScheduleFixture.h"
#include "Zones.h"

/// This allocation of the thread, counted down, finds no memory; 0 for none.
static thread_local unsigned untilNoMemory = 0;

namespace mesk {
namespace {

using plain::Slip;
using plain::Stepping;

constexpr std::uint64_t kCases = 100'000;
constexpr time64 kDay = 86400;

std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
  const char* const given = std::getenv(variable);
  return given != nullptr ? std::strtoull(given, nullptr, 10) : otherwise;
}

std::uint64_t seed() {
  static const std::uint64_t value = [] {
    const std::uint64_t chosen = numberFrom("MESK_SEED", std::random_device{}());
    std::cout << "MESK_SEED=" << chosen << std::endl;
    return chosen;
  }();
  return value;
}

struct Case {
  ScheduleCalculator rule;
  time64 now = 0;
  time64 reference = 0;
  bool allowReference = false;
};

std::string told(const Case& c) {
  std::ostringstream out;
  out << "type " << c.rule.intervalType << " unit " << c.rule.intervalUnit << " detail " << c.rule.detail << " start "
      << 1900 + c.rule.startYear << '-' << c.rule.startMonth << '-' << c.rule.startDay << ' ' << c.rule.startHour << ':'
      << c.rule.startMinute << ':' << c.rule.startSecond << " end " << 1900 + c.rule.endYear << '-' << c.rule.endMonth
      << '-' << c.rule.endDay << " now " << shown(c.now) << " reference " << shown(c.reference) << " allow "
      << c.allowReference;
  return out.str();
}

std::tm localTime(time64 moment) {
  const std::time_t time = moment;
  std::tm local{};
  ::localtime_r(&time, &local);
  return local;
}

/// Counts comparisons, and remembers the first that failed.
class Tally {
 public:
  void add(const Tally& other) {
    if (different_ == 0) std::copy(std::begin(other.first_), std::end(other.first_), std::begin(first_));
    compared_ += other.compared_;
    different_ += other.different_;
    givenUp_ += other.givenUp_;
    failing_ += other.failing_;
    ended_ += other.ended_;
  }

  void compare(const std::string& zone, const Case& c, Slip slip = Slip::kNone) {
    Stepping stepping(c.rule, slip);
    const auto expected = stepping.next(c.now, c.reference, c.allowReference);
    if (!expected) {
      ++givenUp_;
      return;
    }
    ++compared_;
    if (expected->code == kNotConvertible) ++failing_;
    if (expected->code == kPastEnd) ++ended_;
    const Outcome outcome = computed(c.rule, c.now, c.reference, c.allowReference ? 1 : 0);
    const bool sameTime = outcome.time == expected->time || expected->code == kNotConvertible;
    if (outcome.code == expected->code && sameTime) return;
    if (different_++ == 0) {
      std::ostringstream out;
      out << zone << ": " << told(c) << ": computed " << outcome.code << ' ' << shown(outcome.time)
          << ", by plain stepping " << expected->code << ' ' << shown(expected->time);
      std::snprintf(first_, sizeof first_, "%s", out.str().c_str());
    }
  }

  std::uint64_t compared() const { return compared_; }
  std::uint64_t different() const { return different_; }
  std::uint64_t givenUp() const { return givenUp_; }
  std::uint64_t failing() const { return failing_; }
  std::uint64_t ended() const { return ended_; }
  const char* first() const { return first_; }

 private:
  std::uint64_t compared_ = 0, different_ = 0, givenUp_ = 0, failing_ = 0, ended_ = 0;
  char first_[1024] = {};
};
static_assert(std::is_trivially_copyable_v<Tally>);

ScheduleCalculator ruleOf(int type, int unit, int detail, const std::tm& start) {
  ScheduleCalculator rule;
  EXPECT_EQ(rule.setIntervalType(type), 0);
  EXPECT_EQ(rule.setIntervalUnit(unit), 0);
  EXPECT_EQ(rule.setDetail(detail), 0);
  EXPECT_EQ(rule.setRecurring(1), 0);
  rule.setStartYear(start.tm_year + 1900);
  rule.setStartMonth(start.tm_mon + 1);
  rule.setStartDay(start.tm_mday);
  rule.setStartHour(start.tm_hour);
  rule.setStartMinute(start.tm_min);
  rule.setStartSecond(start.tm_sec);
  return rule;
}

constexpr int kLargestUnit[] = {1000, 24, 31, 52, 12, 12, 10};
constexpr time64 kLength[] = {60, 3600, kDay, 7 * kDay, 30 * kDay, 30 * kDay, 365 * kDay};

/// Cases of the zone of the process, crowded around its changes of the clocks, month ends and full hours.
class Dice {
 public:
  Dice(std::uint64_t seedValue, std::vector<ClockChange> changes) : random_(seedValue), changes_(std::move(changes)) {}

  Case next() {
    Case c;
    const int type = below(7);
    const int unit = 1 + (below(2) == 0 ? below(std::min(4, kLargestUnit[type])) : below(kLargestUnit[type]));
    const time64 interval = kLength[type] * unit;
    const int most = below(10) == 0 ? 400 : 12;
    c.reference = moment();
    if (below(3) == 0) {
      // The run that is sought, or one on the way to it, comes close to the change.
      c.reference -= interval * below(most) + (below(2) == 0 ? 0 : spread(2 * kDay) - kDay);
    }
    c.now = below(3) == 0 ? c.reference : c.reference - interval + spread(interval * most);
    c.allowReference = below(3) == 0;

    const std::tm local = localTime(c.now);
    int detail = 0;
    if (type == kEveryWeeks) detail = below(8);
    if (type == kMonthsOnDay) detail = below(3) == 0 ? local.tm_mday : below(12) == 0 ? below(43) : 1 + below(31);
    if (type == kMonthsOnNthWeekday) detail = below(43);
    time64 start = c.reference - spread(interval * 3);
    if (below(4) == 0) start = c.now - interval + spread(2 * interval);
    if (below(8) == 0) {
      // Any other time, as long as plain stepping gets there in a while.
      const time64 other = moment();
      if ((other - c.reference) / interval < 150) start = other;
    }
    c.rule = ruleOf(type, unit, detail, localTime(start));
    if (below(25) == 0) c.rule.setStartDay(31);
    if (below(4) == 0) {
      const std::tm end = localTime(c.now + spread(2 * interval) - interval / 4);
      c.rule.setEndYear(end.tm_year + 1900);
      c.rule.setEndMonth(end.tm_mon + 1);
      c.rule.setEndDay(end.tm_mday);
    }
    return c;
  }

 private:
  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
  time64 spread(time64 limit) { return std::uniform_int_distribution<time64>(0, std::max<time64>(limit, 0))(random_); }

  /// A moment of 1900 to 2120, mostly within two days of a change of the clocks, often on a full quarter of an hour,
  /// and more often than the calendar has it on a leap day.
  time64 moment() {
    constexpr time64 kFirst = -2208988800;
    time64 value = kFirst + spread(time64{220} * 365 * kDay);
    if (!changes_.empty() && below(4) != 0) {
      const ClockChange& change = changes_[static_cast<std::size_t>(below(static_cast<int>(changes_.size())))];
      value = change.at + (below(2) == 0 ? spread(4 * kDay) - 2 * kDay : spread(4 * 3600) - 2 * 3600);
    }
    if (below(25) == 0) {
      std::tm leapDay{};
      leapDay.tm_year = 4 + 4 * below(49);
      leapDay.tm_mon = 1;
      leapDay.tm_mday = 29;
      value = ::timegm(&leapDay) + spread(kDay);
    }
    if (below(3) == 0) value -= value % 900;
    return value;
  }

  std::mt19937_64 random_;
  std::vector<ClockChange> changes_;
};

std::vector<std::string> allZones() {
  std::vector<std::string> zones = zoneNames();
  for (std::string& rule : zoneRules()) zones.push_back(std::move(rule));
  return zones;
}

/// What `work` counts, done by a process of its own: the C library keeps the abbreviations of every zone that a process
/// ever was in, and goes through them at each conversion. Zones by the dozen would make it slow.
template <class Work>
Tally inOwnProcess(Work work) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  const pid_t child = ::fork();
  if (child < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (child == 0) {
    try {
      Tally tally;
      work(tally);
      const bool told = ::write(ends[1], &tally, sizeof tally) == sizeof tally;
      ::_exit(told ? 0 : 1);
    } catch (const std::exception& thrown) {
      std::cerr << thrown.what() << std::endl;
      ::_exit(2);
    }
  }
  ::close(ends[1]);
  Tally tally;
  std::size_t read = 0;
  while (read < sizeof tally) {
    const ssize_t part = ::read(ends[0], reinterpret_cast<char*>(&tally) + read, sizeof tally - read);
    if (part <= 0) break;
    read += static_cast<std::size_t>(part);
  }
  ::close(ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0 && read == sizeof tally)
      << "the process of the comparison ended with status " << status;
  return tally;
}

void compareRandomly(const std::string& zone, std::uint64_t seedValue, std::uint64_t cases, Slip slip, Tally& tally) {
  const InZone inZone(zone.c_str());
  Dice dice(seedValue, clockChanges(zone, -2208988800, 4733510400));
  const std::uint64_t until = tally.compared() + cases;
  while (tally.compared() < until && (slip == Slip::kNone || tally.different() == 0)) {
    tally.compare(zone, dice.next(), slip);
  }
}

TEST(ScheduleZonesTest, RandomRulesInEveryZoneRunAsPlainSteppingSays) {
  const std::vector<std::string> zones = allZones();
  ASSERT_GT(zones.size(), 400U) << "the system's zone database is missing: install tzdata";
  const std::uint64_t cases = numberFrom("MESK_CASES", kCases);
  Tally tally;
  std::uint64_t zoneNumber = 0;
  for (const std::string& zone : zones) {
    const std::uint64_t until = cases * (++zoneNumber) / zones.size();
    const std::uint64_t zoneSeed = seed() * 1000 + zoneNumber;
    const std::uint64_t share = until - std::min(until, tally.compared());
    tally.add(inOwnProcess([&](Tally& own) { compareRandomly(zone, zoneSeed, share, Slip::kNone, own); }));
    if (cases > kCases && zoneNumber % 10 == 0) {
      std::cout << zoneNumber << " of " << zones.size() << " zones, " << tally.compared() << " cases, "
                << tally.different() << " different" << std::endl;
    }
  }
  EXPECT_EQ(tally.different(), 0U) << tally.first();
  EXPECT_GE(tally.compared(), cases);
  EXPECT_GT(tally.ended(), cases / 100) << "too few end dates to prove anything";
  EXPECT_GT(tally.failing(), cases / 1000) << "too few failures to prove anything";
  std::cout << tally.compared() << " cases in " << zones.size() << " zones, of which " << tally.failing()
            << " cannot be computed, " << tally.ended() << " are past their end; " << tally.givenUp()
            << " took plain stepping too long" << std::endl;
}

/// One interval before `moment` in local time, so that the run comes on the hour of `moment`.
time64 oneIntervalBefore(int type, time64 moment) {
  std::tm local = localTime(moment);
  local.tm_isdst = -1;
  switch (type) {
    case kEveryMinutes:
      return moment - 60;
    case kEveryHours:
      return moment - 3600;
    case kEveryDays:
      local.tm_mday -= 1;
      break;
    case kEveryWeeks:
      local.tm_mday -= 7;
      break;
    case kMonthsOnDay:
    case kMonthsOnNthWeekday:
      local.tm_mon -= 1;
      local.tm_mday = std::min(local.tm_mday, 28);
      break;
    default:
      local.tm_year -= 1;
      break;
  }
  return std::mktime(&local);
}

/// The hour that is missing or comes twice, and what is around it, met by each type of interval.
void compareAround(const std::string& zone, const ClockChange& change, Tally& tally) {
  const time64 jump = change.after - change.before;
  const time64 size = std::max<time64>(std::abs(jump), 60);
  // In a gap the local time that is sought does not exist: it is written as the time before the change goes on.
  for (const time64 aim : {-size - 1, -size / 2, time64{-1}, time64{0}, size / 2, size, size + 1}) {
    const time64 target = change.at + aim;
    std::tm wall = localTime(change.at - 1);
    wall.tm_sec += static_cast<int>(aim) + 1;  // beyond the change, in the time before it
    const std::time_t asUtc = ::timegm(&wall);
    ::gmtime_r(&asUtc, &wall);
    for (int type = 0; type < 7; ++type) {
      const int nth = (wall.tm_mday - 1) / 7 * 7 + (wall.tm_wday == 0 ? 7 : wall.tm_wday);
      const int detail = type == kEveryWeeks           ? wall.tm_wday
                         : type == kMonthsOnDay        ? wall.tm_mday
                         : type == kMonthsOnNthWeekday ? nth
                                                       : 0;
      Case c;
      c.rule = ruleOf(type, 1, detail, wall);
      c.rule.setStartYear(wall.tm_year + 1900 - 2);
      if (c.rule.startMonth == 2 && c.rule.startDay == 29) c.rule.setStartDay(28);
      // Before, in, and after the change.
      for (const time64 reference : {oneIntervalBefore(type, target) + (aim >= 0 && jump > 0 ? -jump : 0),
                                     oneIntervalBefore(type, target), target, target + kLength[type]}) {
        c.reference = reference;
        c.now = reference;
        tally.compare(zone, c);
      }
      c.reference = oneIntervalBefore(type, target);
      c.now = target;
      c.allowReference = true;
      tally.compare(zone, c);
    }
  }
}

TEST(ScheduleZonesTest, AroundEveryChangeOfEveryZoneFrom1970To2037AllTypesRunAsPlainSteppingSays) {
  Tally tally;
  std::uint64_t changes = 0;
  std::set<std::string> met;
  for (const std::string& zone : allZones()) {
    // Many zones are others by another name.
    std::ifstream file(kZoneFolder / zone, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!met.insert(content.empty() ? zone : content).second) continue;
    const InZone inZone(zone.c_str());
    const auto changesOfZone = clockChanges(zone, 0, 2145916800);
    changes += changesOfZone.size();
    tally.add(inOwnProcess([&](Tally& own) {
      for (const ClockChange& change : changesOfZone) compareAround(zone, change, own);
    }));
  }
  EXPECT_EQ(tally.different(), 0U) << tally.first();
  EXPECT_EQ(tally.givenUp(), 0U);
  EXPECT_GT(changes, 15000U) << "the zones' changes were not found";
  std::cout << tally.compared() << " cases around " << changes << " changes" << std::endl;
}

// Whoever starts the program says what `TZ` is. The C library makes of it what it can.
TEST(ScheduleZonesTest, WhereTZNamesNoZoneTheRunsAreThoseOfPlainSteppingToo) {
  const std::string values[] = {"",
                                ":",
                                "Nonsense",
                                "Europe",
                                ":Europe",
                                "/",
                                ".",
                                "../zoneinfo",
                                "/dev/null",
                                "/dev/zero",
                                "/dev/fd/0",
                                "/proc/self/mem",
                                "EST5EDT4",
                                "CET-1CEST",
                                "UTC0x",
                                "AB3",
                                "<>3",
                                "<+01",
                                "AAA0BBB,M13.1.0,M1.1.0",
                                "AAA0BBB,0/0,0/0",
                                "AAA24BBB-24,J365/167,J1/-167",
                                "AAA0BBB-1,J365/24,J1/0",
                                "XXX-24:59:59",
                                std::string(5000, 'A') + "3",
                                "right/Europe/Berlin",
                                "\xff\xfe"};
  const std::uint64_t seedValue = seed();
  Tally tally;
  for (const std::string& value : values) {
    SCOPED_TRACE(value.substr(0, 40));
    tally.add(inOwnProcess([&](Tally& own) {
      const InZone inZone(value.c_str());
      Dice dice(seedValue, {});
      while (own.compared() < 100) own.compare(value.substr(0, 40), dice.next());
    }));
  }
  EXPECT_EQ(tally.different(), 0U) << tally.first();
  EXPECT_EQ(tally.compared(), 100 * std::size(values));
}

TEST(ScheduleZonesTest, WithoutMemoryForAZoneTheRunIsTheSame) {
  const Rule daily(kEveryDays, 1);
  const time64 now = at("2024-07-01 12:00:00");
  const time64 reference = at("2024-01-31 22:00:00");
  bool failed = true;
  unsigned nth = 0;
  // A zone that was not met before, each time.
  while (failed) {
    const std::string zone =
        "AA" + std::string(1 + nth % 20, 'A') + std::to_string(nth / 20 % 20) + "BBB,M3.5.0,M10.5.0";
    const InZone inZone(zone.c_str());
    ScheduleCalculator rule = daily;
    const std::tm start = localTime(reference);
    rule.setStartHour(start.tm_hour);
    const auto expected = Stepping(rule).next(now, reference, false);
    ASSERT_TRUE(expected);
    untilNoMemory = ++nth;
    const Outcome outcome = computed(rule, now, reference, 0);
    failed = untilNoMemory == 0;
    untilNoMemory = 0;
    EXPECT_EQ(outcome.code, expected->code);
    EXPECT_EQ(outcome.time, expected->time) << zone << ", allocation " << nth;
  }
  EXPECT_GT(nth, 3U) << "nothing was allocated";
}

TEST(ScheduleZonesTest, ThreadsThatMeetAZoneTogetherComputeTheSameRuns) {
  constexpr int kThreads = 4;
  const InZone inZone("MET-1TOG,M3.5.0,M10.5.0/3");
  const Rule daily = Rule(kEveryDays, 1).start("2023-12-31 12:00:00");
  const time64 noon = at("2024-01-01 12:00:00 +0100");
  std::vector<time64> expected;
  for (int day = 0; day < 200; ++day) {
    const auto answer = Stepping(daily).next(noon + day * kDay, noon, false);
    ASSERT_TRUE(answer && answer->code == 0);
    expected.push_back(answer->time);
  }
  std::vector<std::vector<time64>> runs(kThreads);
  std::barrier together(kThreads);
  std::vector<std::thread> threads;
  for (std::vector<time64>& own : runs) {
    threads.emplace_back([&] {
      together.arrive_and_wait();
      for (int day = 0; day < 200; ++day) {
        const ClockAt clock((noon + day * kDay) * 1000);
        time64 time = noon;
        own.push_back(computeNextTime(daily, time, 0) == 0 ? time : -1);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::vector<time64>& own : runs) EXPECT_EQ(own, expected);
}

// A comparison that cannot fail proves nothing.
TEST(ScheduleZonesTest, EverySlipPlantedInThePlainSteppingIsFound) {
  const std::pair<Slip, const char*> slips[] = {
      {Slip::kNoThirdTry, "no third try"},
      {Slip::kDayFlagNotCarried, "the day search changes its season"},
      {Slip::kNotLater, "the clock's own second"},
      {Slip::kLeapDayKept, "a leap day's anniversary on 28 February"},
  };
  for (const auto& [slip, what] : slips) {
    Tally tally;
    for (const char* const zone : {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Asia/Gaza"}) {
      compareRandomly(zone, seed(), 20000, slip, tally);
    }
    EXPECT_GT(tally.different(), 0U) << what;
  }
}

}  // namespace
}  // namespace mesk

void* operator new(std::size_t bytes) {
  void* const block = untilNoMemory != 0 && --untilNoMemory == 0 ? nullptr : std::malloc(bytes);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
// Visible to the C++ library also where the compiler takes it for a function of the program's own.
__attribute__((visibility("default"))) void operator delete(void* block, std::size_t) noexcept { std::free(block); }
