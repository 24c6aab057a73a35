#include <algorithm>

#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/values/Clob.h>

#include "Workshop.h"

namespace mesk::host {
namespace {

constexpr RuleText kHourly{1, 1};
constexpr RuleText kDaily{2, 1};

TEST_F(SchedulerTest, ADueExecutionIsClaimedStartedAndRecorded) {
  const long long id = addTask({.name = "report"}, kHourly);
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(launcher_.started[0].second.script, "true");
  EXPECT_EQ(launcher_.started[0].second.environment.at("MESK_TASK"), "report");
  EXPECT_EQ(statuses(), std::vector<int>{kRunRunning});
  EXPECT_EQ(task(id)->getState(ctx()), 2);
  EXPECT_EQ(task(id)->getNumberOfExecutions(ctx()), 1);

  goTo(kStart + 1500);
  end(0);
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunSucceeded);
  EXPECT_EQ(all[0].returnCode, 0);
  EXPECT_EQ(all[0].invocation, 1);
  EXPECT_EQ(all[0].start, kStart);
  EXPECT_EQ(all[0].journal, "hello\n");
  EXPECT_EQ(launcher_.forgotten.size(), 1U);
  EXPECT_EQ(task(id)->getState(ctx()), 1);
  EXPECT_EQ(task(id)->getNumberOfExecutions(ctx()), 0);
  EXPECT_EQ(task(id)->getLastSuccess(ctx()), 1);
  EXPECT_EQ(session_->millis(task(id)->getNextStart(ctx())), kStart + kHour);
}

TEST_F(SchedulerTest, TheNextExecutionIsQueuedWhenTheRunStarts) {
  addTask({}, kHourly);
  runDue();
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
  end(0);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
}

TEST_F(SchedulerTest, ARuleCountedFromTheEndQueuesItsNextExecutionWhenTheRunEnds) {
  addTask({}, RuleText{1, 1, 1});
  runDue();
  EXPECT_TRUE(queued().empty());
  goTo(kStart + 10 * kMinute);
  end(0);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour + 10 * kMinute});
}

TEST_F(SchedulerTest, ARuleThatFiresOnceHasNoNextExecution) {
  addTask({}, RuleText{2, 1, 0, 0});
  runDue();
  end(0);
  EXPECT_TRUE(queued().empty());
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
}

TEST_F(SchedulerTest, NothingIsStartedBeforeItIsDue) {
  addTask({}, kHourly);
  goTo(kStart - 1);
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_EQ(scheduler().nextDue(), kStart);
}

TEST_F(SchedulerTest, AFailedRunIsTriedAgainAfterTheIntervalInTheSameRecord) {
  addTask({.retryCount = 1, .retryInterval = 30}, kHourly);
  runDue();
  end(3);
  EXPECT_EQ(statuses(), std::vector<int>{kRunWaiting});
  EXPECT_EQ(scheduler().nextDue(), kStart + 30'000);
  EXPECT_FALSE(scheduler().idle());
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U) << "not before the interval is over";

  goTo(kStart + 30'000);
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[1].first.attempt, 2);
  EXPECT_EQ(launcher_.started[1].second.attempt, 2);
  EXPECT_EQ(launcher_.started[1].first.run, launcher_.started[0].first.run);
  end(0);
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunSucceeded);
  EXPECT_EQ(all[0].retryCount, 1);
  EXPECT_EQ(all[0].journal, "hello\nhello\n");
}

TEST_F(SchedulerTest, ARunWhoseRetriesAreUsedUpHasFailed) {
  const long long id = addTask({.retryCount = 1, .retryInterval = 1}, kDaily);
  runDue();
  end(3);
  goTo(kStart + 1000);
  runDue();
  end(4);
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunFailed);
  EXPECT_EQ(all[0].returnCode, 4);
  EXPECT_EQ(task(id)->getLastSuccess(ctx()), 0);
  EXPECT_EQ(task(id)->getLastReturnCode(ctx()), 4);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kDay});
}

