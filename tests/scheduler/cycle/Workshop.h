// A store on disk, a clock that stands still, and processes that run when the test says so.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>
#include <scheduler/Administration.h>
#include <scheduler/RunOptions.h>
#include <scheduler/Scheduler.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Remembers what was started; an attempt ends when the test says how.
class FakeLauncher : public RunLauncher {
 public:
  void start(const AttemptID& id, const RunRequest& request) override {
    if (!refuse.empty()) throw std::runtime_error(refuse);
    started.emplace_back(id, request);
  }
  RunnerState adopt(const AttemptID& id) override {
    adopted.push_back(id);
    const auto ended = endedAway.find(id);
    if (ended != endedAway.end()) return RunnerFinished{ended->second};
    if (alive) return RunnerAlive{};
    return RunnerVanished{"no such runner"};
  }
  std::string output(const AttemptID&) override { return outputText; }
  void forget(const AttemptID& id) override { forgotten.push_back(id); }

  std::vector<std::pair<AttemptID, RunRequest>> started;
  std::vector<AttemptID> adopted;
  std::vector<AttemptID> forgotten;
  std::map<AttemptID, RunStatus> endedAway;  ///< attempts that ended while no scheduler looked
  bool alive = false;                        ///< whether attempts of earlier schedulers still go
  std::string refuse;                        ///< why nothing can be started
  std::string outputText = "hello\n";
};

/// What a history record says.
struct RunRecord {
  long long run;
  std::string task;
  int status;
  int returnCode;
  int retryCount;
  int invocation;
  std::int64_t start;
  std::string journal;
  long long root;
  int rows;
  int bytes;
  std::string followOns;
  std::string notifications;
};

struct RuleText {
  int type;
  int unit;
  int detail = 0;
  int recurring = 1;
  const char* end = nullptr;
};

class SchedulerTest : public testing::Test {
 protected:
  /// 2026-01-05 00:00 UTC, a Monday; the rules of the tests start here.
  static constexpr std::int64_t kStart = 1767571200000;
  static constexpr std::int64_t kMinute = 60'000;
  static constexpr std::int64_t kHour = 60 * kMinute;
  static constexpr std::int64_t kDay = 24 * kHour;

