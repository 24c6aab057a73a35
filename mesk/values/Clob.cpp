#include <mesk/values/Clob.h>

#include <mesk/bridge/StoreCall.h>

namespace mesk {

Clob::Clob(ThreadContext& ctx, jstring text) {
  if (bindClass(ctx, metadataClass<"MDClob">)) construct(ctx, "(Ljava/lang/String;)V", text);
}

Clob::Clob(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

long long Clob::length(ThreadContext& ctx) const { return getLong(ctx, "length"); }

char* Clob::getSubString(ThreadContext& ctx, long long pos, int length) const {
  return jStringToString(ctx, callMethod<LocalRef<jstring>>(ctx, *this, "getSubString", "(JI)Ljava/lang/String;",
                                                            static_cast<jlong>(pos), static_cast<jint>(length))
                                  .release());
}

char* Clob::getString(ThreadContext& ctx) const {
  const long long all = length(ctx);
  return getSubString(ctx, 1, static_cast<int>(all));
}

}  // namespace mesk