TEST_F(SchedulerTest, ARunThatWaitsForItsRetryIsResumedByTheNextScheduler) {
  addTask({.retryCount = 1, .retryInterval = 30}, kHourly);
  runDue();
  end(1);
  restart();
  goTo(kStart + 30'000);
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[1].first, (AttemptID{launcher_.started[0].first.run, 2}));
  end(0);
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
}

TEST_F(SchedulerTest, ARunWhoseTimeIsUpSaysSo) {
  addTask({}, kDaily);
  runDue();
  end(-510, true);
  EXPECT_EQ(statuses(), std::vector<int>{kRunTimeUp});
}

TEST_F(SchedulerTest, ARunThatCannotBeStartedFailsWithTheReasonInItsJournal) {
  addTask({}, kDaily);
  launcher_.refuse = "no more processes";
  launcher_.outputText.clear();
  runDue();
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunFailed);
  EXPECT_EQ(all[0].returnCode, kRunNotStarted);
  EXPECT_NE(all[0].journal.find("no more processes"), std::string::npos);
  EXPECT_EQ(scheduler().running(), 0U);
}

TEST_F(SchedulerTest, OfSeveralMissedInstantsTheLastIsRunAndTheOthersAreRecordedAsMissed) {
  addTask({}, kHourly);
  goTo(kStart + 3 * kHour + kMinute);
  runDue();
  end(0);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunMissed, kRunMissed, kRunMissed, kRunSucceeded}));
  const auto all = records();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(all[static_cast<std::size_t>(i)].start, kStart + i * kHour);
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 4 * kHour});
}

TEST_F(SchedulerTest, ATaskThatWantsAllMissedInstantsRunsEachInTurn) {
  RunOptions options;
  options.missed = RunOptions::Missed::kAll;
  addTask({.options = options}, kHourly);
  goTo(kStart + 2 * kHour + kMinute);
  for (int i = 0; i < 3; ++i) {
    runDue();
    ASSERT_EQ(launcher_.started.size(), static_cast<std::size_t>(i + 1));
    end(0);
  }
  runDue();
  EXPECT_EQ(launcher_.started.size(), 3U);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunSucceeded, kRunSucceeded, kRunSucceeded}));
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 3 * kHour});
}

TEST_F(SchedulerTest, ATaskThatSkipsMissedInstantsRunsNoneOfThem) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  addTask({.options = options}, kHourly);
  goTo(kStart + 2 * kHour + 10 * kMinute);
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_EQ(statuses(), (std::vector<int>{kRunMissed, kRunMissed, kRunMissed}));
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 3 * kHour});
  EXPECT_EQ(scheduler().nextDue(), kStart + 3 * kHour);
}

TEST_F(SchedulerTest, AnInstantThatIsLateByLessThanAMinuteIsNotMissed) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  addTask({.options = options}, kHourly);
  goTo(kStart + 59'000);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
}

TEST_F(SchedulerTest, MoreMissedInstantsThanOneTransactionTakesAreAllRecorded) {
  addTask({}, RuleText{0, 1});
  goTo(kStart + 1234 * kMinute);
  for (int i = 0; i < 5 && launcher_.started.empty(); ++i) runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  end(0);
  const auto all = records();
  ASSERT_EQ(all.size(), 1235U);
  EXPECT_EQ(std::count_if(all.begin(), all.end(), [](const auto& r) { return r.status == kRunMissed; }), 1234);
  std::vector<std::int64_t> starts;
  for (const auto& record : all) starts.push_back(record.start);
  std::sort(starts.begin(), starts.end());
  for (std::size_t i = 0; i < starts.size(); ++i) {
    ASSERT_EQ(starts[i], kStart + static_cast<std::int64_t>(i) * kMinute);
  }
}

TEST_F(SchedulerTest, AnInstantThatComesWhileTheLastRunGoesWaitsForItsEnd) {
  addTask({}, kHourly);
  runDue();
  goTo(kStart + kHour);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(scheduler().nextDue(), std::nullopt) << "the end of the run wakes it";
  end(0);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 2U);
}

TEST_F(SchedulerTest, ATaskThatSkipsOverlapsRecordsTheInstantAsMissed) {
  RunOptions options;
  options.overlap = RunOptions::Overlap::kSkip;
  addTask({.options = options}, kHourly);
  runDue();
  goTo(kStart + kHour);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunRunning, kRunMissed}));
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 2 * kHour});
}

