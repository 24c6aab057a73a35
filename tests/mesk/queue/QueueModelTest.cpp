// Random operations on the list and on a plain vector beside it; after each, both must say the same.
//
// MESK_SEED chooses the operations, MESK_OPERATIONS their number.
#include <mesk/queue/QueueFixture.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <sstream>

namespace mesk::test {
namespace {

/// An entry, with what the record behind it says.
struct Known {
  MDTaskExec* exec;
  long long id;
  long long taskID;
  int suffix;
  long long sharedScheduleID;
  long long ruleID;
  int status;
  std::optional<long long> start;
  std::string job;

  bool queued() const { return status == 0 || status == 1; }
  bool of(long long task, int suf) const { return taskID == task && suffix == suf; }
};

/// What a wrong list might do; a run must notice each.
enum class Flaw {
  kNone,
  kEqualsGoBehind,
  kCursorStaysAtTheEndAfterInsert,
  kExistStopsAtTheFirst,
  kPrevAnswersTheEntryBefore,
  kGetMaxKeepsTheCurrentEntry,
  kRemoveLeavesTheCursor,
  kRunningHeadHidesTheNext,
  kCreateFromArrGoesToTheEnd,
};

/// The list, told with a vector.
class Model {
 public:
  explicit Model(Flaw flaw) : flaw_(flaw) {}

  struct Position {
    enum Kind { kEntry, kEnd, kNowhere } kind = kEnd;
    const Known* entry = nullptr;
    bool operator==(const Position&) const = default;
  };

  std::vector<Known*> entries;
  Position cursor;
  const Known* current = nullptr;

  void createFromArr(const std::vector<Known*>& array) {
    if (array.empty()) return;
    cursor = entries.empty() ? Position{} : at(0);
    const auto where = flaw_ == Flaw::kCreateFromArrGoesToTheEnd ? entries.end() : entries.begin();
    entries.insert(where, array.begin(), array.end());
  }

  void add(Known* entry) { entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(cursorIndex()), entry); }

  int insert(Known* entry) {
    place(entry, flaw_ == Flaw::kEqualsGoBehind);
    if (cursor.kind == Position::kEnd && flaw_ != Flaw::kCursorStaysAtTheEndAfterInsert) cursor = {Position::kNowhere};
    return firstScheduled() == entry ? 1 : 0;
  }

  void sort() {
    cursor = entries.empty() ? Position{} : at(0);
    while (cursor.kind == Position::kEntry) {
      const std::size_t index = cursorIndex();
      Known* const entry = entries[index];
      const Position following = index + 1 < entries.size() ? at(index + 1) : Position{};
      entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
      current = nullptr;
      place(entry, false);
      cursor = following;
    }
  }

  const Known* firstScheduled() const {
    if (flaw_ == Flaw::kRunningHeadHidesTheNext && !entries.empty() && !entries[0]->queued()) return nullptr;
    return first([](const Known& e) { return e.queued(); });
  }

  template <class Match>
  const Known* first(Match match) const {
    const auto found = std::ranges::find_if(entries, [&](const Known* e) { return match(*e); });
    return found == entries.end() ? nullptr : *found;
  }

  long long existNth(long long task, int suffix, long long n) const {
    long long seen = 0;
    for (const Known* const e : entries) {
      if (e->of(task, suffix) && ++seen >= n) return e->id;
    }
    return -1;
  }

  long long exist(long long task, int suffix, long long shared, long long rule) const {
    long long last = -1;
    for (const Known* const e : entries) {
      if (!e->of(task, suffix) || e->sharedScheduleID != shared || e->ruleID != rule) continue;
      last = e->id;
      if (flaw_ == Flaw::kExistStopsAtTheFirst) break;
    }
    return last;
  }

  long long getMax() {
    long long largest = -1;
    for (const Known* const e : entries) largest = std::max(largest, e->id);
    if (!entries.empty() && flaw_ != Flaw::kGetMaxKeepsTheCurrentEntry) current = entries.back();
    return largest;
  }

  void iterateStart() { cursor = entries.empty() ? Position{} : at(0); }
  int hasNext() const { return cursor.kind != Position::kEnd ? 1 : 0; }
  int hasPrev() const { return cursor.kind != Position::kNowhere && cursorIndex() > 0 ? 1 : 0; }

  const Known* next() {
    if (cursor.kind != Position::kEntry) return nullptr;
    const std::size_t index = cursorIndex();
    current = entries[index];
    cursor = index + 1 < entries.size() ? at(index + 1) : Position{};
    return current;
  }

  const Known* prev() {
    if (hasPrev() == 0) return nullptr;
    const std::size_t index = cursorIndex();
    current = cursor.entry;
    cursor = at(index - 1);
    return flaw_ == Flaw::kPrevAnswersTheEntryBefore ? entries[index - 1] : current;
  }

  const Known* remove() { return current == nullptr ? nullptr : takeOut(current); }

