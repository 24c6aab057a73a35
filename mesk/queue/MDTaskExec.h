// One execution of a task: pending, running or just started.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>
#include <platform/Latch.h>

namespace mesk {

class MDGroup;
class MDScheduleEventType;
class MDUser;

/// An execution record of the store: where the run comes from, when it starts, as whom and with what it runs.
///
/// Setters change the Java object; `insert` and `update` store it. Beside the Java object a record has a latch of
/// its own, which only `lock` and `unlock` touch.
class MESK_API MDTaskExec : public MDObject {
 public:
  /// A new record that is not stored yet: needs rescheduling, not started by run now, no history.
  MDTaskExec(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `javaObject`; `context` is ignored.
  MDTaskExec(ThreadContext& ctx, jobject javaObject, jobject context);

  /// The record of one step of a grouping task, with status 3 and without a schedule rule, in `out`; and its task
  /// marked as running, with its next start refreshed, stored and committed under `MDTask::lockAll`.
  /// `start` (may be null) becomes both start times. A `parent` (may be null) gives user, password and, when it was
  /// started by run now, its options; `password`, when not null, stands in for the parent's, and without a parent is
  /// not used.
  /// Answers the code of the last store operation made. `out` is null when no record was made; the caller deletes
  /// it and inserts it into store and queue. The caller must not hold the queue's latch.
  static int newStep(ThreadContext& ctx, jobject context, long long taskExecID, long long taskID, int suffix,
                     SCTimestamp* start, MDTaskExec* parent, MDTaskExec*& out, int& sqlCode, const char* password);

  // Failures, -300 included, are logged with both IDs.
  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context);

  /// Takes over what `source` (may be null) says of a run: keys, schedule origin, start times and texts that are
  /// there, status, user and password. History, run-now options, flags, original schedule time and parent stay as
  /// they were. Nothing happens unless both are live.
  void copy(ThreadContext& ctx, MDTaskExec* source, jobject context);

  /// When the record's schedule rule fires next, as a new timestamp that the caller deletes; null when it does not,
  /// when the rule does not recur, and when task or rule cannot be had. Counted from `from`, which stays the
  /// caller's; without it from the rule's start, which then may be the answer, or, for status 0, from the
  /// original schedule time. `a` is not used.
  SCTimestamp* getNextScheduleTime(ThreadContext& ctx, jobject context, MDScheduleEventType* eventHome, SCTimestamp* a,
                                   SCTimestamp* from);

  /// 1 when the status is 0 or 1, else 0.
  int isQueued(ThreadContext& ctx) const;

  /// 1 when the run was started by a user's run-now request, else 0.
  int isRunNowTask(ThreadContext& ctx) const;

  /// 0 run now; 1 scheduled, that is with an original schedule time; 2 neither.
  int getInvocationMethod(ThreadContext& ctx) const;

  /// The latch of this record. Not recursive.
  void lock();
  void unlock();

  /// The latch of all records. Not recursive; made by its first use, which comes before concurrent ones.
  static void lockAll();
  static void unlockAll();
  static void freeLock();  ///< when nobody holds it or waits for it

  // Keys.
  long long getTaskExecID(ThreadContext& ctx) const;  ///< the record's key
  void setTaskExecID(ThreadContext& ctx, long long value);
  long long getTaskID(ThreadContext& ctx) const;  ///< with the suffix: the task
  void setTaskID(ThreadContext& ctx, long long value);
  int getSuffix(ThreadContext& ctx) const;
  void setSuffix(ThreadContext& ctx, int value);
  long long getTaskHistoryID(ThreadContext& ctx) const;  ///< -1: none yet
  void setTaskHistoryID(ThreadContext& ctx, long long value);
  long long getSharedNamedScheduleID(ThreadContext& ctx) const;
  void setSharedNamedScheduleID(ThreadContext& ctx, long long value);
  long long getScheduleEventID(ThreadContext& ctx) const;  ///< -1: no schedule rule
  void setScheduleEventID(ThreadContext& ctx, long long value);
  long long getParentGroupingTaskExecID(ThreadContext& ctx) const;  ///< the execution of the task this is a step of
  void setParentGroupingTaskExecID(ThreadContext& ctx, long long value);

