#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>

#include <memory>

namespace mesk::test {
namespace {

using Lines = std::vector<std::string>;

class MDTaskExecTypeTest : public JvmTest {
 protected:
  MDTaskExecTypeTest() : home(ctx, newFake("MDTaskExecType"), context), dead(ctx, nullptr, nullptr) {}

  /// Deletes what was handed out.
  void release() {
    for (int i = 0; i < count; ++i) delete list[i];
    delete[] list;
  }

  MDTaskExecType home;
  MDTaskExecType dead;
  MDTaskExec** list = reinterpret_cast<MDTaskExec**>(this);  // anything but null
  int count = 99;
  int rc = 99;
  int sqlCode = 99;
};

TEST_F(MDTaskExecTypeTest, AHomeIsMadeFromTheContextOrUnreached) {
  const MDTaskExecType made(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(script.calls(), (Lines{"new MDTaskExecType(context, exception)"}));
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDTaskExecType");
  const MDTaskExecType none(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(MDTaskExecTypeTest, RetrieveAnswersTheJavaRecordOfTheKey) {
  const jobject record = newFake("MDTaskExec");
  script.on("MDTaskExecType.retrieve").returns(record);
  const LocalRef<> found(ctx.env, home.retrieve(ctx, context, 5'000'000'001, rc, sqlCode));
  EXPECT_TRUE(ctx.env->IsSameObject(found.get(), record));
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExecType.retrieve(context, 5000000001, exception)"}));
}

TEST_F(MDTaskExecTypeTest, RetrieveOfAnUnknownKeyIsNullWithTheStoresCodes) {
  script.on("MDTaskExecType.retrieve").code(30013, 100);
  EXPECT_EQ(home.retrieve(ctx, context, 7, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, 30013);
  EXPECT_EQ(sqlCode, 100);
}

TEST_F(MDTaskExecTypeTest, RetrieveHandsOutNoRecordBesideAFailure) {
  script.on("MDTaskExecType.retrieve").code(4711, -803).returns(newFake("MDTaskExec"));
  EXPECT_EQ(home.retrieve(ctx, context, 7, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, 4711);
  EXPECT_EQ(sqlCode, -803);
}

TEST_F(MDTaskExecTypeTest, RetrieveOfADeadHomeIsUnreached) {
  EXPECT_EQ(dead.retrieve(ctx, context, 7, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(MDTaskExecTypeTest, DeleteByKeyAnswersTheStoresCodeOrUnreached) {
  EXPECT_EQ(home.deleteIt(ctx, context, 5'000'000'001, sqlCode), 0);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExecType.delete(context, 5000000001, exception)"}));
  script.on("MDTaskExecType.delete").code(30013, 100);
  EXPECT_EQ(home.deleteIt(ctx, context, 7, sqlCode), 30013);
  EXPECT_EQ(sqlCode, 100);
  EXPECT_EQ(dead.deleteIt(ctx, context, 7, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  jni.failMethod("delete");
  EXPECT_EQ(home.deleteIt(ctx, context, 7, sqlCode), -300);
}

TEST_F(MDTaskExecTypeTest, RetrieveListWrapsEachRecordInOrder) {
  const jobject first = newFake("MDTaskExec");
  const jobject second = newFake("MDTaskExec");
  script.on("MDTaskExecType.retrieveList").returnsList({first, second});
  const LogCapture log;
  const TraceCapture trace;
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 0);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_TRUE(ctx.env->IsSameObject(list[0]->object, first));
  EXPECT_TRUE(ctx.env->IsSameObject(list[1]->object, second));
  EXPECT_EQ(log.lines(), Lines{});
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80132", "exit 0x1AE80132 0"}));
  release();
}

TEST_F(MDTaskExecTypeTest, AnEmptyListIsSuccessWithoutAnArray) {
  script.on("MDTaskExecType.retrieveList").returnsList({});
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0);
}

TEST_F(MDTaskExecTypeTest, NothingToListIsSuccessWithoutAnSQLCodeAndWithoutALog) {
  script.on("MDTaskExecType.retrieveList").code(30013, 100);
  const LogCapture log;
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(MDTaskExecTypeTest, ThatNothingIsRelatedIsAFailureOfThisList) {
  script.on("MDTaskExecType.retrieveList").code(30014, 100);
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 30014);
}

TEST_F(MDTaskExecTypeTest, AListThatFailsIsLoggedWithItsCodesAndGivesNothing) {
  script.on("MDTaskExecType.retrieveList").code(30001, -204).returnsList({newFake("MDTaskExec")});
  const LogCapture log;
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 30001);
  EXPECT_EQ(sqlCode, -204);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(log.lines(), (Lines{"0x10080147/10 30001 -204"}));
}

TEST_F(MDTaskExecTypeTest, AListOfADeadHomeOrWithoutItsMethodIsUnreachedAndLogged) {
  const LogCapture log;
  EXPECT_EQ(dead.retrieveList(ctx, context, list, count, sqlCode), -300);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(count, 0);
  jni.failMethod("retrieveList");
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), -300);
  EXPECT_EQ(log.lines(), (Lines{"0x10080147/10 -300 0", "0x10080147/10 -300 0"}));
}

TEST_F(MDTaskExecTypeTest, AListWhoseCollectionCannotBeReadIsEmpty) {
  script.on("MDTaskExecType.retrieveList").returnsList({newFake("MDTaskExec")});
  for (const char* const method : {"size", "get"}) {
    jni.failMethod(method);
    EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 0) << method;
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0);
    jni.heal();
  }
}

TEST_F(MDTaskExecTypeTest, ARecordWithoutMemoryLeavesANullSlot) {
  script.on("MDTaskExecType.retrieveList").returnsList({newFake("MDTaskExec"), newFake("MDTaskExec")});
  const AllocationFault fault(AllocationFault::kNew, 2);  // behind the array
  EXPECT_EQ(home.retrieveList(ctx, context, list, count, sqlCode), 0);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(list[0], nullptr);
  EXPECT_NE(list[1], nullptr);
  release();
}

}  // namespace
}  // namespace mesk::test
