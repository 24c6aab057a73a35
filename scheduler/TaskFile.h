// Task files: tasks, and what they need, as people write them, in YAML.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include <scheduler/RecordCodes.h>
#include <scheduler/RunOptions.h>
#include <scheduler/ScheduleRule.h>
#include <scheduler/SuccessCode.h>

namespace mesk::host {

/// A name under which something else is known: a task, a contact, ...
struct Reference {
  Reference() = default;
  // NOLINTNEXTLINE(google-explicit-constructor): a name is a reference
  Reference(std::string to, int at = 0) : name(std::move(to)), line(at) {}
  // NOLINTNEXTLINE(google-explicit-constructor)
  Reference(const char* to) : name(to) {}

  std::string name;
  int line = 0;  ///< where a task file has it; no part of the reference

  bool operator==(const Reference& other) const { return name == other.name; }
};

std::vector<std::string> namesOf(const std::vector<Reference>& references);

/// What happens to other tasks when a task ends.
struct FollowOn {
  EndCondition on = kAtEveryEnd;
  FollowOnKind action = kRunTask;
  std::vector<Reference> tasks;

  bool operator==(const FollowOn&) const = default;
};

/// Who is told when a task ends, and what.
struct Notification {
  EndCondition on = kAtEveryEnd;
  MessageKind by = kMessageEmail;
  std::vector<Reference> to;      ///< contacts, or addresses, which have an @
  std::vector<Reference> groups;  ///< contact groups
  std::string subject;            ///< empty, as the message: the system's own
  std::string message;
  std::string pagerMessage;  ///< empty: the pager gets the message

  bool operator==(const Notification&) const = default;
};

/// What a user or a group may do with a task.
struct Right {
  Reference principal;  ///< in capitals
  bool isGroup = false;
  bool read = false;
  bool update = false;
  bool execute = false;

  bool operator==(const Right&) const = default;
};

/// A task as a task file defines it.
struct TaskDefinition {
  std::string name;  ///< 1..128 characters, unique in its file
  std::string description;
  TaskType type = kScriptTask;
  std::string category;
  std::string owner;  ///< empty: whoever applies the file
  std::string runAs;  ///< empty: the scheduler's own user
  std::string directory;
  std::string processor = "/bin/sh";
  std::string script;     ///< of a warehouse task the query; a group has none
  std::string arguments;  ///< one line; `shellWords` are what the script gets
  int retryCount = 0;
  int retryIntervalSeconds = 0;
  RunOptions options;  ///< without stages: `steps` says them
  bool enabled = true;
  std::vector<ScheduleRule> schedule;
  std::vector<Reference> schedules;           ///< shared ones
  std::vector<std::vector<Reference>> steps;  ///< of a group: the tasks that run together, stage by stage
  bool stopAtFailure = true;                  ///< of a group: a failed step keeps later stages from running
  std::vector<SuccessCode> success;           ///< empty: 0 is a success
  std::vector<FollowOn> followOns;
  std::vector<Notification> notifications;
  std::vector<Right> rights;  ///< each user or group once
  int line = 0;               ///< where the file has it; no part of the task

  bool operator==(const TaskDefinition& other) const;
};

struct UserDefinition {
  Reference name;  ///< in capitals
  bool superuser = false;
  bool admin = false;

  bool operator==(const UserDefinition&) const = default;
};

/// A group of users, or one of contacts.
struct GroupDefinition {
  Reference name;
  std::vector<Reference> members;

  bool operator==(const GroupDefinition&) const = default;
};

struct ContactDefinition {
  Reference name;     ///< 1..127 bytes
  std::string email;  ///< empty, as the next: none
  std::string pager;

  bool operator==(const ContactDefinition&) const = default;
};

/// Rules that several tasks share.
struct ScheduleDefinition {
  Reference name;
  std::string description;
  std::vector<ScheduleRule> rules;

  bool operator==(const ScheduleDefinition&) const = default;
};

/// What a task file says. Names are unique among their like.
struct TaskFile {
  std::string path;  ///< stands in errors; no part of what it says
  std::vector<UserDefinition> users;
  std::vector<GroupDefinition> groups;
  std::vector<ContactDefinition> contacts;
  std::vector<GroupDefinition> contactGroups;
  std::vector<ScheduleDefinition> schedules;
  std::vector<TaskDefinition> tasks;
};

/// What reading a task file gave: all that it says, or what is wrong with it.
struct TaskFileResult : TaskFile {
  std::vector<std::string> errors;  ///< "tasks.yaml:14: ...", by line; at most `kTaskFileErrors`
};

constexpr std::size_t kTaskFileErrors = 20;

/// Of the format; the value of `mesk`.
constexpr int kTaskFileVersion = 1;

/// Reads and checks a file. A file that cannot be read is an error in the result. `script-file` and `query-file` are
/// read from beside it.
TaskFileResult readTaskFile(const std::string& path);

/// As `readTaskFile`, of `text`; `name` stands in the errors and says where other files are.
TaskFileResult parseTaskFile(const std::string& text, const std::string& name);

/// What a store has that a task file may refer to.
struct KnownNames {
  std::set<std::string> users;
  std::set<std::string> groups;
  std::set<std::string> contacts;
  std::set<std::string> contactGroups;
  std::set<std::string> schedules;
  std::set<std::string> tasks;
  /// The tasks that a task of the store starts: its steps and those that it runs when it ends.
  std::function<std::vector<std::string>(const std::string& task)> starts;
};

/// Whether the name of somebody who is told is an address, and no contact's.
bool isAddress(const std::string& name);

/// What is wrong with a file as a whole, in the form of the errors of `readTaskFile`: references to what neither it nor
/// the store has, and tasks that would start each other round and round.
std::vector<std::string> checkReferences(const TaskFile& file, const KnownNames& known);

/// A file that reads as this again. Scripts and queries stand in it, whatever file they came from.
std::string writeTaskFile(const TaskFile& file);

const char* textOf(TaskType type);
const char* textOf(EndCondition when);
const char* textOf(FollowOnKind action);
const char* textOf(MessageKind by);

/// The names of what the right allows, "read, update"; "nothing" for none.
std::string allowedText(const Right& right);

}  // namespace mesk::host
