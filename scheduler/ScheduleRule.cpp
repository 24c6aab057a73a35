#include <scheduler/ScheduleRule.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <string_view>

namespace mesk::host {

namespace {

struct Interval {
  const char* singular;
  const char* plural;
  int type;
  int most;  // units of it
};

constexpr std::array<Interval, 6> kIntervals{{{"minute", "minutes", ScheduleRule::kMinutes, 1000},
                                              {"hour", "hours", ScheduleRule::kHours, 24},
                                              {"day", "days", ScheduleRule::kDays, 31},
                                              {"week", "weeks", ScheduleRule::kWeeks, 52},
                                              {"month", "months", ScheduleRule::kMonthsOnDay, 12},
                                              {"year", "years", ScheduleRule::kYears, 10}}};
constexpr std::array<const char*, 7> kWeekdays{"sunday",   "monday", "tuesday", "wednesday",
                                               "thursday", "friday", "saturday"};
constexpr std::array<const char*, 6> kOrdinals{"first", "second", "third", "fourth", "fifth", "last"};
constexpr int kStartsWeekday = 7;
constexpr int kStartsDay = 0;  // of a month, until the start is known
constexpr int kAfterEnd = 1;

constexpr std::string_view kAfterEndWords = " after the end of the previous run";

std::string lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text;
}

// "second", "tuesday" of "second  Tuesday"; the second is empty when there is one word.
std::array<std::string, 2> twoWords(const std::string& given) {
  const std::string text = lower(given);
  const std::size_t end = std::min(text.find(' '), text.size());
  const std::size_t next = std::min(text.find_first_not_of(' ', end), text.size());
  return {text.substr(0, end), text.substr(next)};
}

// The place of `word` among `words`, or -1.
template <std::size_t count>
int placeOf(const std::string& word, const std::array<const char*, count>& words) {
  for (std::size_t i = 0; i < count; ++i) {
    if (word == words[i]) return static_cast<int>(i);
  }
  return -1;
}

const Interval& intervalOf(int type) {
  if (type == ScheduleRule::kMonthsOnWeekday) type = ScheduleRule::kMonthsOnDay;
  return *std::find_if(kIntervals.begin(), kIntervals.end() - 1, [type](const Interval& i) { return i.type == type; });
}

bool isMonths(int type) { return type == ScheduleRule::kMonthsOnDay || type == ScheduleRule::kMonthsOnWeekday; }

// Whether `text` is digits where `pattern` has 0 and the same character elsewhere.
bool hasShape(std::string_view text, std::string_view pattern) {
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                    [](char c, char shape) { return shape == '0' ? c >= '0' && c <= '9' : c == shape; });
}

int number(const std::string& text, std::size_t at, std::size_t count) {
  int value = 0;
  std::from_chars(text.data() + at, text.data() + std::min(at + count, text.size()), value);
  return value;
}

// yyyyMMdd of a day that the calendar has, from "yyyy-MM-dd".
std::string dateFrom(const std::string& text) {
  const std::chrono::year_month_day day{std::chrono::year(number(text, 0, 4)),
                                        std::chrono::month(static_cast<unsigned>(number(text, 5, 2))),
                                        std::chrono::day(static_cast<unsigned>(number(text, 8, 2)))};
  if (!day.ok()) throw FormatError("the calendar has no day " + text.substr(0, 10));
  if (day.year() < std::chrono::year(1970)) throw FormatError("expected a year from 1970 to 9999");
  return text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
}

std::string dateText(const std::string& date) {
  return date.size() != 8 ? date : date.substr(0, 4) + "-" + date.substr(4, 2) + "-" + date.substr(6, 2);
}

}  // namespace

bool ScheduleRule::operator==(const ScheduleRule& other) const {
  return intervalType == other.intervalType && intervalUnit == other.intervalUnit && detail == other.detail &&
         recurring == other.recurring && startDate == other.startDate && startTime == other.startTime &&
         endDate == other.endDate;
}

void setInterval(ScheduleRule& rule, const std::string& text) {
  auto [count, name] = twoWords(text);
  if (name.empty()) {
    name = count;
    count = "1";
  }
  for (const Interval& interval : kIntervals) {
    if (name != interval.singular && name != interval.plural) continue;
    try {
      rule.intervalUnit = static_cast<int>(numberFromText(count, 1, interval.most));
    } catch (const FormatError&) {
      throw FormatError(std::string("expected 1 to ") + std::to_string(interval.most) + " " + interval.plural);
    }
    rule.intervalType = interval.type;
    rule.detail = interval.type == ScheduleRule::kWeeks ? kStartsWeekday : kStartsDay;
    return;
  }
  throw FormatError("expected an interval such as 15 minutes, 2 hours, day, week, 3 months or year");
}

std::string intervalText(const ScheduleRule& rule) {
  const Interval& interval = intervalOf(rule.intervalType);
  if (rule.intervalUnit == 1) return interval.singular;
  return std::to_string(rule.intervalUnit) + " " + interval.plural;
}

