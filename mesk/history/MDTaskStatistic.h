// How a task has performed over all its runs.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>
#include <platform/Latch.h>

namespace mesk {

class MDGroup;
class MDUser;

/// Wraps the store's MDTaskStatistic: totals over the runs of a task, and the particulars of the last, fastest,
/// slowest, largest and smallest. Its key is (task ID, suffix). It keeps what it is given: whoever records a run adds
/// to the totals and chooses the runs.
class MESK_API MDTaskStatistic : public MDObject {
 public:
  /// A new record, which the store does not hold before `insert`.
  MDTaskStatistic(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `statistic`; `context` is ignored.
  MDTaskStatistic(ThreadContext& ctx, jobject statistic, jobject context);

  // Store operations. A failure, -300 included, is logged with the code, the SQL code and the low half of the task ID.
  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  // Whose record it is.
  long long getTaskID(ThreadContext& ctx) const;  ///< the task, together with the suffix
  void setTaskID(ThreadContext& ctx, long long value);
  int getSuffix(ThreadContext& ctx) const;
  void setSuffix(ThreadContext& ctx, int value);

  // All its runs.
  SCTimestamp* getFirstExecution(ThreadContext& ctx) const;  ///< a start, as every moment here; null before any run
  void setFirstExecution(ThreadContext& ctx, SCTimestamp* value);
  int getTotalSuccessfulExecutions(ThreadContext& ctx) const;
  void setTotalSuccessfulExecutions(ThreadContext& ctx, int value);
  int getTotalFailedExecutions(ThreadContext& ctx) const;
  void setTotalFailedExecutions(ThreadContext& ctx, int value);
  int getTotalElapsedTime(ThreadContext& ctx) const;  ///< in the unit of the store, as every elapsed time here
  void setTotalElapsedTime(ThreadContext& ctx, int value);
  int getTotalRowCount(ThreadContext& ctx) const;
  void setTotalRowCount(ThreadContext& ctx, int value);
  int getTotalByteCount(ThreadContext& ctx) const;
  void setTotalByteCount(ThreadContext& ctx, int value);

  // The run that started last.
  SCTimestamp* getLastExecution(ThreadContext& ctx) const;
  void setLastExecution(ThreadContext& ctx, SCTimestamp* value);
  int getLastExecutionElapsedTime(ThreadContext& ctx) const;
  void setLastExecutionElapsedTime(ThreadContext& ctx, int value);
  int getLastExecutionRowCount(ThreadContext& ctx) const;
  void setLastExecutionRowCount(ThreadContext& ctx, int value);
  int getLastExecutionByteCount(ThreadContext& ctx) const;
  void setLastExecutionByteCount(ThreadContext& ctx, int value);

  // The run that took the least time.
  SCTimestamp* getFastestExecution(ThreadContext& ctx) const;
  void setFastestExecution(ThreadContext& ctx, SCTimestamp* value);
  int getFastestExecutionElapsedTime(ThreadContext& ctx) const;
  void setFastestExecutionElapsedTime(ThreadContext& ctx, int value);
  int getFastestExecutionRowCount(ThreadContext& ctx) const;
  void setFastestExecutionRowCount(ThreadContext& ctx, int value);
  int getFastestExecutionByteCount(ThreadContext& ctx) const;
  void setFastestExecutionByteCount(ThreadContext& ctx, int value);

  // The run that took the most time.
  SCTimestamp* getSlowestExecution(ThreadContext& ctx) const;
  void setSlowestExecution(ThreadContext& ctx, SCTimestamp* value);
  int getSlowestExecutionElapsedTime(ThreadContext& ctx) const;
  void setSlowestExecutionElapsedTime(ThreadContext& ctx, int value);
  int getSlowestExecutionRowCount(ThreadContext& ctx) const;
  void setSlowestExecutionRowCount(ThreadContext& ctx, int value);
  int getSlowestExecutionByteCount(ThreadContext& ctx) const;
  void setSlowestExecutionByteCount(ThreadContext& ctx, int value);

  // The run that moved the most data.
  SCTimestamp* getLargestExecution(ThreadContext& ctx) const;
  void setLargestExecution(ThreadContext& ctx, SCTimestamp* value);
  int getLargestExecutionElapsedTime(ThreadContext& ctx) const;
  void setLargestExecutionElapsedTime(ThreadContext& ctx, int value);
  int getLargestExecutionRowCount(ThreadContext& ctx) const;
  void setLargestExecutionRowCount(ThreadContext& ctx, int value);
  int getLargestExecutionByteCount(ThreadContext& ctx) const;
  void setLargestExecutionByteCount(ThreadContext& ctx, int value);

  // The run that moved the least data.
  SCTimestamp* getSmallestExecution(ThreadContext& ctx) const;
  void setSmallestExecution(ThreadContext& ctx, SCTimestamp* value);
  int getSmallestExecutionElapsedTime(ThreadContext& ctx) const;
  void setSmallestExecutionElapsedTime(ThreadContext& ctx, int value);
  int getSmallestExecutionRowCount(ThreadContext& ctx) const;
  void setSmallestExecutionRowCount(ThreadContext& ctx, int value);
  int getSmallestExecutionByteCount(ThreadContext& ctx) const;
  void setSmallestExecutionByteCount(ThreadContext& ctx, int value);

  // Rights on this record. Questions answer 1 only when the store says yes, else 0; `rc` and `sqlCode` tell of
  // failures. Changes take 1 to give a right and 0 to take it. A dead user or group gives -300.
  int setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  int setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  MESK_LOCAL int setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode);
  MESK_LOCAL int setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  MESK_LOCAL int setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  MESK_LOCAL int setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode);
  MESK_LOCAL int getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  MESK_LOCAL int getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);
  MESK_LOCAL int getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode);
  MESK_LOCAL int getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode);

  /// One latch for all statistics, for whoever reads one, changes it and writes it back; no operation of this class
  /// takes it. Not recursive. The first use makes it and must come before concurrent ones.
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
