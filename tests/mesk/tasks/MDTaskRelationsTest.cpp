// What belongs to a task: rules, shared schedules, actions, members, predecessors, success codes.
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/support/WrapperTest.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDTask.h>

#include <memory>
#include <string>
#include <vector>

namespace mesk::test {
namespace {

/// The type of a record in a signature.
std::string typeOf(const std::string& record) { return "Lcom/orvik/kelvo/mesk/metadata/" + record + ";"; }

/// Properties that no wrapper of the library sets.
struct Properties : MDObject {
  using MDObject::MDObject;
  using MDObject::setInt;
  using MDObject::setString;
};

class MDTaskRelationsTest : public WrapperTest<MDTask> {
 protected:
  MDTaskRelationsTest() : WrapperTest("MDTask") {}

  template <class Item>
  using Change = int (MDTask::*)(ThreadContext&, jobject, Item&, int&);
  template <class Item>
  using List = int (MDTask::*)(ThreadContext&, jobject, Item**&, int&, int&);

  /// One operation that takes `item`, shown as `shown`.
  template <class Item>
  void checkChange(const char* method, Change<Item> change, Item& item, const std::string& shown) {
    const std::string recorded = std::string(method) + "(context, " + shown + ", exception)";
    checkOperation(
        {method, storeMethod(typeOf(shown.substr(0, shown.find('#'))), "V"), recorded.c_str(),
         byResult([&](MDTask& task, int& sqlCode) { return std::invoke(change, task, ctx, context, item, sqlCode); })});
  }

