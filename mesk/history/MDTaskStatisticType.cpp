#include <mesk/history/MDTaskStatisticType.h>

#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/history/MDTaskStatistic.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogRetrieve = 0x10080151;

}  // namespace

MDTaskStatisticType::MDTaskStatisticType(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDTaskStatisticType">, context, rc, sqlCode);
}

MDTaskStatisticType::MDTaskStatisticType(ThreadContext& ctx, jobject home, jobject) : MDObject(ctx, home) {}

jobject MDTaskStatisticType::retrieve(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& rc,
                                      int& sqlCode) {
  const jobject statistic =
      retrieveObject(ctx, *this, "retrieve", storeSignature<"JI", metadataType<"MDTaskStatistic">>, rc, sqlCode,
                     context, static_cast<jlong>(taskID), static_cast<jint>(suffix));
  if (rc != 0) logFailure(kLogRetrieve, rc, sqlCode, taskID);
  return statistic;
}

int MDTaskStatisticType::retrieveList(ThreadContext& ctx, jobject context, MDTaskStatistic**& statistics, int& count,
                                      int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, statistics, count, sqlCode, context);
}

int MDTaskStatisticType::deleteIt(ThreadContext& ctx, jobject context, long long taskID, int suffix, int& sqlCode) {
  return callStore(ctx, *this, "delete", storeSignature<"JI", "V">, sqlCode, context, static_cast<jlong>(taskID),
                   static_cast<jint>(suffix));
}

}  // namespace mesk
