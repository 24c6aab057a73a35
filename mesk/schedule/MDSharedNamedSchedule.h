// A shared schedule: a named set of schedule rules that several tasks use.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDScheduleEvent;

class MESK_API MDSharedNamedSchedule : public MDObject {
 public:
  /// A new schedule, which the store does not hold before `insert`.
  MDSharedNamedSchedule(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `schedule`; `context` is ignored.
  MDSharedNamedSchedule(ThreadContext& ctx, jobject schedule, jobject context);

  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  char* getSharedScheduleName(ThreadContext& ctx) const;
  void setSharedScheduleName(ThreadContext& ctx, const char* value);
  char* getDescription(ThreadContext& ctx) const;
  void setDescription(ThreadContext& ctx, const char* value);
  long long getScheduleID(ThreadContext& ctx) const;  ///< the key
  void setScheduleID(ThreadContext& ctx, long long value);

  /// How many rules it has; 0 also on any failure, of which nothing tells.
  int getNumScheduleEvent(ThreadContext& ctx, jobject context);

  /// Its rules. Code 30013 of the store is an empty list; 30014 is not.
  int retrieveScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count,
                                int& sqlCode);

  // A dead rule gives -300.
  MESK_LOCAL int addScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode);
  MESK_LOCAL int removeScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode);
};

}  // namespace mesk
