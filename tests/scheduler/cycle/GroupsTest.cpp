// Groups: their steps, stage by stage, whatever happens in between.
#include <cstdint>
#include <cstdlib>
#include <random>
#include <set>

#include "Workshop.h"

namespace mesk::host {
namespace {

using Names = std::vector<std::string>;

constexpr RuleText kHourly{1, 1};

class GroupsTest : public SchedulerTest {
 protected:
  void SetUp() override {
    a_ = addTask({.name = "a"});
    b_ = addTask({.name = "b"});
    c_ = addTask({.name = "c"});
  }

  /// Ends a run and starts what can start then.
  void endAndGoOn(const std::string& name, int returnCode = 0) {
    endOf(name, returnCode);
    runDue();
  }

  /// Nothing is left of a group's run but its records.
  void expectNothingLeft() {
    EXPECT_TRUE(executions().empty());
    EXPECT_EQ(scheduler().running(), 0U);
    EXPECT_TRUE(scheduler().idle());
    for (const auto& task : session_->list<MDTask, MDTaskType>("the tasks")) {
      EXPECT_EQ(task->getNumberOfExecutions(ctx()), 0);
      EXPECT_EQ(task->getState(ctx()), 0);
    }
  }

  long long a_ = 0;
  long long b_ = 0;
  long long c_ = 0;
};

TEST_F(GroupsTest, StepsRunOneAfterTheOtherEachInARecordUnderTheGroups) {
  const long long night = addGroup({.name = "night"}, {a_, b_});
  ask(night);
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  EXPECT_EQ(scheduler().running(), 1U) << "the group has no process";
  EXPECT_FALSE(scheduler().idle());
  const long long run = recordOf("night").run;
  EXPECT_EQ(recordOf("night").root, run);
  EXPECT_EQ(recordOf("a").root, run);
  EXPECT_EQ(recordOf("a").invocation, kInvokedAsStep);
  EXPECT_EQ(task(night)->getState(ctx()), 2);
  EXPECT_EQ(task(a_)->getState(ctx()), 2);
  EXPECT_EQ(task(a_)->getNumberOfExecutions(ctx()), 1);
  ASSERT_EQ(executions().size(), 2U);
  for (const auto& exec : executions()) {
    const bool step = exec->getTaskID(ctx()) == a_;
    EXPECT_EQ(exec->getStatus(ctx()), step ? kExecStep : kExecRunning);
    EXPECT_EQ(exec->getParentGroupingTaskExecID(ctx()) != -1, step);
  }

  endAndGoOn("a");
  EXPECT_EQ(started(), (Names{"a", "b"}));
  EXPECT_EQ(recordOf("night").status, kRunRunning);
  goTo(kStart + 90'000);
  endAndGoOn("b");
  const RunRecord group = recordOf("night");
  EXPECT_EQ(group.status, kRunSucceeded);
  EXPECT_EQ(group.returnCode, 0);
  EXPECT_EQ(group.invocation, kInvokedNow);
  EXPECT_EQ(group.journal, "a: succeeded (return code 0, run " + std::to_string(recordOf("a").run) +
                               ")\nb: succeeded (return code 0, run " + std::to_string(recordOf("b").run) + ")\n");
  EXPECT_EQ(task(night)->getLastSuccess(ctx()), 1);
  EXPECT_EQ(task(night)->getLastDuration(ctx()), 90);
  EXPECT_EQ(task(a_)->getLastSuccess(ctx()), 1);
  EXPECT_EQ(records().size(), 3U);
  expectNothingLeft();
}

TEST_F(GroupsTest, StepsOfAStageRunTogetherAndTheNextStageWaitsForAll) {
  const long long d = addTask({.name = "d"});
  ask(addGroup({.name = "night"}, {a_, b_, c_, d}, {1, 2, 1}));
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  endAndGoOn("a");
  EXPECT_EQ(started(), (Names{"a", "b", "c"}));
  endAndGoOn("c");
  EXPECT_EQ(started().size(), 3U);
  endAndGoOn("b");
  EXPECT_EQ(started().back(), "d");
  endAndGoOn("d");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  expectNothingLeft();
}

TEST_F(GroupsTest, MembersAfterTheLastStageThatIsSaidRunOneByOne) {
  ask(addGroup({.name = "night"}, {a_, b_, c_}, {1}));
  runDue();
  endAndGoOn("a");
  EXPECT_EQ(started(), (Names{"a", "b"}));
  endAndGoOn("b");
  EXPECT_EQ(started(), (Names{"a", "b", "c"}));
}

TEST_F(GroupsTest, AGroupInAGroupTakesNoneOfTheProcessesThatItsStepsNeed) {
  limit_ = 1;
  const long long inner = addGroup({.name = "inner"}, {a_, b_}, {2});
  ask(addGroup({.name = "outer"}, {inner, c_}));
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  EXPECT_EQ(scheduler().nextDue(), std::nullopt);
  endAndGoOn("a");
  EXPECT_EQ(started(), (Names{"a", "b"}));
  endAndGoOn("b");
  EXPECT_EQ(recordOf("inner").status, kRunSucceeded);
  EXPECT_EQ(recordOf("inner").root, recordOf("outer").run);
  EXPECT_EQ(recordOf("b").root, recordOf("inner").run) << "directly under the group that it is a step of";
  EXPECT_EQ(started(), (Names{"a", "b", "c"}));
  endAndGoOn("c");
  EXPECT_EQ(recordOf("outer").status, kRunSucceeded);
  expectNothingLeft();
}

TEST_F(GroupsTest, ManyGroupsAtOnceComeToTheirEndWithOneProcess) {
  limit_ = 1;
  std::vector<long long> groups;
  for (int i = 0; i < 5; ++i) {
    const std::string name = "group-" + std::to_string(i);
    const long long one = addTask({.name = (name + "-one").c_str()});
    const long long two = addTask({.name = (name + "-two").c_str()});
    groups.push_back(addGroup({.name = name.c_str()}, {one, two}));
  }
  for (const long long group : groups) ask(group);
  runDue();
  for (std::size_t i = 1; i <= 10; ++i) {
    ASSERT_EQ(launcher_.started.size(), i);
    end(0);
    runDue();
  }
  EXPECT_EQ(statuses(), std::vector<int>(15, kRunSucceeded));
  expectNothingLeft();
}

TEST_F(GroupsTest, NoStageFollowsAStepThatFailedButTheRestOfItsOwnDoes) {
  limit_ = 1;
  ask(addGroup({.name = "night"}, {a_, b_, c_}, {2, 1}));
  runDue();
  endAndGoOn("a", 7);
  EXPECT_EQ(started(), (Names{"a", "b"}));
  endAndGoOn("b", 8);
  EXPECT_EQ(started().size(), 2U);
  const RunRecord group = recordOf("night");
  EXPECT_EQ(group.status, kRunFailed);
  EXPECT_EQ(group.returnCode, 7) << "of the first step that failed";
  EXPECT_NE(group.journal.find("a: failed (return code 7"), std::string::npos) << group.journal;
  EXPECT_NE(group.journal.find("c: not started, after a step that failed\n"), std::string::npos) << group.journal;
  expectNothingLeft();
}

TEST_F(GroupsTest, AGroupThatDoesNotStopGoesOnAfterAFailureAndHasFailedInTheEnd) {
  ask(addGroup({.name = "night", .stopAtFailure = false}, {a_, b_}));
  runDue();
  endAndGoOn("a", 7);
  EXPECT_EQ(started(), (Names{"a", "b"}));
  endAndGoOn("b");
  EXPECT_EQ(recordOf("night").status, kRunFailed);
  EXPECT_EQ(recordOf("night").returnCode, 7);
  EXPECT_EQ(recordOf("b").status, kRunSucceeded);
  expectNothingLeft();
}

TEST_F(GroupsTest, AGroupThatFailedFailsTheGroupItIsAStepOf) {
  const long long inner = addGroup({.name = "inner"}, {a_});
  ask(addGroup({.name = "outer"}, {inner, b_}));
  runDue();
  endAndGoOn("a", 3);
  EXPECT_EQ(recordOf("inner").status, kRunFailed);
  EXPECT_EQ(recordOf("outer").status, kRunFailed);
  EXPECT_EQ(recordOf("outer").returnCode, 3);
  EXPECT_EQ(started(), Names{"a"});
  expectNothingLeft();
}

TEST_F(GroupsTest, AStepIsTriedAgainInItsRecordAndTheGroupWaits) {
  const long long tough = addTask({.name = "tough", .retryCount = 2, .retryInterval = 30});
  ask(addGroup({.name = "night"}, {tough, b_}));
  runDue();
  endAndGoOn("tough", 1);
  EXPECT_EQ(started(), Names{"tough"});
  EXPECT_EQ(recordOf("tough").status, kRunWaiting);
  EXPECT_EQ(scheduler().nextDue(), kStart + 30'000);
  goTo(kStart + 30'000);
  runDue();
  EXPECT_EQ(started(), (Names{"tough", "tough"}));
  EXPECT_EQ(launcher_.started.back().first.attempt, 2);
  for (const auto& exec : executions()) {
    EXPECT_EQ(exec->getStatus(ctx()), exec->getTaskID(ctx()) == tough ? kExecStep : kExecRunning);
  }
  endAndGoOn("tough");
  endAndGoOn("b");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(records().size(), 3U);
  expectNothingLeft();
}

TEST_F(GroupsTest, AGroupIsNotTriedAgain) {
  ask(addGroup({.name = "night", .retryCount = 3}, {a_}));
  runDue();
  endAndGoOn("a", 1);
  EXPECT_EQ(recordOf("night").status, kRunFailed);
  EXPECT_EQ(records().size(), 2U);
  expectNothingLeft();
}

TEST_F(GroupsTest, AStepWaitsForARunOfItsTaskThatGoes) {
  const long long night = addGroup({.name = "night"}, {a_});
  ask(a_);
  runDue();
  ask(night);
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  EXPECT_EQ(scheduler().nextDue(), std::nullopt) << "the end of the run wakes it";
  EXPECT_EQ(recordOf("night").status, kRunRunning);
  endAndGoOn("a");
  EXPECT_EQ(started(), (Names{"a", "a"}));
  endAndGoOn("a");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunSucceeded, kRunSucceeded, kRunSucceeded}));
  expectNothingLeft();
}

TEST_F(GroupsTest, AnInstantOfATaskThatRunsAsAStepWaitsAndItsScheduleGoesOn) {
  const long long own = addTask({.name = "own"}, RuleText{1, 1});
  const long long night = addGroup({.name = "night"}, {own});
  goTo(kStart - kMinute);
  ask(night);
  runDue();
  EXPECT_EQ(started(), Names{"own"});
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart}) << "a step leaves the schedule alone";
  EXPECT_EQ(session_->millis(task(own)->getNextStart(ctx())), kStart);
  goTo(kStart);
  runDue();
  EXPECT_EQ(started().size(), 1U);
  endAndGoOn("own");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(started(), (Names{"own", "own"}));
  EXPECT_EQ(recordOf("own").invocation, kInvokedBySchedule);
  endAndGoOn("own");
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
}

