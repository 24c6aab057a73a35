// What the codes say that the scheduler writes into the records of tasks, executions and runs.
#pragma once

namespace mesk::host {

/// How a run stands, in its history record.
enum RunningStatus : int {
  kRunRunning = 1,
  kRunSucceeded = 2,
  kRunFailed = 3,
  kRunMissed = 4,       ///< its instant passed and it was not started
  kRunInterrupted = 5,  ///< scheduler and runner died while it ran
  kRunWaiting = 6,      ///< failed, and will be tried again
  kRunTimeUp = 7,       ///< ended because its time was up
};

const char* textOf(RunningStatus status);

/// What started a run, in its history record. An execution tells the first three apart by itself.
enum InvocationMethod : int {
  kInvokedNow = 0,
  kInvokedBySchedule = 1,
  kInvokedAgain = 2,  ///< after a crash
  kInvokedByFollowOn = 3,
  kInvokedAsStep = 4,
};

const char* textOf(InvocationMethod method);

/// Return codes of runs that never had one of a script; clear of those of `RunCode`.
enum : int { kReturnMissed = -520, kReturnInterrupted = -521 };

/// How an execution stands in the queue.
enum ExecutionStatus : int {
  kExecQueued = 1,
  kExecRunning = 2,
  kExecStep = 3,  ///< running, as a step of a group
};

/// Who asked for an execution, in its `StartedByRunNow`. A step has its group's.
enum StartedBy : int {
  kByNobody = 0,  ///< but its rule, or the crash of the run before
  kByRequest = 1,
  kByFollowOn = 2,  ///< the end of another task's run
};

enum TaskType : int { kScriptTask = 1, kGroupTask = 2, kWarehouseTask = 3 };

/// At which ends of a run an action is taken.
enum EndCondition : int {
  kAtEveryEnd = 0,
  kAtSuccess = 1,
  kAtFailure = 2,  ///< failed, timed out or interrupted
};

enum FollowOnKind : int { kRunTask = 1, kEnableTask = 2, kDisableTask = 3 };

/// How a message goes; bits.
enum MessageKind : int { kMessageEmail = 1, kMessagePager = 2, kMessageBoth = kMessageEmail | kMessagePager };

}  // namespace mesk::host
