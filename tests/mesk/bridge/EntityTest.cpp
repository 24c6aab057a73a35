// How a record is made, and its four operations on the store.
#include <mesk/bridge/StoreCall.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

/// A wrapper with nothing of its own.
class Rule : public MDObject {
 public:
  Rule(ThreadContext& ctx, jobject store, int& rc, int& sqlCode) {
    create(ctx, metadataClass<"MDScheduleEvent">, store, rc, sqlCode);
  }
  Rule(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

  using MDObject::persist;
  using MDObject::referenceID;
};

class EntityTest : public JvmTest {
 protected:
  int rc = 1;
  int sqlCode = 1;
};

TEST_F(EntityTest, ANewRecordIsMadeWithTheContextAndAnExceptionObject) {
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_TRUE(isLive(rule));
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{"new MDScheduleEvent(context, exception)"});
  EXPECT_EQ(script.count("MDUtility.getNestedSQLCode(exception)"), 0);
  EXPECT_EQ(jni.globals(), 2);
}

TEST_F(EntityTest, ANewRecordTakesTheStoresCodesAndIsLiveNonetheless) {
  script.on("new MDScheduleEvent").code(30026, -99);
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_TRUE(isLive(rule));
  EXPECT_EQ(rc, 30026);
  EXPECT_EQ(sqlCode, -99);
}

TEST_F(EntityTest, ARecordWhoseClassIsMissingIsDead) {
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDScheduleEvent");
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_EQ(rule.object, nullptr);
  EXPECT_EQ(rule.objectClass, nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(EntityTest, ARecordWithoutAnExceptionObjectIsDead) {
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_EQ(rule.object, nullptr);
  EXPECT_EQ(rule.objectClass, nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(EntityTest, ARecordWhoseConstructorIsMissingIsDead) {
  jni.failMethod("<init>");
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_EQ(rule.object, nullptr);
  EXPECT_EQ(rc, -300);
}

TEST_F(EntityTest, ARecordThatJavaRefusesIsDead) {
  jni.fail(JniTable::kNewObject, 2);  // the first is the exception object
  const Rule rule(ctx, context, rc, sqlCode);
  EXPECT_EQ(rule.object, nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(EntityTest, WhicheverGlobalReferenceIsRefusedTheRecordIsDeadAndNothingLeaks) {
  for (const int which : {1, 2, 3, 4}) {
    jni.fail(JniTable::kNewGlobalRef, which);
    rc = sqlCode = 1;
    {
      const Rule rule(ctx, context, rc, sqlCode);
      EXPECT_FALSE(isLive(rule)) << which;
      // The fourth is that of the object, which the store has made.
      EXPECT_EQ(rc, which == 4 ? 0 : -300) << which;
      EXPECT_EQ(sqlCode, 0) << which;
    }
    EXPECT_EQ(jni.globals(), 0) << which;
    EXPECT_EQ(jni.locals(), 0) << which;
  }
}

TEST_F(EntityTest, OperationsReachJavaWithTheContextAndAnExceptionObject) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  for (const char* operation : {"insert", "update", "delete"}) {
    sqlCode = 1;
    EXPECT_EQ(rule.persist(ctx, operation, context, sqlCode), 0);
    EXPECT_EQ(sqlCode, 0);
  }
  EXPECT_EQ(script.calls(),
            (Strings{"MDScheduleEvent.insert(context, exception)", "MDScheduleEvent.update(context, exception)",
                     "MDScheduleEvent.delete(context, exception)"}));
}

TEST_F(EntityTest, OnSuccessTheNestedCodeIsNotFetched) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  script.on("MDScheduleEvent.insert").code(0, -803);
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.properties(), (Strings{"PARLException.new(0, null)", "PARLException.getRC()"}));
}

TEST_F(EntityTest, AFailureGivesTheStoresCodeAndTheNestedCode) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  script.on("MDScheduleEvent.insert").code(30012, -803, 23505);
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), 30012);
  EXPECT_EQ(sqlCode, -803);
  EXPECT_EQ(script.count("MDUtility.getNestedSQLCode(exception)"), 1);
  EXPECT_EQ(script.count("MDUtility.getNestedIntSQLState(exception)"), 0);
}

TEST_F(EntityTest, OnlyZeroIsSuccess) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  for (const int code : {1, -1, 30013, 30014}) {
    script.reset();
    script.on("MDScheduleEvent.insert").code(code);
    EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), code);
  }
}

