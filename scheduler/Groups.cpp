#include <scheduler/Groups.h>

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/tasks/MDTaskType.h>
#include <scheduler/RunEnd.h>

namespace mesk::host {
namespace {

struct Step {
  std::unique_ptr<MDTask> task;
  std::string name;
  const MDTaskHistory* record = nullptr;  ///< null: it has not begun
  bool barred = false;                    ///< it contains the group
};

bool isOpen(int status) { return status == kRunRunning || status == kRunWaiting; }

}  // namespace

GroupProgress Groups::progress(const TaskKey& group, long long run, const std::set<TaskKey>& within) {
  ThreadContext& ctx = session_.ctx();
  int rc = 0;
  int sqlCode = 0;
  const auto task =
      wrapped<MDTask>(ctx, MDTaskType::retrieveTask(ctx, session_.context(), group.id, group.suffix, rc, sqlCode));
  session_.check(rc, sqlCode, fmt::format("reading the group of run {}", run));

  const auto records = administration_.steps(run);
  std::map<TaskKey, const MDTaskHistory*> recordOf;
  bool open = false;
  GroupProgress progress;
  std::int64_t rows = 0;
  std::int64_t bytes = 0;
  for (const auto& record : records) {
    recordOf.emplace(TaskKey{record->getTaskID(ctx), record->getSuffix(ctx)}, record.get());
    open = open || isOpen(record->getRunningStatus(ctx));
    rows += record->getRowCount(ctx);
    bytes += record->getByteCount(ctx);
  }
  progress.status.rows = rows;
  progress.status.bytes = bytes;

  std::vector<Step> steps;
  for (auto& member : session_.related("the steps of a group", *task, &MDTask::retrieveTaskGroupMemberList)) {
    const TaskKey key{member->getTaskID(ctx), member->getSuffix(ctx)};
    const auto found = recordOf.find(key);
    Step step;
    step.name = text(member->getTaskName(ctx));
    step.task = std::move(member);
    step.record = found == recordOf.end() ? nullptr : found->second;
    step.barred = within.contains(key);
    steps.push_back(std::move(step));
  }

  const std::vector<int> sizes = optionsOf(session_, *task).stages;
  const bool stops = task->getStopAtStepFailure(ctx) != 0;
  bool failed = false;
  std::size_t begin = 0;
  for (std::size_t stage = 0; begin < steps.size() && !(failed && stops); ++stage) {
    const std::size_t size = stage < sizes.size() ? static_cast<std::size_t>(std::max(sizes[stage], 1)) : 1;
    const std::size_t end = std::min(begin + size, steps.size());
    bool going = false;
    for (std::size_t i = begin; i < end; ++i) {
      Step& step = steps[i];
      if (step.barred) {
        failed = true;
      } else if (step.record == nullptr) {
        progress.toStart.push_back(std::move(step.task));
      } else {
        const int status = step.record->getRunningStatus(ctx);
        going = going || isOpen(status);
        failed = failed || (!isOpen(status) && status != kRunSucceeded);
      }
    }
    if (going || !progress.toStart.empty()) return progress;
    begin = end;
  }
  if (open) return progress;  // a step that the group has no more

  progress.ended = true;
  for (const Step& step : steps) {
    int returnCode = 0;
    bool succeeded = true;
    if (step.barred) {
      progress.journal += fmt::format("{}: not started: it contains this group\n", step.name);
      succeeded = false;
      returnCode = kRunNotStarted;
    } else if (step.record == nullptr) {
      progress.journal += fmt::format("{}: not started, after a step that failed\n", step.name);
    } else {
      const auto status = static_cast<RunningStatus>(step.record->getRunningStatus(ctx));
      succeeded = status == kRunSucceeded;
      returnCode = step.record->getReturnCode(ctx);
      progress.journal += fmt::format("{}: {} (return code {}, run {})\n", step.name, textOf(status), returnCode,
                                      step.record->getTaskHistoryID(ctx));
    }
    if (succeeded || progress.outcome == kRunFailed) continue;
    progress.outcome = kRunFailed;
    progress.status.returnCode = returnCode;
  }
  return progress;
}

}  // namespace mesk::host
