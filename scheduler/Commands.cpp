#include <scheduler/Commands.h>

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>

#include <platform/Clock.h>
#include <scheduler/RunRecords.h>
#include <scheduler/Scheduler.h>

namespace mesk::host {
namespace {

void declareTask(CLI::App& app, Invocation& invocation) {
  app.add_option("TASK", invocation.task, "Name of the task")->required();
}

void declareCount(CLI::App& app, Invocation& invocation, const char* help) {
  app.add_option("-n,--count", invocation.count, help)->check(CLI::Range(1, 100000))->capture_default_str();
}

void declareSchedule(CLI::App& app, Invocation& invocation) {
  app.add_option("SCHEDULE", invocation.schedule, "Name of the shared schedule")->required();
}

void declareYes(CLI::App& app, Invocation& invocation) { app.add_flag("-y,--yes", invocation.yes, "Do not ask"); }

void declareNothing(CLI::App&, Invocation&) {}

void declareName(CLI::App& app, Invocation& invocation) {
  app.add_option("NAME", invocation.name, "The name; capitals or not is the same")->required();
}

void declareUser(CLI::App& app, Invocation& invocation) {
  declareName(app, invocation);
  app.add_flag("--superuser", invocation.superuser, "May do everything");
  app.add_flag("--admin", invocation.administrator,
               "May make tasks, and change users, groups, contacts, shared schedules and rights");
}

void declareMember(CLI::App& app, Invocation& invocation) {
  app.add_option("GROUP", invocation.group, "The group")->required();
  app.add_option("USER", invocation.name, "The user")->required();
}

/// The rights and, behind them, the task: the last of the words.
void declareGrant(CLI::App& app, Invocation& invocation) {
  app.add_option("RIGHT TASK", invocation.rights, "read, update, execute: one or more; then the name of the task")
      ->required()
      ->expected(2, 4);
  CLI::Option* const user = app.add_option("--to,--from", invocation.name, "The user")->type_name("USER");
  app.add_option("--to-group,--from-group", invocation.group, "The group")->type_name("GROUP")->excludes(user);
  app.parse_complete_callback([&invocation] {
    invocation.task = invocation.rights.back();
    invocation.rights.pop_back();
    for (const std::string& word : invocation.rights) {
      if (std::none_of(kRights.begin(), kRights.end(), [&word](TaskRight right) { return word == textOf(right); })) {
        throw CLI::ValidationError(fmt::format("'{}' is no right; expected read, update or execute", word));
      }
    }
    if (invocation.name.empty() && invocation.group.empty()) {
      throw CLI::ValidationError("--to USER or --to-group GROUP is missing");
    }
  });
}

const StoreAddress& existing(const StoreAddress& address) {
  std::error_code error;
  if (!std::filesystem::exists(address.path(), error)) {
    throw HostError(kExitNoStore, fmt::format("there is no store {}; 'meskctl apply FILE' makes one", address.path()));
  }
  return address;
}

std::string formatted(std::int64_t millis, const char* format) {
  const std::int64_t seconds = millis >= 0 ? millis / 1000 : (millis - 999) / 1000;
  const struct tm* const local = _localtime64(&seconds);
  if (local == nullptr) return "?";
  char text[80];
  return {text, std::strftime(text, sizeof text, format, local)};
}

void each(const std::vector<Command>& commands, const std::string& above,
          const std::function<void(const std::string&, const Command&)>& visit) {
  for (const Command& command : commands) {
    if (command.run != nullptr) visit(above + command.name, command);
    each(command.commands, above + command.name + " ", visit);
  }
}

}  // namespace

const std::vector<Command>& commands() {
  static const Needs reads{{TaskRight::kRead}};
  static const Needs changes{{TaskRight::kRead, TaskRight::kUpdate}};
  static const Needs givesRights{{TaskRight::kUpdate}, true};
  static const Needs administers{{}, true};
  static const std::vector<Command> all{
      {"apply", "Make the store's tasks as a task file defines them, all or none",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("FILE", invocation.file, "Task file (YAML)")->required();
         app.add_flag("--dry-run", invocation.dryRun, "Only tell what would change");
       },
       applyCommand},
      {"export",
       "Write tasks as a task file",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("TASK", invocation.names, "Names of tasks; default: all");
       },
       exportCommand,
       {},
       reads},
      {"list", "List the tasks",
       [](CLI::App& app, Invocation& invocation) {
         app.add_flag("--names", invocation.namesOnly, "Only the names, a line each");
       },
       listCommand},
      {"show", "Tell all about a task", declareTask, showCommand, {}, reads},
      {"queue", "List what runs and what is to run", declareNothing, queueCommand},
      {"next",
       "Preview the next starts of a task",
       [](CLI::App& app, Invocation& invocation) {
         declareTask(app, invocation);
         declareCount(app, invocation, "How many starts");
         app.add_option("--zone", invocation.zone, "By the rules alone, in another time zone")->type_name("ZONE");
         app.add_option("--from", invocation.from, "By the rules alone, from that date or date and time on")
             ->type_name("DATE");
         app.add_flag("--chart", invocation.chart, "By the rules alone, the whole year as a calendar");
       },
       nextCommand,
       {},
       reads},
      {"run",
       "Run a task now",
       [](CLI::App& app, Invocation& invocation) {
         declareTask(app, invocation);
         app.add_option("ARGUMENT", invocation.arguments,
                        "Arguments of the script in place of the task's own; put -- before them");
       },
       runCommand,
       {},
       {{TaskRight::kExecute}}},
      {"enable", "Start a task by its schedule again", declareTask, enableCommand, {}, changes},
      {"disable", "Start a task no more by its schedule", declareTask, disableCommand, {}, changes},
      {"history",
       "List runs, the last first",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("TASK", invocation.task, "Only runs of this task");
         declareCount(app, invocation, "How many runs");
       },
       historyCommand,
       {},
       reads},
      {"log",
       "Show what a run wrote, and how it ended",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("RUN", invocation.run, "Number of the run, as 'history' shows it")->required();
         app.add_flag("--results", invocation.results, "Each attempt by itself");
       },
       logCommand,
       {},
       reads},
      {"stats",
       "Tell how tasks have performed over all their runs",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("TASK", invocation.task, "Only this task, with its outstanding runs");
       },
       statsCommand,
       {},
       reads},
      {"delete",
       "Delete a task; its history stays",
       [](CLI::App& app, Invocation& invocation) {
         declareTask(app, invocation);
         declareYes(app, invocation);
       },
       deleteCommand,
       {},
       changes},
      {"schedule",
       "Shared schedules: list, show, delete",
       nullptr,
       nullptr,
       {{"list", "List the shared schedules", declareNothing, scheduleListCommand},
        {"show", "Tell all about a shared schedule", declareSchedule, scheduleShowCommand},
        {"delete",
         "Delete a shared schedule that no task uses",
         [](CLI::App& app, Invocation& invocation) {
           declareSchedule(app, invocation);
           declareYes(app, invocation);
         },
         scheduleDeleteCommand,
         {},
         administers}}},
      {"grant", "Give rights on a task to a user or group", declareGrant, grantCommand, {}, givesRights},
      {"revoke", "Take rights on a task from a user or group", declareGrant, revokeCommand, {}, givesRights},
      {"whoami", "Tell for whom you work, and what he may do", declareNothing, whoamiCommand},
      {"user",
       "Users",
       nullptr,
       nullptr,
       {{"add", "Make a user known", declareUser, userAddCommand, {}, administers},
        {"change",
         "Say anew whether a user is superuser or administrator",
         declareUser,
         userChangeCommand,
         {},
         administers},
        {"remove", "Remove a user with his rights", declareName, userRemoveCommand, {}, administers},
        {"list", "List the users", declareNothing, userListCommand}}},
      {"group",
       "Groups of users",
       nullptr,
       nullptr,
       {{"add", "Make a group", declareName, groupAddCommand, {}, administers},
        {"remove",
         "Remove a group with its rights; its members stay",
         declareName,
         groupRemoveCommand,
         {},
         administers},
        {"list", "List the groups and their members", declareNothing, groupListCommand},
        {"join", "Put a user into a group", declareMember, groupJoinCommand, {}, administers},
        {"leave", "Take a user out of a group", declareMember, groupLeaveCommand, {}, administers}}},
      {"codes", "List the codes of the store and their meaning", declareNothing, codesCommand},
      {"completion", "Write a script that completes command lines",
       [](CLI::App& app, Invocation& invocation) {
         app.add_option("SHELL", invocation.shell, "The shell: bash")->required()->check(CLI::IsMember({"bash"}));
       },
       completionCommand},
  };
  return all;
}

