#include <mesk/queue/MDTaskExecType.h>

#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/bridge/Trace.h>
#include <mesk/queue/MDTaskExec.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogList = 0x10080147;
constexpr std::uint32_t kTraceRetrieveList = 0x1AE80132;

}  // namespace

MDTaskExecType::MDTaskExecType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskExecType">, context, rc, sqlCode);
}

MDTaskExecType::MDTaskExecType(ThreadContext& ctx, jobject javaObject, jobject /*context*/)
    : MDObject(ctx, javaObject) {}

jobject MDTaskExecType::retrieve(ThreadContext& ctx, jobject context, long long taskExecID, int& rc, int& sqlCode) {
  return retrieveRecord(ctx, *this, "retrieve", storeSignature<"J", metadataType<"MDTaskExec">>, rc, sqlCode, context,
                        static_cast<jlong>(taskExecID));
}

int MDTaskExecType::retrieveList(ThreadContext& ctx, jobject context, MDTaskExec**& list, int& count, int& sqlCode) {
  const Traced trace(kTraceRetrieveList);
  const int rc = retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                                  kNothingInHome, list, count, sqlCode, context);
  if (rc != 0) logFailure(kLogList, rc, sqlCode);
  return trace.exit(rc);
}

int MDTaskExecType::deleteIt(ThreadContext& ctx, jobject context, long long taskExecID, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"J", "V">, sqlCode, context, static_cast<jlong>(taskExecID));
}

}  // namespace mesk