TEST_F(GroupsTest, GroupsFollowTheirScheduleAndOverlapAsOtherTasks) {
  RunOptions options;
  options.overlap = RunOptions::Overlap::kSkip;
  addGroup({.name = "night", .options = options}, {a_}, {}, kHourly);
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  EXPECT_EQ(recordOf("night").invocation, kInvokedBySchedule);
  goTo(kStart + kHour);
  runDue();
  EXPECT_EQ(started().size(), 1U);
  EXPECT_EQ(recordOf("night").status, kRunMissed);
  endAndGoOn("a");
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 2 * kHour});
  goTo(kStart + 2 * kHour);
  runDue();
  EXPECT_EQ(started(), (Names{"a", "a"}));
}

TEST_F(GroupsTest, MissedInstantsOfAGroupAreRecordedAsThoseOfOtherTasks) {
  addGroup({.name = "night"}, {a_}, {}, kHourly);
  goTo(kStart + 2 * kHour + kMinute);
  runDue();
  endAndGoOn("a");
  EXPECT_EQ(statuses(), (std::vector<int>{kRunMissed, kRunMissed, kRunSucceeded, kRunSucceeded}));
}

TEST_F(GroupsTest, AGroupWithoutStepsSucceedsAtOnce) {
  ask(addGroup({.name = "empty"}, {}));
  runDue();
  EXPECT_EQ(recordOf("empty").status, kRunSucceeded);
  expectNothingLeft();
}

