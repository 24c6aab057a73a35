// Shared schedules and their home.
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/schedule/MDSharedNamedScheduleType.h>
#include <mesk/support/WrapperTest.h>

#include <memory>

namespace mesk::test {
namespace {

const char* const kEvent = "Lcom/orvik/kelvo/mesk/metadata/MDScheduleEvent;";

class MDSharedNamedScheduleTest : public WrapperTest<MDSharedNamedSchedule> {
 protected:
  MDSharedNamedScheduleTest() : WrapperTest("MDSharedNamedSchedule") {}

  static constexpr const char* kRules = "MDSharedNamedSchedule.retrieveScheduleEventList";

  int number(MDSharedNamedSchedule& schedule) {
    const int result = schedule.getNumScheduleEvent(ctx, context);
    EXPECT_EQ(jni.locals(), 0);
    return result;
  }
};

TEST_F(MDSharedNamedScheduleTest, EachPropertyIsOneJavaPropertyOfItsType) {
  property("getScheduleID()J", &MDSharedNamedSchedule::getScheduleID, "setScheduleID(J)V",
           &MDSharedNamedSchedule::setScheduleID, 5000000000LL + 1);
  property("getSharedScheduleName()Ljava/lang/String;", &MDSharedNamedSchedule::getSharedScheduleName,
           "setSharedScheduleName(Ljava/lang/String;)V", &MDSharedNamedSchedule::setSharedScheduleName, "nights");
  property("getDescription()Ljava/lang/String;", &MDSharedNamedSchedule::getDescription,
           "setDescription(Ljava/lang/String;)V", &MDSharedNamedSchedule::setDescription, "when nobody looks");
}

TEST_F(MDSharedNamedScheduleTest, CreatingMakesAJavaSchedule) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDSharedNamedSchedule>(ctx, context, rc, sqlCode); });
}

TEST_F(MDSharedNamedScheduleTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDSharedNamedSchedule schedule(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(schedule.object, record));
}

