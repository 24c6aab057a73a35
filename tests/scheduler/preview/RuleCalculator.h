// A rule of the host as the library's calculator takes it.
#pragma once

#include <stdexcept>
#include <string>

#include <mesk/schedule/ScheduleCalculator.h>
#include <scheduler/ScheduleRule.h>

namespace mesk::host {

inline ScheduleCalculator calculatorOf(const ScheduleRule& rule) {
  ScheduleCalculator calculator;
  const auto number = [](const std::string& text, std::size_t at, std::size_t count) {
    return std::stoi(text.substr(at, count));
  };
  const auto accept = [](int code) {
    if (code != 0) throw std::invalid_argument("a setter answered " + std::to_string(code));
  };
  accept(calculator.setRecurring(rule.recurring));
  accept(calculator.setIntervalType(rule.intervalType));
  accept(calculator.setIntervalUnit(rule.intervalUnit));
  accept(calculator.setDetail(rule.detail));
  accept(calculator.setStartYear(number(rule.startDate, 0, 4)));
  accept(calculator.setStartMonth(number(rule.startDate, 4, 2)));
  accept(calculator.setStartDay(number(rule.startDate, 6, 2)));
  accept(calculator.setStartHour(number(rule.startTime, 0, 2)));
  accept(calculator.setStartMinute(number(rule.startTime, 2, 2)));
  accept(calculator.setStartSecond(number(rule.startTime, 4, 2)));
  if (!rule.endDate.empty()) {
    accept(calculator.setEndYear(number(rule.endDate, 0, 4)));
    accept(calculator.setEndMonth(number(rule.endDate, 4, 2)));
    accept(calculator.setEndDay(number(rule.endDate, 6, 2)));
  }
  return calculator;
}

}  // namespace mesk::host
