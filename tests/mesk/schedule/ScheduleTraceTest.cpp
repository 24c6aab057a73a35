// What the calculator tells the trace. The four functions below stand in for the platform's in this program.
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include <platform/Trace.h>

#include "ScheduleFixture.h"

namespace {

struct ErrorRecord {
  std::uint32_t function;
  std::uint32_t probe;
  std::int32_t type;
  std::vector<unsigned char> bytes;
};

thread_local std::vector<std::string> told;
thread_local std::vector<ErrorRecord> errors;

std::string hex(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%08X", value);
  return text;
}

}  // namespace

void _gtraceEntry(std::uint64_t, std::uint32_t function, std::uint32_t, std::uint32_t) {
  told.push_back("enter " + hex(function));
}

void _gtraceExit(std::uint64_t, std::uint32_t function, const void* record, std::uint32_t) {
  std::int32_t code = 0;
  std::memcpy(&code, record, sizeof code);
  told.push_back("leave " + hex(function) + " " + std::to_string(code));
}

void _gtraceVar(std::uint64_t, std::uint32_t function, std::uint32_t, std::int32_t, std::uint32_t, std::uint32_t,
                std::uint32_t, std::size_t, const void*) {
  told.push_back("value " + hex(function));
}

void _gtraceErrorVar(std::uint64_t, std::uint32_t function, std::uint32_t probe, std::int32_t type, std::uint32_t,
                     std::uint32_t, std::uint32_t, std::size_t length, const void* address) {
  told.push_back("error " + hex(function) + " probe " + std::to_string(probe));
  const auto* bytes = static_cast<const unsigned char*>(address);
  errors.push_back({function, probe, type, {bytes, bytes + length}});
}

namespace mesk {
namespace {

class ScheduleTraceTest : public testing::Test {
 protected:
  ScheduleTraceTest() : zone_("UTC"), outer_(g_pGTCB) {
    told.clear();
    errors.clear();
    block_.traceOn = 1;
    g_pGTCB = &block_;
  }
  ~ScheduleTraceTest() override { g_pGTCB = outer_; }

  using Lines = std::vector<std::string>;

  static void expectTime(const ErrorRecord& record, int year, int month, int day, int hour, int minute, int second) {
    EXPECT_EQ(record.type, 4);
    ASSERT_EQ(record.bytes.size(), 36u);
    std::int32_t fields[9];
    std::memcpy(fields, record.bytes.data(), sizeof fields);
    EXPECT_EQ(fields[5], year - 1900);
    EXPECT_EQ(fields[4], month - 1);
    EXPECT_EQ(fields[3], day);
    EXPECT_EQ(fields[2], hour);
    EXPECT_EQ(fields[1], minute);
    EXPECT_EQ(fields[0], second);
    EXPECT_EQ(fields[8], 0);
  }

  InZone zone_;
  TraceControlBlock* outer_;
  TraceControlBlock block_{};
};

TEST_F(ScheduleTraceTest, NothingIsToldWhileTheTraceIsOff) {
  block_.traceOn = 0;
  computed(Rule(kEveryWeeks, 1, 3), 0, at("2024-05-10 12:00:00"), 0);
  computed(Rule(kMonthsOnDay, 1, 0), 0, at("2024-05-10 12:00:00"), 0);
  g_pGTCB = nullptr;
  computed(Rule(kMonthsOnDay, 1, 0), 0, at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, Lines{});
}

TEST_F(ScheduleTraceTest, EachMoveTellsItsEntryAndExit) {
  struct Row {
    ScheduleIntervalType type;
    const char* move;
    int moves;
  };
  // Weeks and months are aligned before the one step that is made.
  const Row rows[] = {{kEveryMinutes, "", 0},       {kEveryHours, "", 0},          {kEveryDays, "1AE80187", 1},
                      {kEveryWeeks, "1AE80187", 2}, {kMonthsOnDay, "1AE80188", 2}, {kMonthsOnNthWeekday, "1AE80189", 2},
                      {kEveryYears, "1AE8018A", 1}};
  for (const Row& row : rows) {
    told.clear();
    ASSERT_EQ(computed(Rule(row.type, 1, 1), 0, at("2024-05-10 12:00:00"), 0).code, 0);
    Lines expected{"enter 1AE80186"};
    for (int move = 0; move < row.moves; ++move) {
      expected.push_back(std::string("enter ") + row.move);
      expected.push_back(std::string("leave ") + row.move + " 0");
    }
    expected.push_back("leave 1AE80186 0");
    EXPECT_EQ(told, expected);
  }
}

TEST_F(ScheduleTraceTest, ARunPastTheEndIsTheExitCode) {
  computed(Rule(kEveryMinutes, 1).end("2024-05-09"), 0, at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "leave 1AE80186 -302"}));
}

