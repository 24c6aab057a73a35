// Commands about tasks and their definitions.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>

#include <platform/Clock.h>
#include <scheduler/Commands.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

constexpr std::size_t kShownStarts = 5;
constexpr std::size_t kLongWork = 50;  // tasks that take long enough for a word on how far it is

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string stateText(MDTask& task, ThreadContext& ctx) {
  if (task.getState(ctx) == 2) return "running";
  if (task.getScheduleEnable(ctx) == 0) return "disabled";
  return task.getState(ctx) == 1 ? "scheduled" : "idle";
}

/// Empty when it has not run yet.
std::string lastText(MDTask& task, Session& session) {
  ThreadContext& ctx = session.ctx();
  if (!session.millis(task.getLastEnd(ctx))) return {};
  return outcomeText(task.getLastSuccess(ctx) != 0, task.getLastReturnCode(ctx));
}

Json jsonOf(MDTask& task, Session& session) {
  ThreadContext& ctx = session.ctx();
  Json object;
  object["task"] = text(task.getTaskName(ctx));
  object["state"] = stateText(task, ctx);
  object["enabled"] = task.getScheduleEnable(ctx) != 0;
  putTime(object, "nextStart", session.millis(task.getNextStart(ctx)));
  putTime(object, "lastStart", session.millis(task.getLastStart(ctx)));
  putTime(object, "lastEnd", session.millis(task.getLastEnd(ctx)));
  const std::string last = lastText(task, session);
  if (last.empty()) {
    object["lastResult"] = nullptr;
    object["lastReturnCode"] = nullptr;
  } else {
    object["lastResult"] = last;
    object["lastReturnCode"] = task.getLastReturnCode(ctx);
  }
  object["category"] = text(task.getTaskCategory(ctx));
  object["description"] = text(task.getDescription(ctx));
  object["owner"] = text(task.getOwner(ctx));
  return object;
}

