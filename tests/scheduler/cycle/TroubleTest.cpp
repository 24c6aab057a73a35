// The cycle when others change the store at the wrong moment, when the store fails, and when it holds what no
// scheduler left there.
#include <jni.h>

#include <cstdlib>
#include <functional>
#include <utility>

#include "Workshop.h"

namespace mesk::host {
namespace {

constexpr RuleText kHourly{1, 1};

/// Laid over the thread's JNI functions while it lives: counts calls of methods that answer an object, and does
/// something once, right after a task was read from the store.
class Overlay {
 public:
  explicit Overlay(JNIEnv* env, std::function<void()> afterTaskIsRead = {})
      : env_(env), table_(*env->functions), original_(env->functions), after_(std::move(afterTaskIsRead)) {
    current_ = this;
    task_ = env->FindClass("com/orvik/kelvo/mesk/metadata/MDTask");
    table_.CallObjectMethodV = [](JNIEnv* on, jobject object, jmethodID method, va_list arguments) {
      const jobject result = current_->original_->CallObjectMethodV(on, object, method, arguments);
      ++current_->objects_;
      if (current_->after_ && result != nullptr && on->IsInstanceOf(result, current_->task_) == JNI_TRUE) {
        std::exchange(current_->after_, {})();
      }
      return result;
    };
    env_->functions = &table_;
  }
  ~Overlay() {
    env_->functions = original_;
    env_->DeleteLocalRef(task_);
  }
  Overlay(const Overlay&) = delete;
  Overlay& operator=(const Overlay&) = delete;

  bool happened() const { return !after_; }
  long objects() const { return objects_; }

 private:
  static Overlay* current_;
  JNIEnv* env_;
  JNINativeInterface_ table_;
  const JNINativeInterface_* original_;
  jclass task_;
  std::function<void()> after_;
  long objects_ = 0;
};
Overlay* Overlay::current_ = nullptr;

class TroubleTest : public SchedulerTest {
 protected:
  /// Another program gives the task new words.
  void changeTask(Session& other, long long id) {
    other.transact([&] {
      int rc = 0;
      int sqlCode = 0;
      const auto changed =
          wrapped<MDTask>(other.ctx(), MDTaskType::retrieveTask(other.ctx(), other.context(), id, 0, rc, sqlCode));
      changed->setDescription(other.ctx(), "new words");
      other.check(changed->update(other.ctx(), other.context(), sqlCode), sqlCode, "change");
    });
  }

  long long onlyRule() { return executions().at(0)->getScheduleEventID(ctx()); }

  /// Other sessions' reads and writes of executions.
  template <class Change>
  void changeExecution(long long id, Change change) {
    session_->transact([&] {
      for (const auto& exec : executions()) {
        if (exec->getTaskExecID(ctx()) != id) continue;
        int sqlCode = 0;
        change(*exec);
        session_->check(exec->update(ctx(), session_->context(), sqlCode), sqlCode, "change execution");
      }
    });
  }
};

TEST_F(TroubleTest, ATaskThatIsChangedWhileItsRunIsClaimedRunsAllTheSame) {
  const long long id = addTask({}, kHourly);
  scheduler();
  Session other(address());
  {
    const Overlay overlay(ctx().env, [&] { changeTask(other, id); });
    runDue();
    ASSERT_TRUE(overlay.happened());
  }
  ASSERT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(launcher_.started[0].first.attempt, 1);
  EXPECT_EQ(statuses(), std::vector<int>{kRunRunning});
  EXPECT_EQ(text(task(id)->getDescription(ctx())), "new words");
  EXPECT_EQ(task(id)->getNumberOfExecutions(ctx()), 1);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
}

TEST_F(TroubleTest, ATaskThatIsChangedWhileMissedInstantsAreRecordedLosesNone) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  const long long id = addTask({.options = options}, kHourly);
  goTo(kStart + 2 * kHour + 10 * kMinute);
  scheduler();
  Session other(address());
  {
    const Overlay overlay(ctx().env, [&] { changeTask(other, id); });
    runDue();
    ASSERT_TRUE(overlay.happened());
  }
  const auto all = records();
  ASSERT_EQ(all.size(), 3U);
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i].status, kRunMissed);
    EXPECT_EQ(all[i].start, kStart + static_cast<std::int64_t>(i) * kHour);
  }
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 3 * kHour});
}

