#include <mesk/values/SQLDate.h>

namespace mesk {

SQLDate::SQLDate(ThreadContext& ctx, long long millis) : Date(ctx, millis, 1) {
  makeFrom(ctx, "java/sql/Date", millis);
}

SQLDate::SQLDate(ThreadContext& ctx, jobject obj) : Date(ctx, obj) {}

}  // namespace mesk
