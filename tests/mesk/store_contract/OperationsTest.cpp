// Every operation that the library asks the store for: it is there, and reports through the exception object.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/history/MDTaskSnapshotType.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/session/MDUtility.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SCTimestamp.h>

#include <memory>

#include "StoreFixture.h"

namespace mesk::test {
namespace {

constexpr long long kNoKey = 987654321;
constexpr int kNotFound = 30010;
constexpr int kNothingListed = 30013;

class OperationsTest : public StoreTest {
 protected:
  /// The store was reached, whatever it answered.
  void expectReached(int code) const { EXPECT_NE(code, -300); }

  template <class Wrapper>
  void clear(Wrapper**& items, int count) {
    for (int i = 0; i < count; ++i) delete items[i];
    delete[] items;
    items = nullptr;
  }

  void drop(jobject local) { const LocalRef<> owned(ctx.env, local); }

  /// All twelve questions and changes of rights.
  template <class Record>
  void touchRights(Record& record, jobject session) {
    MDUser user(ctx, "joe");
    MDGroup group(ctx, "all");
    const auto touchFor = [&](auto& principal) {
      for (const auto set : {static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int, int&)>(
                                 &Record::setReadPermission),
                             static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int, int&)>(
                                 &Record::setUpdatePermission),
                             static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int, int&)>(
                                 &Record::setExecutePermission)}) {
        expectReached((record.*set)(ctx, session, principal, 1, sqlCode));
      }
      for (const auto get : {static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int&, int&)>(
                                 &Record::getReadPermission),
                             static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int&, int&)>(
                                 &Record::getUpdatePermission),
                             static_cast<int (Record::*)(ThreadContext&, jobject, decltype(principal), int&, int&)>(
                                 &Record::getExecutePermission)}) {
        (record.*get)(ctx, session, principal, rc, sqlCode);
        expectReached(rc);
      }
    };
    touchFor(user);
    touchFor(group);
  }
};

TEST_F(OperationsTest, OfTheSession) {
  const jobject session = connect();
  int sqlState = 0;
  const jobject other = MDUtility::connectMD(ctx, file.c_str(), "", "joe", "pw", rc, sqlCode, sqlState);
  ASSERT_EQ(rc, 0);
  EXPECT_EQ(MDUtility::disconnectMD(ctx, other, sqlCode), 0);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, session, 1), 0);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, session, 0), 0);
  EXPECT_EQ(MDUtility::rollback(ctx, session, sqlCode), 0);
  EXPECT_EQ(MDUtility::commit(ctx, session, sqlCode), 0);
  EXPECT_EQ(MDUtility::commit(ctx, session), 0);
  EXPECT_EQ(MDUtility::markedByScheduler(ctx, file.c_str(), "", "joe", "pw", "first", sqlCode), 0);
  EXPECT_EQ(MDUtility::unmarkedByScheduler(ctx, file.c_str(), "", "joe", "pw", "first", sqlCode), 0);
  const MDUtility object(ctx);
  EXPECT_NE(object.object, nullptr);
}

