#include <scheduler/Scheduler.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <limits>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/tasks/MDTaskType.h>
#include <platform/Clock.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Statistics.h>

namespace mesk::host {
namespace {

/// Missed instants recorded in one transaction; what is left waits for the next.
constexpr int kMissedAtOnce = 500;

/// So many executions that cannot be started say that the store fails, and not they.
constexpr int kFailuresAtOnce = 3;

/// The store's word for all tasks where it asks for one.
constexpr long long kEveryTask = -1;

/// In the place of a key of another record.
constexpr long long kNone = -1;

constexpr int kTaskRunning = 2;

int seconds(std::int64_t millis) {
  return static_cast<int>(std::clamp<std::int64_t>((millis + 500) / 1000, 0, std::numeric_limits<int>::max()));
}

/// Output as a text for the store, where a zero byte would end it.
std::string storable(const std::string& output) {
  std::string result;
  for (const char c : output) {
    if (c == '\0') {
      result += "\xEF\xBF\xBD";
    } else {
      result += c;
    }
  }
  return result;
}

TaskKey keyOf(ThreadContext& ctx, const auto& record) { return {record.getTaskID(ctx), record.getSuffix(ctx)}; }

/// The run of the group that a run is a step of; 0 for none.
long long parentOf(ThreadContext& ctx, const MDTaskHistory& history) {
  const long long root = history.getRootTaskHistoryID(ctx);
  return root == history.getTaskHistoryID(ctx) ? 0 : root;
}

/// What started the run of an execution, in its history record.
int invocationOf(ThreadContext& ctx, const MDTaskExec& exec) {
  if (exec.getParentGroupingTaskExecID(ctx) != kNone) return kInvokedAsStep;
  if (exec.getStartedByRunNow(ctx) == kByFollowOn) return kInvokedByFollowOn;
  return exec.getInvocationMethod(ctx);
}

}  // namespace

/// One record that cannot be read must not keep all others from running; a store that fails is not to be asked for each
/// of them.
class Scheduler::Failures {
 public:
  template <class Work>
  void attempt(Work work) {
    try {
      work();
    } catch (const std::exception&) {
      last_ = std::current_exception();
      ++count_;
    }
  }
  bool tooMany() const { return count_ == kFailuresAtOnce; }
  void rethrow() const {
    if (last_) std::rethrow_exception(last_);
  }

 private:
  std::exception_ptr last_;
  int count_ = 0;
};

template <class Work>
void Scheduler::transact(Work work) {
  try {
    session_.transact([&] {
      dropSuccessors();
      work();
    });
  } catch (...) {
    dropSuccessors();
    throw;
  }
  successors_.clear();
}

Scheduler::Scheduler(Session& session, RunLauncher& launcher, Options options, Report report)
    : session_(session),
      launcher_(launcher),
      options_(std::move(options)),
      report_(std::move(report)),
      definitions_(session),
      administration_(session),
      outbox_(session),
      followOns_(session, definitions_, administration_),
      notifications_(session, administration_, outbox_),
      groups_(session, administration_),
      upSince_(clockMillis()) {
  int rc = 0;
  int sqlCode = 0;
  rules_ = std::make_unique<MDScheduleEventType>(session_.ctx(), session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "opening the schedule rules");
}

Scheduler::~Scheduler() { queue().deleteAll(1); }

void Scheduler::load() {
  active_.clear();
  fillSorted();
  std::vector<long long> unsettled;
  queue().iterateStart(1);
  while (const MDTaskExec* const exec = queue().next(1)) {
    if (exec->isQueued(session_.ctx()) == 0) unsettled.push_back(exec->getTaskExecID(session_.ctx()));
  }
  for (const long long id : unsettled) {
    if (MDTaskExec* const exec = queue().search(id, 1)) recover(*exec);
  }
  settleTasks();
}

/// A scheduler that died between marking a task as running and storing its run leaves the mark.
void Scheduler::settleTasks() {
  ThreadContext& ctx = session_.ctx();
  for (const auto& task : session_.list<MDTask, MDTaskType>("the tasks")) {
    if (task->getState(ctx) != kTaskRunning || task->getNumberOfExecutions(ctx) != 0) continue;
    transact([&] {
      int rc = 0;
      int sqlCode = 0;
      const auto fresh = wrapped<MDTask>(ctx, MDTaskType::retrieveTask(ctx, session_.context(), task->getTaskID(ctx),
                                                                       task->getSuffix(ctx), rc, sqlCode));
      if (session_.checkUnless(kStoreNotFound, rc, sqlCode, "reading a task")) updateTask(*fresh);
    });
  }
}

void Scheduler::recover(const MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  const long long run = exec.getTaskHistoryID(ctx);
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistoryType home(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "opening the history");
  const auto history = wrapped<MDTaskHistory>(ctx, home.retrieve(ctx, session_.context(), run, rc, sqlCode));
  if (!session_.checkUnless(kStoreNotFound, rc, sqlCode, fmt::format("reading run {}", run))) {
    // Nothing that a scheduler of this kind leaves behind. It must not keep all other tasks from running.
    report_(
        fmt::format("execution {} goes by its status, but has no record; it is left alone", exec.getTaskExecID(ctx)));
    return;
  }
  const AttemptID id{run, history->getRetryCount(ctx) + 1};
  const bool group = history->getTaskType(ctx) == kGroupTask;
  active_[id] = {.taskExecID = exec.getTaskExecID(ctx),
                 .task = keyOf(ctx, exec),
                 .parent = parentOf(ctx, *history),
                 .group = group,
                 .look = group};
  if (group) return;
  const RunnerState state = launcher_.adopt(id);
  if (std::holds_alternative<RunnerAlive>(state)) {
    report_(fmt::format("run {} is still going and is watched again", run));
  } else if (const auto* const ended = std::get_if<RunnerFinished>(&state)) {
    finished(id, ended->status);
  } else {
    vanished(id, std::get<RunnerVanished>(state).why);
  }
}

void Scheduler::resumed() { upSince_ = clockMillis(); }

std::vector<std::unique_ptr<MDTaskExec>> Scheduler::storedExecutions() {
  return session_.list<MDTaskExec, MDTaskExecType>("the executions");
}

/// The execution as the store has it now; null when it is gone.
std::unique_ptr<MDTaskExec> Scheduler::stored(long long taskExecID) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskExecType home(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "opening the executions");
  auto exec = wrapped<MDTaskExec>(ctx, home.retrieve(ctx, session_.context(), taskExecID, rc, sqlCode));
  const bool found = session_.checkUnless(kStoreNotFound, rc, sqlCode, fmt::format("reading execution {}", taskExecID));
  return found ? std::move(exec) : nullptr;
}

