// Records of the platform's log, with their items.
#pragma once

#include <cstdint>
#include <cstring>
#include <tuple>

#include <platform/Log.h>

namespace mesk {

struct LogField {
  const void* address;
  std::size_t length;
  std::int32_t type;
};

/// `value` must live until the record is written.
inline LogField logInteger(const std::int32_t& value) { return {&value, sizeof value, kLogInteger}; }
inline LogField logText(const char* text) { return {text, std::strlen(text), kLogText}; }

template <class... Items>
void logRecord(std::uint32_t function, std::uint32_t probe, const Items&... items) {
  std::apply([](auto... arguments) { ossLog(arguments...); },
             std::tuple_cat(std::make_tuple(static_cast<void*>(nullptr), function, std::int32_t{0}, probe,
                                            std::uint32_t{3}, static_cast<std::uint32_t>(sizeof...(items))),
                            std::make_tuple(items.address, items.length, items.type)...));
}

/// The record of a store operation that failed: its code, the nested SQL code, and the low 32 bits of the
/// keys that say which record it was about.
template <class... Keys>
void logFailure(std::uint32_t function, int code, int sqlCode, Keys... keys) {
  const auto write = [&](const auto&... low) {
    logRecord(function, 10, logInteger(code), logInteger(sqlCode), logInteger(low)...);
  };
  write(static_cast<std::int32_t>(keys)...);
}

}  // namespace mesk
