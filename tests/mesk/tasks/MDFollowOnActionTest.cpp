// Follow-on actions: properties, store operations, the tasks that they act on.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDTask.h>

#include <memory>

namespace mesk::test {
namespace {

const char* const kTask = "Lcom/orvik/kelvo/mesk/metadata/MDTask;";

class MDFollowOnActionTest : public WrapperTest<MDFollowOnAction> {
 protected:
  MDFollowOnActionTest() : WrapperTest("MDFollowOnAction") {}

  /// Three tasks, 1 to 3, of which the middle one may be dead.
  struct Three {
    Three(ThreadContext& ctx, jobject first, jobject second, jobject third)
        : tasks{{ctx, nullptr, first}, {ctx, nullptr, second}, {ctx, nullptr, third}} {
      for (int i = 0; i < 3; ++i) tasks[i].setTaskID(ctx, i + 1);
    }
    MDTask tasks[3];
  };
};

TEST_F(MDFollowOnActionTest, EachPropertyIsOneJavaPropertyOfItsType) {
  property("getFollowOnActionID()J", &MDFollowOnAction::getFollowOnActionID, "setFollowOnActionID(J)V",
           &MDFollowOnAction::setFollowOnActionID, 5000000000LL + 1);
  property("getParentTaskID()J", &MDFollowOnAction::getParentTaskID, "setParentTaskID(J)V",
           &MDFollowOnAction::setParentTaskID, 5000000000LL + 2);
  property("getParentSuffix()I", &MDFollowOnAction::getParentSuffix, "setParentSuffix(I)V",
           &MDFollowOnAction::setParentSuffix, 103);
  property("getAction()I", &MDFollowOnAction::getAction, "setAction(I)V", &MDFollowOnAction::setAction, 104);
  property("getFollowOnCondition()I", &MDFollowOnAction::getFollowOnCondition, "setFollowOnCondition(I)V",
           &MDFollowOnAction::setFollowOnCondition, 105);
}

TEST_F(MDFollowOnActionTest, CreatingMakesAJavaAction) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDFollowOnAction>(ctx, context, rc, sqlCode); });
}

TEST_F(MDFollowOnActionTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDFollowOnAction action(ctx, newFake("MDTask"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(action.object, record));
  const MDFollowOnAction none(ctx, record, nullptr);
  EXPECT_EQ(none.object, nullptr);
}

TEST_F(MDFollowOnActionTest, OperationsReportTheStoresCode) {
  using Action = MDFollowOnAction;
  MDTask task(ctx, nullptr, newFake("MDTask"));
  task.setTaskID(ctx, 9);
  Three three(ctx, newFake("MDTask"), newFake("MDTask"), newFake("MDTask"));
  const Operation<Action> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](Action& action, int& sqlCode) { return action.insert(ctx, context, sqlCode); })},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](Action& action, int& sqlCode) { return action.update(ctx, context, sqlCode); })},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](Action& action, int& sqlCode) { return action.deleteIt(ctx, context, sqlCode); })},
      {"getReferenceID", storeMethod("", "J"), "getReferenceID(context, exception)",
       byOutputs([&](Action& action, int& rc, int& sqlCode) {
         EXPECT_EQ(action.getReferenceID(ctx, context, rc, sqlCode), 0);
       })},
      {"addTask", storeMethod(kTask, "V"), "addTask(context, MDTask#9, exception)",
       byResult([&](Action& action, int& sqlCode) { return action.addTask(ctx, context, task, sqlCode); })},
      {"removeTask", storeMethod(kTask, "V"), "removeTask(context, MDTask#9, exception)",
       byResult([&](Action& action, int& sqlCode) { return action.removeTask(ctx, context, task, sqlCode); })},
      {"setTaskList", storeMethod("Ljava/util/ArrayList;", "V"),
       "setTaskList(context, [MDTask#1, MDTask#2, MDTask#3], exception)", byResult([&](Action& action, int& sqlCode) {
         return action.setTaskList(ctx, context, three.tasks, 3, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDFollowOnActionTest, TheReferenceIDIsTheStoresWhole64Bits) {
  script.on("MDFollowOnAction.getReferenceID").returnsLong(0x123456789ALL);
  int rc = 1, sqlCode = 1;
  EXPECT_EQ(live.getReferenceID(ctx, context, rc, sqlCode), 0x123456789ALL);
  EXPECT_EQ(rc, 0);
}

TEST_F(MDFollowOnActionTest, ADeadTaskNeverReachesJava) {
  MDTask task(ctx, nullptr, nullptr);
  int sqlCode = 78;
  EXPECT_EQ(live.addTask(ctx, context, task, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  sqlCode = 78;
  EXPECT_EQ(live.removeTask(ctx, context, task, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDFollowOnActionTest, TasksAreListedAnd30013IsAnEmptyListBut30014IsNot) {
  const ListOperation<MDFollowOnAction, MDTask> list{
      "retrieveTaskList", 30013, ListForm::sizeAndGet,
      [&](MDFollowOnAction& action, MDTask**& tasks, int& count, int& sqlCode) {
        return action.retrieveTaskList(ctx, context, tasks, count, sqlCode);
      }};
  checkOperation({list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveTaskList(context, exception)",
                  asOperation(list)});
  checkList(list, newFake("MDTask"), newFake("MDTask"));
}

TEST_F(MDFollowOnActionTest, DeadTasksAreLeftOutOfTheList) {
  Three three(ctx, newFake("MDTask"), nullptr, newFake("MDTask"));
  int sqlCode = 78;
  EXPECT_EQ(live.setTaskList(ctx, context, three.tasks, 3, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{"MDFollowOnAction.setTaskList(context, [MDTask#1, MDTask#3], exception)"});
}

TEST_F(MDFollowOnActionTest, NoTasksAreAnEmptyListAndNoArrayIsRefused) {
  MDTask task(ctx, nullptr, newFake("MDTask"));
  int sqlCode = 78;
  EXPECT_EQ(live.setTaskList(ctx, context, &task, 0, sqlCode), 0);
  EXPECT_EQ(script.calls(), Strings{"MDFollowOnAction.setTaskList(context, [], exception)"});
  script.forget();
  sqlCode = 78;
  EXPECT_EQ(live.setTaskList(ctx, context, nullptr, 0, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDFollowOnActionTest, WithoutAJavaListNothingIsSet) {
  MDTask task(ctx, nullptr, newFake("MDTask"));
  const auto expectUnreached = [&](const char* what) {
    int sqlCode = 78;
    EXPECT_EQ(live.setTaskList(ctx, context, &task, 1, sqlCode), -300) << what;
    EXPECT_EQ(sqlCode, 0);
    EXPECT_EQ(jni.locals(), 0);
    EXPECT_EQ(script.calls(), Strings{});
    jni.heal();
  };
  jni.failClass("java/util/ArrayList");
  expectUnreached("no class");
  for (const char* const method : {"<init>", "add"}) {
    jni.failMethod(method);
    expectUnreached(method);
  }
  jni.fail(JniTable::kNewObject, 1);
  expectUnreached("no list");
}

}  // namespace
}  // namespace mesk::test
