// The queue under several threads that take its latch by the flag. A thread sanitizer sees whether that suffices; the
// tally sees whether an entry was lost or doubled.
//
// MESK_SEED chooses what the threads do, MESK_OPERATIONS how many operations each makes.
#include <mesk/queue/FakeQueueTest.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <thread>

namespace mesk::test {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

constexpr int kThreads = 4;
constexpr long kLongest = 30;
constexpr long long kIdsOfAThread = 1'000'000;

using Ids = std::vector<long long>;

/// Every entry that was made is in one place in the end: in the queue, with the thread that took it out, or deleted.
class Tally {
 public:
  void made(const Ids& ids) {
    for (const long long id : ids) places_[id];
  }
  void found(const Ids& ids) {
    for (const long long id : ids) ++places_[id];
  }

  long lost() const {
    return std::ranges::count_if(places_, [](const auto& place) { return place.second == 0; });
  }
  long doubled() const {
    return std::ranges::count_if(places_, [](const auto& place) { return place.second > 1; });
  }

 private:
  std::map<long long, int> places_;
};

Ids idsOf(ThreadContext& ctx, const std::vector<MDTaskExec*>& entries) {
  Ids ids;
  for (const MDTaskExec* const entry : entries) ids.push_back(entry->getTaskExecID(ctx));
  return ids;
}

/// What one thread does, and what it holds. Nothing of it is another thread's before the thread has ended.
class Worker {
 public:
  Worker(MDTaskExecList& list, unsigned seed, long long firstID) : list_(list), random_(seed), nextID_(firstID) {}

  void run(unsigned long operations) {
    for (unsigned long i = 0; i < operations; ++i) operate();
    ctx_.destroy();
  }

  Ids made;
  Ids deleted;                    ///< by `deleteAll`
  std::vector<MDTaskExec*> held;  ///< taken out of the queue
  std::size_t keys = 0;           ///< had from the store
  std::string wrong;

 private:
  unsigned upTo(unsigned most) { return std::uniform_int_distribution<unsigned>(0, most)(random_); }
  long long anyID() { return upTo(kThreads - 1) * kIdsOfAThread + upTo(1500); }
  long long anyStart() { return upTo(9) * 3'600'000LL; }

  /// One that the thread holds, changed meanwhile, or a new one. Null when the queue is long.
  MDTaskExec* anyEntry() {
    if (list_.size(1) > kLongest) return nullptr;
    if (!held.empty() && upTo(3) != 0) {
      MDTaskExec* const entry = held.back();
      held.pop_back();
      setStart(ctx_, *entry, anyStart());
      entry->setStatus(ctx_, static_cast<int>(upTo(3)));
      return entry;
    }
    Record record;
    record.id = nextID_++;
    record.taskID = upTo(2);
    record.start = anyStart();
    made.push_back(record.id);
    return newEntry(ctx_, record);
  }

  void takeOver(MDTaskExec* entry) {
    if (entry != nullptr) held.push_back(entry);
  }

  void check(bool holds, const char* what) {
    if (!holds) wrong += std::string(what) + "; ";
  }

  void operate();
  void lookUp();
  void walk();
  void removeSomewhere();
  void deleteAll();
  void makeNext();

