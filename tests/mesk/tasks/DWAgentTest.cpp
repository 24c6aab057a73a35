// The warehouse agent: calls without checks.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/DWAgentClient.h>
#include <mesk/tasks/DWAgentRtn.h>
#include <mesk/tasks/MDTask.h>

#include <algorithm>
#include <memory>

namespace mesk::test {
namespace {

const std::string kClient = "com/orvik/kelvo/mesk/sched/DWAgentClient";
const std::string kOutcome = "com/orvik/kelvo/mesk/sched/DWAgentRtn";

class DWAgentTest : public JvmTest {
 protected:
  /// Ends a test whose wrappers are gone: nothing is left but the references to classes that making agents' objects
  /// leaves behind.
  void onlyClassesAreLeft(int times) {
    EXPECT_EQ(jni.locals(), times);
    EXPECT_EQ(jni.globals(), 0);
    jni.forget();
  }
};

TEST_F(DWAgentTest, AClientIsMadeWithoutArguments) {
  jni.noteLookups();
  {
    const DWAgentClient client(ctx);
    EXPECT_NE(client.object, nullptr);
    EXPECT_NE(client.objectClass, nullptr);
    EXPECT_EQ(jni.globals(), 2);
  }
  EXPECT_EQ(script.calls(), Strings{"new DWAgentClient()"});
  EXPECT_EQ(jni.lookups(), (Strings{kClient, kClient + ".<init>()V"}));
  onlyClassesAreLeft(1);
}

TEST_F(DWAgentTest, AClientForATaskPassesTheFiveTextsInOrder) {
  {
    MDTask task(ctx, nullptr, newFake("MDTask"));
    task.setTaskID(ctx, 7);
    script.forget();
    jni.noteLookups();
    const DWAgentClient client(ctx, context, &task, "one", "two", "", nullptr, "five");
    EXPECT_NE(client.object, nullptr);
  }
  EXPECT_EQ(script.calls(), Strings{"new DWAgentClient(context, MDTask#7, \"one\", \"two\", null, null, \"five\")"});
  EXPECT_EQ(jni.lookups(), (Strings{kClient, kClient + ".<init>(Lcom/orvik/kelvo/common/parl/api/Context;"
                                                       "Lcom/orvik/kelvo/mesk/metadata/MDTask;Ljava/lang/String;"
                                                       "Ljava/lang/String;Ljava/lang/String;Ljava/lang/String;"
                                                       "Ljava/lang/String;)V"}));
  onlyClassesAreLeft(1);
}

TEST_F(DWAgentTest, WrappingTakesTheObjectAndLeavesNothingBehind) {
  {
    const DWAgentClient made(ctx);
    const DWAgentRtn outcome(ctx);
    const int locals = jni.locals();
    const DWAgentClient client(ctx, made.object);
    EXPECT_TRUE(ctx.env->IsSameObject(client.object, made.object));
    const DWAgentRtn wrapped(ctx, outcome.object);
    EXPECT_TRUE(ctx.env->IsSameObject(wrapped.object, outcome.object));
    EXPECT_EQ(jni.locals(), locals);
  }
  onlyClassesAreLeft(2);
}

TEST_F(DWAgentTest, AnOutcomeIsMadeEmptyAndReadByItsGetters) {
  {
    jni.noteLookups();
    const DWAgentRtn outcome(ctx);
    EXPECT_EQ(script.calls(), Strings{"new DWAgentRtn()"});
    EXPECT_EQ(outcome.getJobRC(ctx), 0);
    EXPECT_EQ(outcome.getJobState(ctx), 0);
    EXPECT_EQ(outcome.getRowsMoved(ctx), 0);
    EXPECT_EQ(outcome.getBytesMoved(ctx), 0);
    EXPECT_EQ(outcome.getEditionNumber(ctx), 0);
    EXPECT_EQ(outcome.getRetryCount(ctx), 0);
  }
  EXPECT_EQ(jni.lookups(),
            (Strings{kOutcome, kOutcome + ".<init>()V", kOutcome + ".getJobRC()I", kOutcome + ".getJobState()I",
                     kOutcome + ".getRowsMoved()I", kOutcome + ".getBytesMoved()I", kOutcome + ".getEditionNumber()I",
                     kOutcome + ".getRetryCount()I"}));
  onlyClassesAreLeft(1);
}

TEST_F(DWAgentTest, ARunFillsTheWholeRecordWhateverItsResult) {
  for (const int answer : {0, 3, -7}) {
    script.reset();
    script.on("DWAgentClient.run").returnsInt(answer);
    {
      DWAgentClient client(ctx);
      script.forget();
      BrixStepInfo info{-1, -1, -1, -1, -1, -1};
      EXPECT_EQ(client.run(ctx, 0x100000007LL, 9, info), answer);
      EXPECT_EQ(info.JobRC, 101);
      EXPECT_EQ(info.JobState, 102);
      EXPECT_EQ(info.RowsMoved, 103);
      EXPECT_EQ(info.BytesMoved, 104);
      EXPECT_EQ(info.EditionNumber, 105);
      EXPECT_EQ(info.RetryCount, 2);
      EXPECT_EQ(jni.globals(), 2) << "the client's own";
    }
    EXPECT_EQ(script.calls(), (Strings{"new DWAgentRtn()", "DWAgentClient.run(4294967303, 9, DWAgentRtn)"}));
    EXPECT_EQ(script.properties(),
              (Strings{"DWAgentRtn.getJobRC()", "DWAgentRtn.getJobState()", "DWAgentRtn.getRowsMoved()",
                       "DWAgentRtn.getBytesMoved()", "DWAgentRtn.getEditionNumber()", "DWAgentRtn.getRetryCount()"}));
    onlyClassesAreLeft(2);
  }
}

TEST_F(DWAgentTest, ARunAsksForItsMethodOfTheClientsClass) {
  {
    DWAgentClient client(ctx);
    jni.noteLookups();
    BrixStepInfo info{};
    client.run(ctx, 1, 1, info);
  }
  EXPECT_EQ(std::count(jni.lookups().begin(), jni.lookups().end(),
                       kClient + ".run(JILcom/orvik/kelvo/mesk/sched/DWAgentRtn;)I"),
            1);
  onlyClassesAreLeft(2);
}

TEST_F(DWAgentTest, MakingGoesOnWhereClassAndConstructorAreMissing) {
  const LocalRef<jclass> object(ctx.env, ctx.env->FindClass("java/lang/Object"));
  const jmethodID constructor = ctx.env->GetMethodID(object.get(), "<init>", "()V");
  const auto expectGoesOn = [&](const std::string& name, const auto& make) {
    jni.failClass(name.c_str());
    jni.failMethod("<init>");
    jni.fail(JniTable::kNewObject, 1);
    const auto made = make();
    EXPECT_EQ(made->object, nullptr);
    EXPECT_EQ(made->objectClass, nullptr);
    // The one attempt that was to fail is used up.
    EXPECT_TRUE(LocalRef<>(ctx.env, ctx.env->NewObject(object.get(), constructor)));
    jni.heal();
  };
  expectGoesOn(kClient, [&] { return std::make_unique<DWAgentClient>(ctx); });
  expectGoesOn(kOutcome, [&] { return std::make_unique<DWAgentRtn>(ctx); });
  EXPECT_EQ(script.calls(), Strings{});
}

}  // namespace
}  // namespace mesk::test
