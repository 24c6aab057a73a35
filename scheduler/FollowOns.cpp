#include <scheduler/FollowOns.h>

#include <fmt/format.h>

#include <mesk/tasks/MDFollowOnAction.h>

namespace mesk::host {

FollowOns::Fired FollowOns::fire(const RunEnd& end, const Queued& queued) {
  ThreadContext& ctx = session_.ctx();
  Fired fired;
  if (end.task.getFollowOnTaskEnable(ctx) == 0 || end.exec.getUseTaskActions(ctx) == 0) return fired;
  const auto actions =
      session_.related("the follow-on actions of a task", end.task, &MDTask::retrieveFollowOnActionList);
  for (const auto& action : actions) {
    if (!applies(action->getFollowOnCondition(ctx), end.outcome)) continue;
    const long long id = action->getFollowOnActionID(ctx);
    const int kind = action->getAction(ctx);
    const auto targets =
        session_.related("the tasks of a follow-on action", *action, &MDFollowOnAction::retrieveTaskList);
    for (const auto& target : targets) act(end, id, kind, *target, queued, fired);
  }
  return fired;
}

void FollowOns::act(const RunEnd& end, long long actionID, int kind, MDTask& target, const Queued& queued,
                    Fired& fired) {
  ThreadContext& ctx = session_.ctx();
  const std::string name = text(target.getTaskName(ctx));
  std::optional<Execution> execution;
  std::string line;
  try {
    switch (kind) {
      case kRunTask:
        execution = definitions_.follow(target, end.moment);
        line = fmt::format("run '{}': queued as execution {}", name, execution->id);
        break;
      case kEnableTask:
      case kDisableTask: {
        const char* const word = kind == kEnableTask ? "enable" : "disable";
        const bool changed = definitions_.switchSchedule(target, kind == kEnableTask);
        fired.switched = fired.switched || changed;
        line = fmt::format("{} '{}': {}", word, name, changed ? "done" : "it was so already");
        break;
      }
      default:
        line = fmt::format("'{}': unknown action {}", name, kind);
        fired.troubles.push_back(fmt::format("follow-on of run {}: {}", end.run, line));
    }
  } catch (const StoreError& error) {
    // A store that fails altogether fails the rest of this unit of work too.
    if (error.code() == kStoreChanged) throw;
    fired.troubles.push_back(fmt::format("follow-on of run {}: '{}': {}", end.run, name, error.what()));
    fired.results += fmt::format("'{}': not done: {}\n", name, error.what());
    return;
  }
  fired.results += line + "\n";
  const TaskKey key{target.getTaskID(ctx), target.getSuffix(ctx)};
  const long long execID = execution ? execution->id : -1;
  if (execution) queued(std::move(*execution), target);
  administration_.recordFollowOn(end.run, actionID, key, execID);
}

}  // namespace mesk::host
