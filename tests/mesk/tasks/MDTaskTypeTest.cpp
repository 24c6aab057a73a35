// The home of tasks.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>

namespace mesk::test {
namespace {

const char* const kTask = "Lcom/orvik/kelvo/mesk/metadata/MDTask;";

class MDTaskTypeTest : public WrapperTest<MDTaskType> {
 protected:
  MDTaskTypeTest() : WrapperTest("MDTaskType") {}

  /// `retrieveTask` with what is to come of it.
  void expectTask(jobject expected, Outcome outcome, const Strings& logged) {
    const LogCapture log;
    Outcome o = kNonsense;
    const LocalRef<> task(ctx.env, MDTaskType::retrieveTask(ctx, context, 0x100000007LL, 2, o.rc, o.sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(task.get(), expected));
    EXPECT_EQ(o, outcome);
    EXPECT_EQ(log.lines(), logged);
  }
};

TEST_F(MDTaskTypeTest, CreatingMakesAJavaHome) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskTypeTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDTaskType home(ctx, newFake("MDTask"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDTaskTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDTaskType> operations[] = {
      {"retrieve", storeMethod("JI", kTask), "retrieve(context, 4294967303, 2, exception)",
       byOutputs([&](MDTaskType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, 2, rc, sqlCode), nullptr);
       }),
       "0x10080142/10", " 7", " 7"},
      {"delete", storeMethod("JI", "V"), "delete(context, 4294967303, 2, exception)",
       byResult(
           [&](MDTaskType& home, int& sqlCode) { return home.deleteIt(ctx, context, 0x100000007LL, 2, sqlCode); })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskTypeTest, RetrieveHandsOutTheJavaTask) {
  const jobject task = newFake("MDTask");
  script.on("MDTaskType.retrieve").returns(task);
  Outcome o = kNonsense;
  const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, 2, o.rc, o.sqlCode));
  EXPECT_TRUE(ctx.env->IsSameObject(got.get(), task));
  EXPECT_EQ(o, (Outcome{0, 0}));
}

TEST_F(MDTaskTypeTest, ATaskBesideAFailureIsNotHandedOut) {
  script.on("MDTaskType.retrieve").code(4711, -803).returns(newFake("MDTask"));
  Outcome o = kNonsense;
  EXPECT_EQ(live.retrieve(ctx, context, 7, 2, o.rc, o.sqlCode), nullptr);
  EXPECT_EQ(o, (Outcome{4711, -803}));
}

TEST_F(MDTaskTypeTest, RetrieveTaskMakesItsOwnHome) {
  const jobject task = newFake("MDTask");
  script.on("MDTaskType.retrieve").returns(task);
  expectTask(task, {0, 0}, {});
  EXPECT_EQ(script.calls(),
            (Strings{"new MDTaskType(context, exception)", "MDTaskType.retrieve(context, 4294967303, 2, exception)"}));
}

TEST_F(MDTaskTypeTest, RetrieveTaskLogsATaskThatTheStoreDoesNotHold) {
  script.on("MDTaskType.retrieve").code(30013, 100);
  expectTask(nullptr, {30013, 100}, {"0x10080142/10 30013 100 7"});
}

TEST_F(MDTaskTypeTest, RetrieveTaskStopsAndLogsWhenTheHomeFails) {
  script.on("new MDTaskType").code(4711, -803);
  expectTask(nullptr, {4711, -803}, {"0x10080142/10 4711 -803 7"});
  EXPECT_EQ(script.calls(), Strings{"new MDTaskType(context, exception)"});
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDTaskType");
  expectTask(nullptr, {-300, 0}, {"0x10080142/10 -300 0 7"});
  jni.heal();
  jni.failMethod("<init>");
  expectTask(nullptr, {-300, 0}, {"0x10080142/10 -300 0 7"});
}

TEST_F(MDTaskTypeTest, TasksAreListedAndNoCodeIsAnEmptyList) {
  const ListOperation<MDTaskType, MDTask> list{"retrieveList", 0, ListForm::toArray,
                                               [&](MDTaskType& home, MDTask**& tasks, int& count, int& sqlCode) {
                                                 return home.retrieveList(ctx, context, tasks, count, sqlCode);
                                               }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDTask"), newFake("MDTask"));
}

}  // namespace
}  // namespace mesk::test
