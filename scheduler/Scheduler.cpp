#include <scheduler/Scheduler.h>

#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <iterator>
#include <limits>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/tasks/MDTaskType.h>
#include <platform/Clock.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

/// Missed instants recorded in one transaction; what is left waits for the next.
constexpr int kMissedAtOnce = 500;

/// So many executions that cannot be started say that the store fails, and not they.
constexpr int kFailuresAtOnce = 3;

/// The store's word for all tasks where it asks for one.
constexpr long long kEveryTask = -1;

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

RunningStatus outcomeOf(const RunStatus& status) {
  if (status.timedOut) return kRunTimeUp;
  return status.returnCode == 0 && status.signal == 0 && status.failure.empty() ? kRunSucceeded : kRunFailed;
}

/// The task's run options. Those that another program wrote wrongly count as the defaults, and the run says so.
RunOptions optionsOf(Session& session, const MDTask& task, std::string* error = nullptr) {
  try {
    return RunOptions::fromJson(text(task.getAdditionalParameters(session.ctx())));
  } catch (const FormatError& wrong) {
    if (error != nullptr) *error = fmt::format("the run options of the task are wrong: {}", wrong.what());
    return {};
  }
}

}  // namespace

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
    : session_(session), launcher_(launcher), options_(options), report_(std::move(report)), upSince_(clockMillis()) {
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
}

