// Users, groups, and whether a user is an administrator.
#include <mesk/bridge/Invoke.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <platform/CodePage.h>
#include <platform/Memory.h>

#include <functional>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class PrincipalTest : public JvmTest {
 protected:
  PrincipalTest() { setProcessCodePage(kUtf8CodePage); }
  ~PrincipalTest() override { setProcessCodePage(0); }

  int rc = 1;
  int sqlCode = 1;
};

TEST_F(PrincipalTest, NamesArriveInCapitals) {
  const MDUser user(ctx, "joe_7");
  const MDGroup group(ctx, "Night Shift");
  EXPECT_TRUE(isLive(user));
  EXPECT_TRUE(isLive(group));
  EXPECT_EQ(script.calls(), (Strings{"new MDUser(\"JOE_7\")", "new MDGroup(\"NIGHT SHIFT\")"}));
}

TEST_F(PrincipalTest, NamesAreNotTrimmedAndNotFoldedBeyondBytes) {
  const MDUser user(ctx,
                    " j\xC3\xB6"
                    "rg ");
  EXPECT_EQ(script.calls(), Strings{"new MDUser(\" J\xC3\xB6RG \")"});
}

TEST_F(PrincipalTest, AnEmptyOrNullNameReachesJavaAsNull) {
  const MDUser empty(ctx, "");
  const MDUser none(ctx, static_cast<const char*>(nullptr));
  const MDGroup emptyGroup(ctx, "");
  const MDGroup noGroup(ctx, static_cast<const char*>(nullptr));
  EXPECT_TRUE(isLive(none));
  EXPECT_EQ(script.calls(),
            (Strings{"new MDUser(null)", "new MDUser(null)", "new MDGroup(null)", "new MDGroup(null)"}));
}

TEST_F(PrincipalTest, ANameForWhichThereIsNoMemoryReachesJavaAsNull) {
  const LogCapture log;
  for (const unsigned which : {1u, 2u}) {  // the capitals, the conversion
    const AllocationFault fault(AllocationFault::kWorkMemory, which);
    const MDUser user(ctx, "joe");
    EXPECT_TRUE(isLive(user));
  }
  EXPECT_EQ(script.calls(), (Strings{"new MDUser(null)", "new MDUser(null)"}));
  EXPECT_EQ(log.lines(), Strings{"0x10080162/10 \"Scheduler out of memory.\""});
}

TEST_F(PrincipalTest, TheWorkMemoryIsGivenBack) {
  const std::size_t live = reportLiveBlocks(nullptr, nullptr);
  const MDUser user(ctx, "joe");
  EXPECT_EQ(reportLiveBlocks(nullptr, nullptr), live);
}

TEST_F(PrincipalTest, WrapsWhatJavaHas) {
  const MDUser user(ctx, "joe");
  const MDUser same(ctx, user.object);
  const MDGroup group(ctx, "all");
  const MDGroup sameGroup(ctx, group.object);
  EXPECT_TRUE(ctx.env->IsSameObject(same.object, user.object));
  EXPECT_TRUE(ctx.env->IsSameObject(sameGroup.object, group.object));
}

TEST_F(PrincipalTest, IsDeadWhateverOfItsMakingIsRefused) {
  const auto expectDead = [&](const char* what) {
    const MDUser user(ctx, "joe");
    EXPECT_FALSE(isLive(user)) << what;
    jni.heal();
    EXPECT_EQ(jni.locals(), 0) << what;
  };
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDUser");
  expectDead("class");
  jni.failMethod("<init>");
  expectDead("constructor");
  jni.fail(JniTable::kNewObject, 1);
  expectDead("object");
  jni.fail(JniTable::kNewGlobalRef, 1);
  expectDead("reference to the class");
  jni.fail(JniTable::kNewGlobalRef, 2);
  expectDead("reference to the object");
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDGroup");
  const MDGroup group(ctx, "all");
  EXPECT_FALSE(isLive(group));
}

