// The home of shared schedules.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDSharedNamedSchedule;

class MESK_API MDSharedNamedScheduleType : public MDObject {
 public:
  MDSharedNamedScheduleType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);
  MDSharedNamedScheduleType(ThreadContext& ctx, jobject home);

  /// The schedule as Java gave it, whatever the code: a local reference for the wrapping constructor of
  /// `MDSharedNamedSchedule`.
  jobject retrieve(ThreadContext& ctx, jobject context, long long scheduleID, int& rc, int& sqlCode);

  /// All shared schedules. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDSharedNamedSchedule**& schedules, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long scheduleID, int& sqlCode);
};

}  // namespace mesk
