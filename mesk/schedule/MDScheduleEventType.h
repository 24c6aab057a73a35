// The home of schedule rules.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDScheduleEvent;

class MESK_API MDScheduleEventType : public MDObject {
 public:
  MDScheduleEventType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `home`; `context` is ignored.
  MDScheduleEventType(ThreadContext& ctx, jobject home, jobject context);

  /// The rule as Java gave it, whatever the code: a local reference for the wrapping constructor of `MDScheduleEvent`.
  jobject retrieve(ThreadContext& ctx, jobject context, long long scheduleEventID, int& rc, int& sqlCode);

  /// All rules. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long scheduleEventID, int& sqlCode);

  /// From where a rule's next run is counted after an execution: 1 from its end, 2 from its start; 0 when there is
  /// no such rule or it cannot be had. -1, a run without a rule, gives 0 without asking the store.
  int rescheduleStatus(ThreadContext& ctx, jobject context, long long scheduleEventID);
};

}  // namespace mesk
