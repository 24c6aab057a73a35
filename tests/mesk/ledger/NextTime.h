// A schedule rule's next run, which the rule computes and an execution asks for.
#pragma once

#include <mesk/ledger/Patterns.h>

#include <string>

namespace mesk::test::ledger {

// Times lie in a year to come, so that the clock of the test does not matter; a rule in hours
// needs no move of the calculator, which is tested elsewhere.

/// What Java answers of a rule, and what comes of it. A text that is null stands for no date; an empty one for a date
/// that is formatted as nothing.
struct Rule {
  const char* name;
  int recurring = 1;
  int type = 1;
  int unit = 1;
  int detail = 0;
  const char* startDate = "20900101";
  const char* startTime = "083000";
  const char* endDate = nullptr;
  const char* reference = "20900615103015";
  int code = 0;
  int allowReference = 0;
  State referenceIs = State::live;
};

/// What Java has to answer.
void answerAs(const Rule& rule, Answers& answers);

/// The next run of `event` behind `after`, and what the caller gets. The texts of the dates are those that formatters
/// answer.
std::string nextTime(Prescription& p, const Rule& rule, const Wrapper& event, const Wrapper& after);

}  // namespace mesk::test::ledger
