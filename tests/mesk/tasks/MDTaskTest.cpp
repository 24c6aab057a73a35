// The task record: properties, store operations, counts, passwords, the latch.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDTask.h>

#include <atomic>
#include <functional>
#include <thread>

namespace mesk::test {
namespace {

class MDTaskTest : public WrapperTest<MDTask> {
 protected:
  MDTaskTest() : WrapperTest("MDTask") {}
  ~MDTaskTest() override { MDTask::freeLock(); }

  void expectCountAfter(void (MDTask::*change)(ThreadContext&), int before, int after) {
    live.setNumberOfExecutions(ctx, before);
    std::invoke(change, live, ctx);
    EXPECT_EQ(live.getNumberOfExecutions(ctx), after) << "from " << before;
  }
};

TEST_F(MDTaskTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SCTimestamp moment(ctx, 1711846800123LL);
  Blob bytes(ctx, "\x01\x02", 2);
  Clob text(ctx, javaString("echo"));
  property("getTaskID()J", &MDTask::getTaskID, "setTaskID(J)V", &MDTask::setTaskID, 5000000000LL + 1);
  property("getSuffix()I", &MDTask::getSuffix, "setSuffix(I)V", &MDTask::setSuffix, 102);
  property("getTaskName()Ljava/lang/String;", &MDTask::getTaskName, "setTaskName(Ljava/lang/String;)V",
           &MDTask::setTaskName, "taskName 3");
  property("getDescription()Ljava/lang/String;", &MDTask::getDescription, "setDescription(Ljava/lang/String;)V",
           &MDTask::setDescription, "description 4");
  property("getTaskType()I", &MDTask::getTaskType, "setTaskType(I)V", &MDTask::setTaskType, 105);
  property("getTaskCategory()Ljava/lang/String;", &MDTask::getTaskCategory, "setTaskCategory(Ljava/lang/String;)V",
           &MDTask::setTaskCategory, "taskCategory 6");
  property("getOwner()Ljava/lang/String;", &MDTask::getOwner, "setOwner(Ljava/lang/String;)V", &MDTask::setOwner,
           "owner 7");
  property("getModifier()Ljava/lang/String;", &MDTask::getModifier, "setModifier(Ljava/lang/String;)V",
           &MDTask::setModifier, "modifier 8");
  property("getModified()Ljava/sql/Timestamp;", &MDTask::getModified, "setModified(Ljava/sql/Timestamp;)V",
           &MDTask::setModified, &moment);
  writes("setGeneratedBy(Ljava/lang/String;)V", &MDTask::setGeneratedBy, "generatedBy 10");
  writes("setGeneratedAt(Ljava/sql/Timestamp;)V", &MDTask::setGeneratedAt, &moment);
  property("getState()I", &MDTask::getState, "setState(I)V", &MDTask::setState, 112);
  property("getRunningStatus()I", &MDTask::getRunningStatus, "setRunningStatus(I)V", &MDTask::setRunningStatus, 113);
  property("getNumberOfExecutions()I", &MDTask::getNumberOfExecutions, "setNumberOfExecutions(I)V",
           &MDTask::setNumberOfExecutions, 114);
  property("getNextStart()Ljava/sql/Timestamp;", &MDTask::getNextStart, "setNextStart(Ljava/sql/Timestamp;)V",
           &MDTask::setNextStart, &moment);
  property("getCurrentStartDateTime()Ljava/sql/Timestamp;", &MDTask::getCurrentStartDateTime,
           "setCurrentStartDateTime(Ljava/sql/Timestamp;)V", &MDTask::setCurrentStartDateTime, &moment);
  property("getLastStart()Ljava/sql/Timestamp;", &MDTask::getLastStart, "setLastStart(Ljava/sql/Timestamp;)V",
           &MDTask::setLastStart, &moment);
  property("getLastEnd()Ljava/sql/Timestamp;", &MDTask::getLastEnd, "setLastEnd(Ljava/sql/Timestamp;)V",
           &MDTask::setLastEnd, &moment);
  property("getLastDuration()I", &MDTask::getLastDuration, "setLastDuration(I)V", &MDTask::setLastDuration, 119);
  property("getLastReturnCode()I", &MDTask::getLastReturnCode, "setLastReturnCode(I)V", &MDTask::setLastReturnCode,
           120);
  property("getLastSuccess()I", &MDTask::getLastSuccess, "setLastSuccess(I)V", &MDTask::setLastSuccess, 121);
  property("getLastExecutionUserID()Ljava/lang/String;", &MDTask::getLastExecutionUserID,
           "setLastExecutionUserID(Ljava/lang/String;)V", &MDTask::setLastExecutionUserID, "lastExecutionUserID 22");
  property("getLastExecutionResults()Ljava/sql/Clob;", &MDTask::getLastExecutionResults,
           "setLastExecutionResults(Ljava/sql/Clob;)V", &MDTask::setLastExecutionResults, &text);
  writes("setLastExecutionResultsString(Ljava/lang/String;)V", &MDTask::setLastExecutionResultsString,
         "lastExecutionResultsString 24");
  property("getScriptContent()Ljava/sql/Clob;", &MDTask::getScriptContent, "setScriptContent(Ljava/sql/Clob;)V",
           &MDTask::setScriptContent, &text);
  property("getScriptContentString()Ljava/lang/String;", &MDTask::getScriptContentString,
           "setScriptContentString(Ljava/lang/String;)V", &MDTask::setScriptContentString, "scriptContentString 26");
  property("getCommandProcessor()Ljava/lang/String;", &MDTask::getCommandProcessor,
           "setCommandProcessor(Ljava/lang/String;)V", &MDTask::setCommandProcessor, "commandProcessor 27");
  reads("getProcessorType()I", &MDTask::getProcessorType, 0);
  property("getStatementTerminationChar()Ljava/lang/String;", &MDTask::getStatementTerminationChar,
           "setStatementTerminationChar(Ljava/lang/String;)V", &MDTask::setStatementTerminationChar,
           "statementTerminationChar 29");
  property("getWorkingDir()Ljava/lang/String;", &MDTask::getWorkingDir, "setWorkingDir(Ljava/lang/String;)V",
           &MDTask::setWorkingDir, "workingDir 30");
  property("getFileExtension()Ljava/lang/String;", &MDTask::getFileExtension, "setFileExtension(Ljava/lang/String;)V",
           &MDTask::setFileExtension, "fileExtension 31");
  property("getAdditionalParameters()Ljava/lang/String;", &MDTask::getAdditionalParameters,
           "setAdditionalParameters(Ljava/lang/String;)V", &MDTask::setAdditionalParameters, "additionalParameters 32");
  property("getDefaultParameters()Ljava/lang/String;", &MDTask::getDefaultParameters,
           "setDefaultParameters(Ljava/lang/String;)V", &MDTask::setDefaultParameters, "defaultParameters 33");
  property("getDialogTaskProfile()Ljava/sql/Blob;", &MDTask::getDialogTaskProfile,
           "setDialogTaskProfile(Ljava/sql/Blob;)V", &MDTask::setDialogTaskProfile, &bytes);
  property("getBrixStepID()Ljava/lang/String;", &MDTask::getBrixStepID, "setBrixStepID(Ljava/lang/String;)V",
           &MDTask::setBrixStepID, "brixStepID 35");
  property("getClassName()Ljava/lang/String;", &MDTask::getClassName, "setClassName(Ljava/lang/String;)V",
           &MDTask::setClassName, "className 36");
  property("getShowProgressClassName()Ljava/lang/String;", &MDTask::getShowProgressClassName,
           "setShowProgressClassName(Ljava/lang/String;)V", &MDTask::setShowProgressClassName,
           "showProgressClassName 37");
  property("getShowResultClassName()Ljava/lang/String;", &MDTask::getShowResultClassName,
           "setShowResultClassName(Ljava/lang/String;)V", &MDTask::setShowResultClassName, "showResultClassName 38");
  property("getUserID()Ljava/lang/String;", &MDTask::getUserID, "setUserID(Ljava/lang/String;)V", &MDTask::setUserID,
           "userID 39");
  property("getPasswordString()Ljava/lang/String;", &MDTask::getPasswordString,
           "setPasswordString(Ljava/lang/String;)V", &MDTask::setPasswordString, "passwordString 40");
  property("getPassword()Ljava/sql/Blob;", &MDTask::getPassword, "setPassword(Ljava/sql/Blob;)V", &MDTask::setPassword,
           &bytes);
  property("getSystemID()Ljava/lang/String;", &MDTask::getSystemID, "setSystemID(Ljava/lang/String;)V",
           &MDTask::setSystemID, "systemID 42");
  property("getKelvoInstance()Ljava/lang/String;", &MDTask::getKelvoInstance, "setKelvoInstance(Ljava/lang/String;)V",
           &MDTask::setKelvoInstance, "kelvoInstance 43");
  property("getExecutionSystemID()Ljava/lang/String;", &MDTask::getExecutionSystemID,
           "setExecutionSystemID(Ljava/lang/String;)V", &MDTask::setExecutionSystemID, "executionSystemID 44");
  property("getExecutionPartitionID()Ljava/lang/String;", &MDTask::getExecutionPartitionID,
           "setExecutionPartitionID(Ljava/lang/String;)V", &MDTask::setExecutionPartitionID, "executionPartitionID 45");
  property("getTargetDBObjects()Ljava/lang/String;", &MDTask::getTargetDBObjects,
           "setTargetDBObjects(Ljava/lang/String;)V", &MDTask::setTargetDBObjects, "targetDBObjects 46");
  property("getPassRunSystem()I", &MDTask::getPassRunSystem, "setPassRunSystem(I)V", &MDTask::setPassRunSystem, 147);
  property("getPassTargetDBObj()I", &MDTask::getPassTargetDBObjects, "setPassTargetDBObj(I)V",
           &MDTask::setPassTargetDBObjects, 148);
  property("getRetryCount()I", &MDTask::getRetryCount, "setRetryCount(I)V", &MDTask::setRetryCount, 149);
  property("getRetryInterval()I", &MDTask::getRetryInterval, "setRetryInterval(I)V", &MDTask::setRetryInterval, 150);
  property("getStopAtStepFailure()I", &MDTask::getStopAtStepFailure, "setStopAtStepFailure(I)V",
           &MDTask::setStopAtStepFailure, 151);
  property("getScheduleEnable()I", &MDTask::getScheduleEnable, "setScheduleEnable(I)V", &MDTask::setScheduleEnable,
           152);
  property("getNotificationEnable()I", &MDTask::getNotificationEnable, "setNotificationEnable(I)V",
           &MDTask::setNotificationEnable, 153);
  property("getFollowOnTaskEnable()I", &MDTask::getFollowOnTaskEnable, "setFollowOnTaskEnable(I)V",
           &MDTask::setFollowOnTaskEnable, 154);
}

TEST_F(MDTaskTest, CreatingMakesAJavaTask) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTask>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDTask task(ctx, newFake("MDTaskType"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(task.object, record));
  const MDTask none(ctx, record, nullptr);
  EXPECT_EQ(none.object, nullptr);
  EXPECT_EQ(none.objectClass, nullptr);
}

TEST_F(MDTaskTest, StoreOperationsReportLogAndTrace) {
  live.setTaskID(ctx, 0x100000007LL);
  const Operation<MDTask> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDTask& task, int& sqlCode) { return task.insert(ctx, context, sqlCode); }), "0x10080140/10", " 7",
       " 0"},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDTask& task, int& sqlCode) { return task.update(ctx, context, sqlCode); }), "0x10080141/10", " 7",
       " 0", "0x1AE80100"},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDTask& task, int& sqlCode) { return task.deleteIt(ctx, context, sqlCode); }), "0x10080143/10",
       " 7", " 0", "0x1AE80101"},
      {"getReferenceID", storeMethod("", "J"), "getReferenceID(context, exception)",
       byOutputs(
           [&](MDTask& task, int& rc, int& sqlCode) { EXPECT_EQ(task.getReferenceID(ctx, context, rc, sqlCode), 0); })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskTest, TheReferenceIDIsTheStoresWhole64Bits) {
  script.on("MDTask.getReferenceID").returnsLong(0x123456789ALL);
  int rc = 1, sqlCode = 1;
  EXPECT_EQ(live.getReferenceID(ctx, context, rc, sqlCode), 0x123456789ALL);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(MDTaskTest, AFailureIsLoggedWithFourByteIntegers) {
  const LogCapture log;
  script.on("MDTask.insert").code(30012, -803);
  int sqlCode = 0;
  live.insert(ctx, context, sqlCode);
  const auto records = log.records();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].code, 0);
  EXPECT_EQ(records[0].level, 3u);
  ASSERT_EQ(records[0].items.size(), 3u);
  for (const auto& item : records[0].items) {
    EXPECT_EQ(item.type, kLogInteger);
    EXPECT_EQ(item.bytes.size(), 4u);
  }
}