  // Times; the caller deletes what a getter returns, and null stands for none in both directions.
  SCTimestamp* getNextStartDateTime(ThreadContext& ctx) const;  ///< what the queue is ordered by
  void setNextStartDateTime(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getStartTime(ThreadContext& ctx) const;
  void setStartTime(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getOriginalScheduleTime(ThreadContext& ctx) const;  ///< null: the run was not scheduled
  void setOriginalScheduleTime(ThreadContext& ctx, SCTimestamp* value);
  int getIsRealStartTime(ThreadContext& ctx) const;
  void setIsRealStartTime(ThreadContext& ctx, int value);
  int getNeedReschedule(ThreadContext& ctx) const;
  void setNeedReschedule(ThreadContext& ctx, int value);

  // The run.
  int getStatus(ThreadContext& ctx) const;  ///< 0, 1: queued; 3: a step of `newStep`; others: running
  void setStatus(ThreadContext& ctx, int value);
  char* getBrixStepID(ThreadContext& ctx) const;  ///< step of the warehouse component
  void setBrixStepID(ThreadContext& ctx, const char* value);
  char* getStepRC(ThreadContext& ctx) const;
  void setStepRC(ThreadContext& ctx, const char* value);
  char* getPartitionNumber(ThreadContext& ctx) const;
  void setPartitionNumber(ThreadContext& ctx, const char* value);
  int getRookQPosition(ThreadContext& ctx) const;  ///< position in the mainframe's job queue
  void setRookQPosition(ThreadContext& ctx, int value);
  char* getRookJobID(ThreadContext& ctx) const;  ///< the mainframe's job
  void setRookJobID(ThreadContext& ctx, const char* value);
  int getV7JobID(ThreadContext& ctx) const;
  void setV7JobID(ThreadContext& ctx, int value);
  char* getExecutionSystem(ThreadContext& ctx) const;
  void setExecutionSystem(ThreadContext& ctx, const char* value);
  void setExecutionPartitionID(ThreadContext& ctx, const char* value);
  void setExecutionSystemID(ThreadContext& ctx, const char* value);
  char* getSummaryReturnCode(ThreadContext& ctx) const;
  void setSummaryReturnCode(ThreadContext& ctx, const char* value);  ///< the Java method is "SummaryReturnCode"

  // Run-now options.
  int getStartedByRunNow(ThreadContext& ctx) const;  ///< 1: by a user's request
  void setStartedByRunNow(ThreadContext& ctx, int value);
  int getUseNotification(ThreadContext& ctx) const;
  void setUseNotification(ThreadContext& ctx, int value);
  int getUseTaskActions(ThreadContext& ctx) const;
  void setUseTaskActions(ThreadContext& ctx, int value);
  int getAcceptDefaults(ThreadContext& ctx) const;
  void setAcceptDefaults(ThreadContext& ctx, int value);
  int getPassRunSystem(ThreadContext& ctx) const;
  void setPassRunSystem(ThreadContext& ctx, int value);
  int getPassTargetDBObjects(ThreadContext& ctx) const;
  void setPassTargetDBObjects(ThreadContext& ctx, int value);
  char* getAdditionalParameters(ThreadContext& ctx) const;
  void setAdditionalParameters(ThreadContext& ctx, const char* value);
  int getRowLimit(ThreadContext& ctx) const;
  void setRowLimit(ThreadContext& ctx, int value);

  // The user that the run executes as. Passwords pass through unread.
  char* getUserID(ThreadContext& ctx) const;
  void setUserID(ThreadContext& ctx, const char* value);
  char* getPasswordString(ThreadContext& ctx) const;
  void setPasswordString(ThreadContext& ctx, const char* value);
  Blob* getPassword(ThreadContext& ctx) const;
  void setPassword(ThreadContext& ctx, Blob* value);
  jbyteArray getPassword(ThreadContext& ctx, jobject context) const;  ///< a local reference, null when there is none
  void setPasswordByteArr(ThreadContext& ctx, jbyteArray value);      ///< `value` stays the caller's

  // Rights of a user or a group on the record. A question answers 1 exactly when Java answered true; its code is in
  // `rc`. `allowed` 0 takes the right, 1 gives it.
  int getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  int getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  int getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  int getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  int getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  int getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  int setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  int setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  int setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);

  MESK_LOCAL static OSSLatch* lockAllData;  ///< null until the first use

 private:
  MESK_LOCAL int logged(ThreadContext& ctx, std::uint32_t function, int code, const int& sqlCode) const;
  MESK_LOCAL void inherit(ThreadContext& ctx, jobject context, const MDTaskExec& parent, const char* password);

  OSSLatch latch_ = 0;
  int flag_ = 0;
};

}  // namespace mesk
