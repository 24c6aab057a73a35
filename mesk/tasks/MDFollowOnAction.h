// A follow-on action: what happens to other tasks when a task ends.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDTask;

/// Wraps the store's MDFollowOnAction: under a condition on how its parent task's run ended, an action on its tasks.
/// `MDTask::addFollowOnAction` gives it to its parent.
class MESK_API MDFollowOnAction : public MDObject {
 public:
  /// A new action, which the store does not hold before `insert`.
  MDFollowOnAction(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDFollowOnAction(ThreadContext& ctx, jobject cls, jobject obj);

  int insert(ThreadContext& ctx, jobject context, int& sqlCode);
  int update(ThreadContext& ctx, jobject context, int& sqlCode);
  int deleteIt(ThreadContext& ctx, jobject context, int& sqlCode);

  /// The next key that the store hands out; 0 when it cannot be asked.
  long long getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  long long getFollowOnActionID(ThreadContext& ctx) const;  ///< the key
  void setFollowOnActionID(ThreadContext& ctx, long long value);
  long long getParentTaskID(ThreadContext& ctx) const;  ///< the task whose runs trigger the action
  void setParentTaskID(ThreadContext& ctx, long long value);
  int getParentSuffix(ThreadContext& ctx) const;  ///< the second part of its key
  void setParentSuffix(ThreadContext& ctx, int value);
  int getAction(ThreadContext& ctx) const;  ///< a code of the store, as the next
  void setAction(ThreadContext& ctx, int value);
  int getFollowOnCondition(ThreadContext& ctx) const;
  void setFollowOnCondition(ThreadContext& ctx, int value);

  // The tasks that it acts on. A dead task gives -300.
  int addTask(ThreadContext& ctx, jobject context, MDTask& task, int& sqlCode);
  int removeTask(ThreadContext& ctx, jobject context, MDTask& task, int& sqlCode);

  /// Code 30013 of the store is an empty list; 30014 is not.
  int retrieveTaskList(ThreadContext& ctx, jobject context, MDTask**& tasks, int& count, int& sqlCode);

  /// `n` wrappers, one behind the other, become the tasks; dead ones are left out. None for `n` 0. -300 when `tasks`
  /// is null.
  int setTaskList(ThreadContext& ctx, jobject context, MDTask* tasks, int n, int& sqlCode);
};

}  // namespace mesk
