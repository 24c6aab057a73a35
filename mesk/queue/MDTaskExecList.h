// The queue of pending and running executions, by next start.
#pragma once

#include <jni.h>

#include <atomic>
#include <cstdint>

#include <mesk/bridge/ThreadContext.h>
#include <mesk/queue/TaskExecNode.h>
#include <platform/Latch.h>

namespace mesk {

class MDTaskExec;
class SCTimestamp;
class Traced;

/// One list a process, of tens to hundreds of entries. What holds for all of it:
///
///  1. Entries come in ascending next start time; one goes ahead of its equals, one without a time to the end.
///     `add` and `createFromArr` link where they are told and leave the order to `sort`.
///  2. An entry is queued when its status is 0 or 1, else running. Entries are asked through Java at each look, and
///     nothing is remembered of them.
///  3. Entries that are linked belong to the list, which deletes those that `deleteAll` and the destructor find in
///     it. `remove` and `deleteIt` hand one back to the caller. What a lookup returns stays the list's.
///  4. `lock` other than 0 takes the list's latch for the call; 0 leaves it, because the caller holds it through
///     `LLlock` or accepts the race. The latch is not recursive. It guards the list, not the entries.
///  5. The list has one position: the cursor, whose entry `next` returns, and the current entry, which `remove`
///     takes out. Both are shared: who walks in company holds the latch for the whole walk. Lookups and `print`
///     leave both as they were. The current entry is always one in the list, or there is none.
///  6. A null entry is not linked. One that there is no memory to link is lost to the list and not deleted; an error
///     trace tells.
class MESK_API MDTaskExecList {
 public:
  /// The one list, made by the first call, which comes before any other thread's and says so on standard error.
  /// Null out of memory.
  static MDTaskExecList* getInstance();

  /// For `getInstance`.
  MDTaskExecList();

  /// Deletes all entries; the next `getInstance` makes a new list.
  ~MDTaskExecList();

  MDTaskExecList(const MDTaskExecList&) = delete;
  MDTaskExecList& operator=(const MDTaskExecList&) = delete;

  /// Takes, gives back the latch, for several calls with 0 that belong together. 0 does nothing.
  void LLlock(int lock);
  void LLunlock(int lock);

  /// The number of entries. Never waits, whatever the flag.
  long size(int lock) const;

  // Filling.

  /// Links `count` entries in the array's order ahead of those in the list and leaves the cursor on the one that was
  /// first. The array stays the caller's. Below 1: nothing.
  void createFromArr(MDTaskExec** array, long count, int lock);

  /// Links `entry` before the cursor; at the end when the cursor stands nowhere.
  void add(MDTaskExec* entry, int lock);

  /// Links `entry` by its next start. 1 when it then is the first queued one, else 0. The cursor stays, but one at the
  /// end stands nowhere afterwards: `iterateStart` before the next walk.
  int insert(MDTaskExec* entry, int lock);

  /// Orders the whole list. Equals come out in the reverse of their order. The cursor ends at the end. Every entry must
  /// have a next start time: one without moves behind the latest, that one behind it, and so on without end.
  void sort(int lock);

  // Looking up.

  /// The first queued entry, running ones passed over; null when there is none.
  MDTaskExec* firstScheduled(int lock);

  /// 1 when the first queued entry has that ID, else 0.
  int isFirst(long long taskExecID, int lock);

  /// 1 when some entry is running, else 0.
  int hasRunningJob(int lock);

  /// The first entry with that ID; null when there is none.
  MDTaskExec* search(long long taskExecID, int lock);

  /// The first entry whose mainframe job ID is this text, byte for byte; null when there is none.
  MDTaskExec* search(const char* jobID, int lock);

  /// The first queued entry of that task; null when there is none.
  MESK_LOCAL MDTaskExec* searchQueued(long long taskID, int suffix, int lock);

  /// The ID of the `n`-th entry of that task, from 1, less counting as 1; -1 when there are fewer.
  long long existNth(long long taskID, int suffix, long long n, int lock);

  /// The ID of the last entry with these four keys; -1 when there is none.
  long long exist(long long taskID, int suffix, long long sharedNamedScheduleID, long long scheduleEventID, int lock);

  /// The largest ID; -1 for an empty list. Makes the last entry the current one.
  long long getMax(int lock);

  // Walking.

  /// Puts the cursor on the first entry.
  void iterateStart(int lock);

  /// 1 when the cursor is not at the end, also when it stands nowhere; else 0.
  int hasNext(int lock);

  /// 1 when there is an entry before the cursor, else 0.
  int hasPrev(int lock);

  /// The cursor's entry, which becomes the current one; the cursor moves on. At the end or nowhere: null, and nothing
  /// moves.
  MDTaskExec* next(int lock);

  /// The cursor's entry, null at the end, which becomes the current one; the cursor moves back. On the first entry or
  /// nowhere: null, and nothing moves.
  MDTaskExec* prev(int lock);

  // Taking out.

  /// Takes out the current entry, the cursor moving on if it stood there; null when there is none.
  MDTaskExec* remove(int lock);

  /// Takes out the first entry with that ID, the cursor moving on if it stood there; null when there is none.
  MDTaskExec* deleteIt(long long taskExecID, int lock);

  /// Takes out and deletes all; the cursor is at the end.
  void deleteAll(int lock);

  // With the store.

  /// The next key that the store hands out for an execution; -1 when there is none to be had.
  long long getNewJobID(jobject context, int lock);

  /// A new, stored, queued execution: a copy of `previous` with a key of its own that starts at `nextStart`. The
  /// caller owns it and links it with `insert`. Null when either is null or dead and when the store refuses.
  MDTaskExec* insertNextExec(ThreadContext& ctx, jobject context, MDTaskExec* previous, SCTimestamp* nextStart,
                             int lock);

  /// Writes all entries, a line each, and the largest ID to standard error.
  void print(int lock);

  /// The one list when there is one.
  MESK_LOCAL static MDTaskExecList* existing();

 private:
  friend class QueueProbe;  // the tests' view of the position

  template <class Match>
  MESK_LOCAL TaskExecNode* find(Match match);
  MESK_LOCAL TaskExecNode* placeFor(ThreadContext& ctx, const MDTaskExec& entry);
  MESK_LOCAL void linkBefore(TaskExecNode* place, MDTaskExec* entry, const Traced& trace);
  MESK_LOCAL MDTaskExec* unlink(TaskExecNode* node);
  MESK_LOCAL void deleteEntries();
  MESK_LOCAL long long maximum(ThreadContext& ctx) const;

  OSSLatch latch_ = 0;
  std::atomic<std::int32_t> size_ = 0;  // read without the latch
  TaskExecNode head_;
  TaskExecNode tail_;
  TaskExecNode* cursor_ = &tail_;    // an entry's node, the tail, or null for nowhere
  TaskExecNode* current_ = nullptr;  // an entry's node or null

  MESK_LOCAL static MDTaskExecList* theInstance;
};

}  // namespace mesk
