#include <mesk/tasks/MDTaskType.h>

#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogRetrieve = 0x10080142;

}  // namespace

MDTaskType::MDTaskType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskType">, context, rc, sqlCode);
}

MDTaskType::MDTaskType(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

jobject MDTaskType::retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc, int& sqlCode) {
  const jobject task = retrieveRecord(ctx, *this, "retrieve", storeSignature<"JI", metadataType<"MDTask">>, rc, sqlCode,
                                      context, static_cast<jlong>(taskID), static_cast<jint>(suffix));
  if (rc != 0) logFailure(kLogRetrieve, rc, sqlCode, taskID);
  return task;
}

jobject MDTaskType::retrieveTask(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc,
                                 int& sqlCode) {
  MDTaskType home(ctx, context, rc, sqlCode);
  if (rc == 0) return home.retrieve(ctx, context, taskID, suffix, rc, sqlCode);
  logFailure(kLogRetrieve, rc, sqlCode, taskID);
  return nullptr;
}

int MDTaskType::retrieveList(ThreadContext& ctx, jobject context, MDTask**& tasks, int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::toArray,
                          kNoEmptyCode, tasks, count, sqlCode, context);
}

int MDTaskType::deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"JI", "V">, sqlCode, context, static_cast<jlong>(taskID),
                   static_cast<jint>(suffix));
}

}  // namespace mesk