/// The store lists executions by their start, so that they can go into the queue as they come. Those without a start,
/// which no scheduler leaves, go to the end, where they keep nothing from being found.
void Scheduler::refresh() {
  auto stored = storedExecutions();
  std::stable_partition(stored.begin(), stored.end(),
                        [this](const auto& exec) { return nextStart(*exec).has_value(); });
  queue().deleteAll(1);
  fillQueue(stored);
  // What changed may have been a group.
  for (auto& [id, active] : active_) active.look = active.group;
}

/// As `refresh`, in the order that the queue itself makes. It compares each with each, for which there is time at a
/// start; and it turns round those that start together, so they go in turned round. It cannot sort what has no start.
void Scheduler::fillSorted() {
  auto stored = storedExecutions();
  const auto untimed = std::stable_partition(stored.begin(), stored.end(),
                                             [this](const auto& exec) { return nextStart(*exec).has_value(); });
  std::vector<std::unique_ptr<MDTaskExec>> others;
  std::move(untimed, stored.end(), std::back_inserter(others));
  stored.erase(untimed, stored.end());
  std::reverse(stored.begin(), stored.end());
  std::stable_sort(stored.begin(), stored.end(),
                   [this](const auto& a, const auto& b) { return *nextStart(*a) < *nextStart(*b); });
  queue().deleteAll(1);
  fillQueue(stored);
  queue().sort(1);
  for (auto& exec : others) queue().insert(exec.release(), 1);
}

void Scheduler::fillQueue(std::vector<std::unique_ptr<MDTaskExec>>& executions) {
  std::vector<MDTaskExec*> items;
  items.reserve(executions.size());
  for (auto& exec : executions) items.push_back(exec.release());
  queue().createFromArr(items.data(), static_cast<long>(items.size()), 1);
}

std::optional<std::int64_t> Scheduler::nextStart(const MDTaskExec& exec) {
  return session_.millis(exec.getNextStartDateTime(session_.ctx()));
}

std::unique_ptr<MDTask> Scheduler::task(const MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  const long long taskID = exec.getTaskID(ctx);
  auto result =
      wrapped<MDTask>(ctx, MDTaskType::retrieveTask(ctx, session_.context(), taskID, exec.getSuffix(ctx), rc, sqlCode));
  session_.check(rc, sqlCode, fmt::format("reading task {}", taskID));
  return result;
}

bool Scheduler::isActive(const MDTaskExec& exec) const { return isActive(keyOf(session_.ctx(), exec)); }

bool Scheduler::isActive(const TaskKey& task) const {
  return std::any_of(active_.begin(), active_.end(), [&](const auto& entry) { return entry.second.task == task; });
}

std::size_t Scheduler::running() const {
  return static_cast<std::size_t>(
      std::count_if(active_.begin(), active_.end(), [](const auto& entry) { return !entry.second.group; }));
}

void Scheduler::startDue() {
  Failures failures;
  advanceGroups(failures);
  startQueued(failures);
  advanceGroups(failures);
  failures.rethrow();
}

void Scheduler::startQueued(Failures& failures) {
  if (full()) return;
  ThreadContext& ctx = session_.ctx();
  const std::int64_t now = clockMillis();
  std::vector<long long> due;
  queue().iterateStart(1);
  while (const MDTaskExec* const exec = queue().next(1)) {
    if (exec->isQueued(ctx) == 0) continue;
    const auto start = nextStart(*exec);
    if (!start) continue;
    if (*start > now) break;
    due.push_back(exec->getTaskExecID(ctx));
  }
  for (const long long id : due) {
    if (full() || failures.tooMany()) break;
    failures.attempt([&] { begin(id, now); });
  }
}

