// What do the library and a whole run cost beside the bare calls that they must make?
//
// The bare side makes the JNI calls of the operation by hand, lookups included, or the same commits; what is left
// over is what the library adds.
#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskHistoryType.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>
#include <mesk/queue/MDTaskExecType.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/tasks/MDTask.h>
#include <mesk/tasks/MDTaskType.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>
#include <scheduler/Scheduler.h>
#include <scheduler/Session.h>

#include "Ratio.h"

namespace {

using namespace mesk;
using namespace mesk::host;
using mesk::bench::compare;

constexpr std::int64_t kStart = 1767571200000;
constexpr std::int64_t kDay = 24LL * 3600 * 1000;

/// Ends each attempt at once.
class InstantLauncher : public RunLauncher {
 public:
  void start(const AttemptID& id, const RunRequest&) override { last = id; }
  RunnerState adopt(const AttemptID&) override { return RunnerVanished{"none"}; }
  std::string output(const AttemptID&) override { return "done\n"; }
  void forget(const AttemptID&) override {}
  AttemptID last;
};

void addTasks(Session& session, int count) {
  ThreadContext& ctx = session.ctx();
  session.transact([&] {
    for (int i = 0; i < count; ++i) {
      int rc = 0;
      int sqlCode = 0;
      MDTask task(ctx, session.context(), rc, sqlCode);
      const long long id = task.getReferenceID(ctx, session.context(), rc, sqlCode);
      task.setTaskID(ctx, id);
      task.setTaskName(ctx, fmt::format("task-{}", i).c_str());
      task.setTaskType(ctx, 1);
      task.setScriptContentString(ctx, "true");
      task.setScheduleEnable(ctx, 1);
      session.check(task.insert(ctx, session.context(), sqlCode), sqlCode, "insert");
      MDScheduleEvent rule(ctx, session.context(), rc, sqlCode);
      const long long ruleID = rule.getReferenceID(ctx, session.context(), rc, sqlCode);
      rule.setScheduleEventID(ctx, ruleID);
      SQLDate date(ctx, static_cast<long long>(kStart));
      SQLTime time(ctx, static_cast<long long>(kStart));
      rule.setStartDate(ctx, &date);
      rule.setStartTime(ctx, &time);
      rule.setIntervalType(ctx, 2);
      rule.setIntervalUnit(ctx, 1);
      rule.setRecurring(ctx, 1);
      session.check(rule.insert(ctx, session.context(), sqlCode), sqlCode, "insert");
      session.check(task.addScheduleEvent(ctx, session.context(), rule, sqlCode), sqlCode, "add");
      MDTaskExec exec(ctx, session.context(), rc, sqlCode);
      exec.setTaskExecID(ctx, exec.getReferenceID(ctx, session.context()));
      exec.setTaskID(ctx, id);
      exec.setScheduleEventID(ctx, ruleID);
      exec.setSharedNamedScheduleID(ctx, -1);
      exec.setStatus(ctx, kExecQueued);
      auto stamp = session.timestamp(kStart + i);
      exec.setNextStartDateTime(ctx, &stamp);
      exec.setOriginalScheduleTime(ctx, &stamp);
      session.check(exec.insert(ctx, session.context(), sqlCode), sqlCode, "insert");
    }
  });
}

void properties(Session& session) {
  ThreadContext& ctx = session.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTask task(ctx, session.context(), rc, sqlCode);
  task.setTaskName(ctx, "a task of an ordinary name");
  JNIEnv* const env = ctx.env;
  compare(
      "read an integer property", 200, 1000, [&] { task.getTaskType(ctx); },
      [&] { env->CallIntMethod(task.object, env->GetMethodID(task.objectClass, "getTaskType", "()I")); });
  compare(
      "read a text property", 200, 1000, [&] { delete task.getTaskName(ctx); },
      [&] {
        const auto name = static_cast<jstring>(env->CallObjectMethod(
            task.object, env->GetMethodID(task.objectClass, "getTaskName", "()Ljava/lang/String;")));
        env->ReleaseStringUTFChars(name, env->GetStringUTFChars(name, nullptr));
        env->DeleteLocalRef(name);
      });
}

void lists(Session& session) {
  ThreadContext& ctx = session.ctx();
  JNIEnv* const env = ctx.env;
  int rc = 0;
  int sqlCode = 0;
  MDTaskExecType home(ctx, session.context(), rc, sqlCode);
  const jclass exceptionClass = env->FindClass("com/orvik/kelvo/common/parl/api/PARLException");
  const jmethodID makeException = env->GetMethodID(exceptionClass, "<init>", "(ILjava/lang/String;)V");
  compare(
      "list 1,000 executions", 20, 1,
      [&] {
        MDTaskExec** items = nullptr;
        int count = 0;
        home.retrieveList(ctx, session.context(), items, count, sqlCode);
        owned(items, count);
      },
      [&] {
        const jobject exception = env->NewObject(exceptionClass, makeException, 0, nullptr);
        const jobject list = env->CallObjectMethod(
            home.object,
            env->GetMethodID(
                home.objectClass, "retrieveList",
                "(Lcom/orvik/kelvo/common/parl/api/Context;Lcom/orvik/kelvo/common/parl/api/PARLException;)"
                "Ljava/util/Collection;"),
            session.context(), exception);
        const jclass cls = env->GetObjectClass(list);
        const jint count = env->CallIntMethod(list, env->GetMethodID(cls, "size", "()I"));
        const jmethodID get = env->GetMethodID(cls, "get", "(I)Ljava/lang/Object;");
        std::vector<jobject> globals;
        for (jint i = 0; i < count; ++i) {
          const jobject element = env->CallObjectMethod(list, get, i);
          globals.push_back(env->NewGlobalRef(element));
          const jclass elementClass = env->GetObjectClass(element);
          globals.push_back(env->NewGlobalRef(elementClass));
          env->DeleteLocalRef(elementClass);
          env->DeleteLocalRef(element);
        }
        for (const jobject global : globals) env->DeleteGlobalRef(global);
        for (const jobject local : {list, exception, static_cast<jobject>(cls)}) env->DeleteLocalRef(local);
      });
  env->DeleteLocalRef(exceptionClass);
}

/// An insert at the end looks at each entry; the bare side makes the JNI calls of those looks: two start times read
/// and wrapped, and one comparison.
void queueInsert(Session& session, int size) {
  ThreadContext& ctx = session.ctx();
  JNIEnv* const env = ctx.env;
  auto& queue = *MDTaskExecList::getInstance();
  int rc = 0;
  int sqlCode = 0;
  const auto entry = [&](std::int64_t start) {
    auto made = std::make_unique<MDTaskExec>(ctx, session.context(), rc, sqlCode);
    auto stamp = session.timestamp(start);
    made->setNextStartDateTime(ctx, &stamp);
    made->setStatus(ctx, kExecQueued);
    made->setTaskExecID(ctx, start);
    return made;
  };
  for (int i = 0; i < size; ++i) queue.add(entry(kStart + i).release(), 0);
  queue.sort(0);
  const auto probe = entry(kStart + size);
  const auto first = entry(kStart);
  const jclass timestampClass = env->FindClass("java/sql/Timestamp");
  const auto wrapUnwrap = [&](jobject exec) {
    const jobject local = env->CallObjectMethod(
        exec, env->GetMethodID(probe->objectClass, "getNextStartDateTime", "()Ljava/sql/Timestamp;"));
    const jobject global = env->NewGlobalRef(local);
    const jclass cls = env->GetObjectClass(global);
    const jobject globalClass = env->NewGlobalRef(cls);
    env->DeleteLocalRef(cls);
    env->DeleteLocalRef(local);
    return std::make_pair(global, globalClass);
  };
  const auto bareLook = [&] {
    const auto a = wrapUnwrap(first->object);
    const auto b = wrapUnwrap(probe->object);
    env->CallIntMethod(a.first, env->GetMethodID(static_cast<jclass>(a.second), "compareTo", "(Ljava/util/Date;)I"),
                       b.first);
    for (const jobject global : {a.first, a.second, b.first, b.second}) env->DeleteGlobalRef(global);
  };
  compare(
      fmt::format("queue: insert behind {}", size), 20, 1,
      [&] {
        queue.insert(probe.get(), 0);
        queue.deleteIt(kStart + size, 0);
      },
      [&] {
        for (int i = 0; i < size; ++i) bareLook();
      });
  compare(
      fmt::format("queue: sort {} in order", size), size > 100 ? 3 : 20, 1, [&] { queue.sort(0); },
      [&] {
        for (int i = 0; i < size * (size - 1) / 2; ++i) bareLook();
      });
  env->DeleteLocalRef(timestampClass);
  queue.deleteAll(0);
}

/// A run, due to recorded, is two transactions; the bare side changes one row in each of two.
void wholeRun(const StoreAddress& address) {
  Session session(address);
  ThreadContext& ctx = session.ctx();
  addTasks(session, 1);
  InstantLauncher launcher;
  Scheduler scheduler(session, launcher, {}, [](const std::string&) {});
  std::int64_t now = kStart;
  setClock(now);
  scheduler.load();
  int rc = 0;
  int sqlCode = 0;
  MDTask** items = nullptr;
  int count = 0;
  MDTaskType home(ctx, session.context(), rc, sqlCode);
  compare(
      "a whole run, due to recorded", 100, 1,
      [&] {
        setClock(now);
        scheduler.startDue();
        RunStatus status;
        status.startedMillis = status.endedMillis = now;
        scheduler.finished(launcher.last, status);
        now += kDay;
      },
      [&] {
        for (int i = 0; i < 2; ++i) {
          home.retrieveList(ctx, session.context(), items, count, sqlCode);
          for (const auto& task : owned(items, count)) task->update(ctx, session.context(), sqlCode);
          session.commit();
        }
      });
  resetClock();
}

void start(const StoreAddress& address) {
  Session session(address);
  InstantLauncher launcher;
  setClock(kStart - kDay);
  Scheduler scheduler(session, launcher, {}, [](const std::string&) {});
  ThreadContext& ctx = session.ctx();
  int rc = 0;
  int sqlCode = 0;
  MDTaskExecType home(ctx, session.context(), rc, sqlCode);
  compare(
      "meskd: fill the queue with 1,000 executions", 3, 1, [&] { scheduler.load(); },
      [&] {
        MDTaskExec** items = nullptr;
        int count = 0;
        home.retrieveList(ctx, session.context(), items, count, sqlCode);
        owned(items, count);
      });
  resetClock();
}

}  // namespace

int main() {
  std::string folder = (std::filesystem::temp_directory_path() / "mesk-bench-XXXXXX").string();
  if (::mkdtemp(folder.data()) == nullptr) return 1;
  mesk::bench::printHeading();
  {
    const StoreAddress address(folder + "/thousand.mesk");
    {
      Session session(address);
      addTasks(session, 1000);
      properties(session);
      lists(session);
      for (const int size : {10, 100, 1000}) queueInsert(session, size);
    }
    wholeRun(StoreAddress(folder + "/one.mesk"));
    start(address);
  }
  std::filesystem::remove_all(folder);
  return 0;
}
