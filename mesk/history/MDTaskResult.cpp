#include <mesk/history/MDTaskResult.h>

#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/session/Principal.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogInsert = 0x1008014B;
constexpr std::uint32_t kLogUpdate = 0x1008014C;
constexpr std::uint32_t kLogDelete = 0x1008014D;

}  // namespace

MDTaskResult::MDTaskResult(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskResult">, context, rc, sqlCode);
}

MDTaskResult::MDTaskResult(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDTaskResult::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "insert", kLogInsert, context, sqlCode);
}

int MDTaskResult::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "update", kLogUpdate, context, sqlCode);
}

int MDTaskResult::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "delete", kLogDelete, context, sqlCode);
}

int MDTaskResult::store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                        int& sqlCode) {
  const int rc = persist(ctx, method, context, sqlCode);
  if (rc != 0) logFailure(logFunction, rc, sqlCode);
  return rc;
}

int MDTaskResult::getPartitionID(ThreadContext& ctx) const { return getInt(ctx, "getPartitionID"); }
void MDTaskResult::setPartitionID(ThreadContext& ctx, int value) { setInt(ctx, "setPartitionID", value); }
int MDTaskResult::getReturnCode(ThreadContext& ctx) const { return getInt(ctx, "getReturnCode"); }
void MDTaskResult::setReturnCode(ThreadContext& ctx, int value) { setInt(ctx, "setReturnCode", value); }
char* MDTaskResult::getExecutionResultsString(ThreadContext& ctx) const {
  return getString(ctx, "getExecutionResultsString");
}
void MDTaskResult::setExecutionResultsString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionResultsString", value);
}
SCTimestamp* MDTaskResult::getStart(ThreadContext& ctx) const { return getTimestamp(ctx, "getStart"); }
void MDTaskResult::setStart(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setStart", value); }
SCTimestamp* MDTaskResult::getEnd(ThreadContext& ctx) const { return getTimestamp(ctx, "getEnd"); }
void MDTaskResult::setEnd(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setEnd", value); }
int MDTaskResult::getDuration(ThreadContext& ctx) const { return getInt(ctx, "getDuration"); }
void MDTaskResult::setDuration(ThreadContext& ctx, int value) { setInt(ctx, "setDuration", value); }
int MDTaskResult::getRunningStatus(ThreadContext& ctx) const { return getInt(ctx, "getRunningStatus"); }
void MDTaskResult::setRunningStatus(ThreadContext& ctx, int value) { setInt(ctx, "setRunningStatus", value); }
int MDTaskResult::getByteCount(ThreadContext& ctx) const { return getInt(ctx, "getByteCount"); }
void MDTaskResult::setByteCount(ThreadContext& ctx, int value) { setInt(ctx, "setByteCount", value); }
int MDTaskResult::getRowCount(ThreadContext& ctx) const { return getInt(ctx, "getRowCount"); }
void MDTaskResult::setRowCount(ThreadContext& ctx, int value) { setInt(ctx, "setRowCount", value); }

void MDTaskResult::setExecution(ThreadContext& ctx, int runningStatus, SCTimestamp* start, SCTimestamp* end,
                                int duration) {
  setRunningStatus(ctx, runningStatus);
  setStart(ctx, start);
  setEnd(ctx, end);
  setDuration(ctx, duration);
}

int MDTaskResult::getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, user, rc, sqlCode);
}

int MDTaskResult::getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, group, rc, sqlCode);
}

int MDTaskResult::getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, user, rc, sqlCode);
}

int MDTaskResult::getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, group, rc, sqlCode);
}

int MDTaskResult::getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, user, rc, sqlCode);
}

int MDTaskResult::getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, group, rc, sqlCode);
}

int MDTaskResult::setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, user, allowed, sqlCode);
}

int MDTaskResult::setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, group, allowed, sqlCode);
}

int MDTaskResult::setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, user, allowed, sqlCode);
}

int MDTaskResult::setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, group, allowed, sqlCode);
}

int MDTaskResult::setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, user, allowed, sqlCode);
}

int MDTaskResult::setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, group, allowed, sqlCode);
}

}  // namespace mesk