TEST_F(PrincipalTest, QuestionsAreOneExactlyWhenJavaSaysTrue) {
  MDUser user(ctx, "joe");
  EXPECT_EQ(user.isSuperuser(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  script.on("MDUser.isSuperuser").returnsBoolean(true);
  script.on("MDUser.isAdmin").returnsBoolean(true);
  EXPECT_EQ(user.isSuperuser(ctx, context, rc, sqlCode), 1);
  EXPECT_EQ(user.isAdmin(ctx, context, rc, sqlCode), 1);
  EXPECT_EQ(script.count("MDUser.isSuperuser(context, exception)"), 2);
  EXPECT_EQ(script.count("MDUser.isAdmin(context, exception)"), 1);
}

TEST_F(PrincipalTest, AYesThatComesWithACodeIsNo) {
  MDUser user(ctx, "joe");
  script.on("MDUser.isSuperuser").code(30027, -551).returnsBoolean(true);
  EXPECT_EQ(user.isSuperuser(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, 30027);
  EXPECT_EQ(sqlCode, -551);
}

TEST_F(PrincipalTest, ADeadUserHasNoRightAndIsMinus300) {
  MDUser dead(ctx, static_cast<jobject>(nullptr));
  EXPECT_EQ(dead.isSuperuser(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  rc = sqlCode = 1;
  EXPECT_EQ(dead.isAdmin(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(PrincipalTest, AQuestionThatIsMissingIsMinus300) {
  MDUser user(ctx, "joe");
  jni.failMethod("isSuperuser");
  EXPECT_EQ(user.isSuperuser(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  jni.heal();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(user.isAdmin(ctx, context, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
}

class AdministratorTest : public PrincipalTest {
 protected:
  int ask() { return MDUser::isAdministrator(ctx, "url", "schema", "joe", "pw", rc, sqlCode); }
};

TEST_F(AdministratorTest, ConnectsAsTheUserAsksAndDisconnects) {
  script.on("MDUser.isAdmin").returnsBoolean(true);
  EXPECT_EQ(ask(), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(),
            (Strings{"ConnectionPoolManager.setDefaultPoolSize(0)",
                     "MDUtility.connectMD(\"url\", \"schema\", \"joe\", \"pw\", exception)", "new MDUser(\"JOE\")",
                     "MDUser.isAdmin(context, exception)", "MDUtility.disconnectMD(context, exception)"}));
}

TEST_F(AdministratorTest, SomebodyElseIsNone) {
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(AdministratorTest, AQuestionThatFailsGivesItsCodeAndTheDisconnectionsSqlCode) {
  script.on("MDUser.isAdmin").code(30027, -551).returnsBoolean(true);
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rc, 30027);
  EXPECT_EQ(sqlCode, 0);
}

TEST_F(AdministratorTest, ADisconnectionThatFailsChangesOnlyTheSqlCode) {
  script.on("MDUser.isAdmin").returnsBoolean(true);
  script.on("MDUtility.disconnectMD").code(30030, -7);
  EXPECT_EQ(ask(), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, -7);
}

TEST_F(AdministratorTest, WithoutAConnectionTheCodesAreTheConnections) {
  script.on("MDUtility.connectMD").code(30020, -30082).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rc, 30020);
  EXPECT_EQ(sqlCode, -30082);
  EXPECT_EQ(script.calls().size(), 2u);
}

TEST_F(AdministratorTest, AContextThatComesWithACodeIsGivenBackUnused) {
  script.on("MDUtility.connectMD").code(30025, -1).returns(context);
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rc, 30025);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls().back(), "MDUtility.disconnectMD(context, exception)");
  EXPECT_EQ(script.calls().size(), 3u);
}

TEST_F(AdministratorTest, AUserThatCannotBeMadeIsNoneAndTheSessionEnds) {
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDUser");
  EXPECT_EQ(ask(), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls().back(), "MDUtility.disconnectMD(context, exception)");
}

}  // namespace
}  // namespace mesk::test
