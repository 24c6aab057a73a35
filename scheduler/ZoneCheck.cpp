#include <scheduler/ZoneCheck.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <scheduler/StoreClass.h>

namespace mesk::host {
namespace {

constexpr time64 kYear = 31'556'952;

std::string offsetText(int offset) {
  const int minutes = std::abs(offset) / 60;
  std::string text = fmt::format("{}{:02}:{:02}", offset < 0 ? '-' : '+', minutes / 60, minutes % 60);
  if (offset % 60 != 0) text += fmt::format(":{:02}", std::abs(offset) % 60);
  return text;
}

std::string momentText(time64 moment) { return dateOf(moment) + " " + timeOf(moment) + " UTC"; }

}  // namespace

int ZoneRules::offsetAt(time64 moment) const {
  const auto after = std::upper_bound(changes.begin(), changes.end(), moment,
                                      [](time64 value, const ClockChange& change) { return value < change.at; });
  return after == changes.begin() ? offset : std::prev(after)->after;
}

ZoneRules hostZone(time64 from, time64 until, const std::vector<ClockChange>& probes) {
  std::vector<time64> moments;
  for (const ClockChange& probe : probes) {
    moments.push_back(probe.at - 1);
    moments.push_back(probe.at);
  }
  return {static_cast<int>(wallAt(from) - from), clockChanges(from, until, std::move(moments))};
}

ZoneRules jvmZone(Session& session, time64 from, time64 until) {
  StoreClass rules(session, "com/orvik/kelvo/mesk/admin/ZoneRules");
  const std::string what = "asking the JVM for its time zone";
  ZoneRules zone;
  zone.offset = rules.call<int>(what, "offset", static_cast<long long>(from));
  for (const std::string& line : rules.call<std::vector<std::string>>(what, "changes", static_cast<long long>(from),
                                                                      static_cast<long long>(until))) {
    std::istringstream text(line);
    ClockChange change;
    text >> change.at >> change.before >> change.after;
    zone.changes.push_back(change);
  }
  return zone;
}

std::vector<ZoneDifference> zoneDifferences(const ZoneRules& host, const ZoneRules& jvm, time64 from, time64 until) {
  std::vector<time64> moments{from};
  for (const ZoneRules* zone : {&host, &jvm}) {
    for (const ClockChange& change : zone->changes) {
      if (change.at > from && change.at < until) moments.push_back(change.at);
    }
  }
  std::sort(moments.begin(), moments.end());
  std::vector<ZoneDifference> differences;
  for (std::size_t i = 0; i < moments.size(); ++i) {
    const ZoneDifference now{moments[i], i + 1 < moments.size() ? moments[i + 1] : until, host.offsetAt(moments[i]),
                             jvm.offsetAt(moments[i])};
    if (now.host == now.jvm || now.from == now.until) continue;
    const bool goesOn = !differences.empty() && differences.back().until == now.from &&
                        differences.back().host == now.host && differences.back().jvm == now.jvm;
    if (goesOn) {
      differences.back().until = now.until;
    } else {
      differences.push_back(now);
    }
  }
  return differences;
}

std::vector<std::string> zoneWarnings(const std::string& zone, const std::vector<ZoneDifference>& differences,
                                      std::size_t most) {
  std::vector<std::string> lines;
  const std::size_t told = differences.size() <= most ? differences.size() : most - 1;
  for (std::size_t i = 0; i < told; ++i) {
    const ZoneDifference& difference = differences[i];
    lines.push_back(fmt::format("zone {}: from {} to {} it is {} for the C library and {} for the JVM", zone,
                                momentText(difference.from), momentText(difference.until), offsetText(difference.host),
                                offsetText(difference.jvm)));
  }
  if (told < differences.size()) {
    lines.push_back(fmt::format("zone {}: and {} more such times, the last until {}", zone, differences.size() - told,
                                momentText(differences.back().until)));
  }
  return lines;
}

std::vector<ZoneDifference> compareZone(Session& session, time64 from, int years) {
  const time64 until = from + years * kYear;
  const ZoneRules jvm = jvmZone(session, from, until);
  return zoneDifferences(hostZone(from, until, jvm.changes), jvm, from, until);
}

}  // namespace mesk::host
