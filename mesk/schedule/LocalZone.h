// The zone that the process is in, as a table: what the calculator keeps of it between computations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <limits>
#include <string>
#include <vector>

#include <platform/Clock.h>

namespace mesk {

/// The time from one change of the clocks to the next: [begin, end), one offset, one flag.
struct Stretch {
  time64 begin;
  time64 end;
  std::int32_t offset;  ///< local time less UTC, in seconds
  bool summer;          ///< what the zone flags as daylight saving, whichever way that moves the clocks
};

/// Changes of the clocks of one zone, for all time. Immutable once learned, and kept for the life of the process, so
/// any thread may read any of them at any time.
class LocalZone {
 public:
  /// The zone that is in force for the process, or null when its local time does not follow a table (leap seconds,
  /// a C library or a platform of its own mind), or there is no memory for one; then the platform's conversions are to
  /// be asked. Looks at `TZ`, and at the system's zone file while that is unset, so that a change of either is noticed.
  /// Allocates only when the zone is another one than the time before.
  static const LocalZone* inForce();

  /// Times beyond this are nobody's schedule; `at` is not asked for them.
  static constexpr time64 kFarthest = 1'000'000'000'000;

  /// The stretch that `time` lies in.
  Stretch at(time64 time) const;

 private:
  struct Change {
    time64 begin;
    std::int32_t offset;
    bool summer;
  };
  /// What makes a zone another one than before.
  struct Source {
    bool named = false;  ///< whether `TZ` is set
    std::string name;
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t modified = 0;  ///< nanoseconds
    std::int64_t size = -1;     ///< -1: there is no ordinary file

    bool operator==(const Source&) const = default;
  };

  static Source sourceOf(const char* name);
  static const LocalZone& learned(const char* name);
  explicit LocalZone(Source source);

  bool isStillInForce(const char* name) const;
  bool readFile(const std::string& path);
  bool readRule(const std::string& rule, bool onlyRule);
  void makeIndex();
  std::size_t changeBefore(time64 time) const;
  bool agreesWithThePlatform() const;
  bool agreesOnLocalTime() const;
  bool agreesOnConversions() const;

  Source source_;
  const LocalZone* next_ = nullptr;  ///< learned before this one
  bool usable_ = false;
  std::vector<Change> changes_;  ///< by time; the first holds from the beginning
  time64 indexBegin_ = 0;
  std::vector<std::uint32_t> index_;  ///< by about a year from there on: the change that holds when it begins
  time64 cycleBegin_ = std::numeric_limits<time64>::max();
  time64 cycleEnd_ = std::numeric_limits<time64>::max();  ///< from here on the changes of the cycle repeat
};

/// Conversions by a zone's table: the same answers as the C library's, and as many of them alike in a row, without its
/// cost. For one computation, on one thread.
///
/// The C library finds the time of a local time by trying, first with the offset that its conversion before came out
/// with; where a local time is missing or comes twice, that decides. So the offset is carried here as well. The first
/// conversion goes by the offset of the reference, as if that had been converted just before.
class ZoneTime {
 public:
  ZoneTime(const LocalZone& zone, time64 reference);

  /// What `localtime_r` does. False: see `outside`.
  bool breakDown(time64 time, std::tm& local);

  /// What `mktime` does, with `time` for its result; -1 is false.
  bool convert(std::tm& local, time64& time);

  /// Whether a conversion left the times that the table is good for: its answer is none, and the computation is to be
  /// done otherwise.
  bool outside() const { return outside_; }

  /// Until when conversions from `local`, which is `time` broken down, have nothing to decide: all that come out
  /// before that do so at the first try. Not after `time` when that is not sure.
  time64 settledUntil(const std::tm& local, time64 time);

 private:
  bool isInside(time64 time);
  time64 otherSeason(time64 local, time64 time, bool summer);

  const LocalZone& zone_;
  time64 guess_ = 0;  ///< UTC less local time, as the last conversion came out
  bool outside_ = false;
};

/// Conversions by the platform.
class PlatformTime {
 public:
  bool breakDown(time64 time, std::tm& local);
  bool convert(std::tm& local, time64& time);
  static time64 settledUntil(const std::tm&, time64 time) { return time; }
};

/// Days from 1970-01-01 to the given day; the month may be any number, counted from 0, and the day too, from 1.
time64 daysFromCivil(time64 year, time64 month, time64 day);

}  // namespace mesk
