// How the library's latches are taken and made.
#pragma once

#include <platform/Latch.h>

namespace mesk {

inline void takeLatch(OSSLatch* latch) {
  if (ossWin32Lock8ExchangeInternal(latch) != 0) ossLockGetConflict(latch);
}

inline void releaseLatch(OSSLatch* latch) { ossWin32Lock8ReleaseInternal(latch); }

/// A class-wide latch that its first use makes. The making is not guarded: the first use comes before
/// concurrent ones.
inline OSSLatch* madeLatch(OSSLatch*& latch) {
  if (latch == nullptr) latch = new OSSLatch(0);
  return latch;
}

inline void deleteLatch(OSSLatch*& latch) {
  delete latch;
  latch = nullptr;
}

}  // namespace mesk
