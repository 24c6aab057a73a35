// All about one task.
#include <fmt/format.h>

#include <algorithm>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <scheduler/Commands.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

constexpr std::size_t kShownStarts = 5;
constexpr std::size_t kShownRuns = 5;

std::string listOf(const std::vector<Reference>& references) { return joined(namesOf(references)); }

Json jsonOf(const std::vector<Reference>& references) { return namesOf(references); }

/// What `show` tells of a task.
struct Shown {
  TaskDefinition definition;
  std::vector<StoredRule> rules;
  Definitions::Starters starters;
  std::vector<Upcoming> upcoming;
  std::vector<std::unique_ptr<MDTaskHistory>> runs;  ///< the last ones, the last first
};

Shown read(OpenStore& store, MDTask& task) {
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  Definitions& definitions = store.definitions();
  Shown shown{definitions.read(task), definitions.rules(task), definitions.startersOf(task),
              definitions.upcoming(task, kShownStarts),
              session.list<MDTaskHistory, MDTaskHistoryType>("the history", task.getTaskID(ctx))};
  std::vector<std::pair<std::int64_t, std::unique_ptr<MDTaskHistory>>> byStart;
  for (auto& run : shown.runs) {
    const std::int64_t start = session.millis(run->getStart(ctx)).value_or(0);
    byStart.emplace_back(start, std::move(run));
  }
  std::stable_sort(byStart.begin(), byStart.end(), [](const auto& a, const auto& b) { return a.first > b.first; });
  shown.runs.clear();
  for (auto& [start, run] : byStart) {
    if (shown.runs.size() < kShownRuns) shown.runs.push_back(std::move(run));
  }
  return shown;
}

void workLines(std::string& out, const TaskDefinition& task) {
  if (task.type == kScriptTask) {
    line(out, "Directory", task.directory.empty() ? "the user's home" : task.directory);
    line(out, "Processor", task.processor);
    line(out, "Arguments", task.arguments);
  }
  if (const auto& warehouse = task.options.warehouse) {
    const auto database = [](const std::string& url, const std::string& user) {
      return user.empty() ? url : fmt::format("{} as {}", url, user);
    };
    line(out, "From", database(warehouse->source, warehouse->sourceUser));
    line(out, "To", database(warehouse->target, warehouse->targetUser));
    line(out, "Table",
         fmt::format("{}, {}, {} rows at once", warehouse->table, textOf(warehouse->mode), warehouse->batch));
    if (warehouse->retries > 0) {
      line(out, "Copy again",
           fmt::format("up to {} times, after {}", warehouse->retries, durationText(warehouse->retryIntervalSeconds)));
    }
  }
  if (task.type == kGroupTask) {
    out += "Steps:\n";
    std::size_t stage = 0;
    for (const auto& together : task.steps) {
      out += fmt::format("  {}. {}{}\n", ++stage, listOf(together), together.size() > 1 ? " together" : "");
    }
    line(out, "If one fails", task.stopAtFailure ? "the next are not started" : "the next are started all the same");
    return;
  }
  std::string names;  // and no values, which may be secrets
  for (const auto& [name, value] : task.options.environment) names += (names.empty() ? "" : ", ") + name;
  line(out, "Environment", names);
  line(out, "Timeout", task.options.timeoutSeconds == 0 ? "none" : durationText(task.options.timeoutSeconds));
  line(out, "Output limit", sizeText(task.options.outputLimit));
  line(out, "Retry",
       task.retryCount == 0 ? "none"
                            : fmt::format("up to {} times, {} after the end of an attempt", task.retryCount,
                                          durationText(task.retryIntervalSeconds)));
  std::vector<std::string> codes;
  codes.reserve(task.success.size());
  for (const SuccessCode& code : task.success) codes.push_back(textOf(code));
  line(out, "Success", codes.empty() ? "0" : joined(codes));
  line(out, "Interrupted", textOf(task.options.interrupted));
}

std::string notificationText(const Notification& notification) {
  std::string whom = listOf(notification.to);
  for (const Reference& group : notification.groups) whom += (whom.empty() ? "group " : ", group ") + group.name;
  std::string text = fmt::format("on {}, by {}, to {}", textOf(notification.on), textOf(notification.by), whom);
  if (!notification.subject.empty()) text += fmt::format(": {}", notification.subject);
  return text;
}

