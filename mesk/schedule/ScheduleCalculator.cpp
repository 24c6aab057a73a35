#include <mesk/schedule/ScheduleCalculator.h>

#include <array>
#include <cstddef>
#include <ctime>
#include <initializer_list>
#include <limits>
#include <type_traits>

#include <mesk/bridge/Trace.h>

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

bool convert(std::tm& local, time64& time) {
  time = _mktime64(&local);
  return time != -1;
}

/// Converts what is `asked`, keeping the flag that `local` carries. When that moves the hour, the flag was the other
/// season's: the conversion has put it right by then, and the second try gives the hour on the wall, if the day has it.
bool convertKeepingHour(std::tm& local, const std::tm& asked, time64& time) {
  setDateAndTime(local, asked);
  if (!convert(local, time)) return false;
  if (local.tm_hour == asked.tm_hour) return true;
  setDateAndTime(local, asked);
  return convert(local, time);
}

// ---- moves ---------------------------------------------------------------------------------------------------------

int moveDays(std::tm& cur, time64& time, std::uint32_t days) {
  const Traced trace(kMoveDays);
  std::tm asked = cur;
  asked.tm_mday = sum(asked.tm_mday, days);
  if (!convertKeepingHour(cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  if (cur.tm_hour != asked.tm_hour) {
    // The day lacks the hour: the run falls on the day that lies as far behind it. Coming from standard time, the
    // second try has left the hour before the gap, which the flag 0 brings back to the hour asked for.
    cur.tm_mday = sum(cur.tm_mday, days);
    cur.tm_isdst = 0;
    if (!convert(cur, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  }
  return trace.exit(0);
}

int moveYears(std::tm& cur, time64& time, std::uint32_t years) {
  const Traced trace(kMoveYears);
  // Only years can leave the numbers that count them; what began again at the first would never arrive.
  if (std::int64_t{cur.tm_year} + years > std::numeric_limits<int>::max()) {
    return notConvertible(trace, kFirstPhaseProbe, cur);
  }
  std::tm asked = cur;
  asked.tm_year = sum(asked.tm_year, years);
  if (!convertKeepingHour(cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);
  return trace.exit(0);
}

/// Every month has a 15th, so the month never runs over.
bool moveMonthsToFifteenth(std::tm& cur, time64& time, std::uint32_t months) {
  std::tm asked = cur;
  asked.tm_mon = sum(asked.tm_mon, months);
  asked.tm_mday = 15;
  return convertKeepingHour(cur, asked, time);
}

int moveMonthsOnDay(std::tm& cur, time64& time, std::uint32_t months, std::uint32_t detail) {
  const Traced trace(kMoveMonthsOnDay);
  if (!moveMonthsToFifteenth(cur, time, months)) return notConvertible(trace, kFirstPhaseProbe, cur);

  // Every day is tried with the flag of the 15th and no hour is checked: a day in the other season is counted in the
  // time of the 15th, which moves the hour.
  const int wanted = static_cast<int>(detail);
  const std::tm fifteenth = cur;
  bool found = false;
  for (int day = wanted; day >= 1 && !found; --day) {
    cur = fifteenth;
    cur.tm_mday = day;
    if (!convert(cur, time)) return notConvertible(trace, kDaySearchProbe, cur);
    found = cur.tm_mon == fifteenth.tm_mon;
  }
  if (!found && wanted >= 1) {
    // Soon after midnight that moves the 1st itself into the month before. Its own flag keeps it where it is.
    std::tm first = fifteenth;
    first.tm_mday = 1;
    setDateAndTime(cur, first);
    if (!convert(cur, time)) return notConvertible(trace, kDaySearchProbe, cur);
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

int moveMonthsOnNthWeekday(std::tm& cur, time64& time, std::uint32_t months, std::uint32_t detail) {
  const Traced trace(kMoveMonthsOnNthWeekday);
  if (!moveMonthsToFifteenth(cur, time, months)) return notConvertible(trace, kFirstPhaseProbe, cur);

  std::tm asked = cur;
  asked.tm_mday = 1;
  if (!convertKeepingHour(cur, asked, time)) return notConvertible(trace, kFirstPhaseProbe, cur);

  const std::tm first = cur;
  asked = first;
  for (int day = 1 + nthWeekdayOffset(first.tm_wday, detail); day >= 1; day -= 7) {
    asked.tm_mday = day;
    if (!convertKeepingHour(cur, asked, time)) return notConvertible(trace, kDaySearchProbe, cur);
    if (cur.tm_mon == first.tm_mon) return trace.exit(0);
  }
  // Weeks before the 1st only lead further away from the month.
  return notConvertible(trace, kDaySearchProbe, cur);
}

// ---- the rule ------------------------------------------------------------------------------------------------------

bool convertStart(const ScheduleCalculator& rule, std::tm& start, time64& time) {
  std::tm asked{};
  asked.tm_year = rule.startYear;
  asked.tm_mon = sum(-1, rule.startMonth);
  asked.tm_mday = static_cast<int>(rule.startDay);
  asked.tm_hour = static_cast<int>(rule.startHour);
  asked.tm_min = static_cast<int>(rule.startMinute);
  asked.tm_sec = static_cast<int>(rule.startSecond);
  start.tm_isdst = 0;
  return convertKeepingHour(start, asked, time);
}

bool convertEnd(const ScheduleCalculator& rule, std::tm& end, time64& time) {
  std::tm asked{};
  asked.tm_year = rule.endYear;
  asked.tm_mon = sum(-1, rule.endMonth);
  asked.tm_mday = static_cast<int>(rule.endDay);
  asked.tm_hour = 23;
  asked.tm_min = 59;
  asked.tm_sec = 59;
  end.tm_isdst = 0;
  return convertKeepingHour(end, asked, time);
}

/// Moves the reference to the day that the rule asks for within the reference's own week or month.
int align(const ScheduleCalculator& rule, const std::tm& start, std::tm& cur, time64& time) {
  switch (rule.intervalType) {
    case kEveryWeeks: {
      const std::uint32_t weekday = rule.detail == 7 ? static_cast<std::uint32_t>(start.tm_wday) : rule.detail;
      return moveDays(cur, time, weekday - static_cast<std::uint32_t>(cur.tm_wday));
    }
    case kMonthsOnDay:
      return moveMonthsOnDay(cur, time, 0, rule.detail);
    case kMonthsOnNthWeekday:
      return moveMonthsOnNthWeekday(cur, time, 0, rule.detail);
    default:
      return 0;
  }
}

/// Moves `cur` by one interval. Minutes and hours are only added; they are normalised by the conversion that follows.
int step(const ScheduleCalculator& rule, std::tm& cur, time64& time) {
  switch (rule.intervalType) {
    case kEveryMinutes:
      cur.tm_min = sum(cur.tm_min, rule.intervalUnit);
      return 0;
    case kEveryHours:
      cur.tm_hour = sum(cur.tm_hour, rule.intervalUnit);
      return 0;
    case kEveryDays:
      return moveDays(cur, time, rule.intervalUnit);
    case kEveryWeeks:
      return moveDays(cur, time, 7 * rule.intervalUnit);
    case kMonthsOnDay:
      return moveMonthsOnDay(cur, time, rule.intervalUnit, rule.detail);
    case kMonthsOnNthWeekday:
      return moveMonthsOnNthWeekday(cur, time, rule.intervalUnit, rule.detail);
    case kEveryYears:
      return moveYears(cur, time, rule.intervalUnit);
    default:
      return kNotConvertible;
  }
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

  const std::tm* const reference = _localtime64(&time);
  if (reference == nullptr) return trace.exit(kNotConvertible);
  std::tm cur = *reference;
  const time64 now = _time64(nullptr);

  std::tm start{};
  time64 startTime = 0;
  if (!convertStart(rule, start, startTime)) return notConvertible(trace, kStartProbe, start);

  if (const int result = align(rule, start, cur, time); result != 0) return trace.exit(result);

  for (bool stepped = false;; stepped = true) {
    if (time > now && time >= startTime && (allowReference != 0 || stepped)) break;
    // One step of no length has led nowhere; neither will the next.
    if (stepped && rule.intervalUnit == 0) return notConvertible(trace, kStepProbe, cur);
    if (const int result = step(rule, cur, time); result != 0) return trace.exit(result);
    if (!convert(cur, time)) return notConvertible(trace, kStepProbe, cur);
  }

  if (rule.endDay != 0) {
    std::tm end{};
    time64 endTime = 0;
    if (!convertEnd(rule, end, endTime)) return notConvertible(trace, kEndProbe, end);
    if (endTime < time) return trace.exit(kPastEnd);
  }
  return trace.exit(0);
}

}  // namespace mesk
