// What belongs to a task, and who may do what with it.
#include <mesk/ledger/Patterns.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDSuccessCodeSet.h>
#include <mesk/tasks/MDTask.h>

#include <algorithm>

namespace mesk::test::ledger {
namespace {

constexpr int kNoRelation = 30014;
constexpr int kNobody = 30013;

const std::string kTask = std::string(kMetadata) + "MDTask";
const std::string kSchedule = std::string(kMetadata) + "MDSharedNamedSchedule";
const std::string kListSignature = storeMethod("", kCollection);

void addRelations(ClassRows<MDTask>& task) {
  task.relates("addScheduleEvent", &MDTask::addScheduleEvent, "MDScheduleEvent", false);
  task.relates("removeScheduleEvent", &MDTask::removeScheduleEvent, "MDScheduleEvent", false);
  task.relates("addSharedNamedSchedule", &MDTask::addSharedNamedSchedule, "MDSharedNamedSchedule", false);
  task.relates("removeSharedNamedSchedule", &MDTask::removeSharedNamedSchedule, "MDSharedNamedSchedule", false);
  task.relates("addFollowOnAction", &MDTask::addFollowOnAction, "MDFollowOnAction", true);
  task.relates("removeFollowOnAction", &MDTask::removeFollowOnAction, "MDFollowOnAction", true);
  task.relates("addNotificationAction", &MDTask::addNotificationAction, "MDNotificationAction", true);
  task.relates("removeNotificationAction", &MDTask::removeNotificationAction, "MDNotificationAction", true);

  task.lists<MDScheduleEvent>("retrieveScheduleEventList", &MDTask::retrieveScheduleEventList, "MDScheduleEvent",
                              kNoRelation);
  task.lists<MDSharedNamedSchedule>("retrieveSharedNamedScheduleList", &MDTask::retrieveSharedNamedScheduleList,
                                    "MDSharedNamedSchedule", kNoRelation);
  task.lists<MDFollowOnAction>("retrieveFollowOnActionList", &MDTask::retrieveFollowOnActionList, "MDFollowOnAction",
                               kNoRelation);
  task.lists<MDNotificationAction>("retrieveNotificationActionList", &MDTask::retrieveNotificationActionList,
                                   "MDNotificationAction", kNoRelation);
  task.lists<MDTask>("retrieveTaskGroupMemberList", &MDTask::retrieveTaskGroupMemberList, "MDTask", kNoRelation);
  task.lists<MDTask>("retrievePredecessorTaskWithExecActionList", &MDTask::retrievePredecessorTaskWithExecActionList,
                     "MDTask", kNoRelation);
}

/// A wrapper that the operation keeps for itself; nothing where there was no memory for it.
using Held = std::optional<Wrapper>;

Held heldElement(Prescription& p, const Ref& element) {
  Held held;
  if (p.allocate(2 * sizeof(void*))) held = p.wrap(element);
  if (!element.empty()) p.deleteLocalRef(element);
  return held;
}

void drop(Prescription& p, const std::vector<Held>& held) {
  for (const Held& wrapper : held) {
    if (wrapper) p.destroy(*wrapper);
  }
}

struct HeldList {
  int rc = -300;
  int sqlCode = 0;
  std::vector<Held> items = {};
};

HeldList heldList(Prescription& p, const Wrapper& target, const std::string& method, int emptyCode) {
  HeldList list;
  list.rc = storeCollection(p, target, method, kListSignature, emptyCode, list.sqlCode, [&](const Ref& collection) {
    if (auto items = elementsOf(p, collection, heldElement)) list.items = std::move(*items);
  });
  return list;
}

/// How many rules a schedule says that it has.
int countOfRules(Prescription& p, const Wrapper& schedule) {
  int count = 0;
  const Wrapper exception = p.exceptionObject();
  if (schedule.live() && exception.live() &&
      p.getMethod(schedule.objectClass, "retrieveScheduleEventList", kListSignature)) {
    const Ref rules = p.callObject(schedule.object, "retrieveScheduleEventList", "context", exception.object);
    const int rc = p.returnCode(exception);
    if (!rules.empty()) {
      if (rc == 0) {
        if (const Ref cls = p.getObjectClass(rules); !cls.empty()) {
          if (p.getMethod(cls, "size", "()I")) count = p.callInt(rules, "size");
          p.deleteLocalRef(cls);
        }
      }
      p.deleteLocalRef(rules);
    }
  }
  p.destroy(exception);
  return count;
}

struct AllEvents {
  int rc = -300;
  int sqlCode = 0;
  std::string events = says::givesNoList();
  std::string scheduleIDs = "no schedules";
};

AllEvents allEvents(Prescription& p, std::uint32_t trace) {
  AllEvents all;
  const HeldList own = heldList(p, p.target(), "retrieveScheduleEventList", kNoRelation);
  all.rc = own.rc;
  all.sqlCode = own.sqlCode;
  HeldList shared;
  if (all.rc == 0) {
    shared = heldList(p, p.target(), "retrieveSharedNamedScheduleList", kNoRelation);
    all.rc = shared.rc;
    all.sqlCode = shared.sqlCode;
  }
  std::vector<Held> taken;
  std::vector<Held> left;
  std::vector<long long> ids;
  const auto take = [&](const std::vector<Held>& events, std::size_t room, long long id) {
    for (const Held& event : events) {
      (taken.size() < room ? taken : left).push_back(event);
      if (ids.size() < taken.size()) ids.push_back(id);
    }
  };
  if (all.rc == 0) {
    int total = static_cast<int>(own.items.size());
    for (const Held& schedule : shared.items) {
      if (schedule) total += countOfRules(p, *schedule);
    }
    p.traceData(trace, 10, total);
    std::size_t room = 0;
    if (total >= 1) {
      room = static_cast<std::size_t>(total);
      const bool events = p.allocate(room * sizeof(void*));
      const bool scheduleIDs = p.allocate(room * sizeof(long long));
      if (!events || !scheduleIDs) room = 0;
    }
    take(own.items, room, -1);
    const std::vector<Held> leftOfOwn = std::exchange(left, {});
    for (const Held& schedule : shared.items) {
      if (!schedule) continue;
      const HeldList rules = heldList(p, *schedule, "retrieveScheduleEventList", kNobody);
      all.rc = rules.rc;
      all.sqlCode = rules.sqlCode;
      if (all.rc == kNoRelation) all.rc = all.sqlCode = 0;
      if (all.rc != 0) break;
      take(rules.items, room, longProperty(p, *schedule, "getScheduleID"));
      drop(p, std::exchange(left, {}));
    }
    if (all.rc != 0) {
      drop(p, taken);
    } else if (room > 0) {
      std::vector<std::string> items;
      all.scheduleIDs = "schedules";
      for (std::size_t i = 0; i < room; ++i) {
        const Held event = i < taken.size() ? taken[i] : Held();
        items.push_back(event ? "wrapper " + show(event->object) + " " + show(event->objectClass) : "null");
        all.scheduleIDs += " " + show(i < ids.size() ? ids[i] : -1);
      }
      all.events = says::givesList(items);
    }
    drop(p, shared.items);
    drop(p, leftOfOwn);
  } else {
    drop(p, shared.items);
    drop(p, own.items);
  }
  return all;
}

/// A task with two rules of its own and schedules that say how many they have, and then have so many.
void addAllEvents(ClassRows<MDTask>& task) {
  constexpr std::uint32_t kTrace = 0x1AE80102;
  struct Case {
    const char* variant;
    int own;
    std::vector<int> said;
    std::vector<int> had;
  };
  const std::vector<Case> cases = {{"own and shared", 2, {3, 1}, {3, 1}}, {"own only", 2, {}, {}},
                                   {"shared only", 0, {1}, {1}},          {"none", 0, {0}, {0}},
                                   {"fewer than said", 1, {2}, {1}},      {"more than said", 1, {1}, {3}}};
  // The code of so many calls is 0, then comes one that is not.
  const auto add = [&](const Case& given, int goodCodes, long long thenCode) {
    Row& row = task.add(
        {symbolOf("retrieveAllScheduleEventList", &MDTask::retrieveAllScheduleEventList),
         std::string(given.variant) + (goodCodes < 0 ? "" : std::to_string(goodCodes) + std::to_string(thenCode)),
         [](Run& run) {
           MDTask& target = run.target<MDTask>(kTask);
           const jobject context = run.context();
           MDScheduleEvent* nothing = nullptr;
           long long number = 0;
           MDScheduleEvent** events = &nothing;
           long long* ids = &number;
           int count = 76;
           int rc = 77;
           int sqlCode = 78;
           run.record([&] { rc = target.retrieveAllScheduleEventList(run.ctx, context, events, ids, count, sqlCode); });
           run.codes(rc, sqlCode);
           run.givesList(events, count);
           std::string shown = ids == nullptr ? "no schedules" : "schedules";
           for (int i = 0; ids != nullptr && i < count; ++i) shown += " " + show(ids[i]);
           run.say(shown);
           run.atEnd([ids] { delete[] ids; });
         },
         [](Prescription& p) {
           p.traceEntry(kTrace);
           const AllEvents all = allEvents(p, kTrace);
           p.traceExit(kTrace, all.rc);
           p.result(says::codes(all.rc, all.sqlCode));
           p.result(all.events);
           p.result(all.scheduleIDs);
         }});
    row.answers.add("retrieveScheduleEventList", Object{"java/util/ArrayList"});
    row.answers.add("retrieveSharedNamedScheduleList", Object{"java/util/ArrayList"});
    row.answers.add("size", static_cast<long long>(given.own));
    row.answers.add("size", static_cast<long long>(given.said.size()));
    for (const int said : given.said) row.answers.add("size", static_cast<long long>(said));
    for (const int had : given.had) row.answers.add("size", static_cast<long long>(had));
    // A rule is wrapped and nothing more; whatever fails, each element can be asked what a schedule is asked.
    row.answers.add("get", Object{kSchedule});
    row.answers.add("getScheduleID", 0x123456789ALL);
    row.answers.add("getScheduleID", 22LL);
    for (int i = 0; i < goodCodes; ++i) row.answers.add("getRC", 0LL);
    if (goodCodes >= 0) {
      row.answers.add("getRC", thenCode);
      row.answers.add("getNestedSQLCode", -803LL);
    }
    if (goodCodes < 0) {
      row.reports = true;
      row.states = kEveryState;
    }
  };
  for (const Case& given : cases) add(given, -1, 0);
  // The calls that have a code: the two lists of the task, two counts, two lists of schedules.
  for (int good = 1; good < 6; ++good) {
    for (const long long code : {4711LL, 30013LL, 30014LL}) add(cases[0], good, code);
  }
}

using Pair = std::pair<int, char>;

struct AllConditions {
  int rc = -300;
  int sqlCode = 0;
  std::string gives = "gives null, 0";
};

AllConditions allConditions(Prescription& p) {
  AllConditions all;
  const HeldList sets = heldList(p, p.target(), "retrieveSuccessCodeSetList", kNoRelation);
  all.rc = sets.rc;
  all.sqlCode = sets.sqlCode;
  std::vector<Pair> table;
  bool room = true;
  for (const Held& set : sets.items) {
    if (!set || !room) continue;
    const HeldList conditions = heldList(p, *set, "retrieveCodeConditionList", kNoRelation);
    if (conditions.rc != 0) continue;
    for (const Held& condition : conditions.items) {
      if (!condition || !room) continue;
      const int code = intProperty(p, *condition, "getCode");
      Ref text;
      if (condition->live() && p.getMethod(condition->objectClass, "getCondition", std::string("()") + kString)) {
        text = p.callObject(condition->object, "getCondition");
      }
      const std::string shown = p.stringFromJava(text);
      if (shown == "null") continue;
      const Pair pair(code, shown[1]);
      if (std::find(table.begin(), table.end(), pair) != table.end()) continue;
      // The table grows by one each time.
      room = p.allocate((table.size() + 1) * sizeof(tSuccessRelation));
      table.push_back(pair);
    }
    drop(p, conditions.items);
  }
  if (room && !table.empty() && p.allocate(table.size() * sizeof(tSuccessRelation))) {
    all.gives = "gives";
    for (const auto& [code, condition] : table) all.gives += " (" + show(code) + ", " + condition + ")";
  }
  drop(p, sets.items);
  return all;
}

void addAllConditions(ClassRows<MDTask>& task) {
  const auto add = [&](const std::string& variant, const std::vector<long long>& codes) {
    Row& row = task.add(
        {symbolOf("retrieveAllCodeCondition", &MDTask::retrieveAllCodeCondition), variant,
         [](Run& run) {
           MDTask& target = run.target<MDTask>(kTask);
           const jobject context = run.context();
           tSuccessRelation nothing{};
           tSuccessRelation* relations = &nothing;
           int count = 76;
           int rc = 77;
           int sqlCode = 78;
           run.record([&] { rc = target.retrieveAllCodeCondition(run.ctx, context, relations, count, sqlCode); });
           run.codes(rc, sqlCode);
           std::string shown = relations == nullptr ? "gives null, " + show(count) : "gives";
           for (int i = 0; relations != nullptr && i < count; ++i) {
             shown += " (" + show(relations[i].code) + ", " + relations[i].condition + ")";
           }
           run.say(shown);
           run.atEnd([relations] { delete[] relations; });
         },
         [](Prescription& p) {
           const AllConditions all = allConditions(p);
           p.result(says::codes(all.rc, all.sqlCode));
           p.result(all.gives);
         }});
    row.answers.add("retrieveSuccessCodeSetList", Object{"java/util/ArrayList"});
    row.answers.add("retrieveCodeConditionList", Object{"java/util/ArrayList"});
    for (const long long size : {2, 3, 4}) row.answers.add("size", size);
    for (int i = 0; i < 2; ++i) row.answers.add("get", Object{std::string(kMetadata) + "MDSuccessCodeSet"});
    for (int i = 0; i < 7; ++i) row.answers.add("get", Object{std::string(kMetadata) + "MDCodeCondition"});
    // Of the first set one has no text. Of the second one is known by its first character, two are known but for the
    // code or the character, and one is known.
    for (const long long code : {0, 2, 4, 0, 8, 4, 4}) row.answers.add("getCode", code);
    for (const char* const text : {"=", "", "<=", "==", "=", "<", "!"}) row.answers.add("getCondition", Text{text});
    for (const long long code : codes) row.answers.add("getRC", code);
    if (codes.empty()) {
      row.reports = true;
      row.states = kEveryState;
    } else {
      row.answers.add("getNestedSQLCode", -803LL);
    }
  };
  add("", {});
  add("the first set cannot be read", {0, 4711, 0});
  add("the first set is empty", {0, 30014, 0});
  add("the second set cannot be read", {0, 0, 30013});
}

void addRights(ClassRows<MDTask>& task) {
  const auto of = [&]<class P>(P*, const std::string& principal) {
    using Question = int (MDTask::*)(ThreadContext&, jobject, P&, int&, int&);
    using Change = int (MDTask::*)(ThreadContext&, jobject, P&, int, int&);
    task.asks<P>("getReadPermission", static_cast<Question>(&MDTask::getReadPermission), principal);
    task.asks<P>("getUpdatePermission", static_cast<Question>(&MDTask::getUpdatePermission), principal);
    task.asks<P>("getExecutePermission", static_cast<Question>(&MDTask::getExecutePermission), principal);
    task.grants<P>("setReadPermission", static_cast<Change>(&MDTask::setReadPermission), principal);
    task.grants<P>("setUpdatePermission", static_cast<Change>(&MDTask::setUpdatePermission), principal);
    task.grants<P>("setExecutePermission", static_cast<Change>(&MDTask::setExecutePermission), principal);
  };
  of(static_cast<MDUser*>(nullptr), "MDUser");
  of(static_cast<MDGroup*>(nullptr), "MDGroup");

  // By name: nothing but the answer comes out.
  constexpr auto kByName =
      static_cast<int (MDTask::*)(ThreadContext&, jobject, const char*)>(&MDTask::getExecutePermission);
  for (const char* const name : {"joe", "", static_cast<const char*>(nullptr)}) {
    for (const long long yes : {1LL, 0LL}) {
      Row& row = task.add({symbolOf("getExecutePermission", kByName), name == nullptr ? "null" : "by name",
                           [name](Run& run) {
                             MDTask& target = run.target<MDTask>(kTask);
                             const jobject context = run.context();
                             int answer = 77;
                             run.record([&] { answer = target.getExecutePermission(run.ctx, context, name); });
                             run.answer(answer);
                           },
                           [name](Prescription& p) {
                             const Wrapper target = p.target();
                             const Wrapper exception = p.exceptionObject();
                             const Wrapper user = principalOf(p, "MDUser", name);
                             bool answered = false;
                             if (target.live() && exception.live() && user.live() &&
                                 p.getMethod(target.objectClass, "getExecutePermission",
                                             storeMethod("Lcom/orvik/kelvo/mesk/metadata/MDUser;", "Z"))) {
                               answered = p.callBoolean(target.object, "getExecutePermission", "context", user.object,
                                                        exception.object);
                               if (p.returnCode(exception) != 0) answered = false;
                             }
                             p.destroy(user);
                             p.destroy(exception);
                             p.result(says::answer(answered ? 1 : 0));
                           }});
      row.answers.add("getExecutePermission", yes);
      row.reports = true;
      row.states = kEveryState;
    }
  }
}

/// Who has a right. That nobody has it is an empty list, and a missing list tells its SQL code beside any code.
template <class P>
void addHolders(ClassRows<MDTask>& task, const std::string& name,
                int (MDTask::*operation)(ThreadContext&, jobject, int, P**&, int&, int&),
                const std::string& principal) {
  const std::string element = kMetadata + principal;
  const std::pair<const char*, Answer> variants[] = {
      {"some", Array{{element, "", element}}}, {"none", Array{}}, {"no array", Nothing{}}, {"null", Nothing{}}};
  for (const auto& [variant, array] : variants) {
    Row& row = task.add({symbolOf(name, operation), variant,
                         [operation](Run& run) {
                           MDTask& target = run.target<MDTask>(kTask);
                           const jobject context = run.context();
                           P* nothing = nullptr;
                           P** holders = &nothing;
                           int count = 76;
                           int rc = 77;
                           int sqlCode = 78;
                           run.record([&] { rc = (target.*operation)(run.ctx, context, -2, holders, count, sqlCode); });
                           run.codes(rc, sqlCode);
                           run.givesList(holders, count);
                         },
                         [name](Prescription& p) {
                           const Wrapper target = p.target();
                           const Wrapper exception = p.exceptionObject();
                           Listed list;
                           if (target.live() && exception.live() &&
                               p.getMethod(target.objectClass, name, storeMethod("I", "Ljava/util/ArrayList;"))) {
                             const Ref holders = p.callObject(target.object, name, "context", -2, exception.object);
                             list.rc = p.returnCode(exception);
                             if (list.rc == kNobody) list.rc = 0;
                             if (list.rc == 0 && !holders.empty()) {
                               list.gives = arrayElements(p, holders, wrapElement);
                             } else {
                               if (!holders.empty()) p.deleteLocalRef(holders);
                               list.sqlCode = p.nestedCode(exception);
                             }
                           }
                           p.destroy(exception);
                           p.result(says::codes(list.rc, list.sqlCode));
                           p.result(list.gives);
                         }});
    if (std::string(variant) != "null") row.answers.add(name, Object{"java/util/ArrayList"});
    row.answers.add("toArray", array);
    row.reports = true;
    row.states = kEveryState;
  }
}

}  // namespace

void addTaskRelationRows(Rows& rows) {
  ClassRows<MDTask> task(rows, kTask);
  addRelations(task);
  addAllEvents(task);
  addAllConditions(task);
  addRights(task);
  addHolders<MDUser>(task, "getUsersWithPermission", &MDTask::getUsersWithPermission, "MDUser");
  addHolders<MDGroup>(task, "getGroupsWithPermission", &MDTask::getGroupsWithPermission, "MDGroup");

  ClassRows<MDSuccessCodeSet> set(rows, std::string(kMetadata) + "MDSuccessCodeSet");
  set.wraps();
  set.lists<MDCodeCondition>("retrieveCodeConditionList", &MDSuccessCodeSet::retrieveCodeConditionList,
                             "MDCodeCondition", kNoRelation);
  ClassRows<MDCodeCondition> condition(rows, std::string(kMetadata) + "MDCodeCondition");
  condition.wraps();
  condition.get("getCode", &MDCodeCondition::getCode);
  condition.get("getCondition", &MDCodeCondition::getCondition);
}

}  // namespace mesk::test::ledger
