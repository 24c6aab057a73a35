#include <mesk/queue/LatchCount.h>
#include <mesk/queue/QueueFixture.h>
#include <mesk/values/SCTimestamp.h>

#include <atomic>
#include <functional>
#include <thread>

namespace mesk::test {
namespace {

class MDTaskExecListLatchTest : public QueueTest {
 protected:
  /// Every method that takes the flag, by name.
  std::vector<std::pair<const char*, std::function<void(int)>>> methods() {
    return {{"createFromArr", [&](int lock) { list.createFromArr(nullptr, 0, lock); }},
            {"add", [&](int lock) { list.add(nullptr, lock); }},
            {"insert", [&](int lock) { list.insert(newEntry(1, at(9)), lock); }},
            {"sort", [&](int lock) { list.sort(lock); }},
            {"firstScheduled", [&](int lock) { list.firstScheduled(lock); }},
            {"isFirst", [&](int lock) { list.isFirst(1, lock); }},
            {"hasRunningJob", [&](int lock) { list.hasRunningJob(lock); }},
            {"search by ID", [&](int lock) { list.search(1, lock); }},
            {"search by job", [&](int lock) { list.search("job", lock); }},
            {"searchQueued", [&](int lock) { list.searchQueued(1, 0, lock); }},
            {"existNth", [&](int lock) { list.existNth(1, 0, 1, lock); }},
            {"exist", [&](int lock) { list.exist(1, 0, 0, 0, lock); }},
            {"iterateStart", [&](int lock) { list.iterateStart(lock); }},
            {"hasNext", [&](int lock) { list.hasNext(lock); }},
            {"hasPrev", [&](int lock) { list.hasPrev(lock); }},
            {"next", [&](int lock) { list.next(lock); }},
            {"prev", [&](int lock) { list.prev(lock); }},
            {"getMax", [&](int lock) { list.getMax(lock); }},
            {"getNewJobID", [&](int lock) { list.getNewJobID(context, lock); }},
            {"insertNextExec", [&](int lock) { list.insertNextExec(ctx, context, nullptr, nullptr, lock); }},
            {"print", [&](int lock) { list.print(lock); }},
            {"remove", [&](int lock) { delete list.remove(lock); }},
            {"deleteIt", [&](int lock) { delete list.deleteIt(1, lock); }},
            {"deleteAll", [&](int lock) { list.deleteAll(lock); }}};
  }
};

TEST_F(MDTaskExecListLatchTest, AFlagTakesAndReleasesTheLatchOnce) {
  for (const auto& [name, method] : methods()) {
    for (const int lock : {1, -1}) {
      const LatchCount latches;
      method(lock);
      EXPECT_EQ(latches.taken(), 1) << name;
      EXPECT_EQ(latches.released(), 1) << name;
    }
  }
}

TEST_F(MDTaskExecListLatchTest, WithoutTheFlagTheLatchIsLeftAlone) {
  list.LLlock(1);
  const LatchCount latches;
  for (const auto& [name, method] : methods()) method(0);
  EXPECT_EQ(latches.taken(), 0);
  EXPECT_EQ(latches.released(), 0);
  list.LLunlock(1);
}

TEST_F(MDTaskExecListLatchTest, SizeNeverWaits) {
  list.LLlock(1);
  EXPECT_EQ(list.size(0), 0);
  EXPECT_EQ(list.size(1), 0);
  list.LLunlock(1);
}

TEST_F(MDTaskExecListLatchTest, LLlockAndLLunlockWithoutTheFlagDoNothing) {
  const LatchCount latches;
  list.LLlock(0);
  list.LLlock(0);
  list.LLunlock(0);
  EXPECT_EQ(latches.taken(), 0);
  EXPECT_EQ(latches.released(), 0);
}

TEST_F(MDTaskExecListLatchTest, WhoCallsWithTheFlagSeesWhatTheHolderDidBeforeItLetGo) {
  list.LLlock(1);
  std::atomic<bool> there = false;
  MDTaskExec* seen = nullptr;
  std::thread other([&] {
    ThreadContext own;
    there = true;
    there.notify_one();
    seen = list.firstScheduled(1);
    own.destroy();
  });
  there.wait(false);
  MDTaskExec* const entry = newEntry(1, at(9));
  list.insert(entry, 0);
  list.LLunlock(1);
  other.join();
  EXPECT_EQ(seen, entry);
}

TEST_F(MDTaskExecListLatchTest, EightThreadsLoseNoEntryAndNoUpdate) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 60;
  std::atomic<int> failures = 0;
  const auto work = [&](int thread) {
    ThreadContext own;
    for (int round = 0; round < kRounds; ++round) {
      int rc = 0;
      int sqlCode = 0;
      const long long id = thread * 1000 + round;
      auto* const entry = new MDTaskExec(own, context, rc, sqlCode);
      {
        SCTimestamp start(own, at(thread, (round * 7) % 60));
        entry->setTaskExecID(own, id);
        entry->setTaskID(own, thread);
        entry->setNextStartDateTime(own, &start);
      }
      list.insert(entry, 1);
      if (list.search(id, 1) != entry) ++failures;
      if (list.searchQueued(thread, 0, 1) != entry) ++failures;
      if (list.existNth(thread, 0, 1, 1) != id) ++failures;
      // Whole walks belong under one holding of the latch; the order must hold throughout.
      list.LLlock(1);
      list.iterateStart(0);
      int walked = 0;
      while (list.next(0) != nullptr) ++walked;
      if (walked != list.size(0)) ++failures;
      list.LLunlock(1);
      if (list.deleteIt(id, 1) != entry) ++failures;
      delete entry;
    }
    own.destroy();
  };
  std::vector<std::thread> threads;
  for (int thread = 1; thread <= kThreads; ++thread) threads.emplace_back(work, thread);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(list.size(1), 0);
  EXPECT_TRUE(probe().linksHold());
}

TEST_F(MDTaskExecListLatchTest, ConcurrentInsertsComeOutInOrder) {
  constexpr int kThreads = 4;
  constexpr int kEntries = 12;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      ThreadContext own;
      for (int i = 0; i < kEntries; ++i) {
        int rc = 0;
        int sqlCode = 0;
        auto* const entry = new MDTaskExec(own, context, rc, sqlCode);
        SCTimestamp start(own, at((i * 5 + thread) % 24));
        entry->setNextStartDateTime(own, &start);
        list.insert(entry, 1);
      }
      own.destroy();
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(list.size(0), kThreads * kEntries);
  long long last = 0;
  for (const MDTaskExec* const entry : probe().entries()) {
    const long long start = takenTime(ctx, entry->getNextStartDateTime(ctx)).value();
    EXPECT_LE(last, start);
    last = start;
  }
  list.deleteAll(1);
  jni.forget();  // entries made on other threads were deleted on this one
}

}  // namespace
}  // namespace mesk::test
