// A moment, as the store carries it.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps a java.util.Date. A time is milliseconds since 1970-01-01 00:00:00 UTC. A class or constructor that is
/// missing makes a dead date.
class MESK_API Date : public MDObject {
 public:
  Date(ThreadContext& ctx, jobject obj);
  Date(ThreadContext& ctx, long long millis);
  explicit Date(ThreadContext& ctx);  ///< now

  /// Milliseconds; 0 for a dead date.
  long long getTime(ThreadContext& ctx) const;

  /// Negative, 0 or positive as this date is before, at or after `other`; 0 also for a dead date.
  int compareTo(ThreadContext& ctx, const Date& other) const;

 protected:
  // `kind` other than 0: makes nothing, because the class derived from this one makes the object itself.
  Date(ThreadContext& ctx, long long millis, unsigned char kind);
  Date(ThreadContext& ctx, unsigned char kind);

  /// Makes the Java object, of the class of that name, from `millis`.
  MESK_LOCAL void makeFrom(ThreadContext& ctx, const char* className, long long millis);

 private:
  MESK_LOCAL void constructor(ThreadContext& ctx, unsigned char kind);
  MESK_LOCAL void constructor(ThreadContext& ctx, long long millis, unsigned char kind);
};

}  // namespace mesk
