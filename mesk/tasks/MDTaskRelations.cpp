#include <mesk/bridge/StoreList.h>
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr auto kEventSignature = storeSignature<metadataType<"MDScheduleEvent">, "V">;
constexpr auto kListSignature = storeSignature<"", kCollectionType>;

}  // namespace

// A dead event is handed on as it is: Java gets null and says what it thinks of it.
int MDTask::addScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode) {
  return callStore(ctx, *this, "addScheduleEvent", kEventSignature, sqlCode, context, event.object);
}

int MDTask::removeScheduleEvent(ThreadContext& ctx, jobject context, MDScheduleEvent& event, int& sqlCode) {
  return callStore(ctx, *this, "removeScheduleEvent", kEventSignature, sqlCode, context, event.object);
}

int MDTask::retrieveScheduleEventList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count,
                                      int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveScheduleEventList", kListSignature, ListForm::sizeAndGet,
                          kNothingRelated, events, count, sqlCode, context);
}

}  // namespace mesk
