#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>

#include "PlainCalendar.h"
#include "ScheduleFixture.h"

namespace mesk {
namespace {

using plain::Fault;
using plain::kZones;
using plain::PlainCalendar;
using plain::Zone;
using std::chrono::sys_days;
using std::chrono::sys_seconds;

constexpr int kCasesPerZone = 3000;

std::uint64_t seed() {
  static const std::uint64_t value = [] {
    const char* given = std::getenv("MESK_SEED");
    const std::uint64_t chosen = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
    std::cout << "MESK_SEED=" << chosen << '\n';
    return chosen;
  }();
  return value;
}

struct Case {
  ScheduleCalculator rule;
  time64 now;
  time64 reference;
  bool allowReference;
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

/// Cases of one zone, crowded around its changes of the clocks, month ends, midnights and coincidences.
class Dice {
 public:
  Dice(const Zone& zone, std::uint64_t seedValue) : zone_(zone), random_(seedValue) {}

  Case next() {
    Case c{};
    const int longest[] = {1000, 24, 31, 52, 12, 12, 10};
    const int type = below(7);
    const int unit = 1 + (below(2) == 0 ? below(std::min(4, longest[type])) : below(longest[type]));
    const int details[] = {2, 2, 2, 8, 0, 0, 2};
    int detail = type == 4 ? 1 + below(31) : type == 5 ? 1 + below(42) : below(details[type]);
    if (type == 4 && below(3) == 0) detail = below(2) == 0 ? 1 : 28 + below(4);
    const std::int64_t lengths[] = {60, 3600, 86400, 7 * 86400, 30 * 86400, 30 * 86400, 365 * 86400};
    // Far enough back to make many steps, near enough to stay within two years (decades for yearly rules).
    const std::int64_t reach = std::min<std::int64_t>(lengths[type] * unit * 200, std::int64_t{2} * 365 * 86400);

    c.now = moment();
    c.reference = below(4) == 0 ? moment(c.now + 86400) : c.now - spread(reach) + spread(lengths[type] * unit);
    if (below(8) == 0) c.now = c.reference + lengths[type] * unit * (1 + below(3));
    c.allowReference = below(2) == 0;

    const PlainCalendar calendar(zone_, Fault::kNone);
    const auto start = calendar.wallAt(at(below(3) == 0 ? c.now + spread(reach) : c.reference - spread(reach)));
    put(c.rule.setIntervalType(type));
    put(c.rule.setIntervalUnit(unit));
    put(c.rule.setDetail(detail));
    put(c.rule.setRecurring(below(2)));
    put(c.rule.setStartYear(int{start.date().year()}));
    put(c.rule.setStartMonth(static_cast<int>(unsigned{start.date().month()})));
    put(c.rule.setStartDay(below(20) == 0 ? 31 : static_cast<int>(unsigned{start.date().day()})));
    put(c.rule.setStartHour(static_cast<int>(start.hour().count())));
    put(c.rule.setStartMinute(below(60)));
    put(c.rule.setStartSecond(below(60)));
    if (below(3) == 0) {
      const auto end = calendar.wallAt(at(c.now + spread(lengths[type] * unit * 2)));
      put(c.rule.setEndYear(int{end.date().year()}));
      put(c.rule.setEndMonth(static_cast<int>(unsigned{end.date().month()})));
      put(c.rule.setEndDay(static_cast<int>(unsigned{end.date().day()})));
    }
    return c;
  }

 private:
  static sys_seconds at(time64 value) { return sys_seconds(std::chrono::seconds(value)); }
  static void put(int code) {
    if (code != 0) throw std::logic_error("the dice made a value that a setter refuses");
  }

  int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
  std::int64_t spread(std::int64_t limit) { return std::uniform_int_distribution<std::int64_t>(0, limit)(random_); }

  /// A moment of 2017 to 2020, half of the time within two days of a change of the clocks, often on a full hour.
  time64 moment() {
    const std::chrono::year y(2017 + below(4));
    time64 value = sys_seconds(sys_days(y / 1 / 1)).time_since_epoch().count() + spread(365 * 86400);
    if (zone_.summerBegins != nullptr && below(2) == 0) {
      const sys_seconds change = below(2) == 0 ? zone_.summerBegins(y) : zone_.summerEnds(y);
      value = change.time_since_epoch().count() - 2 * 86400 + spread(4 * 86400);
    }
    if (below(3) == 0) value -= value % 900;
    return value;
  }
  /// One that is later than `least`.
  time64 moment(time64 least) { return least + spread(60 * 86400); }