TEST_F(MDTaskTest, IncrementingCountsFromZeroAtLeast) {
  expectCountAfter(&MDTask::incrNumberOfExecutions, -5, 1);
  expectCountAfter(&MDTask::incrNumberOfExecutions, 0, 1);
  expectCountAfter(&MDTask::incrNumberOfExecutions, 3, 4);
}

TEST_F(MDTaskTest, DecrementingStopsAtZero) {
  expectCountAfter(&MDTask::decrNumberOfExecutions, 0, 0);
  expectCountAfter(&MDTask::decrNumberOfExecutions, 1, 0);
  expectCountAfter(&MDTask::decrNumberOfExecutions, -5, 0);
  expectCountAfter(&MDTask::decrNumberOfExecutions, -2147483647 - 1, 0);
  expectCountAfter(&MDTask::decrNumberOfExecutions, 3, 2);
}

TEST_F(MDTaskTest, ThePasswordGoesInAndOutAsTheSameByteArray) {
  const LocalRef<jbyteArray> bytes(ctx.env, ctx.env->NewByteArray(3));
  live.setPasswordByteArr(ctx, bytes.get());
  EXPECT_EQ(script.properties(), Strings{"MDTask.setPasswordByteArr([0, 0, 0])"});
  {
    const LocalRef<jbyteArray> got(ctx.env, live.getPassword(ctx, context));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), bytes.get()));
  }
  EXPECT_EQ(script.calls(), Strings{"MDTask.getPassword(context, exception)"});
  const Strings& lookups = jni.lookups();
  EXPECT_EQ(std::count(lookups.begin(), lookups.end(),
                       "com/orvik/kelvo/mesk/metadata/MDTask.getPassword" + storeMethod("", "[B")),
            1);

  script.on("MDTask.getPassword").code(4711).returns(bytes.get());
  const LocalRef<jbyteArray> beside(ctx.env, live.getPassword(ctx, context));
  EXPECT_TRUE(ctx.env->IsSameObject(beside.get(), bytes.get()));
  EXPECT_EQ(std::count(lookups.begin(), lookups.end(), "com/orvik/kelvo/common/parl/api/PARLException.getRC()I"), 0)
      << "nobody asks for the code";
}