/// Starts the steps that can start and ends the groups that have ended, until there are no more of either.
void Scheduler::advanceGroups(Failures& failures) {
  for (bool moved = true; moved;) {
    moved = false;
    std::vector<AttemptID> groups;
    for (const auto& [id, active] : active_) {
      if (active.look && !(active.waiting && full())) groups.push_back(id);
    }
    for (const AttemptID& id : groups) {
      if (failures.tooMany()) return;
      failures.attempt([&] { moved = advance(id) || moved; });
    }
  }
}

/// Whether a step was started or the group has ended.
bool Scheduler::advance(const AttemptID& id) {
  ThreadContext& ctx = session_.ctx();
  Active& group = active_.at(id);
  GroupProgress progress = groups_.progress(group.task, id.run, within(id));
  if (progress.ended) {
    progress.status.endedMillis = clockMillis();
    record(id, progress.status, progress.outcome, progress.journal);
    return true;
  }
  bool moved = false;
  group.look = false;  // the end of a step sets it, also of one that is started here and fails at once
  group.waiting = false;
  try {
    for (const auto& member : progress.toStart) {
      const TaskKey key = keyOf(ctx, *member);
      const bool busy = isActive(key);
      if (busy || full()) {
        group.look = true;
        group.waiting = group.waiting || !busy;
      } else {
        startStep(id, key);
        moved = true;
      }
    }
  } catch (...) {
    group.look = true;
    throw;
  }
  return moved;
}

/// The group's task and those of all groups that it is a step of.
std::set<TaskKey> Scheduler::within(const AttemptID& group) const {
  std::set<TaskKey> tasks;
  for (auto found = active_.find(group); found != active_.end(); found = active_.find({found->second.parent, 1})) {
    if (!tasks.insert(found->second.task).second) break;
  }
  return tasks;
}

/// A task that is marked as running is one commit, its run with the execution is the next. Between them nothing has
/// begun, and `load` takes the mark away.
void Scheduler::startStep(const AttemptID& group, const TaskKey& member) {
  ThreadContext& ctx = session_.ctx();
  const long long parentID = active_.at(group).taskExecID;
  const std::int64_t now = clockMillis();
  std::unique_ptr<MDTaskExec> exec;
  std::optional<Start> start;
  transact([&] {
    int sqlCode = 0;
    const auto parent = stored(parentID);
    if (parent == nullptr) throw HostError(kExitFailure, fmt::format("run {} has no execution", group.run));
    const long long execID = queue().getNewJobID(session_.context(), 1);
    if (execID == kNone) throw HostError(kExitStoreFailed, "the store gave no key for an execution");
    auto stamp = session_.timestamp(now);
    MDTaskExec* made = nullptr;
    const int rc = MDTaskExec::newStep(ctx, session_.context(), execID, member.id, member.suffix, &stamp, parent.get(),
                                       made, sqlCode, nullptr);
    exec.reset(made);
    session_.check(rc, sqlCode, fmt::format("starting a step of run {}", group.run));

    const auto task = this->task(*exec);
    if (const std::string user = text(task->getUserID(ctx)); !user.empty()) exec->setUserID(ctx, user.c_str());
    exec->setUseNotification(ctx, parent->getUseNotification(ctx));
    exec->setUseTaskActions(ctx, parent->getUseTaskActions(ctx));
    exec->setSharedNamedScheduleID(ctx, kNone);
    exec->setParentGroupingTaskExecID(ctx, parentID);
    exec->setIsRealStartTime(ctx, 1);
    const long long run = newRun();
    exec->setTaskHistoryID(ctx, run);
    const std::string what = fmt::format("queueing a step of run {}", group.run);
    session_.check(exec->insert(ctx, session_.context(), sqlCode), sqlCode, what);
    insertHistory(*exec, *task, run, group.run, kRunRunning, now);
    task->incrNumberOfExecutions(ctx);
    markStarted(*task, now);
    start = request(*exec, *task, {run, 1});
    start->parent = group.run;
  });
  MDTaskExec* const entry = exec.release();
  queue().insert(entry, 1);
  launch(*start, *entry);
}

/// The task runs, since `now`.
void Scheduler::markStarted(MDTask& task, std::int64_t now) {
  ThreadContext& ctx = session_.ctx();
  auto stamp = session_.timestamp(now);
  task.setState(ctx, kTaskRunning);
  task.setCurrentStartDateTime(ctx, &stamp);
  task.setLastStart(ctx, &stamp);
  updateTask(task);
}

std::optional<std::int64_t> Scheduler::nextDue() {
  if (full()) return std::nullopt;
  ThreadContext& ctx = session_.ctx();
  const std::int64_t now = clockMillis();
  queue().iterateStart(1);
  while (const MDTaskExec* const exec = queue().next(1)) {
    if (exec->isQueued(ctx) == 0) continue;
    const auto start = nextStart(*exec);
    // What is due but waits for another run of its task is woken by the end of that run.
    if (!start || (*start <= now && isActive(*exec))) continue;
    return start;
  }
  return std::nullopt;
}

