#include <mesk/queue/MDTaskExec.h>

#include <memory>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/session/Principal.h>
#include <mesk/values/Blob.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogInsert = 0x10080144;
constexpr std::uint32_t kLogUpdate = 0x10080145;
constexpr std::uint32_t kLogDelete = 0x10080146;

}  // namespace

OSSLatch* MDTaskExec::lockAllData = nullptr;

MDTaskExec::MDTaskExec(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskExec">, context, rc, sqlCode);
  if (rc != 0) return;
  setIsRealStartTime(ctx, 0);
  setNeedReschedule(ctx, 1);
  setStartedByRunNow(ctx, 0);
  setTaskHistoryID(ctx, -1);
}

MDTaskExec::MDTaskExec(ThreadContext& ctx, jobject javaObject, jobject /*context*/) : MDObject(ctx, javaObject) {}

int MDTaskExec::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return logged(ctx, kLogInsert, persist(ctx, "insert", context, sqlCode), sqlCode);
}

int MDTaskExec::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return logged(ctx, kLogUpdate, persist(ctx, "update", context, sqlCode), sqlCode);
}

int MDTaskExec::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return logged(ctx, kLogDelete, persist(ctx, "delete", context, sqlCode), sqlCode);
}

int MDTaskExec::logged(ThreadContext& ctx, std::uint32_t function, int code, const int& sqlCode) const {
  if (code == 0) return 0;
  const long long taskID = getTaskID(ctx);
  const long long taskExecID = getTaskExecID(ctx);
  logFailure(function, code, sqlCode, taskID, taskExecID);
  return code;
}

long long MDTaskExec::getReferenceID(ThreadContext& ctx, jobject context) {
  int rc = 0;
  int sqlCode = 0;
  return referenceID(ctx, context, rc, sqlCode);
}

void MDTaskExec::copy(ThreadContext& ctx, MDTaskExec* source, jobject context) {
  if (source == nullptr || source->object == nullptr || object == nullptr) return;
  const MDTaskExec& from = *source;
  const auto copyTime = [&](auto get, auto set) {
    if (const std::unique_ptr<SCTimestamp> time((from.*get)(ctx)); time) (this->*set)(ctx, time.get());
  };
  const auto copyText = [&](auto get, auto set) {
    if (const std::unique_ptr<char> text((from.*get)(ctx)); text) (this->*set)(ctx, text.get());
  };
  setTaskExecID(ctx, from.getTaskExecID(ctx));
  setTaskID(ctx, from.getTaskID(ctx));
  setSuffix(ctx, from.getSuffix(ctx));
  setV7JobID(ctx, from.getV7JobID(ctx));
  setSharedNamedScheduleID(ctx, from.getSharedNamedScheduleID(ctx));
  setScheduleEventID(ctx, from.getScheduleEventID(ctx));
  setStartedByRunNow(ctx, from.getStartedByRunNow(ctx));
  copyTime(&MDTaskExec::getNextStartDateTime, &MDTaskExec::setNextStartDateTime);
  copyTime(&MDTaskExec::getStartTime, &MDTaskExec::setStartTime);
  copyText(&MDTaskExec::getBrixStepID, &MDTaskExec::setBrixStepID);
  copyText(&MDTaskExec::getStepRC, &MDTaskExec::setStepRC);
  copyText(&MDTaskExec::getPartitionNumber, &MDTaskExec::setPartitionNumber);
  setRookQPosition(ctx, from.getRookQPosition(ctx));
  setStatus(ctx, from.getStatus(ctx));
  copyText(&MDTaskExec::getExecutionSystem, &MDTaskExec::setExecutionSystem);
  copyText(&MDTaskExec::getRookJobID, &MDTaskExec::setRookJobID);
  copyText(&MDTaskExec::getSummaryReturnCode, &MDTaskExec::setSummaryReturnCode);
  copyText(&MDTaskExec::getUserID, &MDTaskExec::setUserID);
  const LocalRef<jbyteArray> password(ctx.env, from.getPassword(ctx, context));
  setPasswordByteArr(ctx, password.get());
}

int MDTaskExec::isQueued(ThreadContext& ctx) const {
  const int status = getStatus(ctx);
  return status == 0 || status == 1 ? 1 : 0;
}

int MDTaskExec::isRunNowTask(ThreadContext& ctx) const { return getStartedByRunNow(ctx) == 1 ? 1 : 0; }

int MDTaskExec::getInvocationMethod(ThreadContext& ctx) const {
  if (isRunNowTask(ctx) != 0) return 0;
  const std::unique_ptr<SCTimestamp> scheduled(getOriginalScheduleTime(ctx));
  return scheduled ? 1 : 2;
}

void MDTaskExec::lock() { takeLatch(&latch_); }

void MDTaskExec::unlock() { releaseLatch(&latch_); }