TEST_F(MDTaskTest, WithoutTheMethodThereIsNoPassword) {
  EXPECT_EQ(dead.getPassword(ctx, context), nullptr);
  dead.setPasswordByteArr(ctx, nullptr);
  jni.failMethod("getPassword");
  jni.failMethod("setPasswordByteArr");
  EXPECT_EQ(live.getPassword(ctx, context), nullptr);
  live.setPasswordByteArr(ctx, nullptr);
  jni.heal();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(live.getPassword(ctx, context), nullptr);
  EXPECT_EQ(script.count("MDTask.getPassword(context, exception)"), 0);
}

TEST_F(MDTaskTest, TheFormattedCategoryIsAskedWithoutAnExceptionObject) {
  script.on("MDTask.getFormattedTaskCategoriesName").returns("Backup, nightly");
  EXPECT_EQ(taken(live.getFormattedTaskCategoriesName(ctx, context)), "Backup, nightly");
  EXPECT_EQ(script.calls(), Strings{"MDTask.getFormattedTaskCategoriesName(context)"});
  EXPECT_EQ(script.properties(), Strings{});
  EXPECT_EQ(jni.lookups(), Strings{"com/orvik/kelvo/mesk/metadata/MDTask.getFormattedTaskCategoriesName"
                                   "(Lcom/orvik/kelvo/common/parl/api/Context;)Ljava/lang/String;"});
  EXPECT_EQ(dead.getFormattedTaskCategoriesName(ctx, context), nullptr);
  jni.failMethod("getFormattedTaskCategoriesName");
  EXPECT_EQ(live.getFormattedTaskCategoriesName(ctx, context), nullptr);
}

