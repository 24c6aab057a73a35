// A moment of the store, with milliseconds.
#pragma once

#include <mesk/values/Date.h>

namespace mesk {

/// Wraps a java.sql.Timestamp.
class MESK_API SCTimestamp : public Date {
 public:
  SCTimestamp(ThreadContext& ctx, long long millis);
  SCTimestamp(ThreadContext& ctx, jobject obj);

  /// Writes "Timestamp: " and fourteen digits in the JVM's zone to standard error, without a line end.
  void print(ThreadContext& ctx);
};

}  // namespace mesk
