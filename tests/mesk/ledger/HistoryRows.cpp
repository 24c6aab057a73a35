// History, results, snapshots, and their homes.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/history/MDTaskSnapshotType.h>
#include <mesk/ledger/Patterns.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>

namespace mesk::test::ledger {
namespace {

constexpr long long kTaskID = 0x900000007;

const std::string kHistoryClass = std::string(kMetadata) + "MDTaskHistory";
const std::string kResultClass = std::string(kMetadata) + "MDTaskResult";
const std::string kSnapshotClass = std::string(kMetadata) + "MDTaskSnapshot";
const std::string kSnapshotType = "L" + kSnapshotClass + ";";
const std::string kTimestampClass = "java/sql/Timestamp";
const std::string kTimestampType = "Ljava/sql/Timestamp;";

/// The counts of the elements of a collection, summed up modulo 2^32 and set; consumes the collection.
void sumUp(Prescription& p, const Wrapper& target, const Ref& collection, int rc) {
  std::uint32_t bytes = 0;
  std::uint32_t rows = 0;
  if (!collection.empty() && rc == 0) {
    if (const Ref cls = p.getObjectClass(collection); !cls.empty()) {
      if (p.getMethod(cls, "size", "()I") && p.getMethod(cls, "get", "(I)Ljava/lang/Object;")) {
        const int count = p.callInt(collection, "size");
        for (int i = 0; i < count; ++i) {
          const Ref element = p.callObject(collection, "get", i);
          const Wrapper result = p.wrap(element);
          if (!element.empty()) p.deleteLocalRef(element);
          bytes += static_cast<std::uint32_t>(intProperty(p, result, "getByteCount"));
          rows += static_cast<std::uint32_t>(intProperty(p, result, "getRowCount"));
          p.destroy(result);
        }
      }
      p.deleteLocalRef(cls);
    }
  }
  if (!collection.empty()) p.deleteLocalRef(collection);
  setIntProperty(p, target, "setByteCount", static_cast<int>(bytes));
  setIntProperty(p, target, "setRowCount", static_cast<int>(rows));
}

void addSums(ClassRows<MDTaskHistory>& history) {
  for (const int count : {-1, 0, 3}) {
    Row& row =
        history.add({symbolOf("setBrixInfo", &MDTaskHistory::setBrixInfo), std::to_string(count),
                     [](Run& run) {
                       auto& target = run.target<MDTaskHistory>(kHistoryClass);
                       const jobject context = run.context();
                       run.record([&] { target.setBrixInfo(run.ctx, context); });
                     },
                     [](Prescription& p) {
                       const Wrapper target = p.target();
                       const Wrapper exception = p.exceptionObject();
                       if (target.live() && exception.live() &&
                           p.getMethod(target.objectClass, "retrieveTaskResultList", storeMethod("", kCollection))) {
                         const Ref collection =
                             p.callObject(target.object, "retrieveTaskResultList", "context", exception.object);
                         sumUp(p, target, collection, p.returnCode(exception));
                       }
                       p.destroy(exception);
                     }});
    if (count >= 0) row.answers.add("retrieveTaskResultList", Object{"java/util/ArrayList"});
    row.answers.add("size", static_cast<long long>(count));
    for (const Answer& element : {Answer(Object{kResultClass}), Answer(Nothing{}), Answer(Object{kResultClass})}) {
      row.answers.add("get", element);
    }
    row.answers.add("getByteCount", 0x7FFFFFFFLL);
    row.answers.add("getByteCount", 3LL);
    row.answers.add("getRowCount", 40LL);
    row.answers.add("getRowCount", -2LL);
    row.reports = true;
    row.states = kEveryState;
  }
}

/// Two snapshots, dead ones as null.
void addRemoval(ClassRows<MDTaskHistory>& history) {
  for (const State state : kEveryState) {
    Row& row =
        history.add({symbolOf("removeTaskSnapshot", &MDTaskHistory::removeTaskSnapshot), nameOfState(state),
                     [state](Run& run) {
                       auto& target = run.target<MDTaskHistory>(kHistoryClass);
                       auto& first = run.wrapper<MDTaskSnapshot>(kSnapshotClass, "first");
                       auto& second = run.wrapper<MDTaskSnapshot>(kSnapshotClass, "second", state);
                       const jobject context = run.context();
                       int rc = 77;
                       int sqlCode = 78;
                       run.record([&] { rc = target.removeTaskSnapshot(run.ctx, context, first, second, sqlCode); });
                       run.codes(rc, sqlCode);
                     },
                     [state](Prescription& p) {
                       int sqlCode = 0;
                       const int rc = storeVoid(p, p.target(), "removeTaskSnapshot",
                                                storeMethod(kSnapshotType + kSnapshotType, "V"), sqlCode, "first",
                                                wrapperIn(state, "second").object);
                       p.result(says::codes(rc, sqlCode));
                     }});
    row.reports = true;
    row.states = kEveryState;
  }
}

void addSnapshotOfHistory(ClassRows<MDTaskHistory>& history) {
  for (const bool null : {false, true}) {
    Row& row = history.add(
        {symbolOf("retrieveTaskSnapshot", &MDTaskHistory::retrieveTaskSnapshot), null ? "nothing" : "object",
         [](Run& run) {
           auto& target = run.target<MDTaskHistory>(kHistoryClass);
           const jobject context = run.context();
           int rc = 77;
           int sqlCode = 78;
           MDTaskSnapshot* snapshot = nullptr;
           run.record([&] { snapshot = target.retrieveTaskSnapshot(run.ctx, context, rc, sqlCode); });
           run.codes(rc, sqlCode);
           run.gives(snapshot);
         },
         [](Prescription& p) {
           int rc = 0;
           int sqlCode = 0;
           const Ref snapshot = ClassRows<MDTaskHistory>::retrieved(p, p.target(), "retrieveTaskSnapshot",
                                                                    kSnapshotClass, true, rc, sqlCode);
           const std::string made = rc == 0 ? p.newWrapper(snapshot) : "null";
           if (!snapshot.empty()) p.deleteLocalRef(snapshot);
           p.result(says::codes(rc, sqlCode));
           p.result(says::gives(made));
         }});
    if (!null) row.answers.add("retrieveTaskSnapshot", Object{kSnapshotClass});
    row.reports = true;
    row.states = kEveryState;
  }
}

void addHistory(Rows& rows) {
  ClassRows<MDTaskHistory> history(rows, kHistoryClass);
  history.wraps();
  history.creates();
  history.persists("insert", &MDTaskHistory::insert, "insert", {.log = 0x10080148, .keys = {"getTaskID"}});
  history.persists("update", &MDTaskHistory::update, "update", {.log = 0x10080149, .keys = {"getTaskID"}});
  history.persists("deleteIt", &MDTaskHistory::deleteIt, "delete", {.log = 0x1008014A, .keys = {"getTaskID"}});
  history.handsOutKeys();

  history.get("getTaskHistoryID", &MDTaskHistory::getTaskHistoryID);
  history.set("setTaskHistoryID", &MDTaskHistory::setTaskHistoryID);
  history.get("getRootTaskHistoryID", &MDTaskHistory::getRootTaskHistoryID);
  history.set("setRootTaskHistoryID", &MDTaskHistory::setRootTaskHistoryID);
  history.get("getTaskID", &MDTaskHistory::getTaskID);
  history.set("setTaskID", &MDTaskHistory::setTaskID);
  history.get("getTaskName", &MDTaskHistory::getTaskName);
  history.set("setTaskName", &MDTaskHistory::setTaskName);
  history.get("getOwner", &MDTaskHistory::getOwner);
  history.set("setOwner", &MDTaskHistory::setOwner);
  history.get("getSuffix", &MDTaskHistory::getSuffix);
  history.set("setSuffix", &MDTaskHistory::setSuffix);
  history.get("getRookJobID", &MDTaskHistory::getRookJobID);
  history.set("setRookJobID", &MDTaskHistory::setRookJobID);
  history.get("getBrixStepID", &MDTaskHistory::getBrixStepID);
  history.set("setBrixStepID", &MDTaskHistory::setBrixStepID);
  history.get("getEditionID", &MDTaskHistory::getEditionID);
  history.set("setEditionID", &MDTaskHistory::setEditionID);
  history.get("getDescription", &MDTaskHistory::getDescription);
  history.set("setDescription", &MDTaskHistory::setDescription);
  history.get("getStart", &MDTaskHistory::getStart);
  history.set("setStart", &MDTaskHistory::setStart);
  history.get("getEnd", &MDTaskHistory::getEnd);
  history.set("setEnd", &MDTaskHistory::setEnd);
  history.get("getDuration", &MDTaskHistory::getDuration);
  history.set("setDuration", &MDTaskHistory::setDuration);
  history.get("getReturnCode", &MDTaskHistory::getReturnCode);
  history.set("setReturnCode", &MDTaskHistory::setReturnCode);
  history.get("getNotificationResults", &MDTaskHistory::getNotificationResults);
  history.set("setNotificationResults", &MDTaskHistory::setNotificationResults);
  history.get("getRetryCount", &MDTaskHistory::getRetryCount);
  history.set("setRetryCount", &MDTaskHistory::setRetryCount);
  history.get("getRowCount", &MDTaskHistory::getRowCount);
  history.set("setRowCount", &MDTaskHistory::setRowCount);
  history.get("getByteCount", &MDTaskHistory::getByteCount);
  history.set("setByteCount", &MDTaskHistory::setByteCount);
  history.get("getRunningStatus", &MDTaskHistory::getRunningStatus);
  history.set("setRunningStatus", &MDTaskHistory::setRunningStatus);
  history.get("getSourceDBName", &MDTaskHistory::getSourceDBName);
  history.set("setSourceDBName", &MDTaskHistory::setSourceDBName);
  history.get("getTargetDBName", &MDTaskHistory::getTargetDBName);
  history.set("setTargetDBName", &MDTaskHistory::setTargetDBName);
  history.get("getSourceDBType", &MDTaskHistory::getSourceDBType);
  history.set("setSourceDBType", &MDTaskHistory::setSourceDBType);
  history.get("getTargetDBType", &MDTaskHistory::getTargetDBType);
  history.set("setTargetDBType", &MDTaskHistory::setTargetDBType);
  history.get("getTargetWarehouseName", &MDTaskHistory::getTargetWarehouseName);
  history.set("setTargetWarehouseName", &MDTaskHistory::setTargetWarehouseName);
  history.get("getSummaryReturnCode", &MDTaskHistory::getSummaryReturnCode);
  history.set("setSummaryReturnCode", &MDTaskHistory::setSummaryReturnCode);
  history.get("getTaskType", &MDTaskHistory::getTaskType);
  history.set("setTaskType", &MDTaskHistory::setTaskType);
  history.get("getInvocationMethod", &MDTaskHistory::getInvocationMethod);
  history.set("setInvocationMethod", &MDTaskHistory::setInvocationMethod);
  history.get("getUserID", &MDTaskHistory::getUserID);
  history.set("setUserID", &MDTaskHistory::setUserID);
  history.get("getJournalResult", &MDTaskHistory::getJournalResult);
  history.set("setJournalResult", &MDTaskHistory::setJournalResult);
  history.set("appendJournalResult", &MDTaskHistory::appendJournalResult);
  history.get("getV7JobID", &MDTaskHistory::getV7JobID);
  history.set("setV7JobID", &MDTaskHistory::setV7JobID);
  history.set("setShowResultsPanelClassName", &MDTaskHistory::setShowResultsPanelClassName);
  history.set("setExecutionSystemID", &MDTaskHistory::setExecutionSystemID);
  history.set("setExecutionPartitionID", &MDTaskHistory::setExecutionPartitionID);
  history.set("setTaskCategory", &MDTaskHistory::setTaskCategory);
  history.set("setFollowOnActionResultsString", &MDTaskHistory::setFollowOnActionResultsString);
  history.set("setNotificationResultsString", &MDTaskHistory::setNotificationResultsString);
  history.set("setScriptContentString", &MDTaskHistory::setScriptContentString);

  history.asks<MDUser>("getReadPermission", &MDTaskHistory::getReadPermission, "MDUser");
  history.asks<MDGroup>("getReadPermission", &MDTaskHistory::getReadPermission, "MDGroup");
  history.asks<MDUser>("getUpdatePermission", &MDTaskHistory::getUpdatePermission, "MDUser");
  history.asks<MDGroup>("getUpdatePermission", &MDTaskHistory::getUpdatePermission, "MDGroup");
  history.asks<MDUser>("getExecutePermission", &MDTaskHistory::getExecutePermission, "MDUser");
  history.asks<MDGroup>("getExecutePermission", &MDTaskHistory::getExecutePermission, "MDGroup");
  history.grants<MDUser>("setReadPermission", &MDTaskHistory::setReadPermission, "MDUser");
  history.grants<MDGroup>("setReadPermission", &MDTaskHistory::setReadPermission, "MDGroup");
  history.grants<MDUser>("setUpdatePermission", &MDTaskHistory::setUpdatePermission, "MDUser");
  history.grants<MDGroup>("setUpdatePermission", &MDTaskHistory::setUpdatePermission, "MDGroup");
  history.grants<MDUser>("setExecutePermission", &MDTaskHistory::setExecutePermission, "MDUser");
  history.grants<MDGroup>("setExecutePermission", &MDTaskHistory::setExecutePermission, "MDGroup");

  history.locks(MDTaskHistory::lockAllData, &MDTaskHistory::lockAll, &MDTaskHistory::unlockAll,
                &MDTaskHistory::freeLock);
  history.lists<MDTaskResult>("retrieveTaskResultList", &MDTaskHistory::retrieveTaskResultList, "MDTaskResult", 30013);
  addSums(history);
  history.relates("addTaskResult", &MDTaskHistory::addTaskResult, "MDTaskResult", false);
  history.relates("addTaskSnapshot", &MDTaskHistory::addTaskSnapshot, "MDTaskSnapshot", false);
  addRemoval(history);
  addSnapshotOfHistory(history);
}

void addHistoryHome(Rows& rows) {
  ClassRows<MDTaskHistoryType> home(rows, kHistoryClass + "Type");
  home.wraps();
  home.creates();
  home.retrieves("retrieve", &MDTaskHistoryType::retrieve, "MDTaskHistory", false, {}, kTaskID);
  home.lists<MDTaskHistory>("retrieveList", &MDTaskHistoryType::retrieveList, "MDTaskHistory", 30013,
                            collectionElements, {}, kTaskID);
  home.lists<MDTaskHistory>("retrieveList", &MDTaskHistoryType::retrieveList, "MDTaskHistory", 30013, arrayElements);

  for (const bool dead : {false, true}) {
    Row& prune = home.add({symbolOf("deleteIt", &MDTaskHistoryType::deleteIt), dead ? "never" : "before",
                           [dead](Run& run) {
                             auto& target = run.target<MDTaskHistoryType>(kHistoryClass + "Type");
                             SCTimestamp& before = dead ? run.deadWrapper<SCTimestamp>()
                                                        : run.wrapper<SCTimestamp>(kTimestampClass, "before");
                             const jobject context = run.context();
                             int rc = 77;
                             int sqlCode = 78;
                             run.record([&] { rc = target.deleteIt(run.ctx, context, kTaskID, -3, before, sqlCode); });
                             run.codes(rc, sqlCode);
                           },
                           [dead](Prescription& p) {
                             int sqlCode = 0;
                             const int rc = storeVoid(p, p.target(), "delete", storeMethod("JI" + kTimestampType, "V"),
                                                      sqlCode, kTaskID, -3, dead ? "" : "before");
                             p.result(says::codes(rc, sqlCode));
                           }});
    prune.reports = true;
    prune.states = kEveryState;
  }

  using RetrieveAt = jobject (MDTaskHistoryType::*)(ThreadContext&, jobject, long long, int, SCTimestamp&, int&, int&);
  Row& atStart = home.add(
      {symbolOf("retrieve", RetrieveAt(&MDTaskHistoryType::retrieve)), "bystart",
       [](Run& run) {
         auto& target = run.target<MDTaskHistoryType>(kHistoryClass + "Type");
         auto& start = run.wrapper<SCTimestamp>(kTimestampClass, "start");
         const jobject context = run.context();
         int rc = 77;
         int sqlCode = 78;
         jobject found = nullptr;
         run.record([&] { found = target.retrieve(run.ctx, context, kTaskID, 2, start, rc, sqlCode); });
         run.codes(rc, sqlCode);
         run.givesLocal(found);
       },
       [](Prescription& p) {
         int rc = 0;
         int sqlCode = 0;
         Ref found;
         rc = storeCall(p, p.target(), "retrieve", storeMethod("JI" + kTimestampType, "L" + kHistoryClass + ";"),
                        sqlCode, [&](const Wrapper& exception) {
                          found = p.callObject("target", "retrieve", "context", kTaskID, 2, "start", exception.object);
                        });
         if (rc != 0 && !found.empty()) {
           p.deleteLocalRef(found);
           found.clear();
         }
         p.result(says::codes(rc, sqlCode));
         p.result(says::givesReference(found));
       }});
  atStart.answers.add("retrieve", Object{kHistoryClass});
  atStart.reports = true;
  atStart.states = kEveryState;
}

void addResult(Rows& rows) {
  ClassRows<MDTaskResult> result(rows, kResultClass);
  result.wraps();
  result.creates();
  result.persists("insert", &MDTaskResult::insert, "insert", {.log = 0x1008014B});
  result.persists("update", &MDTaskResult::update, "update", {.log = 0x1008014C});
  result.persists("deleteIt", &MDTaskResult::deleteIt, "delete", {.log = 0x1008014D});
  result.get("getPartitionID", &MDTaskResult::getPartitionID);
  result.set("setPartitionID", &MDTaskResult::setPartitionID);
  result.get("getReturnCode", &MDTaskResult::getReturnCode);
  result.set("setReturnCode", &MDTaskResult::setReturnCode);
  result.get("getExecutionResultsString", &MDTaskResult::getExecutionResultsString);
  result.set("setExecutionResultsString", &MDTaskResult::setExecutionResultsString);
  result.get("getStart", &MDTaskResult::getStart);
  result.set("setStart", &MDTaskResult::setStart);
  result.get("getEnd", &MDTaskResult::getEnd);
  result.set("setEnd", &MDTaskResult::setEnd);
  result.get("getDuration", &MDTaskResult::getDuration);
  result.set("setDuration", &MDTaskResult::setDuration);
  result.get("getRunningStatus", &MDTaskResult::getRunningStatus);
  result.set("setRunningStatus", &MDTaskResult::setRunningStatus);
  result.get("getByteCount", &MDTaskResult::getByteCount);
  result.set("setByteCount", &MDTaskResult::setByteCount);
  result.get("getRowCount", &MDTaskResult::getRowCount);
  result.set("setRowCount", &MDTaskResult::setRowCount);
  result.asks<MDUser>("getReadPermission", &MDTaskResult::getReadPermission, "MDUser");
  result.asks<MDGroup>("getReadPermission", &MDTaskResult::getReadPermission, "MDGroup");
  result.grants<MDUser>("setReadPermission", &MDTaskResult::setReadPermission, "MDUser");
  result.grants<MDGroup>("setReadPermission", &MDTaskResult::setReadPermission, "MDGroup");
  result.asks<MDUser>("getUpdatePermission", &MDTaskResult::getUpdatePermission, "MDUser");
  result.asks<MDGroup>("getUpdatePermission", &MDTaskResult::getUpdatePermission, "MDGroup");
  result.grants<MDUser>("setUpdatePermission", &MDTaskResult::setUpdatePermission, "MDUser");
  result.grants<MDGroup>("setUpdatePermission", &MDTaskResult::setUpdatePermission, "MDGroup");
  result.asks<MDUser>("getExecutePermission", &MDTaskResult::getExecutePermission, "MDUser");
  result.asks<MDGroup>("getExecutePermission", &MDTaskResult::getExecutePermission, "MDGroup");
  result.grants<MDUser>("setExecutePermission", &MDTaskResult::setExecutePermission, "MDUser");
  result.grants<MDGroup>("setExecutePermission", &MDTaskResult::setExecutePermission, "MDGroup");

  for (const bool null : {false, true}) {
    Row& together = result.add({symbolOf("setExecution", &MDTaskResult::setExecution), null ? "running" : "ended",
                                [null](Run& run) {
                                  auto& target = run.target<MDTaskResult>(kResultClass);
                                  auto& start = run.wrapper<SCTimestamp>(kTimestampClass, "start");
                                  SCTimestamp* const end =
                                      null ? nullptr : &run.wrapper<SCTimestamp>(kTimestampClass, "end");
                                  run.record([&] { target.setExecution(run.ctx, 5, &start, end, 17); });
                                },
                                [null](Prescription& p) {
                                  setIntProperty(p, p.target(), "setRunningStatus", 5);
                                  setObjectProperty(p, p.target(), "setStart", kTimestampType, "start");
                                  setObjectProperty(p, p.target(), "setEnd", kTimestampType, null ? "" : "end");
                                  setIntProperty(p, p.target(), "setDuration", 17);
                                }});
    together.states = kEveryState;
  }
}

void addSnapshot(Rows& rows) {
  ClassRows<MDTaskSnapshot> snapshot(rows, kSnapshotClass);
  snapshot.wrapsFirst();
  snapshot.creates();
  snapshot.persists("insert", &MDTaskSnapshot::insert, "insert");
  snapshot.persists("update", &MDTaskSnapshot::update, "update");
  snapshot.persists("deleteIt", &MDTaskSnapshot::deleteIt, "delete");
  snapshot.get("getTaskID", &MDTaskSnapshot::getTaskID);
  snapshot.set("setTaskID", &MDTaskSnapshot::setTaskID);
  snapshot.get("getTaskName", &MDTaskSnapshot::getTaskName);
  snapshot.set("setTaskName", &MDTaskSnapshot::setTaskName);
  snapshot.get("getSuffix", &MDTaskSnapshot::getSuffix);
  snapshot.set("setSuffix", &MDTaskSnapshot::setSuffix);
  snapshot.get("getSystemID", &MDTaskSnapshot::getSystemID);
  snapshot.set("setSystemID", &MDTaskSnapshot::setSystemID);
  snapshot.get("getExecutionSystemID", &MDTaskSnapshot::getExecutionSystemID);
  snapshot.set("setExecutionSystemID", &MDTaskSnapshot::setExecutionSystemID);
  snapshot.get("getExecutionPartitionID", &MDTaskSnapshot::getExecutionPartitionID);
  snapshot.set("setExecutionPartitionID", &MDTaskSnapshot::setExecutionPartitionID);
  snapshot.get("getTaskUserID", &MDTaskSnapshot::getTaskUserID);
  snapshot.set("setTaskUserID", &MDTaskSnapshot::setTaskUserID);
  snapshot.get("getTaskCategory", &MDTaskSnapshot::getTaskCategory);
  snapshot.set("setTaskCategory", &MDTaskSnapshot::setTaskCategory);
  snapshot.get("getOwner", &MDTaskSnapshot::getOwner);
  snapshot.set("setOwner", &MDTaskSnapshot::setOwner);
  snapshot.get("getTaskType", &MDTaskSnapshot::getTaskType);
  snapshot.set("setTaskType", &MDTaskSnapshot::setTaskType);
  snapshot.get("getScriptContent", &MDTaskSnapshot::getScriptContent);
  snapshot.set("setScriptContent", &MDTaskSnapshot::setScriptContent);
  snapshot.get("getTargetDBObjects", &MDTaskSnapshot::getTargetDBObjects);
  snapshot.set("setTargetDBObjects", &MDTaskSnapshot::setTargetDBObjects);
  snapshot.get("getModified", &MDTaskSnapshot::getModified);
  snapshot.set("setModified", &MDTaskSnapshot::setModified);
  snapshot.get("getScheduleEnable", &MDTaskSnapshot::getScheduleEnable);
  snapshot.set("setScheduleEnable", &MDTaskSnapshot::setScheduleEnable);
  snapshot.get("getNotificationEnable", &MDTaskSnapshot::getNotificationEnable);
  snapshot.set("setNotificationEnable", &MDTaskSnapshot::setNotificationEnable);
  snapshot.get("getFollowOnTaskEnable", &MDTaskSnapshot::getFollowOnTaskEnable);
  snapshot.set("setFollowOnTaskEnable", &MDTaskSnapshot::setFollowOnTaskEnable);
  snapshot.get("getExecutionUserID", &MDTaskSnapshot::getExecutionUserID);
  snapshot.set("setExecutionUserID", &MDTaskSnapshot::setExecutionUserID);
  snapshot.get("getParameters", &MDTaskSnapshot::getParameters);
  snapshot.set("setParameters", &MDTaskSnapshot::setParameters);
  snapshot.get("getScheduleIDs", &MDTaskSnapshot::getScheduleIDs);
  snapshot.set("setScheduleIDs", &MDTaskSnapshot::setScheduleIDs);
  snapshot.get("getNotificationIDs", &MDTaskSnapshot::getNotificationIDs);
  snapshot.set("setNotificationIDs", &MDTaskSnapshot::setNotificationIDs);
  snapshot.get("getFollowOnTaskIDs", &MDTaskSnapshot::getFollowOnTaskIDs);
  snapshot.set("setFollowOnTaskIDs", &MDTaskSnapshot::setFollowOnTaskIDs);
  snapshot.get("getContactNames", &MDTaskSnapshot::getContactNames);
  snapshot.set("setContactNames", &MDTaskSnapshot::setContactNames);
  snapshot.get("getInvocationType", &MDTaskSnapshot::getInvocationType);
  snapshot.set("setInvocationType", &MDTaskSnapshot::setInvocationType);
  snapshot.get("getHighestReturnCode", &MDTaskSnapshot::getHighestReturnCode);
  snapshot.set("setHighestReturnCode", &MDTaskSnapshot::setHighestReturnCode);
  snapshot.get("getLatestSnapshot", &MDTaskSnapshot::getLatestSnapshot);
  snapshot.set("setLatestSnapshot", &MDTaskSnapshot::setLatestSnapshot);
}

void addSnapshotHome(Rows& rows) {
  ClassRows<MDTaskSnapshotType> home(rows, kSnapshotClass + "Type");
  home.wrapsFirst();
  home.creates();
  home.retrieves("retrieve", &MDTaskSnapshotType::retrieve, "MDTaskSnapshotType", true, {}, kTaskID, 2);
  home.retrieves("retrieveLatestSnapshot", &MDTaskSnapshotType::retrieveLatestSnapshot, "MDTaskSnapshot", true, {});
  home.lists<MDTaskSnapshot>("retrieveList", &MDTaskSnapshotType::retrieveList, "MDTaskSnapshot", 30013,
                             collectionElements, {}, kTaskID);
  home.deletes(&MDTaskSnapshotType::deleteIt, kTaskID, 2);

  Row& nowhere = home.add({symbolOf("retrieveLatestSnapshot", &MDTaskSnapshotType::retrieveLatestSnapshot), "nocontext",
                           [](Run& run) {
                             auto& target = run.target<MDTaskSnapshotType>(kSnapshotClass + "Type");
                             int rc = 77;
                             int sqlCode = 78;
                             jobject found = nullptr;
                             run.record([&] { found = target.retrieveLatestSnapshot(run.ctx, nullptr, rc, sqlCode); });
                             run.codes(rc, sqlCode);
                             run.givesLocal(found);
                           },
                           [](Prescription& p) {
                             p.result(says::codes(-300, 0));
                             p.result(says::givesReference(""));
                           }});
  nowhere.states = kEveryState;
}

}  // namespace

void addHistoryRows(Rows& rows) {
  addHistory(rows);
  addHistoryHome(rows);
  addResult(rows);
  addSnapshot(rows);
  addSnapshotHome(rows);
}

}  // namespace mesk::test::ledger
