// What a change of definitions does to executions that wait, run, or are to be tried again.
#include <scheduler/Notice.h>
#include <scheduler/TaskFile.h>

#include <algorithm>
#include <thread>

#include "Defining.h"

namespace mesk::host {
namespace {

TEST_F(DefinitionsTest, ANewTaskIsPlannedForTheFirstInstantOfEachRule) {
  const Applied applied = apply(defined({kHourly, kTen, "once at 2026-01-04 12:00", "once at 2026-01-06 12:00"}));
  EXPECT_EQ(applied.kind, Applied::Kind::kCreated);
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour, kStart + 10 * kHour, kStart + 36 * kHour}))
      << "an instant that has passed is none, and a start that is now is none";
  EXPECT_EQ(nextStart(), kStart + kHour);
  EXPECT_EQ(state(), 1);
}

TEST_F(DefinitionsTest, ADefinitionReadsBackAsItWasApplied) {
  TaskDefinition task = defined({kTen, "every 3 months on last friday from 2026-02-01 18:00:30 until 2027-12-31",
                                 "every 90 minutes after the end of the previous run from 2026-01-01 00:00"});
  task.description = "line one\nline two";
  task.category = "c";
  task.owner = "somebody";
  task.runAs = "nobody";
  task.directory = "/tmp";
  task.processor = "/bin/bash";
  task.script = "echo '\xc3\xbc'\n";
  task.arguments = "a 'b c'";
  task.retryCount = 2;
  task.retryIntervalSeconds = 90;
  task.options.environment = {{"A", "1"}, {"B", "\xe6\xbc\xa2"}};
  task.options.timeoutSeconds = 60;
  task.options.overlap = RunOptions::Overlap::kSkip;
  task.enabled = false;
  apply(task);
  const auto stored = definitions_.find("task");
  EXPECT_EQ(definitions_.read(*stored), task);
  EXPECT_EQ(apply(task).kind, Applied::Kind::kUnchanged);
  EXPECT_EQ(session_->millis(stored->getModified(ctx())), kStart);
  EXPECT_EQ(text(stored->getModifier(ctx())), session_->user());
}

TEST_F(DefinitionsTest, WhoAppliesAFileWithoutOwnerOwnsWhatIsNewAndTakesNothingOver) {
  apply(defined({}));
  EXPECT_EQ(definitions_.read(*definitions_.find("task")).owner, session_->user());
  TaskDefinition other = defined({});
  other.owner = "somebody";
  EXPECT_EQ(apply(other).changes, std::vector<std::string>{"owner"});
  EXPECT_EQ(apply(defined({})).kind, Applied::Kind::kUnchanged);
  EXPECT_EQ(definitions_.read(*definitions_.find("task")).owner, "somebody");
}

TEST_F(DefinitionsTest, TheForetoldStartsAreThoseThatFire) {
  apply(defined({kHourly, "every 7 hours from 2026-01-01 00:30", "every week on tuesday from 2026-01-01 05:15"}));
  const auto expected = foretold(60);
  ASSERT_EQ(expected.size(), 60U);
  for (const std::int64_t start : expected) {
    ASSERT_EQ(scheduler().nextDue(), start);
    goTo(start);
    runDue();
    end(0);
  }
}

TEST_F(DefinitionsTest, AnOverdueStartIsSaidToBeOverdueAndTheNextOneIsToCome) {
  apply(defined({kHourly}));
  goTo(kStart + 5 * kHour + kMinute);
  const auto next = definitions_.upcoming(*definitions_.find("task"), 2);
  ASSERT_EQ(next.size(), 2U);
  EXPECT_TRUE(next[0].overdue);
  EXPECT_EQ(next[0].start, kStart + kHour);
  EXPECT_FALSE(next[1].overdue);
  EXPECT_EQ(next[1].start, kStart + 6 * kHour);
}