void eachCommand(const std::function<void(const std::string& name, const Command& command)>& visit) {
  each(commands(), "", visit);
}

OpenStore::OpenStore(const Invocation& invocation)
    : OpenStore(invocation, existing(StoreAddress::choose(invocation.store))) {}

OpenStore::OpenStore(const Invocation& invocation, const StoreAddress& address)
    : session_(address, invocation.user), definitions_(session_) {
  if (!invocation.task.empty() || invocation.needs.administrator)
    require(invocation, invocation.task, invocation.needs);
  for (const std::string& name : invocation.names) require(invocation, name, invocation.needs);
}

std::string timeText(std::optional<std::int64_t> millis) {
  return millis ? formatted(*millis, "%Y-%m-%d %H:%M:%S %Z") : "-";
}

void putTime(Json& object, const std::string& key, std::optional<std::int64_t> millis) {
  if (!millis) {
    object[key] = nullptr;
    object[key + "Ms"] = nullptr;
    return;
  }
  std::string offset = formatted(*millis, "%z");  // +0100
  if (offset.size() == 5) offset.insert(3, ":");
  const std::int64_t part = ((*millis % 1000) + 1000) % 1000;
  object[key] = fmt::format("{}.{:03}{}", formatted(*millis, "%Y-%m-%dT%H:%M:%S"), part, offset);
  object[key + "Ms"] = *millis;
}

