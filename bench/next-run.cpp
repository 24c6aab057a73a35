// What does the next run of a rule cost, beside plain stepping and beside other schedulers' calculators, and how does
// that grow with the distance of the reference?
//
//   bench-next-run [--svg FILE] [--quick]
//
// All are asked in turn in the same rounds. Times are of the processor, as each thread used it. Ends with 1 when the
// library and plain stepping answer differently.
#include <fmt/format.h>
#include <gnu/libc-version.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <exception>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <mesk/schedule/AllocationCount.h>
#include <mesk/schedule/Zones.h>

#include "NextRun.h"
#include "Plot.h"
#include "Ratio.h"

namespace {

using namespace mesk;
using namespace mesk::bench;

const std::string kBerlin = "Europe/Berlin";
const char* const kClock = "2026-07-15 12:07:00";  // a Wednesday, in the zone of the question

/// A rule, a run of it ten years ago, and the latest.
struct Subject {
  NextRunRule rule;
  const char* tenYearsAgo;
  const char* latest;
  const char* whyDifferent = "";
};

const std::vector<Subject>& subjects() {
  static const std::vector<Subject> all = {
      {{"every minute", kEveryMinutes, 1, 0, "0 * * * * ?", "MINUTE 1", "FREQ=MINUTELY", "interval;minutes=1"},
       "2016-07-15 12:07:00",
       "2026-07-15 12:07:00"},
      {{"every 15 minutes", kEveryMinutes, 15, 0, "0 0/15 * * * ?", "MINUTE 15", "FREQ=MINUTELY;INTERVAL=15",
        "interval;minutes=15"},
       "2016-07-15 12:00:00",
       "2026-07-15 12:00:00"},
      {{"every hour", kEveryHours, 1, 0, "0 0 * * * ?", "HOUR 1", "FREQ=HOURLY", "interval;hours=1"},
       "2016-07-15 12:00:00",
       "2026-07-15 12:00:00"},
      {{"daily at 02:30", kEveryDays, 1, 0, "0 30 2 * * ?", "DAY 1", "FREQ=DAILY", "hour=2;minute=30"},
       "2016-07-15 02:30:00",
       "2026-07-15 02:30:00"},
      {{"Mondays at 09:00", kEveryWeeks, 1, 1, "0 0 9 ? * MON", "WEEK 1", "FREQ=WEEKLY;BYDAY=MO",
        "day_of_week=mon;hour=9"},
       "2016-07-11 09:00:00",
       "2026-07-13 09:00:00"},
      {{"last day of the month", kMonthsOnDay, 1, 31, "0 0 23 L * ?", "MONTH 1", "FREQ=MONTHLY;BYMONTHDAY=-1",
        "day=last;hour=23"},
       "2016-06-30 23:00:00",
       "2026-06-30 23:00:00",
       "Months on from the 30th is the 30th: an interval of months does not know the last day."},
      {{"second Tuesday", kMonthsOnNthWeekday, 1, 9, "0 0 6 ? * TUE#2", "", "FREQ=MONTHLY;BYDAY=2TU",
        "day=2nd tue;hour=6"},
       "2016-07-12 06:00:00",
       "2026-07-14 06:00:00"},
      {{"yearly on 1 July", kEveryYears, 1, 0, "0 0 4 1 7 ?", "YEAR 1", "FREQ=YEARLY", "month=7;day=1;hour=4"},
       "2016-07-01 04:00:00",
       "2026-07-01 04:00:00"},
      {{"yearly on 29 February", kEveryYears, 1, 0, "0 0 4 29 2 ?", "YEAR 1", "FREQ=YEARLY", "month=2;day=29;hour=4"},
       "2016-02-29 04:00:00",
       "2026-03-01 04:00:00",
       "The library keeps the anniversary, 1 March and so on every year; others wait for the next 29 February, or move "
       "it to the 28th."},
  };
  return all;
}

/// The local time `text` in the zone of the process.
time64 local(const char* text) {
  std::tm fields{};
  if (::strptime(text, "%Y-%m-%d %H:%M:%S", &fields) == nullptr) throw std::invalid_argument(text);
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

std::string shown(time64 seconds) {
  const std::time_t time = seconds;
  std::tm fields{};
  ::localtime_r(&time, &fields);
  char text[32] = "";
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &fields);
  return text;
}

// ---- measuring -----------------------------------------------------------------------------------------------------

struct Spread {
  double median = 0;
  double low = 0;   ///< 10th percentile
  double high = 0;  ///< 90th

