// The outcome of one part of an execution.
#include <mesk/history/MDTaskResult.h>
#include <mesk/support/GuardedTest.h>

namespace mesk::test {
namespace {

class MDTaskResultTest : public GuardedTest<MDTaskResult> {
 protected:
  MDTaskResultTest() : GuardedTest("MDTaskResult") {}
};

TEST_F(MDTaskResultTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SCTimestamp moment(ctx, 1711846800123LL);
  property("getPartitionID()I", &MDTaskResult::getPartitionID, "setPartitionID(I)V", &MDTaskResult::setPartitionID,
           101);
  property("getReturnCode()I", &MDTaskResult::getReturnCode, "setReturnCode(I)V", &MDTaskResult::setReturnCode, 102);
  property("getExecutionResultsString()Ljava/lang/String;", &MDTaskResult::getExecutionResultsString,
           "setExecutionResultsString(Ljava/lang/String;)V", &MDTaskResult::setExecutionResultsString,
           "executionResultsString 3");
  property("getStart()Ljava/sql/Timestamp;", &MDTaskResult::getStart, "setStart(Ljava/sql/Timestamp;)V",
           &MDTaskResult::setStart, &moment);
  property("getEnd()Ljava/sql/Timestamp;", &MDTaskResult::getEnd, "setEnd(Ljava/sql/Timestamp;)V",
           &MDTaskResult::setEnd, &moment);
  property("getDuration()I", &MDTaskResult::getDuration, "setDuration(I)V", &MDTaskResult::setDuration, 106);
  property("getRunningStatus()I", &MDTaskResult::getRunningStatus, "setRunningStatus(I)V",
           &MDTaskResult::setRunningStatus, 107);
  property("getByteCount()I", &MDTaskResult::getByteCount, "setByteCount(I)V", &MDTaskResult::setByteCount, 108);
  property("getRowCount()I", &MDTaskResult::getRowCount, "setRowCount(I)V", &MDTaskResult::setRowCount, 109);
}

TEST_F(MDTaskResultTest, CreatingMakesAJavaResult) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskResult>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskResultTest, StoreOperationsReportAndLog) {
  const Operation<MDTaskResult> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDTaskResult& target, int& sqlCode) { return target.insert(ctx, context, sqlCode); }),
       "0x1008014B/10", "", ""},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDTaskResult& target, int& sqlCode) { return target.update(ctx, context, sqlCode); }),
       "0x1008014C/10", "", ""},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDTaskResult& target, int& sqlCode) { return target.deleteIt(ctx, context, sqlCode); }),
       "0x1008014D/10", "", ""},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskResultTest, TheCombinedSetterSetsStatusStartEndAndDurationInThisOrder) {
  SCTimestamp start(ctx, 1000LL);
  SCTimestamp end(ctx, 2000LL);
  live.setExecution(ctx, 5, &start, &end, 60);
  live.setExecution(ctx, 6, nullptr, nullptr, 0);
  EXPECT_EQ(script.properties(), (Strings{"MDTaskResult.setRunningStatus(5)", "MDTaskResult.setStart(Timestamp@1000)",
                                          "MDTaskResult.setEnd(Timestamp@2000)", "MDTaskResult.setDuration(60)",
                                          "MDTaskResult.setRunningStatus(6)", "MDTaskResult.setStart(null)",
                                          "MDTaskResult.setEnd(null)", "MDTaskResult.setDuration(0)"}));
}

TEST_F(MDTaskResultTest, RightsAreAskedAndChangedForUsersAndGroups) { checkRights(); }

}  // namespace
}  // namespace mesk::test
