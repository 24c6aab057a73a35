// How a task has performed.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/support/GuardedTest.h>
#include <mesk/tasks/MDTask.h>

#include <atomic>
#include <thread>

namespace mesk::test {
namespace {

class MDTaskStatisticTest : public GuardedTest<MDTaskStatistic> {
 protected:
  MDTaskStatisticTest() : GuardedTest("MDTaskStatistic") {}
  ~MDTaskStatisticTest() override { MDTaskStatistic::freeLock(); }
};

TEST_F(MDTaskStatisticTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SCTimestamp moment(ctx, 1711846800123LL);
  property("getTaskID()J", &MDTaskStatistic::getTaskID, "setTaskID(J)V", &MDTaskStatistic::setTaskID, 5000000000LL + 1);
  property("getSuffix()I", &MDTaskStatistic::getSuffix, "setSuffix(I)V", &MDTaskStatistic::setSuffix, 102);
  property("getFirstExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getFirstExecution,
           "setFirstExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setFirstExecution, &moment);
  property("getTotalSuccessfulExecutions()I", &MDTaskStatistic::getTotalSuccessfulExecutions,
           "setTotalSuccessfulExecutions(I)V", &MDTaskStatistic::setTotalSuccessfulExecutions, 104);
  property("getTotalFailedExecutions()I", &MDTaskStatistic::getTotalFailedExecutions, "setTotalFailedExecutions(I)V",
           &MDTaskStatistic::setTotalFailedExecutions, 105);
  property("getTotalElapsedTime()I", &MDTaskStatistic::getTotalElapsedTime, "setTotalElapsedTime(I)V",
           &MDTaskStatistic::setTotalElapsedTime, 106);
  property("getTotalRowCount()I", &MDTaskStatistic::getTotalRowCount, "setTotalRowCount(I)V",
           &MDTaskStatistic::setTotalRowCount, 107);
  property("getTotalByteCount()I", &MDTaskStatistic::getTotalByteCount, "setTotalByteCount(I)V",
           &MDTaskStatistic::setTotalByteCount, 108);
  property("getLastExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getLastExecution,
           "setLastExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setLastExecution, &moment);
  property("getLastExecutionElapsedTime()I", &MDTaskStatistic::getLastExecutionElapsedTime,
           "setLastExecutionElapsedTime(I)V", &MDTaskStatistic::setLastExecutionElapsedTime, 110);
  property("getLastExecutionRowCount()I", &MDTaskStatistic::getLastExecutionRowCount, "setLastExecutionRowCount(I)V",
           &MDTaskStatistic::setLastExecutionRowCount, 111);
  property("getLastExecutionByteCount()I", &MDTaskStatistic::getLastExecutionByteCount, "setLastExecutionByteCount(I)V",
           &MDTaskStatistic::setLastExecutionByteCount, 112);
  property("getFastestExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getFastestExecution,
           "setFastestExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setFastestExecution, &moment);
  property("getFastestExecutionElapsedTime()I", &MDTaskStatistic::getFastestExecutionElapsedTime,
           "setFastestExecutionElapsedTime(I)V", &MDTaskStatistic::setFastestExecutionElapsedTime, 114);
  property("getFastestExecutionRowCount()I", &MDTaskStatistic::getFastestExecutionRowCount,
           "setFastestExecutionRowCount(I)V", &MDTaskStatistic::setFastestExecutionRowCount, 115);
  property("getFastestExecutionByteCount()I", &MDTaskStatistic::getFastestExecutionByteCount,
           "setFastestExecutionByteCount(I)V", &MDTaskStatistic::setFastestExecutionByteCount, 116);
  property("getSlowestExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getSlowestExecution,
           "setSlowestExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setSlowestExecution, &moment);
  property("getSlowestExecutionElapsedTime()I", &MDTaskStatistic::getSlowestExecutionElapsedTime,
           "setSlowestExecutionElapsedTime(I)V", &MDTaskStatistic::setSlowestExecutionElapsedTime, 118);
  property("getSlowestExecutionRowCount()I", &MDTaskStatistic::getSlowestExecutionRowCount,
           "setSlowestExecutionRowCount(I)V", &MDTaskStatistic::setSlowestExecutionRowCount, 119);
  property("getSlowestExecutionByteCount()I", &MDTaskStatistic::getSlowestExecutionByteCount,
           "setSlowestExecutionByteCount(I)V", &MDTaskStatistic::setSlowestExecutionByteCount, 120);
  property("getLargestExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getLargestExecution,
           "setLargestExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setLargestExecution, &moment);
  property("getLargestExecutionElapsedTime()I", &MDTaskStatistic::getLargestExecutionElapsedTime,
           "setLargestExecutionElapsedTime(I)V", &MDTaskStatistic::setLargestExecutionElapsedTime, 122);
  property("getLargestExecutionRowCount()I", &MDTaskStatistic::getLargestExecutionRowCount,
           "setLargestExecutionRowCount(I)V", &MDTaskStatistic::setLargestExecutionRowCount, 123);
  property("getLargestExecutionByteCount()I", &MDTaskStatistic::getLargestExecutionByteCount,
           "setLargestExecutionByteCount(I)V", &MDTaskStatistic::setLargestExecutionByteCount, 124);
  property("getSmallestExecution()Ljava/sql/Timestamp;", &MDTaskStatistic::getSmallestExecution,
           "setSmallestExecution(Ljava/sql/Timestamp;)V", &MDTaskStatistic::setSmallestExecution, &moment);
  property("getSmallestExecutionElapsedTime()I", &MDTaskStatistic::getSmallestExecutionElapsedTime,
           "setSmallestExecutionElapsedTime(I)V", &MDTaskStatistic::setSmallestExecutionElapsedTime, 126);
  property("getSmallestExecutionRowCount()I", &MDTaskStatistic::getSmallestExecutionRowCount,
           "setSmallestExecutionRowCount(I)V", &MDTaskStatistic::setSmallestExecutionRowCount, 127);
  property("getSmallestExecutionByteCount()I", &MDTaskStatistic::getSmallestExecutionByteCount,
           "setSmallestExecutionByteCount(I)V", &MDTaskStatistic::setSmallestExecutionByteCount, 128);
}

TEST_F(MDTaskStatisticTest, CreatingMakesAJavaRecord) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskStatistic>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskStatisticTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDTaskStatistic statistic(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(statistic.object, record));
}

TEST_F(MDTaskStatisticTest, StoreOperationsReportAndLog) {
  live.setTaskID(ctx, 0x100000007LL);
  const Operation<MDTaskStatistic> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDTaskStatistic& target, int& sqlCode) { return target.insert(ctx, context, sqlCode); }),
       "0x1008014F/10", " 7", " 0"},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDTaskStatistic& target, int& sqlCode) { return target.update(ctx, context, sqlCode); }),
       "0x10080150/10", " 7", " 0"},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDTaskStatistic& target, int& sqlCode) { return target.deleteIt(ctx, context, sqlCode); }),
       "0x10080152/10", " 7", " 0"},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskStatisticTest, AFailuresRecordHasThreeIntegersAndNothingElse) {
  live.setTaskID(ctx, -1);
  script.on("MDTaskStatistic.update").code(30012, -803);
  const LogCapture log;
  int sqlCode = 77;
  EXPECT_EQ(live.update(ctx, context, sqlCode), 30012);
  ASSERT_EQ(log.records().size(), 1u);
  const LogCapture::Record written = log.records()[0];
  EXPECT_EQ(written.function, 0x10080150u);
  EXPECT_EQ(written.code, 0);
  EXPECT_EQ(written.probe, 10u);
  EXPECT_EQ(written.level, 3u);
  ASSERT_EQ(written.items.size(), 3u);
  for (const LogCapture::Item& item : written.items) {
    EXPECT_EQ(item.type, -2);
    EXPECT_EQ(item.bytes.size(), 4u);
  }
  EXPECT_EQ(written.items[0].integer(), 30012);
  EXPECT_EQ(written.items[1].integer(), -803);
  EXPECT_EQ(written.items[2].integer(), -1);
}

