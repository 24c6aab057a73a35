// The end of a run: how it went, and what is to be told of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/tasks/MDTask.h>
#include <scheduler/RecordCodes.h>
#include <scheduler/RunOptions.h>
#include <scheduler/RunRecords.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// A run that has ended for good; its history record says how, but is not stored yet.
struct RunEnd {
  MDTask& task;
  MDTaskExec& exec;
  MDTaskHistory& history;
  long long run = 0;
  RunningStatus outcome = kRunFailed;
  std::int64_t moment = 0;    ///< milliseconds
  const std::string& output;  ///< of its last attempt
};

/// Whether what is asked for under this EndCondition is asked for at such an end. An unknown condition never holds.
bool applies(int condition, RunningStatus outcome);

/// Whether a return code is a success by these conditions; without any, only 0 is.
bool isSuccess(int returnCode, const std::vector<tSuccessRelation>& codes);

/// How an attempt at the task went. One that ran out of time, was cut off or never started has not succeeded,
/// whatever its return code.
RunningStatus outcomeOf(Session& session, MDTask& task, const RunStatus& status);

/// The task's run options. Those that another program wrote wrongly count as the defaults, and `error`, when given,
/// says so.
RunOptions optionsOf(Session& session, const MDTask& task, std::string* error = nullptr);

/// A count as records hold it.
int clamped(std::int64_t count);

}  // namespace mesk::host
