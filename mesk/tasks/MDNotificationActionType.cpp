#include <mesk/tasks/MDNotificationActionType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/tasks/MDNotificationAction.h>

namespace mesk {

MDNotificationActionType::MDNotificationActionType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDNotificationActionType">, context, rc, sqlCode);
}

MDNotificationActionType::MDNotificationActionType(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

jobject MDNotificationActionType::retrieve(ThreadContext& ctx, jobject context, long long notificationActionID, int& rc,
                                           int& sqlCode) {
  return retrieveRecord(ctx, *this, "retrieve", storeSignature<"J", metadataType<"MDNotificationAction">>, rc, sqlCode,
                        context, static_cast<jlong>(notificationActionID));
}

int MDNotificationActionType::retrieveList(ThreadContext& ctx, jobject context, MDNotificationAction**& actions,
                                           int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, actions, count, sqlCode, context);
}

int MDNotificationActionType::deleteIt(ThreadContext& ctx, jobject context, long long notificationActionID,
                                       int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"J", "V">, sqlCode, context,
                   static_cast<jlong>(notificationActionID));
}

}  // namespace mesk