TEST_F(GroupsTest, AGroupWithWrongRunOptionsFailsAndSaysSo) {
  const long long night = addGroup({.name = "night"}, {a_});
  sql("UPDATE task SET additional_parameters = 'x' WHERE task_id = " + std::to_string(night));
  ask(night);
  runDue();
  EXPECT_EQ(recordOf("night").status, kRunFailed);
  EXPECT_EQ(recordOf("night").returnCode, kRunNotStarted);
  EXPECT_NE(recordOf("night").journal.find("run options"), std::string::npos);
  EXPECT_TRUE(started().empty());
}

TEST_F(GroupsTest, AGroupThatContainsItselfThroughAnotherFails) {
  const long long inner = addGroup({.name = "inner"}, {});
  const long long outer = addGroup({.name = "outer"}, {inner});
  sql("INSERT INTO task_group_member VALUES (" + std::to_string(inner) + ", 0, " + std::to_string(outer) + ", 0, 1)");
  ask(outer);
  runDue();
  EXPECT_EQ(recordOf("inner").status, kRunFailed);
  EXPECT_EQ(recordOf("inner").returnCode, kRunNotStarted);
  EXPECT_NE(recordOf("inner").journal.find("outer: not started: it contains this group"), std::string::npos);
  EXPECT_EQ(recordOf("outer").status, kRunFailed);
  expectNothingLeft();
}

