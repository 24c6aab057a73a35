// An alarm by the clock on the wall.
#pragma once

#include <sys/types.h>

#include <cstdint>

#include <scheduler/UniqueFd.h>

namespace mesk::host {

/// Wakes an event loop at a moment of the system's clock, and also when that clock is set, or the
/// machine wakes from a sleep over the moment. One thread.
class Timer {
 public:
  enum class Event { kNothing, kExpired, kClockChanged };

  /// Waits for nothing but a change of the clock. Throws std::system_error.
  Timer();

  /// Sets the alarm at `millis` since the epoch; a moment that has passed is reported at once.
  /// False when the clock was set since the last report: the alarm is set, but the caller reckoned
  /// with an older clock.
  bool setAt(std::int64_t millis);

  /// No alarm; a change of the clock is still reported. The answer is that of `setAt`.
  bool clear();

  int fd() const { return fd_.get(); }  ///< readable when there is something to report

  /// What woke the loop. An alarm is reported once; after a change of the clock it stays set.
  Event drain();

  /// What a read of the descriptor means.
  static Event meaning(ssize_t count, int error);

 private:
  UniqueFd fd_;
};

}  // namespace mesk::host
