// A computation asks for no memory and waits for nobody.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>

#include <mesk/schedule/AllocationCount.h>

#include "ScheduleFixture.h"

namespace {

/// Calls of the calling thread that take a lock: a thread's own, or the one that the C library keeps its zone behind.
thread_local std::uint64_t locks = 0;

template <class Function>
Function* behind(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

#define SEEN_BY_ALL __attribute__((visibility("default")))

extern "C" {

SEEN_BY_ALL int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  static auto* const real = behind<int(pthread_mutex_t*)>("pthread_mutex_lock");
  ++locks;
  return real(mutex);
}

SEEN_BY_ALL int pthread_rwlock_rdlock(pthread_rwlock_t* lock) noexcept {
  static auto* const real = behind<int(pthread_rwlock_t*)>("pthread_rwlock_rdlock");
  ++locks;
  return real(lock);
}

SEEN_BY_ALL int pthread_rwlock_wrlock(pthread_rwlock_t* lock) noexcept {
  static auto* const real = behind<int(pthread_rwlock_t*)>("pthread_rwlock_wrlock");
  ++locks;
  return real(lock);
}

SEEN_BY_ALL std::time_t mktime(std::tm* local) noexcept {
  static auto* const real = behind<std::time_t(std::tm*)>("mktime");
  ++locks;
  return real(local);
}

SEEN_BY_ALL std::tm* localtime_r(const std::time_t* time, std::tm* local) noexcept {
  static auto* const real = behind<std::tm*(const std::time_t*, std::tm*)>("localtime_r");
  ++locks;
  return real(time, local);
}

SEEN_BY_ALL void tzset() noexcept {
  static auto* const real = behind<void()>("tzset");
  ++locks;
  real();
}

}  // extern "C"

namespace mesk {
namespace {

struct Cost {
  std::uint64_t allocations;
  std::uint64_t locks;
};

/// What so many computations of all types cost, a day after their reference and from ten years back.
Cost costOf(int computations) {
  const Rule rules[] = {Rule(kEveryMinutes, 15),
                        Rule(kEveryHours, 1),
                        Rule(kEveryDays, 1),
                        Rule(kEveryWeeks, 1, 1),
                        Rule(kMonthsOnDay, 1, 31),
                        Rule(kMonthsOnNthWeekday, 1, 9),
                        Rule(kEveryYears, 1).end("2199-12-31")};
  const time64 now = at("2026-07-15 10:07:00");
  const time64 references[] = {now - 86400, at("2016-03-27 00:30:00")};
  const ClockStopped clock(now);
  time64 learning = now;
  EXPECT_EQ(computeNextTime(rules[0], learning, 0), 0);

  const test::AllocationCount allocations;
  const std::uint64_t before = locks;
  int done = 0;
  while (done < computations) {
    for (const Rule& rule : rules) {
      for (const time64 reference : references) {
        time64 next = reference;
        if (computeNextTime(rule, next, 0) != 0 || next <= now) {
          ADD_FAILURE() << "no run, or none that is later";
          return {};
        }
        ++done;
      }
    }
  }
  return {allocations.count(), locks - before};
}

TEST(ScheduleCostTest, ComputationsAskForNoMemoryAndTakeNoLock) {
  for (const char* const zone :
       {"Europe/Berlin", "Australia/Lord_Howe", "Asia/Gaza", "UTC", "CET-1CEST,M3.5.0,M10.5.0/3"}) {
    const InZone inZone(zone);
    const Cost cost = costOf(10'000);
    EXPECT_EQ(cost.allocations, 0U) << zone;
    EXPECT_EQ(cost.locks, 0U) << zone;
  }
}

TEST(ScheduleCostTest, TheZoneOfTheSystemCostsAsLittle) {
  const InZone inZone("UTC");
  ::unsetenv("TZ");
  const Cost cost = costOf(10'000);
  EXPECT_EQ(cost.allocations, 0U);
  EXPECT_EQ(cost.locks, 0U);
}

// Counters that cannot count prove nothing.
TEST(ScheduleCostTest, EveryWayToAskForMemoryOrToTakeALockIsCounted) {
  {
    const test::AllocationCount allocations;
    const auto number = std::make_unique<int>(1);
    const std::string text(100, 'x');
    EXPECT_EQ(allocations.count(), 2U) << *number << text;
  }
  std::mutex mutex;
  const std::uint64_t before = locks;
  { const std::lock_guard<std::mutex> guard(mutex); }
  const time64 now = 0;
  std::tm local = *_localtime64(&now);
  _mktime64(&local);
  EXPECT_EQ(locks - before, 3U);

  // Where no table can be had the platform is asked, which takes its lock.
  const InZone inZone("right/Europe/Berlin");
  EXPECT_GT(costOf(14).locks, 14U);
}

}  // namespace
}  // namespace mesk
