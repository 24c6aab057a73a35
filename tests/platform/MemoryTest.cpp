#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <platform/Memory.h>
#include "Support.h"

namespace {

using mesk::LiveBlock;

std::vector<LiveBlock> liveBlocks() {
  std::vector<LiveBlock> found;
  found.reserve(1000);
  mesk::reportLiveBlocks(
      [](const LiveBlock& block, void* list) { static_cast<std::vector<LiveBlock>*>(list)->push_back(block); }, &found);
  return found;
}

TEST(MemoryTest, BlocksAreAlignedAndUsableToTheLastByte) {
  for (std::size_t bytes = 0; bytes < 300; ++bytes) {
    std::int32_t result = 1;
    void* block = _ossMemAlloc(bytes, 1, &result, "MemoryTest", 1);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0u);
    std::memset(block, 0x5A, bytes);
    _ossMemFree(block, "MemoryTest", 2);
  }
}

TEST(MemoryTest, FreeingNullIsAllowed) { _ossMemFree(nullptr, "MemoryTest", 1); }

TEST(MemoryTest, ResultIsOptional) {
  void* block = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 1);
  ASSERT_NE(block, nullptr);
  _ossMemFree(block, "MemoryTest", 2);
}

// The size is hidden from the compiler, which would otherwise refuse it.
TEST(MemoryTest, RequestThatCannotBeMetAnswersNullAndACode) {
  volatile std::size_t bytes = SIZE_MAX / 2;
  std::int32_t result = 0;
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_EQ(_ossMemAlloc(bytes, 0, &result, "MemoryTest", 1), nullptr);
  EXPECT_NE(result, 0);
#else
  // These sanitizers end the process at such a request.
  (void)bytes;
  mesk::failAllocation(1);
  EXPECT_EQ(_ossMemAlloc(8, 0, &result, "MemoryTest", 1), nullptr);
  EXPECT_NE(result, 0);
#endif
}

TEST(MemoryTest, ExactlyTheNamedAllocationFails) {
  mesk::failAllocation(2);
  void* first = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 1);
  std::int32_t result = 0;
  void* second = _ossMemAlloc(8, 0, &result, "MemoryTest", 2);
  void* third = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 3);
  EXPECT_NE(first, nullptr);
  EXPECT_EQ(second, nullptr);
  EXPECT_NE(result, 0);
  EXPECT_NE(third, nullptr);
  _ossMemFree(first, "MemoryTest", 4);
  _ossMemFree(third, "MemoryTest", 5);
}

TEST(MemoryTest, FailureIsOfOneThreadAndCanBeTakenBack) {
  mesk::failAllocation(1);
  std::thread([] {
    void* block = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 1);
    EXPECT_NE(block, nullptr);
    _ossMemFree(block, "MemoryTest", 2);
  }).join();
  mesk::failAllocation(0);
  void* block = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 3);
  EXPECT_NE(block, nullptr);
  _ossMemFree(block, "MemoryTest", 4);
}

#ifndef NDEBUG

TEST(MemoryTest, LiveBlocksAreListedWithTheirPlace) {
  const std::size_t before = liveBlocks().size();
  void* block = _ossMemAlloc(123, 0, nullptr, "Somewhere", 456);
  const std::vector<LiveBlock> blocks = liveBlocks();
  EXPECT_EQ(blocks.size(), before + 1);
  bool found = false;
  for (const LiveBlock& live : blocks) {
    if (live.address != block) continue;
    found = true;
    EXPECT_EQ(live.bytes, 123u);
    EXPECT_STREQ(live.source, "Somewhere");
    EXPECT_EQ(live.line, 456u);
  }
  EXPECT_TRUE(found);
  _ossMemFree(block, "MemoryTest", 2);
  EXPECT_EQ(mesk::reportLiveBlocks(nullptr, nullptr), before);
}

TEST(MemoryTest, EndOfTheProcessListsItsLiveBlocksWhenAsked) {
  const support::Result asked = support::run(MESK_PROBE " leak", "MESK_MEMORY_REPORT=1 ASAN_OPTIONS=detect_leaks=0");
  EXPECT_EQ(asked.status, 0);
  EXPECT_EQ(asked.out, "live block: Probe:77, 24 bytes\nlive blocks: 1\n");
  EXPECT_EQ(support::run(MESK_PROBE " leak", "ASAN_OPTIONS=detect_leaks=0").out, "");
}

TEST(MemoryTest, FreeingTwiceEndsTheProcessAndNamesThePlace) {
  const support::Result result = support::run(MESK_PROBE " freeTwice");
  EXPECT_NE(result.status, 0);
  EXPECT_NE(result.out.find("Probe:79 frees"), std::string::npos) << result.out;
}

#else

TEST(MemoryTest, WithoutAssertionsNothingIsCounted) {
  void* block = _ossMemAlloc(8, 0, nullptr, "MemoryTest", 1);
  EXPECT_TRUE(liveBlocks().empty());
  _ossMemFree(block, "MemoryTest", 2);
}

#endif

TEST(MemoryTest, EightThreadsAllocateAndFreeAtOnce) {
  const std::size_t before = liveBlocks().size();
  support::onThreads(8, [](int) {
    for (std::uint32_t n = 0; n < 5000; ++n) {
      void* block = _ossMemAlloc(n % 200, 0, nullptr, "MemoryTest", n);
      _ossMemFree(block, "MemoryTest", n);
    }
  });
  EXPECT_EQ(liveBlocks().size(), before);
}

}  // namespace
