#include <scheduler/ClockChanges.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdlib>

namespace mesk::host {
namespace {

constexpr time64 kHour = 3600;
constexpr time64 kDay = 24 * kHour;
constexpr std::array<time64, 4> kLengths{60, kHour, kDay, 7 * kDay};  // of the types whose steps have one

/// From what the clock shows, and not from what the zone calls its offset: where leap seconds are counted, the two
/// differ.
int offsetAt(time64 moment) {
  const struct tm* const local = _localtime64(&moment);
  if (local == nullptr) return 0;
  const std::chrono::sys_days day = std::chrono::year(local->tm_year + 1900) / (local->tm_mon + 1) /
                                    std::chrono::day(static_cast<unsigned>(local->tm_mday));
  const time64 wall =
      day.time_since_epoch().count() * kDay + local->tm_hour * kHour + time64{local->tm_min} * 60 + local->tm_sec;
  return static_cast<int>(wall - moment);
}

WallTime midnightOf(WallTime wall) { return wall - ((wall % kDay) + kDay) % kDay; }
WallTime timeOfDay(WallTime wall) { return wall - midnightOf(wall); }

std::chrono::year_month_day calendarDay(WallTime wall) {
  return std::chrono::sys_days(std::chrono::days(midnightOf(wall) / kDay));
}

WallTime wallOn(std::chrono::sys_days day, WallTime time) { return day.time_since_epoch().count() * kDay + time; }

int numberAt(const std::string& text, std::size_t at, std::size_t count) {
  int value = 0;
  if (text.size() >= at + count) std::from_chars(text.data() + at, text.data() + at + count, value);
  return value;
}

WallTime startTimeOfDay(const ScheduleRule& rule) {
  return numberAt(rule.startTime, 0, 2) * kHour + time64{numberAt(rule.startTime, 2, 2)} * 60 +
         numberAt(rule.startTime, 4, 2);
}

WallTime startOf(const ScheduleRule& rule) {
  const std::chrono::year_month_day day{std::chrono::year(numberAt(rule.startDate, 0, 4)),
                                        std::chrono::month(static_cast<unsigned>(numberAt(rule.startDate, 4, 2))),
                                        std::chrono::day(static_cast<unsigned>(numberAt(rule.startDate, 6, 2)))};
  return wallOn(day, startTimeOfDay(rule));
}

bool isMonths(const ScheduleRule& rule) {
  return rule.intervalType == ScheduleRule::kMonthsOnDay || rule.intervalType == ScheduleRule::kMonthsOnWeekday;
}

bool isElapsed(const ScheduleRule& rule) { return rule.intervalType <= ScheduleRule::kHours; }

/// Days that are stepped by a number of days.
bool isDays(const ScheduleRule& rule) {
  return rule.intervalType == ScheduleRule::kDays || rule.intervalType == ScheduleRule::kWeeks;
}

time64 lengthOf(const ScheduleRule& rule) {
  return kLengths.at(static_cast<std::size_t>(rule.intervalType)) * rule.intervalUnit;
}

/// The day of a month that a rule of months asks for.
std::chrono::sys_days wantedDay(const ScheduleRule& rule, std::chrono::year_month month) {
  using namespace std::chrono;
  const unsigned last = unsigned{(month / std::chrono::last).day()};
  const auto detail = static_cast<unsigned>(std::max(rule.detail, 1));
  if (rule.intervalType == ScheduleRule::kMonthsOnDay) return month / day(std::min(detail, last));
  const weekday wanted(detail % 7);
  const unsigned first = unsigned{year_month_day(sys_days(month / wanted[1])).day()};
  unsigned chosen = first + 7 * ((detail - 1) / 7);
  while (chosen > last) chosen -= 7;
  return month / day(chosen);
}

/// What the rule asks for after the run at `previous`.
WallTime askedAfter(const ScheduleRule& rule, WallTime previous) {
  using namespace std::chrono;
  if (rule.intervalType <= ScheduleRule::kWeeks) return previous + lengthOf(rule);
  const year_month_day day = calendarDay(previous);
  if (isMonths(rule)) {
    return wallOn(wantedDay(rule, day.year() / day.month() + months(rule.intervalUnit)), timeOfDay(previous));
  }
  // 29 February is 1 March where there is none, and stays that.
  const sys_days first = (day.year() + years(rule.intervalUnit)) / day.month() / 1;
  return wallOn(first + (day.day() - std::chrono::day(1)), timeOfDay(previous));
}

/// What the rule asks for at a run of which nothing else is known; the run itself where the rule does not say.
WallTime askedAt(const ScheduleRule& rule, WallTime run) {
  if (rule.recurring == 0) return startOf(rule);
  if (isElapsed(rule) || isAfterEnd(rule)) return run;
  const WallTime time = startTimeOfDay(rule);
  if (isMonths(rule)) {
    const std::chrono::year_month_day day = calendarDay(run);
    return wallOn(wantedDay(rule, day.year() / day.month()), time);
  }
  // A moved run can have left its day.
  const WallTime sameDay = midnightOf(run) + time;
  const auto distance = [run](WallTime wall) { return std::abs(wall - run); };
  return std::min({sameDay, sameDay - kDay, sameDay + kDay},
                  [&](WallTime a, WallTime b) { return distance(a) < distance(b); });
}

/// The change that moved a run by `shift`: of those from `from` on the nearest that moved the clocks as far, else the
/// nearest. A day of the month is counted in the season of the 15th, so that a change between the two moves it too.
std::optional<ClockChange> causeOf(const ScheduleRule& rule, time64 from, time64 run, WallTime shift) {
  // A time that a change later on the day leaves out can come out before it.
  time64 until = isElapsed(rule) ? run : run + kDay;
  if (rule.intervalType == ScheduleRule::kMonthsOnDay) {
    for (const time64 moment : {from, run}) {
      const std::chrono::year_month_day day = calendarDay(wallAt(moment));
      const time64 fifteenth = wallOn(day.year() / day.month() / 15, 0);
      from = std::min(from, fifteenth - kDay);
      until = std::max(until, fifteenth + 2 * kDay);
    }
  }
  std::optional<ClockChange> nearest;
  const auto rank = [&](const ClockChange& change) {
    return std::pair(std::abs(change.after - change.before) != std::abs(shift), std::abs(change.at - run));
  };
  for (const ClockChange& change : clockChanges(from, until)) {
    if (!nearest || rank(change) < rank(*nearest)) nearest = change;
  }
  return nearest;
}

/// The change that a wall time fell into.
std::optional<ClockChange> changeAround(WallTime wall) {
  for (const ClockChange& change : clockChanges(wall - 2 * kDay, wall + 2 * kDay)) {
    const auto [low, high] = std::minmax(change.before, change.after);
    if (change.at + low <= wall && wall < change.at + high) return change;
  }
  return std::nullopt;
}

std::string atText(const ClockChange& change, WallTime near) {
  const std::string day = dateOf(change.wall());
  return timeOf(change.wall()) + (day == dateOf(near) ? "" : " on " + day);
}

}  // namespace

WallTime wallAt(time64 moment) { return moment + offsetAt(moment); }

std::vector<time64> momentsOf(WallTime wall) {
  std::vector<time64> moments;
  // No zone is a day ahead of or behind UTC, and none changes its clocks twice in so short a time.
  for (const int offset : {offsetAt(wall - kDay), offsetAt(wall + kDay)}) {
    const time64 moment = wall - offset;
    if (offsetAt(moment) == offset) moments.push_back(moment);
  }
  std::sort(moments.begin(), moments.end());
  moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
  return moments;
}

std::string dateOf(WallTime wall) {
  const std::chrono::year_month_day day = calendarDay(wall);
  return fmt::format("{:04}-{:02}-{:02}", int{day.year()}, unsigned{day.month()}, unsigned{day.day()});
}

std::string timeOf(WallTime wall) {
  const WallTime time = timeOfDay(wall);
  std::string text = fmt::format("{:02}:{:02}", time / kHour, time / 60 % 60);
  if (time % 60 != 0) text += fmt::format(":{:02}", time % 60);
  return text;
}

std::vector<ClockChange> clockChanges(time64 from, time64 until, std::vector<time64> probes) {
  constexpr time64 kStep = 3 * kHour;
  std::erase_if(probes, [&](time64 probe) { return probe <= from || probe > until; });
  probes.push_back(until);
  std::sort(probes.begin(), probes.end());
  std::vector<ClockChange> changes;
  time64 at = from;
  int offset = offsetAt(at);
  auto probe = probes.begin();
  while (at < until) {
    while (*probe <= at) ++probe;
    const time64 next = std::min(at + kStep, *probe);
    const int nextOffset = offsetAt(next);
    if (nextOffset != offset) {
      time64 old = at;
      time64 changed = next;
      while (changed - old > 1) {
        const time64 middle = old + (changed - old) / 2;
        (offsetAt(middle) == offset ? old : changed) = middle;
      }
      const int after = offsetAt(changed);
      changes.push_back({changed, offset, after});
      at = changed;
      offset = after;
    } else {
      at = next;
    }
  }
  return changes;
}

const char* nameOf(ClockMark::Kind kind) {
  switch (kind) {
    case ClockMark::Kind::kMoved:
      return "moved";
    case ClockMark::Kind::kStillMoved:
      return "still-moved";
    case ClockMark::Kind::kSkipped:
      return "skipped";
    case ClockMark::Kind::kPassageSkipped:
      return "first-skipped";
    case ClockMark::Kind::kFirstOfTwo:
      return "first-of-two";
    case ClockMark::Kind::kSecondOfTwo:
      break;
  }
  return "second-of-two";
}

std::string textOf(const ClockMark& mark) {
  const bool sameDay = dateOf(mark.asked) == dateOf(mark.is);
  const auto told = [&](WallTime wall) { return (sameDay ? "" : dateOf(wall) + " ") + timeOf(wall); };
  switch (mark.kind) {
    case ClockMark::Kind::kMoved: {
      std::string moved = fmt::format("moved from {} to {}", told(mark.asked), told(mark.is));
      if (!mark.change) return moved;
      return fmt::format("clocks {} at {}: {}", mark.change->after > mark.change->before ? "went forward" : "went back",
                         atText(*mark.change, mark.is), moved);
    }
    case ClockMark::Kind::kStillMoved:
      return fmt::format("at {} instead of {} since the clocks changed", told(mark.is), told(mark.asked));
    case ClockMark::Kind::kSkipped:
      return fmt::format("skipped: {} does not exist on {}", timeOf(mark.asked), dateOf(mark.asked));
    case ClockMark::Kind::kPassageSkipped:
      return fmt::format("skipped: {} comes twice on {}, no run the first time", timeOf(mark.asked),
                         dateOf(mark.asked));
    case ClockMark::Kind::kFirstOfTwo:
      return fmt::format("{} comes twice: this is the first", timeOf(mark.is));
    case ClockMark::Kind::kSecondOfTwo:
      break;
  }
  return fmt::format("{} comes twice: this is the second", timeOf(mark.is));
}

ClockMarks clockMarks(const ScheduleRule& rule, std::optional<time64> previous, time64 run, time64 since) {
  using Kind = ClockMark::Kind;
  ClockMarks result;
  const WallTime is = wallAt(run);
  const auto skip = [&](Kind kind, WallTime asked) {
    const auto change = changeAround(asked);
    if (change && change->at > since) result.skipped.push_back({kind, asked, asked, change});
  };

  WallTime asked = previous ? askedAfter(rule, wallAt(*previous)) : askedAt(rule, is);
  if (isDays(rule) && rule.recurring != 0) {
    // Days that lack the time are passed over.
    if (!previous) {
      const WallTime before = asked - lengthOf(rule);
      if (!isAfterEnd(rule) && before >= startOf(rule) && momentsOf(before).empty()) skip(Kind::kSkipped, before);
    }
    for (; asked < is && momentsOf(asked).empty() && asked + lengthOf(rule) <= is; asked += lengthOf(rule)) {
      skip(Kind::kSkipped, asked);
    }
  }
  if (isElapsed(rule) && previous && run - *previous >= 2 * lengthOf(rule)) skip(Kind::kPassageSkipped, asked);

  if (asked != is) {
    const time64 from = previous.value_or(run - 2 * kDay);
    const auto cause = causeOf(rule, from, run, is - asked);
    const bool here = previous || cause;
    result.marks.push_back({here ? Kind::kMoved : Kind::kStillMoved, asked, is, cause});
  } else if (const WallTime meant = askedAt(rule, is); meant != is) {
    result.marks.push_back({Kind::kStillMoved, meant, is, std::nullopt});
  }
  if (const auto moments = momentsOf(is); moments.size() == 2) {
    result.marks.push_back({moments[0] == run ? Kind::kFirstOfTwo : Kind::kSecondOfTwo, is, is, changeAround(is)});
  }
  return result;
}

}  // namespace mesk::host
