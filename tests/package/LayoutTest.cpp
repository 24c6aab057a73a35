// Sizes and field orders that users of the library are compiled with.
#include <gtest/gtest.h>
#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/ThreadContext.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/history/MDTaskResult.h>
#include <mesk/history/MDTaskSnapshot.h>
#include <mesk/history/MDTaskSnapshotType.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/queue/TaskExecNode.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/schedule/MDSharedNamedScheduleType.h>
#include <mesk/schedule/ScheduleCalculator.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/session/MDUtility.h>
#include <mesk/tasks/DWAgentClient.h>
#include <mesk/tasks/DWAgentRtn.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDFollowOnActionType.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDNotificationActionType.h>
#include <mesk/tasks/MDNotificationMessage.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/Date.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace mesk::test {
namespace {

constexpr std::size_t kPointer = sizeof(void*);

/// One field: where it is, and of which type.
#define EXPECT_FIELD(Type, field, FieldType, offset)                  \
  EXPECT_EQ(offsetof(Type, field), static_cast<std::size_t>(offset)); \
  EXPECT_TRUE((std::is_same_v<decltype(Type::field), FieldType>)) << #field

TEST(LayoutTest, AThreadContextIsTheJvmTheEnvironmentAndTheFlag) {
  EXPECT_FIELD(ThreadContext, jvm, JavaVM*, 0);
  EXPECT_FIELD(ThreadContext, env, JNIEnv*, kPointer);
  EXPECT_FIELD(ThreadContext, attached, std::int32_t, 2 * kPointer);
  EXPECT_EQ(sizeof(ThreadContext), 3 * kPointer);
  EXPECT_TRUE(std::is_trivially_destructible_v<ThreadContext>);
  EXPECT_FALSE(std::is_polymorphic_v<ThreadContext>);
}

TEST(LayoutTest, AnMDObjectIsTheObjectAndItsClass) {
  EXPECT_FIELD(MDObject, object, jobject, 0);
  EXPECT_FIELD(MDObject, objectClass, jclass, kPointer);
  EXPECT_EQ(sizeof(MDObject), 2 * kPointer);
  EXPECT_FALSE(std::is_polymorphic_v<MDObject>);
}

template <class Wrapper>
bool addsNothing() {
  return sizeof(Wrapper) == sizeof(MDObject) && std::is_base_of_v<MDObject, Wrapper> && !std::is_polymorphic_v<Wrapper>;
}

template <class... Wrappers>
int thatAddNothing() {
  return (0 + ... + (addsNothing<Wrappers>() ? 1 : 0));
}

TEST(LayoutTest, AWrapperAddsNothingToItsTwoReferences) {
  const int wrappers =
      thatAddNothing<PARLException, MDUtility, MDUser, MDGroup, Date, SCTimestamp, SQLDate, SQLTime, SimpleDateFormat,
                     Blob, Clob, MDTask, MDTaskType, MDFollowOnAction, MDFollowOnActionType, MDNotificationAction,
                     MDNotificationActionType, MDNotificationMessage, DWAgentClient, DWAgentRtn, MDScheduleEvent,
                     MDScheduleEventType, MDSharedNamedSchedule, MDSharedNamedScheduleType, MDTaskExecType,
                     MDTaskHistory, MDTaskHistoryType, MDTaskResult, MDTaskSnapshot, MDTaskSnapshotType,
                     MDTaskStatistic, MDTaskStatisticType>();
  EXPECT_EQ(wrappers, 32);
  EXPECT_FALSE(addsNothing<MDTaskExec>());
  EXPECT_TRUE((std::is_base_of_v<Date, SCTimestamp>));
  EXPECT_TRUE((std::is_base_of_v<Date, SQLDate>));
  EXPECT_TRUE((std::is_base_of_v<Date, SQLTime>));
}

TEST(LayoutTest, AnExecutionAddsALatchAndAFlag) {
  EXPECT_TRUE((std::is_base_of_v<MDObject, MDTaskExec>));
  EXPECT_EQ(sizeof(MDTaskExec), sizeof(MDObject) + 2 * sizeof(std::int32_t));
}

TEST(LayoutTest, ANodeOfTheQueueIsItsEntryAndItsNeighbours) {
  EXPECT_FIELD(TaskExecNode, exec, MDTaskExec*, 0);
  EXPECT_FIELD(TaskExecNode, prev, TaskExecNode*, kPointer);
  EXPECT_FIELD(TaskExecNode, next, TaskExecNode*, 2 * kPointer);
  EXPECT_EQ(sizeof(TaskExecNode), 3 * kPointer);
}

TEST(LayoutTest, ACalculatorIsThirteenNumbers) {
  EXPECT_FIELD(ScheduleCalculator, startYear, std::int32_t, 0);
  EXPECT_FIELD(ScheduleCalculator, startMonth, std::uint32_t, 4);
  EXPECT_FIELD(ScheduleCalculator, startDay, std::uint32_t, 8);
  EXPECT_FIELD(ScheduleCalculator, startHour, std::uint32_t, 12);
  EXPECT_FIELD(ScheduleCalculator, startMinute, std::uint32_t, 16);
  EXPECT_FIELD(ScheduleCalculator, startSecond, std::uint32_t, 20);
  EXPECT_FIELD(ScheduleCalculator, endYear, std::int32_t, 24);
  EXPECT_FIELD(ScheduleCalculator, endMonth, std::uint32_t, 28);
  EXPECT_FIELD(ScheduleCalculator, endDay, std::uint32_t, 32);
  EXPECT_FIELD(ScheduleCalculator, detail, std::uint32_t, 36);
  EXPECT_FIELD(ScheduleCalculator, intervalUnit, std::uint32_t, 40);
  EXPECT_FIELD(ScheduleCalculator, intervalType, std::uint32_t, 44);
  EXPECT_FIELD(ScheduleCalculator, recurring, std::uint32_t, 48);
  EXPECT_EQ(sizeof(ScheduleCalculator), 52U);
}

TEST(LayoutTest, WhatAnAgentRunCameToIsSixNumbers) {
  EXPECT_FIELD(BrixStepInfo, JobRC, std::int32_t, 0);
  EXPECT_FIELD(BrixStepInfo, JobState, std::int32_t, 4);
  EXPECT_FIELD(BrixStepInfo, RowsMoved, std::int32_t, 8);
  EXPECT_FIELD(BrixStepInfo, BytesMoved, std::int32_t, 12);
  EXPECT_FIELD(BrixStepInfo, EditionNumber, std::int32_t, 16);
  EXPECT_FIELD(BrixStepInfo, RetryCount, std::int32_t, 20);
  EXPECT_EQ(sizeof(BrixStepInfo), 24U);
}

TEST(LayoutTest, ASuccessRelationIsACodeAndACharacter) {
  EXPECT_FIELD(tSuccessRelation, code, std::int32_t, 0);
  EXPECT_FIELD(tSuccessRelation, condition, char, 4);
  EXPECT_EQ(sizeof(tSuccessRelation), 8U);
}

}  // namespace
}  // namespace mesk::test
