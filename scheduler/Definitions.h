// Tasks as task files define them, in the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <mesk/queue/MDTaskExec.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SimpleDateFormat.h>
#include <scheduler/Applied.h>
#include <scheduler/ClockChanges.h>
#include <scheduler/Directory.h>
#include <scheduler/RecordCodes.h>
#include <scheduler/ScheduleRule.h>
#include <scheduler/Session.h>
#include <scheduler/TaskFile.h>
#include <scheduler/TaskParts.h>

namespace mesk::host {

/// A schedule rule that applies to a task, with its record.
struct StoredRule {
  std::unique_ptr<MDScheduleEvent> record;
  long long id = 0;
  ScheduleRule rule;
  long long scheduleID = -1;  ///< of the shared schedule that has it; -1: the task itself
  std::string schedule;       ///< its name

  /// The rule in words, with the shared schedule that has it.
  std::string words() const;
};

/// A shared schedule, with its record.
struct StoredSchedule {
  std::unique_ptr<MDSharedNamedSchedule> record;
  long long id = 0;
  std::string name;
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

  /// Queued by a rule and not begun, in contrast to a retry.
  bool isPending() const { return queued && run == -1 && ruleID != -1; }
  bool belongsTo(const MDTask& task, ThreadContext& ctx) const {
    return taskID == task.getTaskID(ctx) && suffix == task.getSuffix(ctx);
  }
};

/// A start that is to come.
struct Upcoming {
  std::int64_t start = 0;
  std::string why;       ///< its rule in words, or what else starts it
  bool overdue = false;  ///< its moment has passed, and no scheduler started it yet
  ClockMarks clocks;     ///< what changes of the clocks did to it, and left out before it
};

/// A task file that does not fit the store; what is wrong is told as `readTaskFile` tells it.
class TaskFileRefused : public HostError {
 public:
  explicit TaskFileRefused(std::vector<std::string> errors)
      : HostError(kExitBadFile, errors.front()), errors_(std::move(errors)) {}
  const std::vector<std::string>& errors() const { return errors_; }

 private:
  std::vector<std::string> errors_;
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

  /// All that a task file says of the task. The rights of its owner are left out when he has all, and those of
  /// superusers always.
  TaskDefinition read(MDTask& task);

  /// The tasks of these names, or all for none, with what they refer to; for all tasks with all contacts and shared
  /// schedules.
  TaskFile exported(const std::vector<std::string>& names);

  /// Those that apply to the task: its own in the order in which it got them, then those of its shared schedules.
  std::vector<StoredRule> rules(MDTask& task);

  /// All shared schedules, by name.
  std::vector<StoredSchedule> schedules();
  ScheduleDefinition read(StoredSchedule& schedule);

  /// The names of the tasks that use it, in order.
  std::vector<std::string> usersOf(long long scheduleID);

  /// The names of the tasks that start a task: whose step it is, and whose end runs it.
  struct Starters {
    std::vector<std::string> groups;
    std::vector<std::string> predecessors;
  };
  Starters startersOf(MDTask& task);

  /// The whole queue, by start.
  std::vector<Execution> executions();

  /// Makes the store's users, contacts, shared schedules and tasks of these names as they are defined. What stays the
  /// same keeps its records, rules also what they have in the queue. Answers a report for each definition, in the order
  /// of the file's parts. `progress` is called with the number of tasks done, which starts anew when the work is done
  /// again. A dry run takes everything back in the end. Throws TaskFileRefused for a file that does not fit the store.
  std::vector<Applied> apply(const TaskFile& file, bool dryRun, const std::function<void(std::size_t)>& progress);

  /// The task with its rules and what it has in the queue; its history stays. Refused while it runs, and while other
  /// tasks have it as a step or act on it.
  void remove(const std::string& name);

  /// A shared schedule with its rules. Refused while tasks use it.
  void removeSchedule(const std::string& name);

  /// The shared schedule of that name. Throws HostError, with a similar name if there is one.
  StoredSchedule findSchedule(const std::string& name);

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

  /// What the rules of a task bring by themselves, whatever the queue has: its starts as if it had been applied just
  /// before `from`, up to and with `until`, at most `count`, in order.
  std::vector<Upcoming> byRules(MDTask& task, std::int64_t from, std::int64_t until, std::size_t count);

