#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/support/JvmTest.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class PARLExceptionTest : public JvmTest {
 protected:
  /// An exception object that the store has filled in.
  void fill(PARLException& exception, int code, int sqlCode, int sqlState) {
    const JniTable::Pause pause(ctx.env);
    const jmethodID method = ctx.env->GetMethodID(exception.objectClass, "fill", "(III)V");
    ctx.env->CallVoidMethod(exception.object, method, jint{code}, jint{sqlCode}, jint{sqlState});
    ctx.env->ExceptionCheck();
  }
};

TEST_F(PARLExceptionTest, ANewOneHasCodeZeroAndNoMessage) {
  PARLException exception(ctx);
  EXPECT_EQ(exception.getRC(ctx), 0);
  EXPECT_EQ(exception.isOK(ctx), 1);
  EXPECT_EQ(exception.getSQLCode(ctx), 0);
  EXPECT_EQ(exception.getSQLState(ctx), 0);
  EXPECT_EQ(script.properties()[0], "PARLException.new(0, null)");
}

TEST_F(PARLExceptionTest, GivesBackWhatTheStorePutIn) {
  PARLException exception(ctx);
  fill(exception, 30012, -803, 23505);
  EXPECT_EQ(exception.getRC(ctx), 30012);
  EXPECT_EQ(exception.isOK(ctx), 0);
  EXPECT_EQ(exception.getSQLCode(ctx), -803);
  EXPECT_EQ(exception.getSQLState(ctx), 23505);
}

TEST_F(PARLExceptionTest, WrapsAnExistingOne) {
  PARLException exception(ctx);
  fill(exception, -7, 0, 0);
  const PARLException same(ctx, exception.object);
  EXPECT_EQ(same.getRC(ctx), -7);
  EXPECT_EQ(jni.globals(), 4);
}

TEST_F(PARLExceptionTest, IsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  PARLException exception(ctx);
  exception.getRC(ctx);
  exception.getSQLCode(ctx);
  exception.getSQLState(ctx);
  const std::string cls = "com/orvik/kelvo/common/parl/api/PARLException";
  const std::string home = "com/orvik/kelvo/mesk/metadata/MDUtility";
  EXPECT_EQ(jni.lookups(), (Strings{cls, cls + ".<init>(ILjava/lang/String;)V", cls + ".getRC()I", home,
                                    home + ".getNestedSQLCode(L" + cls + ";)I", home,
                                    home + ".getNestedIntSQLState(L" + cls + ";)I"}));
}

void expectDead(ThreadContext& ctx, PARLException& exception) {
  EXPECT_FALSE(isLive(exception));
  EXPECT_EQ(exception.getRC(ctx), -300);
  EXPECT_EQ(exception.isOK(ctx), 0);
  EXPECT_EQ(exception.getSQLCode(ctx), 0);
  EXPECT_EQ(exception.getSQLState(ctx), 0);
}

TEST_F(PARLExceptionTest, IsDeadWithoutItsClass) {
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  PARLException exception(ctx);
  expectDead(ctx, exception);
  EXPECT_EQ(jni.javaCalls(), 0);
}

TEST_F(PARLExceptionTest, IsDeadWithoutItsConstructor) {
  jni.failMethod("<init>");
  PARLException exception(ctx);
  expectDead(ctx, exception);
  EXPECT_EQ(jni.javaCalls(), 0);
}

TEST_F(PARLExceptionTest, IsDeadWhenTheObjectIsRefused) {
  jni.fail(JniTable::kNewObject, 1);
  PARLException exception(ctx);
  expectDead(ctx, exception);
}

TEST_F(PARLExceptionTest, IsDeadWhenAGlobalReferenceIsRefused) {
  for (const int which : {1, 2}) {
    jni.fail(JniTable::kNewGlobalRef, which);
    PARLException exception(ctx);
    expectDead(ctx, exception);
  }
}

TEST_F(PARLExceptionTest, WithoutGetRCItCannotBeAskedAndIsNotOK) {
  PARLException exception(ctx);
  jni.failMethod("getRC");
  EXPECT_EQ(exception.getRC(ctx), -300);
  EXPECT_EQ(exception.isOK(ctx), 0);
}

TEST_F(PARLExceptionTest, NestedCodesAreZeroWithoutTheSessionClass) {
  PARLException exception(ctx);
  fill(exception, 1, 2, 3);
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDUtility");
  EXPECT_EQ(exception.getSQLCode(ctx), 0);
  EXPECT_EQ(exception.getSQLState(ctx), 0);
}

TEST_F(PARLExceptionTest, NestedCodesAreZeroWithoutTheirMethods) {
  PARLException exception(ctx);
  fill(exception, 1, 2, 3);
  jni.failMethod("getNestedSQLCode");
  EXPECT_EQ(exception.getSQLCode(ctx), 0);
  EXPECT_EQ(exception.getSQLState(ctx), 3);
  jni.failMethod("getNestedIntSQLState");
  EXPECT_EQ(exception.getSQLState(ctx), 0);
}

TEST_F(PARLExceptionTest, NestedCodesOfADeadOneAreNotAskedFor) {
  PARLException dead(ctx, nullptr);
  const int calls = jni.javaCalls();
  EXPECT_EQ(dead.getSQLCode(ctx), 0);
  EXPECT_EQ(dead.getSQLState(ctx), 0);
  EXPECT_EQ(jni.javaCalls(), calls);
}

}  // namespace
}  // namespace mesk::test
