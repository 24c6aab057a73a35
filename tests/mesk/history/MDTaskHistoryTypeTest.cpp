// The home of history records.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/support/WrapperTest.h>

namespace mesk::test {
namespace {

const char* const kHistory = "Lcom/orvik/kelvo/mesk/metadata/MDTaskHistory;";
const char* const kCollection = "Ljava/util/Collection;";

class MDTaskHistoryTypeTest : public WrapperTest<MDTaskHistoryType> {
 protected:
  MDTaskHistoryTypeTest() : WrapperTest("MDTaskHistoryType") {}
};

TEST_F(MDTaskHistoryTypeTest, CreatingMakesAJavaHome) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDTaskHistoryType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskHistoryTypeTest, OperationsReportTheStoresCode) {
  SCTimestamp moment(ctx, 1711846800123LL);
  const Operation<MDTaskHistoryType> operations[] = {
      {"delete", storeMethod("JILjava/sql/Timestamp;", "V"),
       "delete(context, 4294967303, 2, Timestamp@1711846800123, exception)",
       byResult([&](MDTaskHistoryType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, 2, moment, sqlCode);
       })},
      {"retrieve", storeMethod("J", kHistory), "retrieve(context, 4294967303, exception)",
       byOutputs([&](MDTaskHistoryType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, rc, sqlCode), nullptr);
       })},
      {"retrieve", storeMethod("JILjava/sql/Timestamp;", kHistory),
       "retrieve(context, 4294967303, 2, Timestamp@1711846800123, exception)",
       byOutputs([&](MDTaskHistoryType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, 2, moment, rc, sqlCode), nullptr);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskHistoryTypeTest, RetrieveHandsOutTheRecordUnlessTheStoreReportsAFailure) {
  const jobject history = newFake("MDTaskHistory");
  SCTimestamp moment(ctx, 0LL);
  for (const int code : {0, 4711}) {
    script.on("MDTaskHistoryType.retrieve").code(code, -803).returns(history);
    int rc = 77, sqlCode = 77;
    const LocalRef<> byKey(ctx.env, live.retrieve(ctx, context, 7, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(byKey.get(), code == 0 ? history : nullptr));
    const LocalRef<> byTask(ctx.env, live.retrieve(ctx, context, 7, 2, moment, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(byTask.get(), code == 0 ? history : nullptr));
    script.reset();
  }
}

TEST_F(MDTaskHistoryTypeTest, TheRecordsOfATaskAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDTaskHistoryType, MDTaskHistory> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDTaskHistoryType& home, MDTaskHistory**& histories, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, 0x100000007LL, histories, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("J", kCollection), "retrieveList(context, 4294967303, exception)", asOperation(list)});
  checkList(list, newFake("MDTaskHistory"), newFake("MDTaskHistory"));
}

TEST_F(MDTaskHistoryTypeTest, AllRecordsAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDTaskHistoryType, MDTaskHistory> list{
      "retrieveList", 30013, ListForm::toArray,
      [&](MDTaskHistoryType& home, MDTaskHistory**& histories, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, histories, count, sqlCode);
      }};
  checkOperation({list.method, storeMethod("", kCollection), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDTaskHistory"), newFake("MDTaskHistory"));
}

}  // namespace
}  // namespace mesk::test