TEST_F(MDTaskTest, FinalizeReachesTheJavaObject) {
  live.finalize(ctx);
  EXPECT_EQ(script.calls(), Strings{"MDTask.finalize()"});
  EXPECT_EQ(jni.lookups(), Strings{"com/orvik/kelvo/mesk/metadata/MDTask.finalize()V"});
}

TEST_F(MDTaskTest, ADeadTaskCountsNothing) {
  const int calls = jni.calls();
  dead.incrNumberOfExecutions(ctx);
  dead.decrNumberOfExecutions(ctx);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(MDTaskTest, AllCharactersTakeTheOneLatch) {
  MDTask::lockAll('x');
  ASSERT_NE(MDTask::lockAllData, nullptr);
  EXPECT_NE(ossWin32Lock8ExchangeInternal(MDTask::lockAllData), 0) << "held";

  std::atomic<bool> about = false;
  std::atomic<bool> released = false;
  std::atomic<bool> sawRelease = false;
  std::thread other([&] {
    about = true;
    about.notify_one();
    MDTask::lockAll('y');
    sawRelease = released.load();
    MDTask::unlockAll('x');
  });
  about.wait(false);
  released = true;
  MDTask::unlockAll('z');
  other.join();
  EXPECT_TRUE(sawRelease);
}

TEST_F(MDTaskTest, CountsUnderTheLatchLoseNoUpdate) {
  MDTask::unlockAll(' ');
  constexpr int kThreads = 4;
  constexpr int kEach = 2000;
  int total = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&total, i] {
      for (int k = 0; k < kEach; ++k) {
        MDTask::lockAll(static_cast<char>('a' + i));
        total = total + 1;
        MDTask::unlockAll(static_cast<char>('z' - i));
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(total, kThreads * kEach);
}

TEST_F(MDTaskTest, UnlockingFirstMakesAFreeLatch) {
  ASSERT_EQ(MDTask::lockAllData, nullptr);
  MDTask::unlockAll('x');
  ASSERT_NE(MDTask::lockAllData, nullptr);
  EXPECT_EQ(ossWin32Lock8ExchangeInternal(MDTask::lockAllData), 0);
}

TEST_F(MDTaskTest, FreeLockDeletesTheLatch) {
  MDTask::freeLock();
  EXPECT_EQ(MDTask::lockAllData, nullptr);
  MDTask::lockAll('x');
  MDTask::freeLock();
  EXPECT_EQ(MDTask::lockAllData, nullptr);
}

}  // namespace
}  // namespace mesk::test
