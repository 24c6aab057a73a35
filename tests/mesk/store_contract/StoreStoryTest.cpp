// What a scheduler does, from the first connection to reading it all back.
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/session/MDUtility.h>
#include <mesk/support/Captures.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>
#include <platform/Clock.h>
#include <platform/CodePage.h>

#include <fstream>
#include <memory>

#include "StoreFixture.h"

namespace mesk::test {
namespace {

constexpr int kChanged = 30012;
constexpr int kClaimed = 30015;
constexpr int kNotAStore = 30021;

class StoreStoryTest : public StoreTest {
 protected:
  StoreStoryTest() { setProcessCodePage(kUtf8CodePage); }
  ~StoreStoryTest() override { setProcessCodePage(0); }

  /// Milliseconds of fourteen digits in the local zone.
  long long at(const char* digits) { return SimpleDateFormat(ctx, "yyyyMMddHHmmss").parse(ctx, digits); }
  std::string digits(SCTimestamp* time) {
    const std::unique_ptr<SCTimestamp> owned(time);
    return owned == nullptr ? "(null)" : taken(SimpleDateFormat(ctx, "yyyyMMddHHmmss").format(ctx, *owned));
  }

  /// The only element of a list, which the test then owns.
  template <class Wrapper>
  std::unique_ptr<Wrapper> only(Wrapper** items, int count) {
    EXPECT_EQ(count, 1);
    if (count != 1) return nullptr;
    std::unique_ptr<Wrapper> first(items[0]);
    delete[] items;
    return first;
  }

  /// A task with a rule that fires daily at 01:30, and its run of 2 March.
  void makeTaskAndRun(jobject session) {
    MDTask task(ctx, session, rc, sqlCode);
    task.setTaskName(ctx,
                     "n\xC3\xA4"
                     "chtlich");
    task.setScriptContentString(ctx, "echo done");
    task.setPasswordString(ctx, "s3cret-w0rd");
    ASSERT_EQ(task.insert(ctx, session, sqlCode), 0);
    taskID = task.getTaskID(ctx);

    MDScheduleEvent rule(ctx, session, rc, sqlCode);
    SQLDate day(ctx, at("20240101000000"));
    SQLTime time(ctx, at("19700101013000"));
    rule.setStartDate(ctx, &day);
    rule.setStartTime(ctx, &time);
    rule.setIntervalType(ctx, 2);
    rule.setIntervalUnit(ctx, 1);
    rule.setRecurring(ctx, 1);
    ASSERT_EQ(rule.insert(ctx, session, sqlCode), 0);
    ASSERT_EQ(task.addScheduleEvent(ctx, session, rule, sqlCode), 0);
    ruleID = rule.getScheduleEventID(ctx);

    SCTimestamp reference(ctx, at("20240301120000"));
    const std::unique_ptr<SCTimestamp> next(rule.getNextScheduledTime(ctx, &reference, 0));
    ASSERT_NE(next, nullptr);
    MDTaskExec run(ctx, session, rc, sqlCode);
    run.setTaskID(ctx, taskID);
    run.setScheduleEventID(ctx, ruleID);
    run.setNextStartDateTime(ctx, next.get());
    run.setOriginalScheduleTime(ctx, next.get());
    ASSERT_EQ(run.insert(ctx, session, sqlCode), 0);
    ASSERT_EQ(MDUtility::commit(ctx, session, sqlCode), 0);
  }

  std::unique_ptr<MDTaskExec> onlyRun(jobject session) {
    MDTaskExecType home(ctx, session, rc, sqlCode);
    MDTaskExec** runs = nullptr;
    int count = 0;
    EXPECT_EQ(home.retrieveList(ctx, session, runs, count, sqlCode), 0);
    return only(runs, count);
  }

