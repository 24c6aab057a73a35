#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <vector>

#include "ScheduleFixture.h"

namespace mesk {
namespace {

// The rows in UTC, where no clock changes: what each interval type does with the calendar. Those that
// docs/schedules.md tells are marked with its headings.
const std::vector<Example> kExamples = {
    // Minutes, hours
    {"UTC", "2024-05-10 11:59:59", "2024-05-10 09:00:00", Rule(kEveryMinutes, 90), 0, 0, "2024-05-10 12:00:00",
     "two steps of 90 minutes from the reference"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 09:00:00", Rule(kEveryMinutes, 90), 0, 0, "2024-05-10 13:30:00",
     "a run has to be later than the clock, the same second is not"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 09:00:00", Rule(kEveryMinutes, 90, 1), 0, 0, "2024-05-10 13:30:00",
     "detail is not read"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 09:00:30", Rule(kEveryMinutes, 1), 0, 0, "2024-05-10 12:00:30",
     "the seconds of the reference are kept"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-09 20:00:00", Rule(kEveryMinutes, 1000), 0, 0, "2024-05-10 12:40:00",
     "more minutes than an hour has"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 00:15:00", Rule(kEveryHours, 5), 0, 0, "2024-05-10 15:15:00",
     "three steps of five hours"},
    {"UTC", "2024-12-31 23:30:00", "2024-12-31 23:15:00", Rule(kEveryHours, 24), 0, 0, "2025-01-01 23:15:00",
     "over the year's end"},
    // Days
    {"UTC", "2024-02-28 10:00:00", "2024-02-28 09:00:00", Rule(kEveryDays, 1), 0, 0, "2024-02-29 09:00:00",
     "a leap day is a day"},
    {"UTC", "2023-02-28 10:00:00", "2023-02-28 09:00:00", Rule(kEveryDays, 1), 0, 0, "2023-03-01 09:00:00",
     "and a common year has none"},
    {"UTC", "2024-02-01 10:00:00", "2024-01-01 09:00:00", Rule(kEveryDays, 31), 0, 0, "2024-03-03 09:00:00",
     "two steps of 31 days"},
    // Weeks
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 1, 1), 0, 0, "2024-05-13 12:00:00",
     "from a Wednesday back to that week's Monday, then a week on"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 2, 1), 0, 0, "2024-05-20 12:00:00",
     "the Monday before counts as the first of every second week"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 1, 5), 1, 0, "2024-05-10 12:00:00",
     "on to that week's Friday, which is a run when the reference may be one"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 1, 5), 0, 0, "2024-05-17 12:00:00",
     "without that, one week later"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 1, 0), 0, 0, "2024-05-12 12:00:00",
     "a week begins on Sunday"},
    {"UTC", "2024-05-12 12:00:00", "2024-05-12 12:00:00", Rule(kEveryWeeks, 1, 6), 1, 0, "2024-05-18 12:00:00",
     "and ends on Saturday"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 1, 7).start("2024-01-02 06:00:00"), 0, 0,
     "2024-05-14 12:00:00", "7 is the weekday of the start, a Tuesday; the time of day is the reference's"},
    {"UTC", "2024-05-08 12:00:00", "2024-05-08 12:00:00", Rule(kEveryWeeks, 52, 3), 0, 0, "2025-05-07 12:00:00",
     "364 days"},
    // Months on a day
    {"UTC", "2023-01-31 10:00:00", "2023-01-31 10:00:00", Rule(kMonthsOnDay, 1, 31), 0, 0, "2023-02-28 10:00:00",
     "the 31st of a short month is its last day"},
    {"UTC", "2024-01-31 10:00:00", "2024-01-31 10:00:00", Rule(kMonthsOnDay, 1, 31), 0, 0, "2024-02-29 10:00:00",
     "in a leap year too"},
    {"UTC", "2023-02-28 10:00:00", "2023-01-31 10:00:00", Rule(kMonthsOnDay, 1, 31), 0, 0, "2023-03-31 10:00:00",
     "and the rule does not stay on the 28th"},
    {"UTC", "2023-02-28 10:00:00", "2023-02-28 10:00:00", Rule(kMonthsOnDay, 1, 31), 0, 0, "2023-03-31 10:00:00",
     "nor when it goes on from there"},
    {"UTC", "2023-03-31 10:00:00", "2023-03-31 10:00:00", Rule(kMonthsOnDay, 1, 31), 0, 0, "2023-04-30 10:00:00",
     "April has 30 days"},
    {"UTC", "2023-01-30 10:00:00", "2023-01-30 10:00:00", Rule(kMonthsOnDay, 1, 29), 0, 0, "2023-02-28 10:00:00",
     "three days are looked at, 29, 28"},
    {"UTC", "2023-01-10 10:00:00", "2023-01-10 10:00:00", Rule(kMonthsOnDay, 1, 20), 1, 0, "2023-01-20 10:00:00",
     "the reference's month comes first"},
    {"UTC", "2023-01-10 10:00:00", "2023-01-10 10:00:00", Rule(kMonthsOnDay, 1, 20), 0, 0, "2023-02-20 10:00:00",
     "unless a step has to be made"},
    {"UTC", "2023-11-30 10:00:00", "2023-11-30 10:00:00", Rule(kMonthsOnDay, 3, 31), 0, 0, "2024-02-29 10:00:00",
     "over the year's end"},
    {"UTC", "2023-11-30 10:00:00", "2023-11-30 10:00:00", Rule(kMonthsOnDay, 12, 1), 0, 0, "2024-11-01 10:00:00",
     "twelve months"},
    {"UTC", "2023-11-30 10:00:00", "2023-11-30 10:00:00", Rule(kMonthsOnDay, 1, 42), 0, 0, "2023-12-31 10:00:00",
     "any day past the end is the last"},
    // Months on an n-th weekday
    {"UTC", "2024-01-01 00:00:00", "2024-01-31 10:00:00", Rule(kMonthsOnNthWeekday, 1, 33), 0, 0, "2024-02-23 10:00:00",
     "February 2024 has four Fridays, so its fifth is its fourth"},
    {"UTC", "2024-01-01 00:00:00", "2024-02-10 10:00:00", Rule(kMonthsOnNthWeekday, 1, 33), 0, 0, "2024-03-29 10:00:00",
     "March has five"},
    {"UTC", "2024-01-01 00:00:00", "2024-02-10 10:00:00", Rule(kMonthsOnNthWeekday, 1, 40), 0, 0, "2024-03-29 10:00:00",
     "a sixth Friday is the last"},
    {"UTC", "2024-01-01 00:00:00", "2024-01-31 10:00:00", Rule(kMonthsOnNthWeekday, 1, 2), 0, 0, "2024-02-06 10:00:00",
     "first Tuesday"},
    {"UTC", "2024-09-10 00:00:00", "2024-09-10 10:00:00", Rule(kMonthsOnNthWeekday, 1, 7), 1, 0, "2024-10-06 10:00:00",
     "the first Sunday of September has passed"},
    {"UTC", "2024-01-31 00:00:00", "2024-01-31 10:00:00", Rule(kMonthsOnNthWeekday, 12, 15), 0, 0,
     "2025-01-20 10:00:00", "third Monday of January, a year on"},
    // Years
    {"UTC", "2024-02-29 10:00:00", "2024-02-29 10:00:00", Rule(kEveryYears, 1), 0, 0, "2025-03-01 10:00:00",
     "29 February becomes 1 March in a common year"},
    {"UTC", "2025-03-01 10:00:00", "2024-02-29 10:00:00", Rule(kEveryYears, 1), 0, 0, "2026-03-01 10:00:00",
     "and the rule goes on from 1 March"},
    {"UTC", "2027-03-01 10:00:00", "2024-02-29 10:00:00", Rule(kEveryYears, 1), 0, 0, "2028-03-01 10:00:00",
     "also in the next leap year"},
    {"UTC", "2024-02-29 10:00:00", "2024-02-29 10:00:00", Rule(kEveryYears, 4), 0, 0, "2028-02-29 10:00:00",
     "every fourth year there is one"},
    {"UTC", "2024-07-01 10:00:00", "2014-07-01 10:00:00", Rule(kEveryYears, 10), 0, 0, "2034-07-01 10:00:00",
     "ten years on is the clock itself, so ten more"},
    // Start
    {"UTC", "2024-05-10 12:00:00", "2024-05-11 12:00:00", Rule(kEveryDays, 1), 1, 0, "2024-05-11 12:00:00",
     "a reference in the future is the run itself when it may be one"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-11 12:00:00", Rule(kEveryDays, 1), 0, 0, "2024-05-12 12:00:00",
     "otherwise it is stepped once"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 12:00:00", Rule(kEveryDays, 1), 1, 0, "2024-05-11 12:00:00",
     "the reference is the clock, which is too early"},
    {"UTC", "2024-05-10 12:00:00", "2019-05-10 08:00:00", Rule(kEveryDays, 3).start("2024-06-01 00:00:00"), 0, 0,
     "2024-06-03 08:00:00", "a start in the future is reached by whole steps, however old the reference"},
    {"UTC", "2024-05-10 12:00:00", "2024-06-01 08:00:00", Rule(kEveryDays, 1).start("2024-06-03 08:00:00"), 1, 0,
     "2024-06-03 08:00:00", "the moment of the start is a run"},
    {"UTC", "2024-05-10 12:00:00", "2024-06-01 08:00:00", Rule(kEveryDays, 1).start("2024-06-03 08:00:01"), 1, 0,
     "2024-06-04 08:00:00", "one second before it is not"},
    // End
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 23:59:59", Rule(kEveryDays, 1).end("2024-05-11"), 0, 0,
     "2024-05-11 23:59:59", "the last second of the end day"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-11 00:00:00", Rule(kEveryDays, 1).end("2024-05-11"), 0, -302,
     "2024-05-12 00:00:00", "the second after it is too late, and the time tells which run that was"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-11 00:00:00", Rule(kEveryDays, 1), 0, 0, "2024-05-12 00:00:00",
     "no end date, no end"},
    {"UTC", "2024-05-10 12:00:00", "2024-05-10 13:00:00", Rule(kEveryDays, 1).end("2024-05-09"), 1, -302,
     "2024-05-10 13:00:00", "the end is looked at also when the reference is the run"},
};

