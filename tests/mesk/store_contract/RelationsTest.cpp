// What hangs on tasks: the store keeps shared schedules, actions, steps, success codes, rights and statistics as the
// library hands them over.
#include <mesk/bridge/PARLException.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/schedule/MDSharedNamedScheduleType.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/tasks/DWAgentClient.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDFollowOnActionType.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDNotificationActionType.h>
#include <mesk/tasks/MDNotificationMessage.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>

#include <memory>
#include <string>
#include <vector>

#include "StoreFixture.h"

namespace mesk::test {
namespace {

constexpr int kNotFound = 30010;
constexpr int kExists = 30011;
constexpr int kUse = 30016;
constexpr int kInvalid = 30017;

using Keys = std::vector<long long>;

class RelationsTest : public StoreTest {
 protected:
  RelationsTest() : session(connect()) {}

  /// A new task of the store.
  std::unique_ptr<MDTask> newTask(const char* name) {
    auto task = std::make_unique<MDTask>(ctx, session, rc, sqlCode);
    task->setTaskName(ctx, name);
    EXPECT_EQ(task->insert(ctx, session, sqlCode), 0);
    return task;
  }

  /// A new daily rule of the store.
  std::unique_ptr<MDScheduleEvent> newRule() {
    auto rule = std::make_unique<MDScheduleEvent>(ctx, session, rc, sqlCode);
    SQLDate day(ctx, 0LL);
    SQLTime time(ctx, 0LL);
    rule->setStartDate(ctx, &day);
    rule->setStartTime(ctx, &time);
    rule->setIntervalType(ctx, 2);
    rule->setIntervalUnit(ctx, 1);
    rule->setRecurring(ctx, 1);
    EXPECT_EQ(rule->insert(ctx, session, sqlCode), 0);
    return rule;
  }

  /// The keys that a list operation gives, from code 0.
  template <class Owner, class Item>
  Keys keys(Owner& owner, int (Owner::*list)(ThreadContext&, jobject, Item**&, int&, int&),
            long long (Item::*key)(ThreadContext&) const) {
    Item** items = nullptr;
    int count = 0;
    EXPECT_EQ((owner.*list)(ctx, session, items, count, sqlCode), 0);
    Keys result;
    for (int i = 0; i < count; ++i) {
      result.push_back((items[i]->*key)(ctx));
      delete items[i];
    }
    delete[] items;
    return result;
  }

  /// Calls an operation that no record of the library has; `arguments` stand between context and exception object.
  template <class... Arguments>
  int administer(const char* method, const std::string& types, Arguments... arguments) {
    const PARLException exception(ctx);
    {
      const JniTable::Pause pause(ctx.env);
      const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("com/orvik/kelvo/mesk/admin/Administration"));
      const std::string signature =
          "(Lcom/orvik/kelvo/common/parl/api/Context;" + types + "Lcom/orvik/kelvo/common/parl/api/PARLException;)V";
      const jmethodID id = ctx.env->GetStaticMethodID(cls.get(), method, signature.c_str());
      ctx.env->CallStaticVoidMethod(cls.get(), id, session, arguments..., exception.object);
      EXPECT_FALSE(ctx.env->ExceptionCheck());
    }
    return exception.getRC(ctx);
  }

  // Arrays of Java, not counted, that live until the test ends.
  jintArray ints(const std::vector<jint>& values) {
    const JniTable::Pause pause(ctx.env);
    const auto count = static_cast<jsize>(values.size());
    const jintArray array = ctx.env->NewIntArray(count);
    ctx.env->SetIntArrayRegion(array, 0, count, values.data());
    return array;
  }

  jlongArray longs(const std::vector<jlong>& values) {
    const JniTable::Pause pause(ctx.env);
    const auto count = static_cast<jsize>(values.size());
    const jlongArray array = ctx.env->NewLongArray(count);
    ctx.env->SetLongArrayRegion(array, 0, count, values.data());
    return array;
  }

  jobjectArray texts(const std::vector<const char*>& values) {
    const JniTable::Pause pause(ctx.env);
    const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/lang/String"));
    const jobjectArray array = ctx.env->NewObjectArray(static_cast<jsize>(values.size()), cls.get(), nullptr);
    for (std::size_t i = 0; i < values.size(); ++i) {
      ctx.env->SetObjectArrayElement(array, static_cast<jsize>(i), javaString(values[i]));
    }
    return array;
  }

