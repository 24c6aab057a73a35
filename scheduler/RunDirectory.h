// The directory of one attempt, as meskd sees it: what has become of it, and what it left.
//
// It holds `run.json` (the request), `lock` (held by the runner as long as it lives; its content is
// the runner's process id), `output`, `script`, `runner.log` (what kept the runner from its work) and
// at the end `status.json`. Only its owner can enter.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <variant>

#include <scheduler/RunRecords.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {

/// A runner that lives.
struct RunnerAlive {
  pid_t pid = 0;   ///< 0 when the runner has not yet said who it is
  UniqueFd ended;  ///< a pidfd: readable when the runner has ended; none when `pid` is 0
};

/// A runner that ended and said how.
struct RunnerFinished {
  RunStatus status;
};

/// A runner that ended without a word, or never was: killed, or gone with the machine.
struct RunnerVanished {
  std::string why;
};

using RunnerState = std::variant<RunnerAlive, RunnerFinished, RunnerVanished>;

/// A path and what can be asked of it. Any thread.
class RunDirectory {
 public:
  explicit RunDirectory(std::string path);

  const std::string& path() const { return path_; }

  /// What has become of the attempt, whoever started the runner. The answer can be relied on: alive
  /// means that `ended` will tell the end, finished and vanished never change again. Waits for a
  /// runner that has just been started to say who it is, at most `kSignPatienceMillis`. Throws
  /// std::system_error when the system does not let it look.
  RunnerState inspect() const;

  /// The last `limit` bytes of the output so far, as the script wrote them; empty when there is none. Throws
  /// std::system_error for want of descriptors or memory.
  std::string output(std::size_t limit = static_cast<std::size_t>(-1)) const;

  /// Removes the directory and all in it. Not while the runner is alive. Throws
  /// std::filesystem::filesystem_error.
  void remove() const;

  static constexpr int kSignPatienceMillis = 10000;
  static constexpr const char* kComplaints = "runner.log";

 private:
  std::string path_;
};

}  // namespace mesk::host