  template <class Item>
  void checkRelation(const char* method, List<Item> list, const char* element) {
    const ListOperation<MDTask, Item> op{method, 30014, ListForm::sizeAndGet,
                                         [&](MDTask& task, Item**& items, int& count, int& sqlCode) {
                                           return std::invoke(list, task, ctx, context, items, count, sqlCode);
                                         }};
    const std::string recorded = std::string(method) + "(context, exception)";
    checkOperation({method, storeMethod("", "Ljava/util/Collection;"), recorded.c_str(), asOperation(op)});
    checkList(op, newFake(element), newFake(element));
  }
};

TEST_F(MDTaskRelationsTest, RulesSchedulesAndActionsAreAddedAndRemoved) {
  MDScheduleEvent event(ctx, newFake("MDScheduleEvent"), nullptr);
  event.setScheduleEventID(ctx, 9);
  checkChange("addScheduleEvent", &MDTask::addScheduleEvent, event, "MDScheduleEvent#9");
  checkChange("removeScheduleEvent", &MDTask::removeScheduleEvent, event, "MDScheduleEvent#9");
  MDSharedNamedSchedule schedule(ctx, newFake("MDSharedNamedSchedule"), nullptr);
  schedule.setScheduleID(ctx, 10);
  checkChange("addSharedNamedSchedule", &MDTask::addSharedNamedSchedule, schedule, "MDSharedNamedSchedule#10");
  checkChange("removeSharedNamedSchedule", &MDTask::removeSharedNamedSchedule, schedule, "MDSharedNamedSchedule#10");
  MDFollowOnAction followOn(ctx, nullptr, newFake("MDFollowOnAction"));
  followOn.setFollowOnActionID(ctx, 11);
  checkChange("addFollowOnAction", &MDTask::addFollowOnAction, followOn, "MDFollowOnAction#11");
  checkChange("removeFollowOnAction", &MDTask::removeFollowOnAction, followOn, "MDFollowOnAction#11");
  MDNotificationAction notification(ctx, nullptr, newFake("MDNotificationAction"));
  notification.setNotificationActionID(ctx, 12);
  checkChange("addNotificationAction", &MDTask::addNotificationAction, notification, "MDNotificationAction#12");
  checkChange("removeNotificationAction", &MDTask::removeNotificationAction, notification, "MDNotificationAction#12");
}

TEST_F(MDTaskRelationsTest, ADeadRuleOrScheduleReachesJavaAsNull) {
  MDScheduleEvent event(ctx, nullptr, nullptr);
  MDSharedNamedSchedule schedule(ctx, nullptr, nullptr);
  int sqlCode = 1;
  EXPECT_EQ(live.addScheduleEvent(ctx, context, event, sqlCode), 0);
  EXPECT_EQ(live.removeScheduleEvent(ctx, context, event, sqlCode), 0);
  EXPECT_EQ(live.addSharedNamedSchedule(ctx, context, schedule, sqlCode), 0);
  EXPECT_EQ(live.removeSharedNamedSchedule(ctx, context, schedule, sqlCode), 0);
  EXPECT_EQ(script.calls(), (Strings{"MDTask.addScheduleEvent(context, null, exception)",
                                     "MDTask.removeScheduleEvent(context, null, exception)",
                                     "MDTask.addSharedNamedSchedule(context, null, exception)",
                                     "MDTask.removeSharedNamedSchedule(context, null, exception)"}));
}

TEST_F(MDTaskRelationsTest, ADeadActionNeverReachesJava) {
  MDFollowOnAction followOn(ctx, nullptr, nullptr);
  MDNotificationAction notification(ctx, nullptr, nullptr);
  const std::function<int(int&)> changes[] = {
      [&](int& sqlCode) { return live.addFollowOnAction(ctx, context, followOn, sqlCode); },
      [&](int& sqlCode) { return live.removeFollowOnAction(ctx, context, followOn, sqlCode); },
      [&](int& sqlCode) { return live.addNotificationAction(ctx, context, notification, sqlCode); },
      [&](int& sqlCode) { return live.removeNotificationAction(ctx, context, notification, sqlCode); },
  };
  for (const auto& change : changes) {
    int sqlCode = 78;
    EXPECT_EQ(change(sqlCode), -300);
    EXPECT_EQ(sqlCode, 0);
  }
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDTaskRelationsTest, AnActionWithoutItsClassIsDeadToo) {
  jni.fail(JniTable::kGetObjectClass, 1);
  MDFollowOnAction action(ctx, nullptr, newFake("MDFollowOnAction"));
  jni.heal();
  ASSERT_NE(action.object, nullptr);
  ASSERT_EQ(action.objectClass, nullptr);
  int sqlCode = 78;
  EXPECT_EQ(live.addFollowOnAction(ctx, context, action, sqlCode), -300);
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDTaskRelationsTest, RelationsAreListedAnd30014IsAnEmptyList) {
  checkRelation("retrieveScheduleEventList", &MDTask::retrieveScheduleEventList, "MDScheduleEvent");
  checkRelation("retrieveSharedNamedScheduleList", &MDTask::retrieveSharedNamedScheduleList, "MDSharedNamedSchedule");
  checkRelation("retrieveFollowOnActionList", &MDTask::retrieveFollowOnActionList, "MDFollowOnAction");
  checkRelation("retrieveNotificationActionList", &MDTask::retrieveNotificationActionList, "MDNotificationAction");
  checkRelation("retrieveTaskGroupMemberList", &MDTask::retrieveTaskGroupMemberList, "MDTask");
  checkRelation("retrievePredecessorTaskWithExecActionList", &MDTask::retrievePredecessorTaskWithExecActionList,
                "MDTask");
}

/// What `retrieveAllScheduleEventList` handed out.
class AllEvents {
 public:
  AllEvents(ThreadContext& ctx, MDTask& task, jobject context) : ctx_(ctx) {
    rc = task.retrieveAllScheduleEventList(ctx, context, events, scheduleIDs, count, sqlCode);
  }
  ~AllEvents() {
    for (int i = 0; i < count; ++i) delete events[i];
    delete[] events;
    delete[] scheduleIDs;
  }
  AllEvents(const AllEvents&) = delete;
  AllEvents& operator=(const AllEvents&) = delete;