// One second before 1970 is the moment that the conversion cannot tell from its failure.

TEST_F(ScheduleTraceTest, AStartThatCannotBeConvertedIsToldAtProbe10) {
  computed(Rule(kEveryMinutes, 1).start("1969-12-31 23:59:59"), 0, at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "error 1AE80186 probe 10", "leave 1AE80186 -301"}));
  ASSERT_EQ(errors.size(), 1u);
  expectTime(errors[0], 1969, 12, 31, 23, 59, 59);
}

TEST_F(ScheduleTraceTest, AStepThatCannotBeConvertedIsToldAtProbe20) {
  computed(Rule(kEveryMinutes, 1), 0, at("1969-12-31 23:58:59"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "error 1AE80186 probe 20", "leave 1AE80186 -301"}));
  ASSERT_EQ(errors.size(), 1u);
  expectTime(errors[0], 1969, 12, 31, 23, 59, 59);
}

TEST_F(ScheduleTraceTest, AnEndThatCannotBeConvertedIsToldAtProbe30) {
  computed(Rule(kEveryMinutes, 1).end("1969-12-31"), 0, at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "error 1AE80186 probe 30", "leave 1AE80186 -301"}));
  ASSERT_EQ(errors.size(), 1u);
  expectTime(errors[0], 1969, 12, 31, 23, 59, 59);
}

TEST_F(ScheduleTraceTest, AMoveThatFailsInItsFirstPhaseIsToldAtItsProbe10) {
  struct Row {
    Rule rule;
    const char* reference;
    const char* move;
    int day;
    int year;
    int month;
  };
  const Row rows[] = {
      {Rule(kEveryDays, 1), "1969-12-30 23:59:59", "1AE80187", 31, 1969, 12},
      {Rule(kEveryYears, 1), "1968-12-31 23:59:59", "1AE8018A", 31, 1969, 12},
  };
  for (const Row& row : rows) {
    told.clear();
    errors.clear();
    computed(row.rule, 0, at(row.reference), 0);
    const std::string move = row.move;
    EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter " + move, "error " + move + " probe 10", "leave " + move + " -301",
                           "leave 1AE80186 -301"}));
    ASSERT_EQ(errors.size(), 1u);
    expectTime(errors[0], row.year, row.month, row.day, 23, 59, 59);
  }
}

TEST_F(ScheduleTraceTest, AYearThatCannotBeCountedIsToldAtProbe10) {
  std::tm last{};
  last.tm_year = std::numeric_limits<int>::max();
  last.tm_mday = 1;
  computed(Rule(kEveryYears, 1), 0, ::timegm(&last), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter 1AE8018A", "error 1AE8018A probe 10", "leave 1AE8018A -301",
                         "leave 1AE80186 -301"}));
}

