// The home of notification actions.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDNotificationActionType.h>

namespace mesk::test {
namespace {

const char* const kAction = "Lcom/orvik/kelvo/mesk/metadata/MDNotificationAction;";

class MDNotificationActionTypeTest : public WrapperTest<MDNotificationActionType> {
 protected:
  MDNotificationActionTypeTest() : WrapperTest("MDNotificationActionType") {}
};

TEST_F(MDNotificationActionTypeTest, CreatingMakesAJavaHome) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDNotificationActionType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDNotificationActionTypeTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDNotificationActionType home(ctx, newFake("MDTask"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDNotificationActionTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDNotificationActionType> operations[] = {
      {"retrieve", storeMethod("J", kAction), "retrieve(context, 4294967303, exception)",
       byOutputs([&](MDNotificationActionType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, rc, sqlCode), nullptr);
       })},
      {"delete", storeMethod("J", "V"), "delete(context, 4294967303, exception)",
       byResult([&](MDNotificationActionType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDNotificationActionTypeTest, RetrieveHandsOutTheActionUnlessTheStoreReportsAFailure) {
  const jobject action = newFake("MDNotificationAction");
  for (const int code : {0, 4711}) {
    script.on("MDNotificationActionType.retrieve").code(code, -803).returns(action);
    Outcome o = kNonsense;
    const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, o.rc, o.sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), code == 0 ? action : nullptr));
    EXPECT_EQ(o, (Outcome{code, code == 0 ? 0 : -803}));
    script.reset();
  }
}

TEST_F(MDNotificationActionTypeTest, AllActionsAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDNotificationActionType, MDNotificationAction> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDNotificationActionType& home, MDNotificationAction**& actions, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, actions, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDNotificationAction"), newFake("MDNotificationAction"));
}

}  // namespace
}  // namespace mesk::test
