// A schedule rule: when a task runs.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps the store's MDScheduleEvent: from a start date and time, every so many units of a type, until an end date.
/// What the numbers mean is told at `ScheduleCalculator`.
class MESK_API MDScheduleEvent : public MDObject {
 public:
  /// A new rule, which the store does not hold before `insert`.
  MDScheduleEvent(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `event`; `context` is ignored.
  MDScheduleEvent(ThreadContext& ctx, jobject event, jobject context);

  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  long long getScheduleEventID(ThreadContext& ctx) const;  ///< the key
  void setScheduleEventID(ThreadContext& ctx, long long value);
  SQLDate* getStartDate(ThreadContext& ctx) const;  ///< first day on which the rule may fire
  void setStartDate(ThreadContext& ctx, SQLDate* value);
  SQLTime* getStartTime(ThreadContext& ctx) const;  ///< time of day of the start
  void setStartTime(ThreadContext& ctx, SQLTime* value);
  SQLDate* getEndDate(ThreadContext& ctx) const;  ///< last day, through 23:59:59; null: no end
  void setEndDate(ThreadContext& ctx, SQLDate* value);
  int getIntervalType(ThreadContext& ctx) const;  ///< a ScheduleIntervalType
  void setIntervalType(ThreadContext& ctx, int value);
  int getIntervalUnit(ThreadContext& ctx) const;  ///< units of the type between two runs; the range is the type's
  void setIntervalUnit(ThreadContext& ctx, int value);
  int getDetail(ThreadContext& ctx) const;  ///< weekday, day of month or n-th weekday; types 0..2: 1 for end-to-start
  void setDetail(ThreadContext& ctx, int value);
  int getRecurring(ThreadContext& ctx) const;  ///< 0 fires once, 1 again and again
  void setRecurring(ThreadContext& ctx, int value);

  /// The rule's next run after `reference`, in whole seconds, as a new timestamp. With `allowReference` not 0 the
  /// reference itself may be the run. Null when the rule has run out, when one of its properties is out of range,
  /// and when it has no start date or time; only the trace says which.
  /// `reference`, written in the JVM's zone, is a local time that exists in the zone of the process; otherwise this
  /// does not return.
  SCTimestamp* getNextScheduledTime(ThreadContext& ctx, SCTimestamp* reference, int allowReference) const;

  /// 1 when the interval counts from the end of the previous run: a rule in minutes, hours or days whose detail is 1.
  /// Else 0.
  int isEndToStart(ThreadContext& ctx);
};

}  // namespace mesk