  const Known* deleteIt(long long id) {
    const Known* const entry = first([&](const Known& e) { return e.id == id; });
    return entry == nullptr ? nullptr : takeOut(entry);
  }

  void deleteAll() {
    entries.clear();
    cursor = {};
    current = nullptr;
  }

 private:
  Position at(std::size_t index) const { return {Position::kEntry, entries[index]}; }

  /// The end for no entry.
  std::size_t cursorIndex() const {
    return static_cast<std::size_t>(std::ranges::find(entries, cursor.entry) - entries.begin());
  }

  void place(Known* entry, bool behindEquals) {
    std::size_t index = 0;
    for (; index < entries.size(); ++index) {
      current = entries[index];
      const Known& visited = *entries[index];
      if (!visited.start || !entry->start) continue;
      if (*visited.start > *entry->start || (*visited.start == *entry->start && !behindEquals)) {
        current = index + 1 < entries.size() ? entries[index + 1] : nullptr;
        break;
      }
    }
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(index), entry);
  }

  const Known* takeOut(const Known* entry) {
    const auto index = static_cast<std::size_t>(std::ranges::find(entries, entry) - entries.begin());
    if (cursor.entry == entry) {
      cursor = index + 1 < entries.size() && flaw_ != Flaw::kRemoveLeavesTheCursor ? at(index + 1) : Position{};
    }
    if (current == entry) current = nullptr;
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
    return entry;
  }

  Flaw flaw_;
};

unsigned fromEnvironment(const char* name, unsigned otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
}

class QueueModelTest : public QueueTest {
 protected:
  /// Runs `operations` on both. The first difference in words, or nothing.
  std::string run(unsigned seed, unsigned operations, Flaw flaw = Flaw::kNone);

 private:
  unsigned upTo(unsigned most) { return std::uniform_int_distribution<unsigned>(0, most)(random_); }
  bool oneIn(unsigned n) { return upTo(n - 1) == 0; }

  /// A new entry with values from small ranges, so that keys and times meet.
  Known* newKnown() {
    Known known{};
    known.id = static_cast<long long>(upTo(40)) - 2;
    known.taskID = upTo(2);
    known.suffix = static_cast<int>(upTo(1));
    known.sharedScheduleID = upTo(1);
    known.ruleID = upTo(1);
    known.status = static_cast<int>(upTo(3));
    if (!oneIn(12)) known.start = at(static_cast<int>(upTo(7)));
    if (!oneIn(3)) known.job = oneIn(2) ? "A" : "B";
    known.exec = newEntry(known.id, known.start, known.status);
    known.exec->setTaskID(ctx, known.taskID);
    known.exec->setSuffix(ctx, known.suffix);
    known.exec->setSharedNamedScheduleID(ctx, known.sharedScheduleID);
    known.exec->setScheduleEventID(ctx, known.ruleID);
    known.exec->setRookJobID(ctx, known.job.c_str());
    known_.push_back(std::make_unique<Known>(std::move(known)));
    return known_.back().get();
  }

  void same(const char* what, long long expected, long long found) {
    if (expected != found) difference_ << what << ": expected " << expected << ", found " << found << "; ";
  }
  void same(const char* what, const Known* expected, const MDTaskExec* found) {
    if ((expected == nullptr ? nullptr : expected->exec) == found) return;
    difference_ << what << ": expected " << (expected == nullptr ? -99 : expected->id) << ", found "
                << (found == nullptr ? -99 : found->getTaskExecID(ctx)) << "; ";
  }

  void operate(Model& model);
  void compare(const Model& model);

  std::mt19937 random_;
  std::vector<std::unique_ptr<Known>> known_;
  std::ostringstream difference_;
};

