// The home of task statistics.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTaskStatistic;

/// Finds, lists and deletes statistics by their key, which is (task ID, suffix).
class MESK_API MDTaskStatisticType : public MDObject {
 public:
  MDTaskStatisticType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `home`; `context` is ignored.
  MDTaskStatisticType(ThreadContext& ctx, jobject home, jobject context);

  /// The statistic as Java gave it, whatever the code: a local reference, for the wrapping constructor of
  /// `MDTaskStatistic`. A failure, -300 included, is logged with both codes and the low half of the task ID.
  jobject retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc, int& sqlCode);

  /// All statistics. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDTaskStatistic**& statistics, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode);
};

}  // namespace mesk
