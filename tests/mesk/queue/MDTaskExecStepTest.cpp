#include <mesk/queue/LatchCount.h>
#include <mesk/queue/QueueFixture.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>

#include <algorithm>

namespace mesk::test {
namespace {

constexpr long long kStepID = 0x7'8000'0001;

/// A step of task 1 whose grouping task's execution is `parent`.
class MDTaskExecStepTest : public QueueTest {
 protected:
  MDTaskExecStepTest() : task(ctx, nullptr, newFake("MDTask")), parent(newEntry(40)), start(ctx, at(9)) {
    task.setTaskID(ctx, 1);
    parent->setUserID(ctx, "JOE");
    parent->setUseNotification(ctx, 11);
    parent->setUseTaskActions(ctx, 12);
    parent->setAcceptDefaults(ctx, 13);
    parent->setPassRunSystem(ctx, 14);
    parent->setPassTargetDBObjects(ctx, 15);
    parent->setAdditionalParameters(ctx, "-v");
    parent->setRowLimit(ctx, 16);
    script.forget();
    script.on("MDTaskType.retrieve").returns(task.object);
  }

  int newStep(MDTaskExec* of, const char* password = nullptr) {
    MDTaskExec* out = of;  // anything but null
    const int rc = MDTaskExec::newStep(ctx, context, kStepID, 1, 2, &start, of, out, sqlCode, password);
    step.reset(out);
    return rc;
  }

  void givePassword(MDTaskExec& to) {
    const LocalRef<jbyteArray> bytes(ctx.env, ctx.env->NewByteArray(2));
    to.setPasswordByteArr(ctx, bytes.get());
  }

