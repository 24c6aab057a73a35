#include <mesk/history/MDTaskStatistic.h>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/session/Principal.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogInsert = 0x1008014F;
constexpr std::uint32_t kLogUpdate = 0x10080150;
constexpr std::uint32_t kLogDelete = 0x10080152;

}  // namespace

OSSLatch* MDTaskStatistic::lockAllData = nullptr;

MDTaskStatistic::MDTaskStatistic(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskStatistic">, context, rc, sqlCode);
}

MDTaskStatistic::MDTaskStatistic(ThreadContext& ctx, jobject statistic, jobject) : MDObject(ctx, statistic) {}

int MDTaskStatistic::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "insert", kLogInsert, context, sqlCode);
}

int MDTaskStatistic::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "update", kLogUpdate, context, sqlCode);
}

int MDTaskStatistic::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return store(ctx, "delete", kLogDelete, context, sqlCode);
}

int MDTaskStatistic::store(ThreadContext& ctx, const char* method, std::uint32_t logFunction, jobject context,
                           int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  call.invoke<void>(*this, method, storeSignature<"", "V">, context);
  const int rc = call.finish();
  if (rc != 0) logFailure(logFunction, rc, sqlCode, getTaskID(ctx));
  return rc;
}

long long MDTaskStatistic::getTaskID(ThreadContext& ctx) const { return getLong(ctx, "getTaskID"); }
void MDTaskStatistic::setTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setTaskID", value); }
int MDTaskStatistic::getSuffix(ThreadContext& ctx) const { return getInt(ctx, "getSuffix"); }
void MDTaskStatistic::setSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setSuffix", value); }
SCTimestamp* MDTaskStatistic::getFirstExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getFirstExecution");
}
void MDTaskStatistic::setFirstExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setFirstExecution", value);
}
int MDTaskStatistic::getTotalSuccessfulExecutions(ThreadContext& ctx) const {
  return getInt(ctx, "getTotalSuccessfulExecutions");
}
void MDTaskStatistic::setTotalSuccessfulExecutions(ThreadContext& ctx, int value) {
  setInt(ctx, "setTotalSuccessfulExecutions", value);
}
int MDTaskStatistic::getTotalFailedExecutions(ThreadContext& ctx) const {
  return getInt(ctx, "getTotalFailedExecutions");
}
void MDTaskStatistic::setTotalFailedExecutions(ThreadContext& ctx, int value) {
  setInt(ctx, "setTotalFailedExecutions", value);
}
int MDTaskStatistic::getTotalElapsedTime(ThreadContext& ctx) const { return getInt(ctx, "getTotalElapsedTime"); }
void MDTaskStatistic::setTotalElapsedTime(ThreadContext& ctx, int value) { setInt(ctx, "setTotalElapsedTime", value); }
int MDTaskStatistic::getTotalRowCount(ThreadContext& ctx) const { return getInt(ctx, "getTotalRowCount"); }
void MDTaskStatistic::setTotalRowCount(ThreadContext& ctx, int value) { setInt(ctx, "setTotalRowCount", value); }
int MDTaskStatistic::getTotalByteCount(ThreadContext& ctx) const { return getInt(ctx, "getTotalByteCount"); }
void MDTaskStatistic::setTotalByteCount(ThreadContext& ctx, int value) { setInt(ctx, "setTotalByteCount", value); }
SCTimestamp* MDTaskStatistic::getLastExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getLastExecution");
}
void MDTaskStatistic::setLastExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setLastExecution", value);
}
int MDTaskStatistic::getLastExecutionElapsedTime(ThreadContext& ctx) const {
  return getInt(ctx, "getLastExecutionElapsedTime");
}
void MDTaskStatistic::setLastExecutionElapsedTime(ThreadContext& ctx, int value) {
  setInt(ctx, "setLastExecutionElapsedTime", value);
}
int MDTaskStatistic::getLastExecutionRowCount(ThreadContext& ctx) const {
  return getInt(ctx, "getLastExecutionRowCount");
}
void MDTaskStatistic::setLastExecutionRowCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setLastExecutionRowCount", value);
}
int MDTaskStatistic::getLastExecutionByteCount(ThreadContext& ctx) const {
  return getInt(ctx, "getLastExecutionByteCount");
}
void MDTaskStatistic::setLastExecutionByteCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setLastExecutionByteCount", value);
}
SCTimestamp* MDTaskStatistic::getFastestExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getFastestExecution");
}
void MDTaskStatistic::setFastestExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setFastestExecution", value);
}
int MDTaskStatistic::getFastestExecutionElapsedTime(ThreadContext& ctx) const {
  return getInt(ctx, "getFastestExecutionElapsedTime");
}
void MDTaskStatistic::setFastestExecutionElapsedTime(ThreadContext& ctx, int value) {
  setInt(ctx, "setFastestExecutionElapsedTime", value);
}
int MDTaskStatistic::getFastestExecutionRowCount(ThreadContext& ctx) const {
  return getInt(ctx, "getFastestExecutionRowCount");
}
void MDTaskStatistic::setFastestExecutionRowCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setFastestExecutionRowCount", value);
}
int MDTaskStatistic::getFastestExecutionByteCount(ThreadContext& ctx) const {
  return getInt(ctx, "getFastestExecutionByteCount");
}
void MDTaskStatistic::setFastestExecutionByteCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setFastestExecutionByteCount", value);
}
SCTimestamp* MDTaskStatistic::getSlowestExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getSlowestExecution");
}
void MDTaskStatistic::setSlowestExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setSlowestExecution", value);
}
int MDTaskStatistic::getSlowestExecutionElapsedTime(ThreadContext& ctx) const {
  return getInt(ctx, "getSlowestExecutionElapsedTime");
}
void MDTaskStatistic::setSlowestExecutionElapsedTime(ThreadContext& ctx, int value) {
  setInt(ctx, "setSlowestExecutionElapsedTime", value);
}
int MDTaskStatistic::getSlowestExecutionRowCount(ThreadContext& ctx) const {
  return getInt(ctx, "getSlowestExecutionRowCount");
}
void MDTaskStatistic::setSlowestExecutionRowCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setSlowestExecutionRowCount", value);
}
int MDTaskStatistic::getSlowestExecutionByteCount(ThreadContext& ctx) const {
  return getInt(ctx, "getSlowestExecutionByteCount");
}
void MDTaskStatistic::setSlowestExecutionByteCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setSlowestExecutionByteCount", value);
}
SCTimestamp* MDTaskStatistic::getLargestExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getLargestExecution");
}
void MDTaskStatistic::setLargestExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setLargestExecution", value);
}
int MDTaskStatistic::getLargestExecutionElapsedTime(ThreadContext& ctx) const {
  return getInt(ctx, "getLargestExecutionElapsedTime");
}
void MDTaskStatistic::setLargestExecutionElapsedTime(ThreadContext& ctx, int value) {
  setInt(ctx, "setLargestExecutionElapsedTime", value);
}
int MDTaskStatistic::getLargestExecutionRowCount(ThreadContext& ctx) const {
  return getInt(ctx, "getLargestExecutionRowCount");
}
void MDTaskStatistic::setLargestExecutionRowCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setLargestExecutionRowCount", value);
}
int MDTaskStatistic::getLargestExecutionByteCount(ThreadContext& ctx) const {
  return getInt(ctx, "getLargestExecutionByteCount");
}
void MDTaskStatistic::setLargestExecutionByteCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setLargestExecutionByteCount", value);
}
SCTimestamp* MDTaskStatistic::getSmallestExecution(ThreadContext& ctx) const {
  return getTimestamp(ctx, "getSmallestExecution");
}
void MDTaskStatistic::setSmallestExecution(ThreadContext& ctx, SCTimestamp* value) {
  setTimestamp(ctx, "setSmallestExecution", value);
}
int MDTaskStatistic::getSmallestExecutionElapsedTime(ThreadContext& ctx) const {
  return getInt(ctx, "getSmallestExecutionElapsedTime");
}
void MDTaskStatistic::setSmallestExecutionElapsedTime(ThreadContext& ctx, int value) {
  setInt(ctx, "setSmallestExecutionElapsedTime", value);
}
int MDTaskStatistic::getSmallestExecutionRowCount(ThreadContext& ctx) const {
  return getInt(ctx, "getSmallestExecutionRowCount");
}
void MDTaskStatistic::setSmallestExecutionRowCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setSmallestExecutionRowCount", value);
}
int MDTaskStatistic::getSmallestExecutionByteCount(ThreadContext& ctx) const {
  return getInt(ctx, "getSmallestExecutionByteCount");
}
void MDTaskStatistic::setSmallestExecutionByteCount(ThreadContext& ctx, int value) {
  setInt(ctx, "setSmallestExecutionByteCount", value);
}

int MDTaskStatistic::getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, user, rc, sqlCode);
}

int MDTaskStatistic::getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, group, rc, sqlCode);
}

int MDTaskStatistic::getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, user, rc, sqlCode);
}

int MDTaskStatistic::getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, group, rc, sqlCode);
}

int MDTaskStatistic::getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, user, rc, sqlCode);
}

int MDTaskStatistic::getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, group, rc, sqlCode);
}

int MDTaskStatistic::setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, user, allowed, sqlCode);
}

int MDTaskStatistic::setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, group, allowed, sqlCode);
}

int MDTaskStatistic::setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, user, allowed, sqlCode);
}

int MDTaskStatistic::setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed,
                                         int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, group, allowed, sqlCode);
}

int MDTaskStatistic::setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed,
                                          int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, user, allowed, sqlCode);
}

int MDTaskStatistic::setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed,
                                          int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, group, allowed, sqlCode);
}

void MDTaskStatistic::lockAll() { takeLatch(madeLatch(lockAllData)); }

void MDTaskStatistic::unlockAll() { releaseLatch(madeLatch(lockAllData)); }

void MDTaskStatistic::freeLock() { deleteLatch(lockAllData); }

}  // namespace mesk