  /// "rule/schedule" of each row; a null event as "null".
  Strings rows() const {
    Strings result;
    for (int i = 0; i < count; ++i) {
      result.push_back((events[i] == nullptr ? "null" : std::to_string(events[i]->getScheduleEventID(ctx_))) + "/" +
                       std::to_string(scheduleIDs[i]));
    }
    return result;
  }
  bool isEmpty() const { return events == nullptr && scheduleIDs == nullptr && count == 0; }

  int rc = 77;
  int sqlCode = 78;
  MDScheduleEvent** events = reinterpret_cast<MDScheduleEvent**>(1);
  long long* scheduleIDs = reinterpret_cast<long long*>(1);
  int count = 77;

 private:
  ThreadContext& ctx_;
};

class AllScheduleEventsTest : public MDTaskRelationsTest {
 protected:
  static constexpr const char* kOwn = "MDTask.retrieveScheduleEventList";
  static constexpr const char* kShared = "MDTask.retrieveSharedNamedScheduleList";
  static constexpr const char* kRules = "MDSharedNamedSchedule.retrieveScheduleEventList";

  std::vector<jobject> rules(std::vector<long long> ids) {
    std::vector<jobject> result;
    for (const long long id : ids) {
      result.push_back(newFake("MDScheduleEvent"));
      MDScheduleEvent(ctx, result.back(), nullptr).setScheduleEventID(ctx, id);
    }
    return result;
  }

  jobject schedule(long long id) {
    const jobject made = newFake("MDSharedNamedSchedule");
    MDSharedNamedSchedule(ctx, made, nullptr).setScheduleID(ctx, id);
    return made;
  }

