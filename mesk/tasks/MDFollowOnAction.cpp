#include <mesk/tasks/MDFollowOnAction.h>

#include <mesk/bridge/StoreList.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {
namespace {

constexpr auto kTaskSignature = storeSignature<metadataType<"MDTask">, "V">;

/// A new java.util.ArrayList of the live ones of `n` wrappers; null when it cannot be made.
LocalRef<> arrayListOf(ThreadContext& ctx, const MDTask* tasks, int n) {
  JNIEnv* const env = ctx.env;
  const LocalRef<jclass> cls(env, env->FindClass("java/util/ArrayList"));
  const jmethodID constructor = cls ? env->GetMethodID(cls.get(), "<init>", "()V") : nullptr;
  const jmethodID add = constructor ? env->GetMethodID(cls.get(), "add", "(Ljava/lang/Object;)Z") : nullptr;
  LocalRef<> list(env, add == nullptr ? nullptr : env->NewObject(cls.get(), constructor));
  if (!list) return list;
  for (int i = 0; i < n; ++i) {
    if (isLive(tasks[i])) invoke<jboolean>(ctx, list.get(), add, tasks[i].object);
  }
  return list;
}

}  // namespace

MDFollowOnAction::MDFollowOnAction(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  create(ctx, metadataClass<"MDFollowOnAction">, context, rc, sqlCode);
}

MDFollowOnAction::MDFollowOnAction(ThreadContext& ctx, jobject, jobject obj) : MDObject(ctx, obj) {}

int MDFollowOnAction::insert(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "insert", context, sqlCode);
}

int MDFollowOnAction::update(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "update", context, sqlCode);
}

int MDFollowOnAction::deleteIt(ThreadContext& ctx, jobject context, int& sqlCode) {
  return persist(ctx, "delete", context, sqlCode);
}

long long MDFollowOnAction::getReferenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return referenceID(ctx, context, rc, sqlCode);
}

long long MDFollowOnAction::getFollowOnActionID(ThreadContext& ctx) const {
  return getLong(ctx, "getFollowOnActionID");
}
void MDFollowOnAction::setFollowOnActionID(ThreadContext& ctx, long long value) {
  setLong(ctx, "setFollowOnActionID", value);
}
long long MDFollowOnAction::getParentTaskID(ThreadContext& ctx) const { return getLong(ctx, "getParentTaskID"); }
void MDFollowOnAction::setParentTaskID(ThreadContext& ctx, long long value) { setLong(ctx, "setParentTaskID", value); }
int MDFollowOnAction::getParentSuffix(ThreadContext& ctx) const { return getInt(ctx, "getParentSuffix"); }
void MDFollowOnAction::setParentSuffix(ThreadContext& ctx, int value) { setInt(ctx, "setParentSuffix", value); }
int MDFollowOnAction::getAction(ThreadContext& ctx) const { return getInt(ctx, "getAction"); }
void MDFollowOnAction::setAction(ThreadContext& ctx, int value) { setInt(ctx, "setAction", value); }
int MDFollowOnAction::getFollowOnCondition(ThreadContext& ctx) const { return getInt(ctx, "getFollowOnCondition"); }
void MDFollowOnAction::setFollowOnCondition(ThreadContext& ctx, int value) {
  setInt(ctx, "setFollowOnCondition", value);
}

int MDFollowOnAction::addTask(ThreadContext& ctx, jobject context, MDTask& task, int& sqlCode) {
  return callStoreWith(ctx, *this, "addTask", kTaskSignature, sqlCode, context, task);
}

int MDFollowOnAction::removeTask(ThreadContext& ctx, jobject context, MDTask& task, int& sqlCode) {
  return callStoreWith(ctx, *this, "removeTask", kTaskSignature, sqlCode, context, task);
}

int MDFollowOnAction::retrieveTaskList(ThreadContext& ctx, jobject context, MDTask**& tasks, int& count, int& sqlCode) {
  return retrieveWrappers(ctx, *this, "retrieveTaskList", storeSignature<"", kCollectionType>, ListForm::sizeAndGet,
                          kNothingInHome, tasks, count, sqlCode, context);
}

int MDFollowOnAction::setTaskList(ThreadContext& ctx, jobject context, MDTask* tasks, int n, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  if (!isLive(*this) || !call.ready() || tasks == nullptr) return kUnreached;
  const LocalRef<> list = arrayListOf(ctx, tasks, n);
  if (list) call.invoke<void>(*this, "setTaskList", storeSignature<kArrayListType, "V">, context, list.get());
  return call.finish();
}

}  // namespace mesk
