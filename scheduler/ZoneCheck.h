// Whether the C library and the JVM mean the same by the zone of the process. Runs are computed by the one and become
// timestamps by the other; where the two differ, tasks run at other times than their rules say.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <platform/Clock.h>
#include <scheduler/ClockChanges.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Local time less UTC from some moment on, in seconds, and the changes after that, in order.
struct ZoneRules {
  int offset = 0;
  std::vector<ClockChange> changes;

  int offsetAt(time64 moment) const;
};

/// From `from` on, and until `until`, the two have these offsets.
struct ZoneDifference {
  time64 from = 0;
  time64 until = 0;
  int host = 0;
  int jvm = 0;

  bool operator==(const ZoneDifference&) const = default;
};

/// What the C library says, looked at every three hours and around each of `probes`.
ZoneRules hostZone(time64 from, time64 until, const std::vector<ClockChange>& probes);

/// What the JVM says.
ZoneRules jvmZone(Session& session, time64 from, time64 until);

/// Where the two differ from `from` up to `until`, in order; each is as long as both offsets stay.
std::vector<ZoneDifference> zoneDifferences(const ZoneRules& host, const ZoneRules& jvm, time64 from, time64 until);

/// A line for each difference, with the zone and the date, at most `most`; the last says how many are left out.
std::vector<std::string> zoneWarnings(const std::string& zone, const std::vector<ZoneDifference>& differences,
                                      std::size_t most);

/// So far ahead zones are compared.
inline constexpr int kZoneYears = 10;

/// Compares the two for so many years from `from` on.
std::vector<ZoneDifference> compareZone(Session& session, time64 from, int years);

}  // namespace mesk::host
