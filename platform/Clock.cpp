#include <platform/Clock.h>

#include <atomic>
#include <chrono>
#include <limits>

namespace {

constexpr std::int64_t kNotSet = std::numeric_limits<std::int64_t>::min();

std::atomic<std::int64_t> processClock{kNotSet};

struct ThreadClock {
  std::int64_t millis = 0;
  bool set = false;
};
thread_local ThreadClock threadClock;

}  // namespace

namespace mesk {

std::int64_t clockMillis() {
  if (threadClock.set) return threadClock.millis;
  const std::int64_t set = processClock.load(std::memory_order_acquire);
  if (set != kNotSet) return set;
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

void setClock(std::int64_t millis) { processClock.store(millis, std::memory_order_release); }

void resetClock() { processClock.store(kNotSet, std::memory_order_release); }

ClockAt::ClockAt(std::int64_t millis) : outer_(threadClock.millis), nested_(threadClock.set) {
  threadClock = {millis, true};
}

ClockAt::~ClockAt() { threadClock = {outer_, nested_}; }

}  // namespace mesk

std::int64_t _time64(std::int64_t* out) {
  const std::int64_t millis = mesk::clockMillis();
  // Rounded down, so that a second before 1970 begins where it should.
  const std::int64_t seconds = millis / 1000 - (millis % 1000 < 0 ? 1 : 0);
  if (out != nullptr) *out = seconds;
  return seconds;
}

struct tm* _localtime64(const std::int64_t* time) {
  thread_local struct tm local;
  if (time == nullptr) return nullptr;
  const std::time_t seconds = *time;
  return localtime_r(&seconds, &local);
}

std::int64_t _mktime64(struct tm* local) { return std::mktime(local); }
