// The queue told with a vector.
#pragma once

#include <mesk/queue/FakeQueueTest.h>

#include <algorithm>
#include <vector>

namespace mesk::test {

/// An entry and what the record behind it says.
struct Known : Record {
  MDTaskExec* exec = nullptr;
  bool gone = false;  ///< the queue deleted it
};

/// What a wrong queue might do; a run must notice each.
enum class Flaw {
  kNone,
  kEqualsGoBehind,
  kSortKeepsEqualsInOrder,
  kCursorStaysAtTheEndAfterInsert,
  kAddGoesToTheEnd,
  kExistStopsAtTheFirst,
  kExistNthCountsFromZero,
  kPrevAnswersTheEntryBefore,
  kGetMaxKeepsTheCurrentEntry,
  kRemoveLeavesTheCursor,
  kDeleteItTakesTheLast,
  kDeleteAllKeepsTheCurrentEntry,
  kRunningHeadHidesTheNext,
  kCreateFromArrGoesToTheEnd,
  kKeyOfZeroIsAKey,
  kFollowerKeepsTheStatus,
  kPrintCutsTheMaximum,
  kOneExecutionIsNone,
  kEnd
};

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

  bool has(Flaw flaw) const { return flaw_ == flaw; }

  void createFromArr(const std::vector<Known*>& array) {
    if (array.empty()) return;
    cursor = entries.empty() ? Position{} : at(0);
    const auto where = has(Flaw::kCreateFromArrGoesToTheEnd) ? entries.end() : entries.begin();
    entries.insert(where, array.begin(), array.end());
  }

  void add(Known* entry) {
    const std::size_t index = has(Flaw::kAddGoesToTheEnd) ? entries.size() : cursorIndex();
    entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(index), entry);
  }

  int insert(Known* entry) {
    place(entry, has(Flaw::kEqualsGoBehind));
    if (cursor.kind == Position::kEnd && !has(Flaw::kCursorStaysAtTheEndAfterInsert)) cursor = {Position::kNowhere};
    return firstScheduled() == entry ? 1 : 0;
  }

  /// Every entry must have a start. Entries are taken out and put back one by one, which leaves a position; the order
  /// that it comes to is told on its own: by start, equals in reverse.
  void sort() {
    std::vector<Known*> ordered = entries;
    if (!has(Flaw::kSortKeepsEqualsInOrder)) std::ranges::reverse(ordered);
    std::ranges::stable_sort(ordered, {}, [](const Known* e) { return *e->start; });

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
    entries = ordered;
  }

  const Known* firstScheduled() const {
    if (has(Flaw::kRunningHeadHidesTheNext) && !entries.empty() && !entries[0]->queued()) return nullptr;
    return first([](const Known& e) { return e.queued(); });
  }

  template <class Match>
  const Known* first(Match match) const {
    const auto found = std::ranges::find_if(entries, [&](const Known* e) { return match(*e); });
    return found == entries.end() ? nullptr : *found;
  }

  long long existNth(long long task, int suffix, long long n) const {
    long long seen = has(Flaw::kExistNthCountsFromZero) ? -1 : 0;
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
      if (has(Flaw::kExistStopsAtTheFirst)) break;
    }
    return last;
  }

  long long maximum() const {
    long long largest = -1;
    for (const Known* const e : entries) largest = std::max(largest, e->id);
    return largest;
  }

  long long getMax() {
    if (!entries.empty() && !has(Flaw::kGetMaxKeepsTheCurrentEntry)) current = entries.back();
    return maximum();
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
    return has(Flaw::kPrevAnswersTheEntryBefore) ? entries[index - 1] : current;
  }

  const Known* remove() { return current == nullptr ? nullptr : takeOut(current); }

  const Known* deleteIt(long long id) {
    const Known* found = first([&](const Known& e) { return e.id == id; });
    if (found != nullptr && has(Flaw::kDeleteItTakesTheLast)) {
      for (const Known* const e : entries) found = e->id == id ? e : found;
    }
    return found == nullptr ? nullptr : takeOut(found);
  }

  void deleteAll() {
    const Known* const last = entries.empty() ? nullptr : entries.back();
    entries.clear();
    cursor = {};
    current = has(Flaw::kDeleteAllKeepsTheCurrentEntry) ? last : nullptr;
  }

 private:
  Position at(std::size_t index) const { return {Position::kEntry, entries[index]}; }

  /// The number of entries when the cursor is on none.
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
      cursor = index + 1 < entries.size() && !has(Flaw::kRemoveLeavesTheCursor) ? at(index + 1) : Position{};
    }
    if (current == entry) current = nullptr;
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
    return entry;
  }

  Flaw flaw_;
};

}  // namespace mesk::test
