// One-byte latches. Not recursive: a thread that takes a latch twice waits for itself.
#pragma once

#include <platform/Export.h>

extern "C" {

/// 0 is free; anything else is held.
typedef unsigned char OSSLatch;

/// Tries to take the latch by one exchange. Answers non-zero when it was already held; the caller
/// then waits with `ossLockGetConflict`.
MESK_PLATFORM_API int ossWin32Lock8ExchangeInternal(OSSLatch* latch);

/// Waits until the latch is obtained.
MESK_PLATFORM_API void ossLockGetConflict(OSSLatch* latch);

/// Frees the latch and wakes one waiter.
MESK_PLATFORM_API void ossWin32Lock8ReleaseInternal(OSSLatch* latch);

}  // extern "C"