bool Scheduler::idle() {
  if (!active_.empty()) return false;
  ThreadContext& ctx = session_.ctx();
  const std::int64_t now = clockMillis();
  queue().iterateStart(1);
  while (const MDTaskExec* const exec = queue().next(1)) {
    const auto start = nextStart(*exec);
    if (exec->getTaskHistoryID(ctx) != -1 || (start && *start <= now)) return false;
  }
  return true;
}

void Scheduler::begin(long long taskExecID, std::int64_t now) {
  // Out of the queue while its start may change; whatever happens, it goes back in or is gone from the store.
  if (std::unique_ptr<MDTaskExec>(queue().deleteIt(taskExecID, 1)) == nullptr) return;
  std::unique_ptr<MDTaskExec> exec;
  std::optional<Start> start;
  bool gone = false;
  transact([&] {
    start.reset();
    gone = false;
    // Anew at each try: what a try that was rolled back has set in the object would otherwise stay there.
    exec = stored(taskExecID);
    if (exec == nullptr || exec->isQueued(session_.ctx()) == 0) {
      gone = true;
      return;
    }
    try {
      start = claim(*exec, now);
    } catch (const StoreError& error) {
      if (error.code() != kStoreNotFound && error.code() != kStoreClaimed) throw;
      session_.rollback();
      gone = true;
      exec = stored(taskExecID);
      if (exec != nullptr) giveWay(*exec, error.code() == kStoreClaimed);
    }
  });
  if (gone) {
    refresh();
    return;
  }
  const bool started = start.has_value();
  const bool queued = exec->isQueued(session_.ctx()) != 0;
  if (!started && !queued) return;  // the execution ended with a missed instant that has no successor
  MDTaskExec* const entry = exec.release();
  queue().insert(entry, 1);
  if (started) launch(*start, *entry);
}

/// An execution that cannot run: its task was deleted, or its instant has its run already, because another scheduler
/// took it or because the clock was set back and the rule was queued anew. A rule that nothing else stands for goes
/// on with its next instant; otherwise the execution goes.
void Scheduler::giveWay(MDTaskExec& exec, bool claimed) {
  ThreadContext& ctx = session_.ctx();
  int sqlCode = 0;
  const long long id = exec.getTaskExecID(ctx);
  const auto instant = session_.millis(exec.getOriginalScheduleTime(ctx));
  std::optional<std::int64_t> next;
  if (claimed && instant) {
    const long long ruleID = exec.getScheduleEventID(ctx);
    const TaskKey task = keyOf(ctx, exec);  // the rule may be one of a shared schedule
    const bool fromEnd = rescheduleStatus(exec) == 1;
    const auto others = storedExecutions();
    const bool represented = std::any_of(others.begin(), others.end(), [&](const auto& other) {
      return other->getTaskExecID(ctx) != id && other->getScheduleEventID(ctx) == ruleID &&
             keyOf(ctx, *other) == task && (other->getTaskHistoryID(ctx) == -1 || fromEnd);
    });
    if (!represented) next = nextAfter(exec, *instant);
  }
  if (!next) {
    session_.checkUnless(kStoreNotFound, exec.deleteIt(ctx, session_.context(), sqlCode), sqlCode,
                         fmt::format("removing execution {}", id));
    return;
  }
  auto stamp = session_.timestamp(*next);
  exec.setOriginalScheduleTime(ctx, &stamp);
  exec.setNextStartDateTime(ctx, &stamp);
  session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("moving execution {} on", id));
}

/// Claims the run, with its history record, its task's new state and its successor. No start: the task is not
/// to run now; the execution is queued for a later instant, or is deleted and not queued.
std::optional<Scheduler::Start> Scheduler::claim(MDTaskExec& exec, std::int64_t now) {
  ThreadContext& ctx = session_.ctx();
  const auto task = this->task(exec);
  const RunOptions options = optionsOf(session_, *task);
  int sqlCode = 0;

  const auto instant = session_.millis(exec.getOriginalScheduleTime(ctx));
  const long long resumed = exec.getTaskHistoryID(ctx);
  if (resumed == -1 && instant) {
    if (task->getScheduleEnable(ctx) == 0) {
      session_.check(exec.deleteIt(ctx, session_.context(), sqlCode), sqlCode, "removing a disabled execution");
      exec.setStatus(ctx, kExecRunning);  // so that it is not queued again
      return std::nullopt;
    }
    const Turn turn = passOver(exec, *task, options, now);
    if (turn == Turn::kSettled) updateTask(*task);
    if (turn != Turn::kRun) return std::nullopt;
  } else if (isActive(exec)) {
    return std::nullopt;
  }

  AttemptID id{resumed, 1};
  long long parent = 0;
  auto startStamp = session_.timestamp(now);
  exec.setStatus(ctx, exec.getParentGroupingTaskExecID(ctx) == kNone ? kExecRunning : kExecStep);
  exec.setStartTime(ctx, &startStamp);
  exec.setIsRealStartTime(ctx, 1);
  if (resumed == -1) {
    id.run = claimInstant(exec);
    insertHistory(exec, *task, id.run, id.run, kRunRunning, now);
    task->incrNumberOfExecutions(ctx);
  } else {
    session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("resuming run {}", id.run));
    int rc = 0;
    MDTaskHistoryType home(ctx, session_.context(), rc, sqlCode);
    const auto history = wrapped<MDTaskHistory>(ctx, home.retrieve(ctx, session_.context(), id.run, rc, sqlCode));
    session_.check(rc, sqlCode, fmt::format("reading run {}", id.run));
    id.attempt = history->getRetryCount(ctx) + 1;
    parent = parentOf(ctx, *history);
    history->setRunningStatus(ctx, kRunRunning);
    session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("recording run {}", id.run));
  }
  if (resumed == -1 && instant && rescheduleStatus(exec) == 2) {
    queueNext(exec, *session_.millis(exec.getOriginalScheduleTime(ctx)));
  }
  markStarted(*task, now);
  Start start = request(exec, *task, id);
  start.parent = parent;
  return start;
}

