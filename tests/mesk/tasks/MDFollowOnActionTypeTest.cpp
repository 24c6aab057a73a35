// The home of follow-on actions.
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDFollowOnActionType.h>

#include <memory>

namespace mesk::test {
namespace {

class MDFollowOnActionTypeTest : public WrapperTest<MDFollowOnActionType> {
 protected:
  MDFollowOnActionTypeTest() : WrapperTest("MDFollowOnActionType") {}
};

TEST_F(MDFollowOnActionTypeTest, CreatingMakesAJavaHome) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDFollowOnActionType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDFollowOnActionTypeTest, WrappingTakesTheSecondReferenceAndIgnoresTheFirst) {
  const MDFollowOnActionType home(ctx, newFake("MDTask"), record);
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDFollowOnActionTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDFollowOnActionType> operations[] = {
      {"retrieve", storeMethod("J", "Lcom/orvik/kelvo/mesk/metadata/MDFollowOnAction;"),
       "retrieve(context, 4294967303, exception)", byOutputs([&](MDFollowOnActionType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, rc, sqlCode), nullptr);
       })},
      {"delete", storeMethod("J", "V"), "delete(context, 4294967303, exception)",
       byResult([&](MDFollowOnActionType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDFollowOnActionTypeTest, RetrieveHandsOutTheActionButNoneBesideAFailure) {
  for (const int code : {0, 4711}) {
    const jobject action = newFake("MDFollowOnAction");
    script.reset();
    script.on("MDFollowOnActionType.retrieve").code(code, -803).returns(action);
    int rc = 77, sqlCode = 77;
    const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), code == 0 ? action : nullptr));
    EXPECT_EQ(rc, code);
    EXPECT_EQ(sqlCode, code == 0 ? 0 : -803);
  }
}

TEST_F(MDFollowOnActionTypeTest, ActionsAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDFollowOnActionType, MDFollowOnAction> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDFollowOnActionType& home, MDFollowOnAction**& actions, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, actions, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDFollowOnAction"), newFake("MDFollowOnAction"));
}

}  // namespace
}  // namespace mesk::test
