// A schedule rule, in numbers as the store keeps it and in words as people say it.
#pragma once

#include <string>

#include <scheduler/Units.h>

namespace mesk::host {

/// The fields of a rule's record. Dates are yyyyMMdd, times HHmmss, in the scheduler's zone.
struct ScheduleRule {
  enum Type : int { kMinutes = 0, kHours, kDays, kWeeks, kMonthsOnDay, kMonthsOnWeekday, kYears };

  int intervalType = kDays;
  int intervalUnit = 1;
  /// Weeks: weekday, 0 = Sunday, 7 = that of the start. Months on a day: 1..31. Months on a weekday:
  /// (n - 1) * 7 + d with d = 1 Monday .. 7 Sunday and n = 6 the last. Minutes, hours and days: 1 when
  /// the interval is counted from the end of the run before.
  int detail = 0;
  int recurring = 1;  ///< 0: once, at the start
  std::string startDate;
  std::string startTime;
  std::string endDate;  ///< last day; empty for no end
  int line = 0;         ///< where a task file has it; no part of the rule

  bool operator==(const ScheduleRule& other) const;
};

/// "every 15 minutes after the end of the previous run from 2026-01-01 00:00:00 until 2026-12-31",
/// "every month on second tuesday from ..", "once at 2026-12-24 18:00:00".
std::string wordsOf(const ScheduleRule& rule);

/// The rule that these words say. Throws `FormatError`.
ScheduleRule ruleFromWords(const std::string& words);

/// The parts of those words. Letter case does not matter in what is read. All throw `FormatError`.
/// "every": an interval, "15 minutes" or "day"; sets type (months: on a day), unit and the usual detail.
void setInterval(ScheduleRule& rule, const std::string& text);
std::string intervalText(const ScheduleRule& rule);

/// "on": "monday" for weeks; "day 31", "last day", "second tuesday", "last friday" for months. The
/// interval must have been set.
void setOn(ScheduleRule& rule, const std::string& text);
std::string onText(const ScheduleRule& rule);  ///< empty when nothing need be said

/// Counts from the end of the run before; only minutes, hours and days can.
void setAfterEnd(ScheduleRule& rule);
bool isAfterEnd(const ScheduleRule& rule);

/// "2026-12-24 18:00" or "2026-12-24 18:00:30". Months on a day that no `setOn` named are then on
/// that of the start.
void setStart(ScheduleRule& rule, const std::string& text);
std::string startText(const ScheduleRule& rule);

/// "2026-12-31". Not before the start.
void setEnd(ScheduleRule& rule, const std::string& text);
std::string endText(const ScheduleRule& rule);

}  // namespace mesk::host
