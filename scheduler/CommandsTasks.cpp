// Commands about tasks and their definitions.
#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include <platform/Clock.h>
#include <scheduler/Commands.h>
#include <scheduler/ShellWords.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

constexpr std::size_t kLongWork = 50;  // tasks that take long enough for a word on how far it is

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

/// What an apply of this would do to a store that does not exist yet.
std::vector<Applied> allCreated(const TaskFile& file) {
  std::vector<Applied> report;
  const auto add = [&report](const char* what, const std::string& name) {
    report.push_back({name, Applied::Kind::kCreated, {}, what});
  };
  for (const UserDefinition& user : file.users) add("user", user.name.name);
  for (const GroupDefinition& group : file.groups) add("group", group.name.name);
  for (const ContactDefinition& contact : file.contacts) add("contact", contact.name.name);
  for (const GroupDefinition& group : file.contactGroups) add("contact group", group.name.name);
  for (const ScheduleDefinition& schedule : file.schedules) add("schedule", schedule.name.name);
  for (const TaskDefinition& task : file.tasks) add("task", task.name);
  return report;
}

/// "contactGroup" for "contact group".
std::string keyOf(const std::string& what) {
  std::string key;
  for (std::size_t i = 0; i < what.size(); ++i) {
    if (what[i] == ' ') continue;
    const bool begins = i > 0 && what[i - 1] == ' ';
    key += begins ? static_cast<char>(what[i] - 'a' + 'A') : what[i];
  }
  return key;
}

void tell(const Invocation& invocation, const std::vector<Applied>& report) {
  if (invocation.json) {
    Json array = Json::array();
    for (const Applied& applied : report) {
      array.push_back(
          {{keyOf(applied.what), applied.name}, {"result", textOf(applied.kind)}, {"changes", applied.changes}});
    }
    printJson(array);
    return;
  }
  if (invocation.quiet) return;
  Table table({{"WHAT"}, {"NAME"}, {"RESULT"}, {"CHANGES"}});
  for (const Applied& applied : report) {
    table.add({applied.what, applied.name, textOf(applied.kind), joined(applied.changes)});
  }
  print(table);
  if (invocation.dryRun) print("Nothing was changed: this was a dry run.\n");
}

[[noreturn]] void refuse(const Invocation& invocation, const std::vector<std::string>& errors) {
  for (const std::string& error : errors) fmt::print(stderr, "{}\n", error);
  const char* const more = errors.size() == kTaskFileErrors ? ", perhaps more" : "";
  throw HostError(kExitBadFile, fmt::format("nothing was applied: {} error{} in {}{}", errors.size(),
                                            errors.size() == 1 ? "" : "s", invocation.file, more));
}

/// Making a task is for administrators, changing one needs the rights on it. Asked before anything is done, so that
/// the first task that fails is told by its name.
void requireForAll(OpenStore& store, const Invocation& invocation, const std::vector<TaskDefinition>& definitions) {
  Administration administration(store.session());
  for (const TaskDefinition& definition : definitions) {
    const bool exists = administration.taskID(definition.name).has_value();
    store.require(invocation, definition.name,
                  exists ? Needs{{TaskRight::kRead, TaskRight::kUpdate}} : Needs{{}, true});
  }
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

/// A new store needs a folder, which is easily misspelt.
void checkFolder(const StoreAddress& address) {
  const std::filesystem::path path(address.path());
  if (std::filesystem::is_directory(path)) throw HostError(kExitNoStore, fmt::format("{} is a folder", path.string()));
  if (!std::filesystem::is_directory(path.parent_path())) {
    throw HostError(kExitNoStore, fmt::format("there is no folder {} for the store", path.parent_path().string()));
  }
}

}  // namespace

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

std::string stateText(const MDTask& task, ThreadContext& ctx) {
  if (task.getState(ctx) == 2) return "running";
  if (task.getScheduleEnable(ctx) == 0) return "disabled";
  return task.getState(ctx) == 1 ? "scheduled" : "idle";
}

/// Empty when it has not run yet.
std::string lastText(const MDTask& task, Session& session) {
  ThreadContext& ctx = session.ctx();
  if (!session.millis(task.getLastEnd(ctx))) return {};
  return outcomeText(task.getLastSuccess(ctx) != 0, task.getLastReturnCode(ctx));
}

Json jsonOf(const MDTask& task, Session& session) {
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

int applyCommand(const Invocation& invocation) {
  const StoreAddress address = StoreAddress::choose(invocation.store);
  const TaskFileResult file = readTaskFile(invocation.file);
  if (!file.errors.empty()) refuse(invocation, file.errors);
  checkFolder(address);
  if (invocation.dryRun && !std::filesystem::exists(address.path())) {
    const auto errors = checkReferences(file, {});
    if (!errors.empty()) refuse(invocation, errors);
    tell(invocation, allCreated(file));
    return kExitOk;
  }
  OpenStore store(invocation, address);
  requireForAll(store, invocation, file.tasks);
  std::vector<Applied> report;
  try {
    const Progress progress(invocation, file.tasks.size());
    report = store.definitions().apply(file, invocation.dryRun, std::cref(progress));
  } catch (const TaskFileRefused& refused) {
    refuse(invocation, refused.errors());
  }
  tell(invocation, report);
  return kExitOk;
}

int exportCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  if (store.definitions().tasks().empty()) store.requireVisible(invocation, Administration::Counted::kTasks);
  const std::string file = writeTaskFile(store.definitions().exported(invocation.names));
  if (invocation.json) {
    printJson(Json{{"tasks", file}});
  } else {
    print(file);
  }
  return kExitOk;
}

int listCommand(const Invocation& invocation) {
  OpenStore store(invocation);
  Session& session = store.session();
  ThreadContext& ctx = session.ctx();
  const auto tasks = store.definitions().tasks();
  if (tasks.empty()) store.requireVisible(invocation, Administration::Counted::kTasks);
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
  confirm(invocation, fmt::format("Delete task '{}' with its schedule?", invocation.task),
          fmt::format("task '{}'", invocation.task));
  store.definitions().remove(invocation.task);
  if (invocation.json) {
    printJson(Json{{"task", invocation.task}, {"deleted", true}});
  } else {
    say(invocation, fmt::format("task '{}' is deleted", invocation.task));
  }
  return kExitOk;
}

}  // namespace mesk::host
