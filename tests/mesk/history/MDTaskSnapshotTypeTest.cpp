// The home of snapshots.
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/history/MDTaskSnapshotType.h>
#include <mesk/support/WrapperTest.h>

namespace mesk::test {
namespace {

const char* const kHome = "Lcom/orvik/kelvo/mesk/metadata/MDTaskSnapshotType;";
const char* const kSnapshot = "Lcom/orvik/kelvo/mesk/metadata/MDTaskSnapshot;";

class MDTaskSnapshotTypeTest : public WrapperTest<MDTaskSnapshotType> {
 protected:
  MDTaskSnapshotTypeTest() : WrapperTest("MDTaskSnapshotType") {}
};

TEST_F(MDTaskSnapshotTypeTest, CreatingMakesAJavaHome) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskSnapshotType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskSnapshotTypeTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDTaskSnapshotType home(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDTaskSnapshotTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDTaskSnapshotType> operations[] = {
      {"retrieve", storeMethod("JI", kHome), "retrieve(context, 4294967303, 2, exception)",
       byOutputs([&](MDTaskSnapshotType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, 2, rc, sqlCode), nullptr);
       })},
      {"retrieveLatestSnapshot", storeMethod("", kSnapshot), "retrieveLatestSnapshot(context, exception)",
       byOutputs([&](MDTaskSnapshotType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieveLatestSnapshot(ctx, context, rc, sqlCode), nullptr);
       })},
      {"delete", storeMethod("JI", "V"), "delete(context, 4294967303, 2, exception)",
       byResult([&](MDTaskSnapshotType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, 2, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskSnapshotTypeTest, RetrievingHandsOutWhatJavaGave) {
  const jobject snapshot = newFake("MDTaskSnapshot");
  for (const int code : {0, 4711}) {
    script.on("MDTaskSnapshotType.retrieve").code(code).returns(snapshot);
    script.on("MDTaskSnapshotType.retrieveLatestSnapshot").code(code).returns(snapshot);
    int rc = 77, sqlCode = 77;
    const LocalRef<> byKey(ctx.env, live.retrieve(ctx, context, 7, 2, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(byKey.get(), snapshot));
    EXPECT_EQ(rc, code);
    const LocalRef<> latest(ctx.env, live.retrieveLatestSnapshot(ctx, context, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(latest.get(), snapshot));
    EXPECT_EQ(rc, code);
    script.reset();
  }
}

TEST_F(MDTaskSnapshotTypeTest, WithoutAContextTheLatestSnapshotIsNotAskedFor) {
  const int calls = jni.calls();
  int rc = 77, sqlCode = 77;
  EXPECT_EQ(live.retrieveLatestSnapshot(ctx, nullptr, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(MDTaskSnapshotTypeTest, TheSnapshotsOfATaskAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDTaskSnapshotType, MDTaskSnapshot> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDTaskSnapshotType& home, MDTaskSnapshot**& snapshots, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, 0x100000007LL, snapshots, count, sqlCode);
      }};
  checkOperation({list.method, storeMethod("J", "Ljava/util/Collection;"),
                  "retrieveList(context, 4294967303, exception)", asOperation(list)});
  checkList(list, newFake("MDTaskSnapshot"), newFake("MDTaskSnapshot"));
}

}  // namespace
}  // namespace mesk::test