  ThreadContext ctx_;
  MDTaskExecList& list_;
  std::mt19937 random_;
  long long nextID_;
};

void Worker::operate() {
  const unsigned choice = upTo(99);
  if (choice < 20) {
    if (MDTaskExec* const entry = anyEntry(); entry != nullptr) list_.insert(entry, 1);
  } else if (choice < 25) {
    if (MDTaskExec* const entry = anyEntry(); entry != nullptr) list_.add(entry, 1);
  } else if (choice < 28) {
    MDTaskExec* array[] = {anyEntry(), anyEntry()};
    list_.createFromArr(array, 2, 1);
  } else if (choice < 31) {
    list_.sort(1);
  } else if (choice < 40) {
    takeOver(list_.remove(1));
  } else if (choice < 48) {
    takeOver(list_.deleteIt(anyID(), 1));
  } else if (choice < 58) {
    removeSomewhere();
  } else if (choice < 66) {
    walk();
  } else if (choice < 68) {
    makeNext();
  } else if (choice < 69) {
    if (upTo(20) == 0) deleteAll();
  } else {
    lookUp();
  }
}

// What these answer is another thread's to change as soon as the latch is free, so it is not looked at.
void Worker::lookUp() {
  list_.firstScheduled(1);
  list_.isFirst(anyID(), 1);
  list_.hasRunningJob(1);
  list_.search(anyID(), 1);
  list_.search("JOB", 1);
  list_.searchQueued(upTo(2), 0, 1);
  list_.existNth(upTo(2), 0, 2, 1);
  list_.exist(upTo(2), 0, 0, 0, 1);
  list_.getMax(1);
  list_.hasNext(1);
  list_.hasPrev(1);
  list_.next(1);
  list_.prev(1);
  list_.iterateStart(1);
}

void Worker::walk() {
  list_.LLlock(1);
  std::set<const MDTaskExec*> seen;
  long steps = 0;
  list_.iterateStart(0);
  while (const MDTaskExec* const entry = list_.next(0)) {
    seen.insert(entry);
    ++steps;
  }
  check(steps == list_.size(0), "a walk and the size differ");
  check(seen.size() == static_cast<std::size_t>(steps), "a walk met an entry twice");
  list_.LLunlock(1);
}

void Worker::removeSomewhere() {
  list_.LLlock(1);
  list_.iterateStart(0);
  MDTaskExec* last = nullptr;
  for (unsigned steps = upTo(5) + 1; steps != 0; --steps) {
    if (MDTaskExec* const entry = list_.next(0); entry != nullptr) last = entry;
  }
  MDTaskExec* const removed = list_.remove(0);
  check(last == nullptr || removed == last, "remove took out another entry than the walk's");
  list_.LLunlock(1);
  takeOver(removed);
}

void Worker::deleteAll() {
  list_.LLlock(1);
  const Ids all = idsOf(ctx_, QueueProbe(list_).entries());
  list_.deleteAll(0);
  list_.LLunlock(1);
  deleted.insert(deleted.end(), all.begin(), all.end());
}

void Worker::makeNext() {
  if (held.empty()) return;
  SCTimestamp start(ctx_, anyStart());
  MDTaskExec* const next = list_.insertNextExec(ctx_, nullptr, held.back(), &start, 1);
  check(next != nullptr, "insertNextExec made nothing");
  if (next == nullptr) return;
  made.push_back(next->getTaskExecID(ctx_));
  held.push_back(next);
  ++keys;
}

/// Each printing is whole: its header's count of lines, then the line that ends it. Whatever else was written, too.
std::string tornPrints(const std::string& text) {
  std::istringstream lines(text);
  std::string other;
  long expected = -1;
  for (std::string line; std::getline(lines, line);) {
    if (std::sscanf(line.c_str(), "The current contents in the list is (size=%ld)", &expected) == 1) continue;
    if (expected > 0 && line.starts_with("TaskExecID=")) {
      --expected;
    } else if (expected == 0 && line.starts_with("The maximum taskExecID is ")) {
      expected = -1;
    } else {
      other += line + "\n";
    }
  }
  return other;
}

class QueueThreadsTest : public FakeQueueTest {
 protected:
  Tally tallyOf(const Ids& made) {
    Tally tally;
    tally.made(made);
    tally.found(idsOf(ctx, probe().entries()));
    return tally;
  }
};

TEST_F(QueueThreadsTest, ThreadsThatTakeTheLatchLoseNoEntryAndDoubleNone) {
  const auto seed = static_cast<unsigned>(fromEnvironment("MESK_SEED", std::random_device()()));
  const unsigned long operations = fromEnvironment("MESK_OPERATIONS", 10'000);
  std::printf("MESK_SEED=%u MESK_OPERATIONS=%lu\n", seed, operations);
  FakeJava::store = {kThreads * kIdsOfAThread, 0, 0};

  std::vector<std::unique_ptr<Worker>> workers(kThreads);
  std::vector<std::thread> threads;
  for (unsigned i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      workers[i] = std::make_unique<Worker>(*list, seed + i, i * kIdsOfAThread);
      workers[i]->run(operations);
    });
  }
  for (std::thread& thread : threads) thread.join();

