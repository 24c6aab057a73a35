// How far the run of a group is.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <mesk/tasks/MDTask.h>
#include <scheduler/Administration.h>
#include <scheduler/RecordCodes.h>
#include <scheduler/RunRecords.h>
#include <scheduler/Session.h>

namespace mesk::host {

/// Where a group's run stands.
struct GroupProgress {
  std::vector<std::unique_ptr<MDTask>> toStart;  ///< steps of the present stage that have no record yet
  bool ended = false;
  // When it has ended:
  RunningStatus outcome = kRunSucceeded;
  RunStatus status;     ///< return code of the first step that failed; rows and bytes of all
  std::string journal;  ///< a line for each step
};

/// Reads the progress of groups from the records of their steps alone, so that it is the same for a scheduler that
/// starts in the middle. One thread.
class Groups {
 public:
  Groups(Session& session, Administration& administration) : session_(session), administration_(administration) {}

  /// `within`: the group and all that it is a step of. A step that is one of them can never start: it counts as failed.
  GroupProgress progress(const TaskKey& group, long long run, const std::set<TaskKey>& within);

 private:
  Session& session_;
  Administration& administration_;
};

}  // namespace mesk::host
