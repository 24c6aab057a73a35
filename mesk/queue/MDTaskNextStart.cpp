// A task's next start, from the queue. Here and not with the task, so that tasks do not depend on the queue.
#include <memory>

#include <mesk/bridge/Trace.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceUpdateTaskNextStart = 0x1AE80131;

enum TaskState { kNoStartPending = 0, kScheduled = 1, kRunning = 2 };

}  // namespace

int MDTask::updateTaskNextStart(ThreadContext& ctx, jobject /*context*/) {
  const Traced trace(kTraceUpdateTaskNextStart);
  MDTaskExecList* const queue = MDTaskExecList::existing();
  if (queue == nullptr) return trace.exit(-1);

  const long long taskID = getTaskID(ctx);
  const int suffix = getSuffix(ctx);
  const MDTaskExec* const queued = queue->searchQueued(taskID, suffix, 1);
  const std::unique_ptr<SCTimestamp> nextStart(queued == nullptr ? nullptr : queued->getNextStartDateTime(ctx));
  setNextStart(ctx, nextStart.get());
  if (getState(ctx) == kRunning && getNumberOfExecutions(ctx) != 0) return trace.exit(0);
  setCurrentStartDateTime(ctx, nullptr);
  setState(ctx, nextStart ? kScheduled : kNoStartPending);
  return trace.exit(0);
}

}  // namespace mesk
