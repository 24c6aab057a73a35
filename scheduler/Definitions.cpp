#include <scheduler/Definitions.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <map>
#include <system_error>
#include <utility>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>
#include <scheduler/Notice.h>
#include <scheduler/ShellWords.h>

namespace mesk::host {
namespace {

constexpr int kSuffix = 0;
constexpr long long kNone = -1;
constexpr int kRunningState = 2;
constexpr auto kLatest = std::numeric_limits<std::int64_t>::max();

/// How many insertions, removals and exchanges of bytes lead from one text to the other.
std::size_t editDistance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  for (std::size_t j = 0; j <= to.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= from.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= to.size(); ++j) {
      const std::size_t exchanged = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, exchanged});
    }
  }
  return row[to.size()];
}

bool belongsTo(const Execution& execution, const MDTask& task, ThreadContext& ctx) {
  return execution.taskID == task.getTaskID(ctx) && execution.suffix == task.getSuffix(ctx);
}

/// Queued by a rule and not begun, in contrast to a retry.
bool isPending(const Execution& execution) {
  return execution.queued && execution.run == kNone && execution.ruleID != kNone;
}

/// Whether this is what the rule has in the queue. A run counts only where the next instant is counted from its end:
/// otherwise that was queued when the run began.
bool represents(const Execution& execution, const StoredRule& rule) {
  return execution.ruleID == rule.id && (execution.run == kNone || isAfterEnd(rule.rule));
}

std::vector<std::string> differences(const TaskDefinition& is, const TaskDefinition& wanted) {
  std::vector<std::string> names;
  const auto compare = [&names](bool same, const char* name) {
    if (!same) names.emplace_back(name);
  };
  compare(is.description == wanted.description, "description");
  compare(is.category == wanted.category, "category");
  compare(is.owner == wanted.owner, "owner");
  compare(is.runAs == wanted.runAs, "run-as");
  compare(is.directory == wanted.directory, "directory");
  compare(is.processor == wanted.processor, "processor");
  compare(is.script == wanted.script, "script");
  compare(is.arguments == wanted.arguments, "arguments");
  compare(is.options.environment == wanted.options.environment, "environment");
  compare(is.options.timeoutSeconds == wanted.options.timeoutSeconds, "timeout");
  compare(is.options.outputLimit == wanted.options.outputLimit, "output-limit");
  compare(is.retryCount == wanted.retryCount && is.retryIntervalSeconds == wanted.retryIntervalSeconds, "retry");
  compare(is.options.missed == wanted.options.missed, "missed");
  compare(is.options.interrupted == wanted.options.interrupted, "interrupted");
  compare(is.options.overlap == wanted.options.overlap, "overlap");
  compare(is.enabled == wanted.enabled, "enabled");
  return names;
}

}  // namespace

const char* textOf(Applied::Kind kind) {
  switch (kind) {
    case Applied::Kind::kCreated:
      return "created";
    case Applied::Kind::kChanged:
      return "changed";
    case Applied::Kind::kUnchanged:
      break;
  }
  return "unchanged";
}

Definitions::Definitions(Session& session)
    : session_(session),
      ctx_(session.ctx()),
      day_(ctx_, "yyyyMMdd"),
      timeOfDay_(ctx_, "HHmmss"),
      moment_(ctx_, "yyyyMMddHHmmss") {}

std::vector<std::unique_ptr<MDTask>> Definitions::tasks() {
  auto tasks = session_.list<MDTask, MDTaskType>("the tasks");

  std::vector<std::pair<std::string, Owned>> named;
  named.reserve(tasks.size());
  for (Owned& task : tasks) {
    std::string name = text(task->getTaskName(ctx_));
    named.emplace_back(std::move(name), std::move(task));
  }
  std::stable_sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  tasks.clear();
  for (auto& [name, task] : named) tasks.push_back(std::move(task));
  return tasks;
}

std::unique_ptr<MDTask> Definitions::find(const std::string& name) {
  std::string similar;
  std::size_t least = std::max<std::size_t>(name.size() / 3, 2) + 1;
  for (Owned& task : tasks()) {
    const std::string other = text(task->getTaskName(ctx_));
    if (other == name && task->getSuffix(ctx_) == kSuffix) return std::move(task);
    if (const std::size_t distance = editDistance(name, other); distance < least) {
      least = distance;
      similar = other;
    }
  }
  std::string message = fmt::format("no task '{}'", name);
  message += similar.empty() ? "; 'meskctl list' shows all" : fmt::format("; did you mean '{}'?", similar);
  throw HostError(kExitNotFound, message);
}

