#include <mesk/values/SCTimestamp.h>

#include <cstdio>

#include <mesk/values/SimpleDateFormat.h>

namespace mesk {

SCTimestamp::SCTimestamp(ThreadContext& ctx, long long millis) : Date(ctx, millis, 1) {
  makeFrom(ctx, "java/sql/Timestamp", millis);
}

SCTimestamp::SCTimestamp(ThreadContext& ctx, jobject obj) : Date(ctx, obj) {}

void SCTimestamp::print(ThreadContext& ctx) {
  char* const text = SimpleDateFormat(ctx, "yyyyMMddHHmmss").format(ctx, *this);
  std::fprintf(stderr, "Timestamp: %s", text == nullptr ? "" : text);
  delete text;
}

}  // namespace mesk
