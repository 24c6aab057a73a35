#include <mesk/history/MDTaskSnapshotType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/history/MDTaskSnapshot.h>

namespace mesk {

MDTaskSnapshotType::MDTaskSnapshotType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskSnapshotType">, context, rc, sqlCode);
}

MDTaskSnapshotType::MDTaskSnapshotType(ThreadContext& ctx, jobject home, jobject) : MDObject(ctx, home) {}

// The method is declared with the home's class as its result, not the snapshot's: that is its name in the store.
jobject MDTaskSnapshotType::retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc,
                                     int& sqlCode) {
  return retrieveObject(ctx, *this, "retrieve", storeSignature<"JI", metadataType<"MDTaskSnapshotType">>, rc, sqlCode,
                        context, static_cast<jlong>(taskID), static_cast<jint>(suffix));
}

jobject MDTaskSnapshotType::retrieveLatestSnapshot(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  rc = kUnreached;
  sqlCode = 0;
  if (context == nullptr) return nullptr;
  return retrieveObject(ctx, *this, "retrieveLatestSnapshot", storeSignature<"", metadataType<"MDTaskSnapshot">>, rc,
                        sqlCode, context);
}

int MDTaskSnapshotType::retrieveList(ThreadContext& ctx, jobject context, long long taskID, MDTaskSnapshot**& snapshots,
                                     int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"J", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, snapshots, count, sqlCode, context, static_cast<jlong>(taskID));
}

int MDTaskSnapshotType::deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"JI", "V">, sqlCode, context, static_cast<jlong>(taskID),
                   static_cast<jint>(suffix));
}

}  // namespace mesk