TEST_F(MDSharedNamedScheduleTest, OperationsReportTheStoresCode) {
  using Schedule = MDSharedNamedSchedule;
  MDScheduleEvent event(ctx, newFake("MDScheduleEvent"), nullptr);
  event.setScheduleEventID(ctx, 9);
  const Operation<Schedule> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](Schedule& schedule, int& sqlCode) { return schedule.insert(ctx, context, sqlCode); })},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](Schedule& schedule, int& sqlCode) { return schedule.update(ctx, context, sqlCode); })},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](Schedule& schedule, int& sqlCode) { return schedule.deleteIt(ctx, context, sqlCode); })},
      {"addScheduleEvent", storeMethod(kEvent, "V"), "addScheduleEvent(context, MDScheduleEvent#9, exception)",
       byResult(
           [&](Schedule& schedule, int& sqlCode) { return schedule.addScheduleEvent(ctx, context, event, sqlCode); })},
      {"removeScheduleEvent", storeMethod(kEvent, "V"), "removeScheduleEvent(context, MDScheduleEvent#9, exception)",
       byResult([&](Schedule& schedule, int& sqlCode) {
         return schedule.removeScheduleEvent(ctx, context, event, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDSharedNamedScheduleTest, ADeadRuleNeverReachesJava) {
  MDScheduleEvent event(ctx, nullptr, nullptr);
  int sqlCode = 78;
  EXPECT_EQ(live.addScheduleEvent(ctx, context, event, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  sqlCode = 78;
  EXPECT_EQ(live.removeScheduleEvent(ctx, context, event, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDSharedNamedScheduleTest, RulesAreListedAnd30013IsAnEmptyListBut30014IsNot) {
  const ListOperation<MDSharedNamedSchedule, MDScheduleEvent> list{
      "retrieveScheduleEventList", 30013, ListForm::sizeAndGet,
      [&](MDSharedNamedSchedule& schedule, MDScheduleEvent**& events, int& count, int& sqlCode) {
        return schedule.retrieveScheduleEventList(ctx, context, events, count, sqlCode);
      }};
  checkOperation({list.method, storeMethod("", "Ljava/util/Collection;"),
                  "retrieveScheduleEventList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDScheduleEvent"), newFake("MDScheduleEvent"));
}

TEST_F(MDSharedNamedScheduleTest, RulesAreCountedWithoutBeingWrapped) {
  script.on(kRules).returnsList({newFake("MDScheduleEvent"), nullptr, newFake("MDScheduleEvent")});
  jni.failMethod("get");
  const int globals = jni.globals();
  EXPECT_EQ(number(live), 3);
  EXPECT_EQ(jni.globals(), globals);
  EXPECT_EQ(script.calls(), Strings{std::string(kRules) + "(context, exception)"});
  const Strings& lookups = jni.lookups();
  EXPECT_EQ(std::count(lookups.begin(), lookups.end(),
                       "com/orvik/kelvo/mesk/metadata/MDSharedNamedSchedule.retrieveScheduleEventList" +
                           storeMethod("", "Ljava/util/Collection;")),
            1);
}

TEST_F(MDSharedNamedScheduleTest, NoRulesAndEveryFailureCountAs0) {
  script.on(kRules).returnsList({});
  EXPECT_EQ(number(live), 0);
  script.reset();
  script.on(kRules).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(number(live), 0) << "no collection";
  for (const int code : {30013, 30014, 4711}) {
    script.reset();
    script.on(kRules).code(code, -803).returnsList({newFake("MDScheduleEvent")});
    EXPECT_EQ(number(live), 0) << code;
  }
  script.reset();
  script.on(kRules).returnsList({newFake("MDScheduleEvent")});
  EXPECT_EQ(number(dead), 0);
  for (const char* const method : {"retrieveScheduleEventList", "size"}) {
    jni.failMethod(method);
    EXPECT_EQ(number(live), 0) << method;
    jni.heal();
  }
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(number(live), 0);
  jni.heal();
  EXPECT_EQ(number(live), 1);
}

class MDSharedNamedScheduleTypeTest : public WrapperTest<MDSharedNamedScheduleType> {
 protected:
  MDSharedNamedScheduleTypeTest() : WrapperTest("MDSharedNamedScheduleType") {}
};

TEST_F(MDSharedNamedScheduleTypeTest, CreatingMakesAJavaHome) {
  checkCreation(
      [&](int& rc, int& sqlCode) { return std::make_unique<MDSharedNamedScheduleType>(ctx, context, rc, sqlCode); });
}

TEST_F(MDSharedNamedScheduleTypeTest, OperationsReportTheStoresCode) {
  const Operation<MDSharedNamedScheduleType> operations[] = {
      {"retrieve", storeMethod("J", "Lcom/orvik/kelvo/mesk/metadata/MDSharedNamedSchedule;"),
       "retrieve(context, 4294967303, exception)",
       byOutputs([&](MDSharedNamedScheduleType& home, int& rc, int& sqlCode) {
         EXPECT_EQ(home.retrieve(ctx, context, 0x100000007LL, rc, sqlCode), nullptr);
       })},
      {"delete", storeMethod("J", "V"), "delete(context, 4294967303, exception)",
       byResult([&](MDSharedNamedScheduleType& home, int& sqlCode) {
         return home.deleteIt(ctx, context, 0x100000007LL, sqlCode);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDSharedNamedScheduleTypeTest, RetrieveHandsOutWhatJavaGaveWhateverTheCode) {
  for (const int code : {0, 4711}) {
    const jobject schedule = newFake("MDSharedNamedSchedule");
    script.reset();
    script.on("MDSharedNamedScheduleType.retrieve").code(code).returns(schedule);
    int rc = 77, sqlCode = 77;
    const LocalRef<> got(ctx.env, live.retrieve(ctx, context, 7, rc, sqlCode));
    EXPECT_TRUE(ctx.env->IsSameObject(got.get(), schedule));
    EXPECT_EQ(rc, code);
  }
}

TEST_F(MDSharedNamedScheduleTypeTest, SchedulesAreListedAnd30013IsAnEmptyList) {
  const ListOperation<MDSharedNamedScheduleType, MDSharedNamedSchedule> list{
      "retrieveList", 30013, ListForm::sizeAndGet,
      [&](MDSharedNamedScheduleType& home, MDSharedNamedSchedule**& schedules, int& count, int& sqlCode) {
        return home.retrieveList(ctx, context, schedules, count, sqlCode);
      }};
  checkOperation(
      {list.method, storeMethod("", "Ljava/util/Collection;"), "retrieveList(context, exception)", asOperation(list)});
  checkList(list, newFake("MDSharedNamedSchedule"), newFake("MDSharedNamedSchedule"));
}

}  // namespace
}  // namespace mesk::test
