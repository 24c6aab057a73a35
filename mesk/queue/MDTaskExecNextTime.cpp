// When an execution's schedule rule fires next.
#include <memory>
#include <new>
#include <string>

#include <mesk/bridge/Invoke.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDScheduleEventType.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>

namespace mesk {
namespace {

/// `date` as text by `pattern`; empty when it is null or cannot be formatted.
template <class D>
std::unique_ptr<char> textOf(ThreadContext& ctx, const char* pattern, const std::unique_ptr<D>& date) {
  return std::unique_ptr<char>(date ? SimpleDateFormat(ctx, pattern).format(ctx, *date) : nullptr);
}

/// The rule's start date and start time as one moment; null when either is missing.
SCTimestamp* startOf(ThreadContext& ctx, const MDScheduleEvent& rule) {
  const auto day = textOf(ctx, "yyyyMMdd", std::unique_ptr<SQLDate>(rule.getStartDate(ctx)));
  const auto time = textOf(ctx, "HHmmss", std::unique_ptr<SQLTime>(rule.getStartTime(ctx)));
  if (!day || !time) return nullptr;
  const std::string both = std::string(day.get()) + time.get();
  const long long millis = SimpleDateFormat(ctx, "yyyyMMddHHmmss").parse(ctx, both.c_str());
  return new (std::nothrow) SCTimestamp(ctx, millis);
}

}  // namespace

SCTimestamp* MDTaskExec::getNextScheduleTime(ThreadContext& ctx, jobject context, MDScheduleEventType* eventHome,
                                             SCTimestamp* /*a*/, SCTimestamp* from) {
  if (object == nullptr || eventHome == nullptr) return nullptr;
  int rc = 0;
  int sqlCode = 0;
  const long long taskID = getTaskID(ctx);
  const int suffix = getSuffix(ctx);
  {
    const LocalRef<> found(ctx.env, MDTaskType::retrieveTask(ctx, context, taskID, suffix, rc, sqlCode));
    if (!found) return nullptr;
    // Read and left alone: a disabled schedule keeps its next time, and whoever starts runs asks the task itself.
    MDTask(ctx, nullptr, found.get()).getScheduleEnable(ctx);
  }
  const LocalRef<> found(ctx.env, eventHome->retrieve(ctx, context, getScheduleEventID(ctx), rc, sqlCode));
  if (!found || rc != 0) return nullptr;
  const MDScheduleEvent rule(ctx, found.get(), context);
  if (rule.getRecurring(ctx) == 0) return nullptr;

  if (from != nullptr) return rule.getNextScheduledTime(ctx, from, 0);
  const bool fromRule = getStatus(ctx) != 0;
  const std::unique_ptr<SCTimestamp> base(fromRule ? startOf(ctx, rule) : getOriginalScheduleTime(ctx));
  if (!base || !isLive(*base)) return nullptr;
  return rule.getNextScheduledTime(ctx, base.get(), fromRule ? 1 : 0);
}

}  // namespace mesk