  SchedulerTest() {
    folder_ = std::filesystem::temp_directory_path() / ("mesk-cycle-" + std::to_string(::getpid()) + "-" +
                                                        testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(folder_);
    setClock(kStart);
    session_ = std::make_unique<Session>(address());
  }
  ~SchedulerTest() override {
    scheduler_.reset();
    session_.reset();
    resetClock();
    std::filesystem::remove_all(folder_);
  }

  /// What is lost in a power cut is not what these tests are about.
  StoreAddress address() const {
    return StoreAddress("jdbc:sqlite:" + (folder_ / "store.mesk").string() + "?mesk.durability=off");
  }
  ThreadContext& ctx() { return session_->ctx(); }

  Scheduler& scheduler() {
    if (scheduler_ == nullptr) {
      scheduler_ = std::make_unique<Scheduler>(
          *session_, launcher_,
          Scheduler::Options{.limit = limit_, .agent = "/opt/agent", .mail = [this] { ++mails_; }},
          [this](auto line) { reports_.push_back(line); });
      scheduler_->load();
    }
    return *scheduler_;
  }

  /// As if the process had died and another one started: nothing of the queue in memory is left.
  void restart() {
    session_->rollback();
    scheduler_.reset();
    scheduler();
  }

  struct TaskText {
    const char* name = "task";
    RunOptions options = {};
    int retryCount = 0;
    int retryInterval = 0;
    TaskType type = kScriptTask;
    bool stopAtFailure = true;
  };

  /// Stores a task with a rule that starts at `kStart`, and its first execution.
  long long addTask(const TaskText& what, std::optional<RuleText> rule) {
    long long id = 0;
    session_->transact([&] {
      int rc = 0;
      int sqlCode = 0;
      MDTask task(ctx(), session_->context(), rc, sqlCode);
      id = task.getReferenceID(ctx(), session_->context(), rc, sqlCode);
      task.setTaskID(ctx(), id);
      task.setTaskName(ctx(), what.name);
      task.setTaskType(ctx(), what.type);
      task.setStopAtStepFailure(ctx(), what.stopAtFailure ? 1 : 0);
      task.setFollowOnTaskEnable(ctx(), 1);
      task.setNotificationEnable(ctx(), 1);
      task.setScriptContentString(ctx(), "true");
      task.setScheduleEnable(ctx(), 1);
      task.setRetryCount(ctx(), what.retryCount);
      task.setRetryInterval(ctx(), what.retryInterval);
      task.setAdditionalParameters(ctx(), what.options.toJson().c_str());
      session_->check(task.insert(ctx(), session_->context(), sqlCode), sqlCode, "insert task");
      if (rule) {
        MDScheduleEvent event(ctx(), session_->context(), rc, sqlCode);
        const long long ruleID = event.getReferenceID(ctx(), session_->context(), rc, sqlCode);
        event.setScheduleEventID(ctx(), ruleID);
        SQLDate date(ctx(), static_cast<long long>(kStart));
        SQLTime time(ctx(), static_cast<long long>(kStart));
        event.setStartDate(ctx(), &date);
        event.setStartTime(ctx(), &time);
        event.setIntervalType(ctx(), rule->type);
        event.setIntervalUnit(ctx(), rule->unit);
        event.setDetail(ctx(), rule->detail);
        event.setRecurring(ctx(), rule->recurring);
        session_->check(event.insert(ctx(), session_->context(), sqlCode), sqlCode, "insert rule");
        session_->check(task.addScheduleEvent(ctx(), session_->context(), event, sqlCode), sqlCode, "add rule");
        addExecution(id, ruleID, kStart, true);
      }
    });
    return id;
  }

  long long addExecution(long long taskID, long long ruleID, std::int64_t start, bool scheduled) {
    int rc = 0;
    int sqlCode = 0;
    MDTaskExec exec(ctx(), session_->context(), rc, sqlCode);
    const long long id = exec.getReferenceID(ctx(), session_->context());
    exec.setTaskExecID(ctx(), id);
    exec.setTaskID(ctx(), taskID);
    exec.setScheduleEventID(ctx(), ruleID);
    exec.setSharedNamedScheduleID(ctx(), -1);
    exec.setStatus(ctx(), kExecQueued);
    exec.setStartedByRunNow(ctx(), scheduled ? 0 : 1);
    exec.setUseTaskActions(ctx(), 1);
    exec.setUseNotification(ctx(), 1);
    auto stamp = session_->timestamp(start);
    exec.setNextStartDateTime(ctx(), &stamp);
    if (scheduled) exec.setOriginalScheduleTime(ctx(), &stamp);
    session_->check(exec.insert(ctx(), session_->context(), sqlCode), sqlCode, "insert execution");
    return id;
  }

  /// A task without a schedule.
  long long addTask(const TaskText& what) { return addTask(what, std::nullopt); }

  /// A group of these tasks; how many run together at each stage, one unless said.
  long long addGroup(TaskText what, const std::vector<long long>& members, const std::vector<int>& stages = {},
                     std::optional<RuleText> rule = std::nullopt) {
    what.type = kGroupTask;
    what.options.stages = stages;
    const long long id = addTask(what, rule);
    std::vector<TaskKey> keys;
    for (const long long member : members) keys.push_back({member, 0});
    session_->transact([&] { Administration(*session_).setGroupMembers({id, 0}, keys); });
    return id;
  }

  long long addFollowOn(long long parent, EndCondition condition, int kind, const std::vector<long long>& targets) {
    long long id = 0;
    session_->transact([&] {
      int rc = 0;
      int sqlCode = 0;
      MDFollowOnAction action(ctx(), session_->context(), rc, sqlCode);
      id = action.getReferenceID(ctx(), session_->context(), rc, sqlCode);
      action.setFollowOnActionID(ctx(), id);
      action.setAction(ctx(), kind);
      action.setFollowOnCondition(ctx(), condition);
      session_->check(action.insert(ctx(), session_->context(), sqlCode), sqlCode, "insert action");
      const auto owner = task(parent);
      session_->check(owner->addFollowOnAction(ctx(), session_->context(), action, sqlCode), sqlCode, "add action");
      for (const long long target : targets) {
        const auto other = task(target);
        session_->check(action.addTask(ctx(), session_->context(), *other, sqlCode), sqlCode, "add target");
      }
    });
    return id;
  }

  /// Somebody asks for a run, and the scheduler is told.
  long long ask(long long taskID) {
    long long id = 0;
    session_->transact([&] { id = addExecution(taskID, -1, clockMillis(), false); });
    if (scheduler_ != nullptr) scheduler_->refresh();
    return id;
  }

  void sql(const std::string& statement) const {
    const std::string line = "sqlite3 -cmd '.timeout 10000' '" + address().path() + "' \"" + statement + "\"";
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
  }

  std::vector<std::unique_ptr<MDTaskExec>> executions() {
    return session_->list<MDTaskExec, MDTaskExecType>("the executions");
  }

  std::unique_ptr<MDTask> task(long long id) {
    int rc = 0;
    int sqlCode = 0;
    return wrapped<MDTask>(ctx(), MDTaskType::retrieveTask(ctx(), session_->context(), id, 0, rc, sqlCode));
  }

  /// The history, oldest key first.
  std::vector<RunRecord> records() {
    int rc = 0;
    int sqlCode = 0;
    MDTaskHistoryType home(ctx(), session_->context(), rc, sqlCode);
    MDTaskHistory** items = nullptr;
    int count = 0;
    EXPECT_EQ(home.retrieveList(ctx(), session_->context(), items, count, sqlCode), 0);
    std::vector<RunRecord> result;
    for (const auto& record : owned(items, count)) {
      result.push_back(
          {record->getTaskHistoryID(ctx()), text(record->getTaskName(ctx())), record->getRunningStatus(ctx()),
           record->getReturnCode(ctx()), record->getRetryCount(ctx()), record->getInvocationMethod(ctx()),
           session_->millis(record->getStart(ctx())).value_or(-1), text(record->getJournalResult(ctx())),
           record->getRootTaskHistoryID(ctx()), record->getRowCount(ctx()), record->getByteCount(ctx()),
           javaText(*record, "getFollowOnActionResultsString"), javaText(*record, "getNotificationResultsString")});
    }
    std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.run < b.run; });
    return result;
  }

  /// What a getter of the Java object answers that its wrapper has no function for.
  std::string javaText(const MDObject& record, const char* getter) {
    const jmethodID method = ctx().env->GetMethodID(record.objectClass, getter, "()Ljava/lang/String;");
    EXPECT_NE(method, nullptr) << getter;
    if (method == nullptr) return {};
    const auto answer = static_cast<jstring>(ctx().env->CallObjectMethod(record.object, method));
    return text(MDObject::jStringToString(ctx(), answer));
  }

  /// The last record of that task.
  RunRecord recordOf(const std::string& name) {
    RunRecord found{};
    for (const RunRecord& record : records()) {
      if (record.task == name) found = record;
    }
    EXPECT_EQ(found.task, name) << "has no record";
    return found;
  }

  /// The names of the tasks of all attempts, in the order in which they were started.
  std::vector<std::string> started() const {
    std::vector<std::string> names;
    for (const auto& [id, request] : launcher_.started) names.push_back(request.environment.at("MESK_TASK"));
    return names;
  }

  /// The statuses of `records`, for a glance.
  std::vector<int> statuses() {
    std::vector<int> result;
    for (const auto& record : records()) result.push_back(record.status);
    return result;
  }

  /// The next starts of the stored executions, soonest first.
  std::vector<std::int64_t> queued() {
    int rc = 0;
    int sqlCode = 0;
    MDTaskExecType home(ctx(), session_->context(), rc, sqlCode);
    MDTaskExec** items = nullptr;
    int count = 0;
    EXPECT_EQ(home.retrieveList(ctx(), session_->context(), items, count, sqlCode), 0);
    std::vector<std::int64_t> result;
    for (const auto& exec : owned(items, count)) {
      if (exec->isQueued(ctx()) != 0) result.push_back(*session_->millis(exec->getNextStartDateTime(ctx())));
    }
    return result;
  }

  /// Ends the attempt that was started last.
  void end(int returnCode, bool timedOut = false) {
    RunStatus status;
    status.returnCode = returnCode;
    status.timedOut = timedOut;
    status.startedMillis = startedAt_;
    status.endedMillis = clockMillis();
    scheduler().finished(launcher_.started.back().first, status);
  }

  /// Ends the last attempt of that task.
  void endOf(const std::string& name, int returnCode = 0, RunStatus status = {}) {
    AttemptID id;
    for (const auto& [attempt, request] : launcher_.started) {
      if (request.environment.at("MESK_TASK") == name) id = attempt;
    }
    ASSERT_NE(id.run, 0) << name << " was not started";
    status.returnCode = returnCode;
    status.startedMillis = startedAt_;
    status.endedMillis = clockMillis();
    scheduler().finished(id, status);
  }

  void runDue() {
    startedAt_ = clockMillis();
    scheduler().startDue();
  }

  void goTo(std::int64_t millis) { setClock(millis); }

  std::filesystem::path folder_;
  std::unique_ptr<Session> session_;
  FakeLauncher launcher_;
  std::unique_ptr<Scheduler> scheduler_;
  std::vector<std::string> reports_;
  std::size_t limit_ = 4;
  int mails_ = 0;  ///< how often the scheduler said that there are messages
  std::int64_t startedAt_ = kStart;
};

}  // namespace mesk::host