std::string outcomeText(bool succeeded, int returnCode) {
  if (succeeded) return "succeeded";
  switch (returnCode) {
    case kRunTimedOut:
      return "timed out";
    case kRunTerminated:
      return "terminated";
    case kReturnMissed:
      return "missed";
    case kReturnInterrupted:
      return "interrupted";
    default:
      return returnCode < 0 ? fmt::format("not started ({})", returnCode) : fmt::format("failed ({})", returnCode);
  }
}

void print(const std::string& text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
    throw HostError(kExitFailure, "standard output cannot be written");
  }
}

void print(const Table& table) { print(table.text(Table::terminalWidth(STDOUT_FILENO))); }

void printJson(const Json& json) { print(json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"); }

void say(const Invocation& invocation, const std::string& line) {
  if (!invocation.quiet && !invocation.json) print(line + "\n");
}

void confirm(const Invocation& invocation, const std::string& question, const std::string& what) {
  if (invocation.yes) return;
  if (::isatty(STDIN_FILENO) == 0) {
    throw HostError(kExitUsage, fmt::format("deleting {} cannot be undone: confirm it with --yes", what));
  }
  fmt::print(stderr, "{} [y/N] ", question);
  std::string answer;
  std::getline(std::cin, answer);
  if (answer != "y" && answer != "Y" && answer != "yes") {
    throw HostError(kExitRefused, fmt::format("{} was not deleted", what));
  }
}

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

std::string forOutput(const std::string& text) {
  if (::isatty(STDOUT_FILENO) == 0) return text;
  std::string result = text;
  for (char& c : result) {
    const auto byte = static_cast<unsigned char>(c);
    if ((byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7f) c = '?';
  }
  return result;
}

}  // namespace mesk::host