/// Records the instants that passed without a run. `kRun`: the execution's instant is to be run now. `kWait`: it
/// waits for another run of its task, and nothing was changed. `kSettled`: it is queued for a later instant, or was
/// the rule's last, and then it is deleted and not queued.
Scheduler::Turn Scheduler::passOver(MDTaskExec& exec, MDTask& task, const RunOptions& options, std::int64_t now) {
  ThreadContext& ctx = session_.ctx();
  int sqlCode = 0;
  const bool fromStart = rescheduleStatus(exec) == 2;
  const bool busy = isActive(exec);
  if (busy && options.overlap == RunOptions::Overlap::kWait) return Turn::kWait;

  std::int64_t instant = *session_.millis(exec.getOriginalScheduleTime(ctx));
  for (int recorded = 0;; ++recorded) {
    const auto next = fromStart ? nextAfter(exec, instant) : std::nullopt;
    const bool superseded = next && *next <= now;
    std::string why;
    if (busy) {
      why = "the previous run was still going";
    } else if (options.missed == RunOptions::Missed::kSkip && instant < upSince_ &&
               now - instant > kMissedGraceMillis) {
      why = "no scheduler ran";
    } else if (options.missed == RunOptions::Missed::kOnce && superseded) {
      why = "a later instant had passed as well";
    }
    if (why.empty() || recorded == kMissedAtOnce) {
      if (recorded == 0) return Turn::kRun;
      // Its last instant is still to be claimed: back to the queue with it.
      exec.setStatus(ctx, kExecQueued);
      exec.setTaskHistoryID(ctx, -1);
      session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode, "queueing an execution again");
      return why.empty() ? Turn::kRun : Turn::kSettled;
    }
    recordMissed(exec, task, instant, why);
    const auto following = next ? next : nextAfter(exec, now);
    if (!following) {
      session_.check(exec.deleteIt(ctx, session_.context(), sqlCode), sqlCode, "removing the last execution of a rule");
      return Turn::kSettled;
    }
    instant = *following;
    auto stamp = session_.timestamp(instant);
    exec.setOriginalScheduleTime(ctx, &stamp);
    exec.setNextStartDateTime(ctx, &stamp);
    if (instant > now) {
      exec.setStatus(ctx, kExecQueued);
      exec.setTaskHistoryID(ctx, -1);
      session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode, "queueing an execution again");
      return Turn::kSettled;
    }
  }
}

void Scheduler::recordMissed(MDTaskExec& exec, MDTask& task, std::int64_t instant, const std::string& why) {
  ThreadContext& ctx = session_.ctx();
  exec.setStatus(ctx, kExecRunning);
  const long long run = claimInstant(exec);
  insertHistory(exec, task, run, run, kRunMissed, instant);
  report_(fmt::format("task {}: an instant was missed: {} (run {})", text(task.getTaskName(ctx)), why, run));
}