TaskDefinition Definitions::read(MDTask& task) {
  TaskDefinition definition = readRecord(task);
  for (const StoredRule& stored : rules(task)) definition.schedule.push_back(stored.rule);
  return definition;
}

TaskDefinition Definitions::readRecord(MDTask& task) {
  TaskDefinition definition;
  definition.name = text(task.getTaskName(ctx_));
  definition.description = text(task.getDescription(ctx_));
  definition.category = text(task.getTaskCategory(ctx_));
  definition.owner = text(task.getOwner(ctx_));
  definition.runAs = text(task.getUserID(ctx_));
  definition.directory = text(task.getWorkingDir(ctx_));
  if (std::string processor = text(task.getCommandProcessor(ctx_)); !processor.empty()) {
    definition.processor = std::move(processor);
  }
  definition.script = text(task.getScriptContentString(ctx_));
  definition.arguments = text(task.getDefaultParameters(ctx_));
  definition.retryCount = task.getRetryCount(ctx_);
  definition.retryIntervalSeconds = task.getRetryInterval(ctx_);
  definition.enabled = task.getScheduleEnable(ctx_) != 0;
  try {
    definition.options = RunOptions::fromJson(text(task.getAdditionalParameters(ctx_)));
  } catch (const FormatError& wrong) {
    throw HostError(kExitFailure,
                    fmt::format("task '{}': {}; apply its task file again", definition.name, wrong.what()));
  }
  return definition;
}

std::vector<StoredRule> Definitions::rules(MDTask& task) {
  MDScheduleEvent** items = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = task.retrieveScheduleEventList(ctx_, session_.context(), items, count, sqlCode);
  auto events = owned(items, count);
  session_.checkUnless(kStoreNothingRelated, rc, sqlCode, "listing the schedule of a task");
  std::vector<StoredRule> result;
  for (auto& event : events) {
    const long long id = event->getScheduleEventID(ctx_);
    const ScheduleRule rule = ruleOf(*event);
    result.push_back({std::move(event), id, rule});
  }
  return result;
}

ScheduleRule Definitions::ruleOf(MDScheduleEvent& event) {
  ScheduleRule rule;
  rule.intervalType = event.getIntervalType(ctx_);
  rule.intervalUnit = event.getIntervalUnit(ctx_);
  rule.detail = event.getDetail(ctx_);
  rule.recurring = event.getRecurring(ctx_);
  const std::unique_ptr<SQLDate> startDate(event.getStartDate(ctx_));
  const std::unique_ptr<SQLTime> startTime(event.getStartTime(ctx_));
  const std::unique_ptr<SQLDate> endDate(event.getEndDate(ctx_));
  if (startDate != nullptr) rule.startDate = text(day_.format(ctx_, *startDate));
  if (startTime != nullptr) rule.startTime = text(timeOfDay_.format(ctx_, *startTime));
  if (endDate != nullptr) rule.endDate = text(day_.format(ctx_, *endDate));
  return rule;
}

std::vector<Execution> Definitions::executions() {
  auto records = session_.list<MDTaskExec, MDTaskExecType>("the queue");
  std::vector<Execution> result;
  result.reserve(records.size());
  for (auto& record : records) {
    Execution execution;
    execution.id = record->getTaskExecID(ctx_);
    execution.taskID = record->getTaskID(ctx_);
    execution.suffix = record->getSuffix(ctx_);
    execution.ruleID = record->getScheduleEventID(ctx_);
    execution.run = record->getTaskHistoryID(ctx_);
    execution.queued = record->isQueued(ctx_) != 0;
    execution.runNow = record->isRunNowTask(ctx_) != 0;
    execution.followOn = record->getStartedByRunNow(ctx_) == kByFollowOn;
    execution.start =
        session_.millis(execution.queued ? record->getNextStartDateTime(ctx_) : record->getStartTime(ctx_));
    execution.instant = session_.millis(record->getOriginalScheduleTime(ctx_));
    execution.record = std::move(record);
    result.push_back(std::move(execution));
  }
  std::stable_sort(result.begin(), result.end(), [](const Execution& a, const Execution& b) {
    return a.start.value_or(kLatest) < b.start.value_or(kLatest);
  });
  return result;
}

