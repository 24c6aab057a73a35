// A task: what it is, how it runs, where it stands.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>
#include <platform/Latch.h>

namespace mesk {

class MDFollowOnAction;
class MDGroup;
class MDNotificationAction;
class MDScheduleEvent;
class MDSharedNamedSchedule;
class MDUser;

/// One rule of when a run succeeded: its return code stands to `code` as `condition` says.
struct tSuccessRelation {
  int code;
  char condition;  ///< the first character of the store's text: '=', '<', '>' or '!'
};

/// Wraps the store's MDTask. Setters change the Java object; `insert` and `update` bring it into the store.
class MESK_API MDTask : public MDObject {
 public:
  /// A new task, which the store does not hold before `insert`.
  MDTask(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDTask(ThreadContext& ctx, jobject cls, jobject obj);

  // Store operations. A failure, -300 included, is logged with the code, the SQL code and the low half of the task
  // ID. `update` and `deleteIt` are traced.
  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Has the Java object release what it holds.
  void finalize(ThreadContext& ctx);

  // What the task is.
  long long getTaskID(ThreadContext& ctx) const;  ///< the key; together with the suffix it names the task
  void setTaskID(ThreadContext& ctx, long long value);
  int getSuffix(ThreadContext& ctx) const;  ///< second part of the key
  void setSuffix(ThreadContext& ctx, int value);
  char* getTaskName(ThreadContext& ctx) const;
  void setTaskName(ThreadContext& ctx, const char* value);
  char* getDescription(ThreadContext& ctx) const;
  void setDescription(ThreadContext& ctx, const char* value);
  int getTaskType(ThreadContext& ctx) const;  ///< a code of the store, as every integer without a word on it
  void setTaskType(ThreadContext& ctx, int value);
  char* getTaskCategory(ThreadContext& ctx) const;
  void setTaskCategory(ThreadContext& ctx, const char* value);
  char* getOwner(ThreadContext& ctx) const;  ///< a user
  void setOwner(ThreadContext& ctx, const char* value);
  char* getModifier(ThreadContext& ctx) const;  ///< the user of the last change
  void setModifier(ThreadContext& ctx, const char* value);
  SCTimestamp* getModified(ThreadContext& ctx) const;  ///< the moment of the last change
  void setModified(ThreadContext& ctx, SCTimestamp* value);
  void setGeneratedBy(ThreadContext& ctx, const char* value);
  void setGeneratedAt(ThreadContext& ctx, SCTimestamp* value);

  // Where it stands.
  int getState(ThreadContext& ctx) const;  ///< 0 no start pending, 1 scheduled, 2 running
  void setState(ThreadContext& ctx, int value);
  int getRunningStatus(ThreadContext& ctx) const;
  void setRunningStatus(ThreadContext& ctx, int value);
  int getNumberOfExecutions(ThreadContext& ctx) const;  ///< executions in progress
  void setNumberOfExecutions(ThreadContext& ctx, int value);
  SCTimestamp* getNextStart(ThreadContext& ctx) const;  ///< null: no start is pending
  void setNextStart(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getCurrentStartDateTime(ThreadContext& ctx) const;  ///< null: none
  void setCurrentStartDateTime(ThreadContext& ctx, SCTimestamp* value);

  // How its last run went.
  SCTimestamp* getLastStart(ThreadContext& ctx) const;
  void setLastStart(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getLastEnd(ThreadContext& ctx) const;
  void setLastEnd(ThreadContext& ctx, SCTimestamp* value);
  int getLastDuration(ThreadContext& ctx) const;  ///< in the unit of the store
  void setLastDuration(ThreadContext& ctx, int value);
  int getLastReturnCode(ThreadContext& ctx) const;
  void setLastReturnCode(ThreadContext& ctx, int value);
  int getLastSuccess(ThreadContext& ctx) const;
  void setLastSuccess(ThreadContext& ctx, int value);
  char* getLastExecutionUserID(ThreadContext& ctx) const;
  void setLastExecutionUserID(ThreadContext& ctx, const char* value);
  Clob* getLastExecutionResults(ThreadContext& ctx) const;
  void setLastExecutionResults(ThreadContext& ctx, Clob* value);
  void setLastExecutionResultsString(ThreadContext& ctx, const char* value);  ///< the same, from a text

  // What runs.
  Clob* getScriptContent(ThreadContext& ctx) const;
  void setScriptContent(ThreadContext& ctx, Clob* value);
  char* getScriptContentString(ThreadContext& ctx) const;  ///< the same as a text
  void setScriptContentString(ThreadContext& ctx, const char* value);
  char* getCommandProcessor(ThreadContext& ctx) const;
  void setCommandProcessor(ThreadContext& ctx, const char* value);
  int getProcessorType(ThreadContext& ctx) const;
  char* getStatementTerminationChar(ThreadContext& ctx) const;
  void setStatementTerminationChar(ThreadContext& ctx, const char* value);
  char* getWorkingDir(ThreadContext& ctx) const;
  void setWorkingDir(ThreadContext& ctx, const char* value);
  char* getFileExtension(ThreadContext& ctx) const;
  void setFileExtension(ThreadContext& ctx, const char* value);
  char* getAdditionalParameters(ThreadContext& ctx) const;
  void setAdditionalParameters(ThreadContext& ctx, const char* value);
  char* getDefaultParameters(ThreadContext& ctx) const;
  void setDefaultParameters(ThreadContext& ctx, const char* value);
  Blob* getDialogTaskProfile(ThreadContext& ctx) const;
  void setDialogTaskProfile(ThreadContext& ctx, Blob* value);
  char* getBrixStepID(ThreadContext& ctx) const;  ///< step of the warehouse component
  void setBrixStepID(ThreadContext& ctx, const char* value);
  char* getClassName(ThreadContext& ctx) const;  ///< a Java class, as the next two
  void setClassName(ThreadContext& ctx, const char* value);
  char* getShowProgressClassName(ThreadContext& ctx) const;
  void setShowProgressClassName(ThreadContext& ctx, const char* value);
  char* getShowResultClassName(ThreadContext& ctx) const;
  void setShowResultClassName(ThreadContext& ctx, const char* value);

  // Where, and as whom.
  char* getUserID(ThreadContext& ctx) const;
  void setUserID(ThreadContext& ctx, const char* value);
  char* getPasswordString(ThreadContext& ctx) const;
  void setPasswordString(ThreadContext& ctx, const char* value);
  Blob* getPassword(ThreadContext& ctx) const;  ///< as stored
  void setPassword(ThreadContext& ctx, Blob* value);
  char* getSystemID(ThreadContext& ctx) const;
  void setSystemID(ThreadContext& ctx, const char* value);
  char* getKelvoInstance(ThreadContext& ctx) const;
  void setKelvoInstance(ThreadContext& ctx, const char* value);
  char* getExecutionSystemID(ThreadContext& ctx) const;
  void setExecutionSystemID(ThreadContext& ctx, const char* value);
  char* getExecutionPartitionID(ThreadContext& ctx) const;
  void setExecutionPartitionID(ThreadContext& ctx, const char* value);
  char* getTargetDBObjects(ThreadContext& ctx) const;
  void setTargetDBObjects(ThreadContext& ctx, const char* value);
  int getPassRunSystem(ThreadContext& ctx) const;
  void setPassRunSystem(ThreadContext& ctx, int value);
  int getPassTargetDBObjects(ThreadContext& ctx) const;  ///< Java: "getPassTargetDBObj", "setPassTargetDBObj"
  void setPassTargetDBObjects(ThreadContext& ctx, int value);

  // When it runs and what follows.
  int getRetryCount(ThreadContext& ctx) const;
  void setRetryCount(ThreadContext& ctx, int value);
  int getRetryInterval(ThreadContext& ctx) const;  ///< in the unit of the store
  void setRetryInterval(ThreadContext& ctx, int value);
  int getStopAtStepFailure(ThreadContext& ctx) const;
  void setStopAtStepFailure(ThreadContext& ctx, int value);
  int getScheduleEnable(ThreadContext& ctx) const;
  void setScheduleEnable(ThreadContext& ctx, int value);
  int getNotificationEnable(ThreadContext& ctx) const;
  void setNotificationEnable(ThreadContext& ctx, int value);
  int getFollowOnTaskEnable(ThreadContext& ctx) const;
  void setFollowOnTaskEnable(ThreadContext& ctx, int value);

  /// The stored password as a local reference that the caller deletes; null also on any failure, of which nothing
  /// else tells.
  jbyteArray getPassword(ThreadContext& ctx, jobject context) const;

  /// The store keeps the bytes as they are; `bytes` stays the caller's.
  void setPasswordByteArr(ThreadContext& ctx, jbyteArray bytes);

  /// The category for people to read, a new text.
  char* getFormattedTaskCategoriesName(ThreadContext& ctx, jobject context) const;

  /// One execution more, from 0 when the count is negative. Not atomic: hold `lockAll`.
  void incrNumberOfExecutions(ThreadContext& ctx);

  /// One execution less, but never below 0. Not atomic: hold `lockAll`.
  void decrNumberOfExecutions(ThreadContext& ctx);

  /// Takes the next start from the queue of pending executions, and the state too unless executions are in progress.
  /// Changes the Java object only; `context` is not used. -1, and nothing changes, when there is no queue, else 0.
  /// Takes the latch of the queue: not for a caller that holds it.
  int updateTaskNextStart(ThreadContext& ctx, jobject context);

  // What belongs to the task. Of rules and shared schedules a dead one reaches Java as null; with a dead action the
  // answer is -300 and Java is not called.
  int addScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode);
  int removeScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode);
  MESK_LOCAL int addSharedNamedSchedule(ThreadContext& ctx, jobject context, MDSharedNamedSchedule& schedule,
                                        int& sqlCode);
  MESK_LOCAL int removeSharedNamedSchedule(ThreadContext& ctx, jobject context, MDSharedNamedSchedule& schedule,
                                           int& sqlCode);
  int addFollowOnAction(ThreadContext& ctx, jobject context, MDFollowOnAction& action, int& sqlCode);
  int removeFollowOnAction(ThreadContext& ctx, jobject context, MDFollowOnAction& action, int& sqlCode);
  int addNotificationAction(ThreadContext& ctx, jobject context, MDNotificationAction& action, int& sqlCode);
  int removeNotificationAction(ThreadContext& ctx, jobject context, MDNotificationAction& action, int& sqlCode);

  // Its lists. Code 30014 of the store is an empty one.
  int retrieveScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count,
                                int& sqlCode);
  int retrieveSharedNamedScheduleList(ThreadContext& ctx, jobject context, MDSharedNamedSchedule**& schedules,
                                      int& count, int& sqlCode);
  int retrieveFollowOnActionList(ThreadContext& ctx, jobject context, MDFollowOnAction**& actions, int& count,
                                 int& sqlCode);
  int retrieveNotificationActionList(ThreadContext& ctx, jobject context, MDNotificationAction**& actions, int& count,
                                     int& sqlCode);
  int retrieveTaskGroupMemberList(ThreadContext& ctx, jobject context, MDTask**& members, int& count, int& sqlCode);
  int retrievePredecessorTaskWithExecActionList(ThreadContext& ctx, jobject context, MDTask**& predecessors, int& count,
                                                int& sqlCode);

