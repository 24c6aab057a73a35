// The fixture of the queue's tests that need no JVM.
#pragma once

#include <gtest/gtest.h>
#include <mesk/queue/FakeJava.h>
#include <mesk/queue/QueueProbe.h>
#include <mesk/values/SCTimestamp.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace mesk::test {

/// What the record behind an entry says, as far as the queue asks.
struct Record {
  long long id = 0;
  long long taskID = 1;
  int suffix = 0;
  long long sharedScheduleID = 0;
  long long ruleID = 0;
  int status = 0;
  std::optional<long long> start;  ///< milliseconds
  std::string job;

  bool queued() const { return status == 0 || status == 1; }
  bool of(long long task, int itsSuffix) const { return taskID == task && suffix == itsSuffix; }
  bool operator==(const Record&) const = default;
};

inline void setStart(ThreadContext& ctx, MDTaskExec& entry, std::optional<long long> millis) {
  if (!millis) return entry.setNextStartDateTime(ctx, nullptr);
  SCTimestamp time(ctx, *millis);
  entry.setNextStartDateTime(ctx, &time);
}

inline std::optional<long long> taken(ThreadContext& ctx, SCTimestamp* time) {
  const std::unique_ptr<SCTimestamp> owned(time);
  return owned ? std::optional(owned->getTime(ctx)) : std::nullopt;
}

inline MDTaskExec* newEntry(ThreadContext& ctx, const Record& record) {
  const jobject object = FakeJava::newObject("com/orvik/kelvo/mesk/metadata/MDTaskExec");
  auto* const entry = new MDTaskExec(ctx, object, nullptr);
  FakeJava::deleteLocal(object);
  entry->setTaskExecID(ctx, record.id);
  entry->setTaskID(ctx, record.taskID);
  entry->setSuffix(ctx, record.suffix);
  entry->setSharedNamedScheduleID(ctx, record.sharedScheduleID);
  entry->setScheduleEventID(ctx, record.ruleID);
  entry->setStatus(ctx, record.status);
  entry->setRookJobID(ctx, record.job.c_str());
  setStart(ctx, *entry, record.start);
  return entry;
}

/// The one list is new in each test, and gone with its entries and all that they held afterwards.
class FakeQueueTest : public ::testing::Test {
 protected:
  FakeQueueTest() : list(freshList()) {}

  void TearDown() override {
    EXPECT_TRUE(probe().linksHold());
    EXPECT_TRUE(probe().latchIsFree());
    delete list;
    EXPECT_EQ(FakeJava::objects(), 0);
  }

  static MDTaskExecList* freshList() {
    delete MDTaskExecList::existing();
    ::testing::internal::CaptureStderr();
    MDTaskExecList* const made = MDTaskExecList::getInstance();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Get a new theInstance\n");
    return made;
  }

  QueueProbe probe() const { return QueueProbe(*list); }

  ThreadContext ctx;
  MDTaskExecList* list;
};

/// A number that the environment gives.
inline unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : std::strtoul(text, nullptr, 10);
}

}  // namespace mesk::test
