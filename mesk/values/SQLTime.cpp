#include <mesk/values/SQLTime.h>

namespace mesk {

SQLTime::SQLTime(ThreadContext& ctx, long long millis) : Date(ctx, millis, 1) {
  makeFrom(ctx, "java/sql/Time", millis);
}

SQLTime::SQLTime(ThreadContext& ctx, jobject obj) : Date(ctx, obj) {}

}  // namespace mesk
