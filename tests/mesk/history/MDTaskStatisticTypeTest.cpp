// The home of statistics.
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <mesk/support/WrapperTest.h>

namespace mesk::test {
namespace {

const char* const kStatistic = "Lcom/orvik/kelvo/mesk/metadata/MDTaskStatistic;";

class MDTaskStatisticTypeTest : public WrapperTest<MDTaskStatisticType> {
 protected:
  MDTaskStatisticTypeTest() : WrapperTest("MDTaskStatisticType") {}
};

TEST_F(MDTaskStatisticTypeTest, CreatingMakesAJavaHome) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDTaskStatisticType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDTaskStatisticTypeTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDTaskStatisticType home(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDTaskStatisticTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDTaskStatisticType> operations[] = {
      {"retrieve", storeMethod("JI", kStatistic), "retrieve(context, 4294967303, 2, exception)",
       byOutputs([&](MDTaskStatisticType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, 2, rc, sqlCode), nullptr);
       }),
       "0x10080151/10", " 7", " 7"},
      {"delete", storeMethod("JI", "V"), "delete(context, 4294967303, 2, exception)",
       byResult([&](MDTaskStatisticType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, 2, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDTaskStatisticTypeTest, RetrievingHandsOutWhatJavaGave) {
  const jobject statistic = newFake("MDTaskStatistic");
  for (const int code : {0, 4711}) {
    script.on("MDTaskStatisticType.retrieve").code(code, -803).returns(statistic);
    Outcome o = kNonsense;
    const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, 2, o.rc, o.sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), statistic));
    EXPECT_EQ(o, (Outcome{code, code == 0 ? 0 : -803}));
    script.reset();
  }
}

TEST_F(MDTaskStatisticTypeTest, AllStatisticsAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDTaskStatisticType, MDTaskStatistic> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDTaskStatisticType& home, MDTaskStatistic**& statistics, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, statistics, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDTaskStatistic"), newFake("MDTaskStatistic"));
}

}  // namespace
}  // namespace mesk::test