/// The key of a history record that is to be made.
long long Scheduler::newRun() {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistory history(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a history record");
  const long long run = history.getReferenceID(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key");
  return run;
}

/// Gives the execution a history key and claims its instant for it.
long long Scheduler::claimInstant(MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  int sqlCode = 0;
  const long long run = newRun();
  exec.setTaskHistoryID(ctx, run);
  session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode,
                 fmt::format("claiming execution {}", exec.getTaskExecID(ctx)));
  return run;
}

void Scheduler::insertHistory(MDTaskExec& exec, MDTask& task, long long run, long long root, RunningStatus status,
                              std::int64_t start) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistory history(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a history record");
  history.setTaskHistoryID(ctx, run);
  history.setRootTaskHistoryID(ctx, root);
  history.setTaskID(ctx, exec.getTaskID(ctx));
  history.setSuffix(ctx, exec.getSuffix(ctx));
  history.setTaskName(ctx, text(task.getTaskName(ctx)).c_str());
  history.setDescription(ctx, text(task.getDescription(ctx)).c_str());
  history.setOwner(ctx, text(task.getOwner(ctx)).c_str());
  history.setTaskType(ctx, task.getTaskType(ctx));
  history.setTaskCategory(ctx, text(task.getTaskCategory(ctx)).c_str());
  history.setUserID(ctx, text(exec.getUserID(ctx)).c_str());
  history.setScriptContentString(ctx, text(task.getScriptContentString(ctx)).c_str());
  history.setInvocationMethod(ctx, invocationOf(ctx, exec));
  history.setRunningStatus(ctx, status);
  auto stamp = session_.timestamp(start);
  history.setStart(ctx, &stamp);
  if (status == kRunMissed) {
    history.setEnd(ctx, &stamp);
    history.setReturnCode(ctx, kReturnMissed);
  }
  session_.check(history.insert(ctx, session_.context(), sqlCode), sqlCode, fmt::format("recording run {}", run));
}

Scheduler::Start Scheduler::request(const MDTaskExec& exec, const MDTask& task, const AttemptID& id) {
  ThreadContext& ctx = session_.ctx();
  Start start{.id = id};
  const RunOptions options = optionsOf(session_, task, &start.refusal);
  const int type = task.getTaskType(ctx);
  start.group = type == kGroupTask;
  if (start.group) return start;
  RunRequest& request = start.request;
  if (type == kWarehouseTask) {
    request.processor = options_.agent;
  } else {
    if (const std::string processor = text(task.getCommandProcessor(ctx)); !processor.empty()) {
      request.processor = processor;
    }
    request.script = text(task.getScriptContentString(ctx));
  }
  request.directory = text(task.getWorkingDir(ctx));
  request.user = text(exec.getUserID(ctx));
  request.environment = options.environment;
  request.environment["MESK_STORE"] = session_.address().path();
  request.environment["MESK_TASK"] = text(task.getTaskName(ctx));
  request.environment["MESK_RUN"] = std::to_string(id.run);
  if (type == kWarehouseTask) {
    // Which JVM this process was told to use holds for the agent too.
    for (const char* name : {"JAVA_HOME", "MESK_CLASSPATH", "MESK_JVM_OPTIONS"}) {
      if (const char* const value = std::getenv(name)) request.environment[name] = value;
    }
  }
  request.timeoutMillis = options.timeoutSeconds * 1000;
  request.outputLimit = options.outputLimit;
  request.attempt = id.attempt;
  std::string arguments = text(exec.getAdditionalParameters(ctx));
  if (arguments.empty()) arguments = text(task.getDefaultParameters(ctx));
  try {
    request.arguments = shellWords(arguments);
  } catch (const ShellWordsError& error) {
    start.refusal = fmt::format("the arguments of the task are wrong: {}", error.what());
  }
  return start;
}

void Scheduler::launch(const Start& start, const MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  active_[start.id] = {.taskExecID = exec.getTaskExecID(ctx),
                       .task = keyOf(ctx, exec),
                       .parent = start.parent,
                       .group = start.group,
                       .look = start.group};
  std::string failure = start.refusal;
  if (failure.empty()) {
    if (start.group) return;
    try {
      launcher_.start(start.id, start.request);
      return;
    } catch (const std::exception& error) {
      failure = error.what();
    }
  }
  RunStatus status;
  status.returnCode = kRunNotStarted;
  status.failure = failure;
  status.startedMillis = status.endedMillis = clockMillis();
  finished(start.id, status);
}

void Scheduler::finished(const AttemptID& id, const RunStatus& status) {
  const auto found = active_.find(id);
  if (found == active_.end()) return;
  record(id, status, std::nullopt, found->second.group ? "" : storable(launcher_.output(id)));
}

void Scheduler::vanished(const AttemptID& id, const std::string& why) {
  if (!active_.contains(id)) return;
  RunStatus status;
  status.returnCode = kReturnInterrupted;
  status.failure = "interrupted: " + why;
  status.endedMillis = clockMillis();
  record(id, status, kRunInterrupted, storable(launcher_.output(id)));
}

/// Ends an attempt in the store: its result, and either a retry or the end of the run with all that follows. How it
/// went is `known`, or what the task's success codes say.
void Scheduler::record(const AttemptID& id, const RunStatus& status, std::optional<RunningStatus> known,
                       const std::string& output) {
  ThreadContext& ctx = session_.ctx();
  const Active active = active_.at(id);
  MDTaskExec* const exec = queue().search(active.taskExecID, 1);
  if (exec == nullptr) {
    throw HostError(kExitFailure, fmt::format("run {} has no execution in the queue", id.run));
  }
  bool retried = false;
  FollowOns::Fired fired;
  Notifications::Told told;
  int queued = 0;
  {
    const StatisticsLatched latched;
    transact([&] {
      int rc = 0;
      int sqlCode = 0;
      const auto task = this->task(*exec);
      const RunningStatus outcome = known ? *known : outcomeOf(session_, *task, status);
      MDTaskHistoryType home(ctx, session_.context(), rc, sqlCode);
      const auto history = wrapped<MDTaskHistory>(ctx, home.retrieve(ctx, session_.context(), id.run, rc, sqlCode));
      session_.check(rc, sqlCode, fmt::format("reading run {}", id.run));
      const std::int64_t ended = status.endedMillis;
      const std::int64_t started =
          status.startedMillis != 0 ? status.startedMillis : session_.millis(history->getStart(ctx)).value_or(ended);
      auto startStamp = session_.timestamp(started);
      auto endStamp = session_.timestamp(ended);

      MDTaskResult result(ctx, session_.context(), rc, sqlCode);
      session_.check(rc, sqlCode, "making a result record");
      result.setPartitionID(ctx, id.attempt);
      result.setReturnCode(ctx, status.returnCode);
      result.setRunningStatus(ctx, outcome);
      result.setStart(ctx, &startStamp);
      result.setEnd(ctx, &endStamp);
      result.setDuration(ctx, seconds(ended - started));
      const int rows = clamped(status.rows.value_or(0));
      const int bytes = clamped(status.bytes.value_or(status.outputBytes));
      result.setRowCount(ctx, rows);
      result.setByteCount(ctx, bytes);
      result.setExecutionResultsString(ctx, (output.empty() ? status.failure : output).c_str());
      session_.check(history->addTaskResult(ctx, session_.context(), result, sqlCode), sqlCode,
                     fmt::format("recording the result of run {}", id.run));

      std::string journal = output;
      if (!status.failure.empty()) journal += (journal.empty() ? "" : "\n") + status.failure + "\n";
      if (status.outputLost) journal += "\nSome of the output was lost: the disk was full.\n";
      if (status.timedOut) journal += "\nEnded because its time was up.\n";
      history->appendJournalResult(ctx, journal.c_str());
      history->setReturnCode(ctx, status.returnCode);
      history->setRowCount(ctx, clamped(std::int64_t{history->getRowCount(ctx)} + rows));
      history->setByteCount(ctx, clamped(std::int64_t{history->getByteCount(ctx)} + bytes));

      const RunOptions options = optionsOf(session_, *task);
      const bool failed = outcome == kRunFailed || outcome == kRunTimeUp;
      const bool rerun = outcome == kRunInterrupted && options.interrupted == RunOptions::Interrupted::kRerun;
      // A step has one record in its group's run. A group is not tried again: its steps are, each for itself.
      retried = !active.group && ((failed && id.attempt <= task->getRetryCount(ctx)) || (rerun && active.parent != 0));
      if (retried) {
        history->setRunningStatus(ctx, kRunWaiting);
        history->setRetryCount(ctx, id.attempt);
        const std::int64_t again = rerun ? ended : ended + std::int64_t{task->getRetryInterval(ctx)} * 1000;
        auto againStamp = session_.timestamp(again);
        exec->setStatus(ctx, kExecQueued);
        exec->setNextStartDateTime(ctx, &againStamp);
        session_.check(exec->update(ctx, session_.context(), sqlCode), sqlCode, "queueing a retry");
        session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode,
                       fmt::format("recording run {}", id.run));
        return;
      }
      history->setRunningStatus(ctx, outcome);
      history->setEnd(ctx, &endStamp);
      history->setDuration(ctx, seconds(ended - session_.millis(history->getStart(ctx)).value_or(started)));

      task->decrNumberOfExecutions(ctx);
      task->setLastEnd(ctx, &endStamp);
      task->setLastDuration(ctx, seconds(ended - started));
      task->setLastReturnCode(ctx, status.returnCode);
      task->setLastSuccess(ctx, outcome == kRunSucceeded ? 1 : 0);
      task->setLastExecutionUserID(ctx, text(exec->getUserID(ctx)).c_str());
      task->setLastExecutionResultsString(ctx, output.c_str());
      const bool scheduled = session_.millis(exec->getOriginalScheduleTime(ctx)).has_value();
      const bool goesOn = scheduled && task->getScheduleEnable(ctx) != 0 && rescheduleStatus(*exec) == 1;
      if (goesOn && stillApplies(*exec, *task)) queueNext(*exec, ended);
      if (rerun) queueRerun(*exec, ended);
      session_.check(exec->deleteIt(ctx, session_.context(), sqlCode), sqlCode, "removing an execution that has ended");
      updateTask(*task);

      const RunEnd end{*task, *exec, *history, id.run, outcome, ended, output};
      queued = 0;
      fired = followOns_.fire(end, [&](Execution execution, MDTask& target) {
        ++queued;
        successors_.push_back(execution.id);
        queue().insert(execution.record.release(), 1);
        updateTask(target);
      });
      if (!fired.results.empty()) history->setFollowOnActionResultsString(ctx, fired.results.c_str());
      told = notifications_.tell(end);
      if (!told.results.empty()) history->setNotificationResultsString(ctx, told.results.c_str());
      session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode,
                     fmt::format("recording run {}", id.run));
      addToStatistic(session_, end);
    });
  }
  active_.erase(id);
  if (!active.group) launcher_.forget(id);
  if (const auto parent = active_.find({active.parent, 1}); parent != active_.end()) parent->second.look = true;
  std::unique_ptr<MDTaskExec> done(queue().deleteIt(active.taskExecID, 1));
  if (retried) {
    queue().insert(done.release(), 1);
    return;
  }
  for (const auto& troubles : {fired.troubles, told.troubles}) {
    for (const std::string& trouble : troubles) report_(trouble);
  }
  if (told.messages > 0 && options_.mail) options_.mail();
  // The queue puts an entry ahead of those that start with it; read anew, they stand as they were queued.
  if (fired.switched || queued > 1) refresh();
}

