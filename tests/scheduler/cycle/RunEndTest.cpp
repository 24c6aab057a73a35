// How a run has ended: success codes, counts, and what a warehouse task runs.
#include <limits>

#include "Workshop.h"

namespace mesk::host {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();

TEST(SuccessCodes, WithoutAnyOnlyZeroIsASuccess) {
  EXPECT_TRUE(isSuccess(0, {}));
  EXPECT_FALSE(isSuccess(1, {}));
  EXPECT_FALSE(isSuccess(-1, {}));
}

TEST(SuccessCodes, AnyOfThemIsEnough) {
  const std::vector<tSuccessRelation> codes{{3, '='}, {100, '>'}, {-5, '<'}};
  for (const int good : {3, 101, kMost, -6, std::numeric_limits<int>::min()}) EXPECT_TRUE(isSuccess(good, codes));
  for (const int bad : {0, 2, 4, 100, -5}) EXPECT_FALSE(isSuccess(bad, codes)) << bad;
}

TEST(SuccessCodes, AnotherCodeThanThisIsTheCondition) {
  EXPECT_TRUE(isSuccess(0, {{1, '!'}}));
  EXPECT_FALSE(isSuccess(1, {{1, '!'}}));
}

TEST(SuccessCodes, AnUnknownConditionNeverHolds) {
  EXPECT_FALSE(isSuccess(0, {{0, '~'}}));
  EXPECT_FALSE(isSuccess(0, {{0, '\0'}}));
}

TEST(EndConditions, SayAtWhichEndsTheyHold) {
  struct Row {
    RunningStatus outcome;
    bool always;
    bool success;
    bool failure;
  };
  for (const Row& row :
       {Row{kRunSucceeded, true, true, false}, Row{kRunFailed, true, false, true}, Row{kRunTimeUp, true, false, true},
        Row{kRunInterrupted, true, false, true}, Row{kRunMissed, false, false, false}}) {
    EXPECT_EQ(applies(kAtEveryEnd, row.outcome), row.always) << textOf(row.outcome);
    EXPECT_EQ(applies(kAtSuccess, row.outcome), row.success) << textOf(row.outcome);
    EXPECT_EQ(applies(kAtFailure, row.outcome), row.failure) << textOf(row.outcome);
    EXPECT_FALSE(applies(3, row.outcome));
    EXPECT_FALSE(applies(-1, row.outcome));
  }
}

TEST(Counts, AreKeptWithinAnInt) {
  EXPECT_EQ(clamped(-1), 0);
  EXPECT_EQ(clamped(7), 7);
  EXPECT_EQ(clamped(std::int64_t{kMost} + 1), kMost);
}

/// A status with this return code and what `change` makes of it.
template <class Change>
RunStatus status(int returnCode, Change change) {
  RunStatus result;
  result.returnCode = returnCode;
  change(result);
  return result;
}

RunStatus status(int returnCode) {
  return status(returnCode, [](RunStatus&) {});
}

RunStatus counted(std::int64_t rows, std::int64_t bytes, int returnCode = 0) {
  return status(returnCode, [=](RunStatus& result) {
    result.rows = rows;
    result.bytes = bytes;
    result.outputBytes = 77;
  });
}

class RunEndTest : public SchedulerTest {
 protected:
  void setCodes(long long task, const std::vector<SuccessCode>& codes) {
    session_->transact([&] { Administration(*session_).setSuccessCodes({task, 0}, codes); });
  }

