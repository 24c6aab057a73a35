// A calendar date of the store, at the start of its day in the JVM's zone.
#pragma once

#include <mesk/values/Date.h>

namespace mesk {

/// Wraps a java.sql.Date.
class MESK_API SQLDate : public Date {
 public:
  SQLDate(ThreadContext& ctx, long long millis);
  SQLDate(ThreadContext& ctx, jobject obj);
};

}  // namespace mesk
