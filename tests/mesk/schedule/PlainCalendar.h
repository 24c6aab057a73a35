// The next run of a rule by plain stepping over a calendar of its own: no broken-down time of the C library, no
// normalising conversion. A zone is two offsets and the moments at which the clocks change, written down as law says.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include <mesk/schedule/ScheduleCalculator.h>

namespace mesk::plain {

using std::chrono::days;
using std::chrono::hours;
using std::chrono::local_days;
using std::chrono::local_seconds;
using std::chrono::minutes;
using std::chrono::months;
using std::chrono::seconds;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::weekday;
using std::chrono::year;
using std::chrono::year_month;
using std::chrono::year_month_day;
using std::chrono::years;

/// A zone as it is from `since` up to `until` (calendar years), while its law stays the same.
struct Zone {
  const char* name;
  seconds standard;
  seconds summer;
  /// The moments between which summer time holds, of the given year; in the south the second comes first.
  sys_seconds (*summerBegins)(year);
  sys_seconds (*summerEnds)(year);
  int since;
  int until;

  bool isSummer(sys_seconds moment) const {
    if (summerBegins == nullptr) return false;
    const year y = year_month_day(std::chrono::floor<days>(moment)).year();
    const sys_seconds begins = summerBegins(y);
    const sys_seconds ends = summerEnds(y);
    return begins < ends ? begins <= moment && moment < ends : moment < ends || begins <= moment;
  }
  seconds offset(bool inSummer) const { return inSummer ? summer : standard; }
};

/// What a clock on the wall shows, and which of the two times it shows.
struct Wall {
  local_days day;
  seconds timeOfDay;
  bool inSummer;

  year_month_day date() const { return year_month_day(day); }
  hours hour() const { return std::chrono::floor<hours>(timeOfDay); }
};

/// What the checker is made to get wrong, to see that it notices.
enum class Fault {
  kNone,
  kNoSecondTry,       ///< an hour that moved is taken at once
  kNoThirdTry,        ///< a missing hour is taken as the second try left it
  kHourOfDayKept,     ///< the day of the month is searched with the hour checked
  kSearchCarries,     ///< a day of the search starts from the season in which the one before landed
  kReferenceCounts,   ///< allowReference is taken as 1
  kClockIncluded,     ///< a run at the clock's own second counts
  kEndAtMidnight,     ///< the end day itself is excluded
  kWeekFromMonday,    ///< a week begins on Monday
  kFifthIsNextMonth,  ///< a fifth weekday that is missing runs over
};

struct Answer {
  int code;
  sys_seconds time;
};

class PlainCalendar {
 public:
  /// A planted fault can walk in circles; a true walk that long is a fault of the case.
  static constexpr int kMostSteps = 60000;

  PlainCalendar(const Zone& zone, Fault fault) : zone_(zone), fault_(fault) {}

