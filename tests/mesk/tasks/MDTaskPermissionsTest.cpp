// Who may do what with a task.
#include <mesk/support/GuardedTest.h>
#include <mesk/tasks/MDTask.h>

#include <memory>
#include <string>

namespace mesk::test {
namespace {

class MDTaskPermissionsTest : public GuardedTest<MDTask> {
 protected:
  MDTaskPermissionsTest() : GuardedTest("MDTask") { script.forget(); }

  template <class P>
  using Holders = int (MDTask::*)(ThreadContext&, jobject, int, P**&, int&, int&);

  template <class P>
  void checkHolders(const char* method, Holders<P> list) {
    const P first(ctx, "joe");
    const P second(ctx, "ann");
    const ListOperation<MDTask, P> op{method, 30013, ListForm::toArray,
                                      [&](MDTask& task, P**& items, int& count, int& sqlCode) {
                                        return std::invoke(list, task, ctx, context, 2, items, count, sqlCode);
                                      },
                                      true};
    const std::string recorded = std::string(method) + "(context, 2, exception)";
    script.on((name + "." + method).c_str()).returnsList({});
    checkOperation({method, storeMethod("I", "Ljava/util/ArrayList;"), recorded.c_str(), asOperation(op)});
    checkList(op, first.object, second.object);
  }

  MDUser joe{ctx, "joe"};
  MDGroup nobody{ctx, static_cast<jobject>(nullptr)};
};

TEST_F(MDTaskPermissionsTest, UsersAndGroupsAreAskedForAndGivenEachRight) { checkRights(); }

TEST_F(MDTaskPermissionsTest, ADeadGroupGetsNoRight) {
  int sqlCode = 78;
  EXPECT_EQ(live.setReadPermission(ctx, context, nobody, 1, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDTaskPermissionsTest, ByNameTheAnswerIsYesOrNothing) {
  script.on("MDTask.getExecutePermission").returnsBoolean(true);
  EXPECT_EQ(live.getExecutePermission(ctx, context, "joe"), 1);
  EXPECT_EQ(script.calls(),
            (Strings{"new MDUser(\"JOE\")", "MDTask.getExecutePermission(context, MDUser:JOE, exception)"}));
  const Strings& lookups = jni.lookups();
  EXPECT_EQ(std::count(lookups.begin(), lookups.end(),
                       "com/orvik/kelvo/mesk/metadata/MDTask.getExecutePermission" +
                           storeMethod("Lcom/orvik/kelvo/mesk/metadata/MDUser;", "Z")),
            1);
  EXPECT_EQ(jni.locals(), 0);

  script.reset();
  EXPECT_EQ(live.getExecutePermission(ctx, context, "joe"), 0);
  script.on("MDTask.getExecutePermission").code(30010, 100).returnsBoolean(true);
  EXPECT_EQ(live.getExecutePermission(ctx, context, "stranger"), 0);
}

TEST_F(MDTaskPermissionsTest, ByNameAFailureIsNoPermission) {
  script.on("MDTask.getExecutePermission").returnsBoolean(true);
  EXPECT_EQ(dead.getExecutePermission(ctx, context, "joe"), 0);
  jni.failMethod("getExecutePermission");
  EXPECT_EQ(live.getExecutePermission(ctx, context, "joe"), 0);
  jni.heal();
  for (const char* const missing :
       {"com/orvik/kelvo/mesk/metadata/MDUser", "com/orvik/kelvo/common/parl/api/PARLException"}) {
    jni.failClass(missing);
    EXPECT_EQ(live.getExecutePermission(ctx, context, "joe"), 0) << missing;
    jni.heal();
  }
  EXPECT_EQ(script.count("MDTask.getExecutePermission(context, MDUser:JOE, exception)"), 0);
}

TEST_F(MDTaskPermissionsTest, HoldersAreListedAnd30013IsAnEmptyListWithItsSqlCodeBut30014IsNot) {
  checkHolders<MDUser>("getUsersWithPermission", &MDTask::getUsersWithPermission);
  checkHolders<MDGroup>("getGroupsWithPermission", &MDTask::getGroupsWithPermission);
}

TEST_F(MDTaskPermissionsTest, AListThatDidNotComeTellsItsSqlCodeBesideSuccess) {
  script.on("MDTask.getUsersWithPermission").code(0, 100);
  MDUser** users = nullptr;
  int count = 77, sqlCode = 78;
  EXPECT_EQ(live.getUsersWithPermission(ctx, context, 1, users, count, sqlCode), 0);
  EXPECT_EQ(sqlCode, 100);
  EXPECT_EQ(count, 0);
}

TEST_F(MDTaskPermissionsTest, TheKindOfRightGoesToTheStoreUnchanged) {
  for (const int kind : {0, -1, 2147483647}) {
    script.reset();
    MDUser** users = nullptr;
    int count = 0, sqlCode = 0;
    EXPECT_EQ(live.getUsersWithPermission(ctx, context, kind, users, count, sqlCode), 0);
    EXPECT_EQ(script.calls(),
              Strings{"MDTask.getUsersWithPermission(context, " + std::to_string(kind) + ", exception)"});
  }
}

}  // namespace
}  // namespace mesk::test
