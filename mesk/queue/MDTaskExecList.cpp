#include <mesk/queue/MDTaskExecList.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/Trace.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceCreateFromArr = 0x1AE80120;
constexpr std::uint32_t kTraceAdd = 0x1AE80121;
constexpr std::uint32_t kTraceInsert = 0x1AE80122;
constexpr std::uint32_t kTraceSort = 0x1AE80123;
constexpr std::uint32_t kTraceFirstScheduled = 0x1AE80124;
constexpr std::uint32_t kTraceRemove = 0x1AE80125;
constexpr std::uint32_t kTraceDeleteIt = 0x1AE80126;
constexpr std::uint32_t kTraceDeleteAll = 0x1AE80127;
constexpr std::uint32_t kTraceGetNewJobID = 0x1AE80128;
constexpr std::uint32_t kTraceInsertNextExec = 0x1AE80129;

constexpr long long kNoID = -1;
constexpr int kQueuedStatus = 1;

/// Holds `latch` when `lock` is not 0.
class Latched {
 public:
  Latched(OSSLatch& latch, int lock) : latch_(lock == 0 ? nullptr : &latch) {
    if (latch_ != nullptr) takeLatch(latch_);
  }
  ~Latched() {
    if (latch_ != nullptr) releaseLatch(latch_);
  }
  Latched(const Latched&) = delete;
  Latched& operator=(const Latched&) = delete;

 private:
  OSSLatch* latch_;
};

/// Whether both have a start and `entry` does not start before `other`.
bool startsAtOrAfter(ThreadContext& ctx, const MDTaskExec& entry, const MDTaskExec& other) {
  const std::unique_ptr<SCTimestamp> start(entry.getNextStartDateTime(ctx));
  const std::unique_ptr<SCTimestamp> otherStart(other.getNextStartDateTime(ctx));
  return start && otherStart && start->compareTo(ctx, *otherStart) >= 0;
}

bool belongsTo(ThreadContext& ctx, const MDTaskExec& entry, long long taskID, int suffix) {
  return entry.getTaskID(ctx) == taskID && entry.getSuffix(ctx) == suffix;
}

long long newKey(jobject context) {
  ThreadContext ctx;
  int rc = 0;
  int sqlCode = 0;
  MDTaskExec temporary(ctx, context, rc, sqlCode);
  if (rc != 0) return kNoID;
  const long long key = temporary.getReferenceID(ctx, context);
  return key < 1 ? kNoID : key;
}

}  // namespace

MDTaskExecList* MDTaskExecList::theInstance = nullptr;

MDTaskExecList* MDTaskExecList::getInstance() {
  if (theInstance == nullptr) {
    std::fputs("Get a new theInstance\n", stderr);
    theInstance = new (std::nothrow) MDTaskExecList;
  }
  return theInstance;
}

MDTaskExecList* MDTaskExecList::existing() { return theInstance; }

MDTaskExecList::MDTaskExecList() {
  const Latched latched(latch_, 1);
  head_.prev = &head_;
  head_.next = &tail_;
  tail_.prev = &head_;
}

MDTaskExecList::~MDTaskExecList() {
  const Latched latched(latch_, 1);
  deleteEntries();
  theInstance = nullptr;
}

void MDTaskExecList::LLlock(int lock) {
  if (lock != 0) takeLatch(&latch_);
}

void MDTaskExecList::LLunlock(int lock) {
  if (lock != 0) releaseLatch(&latch_);
}

long MDTaskExecList::size(int /*lock*/) const { return size_; }

// The first node whose entry matches; the tail when there is none.
template <class Match>
TaskExecNode* MDTaskExecList::find(Match match) {
  TaskExecNode* node = head_.next;
  while (node != &tail_ && !match(std::as_const(*node->exec))) node = node->next;
  return node;
}

// The node that `entry` goes before. Makes the entry behind it the current one; the last one when there is none to go
// before.
TaskExecNode* MDTaskExecList::placeFor(ThreadContext& ctx, const MDTaskExec& entry) {
  for (TaskExecNode* node = head_.next; node != &tail_; node = node->next) {
    current_ = node;
    if (startsAtOrAfter(ctx, *node->exec, entry)) {
      current_ = node->next == &tail_ ? nullptr : node->next;
      return node;
    }
  }
  return &tail_;
}

void MDTaskExecList::linkBefore(TaskExecNode* place, MDTaskExec* entry, const Traced& trace) {
  auto* const node = new (std::nothrow) TaskExecNode(entry);
  if (node == nullptr) {
    trace.error(10, size_);
    return;
  }
  node->prev = place->prev;
  node->next = place;
  place->prev->next = node;
  place->prev = node;
  ++size_;
}

