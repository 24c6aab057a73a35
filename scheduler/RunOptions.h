// How a task runs, beyond what its record in the store has fields for.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mesk::host {

/// What a warehouse task copies, beside the query, which is its script: rows of one database into a table of another.
struct Warehouse {
  enum class Mode { kAppend, kReplace };  ///< whether the table's rows are deleted first

  std::string source;              ///< JDBC URL
  std::string sourceUser;          ///< empty: none
  std::string sourcePasswordFile;  ///< file whose first line is the password; empty: no password
  std::string target;              ///< as for the source
  std::string targetUser;
  std::string targetPasswordFile;
  std::string table;
  Mode mode = Mode::kAppend;
  std::int64_t batch = 1000;              ///< rows that go to the target together
  std::int64_t retries = 0;               ///< further tries after one that failed
  std::int64_t retryIntervalSeconds = 0;  ///< between two tries

  static constexpr std::int64_t kMostBatch = 100'000;
  static constexpr std::int64_t kMostRetries = 1000;

  bool operator==(const Warehouse&) const = default;
};

/// Kept in the store as one JSON object.
struct RunOptions {
  enum class Missed { kOnce, kAll, kSkip };   ///< instants that passed while no scheduler ran
  enum class Interrupted { kLeave, kRerun };  ///< a run that a crash cut off
  enum class Overlap { kWait, kSkip };        ///< an instant that comes while the last run still goes

  std::map<std::string, std::string> environment;
  std::int64_t timeoutSeconds = 0;     ///< 0 is no limit
  std::int64_t outputLimit = 1 << 20;  ///< bytes of output that are kept
  Missed missed = Missed::kOnce;
  Interrupted interrupted = Interrupted::kLeave;
  Overlap overlap = Overlap::kWait;
  /// Of a group task: how many of its members, in their order, run together at each stage. Empty: one at each.
  std::vector<int> stages;
  std::optional<Warehouse> warehouse;  ///< of a warehouse task

  static constexpr std::int64_t kLeastOutput = 1 << 10;
  static constexpr std::int64_t kMostOutput = 64 << 20;

  /// Only what differs from the default; "{}" for all defaults.
  std::string toJson() const;

  /// An empty text is "{}". Throws FormatError for anything that `toJson` does not write, with a text
  /// that quotes no value: the environment may hold secrets.
  static RunOptions fromJson(const std::string& text);

  bool operator==(const RunOptions&) const = default;
};

const char* textOf(RunOptions::Missed missed);
const char* textOf(RunOptions::Interrupted interrupted);
const char* textOf(RunOptions::Overlap overlap);
const char* textOf(Warehouse::Mode mode);

/// These throw FormatError, which lists what was expected.
void setFromText(RunOptions::Missed& missed, const std::string& text);
void setFromText(RunOptions::Interrupted& interrupted, const std::string& text);
void setFromText(RunOptions::Overlap& overlap, const std::string& text);
void setFromText(Warehouse::Mode& mode, const std::string& text);

/// Whether a variable of the environment can have this name: letters, digits and _, no digit first.
bool isVariableName(const std::string& name);

/// Names that only the scheduler sets: those that begin with MESK_.
bool isReservedVariable(const std::string& name);

}  // namespace mesk::host
