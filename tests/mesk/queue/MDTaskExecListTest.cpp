#include <mesk/queue/QueueFixture.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SimpleDateFormat.h>

#include <cstdint>
#include <functional>
#include <limits>

namespace mesk::test {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class MDTaskExecListTest : public QueueTest {
 protected:
  /// Links new queued entries with these IDs in this order, without start times.
  void fill(const Ids& taskExecIDs) {
    std::vector<MDTaskExec*> entries;
    for (const long long id : taskExecIDs) entries.push_back(newEntry(id));
    list.createFromArr(entries.data(), static_cast<long>(entries.size()), 0);
  }

  /// Takes out the current entry and answers its ID; none when there is none.
  std::optional<long long> removed() {
    const Entry entry(list.remove(0));
    return entry ? std::optional(entry->getTaskExecID(ctx)) : std::nullopt;
  }

  std::string shownTime(long long millis) {
    const SCTimestamp time(ctx, millis);
    return taken(SimpleDateFormat(ctx, "yyyyMMddHHmmss").format(ctx, time));
  }
};

// One list.

TEST_F(MDTaskExecListTest, TheFirstGetInstanceSaysThatItMakesAListAndLaterOnesAnswerTheSame) {
  delete MDTaskExecList::existing();
  CaptureStderr();
  MDTaskExecList* const first = MDTaskExecList::getInstance();
  MDTaskExecList* const second = MDTaskExecList::getInstance();
  EXPECT_EQ(GetCapturedStderr(), "Get a new theInstance\n");
  EXPECT_EQ(first, second);
}

TEST_F(MDTaskExecListTest, AfterTheDestructorGetInstanceMakesANewEmptyListAndSaysSoAgain) {
  fill({1, 2});
  delete &list;
  EXPECT_EQ(MDTaskExecList::existing(), nullptr);
  CaptureStderr();
  MDTaskExecList* const next = MDTaskExecList::getInstance();
  EXPECT_EQ(GetCapturedStderr(), "Get a new theInstance\n");
  EXPECT_EQ(next->size(0), 0);
}

TEST_F(MDTaskExecListTest, WithoutMemoryThereIsNoInstanceAndTheNextCallTriesAgain) {
  delete MDTaskExecList::existing();
  {
    const AllocationFault fault(AllocationFault::kNew, 1);
    EXPECT_EQ(MDTaskExecList::getInstance(), nullptr);
  }
  EXPECT_NE(MDTaskExecList::getInstance(), nullptr);
}

TEST_F(MDTaskExecListTest, AnEmptyListFindsNothingAndMovesNothing) {
  for (const int lock : {0, 1}) {
    EXPECT_EQ(list.firstScheduled(lock), nullptr);
    EXPECT_EQ(list.isFirst(0, lock), 0);
    EXPECT_EQ(list.hasRunningJob(lock), 0);
    EXPECT_EQ(list.getMax(lock), -1);
    EXPECT_EQ(list.exist(1, 0, 0, 0, lock), -1);
    EXPECT_EQ(list.existNth(1, 0, 1, lock), -1);
    EXPECT_EQ(list.search(1, lock), nullptr);
    EXPECT_EQ(list.search("job", lock), nullptr);
    EXPECT_EQ(list.searchQueued(1, 0, lock), nullptr);
    EXPECT_EQ(list.next(lock), nullptr);
    EXPECT_EQ(list.prev(lock), nullptr);
    EXPECT_TRUE(probe().atEnd());
    EXPECT_EQ(list.hasNext(lock), 0);
    EXPECT_EQ(list.hasPrev(lock), 0);
    EXPECT_EQ(list.remove(lock), nullptr);
    EXPECT_EQ(list.deleteIt(1, lock), nullptr);
    list.sort(lock);
    list.deleteAll(lock);
    EXPECT_EQ(list.size(lock), 0);
    EXPECT_TRUE(probe().atEnd());
  }
}

// Order.

TEST_F(MDTaskExecListTest, InsertPutsAnEntryAheadOfItsEqualsAndSaysWhetherItIsTheFirstQueuedOne) {
  EXPECT_EQ(list.insert(newEntry(1, at(10)), 0), 1);
  EXPECT_EQ(list.insert(newEntry(2, at(9)), 0), 1);
  EXPECT_EQ(list.insert(newEntry(3, at(10)), 0), 0);
  EXPECT_EQ(ids(), (Ids{2, 3, 1}));
  EXPECT_EQ(list.size(0), 3);
}

TEST_F(MDTaskExecListTest, InsertOfARunningEntryAtTheHeadIsNotTheFirstQueuedOne) {
  list.insert(newEntry(1, at(10)), 0);
  EXPECT_EQ(list.insert(newEntry(2, at(9), 3), 0), 0);
  EXPECT_EQ(ids(), (Ids{2, 1}));
}

TEST_F(MDTaskExecListTest, InsertBehindRunningEntriesIsTheFirstQueuedOne) {
  list.insert(newEntry(1, at(9), 3), 0);
  EXPECT_EQ(list.insert(newEntry(2, at(10), 1), 0), 1);
}

TEST_F(MDTaskExecListTest, InsertWithoutAStartGoesToTheEndBehindAnEarlierOneWithout) {
  list.insert(newEntry(1), 0);
  list.insert(newEntry(2, at(10)), 0);
  list.insert(newEntry(3), 0);
  EXPECT_EQ(ids(), (Ids{1, 2, 3}));
}

TEST_F(MDTaskExecListTest, AnEntryWithoutAStartIsNeverAPlaceToStopAt) {
  list.insert(newEntry(1), 0);
  list.insert(newEntry(2, at(11)), 0);
  list.insert(newEntry(3, at(10)), 0);
  EXPECT_EQ(ids(), (Ids{1, 3, 2}));
}

TEST_F(MDTaskExecListTest, InsertLinksNoNullEntry) {
  EXPECT_EQ(list.insert(nullptr, 0), 0);
  EXPECT_EQ(list.size(0), 0);
  EXPECT_TRUE(probe().atEnd());
}

TEST_F(MDTaskExecListTest, SortReversesEqualEntries) {
  std::vector<MDTaskExec*> entries = {newEntry(1, at(10)), newEntry(2, at(10)), newEntry(3, at(10))};
  list.createFromArr(entries.data(), 3, 0);
  list.sort(0);
  EXPECT_EQ(ids(), (Ids{3, 2, 1}));
  EXPECT_TRUE(probe().atEnd());
  EXPECT_EQ(list.size(0), 3);
}

TEST_F(MDTaskExecListTest, SortVisitsAnEntryAgainThatMovedBehindItsSuccessor) {
  std::vector<MDTaskExec*> entries = {newEntry(5, at(5)), newEntry(2, at(2)), newEntry(4, at(4)),
                                      newEntry(1, at(1)), newEntry(3, at(3)), newEntry(22, at(2))};
  list.createFromArr(entries.data(), 6, 0);
  list.sort(1);
  EXPECT_EQ(ids(), (Ids{1, 22, 2, 3, 4, 5}));
}

TEST_F(MDTaskExecListTest, SortOfOneEntryKeepsIt) {
  list.insert(newEntry(1, at(10)), 0);
  list.sort(0);
  EXPECT_EQ(ids(), (Ids{1}));
  EXPECT_TRUE(probe().atEnd());
  EXPECT_EQ(removed(), std::nullopt);
}

/// Watches a sort that would not end, and ends it.
struct Patience {
  ThreadContext& ctx;
  std::vector<MDTaskExec*> entries;
  int steps = 0;

