// The clock and the local time of the host.
//
// Every time in Mesk comes from here, so that a test or a preview can say what time it is. A clock
// that nobody set is the system's. Any thread may call anything here.
//
// What local time is follows from `TZ` alone, or while that is unset from the system's zone file: as long as those stay
// the same, so do the answers. Whoever calls may remember them.
#pragma once

#include <cstdint>
#include <ctime>

#include <platform/Export.h>

namespace mesk {

/// Seconds since 1970-01-01 00:00:00 UTC.
using time64 = std::int64_t;

}  // namespace mesk

extern "C" {

/// The clock in seconds since the epoch. A non-null `out` receives the same value.
MESK_PLATFORM_API std::int64_t _time64(std::int64_t* out);

/// Breaks `*time` down in the zone of the process, as `tzset` or `_mktime64` last found it. The result belongs to the
/// calling thread and holds until that thread's next call; null when the year does not fit.
MESK_PLATFORM_API struct tm* _localtime64(const std::int64_t* time);

/// Normalises `*local` in place and answers its seconds since the epoch, -1 when it has none.
MESK_PLATFORM_API std::int64_t _mktime64(struct tm* local);

}  // extern "C"

namespace mesk {

/// The clock in milliseconds since the epoch; the same clock as `_time64`.
MESK_PLATFORM_API std::int64_t clockMillis();

/// Stops the clock of the whole process at `millis`. It moves on only by further calls.
MESK_PLATFORM_API void setClock(std::int64_t millis);

/// Gives the clock back to the system.
MESK_PLATFORM_API void resetClock();

/// While it lives, the calling thread's clock stands at `millis`; other threads do not notice.
/// What would have been computed at that moment can so be computed again. Scopes nest.
class MESK_PLATFORM_API ClockAt {
 public:
  explicit ClockAt(std::int64_t millis);
  ~ClockAt();
  ClockAt(const ClockAt&) = delete;
  ClockAt& operator=(const ClockAt&) = delete;

 private:
  std::int64_t outer_;
  bool nested_;
};

}  // namespace mesk
