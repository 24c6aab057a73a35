#include <mesk/queue/LatchCount.h>
#include <mesk/queue/QueueFixture.h>
#include <mesk/support/Captures.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk::test {
namespace {

/// Task 1, suffix 0, which has been started and has a next start from before.
class MDTaskNextStartTest : public QueueTest {
 protected:
  MDTaskNextStartTest() : task(ctx, nullptr, newFake("MDTask")) {
    SCTimestamp old(ctx, at(1));
    task.setTaskID(ctx, 1);
    task.setNextStart(ctx, &old);
    task.setCurrentStartDateTime(ctx, &old);
    script.forget();
  }

  std::optional<long long> nextStart() { return takenTime(ctx, task.getNextStart(ctx)); }
  std::optional<long long> currentStart() { return takenTime(ctx, task.getCurrentStartDateTime(ctx)); }

  MDTask task;
};

TEST_F(MDTaskNextStartTest, WithoutAQueueNothingChangesAndNoneIsMade) {
  delete MDTaskExecList::existing();
  const TraceCapture trace;
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), -1);
  EXPECT_EQ(MDTaskExecList::existing(), nullptr);
  EXPECT_EQ(script.properties(), Lines{});
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80131", "exit 0x1AE80131 -1"}));
}

TEST_F(MDTaskNextStartTest, ATaskWithAQueuedEntryIsScheduledForIt) {
  list.insert(newEntry(5, at(9)), 0);
  list.insert(newEntry(6, at(8)), 0);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), at(8));
  EXPECT_EQ(currentStart(), std::nullopt);
  EXPECT_EQ(task.getState(ctx), 1);
  EXPECT_EQ(script.calls(), Lines{});
}

TEST_F(MDTaskNextStartTest, OnlyEntriesOfTheTaskAndItsSuffixCount) {
  task.setState(ctx, 1);
  MDTaskExec* const otherTask = newEntry(5, at(9));
  otherTask->setTaskID(ctx, 2);
  list.insert(otherTask, 0);
  MDTaskExec* const otherSuffix = newEntry(6, at(9));
  otherSuffix->setSuffix(ctx, 1);
  list.insert(otherSuffix, 0);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), std::nullopt);
  EXPECT_EQ(task.getState(ctx), 0);
}

TEST_F(MDTaskNextStartTest, ARunningTaskWithExecutionsInProgressKeepsItsStateAndCurrentStart) {
  task.setState(ctx, 2);
  task.setNumberOfExecutions(ctx, 2);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), std::nullopt);
  EXPECT_EQ(task.getState(ctx), 2);
  EXPECT_EQ(currentStart(), at(1));
}

TEST_F(MDTaskNextStartTest, ARunningTaskWithoutExecutionsBecomesScheduledAgain) {
  task.setState(ctx, 2);
  list.insert(newEntry(5, at(9)), 0);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), at(9));
  EXPECT_EQ(task.getState(ctx), 1);
  EXPECT_EQ(currentStart(), std::nullopt);
}

TEST_F(MDTaskNextStartTest, AScheduledTaskWithExecutionsInProgressIsNotARunningOne) {
  task.setState(ctx, 1);
  task.setNumberOfExecutions(ctx, 2);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(task.getState(ctx), 0);
}

TEST_F(MDTaskNextStartTest, ARunningStepIsNoQueuedEntry) {
  list.insert(newEntry(5, at(9), 3), 0);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), std::nullopt);
  EXPECT_EQ(task.getState(ctx), 0);
}

TEST_F(MDTaskNextStartTest, AQueuedEntryWithoutAStartLeavesTheTaskWithoutOne) {
  list.insert(newEntry(5), 0);
  EXPECT_EQ(task.updateTaskNextStart(ctx, context), 0);
  EXPECT_EQ(nextStart(), std::nullopt);
  EXPECT_EQ(task.getState(ctx), 0);
}

TEST_F(MDTaskNextStartTest, TheQueuesLatchIsTakenForTheLookupOnly) {
  const LatchCount latches;
  task.updateTaskNextStart(ctx, context);
  EXPECT_EQ(latches.taken(), 1);
  EXPECT_EQ(latches.released(), 1);
}

}  // namespace
}  // namespace mesk::test
