#include <gtest/gtest.h>

#include <mesk/schedule/ScheduleFixture.h>
#include <scheduler/Chart.h>
#include <scheduler/Table.h>

#include <algorithm>
#include <sstream>

namespace mesk::host {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

YearChart example() {
  YearChart chart(2026);
  const auto run = [&chart](const char* wall, int times) {
    for (int i = 0; i < times; ++i) chart.addRun(at(wall));
  };
  run("2025-12-31 23:59:59", 1);
  run("2026-01-01 00:00:00", 1);
  run("2026-01-02 12:00:00", 9);
  run("2026-01-03 12:00:00", 10);
  run("2026-01-04 12:00:00", 100);
  run("2026-01-05 12:00:00", 1000);
  run("2026-12-31 23:59:59", 2);
  run("2027-01-01 00:00:00", 1);
  chart.mark(at("2026-03-29 02:30:00"));
  chart.mark(at("2026-12-31 02:30:00"));
  return chart;
}

TEST(ChartTest, EachDayHasItsRunsAndItsMark) {
  const auto lines = linesOf(example().text(0, false));
  ASSERT_EQ(lines.size(), 13U);
  EXPECT_EQ(lines[0], "Jan  1 1 9 ░ ▒ ▓ · · · · · · · · · · · · · · · · · · · · · · · · · ·");
  EXPECT_EQ(lines[1], "Feb  1 · · · · · · · · · · · · · · · · · · · · · · · · · · · ·");
  EXPECT_EQ(lines[2], "Mar  1 · · · · · · · · · · · · · · · · · · · · · · · · · · · ·!· · ·");
  EXPECT_EQ(lines[11], "Dec  1 · · · · · · · · · · · · · · · · · · · · · · · · · · · · · ·!2");
  EXPECT_EQ(displayWidth(lines[0]), 68U);
}

TEST(ChartTest, ALeapYearHasItsDay) {
  YearChart chart(2028);
  chart.addRun(at("2028-02-29 10:00:00"));
  EXPECT_EQ(linesOf(chart.text(0, false))[1], "Feb  1 · · · · · · · · · · · · · · · · · · · · · · · · · · · · 1");
}

TEST(ChartTest, ANarrowTerminalBreaksMonthsAndNoDayIsLost) {
  for (const std::size_t width : {1U, 24U, 30U, 40U, 67U, 68U, 200U}) {
    const auto lines = linesOf(example().text(width, false));
    std::size_t days = 0;
    for (const std::string& line : lines) {
      if (width >= 24) {
        EXPECT_LE(displayWidth(line), width);
      }
      if (line.at(5) >= '0' && line.at(5) <= '9') days += (displayWidth(line) - 6) / 2;
    }
    EXPECT_EQ(days, 365U) << width;
    EXPECT_EQ(lines.size() == 13U, width >= 68) << width;
  }
  EXPECT_EQ(linesOf(example().text(24, false))[1], "    10 · · · · · · · · ·");
}

TEST(ChartTest, OnlyATerminalGetsWhatSteersIt) {
  EXPECT_EQ(example().text(0, false).find('\x1b'), std::string::npos);
  EXPECT_NE(example().text(0, true).find("!\x1b[7m2\x1b[0m"), std::string::npos);
}

}  // namespace
}  // namespace mesk::host
