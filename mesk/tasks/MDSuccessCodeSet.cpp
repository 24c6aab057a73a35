#include <mesk/tasks/MDSuccessCodeSet.h>

#include <mesk/bridge/StoreList.h>

namespace mesk {

MDCodeCondition::MDCodeCondition(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDCodeCondition::getCode(ThreadContext& ctx) const { return getInt(ctx, "getCode"); }
char* MDCodeCondition::getCondition(ThreadContext& ctx) const { return getString(ctx, "getCondition"); }

MDSuccessCodeSet::MDSuccessCodeSet(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDSuccessCodeSet::retrieveCodeConditionList(ThreadContext& ctx, jobject context, MDCodeCondition**& conditions,
                                                int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveCodeConditionList", storeSignature<"", kCollectionType>,
                          ListForm::sizeAndGet, kNothingRelated, conditions, count, sqlCode, context);
}

}  // namespace mesk
