// The one mechanism of rights, on a record that has them.
#include <mesk/session/Principal.h>
#include <mesk/support/JvmTest.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

class PermissionTest : public JvmTest {
 protected:
  MDObject record{ctx, newFake("MDTaskResult")};
  MDObject dead{ctx, nullptr};
  MDUser user{ctx, "joe"};
  MDGroup group{ctx, "all"};
  MDUser noUser{ctx, static_cast<jobject>(nullptr)};
  MDGroup noGroup{ctx, static_cast<jobject>(nullptr)};
  int rc = 1;
  int sqlCode = 1;

  PermissionTest() { script.forget(); }
};

TEST_F(PermissionTest, AQuestionIsOneExactlyWhenJavaSaysTrue) {
  script.on("MDTaskResult.getReadPermission").returnsBoolean(true);
  script.on("MDTaskResult.getReadPermission").returnsBoolean(false);
  EXPECT_EQ(askPermission(ctx, record, "getReadPermission", context, user, rc, sqlCode), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(askPermission(ctx, record, "getReadPermission", context, group, rc, sqlCode), 0);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(script.calls(), (Strings{"MDTaskResult.getReadPermission(context, MDUser:JOE, exception)",
                                     "MDTaskResult.getReadPermission(context, MDGroup:ALL, exception)"}));
}

TEST_F(PermissionTest, AYesThatComesWithACodeIsNo) {
  script.on("MDTaskResult.getReadPermission").code(30027, -551).returnsBoolean(true);
  EXPECT_EQ(askPermission(ctx, record, "getReadPermission", context, user, rc, sqlCode), 0);
  EXPECT_EQ(rc, 30027);
  EXPECT_EQ(sqlCode, -551);
}

TEST_F(PermissionTest, AChangePassesTheLowByteOfItsFlag) {
  EXPECT_EQ(changePermission(ctx, record, "setUpdatePermission", context, user, 1, sqlCode), 0);
  EXPECT_EQ(changePermission(ctx, record, "setUpdatePermission", context, user, 0, sqlCode), 0);
  EXPECT_EQ(changePermission(ctx, record, "setUpdatePermission", context, group, 0x100, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), (Strings{"MDTaskResult.setUpdatePermission(context, MDUser:JOE, true, exception)",
                                     "MDTaskResult.setUpdatePermission(context, MDUser:JOE, false, exception)",
                                     "MDTaskResult.setUpdatePermission(context, MDGroup:ALL, false, exception)"}));
}

TEST_F(PermissionTest, AChangeThatFailsGivesItsCodes) {
  script.on("MDTaskResult.setExecutePermission").code(30030, -1);
  EXPECT_EQ(changePermission(ctx, record, "setExecutePermission", context, user, 1, sqlCode), 30030);
  EXPECT_EQ(sqlCode, -1);
}

TEST_F(PermissionTest, ADeadPrincipalOrRecordNeverReachesJava) {
  const auto expectUnreached = [&](int answer) {
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(rc, -300);
    EXPECT_EQ(sqlCode, 0);
    rc = sqlCode = 1;
  };
  expectUnreached(askPermission(ctx, record, "getReadPermission", context, noUser, rc, sqlCode));
  expectUnreached(askPermission(ctx, record, "getReadPermission", context, noGroup, rc, sqlCode));
  expectUnreached(askPermission(ctx, dead, "getReadPermission", context, user, rc, sqlCode));
  for (const int code : {changePermission(ctx, record, "setReadPermission", context, noUser, 1, sqlCode),
                         changePermission(ctx, record, "setReadPermission", context, noGroup, 1, sqlCode),
                         changePermission(ctx, dead, "setReadPermission", context, user, 1, sqlCode)}) {
    EXPECT_EQ(code, -300);
    EXPECT_EQ(sqlCode, 0);
  }
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(PermissionTest, AMissingMethodNeverReachesJava) {
  jni.failMethod("getReadPermission");
  jni.failMethod("setReadPermission");
  EXPECT_EQ(askPermission(ctx, record, "getReadPermission", context, user, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(changePermission(ctx, record, "setReadPermission", context, group, 1, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(PermissionTest, UsersAndGroupsAreAskedForByDifferentSignatures) {
  jni.noteLookups();
  askPermission(ctx, record, "getReadPermission", context, user, rc, sqlCode);
  askPermission(ctx, record, "getReadPermission", context, group, rc, sqlCode);
  changePermission(ctx, record, "setReadPermission", context, group, 1, sqlCode);
  Strings own;
  for (const std::string& lookup : jni.lookups()) {
    if (lookup.find("MDTaskResult.") != std::string::npos) own.push_back(lookup);
  }
  const std::string recordName = "com/orvik/kelvo/mesk/metadata/MDTaskResult.";
  const std::string c = "(Lcom/orvik/kelvo/common/parl/api/Context;";
  const std::string e = "Lcom/orvik/kelvo/common/parl/api/PARLException;)";
  EXPECT_EQ(own,
            (Strings{recordName + "getReadPermission" + c + "Lcom/orvik/kelvo/mesk/metadata/MDUser;" + e + "Z",
                     recordName + "getReadPermission" + c + "Lcom/orvik/kelvo/mesk/metadata/MDGroup;" + e + "Z",
                     recordName + "setReadPermission" + c + "Lcom/orvik/kelvo/mesk/metadata/MDGroup;Z" + e + "V"}));
}

}  // namespace
}  // namespace mesk::test
