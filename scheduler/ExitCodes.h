// How the programs end, and what the store's codes mean in words.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace mesk::host {

/// Exit codes of meskd and meskctl.
enum ExitCode : int {
  kExitOk = 0,
  kExitFailure = 1,         ///< something that has no code of its own; the message says what
  kExitUsage = 2,           ///< the command line is wrong
  kExitBadFile = 3,         ///< the task file cannot be read or is wrong
  kExitNotFound = 4,        ///< no such task or run
  kExitRefused = 5,         ///< in use, changed by somebody else meanwhile, or without the right to it
  kExitNoStore = 6,         ///< the store cannot be opened
  kExitNoJvm = 7,           ///< no Java virtual machine, or it refused to start
  kExitNoStoreClass = 8,    ///< the store's Java library is missing or is not of this version
  kExitStoreFailed = 9,     ///< the store failed at work: disk full, locked, damaged
  kExitAlreadyRunning = 10  ///< another meskd works on this store
};

/// A failure with its message for people and its exit code.
class HostError : public std::runtime_error {
 public:
  HostError(ExitCode exitCode, const std::string& message) : std::runtime_error(message), exitCode_(exitCode) {}
  ExitCode exitCode() const { return exitCode_; }

 private:
  ExitCode exitCode_;
};

/// Codes of the store that its callers tell apart.
enum StoreCode : int {
  kStoreOk = 0,
  kStoreNotFound = 30010,
  kStoreExists = 30011,
  kStoreChanged = 30012,
  kStoreNothing = 30013,
  kStoreNothingRelated = 30014,
  kStoreClaimed = 30015,
  kStoreInUse = 30016,
  kStoreInvalid = 30017,
  kStoreNotAuthorised = 30027,
};

/// A store operation that failed.
class StoreError : public HostError {
 public:
  /// `what` says what was attempted, and on what.
  StoreError(const std::string& what, int code, int sqlCode, const std::string& javaError = {});
  int code() const { return code_; }

 private:
  int code_;
};

/// The meaning of a store code, in words.
std::string storeCodeText(int code);

/// All store codes that have a meaning.
std::vector<int> storeCodes();

/// The exit code that goes with a store code.
ExitCode exitCodeOf(int storeCode);

}  // namespace mesk::host
