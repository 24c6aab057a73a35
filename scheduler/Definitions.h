// Tasks as task files define them, in the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <mesk/queue/MDTaskExec.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SimpleDateFormat.h>
#include <scheduler/RecordCodes.h>
#include <scheduler/ScheduleRule.h>
#include <scheduler/Session.h>
#include <scheduler/TaskFile.h>

namespace mesk::host {

/// What applying a definition did to its task.
struct Applied {
  enum class Kind { kCreated, kChanged, kUnchanged };

  std::string name;
  Kind kind = Kind::kUnchanged;
  std::vector<std::string> changes;  ///< of a changed task: which parts, in the words of a task file
};

const char* textOf(Applied::Kind kind);

/// A schedule rule of a task, with its record.
struct StoredRule {
  std::unique_ptr<MDScheduleEvent> record;
  long long id = 0;
  ScheduleRule rule;
};

/// What the queue's records say of an execution.
struct Execution {
  std::unique_ptr<MDTaskExec> record;
  long long id = 0;
  long long taskID = 0;
  int suffix = 0;
  long long ruleID = -1;                ///< -1: no rule
  long long run = -1;                   ///< -1: it has not begun
  bool queued = true;                   ///< else it is running
  bool runNow = false;                  ///< somebody asked for it
  bool followOn = false;                ///< the end of another task's run asked for it
  std::optional<std::int64_t> start;    ///< when it starts or started
  std::optional<std::int64_t> instant;  ///< the instant of its rule
};

/// A start that is to come.
struct Upcoming {
  std::int64_t start = 0;
  std::string why;       ///< its rule in words, or what else starts it
  bool overdue = false;  ///< its moment has passed, and no scheduler started it yet
};

/// Reads and changes definitions. What changes the store is one transaction: done and told to a running meskd, or
/// thrown (HostError) and nothing of it done. One thread.
class Definitions {
 public:
  explicit Definitions(Session& session);

  /// All tasks, by name.
  std::vector<std::unique_ptr<MDTask>> tasks();

  /// The task of that name. Throws HostError, with a similar name if there is one.
  std::unique_ptr<MDTask> find(const std::string& name);

  TaskDefinition read(MDTask& task);

  /// In the order in which the task got them.
  std::vector<StoredRule> rules(MDTask& task);

  /// The whole queue, by start.
  std::vector<Execution> executions();

  /// Makes the store's tasks of these names as they are defined. Rules that stay the same keep their records and what
  /// they have in the queue. Answers a report for each task, in order. `progress` is called with the number of tasks
  /// done, which starts anew when the work is done again. A dry run takes everything back in the end.
  std::vector<Applied> apply(const std::vector<TaskDefinition>& definitions, bool dryRun,
                             const std::function<void(std::size_t)>& progress);

  /// The task with its rules and what it has in the queue; its history stays. Refused while it runs.
  void remove(const std::string& name);

  /// Switches the task's schedule; answers whether that changed anything. What has begun, and what somebody asked
  /// for, goes on.
  bool setEnabled(const std::string& name, bool enabled);

  /// As `setEnabled`, as part of the caller's transaction, and no meskd is told: the task's record and the queue's are
  /// changed, nothing is committed.
  bool switchSchedule(MDTask& task, bool enabled);

  /// Queues a run for now and answers the key of its execution. No arguments: those of the task.
  long long runNow(const std::string& name, const std::vector<std::string>& arguments);

  /// Queues a run of the task for `start` because a run of another one has ended. In the caller's unit of work, which
  /// the caller commits.
  Execution follow(MDTask& task, std::int64_t start);

  /// The next starts of a task, at most `count`, in order: what is in the queue, and what the rules bring after
  /// that if no run is in the way of the next.
  std::vector<Upcoming> upcoming(MDTask& task, std::size_t count);

 private:
  using Owned = std::unique_ptr<MDTask>;

  TaskDefinition readRecord(MDTask& task);
  Applied applyOne(MDTask* existing, TaskDefinition wanted, std::vector<Execution>& queue);
  Applied create(const TaskDefinition& wanted, std::vector<Execution>& queue);
  Applied change(MDTask& task, const TaskDefinition& wanted, std::vector<Execution>& queue);
  void fill(MDTask& task, const TaskDefinition& definition);
  void addRule(MDTask& task, const ScheduleRule& rule);
  void removeRule(MDTask& task, StoredRule& rule, std::vector<Execution>& queue);
  int plan(MDTask& task, std::vector<Execution>& queue);
  void clearSchedule(MDTask& task, std::vector<Execution>& queue);
  void updateNextStart(MDTask& task, const std::vector<Execution>& queue);
  Execution enqueue(MDTask& task, StartedBy by, long long ruleID, std::int64_t start, const std::string& arguments);
  void settleRetry(Execution& execution);
  void update(MDTask& task);

  ScheduleRule ruleOf(MDScheduleEvent& event);
  std::optional<std::int64_t> startOf(const ScheduleRule& rule);
  std::optional<std::int64_t> firstInstant(MDScheduleEvent& event, const ScheduleRule& rule);
  std::optional<std::int64_t> nextInstant(MDScheduleEvent& event, std::int64_t instant);
  long long parsed(const SimpleDateFormat& format, const std::string& text);
  void announce();

  Session& session_;
  ThreadContext& ctx_;
  SimpleDateFormat day_;
  SimpleDateFormat timeOfDay_;
  SimpleDateFormat moment_;
};

}  // namespace mesk::host
