// The home of schedule rules.
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/schedule/ScheduleCalculator.h>
#include <mesk/support/WrapperTest.h>

namespace mesk::test {
namespace {

const char* const kEvent = "Lcom/orvik/kelvo/mesk/metadata/MDScheduleEvent;";

class MDScheduleEventTypeTest : public WrapperTest<MDScheduleEventType> {
 protected:
  MDScheduleEventTypeTest() : WrapperTest("MDScheduleEventType") {}

  /// The store holds a rule of that type and detail.
  void holds(int type, int detail, int code = 0) {
    const jobject object = newFake("MDScheduleEvent");
    MDScheduleEvent event(ctx, object, nullptr);
    event.setIntervalType(ctx, type);
    event.setDetail(ctx, detail);
    script.reset();
    script.on("MDScheduleEventType.retrieve").code(code, -803).returns(object);
  }

  int status(long long id = 9) {
    const int result = live.rescheduleStatus(ctx, context, id);
    EXPECT_EQ(jni.locals(), 0);
    return result;
  }
};

TEST_F(MDScheduleEventTypeTest, CreatingMakesAJavaHome) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDScheduleEventType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDScheduleEventTypeTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDScheduleEventType home(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(home.object, record));
}

TEST_F(MDScheduleEventTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDScheduleEventType> operations[] = {
      {"retrieve", storeMethod("J", kEvent), "retrieve(context, 4294967303, exception)",
       byOutputs([&](MDScheduleEventType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, rc, sqlCode), nullptr);
       })},
      {"delete", storeMethod("J", "V"), "delete(context, 4294967303, exception)",
       byResult([&](MDScheduleEventType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDScheduleEventTypeTest, RetrieveHandsOutWhatJavaGaveWhateverTheCode) {
  for (const int code : {0, 4711}) {
    const jobject event = newFake("MDScheduleEvent");
    script.reset();
    script.on("MDScheduleEventType.retrieve").code(code).returns(event);
    int rc = 77, sqlCode = 77;
    const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), event));
    EXPECT_EQ(rc, code);
  }
}

TEST_F(MDScheduleEventTypeTest, RulesAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDScheduleEventType, MDScheduleEvent> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDScheduleEventType& home, MDScheduleEvent**& events, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, events, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDScheduleEvent"), newFake("MDScheduleEvent"));
}

TEST_F(MDScheduleEventTypeTest, ARunWithoutARuleAsksNothing) {
  holds(kEveryDays, 1);
  const int calls = jni.calls();
  EXPECT_EQ(status(-1), 0);
  EXPECT_EQ(jni.calls(), calls);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDScheduleEventTypeTest, TheNextRunCountsFromTheEndOrFromTheStart) {
  holds(kEveryDays, 1);
  EXPECT_EQ(status(), 1);
  EXPECT_EQ(script.calls(), Strings{"MDScheduleEventType.retrieve(context, 9, exception)"});
  holds(kEveryWeeks, 1);
  EXPECT_EQ(status(), 2);
  holds(kEveryMinutes, 0);
  EXPECT_EQ(status(), 2);
}

TEST_F(MDScheduleEventTypeTest, AMissingRuleAndEveryFailureAnswer0) {
  script.reset();
  EXPECT_EQ(status(), 0) << "no rule";
  holds(kEveryDays, 1, 4711);
  EXPECT_EQ(status(), 0) << "a rule beside a failure";
  holds(kEveryDays, 1);
  jni.failMethod("retrieve");
  EXPECT_EQ(status(), 0);
  jni.heal();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(status(), 0);
  jni.heal();
  EXPECT_EQ(dead.rescheduleStatus(ctx, context, 9), 0);
}

}  // namespace
}  // namespace mesk::test