  /// Empty when the walk left the years in which the zone's law is known.
  std::optional<Answer> next(const ScheduleCalculator& rule, sys_seconds now, sys_seconds reference,
                             bool allowReference) const {
    if (fault_ == Fault::kReferenceCounts) allowReference = true;

    Wall start{local_days(date(rule.startYear, rule.startMonth, rule.startDay)), timeOfDay(rule), false};
    const sys_seconds startTime = settleOnHour(start, start.day, start.timeOfDay);

    Wall cur = wallAt(reference);
    sys_seconds time = reference;
    if (rule.intervalType == 3) {
      const weekday wanted = rule.detail == 7 ? weekday(start.day) : weekday(rule.detail);
      const weekday today(cur.day);
      int distance = static_cast<int>(wanted.c_encoding()) - static_cast<int>(today.c_encoding());
      if (fault_ == Fault::kWeekFromMonday) {
        distance = static_cast<int>(wanted.iso_encoding()) - static_cast<int>(today.iso_encoding());
      }
      time = goDays(cur, days(distance));
    } else if (rule.intervalType == 4) {
      time = goToDay(cur, months(0), rule.detail);
    } else if (rule.intervalType == 5) {
      time = goToNthWeekday(cur, months(0), rule.detail);
    }

    const int unit = static_cast<int>(rule.intervalUnit);
    bool stepped = false;
    for (int steps = 0;; ++steps) {
      if (!known(time)) return std::nullopt;
      if (steps > kMostSteps) return Answer{-301, time};
      const bool late = fault_ == Fault::kClockIncluded ? time >= now : time > now;
      if (late && time >= startTime && (allowReference || stepped)) break;
      switch (rule.intervalType) {
        case 0:
          time += minutes(unit);
          cur = wallAt(time);
          break;
        case 1:
          time += hours(unit);
          cur = wallAt(time);
          break;
        case 2:
          time = goDays(cur, days(unit));
          break;
        case 3:
          time = goDays(cur, days(7 * unit));
          break;
        case 4:
          time = goToDay(cur, months(unit), rule.detail);
          break;
        case 5:
          time = goToNthWeekday(cur, months(unit), rule.detail);
          break;
        default:
          time = goYears(cur, years(unit));
          break;
      }
      stepped = true;
    }

    if (rule.endDay != 0) {
      const local_days last(date(rule.endYear, rule.endMonth, rule.endDay));
      const seconds lastSecond = hours(24) - seconds(1);
      Wall end{last, fault_ == Fault::kEndAtMidnight ? seconds(0) : lastSecond, false};
      if (settleOnHour(end, end.day, end.timeOfDay) < time) return Answer{-302, time};
    }
    return Answer{0, time};
  }

  Wall wallAt(sys_seconds moment) const {
    const bool inSummer = zone_.isSummer(moment);
    const local_seconds local{moment.time_since_epoch() + zone_.offset(inSummer)};
    const local_days day = std::chrono::floor<days>(local);
    return {day, local - day, inSummer};
  }

 private:
  /// A date whose day may lie past its month's end and then runs over into the next.
  static local_days date(int sinceNineteenHundred, unsigned month, unsigned day) {
    return local_days(year(1900 + sinceNineteenHundred) / static_cast<int>(month) / 1) + days(day) - days(1);
  }

  static seconds timeOfDay(const ScheduleCalculator& rule) {
    return hours(rule.startHour) + minutes(rule.startMinute) + seconds(rule.startSecond);
  }

  bool known(sys_seconds moment) const {
    return moment >= sys_days(year(zone_.since) / 1 / 1) && moment < sys_days(year(zone_.until) / 1 / 1);
  }

  /// Takes `wall` at its word, the season included, and shows the moment as the zone's clocks do.
  sys_seconds settle(Wall& wall) const {
    const local_seconds local = wall.day + wall.timeOfDay;
    const sys_seconds moment{local.time_since_epoch() - zone_.offset(wall.inSummer)};
    wall = wallAt(moment);
    return moment;
  }

  /// Day and time as asked, in the season that `wall` is in; once more in the season found when that moved the hour.
  sys_seconds settleOnHour(Wall& wall, local_days day, seconds asked) const {
    wall.day = day;
    wall.timeOfDay = asked;
    sys_seconds moment = settle(wall);
    if (wall.hour() == std::chrono::floor<hours>(asked) || fault_ == Fault::kNoSecondTry) return moment;
    wall.day = day;
    wall.timeOfDay = asked;
    return settle(wall);
  }

  sys_seconds goDays(Wall& wall, days distance) const {
    const Wall from = wall;
    const sys_seconds moment = settleOnHour(wall, from.day + distance, from.timeOfDay);
    if (wall.hour() == from.hour() || fault_ == Fault::kNoThirdTry) return moment;
    wall.day += distance;
    wall.inSummer = false;
    return settle(wall);
  }

  sys_seconds goYears(Wall& wall, years distance) const {
    const Wall from = wall;
    const year_month month = from.date().year() / from.date().month() + distance;
    const local_days target = local_days(month / 1) + (days(unsigned{from.date().day()}) - days(1));
    return settleOnHour(wall, target, from.timeOfDay);
  }

  void goToFifteenth(Wall& wall, months distance) const {
    const Wall from = wall;
    const year_month month = from.date().year() / from.date().month() + distance;
    settleOnHour(wall, local_days(month / 15), from.timeOfDay);
  }

