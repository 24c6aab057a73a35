#include <mesk/queue/LatchCount.h>
#include <mesk/queue/QueueFixture.h>

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

}  // namespace
}  // namespace mesk::test
