// The cycle: first due execution, claim, run, record, next execution by the rule.
//
// Each step is one transaction, and the queue in memory follows what was committed. So a scheduler may die
// anywhere: what it had claimed has a history record, and the next scheduler ends that record, once.
//
//   queued --claim--> running --finished--> history says succeeded, failed or timed out; the execution is gone
//      |                 |---finished badly, retries left--> queued again, with the same history record
//      |                 '---scheduler and runner gone--> history says interrupted
//      '--a later instant of the rule passed too, and the task wants no replay--> history says missed
//
// A group is claimed as any run is, but has no process: stage by stage its steps are started, and when the last has
// ended, so has the group. How far it is stands in the records of its steps alone.
//
// What follows the end of a run - its statistic, follow-on actions, messages - is part of the transaction that records
// the end: each happens once for each run, or not at all.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/tasks/MDTask.h>
#include <scheduler/Administration.h>
#include <scheduler/Definitions.h>
#include <scheduler/FollowOns.h>
#include <scheduler/Groups.h>
#include <scheduler/Notifications.h>
#include <scheduler/Outbox.h>
#include <scheduler/RecordCodes.h>
#include <scheduler/RunEnd.h>
#include <scheduler/RunLauncher.h>
#include <scheduler/RunOptions.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// An instant this young is started late rather than recorded as missed by a task that skips missed ones.
inline constexpr std::int64_t kMissedGraceMillis = 60'000;

/// Not for sharing between threads; one in a process, because the queue is.
class Scheduler {
 public:
  struct Options {
    std::size_t limit = 4;            ///< processes at once; groups have none
    std::string agent = {};           ///< the program that runs warehouse tasks
    std::function<void()> mail = {};  ///< called when messages have come into the outbox; may be empty
  };
  /// What people may want to know, a line each.
  using Report = std::function<void(const std::string&)>;

  Scheduler(Session& session, RunLauncher& launcher, Options options, Report report);
  ~Scheduler();
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

  /// Fills the queue from the store and settles what an earlier scheduler left running: adopts it when it is
  /// alive, records it when it ended, records it as interrupted when it is gone. Also the way back after a
  /// failure of the store.
  void load();

  /// Takes over what other processes changed in the store.
  void refresh();

  /// The machine slept, the clock went forward, or the store could not be used: instants before now may have passed
  /// unseen. Those that come later and then have to wait are not missed, however long it takes.
  void resumed();

  /// Claims and starts what is due, as far as the limit allows. Throws when something could not be started; then the
  /// queue is to be loaded again.
  void startDue();

  /// An attempt has ended. Unknown ones are ignored.
  void finished(const AttemptID& id, const RunStatus& status);

  /// The runner of an attempt ended without a word.
  void vanished(const AttemptID& id, const std::string& why);

  /// When `startDue` next has work, in milliseconds; nothing when the queue has none or the limit is reached.
  std::optional<std::int64_t> nextDue();

  /// Nothing runs, nothing is due, and no run waits for a retry.
  bool idle();

  /// The number of processes.
  std::size_t running() const;

  /// Removes the history of all runs that started before `millis` and have ended.
  void prune(std::int64_t millis);

 private:
  struct Active {
    long long taskExecID = 0;
    TaskKey task;
    long long parent = 0;  ///< run of the group that it is a step of; 0: none
    bool group = false;
    // Of a group:
    bool look = false;     ///< its progress is to be looked at
    bool waiting = false;  ///< a step waits for nothing but the limit
  };
  struct Start {
    AttemptID id;
    long long parent = 0;
    bool group = false;
    RunRequest request = {};
    std::string refusal = {};  ///< why it cannot even be tried
  };

  MDTaskExecList& queue() { return *MDTaskExecList::getInstance(); }
  std::optional<std::int64_t> nextStart(const MDTaskExec& exec);
  std::unique_ptr<MDTask> task(const MDTaskExec& exec);
  bool isActive(const MDTaskExec& exec) const;
  bool isActive(const TaskKey& task) const;
  bool full() const { return running() >= options_.limit; }
  std::vector<std::unique_ptr<MDTaskExec>> storedExecutions();
  void fillSorted();
  void fillQueue(std::vector<std::unique_ptr<MDTaskExec>>& executions);
  std::unique_ptr<MDTaskExec> stored(long long taskExecID);
  std::unique_ptr<MDScheduleEvent> rule(const MDTaskExec& exec);

  class Failures;
  void startQueued(Failures& failures);
  void advanceGroups(Failures& failures);
  bool advance(const AttemptID& id);
  std::set<TaskKey> within(const AttemptID& group) const;
  void startStep(const AttemptID& group, const TaskKey& member);
  void markStarted(MDTask& task, std::int64_t now);
  void settleTasks();

  void begin(long long taskExecID, std::int64_t now);
  std::optional<Start> claim(MDTaskExec& exec, std::int64_t now);
  void giveWay(MDTaskExec& exec, bool claimed);
  enum class Turn { kRun, kWait, kSettled };
  Turn passOver(MDTaskExec& exec, MDTask& task, const RunOptions& options, std::int64_t now);
  void recordMissed(MDTaskExec& exec, MDTask& task, std::int64_t instant, const std::string& why);
  long long newRun();
  long long claimInstant(MDTaskExec& exec);
  void insertHistory(MDTaskExec& exec, MDTask& task, long long run, long long root, RunningStatus status,
                     std::int64_t start);
  Start request(const MDTaskExec& exec, const MDTask& task, const AttemptID& id);
  void launch(const Start& start, const MDTaskExec& exec);
  void recover(const MDTaskExec& exec);

  void record(const AttemptID& id, const RunStatus& status, std::optional<RunningStatus> known,
              const std::string& output);
  std::optional<std::int64_t> nextAfter(const MDTaskExec& exec, std::int64_t instant);
  void queueNext(MDTaskExec& exec, std::int64_t instant);
  void queueRerun(MDTaskExec& exec, std::int64_t now);
  void queueSuccessor(MDTaskExec& exec, std::int64_t start, bool scheduled);
  bool stillApplies(const MDTaskExec& exec, MDTask& task);
  int rescheduleStatus(const MDTaskExec& exec);
  void updateTask(MDTask& task);

  /// A transaction that may put successors into the queue: when it fails, they are taken out again.
  template <class Work>
  void transact(Work work);
  void dropSuccessors();

  Session& session_;
  RunLauncher& launcher_;
  Options options_;
  Report report_;
  Definitions definitions_;
  Administration administration_;
  Outbox outbox_;
  FollowOns followOns_;
  Notifications notifications_;
  Groups groups_;
  std::unique_ptr<MDScheduleEventType> rules_;
  std::map<AttemptID, Active> active_;
  std::int64_t upSince_;               ///< no instant since then passed unseen
  std::vector<long long> successors_;  ///< queued by the transaction that is under way
};

}  // namespace mesk::host