void MDTaskExec::lockAll() { takeLatch(madeLatch(lockAllData)); }

void MDTaskExec::unlockAll() { releaseLatch(madeLatch(lockAllData)); }

void MDTaskExec::freeLock() { deleteLatch(lockAllData); }

// Keys.
long long MDTaskExec::getTaskExecID(ThreadContext& ctx) const { return getLong(ctx, "getTaskExecID"); }
void MDTaskExec::setTaskExecID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskExecID", value); }
long long MDTaskExec::getTaskID(ThreadContext& ctx) const { return getLong(ctx, "getTaskID"); }
void MDTaskExec::setTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskID", value); }
int MDTaskExec::getSuffix(ThreadContext& ctx) const { return getInt(ctx, "getSuffix"); }
void MDTaskExec::setSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setSuffix", value); }
long long MDTaskExec::getTaskHistoryID(ThreadContext& ctx) const { return getLong(ctx, "getTaskHistoryID"); }
void MDTaskExec::setTaskHistoryID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskHistoryID", value); }
long long MDTaskExec::getSharedNamedScheduleID(ThreadContext& ctx) const {
  return getLong(ctx, "getSharedNamedScheduleID");
}
void MDTaskExec::setSharedNamedScheduleID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setSharedNamedScheduleID", value);
}
long long MDTaskExec::getScheduleEventID(ThreadContext& ctx) const { return getLong(ctx, "getScheduleEventID"); }
void MDTaskExec::setScheduleEventID(ThreadContext& ctx, long long value) { setLong(ctx, "setScheduleEventID", value); }
long long MDTaskExec::getParentGroupingTaskExecID(ThreadContext& ctx) const {
  return getLong(ctx, "getParentGroupingTaskExecID");
}
void MDTaskExec::setParentGroupingTaskExecID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setParentGroupingTaskExecID", value);
}

// Times.
SCTimestamp* MDTaskExec::getNextStartDateTime(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getNextStartDateTime");
}
void MDTaskExec::setNextStartDateTime(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setNextStartDateTime", value);
}
SCTimestamp* MDTaskExec::getStartTime(ThreadContext& ctx) const { return getTimestamp(ctx, "getStartTime"); }
void MDTaskExec::setStartTime(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setStartTime", value); }
SCTimestamp* MDTaskExec::getOriginalScheduleTime(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getOriginalScheduleTime");
}
void MDTaskExec::setOriginalScheduleTime(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setOriginalScheduleTime", value);
}
int MDTaskExec::getIsRealStartTime(ThreadContext& ctx) const { return getInt(ctx, "getIsRealStartTime"); }
void MDTaskExec::setIsRealStartTime(ThreadContext& ctx, int value) { setInt(ctx, "setIsRealStartTime", value); }
int MDTaskExec::getNeedReschedule(ThreadContext& ctx) const { return getInt(ctx, "getNeedReschedule"); }
void MDTaskExec::setNeedReschedule(ThreadContext& ctx, int value) { setInt(ctx, "setNeedReschedule", value); }

// The run.
int MDTaskExec::getStatus(ThreadContext& ctx) const { return getInt(ctx, "getStatus"); }
void MDTaskExec::setStatus(ThreadContext& ctx, int value) { setInt(ctx, "setStatus", value); }
char* MDTaskExec::getBrixStepID(ThreadContext& ctx) const { return getString(ctx, "getBrixStepID"); }
void MDTaskExec::setBrixStepID(ThreadContext& ctx, const char* value) { setString(ctx, "setBrixStepID", value); }
char* MDTaskExec::getStepRC(ThreadContext& ctx) const { return getString(ctx, "getStepRC"); }
void MDTaskExec::setStepRC(ThreadContext& ctx, const char* value) { setString(ctx, "setStepRC", value); }
char* MDTaskExec::getPartitionNumber(ThreadContext& ctx) const { return getString(ctx, "getPartitionNumber"); }
void MDTaskExec::setPartitionNumber(ThreadContext& ctx, const char* value) {
  setString(ctx, "setPartitionNumber", value);
}
int MDTaskExec::getRookQPosition(ThreadContext& ctx) const { return getInt(ctx, "getRookQPosition"); }
void MDTaskExec::setRookQPosition(ThreadContext& ctx, int value) { setInt(ctx, "setRookQPosition", value); }
char* MDTaskExec::getRookJobID(ThreadContext& ctx) const { return getString(ctx, "getRookJobID"); }
void MDTaskExec::setRookJobID(ThreadContext& ctx, const char* value) { setString(ctx, "setRookJobID", value); }
int MDTaskExec::getV7JobID(ThreadContext& ctx) const { return getInt(ctx, "getV7JobID"); }
void MDTaskExec::setV7JobID(ThreadContext& ctx, int value) { setInt(ctx, "setV7JobID", value); }
char* MDTaskExec::getExecutionSystem(ThreadContext& ctx) const { return getString(ctx, "getExecutionSystem"); }
void MDTaskExec::setExecutionSystem(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionSystem", value);
}
void MDTaskExec::setExecutionPartitionID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionPartitionID", value);
}
void MDTaskExec::setExecutionSystemID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionSystemID", value);
}
char* MDTaskExec::getSummaryReturnCode(ThreadContext& ctx) const { return getString(ctx, "getSummaryReturnCode"); }
void MDTaskExec::setSummaryReturnCode(ThreadContext& ctx, const char* value) {
  setString(ctx, "SummaryReturnCode", value);
}

