// What is foretold beside what a scheduler comes to, for a million rules: both ask the calculator.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <mesk/schedule/ScheduleFixture.h>
#include <scheduler/Foretelling.h>
#include <scheduler/RandomRule.h>
#include <scheduler/Scratch.h>

#include "RuleCalculator.h"

namespace mesk::host {
namespace {

constexpr std::size_t kRules = 1'000'000;
constexpr std::size_t kRuns = 4;
constexpr std::int64_t kSecond = 1000;

using After = std::function<std::optional<std::int64_t>(std::int64_t)>;

struct Case {
  ScheduleRule rule;
  std::int64_t first;  ///< what is in the queue
  std::int64_t now;    ///< may be later
  bool replay;
};

/// What the scheduler goes on with after an instant: with the clock at it.
struct Calculated {
  ScheduleCalculator calculator;
  int recurring;

  std::optional<std::int64_t> operator()(std::int64_t instant) const {
    if (recurring == 0) return std::nullopt;
    const ClockAt then(instant);
    time64 time = instant / kSecond;
    if (computeNextTime(calculator, time, 0) != 0) return std::nullopt;
    return time * kSecond;
  }
};

template <class Next>
std::vector<std::int64_t> foretold(const Case& c, const Next& after) {
  std::vector<std::int64_t> runs;
  eachInstant(c.rule, c.first, c.now, c.replay, after, [&](auto, std::int64_t instant) {
    runs.push_back(instant);
    return runs.size() < kRuns;
  });
  return runs;
}

/// A scheduler that looks at its queue as time goes by: a passed instant is missed when the one after it has passed as
/// well, unless the task wants each; the run queues the next instant, or its end does.
template <class Next>
std::vector<std::int64_t> fired(const Case& c, const Next& after) {
  std::vector<std::int64_t> runs;
  std::int64_t now = c.now;
  for (std::optional<std::int64_t> queued = c.first; queued && runs.size() < kRuns;) {
    now = std::max(now, *queued);
    std::int64_t instant = *queued;
    const bool fromEnd = isAfterEnd(c.rule);
    auto next = fromEnd ? after(now) : after(instant);
    while (!fromEnd && !c.replay && next && *next <= now && *next > instant) {
      instant = *next;
      next = after(instant);
    }
    // The one in the queue is foretold as overdue, whichever of those that passed runs in its place.
    runs.push_back(*queued);
    if (next && *next <= instant) break;
    queued = next;
  }
  return runs;
}

class Dice {
 public:
  explicit Dice(std::uint64_t seed) : random_(seed) {}

  /// Near the changes of the clocks in many cases: most start between midnight and four.
  Case next() {
    Case c;
    c.rule = randomRule(random_);
    c.rule.startDate = "20150101";  // before what is in the queue, as always
    if (c.rule.recurring != 0 && between(0, 1) == 0) c.rule.startTime = "0" + std::to_string(between(0, 3)) + "3000";
    const int hour = std::stoi(c.rule.startTime.substr(0, 2));
    constexpr time64 k2020 = 1577836800;
    c.first = (k2020 + 86400LL * between(0, 3650) + 3600 * hour + 1800) * kSecond;
    // Hours and minutes that passed by the thousand would only take time.
    const bool overdue = c.rule.intervalType >= ScheduleRule::kDays && between(0, 2) == 0;
    c.now = c.first - 1000 + (overdue ? 86400LL * between(0, 60) * kSecond : 0);
    c.replay = between(0, 3) == 0;
    return c;
  }

 private:
  int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }
  std::mt19937_64 random_;
};

const char* const kZones[] = {"Europe/Berlin", "America/New_York", "Australia/Lord_Howe", "Pacific/Auckland", "UTC"};

struct Comparison {
  std::size_t compared = 0;
  std::size_t several = 0;  ///< rules with more than one run
  std::size_t overdue = 0;
  std::string difference;
};

/// Stops at the first difference. `wrong`, if any, is asked in place of the calculator for what is foretold.
Comparison compare(std::uint64_t seed, std::size_t rules,
                   const std::function<After(const Case&, const Calculated&)>& wrong) {
  Comparison result;
  for (std::size_t zone = 0; zone < std::size(kZones) && result.difference.empty(); ++zone) {
    const InZone inZone(kZones[zone]);
    Dice dice(seed + zone);
    for (std::size_t i = 0; i < rules / std::size(kZones); ++i) {
      const Case c = dice.next();
      const Calculated after{calculatorOf(c.rule), c.rule.recurring};
      const auto said = wrong ? foretold(c, wrong(c, after)) : foretold(c, after);
      const auto done = fired(c, after);
      ++result.compared;
      if (done.size() > 1) ++result.several;
      if (c.now > c.first) ++result.overdue;
      if (said == done) continue;
      std::ostringstream out;
      out << kZones[zone] << ": " << wordsOf(c.rule) << ", now " << shown(c.now / kSecond) << ", foretold";
      for (const std::int64_t run : said) out << ' ' << shown(run / kSecond);
      out << ", fired";
      for (const std::int64_t run : done) out << ' ' << shown(run / kSecond);
      result.difference = out.str();
      break;
    }
  }
  return result;
}

TEST(ForetellingTest, WhatIsForetoldForAMillionRulesIsWhatASchedulerFires) {
  const Comparison result = compare(randomSeed(), kRules, nullptr);
  EXPECT_EQ(result.difference, "");
  EXPECT_EQ(result.compared, kRules);
  EXPECT_GT(result.several, kRules / 2) << "too few rules run again to prove anything";
  EXPECT_GT(result.overdue, kRules / 10);
}

/// A comparison that cannot fail proves nothing.
TEST(ForetellingTest, EveryMistakePlantedInWhatIsForetoldIsFound) {
  struct Mistake {
    const char* what;
    std::function<After(const Case&, const Calculated&)> after;
  };
  const auto sinceNow = [](const Case& c, const Calculated& after) -> After {
    // One long step over all that passed, in place of several short ones.
    return [&](std::int64_t instant) -> std::optional<std::int64_t> {
      if (after.recurring == 0) return std::nullopt;
      const ClockAt then(std::max(instant, c.now));
      time64 time = instant / kSecond;
      if (computeNextTime(after.calculator, time, 0) != 0) return std::nullopt;
      return time * kSecond;
    };
  };
  const auto second = [](const Case&, const Calculated& after) -> After {
    return [&](std::int64_t instant) -> std::optional<std::int64_t> {
      const auto next = after(instant);
      return next ? std::optional(*next + kSecond) : next;
    };
  };
  const auto once = [](const Case&, const Calculated&) -> After {
    return [](std::int64_t) -> std::optional<std::int64_t> { return std::nullopt; };
  };
  for (const Mistake& mistake : {Mistake{"one long step", sinceNow}, Mistake{"a second late", second},
                                 Mistake{"nothing after the first", once}}) {
    EXPECT_NE(compare(randomSeed(), 200'000, mistake.after).difference, "") << mistake.what;
  }
}

}  // namespace
}  // namespace mesk::host
