#include <mesk/history/MDTaskHistory.h>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/session/Principal.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogInsert = 0x10080148;
constexpr std::uint32_t kLogUpdate = 0x10080149;
constexpr std::uint32_t kLogDelete = 0x1008014A;

constexpr auto& kListSignature = storeSignature<"", kCollectionType>;
constexpr auto kSnapshotType = metadataType<"MDTaskSnapshot">;

}  // namespace

MDTaskHistory::MDTaskHistory(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskHistory">, context, rc, sqlCode);
}

MDTaskHistory::MDTaskHistory(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDTaskHistory::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "insert", kLogInsert, context, sqlCode);
}

int MDTaskHistory::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "update", kLogUpdate, context, sqlCode);
}

int MDTaskHistory::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "delete", kLogDelete, context, sqlCode);
}

int MDTaskHistory::store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                         int& sqlCode) {
  const int rc = persist(ctx, method, context, sqlCode);
  if (rc != 0) logFailure(logFunction, rc, sqlCode, getTaskID(ctx));
  return rc;
}

long long MDTaskHistory::getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return referenceID(ctx, context, rc, sqlCode);
}

long long MDTaskHistory::getTaskHistoryID(ThreadContext& ctx) const { return getLong(ctx, "getTaskHistoryID"); }
void MDTaskHistory::setTaskHistoryID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskHistoryID", value); }
long long MDTaskHistory::getRootTaskHistoryID(ThreadContext& ctx) const { return getLong(ctx, "getRootTaskHistoryID"); }
void MDTaskHistory::setRootTaskHistoryID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setRootTaskHistoryID", value);
}
long long MDTaskHistory::getTaskID(ThreadContext& ctx) const { return getLong(ctx, "getTaskID"); }
void MDTaskHistory::setTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskID", value); }
int MDTaskHistory::getSuffix(ThreadContext& ctx) const { return getInt(ctx, "getSuffix"); }
void MDTaskHistory::setSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setSuffix", value); }
char* MDTaskHistory::getTaskName(ThreadContext& ctx) const { return getString(ctx, "getTaskName"); }
void MDTaskHistory::setTaskName(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskName", value); }
int MDTaskHistory::getTaskType(ThreadContext& ctx) const { return getInt(ctx, "getTaskType"); }
void MDTaskHistory::setTaskType(ThreadContext& ctx, int value) { setInt(ctx, "setTaskType", value); }
void MDTaskHistory::setTaskCategory(ThreadContext& ctx, const char* value) { setString(ctx, "setTaskCategory", value); }
char* MDTaskHistory::getOwner(ThreadContext& ctx) const { return getString(ctx, "getOwner"); }
void MDTaskHistory::setOwner(ThreadContext& ctx, const char* value) { setString(ctx, "setOwner", value); }
char* MDTaskHistory::getDescription(ThreadContext& ctx) const { return getString(ctx, "getDescription"); }
void MDTaskHistory::setDescription(ThreadContext& ctx, const char* value) { setString(ctx, "setDescription", value); }
char* MDTaskHistory::getUserID(ThreadContext& ctx) const { return getString(ctx, "getUserID"); }
void MDTaskHistory::setUserID(ThreadContext& ctx, const char* value) { setString(ctx, "setUserID", value); }
int MDTaskHistory::getInvocationMethod(ThreadContext& ctx) const { return getInt(ctx, "getInvocationMethod"); }
void MDTaskHistory::setInvocationMethod(ThreadContext& ctx, int value) { setInt(ctx, "setInvocationMethod", value); }
char* MDTaskHistory::getRookJobID(ThreadContext& ctx) const { return getString(ctx, "getRookJobID"); }
void MDTaskHistory::setRookJobID(ThreadContext& ctx, const char* value) { setString(ctx, "setRookJobID", value); }
int MDTaskHistory::getV7JobID(ThreadContext& ctx) const { return getInt(ctx, "getV7JobID"); }
void MDTaskHistory::setV7JobID(ThreadContext& ctx, int value) { setInt(ctx, "setV7JobID", value); }
char* MDTaskHistory::getBrixStepID(ThreadContext& ctx) const { return getString(ctx, "getBrixStepID"); }
void MDTaskHistory::setBrixStepID(ThreadContext& ctx, const char* value) { setString(ctx, "setBrixStepID", value); }
char* MDTaskHistory::getEditionID(ThreadContext& ctx) const { return getString(ctx, "getEditionID"); }
void MDTaskHistory::setEditionID(ThreadContext& ctx, const char* value) { setString(ctx, "setEditionID", value); }
void MDTaskHistory::setExecutionSystemID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionSystemID", value);
}
void MDTaskHistory::setExecutionPartitionID(ThreadContext& ctx, const char* value) {
  setString(ctx, "setExecutionPartitionID", value);
}
void MDTaskHistory::setScriptContentString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setScriptContentString", value);
}

