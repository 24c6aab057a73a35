#include <scheduler/Units.h>

#include <array>
#include <charconv>

namespace mesk::host {

namespace {

struct Unit {
  const char* name;
  std::int64_t size;
};

constexpr std::array<Unit, 4> kTimes{{{"d", 86400}, {"h", 3600}, {"m", 60}, {"s", 1}}};
constexpr std::array<Unit, 3> kSizes{{{"GiB", 1 << 30}, {"MiB", 1 << 20}, {"KiB", 1 << 10}}};
constexpr std::int64_t kLongest = std::int64_t{366} * 86400;
constexpr std::int64_t kLargest = 1 << 30;

// Takes a number of at most nine digits off the front; false when there is none.
bool takeNumber(const char*& at, const char* end, std::int64_t& number) {
  const auto [next, failure] = std::from_chars(at, end, number);
  if (failure != std::errc() || *at == '-' || next - at > 9) return false;
  at = next;
  return true;
}

}  // namespace

std::int64_t durationFromText(const std::string& text) {
  const char* at = text.data();
  const char* end = at + text.size();
  std::int64_t seconds = 0;
  bool fits = at != end;
  for (auto unit = kTimes.begin(); fits && at != end; ++unit) {
    std::int64_t number = 0;
    fits = takeNumber(at, end, number) && at != end;
    while (fits && unit != kTimes.end() && *unit->name != *at) ++unit;
    fits = fits && unit != kTimes.end();
    if (!fits) break;
    ++at;
    seconds += number * unit->size;
  }
  if (!fits) throw FormatError("expected a duration such as 90s, 5m, 1h30m or 1d");
  if (seconds > kLongest) throw FormatError("expected a duration of at most 366d");
  return seconds;
}

std::string durationText(std::int64_t seconds) {
  if (seconds == 0) return "0s";
  std::string text;
  for (const Unit& unit : kTimes) {
    if (seconds >= unit.size) text += std::to_string(seconds / unit.size) + unit.name;
    seconds %= unit.size;
  }
  return text;
}

std::int64_t sizeFromText(const std::string& text) {
  const char* at = text.data();
  const char* end = at + text.size();
  std::int64_t number = 0;
  bool fits = takeNumber(at, end, number);
  if (fits && at != end) {
    const std::string name(at, end);
    fits = false;
    for (const Unit& unit : kSizes) {
      if (name != unit.name) continue;
      number *= unit.size;
      fits = true;
    }
  }
  if (!fits) throw FormatError("expected a size such as 4096, 64KiB or 1MiB");
  if (number > kLargest) throw FormatError("expected a size of at most 1GiB");
  return number;
}

std::string sizeText(std::int64_t bytes) {
  for (const Unit& unit : kSizes) {
    if (bytes > 0 && bytes % unit.size == 0) return std::to_string(bytes / unit.size) + unit.name;
  }
  return std::to_string(bytes);
}

std::int64_t numberFromText(const std::string& text, std::int64_t low, std::int64_t high) {
  const char* at = text.data();
  const char* end = at + text.size();
  std::int64_t number = 0;
  if (!takeNumber(at, end, number) || at != end || number < low || number > high) {
    throw FormatError("expected a whole number from " + std::to_string(low) + " to " + std::to_string(high));
  }
  return number;
}

}  // namespace mesk::host
