// A user of the store.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

class MESK_API MDUser : public MDObject {
 public:
  /// A user by name, which is folded to capitals (bytes, by `toupper`); null or empty reaches Java as null.
  MDUser(ThreadContext& ctx, const char* name);
  MDUser(ThreadContext& ctx, jobject obj);

  /// 1 when the store says so, else 0, also on any failure; `rc` and `sqlCode` tell.
  int isSuperuser(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);
  int isAdmin(ThreadContext& ctx, jobject context, int& rc, int& sqlCode);

  /// Connects as `userName`, asks `isAdmin` for it and disconnects. `rc` is the connection's or the question's
  /// code; `sqlCode`, once connected, the disconnection's.
  static int isAdministrator(ThreadContext& ctx, const char* a, const char* b, const char* userName, const char* d,
                             int& rc, int& sqlCode);
};

}  // namespace mesk