std::string textOf(const Shown& shown, const MDTask& record, Session& session) {
  ThreadContext& ctx = session.ctx();
  const TaskDefinition& task = shown.definition;
  std::string out;
  line(out, "Task", task.name);
  line(out, "Description", task.description);
  line(out, "Type", textOf(task.type));
  line(out, "Category", task.category);
  line(out, "Owner", task.owner);
  if (task.type != kGroupTask) line(out, "Runs as", task.runAs.empty() ? "the user of meskd" : task.runAs);
  workLines(out, task);
  line(out, "Missed", textOf(task.options.missed));
  line(out, "Overlap", textOf(task.options.overlap));
  line(out, "Changed",
       fmt::format("{} by {}", timeText(session.millis(record.getModified(ctx))), text(record.getModifier(ctx))));
  line(out, "State", stateText(record, ctx));
  if (const std::string last = lastText(record, session); !last.empty()) {
    line(out, "Last run",
         fmt::format("{}, {}, {}", timeText(session.millis(record.getLastStart(ctx))), last,
                     durationText(record.getLastDuration(ctx))));
  }
  line(out, "Step of", joined(shown.starters.groups));
  line(out, "Runs after", joined(shown.starters.predecessors));
  out += shown.rules.empty() ? "Schedule:     none\n" : "Schedule:\n";
  for (const StoredRule& rule : shown.rules) out += "  " + rule.words() + "\n";
  out += shown.upcoming.empty() ? "Next starts:  none\n" : "Next starts:\n";
  for (const Upcoming& next : shown.upcoming) {
    out += fmt::format("  {}  {}{}\n", timeText(next.start), next.why, next.overdue ? " (overdue)" : "");
  }
  if (!task.followOns.empty()) out += "Follow-ons:\n";
  for (const FollowOn& followOn : task.followOns) {
    out += fmt::format("  on {}, {} {}\n", textOf(followOn.on), textOf(followOn.action), listOf(followOn.tasks));
  }
  if (!task.notifications.empty()) out += "Notifications:\n";
  for (const Notification& notification : task.notifications) out += "  " + notificationText(notification) + "\n";
  if (!task.rights.empty()) out += "Rights:\n";
  for (const Right& right : task.rights) {
    out += fmt::format("  {}{}: {}\n", right.isGroup ? "group " : "", right.principal.name, allowedText(right));
  }
  out += shown.runs.empty() ? "Last runs:    none\n" : "Last runs:\n";
  for (const auto& run : shown.runs) {
    out += fmt::format("  {}  {}  {}\n", run->getTaskHistoryID(ctx), timeText(session.millis(run->getStart(ctx))),
                       resultText(run->getRunningStatus(ctx), run->getReturnCode(ctx)));
  }
  if (task.type == kScriptTask) out += "Script:\n" + indented(task.script);
  if (task.type == kWarehouseTask) out += "Query:\n" + indented(task.script);
  return out;
}

Json jsonOf(const Warehouse& warehouse) {
  Json object;
  object["source"] = warehouse.source;
  object["sourceUser"] = warehouse.sourceUser;
  object["sourcePasswordFile"] = warehouse.sourcePasswordFile;
  object["target"] = warehouse.target;
  object["targetUser"] = warehouse.targetUser;
  object["targetPasswordFile"] = warehouse.targetPasswordFile;
  object["table"] = warehouse.table;
  object["mode"] = textOf(warehouse.mode);
  object["batch"] = warehouse.batch;
  object["retries"] = warehouse.retries;
  object["retryIntervalSeconds"] = warehouse.retryIntervalSeconds;
  return object;
}