std::vector<Applied> Definitions::apply(const std::vector<TaskDefinition>& definitions, bool dryRun,
                                        const std::function<void(std::size_t)>& progress) {
  std::vector<Applied> report;
  const auto work = [&] {
    report.clear();
    std::map<std::string, Owned> existing;
    for (Owned& task : tasks()) {
      if (task->getSuffix(ctx_) != kSuffix) continue;
      std::string name = text(task->getTaskName(ctx_));
      existing.emplace(std::move(name), std::move(task));
    }
    // By task, so that thousands of tasks do not each look through the whole queue.
    std::map<long long, std::vector<Execution>> queue;
    for (Execution& execution : executions()) {
      const long long taskID = execution.taskID;
      queue[taskID].push_back(std::move(execution));
    }
    for (const TaskDefinition& definition : definitions) {
      const auto found = existing.find(definition.name);
      MDTask* const task = found == existing.end() ? nullptr : found->second.get();
      std::vector<Execution> none;
      report.push_back(applyOne(task, definition, task == nullptr ? none : queue[task->getTaskID(ctx_)]));
      progress(report.size());
    }
  };
  if (dryRun) {
    try {
      work();
    } catch (...) {
      session_.rollback();
      throw;
    }
    session_.rollback();
    return report;
  }
  session_.transact(work);
  const auto isChange = [](const Applied& applied) { return applied.kind != Applied::Kind::kUnchanged; };
  if (std::any_of(report.begin(), report.end(), isChange)) announce();
  return report;
}

Applied Definitions::applyOne(MDTask* existing, TaskDefinition wanted, std::vector<Execution>& queue) {
  if (wanted.owner.empty()) wanted.owner = existing == nullptr ? session_.user() : text(existing->getOwner(ctx_));
  return existing == nullptr ? create(wanted, queue) : change(*existing, wanted, queue);
}

