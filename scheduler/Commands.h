// The commands of meskctl.
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include <scheduler/Administration.h>
#include <scheduler/Definitions.h>
#include <scheduler/ExitCodes.h>
#include <scheduler/Session.h>
#include <scheduler/StoreAddress.h>
#include <scheduler/Table.h>

namespace mesk::host {

using Json = nlohmann::ordered_json;

/// What a command asks of its user: rights on the task that it is about, or to be an administrator. Superusers have
/// all.
struct Needs {
  std::vector<TaskRight> rights = {};
  bool administrator = false;  ///< beside rights: either will do
};

/// What the command line says, whatever the command; a command reads those that it declared.
struct Invocation {
  std::string command;  ///< its whole name, as "schedule list"
  Needs needs;          ///< what the command asks of the user
  std::string store;
  std::string user;  ///< empty: the user of this process
  bool json = false;
  bool quiet = false;

  std::string file;
  std::string task;
  std::string schedule;
  std::vector<std::string> names;
  std::vector<std::string> arguments;
  std::string shell;
  long long run = 0;
  std::size_t count = 20;
  std::string zone;  ///< empty: that of this process
  std::string from;  ///< a date, or a date and a time; empty: now
  bool chart = false;
  bool dryRun = false;
  bool namesOnly = false;
  bool results = false;
  bool yes = false;

  std::vector<std::string> rights;
  std::string name;   ///< of a user or group that the command is about
  std::string group;  ///< of a group beside it
  bool superuser = false;
  bool administrator = false;
};

/// One command: its name, its help, its own options, and what it does. `run` answers an exit code and throws
/// HostError. A command with commands below it does nothing by itself: its `declare` and `run` are null.
struct Command {
  const char* name;
  const char* help;
  std::function<void(CLI::App& app, Invocation& invocation)> declare;
  int (*run)(const Invocation& invocation);
  std::vector<Command> commands = {};
  Needs needs = {};
};

/// All commands, in the order of the help.
const std::vector<Command>& commands();

/// Calls `visit` for each command that does something, with its whole name, in the order of the help.
void eachCommand(const std::function<void(const std::string& name, const Command& command)>& visit);

/// A session with an existing store, and its definitions. Throws HostError when there is no store.
class OpenStore {
 public:
  explicit OpenStore(const Invocation& invocation);

  /// As the other, with a store that is made if there is none.
  OpenStore(const Invocation& invocation, const StoreAddress& address);

  /// Throws HostError unless the user has the rights on the task. One that does not exist needs none: the command
  /// tells.
  void require(const Invocation& invocation, const std::string& task, const Needs& needs);

  /// What is thrown when the user lacks a right on the task.
  HostError lacking(const Invocation& invocation, const std::string& task, TaskRight right);

  /// After a list came out empty: throws HostError if that is so because the user may read nothing of what there is.
  void requireVisible(const Invocation& invocation, Administration::Counted kind);

  Session& session() { return session_; }
  Definitions& definitions() { return definitions_; }

 private:
  Session session_;
  Definitions definitions_;
};

/// The message of an operation that the store refused for lack of a right, with what the command line knows.
std::string refusalText(const Invocation& invocation, const std::string& what);

// Tasks.
int applyCommand(const Invocation& invocation);
int exportCommand(const Invocation& invocation);
int listCommand(const Invocation& invocation);
int showCommand(const Invocation& invocation);
int runCommand(const Invocation& invocation);
int enableCommand(const Invocation& invocation);
int disableCommand(const Invocation& invocation);
int deleteCommand(const Invocation& invocation);

// Shared schedules.
int scheduleListCommand(const Invocation& invocation);
int scheduleShowCommand(const Invocation& invocation);
int scheduleDeleteCommand(const Invocation& invocation);

// Users, groups and rights.
int grantCommand(const Invocation& invocation);
int revokeCommand(const Invocation& invocation);
int whoamiCommand(const Invocation& invocation);
int userAddCommand(const Invocation& invocation);
int userChangeCommand(const Invocation& invocation);
int userRemoveCommand(const Invocation& invocation);
int userListCommand(const Invocation& invocation);
int groupAddCommand(const Invocation& invocation);
int groupRemoveCommand(const Invocation& invocation);
int groupListCommand(const Invocation& invocation);
int groupJoinCommand(const Invocation& invocation);
int groupLeaveCommand(const Invocation& invocation);

// What is to come, and what was.
int queueCommand(const Invocation& invocation);
int nextCommand(const Invocation& invocation);
int historyCommand(const Invocation& invocation);
int logCommand(const Invocation& invocation);
int statsCommand(const Invocation& invocation);

// Without a store.
int codesCommand(const Invocation& invocation);
int completionCommand(const Invocation& invocation);

/// "2026-12-24 18:00:00 CET"; "-" for none.
std::string timeText(std::optional<std::int64_t> millis);

/// Puts "<key>" ("2026-12-24T18:00:00.000+01:00") and "<key>Ms" into the object; null for none.
void putTime(Json& object, const std::string& key, std::optional<std::int64_t> millis);

/// How a run or an attempt that has ended did, from its return code.
std::string outcomeText(bool succeeded, int returnCode);

/// The same from the status and the return code of a run; "failed (3)" where the code says more than the status.
std::string resultText(int status, int returnCode);

// How a task stands: "running", "disabled", ...; how its last run ended, empty before the first; and both as JSON, with
// times and what tells the task from others.
std::string stateText(const MDTask& task, ThreadContext& ctx);
std::string lastText(const MDTask& task, Session& session);
Json jsonOf(const MDTask& task, Session& session);

std::string joined(const std::vector<std::string>& words);

/// For people: the table as wide as the terminal.
void print(const Table& table);
void printJson(const Json& json);
void print(const std::string& text);

/// A line for people, unless they want quiet or JSON.
void say(const Invocation& invocation, const std::string& line);

/// Asks whether what cannot be undone is to be done, unless that was said already; throws HostError for a no.
/// `question` and `what` name it: "Delete task 'a'?", "task 'a'".
void confirm(const Invocation& invocation, const std::string& question, const std::string& what);

// For `show`: a line under a title, unless there is nothing to say; text under one, indented.
void line(std::string& out, const std::string& title, const std::string& value);
std::string indented(const std::string& text);

/// Text of a script for standard output: as it is, unless that is a terminal, which it must not steer.
std::string forOutput(const std::string& text);

}  // namespace mesk::host
