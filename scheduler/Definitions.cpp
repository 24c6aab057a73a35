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
#include <mesk/schedule/MDSharedNamedScheduleType.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>
#include <scheduler/Administration.h>
#include <scheduler/Notice.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Utf8.h>

namespace mesk::host {
namespace {

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

/// Looks for a name that somebody may have meant.
class Similar {
 public:
  explicit Similar(const std::string& name) : name_(name), least_(std::max<std::size_t>(name.size() / 3, 2) + 1) {}

  void offer(const std::string& other) {
    const std::size_t distance = editDistance(name_, other);
    if (distance >= least_) return;
    least_ = distance;
    similar_ = other;
  }

  HostError notFound(const char* what, const char* lists) const {
    std::string message = fmt::format("no {} '{}'", what, name_);
    message +=
        similar_.empty() ? fmt::format("; '{}' shows all", lists) : fmt::format("; did you mean '{}'?", similar_);
    return {kExitNotFound, message};
  }

 private:
  const std::string& name_;
  std::size_t least_;
  std::string similar_;
};

/// Whether this is what the rule has in the queue. A run counts only where the next instant is counted from its end:
/// otherwise that was queued when the run began.
bool represents(const Execution& execution, const StoredRule& rule) {
  return execution.ruleID == rule.id && (execution.run == -1 || isAfterEnd(rule.rule));
}

}  // namespace

std::string StoredRule::words() const {
  return scheduleID == -1 ? wordsOf(rule) : fmt::format("{} (shared schedule '{}')", wordsOf(rule), schedule);
}

Definitions::Definitions(Session& session)
    : session_(session),
      ctx_(session.ctx()),
      directory_(session),
      parts_(session),
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
  Similar similar(name);
  for (Owned& task : tasks()) {
    const std::string other = text(task->getTaskName(ctx_));
    if (other == name && task->getSuffix(ctx_) == kSuffix) return std::move(task);
    similar.offer(other);
  }
  throw similar.notFound("task", "meskctl list");
}

StoredSchedule Definitions::findSchedule(const std::string& name) {
  Similar similar(name);
  for (StoredSchedule& schedule : schedules()) {
    if (schedule.name == name) return std::move(schedule);
    similar.offer(schedule.name);
  }
  throw similar.notFound("shared schedule", "meskctl schedule list");
}

TaskDefinition Definitions::read(MDTask& task) {
  TaskDefinition definition = readRecord(task);
  for (const StoredRule& stored : rules(task)) {
    if (stored.scheduleID == kNone) definition.schedule.push_back(stored.rule);
  }
  for (const auto& schedule : sharedOf(task)) {
    definition.schedules.emplace_back(text(schedule->getSharedScheduleName(ctx_)));
  }
  definition.steps = parts_.steps(task, definition.options.stages);
  definition.options.stages.clear();
  definition.success = parts_.success(task);
  for (StoredFollowOn& stored : parts_.followOns(task)) definition.followOns.push_back(std::move(stored.part));
  for (StoredNotification& stored : parts_.notifications(task)) {
    definition.notifications.push_back(std::move(stored.part));
  }
  definition.rights = parts_.rights(task);
  const std::string owner = inCapitals(definition.owner);
  const auto ofOwner = std::find_if(definition.rights.begin(), definition.rights.end(), [&](const Right& right) {
    return !right.isGroup && right.principal.name == owner;
  });
  if (ofOwner == definition.rights.end()) {
    const auto users = directory_.administration().users();
    // Nothing is what a definition has to say of an owner who may do nothing.
    if (std::find(users.begin(), users.end(), owner) != users.end()) definition.rights.push_back({owner});
  } else if (ofOwner->read && ofOwner->update && ofOwner->execute) {
    definition.rights.erase(ofOwner);
  }
  std::erase_if(definition.rights,
                [this](const Right& right) { return !right.isGroup && parts_.isSuperuser(right.principal.name); });
  return definition;
}