  static void watch(const TraceRecord& record, void* self) {
    auto& patience = *static_cast<Patience*>(self);
    if (record.kind != TraceRecord::kData || ++patience.steps != 1000) return;
    SCTimestamp start(patience.ctx, at(10));
    for (MDTaskExec* const entry : patience.entries) entry->setNextStartDateTime(patience.ctx, &start);
  }
};

TEST_F(MDTaskExecListTest, SortWithTwoEntriesWithoutAStartGoesOnUntilTheyHaveOne) {
  Patience patience{ctx, {newEntry(1), newEntry(2)}};
  list.createFromArr(patience.entries.data(), 2, 0);
  setTraceSink(Patience::watch, &patience);
  list.sort(0);
  setTraceSink(nullptr, nullptr);
  EXPECT_GT(patience.steps, 1000);
}

// Lookups.

TEST_F(MDTaskExecListTest, ARunningHeadDoesNotHideTheNextDueEntry) {
  for (const int status : {0, 1}) {
    list.deleteAll(0);
    list.insert(newEntry(1, at(9), 3), 0);
    MDTaskExec* const due = newEntry(2, at(10), status);
    list.insert(due, 0);
    EXPECT_EQ(list.firstScheduled(0), due);
    EXPECT_EQ(list.isFirst(2, 0), 1);
    EXPECT_EQ(list.isFirst(1, 0), 0);
    EXPECT_EQ(list.hasRunningJob(0), 1);
  }
}

TEST_F(MDTaskExecListTest, NothingRunsWhenAllAreQueued) {
  fill({1, 2});
  EXPECT_EQ(list.hasRunningJob(0), 0);
}

TEST_F(MDTaskExecListTest, NothingIsScheduledWhenAllRun) {
  list.insert(newEntry(1, at(9), 2), 0);
  EXPECT_EQ(list.firstScheduled(0), nullptr);
  EXPECT_EQ(list.isFirst(1, 0), 0);
}

TEST_F(MDTaskExecListTest, SearchFindsTheFirstEntryWithTheID) {
  fill({5, 7, 7});
  EXPECT_EQ(list.search(7, 0), probe().entries()[1]);
  EXPECT_EQ(list.search(8, 0), nullptr);
}

TEST_F(MDTaskExecListTest, SearchByJobComparesByteForByteAndPassesOverEntriesWithoutOne) {
  fill({1, 2, 3, 4});
  const auto entries = probe().entries();
  entries[1]->setRookJobID(ctx, "job1");
  entries[2]->setRookJobID(ctx, "JOB1");
  entries[3]->setRookJobID(ctx, "JOB1");
  EXPECT_EQ(list.search("JOB1", 0), entries[2]);
  EXPECT_EQ(list.search("JOB", 0), nullptr);
  EXPECT_EQ(list.search("", 0), nullptr);
  EXPECT_EQ(list.search(static_cast<const char*>(nullptr), 0), nullptr);
}

TEST_F(MDTaskExecListTest, SearchQueuedNeedsTaskSuffixAndAQueuedStatus) {
  fill({1, 2, 3, 4, 5});
  const auto entries = probe().entries();
  entries[0]->setTaskID(ctx, 2);
  entries[1]->setSuffix(ctx, 1);
  entries[2]->setStatus(ctx, 3);
  EXPECT_EQ(list.searchQueued(1, 0, 0), entries[3]);
  EXPECT_EQ(list.searchQueued(1, 1, 0), entries[1]);
  EXPECT_EQ(list.searchQueued(2, 1, 0), nullptr);
}

TEST_F(MDTaskExecListTest, ExistNthCountsFromOneAndLessIsTheFirst) {
  fill({11, 12, 13});
  probe().entries()[1]->setSuffix(ctx, 9);
  constexpr long long kLeast = std::numeric_limits<long long>::min();
  for (const long long n : {kLeast, -5LL, 0LL, 1LL}) EXPECT_EQ(list.existNth(1, 0, n, 0), 11) << n;
  EXPECT_EQ(list.existNth(1, 0, 2, 0), 13);
  EXPECT_EQ(list.existNth(1, 0, 3, 0), -1);
  EXPECT_EQ(list.existNth(2, 0, 1, 0), -1);
}

TEST_F(MDTaskExecListTest, ExistAnswersTheLastOfTwoMatches) {
  fill({21, 22, 23, 24, 25});
  const auto entries = probe().entries();
  for (MDTaskExec* const entry : entries) {
    entry->setSharedNamedScheduleID(ctx, 3);
    entry->setScheduleEventID(ctx, 4);
  }
  EXPECT_EQ(list.exist(1, 0, 3, 4, 0), 25);
  entries[4]->setTaskID(ctx, 2);
  EXPECT_EQ(list.exist(1, 0, 3, 4, 0), 24);
  entries[3]->setSuffix(ctx, 2);
  EXPECT_EQ(list.exist(1, 0, 3, 4, 0), 23);
  entries[2]->setSharedNamedScheduleID(ctx, 2);
  EXPECT_EQ(list.exist(1, 0, 3, 4, 0), 22);
  entries[1]->setScheduleEventID(ctx, 2);
  EXPECT_EQ(list.exist(1, 0, 3, 4, 0), 21);
  EXPECT_EQ(list.exist(1, 0, 3, 5, 0), -1);
}

TEST_F(MDTaskExecListTest, GetMaxComparesAllOfTheIDAndMakesTheLastEntryTheCurrentOne) {
  fill({3, 0x1'0000'0000, 5});
  list.iterateStart(0);
  EXPECT_EQ(list.getMax(0), 0x1'0000'0000);
  EXPECT_EQ(probe().cursor(), probe().entries()[0]);
  EXPECT_EQ(removed(), 5);
}

TEST_F(MDTaskExecListTest, GetMaxOfNegativeIDsIsMinusOne) {
  fill({-7, -3});
  EXPECT_EQ(list.getMax(0), -1);
}

TEST_F(MDTaskExecListTest, LookupsLeaveThePositionAsItWas) {
  fill({1, 2, 3});
  list.iterateStart(0);
  list.next(0);
  const auto entries = probe().entries();
  const std::vector<std::function<void()>> lookups = {[&] { list.firstScheduled(0); },
                                                      [&] { list.isFirst(3, 0); },
                                                      [&] { list.hasRunningJob(0); },
                                                      [&] { list.search(3, 0); },
                                                      [&] { list.search("job", 0); },
                                                      [&] { list.searchQueued(2, 0, 0); },
                                                      [&] { list.existNth(1, 0, 3, 0); },
                                                      [&] { list.exist(1, 0, 0, 0, 0); },
                                                      [&] { list.deleteIt(99, 0); },
                                                      [&] { list.size(0); },
                                                      [&] {
                                                        CaptureStderr();
                                                        list.print(0);
                                                        GetCapturedStderr();
                                                      }};
  for (const auto& lookup : lookups) {
    lookup();
    EXPECT_EQ(probe().cursor(), entries[1]);
    EXPECT_EQ(probe().current(), entries[0]);
  }
}

// Walking.

TEST_F(MDTaskExecListTest, AWalkGivesEachEntryOnceAndEndsAtTheEnd) {
  fill({1, 2});
  const auto entries = probe().entries();
  list.iterateStart(0);
  EXPECT_EQ(list.hasNext(0), 1);
  EXPECT_EQ(list.hasPrev(0), 0);
  EXPECT_EQ(list.next(0), entries[0]);
  EXPECT_EQ(list.hasPrev(0), 1);
  EXPECT_EQ(list.next(0), entries[1]);
  EXPECT_EQ(list.hasNext(0), 0);
  EXPECT_EQ(list.next(0), nullptr);
  EXPECT_TRUE(probe().atEnd());
  EXPECT_EQ(probe().current(), entries[1]);
}

TEST_F(MDTaskExecListTest, PrevRightAfterTheStartIsNullAndMovesNothing) {
  fill({1, 2});
  list.iterateStart(0);
  EXPECT_EQ(list.prev(0), nullptr);
  EXPECT_EQ(probe().cursor(), probe().entries()[0]);
}

TEST_F(MDTaskExecListTest, PrevAtTheEndIsNullAndStepsOntoTheLastEntry) {
  fill({1, 2});
  list.iterateStart(0);
  list.next(0);
  list.next(0);
  EXPECT_EQ(list.prev(0), nullptr);
  EXPECT_EQ(probe().cursor(), probe().entries()[1]);
  EXPECT_EQ(list.prev(0), probe().entries()[1]);
  EXPECT_EQ(probe().cursor(), probe().entries()[0]);
}

TEST_F(MDTaskExecListTest, AfterPrevAtTheEndThereIsNoCurrentEntryToRemove) {
  fill({1, 2});
  list.iterateStart(0);
  list.next(0);
  list.next(0);
  list.prev(0);
  EXPECT_EQ(list.remove(0), nullptr);
  EXPECT_EQ(list.size(0), 2);
}

TEST_F(MDTaskExecListTest, InsertAtTheEndLeavesTheCursorNowhereUntilTheNextStart) {
  EXPECT_TRUE(probe().atEnd());
  list.insert(newEntry(1, at(10)), 0);
  EXPECT_TRUE(probe().nowhere());
  EXPECT_EQ(list.hasNext(0), 1);
  EXPECT_EQ(list.hasPrev(0), 0);
  EXPECT_EQ(list.next(0), nullptr);
  EXPECT_EQ(list.prev(0), nullptr);
  EXPECT_TRUE(probe().nowhere());
  list.insert(newEntry(2, at(9)), 0);
  EXPECT_TRUE(probe().nowhere());
  list.iterateStart(0);
  EXPECT_EQ(list.next(0), probe().entries()[0]);
}

TEST_F(MDTaskExecListTest, InsertKeepsACursorThatStandsOnAnEntry) {
  list.insert(newEntry(1, at(10)), 0);
  list.iterateStart(0);
  list.insert(newEntry(2, at(9)), 0);
  EXPECT_EQ(probe().cursor(), probe().entries()[1]);
}

TEST_F(MDTaskExecListTest, AfterInsertTheCurrentEntryIsTheOneBehindThePlace) {
  for (const long long id : {1, 2, 3}) list.insert(newEntry(id, at(static_cast<int>(id))), 0);
  list.insert(newEntry(10, at(1)), 0);
  EXPECT_EQ(ids(), (Ids{10, 1, 2, 3}));
  EXPECT_EQ(removed(), 2);
}

TEST_F(MDTaskExecListTest, AfterInsertBeforeTheLastEntryThereIsNoCurrentOne) {
  for (const long long id : {1, 3}) list.insert(newEntry(id, at(static_cast<int>(id))), 0);
  list.insert(newEntry(2, at(2)), 0);
  EXPECT_EQ(ids(), (Ids{1, 2, 3}));
  EXPECT_EQ(removed(), std::nullopt);
}

TEST_F(MDTaskExecListTest, AddLinksBeforeTheCursorAndAtTheEndWhenThatStandsNowhere) {
  fill({1, 2});
  list.iterateStart(0);
  list.next(0);
  list.add(newEntry(3), 0);
  EXPECT_EQ(ids(), (Ids{1, 3, 2}));
  EXPECT_EQ(list.next(0), probe().entries()[2]);
  list.add(newEntry(4), 0);
  EXPECT_EQ(ids(), (Ids{1, 3, 2, 4}));
  list.insert(newEntry(5), 0);
  EXPECT_TRUE(probe().nowhere());
  list.add(newEntry(6), 0);
  list.add(nullptr, 0);
  EXPECT_EQ(ids(), (Ids{1, 3, 2, 4, 5, 6}));
}

// Taking out.

TEST_F(MDTaskExecListTest, RemoveTakesOutTheEntryThatNextReturnedAndASecondTakesNone) {
  fill({1, 2, 3});
  list.iterateStart(0);
  MDTaskExec* const first = list.next(0);
  const Entry entry(list.remove(0));
  EXPECT_EQ(entry.get(), first);
  EXPECT_EQ(list.remove(0), nullptr);
  EXPECT_EQ(ids(), (Ids{2, 3}));
  EXPECT_EQ(list.size(0), 2);
}

TEST_F(MDTaskExecListTest, RemoveOfTheEntryUnderTheCursorMovesTheCursorOn) {
  fill({1, 2, 3});
  list.iterateStart(0);
  list.next(0);
  list.next(0);
  list.getMax(0);
  ASSERT_EQ(probe().cursor(), probe().current());
  EXPECT_EQ(removed(), 3);
  EXPECT_TRUE(probe().atEnd());
}

TEST_F(MDTaskExecListTest, DeleteItHandsBackTheFirstEntryWithTheIDAndKeepsThePosition) {
  fill({1, 2, 3, 2});
  list.iterateStart(0);
  list.next(0);
  const auto entries = probe().entries();
  const Entry entry(list.deleteIt(3, 0));
  EXPECT_EQ(entry.get(), entries[2]);
  EXPECT_EQ(probe().cursor(), entries[1]);
  EXPECT_EQ(probe().current(), entries[0]);
  const Entry first(list.deleteIt(2, 0));
  EXPECT_EQ(first.get(), entries[1]);
  EXPECT_EQ(ids(), (Ids{1, 2}));
  EXPECT_EQ(list.deleteIt(9, 0), nullptr);
}

TEST_F(MDTaskExecListTest, DeleteItUnderTheCursorMovesItOnAndOfTheCurrentEntryLeavesNone) {
  fill({1, 2, 3});
  list.iterateStart(0);
  list.next(0);
  const Entry second(list.deleteIt(2, 0));
  EXPECT_EQ(probe().cursor(), probe().entries()[1]);
  const Entry first(list.deleteIt(1, 0));
  EXPECT_EQ(list.remove(0), nullptr);
  const Entry third(list.deleteIt(3, 0));
  EXPECT_TRUE(probe().atEnd());
  EXPECT_EQ(list.size(0), 0);
}

TEST_F(MDTaskExecListTest, DeleteAllLeavesAnEmptyListAtItsEndWithoutACurrentEntry) {
  fill({1, 2});
  list.iterateStart(0);
  list.next(0);
  list.deleteAll(1);
  EXPECT_EQ(list.size(0), 0);
  EXPECT_TRUE(probe().atEnd());
  EXPECT_EQ(list.remove(0), nullptr);
}

// Filling from an array.

TEST_F(MDTaskExecListTest, CreateFromArrPutsTheArrayFirstInItsOrderWithTheCursorOnTheFormerFirst) {
  fill({1, 2});
  std::vector<MDTaskExec*> more = {newEntry(9, at(9)), nullptr, newEntry(8, at(8))};
  list.createFromArr(more.data(), 3, 0);
  EXPECT_EQ(ids(), (Ids{9, 8, 1, 2}));
  EXPECT_EQ(list.size(0), 4);
  EXPECT_EQ(probe().cursor(), probe().entries()[2]);
}

TEST_F(MDTaskExecListTest, CreateFromArrWithACountBelowOneDoesNothing) {
  fill({1, 2});
  list.iterateStart(0);
  list.next(0);
  for (const long count : {0L, -1L}) list.createFromArr(nullptr, count, 0);
  EXPECT_EQ(ids(), (Ids{1, 2}));
  EXPECT_EQ(probe().cursor(), probe().entries()[1]);
}

// No memory.

TEST_F(MDTaskExecListTest, AddWithoutMemoryLosesTheEntryAndTracesTheSize) {
  fill({1});
  const Entry lost(newEntry(2));
  const TraceCapture trace;
  const AllocationFault fault(AllocationFault::kNew, 1);
  list.add(lost.get(), 0);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80121", "error 0x1AE80121/10 1", "exit 0x1AE80121 0"}));
  EXPECT_EQ(ids(), (Ids{1}));
  EXPECT_EQ(list.size(0), 1);
}

TEST_F(MDTaskExecListTest, CreateFromArrWithoutMemoryForOneLinksTheOthers) {
  std::vector<MDTaskExec*> entries = {newEntry(1), newEntry(2), newEntry(3)};
  const Entry lost(entries[1]);
  const TraceCapture trace;
  const AllocationFault fault(AllocationFault::kNew, 2);
  list.createFromArr(entries.data(), 3, 0);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80120", "error 0x1AE80120/10 1", "exit 0x1AE80120 0"}));
  EXPECT_EQ(ids(), (Ids{1, 3}));
}

TEST_F(MDTaskExecListTest, InsertWithoutMemoryLosesTheEntryAndGoesOn) {
  list.insert(newEntry(1, at(10)), 0);
  const Entry lost(newEntry(2, at(9)));
  const TraceCapture trace;
  const AllocationFault fault(AllocationFault::kNew, 3);  // behind the two timestamps of one comparison
  EXPECT_EQ(list.insert(lost.get(), 0), 0);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80122", "error 0x1AE80122/10 1", "entry 0x1AE80124", "exit 0x1AE80124 1",
                                  "exit 0x1AE80122 0"}));
  EXPECT_EQ(ids(), (Ids{1}));
}