void QueueModelTest::operate(Model& model) {
  const int lock = static_cast<int>(upTo(1));
  const long long id = static_cast<long long>(upTo(40)) - 2;
  const long long task = upTo(2);
  const int suffix = static_cast<int>(upTo(1));
  // A long list is emptied again; sorting needs a start time in each entry.
  const bool full = model.entries.size() > 14;
  const bool timed = std::ranges::all_of(model.entries, [](const Known* e) { return e->start.has_value(); });
  switch (full ? 17 + upTo(2) : upTo(24)) {
    case 0: {
      std::vector<Known*> array;
      for (unsigned count = upTo(3); count != 0; --count) array.push_back(newKnown());
      std::vector<MDTaskExec*> execs;
      for (const Known* const known : array) execs.push_back(known->exec);
      list.createFromArr(execs.data(), static_cast<long>(execs.size()), lock);
      model.createFromArr(array);
      break;
    }
    case 1: {
      Known* const entry = newKnown();
      list.add(entry->exec, lock);
      model.add(entry);
      break;
    }
    case 2:
    case 3:
    case 4:
    case 5: {
      Known* const entry = newKnown();
      same("insert", model.insert(entry), list.insert(entry->exec, lock));
      break;
    }
    case 6:
      if (timed) {
        list.sort(lock);
        model.sort();
      }
      break;
    case 7: {
      const Known* const first = model.firstScheduled();
      same("firstScheduled", first, list.firstScheduled(lock));
      same("isFirst", first != nullptr && first->id == id ? 1 : 0, list.isFirst(id, lock));
      break;
    }
    case 8:
      same("hasRunningJob", model.first([](const Known& e) { return !e.queued(); }) == nullptr ? 0 : 1,
           list.hasRunningJob(lock));
      break;
    case 9:
      same("search", model.first([&](const Known& e) { return e.id == id; }), list.search(id, lock));
      break;
    case 10: {
      const std::string job = oneIn(2) ? "A" : "B";
      same("search by job", model.first([&](const Known& e) { return e.job == job; }), list.search(job.c_str(), lock));
      break;
    }
    case 11:
      same("searchQueued", model.first([&](const Known& e) { return e.of(task, suffix) && e.queued(); }),
           list.searchQueued(task, suffix, lock));
      break;
    case 12: {
      const long long n = static_cast<long long>(upTo(5)) - 1;
      same("existNth", model.existNth(task, suffix, n), list.existNth(task, suffix, n, lock));
      break;
    }
    case 13: {
      const long long shared = upTo(1);
      const long long rule = upTo(1);
      same("exist", model.exist(task, suffix, shared, rule), list.exist(task, suffix, shared, rule, lock));
      break;
    }
    case 14:
      same("getMax", model.getMax(), list.getMax(lock));
      break;
    case 15:
      model.iterateStart();
      list.iterateStart(lock);
      break;
    case 16:
      same("hasNext", model.hasNext(), list.hasNext(lock));
      same("hasPrev", model.hasPrev(), list.hasPrev(lock));
      break;
    case 17:
    case 18: {
      const Entry removed(list.remove(lock));
      same("remove", model.remove(), removed.get());
      break;
    }
    case 19: {
      const Entry deleted(list.deleteIt(id, lock));
      same("deleteIt", model.deleteIt(id), deleted.get());
      break;
    }
    case 20:
      if (oneIn(8)) {
        list.deleteAll(lock);
        model.deleteAll();
      }
      break;
    case 21:
    case 22:
    case 23:
      same("next", model.next(), list.next(lock));
      break;
    default:
      same("prev", model.prev(), list.prev(lock));
  }
}

void QueueModelTest::compare(const Model& model) {
  const QueueProbe seen = probe();
  if (!seen.linksHold()) difference_ << "the links do not hold; ";
  same("size", static_cast<long long>(model.entries.size()), list.size(0));
  const std::vector<MDTaskExec*> entries = seen.entries();
  same("entries", static_cast<long long>(model.entries.size()), static_cast<long long>(entries.size()));
  for (std::size_t i = 0; i < std::min(entries.size(), model.entries.size()); ++i) {
    same("order", model.entries[i], entries[i]);
  }
  same("at the end", model.cursor.kind == Model::Position::kEnd, seen.atEnd());
  same("nowhere", model.cursor.kind == Model::Position::kNowhere, seen.nowhere());
  same("cursor", model.cursor.entry, seen.cursor());
  same("current", model.current, seen.current());
}

std::string QueueModelTest::run(unsigned seed, unsigned operations, Flaw flaw) {
  random_.seed(seed);
  difference_.str("");
  list.deleteAll(0);
  Model model(flaw);
  for (unsigned i = 0; i < operations && difference_.str().empty(); ++i) {
    operate(model);
    compare(model);
    if (!difference_.str().empty()) difference_ << "after operation " << i;
    script.forget();
  }
  list.deleteAll(0);
  known_.clear();
  return difference_.str();
}

TEST_F(QueueModelTest, ListAndVectorAgreeAfterEachOfManyRandomOperations) {
  const unsigned seed = fromEnvironment("MESK_SEED", std::random_device()());
  const unsigned operations = fromEnvironment("MESK_OPERATIONS", 5000);
  std::printf("MESK_SEED=%u MESK_OPERATIONS=%u\n", seed, operations);
  EXPECT_EQ(run(seed, operations), "") << "MESK_SEED=" << seed;
}

TEST_F(QueueModelTest, ARunNoticesEachFlaw) {
  const unsigned seed = fromEnvironment("MESK_SEED", 1);
  for (const Flaw flaw :
       {Flaw::kEqualsGoBehind, Flaw::kCursorStaysAtTheEndAfterInsert, Flaw::kExistStopsAtTheFirst,
        Flaw::kPrevAnswersTheEntryBefore, Flaw::kGetMaxKeepsTheCurrentEntry, Flaw::kRemoveLeavesTheCursor,
        Flaw::kRunningHeadHidesTheNext, Flaw::kCreateFromArrGoesToTheEnd}) {
    EXPECT_NE(run(seed, 5000, flaw), "") << "flaw " << static_cast<int>(flaw) << ", MESK_SEED=" << seed;
  }
}

}  // namespace
}  // namespace mesk::test