TEST_F(DefinitionsTest, ForetellingEndsWithTheYear9999) {
  apply(defined({"every 10 years from 2026-12-31 00:00"}));
  const auto starts = foretold(1000);
  EXPECT_EQ(starts.size(), 798U) << "2026, 2036, .., 9996";
  EXPECT_TRUE(std::is_sorted(starts.begin(), starts.end()));
  EXPECT_EQ(starts.front(), kStart + 360 * kDay);
}

TEST_F(DefinitionsTest, ATaskThatReplaysMissedInstantsHasEachOfThemForetold) {
  TaskDefinition task = defined({kHourly});
  task.options.missed = RunOptions::Missed::kAll;
  apply(task);
  goTo(kStart + 3 * kHour + kMinute);
  EXPECT_EQ(foretold(4),
            (std::vector<std::int64_t>{kStart + kHour, kStart + 2 * kHour, kStart + 3 * kHour, kStart + 4 * kHour}));
}

TEST_F(DefinitionsTest, WhenARuleGoesItsRetryStaysAndItsNextStartGoes) {
  TaskDefinition task = defined({kHourly});
  task.retryCount = 1;
  task.retryIntervalSeconds = 600;
  apply(task);
  goTo(kStart + kHour);
  runDue();
  end(3);
  ASSERT_EQ(statuses(), std::vector<int>{kRunWaiting});
  ASSERT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour + 10 * kMinute, kStart + 2 * kHour}));

  task.schedule = {ruleFromWords(kTen)};
  EXPECT_EQ(apply(task).changes, (std::vector<std::string>{"schedule: 1 added", "schedule: 1 removed"}));
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour + 10 * kMinute, kStart + 10 * kHour}));

  goTo(kStart + kHour + 10 * kMinute);
  scheduler().refresh();
  runDue();
  if (launcher_.started.size() == 1) runDue();  // the first try met the record as it was before the change
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[1].first.attempt, 2);
  end(0);
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + 10 * kHour}));
}

TEST_F(DefinitionsTest, DisablingLeavesRunsRetriesAndWhatSomebodyAskedFor) {
  TaskDefinition task = defined({kHourly});
  task.retryCount = 1;
  task.retryIntervalSeconds = 600;
  apply(task);
  goTo(kStart + kHour);
  runDue();
  end(3);
  definitions_.runNow("task", {});
  EXPECT_TRUE(definitions_.setEnabled("task", false));
  EXPECT_FALSE(definitions_.setEnabled("task", false));
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour, kStart + kHour + 10 * kMinute}));
  EXPECT_EQ(nextStart(), kStart + kHour);
  EXPECT_TRUE(definitions_.setEnabled("task", true));
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour, kStart + kHour + 10 * kMinute, kStart + 2 * kHour}));
}

TEST_F(DefinitionsTest, EnablingWhileTheTaskRunsQueuesNoSecondStartOfARuleCountedFromTheEnd) {
  const char* const fromEnd = "every hour after the end of the previous run from 2026-01-01 00:00";
  apply(defined({fromEnd}));
  goTo(kStart + kHour);
  runDue();
  definitions_.setEnabled("task", false);
  definitions_.setEnabled("task", true);
  EXPECT_TRUE(queued().empty());
  EXPECT_EQ(state(), 2) << "it runs";
  goTo(kStart + 90 * kMinute);
  end(0);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 150 * kMinute});
}

TEST_F(DefinitionsTest, ARunningTaskIsNotDeletedAndOneThatWaitsForARetryEndsAsFailed) {
  TaskDefinition task = defined({kHourly});
  task.retryCount = 1;
  apply(task);
  goTo(kStart + kHour);
  runDue();
  try {
    definitions_.remove("task");
    FAIL() << "deleted while it runs";
  } catch (const StoreError& error) {
    EXPECT_EQ(error.code(), kStoreInUse);
    EXPECT_EQ(error.exitCode(), kExitRefused);
  }
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 2 * kHour}) << "the refusal took nothing away";
  end(3);
  ASSERT_EQ(statuses(), std::vector<int>{kRunWaiting});
  definitions_.remove("task");
  ASSERT_EQ(statuses(), std::vector<int>{kRunFailed});
  EXPECT_EQ(records()[0].journal, "hello\n\nNot tried again: the task was deleted.\n");
  EXPECT_TRUE(queued().empty());
  EXPECT_THROW(definitions_.find("task"), HostError);
}