TEST_F(MDTaskExecListTest, SortWithoutMemoryLosesOneEntryAndGoesOn) {
  std::vector<MDTaskExec*> entries = {newEntry(3, at(3)), newEntry(2, at(2)), newEntry(1, at(1))};
  const Entry lost(entries[0]);
  list.createFromArr(entries.data(), 3, 0);
  const TraceCapture trace;
  const AllocationFault fault(AllocationFault::kNew, 5);  // behind the timestamps of two comparisons
  list.sort(0);
  EXPECT_EQ(trace.lines()[1], "error 0x1AE80123/10 2");
  EXPECT_EQ(ids(), (Ids{1, 2}));
  EXPECT_EQ(list.size(0), 2);
}

// With the store.

TEST_F(MDTaskExecListTest, GetNewJobIDIsTheStoresNextKeyWhateverTheListHolds) {
  fill({5000});
  script.on("MDTaskExec.getReferenceID").returnsLong(0x2'0000'0001);
  EXPECT_EQ(list.getNewJobID(context, 1), 0x2'0000'0001);
  EXPECT_EQ(script.calls(),
            (Lines{"new MDTaskExec(context, exception)", "MDTaskExec.getReferenceID(context, exception)"}));
}

TEST_F(MDTaskExecListTest, TheFirstKeyOfAllIsOne) {
  script.on("MDTaskExec.getReferenceID").returnsLong(1);
  EXPECT_EQ(list.getNewJobID(context, 0), 1);
}

