// What the changes of the clocks do to the runs of a rule: which they move, which they leave out, and which fall into
// an hour that comes twice. All in the zone of the process, by the conversions that runs are computed with.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <platform/Clock.h>
#include <scheduler/ScheduleRule.h>

namespace mesk::host {

/// What a clock on the wall shows: seconds since it showed 1970-01-01 00:00:00.
using WallTime = std::int64_t;

WallTime wallAt(time64 moment);

/// The moments at which the wall shows this, in order: none where the clocks went forward past it, two where they went
/// back to it.
std::vector<time64> momentsOf(WallTime wall);

/// "2026-03-29", "02:30"; with seconds when there are some.
std::string dateOf(WallTime wall);
std::string timeOf(WallTime wall);

struct ClockChange {
  time64 at = 0;   ///< the first second of the new time
  int before = 0;  ///< local time less UTC, in seconds
  int after = 0;

  bool operator==(const ClockChange&) const = default;

  /// What the clocks show when they are changed.
  WallTime wall() const { return at + before; }
};

/// The changes after `from` and up to `until`, in order. `probes` are moments at which to look more closely: a change
/// that another one takes back within three hours is found only at them.
std::vector<ClockChange> clockChanges(time64 from, time64 until, std::vector<time64> probes = {});

/// What a change of the clocks did.
struct ClockMark {
  enum class Kind {
    kMoved,           ///< the run is at another time than its rule asks for
    kStillMoved,      ///< it keeps the time that a run before it was moved to
    kSkipped,         ///< the time that the rule asks for does not exist, and there is no run
    kPassageSkipped,  ///< the time comes twice, and the first time there is no run
    kFirstOfTwo,      ///< the time of the run comes twice: this is the first
    kSecondOfTwo,     ///< this is the second
  };

  Kind kind = Kind::kMoved;
  WallTime asked = 0;                      ///< what the rule asks for
  WallTime is = 0;                         ///< what the wall shows at the run
  std::optional<ClockChange> change = {};  ///< which one, where it can be told

  bool operator==(const ClockMark&) const = default;
};

/// "moved", "skipped": a word for programs.
const char* nameOf(ClockMark::Kind kind);

/// "clocks went forward at 02:00: moved from 02:30 to 03:30".
std::string textOf(const ClockMark& mark);

/// What is to be said of one run.
struct ClockMarks {
  std::vector<ClockMark> skipped;  ///< what should have run since the run before; each has its change
  std::vector<ClockMark> marks;    ///< of the run itself
};

/// Compares a run of `rule` with what the rule asks for after the run before it. `previous`: that run, from which this
/// one was stepped; without it, what can be told from the rule alone. Left out is told only if it is after `since`.
ClockMarks clockMarks(const ScheduleRule& rule, std::optional<time64> previous, time64 run, time64 since);

}  // namespace mesk::host