TEST_F(TroubleTest, ARuleThatCannotBeReadIsNotTakenForOneThatHasEnded) {
  addTask({}, kHourly);
  scheduler();
  sql("UPDATE schedule_event SET start_date = 'torn'");
  EXPECT_THROW(runDue(), StoreError);
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_TRUE(records().empty());
  sql("UPDATE schedule_event SET start_date = '2026-01-05'");
  scheduler().load();
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
}

TEST_F(TroubleTest, MissedInstantsOfARuleThatCannotBeReadAreNotTheLast) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  addTask({.options = options}, kHourly);
  goTo(kStart + 2 * kHour + 10 * kMinute);
  scheduler();
  sql("UPDATE schedule_event SET start_date = 'torn'");
  EXPECT_THROW(runDue(), StoreError);
  EXPECT_TRUE(records().empty());
  sql("UPDATE schedule_event SET start_date = '2026-01-05'");
  scheduler().load();
  runDue();
  EXPECT_EQ(statuses(), (std::vector<int>{kRunMissed, kRunMissed, kRunMissed}));
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + 3 * kHour});
}

TEST_F(TroubleTest, ATaskThatCannotBeStartedKeepsNoOtherFromRunning) {
  addTask({.name = "torn"}, kHourly);
  sql("UPDATE schedule_event SET start_date = 'torn'");
  addTask({.name = "whole"}, kHourly);
  scheduler();
  EXPECT_THROW(runDue(), StoreError) << "what is in the queue is to be read again";
  ASSERT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(launcher_.started[0].second.environment.at("MESK_TASK"), "whole");
}

TEST_F(TroubleTest, ARuleThatIsQueuedAnewForAnInstantThatRanGoesOnWithTheNext) {
  const long long id = addTask({}, kHourly);
  const long long rule = onlyRule();
  runDue();
  end(0);
  // The clock was set back, the schedule switched off and on.
  sql("DELETE FROM task_exec");
  session_->transact([&] { addExecution(id, rule, kStart, true); });
  scheduler().refresh();
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(statuses(), std::vector<int>{kRunSucceeded});
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
  EXPECT_EQ(scheduler().nextDue(), kStart + kHour);
}

TEST_F(TroubleTest, ASecondExecutionOfARuleGoesWhenItsInstantHasRun) {
  const long long id = addTask({}, kHourly);
  session_->transact([&] { addExecution(id, onlyRule(), kStart, true); });
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  end(0);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(queued(), std::vector<std::int64_t>{kStart + kHour});
}

TEST_F(TroubleTest, AnExecutionWithoutAStartKeepsNothingFromRunning) {
  const long long id = addTask({}, kHourly);
  const long long odd = addTask({.name = "odd"}, std::nullopt);
  session_->transact([&] { addExecution(odd, -1, kStart, false); });
  sql("UPDATE task_exec SET next_start_date_time = NULL WHERE task_id = " + std::to_string(odd));
  scheduler();
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  EXPECT_EQ(launcher_.started[0].second.environment.at("MESK_TASK"), "task");
  end(0);
  EXPECT_EQ(task(id)->getLastSuccess(ctx()), 1);
  EXPECT_EQ(scheduler().nextDue(), kStart + kHour);
}

