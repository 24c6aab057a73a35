// Any schedule rule that the store takes.
#pragma once

#include <cstdio>
#include <random>

#include <scheduler/ScheduleRule.h>

namespace mesk::host {

inline ScheduleRule randomRule(std::mt19937_64& random) {
  const auto between = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const auto date = [&](int firstYear, int lastYear) {
    char text[16];
    std::snprintf(text, sizeof text, "%04d%02d%02d", between(firstYear, lastYear), between(1, 12), between(1, 28));
    return std::string(text);
  };
  ScheduleRule rule;
  char time[16];
  std::snprintf(time, sizeof time, "%02d%02d%02d", between(0, 23), between(0, 59), between(0, 59));
  rule.startDate = date(1970, 2100);
  rule.startTime = time;
  if (between(0, 5) == 0) {
    rule.recurring = 0;
    return rule;
  }
  constexpr int kMost[] = {1000, 24, 31, 52, 12, 12, 10};
  rule.intervalType = between(0, 6);
  rule.intervalUnit = between(1, kMost[rule.intervalType]);
  if (rule.intervalType <= 2) rule.detail = between(0, 1);
  if (rule.intervalType == 3) rule.detail = between(0, 7);
  if (rule.intervalType == 4) rule.detail = between(1, 31);
  if (rule.intervalType == 5) rule.detail = between(1, 42);
  if (between(0, 1) == 0) rule.endDate = date(2101, 9999);
  return rule;
}

}  // namespace mesk::host
