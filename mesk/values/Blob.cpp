#include <mesk/values/Blob.h>

#include <new>

#include <mesk/bridge/StoreCall.h>

namespace mesk {

Blob::Blob(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

Blob::Blob(ThreadContext& ctx, const char* bytes, int length) {
  const LocalRef<jbyteArray> array(ctx.env, ctx.env->NewByteArray(length));
  if (!array) return;
  ctx.env->SetByteArrayRegion(array.get(), 0, length, reinterpret_cast<const jbyte*>(bytes));
  if (bindClass(ctx, metadataClass<"MDBlob">)) construct(ctx, "([B)V", array.get());
}

long long Blob::length(ThreadContext& ctx) const { return getLong(ctx, "length"); }

signed char* Blob::getBytes(ThreadContext& ctx, long long pos, int length) const {
  const auto array = callMethod<LocalRef<jbyteArray>>(ctx, *this, "getBytes", "(JI)[B", static_cast<jlong>(pos),
                                                      static_cast<jint>(length));
  if (!array) return nullptr;
  const jsize count = ctx.env->GetArrayLength(array.get());
  auto* const buffer = static_cast<signed char*>(::operator new(static_cast<std::size_t>(count), std::nothrow));
  if (buffer != nullptr) ctx.env->GetByteArrayRegion(array.get(), 0, count, buffer);
  return buffer;
}

signed char* Blob::getAllBytes(ThreadContext& ctx) const {
  const long long all = length(ctx);
  return getBytes(ctx, 1, static_cast<int>(all));
}

}  // namespace mesk