  const ClockAt now{at("20240301120000")};
  long long taskID = 0;
  long long ruleID = 0;
};

TEST_F(StoreStoryTest, ARunIsClaimedRecordedAndReadBackByALaterSession) {
  jobject session = connect();
  makeTaskAndRun(session);

  long long historyID = 0;
  {
    const std::unique_ptr<MDTaskExec> run = onlyRun(session);
    ASSERT_NE(run, nullptr);
    MDTaskHistory history(ctx, session, rc, sqlCode);
    historyID = history.getReferenceID(ctx, session, rc, sqlCode);
    SCTimestamp start(ctx, at("20240302013001"));
    history.setTaskHistoryID(ctx, historyID);
    history.setTaskID(ctx, taskID);
    history.setStart(ctx, &start);
    history.setRunningStatus(ctx, 1);
    history.setInvocationMethod(ctx, run->getInvocationMethod(ctx));
    EXPECT_EQ(history.insert(ctx, session, sqlCode), 0);
    run->setStatus(ctx, 2);
    run->setTaskHistoryID(ctx, historyID);
    EXPECT_EQ(run->update(ctx, session, sqlCode), 0);
    EXPECT_EQ(MDUtility::commit(ctx, session, sqlCode), 0);

    for (const int rows : {3, 4}) {
      MDTaskResult result(ctx, session, rc, sqlCode);
      result.setPartitionID(ctx, rows);
      result.setRowCount(ctx, rows);
      result.setByteCount(ctx, 100 * rows);
      EXPECT_EQ(history.addTaskResult(ctx, session, result, sqlCode), 0);
    }
    history.setBrixInfo(ctx, session);
    SCTimestamp end(ctx, at("20240302014500"));
    history.setEnd(ctx, &end);
    history.setRunningStatus(ctx, 2);
    history.appendJournalResult(ctx, "begun, ");
    history.appendJournalResult(ctx, "done");
    EXPECT_EQ(history.update(ctx, session, sqlCode), 0);
    EXPECT_EQ(run->deleteIt(ctx, session, sqlCode), 0);
    EXPECT_EQ(MDUtility::commit(ctx, session, sqlCode), 0);
  }
  disconnect(session);

  session = connect();
  const LocalRef<> javaTask(ctx.env, MDTaskType::retrieveTask(ctx, session, taskID, 0, rc, sqlCode));
  ASSERT_EQ(rc, 0);
  MDTask task(ctx, nullptr, javaTask.get());
  EXPECT_EQ(taken(task.getTaskName(ctx)),
            "n\xC3\xA4"
            "chtlich");
  EXPECT_EQ(taken(task.getPasswordString(ctx)), "s3cret-w0rd");

  MDScheduleEvent** rules = nullptr;
  int count = 0;
  EXPECT_EQ(task.retrieveScheduleEventList(ctx, session, rules, count, sqlCode), 0);
  const std::unique_ptr<MDScheduleEvent> rule = only(rules, count);
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(rule->getScheduleEventID(ctx), ruleID);
  SCTimestamp reference(ctx, at("20240302013000"));
  EXPECT_EQ(digits(rule->getNextScheduledTime(ctx, &reference, 0)), "20240303013000");
  MDScheduleEventType ruleHome(ctx, session, rc, sqlCode);
  EXPECT_EQ(ruleHome.rescheduleStatus(ctx, session, ruleID), 2);

  MDTaskHistoryType home(ctx, session, rc, sqlCode);
  MDTaskHistory** histories = nullptr;
  EXPECT_EQ(home.retrieveList(ctx, session, taskID, histories, count, sqlCode), 0);
  const std::unique_ptr<MDTaskHistory> history = only(histories, count);
  ASSERT_NE(history, nullptr);
  EXPECT_EQ(history->getTaskHistoryID(ctx), historyID);
  EXPECT_EQ(history->getRunningStatus(ctx), 2);
  EXPECT_EQ(history->getInvocationMethod(ctx), 1);
  EXPECT_EQ(history->getRowCount(ctx), 7);
  EXPECT_EQ(history->getByteCount(ctx), 700);
  EXPECT_EQ(digits(history->getStart(ctx)), "20240302013001");
  EXPECT_EQ(digits(history->getEnd(ctx)), "20240302014500");
  EXPECT_EQ(taken(history->getJournalResult(ctx)), "begun, done");

  const std::unique_ptr<MDTaskSnapshot> snapshot(history->retrieveTaskSnapshot(ctx, session, rc, sqlCode));
  ASSERT_NE(snapshot, nullptr);
  EXPECT_EQ(snapshot->getTaskID(ctx), taskID);
  EXPECT_EQ(taken(snapshot->getTaskName(ctx)),
            "n\xC3\xA4"
            "chtlich");
}

TEST_F(StoreStoryTest, AnInstantIsClaimedByOneOfTwoSessions) {
  const jobject first = connect();
  makeTaskAndRun(first);
  const jobject second = connect();
  const std::unique_ptr<MDTaskExec> mine = onlyRun(first);
  const std::unique_ptr<MDTaskExec> theirs = onlyRun(second);
  mine->setStatus(ctx, 2);
  theirs->setStatus(ctx, 2);
  EXPECT_EQ(mine->update(ctx, first, sqlCode), 0);
  EXPECT_EQ(MDUtility::commit(ctx, first, sqlCode), 0);
  EXPECT_EQ(theirs->update(ctx, second, sqlCode), kChanged);
  EXPECT_EQ(MDUtility::rollback(ctx, second, sqlCode), 0);

  MDTaskExec again(ctx, second, rc, sqlCode);
  const std::unique_ptr<SCTimestamp> instant(mine->getOriginalScheduleTime(ctx));
  again.setTaskID(ctx, taskID);
  again.setScheduleEventID(ctx, ruleID);
  again.setOriginalScheduleTime(ctx, instant.get());
  again.setStatus(ctx, 2);
  LogCapture log;
  EXPECT_EQ(again.insert(ctx, second, sqlCode), kClaimed);
  EXPECT_EQ(log.records().size(), 1u);
}

TEST_F(StoreStoryTest, WhatIsRolledBackNeverWas) {
  const jobject session = connect();
  makeTaskAndRun(session);
  const std::unique_ptr<MDTaskExec> run = onlyRun(session);
  EXPECT_EQ(run->deleteIt(ctx, session, sqlCode), 0);
  EXPECT_EQ(MDUtility::rollback(ctx, session, sqlCode), 0);
  EXPECT_NE(onlyRun(session), nullptr);
}

TEST_F(StoreStoryTest, AFileThatIsNoStoreIsRefusedWithoutTheSecretInTheLog) {
  std::ofstream(file) << std::string(4096, 'x');
  const LogCapture log;
  const jobject session = MDUtility::connectMD(ctx, file.c_str(), nullptr, "joe", "s3cret-w0rd", rc, sqlCode);
  EXPECT_EQ(session, nullptr);
  EXPECT_EQ(rc, kNotAStore);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_NE(log.lines()[0].find(file), std::string::npos);
  EXPECT_EQ(log.lines()[0].find("s3cret"), std::string::npos);
}

}  // namespace
}  // namespace mesk::test
