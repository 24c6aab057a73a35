// The zone that the process is in.
#pragma once

#include <string>

namespace mesk::host {

/// The name of the system's time zone, from /etc/localtime; empty when that does not say.
std::string systemZone();

/// The name of the zone of this process: what `TZ` says, else the system's; "local time" when nothing says it.
std::string zoneName();

/// Puts the process, and what it starts, into the zone of that name in the system's database. To be called before
/// anything is computed and before the JVM starts, which takes its zone then. False when the system has no such zone;
/// then nothing is changed.
bool enterZone(const std::string& name);

}  // namespace mesk::host
