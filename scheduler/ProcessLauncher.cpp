#include <scheduler/ProcessLauncher.h>

#include <exception>

namespace mesk::host {

void ProcessLauncher::start(const AttemptID& id, const RunRequest& request) {
  alive_.insert_or_assign(id, client_.start(id.text(), request));
}

RunnerState ProcessLauncher::adopt(const AttemptID& id) {
  if (const auto known = alive_.find(id); known != alive_.end()) return RunnerAlive{known->second.pid, {}};
  RunnerState state = client_.directory(id.text()).inspect();
  if (auto* const runner = std::get_if<RunnerAlive>(&state)) {
    const pid_t pid = runner->pid;
    alive_.insert_or_assign(id, std::move(*runner));
    return RunnerAlive{pid, {}};
  }
  return state;
}

std::string ProcessLauncher::output(const AttemptID& id) { return client_.directory(id.text()).output(); }

void ProcessLauncher::forget(const AttemptID& id) {
  alive_.erase(id);
  try {
    client_.directory(id.text()).remove();
  } catch (const std::exception&) {
    // What is left of it is found and removed when the next scheduler starts.
  }
}

std::vector<std::pair<int, AttemptID>> ProcessLauncher::descriptors() const {
  std::vector<std::pair<int, AttemptID>> result;
  for (const auto& [id, runner] : alive_) result.emplace_back(runner.ended.get(), id);
  return result;
}

RunnerState ProcessLauncher::ended(const AttemptID& id) {
  const auto known = alive_.find(id);
  if (known != alive_.end()) {
    RunnerClient::reap(known->second);
    alive_.erase(known);
  }
  return adopt(id);
}

}  // namespace mesk::host
