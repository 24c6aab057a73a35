// The home of follow-on actions.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MDFollowOnAction;

class MESK_API MDFollowOnActionType : public MDObject {
 public:
  MESK_LOCAL MDFollowOnActionType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Wraps `obj`; `cls` is ignored.
  MDFollowOnActionType(ThreadContext& ctx, jobject cls, jobject obj);

  /// The action as a local reference for the wrapping constructor of `MDFollowOnAction`; null beside a code.
  jobject retrieve(ThreadContext& ctx, jobject context, long long followOnActionID, int& rc, int& sqlCode);

  /// All actions. Code 30013 of the store is an empty list.
  int retrieveList(ThreadContext& ctx, jobject context, MDFollowOnAction**& actions, int& count, int& sqlCode);

  MESK_LOCAL int deleteIt(ThreadContext& ctx, jobject context, long long followOnActionID, int& sqlCode);
};

}  // namespace mesk
