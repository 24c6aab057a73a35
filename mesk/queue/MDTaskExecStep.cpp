// The execution of one step of a grouping task.
#include <memory>
#include <new>

#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/Reference.h>
#include <mesk/bridge/Trace.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/session/MDUtility.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceNewStep = 0x1AE80130;

constexpr int kStepStatus = 3;
constexpr int kTaskRunning = 2;
constexpr int kNoScheduleRule = -1;

/// Holds the latch of all tasks.
class TasksLatched {
 public:
  TasksLatched() { MDTask::lockAll('E'); }
  ~TasksLatched() { MDTask::unlockAll('E'); }
  TasksLatched(const TasksLatched&) = delete;
  TasksLatched& operator=(const TasksLatched&) = delete;
};

/// Stores and commits that the task runs. The code of the last store operation made.
int markRunning(ThreadContext& ctx, jobject context, MDTaskType& home, long long taskID, int suffix, int& sqlCode) {
  const TasksLatched latched;
  int rc = kUnreached;
  const LocalRef<> found(ctx.env, home.retrieve(ctx, context, taskID, suffix, rc, sqlCode));
  if (!found) return rc;
  MDTask task(ctx, nullptr, found.get());
  task.setState(ctx, kTaskRunning);
  task.updateTaskNextStart(ctx, context);
  rc = task.update(ctx, context, sqlCode);
  return rc == 0 ? MDUtility::commit(ctx, context, sqlCode) : rc;
}

}  // namespace

int MDTaskExec::newStep(ThreadContext& ctx, jobject context, long long taskExecID, long long taskID, int suffix,
                        SCTimestamp* start, MDTaskExec* parent, MDTaskExec*& out, int& sqlCode, const char* password) {
  const Traced trace(kTraceNewStep);
  out = nullptr;
  int rc = kUnreached;
  MDTaskType home(ctx, context, rc, sqlCode);
  if (rc != 0) return trace.exit(rc);

  rc = kUnreached;
  out = new (std::nothrow) MDTaskExec(ctx, context, rc, sqlCode);
  if (rc != 0) return trace.exit(rc);

  MDTaskExec& step = *out;
  step.flag_ = 0;
  step.setTaskExecID(ctx, taskExecID);
  step.setTaskID(ctx, taskID);
  step.setSuffix(ctx, suffix);
  step.setV7JobID(ctx, static_cast<int>(taskExecID));
  step.setScheduleEventID(ctx, kNoScheduleRule);
  if (parent != nullptr) step.setStartedByRunNow(ctx, parent->getStartedByRunNow(ctx));
  step.setNeedReschedule(ctx, 0);
  step.setStatus(ctx, kStepStatus);
  if (parent != nullptr) step.inherit(ctx, context, *parent, password);
  step.setNextStartDateTime(ctx, start);
  step.setStartTime(ctx, start);
  step.setIsRealStartTime(ctx, 0);
  return trace.exit(markRunning(ctx, context, home, taskID, suffix, sqlCode));
}

void MDTaskExec::inherit(ThreadContext& ctx, jobject context, const MDTaskExec& parent, const char* password) {
  if (const std::unique_ptr<char> user(parent.getUserID(ctx)); user) setUserID(ctx, user.get());
  if (password != nullptr) {
    setPasswordString(ctx, password);
  } else if (const LocalRef<jbyteArray> bytes(ctx.env, parent.getPassword(ctx, context)); bytes) {
    setPasswordByteArr(ctx, bytes.get());
  }
  if (parent.isRunNowTask(ctx) == 0) return;
  setUseNotification(ctx, parent.getUseNotification(ctx));
  setUseTaskActions(ctx, parent.getUseTaskActions(ctx));
  setAcceptDefaults(ctx, parent.getAcceptDefaults(ctx));
  setPassRunSystem(ctx, parent.getPassRunSystem(ctx));
  setPassTargetDBObjects(ctx, parent.getPassTargetDBObjects(ctx));
  if (const std::unique_ptr<char> parameters(parent.getAdditionalParameters(ctx)); parameters) {
    setAdditionalParameters(ctx, parameters.get());
  }
  setRowLimit(ctx, parent.getRowLimit(ctx));
}

}  // namespace mesk
