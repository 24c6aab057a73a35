#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <mesk/schedule/PlainStepping.h>

#include "Child.h"
#include "NextRun.h"
#include "Ratio.h"

#ifdef MESK_BENCH_ICAL
#include <libical/ical.h>
#endif

namespace mesk::bench {
namespace {

class Library : public Contender {
 public:
  Library() : Contender("library") {}

  std::optional<Reply> ask(const Question& question, int repeat) override {
    const Zone zone(question.zone);
    const ScheduleCalculator rule = calculatorOf(question);
    setClock(question.now * 1000);
    time64 next = 0;
    int code = 0;
    const auto work = [&] {
      next = question.reference;
      code = computeNextTime(rule, next, 0);
    };
    work();  // the zone is learned when it is met for the first time
    const double taken = processorMicroseconds(work, repeat);
    resetClock();
    if (code != 0) return std::nullopt;
    return Reply{next, taken};
  }
};

class PlainStepping : public Contender {
 public:
  PlainStepping() : Contender("plain stepping") {}

  std::optional<Reply> ask(const Question& question, int repeat) override {
    const Zone zone(question.zone);
    const ScheduleCalculator rule = calculatorOf(question);
    std::optional<plain::Stepping::Answer> answer;
    auto work = [&] {
      answer = plain::Stepping(rule, plain::Slip::kNone, kMostSteps).next(question.now, question.reference, false);
    };
    const double taken = processorMicroseconds(work, repeat);
    if (!answer || answer->code != 0) return std::nullopt;
    return Reply{answer->time, taken};
  }

 private:
  static constexpr std::int64_t kMostSteps = 6'000'000;  // ten years of minutes; more takes too long
};

/// One that runs as a program of its own, with the same questions in the same rounds; it takes its own time.
class Remote : public Contender {
 public:
  using Words = std::string (*)(const NextRunRule&);

  /// `kind` stands before each question. `words` tells the rule to it, and nothing when that cannot be done.
  Remote(std::string name, std::shared_ptr<Child> program, std::string kind, Words words)
      : Contender(std::move(name)), program_(std::move(program)), kind_(std::move(kind)), words_(words) {}

  std::optional<Reply> ask(const Question& question, int repeat) override {
    const std::string rule = words_(*question.rule);
    if (rule.empty()) return std::nullopt;
    const std::string answer = program_->answer(
        fmt::format("{}{}|{}|{}|{}|{}", kind_, rule, question.zone, question.reference, question.now, repeat));
    if (answer.empty()) throw std::runtime_error(name() + " ended in the middle");
    long long next = 0;
    double nanoseconds = 0;
    if (std::sscanf(answer.c_str(), "%lld %lf", &next, &nanoseconds) != 2) return std::nullopt;
    return Reply{next, nanoseconds / 1000 / repeat};
  }

 private:
  std::shared_ptr<Child> program_;
  std::string kind_;
  Words words_;
};

#ifdef MESK_BENCH_ICAL
/// libical's iterator: begun at the reference and asked for one run after the other, or told to begin near the clock.
class Ical : public Contender {
 public:
  Ical(std::string name, bool jumps) : Contender(std::move(name)), jumps_(jumps) {}

  std::optional<Reply> ask(const Question& question, int repeat) override {
    if (question.rule->rrule.empty()) return std::nullopt;
    const icaltimezone* const zone = question.zone == "UTC" ? icaltimezone_get_utc_timezone()
                                                            : icaltimezone_get_builtin_timezone(question.zone.c_str());
    if (zone == nullptr) throw std::runtime_error("libical does not know " + question.zone);
    const icalrecurrencetype rule = icalrecurrencetype_from_string(question.rule->rrule.c_str());
    const icaltimetype start = icaltime_from_timet_with_zone(question.reference, 0, zone);
    const icaltimetype now = icaltime_from_timet_with_zone(question.now, 0, zone);
    time64 next = 0;
    auto work = [&] {
      icalrecur_iterator* const runs = icalrecur_iterator_new(rule, start);
      if (runs == nullptr || (jumps_ && icalrecur_iterator_set_start(runs, now) == 0)) {
        next = -1;
      } else {
        // Local times are compared, which is cheap; only the run itself is converted.
        icaltimetype run = icalrecur_iterator_next(runs);
        int steps = 0;
        while (icaltime_is_null_time(run) == 0 && icaltime_compare(run, now) <= 0 && ++steps < kMostSteps) {
          run = icalrecur_iterator_next(runs);
        }
        const bool found = icaltime_is_null_time(run) == 0 && icaltime_compare(run, now) > 0;
        next = found ? icaltime_as_timet_with_zone(run, zone) : -1;
      }
      icalrecur_iterator_free(runs);
    };
    const double taken = processorMicroseconds(work, repeat);
    if (next == -1) return std::nullopt;
    return Reply{next, taken};
  }

