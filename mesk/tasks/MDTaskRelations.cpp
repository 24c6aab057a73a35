#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include <mesk/bridge/GrowingTable.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/bridge/Trace.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>
#include <mesk/tasks/MDFollowOnAction.h>
#include <mesk/tasks/MDNotificationAction.h>
#include <mesk/tasks/MDSuccessCodeSet.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceAllEvents = 0x1AE80102;

template <FixedString Record>
constexpr auto kRelationSignature = storeSignature<metadataType<Record>, "V">;

/// The task's list of that name.
template <class Wrapper>
int relationList(ThreadContext& ctx, const MDTask& task, const char* name, jobject context, Wrapper**& items,
                 int& count, int& sqlCode) {
  return retrieveWrappers(ctx, task, name, storeSignature<"", kCollectionType>, ListForm::sizeAndGet, kNothingRelated,
                          items, count, sqlCode, context);
}

/// Rules with the keys of the schedules that they come from, in two arrays of a length that is known before.
class EventTable {
 public:
  /// So many empty rows; none at all when there is no memory.
  explicit EventTable(int count) {
    if (count < 1) return;
    const auto rows = static_cast<std::size_t>(count);
    events_.reset(new (std::nothrow) MDScheduleEvent*[rows]());
    scheduleIDs_.reset(new (std::nothrow) long long[rows]);
    if (events_ == nullptr || scheduleIDs_ == nullptr) return;
    rows_ = rows;
    std::fill_n(scheduleIDs_.get(), rows, kOwnRule);
  }
  EventTable(const EventTable&) = delete;
  EventTable& operator=(const EventTable&) = delete;
  ~EventTable() {
    for (std::size_t i = 0; i < used_; ++i) delete events_[i];
  }

  static constexpr long long kOwnRule = -1;

  /// Takes over the events of `list`; those for which there is no row stay behind.
  void append(OwnedList<MDScheduleEvent>& list, long long scheduleID) {
    for (MDScheduleEvent*& event : list) {
      if (used_ == rows_) return;
      scheduleIDs_[used_] = scheduleID;
      events_[used_++] = std::exchange(event, nullptr);
    }
  }

  /// Gives everything to the caller.
  void release(MDScheduleEvent**& events, long long*& scheduleIDs, int& count) {
    if (rows_ == 0) return;
    used_ = 0;
    count = static_cast<int>(rows_);
    events = events_.release();
    scheduleIDs = scheduleIDs_.release();
  }

 private:
  std::unique_ptr<MDScheduleEvent*[]> events_;
  std::unique_ptr<long long[]> scheduleIDs_;
  std::size_t rows_ = 0;
  std::size_t used_ = 0;
};

/// `MDTask::retrieveAllScheduleEventList`, within its trace.
int allEvents(const Traced& trace, ThreadContext& ctx, MDTask& task, jobject context, MDScheduleEvent**& events,
              long long*& scheduleIDs, int& count, int& sqlCode) {
  OwnedList<MDScheduleEvent> own;
  OwnedList<MDSharedNamedSchedule> shared;
  int rc = task.retrieveScheduleEventList(ctx, context, own.items, own.count, sqlCode);
  if (rc == 0) rc = task.retrieveSharedNamedScheduleList(ctx, context, shared.items, shared.count, sqlCode);
  if (rc != 0) return rc;

  int total = own.count;
  for (MDSharedNamedSchedule* const schedule : shared) {
    if (schedule != nullptr) total += schedule->getNumScheduleEvent(ctx, context);
  }
  trace.variable(10, total);
  EventTable table(total);
  table.append(own, EventTable::kOwnRule);
  for (MDSharedNamedSchedule* const schedule : shared) {
    if (schedule == nullptr) continue;
    OwnedList<MDScheduleEvent> rules;
    rc = schedule->retrieveScheduleEventList(ctx, context, rules.items, rules.count, sqlCode);
    if (rc == kNothingRelated) rc = sqlCode = 0;
    if (rc != 0) return rc;
    table.append(rules, schedule->getScheduleID(ctx));
  }
  table.release(events, scheduleIDs, count);
  return 0;
}

/// Whether `table` has that very pair.
bool contains(const GrowingTable<tSuccessRelation>& table, const tSuccessRelation& pair) {
  return std::any_of(table.begin(), table.end(), [&](const tSuccessRelation& other) {
    return other.code == pair.code && other.condition == pair.condition;
  });
}

}  // namespace

// A dead rule or schedule is handed on as it is: Java gets null and says what it thinks of it. A dead action stays
// here.
int MDTask::addScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode) {
  return callStore(ctx, *this, "addScheduleEvent", kRelationSignature<"MDScheduleEvent">, sqlCode, context,
                   event.object);
}

int MDTask::removeScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode) {
  return callStore(ctx, *this, "removeScheduleEvent", kRelationSignature<"MDScheduleEvent">, sqlCode, context,
                   event.object);
}

int MDTask::addSharedNamedSchedule(ThreadContext& ctx, jobject context, MDSharedNamedSchedule& schedule, int& sqlCode) {
  return callStore(ctx, *this, "addSharedNamedSchedule", kRelationSignature<"MDSharedNamedSchedule">, sqlCode, context,
                   schedule.object);
}