/// The progress of long work, on a terminal; a line that the next one overwrites.
class Progress {
 public:
  Progress(const Invocation& invocation, std::size_t total)
      : total_(total), shown_(!invocation.quiet && total >= kLongWork && ::isatty(STDERR_FILENO) != 0) {}
  ~Progress() {
    if (shown_) fmt::print(stderr, "\r\033[K");
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void operator()(std::size_t done) const {
    if (shown_ && (done % 10 == 0 || done == total_)) fmt::print(stderr, "\r{} of {} tasks", done, total_);
  }

 private:
  std::size_t total_;
  bool shown_;
};

/// What an apply of these would do to a store that does not exist yet.
std::vector<Applied> allCreated(const std::vector<TaskDefinition>& definitions) {
  std::vector<Applied> report;
  report.reserve(definitions.size());
  for (const TaskDefinition& definition : definitions) {
    report.push_back({definition.name, Applied::Kind::kCreated, {}});
  }
  return report;
}

void tell(const Invocation& invocation, const std::vector<Applied>& report) {
  if (invocation.json) {
    Json array = Json::array();
    for (const Applied& applied : report) {
      array.push_back({{"task", applied.name}, {"result", textOf(applied.kind)}, {"changes", applied.changes}});
    }
    printJson(array);
    return;
  }
  if (invocation.quiet) return;
  Table table({{"TASK"}, {"RESULT"}, {"CHANGES"}});
  for (const Applied& applied : report) table.add({applied.name, textOf(applied.kind), joined(applied.changes)});
  print(table);
  if (invocation.dryRun) print("Nothing was changed: this was a dry run.\n");
}

int switchSchedule(const Invocation& invocation, bool enabled) {
  OpenStore store(invocation);
  const bool changed = store.definitions().setEnabled(invocation.task, enabled);
  const char* const word = enabled ? "enabled" : "disabled";
  if (invocation.json) {
    printJson(Json{{"task", invocation.task}, {"enabled", enabled}, {"changed", changed}});
  } else {
    say(invocation, fmt::format("task '{}' {} {}", invocation.task, changed ? "is" : "was already", word));
  }
  return kExitOk;
}

/// A line of `show`, unless there is nothing to say.
void line(std::string& out, const std::string& title, const std::string& value) {
  if (!value.empty()) out += fmt::format("{:<14}{}\n", title + ":", value);
}

std::string indented(const std::string& text) {
  std::string result = "  ";
  for (std::size_t i = 0; i < text.size(); ++i) {
    result += text[i];
    if (text[i] == '\n' && i + 1 < text.size()) result += "  ";
  }
  if (!result.ends_with('\n')) result += '\n';
  return result;
}

std::string definitionText(const TaskDefinition& task) {
  std::string out;
  line(out, "Task", task.name);
  line(out, "Description", task.description);
  line(out, "Category", task.category);
  line(out, "Owner", task.owner);
  line(out, "Runs as", task.runAs.empty() ? "the user of meskd" : task.runAs);
  line(out, "Directory", task.directory.empty() ? "the user's home" : task.directory);
  line(out, "Processor", task.processor);
  line(out, "Arguments", task.arguments);
  std::string names;  // and no values, which may be secrets
  for (const auto& [name, value] : task.options.environment) names += (names.empty() ? "" : ", ") + name;
  line(out, "Environment", names);
  line(out, "Timeout", task.options.timeoutSeconds == 0 ? "none" : durationText(task.options.timeoutSeconds));
  line(out, "Output limit", sizeText(task.options.outputLimit));
  line(out, "Retry",
       task.retryCount == 0 ? "none"
                            : fmt::format("up to {} times, {} after the end of an attempt", task.retryCount,
                                          durationText(task.retryIntervalSeconds)));
  line(out, "Missed", textOf(task.options.missed));
  line(out, "Interrupted", textOf(task.options.interrupted));
  line(out, "Overlap", textOf(task.options.overlap));
  return out;
}

Json definitionJson(const TaskDefinition& task) {
  Json object;
  object["runAs"] = task.runAs;
  object["directory"] = task.directory;
  object["processor"] = task.processor;
  object["arguments"] = task.arguments;
  object["script"] = task.script;
  Json names = Json::array();
  for (const auto& [name, value] : task.options.environment) names.push_back(name);
  object["environment"] = names;
  object["timeoutSeconds"] = task.options.timeoutSeconds;
  object["outputLimit"] = task.options.outputLimit;
  object["retryCount"] = task.retryCount;
  object["retryIntervalSeconds"] = task.retryIntervalSeconds;
  object["missed"] = textOf(task.options.missed);
  object["interrupted"] = textOf(task.options.interrupted);
  object["overlap"] = textOf(task.options.overlap);
  Json schedule = Json::array();
  for (const ScheduleRule& rule : task.schedule) schedule.push_back(wordsOf(rule));
  object["schedule"] = schedule;
  return object;
}

/// A new store needs a folder, which is easily misspelt.
void checkFolder(const StoreAddress& address) {
  const std::filesystem::path path(address.path());
  if (std::filesystem::is_directory(path)) throw HostError(kExitNoStore, fmt::format("{} is a folder", path.string()));
  if (!std::filesystem::is_directory(path.parent_path())) {
    throw HostError(kExitNoStore, fmt::format("there is no folder {} for the store", path.parent_path().string()));
  }
}

}  // namespace

int applyCommand(const Invocation& invocation) {
  const StoreAddress address = StoreAddress::choose(invocation.store);
  const TaskFileResult file = readTaskFile(invocation.file);
  if (!file.errors.empty()) {
    for (const std::string& error : file.errors) fmt::print(stderr, "{}\n", error);
    const char* const more = file.errors.size() == kTaskFileErrors ? ", perhaps more" : "";
    throw HostError(kExitBadFile, fmt::format("nothing was applied: {} error{} in {}{}", file.errors.size(),
                                              file.errors.size() == 1 ? "" : "s", invocation.file, more));
  }
  checkFolder(address);
  if (invocation.dryRun && !std::filesystem::exists(address.path())) {
    tell(invocation, allCreated(file.tasks));
    return kExitOk;
  }
  OpenStore store(invocation, address);
  std::vector<Applied> report;
  {
    const Progress progress(invocation, file.tasks.size());
    report = store.definitions().apply(file.tasks, invocation.dryRun, std::cref(progress));
  }
  tell(invocation, report);
  return kExitOk;
}

int exportCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  std::vector<TaskDefinition> definitions;
  if (invocation.names.empty()) {
    for (const auto& task : store.definitions().tasks()) {
      if (task->getSuffix(store.session().ctx()) == 0) definitions.push_back(store.definitions().read(*task));
    }
  }
  for (const std::string& name : invocation.names) {
    definitions.push_back(store.definitions().read(*store.definitions().find(name)));
  }
  if (invocation.json) {
    printJson(Json{{"tasks", writeTaskFile(definitions)}});
  } else {
    print(writeTaskFile(definitions));
  }
  return kExitOk;
}

int listCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  const auto tasks = store.definitions().tasks();
  if (invocation.json) {
    Json array = Json::array();
    for (const auto& task : tasks) array.push_back(jsonOf(*task, session));
    printJson(array);
    return kExitOk;
  }
  if (invocation.namesOnly) {
    for (const auto& task : tasks) print(text(task->getTaskName(ctx)) + "\n");
    return kExitOk;
  }
  if (tasks.empty()) {
    say(invocation, "There are no tasks; 'meskctl apply FILE' defines some.");
    return kExitOk;
  }
  Table table({{"TASK"}, {"STATE"}, {"NEXT START"}, {"LAST START"}, {"LAST RESULT"}, {"CATEGORY"}});
  for (const auto& task : tasks) {
    table.add({text(task->getTaskName(ctx)), stateText(*task, ctx), timeText(session.millis(task->getNextStart(ctx))),
               timeText(session.millis(task->getLastStart(ctx))), lastText(*task, session),
               text(task->getTaskCategory(ctx))});
  }
  print(table);
  return kExitOk;
}

int showCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  const auto task = store.definitions().find(invocation.task);
  const TaskDefinition definition = store.definitions().read(*task);
  const auto upcoming = store.definitions().upcoming(*task, kShownStarts);
  if (invocation.json) {
    Json object = jsonOf(*task, session);
    object.update(definitionJson(definition));
    putTime(object, "modified", session.millis(task->getModified(ctx)));
    object["modifier"] = text(task->getModifier(ctx));
    Json starts = Json::array();
    for (const Upcoming& next : upcoming) {
      Json start;
      putTime(start, "start", next.start);
      start["why"] = next.why;
      start["overdue"] = next.overdue;
      starts.push_back(start);
    }
    object["next"] = starts;
    printJson(object);
    return kExitOk;
  }
  std::string out = definitionText(definition);
  line(out, "Changed",
       fmt::format("{} by {}", timeText(session.millis(task->getModified(ctx))), text(task->getModifier(ctx))));
  line(out, "State", stateText(*task, ctx));
  if (const std::string last = lastText(*task, session); !last.empty()) {
    line(out, "Last run",
         fmt::format("{}, {}, {}", timeText(session.millis(task->getLastStart(ctx))), last,
                     durationText(task->getLastDuration(ctx))));
  }
  out += definition.schedule.empty() ? "Schedule:     none\n" : "Schedule:\n";
  for (const ScheduleRule& rule : definition.schedule) out += "  " + wordsOf(rule) + "\n";
  out += upcoming.empty() ? "Next starts:  none\n" : "Next starts:\n";
  for (const Upcoming& next : upcoming) {
    out += fmt::format("  {}  {}{}\n", timeText(next.start), next.why, next.overdue ? " (overdue)" : "");
  }
  out += "Script:\n" + indented(definition.script);
  print(forOutput(out));
  return kExitOk;
}

int runCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  const long long id = store.definitions().runNow(invocation.task, invocation.arguments);
  if (invocation.json) {
    printJson(Json{{"task", invocation.task}, {"execution", id}});
  } else {
    say(invocation, fmt::format("task '{}' is queued for now (execution {})", invocation.task, id));
  }
  return kExitOk;
}

int enableCommand(const Invocation& invocation) { return switchSchedule(invocation, true); }

int disableCommand(const Invocation& invocation) { return switchSchedule(invocation, false); }

int deleteCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  store.definitions().find(invocation.task);
  if (!invocation.yes) {
    if (::isatty(STDIN_FILENO) == 0) {
      throw HostError(kExitUsage,
                      fmt::format("deleting task '{}' cannot be undone: confirm it with --yes", invocation.task));
    }
    fmt::print(stderr, "Delete task '{}' with its schedule? [y/N] ", invocation.task);
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
      throw HostError(kExitRefused, fmt::format("task '{}' was not deleted", invocation.task));
    }
  }
  store.definitions().remove(invocation.task);
  if (invocation.json) {
    printJson(Json{{"task", invocation.task}, {"deleted", true}});
  } else {
    say(invocation, fmt::format("task '{}' is deleted", invocation.task));
  }
  return kExitOk;
}

}  // namespace mesk::host
