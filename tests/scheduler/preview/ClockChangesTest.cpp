// What is said of runs around changes of the clocks.
#include <gtest/gtest.h>

#include <mesk/schedule/ScheduleFixture.h>
#include <scheduler/ClockChanges.h>

namespace mesk::host {
namespace {

using Strings = std::vector<std::string>;

struct Row {
  const char* zone;
  const char* rule;
  const char* previous;  ///< null: not known
  const char* run;
  Strings skipped;
  Strings marks;
};

const Row kRows[] = {
    {"Europe/Berlin",
     "every day from 2026-01-01 02:30",
     "2026-03-27 02:30:00 +0100",
     "2026-03-28 02:30:00 +0100",
     {},
     {}},
    {"Europe/Berlin",
     "every day from 2026-01-01 02:30",
     "2026-03-28 02:30:00 +0100",
     "2026-03-30 02:30:00 +0200",
     {"skipped: 02:30 does not exist on 2026-03-29"},
     {}},
    {"Europe/Berlin",
     "every day from 2026-01-01 02:30",
     nullptr,
     "2026-03-30 02:30:00 +0200",
     {"skipped: 02:30 does not exist on 2026-03-29"},
     {}},
    {"Europe/Berlin", "every day from 2026-03-30 02:30", nullptr, "2026-03-30 02:30:00 +0200", {}, {}},
    {"Europe/Berlin",
     "every week on sunday from 2026-01-01 02:30",
     "2026-03-22 02:30:00 +0100",
     "2026-04-05 02:30:00 +0200",
     {"skipped: 02:30 does not exist on 2026-03-29"},
     {}},
    {"Europe/Berlin",
     "every 23 weeks on sunday from 2023-10-22 02:30",
     "2023-10-22 02:30:00 +0200",
     "2024-09-08 04:30:00 +0200",
     {"skipped: 02:30 does not exist on 2024-03-31"},
     {"clocks went forward at 02:00 on 2024-03-31: moved from 02:30 to 04:30"}},
    {"Europe/Berlin",
     "every month on day 29 from 2026-01-29 02:30",
     "2026-02-28 02:30:00 +0100",
     "2026-03-29 03:30:00 +0200",
     {},
     {"clocks went forward at 02:00: moved from 02:30 to 03:30"}},
    {"Europe/Berlin",
     "every month on day 31 from 2026-01-31 10:00",
     nullptr,
     "2026-03-31 11:00:00 +0200",
     {},
     {"clocks went forward at 02:00 on 2026-03-29: moved from 10:00 to 11:00"}},
    {"Europe/Berlin",
     "every month on day 31 from 2026-01-31 10:00",
     "2026-03-31 11:00:00 +0200",
     "2026-04-30 12:00:00 +0200",
     {},
     {"clocks went forward at 02:00 on 2026-03-29: moved from 11:00 to 12:00"}},
    {"Europe/Berlin",
     "every month on day 31 from 2026-01-31 10:00",
     "2026-04-30 12:00:00 +0200",
     "2026-05-31 12:00:00 +0200",
     {},
     {"at 12:00 instead of 10:00 since the clocks changed"}},
    {"Europe/Berlin",
     "every month on day 31 from 2024-01-31 23:30",
     "2024-02-29 23:30:00 +0100",
     "2024-03-30 23:30:00 +0100",
     {},
     {"clocks went forward at 02:00 on 2024-03-31: moved from 2024-03-31 23:30 to 2024-03-30 23:30"}},
    {"America/New_York",
     "every month on day 9 from 2024-01-09 10:00",
     "2024-02-09 10:00:00 -0500",
     "2024-03-09 09:00:00 -0500",
     {},
     {"clocks went forward at 02:00 on 2024-03-10: moved from 10:00 to 09:00"}},
    {"Europe/Berlin",
     "every month on fifth sunday from 2024-01-01 02:30",
     "2024-02-25 02:30:00 +0100",
     "2024-03-31 01:30:00 +0100",
     {},
     {"clocks went forward at 02:00: moved from 02:30 to 01:30"}},
    {"Europe/Berlin",
     "every year from 2023-03-31 02:30",
     "2023-03-31 02:30:00 +0200",
     "2024-03-31 03:30:00 +0200",
     {},
     {"clocks went forward at 02:00: moved from 02:30 to 03:30"}},
    {"UTC", "every year from 2024-02-29 10:00", "2024-02-29 10:00:00", "2025-03-01 10:00:00", {}, {}},
    {"Europe/Berlin",
     "every day from 2026-01-01 02:30",
     "2026-10-24 02:30:00 +0200",
     "2026-10-25 02:30:00 +0200",
     {},
     {"02:30 comes twice: this is the first"}},
    {"Europe/Berlin",
     "every day from 2026-01-01 02:30",
     "2026-10-24 02:30:00 +0200",
     "2026-10-25 02:30:00 +0100",
     {},
     {"02:30 comes twice: this is the second"}},
    {"Europe/Berlin",
     "every 15 minutes from 2026-01-01 00:00",
     "2026-03-29 01:45:00 +0100",
     "2026-03-29 03:00:00 +0200",
     {},
     {"clocks went forward at 02:00: moved from 02:00 to 03:00"}},
    {"Europe/Berlin",
     "every 15 minutes from 2026-01-01 00:00",
     "2026-03-29 03:00:00 +0200",
     "2026-03-29 03:15:00 +0200",
     {},
     {}},
    {"Europe/Berlin",
     "every 15 minutes from 2026-01-01 00:00",
     "2026-10-25 01:45:00 +0200",
     "2026-10-25 02:00:00 +0100",
     {"skipped: 02:00 comes twice on 2026-10-25, no run the first time"},
     {"02:00 comes twice: this is the second"}},
    {"Europe/Berlin",
     "every 24 hours from 2026-01-01 12:00",
     "2026-03-28 12:00:00 +0100",
     "2026-03-29 13:00:00 +0200",
     {},
     {"clocks went forward at 02:00: moved from 12:00 to 13:00"}},
    {"Australia/Lord_Howe",
     "every day from 2024-01-01 09:00",
     "2024-10-05 09:00:00 +1030",
     "2024-10-06 09:30:00 +1100",
     {},
     {"clocks went forward at 02:00: moved from 09:00 to 09:30"}},
    {"Europe/Berlin",
     "every day after the end of the previous run from 2026-01-01 02:30",
     nullptr,
     "2026-05-10 17:12:09 +0200",
     {},
     {}},
    {"Europe/Berlin",
     "once at 2026-03-29 02:30",
     nullptr,
     "2026-03-29 03:30:00 +0200",
     {},
     {"clocks went forward at 02:00: moved from 02:30 to 03:30"}},
    {"Pacific/Apia",
     "every day from 2011-01-01 09:00",
     "2011-12-29 09:00:00 -1000",
     "2011-12-31 09:00:00 +1400",
     {"skipped: 09:00 does not exist on 2011-12-30"},
     {}},
};

Strings texts(const std::vector<ClockMark>& marks) {
  Strings result;
  for (const ClockMark& mark : marks) result.push_back(textOf(mark));
  return result;
}

TEST(ClockChangesTest, EachRunIsSaidToBeWhatTheClocksMadeOfIt) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.zone) + " " + row.rule + " " + row.run);
    const InZone zone(row.zone);
    const auto previous = row.previous == nullptr ? std::nullopt : std::optional(at(row.previous));
    const ClockMarks marks = clockMarks(ruleFromWords(row.rule), previous, at(row.run), 0);
    EXPECT_EQ(texts(marks.skipped), row.skipped);
    EXPECT_EQ(texts(marks.marks), row.marks);
  }
}

