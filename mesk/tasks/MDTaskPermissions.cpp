#include <mesk/session/Principal.h>
#include <mesk/tasks/MDTask.h>

namespace mesk {

int MDTask::getExecutePermission(ThreadContext& ctx, jobject context, const char* userName) {
  int unused = 0;
  StoreCall call(ctx, unused);
  const MDUser user(ctx, userName);
  if (!isLive(user)) return 0;
  const jboolean answer = call.invoke<jboolean>(*this, "getExecutePermission",
                                                storeSignature<principalType<MDUser>, "Z">, context, user.object);
  return call.code() == 0 && answer == JNI_TRUE ? 1 : 0;
}

int MDTask::getReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, user, rc, sqlCode);
}

int MDTask::getReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getReadPermission", context, group, rc, sqlCode);
}

int MDTask::getUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, user, rc, sqlCode);
}

int MDTask::getUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getUpdatePermission", context, group, rc, sqlCode);
}

int MDTask::getExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, user, rc, sqlCode);
}

int MDTask::getExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int& rc, int& sqlCode) {
  return askPermission(ctx, *this, "getExecutePermission", context, group, rc, sqlCode);
}

int MDTask::setReadPermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, user, allowed, sqlCode);
}

int MDTask::setReadPermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setReadPermission", context, group, allowed, sqlCode);
}

int MDTask::setUpdatePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, user, allowed, sqlCode);
}

int MDTask::setUpdatePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setUpdatePermission", context, group, allowed, sqlCode);
}

int MDTask::setExecutePermission(ThreadContext& ctx, jobject context, MDUser& user, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, user, allowed, sqlCode);
}

int MDTask::setExecutePermission(ThreadContext& ctx, jobject context, MDGroup& group, int allowed, int& sqlCode) {
  return changePermission(ctx, *this, "setExecutePermission", context, group, allowed, sqlCode);
}

int MDTask::getUsersWithPermission(ThreadContext& ctx, jobject context, int permission, MDUser**& users, int& count,
                                   int& sqlCode) {
  return listHolders(ctx, *this, "getUsersWithPermission", context, permission, users, count, sqlCode);
}

int MDTask::getGroupsWithPermission(ThreadContext& ctx, jobject context, int permission, MDGroup**& groups, int& count,
                                    int& sqlCode) {
  return listHolders(ctx, *this, "getGroupsWithPermission", context, permission, groups, count, sqlCode);
}

}  // namespace mesk
