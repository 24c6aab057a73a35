// The home of notification actions.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDNotificationAction;

/// Finds, lists and deletes notification actions by their key.
class MESK_API MDNotificationActionType : public MDObject {
 public:
  MESK_LOCAL MDNotificationActionType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDNotificationActionType(ThreadContext& ctx, jobject cls, jobject obj);

  /// The action as a local reference, for the wrapping constructor of `MDNotificationAction`; null whenever `rc` is not
  /// 0.
  jobject retrieve(ThreadContext& ctx, jobject context, long long notificationActionID, int& rc, int& sqlCode);

  /// All actions. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDNotificationAction**& actions, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long notificationActionID, int& sqlCode);
};

}  // namespace mesk