  RunningStatus outcomeOf(long long task, RunStatus ended) {
    ask(task);
    runDue();
    ended.startedMillis = ended.endedMillis = clockMillis();
    scheduler().finished(launcher_.started.back().first, ended);
    return static_cast<RunningStatus>(records().back().status);
  }
};

TEST_F(RunEndTest, TheTasksSuccessCodesDecide) {
  const long long id = addTask({.name = "check"});
  setCodes(id, {{'<', 4}, {'=', 16}});
  EXPECT_EQ(outcomeOf(id, status(3)), kRunSucceeded);
  EXPECT_EQ(task(id)->getLastSuccess(ctx()), 1);
  EXPECT_EQ(task(id)->getLastReturnCode(ctx()), 3);
  EXPECT_EQ(outcomeOf(id, status(16)), kRunSucceeded);
  EXPECT_EQ(outcomeOf(id, status(4)), kRunFailed);
  EXPECT_EQ(task(id)->getLastSuccess(ctx()), 0);
  setCodes(id, {});
  EXPECT_EQ(outcomeOf(id, status(3)), kRunFailed);
  EXPECT_EQ(outcomeOf(id, status(0)), kRunSucceeded);
}

TEST_F(RunEndTest, ACodeThatIsNoSuccessIsTriedAgainAndOneThatIsIsNot) {
  const long long id = addTask({.name = "check", .retryCount = 1});
  setCodes(id, {{'=', 5}});
  ask(id);
  runDue();
  end(0);
  EXPECT_EQ(statuses(), std::vector<int>{kRunWaiting});
  runDue();
  end(5);
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
}

TEST_F(RunEndTest, NoCodeMakesASuccessOfARunThatWasCutOff) {
  const long long id = addTask({.name = "check"});
  setCodes(id, {{'<', kMost}});
  EXPECT_EQ(outcomeOf(id, status(kRunTimedOut, [](RunStatus& s) { s.timedOut = true; })), kRunTimeUp);
  EXPECT_EQ(outcomeOf(id, status(kRunTerminated, [](RunStatus& s) { s.terminated = true; })), kRunFailed);
  EXPECT_EQ(outcomeOf(id, status(kRunNoProcessor, [](RunStatus& s) { s.failure = "no such program"; })), kRunFailed);
  EXPECT_EQ(outcomeOf(id, status(137, [](RunStatus& s) { s.signal = 9; })), kRunSucceeded) << "its code says so";
  ask(id);
  launcher_.refuse = "no more processes";
  runDue();
  EXPECT_EQ(records().back().status, kRunFailed);
  launcher_.refuse.clear();
  ask(id);
  runDue();
  restart();
  EXPECT_EQ(records().back().status, kRunInterrupted);
}

TEST_F(RunEndTest, RowsAndBytesComeFromTheScriptOrTheOutput) {
  const long long id = addTask({.name = "load"});
  outcomeOf(id, counted(12, 3456));
  EXPECT_EQ(records().back().rows, 12);
  EXPECT_EQ(records().back().bytes, 3456);
  outcomeOf(id, status(0, [](RunStatus& s) { s.outputBytes = 77; }));
  EXPECT_EQ(records().back().rows, 0);
  EXPECT_EQ(records().back().bytes, 77);
  outcomeOf(id, counted(std::int64_t{1} << 40, std::int64_t{1} << 40));
  EXPECT_EQ(records().back().rows, kMost);
  EXPECT_EQ(records().back().bytes, kMost);
}

TEST_F(RunEndTest, TheRecordOfARunCountsAllItsAttempts) {
  const long long id = addTask({.name = "load", .retryCount = 1});
  outcomeOf(id, counted(kMost, 5, 1));
  runDue();
  end(0);
  EXPECT_EQ(records().back().status, kRunSucceeded);
  EXPECT_EQ(records().back().rows, kMost);
  const long long other = addTask({.name = "other", .retryCount = 1});
  outcomeOf(other, counted(1, 2, 1));
  runDue();
  endOf("other", 0, counted(7, 8));
  EXPECT_EQ(recordOf("other").rows, 8);
  EXPECT_EQ(recordOf("other").bytes, 10);
}

TEST_F(RunEndTest, AWarehouseTaskRunsTheAgentWithoutAScript) {
  RunOptions options;
  options.warehouse.emplace();
  options.warehouse->source = "jdbc:sqlite:/a";
  options.warehouse->target = "jdbc:sqlite:/b";
  options.warehouse->table = "t";
  const long long id = addTask({.name = "copy", .options = options, .type = kWarehouseTask});
  ask(id);
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  const RunRequest& request = launcher_.started[0].second;
  EXPECT_EQ(request.processor, "/opt/agent");
  EXPECT_EQ(request.script, "");
  EXPECT_EQ(request.environment.at("MESK_TASK"), "copy");
  EXPECT_EQ(request.environment.at("MESK_STORE"), address().path());
  EXPECT_EQ(request.environment.at("MESK_RUN"), std::to_string(records().back().run));
  endOf("copy", 2, counted(100, 0));
  EXPECT_EQ(records().back().status, kRunFailed);
  EXPECT_EQ(records().back().returnCode, 2);
  EXPECT_EQ(records().back().rows, 100);
}

}  // namespace
}  // namespace mesk::host
