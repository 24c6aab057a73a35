// What the end of a run does to other tasks: each time once, whatever dies.
#include "Workshop.h"

namespace mesk::host {
namespace {

using Names = std::vector<std::string>;

constexpr RuleText kHourly{1, 1};

class FollowOnsTest : public SchedulerTest {
 protected:
  long long fired() {
    const std::string file = (folder_ / "fired").string();
    sql("SELECT count(*) FROM follow_on_fired;\" >'" + file + "' #\"");
    std::ifstream in(file);
    long long count = -1;
    in >> count;
    return count;
  }

  Names lastTwo() const {
    const Names all = started();
    return {all.end() - 2, all.end()};
  }

  void run(long long id, int returnCode = 0) {
    ask(id);
    runDue();
    end(returnCode);
  }
};

TEST_F(FollowOnsTest, ASuccessRunsTheNextTaskAndBothRecordsSayIt) {
  const long long load = addTask({.name = "load"});
  const long long report = addTask({.name = "report"});
  addFollowOn(load, kAtSuccess, kRunTask, {report});
  ask(load);
  runDue();
  goTo(kStart + 5000);
  end(0);
  ASSERT_EQ(executions().size(), 1U);
  const long long exec = executions()[0]->getTaskExecID(ctx());
  EXPECT_EQ(executions()[0]->getTaskID(ctx()), report);
  EXPECT_EQ(executions()[0]->getUseTaskActions(ctx()), 1);
  EXPECT_EQ(executions()[0]->getUseNotification(ctx()), 1);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 5000});
  EXPECT_EQ(session_->millis(task(report)->getNextStart(ctx())), kStart + 5000);
  EXPECT_EQ(task(report)->getState(ctx()), 1);
  EXPECT_EQ(recordOf("load").followOns, "run 'report': queued as execution " + std::to_string(exec) + "\n");
  EXPECT_EQ(scheduler().nextDue(), kStart + 5000);
  EXPECT_FALSE(scheduler().idle());
  EXPECT_EQ(fired(), 1);
  runDue();
  EXPECT_EQ(started(), (Names{"load", "report"}));
  end(0);
  EXPECT_EQ(recordOf("report").invocation, kInvokedByFollowOn);
  EXPECT_EQ(recordOf("report").followOns, "");
  EXPECT_TRUE(executions().empty());
  EXPECT_EQ(fired(), 1);
}

TEST_F(FollowOnsTest, TheConditionSaysAtWhichEnd) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "good"})});
  addFollowOn(parent, kAtFailure, kRunTask, {addTask({.name = "bad"})});
  addFollowOn(parent, kAtEveryEnd, kRunTask, {addTask({.name = "any"})});
  run(parent, 0);
  runDue();
  EXPECT_EQ(started(), (Names{"parent", "good", "any"}));
  for (const char* name : {"good", "any"}) endOf(name);
  run(parent, 1);
  runDue();
  EXPECT_EQ(started(), (Names{"parent", "good", "any", "parent", "bad", "any"}));
  for (const char* name : {"bad", "any"}) endOf(name);
  ask(parent);
  runDue();
  end(-510, true);
  runDue();
  EXPECT_EQ(lastTwo(), (Names{"bad", "any"})) << "time is up";
  for (const char* name : {"bad", "any"}) endOf(name);
  ask(parent);
  runDue();
  restart();
  runDue();
  EXPECT_EQ(recordOf("parent").status, kRunInterrupted);
  EXPECT_EQ(lastTwo(), (Names{"bad", "any"})) << "cut off";
}

TEST_F(FollowOnsTest, AMissedInstantFiresNothing) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  const long long parent = addTask({.name = "parent", .options = options}, kHourly);
  addFollowOn(parent, kAtEveryEnd, kRunTask, {addTask({.name = "any"})});
  goTo(kStart + 2 * kHour + 10 * kMinute);
  runDue();
  EXPECT_EQ(statuses(), (std::vector<int>{kRunMissed, kRunMissed, kRunMissed}));
  EXPECT_TRUE(started().empty());
  EXPECT_EQ(fired(), 0);
}

TEST_F(FollowOnsTest, AnAttemptThatIsTriedAgainFiresNothing) {
  const long long parent = addTask({.name = "parent", .retryCount = 1});
  addFollowOn(parent, kAtFailure, kRunTask, {addTask({.name = "bad"})});
  run(parent, 1);
  EXPECT_EQ(fired(), 0);
  runDue();
  end(1);
  EXPECT_EQ(fired(), 1);
}

TEST_F(FollowOnsTest, OneActionActsOnAllItsTasks) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "x"}), addTask({.name = "y"}), addTask({.name = "z"})});
  run(parent);
  runDue();
  EXPECT_EQ(started(), (Names{"parent", "x", "y", "z"}));
  EXPECT_EQ(fired(), 3);
}

