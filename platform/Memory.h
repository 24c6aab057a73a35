// Work memory, tagged with the place that asked for it.
#pragma once

#include <cstddef>
#include <cstdint>

#include <platform/Export.h>

extern "C" {

/// `bytes` of memory, aligned for any type. `*result` (when `result` is non-null) becomes 0, or
/// non-zero on failure, and then the answer is null. `source` must outlive the block (a literal).
/// Released with `_ossMemFree`. Any thread.
MESK_PLATFORM_API void* _ossMemAlloc(std::size_t bytes, std::uint32_t flags, std::int32_t* result, const char* source,
                                     std::uint32_t line);

/// Releases a block of `_ossMemAlloc`; null is allowed. Any thread.
MESK_PLATFORM_API void _ossMemFree(void* block, const char* source, std::uint32_t line);

}  // extern "C"

namespace mesk {

/// A block that was allocated and not yet freed.
struct LiveBlock {
  const void* address;
  std::size_t bytes;
  const char* source;
  std::uint32_t line;
};

using LiveBlockCallback = void (*)(const LiveBlock& block, void* context);

/// Calls `callback` (null: nobody) for each live block, in no order, and answers their number. Blocks are
/// counted in builds with assertions only; without them the answer is 0. With MESK_MEMORY_REPORT=1 in the
/// environment such a build lists the blocks that outlived the process on the standard error stream. The
/// callback must not allocate or free here. Any thread.
MESK_PLATFORM_API std::size_t reportLiveBlocks(LiveBlockCallback callback, void* context);

/// Lets the `n`-th allocation of the calling thread from now on fail, 1 being the next; 0 lets none fail.
MESK_PLATFORM_API void failAllocation(unsigned n);

}  // namespace mesk
