// A task as it stood when it ran.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps the store's MDTaskSnapshot. Its key is (task ID, suffix).
class MESK_API MDTaskSnapshot : public MDObject {
 public:
  MESK_LOCAL MDTaskSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `snapshot`; `context` is ignored.
  MDTaskSnapshot(ThreadContext& ctx, jobject snapshot, jobject context);

  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  // The task as it stood.
  long long getTaskID(ThreadContext& ctx) const;  ///< the task, together with the suffix
  void setTaskID(ThreadContext& ctx, long long value);
  char* getTaskName(ThreadContext& ctx) const;
  void setTaskName(ThreadContext& ctx, const char* value);
  int getSuffix(ThreadContext& ctx) const;
  void setSuffix(ThreadContext& ctx, int value);
  char* getSystemID(ThreadContext& ctx) const;
  void setSystemID(ThreadContext& ctx, const char* value);
  char* getExecutionSystemID(ThreadContext& ctx) const;
  void setExecutionSystemID(ThreadContext& ctx, const char* value);
  char* getExecutionPartitionID(ThreadContext& ctx) const;
  void setExecutionPartitionID(ThreadContext& ctx, const char* value);
  char* getTaskUserID(ThreadContext& ctx) const;
  void setTaskUserID(ThreadContext& ctx, const char* value);
  char* getTaskCategory(ThreadContext& ctx) const;
  void setTaskCategory(ThreadContext& ctx, const char* value);
  char* getOwner(ThreadContext& ctx) const;
  void setOwner(ThreadContext& ctx, const char* value);
  int getTaskType(ThreadContext& ctx) const;  ///< a code of the store, as every integer without a word on it
  void setTaskType(ThreadContext& ctx, int value);
  Clob* getScriptContent(ThreadContext& ctx) const;
  void setScriptContent(ThreadContext& ctx, Clob* value);
  char* getTargetDBObjects(ThreadContext& ctx) const;
  void setTargetDBObjects(ThreadContext& ctx, const char* value);
  SCTimestamp* getModified(ThreadContext& ctx) const;  ///< the moment of the task's last change
  void setModified(ThreadContext& ctx, SCTimestamp* value);
  int getScheduleEnable(ThreadContext& ctx) const;
  void setScheduleEnable(ThreadContext& ctx, int value);
  int getNotificationEnable(ThreadContext& ctx) const;
  void setNotificationEnable(ThreadContext& ctx, int value);
  int getFollowOnTaskEnable(ThreadContext& ctx) const;
  void setFollowOnTaskEnable(ThreadContext& ctx, int value);

  // The run that it was taken for. The texts of identifiers and names are the store's own; nothing here parses them.
  char* getExecutionUserID(ThreadContext& ctx) const;
  void setExecutionUserID(ThreadContext& ctx, const char* value);
  char* getParameters(ThreadContext& ctx) const;
  void setParameters(ThreadContext& ctx, const char* value);
  char* getScheduleIDs(ThreadContext& ctx) const;
  void setScheduleIDs(ThreadContext& ctx, const char* value);
  char* getNotificationIDs(ThreadContext& ctx) const;
  void setNotificationIDs(ThreadContext& ctx, const char* value);
  char* getFollowOnTaskIDs(ThreadContext& ctx) const;
  void setFollowOnTaskIDs(ThreadContext& ctx, const char* value);
  char* getContactNames(ThreadContext& ctx) const;
  void setContactNames(ThreadContext& ctx, const char* value);
  int getInvocationType(ThreadContext& ctx) const;
  void setInvocationType(ThreadContext& ctx, int value);
  char* getHighestReturnCode(ThreadContext& ctx) const;  ///< a text, not a number
  void setHighestReturnCode(ThreadContext& ctx, const char* value);
  int getLatestSnapshot(ThreadContext& ctx) const;  ///< a flag
  void setLatestSnapshot(ThreadContext& ctx, int value);
};

}  // namespace mesk
