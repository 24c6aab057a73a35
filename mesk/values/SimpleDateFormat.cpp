#include <mesk/values/SimpleDateFormat.h>

#include <mesk/bridge/StoreCall.h>

namespace mesk {

SimpleDateFormat::SimpleDateFormat(ThreadContext& ctx, const char* pattern) {
  if (!bindClass(ctx, "java/text/SimpleDateFormat")) return;
  const jmethodID constructor = textConstructor(ctx);
  if (constructor != nullptr) constructFromText(ctx, constructor, pattern);
}

char* SimpleDateFormat::format(ThreadContext& ctx, const Date& date) const {
  if (!isLive(*this) || !isLive(date)) return nullptr;
  return jStringToString(
      ctx, callMethod<LocalRef<jstring>>(ctx, *this, "format", "(Ljava/util/Date;)Ljava/lang/String;", date.object)
               .release());
}

long long SimpleDateFormat::parse(ThreadContext& ctx, const char* text) const {
  if (!isLive(*this)) return 0;
  const LocalRef<jstring> javaText(ctx.env, stringTojString(ctx, text));
  const auto date = callMethod<LocalRef<>>(ctx, *this, "parse", "(Ljava/lang/String;)Ljava/util/Date;", javaText.get());
  if (!date) return 0;
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass("java/util/Date"));
  if (!cls) return 0;
  const jmethodID getTime = ctx.env->GetMethodID(cls.get(), "getTime", "()J");
  return getTime == nullptr ? 0 : invoke<jlong>(ctx, date.get(), getTime);
}

}  // namespace mesk
