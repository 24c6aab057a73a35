#include <mesk/bridge/PARLException.h>

#include <mesk/bridge/Invoke.h>
#include <mesk/bridge/Signature.h>

namespace mesk {

PARLException::PARLException(ThreadContext& ctx) {
  if (!bindClass(ctx, "com/orvik/kelvo/common/parl/api/PARLException")) return;
  const LocalRef<jstring> message(ctx.env, stringTojString(ctx, ""));
  construct(ctx, "(ILjava/lang/String;)V", jint{0}, message.get());
}

PARLException::PARLException(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

int PARLException::getRC(ThreadContext& ctx) const {
  if (!isLive(*this)) return kUnreached;
  const jmethodID method = ctx.env->GetMethodID(objectClass, "getRC", "()I");
  return method == nullptr ? kUnreached : invoke<jint>(ctx, object, method);
}

int PARLException::isOK(ThreadContext& ctx) const { return getRC(ctx) == 0 ? 1 : 0; }

int PARLException::getSQLCode(ThreadContext& ctx) { return nestedCode(ctx, "getNestedSQLCode"); }

int PARLException::getSQLState(ThreadContext& ctx) { return nestedCode(ctx, "getNestedIntSQLState"); }

int PARLException::nestedCode(ThreadContext& ctx, const char* method) {
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass(metadataClass<"MDUtility">));
  if (!cls || object == nullptr) return 0;
  const jmethodID id = ctx.env->GetStaticMethodID(cls.get(), method, joined<"(", kExceptionType, ")I">);
  return id == nullptr ? 0 : invokeStatic<jint>(ctx, cls.get(), id, object);
}

}  // namespace mesk
