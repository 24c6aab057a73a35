#include <mesk/history/MDTaskSnapshot.h>

#include <mesk/bridge/StoreCall.h>

namespace mesk {

MDTaskSnapshot::MDTaskSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskSnapshot">, context, rc, sqlCode);
}

MDTaskSnapshot::MDTaskSnapshot(ThreadContext& ctx, jobject snapshot, jobject) : MDObject(ctx, snapshot) {}

int MDTaskSnapshot::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "insert", context, sqlCode);
}

int MDTaskSnapshot::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "update", context, sqlCode);
}

int MDTaskSnapshot::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "delete", context, sqlCode);
}

long long MDTaskSnapshot::getTaskID(ThreadContext& ctx) const { return getLong(ctx, "getTaskID"); }
void MDTaskSnapshot::setTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskID", value); }
char* MDTaskSnapshot::getTaskName(ThreadContext& ctx) const { return getString(ctx, "getTaskName"); }
void MDTaskSnapshot::setTaskName(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskName", value); }
int MDTaskSnapshot::getSuffix(ThreadContext& ctx) const { return getInt(ctx, "getSuffix"); }
void MDTaskSnapshot::setSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setSuffix", value); }
char* MDTaskSnapshot::getSystemID(ThreadContext& ctx) const { return getString(ctx, "getSystemID"); }
void MDTaskSnapshot::setSystemID(ThreadContext& ctx, const char* value) { setString(ctx, "setSystemID", value); }
char* MDTaskSnapshot::getExecutionSystemID(ThreadContext& ctx) const { return getString(ctx, "getExecutionSystemID"); }
void MDTaskSnapshot::setExecutionSystemID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionSystemID", value);
}
char* MDTaskSnapshot::getExecutionPartitionID(ThreadContext& ctx) const {
  return getString(ctx, "getExecutionPartitionID");
}
void MDTaskSnapshot::setExecutionPartitionID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionPartitionID", value);
}
char* MDTaskSnapshot::getTaskUserID(ThreadContext& ctx) const { return getString(ctx, "getTaskUserID"); }
void MDTaskSnapshot::setTaskUserID(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskUserID", value); }
char* MDTaskSnapshot::getTaskCategory(ThreadContext& ctx) const { return getString(ctx, "getTaskCategory"); }
void MDTaskSnapshot::setTaskCategory(ThreadContext& ctx, const char* value) {
  setString(ctx, "setTaskCategory", value);
}
char* MDTaskSnapshot::getOwner(ThreadContext& ctx) const { return getString(ctx, "getOwner"); }
void MDTaskSnapshot::setOwner(ThreadContext& ctx, const char* value) { setString(ctx, "setOwner", value); }
int MDTaskSnapshot::getTaskType(ThreadContext& ctx) const { return getInt(ctx, "getTaskType"); }
void MDTaskSnapshot::setTaskType(ThreadContext& ctx, int value) { setInt(ctx, "setTaskType", value); }
Clob* MDTaskSnapshot::getScriptContent(ThreadContext& ctx) const { return getClob(ctx, "getScriptContent"); }
void MDTaskSnapshot::setScriptContent(ThreadContext& ctx, Clob* value) { setClob(ctx, "setScriptContent", value); }
char* MDTaskSnapshot::getTargetDBObjects(ThreadContext& ctx) const { return getString(ctx, "getTargetDBObjects"); }
void MDTaskSnapshot::setTargetDBObjects(ThreadContext& ctx, const char* value) {
  setString(ctx, "setTargetDBObjects", value);
}
SCTimestamp* MDTaskSnapshot::getModified(ThreadContext& ctx) const { return getTimestamp(ctx, "getModified"); }
void MDTaskSnapshot::setModified(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setModified", value); }
int MDTaskSnapshot::getScheduleEnable(ThreadContext& ctx) const { return getInt(ctx, "getScheduleEnable"); }
void MDTaskSnapshot::setScheduleEnable(ThreadContext& ctx, int value) { setInt(ctx, "setScheduleEnable", value); }
int MDTaskSnapshot::getNotificationEnable(ThreadContext& ctx) const { return getInt(ctx, "getNotificationEnable"); }
void MDTaskSnapshot::setNotificationEnable(ThreadContext& ctx, int value) {
  setInt(ctx, "setNotificationEnable", value);
}
int MDTaskSnapshot::getFollowOnTaskEnable(ThreadContext& ctx) const { return getInt(ctx, "getFollowOnTaskEnable"); }
void MDTaskSnapshot::setFollowOnTaskEnable(ThreadContext& ctx, int value) {
  setInt(ctx, "setFollowOnTaskEnable", value);
}

char* MDTaskSnapshot::getExecutionUserID(ThreadContext& ctx) const { return getString(ctx, "getExecutionUserID"); }
void MDTaskSnapshot::setExecutionUserID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionUserID", value);
}
char* MDTaskSnapshot::getParameters(ThreadContext& ctx) const { return getString(ctx, "getParameters"); }
void MDTaskSnapshot::setParameters(ThreadContext& ctx, const char* value) { setString(ctx, "setParameters", value); }
char* MDTaskSnapshot::getScheduleIDs(ThreadContext& ctx) const { return getString(ctx, "getScheduleIDs"); }
void MDTaskSnapshot::setScheduleIDs(ThreadContext& ctx, const char* value) { setString(ctx, "setScheduleIDs", value); }
char* MDTaskSnapshot::getNotificationIDs(ThreadContext& ctx) const { return getString(ctx, "getNotificationIDs"); }
void MDTaskSnapshot::setNotificationIDs(ThreadContext& ctx, const char* value) {
  setString(ctx, "setNotificationIDs", value);
}
char* MDTaskSnapshot::getFollowOnTaskIDs(ThreadContext& ctx) const { return getString(ctx, "getFollowOnTaskIDs"); }
void MDTaskSnapshot::setFollowOnTaskIDs(ThreadContext& ctx, const char* value) {
  setString(ctx, "setFollowOnTaskIDs", value);
}
char* MDTaskSnapshot::getContactNames(ThreadContext& ctx) const { return getString(ctx, "getContactNames"); }
void MDTaskSnapshot::setContactNames(ThreadContext& ctx, const char* value) {
  setString(ctx, "setContactNames", value);
}
int MDTaskSnapshot::getInvocationType(ThreadContext& ctx) const { return getInt(ctx, "getInvocationType"); }
void MDTaskSnapshot::setInvocationType(ThreadContext& ctx, int value) { setInt(ctx, "setInvocationType", value); }
char* MDTaskSnapshot::getHighestReturnCode(ThreadContext& ctx) const { return getString(ctx, "getHighestReturnCode"); }
void MDTaskSnapshot::setHighestReturnCode(ThreadContext& ctx, const char* value) {
  setString(ctx, "setHighestReturnCode", value);
}
int MDTaskSnapshot::getLatestSnapshot(ThreadContext& ctx) const { return getInt(ctx, "getLatestSnapshot"); }
void MDTaskSnapshot::setLatestSnapshot(ThreadContext& ctx, int value) { setInt(ctx, "setLatestSnapshot", value); }

}  // namespace mesk
