// What the programs that are compared are asked: when does this rule fire next?
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <mesk/schedule/ScheduleCalculator.h>
#include <platform/Clock.h>

namespace mesk::bench {

/// One rule in the words of each that can say it; an empty text says that it cannot.
struct NextRunRule {
  std::string name;
  ScheduleIntervalType type;
  int unit;
  int detail;
  std::string cron;      ///< Quartz's CronExpression
  std::string calendar;  ///< Quartz's CalendarIntervalTrigger: unit and length
  std::string rrule;     ///< libical
  std::string fields;    ///< APScheduler's CronTrigger, or its IntervalTrigger after "interval "
};

/// The next run of `rule` after `now`, counted from a run at `reference`, in `zone`.
struct Question {
  const NextRunRule* rule;
  std::string zone;
  time64 reference;
  time64 now;
};

/// One who answers. What can be made ready without knowing the question's times is not timed.
class Contender {
 public:
  struct Reply {
    time64 next;
    double microseconds;  ///< of one answer, in the time of the processor
  };

  virtual ~Contender() = default;
  /// Answers `repeat` times in a row, at least once. Null: this one cannot.
  virtual std::optional<Reply> ask(const Question& question, int repeat) = 0;

  const std::string& name() const { return name_; }

 protected:
  explicit Contender(std::string name) : name_(std::move(name)) {}

 private:
  std::string name_;
};

/// Who takes part, the library first and plain stepping second; and who is missing, and how to get it.
struct Field {
  std::vector<std::unique_ptr<Contender>> contenders;
  std::vector<std::string> missing;
};

Field whoIsHere();

/// While it lives, the process is in a zone.
class Zone {
 public:
  explicit Zone(const std::string& name);
  ~Zone();
  Zone(const Zone&) = delete;
  Zone& operator=(const Zone&) = delete;

 private:
  std::optional<std::string> outer_;
};

/// The rule of the library that runs at `reference` for the first time.
ScheduleCalculator calculatorOf(const Question& question);

}  // namespace mesk::bench