TEST_F(GroupsTest, AStepThatCannotBeStartedHasFailed) {
  ask(addGroup({.name = "night"}, {a_, b_}));
  launcher_.refuse = "no more processes";
  runDue();
  EXPECT_EQ(recordOf("a").status, kRunFailed);
  EXPECT_EQ(recordOf("night").status, kRunFailed);
  EXPECT_EQ(recordOf("night").returnCode, kRunNotStarted);
  expectNothingLeft();
}

TEST_F(GroupsTest, TheUserOfAStepIsItsOwnOrThatOfItsGroup) {
  sql("UPDATE task SET user_id = 'stepper' WHERE task_id = " + std::to_string(a_));
  const long long exec = ask(addGroup({.name = "night"}, {a_, b_}, {2}));
  sql("UPDATE task_exec SET user_id = 'grouper', additional_parameters = '--all' WHERE task_exec_id = " +
      std::to_string(exec));
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[0].second.user, "stepper");
  EXPECT_EQ(launcher_.started[1].second.user, "grouper");
  EXPECT_EQ(launcher_.started[1].second.arguments, Names{"--all"}) << "asked for with the run";
}

TEST_F(GroupsTest, AGroupCountsTheRowsAndBytesOfItsSteps) {
  ask(addGroup({.name = "night"}, {a_, b_}, {2}));
  runDue();
  RunStatus status;
  status.rows = 10;
  status.bytes = 1000;
  endOf("a", 0, status);
  status.rows = 5;
  endOf("b", 0, status);
  runDue();
  EXPECT_EQ(recordOf("night").rows, 15);
  EXPECT_EQ(recordOf("night").bytes, 2000);
}

TEST_F(GroupsTest, PruningLeavesTheStepsOfAGroupThatRuns) {
  ask(addGroup({.name = "night"}, {a_, b_}));
  runDue();
  endAndGoOn("a");
  scheduler().prune(kStart + kDay);
  launcher_.alive = true;
  restart();
  endAndGoOn("b");
  EXPECT_EQ(started(), (Names{"a", "b"}));
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  scheduler().prune(kStart + kDay);
  EXPECT_TRUE(records().empty());
}

TEST_F(GroupsTest, AStepThatACrashCutOffFailsItsGroup) {
  ask(addGroup({.name = "night"}, {a_, b_}));
  runDue();
  restart();
  runDue();
  EXPECT_EQ(recordOf("a").status, kRunInterrupted);
  EXPECT_EQ(recordOf("night").status, kRunFailed);
  EXPECT_EQ(recordOf("night").returnCode, kReturnInterrupted);
  EXPECT_EQ(started(), Names{"a"});
  expectNothingLeft();
}

TEST_F(GroupsTest, AStepThatWantsItIsRunAgainAfterACrashInItsRecord) {
  RunOptions options;
  options.interrupted = RunOptions::Interrupted::kRerun;
  const long long again = addTask({.name = "again", .options = options});
  ask(addGroup({.name = "night"}, {again}));
  runDue();
  restart();
  EXPECT_EQ(recordOf("again").status, kRunWaiting);
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[1].first, (AttemptID{launcher_.started[0].first.run, 2}));
  end(0);
  runDue();
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(records().size(), 2U);
  expectNothingLeft();
}