TEST_F(MDTaskExecListTest, GetNewJobIDBelowOneOrWithoutARecordIsMinusOne) {
  for (const long long key : {0LL, -1LL, -500LL}) {
    script.reset();
    script.on("MDTaskExec.getReferenceID").returnsLong(key);
    EXPECT_EQ(list.getNewJobID(context, 0), -1) << key;
  }
  script.reset();
  script.on("MDTaskExec.getReferenceID").returnsLong(7);
  script.on("new MDTaskExec").code(30001, -1);
  EXPECT_EQ(list.getNewJobID(context, 0), -1);
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDTaskExec");
  EXPECT_EQ(list.getNewJobID(context, 0), -1);
}

TEST_F(MDTaskExecListTest, InsertNextExecStoresAQueuedCopyWithAKeyOfItsOwnAndDoesNotLinkIt) {
  const Entry previous(newEntry(7, at(9), 5));
  previous->setTaskID(ctx, 70);
  previous->setUserID(ctx, "JOE");
  SCTimestamp start(ctx, at(12));
  script.forget();
  script.on("MDTaskExec.getReferenceID").returnsLong(8);

  const Entry next(list.insertNextExec(ctx, context, previous.get(), &start, 1));
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(next->getTaskExecID(ctx), 8);
  EXPECT_EQ(next->getTaskID(ctx), 70);
  EXPECT_EQ(next->getStatus(ctx), 1);
  EXPECT_EQ(next->getTaskHistoryID(ctx), -1);
  EXPECT_EQ(taken(next->getUserID(ctx)), "JOE");
  EXPECT_EQ(takenTime(ctx, next->getNextStartDateTime(ctx)), at(12));
  EXPECT_EQ(script.calls(),
            (Lines{"new MDTaskExec(context, exception)", "MDTaskExec.getReferenceID(context, exception)",
                   "new MDTaskExec(context, exception)", "MDTaskExec.getPassword(context, exception)",
                   "MDTaskExec.insert(context, exception)"}));
  EXPECT_EQ(list.size(0), 0);
}