TEST_F(MDTaskStatisticTest, OneThatCouldNotBeMadeIsNotInsertedAndThatIsLogged) {
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDTaskStatistic");
  int rc = 77, sqlCode = 77;
  MDTaskStatistic statistic(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, -300);
  jni.heal();
  const LogCapture log;
  EXPECT_EQ(statistic.insert(ctx, context, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(log.lines(), Strings{"0x1008014F/10 -300 0 0"});
}

TEST_F(MDTaskStatisticTest, RightsAreAskedAndChangedForUsersAndGroups) { checkRights(); }

TEST_F(MDTaskStatisticTest, GivingTheLatchBackFirstMakesItFree) {
  ASSERT_EQ(MDTaskStatistic::lockAllData, nullptr);
  MDTaskStatistic::unlockAll();
  ASSERT_NE(MDTaskStatistic::lockAllData, nullptr);
  EXPECT_EQ(*MDTaskStatistic::lockAllData, 0);
  MDTaskStatistic::lockAll();
  EXPECT_NE(*MDTaskStatistic::lockAllData, 0);
  MDTaskStatistic::unlockAll();
  EXPECT_EQ(*MDTaskStatistic::lockAllData, 0);
  MDTaskStatistic::freeLock();
  EXPECT_EQ(MDTaskStatistic::lockAllData, nullptr);
}

TEST_F(MDTaskStatisticTest, TakingTheLatchFirstMakesItHeld) {
  MDTaskStatistic::lockAll();
  ASSERT_NE(MDTaskStatistic::lockAllData, nullptr);
  EXPECT_NE(*MDTaskStatistic::lockAllData, 0);
  MDTaskStatistic::unlockAll();
}

TEST_F(MDTaskStatisticTest, TheLatchIsNotTheOneOfOtherClasses) {
  MDTaskStatistic::lockAll();
  MDTask::lockAll(' ');
  MDTaskHistory::lockAll();
  EXPECT_NE(MDTaskStatistic::lockAllData, MDTask::lockAllData);
  EXPECT_NE(MDTaskStatistic::lockAllData, MDTaskHistory::lockAllData);
  MDTask::unlockAll(' ');
  MDTaskHistory::unlockAll();
  MDTask::freeLock();
  MDTaskHistory::freeLock();
  EXPECT_NE(*MDTaskStatistic::lockAllData, 0) << "held";
  MDTaskStatistic::unlockAll();
}

TEST_F(MDTaskStatisticTest, WhoTakesAHeldLatchWaits) {
  MDTaskStatistic::lockAll();
  std::atomic<bool> about = false;
  std::atomic<bool> released = false;
  std::atomic<bool> sawRelease = false;
  std::thread other([&] {
    about = true;
    about.notify_one();
    MDTaskStatistic::lockAll();
    sawRelease = released.load();
    MDTaskStatistic::unlockAll();
  });
  about.wait(false);
  released = true;
  MDTaskStatistic::unlockAll();
  other.join();
  EXPECT_TRUE(sawRelease);
}

}  // namespace
}  // namespace mesk::test