/// The execution's rule; null when it has none, or when that was removed.
std::unique_ptr<MDScheduleEvent> Scheduler::rule(const MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  const long long id = exec.getScheduleEventID(ctx);
  if (id == -1) return nullptr;
  int rc = 0;
  int sqlCode = 0;
  auto result = wrapped<MDScheduleEvent>(ctx, rules_->retrieve(ctx, session_.context(), id, rc, sqlCode));
  const bool found = session_.checkUnless(kStoreNotFound, rc, sqlCode, fmt::format("reading rule {}", id));
  return found ? std::move(result) : nullptr;
}

/// The first instant of the execution's rule after `instant`, whatever the time is now.
std::optional<std::int64_t> Scheduler::nextAfter(const MDTaskExec& exec, std::int64_t instant) {
  const auto rule = this->rule(exec);
  return rule == nullptr ? std::nullopt : definitions_.instantAfter(*rule, instant);
}

void Scheduler::queueNext(MDTaskExec& exec, std::int64_t instant) {
  if (const auto next = nextAfter(exec, instant)) queueSuccessor(exec, *next, true);
}

void Scheduler::queueRerun(MDTaskExec& exec, std::int64_t now) { queueSuccessor(exec, now, false); }

void Scheduler::queueSuccessor(MDTaskExec& exec, std::int64_t start, bool scheduled) {
  ThreadContext& ctx = session_.ctx();
  auto stamp = session_.timestamp(start);
  std::unique_ptr<MDTaskExec> next(queue().insertNextExec(ctx, session_.context(), &exec, &stamp, 1));
  if (next == nullptr) {
    throw HostError(kExitStoreFailed,
                    fmt::format("the execution after {} could not be stored", exec.getTaskExecID(ctx)));
  }
  if (scheduled) {
    next->setOriginalScheduleTime(ctx, &stamp);
  } else {
    next->setScheduleEventID(ctx, kNone);
    next->setSharedNamedScheduleID(ctx, kNone);
    next->setAdditionalParameters(ctx, text(exec.getAdditionalParameters(ctx)).c_str());
  }
  next->setStartTime(ctx, nullptr);
  next->setUseNotification(ctx, scheduled ? 1 : exec.getUseNotification(ctx));
  next->setUseTaskActions(ctx, scheduled ? 1 : exec.getUseTaskActions(ctx));
  int sqlCode = 0;
  session_.check(next->update(ctx, session_.context(), sqlCode), sqlCode, "queueing the next execution");
  successors_.push_back(next->getTaskExecID(ctx));
  queue().insert(next.release(), 1);
}

