#include <mesk/session/MDUser.h>

#include <mesk/bridge/StoreCall.h>
#include <mesk/session/MDUtility.h>
#include <mesk/session/Principal.h>

namespace mesk {
namespace {

int ask(ThreadContext& ctx, const MDUser& user, const char* question, jobject context, int& rc, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  const jboolean answer = call.invoke<jboolean>(user, question, storeSignature<"", "Z">, context);
  rc = call.finish();
  return rc == 0 && answer == JNI_TRUE ? 1 : 0;
}

}  // namespace

MDUser::MDUser(ThreadContext& ctx, const char* name) {
  if (!bindClass(ctx, metadataClass<"MDUser">)) return;
  const jmethodID constructor = textConstructor(ctx);
  if (constructor != nullptr) constructFromText(ctx, constructor, PrincipalName(name, "MDUser").text());
}

MDUser::MDUser(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int MDUser::isSuperuser(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return ask(ctx, *this, "isSuperuser", context, rc, sqlCode);
}

int MDUser::isAdmin(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  return ask(ctx, *this, "isAdmin", context, rc, sqlCode);
}

int MDUser::isAdministrator(ThreadContext& ctx, const char* a, const char* b, const char* userName, const char* d,
                            int& rc, int& sqlCode) {
  const jobject context = MDUtility::connectMD(ctx, a, b, userName, d, rc, sqlCode);
  if (context == nullptr) return 0;
  if (rc != 0) {
    MDUtility::disconnectMD(ctx, context, sqlCode);
    return 0;
  }
  int answer = 0;
  {
    MDUser user(ctx, userName);
    answer = user.isAdmin(ctx, context, rc, sqlCode);
  }
  // The caller's SQL code becomes the disconnection's.
  MDUtility::disconnectMD(ctx, context, sqlCode);
  return answer;
}

}  // namespace mesk