// Frees the node and hands its entry back. Nothing is left standing on the node.
MDTaskExec* MDTaskExecList::unlink(TaskExecNode* node) {
  if (cursor_ == node) cursor_ = node->next;
  if (current_ == node) current_ = nullptr;
  node->prev->next = node->next;
  node->next->prev = node->prev;
  --size_;
  MDTaskExec* const entry = node->exec;
  delete node;
  return entry;
}

void MDTaskExecList::deleteEntries() {
  while (head_.next != &tail_) delete unlink(head_.next);
  cursor_ = &tail_;
}

void MDTaskExecList::createFromArr(MDTaskExec** array, long count, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceCreateFromArr);
  if (count >= 1) {
    cursor_ = head_.next;
    for (long i = 0; i < count; ++i) {
      if (array[i] != nullptr) linkBefore(cursor_, array[i], trace);
    }
  }
  trace.exit(0);
}

void MDTaskExecList::add(MDTaskExec* entry, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceAdd);
  if (entry != nullptr) linkBefore(cursor_ == nullptr ? &tail_ : cursor_, entry, trace);
  trace.exit(0);
}

int MDTaskExecList::insert(MDTaskExec* entry, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceInsert);
  if (entry == nullptr) return trace.exit(0);
  ThreadContext ctx;
  linkBefore(placeFor(ctx, *entry), entry, trace);
  if (cursor_ == &tail_) cursor_ = nullptr;
  return trace.exit(firstScheduled(0) == entry ? 1 : 0);
}

void MDTaskExecList::sort(int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceSort);
  ThreadContext ctx;
  cursor_ = head_.next;
  while (cursor_ != &tail_) {
    // The cursor goes on to the node that follows now: an entry that is placed behind that one is visited again.
    current_ = cursor_;
    MDTaskExec* const entry = unlink(cursor_);
    linkBefore(placeFor(ctx, *entry), entry, trace);
    trace.variable(20, firstScheduled(0) == nullptr ? 0 : 1);
  }
  trace.exit(0);
}

MDTaskExec* MDTaskExecList::firstScheduled(int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceFirstScheduled);
  ThreadContext ctx;
  MDTaskExec* const first = find([&](const MDTaskExec& entry) { return entry.isQueued(ctx) != 0; })->exec;
  trace.exit(first == nullptr ? 0 : 1);
  return first;
}

int MDTaskExecList::isFirst(long long taskExecID, int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  const MDTaskExec* const first = firstScheduled(0);
  return first != nullptr && first->getTaskExecID(ctx) == taskExecID ? 1 : 0;
}

int MDTaskExecList::hasRunningJob(int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  return find([&](const MDTaskExec& entry) { return entry.isQueued(ctx) == 0; }) == &tail_ ? 0 : 1;
}

MDTaskExec* MDTaskExecList::search(long long taskExecID, int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  return find([&](const MDTaskExec& entry) { return entry.getTaskExecID(ctx) == taskExecID; })->exec;
}

MDTaskExec* MDTaskExecList::search(const char* jobID, int lock) {
  const Latched latched(latch_, lock);
  if (jobID == nullptr) return nullptr;
  ThreadContext ctx;
  return find([&](const MDTaskExec& entry) {
           const std::unique_ptr<char> text(entry.getRookJobID(ctx));
           return text && std::strcmp(text.get(), jobID) == 0;
         })
      ->exec;
}

MDTaskExec* MDTaskExecList::searchQueued(long long taskID, int suffix, int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  return find(
             [&](const MDTaskExec& entry) { return belongsTo(ctx, entry, taskID, suffix) && entry.isQueued(ctx) != 0; })
      ->exec;
}

long long MDTaskExecList::existNth(long long taskID, int suffix, long long n, int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  const MDTaskExec* const nth = find([&](const MDTaskExec& entry) {
                                  if (!belongsTo(ctx, entry, taskID, suffix)) return false;
                                  if (n <= 1) return true;
                                  --n;
                                  return false;
                                })->exec;
  return nth == nullptr ? kNoID : nth->getTaskExecID(ctx);
}

long long MDTaskExecList::exist(long long taskID, int suffix, long long sharedNamedScheduleID,
                                long long scheduleEventID, int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  long long last = kNoID;
  for (const TaskExecNode* node = head_.next; node != &tail_; node = node->next) {
    const MDTaskExec& entry = *node->exec;
    if (belongsTo(ctx, entry, taskID, suffix) && entry.getSharedNamedScheduleID(ctx) == sharedNamedScheduleID &&
        entry.getScheduleEventID(ctx) == scheduleEventID) {
      last = entry.getTaskExecID(ctx);
    }
  }
  return last;
}