  MDTask task;
  Entry parent;
  SCTimestamp start;
  Entry step;
  int sqlCode = 99;
};

TEST_F(MDTaskExecStepTest, AStepHasItsKeysStatusThreeAndNoScheduleRule) {
  EXPECT_EQ(newStep(nullptr), 0);
  ASSERT_NE(step, nullptr);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(step->getTaskExecID(ctx), kStepID);
  EXPECT_EQ(step->getTaskID(ctx), 1);
  EXPECT_EQ(step->getSuffix(ctx), 2);
  EXPECT_EQ(step->getV7JobID(ctx), static_cast<int>(0x8000'0001));
  EXPECT_EQ(step->getScheduleEventID(ctx), -1);
  EXPECT_EQ(step->getStatus(ctx), 3);
  EXPECT_EQ(step->getNeedReschedule(ctx), 0);
  EXPECT_EQ(step->getIsRealStartTime(ctx), 0);
  EXPECT_EQ(step->getStartedByRunNow(ctx), 0);
  EXPECT_EQ(step->getTaskHistoryID(ctx), -1);
  EXPECT_EQ(takenTime(ctx, step->getNextStartDateTime(ctx)), at(9));
  EXPECT_EQ(takenTime(ctx, step->getStartTime(ctx)), at(9));
}

TEST_F(MDTaskExecStepTest, ThatAStepsStartIsNotTheRealOneIsSaidBehindItsStart) {
  EXPECT_EQ(newStep(nullptr), 0);
  const Lines said = script.properties();
  const auto last = [&](const char* beginning) {
    return std::find_if(said.rbegin(), said.rend(), [&](const auto& call) { return call.starts_with(beginning); });
  };
  ASSERT_NE(last("MDTaskExec.setStartTime("), said.rend());
  EXPECT_LT(last("MDTaskExec.setIsRealStartTime(0)"), last("MDTaskExec.setStartTime("));
}

TEST_F(MDTaskExecStepTest, TheTaskIsMarkedAsRunningStoredAndCommittedAndTheStepIsNot) {
  task.setNumberOfExecutions(ctx, 1);
  EXPECT_EQ(newStep(nullptr), 0);
  EXPECT_EQ(task.getState(ctx), 2);
  EXPECT_EQ(script.calls(), (Lines{"new MDTaskType(context, exception)", "new MDTaskExec(context, exception)",
                                   "MDTaskType.retrieve(context, 1, 2, exception)", "MDTask.update(context, exception)",
                                   "MDUtility.commit(context, exception)"}));
  EXPECT_EQ(list.size(0), 0);
}

TEST_F(MDTaskExecStepTest, TheTasksNextStartIsRefreshedFromTheQueue) {
  list.insert(newEntry(5, at(11)), 0);
  EXPECT_EQ(newStep(nullptr), 0);
  EXPECT_EQ(takenTime(ctx, task.getNextStart(ctx)), at(11));
}

TEST_F(MDTaskExecStepTest, TheTaskLatchIsHeldFromRetrieveToCommit) {
  LatchCount latches;
  std::vector<std::size_t> callsWhenTaken;
  std::vector<std::size_t> callsWhenReleased;
  latches.onTaken = [&] { callsWhenTaken.push_back(script.calls().size()); };
  latches.onRelease = [&] { callsWhenReleased.push_back(script.calls().size()); };
  EXPECT_EQ(newStep(nullptr), 0);
  // The home and the record come before the latch of the tasks. The queue's latch is taken in between, for a lookup.
  EXPECT_EQ(callsWhenTaken, (std::vector<std::size_t>{2, 3}));
  EXPECT_EQ(callsWhenReleased, (std::vector<std::size_t>{3, 5}));
}

TEST_F(MDTaskExecStepTest, AParentStartedByRunNowGivesUserAndItsSevenOptions) {
  parent->setStartedByRunNow(ctx, 1);
  EXPECT_EQ(newStep(parent.get()), 0);
  EXPECT_EQ(taken(step->getUserID(ctx)), "JOE");
  EXPECT_EQ(step->getStartedByRunNow(ctx), 1);
  EXPECT_EQ(step->getUseNotification(ctx), 11);
  EXPECT_EQ(step->getUseTaskActions(ctx), 12);
  EXPECT_EQ(step->getAcceptDefaults(ctx), 13);
  EXPECT_EQ(step->getPassRunSystem(ctx), 14);
  EXPECT_EQ(step->getPassTargetDBObjects(ctx), 15);
  EXPECT_EQ(taken(step->getAdditionalParameters(ctx)), "-v");
  EXPECT_EQ(step->getRowLimit(ctx), 16);
}

TEST_F(MDTaskExecStepTest, AnyOtherParentGivesItsUserAndNoOption) {
  for (const int startedByRunNow : {0, 2}) {
    parent->setStartedByRunNow(ctx, startedByRunNow);
    EXPECT_EQ(newStep(parent.get()), 0);
    EXPECT_EQ(taken(step->getUserID(ctx)), "JOE");
    EXPECT_EQ(step->getStartedByRunNow(ctx), startedByRunNow);
    EXPECT_EQ(step->getUseNotification(ctx), 0);
    EXPECT_EQ(step->getUseTaskActions(ctx), 0);
    EXPECT_EQ(step->getAcceptDefaults(ctx), 0);
    EXPECT_EQ(step->getPassRunSystem(ctx), 0);
    EXPECT_EQ(step->getPassTargetDBObjects(ctx), 0);
    EXPECT_EQ(step->getAdditionalParameters(ctx), nullptr);
    EXPECT_EQ(step->getRowLimit(ctx), 0);
  }
}

TEST_F(MDTaskExecStepTest, APasswordStandsInForTheParentsWhichIsNotRead) {
  givePassword(*parent);
  EXPECT_EQ(newStep(parent.get(), "secret"), 0);
  EXPECT_EQ(taken(step->getPasswordString(ctx)), "secret");
  EXPECT_EQ(script.count("MDTaskExec.getPassword(context, exception)"), 0);
}

TEST_F(MDTaskExecStepTest, TheParentsPasswordIsTakenOverWhenItHasOne) {
  EXPECT_EQ(newStep(parent.get()), 0);
  EXPECT_EQ(script.count("MDTaskExec.getPassword(context, exception)"), 1);
  EXPECT_EQ(script.count("MDTaskExec.setPasswordByteArr(null)"), 0);
  givePassword(*parent);
  script.forget();
  EXPECT_EQ(newStep(parent.get()), 0);
  EXPECT_EQ(script.count("MDTaskExec.setPasswordByteArr([0, 0])"), 1);
}

TEST_F(MDTaskExecStepTest, WithoutAHomeNoRecordIsMade) {
  script.on("new MDTaskType").code(30001, -204);
  EXPECT_EQ(newStep(parent.get()), 30001);
  EXPECT_EQ(sqlCode, -204);
  EXPECT_EQ(step, nullptr);
  EXPECT_EQ(script.count("new MDTaskExec(context, exception)"), 0);
}

TEST_F(MDTaskExecStepTest, ARecordThatTheStoreRefusesIsHandedOutAsItStandsAndTheTaskIsLeftAlone) {
  script.on("new MDTaskExec").code(30001, -204);
  EXPECT_EQ(newStep(parent.get()), 30001);
  EXPECT_EQ(sqlCode, -204);
  EXPECT_NE(step, nullptr);
  EXPECT_EQ(script.count("MDTaskType.retrieve(context, 1, 2, exception)"), 0);
}

TEST_F(MDTaskExecStepTest, WithoutMemoryForTheRecordThereIsNoneAndTheTaskIsLeftAlone) {
  const AllocationFault fault(AllocationFault::kNew, 1);
  EXPECT_EQ(newStep(parent.get()), -300);
  EXPECT_EQ(step, nullptr);
  EXPECT_EQ(script.count("MDTaskType.retrieve(context, 1, 2, exception)"), 0);
}

TEST_F(MDTaskExecStepTest, TheResultIsTheCodeOfTheLastOperationMade) {
  script.on("MDUtility.commit").code(30003, -3);
  EXPECT_EQ(newStep(nullptr), 30003);
  EXPECT_EQ(sqlCode, -3);

  script.on("MDTask.update").code(30002, -2);
  script.forget();
  EXPECT_EQ(newStep(nullptr), 30002);
  EXPECT_EQ(sqlCode, -2);
  EXPECT_EQ(script.count("MDUtility.commit(context, exception)"), 0);

  script.reset();
  script.on("MDTaskType.retrieve").code(30013, 100);
  EXPECT_EQ(newStep(nullptr), 30013);
  EXPECT_EQ(sqlCode, 100);
  EXPECT_NE(step, nullptr);
  EXPECT_EQ(script.count("MDTask.update(context, exception)"), 0);
}

TEST_F(MDTaskExecStepTest, TheLatchIsFreeAfterAFailure) {
  script.reset();
  script.on("MDTaskType.retrieve").code(30013);
  const LatchCount latches;
  newStep(nullptr);
  EXPECT_EQ(latches.taken(), latches.released());
}

TEST_F(MDTaskExecStepTest, AStepIsTracedWithoutItsPassword) {
  const TraceCapture trace;
  const LogCapture log;
  script.on("MDTask.update").code(30002, -2);
  EXPECT_EQ(newStep(parent.get(), "secret"), 30002);
  EXPECT_EQ(trace.lines().front(), "entry 0x1AE80130");
  EXPECT_EQ(trace.lines().back(), "exit 0x1AE80130 30002");
  for (const auto& lines : {trace.lines(), log.lines()}) {
    for (const std::string& line : lines) EXPECT_EQ(line.find("secret"), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace mesk::test