  static Spread of(const std::vector<double>& values) {
    return {quantile(values, 0.5), quantile(values, 0.1), quantile(values, 0.9)};
  }
};

/// What one contender did with a question.
struct Result {
  time64 next;
  Spread microseconds;
  Spread ratio;  ///< to the library in the same round
};

/// Results by contender, in their order; null where one cannot answer.
using Results = std::vector<std::optional<Result>>;

struct Effort {
  double warmUp;  ///< microseconds for which each is asked before it counts
  double sample;  ///< microseconds for which each is asked in a round, if one answer is not longer
  double rounds;  ///< microseconds for all rounds of a question
};

constexpr Effort kFull = {400'000, 4'000, 1'500'000};
constexpr Effort kQuick = {20'000, 500, 50'000};

/// Asks the first `count` contenders; no one else when the library, the first, has no answer.
Results measured(const Field& field, std::size_t count, const Question& question, const Effort& effort) {
  Results results(count);
  std::vector<int> repeats(count, 1);
  double round = 0;
  for (std::size_t i = 0; i < count; ++i) {
    Contender& contender = *field.contenders[i];
    auto reply = contender.ask(question, 1);
    if (i == 0 && !reply) return results;  // there is nothing to compare with
    if (!reply) continue;
    results[i] = Result{reply->next, {}, {}};
    for (double asked = 0; asked < effort.warmUp;) {
      repeats[i] = std::clamp(static_cast<int>(effort.sample / std::max(reply->microseconds, 0.01)), 1, 1'000'000);
      reply = contender.ask(question, repeats[i]);
      asked += std::max(reply->microseconds * repeats[i], 1.0);
    }
    round += reply->microseconds * repeats[i];
  }
  const int rounds = std::clamp(static_cast<int>(effort.rounds / round), 5, 41);
  std::vector<std::vector<double>> times(count);
  std::vector<std::vector<double>> ratios(count);
  for (int n = 0; n < rounds; ++n) {
    for (std::size_t i = 0; i < count; ++i) {
      if (!results[i]) continue;
      times[i].push_back(field.contenders[i]->ask(question, repeats[i])->microseconds);
      ratios[i].push_back(times[i].back() / times[0].back());
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (results[i]) {
      results[i]->microseconds = Spread::of(times[i]);
      results[i]->ratio = Spread::of(ratios[i]);
    }
  }
  return results;
}

/// About three digits.
std::string number(double value) {
  if (value >= 100) return fmt::format("{:.0f}", value);
  return value >= 10 ? fmt::format("{:.1f}", value) : fmt::format("{:.2f}", value);
}

std::string timeCell(const std::optional<Result>& result) {
  if (!result) return "–";
  const Spread& us = result->microseconds;
  return fmt::format("{} ({} to {})", number(us.median), number(us.low), number(us.high));
}

std::string ratioCell(const std::optional<Result>& result) {
  if (!result) return "–";
  const Spread& ratio = result->ratio;
  return fmt::format("{}, ×{} ({} to {})", number(result->microseconds.median), number(ratio.median), number(ratio.low),
                     number(ratio.high));
}

// ---- the rules -----------------------------------------------------------------------------------------------------

/// What the tables show, to hold the goals against.
struct Findings {
  bool differs = false;
  std::map<int, double> fromLatest;   ///< interval type to the least ratio of CronExpression to the library
  std::map<int, double> tenYearsAgo;  ///< interval type to the library's largest median
};

void heading(const Field& field) {
  std::string line = "| rule | reference | library, µs |";
  std::string below = "|---|---|---|";
  for (std::size_t i = 1; i < field.contenders.size(); ++i) {
    line += ' ' + field.contenders[i]->name() + " |";
    below += "---|";
  }
  fmt::print("{}\n{}\n", line, below);
}

/// Who answers something else than the library; empty when nobody does.
std::string differing(const Field& field, const Results& results) {
  std::string who;
  for (std::size_t i = 1; i < results.size(); ++i) {
    if (!results[i] || results[i]->next == results[0]->next) continue;
    who += fmt::format("{}{} {}", who.empty() ? "" : ", ", field.contenders[i]->name(), shown(results[i]->next));
  }
  return who;
}

Findings rulesTable(const Field& field, const Effort& effort) {
  const Zone zone(kBerlin);
  Findings findings;
  std::vector<std::string> notes;
  const auto cron = std::find_if(field.contenders.begin(), field.contenders.end(),
                                 [](const auto& contender) { return contender->name() == "CronExpression"; });
  const auto cronAt = static_cast<std::size_t>(cron - field.contenders.begin());
  fmt::print("\n## The next run of each rule, {}, the clock at {}\n\n", kBerlin, kClock);
  heading(field);
  for (const Subject& subject : subjects()) {
    for (const bool far : {false, true}) {
      const char* const reference = far ? subject.tenYearsAgo : subject.latest;
      const Results results =
          measured(field, field.contenders.size(), {&subject.rule, kBerlin, local(reference), local(kClock)}, effort);
      if (!results[0] || !results[1]) throw std::runtime_error("no answer from our own side: " + subject.rule.name);
      std::string line = fmt::format("| {} | {} | {} |", far ? "" : subject.rule.name,
                                     far ? "ten years ago" : "the latest run", timeCell(results[0]));
      for (std::size_t i = 1; i < results.size(); ++i) line += ' ' + ratioCell(results[i]) + " |";
      fmt::print("{}\n", line);
      std::fflush(stdout);
      if (const std::string who = differing(field, results); !who.empty()) {
        notes.push_back(fmt::format("{}, reference {}: the library answers {}; {}{}{}", subject.rule.name, reference,
                                    shown(results[0]->next), who, far ? ". " : "", far ? subject.whyDifferent : ""));
      }
      findings.differs = findings.differs || results[1]->next != results[0]->next;
      const int type = static_cast<int>(subject.rule.type);
      if (far) {
        double& most = findings.tenYearsAgo[type];
        most = std::max(most, results[0]->microseconds.median);
      } else if (cronAt < results.size() && results[cronAt]) {
        const double ratio = results[cronAt]->ratio.median;
        const auto [least, isNew] = findings.fromLatest.emplace(type, ratio);
        if (!isNew) least->second = std::min(least->second, ratio);
      }
    }
  }
  fmt::print("\nDifferent answers{}\n", notes.empty() ? ": none" : ":");
  for (const std::string& note : notes) fmt::print("- {}\n", note);
  return findings;
}

// ---- the distance --------------------------------------------------------------------------------------------------

struct Distance {
  const char* name;
  int years, days, hours;
  double inDays() const { return years * 365.25 + days + hours / 24.0; }
};

constexpr Distance kDistances[] = {
    {"1 hour", 0, 0, 1}, {"1 day", 0, 1, 0},     {"10 days", 0, 10, 0},  {"100 days", 0, 100, 0},
    {"1 year", 1, 0, 0}, {"10 years", 10, 0, 0}, {"30 years", 30, 0, 0}, {"100 years", 100, 0, 0},
};

/// `clock` less the distance in local time, on the rule's time of day.
time64 referenceAt(const Distance& distance, const NextRunRule& rule, time64 clock) {
  const std::time_t time = clock;
  std::tm fields{};
  ::localtime_r(&time, &fields);
  fields.tm_year -= distance.years;
  fields.tm_mday -= distance.days;
  fields.tm_hour -= distance.hours;
  if (rule.type >= kEveryDays) fields.tm_hour = 2;
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

/// How the cost grows for three rules in one zone; curves for the picture from the first of them.
std::vector<Curve> distanceTable(const Field& field, const std::string& zoneName, bool all, const Effort& effort) {
  const Zone zone(zoneName);
  const time64 clock = local(kClock);
  std::vector<Curve> curves(all ? field.contenders.size() : 2);
  for (std::size_t i = 0; i < curves.size(); ++i) curves[i].name = field.contenders[i]->name();

  fmt::print("\n## The distance of the reference, {}\n\n", zoneName);
  fmt::print(
      "| reference | clock changes | every minute: library, µs | plain stepping | daily: library, µs | "
      "plain stepping | last day of the month: library, µs | plain stepping |\n|---|---|---|---|---|---|---|---|\n");
  for (const Distance& distance : kDistances) {
    std::string line;
    for (const std::size_t number : {0, 3, 5}) {
      const NextRunRule& rule = subjects()[number].rule;
      const Question question{&rule, zoneName, referenceAt(distance, rule, clock), clock};
      if (number == 0) {
        line = fmt::format("| {} ago | {} |", distance.name, clockChanges(zoneName, question.reference, clock).size());
      }
      const Results results = measured(field, number == 0 ? curves.size() : 2, question, effort);
      if (number == 0) {
        for (std::size_t i = 0; i < curves.size(); ++i) {
          if (results[i]) curves[i].points.emplace_back(distance.inDays(), results[i]->microseconds.median);
        }
      }
      line += ' ' + timeCell(results[0]) + " | " + ratioCell(results[1]) + " |";
      if (results[0] && results[1] && results[0]->next != results[1]->next) {
        throw std::runtime_error(rule.name + ": the library and plain stepping differ, " + distance.name + " back");
      }
    }
    fmt::print("{}\n", line);
    std::fflush(stdout);
  }
  fmt::print("\n–: no answer. Plain stepping is given up after 6,000,000 steps, libical's next() after 600,000.");
  if (zoneName == kBerlin) {
    fmt::print(
        " From 100 years ago every minute and every 02:00 meet a night of 1945 in which summer time was put on summer "
        "time: the C library has no time for the missing hour, and plain stepping and the library fail alike.");
  }
  fmt::print("\n");
  return curves;
}

// ---- memory --------------------------------------------------------------------------------------------------------

/// What a million computations, of all rules in turn, ask the allocator for.
std::uint64_t allocationsOfAMillion() {
  const Zone zone(kBerlin);
  const time64 clock = local(kClock);
  setClock(clock * 1000);
  std::vector<std::pair<ScheduleCalculator, time64>> questions;
  for (const Subject& subject : subjects()) {
    const Question question{&subject.rule, kBerlin, local(subject.latest), clock};
    questions.emplace_back(calculatorOf(question), question.reference);
  }
  time64 first = questions.front().second;
  computeNextTime(questions.front().first, first, 0);  // notices that the zone is another one
  const test::AllocationCount allocations;
  for (int i = 0; i < 1'000'000; ++i) {
    const auto& [rule, reference] = questions[static_cast<std::size_t>(i) % questions.size()];
    time64 next = reference;
    if (computeNextTime(rule, next, 0) != 0) throw std::runtime_error("no next run");
  }
  resetClock();
  return allocations.count();
}

/// What it takes to learn a zone, which a process does once: the first computation in it, in microseconds.
Spread learning() {
  std::vector<double> times;
  const std::vector<std::string> names = zoneNames();
  for (const std::string& name : std::set<std::string>(names.begin(), names.end())) {
    if (!name.starts_with("Europe/") || name == kBerlin) continue;
    const Zone zone(name);
    const time64 clock = local(kClock);  // so that the C library has read its file
    const Question question{&subjects().front().rule, name, clock, clock};
    const ScheduleCalculator rule = calculatorOf(question);
    time64 next = clock;
    auto work = [&] { computeNextTime(rule, next, 0); };
    times.push_back(processorMicroseconds(work, 1));
  }
  return Spread::of(times);
}

void machine() {
  std::string model = "unknown";
  std::ifstream info("/proc/cpuinfo");
  for (std::string line; std::getline(info, line);) {
    if (line.starts_with("model name")) {
      model = line.substr(line.find(':') + 2);
      break;
    }
  }
  double load = 0;
  ::getloadavg(&load, 1);
  fmt::print("{}, {} processors, C library {}, load {:.1f}\n", model, ::sysconf(_SC_NPROCESSORS_ONLN),
             ::gnu_get_libc_version(), load);
}

void sayWhoIsMissing(const Field& field) {
  for (const std::string& missing : field.missing) {
    fmt::print(stderr, "NOT COMPARED: {} is not installed; script/bootstrap --bench brings it\n", missing);
  }
}

int run(const std::string& picture, const Effort& effort) {
  const Field field = whoIsHere();
  sayWhoIsMissing(field);
  machine();
  const Findings findings = rulesTable(field, effort);
  std::vector<Curve> curves = distanceTable(field, kBerlin, true, effort);
  curves.front().name = "library, Berlin";
  curves.front().ours = true;
  curves.push_back(distanceTable(field, "UTC", false, effort).front());
  curves.back().name = "library, UTC";
  curves.back().ours = true;

  fmt::print("\n## Goals\n\n");
  for (const auto& [type, ratio] : findings.fromLatest) {
    fmt::print("- interval type {}, from the latest run: CronExpression takes ×{} (goal ×5)\n", type, number(ratio));
  }
  for (const auto& [type, most] : findings.tenYearsAgo) {
    fmt::print("- interval type {}, from ten years ago: {} µs (goal 20 µs)\n", type, number(most));
  }
  const Spread learned = learning();
  fmt::print("- the first computation in a zone, which learns it: {} µs ({} to {})\n", number(learned.median),
             number(learned.low), number(learned.high));
  fmt::print("- allocations in a million computations: {} (goal 0)\n", allocationsOfAMillion());

  if (!picture.empty()) {
    Axis x{"distance of the reference", {}};
    // The last names would stand on one another.
    for (const Distance& distance : kDistances) {
      const bool named = distance.years <= 10 || distance.years == 100;
      x.ticks.push_back({distance.inDays(), named ? distance.name : ""});
    }
    Axis y{"cost of one next run", {}};
    for (const auto& [at, text] : {std::pair{0.1, "0.1 µs"},
                                   {1.0, "1 µs"},
                                   {10.0, "10 µs"},
                                   {100.0, "100 µs"},
                                   {1e3, "1 ms"},
                                   {1e4, "10 ms"},
                                   {1e5, "100 ms"},
                                   {1e6, "1 s"},
                                   {1e7, "10 s"}}) {
      y.ticks.push_back({at, text});
    }
    std::ofstream(picture) << drawn("Every minute: the next run from a reference in the past", x, y, curves);
    fmt::print("\nPicture: {}\n", picture);
  }
  sayWhoIsMissing(field);
  if (findings.differs) fmt::print(stderr, "the library and plain stepping differ\n");
  return findings.differs ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string picture;
  Effort effort = kFull;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word == "--svg" && i + 1 < argc) {
      picture = argv[++i];
    } else if (word == "--quick") {
      effort = kQuick;
    } else {
      fmt::print(stderr, "usage: bench-next-run [--svg FILE] [--quick]\n");
      return 2;
    }
  }
  try {
    return run(picture, effort);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "bench-next-run: {}\n", failure.what());
    return 1;
  }
}