  /// The task has rules 1 and 2, and schedule 70 with rules 3, 4 and 5.
  void holdsFive() {
    script.reset();
    script.on(kOwn).returnsList(rules({1, 2}));
    script.on(kShared).returnsList({schedule(70)});
    script.on(kRules).returnsList(rules({3, 4, 5}));
  }
};

TEST_F(AllScheduleEventsTest, OwnRulesComeFirstThenThoseOfEachScheduleWithItsKey) {
  holdsFive();
  const TraceCapture trace;
  {
    const AllEvents all(ctx, live, context);
    EXPECT_EQ(all.rc, 0);
    EXPECT_EQ(all.sqlCode, 0);
    EXPECT_EQ(all.rows(), (Strings{"1/-1", "2/-1", "3/70", "4/70", "5/70"}));
    EXPECT_EQ(jni.locals(), 0);
  }
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE80102", "data 0x1AE80102/10 5", "exit 0x1AE80102 0"}));
  EXPECT_EQ(script.calls(), (Strings{"MDTask.retrieveScheduleEventList(context, exception)",
                                     "MDTask.retrieveSharedNamedScheduleList(context, exception)",
                                     "MDSharedNamedSchedule.retrieveScheduleEventList(context, exception)",
                                     "MDSharedNamedSchedule.retrieveScheduleEventList(context, exception)"}));
}

TEST_F(AllScheduleEventsTest, SchedulesComeInTheirOrder) {
  script.on(kOwn).code(30014);
  script.on(kShared).returnsList({schedule(70), schedule(0x100000047LL)});
  for (int read = 0; read < 2; ++read) {  // first to count, then to list
    script.on(kRules).returnsList(rules({3}));
    script.on(kRules).returnsList(rules({4, 5}));
  }
  const AllEvents all(ctx, live, context);
  EXPECT_EQ(all.rc, 0);
  EXPECT_EQ(all.rows(), (Strings{"3/70", "4/4294967367", "5/4294967367"}));
}

TEST_F(AllScheduleEventsTest, NothingIsAnEmptyListByEitherCode) {
  const auto expectEmpty = [&] {
    const TraceCapture trace;
    const AllEvents all(ctx, live, context);
    EXPECT_EQ(all.rc, 0);
    EXPECT_EQ(all.sqlCode, 0);
    EXPECT_TRUE(all.isEmpty());
    EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE80102", "data 0x1AE80102/10 0", "exit 0x1AE80102 0"}));
  };
  script.on(kOwn).code(30014, 100);
  script.on(kShared).code(30014, 100);
  expectEmpty();
  for (const int nothing : {30013, 30014}) {
    SCOPED_TRACE(nothing);
    script.reset();
    script.on(kOwn).code(30014, 100);
    script.on(kShared).returnsList({schedule(70)});
    script.on(kRules).code(nothing, 100);
    expectEmpty();
  }
}

TEST_F(AllScheduleEventsTest, EitherListThatFailsIsTheAnswer) {
  const auto expectFailure = [&](int code) {
    const TraceCapture trace;
    const AllEvents all(ctx, live, context);
    EXPECT_EQ(all.rc, code);
    EXPECT_EQ(all.sqlCode, code == -300 ? 0 : -803);
    EXPECT_TRUE(all.isEmpty());
    const Strings lines = trace.lines();
    EXPECT_EQ(lines.front(), "entry 0x1AE80102");
    EXPECT_EQ(lines.back(), "exit 0x1AE80102 " + std::to_string(code));
  };
  for (const int code : {4711, 30013}) {
    for (const char* const list : {kOwn, kShared}) {
      SCOPED_TRACE(list);
      script.reset();
      if (list == kShared) script.on(kOwn).returnsList(rules({1, 2}));
      script.on(list).code(code, -803);
      expectFailure(code);
    }
  }
  {
    SCOPED_TRACE("the rules of the second schedule");
    script.reset();
    script.on(kOwn).returnsList(rules({1}));
    script.on(kShared).returnsList({schedule(70), schedule(71)});
    for (const auto& ids : {std::vector<long long>{2}, {3}, {2}}) script.on(kRules).returnsList(rules(ids));
    script.on(kRules).code(4711, -803);
    expectFailure(4711);
  }
  for (const char* const method : {"retrieveScheduleEventList", "retrieveSharedNamedScheduleList"}) {
    holdsFive();
    jni.failMethod(method);
    expectFailure(-300);
    jni.heal();
  }
}

TEST_F(AllScheduleEventsTest, ADeadTaskAndAMissingExceptionObjectAnswerUnreached) {
  const AllEvents all(ctx, dead, context);
  EXPECT_EQ(all.rc, -300);
  EXPECT_EQ(all.sqlCode, 0);
  EXPECT_TRUE(all.isEmpty());
  holdsFive();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  const AllEvents none(ctx, live, context);
  EXPECT_EQ(none.rc, -300);
  EXPECT_TRUE(none.isEmpty());
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(AllScheduleEventsTest, ThereAreAsManyRowsAsWereCounted) {
  script.on(kOwn).returnsList(rules({1}));
  script.on(kShared).returnsList({schedule(70), schedule(71)});
  for (const auto& ids : {std::vector<long long>{2, 3, 4}, {5}, {2}, {5}}) script.on(kRules).returnsList(rules(ids));
  {
    SCOPED_TRACE("rules are taken away meanwhile");
    const AllEvents all(ctx, live, context);
    EXPECT_EQ(all.rc, 0);
    EXPECT_EQ(all.rows(), (Strings{"1/-1", "2/70", "5/71", "null/-1", "null/-1"}));
  }
  script.reset();
  script.on(kOwn).returnsList(rules({1}));
  script.on(kShared).returnsList({schedule(70)});
  for (const auto& ids : {std::vector<long long>{2}, {2, 3, 4}}) script.on(kRules).returnsList(rules(ids));
  SCOPED_TRACE("rules come meanwhile");
  const AllEvents all(ctx, live, context);
  EXPECT_EQ(all.rc, 0);
  EXPECT_EQ(all.rows(), (Strings{"1/-1", "2/70"}));
}

TEST_F(AllScheduleEventsTest, WithoutMemoryASlotIsNullAndTheCountStays) {
  // What is made, in this order: the array of own rules and its two, the array of schedules and its one, the two arrays
  // to hand out, the array of that schedule's rules and its three.
  const struct {
    unsigned failing;
    Strings rows;
  } cases[] = {
      {1, {"3/70", "4/70", "5/70"}},
      {3, {"1/-1", "null/-1", "3/70", "4/70", "5/70"}},
      {4, {"1/-1", "2/-1"}},
      {5, {"1/-1", "2/-1"}},
      {6, {}},
      {7, {}},
      {8, {"1/-1", "2/-1", "null/-1", "null/-1", "null/-1"}},
      {10, {"1/-1", "2/-1", "3/70", "null/70", "5/70"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.failing);
    holdsFive();
    const AllocationFault fault(AllocationFault::kNew, c.failing);
    const AllEvents all(ctx, live, context);
    EXPECT_EQ(all.rc, 0);
    EXPECT_EQ(all.rows(), c.rows);
    EXPECT_EQ(all.isEmpty(), c.rows.empty());
  }
}

class CodeConditionsTest : public MDTaskRelationsTest {
 protected:
  static constexpr const char* kSets = "MDTask.retrieveSuccessCodeSetList";
  static constexpr const char* kConditions = "MDSuccessCodeSet.retrieveCodeConditionList";

  jobject condition(int code, const char* text) {
    const jobject made = newFake("MDCodeCondition");
    Properties properties(ctx, made);
    properties.setInt(ctx, "setCode", code);
    properties.setString(ctx, "setCondition", text);
    return made;
  }

  void holdsSets(int n) {
    std::vector<jobject> sets;
    for (int i = 0; i < n; ++i) sets.push_back(newFake("MDSuccessCodeSet"));
    script.on(kSets).returnsList(sets);
  }

  /// One set with two conditions, and one with two, of which the first is known.
  void holdsThree() {
    script.reset();
    holdsSets(2);
    script.on(kConditions).returnsList({condition(0, "="), condition(4, "<=")});
    script.on(kConditions).returnsList({condition(0, "=="), condition(8, ">")});
  }

  /// The pairs as "code condition", from exactly that answer.
  Strings pairs(MDTask& task, Outcome expected) {
    tSuccessRelation* relations = reinterpret_cast<tSuccessRelation*>(1);
    int count = 77;
    Outcome outcome = kNonsense;
    outcome.rc = task.retrieveAllCodeCondition(ctx, context, relations, count, outcome.sqlCode);
    EXPECT_EQ(outcome, expected);
    EXPECT_EQ(relations == nullptr, count == 0);
    EXPECT_EQ(jni.locals(), 0);
    Strings result;
    for (int i = 0; i < count; ++i) {
      result.push_back(std::to_string(relations[i].code) + " " + relations[i].condition);
    }
    delete[] relations;
    return result;
  }
};

TEST_F(CodeConditionsTest, PairsOfAllSetsComeOnceByTheirFirstCharacter) {
  holdsThree();
  EXPECT_EQ(pairs(live, {0, 0}), (Strings{"0 =", "4 <", "8 >"}));
  EXPECT_EQ(script.calls(), (Strings{"MDTask.retrieveSuccessCodeSetList(context, exception)",
                                     "MDSuccessCodeSet.retrieveCodeConditionList(context, exception)",
                                     "MDSuccessCodeSet.retrieveCodeConditionList(context, exception)"}));
  const std::string list = storeMethod("", "Ljava/util/Collection;");
  const Strings& lookups = jni.lookups();
  const auto looked = [&](const std::string& method) {
    return std::count(lookups.begin(), lookups.end(), "com/orvik/kelvo/mesk/metadata/" + method);
  };
  EXPECT_EQ(looked("MDTask.retrieveSuccessCodeSetList" + list), 1);
  EXPECT_EQ(looked("MDSuccessCodeSet.retrieveCodeConditionList" + list), 2);
  EXPECT_EQ(looked("MDCodeCondition.getCode()I"), 4);
  EXPECT_EQ(looked("MDCodeCondition.getCondition()Ljava/lang/String;"), 4);
}

TEST_F(CodeConditionsTest, PairsDifferByCodeOrByCharacter) {
  holdsSets(1);
  script.on(kConditions)
      .returnsList({condition(0, "="), condition(0, "!"), condition(-1, "="), condition(0, "="), condition(-1, "=="),
                    condition(2147483647, "<"), condition(0, "!=")});
  EXPECT_EQ(pairs(live, {0, 0}), (Strings{"0 =", "0 !", "-1 =", "2147483647 <"}));
}

TEST_F(CodeConditionsTest, AConditionWithoutTextIsLeftOut) {
  holdsSets(1);
  script.on(kConditions).returnsList({condition(1, nullptr), condition(2, ">"), condition(3, ""), nullptr});
  EXPECT_EQ(pairs(live, {0, 0}), Strings{"2 >"});
}

TEST_F(CodeConditionsTest, ASetThatCannotBeReadIsLeftOut) {
  holdsSets(4);
  script.on(kConditions).code(4711, -803);
  script.on(kConditions).returnsList({condition(1, "=")});
  script.on(kConditions).code(30013, -803).returnsList({condition(5, "=")});
  script.on(kConditions).code(30014);
  EXPECT_EQ(pairs(live, {0, 0}), Strings{"1 ="});
}

TEST_F(CodeConditionsTest, NoSetsNoConditionsAndNoneWithTextAreNoPairs) {
  script.on(kSets).code(30014, 100);
  EXPECT_EQ(pairs(live, {0, 0}), Strings{});
  script.reset();
  holdsSets(1);
  script.on(kConditions).code(30014, 100);
  EXPECT_EQ(pairs(live, {0, 0}), Strings{});
  script.reset();
  holdsSets(1);
  script.on(kConditions).returnsList({condition(1, nullptr)});
  EXPECT_EQ(pairs(live, {0, 0}), Strings{});
}

TEST_F(CodeConditionsTest, ListingTheSetsCanFail) {
  for (const int code : {4711, 30013}) {
    script.reset();
    script.on(kSets).code(code, -803);
    EXPECT_EQ(pairs(live, {code, -803}), Strings{});
  }
  EXPECT_EQ(pairs(dead, {-300, 0}), Strings{});
  jni.failMethod("retrieveSuccessCodeSetList");
  EXPECT_EQ(pairs(live, {-300, 0}), Strings{});
  jni.heal();
  jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
  EXPECT_EQ(pairs(live, {-300, 0}), Strings{});
  jni.heal();
}

TEST_F(CodeConditionsTest, WithoutMemoryAnElementIsLeftOutButThePairsComeAllOrNone) {
  // What is made, in this order: the array of sets and its two; the array of the first set's conditions and its two;
  // for each of them two texts and the table with one row more; the second set's array and its two; two texts of the
  // known pair, which makes the table no larger; two texts and the table of the last; the array to hand out.
  const struct {
    unsigned failing;
    Strings pairs;
  } cases[] = {
      {1, {}},
      {2, {"0 =", "4 <"}},
      {4, {"0 =", "8 >"}},
      {5, {"4 <", "0 =", "8 >"}},
      {8, {"4 <", "0 =", "8 >"}},
      {9, {}},
      {12, {}},
      {17, {"0 =", "4 <", "8 >"}},
      {20, {}},
      {21, {}},
      {22, {"0 =", "4 <", "8 >"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.failing);
    holdsThree();
    const AllocationFault fault(AllocationFault::kNew, c.failing);
    EXPECT_EQ(pairs(live, {0, 0}), c.pairs);
  }
}

}  // namespace
}  // namespace mesk::test