TEST_F(OperationsTest, OfUsers) {
  const jobject session = connect();
  MDUser user(ctx, "joe");
  EXPECT_EQ(user.isSuperuser(ctx, session, rc, sqlCode), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(user.isAdmin(ctx, session, rc, sqlCode), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(MDUser::isAdministrator(ctx, file.c_str(), nullptr, "joe", "pw", rc, sqlCode), 1);
  EXPECT_EQ(rc, 0);
  const MDGroup group(ctx, "all");
  EXPECT_NE(group.object, nullptr);
}

TEST_F(OperationsTest, OfTasksAndTheirHome) {
  const jobject session = connect();
  MDTask task(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  const long long key = task.getReferenceID(ctx, session, rc, sqlCode);
  EXPECT_EQ(rc, 0);
  EXPECT_GT(key, 0);
  task.setTaskID(ctx, key);
  task.setTaskName(ctx, "nightly");
  EXPECT_EQ(task.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(task.update(ctx, session, sqlCode), 0);
  touchRights(task, session);
  task.setPasswordString(ctx, "pw");
  const LocalRef<jbyteArray> password(ctx.env, task.getPassword(ctx, session));
  EXPECT_TRUE(password);
  task.setPasswordByteArr(ctx, password.get());
  EXPECT_EQ(taken(task.getPasswordString(ctx)), "pw");
  taken(task.getFormattedTaskCategoriesName(ctx, session));
  task.incrNumberOfExecutions(ctx);
  EXPECT_EQ(task.getNumberOfExecutions(ctx), 1);
  task.finalize(ctx);

  MDScheduleEvent** rules = nullptr;
  int count = 0;
  EXPECT_EQ(task.retrieveScheduleEventList(ctx, session, rules, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  MDScheduleEvent rule(ctx, session, rc, sqlCode);
  expectReached(task.addScheduleEvent(ctx, session, rule, sqlCode));
  expectReached(task.removeScheduleEvent(ctx, session, rule, sqlCode));

  MDTaskType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, key, 0, rc, sqlCode));
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(home.retrieve(ctx, session, kNoKey, 0, rc, sqlCode), nullptr);
  EXPECT_EQ(rc, kNotFound);
  drop(MDTaskType::retrieveTask(ctx, session, key, 0, rc, sqlCode));
  EXPECT_EQ(rc, 0);
  MDTask** tasks = nullptr;
  EXPECT_EQ(home.retrieveList(ctx, session, tasks, count, sqlCode), 0);
  EXPECT_EQ(count, 1);
  clear(tasks, count);
  EXPECT_EQ(task.deleteIt(ctx, session, sqlCode), 0);
  EXPECT_EQ(home.retrieveList(ctx, session, tasks, count, sqlCode), kNothingListed);
  EXPECT_EQ(home.deleteIt(ctx, session, key, 0, sqlCode), kNotFound);
}

TEST_F(OperationsTest, OfScheduleRulesAndTheirHome) {
  const jobject session = connect();
  MDScheduleEvent rule(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  EXPECT_GT(rule.getReferenceID(ctx, session, rc, sqlCode), 0);
  expectReached(rule.insert(ctx, session, sqlCode));
  expectReached(rule.update(ctx, session, sqlCode));
  expectReached(rule.deleteIt(ctx, session, sqlCode));
  MDScheduleEventType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, kNoKey, rc, sqlCode));
  EXPECT_EQ(rc, kNotFound);
  MDScheduleEvent** rules = nullptr;
  int count = 0;
  EXPECT_EQ(home.retrieveList(ctx, session, rules, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(home.rescheduleStatus(ctx, session, kNoKey), 0);
}

TEST_F(OperationsTest, OfExecutionsAndTheirHome) {
  const jobject session = connect();
  MDTaskExec run(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  EXPECT_GT(run.getReferenceID(ctx, session), 0);
  EXPECT_EQ(run.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(run.update(ctx, session, sqlCode), 0);
  touchRights(run, session);
  run.setPasswordString(ctx, "pw");
  MDTaskExec copy(ctx, session, rc, sqlCode);
  copy.copy(ctx, &run, session);
  EXPECT_EQ(taken(copy.getPasswordString(ctx)), "pw");

  MDTaskExecType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, run.getTaskExecID(ctx), rc, sqlCode));
  EXPECT_EQ(rc, 0);
  MDTaskExec** runs = nullptr;
  int count = 0;
  EXPECT_EQ(home.retrieveList(ctx, session, runs, count, sqlCode), 0);
  EXPECT_EQ(count, 1);
  clear(runs, count);
  EXPECT_EQ(run.deleteIt(ctx, session, sqlCode), 0);
  EXPECT_EQ(home.retrieveList(ctx, session, runs, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(home.deleteIt(ctx, session, kNoKey, sqlCode), kNotFound);
}

TEST_F(OperationsTest, OfHistoriesResultsAndTheirHome) {
  const jobject session = connect();
  MDTaskHistory history(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  EXPECT_GT(history.getReferenceID(ctx, session, rc, sqlCode), 0);
  SCTimestamp start(ctx, 1700000000000);
  history.setTaskID(ctx, 7);
  history.setStart(ctx, &start);
  history.appendJournalResult(ctx, "one");
  EXPECT_EQ(history.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(history.update(ctx, session, sqlCode), 0);
  touchRights(history, session);

  MDTaskResult result(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  MDTaskResult** results = nullptr;
  int count = 0;
  EXPECT_EQ(history.retrieveTaskResultList(ctx, session, results, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(history.addTaskResult(ctx, session, result, sqlCode), 0);
  EXPECT_EQ(history.retrieveTaskResultList(ctx, session, results, count, sqlCode), 0);
  EXPECT_EQ(count, 1);
  clear(results, count);
  history.setBrixInfo(ctx, session);
  expectReached(result.insert(ctx, session, sqlCode));
  expectReached(result.update(ctx, session, sqlCode));
  touchRights(result, session);
  EXPECT_EQ(result.deleteIt(ctx, session, sqlCode), 0);

  const std::unique_ptr<MDTaskSnapshot> none(history.retrieveTaskSnapshot(ctx, session, rc, sqlCode));
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(rc, kNotFound);

  MDTaskHistoryType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, history.getTaskHistoryID(ctx), rc, sqlCode));
  EXPECT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, 7, 0, start, rc, sqlCode));
  EXPECT_EQ(rc, 0);
  MDTaskHistory** histories = nullptr;
  EXPECT_EQ(home.retrieveList(ctx, session, histories, count, sqlCode), 0);
  EXPECT_EQ(count, 1);
  clear(histories, count);
  EXPECT_EQ(home.retrieveList(ctx, session, kNoKey, histories, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  SCTimestamp later(ctx, 1800000000000);
  EXPECT_EQ(home.deleteIt(ctx, session, 7, 0, later, sqlCode), 0);
  EXPECT_EQ(home.retrieveList(ctx, session, histories, count, sqlCode), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(history.deleteIt(ctx, session, sqlCode), kNotFound);
}

TEST_F(OperationsTest, OfSnapshotsAndTheirHome) {
  const jobject session = connect();
  MDTaskSnapshot snapshot(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  snapshot.setTaskID(ctx, 7);
  snapshot.setTaskName(ctx, "nightly");
  EXPECT_EQ(snapshot.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(snapshot.update(ctx, session, sqlCode), 0);
  MDTaskHistory history(ctx, session, rc, sqlCode);
  EXPECT_EQ(history.insert(ctx, session, sqlCode), 0);
  EXPECT_EQ(history.addTaskSnapshot(ctx, session, snapshot, sqlCode), 0);
  expectReached(history.removeTaskSnapshot(ctx, session, snapshot, snapshot, sqlCode));

  MDTaskSnapshotType home(ctx, session, rc, sqlCode);
  ASSERT_EQ(rc, 0);
  drop(home.retrieve(ctx, session, 7, 0, rc, sqlCode));
  EXPECT_EQ(rc, 0);
  drop(home.retrieveLatestSnapshot(ctx, session, rc, sqlCode));
  EXPECT_EQ(rc, 0);
  MDTaskSnapshot** snapshots = nullptr;
  int count = 0;
  EXPECT_EQ(home.retrieveList(ctx, session, 7, snapshots, count, sqlCode), 0);
  EXPECT_EQ(count, 1);
  clear(snapshots, count);
  expectReached(snapshot.deleteIt(ctx, session, sqlCode));
  expectReached(home.deleteIt(ctx, session, kNoKey, 0, sqlCode));
}

}  // namespace
}  // namespace mesk::test
