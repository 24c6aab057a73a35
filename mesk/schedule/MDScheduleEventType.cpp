#include <mesk/schedule/MDScheduleEventType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/schedule/MDScheduleEvent.h>

namespace mesk {

MDScheduleEventType::MDScheduleEventType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDScheduleEventType">, context, rc, sqlCode);
}

MDScheduleEventType::MDScheduleEventType(ThreadContext& ctx, jobject home, jobject) : MDObject(ctx, home) {}

jobject MDScheduleEventType::retrieve(ThreadContext& ctx, jobject context, long long scheduleEventID, int& rc,
                                      int& sqlCode) {
  return retrieveObject(ctx, *this, "retrieve", storeSignature<"J", metadataType<"MDScheduleEvent">>, rc, sqlCode,
                        context, static_cast<jlong>(scheduleEventID));
}

int MDScheduleEventType::retrieveList(ThreadContext& ctx, jobject context, MDScheduleEvent**& events, int& count,
                                      int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, events, count, sqlCode, context);
}

int MDScheduleEventType::deleteIt(ThreadContext& ctx, jobject context, long long scheduleEventID, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"J", "V">, sqlCode, context,
                   static_cast<jlong>(scheduleEventID));
}

int MDScheduleEventType::rescheduleStatus(ThreadContext& ctx, jobject context, long long scheduleEventID) {
  if (scheduleEventID == -1) return 0;
  int rc = 0;
  int unused = 0;
  LocalRef<> found(ctx.env, retrieve(ctx, context, scheduleEventID, rc, unused));
  if (!found || rc != 0) return 0;
  MDScheduleEvent event(ctx, found.get(), context);
  found.reset();
  return event.isEndToStart(ctx) == 1 ? 1 : 2;
}

}  // namespace mesk
