// Rules that several tasks share: who is planned by them, and anew when they change.
#include "Defining.h"

namespace mesk::host {
namespace {

using Lines = std::vector<std::string>;

class SharedScheduleTest : public DefinitionsTest {
 protected:
  /// "a", "b" and "c" use "nightly"; "a" also a rule of its own, "d" only that.
  void applyThree(const std::string& rules, const std::string& more = "") {
    applyText("schedules:\n  - {name: nightly, rules: [" + rules + "]}\n" + more + R"(
tasks:
  - {name: a, script: x, schedules: nightly, schedule: [{every: day, start: 2026-01-01 10:00}]}
  - {name: b, script: x, schedules: nightly}
  - {name: c, script: x, schedules: nightly}
  - {name: d, script: x, schedule: [{every: day, start: 2026-01-01 10:00}]}
)");
  }

  /// Only the schedule, with these rules; the tasks are not in the file.
  Lines changeRules(const std::string& rules) {
    return changesOf("schedules:\n  - {name: nightly, rules: [" + rules + "]}\ntasks: []\n");
  }

  std::map<std::string, long long> executionsByTask(long long scheduleID) {
    std::map<std::string, long long> ids;
    for (const auto& execution : executions()) {
      if (execution->getSharedNamedScheduleID(ctx()) != scheduleID) continue;
      ids[text(task(execution->getTaskID(ctx()))->getTaskName(ctx()))] = execution->getTaskExecID(ctx());
    }
    return ids;
  }

