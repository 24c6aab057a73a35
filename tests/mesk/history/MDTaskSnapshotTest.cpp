// A task as it stood when it ran.
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/support/WrapperTest.h>

namespace mesk::test {
namespace {

class MDTaskSnapshotTest : public WrapperTest<MDTaskSnapshot> {
 protected:
  MDTaskSnapshotTest() : WrapperTest("MDTaskSnapshot") {}
};

TEST_F(MDTaskSnapshotTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SCTimestamp moment(ctx, 1711846800123LL);
  Clob text(ctx, javaString("echo"));
  property("getTaskID()J", &MDTaskSnapshot::getTaskID, "setTaskID(J)V", &MDTaskSnapshot::setTaskID, 5000000000LL + 1);
  property("getTaskName()Ljava/lang/String;", &MDTaskSnapshot::getTaskName, "setTaskName(Ljava/lang/String;)V",
           &MDTaskSnapshot::setTaskName, "taskName 2");
  property("getSuffix()I", &MDTaskSnapshot::getSuffix, "setSuffix(I)V", &MDTaskSnapshot::setSuffix, 103);
  property("getSystemID()Ljava/lang/String;", &MDTaskSnapshot::getSystemID, "setSystemID(Ljava/lang/String;)V",
           &MDTaskSnapshot::setSystemID, "systemID 4");
  property("getExecutionSystemID()Ljava/lang/String;", &MDTaskSnapshot::getExecutionSystemID,
           "setExecutionSystemID(Ljava/lang/String;)V", &MDTaskSnapshot::setExecutionSystemID, "executionSystemID 5");
  property("getExecutionPartitionID()Ljava/lang/String;", &MDTaskSnapshot::getExecutionPartitionID,
           "setExecutionPartitionID(Ljava/lang/String;)V", &MDTaskSnapshot::setExecutionPartitionID,
           "executionPartitionID 6");
  property("getTaskUserID()Ljava/lang/String;", &MDTaskSnapshot::getTaskUserID, "setTaskUserID(Ljava/lang/String;)V",
           &MDTaskSnapshot::setTaskUserID, "taskUserID 7");
  property("getTaskCategory()Ljava/lang/String;", &MDTaskSnapshot::getTaskCategory,
           "setTaskCategory(Ljava/lang/String;)V", &MDTaskSnapshot::setTaskCategory, "taskCategory 8");
  property("getOwner()Ljava/lang/String;", &MDTaskSnapshot::getOwner, "setOwner(Ljava/lang/String;)V",
           &MDTaskSnapshot::setOwner, "owner 9");
  property("getTaskType()I", &MDTaskSnapshot::getTaskType, "setTaskType(I)V", &MDTaskSnapshot::setTaskType, 110);
  property("getScriptContent()Ljava/sql/Clob;", &MDTaskSnapshot::getScriptContent, "setScriptContent(Ljava/sql/Clob;)V",
           &MDTaskSnapshot::setScriptContent, &text);
  property("getTargetDBObjects()Ljava/lang/String;", &MDTaskSnapshot::getTargetDBObjects,
           "setTargetDBObjects(Ljava/lang/String;)V", &MDTaskSnapshot::setTargetDBObjects, "targetDBObjects 12");
  property("getModified()Ljava/sql/Timestamp;", &MDTaskSnapshot::getModified, "setModified(Ljava/sql/Timestamp;)V",
           &MDTaskSnapshot::setModified, &moment);
  property("getScheduleEnable()I", &MDTaskSnapshot::getScheduleEnable, "setScheduleEnable(I)V",
           &MDTaskSnapshot::setScheduleEnable, 114);
  property("getNotificationEnable()I", &MDTaskSnapshot::getNotificationEnable, "setNotificationEnable(I)V",
           &MDTaskSnapshot::setNotificationEnable, 115);
  property("getFollowOnTaskEnable()I", &MDTaskSnapshot::getFollowOnTaskEnable, "setFollowOnTaskEnable(I)V",
           &MDTaskSnapshot::setFollowOnTaskEnable, 116);
  property("getExecutionUserID()Ljava/lang/String;", &MDTaskSnapshot::getExecutionUserID,
           "setExecutionUserID(Ljava/lang/String;)V", &MDTaskSnapshot::setExecutionUserID, "executionUserID 17");
  property("getParameters()Ljava/lang/String;", &MDTaskSnapshot::getParameters, "setParameters(Ljava/lang/String;)V",
           &MDTaskSnapshot::setParameters, "parameters 18");
  property("getScheduleIDs()Ljava/lang/String;", &MDTaskSnapshot::getScheduleIDs, "setScheduleIDs(Ljava/lang/String;)V",
           &MDTaskSnapshot::setScheduleIDs, "scheduleIDs 19");
  property("getNotificationIDs()Ljava/lang/String;", &MDTaskSnapshot::getNotificationIDs,
           "setNotificationIDs(Ljava/lang/String;)V", &MDTaskSnapshot::setNotificationIDs, "notificationIDs 20");
  property("getFollowOnTaskIDs()Ljava/lang/String;", &MDTaskSnapshot::getFollowOnTaskIDs,
           "setFollowOnTaskIDs(Ljava/lang/String;)V", &MDTaskSnapshot::setFollowOnTaskIDs, "followOnTaskIDs 21");
  property("getContactNames()Ljava/lang/String;", &MDTaskSnapshot::getContactNames,
           "setContactNames(Ljava/lang/String;)V", &MDTaskSnapshot::setContactNames, "contactNames 22");
  property("getInvocationType()I", &MDTaskSnapshot::getInvocationType, "setInvocationType(I)V",
           &MDTaskSnapshot::setInvocationType, 123);
  property("getHighestReturnCode()Ljava/lang/String;", &MDTaskSnapshot::getHighestReturnCode,
           "setHighestReturnCode(Ljava/lang/String;)V", &MDTaskSnapshot::setHighestReturnCode, "highestReturnCode 24");
  property("getLatestSnapshot()I", &MDTaskSnapshot::getLatestSnapshot, "setLatestSnapshot(I)V",
           &MDTaskSnapshot::setLatestSnapshot, 125);
}

TEST_F(MDTaskSnapshotTest, CreatingMakesAJavaSnapshot) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskSnapshot>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskSnapshotTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDTaskSnapshot snapshot(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(snapshot.object, record));
  const MDTaskSnapshot none(ctx, nullptr, record);
  EXPECT_EQ(none.object, nullptr);
}

TEST_F(MDTaskSnapshotTest, StoreOperationsReportAndLogNothing) {
  const Operation<MDTaskSnapshot> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDTaskSnapshot& target, int& sqlCode) { return target.insert(ctx, context, sqlCode); })},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDTaskSnapshot& target, int& sqlCode) { return target.update(ctx, context, sqlCode); })},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDTaskSnapshot& target, int& sqlCode) { return target.deleteIt(ctx, context, sqlCode); })},
  };
  for (const auto& op : operations) checkOperation(op);
}

}  // namespace
}  // namespace mesk::test
