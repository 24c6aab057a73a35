#include <mesk/session/MDUtility.h>
#include <mesk/tasks/MDTask.h>

#include <cstdio>

int main(int, char** argv) {
  mesk::ThreadContext ctx;  // starts the JVM and attaches this thread
  int rc = 0, sqlCode = 0;
  jobject store = mesk::MDUtility::connectMD(ctx, argv[1], nullptr, nullptr, nullptr, rc, sqlCode);
  if (rc != 0) return std::fprintf(stderr, "cannot open %s: store code %d\n", argv[1], rc), 1;
  {
    mesk::MDTask task(ctx, store, rc, sqlCode);
    task.setTaskID(ctx, task.getReferenceID(ctx, store, rc, sqlCode));
    task.setTaskName(ctx, "hello");
    rc = task.insert(ctx, store, sqlCode);
    if (rc == 0) rc = mesk::MDUtility::commit(ctx, store, sqlCode);
    std::printf("task %lld: store code %d\n", task.getTaskID(ctx), rc);
  }
  mesk::MDUtility::disconnectMD(ctx, store, sqlCode);
  ctx.destroy();
  return rc == 0 ? 0 : 1;
}
