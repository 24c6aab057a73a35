// docs/schedules.md says what the calculator does. What it says of the scheduler is tested with rules in Java.
#include <gtest/gtest.h>

#include <map>

#include "RuleCalculator.h"
#include "ScheduleDocument.h"

namespace mesk::host {
namespace {

/// What is wrong with a row; empty when it holds.
std::string disagreement(const DocumentedRun& row) {
  const InZone zone(row.zone.c_str());
  const Outcome outcome =
      computed(calculatorOf(row.parsedRule()), documentedTime(row.clock), documentedTime(row.reference), 0);
  const std::string is = outcome.code == 0 ? shown(outcome.time) : outcome.code == kPastEnd ? "none" : "an error";
  const std::string said = row.next == "none" ? "none" : shown(documentedTime(row.next));
  return is == said ? "" : "line " + std::to_string(row.line) + " says " + said + ", computed is " + is;
}

TEST(ScheduleDocumentTest, EachNextRunIsTheOneThatIsComputed) {
  std::map<int, int> ofType;
  for (const DocumentedRun& row : documentedRuns(MESK_DOCS "/schedules.md")) {
    if (row.fires) continue;
    EXPECT_EQ(disagreement(row), "");
    ++ofType[row.parsedRule().intervalType];
  }
  for (int type = 0; type <= 6; ++type) EXPECT_GE(ofType[type], 2) << "interval type " << type << " has no examples";
}

TEST(ScheduleDocumentTest, AWrongRowIsFound) {
  std::istringstream document(
      "text\n| Zone | Rule | Reference | Clock | Next run | |\n|---|---|---|---|---|---|\n"
      "| UTC | every day | 2024-02-28 09:00 | | 2024-02-29 09:00 | right |\n"
      "| UTC | every day | 2024-02-28 09:00 | 2024-03-05 00:00 | 2024-02-29 09:00 | wrong |\n"
      "| UTC | every day from 2024-01-01 00:00 until 2024-02-28 | 2024-02-28 09:00 | | 2024-02-29 09:00 | wrong |\n"
      "| Europe/Berlin | every hour | 2024-10-27 02:30 +0200 | | 2024-10-27 02:30 +0200 | wrong passage |\n"
      "\n| Type | Interval |\n|---|---|\n| 0 | 1 |\n");
  const auto rows = documentedRuns(document);
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(disagreement(rows[0]), "");
  EXPECT_EQ(disagreement(rows[1]), "line 5 says 2024-02-29 09:00:00 +0000, computed is 2024-03-05 09:00:00 +0000");
  EXPECT_EQ(disagreement(rows[2]), "line 6 says 2024-02-29 09:00:00 +0000, computed is none");
  EXPECT_EQ(disagreement(rows[3]), "line 7 says 2024-10-27 02:30:00 +0200, computed is 2024-10-27 02:30:00 +0100");
}

TEST(ScheduleDocumentTest, ARowThatCannotBeReadIsAnErrorAndNotLeftOut) {
  const char* const kTitles = "| Zone | Rule | Reference | Clock | Next run |\n|---|---|---|---|---|\n";
  std::istringstream shortRow(std::string(kTitles) + "| UTC | every day | 2024-02-28 09:00 |\n");
  EXPECT_THROW(documentedRuns(shortRow), std::runtime_error);
  for (const char* row : {"| UTC | every fortnight | 2024-02-28 09:00 | | 2024-02-29 09:00 |\n",
                          "| UTC | every day | yesterday, surely | | 2024-02-29 09:00 |\n",
                          "| Europe/Berlin | every day | 2024-10-27 02:30 | | 2024-10-28 02:30 |\n"}) {
    std::istringstream document(std::string(kTitles) + row);
    const auto rows = documentedRuns(document);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_THROW(disagreement(rows[0]), std::exception) << row;
  }
}

}  // namespace
}  // namespace mesk::host