TEST(ClockChangesTest, WhatWasLeftOutBeforeNowIsNotTold) {
  const InZone zone("Europe/Berlin");
  const ScheduleRule rule = ruleFromWords("every day from 2026-01-01 02:30");
  const time64 change = at("2026-03-29 03:00:00 +0200");
  EXPECT_EQ(clockMarks(rule, std::nullopt, at("2026-03-30 02:30:00 +0200"), change - 1).skipped.size(), 1U);
  EXPECT_EQ(clockMarks(rule, std::nullopt, at("2026-03-30 02:30:00 +0200"), change).skipped.size(), 0U);
}

TEST(ClockChangesTest, NothingIsSaidOfRunsThatNoChangeIsNear) {
  for (const char* name : {"UTC", "Asia/Kolkata", "Europe/Berlin"}) {
    const InZone zone(name);
    const ScheduleRule rule = ruleFromWords("every day from 2026-01-01 12:00");
    std::tm noon{};
    noon.tm_year = 126;
    noon.tm_mday = 1;
    noon.tm_hour = 12;
    noon.tm_isdst = -1;
    std::optional<time64> previous;
    for (int day = 1; day < 700; ++day) {
      std::tm local = noon;
      local.tm_mday = day;
      const time64 run = std::mktime(&local);
      const ClockMarks marks = clockMarks(rule, previous, run, 0);
      ASSERT_TRUE(marks.marks.empty() && marks.skipped.empty()) << name << " " << shown(run);
      previous = run;
    }
  }
}

TEST(ClockChangesTest, ChangesAreFoundToTheSecond) {
  const InZone zone("Europe/Berlin");
  EXPECT_EQ(
      clockChanges(at("2026-01-01 00:00:00"), at("2027-01-01 00:00:00")),
      (std::vector<ClockChange>{{at("2026-03-29 01:00:00"), 3600, 7200}, {at("2026-10-25 01:00:00"), 7200, 3600}}));
  EXPECT_EQ(clockChanges(at("2026-03-29 00:59:59"), at("2026-03-29 01:00:00")).size(), 1U);
  EXPECT_TRUE(clockChanges(at("2026-03-29 01:00:00"), at("2026-03-29 02:00:00")).empty());
  EXPECT_TRUE(clockChanges(100, 100).empty());
}

TEST(ClockChangesTest, ATimeOnTheWallHasNoneOneOrTwoMoments) {
  const InZone zone("Europe/Berlin");
  EXPECT_EQ(momentsOf(at("2026-03-29 02:30:00")), std::vector<time64>{});
  EXPECT_EQ(momentsOf(at("2026-03-29 03:00:00")), std::vector<time64>{at("2026-03-29 01:00:00")});
  EXPECT_EQ(momentsOf(at("2026-10-25 02:30:00")),
            (std::vector<time64>{at("2026-10-25 00:30:00"), at("2026-10-25 01:30:00")}));
  EXPECT_EQ(momentsOf(at("2026-10-25 03:00:00")), std::vector<time64>{at("2026-10-25 02:00:00")});
}

}  // namespace
}  // namespace mesk::host