 private:
  static constexpr int kMostSteps = 600'000;  // a year of minutes; more takes too long

  bool jumps_;
};
#endif

const std::string kFolder = MESK_BENCH_FOLDER;
const std::string kQuartz = "/usr/share/java/quartz2.jar";

/// The program, when it says that it is ready; otherwise `what` is missing.
std::shared_ptr<Child> started(const std::vector<std::string>& command, const std::string& what, Field& field) {
  try {
    auto program = std::make_shared<Child>(command);
    if (program->answer("") == "ready") return program;
  } catch (const std::system_error&) {
  }
  field.missing.push_back(what);
  return nullptr;
}

void addQuartz(Field& field) {
  const std::string what = "Quartz (libquartz2-java)";
  if (::access(kQuartz.c_str(), R_OK) != 0) {
    field.missing.push_back(what);
    return;
  }
  const char* const home = ::getenv("JAVA_HOME");
  const std::string java = home != nullptr ? std::string(home) + "/bin/java" : "java";
  const auto program =
      started({java, "-cp", kQuartz + ":/usr/share/java/slf4j-api.jar", kFolder + "/QuartzRuns.java"}, what, field);
  if (!program) return;
  field.contenders.push_back(
      std::make_unique<Remote>("CronExpression", program, "cron|", [](const NextRunRule& rule) { return rule.cron; }));
  field.contenders.push_back(std::make_unique<Remote>("CalendarInterval", program, "calendar|",
                                                      [](const NextRunRule& rule) { return rule.calendar; }));
}

void addIcal(Field& field) {
#ifdef MESK_BENCH_ICAL
  icaltimezone_set_builtin_tzdata(0);
  field.contenders.push_back(std::make_unique<Ical>("libical", false));
  field.contenders.push_back(std::make_unique<Ical>("libical set_start", true));
#else
  field.missing.emplace_back("libical (libical-dev, when the build was configured)");
#endif
}

void addApscheduler(Field& field) {
  const auto program = started({kFolder + "/apscheduler-runs"}, "APScheduler (python3-apscheduler)", field);
  if (!program) return;
  field.contenders.push_back(
      std::make_unique<Remote>("APScheduler", program, "", [](const NextRunRule& rule) { return rule.fields; }));
}

}  // namespace

Field whoIsHere() {
  Field field;
  field.contenders.push_back(std::make_unique<Library>());
  field.contenders.push_back(std::make_unique<PlainStepping>());
  addQuartz(field);
  addIcal(field);
  addApscheduler(field);
  return field;
}

Zone::Zone(const std::string& name) {
  if (const char* const outer = ::getenv("TZ")) outer_ = outer;
  ::setenv("TZ", name.c_str(), 1);
  ::tzset();
}

Zone::~Zone() {
  if (outer_) {
    ::setenv("TZ", outer_->c_str(), 1);
  } else {
    ::unsetenv("TZ");
  }
  ::tzset();
}

ScheduleCalculator calculatorOf(const Question& question) {
  const std::time_t seconds = question.reference;
  std::tm first{};
  ::localtime_r(&seconds, &first);
  ScheduleCalculator rule;
  const bool accepted = rule.setRecurring(1) == 0 && rule.setIntervalType(static_cast<int>(question.rule->type)) == 0 &&
                        rule.setIntervalUnit(question.rule->unit) == 0 && rule.setDetail(question.rule->detail) == 0 &&
                        rule.setStartYear(first.tm_year + 1900) == 0 && rule.setStartMonth(first.tm_mon + 1) == 0 &&
                        rule.setStartDay(first.tm_mday) == 0 && rule.setStartHour(first.tm_hour) == 0 &&
                        rule.setStartMinute(first.tm_min) == 0 && rule.setStartSecond(first.tm_sec) == 0;
  if (!accepted) throw std::invalid_argument(question.rule->name);
  return rule;
}

}  // namespace mesk::bench