void expectExample(const Example& row) {
  SCOPED_TRACE(std::string(row.zone) + ": " + row.why);
  const InZone zone(row.zone);
  const Outcome outcome = computed(row.rule, at(row.now), at(row.reference), row.allowReference);
  EXPECT_EQ(outcome.code, row.code);
  EXPECT_EQ(shown(outcome.time), shown(at(row.expected)));
}

TEST(ComputeNextTimeTest, WorkedExamplesHold) {
  for (const Example& row : kExamples) expectExample(row);
}

TEST(ComputeNextTimeTest, TheLastDayOfEveryMonthInTurn) {
  const InZone zone("UTC");
  time64 run = at("2023-12-31 10:00:00");
  const char* const expected[] = {"2024-01-31 10:00:00", "2024-02-29 10:00:00", "2024-03-31 10:00:00",
                                  "2024-04-30 10:00:00", "2024-05-31 10:00:00", "2024-06-30 10:00:00",
                                  "2024-07-31 10:00:00", "2024-08-31 10:00:00", "2024-09-30 10:00:00",
                                  "2024-10-31 10:00:00", "2024-11-30 10:00:00", "2024-12-31 10:00:00",
                                  "2025-01-31 10:00:00", "2025-02-28 10:00:00", "2025-03-31 10:00:00"};
  for (const char* const next : expected) {
    const Outcome outcome = computed(Rule(kMonthsOnDay, 1, 31), run, run, 0);
    ASSERT_EQ(outcome.code, 0);
    ASSERT_EQ(shown(outcome.time), shown(at(next)));
    run = outcome.time;
  }
}

