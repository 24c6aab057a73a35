// Success code sets and their conditions, for `MDTask::retrieveAllCodeCondition`. Nothing of it is on the surface.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// One condition of a set: how a run's return code stands to `getCode` when it succeeded.
class MDCodeCondition : public MDObject {
 public:
  MDCodeCondition(ThreadContext& ctx, jobject obj);

  int getCode(ThreadContext& ctx) const;
  char* getCondition(ThreadContext& ctx) const;
};

/// A set of conditions.
class MDSuccessCodeSet : public MDObject {
 public:
  MDSuccessCodeSet(ThreadContext& ctx, jobject obj);

  /// Code 30014 of the store is an empty list.
  int retrieveCodeConditionList(ThreadContext& ctx, jobject context, MDCodeCondition**& conditions, int& count,
                                int& sqlCode);
};

}  // namespace mesk