TEST_F(TroubleTest, AnExecutionThatGoesByItsStatusButHasNoRecordKeepsNothingFromRunning) {
  addTask({}, kHourly);
  const long long odd = addTask({.name = "odd"}, std::nullopt);
  session_->transact([&] { addExecution(odd, -1, kStart, false); });
  sql("UPDATE task_exec SET status = 2, task_history_id = 4711 WHERE task_id = " + std::to_string(odd));
  scheduler();
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
  ASSERT_EQ(reports_.size(), 1U);
  EXPECT_NE(reports_[0].find("has no record"), std::string::npos);
}

TEST_F(TroubleTest, AnInstantThatHadToWaitForARunIsNotMissed) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  addTask({.options = options}, kHourly);
  runDue();
  goTo(kStart + kHour);
  runDue();
  goTo(kStart + kHour + 30 * kMinute);
  end(0);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(statuses(), (std::vector<int>{kRunSucceeded, kRunRunning}));
}

TEST_F(TroubleTest, AnInstantThatPassedWhileTheMachineSleptIsMissed) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  addTask({.options = options}, kHourly);
  goTo(kStart - kHour);
  scheduler();
  goTo(kStart + 30 * kMinute);
  scheduler().resumed();
  runDue();
  EXPECT_TRUE(launcher_.started.empty());
  EXPECT_EQ(statuses(), std::vector<int>{kRunMissed});
}

TEST_F(TroubleTest, ARunThatIsRepeatedAfterACrashHasTheArgumentsItWasAskedWith) {
  RunOptions options;
  options.interrupted = RunOptions::Interrupted::kRerun;
  const long long id = addTask({.options = options}, std::nullopt);
  long long execution = 0;
  session_->transact([&] { execution = addExecution(id, -1, kStart, false); });
  changeExecution(execution, [&](MDTaskExec& exec) { exec.setAdditionalParameters(ctx(), "a 'b c'"); });
  runDue();
  ASSERT_EQ(launcher_.started.size(), 1U);
  restart();
  runDue();
  ASSERT_EQ(launcher_.started.size(), 2U);
  EXPECT_EQ(launcher_.started[1].second.arguments, (std::vector<std::string>{"a", "b c"}));
}

TEST_F(TroubleTest, AnExecutionThatAnotherProgramMovedIsTakenOverWhereItIsNow) {
  const long long id = addTask({}, std::nullopt);
  long long execution = 0;
  session_->transact([&] { execution = addExecution(id, -1, kStart + kHour, false); });
  EXPECT_EQ(scheduler().nextDue(), kStart + kHour);
  changeExecution(execution, [&](MDTaskExec& exec) {
    auto stamp = session_->timestamp(kStart);
    exec.setNextStartDateTime(ctx(), &stamp);
  });
  scheduler().refresh();
  EXPECT_EQ(scheduler().nextDue(), kStart);
  runDue();
  EXPECT_EQ(launcher_.started.size(), 1U);
}

TEST_F(TroubleTest, RunsThatAreDueTogetherStartInTheOrderInWhichTheyWereAskedFor) {
  limit_ = 1;
  for (const char* name : {"a", "b", "c"}) addTask({.name = name}, kHourly);
  std::vector<std::string> names;
  for (int i = 0; i < 3; ++i) {
    runDue();
    names.push_back(launcher_.started.back().second.environment.at("MESK_TASK"));
    end(0);
  }
  EXPECT_EQ(names, (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(TroubleTest, TakingOverTwiceAsManyExecutionsIsTwiceTheWork) {
  const auto add = [&](int count) {
    session_->transact([&] {
      for (int i = 0; i < count; ++i) addExecution(4711, -1, kStart + kDay + i, false);
    });
  };
  const auto work = [&] {
    const Overlay overlay(ctx().env);
    scheduler().refresh();
    return overlay.objects();
  };
  scheduler();
  add(100);
  const long once = work();
  add(100);
  const long twice = work();
  EXPECT_GT(once, 0);
  EXPECT_LT(twice, once * 5 / 2);
}

}  // namespace
}  // namespace mesk::host