// ---- the n-th weekday against a walk through the month --------------------------------------------------------------

/// The day of the month that `detail` names, found by counting; the last such weekday when there is no n-th.
unsigned countedDay(std::chrono::year_month month, unsigned detail) {
  using namespace std::chrono;
  const weekday wanted(detail % 7);  // 1 Monday .. 6 Saturday, 7 and 0 Sunday
  const unsigned nth = (detail - 1) / 7 + 1;
  unsigned seen = 0;
  unsigned day = 0;
  for (unsigned d = 1; d <= unsigned{(month / last).day()}; ++d) {
    if (weekday(sys_days(month / std::chrono::day(d))) != wanted) continue;
    day = d;
    if (++seen == nth) break;
  }
  return day;
}

TEST(ComputeNextTimeTest, EachNthWeekdayIsTheOneThatCountingFindsInEveryMonthOf28Years) {
  using namespace std::chrono;
  const InZone zone("UTC");
  unsigned firstWeekdays = 0;
  for (year_month month = 2000y / January; month < 2028y / January; month += months(1)) {
    firstWeekdays |= 1u << weekday(sys_days(month / 1)).c_encoding();
    for (unsigned detail = 1; detail <= 42; ++detail) {
      const time64 middle = sys_seconds(sys_days(month / 17) + 12h).time_since_epoch().count();
      const time64 wanted =
          sys_seconds(sys_days(month / day(countedDay(month, detail))) + 12h).time_since_epoch().count();
      const Outcome outcome = computed(Rule(kMonthsOnNthWeekday, 1, static_cast<int>(detail)), 0, middle, 1);
      ASSERT_EQ(outcome.code, 0);
      ASSERT_EQ(shown(outcome.time), shown(wanted)) << "detail " << detail;
    }
  }
  EXPECT_EQ(firstWeekdays, 0x7Fu) << "the 1st has to fall on every weekday";
}

