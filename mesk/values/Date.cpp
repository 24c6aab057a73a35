#include <mesk/values/Date.h>

#include <mesk/bridge/StoreCall.h>

namespace mesk {
namespace {

constexpr const char* kClass = "java/util/Date";

}  // namespace

Date::Date(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

Date::Date(ThreadContext& ctx, long long millis) { constructor(ctx, millis, 0); }

Date::Date(ThreadContext& ctx) { constructor(ctx, 0); }

Date::Date(ThreadContext& ctx, long long millis, unsigned char kind) { constructor(ctx, millis, kind); }

Date::Date(ThreadContext& ctx, unsigned char kind) { constructor(ctx, kind); }

long long Date::getTime(ThreadContext& ctx) const { return getLong(ctx, "getTime"); }

int Date::compareTo(ThreadContext& ctx, const Date& other) const {
  return callMethod<jint>(ctx, *this, "compareTo", "(Ljava/util/Date;)I", other.object);
}

void Date::makeFrom(ThreadContext& ctx, const char* className, long long millis) {
  if (bindClass(ctx, className)) construct(ctx, "(J)V", static_cast<jlong>(millis));
}

void Date::constructor(ThreadContext& ctx, unsigned char kind) {
  if (kind == 0 && bindClass(ctx, kClass)) construct(ctx, "()V");
}

void Date::constructor(ThreadContext& ctx, long long millis, unsigned char kind) {
  if (kind == 0) makeFrom(ctx, kClass, millis);
}

}  // namespace mesk
