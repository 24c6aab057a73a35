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
