#include <mesk/queue/QueueFixture.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>

#include <ctime>

namespace mesk::test {
namespace {

/// Milliseconds of a local time in January 2031.
long long january(int day, int hour, int minute = 0) {
  struct tm local = {};
  local.tm_year = 2031 - 1900;
  local.tm_mday = day;
  local.tm_hour = hour;
  local.tm_min = minute;
  local.tm_isdst = -1;
  return static_cast<long long>(mktime(&local)) * 1000;
}

/// A daily rule from 10 January 2031, 10:00, and an execution of it.
class MDTaskExecNextTimeTest : public QueueTest {
 protected:
  MDTaskExecNextTimeTest()
      : task(newFake("MDTask")),
        rule(ctx, newFake("MDScheduleEvent"), context),
        exec(newEntry(5)),
        home(ctx, newFake("MDScheduleEventType"), context) {
    SQLDate date(ctx, january(10, 0));
    SQLTime time(ctx, january(1, 10));
    rule.setStartDate(ctx, &date);
    rule.setStartTime(ctx, &time);
    rule.setIntervalType(ctx, 2);
    rule.setIntervalUnit(ctx, 1);
    rule.setRecurring(ctx, 1);
    exec->setTaskID(ctx, 70);
    exec->setSuffix(ctx, 2);
    exec->setScheduleEventID(ctx, 9);
    script.forget();
    script.on("MDTaskType.retrieve").returns(task);
    script.on("MDScheduleEventType.retrieve").returns(rule.object);
  }

  std::optional<long long> next(SCTimestamp* from = nullptr) {
    return takenTime(ctx, exec->getNextScheduleTime(ctx, context, &home, nullptr, from));
  }

  jobject task;
  MDScheduleEvent rule;
  Entry exec;
  MDScheduleEventType home;
};

TEST_F(MDTaskExecNextTimeTest, TaskAndRuleAreRetrievedByTheRecordsKeys) {
  SCTimestamp from(ctx, january(15, 10));
  next(&from);
  EXPECT_EQ(script.calls(),
            (Lines{"new MDTaskType(context, exception)", "MDTaskType.retrieve(context, 70, 2, exception)",
                   "MDScheduleEventType.retrieve(context, 9, exception)"}));
  EXPECT_EQ(script.count("MDTask.getScheduleEnable()"), 1);
}

TEST_F(MDTaskExecNextTimeTest, FromAMomentTheNextTimeIsOneIntervalLaterWhateverTheStatus) {
  SCTimestamp from(ctx, january(15, 10));
  for (const int status : {0, 1, 3}) {
    exec->setStatus(ctx, status);
    EXPECT_EQ(next(&from), january(16, 10)) << status;
  }
  EXPECT_EQ(from.getTime(ctx), january(15, 10));
}

TEST_F(MDTaskExecNextTimeTest, WithoutAMomentAStartedRunCountsFromTheRulesStartWhichMayBeTheAnswer) {
  exec->setStatus(ctx, 3);
  EXPECT_EQ(next(), january(10, 10));
}

TEST_F(MDTaskExecNextTimeTest, WithoutAMomentStatusOneCountsFromTheRulesStart) {
  exec->setStatus(ctx, 1);
  SCTimestamp original(ctx, january(20, 10));
  exec->setOriginalScheduleTime(ctx, &original);
  EXPECT_EQ(next(), january(10, 10));
}

TEST_F(MDTaskExecNextTimeTest, WithoutAMomentStatusZeroCountsFromTheOriginalScheduleTime) {
  SCTimestamp original(ctx, january(20, 10));
  exec->setOriginalScheduleTime(ctx, &original);
  EXPECT_EQ(next(), january(21, 10));
}

TEST_F(MDTaskExecNextTimeTest, WithoutABaseThereIsNoNextTime) {
  EXPECT_EQ(next(), std::nullopt);  // status 0 and no original schedule time
  exec->setStatus(ctx, 1);
  rule.setStartDate(ctx, nullptr);
  EXPECT_EQ(next(), std::nullopt);
  SQLDate date(ctx, january(10, 0));
  rule.setStartDate(ctx, &date);
  rule.setStartTime(ctx, nullptr);
  EXPECT_EQ(next(), std::nullopt);
}

TEST_F(MDTaskExecNextTimeTest, ARuleThatFiresOnceHasNoNextTime) {
  rule.setRecurring(ctx, 0);
  SCTimestamp from(ctx, january(15, 10));
  EXPECT_EQ(next(&from), std::nullopt);
  EXPECT_EQ(script.count("MDScheduleEvent.getIntervalType()"), 0);
}

TEST_F(MDTaskExecNextTimeTest, ARuleThatHasEndedHasNoNextTime) {
  SQLDate end(ctx, january(14, 0));
  rule.setEndDate(ctx, &end);
  SCTimestamp from(ctx, january(15, 10));
  EXPECT_EQ(next(&from), std::nullopt);
}

TEST_F(MDTaskExecNextTimeTest, WithoutItsTaskNoRuleIsAskedFor) {
  script.reset();
  script.on("MDTaskType.retrieve").code(30013, 100);
  SCTimestamp from(ctx, january(15, 10));
  EXPECT_EQ(next(&from), std::nullopt);
  EXPECT_EQ(script.count("MDScheduleEventType.retrieve(context, 9, exception)"), 0);
}

TEST_F(MDTaskExecNextTimeTest, ARuleThatIsMissingOrComesWithACodeHasNoNextTime) {
  SCTimestamp from(ctx, january(15, 10));
  script.reset();
  script.on("MDTaskType.retrieve").returns(task);
  EXPECT_EQ(next(&from), std::nullopt);
  script.on("MDScheduleEventType.retrieve").code(30013, 100).returns(rule.object);
  EXPECT_EQ(next(&from), std::nullopt);
  EXPECT_EQ(takenTime(ctx, exec->getNextScheduleTime(ctx, context, nullptr, nullptr, &from)), std::nullopt);
}

TEST_F(MDTaskExecNextTimeTest, ADeadRecordHasNoNextTimeAndAsksNothing) {
  MDTaskExec dead(ctx, nullptr, nullptr);
  SCTimestamp from(ctx, january(15, 10));
  EXPECT_EQ(dead.getNextScheduleTime(ctx, context, &home, nullptr, &from), nullptr);
  EXPECT_EQ(script.calls(), Lines{});
}

TEST_F(MDTaskExecNextTimeTest, ADisabledScheduleKeepsItsNextTime) {
  MDTask(ctx, nullptr, task).setScheduleEnable(ctx, 0);
  SCTimestamp from(ctx, january(15, 10));
  EXPECT_EQ(next(&from), january(16, 10));
}

}  // namespace
}  // namespace mesk::test
