// The record of an execution.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/support/GuardedTest.h>
#include <mesk/tasks/MDTask.h>

#include <atomic>
#include <thread>

namespace mesk::test {
namespace {

const std::string kResult = "Lcom/orvik/kelvo/mesk/metadata/MDTaskResult;";
const std::string kSnapshot = "Lcom/orvik/kelvo/mesk/metadata/MDTaskSnapshot;";
const char* const kCollection = "Ljava/util/Collection;";

class MDTaskHistoryTest : public GuardedTest<MDTaskHistory> {
 protected:
  MDTaskHistoryTest() : GuardedTest("MDTaskHistory") {}
  ~MDTaskHistoryTest() override { MDTaskHistory::freeLock(); }

  jobject newResult(int bytes, int rows) {
    const jobject object = newFake("MDTaskResult");
    MDTaskResult result(ctx, object);
    result.setByteCount(ctx, bytes);
    result.setRowCount(ctx, rows);
    return object;
  }

  /// `setBrixInfo` on a record that counts 5 bytes and 6 rows, and what it counts then.
  void expectCounts(int bytes, int rows) {
    live.setByteCount(ctx, 5);
    live.setRowCount(ctx, 6);
    live.setBrixInfo(ctx, context);
    EXPECT_EQ(live.getByteCount(ctx), bytes);
    EXPECT_EQ(live.getRowCount(ctx), rows);
    EXPECT_EQ(jni.locals(), 0);
  }
};

TEST_F(MDTaskHistoryTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SCTimestamp moment(ctx, 1711846800123LL);
  Clob text(ctx, javaString("mail sent"));
  property("getTaskHistoryID()J", &MDTaskHistory::getTaskHistoryID, "setTaskHistoryID(J)V",
           &MDTaskHistory::setTaskHistoryID, 5000000000LL + 1);
  property("getRootTaskHistoryID()J", &MDTaskHistory::getRootTaskHistoryID, "setRootTaskHistoryID(J)V",
           &MDTaskHistory::setRootTaskHistoryID, 5000000000LL + 2);
  property("getTaskID()J", &MDTaskHistory::getTaskID, "setTaskID(J)V", &MDTaskHistory::setTaskID, 5000000000LL + 3);
  property("getSuffix()I", &MDTaskHistory::getSuffix, "setSuffix(I)V", &MDTaskHistory::setSuffix, 104);
  property("getTaskName()Ljava/lang/String;", &MDTaskHistory::getTaskName, "setTaskName(Ljava/lang/String;)V",
           &MDTaskHistory::setTaskName, "taskName 5");
  property("getTaskType()I", &MDTaskHistory::getTaskType, "setTaskType(I)V", &MDTaskHistory::setTaskType, 106);
  writes("setTaskCategory(Ljava/lang/String;)V", &MDTaskHistory::setTaskCategory, "taskCategory 7");
  property("getOwner()Ljava/lang/String;", &MDTaskHistory::getOwner, "setOwner(Ljava/lang/String;)V",
           &MDTaskHistory::setOwner, "owner 8");
  property("getDescription()Ljava/lang/String;", &MDTaskHistory::getDescription, "setDescription(Ljava/lang/String;)V",
           &MDTaskHistory::setDescription, "description 9");
  property("getUserID()Ljava/lang/String;", &MDTaskHistory::getUserID, "setUserID(Ljava/lang/String;)V",
           &MDTaskHistory::setUserID, "userID 10");
  property("getInvocationMethod()I", &MDTaskHistory::getInvocationMethod, "setInvocationMethod(I)V",
           &MDTaskHistory::setInvocationMethod, 111);
  property("getRookJobID()Ljava/lang/String;", &MDTaskHistory::getRookJobID, "setRookJobID(Ljava/lang/String;)V",
           &MDTaskHistory::setRookJobID, "rookJobID 12");
  property("getV7JobID()I", &MDTaskHistory::getV7JobID, "setV7JobID(I)V", &MDTaskHistory::setV7JobID, 113);
  property("getBrixStepID()Ljava/lang/String;", &MDTaskHistory::getBrixStepID, "setBrixStepID(Ljava/lang/String;)V",
           &MDTaskHistory::setBrixStepID, "brixStepID 14");
  property("getEditionID()Ljava/lang/String;", &MDTaskHistory::getEditionID, "setEditionID(Ljava/lang/String;)V",
           &MDTaskHistory::setEditionID, "editionID 15");
  writes("setExecutionSystemID(Ljava/lang/String;)V", &MDTaskHistory::setExecutionSystemID, "executionSystemID 16");
  writes("setExecutionPartitionID(Ljava/lang/String;)V", &MDTaskHistory::setExecutionPartitionID,
         "executionPartitionID 17");
  writes("setScriptContentString(Ljava/lang/String;)V", &MDTaskHistory::setScriptContentString,
         "scriptContentString 18");
  property("getStart()Ljava/sql/Timestamp;", &MDTaskHistory::getStart, "setStart(Ljava/sql/Timestamp;)V",
           &MDTaskHistory::setStart, &moment);
  property("getEnd()Ljava/sql/Timestamp;", &MDTaskHistory::getEnd, "setEnd(Ljava/sql/Timestamp;)V",
           &MDTaskHistory::setEnd, &moment);
  property("getDuration()I", &MDTaskHistory::getDuration, "setDuration(I)V", &MDTaskHistory::setDuration, 121);
  property("getRunningStatus()I", &MDTaskHistory::getRunningStatus, "setRunningStatus(I)V",
           &MDTaskHistory::setRunningStatus, 122);
  property("getReturnCode()I", &MDTaskHistory::getReturnCode, "setReturnCode(I)V", &MDTaskHistory::setReturnCode, 123);
  property("getSummaryReturnCode()Ljava/lang/String;", &MDTaskHistory::getSummaryReturnCode,
           "setSummaryReturnCode(Ljava/lang/String;)V", &MDTaskHistory::setSummaryReturnCode, "summaryReturnCode 24");
  property("getRetryCount()I", &MDTaskHistory::getRetryCount, "setRetryCount(I)V", &MDTaskHistory::setRetryCount, 125);
  property("getRowCount()I", &MDTaskHistory::getRowCount, "setRowCount(I)V", &MDTaskHistory::setRowCount, 126);
  property("getByteCount()I", &MDTaskHistory::getByteCount, "setByteCount(I)V", &MDTaskHistory::setByteCount, 127);
  property("getJournalResult()Ljava/lang/String;", &MDTaskHistory::getJournalResult,
           "setJournalResult(Ljava/lang/String;)V", &MDTaskHistory::setJournalResult, "journalResult 28");
  property("getNotificationResults()Ljava/sql/Clob;", &MDTaskHistory::getNotificationResults,
           "setNotificationResults(Ljava/sql/Clob;)V", &MDTaskHistory::setNotificationResults, &text);
  writes("setNotificationResultsString(Ljava/lang/String;)V", &MDTaskHistory::setNotificationResultsString,
         "notificationResultsString 30");
  writes("setFollowOnActionResultsString(Ljava/lang/String;)V", &MDTaskHistory::setFollowOnActionResultsString,
         "followOnActionResultsString 31");
  writes("setShowResultsPanelClassName(Ljava/lang/String;)V", &MDTaskHistory::setShowResultsPanelClassName,
         "showResultsPanelClassName 32");
  property("getSourceDBName()Ljava/lang/String;", &MDTaskHistory::getSourceDBName,
           "setSourceDBName(Ljava/lang/String;)V", &MDTaskHistory::setSourceDBName, "sourceDBName 33");
  property("getSourceDBType()Ljava/lang/String;", &MDTaskHistory::getSourceDBType,
           "setSourceDBType(Ljava/lang/String;)V", &MDTaskHistory::setSourceDBType, "sourceDBType 34");
  property("getTargetDBName()Ljava/lang/String;", &MDTaskHistory::getTargetDBName,
           "setTargetDBName(Ljava/lang/String;)V", &MDTaskHistory::setTargetDBName, "targetDBName 35");
  property("getTargetDBType()Ljava/lang/String;", &MDTaskHistory::getTargetDBType,
           "setTargetDBType(Ljava/lang/String;)V", &MDTaskHistory::setTargetDBType, "targetDBType 36");
  property("getTargetWarehouseName()Ljava/lang/String;", &MDTaskHistory::getTargetWarehouseName,
           "setTargetWarehouseName(Ljava/lang/String;)V", &MDTaskHistory::setTargetWarehouseName,
           "targetWarehouseName 37");
}

TEST_F(MDTaskHistoryTest, TheJournalIsAddedToInJava) {
  live.setJournalResult(ctx, "first");
  script.forget();
  live.appendJournalResult(ctx, ", second");
  EXPECT_EQ(script.properties(), Strings{"MDTaskHistory.appendJournalResult(\", second\")"});
  EXPECT_EQ(jni.lookups().back(),
            "com/orvik/kelvo/mesk/metadata/MDTaskHistory.appendJournalResult(Ljava/lang/String;)V");
  EXPECT_EQ(taken(live.getJournalResult(ctx)), "first, second");
  dead.appendJournalResult(ctx, "x");
}

TEST_F(MDTaskHistoryTest, CreatingMakesAJavaRecord) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskHistory>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskHistoryTest, StoreOperationsReportAndLog) {
  live.setTaskID(ctx, 0x100000007LL);
  live.setTaskHistoryID(ctx, 3);
  const Operation<MDTaskHistory> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDTaskHistory& target, int& sqlCode) { return target.insert(ctx, context, sqlCode); }),
       "0x10080148/10", " 7", " 0"},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDTaskHistory& target, int& sqlCode) { return target.update(ctx, context, sqlCode); }),
       "0x10080149/10", " 7", " 0"},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDTaskHistory& target, int& sqlCode) { return target.deleteIt(ctx, context, sqlCode); }),
       "0x1008014A/10", " 7", " 0"},
      {"getReferenceID", storeMethod("", "J"), "getReferenceID(context, exception)",
       byOutputs([&](MDTaskHistory& target, int& rc, int& sqlCode) {
         EXPECT_EQ(target.getReferenceID(ctx, context, rc, sqlCode), 0);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
  script.on("MDTaskHistory.getReferenceID").returnsLong(0x123456789ALL);
  int rc = 77, sqlCode = 77;
  EXPECT_EQ(live.getReferenceID(ctx, context, rc, sqlCode), 0x123456789ALL);
}

TEST_F(MDTaskHistoryTest, RightsAreAskedAndChangedForUsersAndGroups) { checkRights(); }

TEST_F(MDTaskHistoryTest, ResultsAndSnapshotsAreAddedAndRemoved) {
  MDTaskResult result(ctx, newResult(1, 2));
  MDTaskSnapshot first(ctx, newFake("MDTaskSnapshot"), nullptr);
  MDTaskSnapshot second(ctx, newFake("MDTaskSnapshot"), nullptr);
  first.setTaskID(ctx, 1);
  second.setTaskID(ctx, 2);
  // The fake writes a result down by its address, so only a dead one can be written out here.
  MDTaskResult none(ctx, nullptr);
  const Operation<MDTaskHistory> operations[] = {
      {"addTaskResult", storeMethod(kResult, "V"), "addTaskResult(context, null, exception)",
       byResult(
           [&](MDTaskHistory& target, int& sqlCode) { return target.addTaskResult(ctx, context, none, sqlCode); })},
      {"addTaskSnapshot", storeMethod(kSnapshot, "V"), "addTaskSnapshot(context, MDTaskSnapshot#1, exception)",
       byResult(
           [&](MDTaskHistory& target, int& sqlCode) { return target.addTaskSnapshot(ctx, context, first, sqlCode); })},
      {"removeTaskSnapshot", storeMethod(kSnapshot + kSnapshot, "V"),
       "removeTaskSnapshot(context, MDTaskSnapshot#1, MDTaskSnapshot#2, exception)",
       byResult([&](MDTaskHistory& target, int& sqlCode) {
         return target.removeTaskSnapshot(ctx, context, first, second, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
  int sqlCode = 77;
  EXPECT_EQ(live.addTaskResult(ctx, context, result, sqlCode), 0);
  ASSERT_EQ(script.calls().size(), 1u);
  EXPECT_EQ(script.count("MDTaskHistory.addTaskResult(context, null, exception)"), 0);
}

TEST_F(MDTaskHistoryTest, CountsAreSummedOverTheResults) {
  script.on("MDTaskHistory.retrieveTaskResultList")
      .returnsList({newResult(10, 1), newResult(-3, 20), nullptr, newResult(100, 300)});
  expectCounts(107, 321);
}

TEST_F(MDTaskHistoryTest, SumsWrapAround) {
  script.on("MDTaskHistory.retrieveTaskResultList").returnsList({newResult(2147483647, -2147483647), newResult(1, -2)});
  expectCounts(-2147483647 - 1, 2147483647);
}

TEST_F(MDTaskHistoryTest, WithoutResultsTheCountsBecomeZero) {
  script.on("MDTaskHistory.retrieveTaskResultList").returnsList({});
  expectCounts(0, 0);
  script.reset();
  script.on("MDTaskHistory.retrieveTaskResultList").returns(static_cast<jobject>(nullptr));
  expectCounts(0, 0);
  script.reset();
  script.on("MDTaskHistory.retrieveTaskResultList").code(4711, -803).returnsList({newResult(1, 1)});
  expectCounts(0, 0);
  script.reset();
  script.on("MDTaskHistory.retrieveTaskResultList").returnsList({newResult(1, 1)});
  jni.failMethod("size");
  expectCounts(0, 0);
}

TEST_F(MDTaskHistoryTest, WhereTheStoreCannotBeAskedTheCountsStay) {
  jni.failMethod("retrieveTaskResultList");
  expectCounts(5, 6);
  jni.heal();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  expectCounts(5, 6);
  jni.heal();
  script.forget();
  dead.setBrixInfo(ctx, context);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDTaskHistoryTest, ResultsAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDTaskHistory, MDTaskResult> list{
      "retrieveTaskResultList", 30013, ListForm::sizeAndGet,
      [&](MDTaskHistory& target, MDTaskResult**& results, int& count, int& sqlCode) {
        return target.retrieveTaskResultList(ctx, context, results, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", kCollection), "retrieveTaskResultList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDTaskResult"), newFake("MDTaskResult"));
}

TEST_F(MDTaskHistoryTest, TheSnapshotComesInAWrapperOfItsOwn) {
  const jobject snapshot = newFake("MDTaskSnapshot");
  script.on("MDTaskHistory.retrieveTaskSnapshot").returns(snapshot);
  int rc = 77, sqlCode = 77;
  const std::unique_ptr<MDTaskSnapshot> got(live.retrieveTaskSnapshot(ctx, context, rc, sqlCode));
  ASSERT_NE(got, nullptr);
  EXPECT_TRUE(ctx.env->IsSameObject(got->object, snapshot));
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(MDTaskHistoryTest, WithoutASnapshotTheWrapperIsDead) {
  int rc = 77, sqlCode = 77;
  const std::unique_ptr<MDTaskSnapshot> got(live.retrieveTaskSnapshot(ctx, context, rc, sqlCode));
  ASSERT_NE(got, nullptr);
  EXPECT_EQ(got->object, nullptr);
}

TEST_F(MDTaskHistoryTest, AFailureGivesNoSnapshot) {
  checkOperation({"retrieveTaskSnapshot", storeMethod("", kSnapshot), "retrieveTaskSnapshot(context, exception)",
                  byOutputs([&](MDTaskHistory& target, int& rc, int& sqlCode) {
                    const std::unique_ptr<MDTaskSnapshot> got(target.retrieveTaskSnapshot(ctx, context, rc, sqlCode));
                    EXPECT_EQ(got != nullptr, rc == 0);
                  })});
  script.on("MDTaskHistory.retrieveTaskSnapshot").code(4711, -803).returns(newFake("MDTaskSnapshot"));
  int rc = 77, sqlCode = 77;
  EXPECT_EQ(live.retrieveTaskSnapshot(ctx, context, rc, sqlCode), nullptr);
}

TEST_F(MDTaskHistoryTest, TheLatchExcludesAndIsNotTheTasks) {
  MDTaskHistory::unlockAll();
  ASSERT_NE(MDTaskHistory::lockAllData, nullptr);
  MDTaskHistory::lockAll();
  MDTask::lockAll(' ');
  EXPECT_NE(MDTaskHistory::lockAllData, MDTask::lockAllData);
  MDTask::unlockAll(' ');
  MDTask::freeLock();
  EXPECT_NE(ossWin32Lock8ExchangeInternal(MDTaskHistory::lockAllData), 0) << "held";

  std::atomic<bool> about = false;
  std::atomic<bool> released = false;
  std::atomic<bool> sawRelease = false;
  std::thread other([&] {
    about = true;
    about.notify_one();
    MDTaskHistory::lockAll();
    sawRelease = released.load();
    MDTaskHistory::unlockAll();
  });
  about.wait(false);
  released = true;
  MDTaskHistory::unlockAll();
  other.join();
  EXPECT_TRUE(sawRelease);
  MDTaskHistory::freeLock();
  EXPECT_EQ(MDTaskHistory::lockAllData, nullptr);
}

}  // namespace
}  // namespace mesk::test
