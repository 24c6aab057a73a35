// The calculator: its setters by their table, and what it computes beside plain stepping.
#include <mesk/schedule/ScheduleCalculator.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <string>

#include <mesk/schedule/PlainStepping.h>
#include <mesk/schedule/ScheduleFixture.h>

#include "Fuzz.h"

namespace mesk::fuzz {
namespace {

using plain::Slip;
using plain::Stepping;
using Rule = ScheduleCalculator;

// North and south, half an hour, no change at all, a rule without a file, a day that was left out, a negative summer.
constexpr const char* kZones[] = {"Europe/Berlin", "America/New_York",           "Australia/Lord_Howe",
                                  "UTC",           "CET-1CEST,M3.5.0,M10.5.0/3", "Pacific/Apia",
                                  "Europe/Dublin", "America/Sao_Paulo"};

struct Setter {
  int (Rule::*set)(const int&);
  std::uint32_t Rule::*field;
  std::uint32_t lowest, highest;
  int code;
  std::uint32_t fallback;
};
constexpr Setter kSetters[] = {{&Rule::setRecurring, &Rule::recurring, 0, 1, -310, 0},
                               {&Rule::setIntervalType, &Rule::intervalType, 0, 6, -311, 0},
                               {&Rule::setDetail, &Rule::detail, 0, 42, -304, 0},
                               {&Rule::setStartMonth, &Rule::startMonth, 1, 12, -305, 1},
                               {&Rule::setStartDay, &Rule::startDay, 1, 31, -306, 1},
                               {&Rule::setStartHour, &Rule::startHour, 0, 23, -307, 0},
                               {&Rule::setStartMinute, &Rule::startMinute, 0, 59, -308, 0},
                               {&Rule::setStartSecond, &Rule::startSecond, 0, 59, -309, 0},
                               {&Rule::setEndMonth, &Rule::endMonth, 1, 12, -305, 0},
                               {&Rule::setEndDay, &Rule::endDay, 1, 31, -306, 0}};
constexpr std::uint32_t kMostUnits[] = {1000, 24, 31, 52, 12, 12, 10};

bool sameFields(const Rule& a, const Rule& b) {
  return a.startYear == b.startYear && a.endYear == b.endYear && a.intervalUnit == b.intervalUnit &&
         std::all_of(std::begin(kSetters), std::end(kSetters),
                     [&](const Setter& setter) { return a.*setter.field == b.*setter.field; });
}

/// A value that is mostly one that a rule can have.
int valueFrom(Bytes& input) {
  return input.below(16) == 15 ? input.number<std::int32_t>() : static_cast<int>(input.number<std::uint16_t>() % 70);
}

void setField(Rule& rule, const Setter& setter, int value) {
  Rule expected = rule;
  const auto number = static_cast<std::uint32_t>(value);
  const bool accepted = number >= setter.lowest && number <= setter.highest;
  expected.*setter.field = accepted ? number : setter.fallback;
  if (planted("a value that is out of range is stored") && !accepted) expected.*setter.field = number;
  claim((rule.*setter.set)(value) == (accepted ? 0 : setter.code), "a setter answers another code");
  claim(sameFields(rule, expected), "a setter stores something else");
}

void setUnit(Rule& rule, int value) {
  Rule expected = rule;
  const auto number = static_cast<std::uint32_t>(value);
  const bool accepted = rule.intervalType < 7 && number >= 1 && number <= kMostUnits[rule.intervalType];
  if (accepted) expected.intervalUnit = number;
  claim(rule.setIntervalUnit(value) == (accepted ? 0 : -303), "the unit's setter answers another code");
  claim(sameFields(rule, expected), "the unit's setter stores something else");
}

void setYear(Rule& rule, bool end, int value) {
  Rule expected = rule;
  (end ? expected.endYear : expected.startYear) = value > 1900 ? value - 1900 : value;
  claim((end ? rule.setEndYear(value) : rule.setStartYear(value)) == 0, "a year is refused");
  claim(sameFields(rule, expected), "a year's setter stores something else");
}

Rule ruleFrom(Bytes& input) {
  Rule rule;
  rule.detail = 0;
  rule.recurring = 0;
  rule.setIntervalType(static_cast<int>(input.below(7)));
  rule.setIntervalUnit(1);
  setYear(rule, false, 1990 + static_cast<int>(input.below(60)));
  const std::size_t count = input.below(16);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t which = input.below(std::size(kSetters) + 3);
    const int value = valueFrom(input);
    if (which < std::size(kSetters)) {
      setField(rule, kSetters[which], value);
    } else if (which == std::size(kSetters)) {
      setUnit(rule, value);
    } else {
      const bool end = which == std::size(kSetters) + 1;
      // Two digits are years of these days.
      setYear(rule, end, value >= 0 && value < 70 ? 1990 + value : value);
    }
  }
  return rule;
}

/// A moment of 1970 to 2106; now and then of other millennia.
time64 momentFrom(Bytes& input) {
  const time64 moment = input.number<std::uint32_t>();
  return input.below(16) == 15 ? (moment - (time64{1} << 31)) * 100 : moment;
}

/// Up to a minute, an hour, days, years.
time64 distanceFrom(Bytes& input) {
  constexpr time64 kUnits[] = {1, 60, 3600, 86400};
  return input.number<std::int16_t>() * input.oneOf(kUnits) / 8;
}

/// The zone stays in force until an input asks for another, which is slow.
void goTo(const std::string& zone) {
  static std::string current;
  if (zone == current) return;
  current = zone;
  ::setenv("TZ", current.c_str(), 1);
  ::tzset();
}

Slip slipOf() {
  if (planted("no third try")) return Slip::kNoThirdTry;
  if (planted("the flag of a day is not carried")) return Slip::kDayFlagNotCarried;
  if (planted("a leap day is kept")) return Slip::kLeapDayKept;
  if (planted("a run that is not later than the clock")) return Slip::kNotLater;
  return Slip::kNone;
}

}  // namespace

void run(Bytes& input) {
  const std::string zone = input.oneOf(kZones);
  goTo(zone);
  const bool allowReference = input.flag();
  const time64 reference = momentFrom(input);
  const time64 now = input.below(8) == 7 ? momentFrom(input) : reference + distanceFrom(input);
  const Rule rule = ruleFrom(input);

  // Beyond the table's times steps are made one by one, from wherever the reference is: a rule of minutes that begins
  // in the year two milliards is computed, but not today.
  constexpr int kFarthestYear = 30000;
  for (const std::int64_t year : {rule.startYear, rule.endYear}) {
    if (year < -kFarthestYear || year > kFarthestYear) return;
  }

  const Outcome outcome = computed(rule, now, reference, allowReference ? 1 : 0);
  const Outcome again = computed(rule, now, reference, allowReference ? 1 : 0);
  claim(outcome.code == again.code && outcome.time == again.time, "the same computation twice differs");
  claim(outcome.code == 0 || outcome.code == kNotConvertible || outcome.code == kPastEnd, "a code that there is not");
  claim(outcome.code == kNotConvertible || outcome.time > now, "a run that is not later than the clock");
  claim(outcome.code != kPastEnd || rule.endDay != 0, "past an end that there is not");

  const auto expected = Stepping(rule, slipOf(), 300).next(now, reference, allowReference);
  if (!expected) return;
  claim(outcome.code == expected->code && (outcome.code == kNotConvertible || outcome.time == expected->time),
        "in " + zone + ": computed " + std::to_string(outcome.code) + " " + std::to_string(outcome.time) +
            ", by plain stepping " + std::to_string(expected->code) + " " + std::to_string(expected->time));
}

}  // namespace mesk::fuzz
