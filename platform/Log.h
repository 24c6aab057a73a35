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

namespace mesk {

/// Writes the log to the file at `path`; beyond `maxBytes` it is renamed to make room for a new one, and
/// `files` old ones are kept. True on success; false when the file cannot be opened, and then the log
/// stays as it was. A log that nobody starts goes to the file named by the environment variable
/// MESK_LOG, or nowhere. Any thread.
MESK_PLATFORM_API bool startLog(const char* path, std::size_t maxBytes, std::size_t files);

/// Sends the log to the log service of the system.
MESK_PLATFORM_API void startSystemLog();

/// Ends what `startLog`, `startSystemLog`, `logToStandardError` or MESK_LOG began.
MESK_PLATFORM_API void stopLog();

/// Shows records on the standard error stream too, or no longer.
MESK_PLATFORM_API void logToStandardError(bool on);

struct LogItem {
  const void* address;
  std::size_t length;
  std::int32_t type;
};

/// What `ossLog` was called with.
struct LogRecord {
  std::uint32_t function;
  std::int32_t code;
  std::uint32_t probe;
  std::uint32_t level;
  std::uint32_t itemCount;
  const LogItem* items;
};

/// Receives each record while it is written, one at a time; must not log, and must not call `setLogSink`.
using LogSink = void (*)(const LogRecord& record, void* context);

/// Hands each record to `sink` too; null ends that, and then no call of the former sink is under way
/// any more. Any thread.
MESK_PLATFORM_API void setLogSink(LogSink sink, void* context);

}  // namespace mesk
