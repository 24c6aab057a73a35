// Who runs scripts for the scheduler.
#pragma once

#include <string>

#include <scheduler/RunDirectory.h>
#include <scheduler/RunRecords.h>

namespace mesk::host {

/// One attempt of one run. A run is a history record; its attempts count from 1.
struct AttemptID {
  long long run = 0;
  int attempt = 1;

  std::string text() const { return std::to_string(run) + "-" + std::to_string(attempt); }
  auto operator<=>(const AttemptID&) const = default;  // NOLINT(modernize-use-nullptr): no pointer is compared
};

/// The scheduler's view of processes; a simulation puts its own in this place.
class RunLauncher {
 public:
  virtual ~RunLauncher() = default;

  /// Starts an attempt; its end is told to `Scheduler::finished`. Throws std::exception when it cannot be
  /// started, and then nothing runs.
  virtual void start(const AttemptID& id, const RunRequest& request) = 0;

  /// Looks for an attempt of an earlier scheduler. One that is alive is watched from now on as if it had been
  /// started here. Throws std::system_error when the system does not let it look.
  virtual RunnerState adopt(const AttemptID& id) = 0;

  /// What the attempt has written. Throws std::system_error for want of descriptors or memory.
  virtual std::string output(const AttemptID& id) = 0;

  /// Its record is safe in the store: whatever was kept of it can go. Never throws.
  virtual void forget(const AttemptID& id) = 0;
};

}  // namespace mesk::host
