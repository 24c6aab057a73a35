#include <mesk/history/MDTaskHistoryType.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/history/MDTaskHistory.h>
#include <mesk/values/SCTimestamp.h>

namespace mesk {
namespace {

constexpr auto kHistoryType = metadataType<"MDTaskHistory">;

}  // namespace

MDTaskHistoryType::MDTaskHistoryType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskHistoryType">, context, rc, sqlCode);
}

MDTaskHistoryType::MDTaskHistoryType(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDTaskHistoryType::deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, SCTimestamp& before,
                                int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<joined<"JI", kTimestampType>, "V">, sqlCode, context,
                   static_cast<jlong>(taskID), static_cast<jint>(suffix), before.object);
}

jobject MDTaskHistoryType::retrieve(ThreadContext& ctx, jobject context, long long taskHistoryID, int& rc,
                                    int& sqlCode) {
  return retrieveRecord(ctx, *this, "retrieve", storeSignature<"J", kHistoryType>, rc, sqlCode, context,
                        static_cast<jlong>(taskHistoryID));
}

jobject MDTaskHistoryType::retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix,
                                    SCTimestamp& start, int& rc, int& sqlCode) {
  return retrieveRecord(ctx, *this, "retrieve", storeSignature<joined<"JI", kTimestampType>, kHistoryType>, rc, sqlCode,
                        context, static_cast<jlong>(taskID), static_cast<jint>(suffix), start.object);
}

int MDTaskHistoryType::retrieveList(ThreadContext& ctx, jobject context, long long taskID, MDTaskHistory**& list,
                                    int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"J", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, list, count, sqlCode, context, static_cast<jlong>(taskID));
}

int MDTaskHistoryType::retrieveList(ThreadContext& ctx, jobject context, MDTaskHistory**& list, int& count,
                                    int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::toArray,
                          kNothingInHome, list, count, sqlCode, context);
}

}  // namespace mesk