TEST_F(SchedulerTest, NoMoreRunsThanTheLimitAreStarted) {
  limit_ = 2;
  for (const char* name : {"a", "b", "c"}) addTask({.name = name}, kHourly);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(scheduler().running(), 2U);
  EXPECT_EQ(scheduler().nextDue(), std::nullopt);
  end(0);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 3U);
}

TEST_F(SchedulerTest, ARunThatACrashInterruptedIsRecordedOnceAndNotRunAgain) {
  const long long id = addTask({}, kDaily);
  runDue();
  restart();
  EXPECT_EQ(statuses(), std::vector<int>{kRunInterrupted});
  EXPECT_EQ(task(id)->getNumberOfExecutions(ctx()), 0);
  EXPECT_EQ(task(id)->getState(ctx()), 1);
  restart();
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(statuses(), std::vector<int>{kRunInterrupted});
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kDay});
}

TEST_F(SchedulerTest, ATaskThatWantsItIsRunAgainAfterACrash) {
  RunOptions options;
  options.interrupted = RunOptions::Interrupted::kRerun;
  addTask({.options = options}, kDaily);
  runDue();
  restart();
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  end(0);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunInterrupted, kRunSucceeded}));
  EXPECT_EQ(records()[1].invocation, 2) << "neither a run-now request nor scheduled";
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kDay});
}

TEST_F(SchedulerTest, ARunThatStillGoesIsAdoptedAndNotStartedTwice) {
  addTask({}, kDaily);
  runDue();
  launcher_.alive = true;
  restart();
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(scheduler().running(), 1U);
  EXPECT_EQ(statuses(), std::vector<int>{kRunRunning});
  end(0);
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
}

TEST_F(SchedulerTest, ARunThatEndedWhileNoSchedulerRanGetsItsRealOutcome) {
  addTask({}, kDaily);
  runDue();
  RunStatus status;
  status.returnCode = 7;
  status.startedMillis = kStart;
  status.endedMillis = kStart + kMinute;
  launcher_.endedAway[launcher_.started[0].first] = status;
  goTo(kStart + kHour);
  restart();
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunFailed);
  EXPECT_EQ(all[0].returnCode, 7);
}

TEST_F(SchedulerTest, ARunNowRequestIsTakenOverFromTheStoreAndRecordedAsSuch) {
  const long long id = addTask({}, std::nullopt);
  scheduler();
  session_->transact([&] { addExecution(id, -1, kStart, false); });
  runDue();
  EXPECT_TRUE(launcher_.started.empty()) << "nobody has told the scheduler yet";
  scheduler().refresh();
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  end(0);
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].invocation, 0);
  EXPECT_TRUE(queued().empty());
}

TEST_F(SchedulerTest, ADeletedTasksExecutionLeavesTheQueue) {
  const long long id = addTask({}, kHourly);
  scheduler();
  session_->transact([&] {
    int sqlCode = 0;
    session_->check(task(id)->deleteIt(ctx(), session_->context(), sqlCode), sqlCode, "delete task");
  });
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_EQ(scheduler().nextDue(), std::nullopt);
}

TEST_F(SchedulerTest, ADisabledTasksRuleDoesNotFire) {
  const long long id = addTask({}, kHourly);
  scheduler();
  session_->transact([&] {
    int sqlCode = 0;
    const auto changed = task(id);
    changed->setScheduleEnable(ctx(), 0);
    session_->check(changed->update(ctx(), session_->context(), sqlCode), sqlCode, "disable task");
  });
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_TRUE(records().empty());
  EXPECT_TRUE(queued().empty());
}