TaskFile Definitions::exported(const std::vector<std::string>& names) {
  TaskFile file;
  std::set<std::string> users;
  std::set<std::string> groups;
  std::set<std::string> contacts;
  std::set<std::string> contactGroups;
  std::set<std::string> shared;
  const auto addTask = [&](MDTask& task) {
    file.tasks.push_back(read(task));
    const TaskDefinition& definition = file.tasks.back();
    for (const Right& right : definition.rights) (right.isGroup ? groups : users).insert(right.principal.name);
    for (const Notification& notification : definition.notifications) {
      for (const Reference& contact : notification.to) contacts.insert(contact.name);
      for (const Reference& group : notification.groups) contactGroups.insert(group.name);
    }
    for (const Reference& schedule : definition.schedules) shared.insert(schedule.name);
  };
  for (const std::string& name : names) addTask(*find(name));
  if (names.empty()) {
    for (const Owned& task : tasks()) {
      if (task->getSuffix(ctx_) == kSuffix) addTask(*task);
    }
    for (std::string& contact : directory_.administration().contacts()) contacts.insert(std::move(contact));
    for (std::string& group : directory_.administration().contactGroups()) contactGroups.insert(std::move(group));
  }
  for (const std::string& name : groups) {
    file.groups.push_back(directory_.group(name));
    for (const Reference& member : file.groups.back().members) users.insert(member.name);
  }
  for (const std::string& name : contactGroups) {
    file.contactGroups.push_back(directory_.contactGroup(name));
    for (const Reference& member : file.contactGroups.back().members) contacts.insert(member.name);
  }
  for (const std::string& name : users) file.users.push_back(directory_.user(name));
  for (const std::string& name : contacts) {
    if (!isAddress(name)) file.contacts.push_back(directory_.contact(name));
  }
  for (StoredSchedule& schedule : schedules()) {
    if (names.empty() || shared.contains(schedule.name)) file.schedules.push_back(read(schedule));
  }
  return file;
}

TaskDefinition Definitions::readRecord(MDTask& task) {
  TaskDefinition definition;
  definition.name = text(task.getTaskName(ctx_));
  definition.description = text(task.getDescription(ctx_));
  definition.category = text(task.getTaskCategory(ctx_));
  definition.owner = text(task.getOwner(ctx_));
  definition.runAs = text(task.getUserID(ctx_));
  definition.directory = text(task.getWorkingDir(ctx_));
  if (const int type = task.getTaskType(ctx_); type == kGroupTask || type == kWarehouseTask) {
    definition.type = static_cast<TaskType>(type);
  }
  if (std::string processor = text(task.getCommandProcessor(ctx_)); !processor.empty()) {
    definition.processor = std::move(processor);
  }
  definition.script = text(task.getScriptContentString(ctx_));
  definition.arguments = text(task.getDefaultParameters(ctx_));
  definition.retryCount = task.getRetryCount(ctx_);
  definition.retryIntervalSeconds = task.getRetryInterval(ctx_);
  definition.stopAtFailure = definition.type != kGroupTask || task.getStopAtStepFailure(ctx_) != 0;
  definition.enabled = task.getScheduleEnable(ctx_) != 0;
  try {
    definition.options = RunOptions::fromJson(text(task.getAdditionalParameters(ctx_)));
  } catch (const FormatError& wrong) {
    throw HostError(kExitFailure,
                    fmt::format("task '{}': {}; apply its task file again", definition.name, wrong.what()));
  }
  return definition;
}

std::vector<std::unique_ptr<MDSharedNamedSchedule>> Definitions::sharedOf(MDTask& task) {
  return session_.related("the shared schedules of a task", task, &MDTask::retrieveSharedNamedScheduleList);
}

std::vector<StoredRule> Definitions::rules(MDTask& task) {
  MDScheduleEvent** items = nullptr;
  long long* ids = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = task.retrieveAllScheduleEventList(ctx_, session_.context(), items, ids, count, sqlCode);
  auto events = owned(items, count);
  const std::unique_ptr<long long[]> scheduleIDs(ids);
  session_.check(rc, sqlCode, "listing the schedule of a task");
  std::map<long long, std::string> names;
  if (std::any_of(ids, ids + count, [](long long id) { return id != kNone; })) {
    for (const auto& schedule : sharedOf(task)) {
      names[schedule->getScheduleID(ctx_)] = text(schedule->getSharedScheduleName(ctx_));
    }
  }
  std::vector<StoredRule> result;
  for (std::size_t i = 0; i < events.size(); ++i) {
    auto& event = events[i];
    if (event == nullptr) continue;  // somebody took it away meanwhile
    const long long id = event->getScheduleEventID(ctx_);
    const ScheduleRule rule = ruleOf(*event);
    result.push_back({std::move(event), id, rule, scheduleIDs[i], names[scheduleIDs[i]]});
  }
  return result;
}