// Run-now options.
int MDTaskExec::getStartedByRunNow(ThreadContext& ctx) const { return getInt(ctx, "getStartedByRunNow"); }
void MDTaskExec::setStartedByRunNow(ThreadContext& ctx, int value) { setInt(ctx, "setStartedByRunNow", value); }
int MDTaskExec::getUseNotification(ThreadContext& ctx) const { return getInt(ctx, "getUseNotification"); }
void MDTaskExec::setUseNotification(ThreadContext& ctx, int value) { setInt(ctx, "setUseNotification", value); }
int MDTaskExec::getUseTaskActions(ThreadContext& ctx) const { return getInt(ctx, "getUseTaskActions"); }
void MDTaskExec::setUseTaskActions(ThreadContext& ctx, int value) { setInt(ctx, "setUseTaskActions", value); }
int MDTaskExec::getAcceptDefaults(ThreadContext& ctx) const { return getInt(ctx, "getAcceptDefaults"); }
void MDTaskExec::setAcceptDefaults(ThreadContext& ctx, int value) { setInt(ctx, "setAcceptDefaults", value); }
int MDTaskExec::getPassRunSystem(ThreadContext& ctx) const { return getInt(ctx, "getPassRunSystem"); }
void MDTaskExec::setPassRunSystem(ThreadContext& ctx, int value) { setInt(ctx, "setPassRunSystem", value); }
int MDTaskExec::getPassTargetDBObjects(ThreadContext& ctx) const { return getInt(ctx, "getPassTargetDBObjects"); }
void MDTaskExec::setPassTargetDBObjects(ThreadContext& ctx, int value) { setInt(ctx, "setPassTargetDBObjects", value); }
char* MDTaskExec::getAdditionalParameters(ThreadContext& ctx) const {
  return getString(ctx, "getAdditionalParameters");
}
void MDTaskExec::setAdditionalParameters(ThreadContext& ctx, const char* value) {
  setString(ctx, "setAdditionalParameters", value);
}
int MDTaskExec::getRowLimit(ThreadContext& ctx) const { return getInt(ctx, "getRowLimit"); }
void MDTaskExec::setRowLimit(ThreadContext& ctx, int value) { setInt(ctx, "setRowLimit", value); }

// The user.
char* MDTaskExec::getUserID(ThreadContext& ctx) const { return getString(ctx, "getUserID"); }
void MDTaskExec::setUserID(ThreadContext& ctx, const char* value) { setString(ctx, "setUserID", value); }
char* MDTaskExec::getPasswordString(ThreadContext& ctx) const { return getString(ctx, "getPasswordString"); }
void MDTaskExec::setPasswordString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setPasswordString", value);
}
Blob* MDTaskExec::getPassword(ThreadContext& ctx) const { return getBlob(ctx, "getPassword"); }
void MDTaskExec::setPassword(ThreadContext& ctx, Blob* value) { setBlob(ctx, "setPassword", value); }

jbyteArray MDTaskExec::getPassword(ThreadContext& ctx, jobject context) const {
  return callUnreported<LocalRef<jbyteArray>>(ctx, *this, "getPassword", storeSignature<"", "[B">, context).release();
}

void MDTaskExec::setPasswordByteArr(ThreadContext& ctx, jbyteArray value) {
  callMethod<void>(ctx, *this, "setPasswordByteArr", "([B)V", value);
}

// Rights.

int MDTaskExec::getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, user, rc, sqlCode);
}

int MDTaskExec::getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, group, rc, sqlCode);
}

int MDTaskExec::getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, user, rc, sqlCode);
}

int MDTaskExec::getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, group, rc, sqlCode);
}

int MDTaskExec::getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, user, rc, sqlCode);
}

int MDTaskExec::getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, group, rc, sqlCode);
}

int MDTaskExec::setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, user, allowed, sqlCode);
}

int MDTaskExec::setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, group, allowed, sqlCode);
}

int MDTaskExec::setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, user, allowed, sqlCode);
}

int MDTaskExec::setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, group, allowed, sqlCode);
}

int MDTaskExec::setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, user, allowed, sqlCode);
}

int MDTaskExec::setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, group, allowed, sqlCode);
}

}  // namespace mesk
