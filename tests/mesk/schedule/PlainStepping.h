// What the next run of a rule is, by definition: plain stepping with the C library's conversions, one interval after
// the other. The library may compute it in any way that gives the same code and the same time.
#pragma once

#include <cstdint>
#include <ctime>
#include <limits>
#include <optional>

#include <mesk/schedule/ScheduleCalculator.h>

namespace mesk::plain {

/// What the definition is made to get wrong, to see that a comparison with it notices.
enum class Slip { kNone, kNoThirdTry, kDayFlagNotCarried, kLeapDayKept, kNotLater };

class Stepping {
 public:
  struct Answer {
    int code;
    time64 time;
  };

  /// Stepping that takes longer than this is given up, if not told otherwise.
  static constexpr std::int64_t kMostSteps = 5000;

  explicit Stepping(const ScheduleCalculator& rule, Slip slip = Slip::kNone, std::int64_t mostSteps = kMostSteps)
      : rule_(rule), slip_(slip), mostSteps_(mostSteps) {}

  /// The conversions of a computation begin as if the reference had been converted before: `prime` sees to that.
  std::optional<Answer> next(time64 now, time64 reference, bool allowReference) {
    if (!prime(reference)) return std::nullopt;
    time_ = reference;
    cur_ = localTime(reference);

    std::tm start = fields(rule_.startYear, rule_.startMonth, rule_.startDay, rule_.startHour, rule_.startMinute,
                           rule_.startSecond);
    if (!checkedConversion(start, start.tm_hour)) return Answer{kNotConvertible, 0};
    const time64 startTime = converted_;

    if (!align(start)) return Answer{kNotConvertible, 0};
    std::int64_t steps = 0;
    while (!(later(time_, now) && time_ >= startTime && (allowReference || steps > 0))) {
      if (++steps > mostSteps_) return std::nullopt;
      if (!step()) return Answer{kNotConvertible, 0};
      if (!convertInto(cur_, time_)) return Answer{kNotConvertible, 0};
    }
    if (rule_.endDay != 0) {
      std::tm end = fields(rule_.endYear, rule_.endMonth, rule_.endDay, 23, 59, 59);
      if (!checkedConversion(end, 23)) return Answer{kNotConvertible, 0};
      if (converted_ < time_) return Answer{kPastEnd, time_};
    }
    return Answer{0, time_};
  }

 private:
  static std::tm localTime(time64 time) {
    const std::time_t seconds = time;
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return local;
  }

  /// Converts some local time near `reference` that has its offset and comes only once.
  static bool prime(time64 reference) {
    const long offset = localTime(reference).tm_gmtoff;
    for (const time64 near : {0, 1, -1, 2, -2, 4, -4, 8, -8, 16, -16, 32, -32, 64, -64}) {
      const time64 moment = reference + near * 3000;
      std::tm local = localTime(moment);
      if (local.tm_gmtoff != offset) continue;
      if (std::mktime(&local) == moment && local.tm_gmtoff == offset) return true;
    }
    return false;
  }

  bool later(time64 time, time64 now) const { return slip_ == Slip::kNotLater ? time >= now : time > now; }

  static std::tm fields(std::int32_t year, std::uint32_t month, std::uint32_t day, std::uint32_t hour,
                        std::uint32_t minute, std::uint32_t second) {
    std::tm local{};
    local.tm_year = year;
    local.tm_mon = static_cast<int>(month) - 1;
    local.tm_mday = static_cast<int>(day);
    local.tm_hour = static_cast<int>(hour);
    local.tm_min = static_cast<int>(minute);
    local.tm_sec = static_cast<int>(second);
    return local;
  }

  static bool convertInto(std::tm& local, time64& time) {
    time = std::mktime(&local);
    return time != -1;
  }

  static void ask(std::tm& local, const std::tm& asked) {
    const int flag = local.tm_isdst;
    local = asked;
    local.tm_isdst = flag;
  }

  /// Two tries at the hour; the result of the last one is in `converted_`.
  bool checkedConversion(std::tm& local, int hour) {
    const std::tm asked = local;
    if (!convertInto(local, converted_)) return false;
    if (local.tm_hour == hour) return true;
    ask(local, asked);
    return convertInto(local, converted_);
  }

  bool align(const std::tm& start) {
    switch (rule_.intervalType) {
      case kEveryWeeks: {
        const int target = rule_.detail == 7 ? start.tm_wday : static_cast<int>(rule_.detail);
        return moveDays(target - cur_.tm_wday);
      }
      case kMonthsOnDay:
        return moveToDay(0);
      case kMonthsOnNthWeekday:
        return moveToNthWeekday(0);
      default:
        return true;
    }
  }

