#include <mesk/queue/QueueFixture.h>

#include <mesk/values/SCTimestamp.h>

namespace mesk::test {
namespace {

MDTaskExecList& freshList() {
  delete MDTaskExecList::existing();
  return *MDTaskExecList::getInstance();
}

}  // namespace

QueueTest::QueueTest() : list(freshList()) {}

void QueueTest::TearDown() {
  if (&list == MDTaskExecList::existing()) {
    EXPECT_TRUE(probe().linksHold());
  }
  delete MDTaskExecList::existing();
}

MDTaskExec* QueueTest::newEntry(long long taskExecID, std::optional<long long> start, int status) {
  const jobject fake = newFake("MDTaskExec");
  auto* const entry = new MDTaskExec(ctx, fake, context);
  {
    const JniTable::Pause pause(ctx.env);
    ctx.env->DeleteLocalRef(fake);
  }
  entry->setTaskExecID(ctx, taskExecID);
  entry->setTaskID(ctx, 1);
  entry->setStatus(ctx, status);
  if (start) {
    SCTimestamp time(ctx, *start);
    entry->setNextStartDateTime(ctx, &time);
  }
  script.forget();
  return entry;
}

std::vector<long long> QueueTest::ids() const {
  std::vector<long long> result;
  for (const MDTaskExec* const entry : probe().entries()) result.push_back(entry->getTaskExecID(ctx));
  return result;
}

std::optional<long long> takenTime(ThreadContext& ctx, SCTimestamp* time) {
  const std::unique_ptr<SCTimestamp> owned(time);
  return owned ? std::optional(owned->getTime(ctx)) : std::nullopt;
}

}  // namespace mesk::test
