// The home of tasks.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTask;

/// Finds, lists and deletes tasks by their key, which is (task ID, suffix).
class MESK_API MDTaskType : public MDObject {
 public:
  MDTaskType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDTaskType(ThreadContext& ctx, jobject cls, jobject obj);

  /// The task as a local reference, for the wrapping constructor of `MDTask`. Null whenever `rc` is not 0, and then
  /// logged with both codes and the low half of the task ID.
  jobject retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc, int& sqlCode);

  /// As `retrieve`, by a home of its own; also a home that cannot be made is logged.
  static jobject retrieveTask(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc, int& sqlCode);

  /// All tasks. No code counts as an empty list: an empty store answers with the code that it gives.
  int retrieveList(ThreadContext& ctx, jobject context, MDTask**& tasks, int& count, int& sqlCode);

  int deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode);
};

}  // namespace mesk
