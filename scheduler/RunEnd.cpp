#include <scheduler/RunEnd.h>

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>

#include <scheduler/Units.h>

namespace mesk::host {
namespace {

bool holds(int returnCode, const tSuccessRelation& relation) {
  switch (relation.condition) {
    case '=':
      return returnCode == relation.code;
    case '!':
      return returnCode != relation.code;
    case '<':
      return returnCode < relation.code;
    case '>':
      return returnCode > relation.code;
    default:
      return false;
  }
}

std::vector<tSuccessRelation> successCodes(Session& session, MDTask& task) {
  tSuccessRelation* items = nullptr;
  int count = 0;
  int sqlCode = 0;
  const int rc = task.retrieveAllCodeCondition(session.ctx(), session.context(), items, count, sqlCode);
  const std::unique_ptr<tSuccessRelation[]> owner(items);
  session.check(rc, sqlCode, "reading the success codes of a task");
  return std::vector<tSuccessRelation>(owner.get(), owner.get() + count);
}

}  // namespace

bool applies(int condition, RunningStatus outcome) {
  switch (condition) {
    case kAtEveryEnd:
      return outcome != kRunMissed;
    case kAtSuccess:
      return outcome == kRunSucceeded;
    case kAtFailure:
      return outcome == kRunFailed || outcome == kRunTimeUp || outcome == kRunInterrupted;
    default:
      return false;
  }
}

bool isSuccess(int returnCode, const std::vector<tSuccessRelation>& codes) {
  if (codes.empty()) return returnCode == 0;
  return std::any_of(codes.begin(), codes.end(), [=](const auto& relation) { return holds(returnCode, relation); });
}

RunningStatus outcomeOf(Session& session, MDTask& task, const RunStatus& status) {
  if (status.timedOut) return kRunTimeUp;
  if (status.terminated || !status.failure.empty()) return kRunFailed;
  return isSuccess(status.returnCode, successCodes(session, task)) ? kRunSucceeded : kRunFailed;
}

RunOptions optionsOf(Session& session, const MDTask& task, std::string* error) {
  try {
    return RunOptions::fromJson(text(task.getAdditionalParameters(session.ctx())));
  } catch (const FormatError& wrong) {
    if (error != nullptr) *error = fmt::format("the run options of the task are wrong: {}", wrong.what());
    return {};
  }
}

int clamped(std::int64_t count) {
  return static_cast<int>(std::clamp<std::int64_t>(count, 0, std::numeric_limits<int>::max()));
}

}  // namespace mesk::host
