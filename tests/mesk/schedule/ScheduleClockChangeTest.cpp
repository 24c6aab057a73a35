// Worked examples around the changes of the clocks; docs/schedules.md tells many of them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ScheduleFixture.h"

namespace mesk {
namespace {

// Berlin 2024: 31 March 02:00 +0100 becomes 03:00 +0200, 27 October 03:00 +0200 becomes 02:00 +0100.
const std::vector<Example> kBerlin = {
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-30 09:00:00 +0100", Rule(kEveryDays, 1), 0, 0,
     "2024-03-31 09:00:00 +0200", "a daily run keeps its hour on the wall in spring"},
    {"Europe/Berlin", "2024-10-26 12:00:00 +0200", "2024-10-26 09:00:00 +0200", Rule(kEveryDays, 1), 0, 0,
     "2024-10-27 09:00:00 +0100", "and in autumn"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-30 02:30:00 +0100", Rule(kEveryDays, 1), 0, 0,
     "2024-04-01 02:30:00 +0200", "31 March has no 02:30: the run is the day after"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-29 02:30:00 +0100", Rule(kEveryDays, 2), 0, 0,
     "2024-04-02 02:30:00 +0200", "of every second day, two days after"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-24 02:30:00 +0100", Rule(kEveryWeeks, 1, 0), 0, 0,
     "2024-04-07 02:30:00 +0200", "of every week, a week after"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2023-10-22 02:30:00 +0200", Rule(kEveryWeeks, 23, 0), 0, 0,
     "2024-09-08 04:30:00 +0200", "from a summer into the gap of the next, the run behind it is two hours late"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-30 03:00:00 +0100", Rule(kEveryDays, 1), 0, 0,
     "2024-03-31 03:00:00 +0200", "03:00 is there"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-27 02:30:00 +0100", Rule(kEveryWeeks, 1, 0), 1, 0,
     "2024-04-07 02:30:00 +0200", "also from a Wednesday: back to Sunday the 24th, then past the gap"},
    {"Europe/Berlin", "2024-10-26 12:00:00 +0200", "2024-10-26 02:30:00 +0200", Rule(kEveryDays, 1), 0, 0,
     "2024-10-27 02:30:00 +0200", "02:30 comes twice: the first, which is still in summer time"},
    {"Europe/Berlin", "2024-10-27 02:30:00 +0200", "2024-10-27 02:30:00 +0200", Rule(kEveryDays, 1), 0, 0,
     "2024-10-28 02:30:00 +0100", "and not a second time"},
    {"Europe/Berlin", "2024-10-27 12:00:00 +0100", "2024-10-28 02:30:00 +0100", Rule(kEveryWeeks, 1, 0), 1, 0,
     "2024-11-03 02:30:00 +0100", "back to that week's Sunday is the second 02:30 of 27 October, which has passed"},
    {"Europe/Berlin", "2024-03-31 01:50:00 +0100", "2024-03-31 01:50:00 +0100", Rule(kEveryMinutes, 15), 0, 0,
     "2024-03-31 03:05:00 +0200", "minutes are elapsed time across the gap"},
    {"Europe/Berlin", "2024-10-27 02:50:00 +0200", "2024-10-27 02:50:00 +0200", Rule(kEveryMinutes, 15), 0, 0,
     "2024-10-27 02:05:00 +0100", "and through the doubled hour"},
    {"Europe/Berlin", "2024-10-27 02:30:00 +0200", "2024-10-27 02:30:00 +0200", Rule(kEveryHours, 1), 0, 0,
     "2024-10-27 02:30:00 +0100", "an hour is an hour: 02:30 twice"},
    {"Europe/Berlin", "2024-03-30 12:00:00 +0100", "2024-03-30 12:00:00 +0100", Rule(kEveryHours, 24), 0, 0,
     "2024-03-31 13:00:00 +0200", "24 hours are not a day when the clocks change"},
    {"Europe/Berlin", "2023-03-31 12:00:00 +0200", "2023-03-31 02:30:00 +0200", Rule(kEveryYears, 1), 0, 0,
     "2024-03-31 03:30:00 +0200", "a yearly run in the gap is an hour later"},
    {"Europe/Berlin", "2024-03-31 12:00:00 +0200", "2023-03-31 02:30:00 +0200", Rule(kEveryYears, 1), 0, 0,
     "2025-03-31 03:30:00 +0200", "and the steps after it go on from there"},
    {"Europe/Berlin", "2024-02-20 12:00:00 +0100", "2024-02-25 02:30:00 +0100", Rule(kMonthsOnNthWeekday, 1, 42), 0, 0,
     "2024-03-31 03:30:00 +0200", "a last Sunday that came from a missing sixth one is an hour later in the gap"},
    {"Europe/Berlin", "2024-02-20 12:00:00 +0100", "2024-02-25 10:00:00 +0100", Rule(kMonthsOnNthWeekday, 1, 42), 0, 0,
     "2024-03-31 10:00:00 +0200", "an n-th weekday keeps its hour across a change within the month"},
    {"Europe/Berlin", "2024-02-29 12:00:00 +0100", "2024-02-29 10:00:00 +0100", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-03-31 11:00:00 +0200", "a day of the month does not: 31 March is counted in the time of the 15th"},
    {"Europe/Berlin", "2024-09-30 12:00:00 +0200", "2024-09-30 10:00:00 +0200", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-10-31 09:00:00 +0100", "nor in autumn"},
    {"Europe/Berlin", "2024-03-31 12:00:00 +0200", "2024-02-29 10:00:00 +0100", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-04-30 11:00:00 +0200", "the hour that it moved to is the one that is stepped from"},
    {"Europe/Berlin", "2024-02-29 12:00:00 +0100", "2024-02-29 10:00:00 +0100", Rule(kMonthsOnDay, 1, 15), 0, 0,
     "2024-03-15 10:00:00 +0100", "before the change nothing moves"},
    {"Europe/Berlin", "2024-03-20 12:00:00 +0100", "2024-03-15 10:00:00 +0100", Rule(kMonthsOnDay, 1, 15), 0, 0,
     "2024-04-15 10:00:00 +0200", "nor in the months after"},
    {"Europe/Berlin", "2024-02-29 23:59:00 +0100", "2024-02-29 23:30:00 +0100", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-03-30 23:30:00 +0100", "an hour after 23:30 of the 31st is April; so the 30th, counted as the 15th is"},
    {"Europe/Berlin", "2024-02-20 12:00:00 +0100", "2024-02-25 02:30:00 +0100", Rule(kMonthsOnNthWeekday, 1, 35), 0, 0,
     "2024-03-31 01:30:00 +0100", "the fifth Sunday itself in the gap is an hour earlier"},
    {"Europe/Berlin", "2024-06-09 00:00:00 +0200", "2024-06-10 09:00:00 +0200",
     Rule(kEveryDays, 1).start("2024-06-12 09:00:00"), 0, 0, "2024-06-12 09:00:00 +0200",
     "a start in summer is meant in summer time"},
    {"Europe/Berlin", "2024-03-30 00:00:00 +0100", "2024-03-31 03:15:00 +0200",
     Rule(kEveryMinutes, 1).start("2024-03-31 02:30:00"), 1, 0, "2024-03-31 03:15:00 +0200",
     "a start in the gap is taken as an hour earlier, 01:30 +0100"},
    {"Europe/Berlin", "2024-10-27 00:00:00 +0200", "2024-10-27 02:30:00 +0200",
     Rule(kEveryMinutes, 30).start("2024-10-27 02:30:00"), 1, 0, "2024-10-27 02:30:00 +0100",
     "a start in the doubled hour is its second passage"},
    {"Europe/Berlin", "2024-06-09 00:00:00 +0200", "2024-06-11 23:59:59 +0200", Rule(kEveryDays, 1).end("2024-06-12"),
     0, 0, "2024-06-12 23:59:59 +0200", "an end in summer is meant in summer time"},
    {"Europe/Berlin", "2024-06-09 00:00:00 +0200", "2024-06-12 00:00:00 +0200", Rule(kEveryDays, 1).end("2024-06-12"),
     0, -302, "2024-06-13 00:00:00 +0200", "to the second"},
    {"Europe/Berlin", "2024-10-26 12:00:00 +0200", "2024-10-26 23:59:59 +0200", Rule(kEveryDays, 1).end("2024-10-27"),
     0, 0, "2024-10-27 23:59:59 +0100", "a day of 25 hours ends with its last second"},
};

// New York 2024: 10 March 02:00 -0500 becomes 03:00 -0400, 3 November 02:00 -0400 becomes 01:00 -0500.
const std::vector<Example> kNewYork = {
    {"America/New_York", "2024-03-09 12:00:00 -0500", "2024-03-09 02:30:00 -0500", Rule(kEveryDays, 1), 0, 0,
     "2024-03-11 02:30:00 -0400", "the missing hour skips the day"},
    {"America/New_York", "2024-03-09 12:00:00 -0500", "2024-03-03 02:00:00 -0500", Rule(kEveryWeeks, 2, 0), 0, 0,
     "2024-03-17 02:00:00 -0400", "two weeks from 3 March meet no gap"},
    {"America/New_York", "2024-03-09 12:00:00 -0500", "2024-03-03 02:00:00 -0500",
     Rule(kEveryWeeks, 1, 7).start("2024-01-07 02:00:00"), 0, 0, "2024-03-17 02:00:00 -0400",
     "one week does, and goes on to the next"},
    {"America/New_York", "2024-11-02 12:00:00 -0400", "2024-11-02 01:30:00 -0400", Rule(kEveryDays, 1), 0, 0,
     "2024-11-03 01:30:00 -0400", "the doubled hour: the first passage"},
    {"America/New_York", "2024-11-03 01:30:00 -0400", "2024-11-03 01:30:00 -0400", Rule(kEveryDays, 1), 0, 0,
     "2024-11-04 01:30:00 -0500", "then the next day"},
    {"America/New_York", "2024-11-03 01:30:00 -0400", "2024-11-03 00:30:00 -0400", Rule(kEveryHours, 1), 0, 0,
     "2024-11-03 01:30:00 -0500", "hours run through both"},
    {"America/New_York", "2024-02-10 12:00:00 -0500", "2024-02-09 10:00:00 -0500", Rule(kMonthsOnDay, 1, 9), 0, 0,
     "2024-03-09 09:00:00 -0500", "9 March, counted in the summer time of 15 March, is an hour early"},
    {"America/New_York", "2024-02-02 12:00:00 -0500", "2024-02-02 00:30:00 -0500", Rule(kMonthsOnDay, 1, 2), 0, 0,
     "2024-03-01 23:30:00 -0500", "which at half past midnight is the day before"},
    {"America/New_York", "2024-02-01 12:00:00 -0500", "2024-02-01 00:30:00 -0500", Rule(kMonthsOnDay, 1, 1), 0, 0,
     "2024-03-01 00:30:00 -0500", "but never the month before: the 1st keeps its hour"},
    {"America/New_York", "2024-03-01 12:00:00 -0500", "2024-02-01 00:30:00 -0500", Rule(kMonthsOnDay, 1, 1), 0, 0,
     "2024-04-01 00:30:00 -0400", "and the rule goes on"},
    {"America/New_York", "2024-02-10 12:00:00 -0500", "2024-02-11 10:00:00 -0500", Rule(kMonthsOnNthWeekday, 1, 6), 0,
     0, "2024-03-02 10:00:00 -0500", "first Saturday, before the change"},
    {"America/New_York", "2024-02-10 12:00:00 -0500", "2024-02-11 10:00:00 -0500", Rule(kMonthsOnNthWeekday, 1, 14), 0,
     0, "2024-03-10 10:00:00 -0400", "second Sunday, the day of the change"},
};

// Auckland 2024: 29 September 02:00 +1200 becomes 03:00 +1300.
const std::vector<Example> kAuckland = {
    {"Pacific/Auckland", "2024-08-31 12:00:00 +1200", "2024-08-31 10:00:00 +1200", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-09-30 11:00:00 +1300", "31 September is 1 October; 30 September is still counted in the time of the 15th"},
    {"Pacific/Auckland", "2024-08-31 12:00:00 +1200", "2024-08-30 10:00:00 +1200", Rule(kMonthsOnDay, 1, 30), 0, 0,
     "2024-09-30 11:00:00 +1300", "as it is when it is asked for itself"},
    {"Pacific/Auckland", "2024-08-31 23:59:00 +1200", "2024-08-31 23:30:00 +1200", Rule(kMonthsOnDay, 1, 31), 0, 0,
     "2024-09-30 00:30:00 +1300", "23:30 of the 30th is October as well; that of the 29th is the 30th"},
};

// Lord Howe 2024: half an hour. 7 April 02:00 +1100 becomes 01:30 +1030, 6 October 02:00 +1030 becomes 02:30 +1100.
const std::vector<Example> kLordHowe = {
    {"Australia/Lord_Howe", "2024-10-05 12:00:00 +1030", "2024-10-05 09:00:00 +1030", Rule(kEveryDays, 1), 0, 0,
     "2024-10-06 09:30:00 +1100", "half an hour leaves the hour as it is, so the minute moves"},
    {"Australia/Lord_Howe", "2024-10-05 12:00:00 +1030", "2024-10-05 09:45:00 +1030", Rule(kEveryDays, 1), 0, 0,
     "2024-10-06 09:45:00 +1100", "unless it is late in the hour, where the hour would move and is kept"},
    {"Australia/Lord_Howe", "2024-10-05 12:00:00 +1030", "2024-10-05 02:15:00 +1030", Rule(kEveryDays, 1), 0, 0,
     "2024-10-06 02:45:00 +1100", "in the gap"},
    {"Australia/Lord_Howe", "2024-04-06 12:00:00 +1100", "2024-04-06 01:45:00 +1100", Rule(kEveryDays, 1), 0, 0,
     "2024-04-07 01:45:00 +1100", "the doubled half hour: the first passage"},
    {"Australia/Lord_Howe", "2024-04-07 01:45:00 +1100", "2024-04-07 01:45:00 +1100", Rule(kEveryDays, 1), 0, 0,
     "2024-04-08 01:15:00 +1030", "and after it the minute moves back"},
    {"Australia/Lord_Howe", "2024-04-07 01:45:00 +1100", "2024-04-07 01:45:00 +1100", Rule(kEveryMinutes, 30), 0, 0,
     "2024-04-07 01:45:00 +1030", "minutes are elapsed time"},
    {"Australia/Lord_Howe", "2024-01-08 00:00:00 +1100", "2024-01-10 10:15:00 +1100",
     Rule(kEveryMinutes, 15).start("2024-01-10 10:15:00"), 1, 0, "2024-01-10 10:45:00 +1100",
     "a summer start at 10:15 is 10:45, the hour being right at once"},
    {"Australia/Lord_Howe", "2024-01-08 00:00:00 +1100", "2024-01-10 10:30:00 +1100",
     Rule(kEveryMinutes, 15).start("2024-01-10 10:30:00"), 1, 0, "2024-01-10 10:30:00 +1100",
     "one at 10:30 would be 11:00, and is kept"},
};

void expectAll(const std::vector<Example>& rows) {
  for (const Example& row : rows) {
    SCOPED_TRACE(std::string(row.zone) + ": " + row.why);
    const InZone zone(row.zone);
    const Outcome outcome = computed(row.rule, at(row.now), at(row.reference), row.allowReference);
    EXPECT_EQ(outcome.code, row.code);
    EXPECT_EQ(shown(outcome.time), row.expected);
  }
}

TEST(ScheduleClockChangeTest, BerlinRunsAsTheRowsSay) { expectAll(kBerlin); }
TEST(ScheduleClockChangeTest, NewYorkRunsAsTheRowsSay) { expectAll(kNewYork); }
TEST(ScheduleClockChangeTest, AucklandRunsAsTheRowsSay) { expectAll(kAuckland); }
TEST(ScheduleClockChangeTest, LordHoweRunsAsTheRowsSay) { expectAll(kLordHowe); }

}  // namespace
}  // namespace mesk
