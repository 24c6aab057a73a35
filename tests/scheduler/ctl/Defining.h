// Task files that are applied to a store of a test's own, with a clock that stands still.
#pragma once

#include <scheduler/Definitions.h>
#include <scheduler/TaskFile.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "../cycle/Workshop.h"

namespace mesk::host {

class DefinitionsTest : public SchedulerTest {
 protected:
  DefinitionsTest() : definitions_(*session_) {}

  /// A task "task" with these rules, in words.
  static TaskDefinition defined(const std::vector<std::string>& rules) {
    TaskDefinition task;
    task.name = "task";
    task.script = "true";
    for (const std::string& words : rules) task.schedule.push_back(ruleFromWords(words));
    return task;
  }

  static TaskFile fileOf(std::vector<TaskDefinition> tasks) {
    TaskFile file;
    file.tasks = std::move(tasks);
    return file;
  }

  Applied apply(const TaskDefinition& task) {
    return definitions_.apply(fileOf({task}), false, [](std::size_t) {}).at(0);
  }

  /// Applies a task file, given as what stands below its version.
  std::vector<Applied> applyText(const std::string& text, bool dryRun = false) {
    const TaskFileResult file = parseTaskFile("mesk: 1\n" + text, "f.yaml");
    EXPECT_EQ(file.errors, std::vector<std::string>{}) << text;
    return definitions_.apply(file, dryRun, [](std::size_t) {});
  }

  /// As `applyText`, "task a: changed (steps)" for each definition that was not left unchanged.
  std::vector<std::string> changesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (const Applied& applied : applyText(text)) {
      if (applied.kind == Applied::Kind::kUnchanged) continue;
      std::string line = std::string(applied.what) + " " + applied.name + ": " + textOf(applied.kind);
      std::string parts;
      for (const std::string& part : applied.changes) parts += (parts.empty() ? " (" : ", ") + part;
      lines.push_back(line + parts + (parts.empty() ? "" : ")"));
    }
    return lines;
  }

  /// What is wrong with a file beside this store; empty when it is applied.
  std::vector<std::string> refusalsOf(const std::string& text) {
    try {
      applyText(text);
    } catch (const TaskFileRefused& refused) {
      return refused.errors();
    }
    return {};
  }

  /// "a 01:00", ..: the tasks and times of day of what is queued, soonest first.
  std::vector<std::string> plan() {
    std::map<long long, std::string> names;
    for (const auto& task : definitions_.tasks()) names[task->getTaskID(ctx())] = text(task->getTaskName(ctx()));
    std::vector<std::string> lines;
    for (const Execution& execution : definitions_.executions()) {
      const std::int64_t minutes = (*execution.start - kStart) / kMinute;
      char time[32];
      std::snprintf(time, sizeof time, " %02d:%02d", static_cast<int>(minutes / 60), static_cast<int>(minutes % 60));
      lines.push_back(names[execution.taskID] + time);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  TaskDefinition readTask(const std::string& name) { return definitions_.read(*definitions_.find(name)); }

  std::string exported() { return writeTaskFile(definitions_.exported({})); }

  std::vector<std::int64_t> foretold(std::size_t count) {
    std::vector<std::int64_t> starts;
    for (const Upcoming& next : definitions_.upcoming(*definitions_.find("task"), count)) starts.push_back(next.start);
    return starts;
  }

  std::optional<std::int64_t> nextStart() { return session_->millis(definitions_.find("task")->getNextStart(ctx())); }
  int state() { return definitions_.find("task")->getState(ctx()); }

  Definitions definitions_;
};

inline constexpr const char* kHourly = "every hour from 2026-01-01 00:00";
inline constexpr const char* kTen = "every day from 2026-01-01 10:00";

}  // namespace mesk::host
