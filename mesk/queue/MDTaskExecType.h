// The home of the execution records: fetches, lists and deletes them by key.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTaskExec;

class MESK_API MDTaskExecType : public MDObject {
 public:
  MDTaskExecType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `javaObject`; `context` is ignored.
  MDTaskExecType(ThreadContext& ctx, jobject javaObject, jobject context);

  /// The Java record as a local reference for the caller, to be wrapped in an `MDTaskExec`; null whenever
  /// `rc` is not 0.
  jobject retrieve(ThreadContext& ctx, jobject context, long long taskExecID, int& rc, int& sqlCode);

  /// All records; none counts as success. The caller owns the array and the records, and may hand the records to
  /// `MDTaskExecList::createFromArr`. A record that there was no memory for is null. Failures, -300 included, are
  /// logged.
  int retrieveList(ThreadContext& ctx, jobject context, MDTaskExec**& list, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long taskExecID, int& sqlCode);
};

}  // namespace mesk
