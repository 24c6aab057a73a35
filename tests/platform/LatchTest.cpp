#include <gtest/gtest.h>
#include <time.h>

#include <atomic>
#include <thread>
#include <vector>

#include <platform/Latch.h>
#include "Support.h"

namespace {

void take(OSSLatch& latch) {
  if (ossWin32Lock8ExchangeInternal(&latch) != 0) ossLockGetConflict(&latch);
}

void release(OSSLatch& latch) { ossWin32Lock8ReleaseInternal(&latch); }

TEST(LatchTest, ExchangeTellsWhetherTheLatchWasHeld) {
  OSSLatch latch = 0;
  EXPECT_EQ(ossWin32Lock8ExchangeInternal(&latch), 0);
  EXPECT_NE(latch, 0);
  EXPECT_NE(ossWin32Lock8ExchangeInternal(&latch), 0);
  release(latch);
  EXPECT_EQ(latch, 0);
  EXPECT_EQ(ossWin32Lock8ExchangeInternal(&latch), 0);
}

TEST(LatchTest, AnyValueButZeroIsHeld) {
  OSSLatch latch = 0xFF;
  EXPECT_NE(ossWin32Lock8ExchangeInternal(&latch), 0);
  release(latch);
  EXPECT_EQ(latch, 0);
}

TEST(LatchTest, NeighboursAreNotTouched) {
  OSSLatch bytes[3] = {0xA5, 0, 0x5A};
  take(bytes[1]);
  release(bytes[1]);
  EXPECT_EQ(bytes[0], 0xA5);
  EXPECT_EQ(bytes[2], 0x5A);
}

TEST(LatchTest, FreeLatchIsObtainedWithoutWaiting) {
  OSSLatch latch = 0;
  ossLockGetConflict(&latch);
  EXPECT_NE(latch, 0);
}

TEST(LatchTest, EightThreadsLoseNoUpdate) {
  constexpr int kThreads = 8;
  constexpr long kTakes = 1'000'000;
  OSSLatch latch = 0;
  long count = 0;
  support::onThreads(kThreads, [&](int) {
    for (long n = 0; n < kTakes; ++n) {
      take(latch);
      ++count;
      release(latch);
    }
  });
  EXPECT_EQ(count, kThreads * kTakes);
  EXPECT_EQ(latch, 0);
}

// Many latches share what the threads sleep on: a wake-up for one must not be taken for another's.
TEST(LatchTest, WaitersOfManyLatchesAllComeThrough) {
  constexpr int kLatches = 64;
  constexpr int kRounds = 2000;
  std::vector<OSSLatch> latches(kLatches, OSSLatch{0});
  std::vector<long> counts(kLatches, 0);
  support::onThreads(8, [&](int) {
    for (int n = 0; n < kRounds * kLatches; ++n) {
      const auto at = static_cast<std::size_t>(n % kLatches);
      take(latches[at]);
      ++counts[at];
      release(latches[at]);
    }
  });
  for (const long count : counts) EXPECT_EQ(count, 8L * kRounds);
}

double cpuSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// The holder works; the waiter must use next to nothing of the processor meanwhile.
TEST(LatchTest, WaitingDoesNotBurnAProcessor) {
  OSSLatch latch = 0;
  take(latch);
  std::atomic<bool> waiting{false};
  double waited = 0;
  std::thread waiter([&] {
    const double before = cpuSeconds();
    waiting = true;
    ossLockGetConflict(&latch);
    waited = cpuSeconds() - before;
    release(latch);
  });
  while (!waiting) std::this_thread::yield();
  const double begin = cpuSeconds();
  double worked = 0;
  while (worked < 0.3) worked = cpuSeconds() - begin;
  release(latch);
  waiter.join();
  EXPECT_LT(waited, worked / 10);
}

}  // namespace