  /// Every rule that applies to the task: its own, with -1 in `scheduleIDs`, then those of its shared schedules, each
  /// with the key of its schedule. Both arrays have `count` elements. `count` is what the schedules said that they
  /// have: when somebody takes rules away meanwhile, the last events are null and their IDs -1.
  /// Both arrays null and `count` 0: no rules, any failure, and out of memory. Traced, with the count.
  int retrieveAllScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events,
                                   long long*& scheduleIDs, int& count, int& sqlCode);

  /// The distinct rules of all success code sets of the task, as one array; null and 0 when there are none, on any
  /// failure and out of memory. A set that cannot be read is left out.
  int retrieveAllCodeCondition(ThreadContext& ctx, jobject context, tSuccessRelation*& relations, int& count,
                               int& sqlCode);

  // Rights: a question answers 1 exactly when the store says yes. A dead principal gives -300.
  /// By name. Nothing tells a no from a failure.
  int getExecutePermission(ThreadContext& ctx, jobject context, const char* userName);
  MESK_LOCAL int getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  MESK_LOCAL int getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  int getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  int setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  int setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  int setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);

  /// Who holds a kind of right, a code of the store. Its code 30013 is an empty list; 30014 is not. When the store gave
  /// no list, `sqlCode` is the nested SQL code even beside 0.
  int getUsersWithPermission(ThreadContext& ctx, jobject context, int permission, MDUser**& users, int& count,
                             int& sqlCode);
  int getGroupsWithPermission(ThreadContext& ctx, jobject context, int permission, MDGroup**& groups, int& count,
                              int& sqlCode);

  /// One latch for all tasks, for whoever changes counts and states; no operation of this class takes it. Not
  /// recursive. The character is ignored. The first use makes the latch and must come before concurrent ones.
  static void lockAll(char mode);
  static void unlockAll(char mode);

  /// Deletes the latch, which nobody may be using.
  static void freeLock();

  MESK_LOCAL static OSSLatch* lockAllData;  ///< null until first use

 private:
  MESK_LOCAL int store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                       int& sqlCode);
};

}  // namespace mesk