TEST(ComputeNextTimeTest, ASixthWeekdayIsTheLastOneOfEveryMonth) {
  using namespace std::chrono;
  const InZone zone("UTC");
  for (year_month month = 2023y / January; month < 2025y / January; month += months(1)) {
    const time64 first = sys_seconds(sys_days(month / 1)).time_since_epoch().count();
    const time64 lastFriday = sys_seconds(sys_days(month / Friday[last])).time_since_epoch().count();
    EXPECT_EQ(shown(computed(Rule(kMonthsOnNthWeekday, 1, 40), 0, first, 1).time), shown(lastFriday));
  }
}

// ---- what cannot be computed ---------------------------------------------------------------------------------------

TEST(ComputeNextTimeTest, ADayOfMonth0EndsWithAnError) {
  const InZone zone("UTC");
  for (const int allowReference : {0, 1}) {
    EXPECT_EQ(
        computed(Rule(kMonthsOnDay, 1, 0), at("2024-05-10 12:00:00"), at("2024-06-10 12:00:00"), allowReference).code,
        -301);
  }
}

TEST(ComputeNextTimeTest, AnNthWeekday0EndsWithAnErrorInAMonthThatBeginsOnMondayToThursday) {
  const InZone zone("UTC");
  struct Row {
    const char* reference;
    int code;
    const char* expected;
  };
  const Row rows[] = {
      {"2024-01-15 12:00:00", -301, nullptr},                 // 1 January is a Monday
      {"2024-10-15 12:00:00", -301, nullptr},                 // Tuesday
      {"2024-05-15 12:00:00", -301, nullptr},                 // Wednesday
      {"2024-02-15 12:00:00", -301, nullptr},                 // Thursday
      {"2024-03-15 12:00:00", 0, "2024-03-03 12:00:00 +00"},  // Friday
      {"2024-06-15 12:00:00", 0, "2024-06-02 12:00:00 +00"},  // Saturday
      {"2024-09-15 12:00:00", 0, "2024-09-01 12:00:00 +00"},  // Sunday
  };
  for (const Row& row : rows) {
    const Outcome outcome = computed(Rule(kMonthsOnNthWeekday, 1, 0), 0, at(row.reference), 1);
    EXPECT_EQ(outcome.code, row.code) << row.reference;
    if (row.expected != nullptr) {
      EXPECT_EQ(shown(outcome.time), shown(at(row.expected)));
    }
  }
}

TEST(ComputeNextTimeTest, StepsOfNoLengthEndWithAnErrorInsteadOfRunningForEver) {
  const InZone zone("UTC");
  for (std::uint32_t type = 0; type <= 6; ++type) {
    ScheduleCalculator rule = Rule(kEveryMinutes, 1, 1);
    rule.intervalType = type;
    rule.intervalUnit = 0;
    EXPECT_EQ(computed(rule, at("2024-05-10 12:00:00"), at("2024-01-10 12:00:00"), 0).code, -301) << type;
    EXPECT_EQ(computed(rule, at("2024-05-10 12:00:00"), at("2024-01-10 12:00:00"), 1).code, -301) << type;
  }
}

