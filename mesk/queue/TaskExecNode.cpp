#include <mesk/queue/TaskExecNode.h>

#include <cstdint>
#include <cstdio>
#include <memory>

#include <mesk/queue/MDTaskExec.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SimpleDateFormat.h>

namespace mesk {
namespace {

/// IDs are shown by their low 32 bits, which is what log records carry of them.
long shown(long long id) { return static_cast<std::int32_t>(id); }

}  // namespace

TaskExecNode::TaskExecNode() : TaskExecNode(nullptr) {}

TaskExecNode::TaskExecNode(MDTaskExec* entry) : exec(entry), prev(nullptr), next(nullptr) {}

void TaskExecNode::print() const {
  ThreadContext ctx;
  const long taskExecID = shown(exec->getTaskExecID(ctx));
  const long taskID = shown(exec->getTaskID(ctx));
  const long scheduleEventID = shown(exec->getScheduleEventID(ctx));
  const std::unique_ptr<SCTimestamp> start(exec->getNextStartDateTime(ctx));
  const std::unique_ptr<char> text(start ? SimpleDateFormat(ctx, "yyyyMMddHHmmss").format(ctx, *start) : nullptr);
  std::fprintf(stderr, "TaskExecID=%2ld; TaskID=%2ld; SchedID=%2ld; start timestamp: %s\n", taskExecID, taskID,
               scheduleEventID, text ? text.get() : "none");
}

}  // namespace mesk
