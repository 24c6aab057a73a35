// What meskd tells a runner about an attempt, and what the runner tells back.
//
// Both are JSON files in the run's directory, read strictly: a member that is missing, unknown or of
// another type is refused, so that two versions that do not understand each other say so.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mesk::host {

/// One attempt at running a task; the file `run.json`.
struct RunRequest {
  std::string processor = "/bin/sh";  ///< program that is given the script; looked up on PATH when it has no slash
  std::string script;                 ///< text of the script
  std::vector<std::string> arguments;
  std::string directory;                           ///< working directory; empty is the user's home, or / without one
  std::string user;                                ///< user to run as; empty is the user of the runner
  std::map<std::string, std::string> environment;  ///< laid over the plain one that the runner makes
  std::int64_t timeoutMillis = 0;                  ///< 0 is no limit; counted while the machine is awake
  std::int64_t graceMillis = 5000;                 ///< between asking a run to end and ending it
  std::int64_t outputLimit = 1 << 20;              ///< bytes of output that are kept
  int attempt = 1;                                 ///< from 1; the script sees it as MESK_ATTEMPT

  /// Both throw std::runtime_error with a text that quotes no value: the environment may hold secrets.
  /// Texts must be UTF-8.
  std::string toJson() const;
  static RunRequest fromJson(const std::string& text);
  bool operator==(const RunRequest&) const = default;
};

/// Return codes of attempts that have none of a script. Scripts give 0..255, and 128 plus the number
/// of the signal that ended them.
enum RunCode : int {
  kRunNoProcessor = -501,   ///< the command processor cannot be started
  kRunNoDirectory = -502,   ///< the working directory cannot be entered
  kRunNoUser = -503,        ///< the system has no such user
  kRunMayNotBeUser = -504,  ///< only a runner of root can run as another user
  kRunNotStarted = -505,    ///< the system refused something else; the text says what
  kRunBadRequest = -506,    ///< run.json cannot be read
  kRunTimedOut = -510,      ///< ended because its time was up
  kRunTerminated = -511,    ///< ended because the runner was asked to (SIGTERM)
};

/// How an attempt ended; the file `status.json`.
struct RunStatus {
  int returnCode = 0;  ///< of the script, or a `RunCode`
  int signal = 0;      ///< that ended the script; 0 when it exited by itself or never started
  bool timedOut = false;
  bool terminated = false;
  bool outputLost = false;         ///< the disk did not take all output that was to be kept
  std::int64_t startedMillis = 0;  ///< since the epoch
  std::int64_t endedMillis = 0;
  std::int64_t outputBytes = 0;       ///< written by the script, kept or not
  std::optional<std::int64_t> rows;   ///< that the script says it handled; none when it did not say
  std::optional<std::int64_t> bytes;  ///< likewise
  std::string failure;                ///< why it never started, in words; empty when it did

  std::string toJson() const;
  /// Throws std::runtime_error.
  static RunStatus fromJson(const std::string& text);
  bool operator==(const RunStatus&) const = default;
};

}  // namespace mesk::host