TEST(ComputeNextTimeTest, AReferenceThatIsARunNeedsNoInterval) {
  const InZone zone("UTC");
  ScheduleCalculator rule = Rule(kEveryDays, 1);
  rule.intervalUnit = 0;
  const time64 reference = at("2024-05-11 12:00:00");
  for (const int allowReference : {0, 1}) {
    const Outcome outcome = computed(rule, at("2024-05-10 12:00:00"), reference, allowReference);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.time, reference);
  }
}

TEST(ComputeNextTimeTest, ATypeThatDoesNotExistEndsWithAnError) {
  const InZone zone("UTC");
  ScheduleCalculator rule = Rule(kEveryDays, 1);
  rule.intervalType = 7;
  EXPECT_EQ(computed(rule, at("2024-05-10 12:00:00"), at("2024-01-10 12:00:00"), 0).code, -301);
}

TEST(ComputeNextTimeTest, AReferenceWhoseYearDoesNotFitIsNotConvertible) {
  const InZone zone("UTC");
  for (const time64 reference : {INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(computed(Rule(kEveryDays, 1), 0, reference, 1).code, -301);
  }
}

TEST(ComputeNextTimeTest, AStartOrEndThatHasNoPlaceInTimeIsNotConvertible) {
  const InZone zone("UTC");
  // One second before 1970 is the moment that the conversion cannot tell from its failure.
  const time64 reference = at("2024-05-11 12:00:00");
  const Outcome badStart =
      computed(Rule(kEveryDays, 1).start("1969-12-31 23:59:59"), at("2024-05-10 12:00:00"), reference, 0);
  EXPECT_EQ(badStart.code, -301);
  EXPECT_EQ(badStart.time, reference) << "nothing was converted towards a run yet";

  const Outcome badEnd = computed(Rule(kEveryDays, 1).end("1969-12-31"), at("2024-05-10 12:00:00"), reference, 0);
  EXPECT_EQ(badEnd.code, -301);
  EXPECT_EQ(shown(badEnd.time), shown(at("2024-05-12 12:00:00"))) << "the run itself was computed";
}

TEST(ComputeNextTimeTest, AStepThatLandsWhereTimeCannotBeToldEndsThere) {
  const InZone zone("UTC");
  struct Row {
    const char* reference;
    Rule rule;
  };
  const Row rows[] = {
      {"1969-12-31 23:58:59", Rule(kEveryMinutes, 1)},    {"1969-12-31 22:59:59", Rule(kEveryHours, 1)},
      {"1969-12-30 23:59:59", Rule(kEveryDays, 1)},       {"1969-12-24 23:59:59", Rule(kEveryWeeks, 1, 3)},
      {"1969-11-30 23:59:59", Rule(kMonthsOnDay, 1, 31)}, {"1969-11-26 23:59:59", Rule(kMonthsOnNthWeekday, 1, 31)},
      {"1968-12-31 23:59:59", Rule(kEveryYears, 1)},
  };
  for (const Row& row : rows) {
    const Outcome outcome = computed(row.rule, at("2024-05-10 12:00:00"), at(row.reference), 0);
    EXPECT_EQ(outcome.code, -301) << row.reference;
    EXPECT_EQ(outcome.time, -1) << row.reference;
  }
}

TEST(ComputeNextTimeTest, AStepBeyondTheLastYearEndsWithAnError) {
  const InZone zone("UTC");
  std::tm end{};
  end.tm_year = INT_MAX;
  end.tm_mon = 11;
  end.tm_mday = 31;
  end.tm_hour = 12;
  const time64 lastDay = ::timegm(&end);
  for (const ScheduleIntervalType type : {kEveryDays, kEveryWeeks, kMonthsOnDay, kMonthsOnNthWeekday, kEveryYears}) {
    EXPECT_EQ(computed(Rule(type, 1, 1), 0, lastDay, 0).code, -301) << type;
  }
}

TEST(ComputeNextTimeTest, TheLastYearItselfCanBeReached) {
  const InZone zone("UTC");
  std::tm end{};
  end.tm_year = INT_MAX;
  end.tm_mday = 1;
  const time64 last = ::timegm(&end);
  end = {};
  end.tm_year = INT_MAX - 1;
  end.tm_mday = 1;
  const Outcome outcome = computed(Rule(kEveryYears, 1), 0, ::timegm(&end), 0);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.time, last);
}

