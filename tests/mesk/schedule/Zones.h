// All zones of the system, and where their clocks change, as the C library tells.
#pragma once

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <platform/Clock.h>

namespace mesk {

inline const std::filesystem::path kZoneFolder = "/usr/share/zoneinfo";

/// The names of all zones, links included; not those that count leap seconds, nor the second copy without them.
inline std::vector<std::string> zoneNames() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kZoneFolder)) {
    if (!entry.is_regular_file()) continue;
    const std::string name = std::filesystem::relative(entry.path(), kZoneFolder).string();
    if (name.starts_with("right/") || name.starts_with("posix/") || name == "localtime") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    char magic[4] = {};
    if (file.read(magic, 4) && std::string(magic, 4) == "TZif") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// Zones that no file describes: north and south, half an hour, times beyond a day, days of the year, a negative
/// daylight saving, changes at the turn of the year.
inline std::vector<std::string> zoneRules() {
  return {"CET-1CEST,M3.5.0,M10.5.0/3",
          "EST5EDT,M3.2.0,M11.1.0",
          "<-03>3<-02>,M3.5.0/-2,M10.5.0/-1",
          "IST-2IDT,M3.4.4/26,M10.5.0",
          "AEST-10AEDT,M10.1.0,M4.1.0/3",
          "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0",
          "IST-1GMT0,M10.5.0,M3.5.0/1",
          "XXX-3YYY,J60/0,J300/0",
          "XXX8YYY7:30,59/12,333/12",
          "AAA0BBB-1,J1/0:30,M7.1.0",
          "<-0530>5:30",
          "UTC0"};
}

struct ClockChange {
  time64 at;
  long before;  ///< offsets
  long after;
};

/// The moments that a zone file lists, from the part with 64-bit times.
inline std::vector<time64> listedMoments(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string data{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto number = [&data](std::size_t at, std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) value = value << 8U | static_cast<unsigned char>(data.at(at + i));
    return value;
  };
  // Two headers of 44 bytes; the first part's length follows from its counts.
  std::size_t header = 0;
  const auto count = [&](std::size_t which) { return number(header + 20 + 4 * which, 4); };
  header = 44 + count(3) * 5 + count(4) * 6 + count(5) + count(2) * 8 + count(1) + count(0);
  std::vector<time64> moments(count(3));
  for (std::size_t i = 0; i < moments.size(); ++i) {
    moments[i] = static_cast<time64>(number(header + 44 + 8 * i, 8));
  }
  return moments;
}

/// The changes of the zone of the process, which is `zone`, from `from` to `to`: where its file lists them, else by
/// looking at every day.
inline std::vector<ClockChange> clockChanges(const std::string& zone, time64 from, time64 to) {
  struct State {
    long offset;
    int summer;
    bool operator==(const State&) const = default;
  };
  const auto stateAt = [](time64 moment) {
    const std::time_t time = moment;
    std::tm local{};
    ::localtime_r(&time, &local);
    return State{local.tm_gmtoff, local.tm_isdst};
  };
  std::vector<ClockChange> changes;
  const auto add = [&](time64 moment) {
    const State before = stateAt(moment - 1);
    const State after = stateAt(moment);
    if (!(before == after)) changes.push_back({moment, before.offset, after.offset});
  };
  if (std::filesystem::exists(kZoneFolder / zone)) {
    for (const time64 moment : listedMoments(kZoneFolder / zone)) {
      if (moment >= from && moment < to) add(moment);
    }
    return changes;
  }
  constexpr time64 kStep = 86400;
  for (time64 moment = std::max<time64>(from, 0); moment < std::min<time64>(to, 2145916800); moment += kStep) {
    const State state = stateAt(moment);
    if (stateAt(moment + kStep) == state) continue;
    time64 low = moment;
    time64 high = moment + kStep;
    while (high - low > 1) {
      const time64 middle = low + (high - low) / 2;
      (stateAt(middle) == state ? low : high) = middle;
    }
    add(high);
  }
  return changes;
}

}  // namespace mesk