void Scheduler::recover(MDTaskExec& exec) {
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
  active_[id] = {exec.getTaskExecID(ctx), exec.getTaskID(ctx), exec.getSuffix(ctx)};
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

bool Scheduler::isActive(const MDTaskExec& exec) const {
  ThreadContext& ctx = session_.ctx();
  const long long taskID = exec.getTaskID(ctx);
  const int suffix = exec.getSuffix(ctx);
  return std::any_of(active_.begin(), active_.end(),
                     [&](const auto& entry) { return entry.second.taskID == taskID && entry.second.suffix == suffix; });
}

void Scheduler::startDue() {
  if (active_.size() >= options_.limit) return;
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
  // One record that cannot be read must not keep all that come after it from running; a store that fails is not to be
  // asked for each of them.
  std::exception_ptr failure;
  int failures = 0;
  for (const long long id : due) {
    if (active_.size() >= options_.limit || failures == kFailuresAtOnce) break;
    try {
      begin(id, now);
    } catch (const std::exception&) {
      failure = std::current_exception();
      ++failures;
    }
  }
  if (failure) std::rethrow_exception(failure);
}

std::optional<std::int64_t> Scheduler::nextDue() {
  if (active_.size() >= options_.limit) return std::nullopt;
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
    const bool fromEnd = rescheduleStatus(exec) == 1;
    const auto others = storedExecutions();
    const bool represented = std::any_of(others.begin(), others.end(), [&](const auto& other) {
      return other->getTaskExecID(ctx) != id && other->getScheduleEventID(ctx) == ruleID &&
             (other->getTaskHistoryID(ctx) == -1 || fromEnd);
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

  int attempt = 1;
  long long run = resumed;
  auto startStamp = session_.timestamp(now);
  exec.setStatus(ctx, kExecRunning);
  exec.setStartTime(ctx, &startStamp);
  exec.setIsRealStartTime(ctx, 1);
  if (resumed == -1) {
    run = claimInstant(exec);
    insertHistory(exec, *task, run, kRunRunning, now);
    task->incrNumberOfExecutions(ctx);
  } else {
    session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("resuming run {}", run));
    int rc = 0;
    MDTaskHistoryType home(ctx, session_.context(), rc, sqlCode);
    const auto history = wrapped<MDTaskHistory>(ctx, home.retrieve(ctx, session_.context(), run, rc, sqlCode));
    session_.check(rc, sqlCode, fmt::format("reading run {}", run));
    attempt = history->getRetryCount(ctx) + 1;
    history->setRunningStatus(ctx, kRunRunning);
    session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("recording run {}", run));
  }
  task->setState(ctx, 2);
  task->setCurrentStartDateTime(ctx, &startStamp);
  task->setLastStart(ctx, &startStamp);
  if (resumed == -1 && instant && rescheduleStatus(exec) == 2) {
    queueNext(exec, *session_.millis(exec.getOriginalScheduleTime(ctx)));
  }
  updateTask(*task);
  return request(exec, *task, options, {run, attempt});
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
  insertHistory(exec, task, run, kRunMissed, instant);
  report_(fmt::format("task {}: an instant was missed: {} (run {})", text(task.getTaskName(ctx)), why, run));
}

/// Gives the execution a history key and claims its instant for it.
long long Scheduler::claimInstant(MDTaskExec& exec) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistory history(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a history record");
  const long long run = history.getReferenceID(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key");
  exec.setTaskHistoryID(ctx, run);
  session_.check(exec.update(ctx, session_.context(), sqlCode), sqlCode,
                 fmt::format("claiming execution {}", exec.getTaskExecID(ctx)));
  return run;
}

void Scheduler::insertHistory(MDTaskExec& exec, MDTask& task, long long run, RunningStatus status, std::int64_t start) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistory history(ctx, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a history record");
  history.setTaskHistoryID(ctx, run);
  history.setRootTaskHistoryID(ctx, run);
  history.setTaskID(ctx, exec.getTaskID(ctx));
  history.setSuffix(ctx, exec.getSuffix(ctx));
  history.setTaskName(ctx, text(task.getTaskName(ctx)).c_str());
  history.setDescription(ctx, text(task.getDescription(ctx)).c_str());
  history.setOwner(ctx, text(task.getOwner(ctx)).c_str());
  history.setTaskType(ctx, task.getTaskType(ctx));
  history.setTaskCategory(ctx, text(task.getTaskCategory(ctx)).c_str());
  history.setUserID(ctx, text(exec.getUserID(ctx)).c_str());
  history.setScriptContentString(ctx, text(task.getScriptContentString(ctx)).c_str());
  history.setInvocationMethod(ctx, exec.getInvocationMethod(ctx));
  history.setRunningStatus(ctx, status);
  auto stamp = session_.timestamp(start);
  history.setStart(ctx, &stamp);
  if (status == kRunMissed) {
    history.setEnd(ctx, &stamp);
    history.setReturnCode(ctx, kReturnMissed);
  }
  session_.check(history.insert(ctx, session_.context(), sqlCode), sqlCode, fmt::format("recording run {}", run));
}

Scheduler::Start Scheduler::request(MDTaskExec& exec, MDTask& task, const RunOptions& options, const AttemptID& id) {
  ThreadContext& ctx = session_.ctx();
  Start start{id, {}, {}};
  optionsOf(session_, task, &start.refusal);
  RunRequest& request = start.request;
  if (const std::string processor = text(task.getCommandProcessor(ctx)); !processor.empty()) {
    request.processor = processor;
  }
  request.script = text(task.getScriptContentString(ctx));
  request.directory = text(task.getWorkingDir(ctx));
  request.user = text(exec.getUserID(ctx));
  request.environment = options.environment;
  request.environment["MESK_STORE"] = session_.address().path();
  request.environment["MESK_TASK"] = text(task.getTaskName(ctx));
  request.environment["MESK_RUN"] = std::to_string(id.run);
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
  active_[start.id] = {exec.getTaskExecID(ctx), exec.getTaskID(ctx), exec.getSuffix(ctx)};
  std::string failure = start.refusal;
  if (failure.empty()) {
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
  if (!active_.contains(id)) return;
  record(id, status, outcomeOf(status), storable(launcher_.output(id)));
}

void Scheduler::vanished(const AttemptID& id, const std::string& why) {
  if (!active_.contains(id)) return;
  RunStatus status;
  status.returnCode = kReturnInterrupted;
  status.failure = "interrupted: " + why;
  status.endedMillis = clockMillis();
  record(id, status, kRunInterrupted, storable(launcher_.output(id)));
}

/// Ends an attempt in the store: its result, and either a retry or the end of the run with all that follows.
void Scheduler::record(const AttemptID& id, const RunStatus& status, RunningStatus outcome, const std::string& output) {
  ThreadContext& ctx = session_.ctx();
  const Active active = active_.at(id);
  MDTaskExec* const exec = queue().search(active.taskExecID, 1);
  if (exec == nullptr) {
    throw HostError(kExitFailure, fmt::format("run {} has no execution in the queue", id.run));
  }
  bool retried = false;
  transact([&] {
    int rc = 0;
    int sqlCode = 0;
    const auto task = this->task(*exec);
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
    result.setExecutionResultsString(ctx, (output.empty() ? status.failure : output).c_str());
    session_.check(history->addTaskResult(ctx, session_.context(), result, sqlCode), sqlCode,
                   fmt::format("recording the result of run {}", id.run));

    std::string journal = output;
    if (!status.failure.empty()) journal += (journal.empty() ? "" : "\n") + status.failure + "\n";
    if (status.outputLost) journal += "\nSome of the output was lost: the disk was full.\n";
    if (status.timedOut) journal += "\nEnded because its time was up.\n";
    history->appendJournalResult(ctx, journal.c_str());
    history->setReturnCode(ctx, status.returnCode);

    const bool failed = outcome == kRunFailed || outcome == kRunTimeUp;
    retried = failed && id.attempt <= task->getRetryCount(ctx);
    if (retried) {
      history->setRunningStatus(ctx, kRunWaiting);
      history->setRetryCount(ctx, id.attempt);
      const std::int64_t again = ended + std::int64_t{task->getRetryInterval(ctx)} * 1000;
      auto againStamp = session_.timestamp(again);
      exec->setStatus(ctx, kExecQueued);
      exec->setNextStartDateTime(ctx, &againStamp);
      session_.check(exec->update(ctx, session_.context(), sqlCode), sqlCode, "queueing a retry");
      session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode,
                     fmt::format("recording run {}", id.run));
      return;
    }
    history->setBrixInfo(ctx, session_.context());
    history->setRunningStatus(ctx, outcome);
    history->setEnd(ctx, &endStamp);
    history->setDuration(ctx, seconds(ended - session_.millis(history->getStart(ctx)).value_or(started)));
    session_.check(history->update(ctx, session_.context(), sqlCode), sqlCode, fmt::format("recording run {}", id.run));

    const RunOptions options = optionsOf(session_, *task);
    task->decrNumberOfExecutions(ctx);
    task->setLastEnd(ctx, &endStamp);
    task->setLastDuration(ctx, seconds(ended - started));
    task->setLastReturnCode(ctx, status.returnCode);
    task->setLastSuccess(ctx, outcome == kRunSucceeded ? 1 : 0);
    task->setLastExecutionUserID(ctx, text(exec->getUserID(ctx)).c_str());
    task->setLastExecutionResultsString(ctx, output.c_str());
    const bool scheduled = session_.millis(exec->getOriginalScheduleTime(ctx)).has_value();
    if (scheduled && task->getScheduleEnable(ctx) != 0 && rescheduleStatus(*exec) == 1) queueNext(*exec, ended);
    if (outcome == kRunInterrupted && options.interrupted == RunOptions::Interrupted::kRerun) queueRerun(*exec, ended);
    session_.check(exec->deleteIt(ctx, session_.context(), sqlCode), sqlCode, "removing an execution that has ended");
    updateTask(*task);
  });
  active_.erase(id);
  launcher_.forget(id);
  std::unique_ptr<MDTaskExec> done(queue().deleteIt(active.taskExecID, 1));
  if (retried) queue().insert(done.release(), 1);
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

/// The first instant of the execution's rule after `instant`, whatever the time is now. Asked of the rule and not of
/// the execution, which does not tell a rule that has ended from a store that has failed.
std::optional<std::int64_t> Scheduler::nextAfter(MDTaskExec& exec, std::int64_t instant) {
  const auto rule = this->rule(exec);
  if (rule == nullptr || rule->getRecurring(session_.ctx()) == 0) return std::nullopt;
  const ClockAt then(instant);
  auto from = session_.timestamp(instant);
  return session_.millis(rule->getNextScheduledTime(session_.ctx(), &from, 0));
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
    next->setScheduleEventID(ctx, -1);
    next->setAdditionalParameters(ctx, text(exec.getAdditionalParameters(ctx)).c_str());
  }
  next->setStartTime(ctx, nullptr);
  int sqlCode = 0;
  session_.check(next->update(ctx, session_.context(), sqlCode), sqlCode, "queueing the next execution");
  successors_.push_back(next->getTaskExecID(ctx));
  queue().insert(next.release(), 1);
}

/// 0: no rule; 1: counted from the end of a run; 2: from its instant.
int Scheduler::rescheduleStatus(MDTaskExec& exec) {
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