TEST(ComputeNextTimeTest, RecurringIsNotRead) {
  const InZone zone("UTC");
  for (const int recurring : {0, 1}) {
    ScheduleCalculator rule = Rule(kEveryDays, 1);
    ASSERT_EQ(rule.setRecurring(recurring), 0);
    const Outcome outcome = computed(rule, at("2024-05-10 12:00:00"), at("2024-05-01 08:00:00"), 0);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(shown(outcome.time), shown(at("2024-05-11 08:00:00")));
  }
}

TEST(ComputeNextTimeTest, AnEndDayWithoutAMonthIsOneOfTheDecemberBefore) {
  const InZone zone("UTC");
  ScheduleCalculator rule = Rule(kEveryDays, 1);
  ASSERT_EQ(rule.setEndYear(2024), 0);
  ASSERT_EQ(rule.setEndMonth(13), -305);
  ASSERT_EQ(rule.setEndDay(31), 0);
  EXPECT_EQ(computed(rule, 0, at("2023-12-30 23:59:59"), 0).code, 0);
  EXPECT_EQ(computed(rule, 0, at("2023-12-31 00:00:00"), 0).code, -302);
}

TEST(ComputeNextTimeTest, ARefusedEndDaySwitchesTheEndOff) {
  const InZone zone("UTC");
  ScheduleCalculator rule = Rule(kEveryDays, 1).end("2024-01-01");
  ASSERT_EQ(computed(rule, at("2024-05-10 12:00:00"), at("2024-05-10 08:00:00"), 0).code, -302);
  ASSERT_EQ(rule.setEndDay(32), -306);
  EXPECT_EQ(computed(rule, at("2024-05-10 12:00:00"), at("2024-05-10 08:00:00"), 0).code, 0);
}

TEST(ScheduleCalculatorTest, AnniversariesOfALeapDayAreTheFirstOfMarchForGoodOnceAYearWithoutItIsMet) {
  const InZone inZone("UTC");
  const Rule rule = Rule(kEveryYears, 4).start("2016-02-29 12:00:00");
  const Outcome before = computed(rule, at("2090-01-01 00:00:00"), at("2016-02-29 12:00:00"), 0);
  EXPECT_EQ(shown(before.time), shown(at("2092-02-29 12:00:00")));
  // 2100 has none.
  const Outcome after = computed(rule, at("2106-01-01 00:00:00"), at("2016-02-29 12:00:00"), 0);
  EXPECT_EQ(after.code, 0);
  EXPECT_EQ(shown(after.time), shown(at("2108-03-01 12:00:00")));
}

TEST(ScheduleCalculatorTest, ADetailThatIsNoWeekdayFailsInTheFirstMonthThatLacksItsDay) {
  const InZone inZone("UTC");
  // Detail 0 is a day of the month where the 1st is a Friday, a Saturday or a Sunday: in March and May of 2026, not in
  // April.
  const Rule rule = Rule(kMonthsOnNthWeekday, 1, 0).start("2026-03-01 12:00:00");
  EXPECT_EQ(computed(rule, at("2026-02-27 00:00:00"), at("2026-03-01 12:00:00"), 1).code, 0);
  EXPECT_EQ(computed(rule, at("2026-03-10 00:00:00"), at("2026-03-01 12:00:00"), 0).code, kNotConvertible);
  EXPECT_EQ(computed(rule, at("2030-12-10 00:00:00"), at("2026-03-01 12:00:00"), 0).code, kNotConvertible);
  // Every other month leads from March to May, and on to July, whose 1st is a Wednesday.
  const Rule everyOther = Rule(kMonthsOnNthWeekday, 2, 0).start("2026-03-01 12:00:00");
  EXPECT_EQ(computed(everyOther, at("2026-03-10 00:00:00"), at("2026-03-01 12:00:00"), 0).code, 0);
  // November and the January that follows have it again, but July comes first.
  EXPECT_EQ(computed(everyOther, at("2026-12-28 12:00:00"), at("2026-03-01 12:00:00"), 0).code, kNotConvertible);
}

}  // namespace
}  // namespace mesk