TEST_F(DefinitionsTest, AChangeIsToldToWhoeverWatchesAndNoChangeIsNot) {
  Notice watch = Notice::watch(session_->address().path());
  watch.drain();
  apply(defined({kHourly}));
  EXPECT_TRUE(watch.drain());
  apply(defined({kHourly}));
  EXPECT_FALSE(watch.drain());
  definitions_.apply(fileOf({defined({kTen})}), true, [](std::size_t) {});
  EXPECT_FALSE(watch.drain()) << "a dry run changes nothing";
  definitions_.runNow("task", {});
  EXPECT_TRUE(watch.drain());
  definitions_.setEnabled("task", true);
  EXPECT_FALSE(watch.drain());
  definitions_.setEnabled("task", false);
  EXPECT_TRUE(watch.drain());
  definitions_.remove("task");
  EXPECT_TRUE(watch.drain());
}

TEST_F(DefinitionsTest, AChangeBySomebodyElseMeanwhileMakesTheWorkStartAnew) {
  TaskDefinition first = defined({kHourly});
  TaskDefinition second = defined({kTen});
  second.name = "second";
  definitions_.apply(fileOf({first, second}), false, [](std::size_t) {});
  second.script = "false";
  std::vector<std::size_t> calls;
  // The first task stays as it is, so nothing is written and nothing locked when the word on it comes.
  definitions_.apply(fileOf({first, second}), false, [&](std::size_t done) {
    calls.push_back(done);
    if (calls.size() > 1) return;
    std::thread([&] {
      Session other(address());
      Definitions(other).setEnabled("second", false);
    }).join();
  });
  EXPECT_EQ(calls, (std::vector<std::size_t>{1, 1, 2}));
  EXPECT_EQ(definitions_.read(*definitions_.find("second")), [&] {
    TaskDefinition result = second;
    result.owner = session_->user();
    return result;
  }());
  EXPECT_EQ(queued(), (std::vector<std::int64_t>{kStart + kHour, kStart + 10 * kHour}));
}

TEST_F(DefinitionsTest, APasswordIsInNoExportAndSurvivesTheApplyOfOne) {
  apply(defined({}));
  session_->transact([&] {
    const auto task = definitions_.find("task");
    task->setPasswordString(ctx(), "sesame-open");
    int sqlCode = 0;
    session_->check(task->update(ctx(), session_->context(), sqlCode), sqlCode, "setting the password");
  });
  const std::string exported = writeTaskFile(definitions_.exported({"task"}));
  EXPECT_EQ(exported.find("sesame"), std::string::npos);
  TaskDefinition changed = parseTaskFile(exported, "export.yaml").tasks.at(0);
  changed.script = "false";
  EXPECT_EQ(apply(changed).kind, Applied::Kind::kChanged);
  EXPECT_EQ(text(definitions_.find("task")->getPasswordString(ctx())), "sesame-open");
}

TEST_F(DefinitionsTest, RunOptionsThatCannotBeReadAreReplaced) {
  apply(defined({}));
  session_->transact([&] {
    const auto task = definitions_.find("task");
    task->setAdditionalParameters(ctx(), "{nonsense");
    int sqlCode = 0;
    session_->check(task->update(ctx(), session_->context(), sqlCode), sqlCode, "spoiling the options");
  });
  EXPECT_THROW(definitions_.read(*definitions_.find("task")), HostError);
  EXPECT_EQ(apply(defined({})).changes, std::vector<std::string>{"run options"});
  EXPECT_EQ(definitions_.read(*definitions_.find("task")).options, RunOptions());
}

}  // namespace
}  // namespace mesk::host