TEST_F(GroupsTest, ASchedulerThatDiesBetweenTheMarkAndTheRunOfAStepStartsItOnce) {
  const long long night = addGroup({.name = "night"}, {a_, b_});
  ask(night);
  sql("CREATE TRIGGER dies BEFORE INSERT ON task_exec WHEN NEW.status = 3 BEGIN SELECT RAISE(ABORT, 'dies'); END");
  EXPECT_THROW(runDue(), StoreError);
  EXPECT_TRUE(started().empty());
  EXPECT_EQ(recordOf("night").status, kRunRunning);
  // As the mark stands when another execution of the task was in progress.
  sql("UPDATE task SET state = 2 WHERE task_id = " + std::to_string(a_));
  sql("DROP TRIGGER dies");
  restart();
  EXPECT_EQ(task(a_)->getState(ctx()), 0);
  runDue();
  EXPECT_EQ(started(), Names{"a"});
  endAndGoOn("a");
  endAndGoOn("b");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  EXPECT_EQ(records().size(), 3U);
  expectNothingLeft();
}

TEST_F(GroupsTest, AMarkOfATaskThatIsStillScheduledBecomesScheduledAgain) {
  const long long own = addTask({.name = "own"}, kHourly);
  sql("UPDATE task SET state = 2 WHERE task_id = " + std::to_string(own));
  goTo(kStart - kMinute);
  scheduler();
  EXPECT_EQ(task(own)->getState(ctx()), 1);
  EXPECT_EQ(session_->millis(task(own)->getNextStart(ctx())), kStart);
}

TEST_F(GroupsTest, AnEndOfAStepThatTheStoreRefusesIsRecordedLater) {
  ask(addGroup({.name = "night"}, {a_, b_}));
  runDue();
  sql("CREATE TRIGGER dies BEFORE INSERT ON task_result BEGIN SELECT RAISE(ABORT, 'dies'); END");
  EXPECT_THROW(endOf("a"), StoreError);
  sql("DROP TRIGGER dies");
  RunStatus status;
  status.endedMillis = kStart;
  launcher_.endedAway[launcher_.started[0].first] = status;
  restart();
  runDue();
  EXPECT_EQ(started(), (Names{"a", "b"}));
}

TEST_F(GroupsTest, AStepThatLeavesItsGroupWhileItRunsIsStillWaitedFor) {
  const long long night = addGroup({.name = "night"}, {a_, b_}, {2});
  ask(night);
  runDue();
  session_->transact([&] { Administration(*session_).setGroupMembers({night, 0}, {{b_, 0}}); });
  scheduler().refresh();
  endAndGoOn("b");
  EXPECT_EQ(recordOf("night").status, kRunRunning);
  endAndGoOn("a");
  EXPECT_EQ(recordOf("night").status, kRunSucceeded);
  expectNothingLeft();
}

/// Groups in groups with outcomes, limits and deaths at random; each must come out as if nothing had died.
class GroupsModelTest : public SchedulerTest {
 protected:
  struct Node {
    std::string name;
    long long id = 0;
    bool stops = true;
    int returnCode = 0;
    int failures = 0;  ///< attempts that fail before the last one
    std::vector<Node> members;
    std::vector<int> stages;
  };

  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

  Node grow(int depth) {
    Node node;
    node.name = "n" + std::to_string(++names_);
    if (depth == 0 || pick(0, 2) > 0) {
      node.returnCode = pick(0, 5) == 0 ? pick(1, 9) : 0;
      node.failures = pick(0, 5) == 0 ? 1 : 0;
      node.id = addTask({.name = node.name.c_str(), .retryCount = node.failures});
      return node;
    }
    node.stops = pick(0, 1) == 0;
    std::vector<long long> ids;
    for (int left = pick(1, 5); left > 0;) {
      const int size = pick(1, left);
      node.stages.push_back(size);
      for (int i = 0; i < size; ++i) {
        node.members.push_back(grow(depth - 1));
        ids.push_back(node.members.back().id);
      }
      left -= size;
    }
    node.id = addGroup({.name = node.name.c_str(), .stopAtFailure = node.stops}, ids, node.stages);
    return node;
  }

