// Statistics and their home.
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <mesk/ledger/Patterns.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>

namespace mesk::test::ledger {
namespace {

constexpr long long kTaskID = 0x900000007;

const std::string kStatisticClass = std::string(kMetadata) + "MDTaskStatistic";

Records failure(std::uint32_t log) { return {.log = log, .keys = {"getTaskID"}, .logsBeforeTheEnd = true}; }

void addStatistic(Rows& rows) {
  ClassRows<MDTaskStatistic> statistic(rows, kStatisticClass);
  statistic.wrapsFirst();
  statistic.creates();
  statistic.persists("insert", &MDTaskStatistic::insert, "insert", failure(0x1008014F));
  statistic.persists("update", &MDTaskStatistic::update, "update", failure(0x10080150));
  statistic.persists("deleteIt", &MDTaskStatistic::deleteIt, "delete", failure(0x10080152));
  statistic.get("getTaskID", &MDTaskStatistic::getTaskID);
  statistic.set("setTaskID", &MDTaskStatistic::setTaskID);
  statistic.get("getSuffix", &MDTaskStatistic::getSuffix);
  statistic.set("setSuffix", &MDTaskStatistic::setSuffix);
  statistic.get("getFirstExecution", &MDTaskStatistic::getFirstExecution);
  statistic.set("setFirstExecution", &MDTaskStatistic::setFirstExecution);
  statistic.get("getTotalSuccessfulExecutions", &MDTaskStatistic::getTotalSuccessfulExecutions);
  statistic.set("setTotalSuccessfulExecutions", &MDTaskStatistic::setTotalSuccessfulExecutions);
  statistic.get("getTotalFailedExecutions", &MDTaskStatistic::getTotalFailedExecutions);
  statistic.set("setTotalFailedExecutions", &MDTaskStatistic::setTotalFailedExecutions);
  statistic.get("getTotalElapsedTime", &MDTaskStatistic::getTotalElapsedTime);
  statistic.set("setTotalElapsedTime", &MDTaskStatistic::setTotalElapsedTime);
  statistic.get("getTotalRowCount", &MDTaskStatistic::getTotalRowCount);
  statistic.set("setTotalRowCount", &MDTaskStatistic::setTotalRowCount);
  statistic.get("getTotalByteCount", &MDTaskStatistic::getTotalByteCount);
  statistic.set("setTotalByteCount", &MDTaskStatistic::setTotalByteCount);
  statistic.get("getLastExecution", &MDTaskStatistic::getLastExecution);
  statistic.set("setLastExecution", &MDTaskStatistic::setLastExecution);
  statistic.get("getLastExecutionElapsedTime", &MDTaskStatistic::getLastExecutionElapsedTime);
  statistic.set("setLastExecutionElapsedTime", &MDTaskStatistic::setLastExecutionElapsedTime);
  statistic.get("getLastExecutionRowCount", &MDTaskStatistic::getLastExecutionRowCount);
  statistic.set("setLastExecutionRowCount", &MDTaskStatistic::setLastExecutionRowCount);
  statistic.get("getLastExecutionByteCount", &MDTaskStatistic::getLastExecutionByteCount);
  statistic.set("setLastExecutionByteCount", &MDTaskStatistic::setLastExecutionByteCount);
  statistic.get("getFastestExecution", &MDTaskStatistic::getFastestExecution);
  statistic.set("setFastestExecution", &MDTaskStatistic::setFastestExecution);
  statistic.get("getFastestExecutionElapsedTime", &MDTaskStatistic::getFastestExecutionElapsedTime);
  statistic.set("setFastestExecutionElapsedTime", &MDTaskStatistic::setFastestExecutionElapsedTime);
  statistic.get("getFastestExecutionRowCount", &MDTaskStatistic::getFastestExecutionRowCount);
  statistic.set("setFastestExecutionRowCount", &MDTaskStatistic::setFastestExecutionRowCount);
  statistic.get("getFastestExecutionByteCount", &MDTaskStatistic::getFastestExecutionByteCount);
  statistic.set("setFastestExecutionByteCount", &MDTaskStatistic::setFastestExecutionByteCount);
  statistic.get("getSlowestExecution", &MDTaskStatistic::getSlowestExecution);
  statistic.set("setSlowestExecution", &MDTaskStatistic::setSlowestExecution);
  statistic.get("getSlowestExecutionElapsedTime", &MDTaskStatistic::getSlowestExecutionElapsedTime);
  statistic.set("setSlowestExecutionElapsedTime", &MDTaskStatistic::setSlowestExecutionElapsedTime);
  statistic.get("getSlowestExecutionRowCount", &MDTaskStatistic::getSlowestExecutionRowCount);
  statistic.set("setSlowestExecutionRowCount", &MDTaskStatistic::setSlowestExecutionRowCount);
  statistic.get("getSlowestExecutionByteCount", &MDTaskStatistic::getSlowestExecutionByteCount);
  statistic.set("setSlowestExecutionByteCount", &MDTaskStatistic::setSlowestExecutionByteCount);
  statistic.get("getLargestExecution", &MDTaskStatistic::getLargestExecution);
  statistic.set("setLargestExecution", &MDTaskStatistic::setLargestExecution);
  statistic.get("getLargestExecutionElapsedTime", &MDTaskStatistic::getLargestExecutionElapsedTime);
  statistic.set("setLargestExecutionElapsedTime", &MDTaskStatistic::setLargestExecutionElapsedTime);
  statistic.get("getLargestExecutionRowCount", &MDTaskStatistic::getLargestExecutionRowCount);
  statistic.set("setLargestExecutionRowCount", &MDTaskStatistic::setLargestExecutionRowCount);
  statistic.get("getLargestExecutionByteCount", &MDTaskStatistic::getLargestExecutionByteCount);
  statistic.set("setLargestExecutionByteCount", &MDTaskStatistic::setLargestExecutionByteCount);
  statistic.get("getSmallestExecution", &MDTaskStatistic::getSmallestExecution);
  statistic.set("setSmallestExecution", &MDTaskStatistic::setSmallestExecution);
  statistic.get("getSmallestExecutionElapsedTime", &MDTaskStatistic::getSmallestExecutionElapsedTime);
  statistic.set("setSmallestExecutionElapsedTime", &MDTaskStatistic::setSmallestExecutionElapsedTime);
  statistic.get("getSmallestExecutionRowCount", &MDTaskStatistic::getSmallestExecutionRowCount);
  statistic.set("setSmallestExecutionRowCount", &MDTaskStatistic::setSmallestExecutionRowCount);
  statistic.get("getSmallestExecutionByteCount", &MDTaskStatistic::getSmallestExecutionByteCount);
  statistic.set("setSmallestExecutionByteCount", &MDTaskStatistic::setSmallestExecutionByteCount);
  statistic.asks<MDUser>("getReadPermission", &MDTaskStatistic::getReadPermission, "MDUser");
  statistic.asks<MDGroup>("getReadPermission", &MDTaskStatistic::getReadPermission, "MDGroup");
  statistic.grants<MDUser>("setReadPermission", &MDTaskStatistic::setReadPermission, "MDUser");
  statistic.grants<MDGroup>("setReadPermission", &MDTaskStatistic::setReadPermission, "MDGroup");
  statistic.asks<MDUser>("getUpdatePermission", &MDTaskStatistic::getUpdatePermission, "MDUser");
  statistic.asks<MDGroup>("getUpdatePermission", &MDTaskStatistic::getUpdatePermission, "MDGroup");
  statistic.grants<MDUser>("setUpdatePermission", &MDTaskStatistic::setUpdatePermission, "MDUser");
  statistic.grants<MDGroup>("setUpdatePermission", &MDTaskStatistic::setUpdatePermission, "MDGroup");
  statistic.asks<MDUser>("getExecutePermission", &MDTaskStatistic::getExecutePermission, "MDUser");
  statistic.asks<MDGroup>("getExecutePermission", &MDTaskStatistic::getExecutePermission, "MDGroup");
  statistic.grants<MDUser>("setExecutePermission", &MDTaskStatistic::setExecutePermission, "MDUser");
  statistic.grants<MDGroup>("setExecutePermission", &MDTaskStatistic::setExecutePermission, "MDGroup");
  statistic.locks(MDTaskStatistic::lockAllData, &MDTaskStatistic::lockAll, &MDTaskStatistic::unlockAll,
                  &MDTaskStatistic::freeLock);
}

void addHome(Rows& rows) {
  ClassRows<MDTaskStatisticType> home(rows, kStatisticClass + "Type");
  home.wrapsFirst();
  home.creates();
  home.retrieves("retrieve", &MDTaskStatisticType::retrieve, "MDTaskStatistic", true, {.log = 0x10080151}, kTaskID, 2);
  home.lists<MDTaskStatistic>("retrieveList", &MDTaskStatisticType::retrieveList, "MDTaskStatistic", 30013);
  home.deletes(&MDTaskStatisticType::deleteIt, kTaskID, 2);
}

}  // namespace

void addStatisticRows(Rows& rows) {
  addStatistic(rows);
  addHome(rows);
}

}  // namespace mesk::test::ledger