void setOn(ScheduleRule& rule, const std::string& text) {
  const auto [first, second] = twoWords(text);
  if (rule.intervalType == ScheduleRule::kWeeks) {
    const int day = placeOf(first, kWeekdays);
    if (day < 0 || !second.empty()) throw FormatError("expected a weekday, sunday to saturday");
    rule.detail = day;
    return;
  }
  if (!isMonths(rule.intervalType)) throw FormatError("only weeks and months have an 'on'");
  if (first == "day") {
    try {
      rule.detail = static_cast<int>(numberFromText(second, 1, 31));
    } catch (const FormatError&) {
      throw FormatError("expected a day of the month, day 1 to day 31");
    }
    rule.intervalType = ScheduleRule::kMonthsOnDay;
  } else if (first == "last" && second == "day") {
    rule.intervalType = ScheduleRule::kMonthsOnDay;
    rule.detail = 31;  // in a shorter month that is its last day
  } else {
    const int ordinal = placeOf(first, kOrdinals);
    const int day = placeOf(second, kWeekdays);
    if (ordinal < 0 || day < 0) {
      throw FormatError("expected a day of the month such as day 31, last day, second tuesday or last friday");
    }
    rule.intervalType = ScheduleRule::kMonthsOnWeekday;
    rule.detail = ordinal * 7 + (day == 0 ? 7 : day);
  }
}

std::string onText(const ScheduleRule& rule) {
  if (rule.intervalType == ScheduleRule::kWeeks && rule.detail >= 0 && rule.detail < kStartsWeekday) {
    return kWeekdays[static_cast<std::size_t>(rule.detail)];
  }
  if (rule.intervalType == ScheduleRule::kMonthsOnDay) return "day " + std::to_string(rule.detail);
  if (rule.intervalType == ScheduleRule::kMonthsOnWeekday && rule.detail >= 1 && rule.detail <= 42) {
    const auto place = static_cast<std::size_t>(rule.detail - 1);
    return std::string(kOrdinals[place / 7]) + " " + kWeekdays[(place % 7 + 1) % 7];
  }
  return {};
}

void setAfterEnd(ScheduleRule& rule) {
  if (rule.intervalType > ScheduleRule::kDays) {
    throw FormatError("only minutes, hours and days can be counted from the end of the previous run");
  }
  rule.detail = kAfterEnd;
}

bool isAfterEnd(const ScheduleRule& rule) {
  return rule.intervalType <= ScheduleRule::kDays && rule.detail == kAfterEnd;
}

void setStart(ScheduleRule& rule, const std::string& text) {
  const bool seconds = hasShape(text, "0000-00-00 00:00:00");
  if (!seconds && !hasShape(text, "0000-00-00 00:00")) {
    throw FormatError("expected a date and a time such as 2026-12-24 18:00");
  }
  rule.startDate = dateFrom(text);
  if (number(text, 11, 2) > 23 || number(text, 14, 2) > 59 || (seconds && number(text, 17, 2) > 59)) {
    throw FormatError("expected a time from 00:00 to 23:59:59");
  }
  rule.startTime = text.substr(11, 2) + text.substr(14, 2) + (seconds ? text.substr(17, 2) : "00");
  if (rule.intervalType == ScheduleRule::kMonthsOnDay && rule.detail == kStartsDay) {
    rule.detail = number(rule.startDate, 6, 2);
  }
}

std::string startText(const ScheduleRule& rule) {
  const std::string& time = rule.startTime;
  const std::string shown =
      time.size() != 6 ? time : time.substr(0, 2) + ":" + time.substr(2, 2) + ":" + time.substr(4, 2);
  return dateText(rule.startDate) + " " + shown;
}

void setEnd(ScheduleRule& rule, const std::string& text) {
  if (!hasShape(text, "0000-00-00")) throw FormatError("expected a date such as 2026-12-31");
  const std::string date = dateFrom(text);
  if (date < rule.startDate) throw FormatError("the end is before the start");
  rule.endDate = date;
}

std::string endText(const ScheduleRule& rule) { return dateText(rule.endDate); }

std::string wordsOf(const ScheduleRule& rule) {
  if (rule.recurring == 0) return "once at " + startText(rule);
  std::string words = "every " + intervalText(rule);
  if (const std::string on = onText(rule); !on.empty()) words += " on " + on;
  if (isAfterEnd(rule)) words += kAfterEndWords;
  words += " from " + startText(rule);
  if (!rule.endDate.empty()) words += " until " + endText(rule);
  return words;
}

ScheduleRule ruleFromWords(const std::string& given) {
  std::string words = lower(given);
  ScheduleRule rule;
  if (words.starts_with("once at ")) {
    rule.recurring = 0;
    setStart(rule, words.substr(8));
    return rule;
  }
  if (!words.starts_with("every ")) throw FormatError("expected 'every ..' or 'once at ..'");
  words.erase(0, 6);
  // From the back, each part is cut off at the word that begins it.
  const auto cut = [&words](std::string_view mark) {
    const std::size_t at = words.rfind(mark);
    if (at == std::string::npos) return std::string();
    std::string part = words.substr(at + mark.size());
    words.resize(at);
    return part;
  };
  const std::string end = cut(" until ");
  const std::string start = cut(" from ");
  const bool afterEnd = words.ends_with(kAfterEndWords);
  if (afterEnd) words.resize(words.size() - kAfterEndWords.size());
  const std::string on = cut(" on ");
  setInterval(rule, words);
  if (!on.empty()) setOn(rule, on);
  if (afterEnd) setAfterEnd(rule);
  setStart(rule, start);
  if (!end.empty()) setEnd(rule, end);
  return rule;
}

}  // namespace mesk::host
