#include <platform/Latch.h>

#include <atomic>
#include <thread>

namespace {

constexpr OSSLatch kFree = 0;
constexpr OSSLatch kHeld = 1;

// A latch is mostly held for a handful of instructions: a few looks are cheaper than going to sleep.
constexpr int kLooks = 64;

using Atomic = std::atomic_ref<OSSLatch>;

bool take(Atomic latch) { return latch.exchange(kHeld) == kFree; }

}  // namespace

int ossWin32Lock8ExchangeInternal(OSSLatch* latch) { return take(Atomic(*latch)) ? 0 : 1; }

void ossLockGetConflict(OSSLatch* latch) {
  Atomic atomic(*latch);
  for (int look = 0; look < kLooks; ++look) {
    if (atomic.load(std::memory_order_relaxed) == kFree && take(atomic)) return;
  }
  while (!take(atomic)) atomic.wait(kHeld);
}

void ossWin32Lock8ReleaseInternal(OSSLatch* latch) {
  Atomic atomic(*latch);
  // Sequentially consistent, and not merely a release: the store must not be overtaken by the look for
  // waiters in notify_one, else a thread that is about to sleep would be missed.
  atomic.store(kFree);
  atomic.notify_one();
}
