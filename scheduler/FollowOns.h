// What the end of a run does to other tasks.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <scheduler/Administration.h>
#include <scheduler/Definitions.h>
#include <scheduler/RunEnd.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Fires the follow-on actions of a task. What it does is part of the caller's unit of work, and stands in the store's
/// list of what was fired: an action that fires again for the same run is a defect, and fails. One thread.
class FollowOns {
 public:
  /// Gets each execution that was queued, with its task.
  using Queued = std::function<void(Execution execution, MDTask& target)>;

  struct Fired {
    std::string results;                ///< a line for each task that was acted on
    std::vector<std::string> troubles;  ///< what could not be done; the run's outcome does not change by it
    bool switched = false;              ///< schedules were switched, and with them what is in the queue's records
  };

  FollowOns(Session& session, Definitions& definitions, Administration& administration)
      : session_(session), definitions_(definitions), administration_(administration) {}

  Fired fire(const RunEnd& end, const Queued& queued);

 private:
  void act(const RunEnd& end, long long actionID, int kind, MDTask& target, const Queued& queued, Fired& fired);

  Session& session_;
  Definitions& definitions_;
  Administration& administration_;
};

}  // namespace mesk::host