std::vector<StoredRule> Definitions::rules(StoredSchedule& schedule) {
  std::vector<StoredRule> result;
  for (auto& event : session_.related("the rules of a shared schedule", *schedule.record,
                                      &MDSharedNamedSchedule::retrieveScheduleEventList)) {
    const long long id = event->getScheduleEventID(ctx_);
    const ScheduleRule rule = ruleOf(*event);
    result.push_back({std::move(event), id, rule, schedule.id, schedule.name});
  }
  return result;
}

std::vector<StoredSchedule> Definitions::schedules() {
  std::vector<StoredSchedule> result;
  for (auto& record : session_.list<MDSharedNamedSchedule, MDSharedNamedScheduleType>("the shared schedules")) {
    const long long id = record->getScheduleID(ctx_);
    std::string name = text(record->getSharedScheduleName(ctx_));
    result.push_back({std::move(record), id, std::move(name)});
  }
  std::sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
  return result;
}

ScheduleDefinition Definitions::read(StoredSchedule& schedule) {
  ScheduleDefinition definition{schedule.name, text(schedule.record->getDescription(ctx_)), {}};
  for (StoredRule& rule : rules(schedule)) definition.rules.push_back(std::move(rule.rule));
  return definition;
}

std::vector<std::string> Definitions::usersOf(long long scheduleID) {
  std::vector<std::string> names;
  for (const Owned& task : tasks()) {
    const auto shared = sharedOf(*task);
    const bool uses = std::any_of(shared.begin(), shared.end(),
                                  [&](const auto& schedule) { return schedule->getScheduleID(ctx_) == scheduleID; });
    if (uses) names.push_back(text(task->getTaskName(ctx_)));
  }
  return names;
}

Definitions::Starters Definitions::startersOf(MDTask& task) {
  Starters starters;
  for (const auto& other :
       session_.related("the predecessors of a task", task, &MDTask::retrievePredecessorTaskWithExecActionList)) {
    starters.predecessors.push_back(text(other->getTaskName(ctx_)));
  }
  const TaskKey key = parts_.keyOf(task);
  for (const Owned& other : tasks()) {
    if (other->getTaskType(ctx_) != kGroupTask) continue;
    const auto members = session_.related("the steps of a task", *other, &MDTask::retrieveTaskGroupMemberList);
    const bool isStep =
        std::any_of(members.begin(), members.end(), [&](const auto& member) { return parts_.keyOf(*member) == key; });
    if (isStep) starters.groups.push_back(text(other->getTaskName(ctx_)));
  }
  std::sort(starters.predecessors.begin(), starters.predecessors.end());
  return starters;
}

ScheduleRule Definitions::ruleOf(const MDScheduleEvent& event) {
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

long long Definitions::parsed(const SimpleDateFormat& format, const std::string& given) {
  const long long millis = format.parse(ctx_, given.c_str());
  session_.check(ctx_.env->ExceptionCheck() != JNI_FALSE ? kStoreInvalid : 0, 0, fmt::format("reading '{}'", given));
  return millis;
}

/// Queues the first execution of each rule that has none; answers how many that were.
int Definitions::plan(MDTask& task, std::vector<Execution>& queue) {
  if (task.getScheduleEnable(ctx_) == 0) return 0;
  int planned = 0;
  for (const StoredRule& rule : rules(task)) {
    if (std::any_of(queue.begin(), queue.end(), [&rule](const Execution& e) { return represents(e, rule); })) continue;
    if (const auto first = firstInstant(*rule.record, rule.rule)) {
      queue.push_back(enqueue(task, kByNobody, &rule, *first, {}));
      ++planned;
    }
  }
  return planned;
}

void Definitions::clearSchedule(MDTask& task, std::vector<Execution>& queue) {
  std::erase_if(queue, [&](Execution& execution) {
    if (!execution.isPending() || !execution.belongsTo(task, ctx_)) return false;
    int sqlCode = 0;
    session_.check(execution.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode,
                   fmt::format("removing execution {}", execution.id));
    return true;
  });
}

Execution Definitions::follow(MDTask& task, std::int64_t start) {
  return enqueue(task, kByFollowOn, nullptr, start, {});
}

/// By a rule, or by none for null.
Execution Definitions::enqueue(MDTask& task, StartedBy by, const StoredRule* rule, std::int64_t start,
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
  execution.ruleID = rule == nullptr ? kNone : rule->id;
  execution.runNow = by == kByRequest;
  execution.followOn = by == kByFollowOn;
  execution.start = start;
  record.setTaskExecID(ctx_, execution.id);
  record.setTaskID(ctx_, execution.taskID);
  record.setSuffix(ctx_, execution.suffix);
  record.setSharedNamedScheduleID(ctx_, rule == nullptr ? kNone : rule->scheduleID);
  record.setScheduleEventID(ctx_, execution.ruleID);
  record.setTaskHistoryID(ctx_, kNone);
  record.setStatus(ctx_, kExecQueued);
  record.setStartedByRunNow(ctx_, by);
  record.setUseNotification(ctx_, 1);
  record.setUseTaskActions(ctx_, 1);
  record.setAdditionalParameters(ctx_, arguments.c_str());
  record.setUserID(ctx_, text(task.getUserID(ctx_)).c_str());
  auto stamp = session_.timestamp(start);
  record.setNextStartDateTime(ctx_, &stamp);
  if (rule != nullptr) {
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
    if (!execution.queued || !execution.start || !execution.belongsTo(task, ctx_)) continue;
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
      if (execution.queued && execution.run != kNone && execution.belongsTo(*task, ctx_)) settleRetry(execution);
    }
    int sqlCode = 0;
    const int code = task->deleteIt(ctx_, session_.context(), sqlCode);
    if (code == kStoreInUse) refuseRemoval(*task, name);
    session_.check(code, sqlCode, fmt::format("deleting task '{}'", name));
  });
  announce();
}

