// The outcome of one part of an execution.
#pragma once

#include <cstdint>

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDGroup;
class MDUser;

/// Wraps the store's MDTaskResult. It belongs to a history record through `MDTaskHistory::addTaskResult`.
class MESK_API MDTaskResult : public MDObject {
 public:
  /// A new result, which the store does not hold before `insert`.
  MDTaskResult(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);
  MDTaskResult(ThreadContext& ctx, jobject obj);

  // Store operations. A failure, -300 included, is logged with the code and the SQL code.
  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  int getPartitionID(ThreadContext& ctx) const;  ///< the part of the execution whose outcome this is
  void setPartitionID(ThreadContext& ctx, int value);
  int getReturnCode(ThreadContext& ctx) const;
  void setReturnCode(ThreadContext& ctx, int value);
  char* getExecutionResultsString(ThreadContext& ctx) const;
  void setExecutionResultsString(ThreadContext& ctx, const char* value);
  SCTimestamp* getStart(ThreadContext& ctx) const;
  void setStart(ThreadContext& ctx, SCTimestamp* value);
  SCTimestamp* getEnd(ThreadContext& ctx) const;  ///< null while there is none
  void setEnd(ThreadContext& ctx, SCTimestamp* value);
  int getDuration(ThreadContext& ctx) const;  ///< in the unit of the store
  void setDuration(ThreadContext& ctx, int value);
  int getRunningStatus(ThreadContext& ctx) const;  ///< a code of the store
  void setRunningStatus(ThreadContext& ctx, int value);
  int getByteCount(ThreadContext& ctx) const;
  void setByteCount(ThreadContext& ctx, int value);
  int getRowCount(ThreadContext& ctx) const;
  void setRowCount(ThreadContext& ctx, int value);

  /// The four at once, in this order.
  MESK_LOCAL void setExecution(ThreadContext& ctx, int runningStatus, SCTimestamp* start, SCTimestamp* end,
                               int duration);

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

 private:
  MESK_LOCAL int store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                       int& sqlCode);
};

}  // namespace mesk
