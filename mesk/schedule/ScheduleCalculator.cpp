#include <mesk/schedule/ScheduleCalculator.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include <mesk/bridge/Trace.h>
#include <mesk/schedule/LocalZone.h>

namespace mesk {

static_assert(sizeof(ScheduleCalculator) == 13 * sizeof(std::int32_t));
static_assert(std::is_standard_layout_v<ScheduleCalculator>);

namespace {

// ---- setters -------------------------------------------------------------------------------------------------------

int setChecked(std::uint32_t& field, int value, std::uint32_t lowest, std::uint32_t highest, int code,
               std::uint32_t fallback) {
  const auto number = static_cast<std::uint32_t>(value);
  const bool inRange = number >= lowest && number <= highest;
  field = inRange ? number : fallback;
  return inRange ? 0 : code;
}

int sinceNineteenHundred(int year) { return year > 1900 ? year - 1900 : year; }

constexpr std::array<std::uint32_t, 7> kLongestInterval = {1000, 24, 31, 52, 12, 12, 10};

// ---- conversions ---------------------------------------------------------------------------------------------------

enum FunctionId : std::uint32_t {
  kComputeNextTime = 0x1AE80186,
  kMoveDays = 0x1AE80187,
  kMoveMonthsOnDay = 0x1AE80188,
  kMoveMonthsOnNthWeekday = 0x1AE80189,
  kMoveYears = 0x1AE8018A,
};

/// Where in a function a conversion failed.
enum Probe : std::uint32_t {
  kStartProbe = 10,
  kStepProbe = 20,
  kEndProbe = 30,
  kFirstPhaseProbe = 10,
  kDaySearchProbe = 20,
};

int notConvertible(const Traced& trace, std::uint32_t probe, const std::tm& local) {
  trace.errorTime(probe, local);
  return trace.exit(kNotConvertible);
}

// Fields of a rule are unsigned and those of a broken-down time signed: sums are formed unsigned, where no value
// that slipped past the setters can overflow.
int sum(int field, std::uint32_t amount) { return static_cast<int>(static_cast<std::uint32_t>(field) + amount); }

void setDateAndTime(std::tm& local, const std::tm& asked) {
  local.tm_year = asked.tm_year;
  local.tm_mon = asked.tm_mon;
  local.tm_mday = asked.tm_mday;
  local.tm_hour = asked.tm_hour;
  local.tm_min = asked.tm_min;
  local.tm_sec = asked.tm_sec;
}

/// Converts what is `asked`, keeping the flag that `local` carries. When that moves the hour, the flag was the other
/// season's: the conversion has put it right by then, and the second try gives the hour on the wall, if the day has it.
template <class LocalTime>
bool convertKeepingHour(LocalTime& by, std::tm& local, const std::tm& asked, time64& time) {
  setDateAndTime(local, asked);
  if (!by.convert(local, time)) return false;
  if (local.tm_hour == asked.tm_hour) return true;
  setDateAndTime(local, asked);
  return by.convert(local, time);
}

// ---- moves ---------------------------------------------------------------------------------------------------------

template <class LocalTime>
int moveDays(LocalTime& by, std::tm& cur, time64& time, std::uint32_t days) {
  const Traced trace(kMoveDays);
  std::tm asked = cur;
  asked.tm_mday = sum(asked.tm_mday, days);
  if (!convertKeepingHour(by, cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  if (cur.tm_hour != asked.tm_hour) {
    // The day lacks the hour: the run falls on the day that lies as far behind it. Coming from standard time, the
    // second try has left the hour before the gap, which the flag 0 brings back to the hour asked for.
    cur.tm_mday = sum(cur.tm_mday, days);
    cur.tm_isdst = 0;
    if (!by.convert(cur, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  }
  return trace.exit(0);
}

template <class LocalTime>
int moveYears(LocalTime& by, std::tm& cur, time64& time, std::uint32_t years) {
  const Traced trace(kMoveYears);
  // Only years can leave the numbers that count them; what began again at the first would never arrive.
  if (std::int64_t{cur.tm_year} + years > std::numeric_limits<int>::max()) {
    return notConvertible(trace, kFirstPhaseProbe, cur);
  }
  std::tm asked = cur;
  asked.tm_year = sum(asked.tm_year, years);
  if (!convertKeepingHour(by, cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  return trace.exit(0);
}

/// Every month has a 15th, so the month never runs over.
template <class LocalTime>
bool moveMonthsToFifteenth(LocalTime& by, std::tm& cur, time64& time, std::uint32_t months) {
  std::tm asked = cur;
  asked.tm_mon = sum(asked.tm_mon, months);
  asked.tm_mday = 15;
  return convertKeepingHour(by, cur, asked, time);
}

template <class LocalTime>
int moveMonthsOnDay(LocalTime& by, std::tm& cur, time64& time, std::uint32_t months, std::uint32_t detail) {
  const Traced trace(kMoveMonthsOnDay);
  if (!moveMonthsToFifteenth(by, cur, time, months)) return notConvertible(trace, kFirstPhaseProbe, cur);

  // Every day is tried with the flag of the 15th and no hour is checked: a day in the other season is counted in the
  // time of the 15th, which moves the hour.
  const int wanted = static_cast<int>(detail);
  const std::tm fifteenth = cur;
  bool found = false;
  for (int day = wanted; day >= 1 && !found; --day) {
    cur = fifteenth;
    cur.tm_mday = day;
    if (!by.convert(cur, time)) return notConvertible(trace, kDaySearchProbe, cur);
    found = cur.tm_mon == fifteenth.tm_mon;
  }
  if (!found && wanted >= 1) {
    // Soon after midnight that moves the 1st itself into the month before. Its own flag keeps it where it is.
    std::tm first = fifteenth;
    first.tm_mday = 1;
    setDateAndTime(cur, first);
    if (!by.convert(cur, time)) return notConvertible(trace, kDaySearchProbe, cur);
    found = cur.tm_mon == fifteenth.tm_mon;
  }
  // Days before the 1st only lead further away from the month.
  return found ? trace.exit(0) : notConvertible(trace, kDaySearchProbe, cur);
}

/// A set of details: the given weekdays (1 Monday .. 7 Sunday) in each of the six weeks.
constexpr std::uint64_t inEveryWeek(std::initializer_list<int> weekdays) {
  std::uint64_t set = 0;
  for (int week = 0; week < 6; ++week) {
    for (const int weekday : weekdays) set |= std::uint64_t{1} << (week * 7 + weekday);
  }
  return set;
}

/// How far a detail lies from its day's distance to the 1st, by the weekday of the 1st. Two corrections, because the
/// weekdays before that of the 1st come a week later than those from it on.
struct WeekdayCorrection {
  std::uint64_t set;
  int inSet;
  int otherwise;
};

constexpr std::array<WeekdayCorrection, 7> kWeekdayCorrections = {{
    {inEveryWeek({7}), -7, 0},        // Sunday
    {0, 0, -1},                       // Monday
    {inEveryWeek({1}), 5, -2},        // Tuesday
    {inEveryWeek({1, 2}), 4, -3},     // Wednesday
    {inEveryWeek({1, 2, 3}), 3, -4},  // Thursday
    {inEveryWeek({5, 6, 7}), -5, 2},  // Friday
    {inEveryWeek({6, 7}), -6, 1},     // Saturday
}};

/// Days from the 1st, a `firstWeekday` (0 Sunday), to the wanted day; past the month's end when the month lacks it.
int nthWeekdayOffset(int firstWeekday, std::uint32_t detail) {
  const WeekdayCorrection& correction = kWeekdayCorrections.at(static_cast<std::size_t>(firstWeekday));
  const bool inSet = detail < 64 && ((correction.set >> detail) & 1) != 0;
  return static_cast<int>(detail) + (inSet ? correction.inSet : correction.otherwise);
}

template <class LocalTime>
int moveMonthsOnNthWeekday(LocalTime& by, std::tm& cur, time64& time, std::uint32_t months, std::uint32_t detail) {
  const Traced trace(kMoveMonthsOnNthWeekday);
  if (!moveMonthsToFifteenth(by, cur, time, months)) return notConvertible(trace, kFirstPhaseProbe, cur);

  std::tm asked = cur;
  asked.tm_mday = 1;
  if (!convertKeepingHour(by, cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);

  const std::tm first = cur;
  asked = first;
  for (int day = 1 + nthWeekdayOffset(first.tm_wday, detail); day >= 1; day -= 7) {
    asked.tm_mday = day;
    if (!convertKeepingHour(by, cur, asked, time)) return notConvertible(trace, kDaySearchProbe, cur);
    if (cur.tm_mon == first.tm_mon) return trace.exit(0);
  }
  // Weeks before the 1st only lead further away from the month.
  return notConvertible(trace, kDaySearchProbe, cur);
}

// ---- the rule ------------------------------------------------------------------------------------------------------

template <class LocalTime>
bool convertStart(LocalTime& by, const ScheduleCalculator& rule, std::tm& start, time64& time) {
  std::tm asked{};
  asked.tm_year = rule.startYear;
  asked.tm_mon = sum(-1, rule.startMonth);
  asked.tm_mday = static_cast<int>(rule.startDay);
  asked.tm_hour = static_cast<int>(rule.startHour);
  asked.tm_min = static_cast<int>(rule.startMinute);
  asked.tm_sec = static_cast<int>(rule.startSecond);
  start.tm_isdst = 0;
  return convertKeepingHour(by, start, asked, time);
}

template <class LocalTime>
bool convertEnd(LocalTime& by, const ScheduleCalculator& rule, std::tm& end, time64& time) {
  std::tm asked{};
  asked.tm_year = rule.endYear;
  asked.tm_mon = sum(-1, rule.endMonth);
  asked.tm_mday = static_cast<int>(rule.endDay);
  asked.tm_hour = 23;
  asked.tm_min = 59;
  asked.tm_sec = 59;
  end.tm_isdst = 0;
  return convertKeepingHour(by, end, asked, time);
}

/// Moves the reference to the day that the rule asks for within the reference's own week or month.
template <class LocalTime>
int align(LocalTime& by, const ScheduleCalculator& rule, const std::tm& start, std::tm& cur, time64& time) {
  switch (rule.intervalType) {
    case kEveryWeeks: {
      const std::uint32_t weekday = rule.detail == 7 ? static_cast<std::uint32_t>(start.tm_wday) : rule.detail;
      return moveDays(by, cur, time, weekday - static_cast<std::uint32_t>(cur.tm_wday));
    }
    case kMonthsOnDay:
      return moveMonthsOnDay(by, cur, time, 0, rule.detail);
    case kMonthsOnNthWeekday:
      return moveMonthsOnNthWeekday(by, cur, time, 0, rule.detail);
    default:
      return 0;
  }
}

/// Moves `cur` by so many intervals. Minutes and hours are only added; they are normalised by the conversion that
/// follows.
template <class LocalTime>
int step(LocalTime& by, const ScheduleCalculator& rule, std::uint32_t count, std::tm& cur, time64& time) {
  const std::uint32_t units = rule.intervalUnit * count;
  switch (rule.intervalType) {
    case kEveryMinutes:
      cur.tm_min = sum(cur.tm_min, units);
      return 0;
    case kEveryHours:
      cur.tm_hour = sum(cur.tm_hour, units);
      return 0;
    case kEveryDays:
      return moveDays(by, cur, time, units);
    case kEveryWeeks:
      return moveDays(by, cur, time, 7 * units);
    case kMonthsOnDay:
      return moveMonthsOnDay(by, cur, time, units, rule.detail);
    case kMonthsOnNthWeekday:
      return moveMonthsOnNthWeekday(by, cur, time, units, rule.detail);
    case kEveryYears:
      return moveYears(by, cur, time, units);
    default:
      return kNotConvertible;
  }
}

/// The most that one unit of an interval type can take, and how much further a step may look for its day.
struct Reach {
  time64 unit;
  time64 search;
};

constexpr time64 kDay = 86400;
constexpr std::array<Reach, 7> kReaches = {{{60, 0},
                                            {3600, 0},
                                            {kDay, 0},
                                            {7 * kDay, 0},
                                            {31 * kDay, 50 * kDay},
                                            {31 * kDay, 50 * kDay},
                                            {366 * kDay, 2 * kDay}}};

/// How many steps from `time`, which is `cur`, can be made as one long step with the same outcome: those that end
/// before `target` and, with all that they try on the way, before `settledUntil`. At least one.
std::uint32_t equalSteps(const ScheduleCalculator& rule, const std::tm& cur, time64 time, time64 target,
                         time64 settledUntil) {
  constexpr time64 kMostUnits = 1 << 27;  // what a field of a broken-down time holds, as weeks of days
  if (rule.intervalType >= kReaches.size() || rule.intervalUnit == 0 || rule.intervalUnit > kLongestInterval[0])
    return 1;
  const bool searches = rule.intervalType == kMonthsOnDay || rule.intervalType == kMonthsOnNthWeekday;
  if (searches && (rule.detail == 0 || rule.detail > 42)) return 1;  // such a search may fail at any step
  // A leap day's anniversaries are 1 March for good after the first, but not when that is passed over.
  if (rule.intervalType == kEveryYears && cur.tm_mon == 1 && cur.tm_mday == 29) return 1;
  const Reach& reach = kReaches[rule.intervalType];
  const time64 limit = std::min({settledUntil, target, LocalZone::kFarthest});
  const time64 room = limit - 1 - time - reach.search;
  if (room <= 0) return 1;
  const time64 unit = rule.intervalUnit;
  return static_cast<std::uint32_t>(std::clamp<time64>(room / (reach.unit * unit), 1, kMostUnits / unit));
}

/// The computation, by either way of converting local times.
template <class LocalTime>
int nextTime(LocalTime& by, const Traced& trace, const ScheduleCalculator& rule, time64 now, time64& time,
             int allowReference) {
  std::tm cur{};
  if (!by.breakDown(time, cur)) return trace.exit(kNotConvertible);

  std::tm start{};
  time64 startTime = 0;
  if (!convertStart(by, rule, start, startTime)) return notConvertible(trace, kStartProbe, start);

  if (const int result = align(by, rule, start, cur, time); result != 0) return trace.exit(result);

  for (bool stepped = false;; stepped = true) {
    if (time > now && time >= startTime && (allowReference != 0 || stepped)) break;
    // One step of no length has led nowhere; neither will the next.
    if (stepped && rule.intervalUnit == 0) return notConvertible(trace, kStepProbe, cur);
    const std::uint32_t count = equalSteps(rule, cur, time, std::max(now, startTime), by.settledUntil(cur, time));
    if (const int result = step(by, rule, count, cur, time); result != 0) return trace.exit(result);
    if (!by.convert(cur, time)) return notConvertible(trace, kStepProbe, cur);
  }
  // Whatever a zone does: a run that is not later than the clock would be started, and computed, for ever.
  if (time <= now) std::abort();

  if (rule.endDay != 0) {
    std::tm end{};
    time64 endTime = 0;
    if (!convertEnd(by, rule, end, endTime)) return notConvertible(trace, kEndProbe, end);
    if (endTime < time) return trace.exit(kPastEnd);
  }
  return trace.exit(0);
}

}  // namespace

int ScheduleCalculator::setRecurring(const int& value) { return setChecked(recurring, value, 0, 1, kBadRecurring, 0); }

int ScheduleCalculator::setIntervalType(const int& value) {
  return setChecked(intervalType, value, 0, 6, kBadIntervalType, 0);
}

int ScheduleCalculator::setIntervalUnit(const int& value) {
  if (intervalType >= kLongestInterval.size()) return kBadIntervalUnit;
  return setChecked(intervalUnit, value, 1, kLongestInterval[intervalType], kBadIntervalUnit, intervalUnit);
}

int ScheduleCalculator::setDetail(const int& value) { return setChecked(detail, value, 0, 42, kBadDetail, 0); }

int ScheduleCalculator::setStartYear(const int& value) {
  startYear = sinceNineteenHundred(value);
  return 0;
}

int ScheduleCalculator::setStartMonth(const int& value) { return setChecked(startMonth, value, 1, 12, kBadMonth, 1); }

int ScheduleCalculator::setStartDay(const int& value) { return setChecked(startDay, value, 1, 31, kBadDay, 1); }

int ScheduleCalculator::setStartHour(const int& value) { return setChecked(startHour, value, 0, 23, kBadHour, 0); }

int ScheduleCalculator::setStartMinute(const int& value) {
  return setChecked(startMinute, value, 0, 59, kBadMinute, 0);
}

int ScheduleCalculator::setStartSecond(const int& value) {
  return setChecked(startSecond, value, 0, 59, kBadSecond, 0);
}

int ScheduleCalculator::setEndYear(const int& value) {
  endYear = sinceNineteenHundred(value);
  return 0;
}

int ScheduleCalculator::setEndMonth(const int& value) { return setChecked(endMonth, value, 1, 12, kBadMonth, 0); }

int ScheduleCalculator::setEndDay(const int& value) { return setChecked(endDay, value, 1, 31, kBadDay, 0); }

int computeNextTime(const ScheduleCalculator& rule, time64& time, int allowReference) {
  const Traced trace(kComputeNextTime);
  const time64 now = _time64(nullptr);
  // The table gives what the platform would, in a fraction of the time. A trace is to show each step, one by one.
  if (const LocalZone* const zone = Traced::on() ? nullptr : LocalZone::inForce()) {
    ZoneTime byTable(*zone, time);
    time64 next = time;
    const int code = nextTime(byTable, trace, rule, now, next, allowReference);
    if (!byTable.outside()) {
      time = next;
      return code;
    }
  }
  PlatformTime byPlatform;
  return nextTime(byPlatform, trace, rule, now, time, allowReference);
}

}  // namespace mesk
