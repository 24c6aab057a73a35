// Durations and sizes as people write them.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace mesk::host {

/// A text that is not what it should be; the message says what was expected.
struct FormatError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Seconds of "90s", "5m", "1h30m", "1d": numbers with units, the largest first. At most 366 days.
/// Throws `FormatError`.
std::int64_t durationFromText(const std::string& text);

/// The shortest such text; "0s" for 0.
std::string durationText(std::int64_t seconds);

/// Bytes of "512", "64KiB", "1MiB". At most 1 GiB. Throws `FormatError`.
std::int64_t sizeFromText(const std::string& text);

/// In the largest unit that leaves no rest.
std::string sizeText(std::int64_t bytes);

/// A whole number from `low` to `high`. Throws `FormatError`.
std::int64_t numberFromText(const std::string& text, std::int64_t low, std::int64_t high);

}  // namespace mesk::host