SCTimestamp* MDTaskHistory::getStart(ThreadContext& ctx) const { return getTimestamp(ctx, "getStart"); }
void MDTaskHistory::setStart(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setStart", value); }
SCTimestamp* MDTaskHistory::getEnd(ThreadContext& ctx) const { return getTimestamp(ctx, "getEnd"); }
void MDTaskHistory::setEnd(ThreadContext& ctx, SCTimestamp* value) { setTimestamp(ctx, "setEnd", value); }
int MDTaskHistory::getDuration(ThreadContext& ctx) const { return getInt(ctx, "getDuration"); }
void MDTaskHistory::setDuration(ThreadContext& ctx, int value) { setInt(ctx, "setDuration", value); }
int MDTaskHistory::getRunningStatus(ThreadContext& ctx) const { return getInt(ctx, "getRunningStatus"); }
void MDTaskHistory::setRunningStatus(ThreadContext& ctx, int value) { setInt(ctx, "setRunningStatus", value); }
int MDTaskHistory::getReturnCode(ThreadContext& ctx) const { return getInt(ctx, "getReturnCode"); }
void MDTaskHistory::setReturnCode(ThreadContext& ctx, int value) { setInt(ctx, "setReturnCode", value); }
char* MDTaskHistory::getSummaryReturnCode(ThreadContext& ctx) const { return getString(ctx, "getSummaryReturnCode"); }
void MDTaskHistory::setSummaryReturnCode(ThreadContext& ctx, const char* value) {
  setString(ctx, "setSummaryReturnCode", value);
}
int MDTaskHistory::getRetryCount(ThreadContext& ctx) const { return getInt(ctx, "getRetryCount"); }
void MDTaskHistory::setRetryCount(ThreadContext& ctx, int value) { setInt(ctx, "setRetryCount", value); }
int MDTaskHistory::getRowCount(ThreadContext& ctx) const { return getInt(ctx, "getRowCount"); }
void MDTaskHistory::setRowCount(ThreadContext& ctx, int value) { setInt(ctx, "setRowCount", value); }
int MDTaskHistory::getByteCount(ThreadContext& ctx) const { return getInt(ctx, "getByteCount"); }
void MDTaskHistory::setByteCount(ThreadContext& ctx, int value) { setInt(ctx, "setByteCount", value); }
char* MDTaskHistory::getJournalResult(ThreadContext& ctx) const { return getString(ctx, "getJournalResult"); }
void MDTaskHistory::setJournalResult(ThreadContext& ctx, const char* value) {
  setString(ctx, "setJournalResult", value);
}
Clob* MDTaskHistory::getNotificationResults(ThreadContext& ctx) const { return getClob(ctx, "getNotificationResults"); }
void MDTaskHistory::setNotificationResults(ThreadContext& ctx, Clob* value) {
  setClob(ctx, "setNotificationResults", value);
}
void MDTaskHistory::setNotificationResultsString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setNotificationResultsString", value);
}
void MDTaskHistory::setFollowOnActionResultsString(ThreadContext& ctx, const char* value) {
  setString(ctx, "setFollowOnActionResultsString", value);
}
void MDTaskHistory::setShowResultsPanelClassName(ThreadContext& ctx, const char* value) {
  setString(ctx, "setShowResultsPanelClassName", value);
}

char* MDTaskHistory::getSourceDBName(ThreadContext& ctx) const { return getString(ctx, "getSourceDBName"); }
void MDTaskHistory::setSourceDBName(ThreadContext& ctx, const char* value) { setString(ctx, "setSourceDBName", value); }
char* MDTaskHistory::getSourceDBType(ThreadContext& ctx) const { return getString(ctx, "getSourceDBType"); }
void MDTaskHistory::setSourceDBType(ThreadContext& ctx, const char* value) { setString(ctx, "setSourceDBType", value); }
char* MDTaskHistory::getTargetDBName(ThreadContext& ctx) const { return getString(ctx, "getTargetDBName"); }
void MDTaskHistory::setTargetDBName(ThreadContext& ctx, const char* value) { setString(ctx, "setTargetDBName", value); }
char* MDTaskHistory::getTargetDBType(ThreadContext& ctx) const { return getString(ctx, "getTargetDBType"); }
void MDTaskHistory::setTargetDBType(ThreadContext& ctx, const char* value) { setString(ctx, "setTargetDBType", value); }
char* MDTaskHistory::getTargetWarehouseName(ThreadContext& ctx) const {
  return getString(ctx, "getTargetWarehouseName");
}
void MDTaskHistory::setTargetWarehouseName(ThreadContext& ctx, const char* value) {
  setString(ctx, "setTargetWarehouseName", value);
}

