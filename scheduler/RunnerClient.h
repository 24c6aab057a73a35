// How meskd starts runners.
#pragma once

#include <string>
#include <vector>

#include <scheduler/RunDirectory.h>
#include <scheduler/RunRecords.h>

namespace mesk::host {

/// Starts `mesk-runner` for attempts and knows where their directories are. Any thread.
class RunnerClient {
 public:
  /// `runner` is the program, `base` the folder that holds the attempts' directories; it is made
  /// (mode 0700) when it is missing.
  RunnerClient(std::string runner, std::string base);

  /// Starts an attempt in the new directory `base`/`id`. From before the runner exists until it ends
  /// its lock is held, whatever happens to this process. Throws std::system_error or
  /// std::runtime_error, also when the directory exists, and then leaves nothing new behind.
  RunnerAlive start(const std::string& id, const RunRequest& request) const;

  RunDirectory directory(const std::string& id) const;

  /// The ids of all attempts that have a directory, in no order.
  std::vector<std::string> ids() const;

  /// Asks the runner to end its run; it then says so in its status. A runner that is gone is no error.
  static void terminate(const RunnerAlive& runner);

  /// Takes an ended runner off the system's list of processes, when it is a child of this process.
  /// Call it when `ended` is readable.
  static void reap(const RunnerAlive& runner);

 private:
  std::string runner_;
  std::string base_;
};

}  // namespace mesk::host