TEST_F(FollowOnsTest, ChainsGoOnAcrossRestarts) {
  std::vector<long long> chain;
  for (const char* name : {"one", "two", "three", "four"}) chain.push_back(addTask({.name = name}));
  for (std::size_t i = 1; i < chain.size(); ++i) addFollowOn(chain[i - 1], kAtSuccess, kRunTask, {chain[i]});
  launcher_.alive = true;
  ask(chain[0]);
  for (std::size_t i = 0; i < chain.size(); ++i) {
    restart();
    runDue();
    restart();
    ASSERT_EQ(launcher_.started.size(), i + 1);
    end(0);
    restart();
  }
  runDue();
  EXPECT_EQ(started(), (Names{"one", "two", "three", "four"}));
  EXPECT_EQ(statuses(), std::vector<int>(4, kRunSucceeded));
  EXPECT_EQ(fired(), 3);
  EXPECT_TRUE(executions().empty());
}

TEST_F(FollowOnsTest, SchedulesAreSwitchedAndTheQueueFollows) {
  const long long parent = addTask({.name = "parent"});
  const long long sleeper = addTask({.name = "sleeper"}, kHourly);
  const long long off = addFollowOn(parent, kAtFailure, kDisableTask, {sleeper});
  const long long on = addFollowOn(parent, kAtSuccess, kEnableTask, {sleeper});
  EXPECT_NE(off, on);
  goTo(kStart - kHour);
  run(parent, 1);
  EXPECT_EQ(recordOf("parent").followOns, "disable 'sleeper': done\n");
  EXPECT_EQ(task(sleeper)->getScheduleEnable(ctx()), 0);
  EXPECT_TRUE(queued().empty());
  EXPECT_EQ(scheduler().nextDue(), std::nullopt) << "the queue in memory too";
  EXPECT_EQ(session_->millis(task(sleeper)->getNextStart(ctx())), std::nullopt);
  EXPECT_EQ(task(sleeper)->getState(ctx()), 0);

  run(parent, 1);
  EXPECT_EQ(recordOf("parent").followOns, "disable 'sleeper': it was so already\n");

  run(parent, 0);
  EXPECT_EQ(task(sleeper)->getScheduleEnable(ctx()), 1);
  EXPECT_EQ(scheduler().nextDue(), kStart);
  EXPECT_EQ(session_->millis(task(sleeper)->getNextStart(ctx())), kStart);
  EXPECT_EQ(fired(), 3);
  goTo(kStart);
  runDue();
  EXPECT_EQ(started().back(), "sleeper");
}

TEST_F(FollowOnsTest, ATaskCanSwitchItsOwnScheduleOff) {
  const long long once = addTask({.name = "once"}, kHourly);
  addFollowOn(once, kAtSuccess, kDisableTask, {once});
  runDue();
  end(0);
  EXPECT_EQ(recordOf("once").status, kRunSucceeded);
  EXPECT_EQ(task(once)->getScheduleEnable(ctx()), 0);
  EXPECT_EQ(task(once)->getLastSuccess(ctx()), 1);
  EXPECT_TRUE(executions().empty());
  EXPECT_EQ(scheduler().nextDue(), std::nullopt);
}

TEST_F(FollowOnsTest, WhoeverSwitchedThemOffGetsNone) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtEveryEnd, kRunTask, {addTask({.name = "any"})});
  const long long exec = ask(parent);
  sql("UPDATE task_exec SET use_task_actions = 0 WHERE task_exec_id = " + std::to_string(exec));
  runDue();
  end(0);
  EXPECT_EQ(fired(), 0) << "not wanted for this run";
  sql("UPDATE task SET follow_on_task_enable = 0, version = version + 1 WHERE task_id = " + std::to_string(parent));
  run(parent);
  EXPECT_EQ(fired(), 0) << "not wanted for the task";
  sql("UPDATE task SET follow_on_task_enable = 1, version = version + 1 WHERE task_id = " + std::to_string(parent));
  run(parent);
  EXPECT_EQ(fired(), 1);
}

TEST_F(FollowOnsTest, ScheduledRunsAndTheirSuccessorsFire) {
  const long long parent = addTask({.name = "parent"}, kHourly);
  addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "any"})});
  for (int i = 0; i < 3; ++i) {
    goTo(kStart + i * kHour);
    runDue();
    end(0);
    runDue();
    endOf("any");
  }
  EXPECT_EQ(fired(), 3);
}

