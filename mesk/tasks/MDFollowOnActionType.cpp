#include <mesk/tasks/MDFollowOnActionType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/tasks/MDFollowOnAction.h>

namespace mesk {

MDFollowOnActionType::MDFollowOnActionType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDFollowOnActionType">, context, rc, sqlCode);
}

MDFollowOnActionType::MDFollowOnActionType(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

jobject MDFollowOnActionType::retrieve(ThreadContext& ctx, jobject context, long long followOnActionID, int& rc,
                                       int& sqlCode) {
  return retrieveRecord(ctx, *this, "retrieve", storeSignature<"J", metadataType<"MDFollowOnAction">>, rc, sqlCode,
                        context, static_cast<jlong>(followOnActionID));
}

int MDFollowOnActionType::retrieveList(ThreadContext& ctx, jobject context, MDFollowOnAction**& actions, int& count,
                                       int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, actions, count, sqlCode, context);
}

int MDFollowOnActionType::deleteIt(ThreadContext& ctx, jobject context, long long followOnActionID, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"J", "V">, sqlCode, context,
                   static_cast<jlong>(followOnActionID));
}

}  // namespace mesk