TEST_F(MDTaskExecListTest, InsertNextExecNeedsALivePreviousAndALiveStart) {
  const Entry previous(newEntry(7, at(9)));
  SCTimestamp start(ctx, at(12));
  MDTaskExec dead(ctx, nullptr, nullptr);
  SCTimestamp noTime(ctx, static_cast<jobject>(nullptr));
  script.on("MDTaskExec.getReferenceID").returnsLong(8);
  EXPECT_EQ(list.insertNextExec(ctx, context, nullptr, &start, 0), nullptr);
  EXPECT_EQ(list.insertNextExec(ctx, context, &dead, &start, 0), nullptr);
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), nullptr, 0), nullptr);
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), &noTime, 0), nullptr);
  EXPECT_EQ(script.calls(), Lines{});
}

TEST_F(MDTaskExecListTest, InsertNextExecWithoutAKeyMakesNoRecord) {
  const Entry previous(newEntry(7, at(9)));
  SCTimestamp start(ctx, at(12));
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), &start, 0), nullptr);
  EXPECT_EQ(script.count("new MDTaskExec(context, exception)"), 1);
}

TEST_F(MDTaskExecListTest, InsertNextExecDeletesTheRecordThatCannotBeMadeOrStored) {
  const Entry previous(newEntry(7, at(9)));
  SCTimestamp start(ctx, at(12));
  script.on("MDTaskExec.getReferenceID").returnsLong(8);
  script.on("new MDTaskExec").code(0);
  script.on("new MDTaskExec").code(30001);
  const TraceCapture trace;
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), &start, 0), nullptr);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80129", "error 0x1AE80129/40 30001", "exit 0x1AE80129 -1"}));

  script.reset();
  script.on("MDTaskExec.getReferenceID").returnsLong(8);
  script.on("MDTaskExec.insert").code(30012, -803);
  const LogCapture log;
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), &start, 0), nullptr);
  EXPECT_EQ(log.lines(), (Lines{"0x10080144/10 30012 -803 1 8"}));
}

