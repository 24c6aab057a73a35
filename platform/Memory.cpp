#include <platform/Memory.h>

#include <cstdlib>

#ifndef NDEBUG
#include <cstdio>
#include <cstring>
#include <mutex>
#include <unordered_map>
#endif

namespace {

thread_local unsigned allocationsUntilFailure = 0;

bool mustFail() { return allocationsUntilFailure != 0 && --allocationsUntilFailure == 0; }

#ifndef NDEBUG

/// The live blocks of a build with assertions.
class LiveBlocks {
 public:
  void add(const mesk::LiveBlock& block) {
    const std::lock_guard<std::mutex> lock(mutex_);
    blocks_[block.address] = block;
  }

  bool remove(const void* address) {
    const std::lock_guard<std::mutex> lock(mutex_);
    return blocks_.erase(address) != 0;
  }

  std::size_t report(mesk::LiveBlockCallback callback, void* context) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (callback != nullptr) {
      for (const auto& entry : blocks_) callback(entry.second, context);
    }
    return blocks_.size();
  }

 private:
  std::mutex mutex_;
  std::unordered_map<const void*, mesk::LiveBlock> blocks_;
};

void printBlock(const mesk::LiveBlock& block, void*) {
  std::fprintf(stderr, "live block: %s:%u, %zu bytes\n", block.source, block.line, block.bytes);
}

LiveBlocks& liveBlocks();

void reportAtExit() {
  const std::size_t count = liveBlocks().report(printBlock, nullptr);
  std::fprintf(stderr, "live blocks: %zu\n", count);
}

/// Never destroyed: blocks may be freed by destructors that run after any of ours.
LiveBlocks& liveBlocks() {
  static LiveBlocks& blocks = [&]() -> LiveBlocks& {
    const char* asked = std::getenv("MESK_MEMORY_REPORT");
    if (asked != nullptr && std::strcmp(asked, "1") == 0) std::atexit(reportAtExit);
    return *new LiveBlocks;
  }();
  return blocks;
}

#endif

}  // namespace

void* _ossMemAlloc(std::size_t bytes, std::uint32_t /*flags*/, std::int32_t* result,
                   [[maybe_unused]] const char* source, [[maybe_unused]] std::uint32_t line) {
  constexpr std::int32_t kNoMemory = -1;
  // A block of no bytes is a block: null means failure.
  void* block = mustFail() ? nullptr : std::malloc(bytes == 0 ? 1 : bytes);
  if (result != nullptr) *result = block == nullptr ? kNoMemory : 0;
#ifndef NDEBUG
  if (block != nullptr) liveBlocks().add({block, bytes, source == nullptr ? "" : source, line});
#endif
  return block;
}

void _ossMemFree(void* block, [[maybe_unused]] const char* source, [[maybe_unused]] std::uint32_t line) {
  if (block == nullptr) return;
#ifndef NDEBUG
  if (!liveBlocks().remove(block)) {
    std::fprintf(stderr, "%s:%u frees %p, which is not a live block\n", source, line, block);
    std::abort();
  }
#endif
  std::free(block);
}

namespace mesk {

std::size_t reportLiveBlocks([[maybe_unused]] LiveBlockCallback callback, [[maybe_unused]] void* context) {
#ifndef NDEBUG
  return liveBlocks().report(callback, context);
#else
  return 0;
#endif
}

void failAllocation(unsigned n) { allocationsUntilFailure = n; }

}  // namespace mesk
