#include <mesk/schedule/MDSharedNamedScheduleType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/schedule/MDSharedNamedSchedule.h>

namespace mesk {

MDSharedNamedScheduleType::MDSharedNamedScheduleType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDSharedNamedScheduleType">, context, rc, sqlCode);
}

MDSharedNamedScheduleType::MDSharedNamedScheduleType(ThreadContext& ctx, jobject home) : MDObject(ctx, home) {}

jobject MDSharedNamedScheduleType::retrieve(ThreadContext& ctx, jobject context, long long scheduleID, int& rc,
                                            int& sqlCode) {
  return retrieveObject(ctx, *this, "retrieve", storeSignature<"J", metadataType<"MDSharedNamedSchedule">>, rc, sqlCode,
                        context, static_cast<jlong>(scheduleID));
}

int MDSharedNamedScheduleType::retrieveList(ThreadContext& ctx, jobject context, MDSharedNamedSchedule**& schedules,
                                            int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, schedules, count, sqlCode, context);
}

int MDSharedNamedScheduleType::deleteIt(ThreadContext& ctx, jobject context, long long scheduleID, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"J", "V">, sqlCode, context, static_cast<jlong>(scheduleID));
}

}  // namespace mesk