void MDTaskHistory::appendJournalResult(ThreadContext& ctx, const char* text) {
  setString(ctx, "appendJournalResult", text);
}

int MDTaskHistory::getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, user, rc, sqlCode);
}

int MDTaskHistory::getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, group, rc, sqlCode);
}

int MDTaskHistory::getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, user, rc, sqlCode);
}

int MDTaskHistory::getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, group, rc, sqlCode);
}

int MDTaskHistory::getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, user, rc, sqlCode);
}

int MDTaskHistory::getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, group, rc, sqlCode);
}

int MDTaskHistory::setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, user, allowed, sqlCode);
}

int MDTaskHistory::setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, group, allowed, sqlCode);
}

int MDTaskHistory::setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, user, allowed, sqlCode);
}

int MDTaskHistory::setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, group, allowed, sqlCode);
}

int MDTaskHistory::setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, user, allowed, sqlCode);
}

int MDTaskHistory::setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed,
                                        int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, group, allowed, sqlCode);
}

void MDTaskHistory::setBrixInfo(ThreadContext& ctx, jobject context) {
  int sqlCode = 0;
  StoreCall call(ctx, sqlCode);
  auto results = call.invoke<LocalRef<>>(*this, "retrieveTaskResultList", kListSignature, context);
  if (!call.reached()) return;
  // Unsigned, so that a sum beyond the range wraps.
  std::uint32_t bytes = 0;
  std::uint32_t rows = 0;
  if (call.code() == 0 && results) {
    Elements elements(ctx, results.get());
    const int count = elements.canGet() ? elements.count() : 0;
    for (int i = 0; i < count; ++i) {
      const MDTaskResult result(ctx, elements.at(i).get());
      bytes += static_cast<std::uint32_t>(result.getByteCount(ctx));
      rows += static_cast<std::uint32_t>(result.getRowCount(ctx));
    }
  }
  results.reset();
  setByteCount(ctx, static_cast<int>(bytes));
  setRowCount(ctx, static_cast<int>(rows));
}

int MDTaskHistory::retrieveTaskResultList(ThreadContext& ctx, jobject context, MDTaskResult**& list, int& count,
                                          int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveTaskResultList", kListSignature, ListForm::sizeAndGet, kNothingInHome,
                          list, count, sqlCode, context);
}

int MDTaskHistory::addTaskResult(ThreadContext& ctx, jobject context, MDTaskResult& result, int& sqlCode) {
  return callStore(ctx, *this, "addTaskResult", storeSignature<metadataType<"MDTaskResult">, "V">, sqlCode, context,
                   result.object);
}

int MDTaskHistory::addTaskSnapshot(ThreadContext& ctx, jobject context, MDTaskSnapshot& snapshot, int& sqlCode) {
  return callStore(ctx, *this, "addTaskSnapshot", storeSignature<kSnapshotType, "V">, sqlCode, context,
                   snapshot.object);
}

int MDTaskHistory::removeTaskSnapshot(ThreadContext& ctx, jobject context, MDTaskSnapshot& first,
                                      MDTaskSnapshot& second, int& sqlCode) {
  return callStore(ctx, *this, "removeTaskSnapshot", storeSignature<joined<kSnapshotType, kSnapshotType>, "V">, sqlCode,
                   context, first.object, second.object);
}

MDTaskSnapshot* MDTaskHistory::retrieveTaskSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  const LocalRef<> snapshot(ctx.env, retrieveObject(ctx, *this, "retrieveTaskSnapshot",
                                                    storeSignature<"", kSnapshotType>, rc, sqlCode, context));
  return rc == 0 ? newWrapper<MDTaskSnapshot>(ctx, snapshot.get()) : nullptr;
}

OSSLatch* MDTaskHistory::lockAllData = nullptr;

void MDTaskHistory::lockAll() { takeLatch(madeLatch(lockAllData)); }

void MDTaskHistory::unlockAll() { releaseLatch(madeLatch(lockAllData)); }

void MDTaskHistory::freeLock() { deleteLatch(lockAllData); }

}  // namespace mesk