TEST_F(ScheduleTraceTest, AMonthMoveThatFailsInItsFirstPhaseIsToldAtItsProbe10) {
  struct Row {
    ScheduleIntervalType type;
    const char* move;
  };
  // Past the last year that a broken-down time can hold.
  const time64 lastDecember = (std::int64_t{INT_MAX} + 1900 - 1970) * 31556952 + 340 * 86400;
  for (const Row& row : {Row{kMonthsOnDay, "1AE80188"}, Row{kMonthsOnNthWeekday, "1AE80189"}}) {
    told.clear();
    errors.clear();
    computed(Rule(row.type, 1, 1), 0, lastDecember, 0);
    const std::string move = row.move;
    EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter " + move, "leave " + move + " 0", "enter " + move,
                           "error " + move + " probe 10", "leave " + move + " -301", "leave 1AE80186 -301"}));
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors[0].bytes.size(), 36u);
  }
}

// The 1st that an n-th weekday is counted from comes before the search; the 1st that is a day of the month is searched.
TEST_F(ScheduleTraceTest, AFirstThatCannotBeConvertedIsToldAtProbe10OfTheNthWeekdayAnd20OfTheDay) {
  const InZone kolkata("Asia/Kolkata");
  struct Row {
    ScheduleIntervalType type;
    const char* move;
    const char* probe;
  };
  for (const Row& row : {Row{kMonthsOnDay, "1AE80188", "20"}, Row{kMonthsOnNthWeekday, "1AE80189", "10"}}) {
    told.clear();
    errors.clear();
    computed(Rule(row.type, 1, 1), 0, at("1970-01-10 05:29:59 +0530"), 0);
    const std::string move = row.move;
    EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter " + move, "error " + move + " probe " + row.probe,
                           "leave " + move + " -301", "leave 1AE80186 -301"}));
    ASSERT_EQ(errors.size(), 1u);
    expectTime(errors[0], 1970, 1, 1, 5, 29, 59);
  }
}

TEST_F(ScheduleTraceTest, ADaySearchThatFailsIsToldAtProbe20OfItsMove) {
  struct Row {
    Rule rule;
    const char* reference;
    const char* move;
  };
  const Row rows[] = {
      {Rule(kMonthsOnDay, 1, 31), "1969-12-10 23:59:59", "1AE80188"},
      {Rule(kMonthsOnNthWeekday, 1, 31), "1969-12-10 23:59:59", "1AE80189"},
  };
  for (const Row& row : rows) {
    told.clear();
    errors.clear();
    computed(row.rule, 0, at(row.reference), 0);
    const std::string move = row.move;
    EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter " + move, "error " + move + " probe 20", "leave " + move + " -301",
                           "leave 1AE80186 -301"}));
    ASSERT_EQ(errors.size(), 1u);
    expectTime(errors[0], 1969, 12, 31, 23, 59, 59);
  }
}

TEST_F(ScheduleTraceTest, ADaySearchThatCannotReachTheMonthIsToldAtProbe20) {
  computed(Rule(kMonthsOnDay, 1, 0), 0, at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter 1AE80188", "error 1AE80188 probe 20", "leave 1AE80188 -301",
                         "leave 1AE80186 -301"}));
  ASSERT_EQ(errors.size(), 1u);
  expectTime(errors[0], 2024, 5, 15, 12, 0, 0);
}

TEST_F(ScheduleTraceTest, ARuleWithoutAUnitFailsAtItsSecondStep) {
  ScheduleCalculator rule = Rule(kEveryMinutes, 1);
  rule.intervalUnit = 0;
  computed(rule, at("2024-05-10 13:00:00"), at("2024-05-10 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "error 1AE80186 probe 20", "leave 1AE80186 -301"}));
}

TEST_F(ScheduleTraceTest, AMonthThatLacksTheDayOfItsDetailFailsInTheSearch) {
  // Detail 0 lies before the 1st where that is a Wednesday.
  computed(Rule(kMonthsOnNthWeekday, 1, 0), at("2026-04-01 00:00:00"), at("2026-04-01 12:00:00"), 0);
  EXPECT_EQ(told, (Lines{"enter 1AE80186", "enter 1AE80189", "error 1AE80189 probe 20", "leave 1AE80189 -301",
                         "leave 1AE80186 -301"}));
}

}  // namespace
}  // namespace mesk