  /// How far to look for starts.
  struct Horizon {
    std::int64_t now;    ///< in milliseconds, as `until`
    std::int64_t until;  ///< the last that counts
    std::size_t count;   ///< of each rule
    bool replay;         ///< whether instants that passed run each
  };

  /// Adds the starts of a rule from its instant `first` on.
  void foretell(const StoredRule& rule, std::int64_t first, const Horizon& horizon, std::vector<Upcoming>& starts);

  /// The start of a rule, in milliseconds; nothing when it has none.
  std::optional<std::int64_t> startOf(const ScheduleRule& rule);

  /// The instant of a rule that the scheduler goes on with after another one, whatever the time is now; nothing after
  /// the last. What is foretold and what fires come from here.
  std::optional<std::int64_t> instantAfter(const MDScheduleEvent& event, std::int64_t instant);

 private:
  using Owned = std::unique_ptr<MDTask>;
  static constexpr int kSuffix = 0;
  static constexpr long long kNone = -1;

  /// What an apply works on.
  struct Work {
    std::map<std::string, Owned> tasks;                 ///< those with suffix 0
    std::map<long long, std::vector<Execution>> queue;  ///< by task, so that thousands do not each look through it all
    std::map<std::string, long long> schedules;
    std::set<long long> changedSchedules;
    std::set<std::string> changedSteps;  ///< names of groups that got other steps
    std::set<std::string> users;

    MDTask& task(const std::string& name) const { return *tasks.at(name); }
  };

  TaskDefinition readRecord(MDTask& task);
  Owned unreadable(const std::string& name);
  std::vector<std::unique_ptr<MDSharedNamedSchedule>> sharedOf(MDTask& task);
  std::vector<StoredRule> rules(StoredSchedule& schedule);
  void refuseRemoval(MDTask& task, const std::string& name);
  Work workOn();
  void checkReferences(const TaskFile& file, const Work& work);
  void applySchedules(const std::vector<ScheduleDefinition>& schedules, Work& work, std::vector<Applied>& report);
  Applied applySchedule(StoredSchedule* existing, const ScheduleDefinition& wanted, Work& work);
  Owned create(const TaskDefinition& wanted);
  Applied change(MDTask& task, TaskDefinition wanted, bool isNew, Work& work);
  std::vector<std::string> changeRules(MDTask& task, const std::vector<ScheduleRule>& wanted,
                                       std::vector<Execution>& queue);
  std::vector<std::string> changeSchedules(MDTask& task, const std::vector<Reference>& wanted, Work& work);
  std::vector<std::string> changeRights(MDTask& task, const TaskDefinition& wanted, bool ownerIsNew, const Work& work);
  void changeSteps(const std::vector<TaskDefinition>& tasks, Work& work);
  bool usesChanged(MDTask& task, const Work& work);
  void planUsers(const std::set<std::string>& done, Work& work);
  void fill(MDTask& task, const TaskDefinition& definition);
  std::unique_ptr<MDScheduleEvent> makeRule(const ScheduleRule& rule);
  void deleteRule(StoredRule& rule);
  void detachRetries(std::vector<Execution>& queue, const StoredRule& rule);
  static void forget(std::vector<Execution>& queue, const StoredRule& rule);
  int plan(MDTask& task, std::vector<Execution>& queue);
  void clearSchedule(MDTask& task, std::vector<Execution>& queue);
  void updateNextStart(MDTask& task, const std::vector<Execution>& queue);
  Execution enqueue(MDTask& task, StartedBy by, const StoredRule* rule, std::int64_t start,
                    const std::string& arguments);
  void settleRetry(Execution& execution);
  void update(MDTask& task);

  ScheduleRule ruleOf(const MDScheduleEvent& event);
  std::optional<std::int64_t> firstInstant(const MDScheduleEvent& event, const ScheduleRule& rule);
  long long parsed(const SimpleDateFormat& format, const std::string& text);
  void announce();

  Session& session_;
  ThreadContext& ctx_;
  Directory directory_;
  TaskParts parts_;
  SimpleDateFormat day_;
  SimpleDateFormat timeOfDay_;
  SimpleDateFormat moment_;
};

}  // namespace mesk::host