/// Says which tasks need the task, if any do.
void Definitions::refuseRemoval(MDTask& task, const std::string& name) {
  std::string reasons;
  for (const std::string& group : startersOf(task).groups) reasons += fmt::format("; it is a step of '{}'", group);
  for (const Owned& other : tasks()) {
    const std::string otherName = text(other->getTaskName(ctx_));
    if (otherName == name) continue;
    for (const StoredFollowOn& followOn : parts_.followOns(*other)) {
      const auto& targets = followOn.part.tasks;
      if (std::find(targets.begin(), targets.end(), Reference(name)) == targets.end()) continue;
      reasons += fmt::format("; the end of '{}' would {} it", otherName, textOf(followOn.part.action));
    }
  }
  if (reasons.empty()) return;
  throw HostError(kExitRefused, fmt::format("task '{}' cannot be deleted{}; change these tasks first", name, reasons));
}

void Definitions::removeSchedule(const std::string& name) {
  session_.transact([&] {
    StoredSchedule schedule = findSchedule(name);
    std::string users;
    for (const std::string& user : usersOf(schedule.id))
      users += fmt::format("{}'{}'", users.empty() ? "" : ", ", user);
    if (!users.empty()) {
      throw HostError(kExitRefused,
                      fmt::format("shared schedule '{}' cannot be deleted: it is used by {}", name, users));
    }
    int sqlCode = 0;
    session_.check(schedule.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode,
                   fmt::format("deleting shared schedule '{}'", name));
  });
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
  std::erase_if(queue, [&](const Execution& execution) { return !execution.belongsTo(task, ctx_); });
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

/// A task that the session's user may not read, with nothing but its key and name; null for others.
std::unique_ptr<MDTask> Definitions::unreadable(const std::string& name) {
  Administration administration(session_);
  const auto id = administration.taskID(name);
  if (!id) return nullptr;
  const auto readable = administration.tasksWith(TaskRight::kRead);
  if (std::find(readable.begin(), readable.end(), name) != readable.end()) return nullptr;
  int rc = 0;
  int sqlCode = 0;
  auto task = std::make_unique<MDTask>(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a task");
  task->setTaskID(ctx_, *id);
  task->setTaskName(ctx_, name.c_str());
  return task;
}

long long Definitions::runNow(const std::string& name, const std::vector<std::string>& arguments) {
  long long id = 0;
  session_.transact([&] {
    if (const Owned hidden = unreadable(name)) {
      id = enqueue(*hidden, kByRequest, nullptr, clockMillis(), shellLine(arguments)).id;
      return;  // a meskd that takes it on sets the task's next start
    }
    const Owned task = find(name);
    auto queue = executions();
    queue.push_back(enqueue(*task, kByRequest, nullptr, clockMillis(), shellLine(arguments)));
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
std::optional<std::int64_t> Definitions::firstInstant(const MDScheduleEvent& event, const ScheduleRule& rule) {
  const auto start = startOf(rule);
  if (!start) return std::nullopt;
  auto from = session_.timestamp(*start);
  const auto first = session_.millis(event.getNextScheduledTime(ctx_, &from, 1));
  if (rule.recurring == 0 && first != start) return std::nullopt;
  return first;
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