/// Whether the task still uses the shared schedule that the execution's rule is of; it may have left it during the run.
bool Scheduler::stillApplies(const MDTaskExec& exec, MDTask& task) {
  ThreadContext& ctx = session_.ctx();
  const long long id = exec.getSharedNamedScheduleID(ctx);
  if (id == -1) return true;
  const auto used = session_.related("the shared schedules of a task", task, &MDTask::retrieveSharedNamedScheduleList);
  return std::any_of(used.begin(), used.end(),
                     [&](const auto& schedule) { return schedule->getScheduleID(ctx) == id; });
}

/// 0: no rule; 1: counted from the end of a run; 2: from its instant.
int Scheduler::rescheduleStatus(const MDTaskExec& exec) {
  const auto rule = this->rule(exec);
  if (rule == nullptr) return 0;
  return rule->isEndToStart(session_.ctx()) == 1 ? 1 : 2;
}

/// The task's next start and state follow the queue.
void Scheduler::updateTask(MDTask& task) {
  int sqlCode = 0;
  task.updateTaskNextStart(session_.ctx(), session_.context());
  session_.check(task.update(session_.ctx(), session_.context(), sqlCode), sqlCode,
                 fmt::format("updating task {}", text(task.getTaskName(session_.ctx()))));
}

void Scheduler::dropSuccessors() {
  for (const long long id : successors_) delete queue().deleteIt(id, 1);
  successors_.clear();
}

void Scheduler::prune(std::int64_t millis) {
  ThreadContext& ctx = session_.ctx();
  session_.transact([&] {
    int rc = 0;
    int sqlCode = 0;
    MDTaskHistoryType home(ctx, session_.context(), rc, sqlCode);
    session_.check(rc, sqlCode, "opening the history");
    auto before = session_.timestamp(millis);
    rc = home.deleteIt(ctx, session_.context(), kEveryTask, 0, before, sqlCode);
    session_.checkUnless(kStoreNotFound, rc, sqlCode, "removing old history");
  });
}

}  // namespace mesk::host