TEST_F(MDTaskExecListTest, InsertNextExecWithoutMemoryForTheRecordIsNull) {
  const Entry previous(newEntry(7, at(9)));
  SCTimestamp start(ctx, at(12));
  script.on("MDTaskExec.getReferenceID").returnsLong(8);
  const TraceCapture trace;
  const AllocationFault fault(AllocationFault::kNew, 1);
  EXPECT_EQ(list.insertNextExec(ctx, context, previous.get(), &start, 0), nullptr);
  EXPECT_EQ(script.count("MDTaskExec.insert(context, exception)"), 0);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80129", "error 0x1AE80129/40 -300", "exit 0x1AE80129 -1"}));
}

// Printing.

TEST_F(MDTaskExecListTest, PrintWritesSizeEntriesAndTheLargestID) {
  list.insert(newEntry(7, at(9)), 0);
  MDTaskExec* const large = newEntry(0x1'0000'0002, at(10));
  large->setTaskID(ctx, 0xFFFF'FFFF);
  large->setScheduleEventID(ctx, 123);
  list.insert(large, 0);
  list.insert(newEntry(3), 0);
  const std::string expected =
      "The current contents in the list is (size=3)--->\n"
      "TaskExecID= 7; TaskID= 1; SchedID= 0; start timestamp: " +
      shownTime(at(9)) +
      "\n"
      "TaskExecID= 2; TaskID=-1; SchedID=123; start timestamp: " +
      shownTime(at(10)) +
      "\n"
      "TaskExecID= 3; TaskID= 1; SchedID= 0; start timestamp: none\n"
      "The maximum taskExecID is 4294967298\n";
  CaptureStderr();
  list.print(1);
  EXPECT_EQ(GetCapturedStderr(), expected);
}

TEST_F(MDTaskExecListTest, PrintOfAnEmptyListSaysThatItIsEmpty) {
  CaptureStderr();
  list.print(0);
  EXPECT_EQ(GetCapturedStderr(), "The current contents in the list is (size=0)--->\nThe maximum taskExecID is -1\n");
}

TEST_F(MDTaskExecListTest, ANodePrintsTheLineOfItsOwnEntry) {
  const Entry entry(newEntry(12, at(9), 3));
  const TaskExecNode node(entry.get());
  EXPECT_EQ(node.prev, nullptr);
  EXPECT_EQ(node.next, nullptr);
  const std::string expected = "TaskExecID=12; TaskID= 1; SchedID= 0; start timestamp: " + shownTime(at(9)) + "\n";
  CaptureStderr();
  node.print();
  EXPECT_EQ(GetCapturedStderr(), expected);
}

// Tracing.

TEST_F(MDTaskExecListTest, WhatChangesOrDecidesIsTracedWithAnIdentifierOfItsOwn) {
  const Entry entry(newEntry(1, at(9)));
  MDTaskExec* array[] = {entry.get()};
  const auto traced = [&](const std::function<void()>& operation) {
    const TraceCapture trace;
    operation();
    return trace.lines();
  };
  EXPECT_EQ(traced([&] { list.createFromArr(array, 1, 0); }), (Lines{"entry 0x1AE80120", "exit 0x1AE80120 0"}));
  EXPECT_EQ(traced([&] { list.deleteIt(1, 0); }), (Lines{"entry 0x1AE80126", "exit 0x1AE80126 1"}));
  EXPECT_EQ(traced([&] { list.deleteIt(1, 0); }), (Lines{"entry 0x1AE80126", "exit 0x1AE80126 0"}));
  EXPECT_EQ(traced([&] { list.add(entry.get(), 0); }), (Lines{"entry 0x1AE80121", "exit 0x1AE80121 0"}));
  EXPECT_EQ(traced([&] { list.sort(0); }), (Lines{"entry 0x1AE80123", "entry 0x1AE80124", "exit 0x1AE80124 1",
                                                  "data 0x1AE80123/20 1", "exit 0x1AE80123 0"}));
  EXPECT_EQ(traced([&] { list.getMax(0); }), Lines{});
  EXPECT_EQ(traced([&] { list.remove(0); }), (Lines{"entry 0x1AE80125", "exit 0x1AE80125 1"}));
  EXPECT_EQ(traced([&] { list.remove(0); }), (Lines{"entry 0x1AE80125", "exit 0x1AE80125 0"}));
  EXPECT_EQ(traced([&] { list.insert(entry.get(), 0); }),
            (Lines{"entry 0x1AE80122", "entry 0x1AE80124", "exit 0x1AE80124 1", "exit 0x1AE80122 1"}));
  Entry again(list.deleteIt(1, 0));
  again.release();  // `entry` owns it
  EXPECT_EQ(traced([&] { list.deleteAll(0); }), (Lines{"entry 0x1AE80127", "exit 0x1AE80127 0"}));
  EXPECT_EQ(traced([&] { list.getNewJobID(context, 0); }), (Lines{"entry 0x1AE80128", "exit 0x1AE80128 -1"}));
  script.on("MDTaskExec.getReferenceID").returnsLong(5);
  EXPECT_EQ(traced([&] { list.getNewJobID(context, 0); }), (Lines{"entry 0x1AE80128", "exit 0x1AE80128 0"}));
}

TEST_F(MDTaskExecListTest, WhereNobodyIsQueuedTheTraceSaysZero) {
  list.add(newEntry(1, at(9), 5), 0);
  {
    const TraceCapture trace;
    EXPECT_EQ(list.firstScheduled(0), nullptr);
    EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80124", "exit 0x1AE80124 0"}));
  }
  const TraceCapture trace;
  list.sort(0);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80123", "entry 0x1AE80124", "exit 0x1AE80124 0", "data 0x1AE80123/20 0",
                                  "exit 0x1AE80123 0"}));
}

TEST_F(MDTaskExecListTest, InsertNextExecTracesThatItWasAskedForNothingAndThatItWentWell) {
  const Entry previous(newEntry(7, at(9)));
  SCTimestamp start(ctx, at(12));
  {
    const TraceCapture trace;
    EXPECT_EQ(list.insertNextExec(ctx, context, nullptr, &start, 0), nullptr);
    EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80129", "error 0x1AE80129/20 -300", "exit 0x1AE80129 -1"}));
  }
  script.on("MDTaskExec.getReferenceID").returnsLong(8);
  const TraceCapture trace;
  const Entry next(list.insertNextExec(ctx, context, previous.get(), &start, 0));
  EXPECT_NE(next, nullptr);
  EXPECT_EQ(trace.lines(), (Lines{"entry 0x1AE80129", "exit 0x1AE80129 0"}));
}

}  // namespace
}  // namespace mesk::test
