// When a schedule rule fires next: the library's own calendar arithmetic in the local time of the host.
#pragma once

#include <cstdint>

#include <platform/Clock.h>

namespace mesk {

/// One schedule rule, made on the stack, filled through its setters, computed once and dropped.
///
/// A setter compares its value as an unsigned number, so a negative one is out of every range. It stores the value
/// and answers 0; or it answers its code and, unless told otherwise, stores a fallback that leaves the rule
/// computable. No setter throws. Not for use by several threads at once.
struct ScheduleCalculator {
  std::int32_t startYear = 1;      ///< years since 1900
  std::uint32_t startMonth = 1;    ///< 1..12
  std::uint32_t startDay = 1;      ///< 1..31
  std::uint32_t startHour = 0;     ///< 0..23
  std::uint32_t startMinute = 0;   ///< 0..59
  std::uint32_t startSecond = 0;   ///< 0..59
  std::int32_t endYear = 0;        ///< years since 1900
  std::uint32_t endMonth = 0;      ///< 1..12, 0 when unset
  std::uint32_t endDay = 0;        ///< 1..31, 0 for a rule without an end
  std::uint32_t detail;            ///< 0..42, see ScheduleIntervalType; unset until its setter ran
  std::uint32_t intervalUnit = 0;  ///< how many units of the type lie between two runs
  std::uint32_t intervalType = 0;  ///< a ScheduleIntervalType
  std::uint32_t recurring;         ///< 0 or 1, kept for the caller; unset until its setter ran

  /// `detail` and `recurring` have no default that means anything: the caller always sets both.
  // cppcheck-suppress uninitMemberVar
  ScheduleCalculator() {}  // NOLINT(clang-analyzer-optin.cplusplus.UninitializedObject): unset on purpose, see above

  int setRecurring(const int& value);     ///< 0 or 1; else -310, and 0 is stored
  int setIntervalType(const int& value);  ///< 0..6; else -311, and 0 is stored
  /// The range that the stored interval type allows, so the type comes first; else -303, and nothing is stored.
  int setIntervalUnit(const int& value);
  int setDetail(const int& value);       ///< 0..42; else -304, and 0 is stored
  int setStartYear(const int& value);    ///< above 1900 a calendar year, else years since 1900; never fails
  int setStartMonth(const int& value);   ///< 1..12; else -305, and 1 is stored
  int setStartDay(const int& value);     ///< 1..31; else -306, and 1 is stored
  int setStartHour(const int& value);    ///< 0..23; else -307, and 0 is stored
  int setStartMinute(const int& value);  ///< 0..59; else -308, and 0 is stored
  int setStartSecond(const int& value);  ///< 0..59; else -309, and 0 is stored
  int setEndYear(const int& value);      ///< as setStartYear
  int setEndMonth(const int& value);     ///< 1..12; else -305, and 0 is stored
  int setEndDay(const int& value);       ///< 1..31; else -306, and 0 is stored, which switches the end off
};

/// The unit of `intervalUnit` with its range, and what `detail` says.
enum ScheduleIntervalType : std::uint32_t {
  kEveryMinutes = 0,        ///< 1..1000; detail is not read
  kEveryHours = 1,          ///< 1..24; detail is not read
  kEveryDays = 2,           ///< 1..31; detail is not read
  kEveryWeeks = 3,          ///< 1..52; 0 Sunday .. 6 Saturday, 7 the weekday of the start
  kMonthsOnDay = 4,         ///< 1..12; day of the month, one past its end is its last
  kMonthsOnNthWeekday = 5,  ///< 1..12; (n - 1) * 7 + d, d = 1 Monday .. 7 Sunday; a missing n-th is the last
  kEveryYears = 6,          ///< 1..10; detail is not read
};

/// What the setters and `computeNextTime` answer beside 0.
enum ScheduleResult : int {
  kNotConvertible = -301,  ///< a local date and time has no place in time, or the rule can never reach one
  kPastEnd = -302,         ///< the next run lies after 23:59:59 of the end day
  kBadIntervalUnit = -303,
  kBadDetail = -304,
  kBadMonth = -305,
  kBadDay = -306,
  kBadHour = -307,
  kBadMinute = -308,
  kBadSecond = -309,
  kBadRecurring = -310,
  kBadIntervalType = -311,
};

/// Finds the next run of `rule` that is later than the clock and not before the rule's start.
///
/// `time`, in seconds since the epoch, goes in as the reference that steps are counted from and comes out as the run.
/// With `allowReference` 0 the rule is stepped at least once; otherwise the reference, moved to the day that the
/// rule asks for, may itself be the run.
/// Answers 0; kPastEnd, and `time` is the run that came too late; or kNotConvertible, and `time` is what the last
/// conversion towards a run gave, -1 when it was the one that failed.
/// A rule whose values passed the setters always ends, also with detail 0 or an interval unit that was never set.
/// Reads the clock once. Keeps nothing between calls; any thread.
int computeNextTime(const ScheduleCalculator& rule, time64& time, int allowReference);

}  // namespace mesk