TEST_F(FollowOnsTest, AGroupFiresAtItsEndAndItsStepsAtTheirs) {
  const long long step = addTask({.name = "step"});
  const long long night = addGroup({.name = "night"}, {step});
  addFollowOn(step, kAtSuccess, kRunTask, {addTask({.name = "after-step"})});
  addFollowOn(night, kAtSuccess, kRunTask, {addTask({.name = "after-night"})});
  ask(night);
  runDue();
  endOf("step");
  EXPECT_EQ(fired(), 1);
  EXPECT_EQ(recordOf("night").status, kRunRunning);
  goTo(kStart + 1);
  runDue();
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(started(), (Names{"step", "after-step", "after-night"}));
  EXPECT_EQ(fired(), 2);
  EXPECT_EQ(recordOf("after-step").invocation, kInvokedByFollowOn);
}

TEST_F(FollowOnsTest, AGroupCanBeRunByAFollowOn) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtSuccess, kRunTask, {addGroup({.name = "night"}, {addTask({.name = "step"})})});
  run(parent);
  runDue();
  EXPECT_EQ(started(), (Names{"parent", "step"}));
  endOf("step");
  runDue();
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(recordOf("night").invocation, kInvokedByFollowOn);
  EXPECT_EQ(recordOf("step").invocation, kInvokedAsStep);
}

TEST_F(FollowOnsTest, WhatCannotBeQueuedIsALineAndAReportAndTheRunIsAsItWas) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "x"}), addTask({.name = "y"})});
  ask(parent);
  runDue();
  sql("CREATE TRIGGER full BEFORE INSERT ON task_exec BEGIN SELECT RAISE(ABORT, 'no more'); END");
  end(0);
  EXPECT_EQ(recordOf("parent").status, kRunSucceeded);
  EXPECT_NE(recordOf("parent").followOns.find("'x': not done: "), std::string::npos) << recordOf("parent").followOns;
  EXPECT_NE(recordOf("parent").followOns.find("'y': not done: "), std::string::npos);
  ASSERT_EQ(reports_.size(), 2U);
  EXPECT_NE(reports_[0].find("follow-on of run"), std::string::npos) << reports_[0];
  EXPECT_EQ(fired(), 0);
  EXPECT_TRUE(executions().empty());
  EXPECT_TRUE(scheduler().idle());
}

TEST_F(FollowOnsTest, AnActionThatNobodyKnowsIsALineAndAReport) {
  const long long parent = addTask({.name = "parent"});
  const long long action = addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "x"})});
  sql("UPDATE follow_on_action SET action = 9 WHERE follow_on_action_id = " + std::to_string(action));
  run(parent);
  EXPECT_EQ(recordOf("parent").status, kRunSucceeded);
  EXPECT_EQ(recordOf("parent").followOns, "'x': unknown action 9\n");
  EXPECT_EQ(reports_.size(), 1U);
}

TEST_F(FollowOnsTest, AnEndThatIsNotStoredFiresNothingAndTheNextOneFiresOnce) {
  const long long parent = addTask({.name = "parent"});
  addFollowOn(parent, kAtSuccess, kRunTask, {addTask({.name = "x"})});
  ask(parent);
  runDue();
  sql("CREATE TRIGGER dies BEFORE INSERT ON task_statistic BEGIN SELECT RAISE(ABORT, 'dies'); END");
  EXPECT_THROW(end(0), StoreError);
  EXPECT_EQ(fired(), 0);
  EXPECT_EQ(scheduler().nextDue(), std::nullopt) << "taken out of the queue again";
  sql("DROP TRIGGER dies");
  RunStatus status;
  status.endedMillis = kStart;
  launcher_.endedAway[launcher_.started[0].first] = status;
  restart();
  EXPECT_EQ(fired(), 1);
  EXPECT_EQ(recordOf("parent").status, kRunSucceeded);
  restart();
  runDue();
  EXPECT_EQ(started(), (Names{"parent", "x"}));
}

TEST_F(FollowOnsTest, AnActionThatWouldFireTwiceForOneRunIsADefectAndFails) {
  const long long parent = addTask({.name = "parent"});
  const long long target = addTask({.name = "x"});
  const long long action = addFollowOn(parent, kAtSuccess, kRunTask, {target});
  ask(parent);
  runDue();
  sql("INSERT INTO follow_on_fired VALUES (" + std::to_string(recordOf("parent").run) + ", " + std::to_string(action) +
      ", " + std::to_string(target) + ", 0, 99)");
  try {
    end(0);
    FAIL() << "it fired twice";
  } catch (const StoreError& error) {
    EXPECT_EQ(error.code(), kStoreExists);
  }
  EXPECT_EQ(recordOf("parent").status, kRunRunning);
  EXPECT_EQ(executions().size(), 1U);
}

}  // namespace
}  // namespace mesk::host
