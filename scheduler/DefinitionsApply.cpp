// Making the store as a task file says.
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>
#include <scheduler/Definitions.h>
#include <scheduler/Utf8.h>

namespace mesk::host {
namespace {

/// The parts of the task's record that differ, in the words of a task file.
std::vector<std::string> differences(const TaskDefinition& is, const TaskDefinition& wanted) {
  std::vector<std::string> names;
  const auto compare = [&names](bool same, const char* name) {
    if (!same) names.emplace_back(name);
  };
  compare(is.description == wanted.description, "description");
  compare(is.type == wanted.type, "type");
  compare(is.category == wanted.category, "category");
  compare(is.owner == wanted.owner, "owner");
  compare(is.runAs == wanted.runAs, "run-as");
  compare(is.directory == wanted.directory, "directory");
  compare(is.processor == wanted.processor, "processor");
  compare(is.script == wanted.script, wanted.type == kWarehouseTask ? "query" : "script");
  compare(is.options.warehouse == wanted.options.warehouse, "warehouse");
  compare(is.arguments == wanted.arguments, "arguments");
  compare(is.options.environment == wanted.options.environment, "environment");
  compare(is.options.timeoutSeconds == wanted.options.timeoutSeconds, "timeout");
  compare(is.options.outputLimit == wanted.options.outputLimit, "output-limit");
  compare(is.retryCount == wanted.retryCount && is.retryIntervalSeconds == wanted.retryIntervalSeconds, "retry");
  compare(is.stopAtFailure == wanted.stopAtFailure, "stop-at-failure");
  compare(is.options.missed == wanted.options.missed, "missed");
  compare(is.options.interrupted == wanted.options.interrupted, "interrupted");
  compare(is.options.overlap == wanted.options.overlap, "overlap");
  compare(is.enabled == wanted.enabled, "enabled");
  return names;
}

/// What run options say of steps; nothing when they come one by one.
std::vector<int> stagesOf(const std::vector<std::vector<Reference>>& steps) {
  std::vector<int> stages;
  stages.reserve(steps.size());
  for (const auto& stage : steps) stages.push_back(static_cast<int>(stage.size()));
  if (std::all_of(stages.begin(), stages.end(), [](int members) { return members == 1; })) stages.clear();
  return stages;
}

void append(std::vector<std::string>& to, std::vector<std::string> more) {
  std::move(more.begin(), more.end(), std::back_inserter(to));
}

}  // namespace

std::vector<Applied> Definitions::apply(const TaskFile& file, bool dryRun,
                                        const std::function<void(std::size_t)>& progress) {
  std::vector<Applied> report;
  const auto once = [&] {
    Work work = workOn();
    checkReferences(file, work);
    report = directory_.apply(file);
    const auto users = directory_.administration().users();
    work.users.insert(users.begin(), users.end());
    applySchedules(file.schedules, work, report);

    // All are there before one refers to another.
    std::set<std::string> created;
    for (const TaskDefinition& wanted : file.tasks) {
      if (work.tasks.contains(wanted.name)) continue;
      work.tasks.emplace(wanted.name, create(wanted));
      created.insert(wanted.name);
    }
    changeSteps(file.tasks, work);
    std::size_t done = 0;
    std::set<std::string> names;
    for (const TaskDefinition& wanted : file.tasks) {
      report.push_back(change(work.task(wanted.name), wanted, created.contains(wanted.name), work));
      names.insert(wanted.name);
      progress(++done);
    }
    planUsers(names, work);
  };
  if (dryRun) {
    try {
      once();
    } catch (...) {
      session_.rollback();
      throw;
    }
    session_.rollback();
    return report;
  }
  session_.transact(once);
  const auto isChange = [](const Applied& applied) { return applied.kind != Applied::Kind::kUnchanged; };
  if (std::any_of(report.begin(), report.end(), isChange)) announce();
  return report;
}

Definitions::Work Definitions::workOn() {
  Work work;
  for (Owned& task : tasks()) {
    if (task->getSuffix(ctx_) != kSuffix) continue;
    std::string name = text(task->getTaskName(ctx_));
    work.tasks.emplace(std::move(name), std::move(task));
  }
  for (Execution& execution : executions()) {
    const long long taskID = execution.taskID;
    work.queue[taskID].push_back(std::move(execution));
  }
  for (const StoredSchedule& schedule : schedules()) work.schedules.emplace(schedule.name, schedule.id);
  return work;
}

void Definitions::checkReferences(const TaskFile& file, const Work& work) {
  Administration& administration = directory_.administration();
  KnownNames known;
  const auto fill = [](std::set<std::string>& names, const std::vector<std::string>& from) {
    names.insert(from.begin(), from.end());
  };
  fill(known.users, administration.users());
  fill(known.groups, administration.groups());
  fill(known.contacts, administration.contacts());
  fill(known.contactGroups, administration.contactGroups());
  for (const auto& [name, id] : work.schedules) known.schedules.insert(name);
  for (const auto& [name, task] : work.tasks) known.tasks.insert(name);
  known.starts = [&](const std::string& name) { return parts_.starts(work.task(name)); };
  auto errors = host::checkReferences(file, known);
  if (!errors.empty()) throw TaskFileRefused(std::move(errors));
}

void Definitions::applySchedules(const std::vector<ScheduleDefinition>& wanted, Work& work,
                                 std::vector<Applied>& report) {
  if (wanted.empty()) return;
  auto stored = schedules();
  for (const ScheduleDefinition& definition : wanted) {
    const auto same = std::find_if(stored.begin(), stored.end(), [&](const StoredSchedule& schedule) {
      return schedule.name == definition.name.name;
    });
    report.push_back(applySchedule(same == stored.end() ? nullptr : &*same, definition, work));
  }
}

Applied Definitions::applySchedule(StoredSchedule* existing, const ScheduleDefinition& wanted, Work& work) {
  const std::string what = fmt::format("defining shared schedule '{}'", wanted.name.name);
  Applied applied{wanted.name.name, Applied::Kind::kUnchanged, {}, "schedule"};
  int sqlCode = 0;
  StoredSchedule made;
  if (existing == nullptr) {
    int rc = 0;
    made.record = std::make_unique<MDSharedNamedSchedule>(ctx_, session_.context(), rc, sqlCode);
    session_.check(rc, sqlCode, what);
    made.name = wanted.name.name;
    made.record->setSharedScheduleName(ctx_, made.name.c_str());
    made.record->setDescription(ctx_, wanted.description.c_str());
    const int code = made.record->insert(ctx_, session_.context(), sqlCode);
    session_.check(code == kStoreExists ? kStoreChanged : code, sqlCode, what);
    made.id = made.record->getScheduleID(ctx_);
    work.schedules.emplace(made.name, made.id);
    existing = &made;
    applied.kind = Applied::Kind::kCreated;
  } else if (text(existing->record->getDescription(ctx_)) != wanted.description) {
    existing->record->setDescription(ctx_, wanted.description.c_str());
    session_.check(existing->record->update(ctx_, session_.context(), sqlCode), sqlCode, what);
    applied.changes.emplace_back("description");
  }
  auto stored = rules(*existing);
  auto changes = exchange(
      "rules", stored, wanted.rules, [](const StoredRule& is) { return is.rule; },
      [&](StoredRule& rule) {
        for (auto& [task, queue] : work.queue) detachRetries(queue, rule);
        directory_.administration().removeScheduleRule(existing->id, rule.id);
        deleteRule(rule);
        for (auto& [task, queue] : work.queue) forget(queue, rule);
      },
      [&](const ScheduleRule& rule) {
        directory_.administration().addScheduleRule(existing->id, makeRule(rule)->getScheduleEventID(ctx_));
      });
  if (!changes.empty()) work.changedSchedules.insert(existing->id);
  if (applied.kind == Applied::Kind::kCreated) return applied;
  append(applied.changes, std::move(changes));
  if (!applied.changes.empty()) applied.kind = Applied::Kind::kChanged;
  return applied;
}

/// The record of a new task, and nothing beside it.
Definitions::Owned Definitions::create(const TaskDefinition& wanted) {
  int rc = 0;
  int sqlCode = 0;
  auto task = std::make_unique<MDTask>(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a task");
  const long long id = task->getReferenceID(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key for a task");
  task->setTaskID(ctx_, id);
  task->setSuffix(ctx_, kSuffix);
  TaskDefinition definition = wanted;
  if (definition.owner.empty()) definition.owner = session_.user();
  fill(*task, definition);
  // One of that name that was not there a moment ago is a change by somebody else, as any other.
  const int code = task->insert(ctx_, session_.context(), sqlCode);
  session_.check(code == kStoreExists ? kStoreChanged : code, sqlCode, fmt::format("adding task '{}'", wanted.name));
  return task;
}

Applied Definitions::change(MDTask& task, TaskDefinition wanted, bool isNew, Work& work) {
  const auto find = [&work](const std::string& name) -> MDTask& { return work.task(name); };
  std::vector<Execution>& queue = work.queue[task.getTaskID(ctx_)];
  const std::string owner = text(task.getOwner(ctx_));
  if (wanted.owner.empty()) wanted.owner = owner;
  Applied applied{wanted.name, isNew ? Applied::Kind::kCreated : Applied::Kind::kUnchanged, {}};
  if (!isNew) {
    try {
      applied.changes = differences(readRecord(task), wanted);
    } catch (const StoreError&) {
      throw;
    } catch (const HostError&) {
      applied.changes = {"run options"};  // what the store has cannot be read, so it is replaced
    }
  }
  if (work.changedSteps.contains(wanted.name)) applied.changes.emplace_back("steps");
  append(applied.changes, changeRules(task, wanted.schedule, queue));
  append(applied.changes, changeSchedules(task, wanted.schedules, work));
  append(applied.changes, parts_.changeSuccess(task, wanted.success));
  append(applied.changes, parts_.changeFollowOns(task, wanted.followOns, find));
  append(applied.changes, parts_.changeNotifications(task, wanted.notifications));
  append(applied.changes, changeRights(task, wanted, isNew || owner != wanted.owner, work));

  if (!applied.changes.empty()) fill(task, wanted);
  if (!wanted.enabled) clearSchedule(task, queue);
  const bool planned = plan(task, queue) > 0;
  if (!isNew && applied.changes.empty() && usesChanged(task, work)) applied.changes.emplace_back("planned anew");
  if (!isNew && applied.changes.empty() && planned) applied.changes.emplace_back("queued again");
  if (!planned && applied.changes.empty()) return applied;
  updateNextStart(task, queue);
  update(task);
  if (isNew) {
    applied.changes.clear();
  } else {
    applied.kind = Applied::Kind::kChanged;
  }
  return applied;
}

/// Rules have no names: one that the file has as well stays, whatever its place.
std::vector<std::string> Definitions::changeRules(MDTask& task, const std::vector<ScheduleRule>& wanted,
                                                  std::vector<Execution>& queue) {
  auto stored = rules(task);
  std::erase_if(stored, [](const StoredRule& rule) { return rule.scheduleID != kNone; });
  return exchange(
      "schedule", stored, wanted, [](const StoredRule& is) { return is.rule; },
      [&](StoredRule& rule) {
        detachRetries(queue, rule);
        int sqlCode = 0;
        session_.check(task.removeScheduleEvent(ctx_, session_.context(), *rule.record, sqlCode), sqlCode,
                       fmt::format("removing the rule '{}'", wordsOf(rule.rule)));
        deleteRule(rule);
        forget(queue, rule);
      },
      [&](const ScheduleRule& rule) {
        int sqlCode = 0;
        session_.check(task.addScheduleEvent(ctx_, session_.context(), *makeRule(rule), sqlCode), sqlCode,
                       fmt::format("adding the rule '{}'", wordsOf(rule)));
      });
}

std::vector<std::string> Definitions::changeSchedules(MDTask& task, const std::vector<Reference>& wanted, Work& work) {
  auto stored = sharedOf(task);
  const TaskKey key = parts_.keyOf(task);
  std::vector<Execution>& queue = work.queue[key.id];
  return exchange(
      "schedules", stored, wanted, [this](const auto& is) { return Reference(text(is->getSharedScheduleName(ctx_))); },
      [&](auto& schedule) {
        StoredSchedule shared{std::move(schedule), 0, {}};
        shared.id = shared.record->getScheduleID(ctx_);
        const auto sharedRules = rules(shared);
        for (const StoredRule& rule : sharedRules) detachRetries(queue, rule);
        directory_.administration().removeSharedSchedule(key, shared.id);
        for (const StoredRule& rule : sharedRules) forget(queue, rule);
      },
      [&](const Reference& schedule) {
        directory_.administration().addSharedSchedule(key, work.schedules.at(schedule.name));
      });
}

/// Principals that the file lists get just these rights. The owner gets all of them with the task, and whenever the
/// file speaks of rights, unless it lists him.
std::vector<std::string> Definitions::changeRights(MDTask& task, const TaskDefinition& wanted, bool ownerIsNew,
                                                   const Work& work) {
  std::vector<Right> rights = wanted.rights;
  const std::string owner = inCapitals(wanted.owner);
  const bool listed = std::any_of(rights.begin(), rights.end(),
                                  [&](const Right& right) { return !right.isGroup && right.principal.name == owner; });
  if (!listed && (ownerIsNew || !rights.empty()) && work.users.contains(owner)) {
    rights.push_back({owner, false, true, true, true});
  }
  return parts_.changeRights(task, rights);
}

/// No group may be a step of itself at any moment, so those that change are emptied before one gets its new steps.
void Definitions::changeSteps(const std::vector<TaskDefinition>& tasks, Work& work) {
  const auto find = [&work](const std::string& name) -> MDTask& { return work.task(name); };
  for (const TaskDefinition& wanted : tasks) {
    MDTask& task = work.task(wanted.name);
    std::vector<int> stages;
    try {
      stages = RunOptions::fromJson(text(task.getAdditionalParameters(ctx_))).stages;
    } catch (const FormatError&) {
      stages.clear();  // `change` replaces them
    }
    if (parts_.steps(task, stages) == wanted.steps) continue;
    parts_.setSteps(task, {}, find);
    work.changedSteps.insert(wanted.name);
  }
  for (const TaskDefinition& wanted : tasks) {
    if (work.changedSteps.contains(wanted.name)) parts_.setSteps(work.task(wanted.name), wanted.steps, find);
  }
}

bool Definitions::usesChanged(MDTask& task, const Work& work) {
  if (work.changedSchedules.empty()) return false;
  const auto shared = sharedOf(task);
  return std::any_of(shared.begin(), shared.end(), [&](const auto& schedule) {
    return work.changedSchedules.contains(schedule->getScheduleID(ctx_));
  });
}

/// Plans the other tasks that use a shared schedule whose rules changed.
void Definitions::planUsers(const std::set<std::string>& done, Work& work) {
  if (work.changedSchedules.empty()) return;
  for (const auto& [name, task] : work.tasks) {
    if (done.contains(name) || !usesChanged(*task, work)) continue;
    std::vector<Execution>& queue = work.queue[task->getTaskID(ctx_)];
    plan(*task, queue);
    updateNextStart(*task, queue);
    update(*task);
  }
}

void Definitions::fill(MDTask& task, const TaskDefinition& definition) {
  const bool isScript = definition.type == kScriptTask;
  RunOptions options = definition.options;
  options.stages = stagesOf(definition.steps);
  task.setTaskName(ctx_, definition.name.c_str());
  task.setDescription(ctx_, definition.description.c_str());
  task.setTaskType(ctx_, definition.type);
  task.setTaskCategory(ctx_, definition.category.c_str());
  task.setOwner(ctx_, definition.owner.c_str());
  task.setUserID(ctx_, definition.runAs.c_str());
  task.setWorkingDir(ctx_, definition.directory.c_str());
  task.setCommandProcessor(ctx_, isScript ? definition.processor.c_str() : "");
  task.setScriptContentString(ctx_, definition.script.c_str());
  task.setDefaultParameters(ctx_, definition.arguments.c_str());
  task.setAdditionalParameters(ctx_, options.toJson().c_str());
  task.setRetryCount(ctx_, definition.retryCount);
  task.setRetryInterval(ctx_, definition.retryIntervalSeconds);
  task.setStopAtStepFailure(ctx_, definition.type == kGroupTask && definition.stopAtFailure ? 1 : 0);
  task.setScheduleEnable(ctx_, definition.enabled ? 1 : 0);
  task.setFollowOnTaskEnable(ctx_, 1);
  task.setNotificationEnable(ctx_, 1);
  auto now = session_.timestamp(clockMillis());
  task.setModified(ctx_, &now);
  task.setModifier(ctx_, session_.user().c_str());
}

std::unique_ptr<MDScheduleEvent> Definitions::makeRule(const ScheduleRule& rule) {
  int rc = 0;
  int sqlCode = 0;
  auto event = std::make_unique<MDScheduleEvent>(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "making a schedule rule");
  const long long id = event->getReferenceID(ctx_, session_.context(), rc, sqlCode);
  session_.check(rc, sqlCode, "taking a key for a schedule rule");
  event->setScheduleEventID(ctx_, id);
  SQLDate startDate(ctx_, parsed(day_, rule.startDate));
  event->setStartDate(ctx_, &startDate);
  SQLTime startTime(ctx_, parsed(timeOfDay_, rule.startTime));
  event->setStartTime(ctx_, &startTime);
  if (!rule.endDate.empty()) {
    SQLDate endDate(ctx_, parsed(day_, rule.endDate));
    event->setEndDate(ctx_, &endDate);
  }
  event->setIntervalType(ctx_, rule.intervalType);
  event->setIntervalUnit(ctx_, rule.intervalUnit);
  event->setDetail(ctx_, rule.detail);
  event->setRecurring(ctx_, rule.recurring);
  session_.check(event->insert(ctx_, session_.context(), sqlCode), sqlCode,
                 fmt::format("adding the rule '{}'", wordsOf(rule)));
  return event;
}

void Definitions::deleteRule(StoredRule& rule) {
  int sqlCode = 0;
  session_.check(rule.record->deleteIt(ctx_, session_.context(), sqlCode), sqlCode,
                 fmt::format("removing the rule '{}'", wordsOf(rule.rule)));
}

/// With a rule goes what it has in the queue, except a retry: that belongs to a run that has begun, and goes on without
/// the rule.
void Definitions::detachRetries(std::vector<Execution>& queue, const StoredRule& rule) {
  for (Execution& execution : queue) {
    if (execution.ruleID != rule.id || !execution.queued || execution.run == kNone) continue;
    execution.record->setScheduleEventID(ctx_, kNone);
    execution.record->setSharedNamedScheduleID(ctx_, kNone);
    execution.ruleID = kNone;
    int sqlCode = 0;
    session_.check(execution.record->update(ctx_, session_.context(), sqlCode), sqlCode,
                   fmt::format("removing the rule '{}'", wordsOf(rule.rule)));
  }
}

/// Of what the rule had in the queue, which the store took away with it.
void Definitions::forget(std::vector<Execution>& queue, const StoredRule& rule) {
  std::erase_if(queue,
                [&](const Execution& execution) { return execution.isPending() && execution.ruleID == rule.id; });
}

}  // namespace mesk::host