Json jsonOf(const TaskDefinition& task) {
  Json object;
  object["type"] = textOf(task.type);
  object["runAs"] = task.runAs;
  object["directory"] = task.directory;
  object["processor"] = task.processor;
  object["arguments"] = task.arguments;
  object["script"] = task.script;
  object["warehouse"] = nullptr;
  if (task.options.warehouse) object["warehouse"] = jsonOf(*task.options.warehouse);
  object["steps"] = Json::array();
  for (const auto& stage : task.steps) object["steps"].push_back(jsonOf(stage));
  object["stopAtFailure"] = task.stopAtFailure;
  Json names = Json::array();
  for (const auto& [name, value] : task.options.environment) names.push_back(name);
  object["environment"] = names;
  object["timeoutSeconds"] = task.options.timeoutSeconds;
  object["outputLimit"] = task.options.outputLimit;
  object["retryCount"] = task.retryCount;
  object["retryIntervalSeconds"] = task.retryIntervalSeconds;
  object["success"] = Json::array();
  for (const SuccessCode& code : task.success) object["success"].push_back(textOf(code));
  object["missed"] = textOf(task.options.missed);
  object["interrupted"] = textOf(task.options.interrupted);
  object["overlap"] = textOf(task.options.overlap);
  object["followOns"] = Json::array();
  for (const FollowOn& followOn : task.followOns) {
    object["followOns"].push_back(
        {{"on", textOf(followOn.on)}, {"action", textOf(followOn.action)}, {"tasks", jsonOf(followOn.tasks)}});
  }
  object["notifications"] = Json::array();
  for (const Notification& notification : task.notifications) {
    Json entry;
    entry["on"] = textOf(notification.on);
    entry["by"] = textOf(notification.by);
    entry["to"] = jsonOf(notification.to);
    entry["groups"] = jsonOf(notification.groups);
    entry["subject"] = notification.subject;
    entry["message"] = notification.message;
    entry["pagerMessage"] = notification.pagerMessage;
    object["notifications"].push_back(entry);
  }
  object["rights"] = Json::array();
  for (const Right& right : task.rights) {
    Json entry;
    entry[right.isGroup ? "group" : "user"] = right.principal.name;
    entry["read"] = right.read;
    entry["update"] = right.update;
    entry["execute"] = right.execute;
    object["rights"].push_back(entry);
  }
  return object;
}

Json jsonOf(const Shown& shown, MDTask& record, Session& session) {
  ThreadContext& ctx = session.ctx();
  Json object = host::jsonOf(record, session);
  object.update(jsonOf(shown.definition));
  object["schedule"] = Json::array();
  object["schedules"] = Json::array();
  for (const Reference& schedule : shown.definition.schedules) {
    object["schedules"].push_back({{"schedule", schedule.name}, {"rules", Json::array()}});
  }
  for (const StoredRule& rule : shown.rules) {
    if (rule.schedule.empty()) object["schedule"].push_back(wordsOf(rule.rule));
    for (Json& shared : object["schedules"]) {
      if (shared["schedule"] == rule.schedule) shared["rules"].push_back(wordsOf(rule.rule));
    }
  }
  object["stepOf"] = shown.starters.groups;
  object["runsAfter"] = shown.starters.predecessors;
  putTime(object, "modified", session.millis(record.getModified(ctx)));
  object["modifier"] = text(record.getModifier(ctx));
  object["next"] = Json::array();
  for (const Upcoming& next : shown.upcoming) {
    Json start;
    putTime(start, "start", next.start);
    start["why"] = next.why;
    start["overdue"] = next.overdue;
    object["next"].push_back(start);
  }
  object["lastRuns"] = Json::array();
  for (const auto& run : shown.runs) {
    Json entry;
    entry["run"] = run->getTaskHistoryID(ctx);
    entry["status"] = textOf(static_cast<RunningStatus>(run->getRunningStatus(ctx)));
    entry["returnCode"] = run->getReturnCode(ctx);
    putTime(entry, "start", session.millis(run->getStart(ctx)));
    object["lastRuns"].push_back(entry);
  }
  return object;
}

}  // namespace

int showCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  const auto task = store.definitions().find(invocation.task);
  const Shown shown = read(store, *task);
  if (invocation.json) {
    printJson(jsonOf(shown, *task, store.session()));
  } else {
    print(forOutput(textOf(shown, *task, store.session())));
  }
  return kExitOk;
}

}  // namespace mesk::host
