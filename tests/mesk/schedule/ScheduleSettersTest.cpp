#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <optional>

#include <mesk/schedule/ScheduleCalculator.h>

namespace mesk {
namespace {

TEST(ScheduleCalculatorRecordTest, StartsAsTheFirstOfJanuaryWithoutAnEnd) {
  const ScheduleCalculator rule;
  EXPECT_EQ(rule.startYear, 1);
  EXPECT_EQ(rule.startMonth, 1u);
  EXPECT_EQ(rule.startDay, 1u);
  EXPECT_EQ(rule.startHour, 0u);
  EXPECT_EQ(rule.startMinute, 0u);
  EXPECT_EQ(rule.startSecond, 0u);
  EXPECT_EQ(rule.endYear, 0);
  EXPECT_EQ(rule.endMonth, 0u);
  EXPECT_EQ(rule.endDay, 0u);
  EXPECT_EQ(rule.intervalUnit, 0u);
  EXPECT_EQ(rule.intervalType, 0u);
}

struct RangeRow {
  const char* name;
  int (ScheduleCalculator::*set)(const int&);
  std::uint32_t ScheduleCalculator::*field;
  int lowest;
  int highest;
  int code;
  std::uint32_t fallback;
};

const RangeRow kRanges[] = {
    {"recurring", &ScheduleCalculator::setRecurring, &ScheduleCalculator::recurring, 0, 1, -310, 0},
    {"intervalType", &ScheduleCalculator::setIntervalType, &ScheduleCalculator::intervalType, 0, 6, -311, 0},
    {"detail", &ScheduleCalculator::setDetail, &ScheduleCalculator::detail, 0, 42, -304, 0},
    {"startMonth", &ScheduleCalculator::setStartMonth, &ScheduleCalculator::startMonth, 1, 12, -305, 1},
    {"startDay", &ScheduleCalculator::setStartDay, &ScheduleCalculator::startDay, 1, 31, -306, 1},
    {"startHour", &ScheduleCalculator::setStartHour, &ScheduleCalculator::startHour, 0, 23, -307, 0},
    {"startMinute", &ScheduleCalculator::setStartMinute, &ScheduleCalculator::startMinute, 0, 59, -308, 0},
    {"startSecond", &ScheduleCalculator::setStartSecond, &ScheduleCalculator::startSecond, 0, 59, -309, 0},
    {"endMonth", &ScheduleCalculator::setEndMonth, &ScheduleCalculator::endMonth, 1, 12, -305, 0},
    {"endDay", &ScheduleCalculator::setEndDay, &ScheduleCalculator::endDay, 1, 31, -306, 0},
};

TEST(ScheduleCalculatorSettersTest, StoreEveryValueOfTheirRange) {
  for (const RangeRow& row : kRanges) {
    SCOPED_TRACE(row.name);
    for (int value = row.lowest; value <= row.highest; ++value) {
      ScheduleCalculator rule;
      EXPECT_EQ((rule.*row.set)(value), 0) << value;
      EXPECT_EQ(rule.*row.field, static_cast<std::uint32_t>(value));
    }
  }
}

TEST(ScheduleCalculatorSettersTest, RefuseWhatIsPastTheRangeOrNegativeAndStoreTheFallback) {
  for (const RangeRow& row : kRanges) {
    SCOPED_TRACE(row.name);
    for (const int value : {row.lowest - 1, row.highest + 1, -1, INT_MIN, INT_MAX}) {
      ScheduleCalculator rule;
      ASSERT_EQ((rule.*row.set)(row.highest), 0);
      EXPECT_EQ((rule.*row.set)(value), row.code) << value;
      EXPECT_EQ(rule.*row.field, row.fallback) << value;
    }
  }
}

TEST(ScheduleCalculatorSettersTest, TouchNoFieldButTheirOwn) {
  for (const RangeRow& row : kRanges) {
    SCOPED_TRACE(row.name);
    for (const int value : {row.highest, row.highest + 1}) {
      ScheduleCalculator rule;
      rule.detail = 5;
      rule.recurring = 1;
      std::uint32_t before[13];
      std::memcpy(before, &rule, sizeof before);
      (rule.*row.set)(value);
      std::uint32_t after[13];
      std::memcpy(after, &rule, sizeof after);
      const auto own = static_cast<std::size_t>(reinterpret_cast<const std::uint32_t*>(&(rule.*row.field)) -
                                                reinterpret_cast<const std::uint32_t*>(&rule));
      for (std::size_t field = 0; field < 13; ++field) {
        if (field == own) continue;
        EXPECT_EQ(after[field], before[field]) << "field " << field;
      }
    }
  }
}

TEST(ScheduleCalculatorSettersTest, TakeYearsOfTheCalendarAndYearsSince1900) {
  struct YearRow {
    int value;
    int stored;
  };
  const YearRow rows[] = {{2024, 124},  {1901, 1},          {1900, 1900},
                          {1899, 1899}, {124, 124},         {0, 0},
                          {-5, -5},     {INT_MIN, INT_MIN}, {INT_MAX, INT_MAX - 1900}};
  for (const YearRow& row : rows) {
    ScheduleCalculator rule;
    EXPECT_EQ(rule.setStartYear(row.value), 0);
    EXPECT_EQ(rule.startYear, row.stored) << row.value;
    EXPECT_EQ(rule.endYear, 0);
    EXPECT_EQ(rule.setEndYear(row.value), 0);
    EXPECT_EQ(rule.endYear, row.stored) << row.value;
  }
}

TEST(ScheduleCalculatorSettersTest, TheIntervalUnitHasTheRangeOfTheStoredType) {
  const int longest[] = {1000, 24, 31, 52, 12, 12, 10};
  for (int type = 0; type <= 6; ++type) {
    SCOPED_TRACE(type);
    ScheduleCalculator rule;
    ASSERT_EQ(rule.setIntervalType(type), 0);
    for (int unit = 1; unit <= longest[type]; ++unit) {
      EXPECT_EQ(rule.setIntervalUnit(unit), 0) << unit;
      EXPECT_EQ(rule.intervalUnit, static_cast<std::uint32_t>(unit));
    }
    for (const int unit : {0, longest[type] + 1, -1, INT_MIN, INT_MAX}) {
      EXPECT_EQ(rule.setIntervalUnit(unit), -303) << unit;
      EXPECT_EQ(rule.intervalUnit, static_cast<std::uint32_t>(longest[type])) << "a refused unit changes nothing";
    }
  }
}

TEST(ScheduleCalculatorSettersTest, AThousandIsAnIntervalOfMinutesButNotOfHours) {
  ScheduleCalculator rule;
  ASSERT_EQ(rule.setIntervalType(0), 0);
  EXPECT_EQ(rule.setIntervalUnit(1000), 0);
  ASSERT_EQ(rule.setIntervalType(1), 0);
  EXPECT_EQ(rule.setIntervalUnit(1000), -303);
  EXPECT_EQ(rule.intervalUnit, 1000u) << "the unit of the former type stays";
}

TEST(ScheduleCalculatorSettersTest, NoIntervalUnitFitsATypeThatDoesNotExist) {
  for (const std::uint32_t type : {7u, 8u, 0xFFFFFFFFu}) {
    ScheduleCalculator rule;
    rule.intervalUnit = 3;
    rule.intervalType = type;
    EXPECT_EQ(rule.setIntervalUnit(1), -303);
    EXPECT_EQ(rule.intervalUnit, 3u);
  }
}

}  // namespace
}  // namespace mesk