  sys_seconds goToDay(Wall& wall, months distance, unsigned detail) const {
    goToFifteenth(wall, distance);
    const Wall fifteenth = wall;
    const local_days first = fifteenth.day - days(14);
    for (unsigned day = detail; day >= 1; --day) {
      if (fault_ != Fault::kSearchCarries) wall.inSummer = fifteenth.inSummer;
      wall.day = first + days(day - 1);
      wall.timeOfDay = fifteenth.timeOfDay;
      const sys_seconds moment =
          fault_ == Fault::kHourOfDayKept ? settleOnHour(wall, wall.day, wall.timeOfDay) : settle(wall);
      if (wall.date().month() == fifteenth.date().month()) return moment;
    }
    // The season of the 15th put the 1st before midnight; its own season leaves it where it is.
    wall.day = first;
    wall.timeOfDay = fifteenth.timeOfDay;
    return settle(wall);
  }

  sys_seconds goToNthWeekday(Wall& wall, months distance, unsigned detail) const {
    goToFifteenth(wall, distance);
    settleOnHour(wall, wall.day - days(unsigned{wall.date().day()}) + days(1), wall.timeOfDay);
    const Wall first = wall;
    const weekday wanted(detail % 7);
    local_days day = first.day - days(unsigned{first.date().day()}) + days(1);
    // Where midnight is missing on the 1st, the clock shows the day before: it is that day's weekday that counts.
    days ahead(0);
    while (weekday(first.day + ahead) != wanted) ahead += days(1);
    day += ahead + days(7 * ((detail - 1) / 7));
    while (true) {
      const sys_seconds moment = settleOnHour(wall, day, first.timeOfDay);
      if (wall.date().month() == first.date().month() || fault_ == Fault::kFifthIsNextMonth) return moment;
      day -= days(7);
    }
  }

  const Zone& zone_;
  Fault fault_;
};

/// The n-th given weekday of a month, or with n 0 its last, as a day in UTC.
inline sys_days nth(year y, unsigned month, weekday day, unsigned n) {
  return n == 0 ? sys_days(y / static_cast<int>(month) / day[std::chrono::last])
                : sys_days(y / static_cast<int>(month) / day[n]);
}

using std::chrono::Sunday;

inline const Zone kZones[] = {
    {"UTC", hours(0), hours(0), nullptr, nullptr, 1990, 2090},
    {"Asia/Kolkata", minutes(330), minutes(330), nullptr, nullptr, 1990, 2090},
    {"Europe/Berlin", hours(1), hours(2), [](year y) -> sys_seconds { return nth(y, 3, Sunday, 0) + hours(1); },
     [](year y) -> sys_seconds { return nth(y, 10, Sunday, 0) + hours(1); }, 1997, 2090},
    {"America/New_York", hours(-5), hours(-4), [](year y) -> sys_seconds { return nth(y, 3, Sunday, 2) + hours(7); },
     [](year y) -> sys_seconds { return nth(y, 11, Sunday, 1) + hours(6); }, 2008, 2090},
    // Half an hour of summer time.
    {"Australia/Lord_Howe", minutes(630), minutes(660),
     [](year y) -> sys_seconds { return nth(y, 10, Sunday, 1) + minutes(120 - 630); },
     [](year y) -> sys_seconds { return nth(y, 4, Sunday, 1) + minutes(120 - 660); }, 2009, 2090},
    // Summer time begins after the 15th of a month with 30 days.
    {"Pacific/Auckland", hours(12), hours(13),
     [](year y) -> sys_seconds { return nth(y, 9, Sunday, 0) + hours(2 - 12); },
     [](year y) -> sys_seconds { return nth(y, 4, Sunday, 1) + hours(3 - 13); }, 2009, 2090},
    // Midnight is missing on the first day of summer time, which can be the first of a month.
    {"America/Asuncion", hours(-4), hours(-3), [](year y) -> sys_seconds { return nth(y, 10, Sunday, 1) + hours(4); },
     [](year y) -> sys_seconds { return nth(y, 3, Sunday, 4) + hours(3); }, 2014, 2024},
};

}  // namespace mesk::plain
