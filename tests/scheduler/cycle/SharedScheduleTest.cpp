// Rules that several tasks share: each task has its own runs by them.
#include "Workshop.h"

namespace mesk::host {
namespace {

using Names = std::vector<std::string>;

class SharedScheduleTest : public SchedulerTest {
 protected:
  void SetUp() override {
    first_ = addTask({.name = "first"}, RuleText{1, 1});
    second_ = addTask({.name = "second"});
    rule_ = executions().at(0)->getScheduleEventID(ctx());
    // The rule of the one becomes that of a schedule that both use.
    const std::string rule = std::to_string(rule_);
    sql("DELETE FROM task_schedule_event; INSERT INTO shared_named_schedule VALUES (77, 'hourly', NULL, 1);"
        "INSERT INTO shared_schedule_event VALUES (77, " +
        rule + ", 1); INSERT INTO task_shared_schedule VALUES (" + std::to_string(first_) +
        ", 0, 77, 1); INSERT INTO task_shared_schedule VALUES (" + std::to_string(second_) + ", 0, 77, 1)");
    session_->transact([&] { addExecution(second_, rule_, kStart, true); });
    sql("UPDATE task_exec SET shared_named_schedule_id = 77, version = version + 1");
  }

  long long first_ = 0;
  long long second_ = 0;
  long long rule_ = 0;
};

TEST_F(SharedScheduleTest, EachTaskRunsAtEachInstantAndItsNextExecutionIsOfTheSameSchedule) {
  for (int i = 0; i < 3; ++i) {
    goTo(kStart + i * kHour);
    runDue();
    endOf("first");
    endOf("second");
    ASSERT_EQ(executions().size(), 2U);
    for (const auto& exec : executions()) {
      EXPECT_EQ(exec->getSharedNamedScheduleID(ctx()), 77);
      EXPECT_EQ(exec->getScheduleEventID(ctx()), rule_);
      EXPECT_EQ(session_->millis(exec->getNextStartDateTime(ctx())), kStart + (i + 1) * kHour);
    }
  }
  EXPECT_EQ(statuses(), std::vector<int>(6, kRunSucceeded));
}

TEST_F(SharedScheduleTest, AnInstantThatHasItsRunGoesOnForThatTaskThoughTheRuleStandsForAnother) {
  sql("INSERT INTO run_claim VALUES (" + std::to_string(first_) + ", 0, " + std::to_string(rule_) + ", " +
      std::to_string(kStart) + ", 99, 99)");
  runDue();
  EXPECT_EQ(started(), Names{"second"});
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour, kStart + kHour})) << "one for each task";
}

TEST_F(SharedScheduleTest, ARunThatIsRepeatedAfterACrashIsOfNoSchedule) {
  sql("UPDATE task SET additional_parameters = '{\\\"interrupted\\\":\\\"rerun\\\"}', version = version + 1");
  runDue();
  restart();
  int again = 0;
  for (const auto& exec : executions()) {
    if (exec->getScheduleEventID(ctx()) != -1) continue;
    ++again;
    EXPECT_EQ(exec->getSharedNamedScheduleID(ctx()), -1);
  }
  EXPECT_EQ(again, 2);
}

}  // namespace
}  // namespace mesk::host
