// Random operations on the queue and on a plain vector beside it; after each, both must say the same.
//
// MESK_SEED chooses the operations, MESK_OPERATIONS their number.
#include <mesk/queue/QueueModel.h>
#include <mesk/support/Captures.h>
#include <mesk/tasks/MDTask.h>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>

namespace mesk::test {
namespace {

using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

constexpr std::size_t kLongest = 30;

class QueueModelTest : public FakeQueueTest {
 protected:
  /// Runs `operations` on both, beginning with new ones. The first difference in words, or nothing.
  std::string run(unsigned seed, unsigned operations, Flaw flaw = Flaw::kNone);

  /// How often each operation ran.
  std::map<std::string, unsigned> done;

 private:
  struct Operation {
    const char* name;
    unsigned weight;
    void (QueueModelTest::*body)();
    bool takesTheLatch = false;  ///< of its own accord
  };
  static const std::vector<Operation> kOperations;

  unsigned upTo(unsigned most) { return std::uniform_int_distribution<unsigned>(0, most)(random_); }
  bool oneIn(unsigned n) { return upTo(n - 1) == 0; }

  // Values come from small ranges, so that keys and times meet.
  long long anyID() { return static_cast<long long>(upTo(40)) - 2; }
  long long anyTask() { return upTo(2); }
  int anySuffix() { return static_cast<int>(upTo(1)); }
  int anyStatus() { return static_cast<int>(upTo(4)) - 1; }
  std::optional<long long> anyStart() {
    return oneIn(12) ? std::nullopt : std::optional<long long>(upTo(7) * 3'600'000LL);
  }

  /// The flag of the next call. 0 for a caller that holds the latch too.
  int flag() { return held_ ? 0 : static_cast<int>(upTo(2)) - 1; }

  Known* keep(Known known) {
    known_.push_back(std::make_unique<Known>(std::move(known)));
    return known_.back().get();
  }

  /// One that was taken out before, or a new one.
  Known* anyEntry() {
    if (!free_.empty() && oneIn(2)) {
      std::swap(free_[upTo(static_cast<unsigned>(free_.size()) - 1)], free_.back());
      Known* const entry = free_.back();
      free_.pop_back();
      return entry;
    }
    Known known;
    known.id = anyID();
    known.taskID = anyTask();
    known.suffix = anySuffix();
    known.sharedScheduleID = upTo(1);
    known.ruleID = upTo(1);
    known.status = anyStatus();
    known.start = anyStart();
    if (!oneIn(3)) known.job = oneIn(2) ? "A" : "B";
    known.exec = newEntry(ctx, known);
    return keep(std::move(known));
  }

  Known* anyLinked() {
    return model_.entries.empty() ? nullptr : model_.entries[upTo(static_cast<unsigned>(model_.entries.size()) - 1)];
  }

  void setFree(const Known* entry) {
    if (entry != nullptr) free_.push_back(const_cast<Known*>(entry));
  }

  template <class T>
  void same(const char* what, const T& expected, const T& found) {
    if (expected != found) difference_ << what << ": expected " << expected << ", found " << found << "; ";
  }
  void same(const char* what, const Known* expected, const MDTaskExec* found) {
    if ((expected == nullptr ? nullptr : expected->exec) == found) return;
    difference_ << what << ": expected " << (expected == nullptr ? -99 : expected->id) << ", found "
                << (found == nullptr ? -99 : found->getTaskExecID(ctx)) << "; ";
  }

  void operate();
  void compare();

  /// The list will delete the entries that are in it.
  void giveUpLinked();
  void startAnew();

  // Filling.
  void createFromArr() {
    std::vector<Known*> array;
    std::vector<MDTaskExec*> execs;
    for (unsigned count = upTo(3); count != 0; --count) {
      if (oneIn(8)) execs.push_back(nullptr);
      array.push_back(anyEntry());
      execs.push_back(array.back()->exec);
    }
    const long count = array.empty() ? -static_cast<long>(upTo(2)) : static_cast<long>(execs.size());
    list->createFromArr(execs.data(), count, flag());
    model_.createFromArr(array);
  }
  void add() {
    Known* const entry = anyEntry();
    list->add(entry->exec, flag());
    model_.add(entry);
  }
  void insert() {
    Known* const entry = anyEntry();
    same("insert", model_.insert(entry), list->insert(entry->exec, flag()));
  }
  void linkNothing() {
    list->add(nullptr, flag());
    same("insert of null", 0, list->insert(nullptr, flag()));
  }
  void sort() {
    // An entry without a start would be moved for ever.
    for (Known* const e : model_.entries) {
      if (!e->start) setStart(ctx, *e->exec, e->start = 0);
    }
    list->sort(flag());
    model_.sort();
  }