  const jobject session;
};

TEST_F(RelationsTest, ASharedSchedulesRulesApplyToTheTasksThatUseIt) {
  const auto task = newTask("nightly");
  const auto first = newRule();
  const auto second = newRule();
  ASSERT_EQ(task->addScheduleEvent(ctx, session, *first, sqlCode), 0);
  ASSERT_EQ(task->addScheduleEvent(ctx, session, *second, sqlCode), 0);

  MDSharedNamedSchedule schedule(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  schedule.setSharedScheduleName(ctx, "nights");
  ASSERT_EQ(schedule.insert(ctx, session, sqlCode), 0);
  schedule.setDescription(ctx, "when nobody looks");
  EXPECT_EQ(schedule.update(ctx, session, sqlCode), 0);
  const long long scheduleID = schedule.getScheduleID(ctx);
  EXPECT_GT(scheduleID, 0);
  EXPECT_EQ(schedule.getNumScheduleEvent(ctx, session), 0);
  EXPECT_EQ(keys(schedule, &MDSharedNamedSchedule::retrieveScheduleEventList, &MDScheduleEvent::getScheduleEventID),
            Keys{});
  Keys shared;
  for (int i = 0; i < 3; ++i) {
    const auto rule = newRule();
    EXPECT_EQ(schedule.addScheduleEvent(ctx, session, *rule, sqlCode), 0);
    shared.push_back(rule->getScheduleEventID(ctx));
  }
  EXPECT_EQ(schedule.getNumScheduleEvent(ctx, session), 3);
  EXPECT_EQ(keys(schedule, &MDSharedNamedSchedule::retrieveScheduleEventList, &MDScheduleEvent::getScheduleEventID),
            shared);

  EXPECT_EQ(keys(*task, &MDTask::retrieveSharedNamedScheduleList, &MDSharedNamedSchedule::getScheduleID), Keys{});
  ASSERT_EQ(task->addSharedNamedSchedule(ctx, session, schedule, sqlCode), 0);
  EXPECT_EQ(keys(*task, &MDTask::retrieveSharedNamedScheduleList, &MDSharedNamedSchedule::getScheduleID),
            Keys{scheduleID});

  MDScheduleEvent** events = nullptr;
  long long* scheduleIDs = nullptr;
  int count = 0;
  EXPECT_EQ(task->retrieveAllScheduleEventList(ctx, session, events, scheduleIDs, count, sqlCode), 0);
  Keys found, from;
  for (int i = 0; i < count; ++i) {
    found.push_back(events[i]->getScheduleEventID(ctx));
    from.push_back(scheduleIDs[i]);
    delete events[i];
  }
  delete[] events;
  delete[] scheduleIDs;
  EXPECT_EQ(found,
            (Keys{first->getScheduleEventID(ctx), second->getScheduleEventID(ctx), shared[0], shared[1], shared[2]}));
  EXPECT_EQ(from, (Keys{-1, -1, scheduleID, scheduleID, scheduleID}));

  MDSharedNamedScheduleType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  {
    const LocalRef<> got(ctx.env, home.retrieve(ctx, session, scheduleID, rc, sqlCode));
    EXPECT_EQ(rc, 0);
    const MDSharedNamedSchedule read(ctx, got.get(), nullptr);
    EXPECT_EQ(taken(read.getSharedScheduleName(ctx)), "nights");
    EXPECT_EQ(taken(read.getDescription(ctx)), "when nobody looks");
  }
  EXPECT_EQ(keys(home, &MDSharedNamedScheduleType::retrieveList, &MDSharedNamedSchedule::getScheduleID),
            Keys{scheduleID});
  EXPECT_EQ(home.deleteIt(ctx, session, scheduleID, sqlCode), kUse);
  EXPECT_EQ(task->removeSharedNamedSchedule(ctx, session, schedule, sqlCode), 0);
  const auto rule = newRule();
  EXPECT_EQ(schedule.removeScheduleEvent(ctx, session, *rule, sqlCode), kNotFound);
  EXPECT_EQ(home.deleteIt(ctx, session, scheduleID, sqlCode), 0);
  EXPECT_EQ(schedule.deleteIt(ctx, session, sqlCode), kNotFound);
  EXPECT_EQ(keys(home, &MDSharedNamedScheduleType::retrieveList, &MDSharedNamedSchedule::getScheduleID), Keys{});
  home.retrieve(ctx, session, scheduleID, rc, sqlCode);
  EXPECT_EQ(rc, kNotFound);
}

TEST_F(RelationsTest, AFollowOnActionHasAParentAndTasks) {
  const auto parent = newTask("parent");
  const auto next = newTask("next");
  const auto last = newTask("last");
  MDFollowOnAction action(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  EXPECT_GT(action.getReferenceID(ctx, session, rc, sqlCode), 0);
  action.setAction(ctx, 1);
  action.setFollowOnCondition(ctx, 2);
  EXPECT_EQ(action.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(action.update(ctx, session, sqlCode), 0);
  const long long actionID = action.getFollowOnActionID(ctx);

  EXPECT_EQ(keys(action, &MDFollowOnAction::retrieveTaskList, &MDTask::getTaskID), Keys{});
  EXPECT_EQ(action.addTask(ctx, session, *next, sqlCode), 0);
  EXPECT_EQ(action.addTask(ctx, session, *next, sqlCode), kExists);
  EXPECT_EQ(action.removeTask(ctx, session, *next, sqlCode), 0);
  EXPECT_EQ(action.removeTask(ctx, session, *next, sqlCode), kNotFound);
  {
    MDTask tasks[] = {{ctx, nullptr, last->object}, {ctx, nullptr, nullptr}, {ctx, nullptr, next->object}};
    EXPECT_EQ(action.setTaskList(ctx, session, tasks, 3, sqlCode), 0);
    EXPECT_EQ(keys(action, &MDFollowOnAction::retrieveTaskList, &MDTask::getTaskID),
              (Keys{last->getTaskID(ctx), next->getTaskID(ctx)}));
  }

  EXPECT_EQ(keys(*parent, &MDTask::retrieveFollowOnActionList, &MDFollowOnAction::getFollowOnActionID), Keys{});
  EXPECT_EQ(keys(*next, &MDTask::retrievePredecessorTaskWithExecActionList, &MDTask::getTaskID), Keys{});
  EXPECT_EQ(parent->addFollowOnAction(ctx, session, action, sqlCode), 0);
  EXPECT_EQ(parent->addFollowOnAction(ctx, session, action, sqlCode), kExists);
  EXPECT_EQ(action.getParentTaskID(ctx), parent->getTaskID(ctx));
  EXPECT_EQ(keys(*parent, &MDTask::retrieveFollowOnActionList, &MDFollowOnAction::getFollowOnActionID), Keys{actionID});
  EXPECT_EQ(keys(*next, &MDTask::retrievePredecessorTaskWithExecActionList, &MDTask::getTaskID),
            Keys{parent->getTaskID(ctx)});

  MDFollowOnActionType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  {
    const LocalRef<> got(ctx.env, home.retrieve(ctx, session, actionID, rc, sqlCode));
    EXPECT_EQ(rc, 0);
    const MDFollowOnAction read(ctx, nullptr, got.get());
    EXPECT_EQ(read.getFollowOnCondition(ctx), 2);
  }
  EXPECT_EQ(keys(home, &MDFollowOnActionType::retrieveList, &MDFollowOnAction::getFollowOnActionID), Keys{actionID});
  EXPECT_EQ(parent->removeFollowOnAction(ctx, session, action, sqlCode), 0);
  EXPECT_EQ(home.deleteIt(ctx, session, actionID, sqlCode), 0);
  EXPECT_EQ(action.deleteIt(ctx, session, sqlCode), kNotFound);
  EXPECT_EQ(keys(home, &MDFollowOnActionType::retrieveList, &MDFollowOnAction::getFollowOnActionID), Keys{});
  EXPECT_EQ(home.retrieve(ctx, session, actionID, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, kNotFound);
}

TEST_F(RelationsTest, AGroupsStepsComeInTheirOrder) {
  const auto group = newTask("group");
  const auto first = newTask("first");
  const auto second = newTask("second");
  EXPECT_EQ(keys(*group, &MDTask::retrieveTaskGroupMemberList, &MDTask::getTaskID), Keys{});
  const jlong groupID = group->getTaskID(ctx);
  const jlongArray members = longs({second->getTaskID(ctx), first->getTaskID(ctx)});
  EXPECT_EQ(administer("setGroupMembers", "JI[J[I", groupID, jint{0}, members, ints({0, 0})), 0);
  EXPECT_EQ(keys(*group, &MDTask::retrieveTaskGroupMemberList, &MDTask::getTaskID),
            (Keys{second->getTaskID(ctx), first->getTaskID(ctx)}));
}

TEST_F(RelationsTest, SuccessCodesComeAsPairs) {
  const auto task = newTask("nightly");
  tSuccessRelation* pairs = reinterpret_cast<tSuccessRelation*>(1);
  int count = 77;
  EXPECT_EQ(task->retrieveAllCodeCondition(ctx, session, pairs, count, sqlCode), 0);
  EXPECT_EQ(pairs, nullptr);
  EXPECT_EQ(count, 0);

  const jlong taskID = task->getTaskID(ctx);
  const auto put = [&](const std::vector<jint>& codes, const std::vector<const char*>& conditions) {
    return administer("setSuccessCodes", "JI[I[Ljava/lang/String;", taskID, jint{0}, ints(codes), texts(conditions));
  };
  EXPECT_EQ(put({4}, {"<="}), kInvalid);
  ASSERT_EQ(put({0, 4, 0, 8}, {"=", "<", "==", ">"}), 0);
  EXPECT_EQ(task->retrieveAllCodeCondition(ctx, session, pairs, count, sqlCode), 0);
  ASSERT_EQ(count, 3);
  std::string shown;
  for (int i = 0; i < count; ++i) shown += std::to_string(pairs[i].code) + pairs[i].condition + ' ';
  EXPECT_EQ(shown, "0= 4< 8> ");
  delete[] pairs;
}

TEST_F(RelationsTest, WhoHoldsARightOnATaskIsListed) {
  const auto task = newTask("nightly");
  ASSERT_EQ(administer("createUser", "Ljava/lang/String;ZZ", javaString("OPS"), JNI_FALSE, JNI_FALSE), 0);
  MDUser ops(ctx, "ops");
  EXPECT_EQ(task->setReadPermission(ctx, session, ops, 1, sqlCode), 0);
  EXPECT_EQ(task->setExecutePermission(ctx, session, ops, 1, sqlCode), 0);
  EXPECT_EQ(task->getExecutePermission(ctx, session, ops, rc, sqlCode), 1);
  EXPECT_EQ(task->getExecutePermission(ctx, session, "ops"), 1);
  EXPECT_EQ(task->getExecutePermission(ctx, session, "stranger"), 0);
  EXPECT_EQ(task->setExecutePermission(ctx, session, ops, 0, sqlCode), 0);
  EXPECT_EQ(task->getExecutePermission(ctx, session, "ops"), 0);

  const auto holders = [&](int right) {
    MDUser** users = nullptr;
    int count = 0;
    EXPECT_EQ(task->getUsersWithPermission(ctx, session, right, users, count, sqlCode), 0);
    for (int i = 0; i < count; ++i) delete users[i];
    delete[] users;
    return count;
  };
  // Who made the task may hold every right; OPS reads it besides.
  EXPECT_EQ(holders(0), holders(2) + 1);

  MDGroup** groups = reinterpret_cast<MDGroup**>(1);
  int count = 77;
  EXPECT_EQ(task->getGroupsWithPermission(ctx, session, 0, groups, count, sqlCode), 0);
  EXPECT_EQ(groups, nullptr);
  EXPECT_EQ(count, 0);
}

TEST_F(RelationsTest, ANotificationActionBelongsToATask) {
  const auto task = newTask("nightly");
  MDNotificationAction action(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  EXPECT_GT(action.getReferenceID(ctx, session, rc, sqlCode), 0);
  action.setSubject(ctx, "It ran");
  action.setEmailMessageString(ctx, "as told");
  EXPECT_EQ(action.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(action.update(ctx, session, sqlCode), 0);
  const long long actionID = action.getNotificationActionID(ctx);

  EXPECT_EQ(keys(*task, &MDTask::retrieveNotificationActionList, &MDNotificationAction::getNotificationActionID),
            Keys{});
  EXPECT_EQ(task->addNotificationAction(ctx, session, action, sqlCode), 0);
  EXPECT_EQ(keys(*task, &MDTask::retrieveNotificationActionList, &MDNotificationAction::getNotificationActionID),
            Keys{actionID});
  EXPECT_EQ(taken(action.getPagerMessageString(ctx)), "as told");
  EXPECT_NE(taken(action.getJournalMessageString(ctx)).find("It ran"), std::string::npos);
  for (const auto list :
       {&MDNotificationAction::retrieveContactNameList, &MDNotificationAction::retrieveContactGroupNameList,
        &MDNotificationAction::retrieveAllContactNameList}) {
    char** names = reinterpret_cast<char**>(1);
    int count = 77;
    EXPECT_EQ((action.*list)(ctx, session, names, count, sqlCode), 0);
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(count, 0);
  }

  MDNotificationActionType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  {
    const LocalRef<> got(ctx.env, home.retrieve(ctx, session, actionID, rc, sqlCode));
    EXPECT_EQ(rc, 0);
    const MDNotificationAction read(ctx, nullptr, got.get());
    EXPECT_EQ(taken(read.getSubject(ctx)), "It ran");
  }
  EXPECT_EQ(keys(home, &MDNotificationActionType::retrieveList, &MDNotificationAction::getNotificationActionID),
            Keys{actionID});
  EXPECT_EQ(task->removeNotificationAction(ctx, session, action, sqlCode), 0);
  EXPECT_EQ(home.deleteIt(ctx, session, actionID, sqlCode), 0);
  EXPECT_EQ(action.deleteIt(ctx, session, sqlCode), kNotFound);
}

TEST_F(RelationsTest, AMessageIsFilledInForARun) {
  const auto task = newTask("nightly");
  MDTaskHistory history(ctx, session, rc, sqlCode);
  const MDNotificationMessage message(ctx);
  ASSERT_NE(message.object, nullptr);
  EXPECT_NE(taken(message.getResolvedMessage(ctx, session, task.get(), &history, "It ran", "as told")), "(null)");
  EXPECT_EQ(taken(MDNotificationMessage::getMRIMessage(ctx, -1)), "(null)");
}

TEST_F(RelationsTest, AStatisticIsKeptUnderItsTask) {
  const auto task = newTask("nightly");
  MDTaskStatistic statistic(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  statistic.setTaskID(ctx, task->getTaskID(ctx));
  statistic.setTotalRowCount(ctx, 4711);
  EXPECT_EQ(statistic.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(statistic.update(ctx, session, sqlCode), 0);
  MDTaskStatisticType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  {
    const LocalRef<> got(ctx.env, home.retrieve(ctx, session, task->getTaskID(ctx), 0, rc, sqlCode));
    EXPECT_EQ(rc, 0);
    const MDTaskStatistic read(ctx, got.get(), nullptr);
    EXPECT_EQ(read.getTotalRowCount(ctx), 4711);
  }
  EXPECT_EQ(keys(home, &MDTaskStatisticType::retrieveList, &MDTaskStatistic::getTaskID), Keys{task->getTaskID(ctx)});
  EXPECT_EQ(home.deleteIt(ctx, session, task->getTaskID(ctx), 0, sqlCode), 0);
  EXPECT_EQ(statistic.deleteIt(ctx, session, sqlCode), kNotFound);
  EXPECT_EQ(keys(home, &MDTaskStatisticType::retrieveList, &MDTaskStatistic::getTaskID), Keys{});
}

class WarehouseStepTest : public JniTest {};

TEST_F(WarehouseStepTest, AStepWithWrongParametersSaysSo) {
  {
    int rc = 0;
    int sqlCode = 0;
    MDTask task(ctx, nullptr, rc, sqlCode);
    ASSERT_NE(task.object, nullptr);
    DWAgentClient client(ctx, nullptr, &task, "no address", nullptr, nullptr, nullptr, nullptr);
    BrixStepInfo info{77, 77, 77, 77, 77, 77};
    EXPECT_EQ(client.run(ctx, 1, 1, info), 1);
    EXPECT_EQ(info.JobRC, 1);
    EXPECT_EQ(info.JobState, 2);
    EXPECT_EQ(info.RowsMoved, 0);
    EXPECT_EQ(info.BytesMoved, 0);
    EXPECT_EQ(info.EditionNumber, 0);
    EXPECT_EQ(info.RetryCount, 0);
  }
  EXPECT_EQ(jni.globals(), 0);
  EXPECT_EQ(jni.locals(), 2) << "the references that the client leaves behind, as its header says";
  jni.forget();
}

}  // namespace
}  // namespace mesk::test
