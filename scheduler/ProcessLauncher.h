// Runs scripts as processes that outlive meskd.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <scheduler/RunLauncher.h>
#include <scheduler/RunnerClient.h>

namespace mesk::host {

/// Starts a `mesk-runner` for each attempt and watches it by its pidfd. One thread.
class ProcessLauncher : public RunLauncher {
 public:
  explicit ProcessLauncher(RunnerClient client) : client_(std::move(client)) {}

  void start(const AttemptID& id, const RunRequest& request) override;
  RunnerState adopt(const AttemptID& id) override;
  std::string output(const AttemptID& id) override;
  void forget(const AttemptID& id) override;

  /// A descriptor for each runner that lives; readable when it has ended. -1 when the system would not let it be
  /// watched: then `ended` is to be asked now and again.
  std::vector<std::pair<int, AttemptID>> descriptors() const;

  /// What became of an attempt whose descriptor was readable; it is not watched any more, unless it lives after all.
  RunnerState ended(const AttemptID& id);

 private:
  RunnerClient client_;
  std::map<AttemptID, RunnerAlive> alive_;
};

}  // namespace mesk::host