  bool step() {
    const auto unit = static_cast<int>(rule_.intervalUnit);
    switch (rule_.intervalType) {
      case kEveryMinutes:
        cur_.tm_min += unit;
        return true;
      case kEveryHours:
        cur_.tm_hour += unit;
        return true;
      case kEveryDays:
        return moveDays(unit);
      case kEveryWeeks:
        return moveDays(7 * unit);
      case kMonthsOnDay:
        return moveToDay(unit);
      case kMonthsOnNthWeekday:
        return moveToNthWeekday(unit);
      default:
        return moveYears(unit);
    }
  }

  bool moveDays(int n) {
    const std::tm base = cur_;
    for (int attempt = 0; attempt < 2; ++attempt) {
      ask(cur_, base);
      cur_.tm_mday = base.tm_mday + n;
      if (!convertInto(cur_, time_)) return false;
      if (cur_.tm_hour == base.tm_hour) return true;
    }
    if (slip_ == Slip::kNoThirdTry) return true;
    cur_.tm_mday += n;
    cur_.tm_isdst = 0;
    return convertInto(cur_, time_);
  }

  bool moveYears(int n) {
    const std::tm base = cur_;
    for (int attempt = 0; attempt < 2; ++attempt) {
      ask(cur_, base);
      if (__builtin_add_overflow(base.tm_year, n, &cur_.tm_year)) return false;
      if (slip_ == Slip::kLeapDayKept && base.tm_mon == 1 && base.tm_mday == 29) cur_.tm_mday = 28;
      if (!convertInto(cur_, time_)) return false;
      if (cur_.tm_hour == base.tm_hour) return true;
    }
    return true;
  }

  bool moveToFifteenth(int months) {
    const std::tm base = cur_;
    for (int attempt = 0; attempt < 2; ++attempt) {
      ask(cur_, base);
      cur_.tm_mon = base.tm_mon + months;
      cur_.tm_mday = 15;
      if (!convertInto(cur_, time_)) return false;
      if (cur_.tm_hour == base.tm_hour) return true;
    }
    return true;
  }

  bool moveToDay(int months) {
    if (!moveToFifteenth(months)) return false;
    const std::tm base = cur_;
    for (int day = static_cast<int>(rule_.detail); day >= 1; --day) {
      if (slip_ == Slip::kDayFlagNotCarried) {
        ask(cur_, base);
      } else {
        cur_ = base;
      }
      cur_.tm_mday = day;
      if (!convertInto(cur_, time_)) return false;
      if (cur_.tm_mon == base.tm_mon) return true;
    }
    if (rule_.detail == 0) return false;
    // In the season of the 15th the 1st fell into the month before: once more in its own.
    ask(cur_, base);
    cur_.tm_mday = 1;
    return convertInto(cur_, time_) && cur_.tm_mon == base.tm_mon;
  }

  bool moveToNthWeekday(int months) {
    if (!moveToFifteenth(months)) return false;
    std::tm base = cur_;
    for (int attempt = 0; attempt < 2; ++attempt) {
      ask(cur_, base);
      cur_.tm_mday = 1;
      if (!convertInto(cur_, time_)) return false;
      if (cur_.tm_hour == base.tm_hour) break;
    }
    // Monday is 1 and Sunday 7 in the detail; the C library counts from Sunday, 0.
    const auto detail = static_cast<int>(rule_.detail);
    int offset = 0;
    if (detail >= 1) {
      const int week = (detail - 1) / 7;
      const int weekday = (detail - 1) % 7 + 1;
      offset = (weekday % 7 - cur_.tm_wday + 7) % 7 + 7 * week;
    } else {
      const int withoutDay[] = {0, -1, -2, -3, -4, 2, 1};
      offset = withoutDay[cur_.tm_wday];
    }
    base = cur_;
    for (int day = 1 + offset; day >= 1; day -= 7) {
      for (int attempt = 0; attempt < 2; ++attempt) {
        ask(cur_, base);
        cur_.tm_mday = day;
        if (!convertInto(cur_, time_)) return false;
        if (cur_.tm_hour == base.tm_hour) break;
      }
      if (cur_.tm_mon == base.tm_mon) return true;
    }
    return false;
  }

  const ScheduleCalculator& rule_;
  Slip slip_;
  std::int64_t mostSteps_;
  std::tm cur_{};
  time64 time_ = 0;
  time64 converted_ = 0;
};

}  // namespace mesk::plain