  // Looking up.
  void firstScheduled() { same("firstScheduled", model_.firstScheduled(), list->firstScheduled(flag())); }
  void isFirst() {
    const Known* const first = model_.firstScheduled();
    const long long id = first != nullptr && oneIn(2) ? first->id : anyID();
    same("isFirst", first != nullptr && first->id == id ? 1 : 0, list->isFirst(id, flag()));
  }
  void hasRunningJob() {
    same("hasRunningJob", model_.first([](const Known& e) { return !e.queued(); }) == nullptr ? 0 : 1,
         list->hasRunningJob(flag()));
  }
  void search() {
    const long long id = anyID();
    same("search", model_.first([&](const Known& e) { return e.id == id; }), list->search(id, flag()));
  }
  void searchByJob() {
    const std::string job = oneIn(2) ? "A" : oneIn(2) ? "B" : oneIn(2) ? "a" : "";
    const Known* const found = job.empty() ? nullptr : model_.first([&](const Known& e) { return e.job == job; });
    same("search by job", found, list->search(job.c_str(), flag()));
    same("search by no job", nullptr, list->search(static_cast<const char*>(nullptr), flag()));
  }
  void searchQueued() {
    const long long task = anyTask();
    const int suffix = anySuffix();
    same("searchQueued", model_.first([&](const Known& e) { return e.of(task, suffix) && e.queued(); }),
         list->searchQueued(task, suffix, flag()));
  }
  void existNth() {
    const long long task = anyTask();
    const int suffix = anySuffix();
    const long long n = static_cast<long long>(upTo(5)) - 1;
    same("existNth", model_.existNth(task, suffix, n), list->existNth(task, suffix, n, flag()));
  }
  void exist() {
    const long long task = anyTask();
    const int suffix = anySuffix();
    const long long shared = upTo(1);
    const long long rule = upTo(1);
    same("exist", model_.exist(task, suffix, shared, rule), list->exist(task, suffix, shared, rule, flag()));
  }
  void getMax() { same("getMax", model_.getMax(), list->getMax(flag())); }

  // Walking.
  void iterateStart() {
    model_.iterateStart();
    list->iterateStart(flag());
  }
  void hasNext() { same("hasNext", model_.hasNext(), list->hasNext(flag())); }
  void hasPrev() { same("hasPrev", model_.hasPrev(), list->hasPrev(flag())); }
  void next() { same("next", model_.next(), list->next(flag())); }
  void prev() { same("prev", model_.prev(), list->prev(flag())); }

  // Taking out.
  void remove() {
    const Known* const removed = model_.remove();
    same("remove", removed, list->remove(flag()));
    setFree(removed);
  }
  void deleteIt() {
    const long long id = anyID();
    const Known* const deleted = model_.deleteIt(id);
    same("deleteIt", deleted, list->deleteIt(id, flag()));
    setFree(deleted);
  }
  void deleteAll() {
    giveUpLinked();
    list->deleteAll(flag());
    model_.deleteAll();
  }

  // With the store.
  void getNewJobID() {
    const long long key = prepareStore();
    const bool refused = FakeJava::store.refusedCreation == 1;
    same("getNewJobID", refused || !isKey(key) ? -1 : key, list->getNewJobID(nullptr, flag()));
  }
  void insertNextExec();

  /// Draws how the store will behave and answers the key that it will give.
  long long prepareStore() {
    const long long key = static_cast<long long>(upTo(42)) - 2;
    FakeJava::store = {key, oneIn(4) ? static_cast<int>(upTo(2)) : 0, oneIn(4) ? 30012 : 0};
    return key;
  }
  bool isKey(long long key) const { return key > (model_.has(Flaw::kKeyOfZeroIsAKey) ? -1 : 0); }

  void updateTaskNextStart();

  void print();

  /// The scheduler changes records while they are linked.
  void change() {
    Known* const entry = anyLinked();
    if (entry == nullptr) return;
    entry->exec->setStatus(ctx, entry->status = anyStatus());
    setStart(ctx, *entry->exec, entry->start = anyStart());
  }

