// Task files: tasks as people write them, in YAML.
#pragma once

#include <string>
#include <vector>

#include <scheduler/RunOptions.h>
#include <scheduler/ScheduleRule.h>

namespace mesk::host {

/// A task as a task file defines it.
struct TaskDefinition {
  std::string name;  ///< 1..128 characters, unique in its file
  std::string description;
  std::string type = "script";
  std::string category;
  std::string owner;  ///< empty: whoever applies the file
  std::string runAs;  ///< empty: the scheduler's own user
  std::string directory;
  std::string processor = "/bin/sh";
  std::string script;
  std::string arguments;  ///< one line; `shellWords` are what the script gets
  int retryCount = 0;
  int retryIntervalSeconds = 0;
  RunOptions options;
  bool enabled = true;
  std::vector<ScheduleRule> schedule;
  int line = 0;  ///< where the file has it; no part of the task

  bool operator==(const TaskDefinition& other) const;
};

/// What reading a task file gave: all its tasks, or what is wrong with it.
struct TaskFileResult {
  std::vector<TaskDefinition> tasks;  ///< empty when there are errors
  std::vector<std::string> errors;    ///< "tasks.yaml:14: ...", by line; at most `kTaskFileErrors`
};

constexpr std::size_t kTaskFileErrors = 20;

/// Reads and checks a file. A file that cannot be read is an error in the result. `script-file` is
/// read from beside it.
TaskFileResult readTaskFile(const std::string& path);

/// As `readTaskFile`, of `text`; `name` stands in the errors and says where script files are.
TaskFileResult parseTaskFile(const std::string& text, const std::string& name);

/// A file that reads as these tasks again. Scripts stand in it, whatever file they came from.
std::string writeTaskFile(const std::vector<TaskDefinition>& tasks);

}  // namespace mesk::host
