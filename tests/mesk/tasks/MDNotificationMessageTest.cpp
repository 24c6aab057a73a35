// The texts that notifications carry.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDNotificationMessage.h>
#include <mesk/tasks/MDTask.h>

namespace mesk::test {
namespace {

const std::string kClass = "com/orvik/kelvo/mesk/metadata/MDNotificationMessage";
const char* const kResolve =
    "getResolvedMessage(Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/mesk/metadata/MDTask;"
    "Lcom/orvik/kelvo/mesk/metadata/MDTaskHistory;Ljava/lang/String;Ljava/lang/String;)Ljava/lang/String;";

class MDNotificationMessageTest : public JvmTest {
 protected:
  MDNotificationMessageTest() {
    task.setTaskID(ctx, 7);
    history.setTaskHistoryID(ctx, 9);
    script.forget();
  }

  std::string resolved(const MDNotificationMessage& message, MDTask* of, MDTaskHistory* run, const char* text1,
                       const char* text2) {
    return taken(message.getResolvedMessage(ctx, context, of, run, text1, text2));
  }

  MDTask task{ctx, nullptr, newFake("MDTask")};
  MDTaskHistory history{ctx, newFake("MDTaskHistory")};
};

TEST_F(MDNotificationMessageTest, MakingOneCallsTheConstructorWithoutArguments) {
  jni.noteLookups();
  const MDNotificationMessage message(ctx);
  EXPECT_NE(message.object, nullptr);
  EXPECT_EQ(script.calls(), Strings{"new MDNotificationMessage()"});
  EXPECT_EQ(jni.lookups(), (Strings{kClass, kClass + ".<init>()V"}));
}

TEST_F(MDNotificationMessageTest, WithoutClassConstructorOrObjectItIsDead) {
  jni.failClass(kClass.c_str());
  EXPECT_EQ(MDNotificationMessage(ctx).objectClass, nullptr);
  jni.heal();
  jni.failMethod("<init>");
  EXPECT_EQ(MDNotificationMessage(ctx).object, nullptr);
  jni.heal();
  jni.fail(JniTable::kNewObject, 1);
  const MDNotificationMessage message(ctx);
  EXPECT_EQ(message.object, nullptr);
  EXPECT_EQ(resolved(message, &task, &history, "a", "b"), "(null)");
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDNotificationMessageTest, JavaResolvesTheTextsForTheRun) {
  const MDNotificationMessage message(ctx);
  script.forget();
  script.on("MDNotificationMessage.getResolvedMessage").returns("task 7 failed");
  jni.noteLookups();
  EXPECT_EQ(resolved(message, &task, &history, "${task} ${status}", "output"), "task 7 failed");
  EXPECT_EQ(script.calls(), Strings{"MDNotificationMessage.getResolvedMessage(context, MDTask#7, MDTaskHistory#9, "
                                    "\"${task} ${status}\", \"output\")"});
  EXPECT_EQ(jni.lookups(), Strings{kClass + "." + kResolve});
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(MDNotificationMessageTest, EmptyAndNullTextsReachJavaAsNull) {
  const MDNotificationMessage message(ctx);
  script.forget();
  EXPECT_EQ(resolved(message, &task, &history, "", nullptr), "(null)");
  EXPECT_EQ(script.calls(), Strings{"MDNotificationMessage.getResolvedMessage(context, MDTask#7, MDTaskHistory#9, "
                                    "null, null)"});
}

TEST_F(MDNotificationMessageTest, WithoutTaskOrHistoryJavaIsNotAsked) {
  const MDNotificationMessage message(ctx);
  MDTask noTask(ctx, nullptr, nullptr);
  MDTaskHistory noHistory(ctx, nullptr);
  script.forget();
  const int calls = jni.calls();
  EXPECT_EQ(resolved(message, nullptr, &history, "a", "b"), "(null)");
  EXPECT_EQ(resolved(message, &noTask, &history, "a", "b"), "(null)");
  EXPECT_EQ(resolved(message, &task, nullptr, "a", "b"), "(null)");
  EXPECT_EQ(resolved(message, &task, &noHistory, "a", "b"), "(null)");
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(MDNotificationMessageTest, WithoutTheMethodThereIsNoMessage) {
  const MDNotificationMessage message(ctx);
  jni.failMethod("getResolvedMessage");
  EXPECT_EQ(resolved(message, &task, &history, "a", "b"), "(null)");
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(MDNotificationMessageTest, MessagesOfTheLibraryComeByTheirNumber) {
  script.on("MDNotificationMessage.getMRIMessage").returns("succeeded");
  jni.noteLookups();
  EXPECT_EQ(taken(MDNotificationMessage::getMRIMessage(ctx, 42)), "succeeded");
  EXPECT_EQ(script.calls(), Strings{"MDNotificationMessage.getMRIMessage(42)"});
  EXPECT_EQ(jni.lookups(), (Strings{kClass, kClass + ".getMRIMessage(I)Ljava/lang/String;"}));
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(MDNotificationMessageTest, WithoutClassMethodOrMessageThereIsNone) {
  EXPECT_EQ(taken(MDNotificationMessage::getMRIMessage(ctx, 42)), "(null)");
  script.forget();
  jni.failClass(kClass.c_str());
  EXPECT_EQ(taken(MDNotificationMessage::getMRIMessage(ctx, 42)), "(null)");
  jni.heal();
  jni.failMethod("getMRIMessage");
  EXPECT_EQ(taken(MDNotificationMessage::getMRIMessage(ctx, 42)), "(null)");
  EXPECT_EQ(script.calls(), Strings{});
}

}  // namespace
}  // namespace mesk::test