long long MDTaskExecList::maximum(ThreadContext& ctx) const {
  long long largest = kNoID;
  for (const TaskExecNode* node = head_.next; node != &tail_; node = node->next) {
    largest = std::max(largest, node->exec->getTaskExecID(ctx));
  }
  return largest;
}

long long MDTaskExecList::getMax(int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  if (tail_.prev != &head_) current_ = tail_.prev;
  return maximum(ctx);
}

void MDTaskExecList::iterateStart(int lock) {
  const Latched latched(latch_, lock);
  cursor_ = head_.next;
}

int MDTaskExecList::hasNext(int lock) {
  const Latched latched(latch_, lock);
  return cursor_ != &tail_ ? 1 : 0;
}

int MDTaskExecList::hasPrev(int lock) {
  const Latched latched(latch_, lock);
  return cursor_ != nullptr && cursor_->prev != &head_ ? 1 : 0;
}

MDTaskExec* MDTaskExecList::next(int lock) {
  const Latched latched(latch_, lock);
  if (cursor_ == nullptr || cursor_ == &tail_) return nullptr;
  current_ = cursor_;
  cursor_ = cursor_->next;
  return current_->exec;
}

MDTaskExec* MDTaskExecList::prev(int lock) {
  const Latched latched(latch_, lock);
  if (cursor_ == nullptr || cursor_->prev == &head_) return nullptr;
  MDTaskExec* const entry = cursor_->exec;
  current_ = cursor_ == &tail_ ? nullptr : cursor_;
  cursor_ = cursor_->prev;
  return entry;
}

MDTaskExec* MDTaskExecList::remove(int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceRemove);
  MDTaskExec* const entry = current_ == nullptr ? nullptr : unlink(current_);
  trace.exit(entry == nullptr ? 0 : 1);
  return entry;
}

MDTaskExec* MDTaskExecList::deleteIt(long long taskExecID, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceDeleteIt);
  ThreadContext ctx;
  TaskExecNode* const node = find([&](const MDTaskExec& entry) { return entry.getTaskExecID(ctx) == taskExecID; });
  MDTaskExec* const entry = node == &tail_ ? nullptr : unlink(node);
  trace.exit(entry == nullptr ? 0 : 1);
  return entry;
}

void MDTaskExecList::deleteAll(int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceDeleteAll);
  deleteEntries();
  trace.exit(0);
}

long long MDTaskExecList::getNewJobID(jobject context, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceGetNewJobID);
  const long long key = newKey(context);
  trace.exit(key == kNoID ? -1 : 0);
  return key;
}

MDTaskExec* MDTaskExecList::insertNextExec(ThreadContext& ctx, jobject context, MDTaskExec* previous,
                                           SCTimestamp* nextStart, int lock) {
  const Latched latched(latch_, lock);
  const Traced trace(kTraceInsertNextExec);
  const auto failed = [&](std::uint32_t probe, int code) -> MDTaskExec* {
    trace.error(probe, code);
    trace.exit(-1);
    return nullptr;
  };
  if (previous == nullptr || previous->object == nullptr || nextStart == nullptr || nextStart->object == nullptr) {
    return failed(20, kUnreached);
  }
  const long long key = newKey(context);
  if (key == kNoID) return failed(30, -1);

  int rc = kUnreached;
  int sqlCode = 0;
  std::unique_ptr<MDTaskExec> follower(new (std::nothrow) MDTaskExec(ctx, context, rc, sqlCode));
  if (rc != 0) return failed(40, rc);
  follower->copy(ctx, previous, context);
  follower->setTaskExecID(ctx, key);
  follower->setNextStartDateTime(ctx, nextStart);
  follower->setStatus(ctx, kQueuedStatus);
  rc = follower->insert(ctx, context, sqlCode);
  if (rc != 0) return failed(50, rc);
  trace.exit(0);
  return follower.release();
}

void MDTaskExecList::print(int lock) {
  const Latched latched(latch_, lock);
  ThreadContext ctx;
  std::fprintf(stderr, "The current contents in the list is (size=%ld)--->\n", size(0));
  for (const TaskExecNode* node = head_.next; node != &tail_; node = node->next) node->print();
  std::fprintf(stderr, "The maximum taskExecID is %ld\n", static_cast<long>(maximum(ctx)));
}

}  // namespace mesk