  std::mt19937 random_;
  Model model_{Flaw::kNone};
  std::vector<std::unique_ptr<Known>> known_;
  std::vector<Known*> free_;
  bool held_ = false;
  std::ostringstream difference_;
};

void QueueModelTest::insertNextExec() {
  const long long key = prepareStore();
  const Known* const previous = anyLinked();
  const std::optional<long long> start = anyStart();
  const std::unique_ptr<SCTimestamp> time(start ? new SCTimestamp(ctx, *start) : nullptr);

  std::optional<Record> expected;
  if (previous != nullptr && start && isKey(key) && FakeJava::store.refusedCreation == 0 &&
      FakeJava::store.insertCode == 0) {
    expected = *previous;
    expected->id = key;
    expected->start = start;
    if (!model_.has(Flaw::kFollowerKeepsTheStatus)) expected->status = 1;
  }
  const LogCapture log;  // of the refused insert
  MDTaskExec* const next =
      list->insertNextExec(ctx, nullptr, previous == nullptr ? nullptr : previous->exec, time.get(), flag());
  same("insertNextExec", expected.has_value(), next != nullptr);
  if (next == nullptr) return;
  Known found;
  found.exec = next;
  found.id = next->getTaskExecID(ctx);
  found.taskID = next->getTaskID(ctx);
  found.suffix = next->getSuffix(ctx);
  found.sharedScheduleID = next->getSharedNamedScheduleID(ctx);
  found.ruleID = next->getScheduleEventID(ctx);
  found.status = next->getStatus(ctx);
  found.start = taken(ctx, next->getNextStartDateTime(ctx));
  if (const std::unique_ptr<char> job(next->getRookJobID(ctx)); job) found.job = job.get();
  same("what insertNextExec made", true, expected == static_cast<const Record&>(found));
  setFree(keep(std::move(found)));
}

void QueueModelTest::updateTaskNextStart() {
  const jobject object = FakeJava::newObject("com/orvik/kelvo/mesk/metadata/MDTask");
  MDTask task(ctx, nullptr, object);
  FakeJava::deleteLocal(object);
  const long long taskID = anyTask();
  const int suffix = anySuffix();
  const int state = static_cast<int>(upTo(2));
  const int executions = static_cast<int>(upTo(2));
  SCTimestamp begun(ctx, 1);
  task.setTaskID(ctx, taskID);
  task.setSuffix(ctx, suffix);
  task.setState(ctx, state);
  task.setNumberOfExecutions(ctx, executions);
  task.setNextStart(ctx, &begun);
  task.setCurrentStartDateTime(ctx, &begun);

  const Known* const first = model_.first([&](const Known& e) { return e.of(taskID, suffix) && e.queued(); });
  const std::optional<long long> start = first == nullptr ? std::nullopt : first->start;
  const bool stays = state == 2 && executions != (model_.has(Flaw::kOneExecutionIsNone) ? 1 : 0);
  same("updateTaskNextStart", 0, task.updateTaskNextStart(ctx, nullptr));
  same("next start", true, taken(ctx, task.getNextStart(ctx)) == start);
  same("state", stays ? 2 : start ? 1 : 0, task.getState(ctx));
  same("current start", stays, taken(ctx, task.getCurrentStartDateTime(ctx)).has_value());
}

void QueueModelTest::print() {
  std::ostringstream expected;
  const auto line = [&](const char* format, auto... values) {
    char text[160];
    std::snprintf(text, sizeof text, format, values...);
    expected << text;
  };
  line("The current contents in the list is (size=%zu)--->\n", model_.entries.size());
  for (const Known* const e : model_.entries) {
    line("TaskExecID=%2lld; TaskID=%2lld; SchedID=%2lld; start timestamp: ", e->id, e->taskID, e->ruleID);
    if (e->start) {
      line("19700101%02lld0000\n", *e->start / 3'600'000);
    } else {
      line("none\n");
    }
  }
  line("The maximum taskExecID is %lld\n", model_.has(Flaw::kPrintCutsTheMaximum) ? -1 : model_.maximum());
  CaptureStderr();
  list->print(flag());
  same("print", expected.str(), GetCapturedStderr());
  if (Known* const entry = anyLinked(); entry != nullptr) {
    CaptureStderr();
    TaskExecNode(entry->exec).print();
    same("print of an entry", true, expected.str().find(GetCapturedStderr()) != std::string::npos);
  }
}

void QueueModelTest::giveUpLinked() {
  for (const MDTaskExec* const linked : probe().entries()) {
    const auto owner = std::ranges::find_if(known_, [&](const auto& k) { return !k->gone && k->exec == linked; });
    (*owner)->gone = true;
  }
}

void QueueModelTest::startAnew() {
  giveUpLinked();
  list = freshList();
  model_.deleteAll();
}

// Writing to standard error and making lists are rare: they cost as much as a hundred others.
const std::vector<QueueModelTest::Operation> QueueModelTest::kOperations = {
    {"createFromArr", 60, &QueueModelTest::createFromArr},
    {"add", 60, &QueueModelTest::add},
    {"insert", 240, &QueueModelTest::insert},
    {"add, insert of null", 10, &QueueModelTest::linkNothing},
    {"sort", 60, &QueueModelTest::sort},
    {"firstScheduled", 60, &QueueModelTest::firstScheduled},
    {"isFirst", 60, &QueueModelTest::isFirst},
    {"hasRunningJob", 60, &QueueModelTest::hasRunningJob},
    {"search", 60, &QueueModelTest::search},
    {"search by job", 60, &QueueModelTest::searchByJob},
    {"searchQueued", 60, &QueueModelTest::searchQueued},
    {"existNth", 60, &QueueModelTest::existNth},
    {"exist", 60, &QueueModelTest::exist},
    {"getMax", 60, &QueueModelTest::getMax},
    {"iterateStart", 90, &QueueModelTest::iterateStart},
    {"hasNext", 60, &QueueModelTest::hasNext},
    {"hasPrev", 60, &QueueModelTest::hasPrev},
    {"next", 300, &QueueModelTest::next},
    {"prev", 120, &QueueModelTest::prev},
    {"remove", 340, &QueueModelTest::remove},
    {"deleteIt", 340, &QueueModelTest::deleteIt},
    {"deleteAll", 10, &QueueModelTest::deleteAll},
    {"getNewJobID", 30, &QueueModelTest::getNewJobID},
    {"insertNextExec", 30, &QueueModelTest::insertNextExec},
    {"change", 120, &QueueModelTest::change},
    {"print", 2, &QueueModelTest::print},
    {"updateTaskNextStart", 30, &QueueModelTest::updateTaskNextStart, true},
    {"a new list", 1, &QueueModelTest::startAnew, true},
};

void QueueModelTest::operate() {
  const Operation* operation = nullptr;
  if (model_.entries.size() > kLongest) {
    operation = &*std::ranges::find(kOperations, oneIn(2) ? &QueueModelTest::remove : &QueueModelTest::deleteIt,
                                    &Operation::body);
  } else {
    std::vector<unsigned> weights;
    for (const Operation& each : kOperations) weights.push_back(each.weight);
    operation = &kOperations[static_cast<std::size_t>(
        std::discrete_distribution<int>(weights.begin(), weights.end())(random_))];
  }
  ++done[operation->name];
  held_ = !operation->takesTheLatch && oneIn(4);
  list->LLlock(held_ ? 1 : 0);
  (this->*operation->body)();
  same("the latch is free", !held_, probe().latchIsFree());
  list->LLunlock(held_ ? 1 : 0);
}

void QueueModelTest::compare() {
  const QueueProbe seen = probe();
  same("the links hold", true, seen.linksHold());
  same("the latch is free", true, seen.latchIsFree());
  same("size", static_cast<long>(model_.entries.size()), list->size(static_cast<int>(upTo(1))));
  const std::vector<MDTaskExec*> entries = seen.entries();
  same("entries", model_.entries.size(), entries.size());
  for (std::size_t i = 0; i < std::min(entries.size(), model_.entries.size()); ++i) {
    same("order", model_.entries[i], entries[i]);
  }
  same("at the end", model_.cursor.kind == Model::Position::kEnd, seen.atEnd());
  same("nowhere", model_.cursor.kind == Model::Position::kNowhere, seen.nowhere());
  same("cursor", model_.cursor.entry, seen.cursor());
  same("current", model_.current, seen.current());
}

std::string QueueModelTest::run(unsigned seed, unsigned operations, Flaw flaw) {
  random_.seed(seed);
  difference_.str("");
  model_ = Model(flaw);
  for (unsigned i = 0; i < operations && difference_.str().empty(); ++i) {
    operate();
    compare();
    if (!difference_.str().empty()) difference_ << "after operation " << i;
  }
  giveUpLinked();
  list->deleteAll(0);
  for (const auto& known : known_) {
    if (!known->gone) delete known->exec;
  }
  free_.clear();
  known_.clear();
  return difference_.str();
}

TEST_F(QueueModelTest, QueueAndVectorAgreeAfterEachOfAMillionRandomOperations) {
  constexpr unsigned kAtATime = 1000;
  const auto seed = static_cast<unsigned>(fromEnvironment("MESK_SEED", std::random_device()()));
  const auto operations = static_cast<unsigned>(fromEnvironment("MESK_OPERATIONS", 1'000'000));
  std::printf("MESK_SEED=%u MESK_OPERATIONS=%u\n", seed, operations);
  unsigned ran = 0;
  for (unsigned part = 0; ran < operations; ++part, ran += kAtATime) {
    ASSERT_EQ(run(seed + part, kAtATime), "") << "MESK_SEED=" << seed + part << " MESK_OPERATIONS=" << kAtATime;
  }
  for (const auto& [name, count] : done) std::printf("%8u %s\n", count, name.c_str());
}

TEST_F(QueueModelTest, ARunNoticesEachFlaw) {
  const auto seed = static_cast<unsigned>(fromEnvironment("MESK_SEED", 1));
  for (int flaw = 1; flaw != static_cast<int>(Flaw::kEnd); ++flaw) {
    const std::string difference = run(seed, 20'000, static_cast<Flaw>(flaw));
    EXPECT_NE(difference, "") << "flaw " << flaw << ", MESK_SEED=" << seed;
  }
}

}  // namespace
}  // namespace mesk::test