TEST_F(SchedulerTest, AnInstantThatAnotherSchedulerClaimedIsNotRunAgain) {
  const long long id = addTask({}, kHourly);
  scheduler();  // has the execution in its queue
  Session other(address());
  FakeLauncher otherLauncher;
  {
    // The same instant, claimed in another session behind this one's back.
    int rc = 0;
    int sqlCode = 0;
    MDTaskExecType home(other.ctx(), other.context(), rc, sqlCode);
    MDTaskExec** items = nullptr;
    int count = 0;
    ASSERT_EQ(home.retrieveList(other.ctx(), other.context(), items, count, sqlCode), 0);
    const auto all = owned(items, count);
    ASSERT_EQ(all.size(), 1U);
    MDTaskHistory history(other.ctx(), other.context(), rc, sqlCode);
    all[0]->setTaskHistoryID(other.ctx(), history.getReferenceID(other.ctx(), other.context(), rc, sqlCode));
    all[0]->setStatus(other.ctx(), kExecRunning);
    other.check(all[0]->update(other.ctx(), other.context(), sqlCode), sqlCode, "claim");
    other.commit();
  }
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_TRUE(records().empty()) << "the record is the other scheduler's to write";
  EXPECT_EQ(task(id)->getNumberOfExecutions(ctx()), 0);
}

TEST_F(SchedulerTest, AChangeOfTheTaskByAnotherSessionDuringARunIsKept) {
  const long long id = addTask({}, kHourly);
  runDue();
  {
    Session other(address());
    int rc = 0;
    int sqlCode = 0;
    const auto changed =
        wrapped<MDTask>(other.ctx(), MDTaskType::retrieveTask(other.ctx(), other.context(), id, 0, rc, sqlCode));
    changed->setDescription(other.ctx(), "new words");
    other.check(changed->update(other.ctx(), other.context(), sqlCode), sqlCode, "change");
    other.commit();
  }
  end(0);
  EXPECT_EQ(text(task(id)->getDescription(ctx())), "new words");
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
}

TEST_F(SchedulerTest, ARunKeepsTheDefinitionThatItRanWith) {
  const long long id = addTask({.name = "before"}, kHourly);
  runDue();
  end(0);
  session_->transact([&] {
    int sqlCode = 0;
    const auto changed = task(id);
    changed->setScriptContentString(ctx(), "false");
    session_->check(changed->update(ctx(), session_->context(), sqlCode), sqlCode, "change");
  });
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistoryType home(ctx(), session_->context(), rc, sqlCode);
  const auto history =
      wrapped<MDTaskHistory>(ctx(), home.retrieve(ctx(), session_->context(), records()[0].run, rc, sqlCode));
  const std::unique_ptr<MDTaskSnapshot> snapshot(
      history->retrieveTaskSnapshot(ctx(), session_->context(), rc, sqlCode));
  ASSERT_NE(snapshot, nullptr);
  const std::unique_ptr<Clob> script(snapshot->getScriptContent(ctx()));
  ASSERT_NE(script, nullptr);
  EXPECT_EQ(text(script->getString(ctx())), "true");
}

TEST_F(SchedulerTest, OldHistoryIsRemovedAndWhatGoesOnIsNot) {
  addTask({}, kHourly);
  runDue();
  end(0);
  goTo(kStart + kHour);
  runDue();
  scheduler().prune(kStart + kDay);
  EXPECT_EQ(statuses(), std::vector<int>{kRunRunning});
}

TEST_F(SchedulerTest, OutputWithZeroBytesIsKeptToItsEnd) {
  addTask({}, kDaily);
  launcher_.outputText = std::string("a\0b", 3);
  runDue();
  end(0);
  EXPECT_EQ(records()[0].journal,
            "a\xEF\xBF\xBD"
            "b");
}

TEST_F(SchedulerTest, RunOptionsThatNobodyCanReadFailTheRunAndSaySo) {
  const long long id = addTask({}, kDaily);
  session_->transact([&] {
    int sqlCode = 0;
    const auto changed = task(id);
    changed->setAdditionalParameters(ctx(), "{no json");
    session_->check(changed->update(ctx(), session_->context(), sqlCode), sqlCode, "change");
  });
  launcher_.outputText.clear();
  runDue();
  const auto all = records();
  ASSERT_EQ(all.size(), 1U);
  EXPECT_EQ(all[0].status, kRunFailed);
  EXPECT_NE(all[0].journal.find("run options"), std::string::npos);
}

}  // namespace
}  // namespace mesk::host
