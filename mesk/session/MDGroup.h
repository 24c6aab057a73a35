// A group of users of the store.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MESK_API MDGroup : public MDObject {
 public:
  /// A group by name, which is folded to capitals (bytes, by `toupper`); null or empty reaches Java as null.
  MDGroup(ThreadContext& ctx, const char* name);
  MDGroup(ThreadContext& ctx, jobject obj);
};

}  // namespace mesk
