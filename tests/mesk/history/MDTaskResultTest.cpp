// The outcome of one part of an execution.
#include <mesk/history/MDTaskResult.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/support/WrapperTest.h>

#include <functional>

namespace mesk::test {
namespace {

const char* const kUser = "Lcom/orvik/kelvo/mesk/metadata/MDUser;";
const char* const kGroup = "Lcom/orvik/kelvo/mesk/metadata/MDGroup;";

class MDTaskResultTest : public WrapperTest<MDTaskResult> {
 protected:
  MDTaskResultTest() : WrapperTest("MDTaskResult") {}
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

/// The questions and changes of one right.
struct Right {
  const char* name;
  int (MDTaskResult::*askUser)(ThreadContext&, jobject, MDUser&, int&, int&);
  int (MDTaskResult::*askGroup)(ThreadContext&, jobject, MDGroup&, int&, int&);
  int (MDTaskResult::*changeUser)(ThreadContext&, jobject, MDUser&, int, int&);
  int (MDTaskResult::*changeGroup)(ThreadContext&, jobject, MDGroup&, int, int&);
};

const Right kRights[] = {
    {"Read", &MDTaskResult::getReadPermission, &MDTaskResult::getReadPermission, &MDTaskResult::setReadPermission,
     &MDTaskResult::setReadPermission},
    {"Update", &MDTaskResult::getUpdatePermission, &MDTaskResult::getUpdatePermission,
     &MDTaskResult::setUpdatePermission, &MDTaskResult::setUpdatePermission},
    {"Execute", &MDTaskResult::getExecutePermission, &MDTaskResult::getExecutePermission,
     &MDTaskResult::setExecutePermission, &MDTaskResult::setExecutePermission},
};

TEST_F(MDTaskResultTest, RightsAreAskedAndChangedForUsersAndGroups) {
  MDUser user(ctx, "joe");
  MDGroup group(ctx, "ops");
  for (const Right& right : kRights) {
    const std::string get = std::string("get") + right.name + "Permission";
    const std::string set = std::string("set") + right.name + "Permission";
    const auto check = [&](const auto& ask, const auto& change, auto& principal, const std::string& type,
                           const std::string& shown) {
      const std::string asked = get + "(context, " + shown + ", exception)";
      checkOperation({get.c_str(), storeMethod(type, "Z"), asked.c_str(),
                      byOutputs([&](MDTaskResult& target, int& rc, int& sqlCode) {
                        EXPECT_EQ(std::invoke(ask, target, ctx, context, principal, rc, sqlCode), 0);
                      })});
      for (const int allowed : {0, 1, 0x101, 0x100}) {
        const std::string changed =
            set + "(context, " + shown + (allowed % 256 == 1 ? ", true" : ", false") + ", exception)";
        checkOperation({set.c_str(), storeMethod(type + "Z", "V"), changed.c_str(),
                        byResult([&](MDTaskResult& target, int& sqlCode) {
                          return std::invoke(change, target, ctx, context, principal, allowed, sqlCode);
                        })});
      }
    };
    check(right.askUser, right.changeUser, user, kUser, "MDUser:JOE");
    check(right.askGroup, right.changeGroup, group, kGroup, "MDGroup:OPS");
  }
}

TEST_F(MDTaskResultTest, ARightIsHeldExactlyWhenTheStoreSaysYesAndNothingFailed) {
  MDUser user(ctx, "joe");
  MDGroup group(ctx, "ops");
  for (const Right& right : kRights) {
    SCOPED_TRACE(right.name);
    const std::string get = std::string("MDTaskResult.get") + right.name + "Permission";
    int rc = 77, sqlCode = 77;
    script.on(get.c_str()).returnsBoolean(true);
    EXPECT_EQ(std::invoke(right.askUser, live, ctx, context, user, rc, sqlCode), 1);
    EXPECT_EQ(rc, 0);
    EXPECT_EQ(std::invoke(right.askGroup, live, ctx, context, group, rc, sqlCode), 1);
    script.reset();
    script.on(get.c_str()).code(4711, -803).returnsBoolean(true);
    EXPECT_EQ(std::invoke(right.askUser, live, ctx, context, user, rc, sqlCode), 0);
    EXPECT_EQ(rc, 4711);
    EXPECT_EQ(sqlCode, -803);
  }
}

TEST_F(MDTaskResultTest, ADeadUserOrGroupIsNotAskedAbout) {
  MDUser user(ctx, static_cast<jobject>(nullptr));
  MDGroup group(ctx, static_cast<jobject>(nullptr));
  for (const Right& right : kRights) {
    int rc = 77, sqlCode = 77;
    EXPECT_EQ(std::invoke(right.askUser, live, ctx, context, user, rc, sqlCode), 0);
    EXPECT_EQ(rc, -300);
    EXPECT_EQ(sqlCode, 0);
    EXPECT_EQ(std::invoke(right.askGroup, live, ctx, context, group, rc, sqlCode), 0);
    EXPECT_EQ(rc, -300);
    EXPECT_EQ(std::invoke(right.changeUser, live, ctx, context, user, 1, sqlCode), -300);
    EXPECT_EQ(std::invoke(right.changeGroup, live, ctx, context, group, 1, sqlCode), -300);
  }
  EXPECT_EQ(script.calls(), Strings{});
}

}  // namespace
}  // namespace mesk::test
