// The record of one execution of a task, running or finished.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>
#include <platform/Latch.h>

namespace mesk {

class MDGroup;
class MDTaskResult;
class MDTaskSnapshot;
class MDUser;

/// Wraps the store's MDTaskHistory: timing, outcome and texts of a run, its results by part, and the task's definition
/// as it stood.
class MESK_API MDTaskHistory : public MDObject {
 public:
  /// A new record, which the store does not hold before `insert`.
  MDTaskHistory(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);
  MDTaskHistory(ThreadContext& ctx, jobject obj);

  // Store operations. A failure, -300 included, is logged with the code, the SQL code and the low half of the task ID.
  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  // Which run it was.
  long long getTaskHistoryID(ThreadContext& ctx) const;  ///< the key
  void setTaskHistoryID(ThreadContext& ctx, long long value);
  long long getRootTaskHistoryID(ThreadContext& ctx) const;
  void setRootTaskHistoryID(ThreadContext& ctx, long long value);
  long long getTaskID(ThreadContext& ctx) const;  ///< the task, together with the suffix
  void setTaskID(ThreadContext& ctx, long long value);
  int getSuffix(ThreadContext& ctx) const;
  void setSuffix(ThreadContext& ctx, int value);
  char* getTaskName(ThreadContext& ctx) const;
  void setTaskName(ThreadContext& ctx, const char* value);
  int getTaskType(ThreadContext& ctx) const;  ///< a code of the store
  void setTaskType(ThreadContext& ctx, int value);
  void setTaskCategory(ThreadContext& ctx, const char* value);
  char* getOwner(ThreadContext& ctx) const;
  void setOwner(ThreadContext& ctx, const char* value);
  char* getDescription(ThreadContext& ctx) const;
  void setDescription(ThreadContext& ctx, const char* value);
  char* getUserID(ThreadContext& ctx) const;
  void setUserID(ThreadContext& ctx, const char* value);
  int getInvocationMethod(ThreadContext& ctx) const;  ///< 0 run now, 1 scheduled, 2 neither
  void setInvocationMethod(ThreadContext& ctx, int value);
  char* getRookJobID(ThreadContext& ctx) const;  ///< job of the mainframe queue
  void setRookJobID(ThreadContext& ctx, const char* value);
  int getV7JobID(ThreadContext& ctx) const;
  void setV7JobID(ThreadContext& ctx, int value);
  char* getBrixStepID(ThreadContext& ctx) const;  ///< step of the warehouse component
  void setBrixStepID(ThreadContext& ctx, const char* value);
  char* getEditionID(ThreadContext& ctx) const;
  void setEditionID(ThreadContext& ctx, const char* value);
  void setExecutionSystemID(ThreadContext& ctx, const char* value);
  void setExecutionPartitionID(ThreadContext& ctx, const char* value);
  void setScriptContentString(ThreadContext& ctx, const char* value);

  // How it went.
  SCTimestamp* getStart(ThreadContext& ctx) const;
  void setStart(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getEnd(ThreadContext& ctx) const;  ///< null while there is none
  void setEnd(ThreadContext& ctx, SCTimestamp* value);
  int getDuration(ThreadContext& ctx) const;  ///< in the unit of the store
  void setDuration(ThreadContext& ctx, int value);
  int getRunningStatus(ThreadContext& ctx) const;  ///< a code of the store
  void setRunningStatus(ThreadContext& ctx, int value);
  int getReturnCode(ThreadContext& ctx) const;
  void setReturnCode(ThreadContext& ctx, int value);
  char* getSummaryReturnCode(ThreadContext& ctx) const;
  void setSummaryReturnCode(ThreadContext& ctx, const char* value);
  int getRetryCount(ThreadContext& ctx) const;
  void setRetryCount(ThreadContext& ctx, int value);
  int getRowCount(ThreadContext& ctx) const;  ///< of all results, see setBrixInfo
  void setRowCount(ThreadContext& ctx, int value);
  int getByteCount(ThreadContext& ctx) const;  ///< of all results, see setBrixInfo
  void setByteCount(ThreadContext& ctx, int value);
  char* getJournalResult(ThreadContext& ctx) const;  ///< the setter replaces, appendJournalResult adds
  void setJournalResult(ThreadContext& ctx, const char* value);
  Clob* getNotificationResults(ThreadContext& ctx) const;
  void setNotificationResults(ThreadContext& ctx, Clob* value);
  void setNotificationResultsString(ThreadContext& ctx, const char* value);  ///< the same, from a text
  void setFollowOnActionResultsString(ThreadContext& ctx, const char* value);
  void setShowResultsPanelClassName(ThreadContext& ctx, const char* value);  ///< a Java class

  // What data it moved.
  char* getSourceDBName(ThreadContext& ctx) const;
  void setSourceDBName(ThreadContext& ctx, const char* value);
  char* getSourceDBType(ThreadContext& ctx) const;
  void setSourceDBType(ThreadContext& ctx, const char* value);
  char* getTargetDBName(ThreadContext& ctx) const;
  void setTargetDBName(ThreadContext& ctx, const char* value);
  char* getTargetDBType(ThreadContext& ctx) const;
  void setTargetDBType(ThreadContext& ctx, const char* value);
  char* getTargetWarehouseName(ThreadContext& ctx) const;
  void setTargetWarehouseName(ThreadContext& ctx, const char* value);

  /// Adds to the journal's text.
  void appendJournalResult(ThreadContext& ctx, const char* text);

  // Rights on this record. Questions answer 1 only when the store says yes, else 0; `rc` and `sqlCode` tell of
  // failures. Changes take 1 to give a right and 0 to take it. A dead user or group gives -300.
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

  /// Sets byte count and row count to the sums over the record's results, modulo 2^32. Both become 0 when the results
  /// cannot be had, and stay as they were when the store could not be asked.
  void setBrixInfo(ThreadContext& ctx, jobject context);

  /// Code 30013 of the store is an empty list.
  int retrieveTaskResultList(ThreadContext& ctx, jobject context, MDTaskResult**& list, int& count, int& sqlCode);

  /// A dead result reaches Java as null.
  int addTaskResult(ThreadContext& ctx, jobject context, MDTaskResult& result, int& sqlCode);

  MESK_LOCAL int addTaskSnapshot(ThreadContext& ctx, jobject context, MDTaskSnapshot& snapshot, int& sqlCode);
  MESK_LOCAL int removeTaskSnapshot(ThreadContext& ctx, jobject context, MDTaskSnapshot& first, MDTaskSnapshot& second,
                                    int& sqlCode);

  /// A new wrapper, dead when the store has no snapshot to give; null whenever `rc` is not 0.
  MDTaskSnapshot* retrieveTaskSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// One latch for all history records; no operation of this class takes it. Not recursive. The first use makes it
  /// and must come before concurrent ones.
  static void lockAll();
  static void unlockAll();

  /// Deletes the latch, which nobody may be using.
  static void freeLock();

  MESK_LOCAL static OSSLatch* lockAllData;  ///< null until first use

 private:
  MESK_LOCAL int store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                       int& sqlCode);
};

}  // namespace mesk