  /// What should be recorded: for each that runs, its return code.
  int expect(const Node& node, std::map<std::string, int>& expected) {
    int code = node.returnCode;
    std::size_t begin = 0;
    for (const int size : node.stages) {
      bool failed = false;
      for (std::size_t i = begin; i < begin + static_cast<std::size_t>(size); ++i) {
        const int one = expect(node.members[i], expected);
        failed = failed || one != 0;
        if (code == 0) code = one;
      }
      begin += static_cast<std::size_t>(size);
      if (failed && node.stops) break;
    }
    expected[node.name] = code;
    return code;
  }

  void leaves(const Node& node, std::map<std::string, const Node*>& all) const {
    if (node.members.empty()) all[node.name] = &node;
    for (const Node& member : node.members) leaves(member, all);
  }

  void expectOrder(const Node& node) {
    std::size_t begin = 0;
    std::int64_t before = 0;
    for (const int size : node.stages) {
      std::int64_t latest = before;
      for (std::size_t i = begin; i < begin + static_cast<std::size_t>(size); ++i) {
        const auto found = std::find_if(all_.begin(), all_.end(),
                                        [&](const RunRecord& record) { return record.task == node.members[i].name; });
        if (found == all_.end()) continue;
        EXPECT_GE(found->start, before) << found->task << " began before the stage ahead of it had ended";
        latest = std::max(latest, ends_[found->task]);
        expectOrder(node.members[i]);
      }
      before = latest;
      begin += static_cast<std::size_t>(size);
    }
  }

  std::mt19937 random_;
  int names_ = 0;
  std::vector<RunRecord> all_;
  std::map<std::string, std::int64_t> ends_;
};

TEST_F(GroupsModelTest, WhateverDiesEachStepRunsOnceInItsTurn) {
  const char* const given = std::getenv("MESK_SEED");
  const unsigned seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
  RecordProperty("seed", std::to_string(seed));
  SCOPED_TRACE("MESK_SEED=" + std::to_string(seed));
  std::printf("seed %u\n", seed);
  random_.seed(seed);
  launcher_.alive = true;
  for (int round = 0; round < 6; ++round) {
    sql("DELETE FROM task_result; DELETE FROM run_claim; DELETE FROM task_history");
    launcher_.started.clear();
    ends_.clear();
    limit_ = static_cast<std::size_t>(pick(1, 4));
    Node root;
    do {
      root = grow(3);
    } while (root.members.empty());
    std::map<std::string, const Node*> scripts;
    leaves(root, scripts);
    restart();
    ask(root.id);
    std::set<AttemptID> ended;
    std::int64_t now = clockMillis();
    for (int guard = 0; guard < 2000; ++guard) {
      goTo(++now);
      runDue();
      EXPECT_LE(scheduler().running(), limit_);
      if (pick(0, 2) == 0) restart();
      std::vector<std::pair<AttemptID, std::string>> going;
      for (const auto& [id, request] : launcher_.started) {
        if (!ended.contains(id)) going.emplace_back(id, request.environment.at("MESK_TASK"));
      }
      if (going.empty()) {
        if (scheduler().idle()) break;
        continue;
      }
      const auto& [id, name] = going[static_cast<std::size_t>(pick(0, static_cast<int>(going.size()) - 1))];
      RunStatus status;
      status.startedMillis = status.endedMillis = now;
      status.returnCode = id.attempt <= scripts.at(name)->failures ? 99 : scripts.at(name)->returnCode;
      scheduler().finished(id, status);
      ends_[name] = now;
      ended.insert(id);
      if (pick(0, 2) == 0) restart();
    }
    std::map<std::string, int> expected;
    expect(root, expected);
    std::map<std::string, int> found;
    all_ = records();
    for (const RunRecord& record : all_) {
      EXPECT_TRUE(found.emplace(record.task, record.returnCode).second) << record.task << " has two records";
      EXPECT_EQ(record.status, record.returnCode == 0 ? kRunSucceeded : kRunFailed);
      EXPECT_EQ(record.root == record.run, record.task == root.name);
    }
    EXPECT_EQ(found, expected);
    expectOrder(root);
    EXPECT_TRUE(executions().empty());
  }
}

}  // namespace
}  // namespace mesk::host
