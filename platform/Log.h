// The diagnostic log.
#pragma once

#include <cstddef>
#include <cstdint>

#include <platform/Export.h>

namespace mesk {

/// How the bytes of a logged item are to be read.
enum LogItemType : std::int32_t {
  kLogInteger = -2,  ///< a 32-bit signed integer
  kLogText = -5,     ///< characters in the process code page
};

}  // namespace mesk

extern "C" {

/// Writes one record: the function identifier, the probe, and `itemCount` items. Each item is three
/// arguments: `const void*` address, `std::size_t` length in bytes, `std::int32_t` type. The bytes
/// are read before the call returns. Never fails towards the caller; any thread.
MESK_PLATFORM_API void ossLog(void* reserved, std::uint32_t function, std::int32_t code, std::uint32_t probe,
                              std::uint32_t level, std::uint32_t itemCount, ...);

}  // extern "C"
