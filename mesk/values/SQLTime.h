// A time of day of the store, in the JVM's zone.
#pragma once

#include <mesk/values/Date.h>

namespace mesk {

/// Wraps a java.sql.Time.
class MESK_API SQLTime : public Date {
 public:
  SQLTime(ThreadContext& ctx, long long millis);
  SQLTime(ThreadContext& ctx, jobject obj);
};

}  // namespace mesk
