#include <mesk/queue/LatchCount.h>

#include <dlfcn.h>
#include <platform/Latch.h>

#include <atomic>

namespace {

std::atomic<mesk::test::LatchCount*> counting = nullptr;
std::atomic<int> takenCount = 0;
std::atomic<int> releasedCount = 0;

template <class Function>
Function original(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// A program's own function goes before the platform library's of the same name.
extern "C" int ossWin32Lock8ExchangeInternal(OSSLatch* latch) {
  static const auto take = original<int (*)(OSSLatch*)>("ossWin32Lock8ExchangeInternal");
  const int held = take(latch);
  if (mesk::test::LatchCount* const count = counting; count != nullptr) {
    ++takenCount;
    if (count->onTaken) count->onTaken();
  }
  return held;
}

extern "C" void ossWin32Lock8ReleaseInternal(OSSLatch* latch) {
  static const auto release = original<void (*)(OSSLatch*)>("ossWin32Lock8ReleaseInternal");
  if (mesk::test::LatchCount* const count = counting; count != nullptr) {
    ++releasedCount;
    if (count->onRelease) count->onRelease();
  }
  release(latch);
}

namespace mesk::test {

LatchCount::LatchCount() {
  takenCount = 0;
  releasedCount = 0;
  counting = this;
}

LatchCount::~LatchCount() { counting = nullptr; }

int LatchCount::taken() const { return takenCount; }

int LatchCount::released() const { return releasedCount; }

}  // namespace mesk::test
