#include <mesk/tasks/MDTask.h>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/bridge/Trace.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogInsert = 0x10080140;
constexpr std::uint32_t kLogUpdate = 0x10080141;
constexpr std::uint32_t kLogDelete = 0x10080143;
constexpr std::uint32_t kTraceUpdate = 0x1AE80100;
constexpr std::uint32_t kTraceDelete = 0x1AE80101;

}  // namespace

MDTask::MDTask(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTask">, context, rc, sqlCode);
}

MDTask::MDTask(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

int MDTask::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "insert", kLogInsert, context, sqlCode);
}

int MDTask::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  const Traced trace(kTraceUpdate);
  return trace.exit(store(ctx, "update", kLogUpdate, context, sqlCode));
}

int MDTask::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  const Traced trace(kTraceDelete);
  return trace.exit(store(ctx, "delete", kLogDelete, context, sqlCode));
}

int MDTask::store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context, int& sqlCode) {
  const int rc = persist(ctx, method, context, sqlCode);
  if (rc != 0) logFailure(logFunction, rc, sqlCode, getTaskID(ctx));
  return rc;
}

long long MDTask::getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return referenceID(ctx, context, rc, sqlCode);
}

long long MDTask::getTaskID(ThreadContext& ctx) const { return getLong(ctx, "getTaskID"); }
void MDTask::setTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskID", value); }
int MDTask::getSuffix(ThreadContext& ctx) const { return getInt(ctx, "getSuffix"); }
void MDTask::setSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setSuffix", value); }
char* MDTask::getTaskName(ThreadContext& ctx) const { return getString(ctx, "getTaskName"); }
void MDTask::setTaskName(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskName", value); }
char* MDTask::getDescription(ThreadContext& ctx) const { return getString(ctx, "getDescription"); }
void MDTask::setDescription(ThreadContext& ctx, const char* value) { setString(ctx, "setDescription", value); }
int MDTask::getTaskType(ThreadContext& ctx) const { return getInt(ctx, "getTaskType"); }
void MDTask::setTaskType(ThreadContext& ctx, int value) { setInt(ctx, "setTaskType", value); }
char* MDTask::getTaskCategory(ThreadContext& ctx) const { return getString(ctx, "getTaskCategory"); }
void MDTask::setTaskCategory(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskCategory", value); }
char* MDTask::getOwner(ThreadContext& ctx) const { return getString(ctx, "getOwner"); }
void MDTask::setOwner(ThreadContext& ctx, const char* value) { setString(ctx, "setOwner", value); }
char* MDTask::getModifier(ThreadContext& ctx) const { return getString(ctx, "getModifier"); }
void MDTask::setModifier(ThreadContext& ctx, const char* value) { setString(ctx, "setModifier", value); }
SCTimestamp* MDTask::getModified(ThreadContext& ctx) const { return getTimestamp(ctx, "getModified"); }
void MDTask::setModified(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setModified", value); }
void MDTask::setGeneratedBy(ThreadContext& ctx, const char* value) { setString(ctx, "setGeneratedBy", value); }
void MDTask::setGeneratedAt(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setGeneratedAt", value); }

int MDTask::getState(ThreadContext& ctx) const { return getInt(ctx, "getState"); }
void MDTask::setState(ThreadContext& ctx, int value) { setInt(ctx, "setState", value); }
int MDTask::getRunningStatus(ThreadContext& ctx) const { return getInt(ctx, "getRunningStatus"); }
void MDTask::setRunningStatus(ThreadContext& ctx, int value) { setInt(ctx, "setRunningStatus", value); }
int MDTask::getNumberOfExecutions(ThreadContext& ctx) const { return getInt(ctx, "getNumberOfExecutions"); }
void MDTask::setNumberOfExecutions(ThreadContext& ctx, int value) { setInt(ctx, "setNumberOfExecutions", value); }
SCTimestamp* MDTask::getNextStart(ThreadContext& ctx) const { return getTimestamp(ctx, "getNextStart"); }
void MDTask::setNextStart(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setNextStart", value); }
SCTimestamp* MDTask::getCurrentStartDateTime(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getCurrentStartDateTime");
}
void MDTask::setCurrentStartDateTime(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setCurrentStartDateTime", value);
}

SCTimestamp* MDTask::getLastStart(ThreadContext& ctx) const { return getTimestamp(ctx, "getLastStart"); }
void MDTask::setLastStart(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setLastStart", value); }
SCTimestamp* MDTask::getLastEnd(ThreadContext& ctx) const { return getTimestamp(ctx, "getLastEnd"); }
void MDTask::setLastEnd(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setLastEnd", value); }
int MDTask::getLastDuration(ThreadContext& ctx) const { return getInt(ctx, "getLastDuration"); }
void MDTask::setLastDuration(ThreadContext& ctx, int value) { setInt(ctx, "setLastDuration", value); }
int MDTask::getLastReturnCode(ThreadContext& ctx) const { return getInt(ctx, "getLastReturnCode"); }
void MDTask::setLastReturnCode(ThreadContext& ctx, int value) { setInt(ctx, "setLastReturnCode", value); }
int MDTask::getLastSuccess(ThreadContext& ctx) const { return getInt(ctx, "getLastSuccess"); }
void MDTask::setLastSuccess(ThreadContext& ctx, int value) { setInt(ctx, "setLastSuccess", value); }
char* MDTask::getLastExecutionUserID(ThreadContext& ctx) const { return getString(ctx, "getLastExecutionUserID"); }
void MDTask::setLastExecutionUserID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setLastExecutionUserID", value);
}
Clob* MDTask::getLastExecutionResults(ThreadContext& ctx) const { return getClob(ctx, "getLastExecutionResults"); }
void MDTask::setLastExecutionResults(ThreadContext& ctx, Clob* value) {
  setClob(ctx, "setLastExecutionResults", value);
}
void MDTask::setLastExecutionResultsString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setLastExecutionResultsString", value);
}

Clob* MDTask::getScriptContent(ThreadContext& ctx) const { return getClob(ctx, "getScriptContent"); }
void MDTask::setScriptContent(ThreadContext& ctx, Clob* value) { setClob(ctx, "setScriptContent", value); }
char* MDTask::getScriptContentString(ThreadContext& ctx) const { return getString(ctx, "getScriptContentString"); }
void MDTask::setScriptContentString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setScriptContentString", value);
}
char* MDTask::getCommandProcessor(ThreadContext& ctx) const { return getString(ctx, "getCommandProcessor"); }
void MDTask::setCommandProcessor(ThreadContext& ctx, const char* value) {
  setString(ctx, "setCommandProcessor", value);
}
int MDTask::getProcessorType(ThreadContext& ctx) const { return getInt(ctx, "getProcessorType"); }
char* MDTask::getStatementTerminationChar(ThreadContext& ctx) const {
  return getString(ctx, "getStatementTerminationChar");
}
void MDTask::setStatementTerminationChar(ThreadContext& ctx, const char* value) {
  setString(ctx, "setStatementTerminationChar", value);
}
char* MDTask::getWorkingDir(ThreadContext& ctx) const { return getString(ctx, "getWorkingDir"); }
void MDTask::setWorkingDir(ThreadContext& ctx, const char* value) { setString(ctx, "setWorkingDir", value); }
char* MDTask::getFileExtension(ThreadContext& ctx) const { return getString(ctx, "getFileExtension"); }
void MDTask::setFileExtension(ThreadContext& ctx, const char* value) { setString(ctx, "setFileExtension", value); }
char* MDTask::getAdditionalParameters(ThreadContext& ctx) const { return getString(ctx, "getAdditionalParameters"); }
void MDTask::setAdditionalParameters(ThreadContext& ctx, const char* value) {
  setString(ctx, "setAdditionalParameters", value);
}
char* MDTask::getDefaultParameters(ThreadContext& ctx) const { return getString(ctx, "getDefaultParameters"); }
void MDTask::setDefaultParameters(ThreadContext& ctx, const char* value) {
  setString(ctx, "setDefaultParameters", value);
}
Blob* MDTask::getDialogTaskProfile(ThreadContext& ctx) const { return getBlob(ctx, "getDialogTaskProfile"); }
void MDTask::setDialogTaskProfile(ThreadContext& ctx, Blob* value) { setBlob(ctx, "setDialogTaskProfile", value); }
char* MDTask::getBrixStepID(ThreadContext& ctx) const { return getString(ctx, "getBrixStepID"); }
void MDTask::setBrixStepID(ThreadContext& ctx, const char* value) { setString(ctx, "setBrixStepID", value); }
char* MDTask::getClassName(ThreadContext& ctx) const { return getString(ctx, "getClassName"); }
void MDTask::setClassName(ThreadContext& ctx, const char* value) { setString(ctx, "setClassName", value); }
char* MDTask::getShowProgressClassName(ThreadContext& ctx) const { return getString(ctx, "getShowProgressClassName"); }
void MDTask::setShowProgressClassName(ThreadContext& ctx, const char* value) {
  setString(ctx, "setShowProgressClassName", value);
}
char* MDTask::getShowResultClassName(ThreadContext& ctx) const { return getString(ctx, "getShowResultClassName"); }
void MDTask::setShowResultClassName(ThreadContext& ctx, const char* value) {
  setString(ctx, "setShowResultClassName", value);
}

char* MDTask::getUserID(ThreadContext& ctx) const { return getString(ctx, "getUserID"); }
void MDTask::setUserID(ThreadContext& ctx, const char* value) { setString(ctx, "setUserID", value); }
char* MDTask::getPasswordString(ThreadContext& ctx) const { return getString(ctx, "getPasswordString"); }
void MDTask::setPasswordString(ThreadContext& ctx, const char* value) { setString(ctx, "setPasswordString", value); }
Blob* MDTask::getPassword(ThreadContext& ctx) const { return getBlob(ctx, "getPassword"); }
void MDTask::setPassword(ThreadContext& ctx, Blob* value) { setBlob(ctx, "setPassword", value); }
char* MDTask::getSystemID(ThreadContext& ctx) const { return getString(ctx, "getSystemID"); }
void MDTask::setSystemID(ThreadContext& ctx, const char* value) { setString(ctx, "setSystemID", value); }
char* MDTask::getKelvoInstance(ThreadContext& ctx) const { return getString(ctx, "getKelvoInstance"); }
void MDTask::setKelvoInstance(ThreadContext& ctx, const char* value) { setString(ctx, "setKelvoInstance", value); }
char* MDTask::getExecutionSystemID(ThreadContext& ctx) const { return getString(ctx, "getExecutionSystemID"); }
void MDTask::setExecutionSystemID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionSystemID", value);
}
char* MDTask::getExecutionPartitionID(ThreadContext& ctx) const { return getString(ctx, "getExecutionPartitionID"); }
void MDTask::setExecutionPartitionID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionPartitionID", value);
}
char* MDTask::getTargetDBObjects(ThreadContext& ctx) const { return getString(ctx, "getTargetDBObjects"); }
void MDTask::setTargetDBObjects(ThreadContext& ctx, const char* value) { setString(ctx, "setTargetDBObjects", value); }
int MDTask::getPassRunSystem(ThreadContext& ctx) const { return getInt(ctx, "getPassRunSystem"); }
void MDTask::setPassRunSystem(ThreadContext& ctx, int value) { setInt(ctx, "setPassRunSystem", value); }
int MDTask::getPassTargetDBObjects(ThreadContext& ctx) const { return getInt(ctx, "getPassTargetDBObj"); }
void MDTask::setPassTargetDBObjects(ThreadContext& ctx, int value) { setInt(ctx, "setPassTargetDBObj", value); }

int MDTask::getRetryCount(ThreadContext& ctx) const { return getInt(ctx, "getRetryCount"); }
void MDTask::setRetryCount(ThreadContext& ctx, int value) { setInt(ctx, "setRetryCount", value); }
int MDTask::getRetryInterval(ThreadContext& ctx) const { return getInt(ctx, "getRetryInterval"); }
void MDTask::setRetryInterval(ThreadContext& ctx, int value) { setInt(ctx, "setRetryInterval", value); }
int MDTask::getStopAtStepFailure(ThreadContext& ctx) const { return getInt(ctx, "getStopAtStepFailure"); }
void MDTask::setStopAtStepFailure(ThreadContext& ctx, int value) { setInt(ctx, "setStopAtStepFailure", value); }
int MDTask::getScheduleEnable(ThreadContext& ctx) const { return getInt(ctx, "getScheduleEnable"); }
void MDTask::setScheduleEnable(ThreadContext& ctx, int value) { setInt(ctx, "setScheduleEnable", value); }
int MDTask::getNotificationEnable(ThreadContext& ctx) const { return getInt(ctx, "getNotificationEnable"); }
void MDTask::setNotificationEnable(ThreadContext& ctx, int value) { setInt(ctx, "setNotificationEnable", value); }
int MDTask::getFollowOnTaskEnable(ThreadContext& ctx) const { return getInt(ctx, "getFollowOnTaskEnable"); }
void MDTask::setFollowOnTaskEnable(ThreadContext& ctx, int value) { setInt(ctx, "setFollowOnTaskEnable", value); }

jbyteArray MDTask::getPassword(ThreadContext& ctx, jobject context) const {
  return callUnreported<LocalRef<jbyteArray>>(ctx, *this, "getPassword", storeSignature<"", "[B">, context).release();
}

void MDTask::setPasswordByteArr(ThreadContext& ctx, jbyteArray bytes) {
  callMethod<void>(ctx, *this, "setPasswordByteArr", "([B)V", bytes);
}

char* MDTask::getFormattedTaskCategoriesName(ThreadContext& ctx, jobject context) const {
  constexpr auto& kSignature = joined<"(", kContextType, ")", kStringType>;
  auto name = callMethod<LocalRef<jstring>>(ctx, *this, "getFormattedTaskCategoriesName", kSignature, context);
  return jStringToString(ctx, name.release());
}

void MDTask::finalize(ThreadContext& ctx) { callMethod<void>(ctx, *this, "finalize", "()V"); }

void MDTask::incrNumberOfExecutions(ThreadContext& ctx) {
  const int count = getNumberOfExecutions(ctx);
  setNumberOfExecutions(ctx, (count > 0 ? count : 0) + 1);
}

void MDTask::decrNumberOfExecutions(ThreadContext& ctx) {
  const int count = getNumberOfExecutions(ctx);
  setNumberOfExecutions(ctx, count > 0 ? count - 1 : 0);
}

OSSLatch* MDTask::lockAllData = nullptr;

void MDTask::lockAll(char) { takeLatch(madeLatch(lockAllData)); }

void MDTask::unlockAll(char) { releaseLatch(madeLatch(lockAllData)); }

void MDTask::freeLock() { deleteLatch(lockAllData); }

}  // namespace mesk