int MDTask::removeSharedNamedSchedule(ThreadContext& ctx, jobject context, MDSharedNamedSchedule& schedule,
                                      int& sqlCode) {
  return callStore(ctx, *this, "removeSharedNamedSchedule", kRelationSignature<"MDSharedNamedSchedule">, sqlCode,
                   context, schedule.object);
}

int MDTask::addFollowOnAction(ThreadContext& ctx, jobject context, MDFollowOnAction& action, int& sqlCode) {
  return callStoreWith(ctx, *this, "addFollowOnAction", kRelationSignature<"MDFollowOnAction">, sqlCode, context,
                       action);
}

int MDTask::removeFollowOnAction(ThreadContext& ctx, jobject context, MDFollowOnAction& action, int& sqlCode) {
  return callStoreWith(ctx, *this, "removeFollowOnAction", kRelationSignature<"MDFollowOnAction">, sqlCode, context,
                       action);
}

int MDTask::addNotificationAction(ThreadContext& ctx, jobject context, MDNotificationAction& action, int& sqlCode) {
  return callStoreWith(ctx, *this, "addNotificationAction", kRelationSignature<"MDNotificationAction">, sqlCode,
                       context, action);
}

int MDTask::removeNotificationAction(ThreadContext& ctx, jobject context, MDNotificationAction& action, int& sqlCode) {
  return callStoreWith(ctx, *this, "removeNotificationAction", kRelationSignature<"MDNotificationAction">, sqlCode,
                       context, action);
}

int MDTask::retrieveScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count,
                                      int& sqlCode) {
  return relationList(ctx, *this, "retrieveScheduleEventList", context, events, count, sqlCode);
}

int MDTask::retrieveSharedNamedScheduleList(ThreadContext& ctx, jobject context, MDSharedNamedSchedule**& schedules,
                                            int& count, int& sqlCode) {
  return relationList(ctx, *this, "retrieveSharedNamedScheduleList", context, schedules, count, sqlCode);
}

int MDTask::retrieveFollowOnActionList(ThreadContext& ctx, jobject context, MDFollowOnAction**& actions, int& count,
                                       int& sqlCode) {
  return relationList(ctx, *this, "retrieveFollowOnActionList", context, actions, count, sqlCode);
}

int MDTask::retrieveNotificationActionList(ThreadContext& ctx, jobject context, MDNotificationAction**& actions,
                                           int& count, int& sqlCode) {
  return relationList(ctx, *this, "retrieveNotificationActionList", context, actions, count, sqlCode);
}

int MDTask::retrieveTaskGroupMemberList(ThreadContext& ctx, jobject context, MDTask**& members, int& count,
                                        int& sqlCode) {
  return relationList(ctx, *this, "retrieveTaskGroupMemberList", context, members, count, sqlCode);
}

int MDTask::retrievePredecessorTaskWithExecActionList(ThreadContext& ctx, jobject context, MDTask**& predecessors,
                                                      int& count, int& sqlCode) {
  return relationList(ctx, *this, "retrievePredecessorTaskWithExecActionList", context, predecessors, count, sqlCode);
}

int MDTask::retrieveAllScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events,
                                         long long*& scheduleIDs, int& count, int& sqlCode) {
  const Traced trace(kTraceAllEvents);
  events = nullptr;
  scheduleIDs = nullptr;
  count = 0;
  return trace.exit(allEvents(trace, ctx, *this, context, events, scheduleIDs, count, sqlCode));
}

int MDTask::retrieveAllCodeCondition(ThreadContext& ctx, jobject context, tSuccessRelation*& relations, int& count,
                                     int& sqlCode) {
  relations = nullptr;
  count = 0;
  OwnedList<MDSuccessCodeSet> sets;
  const int rc = relationList(ctx, *this, "retrieveSuccessCodeSetList", context, sets.items, sets.count, sqlCode);
  if (rc != 0) return rc;

  GrowingTable<tSuccessRelation> table;
  for (MDSuccessCodeSet* const set : sets) {
    OwnedList<MDCodeCondition> conditions;
    int unused = 0;
    if (set == nullptr ||
        set->retrieveCodeConditionList(ctx, context, conditions.items, conditions.count, unused) != 0) {
      continue;
    }
    for (MDCodeCondition* const condition : conditions) {
      if (condition == nullptr) continue;
      const int code = condition->getCode(ctx);
      const std::unique_ptr<char> text(condition->getCondition(ctx));
      if (text == nullptr) continue;
      const tSuccessRelation pair{code, *text};
      // Some of the rules would be another rule: all of them or none.
      if (!contains(table, pair) && !table.append(pair)) return 0;
    }
  }
  if (table.count() < 1) return 0;
  relations = new (std::nothrow) tSuccessRelation[static_cast<std::size_t>(table.count())];
  if (relations == nullptr) return 0;
  std::copy(table.begin(), table.end(), relations);
  count = table.count();
  return 0;
}

}  // namespace mesk