Applied Definitions::create(const TaskDefinition& wanted, std::vector<Execution>& queue) {
  int rc = 0;
  int sqlCode = 0;
  MDTask task(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a task");
  const long long id = task.getReferenceID(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key for a task");
  task.setTaskID(ctx_, id);
  task.setSuffix(ctx_, kSuffix);
  task.setTaskType(ctx_, kScriptTask);
  fill(task, wanted);
  // One of that name that was not there a moment ago is a change by somebody else, as any other.
  const int code = task.insert(ctx_, session_.context(), sqlCode);
  session_.check(code == kStoreExists ? kStoreChanged : code, sqlCode, fmt::format("adding task '{}'", wanted.name));
  for (const ScheduleRule& rule : wanted.schedule) addRule(task, rule);
  if (plan(task, queue) > 0) {
    updateNextStart(task, queue);
    update(task);
  }
  return {wanted.name, Applied::Kind::kCreated, {}};
}

Applied Definitions::change(MDTask& task, const TaskDefinition& wanted, std::vector<Execution>& queue) {
  Applied applied{wanted.name, Applied::Kind::kUnchanged, {}};
  try {
    applied.changes = differences(readRecord(task), wanted);
  } catch (const StoreError&) {
    throw;
  } catch (const HostError&) {
    applied.changes = {"run options"};  // what the store has cannot be read, so it is replaced
  }

  // Rules have no names: one that the file has as well stays, whatever its place.
  std::vector<ScheduleRule> added = wanted.schedule;
  int removed = 0;
  for (StoredRule& stored : rules(task)) {
    if (const auto same = std::find(added.begin(), added.end(), stored.rule); same != added.end()) {
      added.erase(same);
    } else {
      removeRule(task, stored, queue);
      ++removed;
    }
  }
  for (const ScheduleRule& rule : added) addRule(task, rule);
  if (!added.empty()) applied.changes.push_back(fmt::format("schedule: {} added", added.size()));
  if (removed > 0) applied.changes.push_back(fmt::format("schedule: {} removed", removed));

  if (!applied.changes.empty()) fill(task, wanted);
  if (!wanted.enabled) clearSchedule(task, queue);
  const int planned = plan(task, queue);
  if (applied.changes.empty() && planned == 0) return applied;
  if (applied.changes.empty()) applied.changes.emplace_back("queued again");
  updateNextStart(task, queue);
  update(task);
  applied.kind = Applied::Kind::kChanged;
  return applied;
}

void Definitions::fill(MDTask& task, const TaskDefinition& definition) {
  task.setTaskName(ctx_, definition.name.c_str());
  task.setDescription(ctx_, definition.description.c_str());
  task.setTaskCategory(ctx_, definition.category.c_str());
  task.setOwner(ctx_, definition.owner.c_str());
  task.setUserID(ctx_, definition.runAs.c_str());
  task.setWorkingDir(ctx_, definition.directory.c_str());
  task.setCommandProcessor(ctx_, definition.processor.c_str());
  task.setScriptContentString(ctx_, definition.script.c_str());
  task.setDefaultParameters(ctx_, definition.arguments.c_str());
  task.setAdditionalParameters(ctx_, definition.options.toJson().c_str());
  task.setRetryCount(ctx_, definition.retryCount);
  task.setRetryInterval(ctx_, definition.retryIntervalSeconds);
  task.setScheduleEnable(ctx_, definition.enabled ? 1 : 0);
  task.setFollowOnTaskEnable(ctx_, 1);
  task.setNotificationEnable(ctx_, 1);
  auto now = session_.timestamp(clockMillis());
  task.setModified(ctx_, &now);
  task.setModifier(ctx_, session_.user().c_str());
}

long long Definitions::parsed(const SimpleDateFormat& format, const std::string& given) {
  const long long millis = format.parse(ctx_, given.c_str());
  session_.check(ctx_.env->ExceptionCheck() != JNI_FALSE ? kStoreInvalid : 0, 0, fmt::format("reading '{}'", given));
  return millis;
}

void Definitions::addRule(MDTask& task, const ScheduleRule& rule) {
  int rc = 0;
  int sqlCode = 0;
  MDScheduleEvent event(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a schedule rule");
  const long long id = event.getReferenceID(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key for a schedule rule");
  event.setScheduleEventID(ctx_, id);
  SQLDate startDate(ctx_, parsed(day_, rule.startDate));
  event.setStartDate(ctx_, &startDate);
  SQLTime startTime(ctx_, parsed(timeOfDay_, rule.startTime));
  event.setStartTime(ctx_, &startTime);
  if (!rule.endDate.empty()) {
    SQLDate endDate(ctx_, parsed(day_, rule.endDate));
    event.setEndDate(ctx_, &endDate);
  }
  event.setIntervalType(ctx_, rule.intervalType);
  event.setIntervalUnit(ctx_, rule.intervalUnit);
  event.setDetail(ctx_, rule.detail);
  event.setRecurring(ctx_, rule.recurring);
  const std::string what = fmt::format("adding the rule '{}'", wordsOf(rule));
  session_.check(event.insert(ctx_, session_.context(), sqlCode), sqlCode, what);
  session_.check(task.addScheduleEvent(ctx_, session_.context(), event, sqlCode), sqlCode, what);
}

/// With the rule goes what it has in the queue, except a retry: that belongs to a run that has begun, and goes on
/// without the rule.
void Definitions::removeRule(MDTask& task, StoredRule& rule, std::vector<Execution>& queue) {
  int sqlCode = 0;
  const std::string what = fmt::format("removing the rule '{}'", wordsOf(rule.rule));
  for (Execution& execution : queue) {
    if (execution.ruleID != rule.id || !execution.queued || execution.run == kNone) continue;
    execution.record->setScheduleEventID(ctx_, kNone);
    execution.ruleID = kNone;
    session_.check(execution.record->update(ctx_, session_.context(), sqlCode), sqlCode, what);
  }
  session_.check(task.removeScheduleEvent(ctx_, session_.context(), *rule.record, sqlCode), sqlCode, what);
  session_.check(rule.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode, what);
  std::erase_if(queue,
                [&rule](const Execution& execution) { return isPending(execution) && execution.ruleID == rule.id; });
}

/// Queues the first execution of each rule that has none; answers how many that were.
int Definitions::plan(MDTask& task, std::vector<Execution>& queue) {
  if (task.getScheduleEnable(ctx_) == 0) return 0;
  int planned = 0;
  for (const StoredRule& rule : rules(task)) {
    if (std::any_of(queue.begin(), queue.end(), [&rule](const Execution& e) { return represents(e, rule); })) continue;
    if (const auto first = firstInstant(*rule.record, rule.rule)) {
      queue.push_back(enqueue(task, kByNobody, rule.id, *first, {}));
      ++planned;
    }
  }
  return planned;
}

void Definitions::clearSchedule(MDTask& task, std::vector<Execution>& queue) {
  std::erase_if(queue, [&](Execution& execution) {
    if (!isPending(execution) || !belongsTo(execution, task, ctx_)) return false;
    int sqlCode = 0;
    session_.check(execution.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode,
                   fmt::format("removing execution {}", execution.id));
    return true;
  });
}

Execution Definitions::follow(MDTask& task, std::int64_t start) { return enqueue(task, kByFollowOn, kNone, start, {}); }

Execution Definitions::enqueue(MDTask& task, StartedBy by, long long ruleID, std::int64_t start,
                               const std::string& arguments) {
  int rc = 0;
  int sqlCode = 0;
  Execution execution;
  execution.record = std::make_unique<MDTaskExec>(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making an execution");
  MDTaskExec& record = *execution.record;
  execution.id = record.getReferenceID(ctx_, session_.context());
  if (execution.id == 0) throw HostError(kExitStoreFailed, "the store gave no key for an execution");
  execution.taskID = task.getTaskID(ctx_);
  execution.suffix = task.getSuffix(ctx_);
  execution.ruleID = ruleID;
  execution.runNow = by == kByRequest;
  execution.followOn = by == kByFollowOn;
  execution.start = start;
  record.setTaskExecID(ctx_, execution.id);
  record.setTaskID(ctx_, execution.taskID);
  record.setSuffix(ctx_, execution.suffix);
  record.setSharedNamedScheduleID(ctx_, kNone);
  record.setScheduleEventID(ctx_, ruleID);
  record.setTaskHistoryID(ctx_, kNone);
  record.setStatus(ctx_, kExecQueued);
  record.setStartedByRunNow(ctx_, by);
  record.setUseNotification(ctx_, 1);
  record.setUseTaskActions(ctx_, 1);
  record.setAdditionalParameters(ctx_, arguments.c_str());
  record.setUserID(ctx_, text(task.getUserID(ctx_)).c_str());
  auto stamp = session_.timestamp(start);
  record.setNextStartDateTime(ctx_, &stamp);
  if (ruleID != kNone) {
    record.setOriginalScheduleTime(ctx_, &stamp);
    execution.instant = start;
  }
  session_.check(record.insert(ctx_, session_.context(), sqlCode), sqlCode,
                 fmt::format("queueing task '{}'", text(task.getTaskName(ctx_))));
  return execution;
}

/// The task's next start and state as the queue has them. A running task stays so.
void Definitions::updateNextStart(MDTask& task, const std::vector<Execution>& queue) {
  std::optional<std::int64_t> earliest;
  for (const Execution& execution : queue) {
    if (!execution.queued || !execution.start || !belongsTo(execution, task, ctx_)) continue;
    earliest = std::min(earliest.value_or(*execution.start), *execution.start);
  }
  if (earliest) {
    auto stamp = session_.timestamp(*earliest);
    task.setNextStart(ctx_, &stamp);
  } else {
    task.setNextStart(ctx_, nullptr);
  }
  if (task.getState(ctx_) != kRunningState) task.setState(ctx_, earliest ? 1 : 0);
}

void Definitions::update(MDTask& task) {
  int sqlCode = 0;
  session_.check(task.update(ctx_, session_.context(), sqlCode), sqlCode,
                 fmt::format("changing task '{}'", text(task.getTaskName(ctx_))));
}

void Definitions::remove(const std::string& name) {
  session_.transact([&] {
    const Owned task = find(name);
    for (Execution& execution : executions()) {
      if (execution.queued && execution.run != kNone && belongsTo(execution, *task, ctx_)) settleRetry(execution);
    }
    int sqlCode = 0;
    session_.check(task->deleteIt(ctx_, session_.context(), sqlCode), sqlCode, fmt::format("deleting task '{}'", name));
  });
  announce();
}

/// A run whose retry will not come ends as its last attempt did.
void Definitions::settleRetry(Execution& execution) {
  int rc = 0;
  int sqlCode = 0;
  MDTaskHistoryType home(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "opening the history");
  const auto history =
      wrapped<MDTaskHistory>(ctx_, home.retrieve(ctx_, session_.context(), execution.run, rc, sqlCode));
  const std::string what = fmt::format("ending run {}", execution.run);
  session_.check(rc, sqlCode, what);
  auto now = session_.timestamp(clockMillis());
  history->setRunningStatus(ctx_, kRunFailed);
  history->setEnd(ctx_, &now);
  history->appendJournalResult(ctx_, "\nNot tried again: the task was deleted.\n");
  session_.check(history->update(ctx_, session_.context(), sqlCode), sqlCode, what);
}

bool Definitions::setEnabled(const std::string& name, bool enabled) {
  bool changed = false;
  session_.transact([&] { changed = switchSchedule(*find(name), enabled); });
  if (changed) announce();
  return changed;
}

bool Definitions::switchSchedule(MDTask& task, bool enabled) {
  if ((task.getScheduleEnable(ctx_) != 0) == enabled) return false;
  auto queue = executions();
  std::erase_if(queue, [&](const Execution& execution) { return !belongsTo(execution, task, ctx_); });
  task.setScheduleEnable(ctx_, enabled ? 1 : 0);
  auto now = session_.timestamp(clockMillis());
  task.setModified(ctx_, &now);
  task.setModifier(ctx_, session_.user().c_str());
  if (!enabled) clearSchedule(task, queue);
  plan(task, queue);
  updateNextStart(task, queue);
  update(task);
  return true;
}

long long Definitions::runNow(const std::string& name, const std::vector<std::string>& arguments) {
  long long id = 0;
  session_.transact([&] {
    const Owned task = find(name);
    auto queue = executions();
    queue.push_back(enqueue(*task, kByRequest, kNone, clockMillis(), shellLine(arguments)));
    id = queue.back().id;
    updateNextStart(*task, queue);
    update(*task);
  });
  announce();
  return id;
}

std::optional<std::int64_t> Definitions::startOf(const ScheduleRule& rule) {
  if (rule.startDate.empty() || rule.startTime.empty()) return std::nullopt;
  return parsed(moment_, rule.startDate + rule.startTime);
}

/// The first instant from now on. That of a rule without recurrence is its start or none.
std::optional<std::int64_t> Definitions::firstInstant(MDScheduleEvent& event, const ScheduleRule& rule) {
  const auto start = startOf(rule);
  if (!start) return std::nullopt;
  auto from = session_.timestamp(*start);
  const auto first = session_.millis(event.getNextScheduledTime(ctx_, &from, 1));
  if (rule.recurring == 0 && first != start) return std::nullopt;
  return first;
}

/// The first instant after another, and from now on.
std::optional<std::int64_t> Definitions::nextInstant(MDScheduleEvent& event, std::int64_t instant) {
  auto from = session_.timestamp(instant);
  return session_.millis(event.getNextScheduledTime(ctx_, &from, 0));
}

std::vector<Upcoming> Definitions::upcoming(MDTask& task, std::size_t count) {
  const std::int64_t now = clockMillis();
  const TaskDefinition definition = readRecord(task);
  const auto taskRules = rules(task);
  auto queue = executions();
  std::erase_if(queue, [&](const Execution& e) { return !e.queued || !e.start || !belongsTo(e, task, ctx_); });
  std::vector<Upcoming> result;
  for (const Execution& execution : queue) {
    if (isPending(execution)) continue;
    std::string why = execution.runNow ? "run now" : execution.followOn ? "follow-on" : "again";
    if (execution.run != kNone) why = fmt::format("retry of run {}", execution.run);
    result.push_back({*execution.start, std::move(why), *execution.start <= now});
  }
  for (const StoredRule& rule : taskRules) {
    const auto pending = std::find_if(queue.begin(), queue.end(), [&rule](const Execution& execution) {
      return isPending(execution) && execution.ruleID == rule.id;
    });
    if (pending == queue.end()) continue;
    const std::string words = wordsOf(rule.rule);
    std::int64_t instant = *pending->start;
    for (std::size_t i = 0; i < count; ++i) {
      result.push_back({instant, words, instant <= now});
      if (rule.rule.recurring == 0) break;
      // As the scheduler goes on from a run; instants that passed run only where the task wants each of them.
      std::optional<ClockAt> then;
      if (instant > now || definition.options.missed == RunOptions::Missed::kAll) then.emplace(instant);
      const auto next = nextInstant(*rule.record, instant);
      // Results travel as fourteen digits: after the year 9999 they begin again.
      if (!next || *next <= instant) break;
      instant = *next;
    }
  }
  std::stable_sort(result.begin(), result.end(),
                   [](const Upcoming& a, const Upcoming& b) { return a.start < b.start; });
  if (result.size() > count) result.resize(count);
  return result;
}

/// The change is made whoever hears of it.
void Definitions::announce() {
  try {
    Notice::post(session_.address().path());
  } catch (const std::system_error& failure) {
    throw HostError(kExitFailure, fmt::format("done, but a running meskd cannot be told: {}", failure.what()));
  }
}

}  // namespace mesk::host