  Tally tally;
  std::set<long long> different;
  std::size_t made = 0;
  std::size_t keys = 0;
  for (const auto& worker : workers) {
    EXPECT_EQ(worker->wrong, "");
    tally.made(worker->made);
    tally.found(worker->deleted);
    tally.found(idsOf(ctx, worker->held));
    different.insert(worker->made.begin(), worker->made.end());
    made += worker->made.size();
    keys += worker->keys;
  }
  tally.found(idsOf(ctx, probe().entries()));
  EXPECT_EQ(tally.lost(), 0) << "MESK_SEED=" << seed;
  EXPECT_EQ(tally.doubled(), 0) << "MESK_SEED=" << seed;
  EXPECT_EQ(different.size(), made) << "the store's keys differ; MESK_SEED=" << seed;
  std::printf("%zu entries made, %zu of them with keys of the store\n", made, keys);

  for (const auto& worker : workers) {
    for (const MDTaskExec* const entry : worker->held) delete entry;
  }
}

TEST_F(QueueThreadsTest, ConcurrentInsertsComeOutInOrder) {
  constexpr int kEntries = 40;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      ThreadContext own;
      for (int i = 0; i < kEntries; ++i) {
        Record record;
        record.start = ((i * 5 + thread) % 24) * 3'600'000LL;
        list->insert(newEntry(own, record), 1);
      }
      own.destroy();
    });
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_EQ(list->size(0), kThreads * kEntries);
  long long last = 0;
  for (const MDTaskExec* const entry : probe().entries()) {
    const long long start = taken(ctx, entry->getNextStartDateTime(ctx)).value();
    EXPECT_LE(last, start);
    last = start;
  }
}

TEST_F(QueueThreadsTest, TheTallyNoticesAnEntryThatIsNowhereAndOneThatIsInTheQueueTwice) {
  const Ids made = {1, 2, 3};
  for (const long long id : made) {
    Record record;
    record.id = id;
    list->add(newEntry(ctx, record), 0);
  }
  EXPECT_EQ(tallyOf(made).lost(), 0);
  EXPECT_EQ(tallyOf(made).doubled(), 0);

  list->add(list->search(1, 0), 0);
  EXPECT_EQ(tallyOf(made).doubled(), 1);
  list->deleteIt(1, 0);
  EXPECT_EQ(tallyOf(made).doubled(), 0);

  const std::unique_ptr<MDTaskExec> lost(list->deleteIt(2, 0));
  EXPECT_EQ(tallyOf(made).lost(), 1);
}

TEST_F(QueueThreadsTest, APrintUnderTheLatchIsWhole) {
  CaptureStderr();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&] {
      ThreadContext own;
      for (int i = 0; i < 30; ++i) {
        Record record;
        record.start = i;
        list->insert(newEntry(own, record), 1);
        list->print(1);
        if (i % 3 == 0) delete list->deleteIt(0, 1);
      }
      own.destroy();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(tornPrints(GetCapturedStderr()), "");
}

TEST_F(QueueThreadsTest, APrintInAnothersMidstIsNoticed) {
  const std::string whole =
      "The current contents in the list is (size=1)--->\nTaskExecID= 1; \nThe maximum taskExecID is 1\n";
  EXPECT_EQ(tornPrints(whole + whole), "");
  const std::string header = whole.substr(0, whole.find('\n') + 1);
  EXPECT_NE(tornPrints(header + whole + whole.substr(header.size())), "");
}

}  // namespace
}  // namespace mesk::test
