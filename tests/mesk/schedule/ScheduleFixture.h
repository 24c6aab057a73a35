// A zone, a clock and rules written as texts, for the tests of the next-run calculator.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>

#include <platform/Clock.h>

#include <mesk/schedule/ScheduleCalculator.h>

namespace mesk {

/// While it lives, the process is in `zone`.
class InZone {
 public:
  explicit InZone(const char* zone) {
    const char* outer = std::getenv("TZ");
    had_ = outer != nullptr;
    if (had_) outer_ = outer;
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  ~InZone() {
    if (had_) {
      ::setenv("TZ", outer_.c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }
  InZone(const InZone&) = delete;
  InZone& operator=(const InZone&) = delete;

 private:
  bool had_;
  std::string outer_;
};

/// While it lives, the clock stands at `seconds`.
class ClockStopped {
 public:
  explicit ClockStopped(time64 seconds) { setClock(seconds * 1000); }
  ~ClockStopped() { resetClock(); }
  ClockStopped(const ClockStopped&) = delete;
  ClockStopped& operator=(const ClockStopped&) = delete;
};

/// "2024-03-31 02:30:00 +0100" as seconds since the epoch; without an offset it is UTC.
inline time64 at(const char* text) {
  std::tm fields{};
  int offset = 0;
  const int read = std::sscanf(text, "%d-%d-%d %d:%d:%d %d", &fields.tm_year, &fields.tm_mon, &fields.tm_mday,
                               &fields.tm_hour, &fields.tm_min, &fields.tm_sec, &offset);
  if (read < 6) throw std::invalid_argument(text);
  fields.tm_year -= 1900;
  fields.tm_mon -= 1;
  return ::timegm(&fields) - (offset / 100 * 60 + offset % 100) * 60;
}

/// The opposite of `at`, in the zone of the process.
inline std::string shown(time64 seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  char text[64] = "";
  if (::localtime_r(&time, &fields) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S %z", &fields);
  return text;
}

/// A rule made as its caller makes it: through the setters, the type before the unit. Throws when one refuses.
class Rule {
 public:
  Rule(ScheduleIntervalType type, int unit, int detail = 0) {
    accept(rule_.setRecurring(1));
    accept(rule_.setIntervalType(static_cast<int>(type)));
    accept(rule_.setIntervalUnit(unit));
    accept(rule_.setDetail(detail));
    start("2000-01-01 00:00:00");
  }

  Rule& start(const char* text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (std::sscanf(text, "%d-%d-%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) != 6) {
      throw std::invalid_argument(text);
    }
    accept(rule_.setStartYear(year));
    accept(rule_.setStartMonth(month));
    accept(rule_.setStartDay(day));
    accept(rule_.setStartHour(hour));
    accept(rule_.setStartMinute(minute));
    accept(rule_.setStartSecond(second));
    return *this;
  }

  Rule& end(const char* text) {
    int year = 0, month = 0, day = 0;
    if (std::sscanf(text, "%d-%d-%d", &year, &month, &day) != 3) throw std::invalid_argument(text);
    accept(rule_.setEndYear(year));
    accept(rule_.setEndMonth(month));
    accept(rule_.setEndDay(day));
    return *this;
  }

  operator const ScheduleCalculator&() const { return rule_; }

 private:
  static void accept(int code) {
    if (code != 0) throw std::invalid_argument("a setter answered " + std::to_string(code));
  }

  ScheduleCalculator rule_;
};

struct Outcome {
  int code;
  time64 time;
};

inline Outcome computed(const ScheduleCalculator& rule, time64 now, time64 reference, int allowReference) {
  const ClockStopped clock(now);
  Outcome outcome{0, reference};
  outcome.code = computeNextTime(rule, outcome.time, allowReference);
  return outcome;
}

/// One worked example: what `rule` gives in `zone` at `now` from `reference`, and why.
struct Example {
  const char* zone;
  const char* now;
  const char* reference;
  Rule rule;
  int allowReference;
  int code;
  const char* expected;
  const char* why;
};

}  // namespace mesk
