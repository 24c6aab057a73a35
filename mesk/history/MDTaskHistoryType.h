// The home of history records.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTaskHistory;

class MESK_API MDTaskHistoryType : public MDObject {
 public:
  MDTaskHistoryType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);
  MDTaskHistoryType(ThreadContext& ctx, jobject obj);

  /// Deletes the history of one task as of `before`; whether that moment is included is the store's to say.
  int deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, SCTimestamp& before, int& sqlCode);

  /// The record as a local reference, for the wrapping constructor of `MDTaskHistory`; null whenever `rc` is not 0.
  jobject retrieve(ThreadContext& ctx, jobject context, long long taskHistoryID, int& rc, int& sqlCode);
  MESK_LOCAL jobject retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, SCTimestamp& start,
                              int& rc, int& sqlCode);

  /// The records of one task. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, long long taskID, MDTaskHistory**& list, int& count,
                   int& sqlCode);

  /// All records. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDTaskHistory**& list, int& count, int& sqlCode);
};

}  // namespace mesk