TEST_F(EntityTest, ANestedCodeThatTheStoreDidNotSetIsZero) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  script.on("MDScheduleEvent.insert").code(30012);
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), 30012);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(EntityTest, TheStoresOwnMinus300PassesThroughWithItsNestedCode) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  script.on("MDScheduleEvent.insert").code(-300, -5);
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), -300);
  EXPECT_EQ(sqlCode, -5);
}

TEST_F(EntityTest, AnOperationOfADeadRecordDoesNotReachJava) {
  Rule dead(ctx, nullptr);
  EXPECT_EQ(dead.persist(ctx, "insert", context, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  sqlCode = 1;
  EXPECT_EQ(dead.referenceID(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(EntityTest, AnOperationThatIsMissingDoesNotReachJava) {
  const LogCapture log;
  Rule rule(ctx, newFake("MDScheduleEvent"));
  jni.failMethod("insert");
  jni.failMethod("getReferenceID");
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(rule.referenceID(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_TRUE(script.calls().empty());
  EXPECT_EQ(log.lines(), Strings{});
}

TEST_F(EntityTest, AnOperationWithoutAnExceptionObjectDoesNotReachJava) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  jni.noteLookups();
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(jni.lookups(), Strings{"com/orvik/kelvo/common/parl/api/PARLException"});
}

TEST_F(EntityTest, TheKeyComesBackWithItsCodes) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  script.on("MDScheduleEvent.getReferenceID").returnsLong(0x1'0000'0007LL);
  EXPECT_EQ(rule.referenceID(ctx, context, rc, sqlCode), 0x1'0000'0007LL);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  script.on("MDScheduleEvent.getReferenceID").code(30018, 5).returnsLong(0);
  rule.referenceID(ctx, context, rc, sqlCode);
  EXPECT_EQ(rule.referenceID(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, 30018);
  EXPECT_EQ(sqlCode, 5);
}

TEST_F(EntityTest, ANullContextIsTheStoresBusiness) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  EXPECT_EQ(rule.persist(ctx, "insert", nullptr, sqlCode), 0);
  EXPECT_EQ(script.calls(), Strings{"MDScheduleEvent.insert(null, exception)"});
}

TEST_F(EntityTest, TheExceptionObjectIsReleasedOnEveryPath) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  const int globals = jni.globals();
  script.on("MDScheduleEvent.insert").code(30012);
  rule.persist(ctx, "insert", context, sqlCode);
  rule.persist(ctx, "update", context, sqlCode);
  jni.failMethod("getRC");
  rule.persist(ctx, "update", context, sqlCode);
  jni.failMethod("delete");
  rule.persist(ctx, "delete", context, sqlCode);
  EXPECT_EQ(jni.globals(), globals);
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(EntityTest, ACodeThatCannotBeReadIsMinus300) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  jni.failMethod("getRC");
  EXPECT_EQ(rule.persist(ctx, "insert", context, sqlCode), -300);
  EXPECT_EQ(script.calls().size(), 1u);
}

TEST_F(EntityTest, NothingMoreThanThePrescribedCallsIsMade) {
  Rule rule(ctx, newFake("MDScheduleEvent"));
  const int calls = jni.calls();
  const int javaCalls = jni.javaCalls();
  jni.noteLookups();
  rule.persist(ctx, "insert", context, sqlCode);
  const std::string exception = "com/orvik/kelvo/common/parl/api/PARLException";
  EXPECT_EQ(jni.lookups(),
            (Strings{exception, exception + ".<init>(ILjava/lang/String;)V",
                     "com/orvik/kelvo/mesk/metadata/MDScheduleEvent.insert(Lcom/orvik/kelvo/common/parl/api/Context;L" +
                         exception + ";)V",
                     exception + ".getRC()I"}));
  EXPECT_EQ(jni.javaCalls() - javaCalls, 3);
  // FindClass, NewGlobalRef, DeleteLocalRef, GetMethodID, NewObject, NewGlobalRef, DeleteLocalRef; GetMethodID,
  // CallVoidMethod; GetMethodID, CallIntMethod; DeleteGlobalRef twice.
  EXPECT_EQ(jni.calls() - calls, 13);
}

}  // namespace
}  // namespace mesk::test