  const Zone& zone_;
  std::mt19937_64 random_;
};

struct Tally {
  int compared = 0;
  int different = 0;
  int ranOut = 0;
  std::string firstDifference;
};

Tally compare(const Zone& zone, Fault fault, int cases) {
  const InZone inZone(zone.name);
  const PlainCalendar calendar(zone, fault);
  Dice dice(zone, seed());
  Tally tally;
  // A planted fault needs to be found once only.
  while (tally.compared < cases && (fault == Fault::kNone || tally.different == 0)) {
    const Case c = dice.next();
    const auto expected = calendar.next(c.rule, sys_seconds(std::chrono::seconds(c.now)),
                                        sys_seconds(std::chrono::seconds(c.reference)), c.allowReference);
    if (!expected) continue;  // outside the years whose law is written down
    ++tally.compared;
    if (expected->code == -302) ++tally.ranOut;
    const Outcome outcome = computed(c.rule, c.now, c.reference, c.allowReference ? 1 : 0);
    const time64 time = expected->time.time_since_epoch().count();
    if (outcome.code == expected->code && outcome.time == time) continue;
    if (tally.different++ == 0) {
      std::ostringstream out;
      out << told(c) << ": computed " << outcome.code << ' ' << shown(outcome.time) << ", by plain stepping "
          << expected->code << ' ' << shown(time);
      tally.firstDifference = out.str();
    }
  }
  return tally;
}

TEST(ScheduleDifferentialTest, TwentyThousandRulesInSevenZonesRunAsPlainSteppingSays) {
  int compared = 0;
  for (const Zone& zone : kZones) {
    const Tally tally = compare(zone, Fault::kNone, kCasesPerZone);
    EXPECT_EQ(tally.different, 0) << zone.name << ": " << tally.firstDifference;
    EXPECT_GT(tally.ranOut, kCasesPerZone / 50) << zone.name << " met too few end dates to prove anything";
    compared += tally.compared;
  }
  EXPECT_GE(compared, 20000);
}

void expectHostAgrees(const Zone& zone, int fromYear, int toYear, time64 every) {
  const PlainCalendar calendar(zone, Fault::kNone);
  const auto newYear = [](int y) {
    return sys_seconds(sys_days(std::chrono::year(y) / 1 / 1)).time_since_epoch().count();
  };
  for (time64 moment = newYear(fromYear); moment < newYear(toYear); moment += every) {
    for (const time64 second : {moment, moment + every - 1}) {
      const std::tm* host = _localtime64(&second);
      ASSERT_NE(host, nullptr);
      const auto wall = calendar.wallAt(sys_seconds(std::chrono::seconds(second)));
      ASSERT_EQ(host->tm_isdst != 0, wall.inSummer) << zone.name << ' ' << second;
      ASSERT_EQ(std::chrono::seconds(host->tm_gmtoff), zone.offset(wall.inSummer)) << zone.name << ' ' << second;
    }
  }
}

TEST(ScheduleDifferentialTest, TheZonesAreWrittenDownAsTheHostKnowsThem) {
  for (const Zone& zone : kZones) {
    const InZone inZone(zone.name);
    expectHostAgrees(zone, zone.since, zone.until, 86400);
    expectHostAgrees(zone, 2016, 2022, 1800);  // the second of each change, where most cases are
  }
}

// A comparison that cannot fail proves nothing: each of these mistakes has to be found in some zone.
TEST(ScheduleDifferentialTest, EveryMistakePlantedInThePlainSteppingIsFound) {
  struct Planted {
    Fault fault;
    const char* what;
  };
  const Planted mistakes[] = {
      {Fault::kNoSecondTry, "no second try"},
      {Fault::kNoThirdTry, "no third try"},
      {Fault::kHourOfDayKept, "hour of day kept"},
      {Fault::kReferenceCounts, "reference always counts"},
      {Fault::kSearchCarries, "the search carries the season on"},
      {Fault::kClockIncluded, "the clock's second"},
      {Fault::kEndAtMidnight, "end at midnight"},
      {Fault::kWeekFromMonday, "week from Monday"},
      {Fault::kFifthIsNextMonth, "fifth weekday runs over"},
  };
  for (const Planted& planted : mistakes) {
    const bool found = std::any_of(std::begin(kZones), std::end(kZones), [&planted](const Zone& zone) {
      return compare(zone, planted.fault, 2000).different > 0;
    });
    EXPECT_TRUE(found) << planted.what;
  }
}

}  // namespace
}  // namespace mesk
