#include <gtest/gtest.h>

#include <random>
#include <string>

#include <scheduler/RandomRule.h>
#include <scheduler/ScheduleRule.h>
#include <scheduler/Scratch.h>

namespace mesk::host {
namespace {

std::string refusal(const std::string& words) {
  try {
    ruleFromWords(words);
  } catch (const FormatError& refused) {
    return refused.what();
  }
  return "accepted";
}

struct Row {
  const char* words;
  int type, unit, detail, recurring;
};

TEST(ScheduleRuleTest, WordsAreTheNumbersThatTheStoreKeeps) {
  const Row rows[] = {
      {"every 15 minutes from 2026-01-31 00:00:00", 0, 15, 0, 1},
      {"every minute after the end of the previous run from 2026-01-31 00:00:00", 0, 1, 1, 1},
      {"every 24 hours from 2026-01-31 00:00:00", 1, 24, 0, 1},
      {"every 2 days after the end of the previous run from 2026-01-31 00:00:00", 2, 2, 1, 1},
      {"every week from 2026-01-31 00:00:00", 3, 1, 7, 1},
      {"every 2 weeks on sunday from 2026-01-31 00:00:00", 3, 2, 0, 1},
      {"every week on saturday from 2026-01-31 00:00:00", 3, 1, 6, 1},
      {"every month on day 31 from 2026-01-31 00:00:00", 4, 1, 31, 1},
      {"every month on first monday from 2026-01-31 00:00:00", 5, 1, 1, 1},
      {"every 3 months on second tuesday from 2026-01-31 00:00:00", 5, 3, 9, 1},
      {"every month on fifth sunday from 2026-01-31 00:00:00", 5, 1, 35, 1},
      {"every month on last monday from 2026-01-31 00:00:00", 5, 1, 36, 1},
      {"every month on last sunday from 2026-01-31 00:00:00", 5, 1, 42, 1},
      {"every year from 2026-01-31 00:00:00", 6, 1, 0, 1},
      {"once at 2026-01-31 00:00:00", 2, 1, 0, 0},
  };
  for (const Row& row : rows) {
    const ScheduleRule rule = ruleFromWords(row.words);
    EXPECT_EQ(rule.intervalType, row.type) << row.words;
    EXPECT_EQ(rule.intervalUnit, row.unit) << row.words;
    EXPECT_EQ(rule.detail, row.detail) << row.words;
    EXPECT_EQ(rule.recurring, row.recurring) << row.words;
    EXPECT_EQ(rule.startDate, "20260131") << row.words;
    EXPECT_EQ(rule.startTime, "000000") << row.words;
    EXPECT_EQ(rule.endDate, "") << row.words;
    EXPECT_EQ(wordsOf(rule), row.words);
  }
}

TEST(ScheduleRuleTest, WhatIsNotSaidIsTakenFromTheStart) {
  EXPECT_EQ(wordsOf(ruleFromWords("every month from 2026-02-17 08:30")),
            "every month on day 17 from 2026-02-17 08:30:00");
  EXPECT_EQ(wordsOf(ruleFromWords("every month on last day from 2026-02-17 08:30")),
            "every month on day 31 from 2026-02-17 08:30:00");
}

TEST(ScheduleRuleTest, LetterCaseAndTheUnitOfOneDoNotMatter) {
  EXPECT_EQ(ruleFromWords("Every 1 Week on MONDAY from 2026-01-01 00:00"),
            ruleFromWords("every week on monday from 2026-01-01 00:00:00"));
}

TEST(ScheduleRuleTest, AnyRuleComesBackFromItsWords) {
  std::mt19937_64 random(randomSeed());
  for (int i = 0; i < 5000; ++i) {
    const ScheduleRule rule = randomRule(random);
    ASSERT_EQ(ruleFromWords(wordsOf(rule)), rule) << wordsOf(rule);
  }
}

TEST(ScheduleRuleTest, UnitsHaveTheRangesOfTheirIntervals) {
  for (const auto& [most, name] :
       {std::pair{1000, "minutes"}, {24, "hours"}, {31, "days"}, {52, "weeks"}, {12, "months"}, {10, "years"}}) {
    const std::string words = std::string(" ") + name + " from 2026-01-01 00:00";
    EXPECT_EQ(refusal("every " + std::to_string(most) + words), "accepted");
    const std::string expected = "expected 1 to " + std::to_string(most) + " " + name;
    EXPECT_EQ(refusal("every " + std::to_string(most + 1) + words), expected);
    EXPECT_EQ(refusal("every 0" + words), expected);
    EXPECT_EQ(refusal("every -1" + words), expected);
  }
}

TEST(ScheduleRuleTest, WhatIsNoRuleIsRefusedWithWhatWasExpected) {
  const std::string interval = "expected an interval such as 15 minutes, 2 hours, day, week, 3 months or year";
  const std::string moment = "expected a date and a time such as 2026-12-24 18:00";
  EXPECT_EQ(refusal(""), "expected 'every ..' or 'once at ..'");
  EXPECT_EQ(refusal("every from 2026-01-01 00:00"), interval);
  EXPECT_EQ(refusal("every 5 fortnights from 2026-01-01 00:00"), interval);
  EXPECT_EQ(refusal("every day"), moment);
  EXPECT_EQ(refusal("every day from 2026-01-01"), moment);
  EXPECT_EQ(refusal("once at 2026-1-1 00:00"), moment);
  EXPECT_EQ(refusal("once at 2026-02-29 00:00"), "the calendar has no day 2026-02-29");
  EXPECT_EQ(refusal("once at 2026-13-01 00:00"), "the calendar has no day 2026-13-01");
  EXPECT_EQ(refusal("once at 1969-12-31 00:00"), "expected a year from 1970 to 9999");
  EXPECT_EQ(refusal("once at 2026-01-01 24:00"), "expected a time from 00:00 to 23:59:59");
  EXPECT_EQ(refusal("once at 2026-01-01 23:60"), "expected a time from 00:00 to 23:59:59");
  EXPECT_EQ(refusal("once at 2026-01-01 23:59:60"), "expected a time from 00:00 to 23:59:59");
  EXPECT_EQ(refusal("every day from 2026-01-02 00:00 until 2026-01-01"), "the end is before the start");
  EXPECT_EQ(refusal("every day from 2026-01-02 00:00 until soon"), "expected a date such as 2026-12-31");
  EXPECT_EQ(refusal("every day on monday from 2026-01-02 00:00"), "only weeks and months have an 'on'");
  EXPECT_EQ(refusal("every year on day 3 from 2026-01-02 00:00"), "only weeks and months have an 'on'");
  EXPECT_EQ(refusal("every week on day 3 from 2026-01-02 00:00"), "expected a weekday, sunday to saturday");
  EXPECT_EQ(refusal("every month on day 32 from 2026-01-02 00:00"), "expected a day of the month, day 1 to day 31");
  EXPECT_EQ(refusal("every month on monday from 2026-01-02 00:00"),
            "expected a day of the month such as day 31, last day, second tuesday or last friday");
  EXPECT_EQ(refusal("every week after the end of the previous run from 2026-01-02 00:00"),
            "only minutes, hours and days can be counted from the end of the previous run");
}

}  // namespace
}  // namespace mesk::host