  long long scheduleID() { return definitions_.findSchedule("nightly").id; }
};

constexpr const char* kTwo = "{every: day, start: 2026-01-01 02:00}";
constexpr const char* kTwoAndThree = "{every: day, start: 2026-01-01 02:00}, {every: day, start: 2026-01-01 03:00}";
constexpr const char* kThree = "{every: day, start: 2026-01-01 03:00}";

TEST_F(SharedScheduleTest, ItsRulesPlanEachTaskThatUsesIt) {
  applyThree(kTwo);
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 10:00", "b 02:00", "c 02:00", "d 10:00"}));
  EXPECT_EQ(executionsByTask(scheduleID()).size(), 3U);
  EXPECT_EQ(executionsByTask(-1).size(), 2U);
  for (const auto& execution : executions()) EXPECT_NE(execution->getScheduleEventID(ctx()), -1);
  for (const char* name : {"a", "b", "c"}) {
    const auto stored = definitions_.find(name);
    EXPECT_EQ(session_->millis(stored->getNextStart(ctx())), kStart + 2 * kHour);
    EXPECT_EQ(stored->getState(ctx()), 1);
  }
}

TEST_F(SharedScheduleTest, WhenItChangesAllItsTasksArePlannedAnewAlsoThoseOutsideTheFile) {
  applyThree(kTwo);
  const auto before = executionsByTask(scheduleID());
  EXPECT_EQ(changeRules(kTwoAndThree), Lines{"schedule nightly: changed (rules: 1 added)"});
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 03:00", "a 10:00", "b 02:00", "b 03:00", "c 02:00", "c 03:00", "d 10:00"}));
  std::size_t kept = 0;
  for (const auto& execution : executions()) {
    for (const auto& [name, id] : before) kept += execution->getTaskExecID(ctx()) == id ? 1 : 0;
  }
  EXPECT_EQ(kept, 3U) << "what a rule that stays has in the queue stays";

  EXPECT_EQ(changeRules(kThree), Lines{"schedule nightly: changed (rules: 1 removed)"});
  EXPECT_EQ(plan(), (Lines{"a 03:00", "a 10:00", "b 03:00", "c 03:00", "d 10:00"}));
  EXPECT_EQ(session_->millis(definitions_.find("b")->getNextStart(ctx())), kStart + 3 * kHour);

  EXPECT_EQ(changeRules(""), Lines{"schedule nightly: changed (rules: 1 removed)"});
  EXPECT_EQ(plan(), (Lines{"a 10:00", "d 10:00"}));
  EXPECT_EQ(session_->millis(definitions_.find("b")->getNextStart(ctx())), std::nullopt);
  EXPECT_EQ(definitions_.find("b")->getState(ctx()), 0);
  EXPECT_EQ(changeRules(""), Lines{});
}

TEST_F(SharedScheduleTest, ATaskOfTheSameFileIsSaidToBePlannedAnew) {
  applyThree(kTwo);
  EXPECT_EQ(changesOf("schedules:\n  - {name: nightly, rules: [" + std::string(kThree) + "]}\n" +
                      "tasks:\n  - {name: b, script: x, schedules: nightly}\n  - {name: d, script: x, schedule: "
                      "[{every: day, start: 2026-01-01 10:00}]}\n"),
            (Lines{"schedule nightly: changed (rules: 1 added, rules: 1 removed)", "task b: changed (planned anew)"}));
  EXPECT_EQ(plan(), (Lines{"a 03:00", "a 10:00", "b 03:00", "c 03:00", "d 10:00"}));
}

TEST_F(SharedScheduleTest, ADisabledTaskIsNotPlannedUntilItIsEnabled) {
  applyThree(kTwo);
  EXPECT_TRUE(definitions_.setEnabled("b", false));
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 10:00", "c 02:00", "d 10:00"}));
  changeRules(kThree);
  EXPECT_EQ(plan(), (Lines{"a 03:00", "a 10:00", "c 03:00", "d 10:00"}));
  EXPECT_TRUE(definitions_.setEnabled("b", true));
  EXPECT_EQ(plan(), (Lines{"a 03:00", "a 10:00", "b 03:00", "c 03:00", "d 10:00"}));
}

TEST_F(SharedScheduleTest, ATaskThatNoLongerUsesItLosesWhatItHadByItAndTheOthersDoNot) {
  applyThree(kTwo);
  EXPECT_EQ(changesOf("tasks:\n  - {name: a, script: x, schedule: [{every: day, start: 2026-01-01 10:00}]}\n"),
            Lines{"task a: changed (schedules: 1 removed)"});
  EXPECT_EQ(plan(), (Lines{"a 10:00", "b 02:00", "c 02:00", "d 10:00"}));
  EXPECT_EQ(session_->millis(definitions_.find("a")->getNextStart(ctx())), kStart + 10 * kHour);
  EXPECT_EQ(definitions_.usersOf(scheduleID()), (Lines{"b", "c"}));
  EXPECT_EQ(changesOf("tasks:\n  - {name: d, script: x, schedules: nightly, schedule: [{every: day, start: "
                      "2026-01-01 10:00}]}\n"),
            Lines{"task d: changed (schedules: 1 added)"});
  EXPECT_EQ(plan(), (Lines{"a 10:00", "b 02:00", "c 02:00", "d 02:00", "d 10:00"}));
}

TEST_F(SharedScheduleTest, WhatIsForetoldByOwnAndSharedRulesFires) {
  applyText(R"(
schedules:
  - {name: often, rules: [{every: 7 hours, start: 2026-01-01 00:30}, {every: day, start: 2026-01-01 05:15}]}
tasks:
  - {name: task, script: x, schedules: often, schedule: [{every: 5 hours, start: 2026-01-01 00:00}]}
)");
  const auto next = definitions_.upcoming(*definitions_.find("task"), 1);
  ASSERT_EQ(next.size(), 1U);
  EXPECT_EQ(next[0].why.find("shared schedule 'often'") != std::string::npos, next[0].start % kHour != 0)
      << next[0].why;
  const auto expected = foretold(40);
  ASSERT_EQ(expected.size(), 40U);
  for (const std::int64_t start : expected) {
    ASSERT_EQ(scheduler().nextDue(), start);
    goTo(start);
    runDue();
    end(0);
  }
  for (const auto& execution : executions()) {
    const bool own = execution->getSharedNamedScheduleID(ctx()) == -1;
    EXPECT_EQ(own, (*session_->millis(execution->getNextStartDateTime(ctx())) - kStart) % kHour == 0)
        << "a successor keeps the schedule that its rule is of";
  }
}

TEST_F(SharedScheduleTest, WhenARuleGoesARetryStays) {
  applyText(R"(
schedules: [{name: nightly, rules: [{every: day, start: 2026-01-01 02:00}]}]
tasks: [{name: task, script: x, schedules: nightly, retry: {count: 1, interval: 10m}}]
)");
  goTo(kStart + 2 * kHour);
  runDue();
  end(3);
  EXPECT_EQ(plan(), (Lines{"task 02:10", "task 26:00"}));
  changeRules(kThree);
  EXPECT_EQ(plan(), (Lines{"task 02:10", "task 03:00"}));
  for (const auto& execution : executions()) {
    const bool isRetry = execution->getTaskHistoryID(ctx()) != -1;
    EXPECT_EQ(execution->getScheduleEventID(ctx()) == -1, isRetry);
    EXPECT_EQ(execution->getSharedNamedScheduleID(ctx()) == -1, isRetry);
  }
  applyText("tasks: [{name: task, script: x, retry: {count: 1, interval: 10m}}]\n");
  EXPECT_EQ(plan(), Lines{"task 02:10"});
}

TEST_F(SharedScheduleTest, ATaskThatLeavesItDuringARunIsNotPlannedByItAtTheEnd) {
  const std::string schedule =
      "schedules: [{name: nightly, rules: [{every: hour, after: end, start: 2026-01-01 00:00}]}]\n";
  for (const bool leaves : {false, true}) {
    applyText(schedule + "tasks: [{name: task, script: x, schedules: nightly}]\n");
    const Lines planned = plan();
    ASSERT_EQ(planned.size(), 1U);
    goTo(*foretold(1).begin());
    scheduler().refresh();
    runDue();
    ASSERT_EQ(scheduler().running(), 1U);
    if (leaves) applyText("tasks: [{name: task, script: x}]\n");
    end(0);
    EXPECT_EQ(plan().size(), leaves ? 0U : 1U);
  }
}

TEST_F(SharedScheduleTest, ItCanBeDeletedWhenNoTaskUsesIt) {
  applyThree(kTwo);
  try {
    definitions_.removeSchedule("nightly");
    FAIL() << "deleted while it is used";
  } catch (const HostError& error) {
    EXPECT_EQ(error.exitCode(), kExitRefused);
    EXPECT_STREQ(error.what(), "shared schedule 'nightly' cannot be deleted: it is used by 'a', 'b', 'c'");
  }
  for (const char* name : {"a", "b", "c"}) definitions_.remove(name);
  definitions_.removeSchedule("nightly");
  EXPECT_TRUE(definitions_.schedules().empty());
  EXPECT_EQ(plan(), Lines{"d 10:00"});
  try {
    definitions_.removeSchedule("nihgtly");
    FAIL() << "there is none";
  } catch (const HostError& error) {
    EXPECT_EQ(error.exitCode(), kExitNotFound);
    EXPECT_STREQ(error.what(), "no shared schedule 'nihgtly'; 'meskctl schedule list' shows all");
  }
}

TEST_F(SharedScheduleTest, ADryRunPlansNothingAnew) {
  applyThree(kTwo);
  const std::string before = exported();
  const auto report =
      applyText("schedules: [{name: nightly, description: d, rules: []}, {name: new, rules: []}]\ntasks: []\n", true);
  ASSERT_EQ(report.size(), 2U);
  EXPECT_EQ(report[0].changes, (Lines{"description", "rules: 1 removed"}));
  EXPECT_EQ(report[1].kind, Applied::Kind::kCreated);
  EXPECT_EQ(exported(), before);
  EXPECT_EQ(plan(), (Lines{"a 02:00", "a 10:00", "b 02:00", "c 02:00", "d 10:00"}));
}

}  // namespace
}  // namespace mesk::host
