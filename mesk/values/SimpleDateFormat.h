// Dates as text and back, by a Java date pattern.
#pragma once

#include <mesk/values/Date.h>

namespace mesk {

/// Wraps a java.text.SimpleDateFormat; zone and locale are the JVM's.
class MESK_API SimpleDateFormat : public MDObject {
 public:
  /// Dead when the class or constructor is missing. A null or empty pattern reaches Java as null.
  SimpleDateFormat(ThreadContext& ctx, const char* pattern);

  /// A new text, which the caller deletes; null when either is dead or the text is empty.
  char* format(ThreadContext& ctx, const Date& date) const;

  /// Milliseconds; 0 for a dead formatter and for text that Java cannot parse. In the latter case Java's
  /// exception stays pending on the thread.
  long long parse(ThreadContext& ctx, const char* text) const;
};

}  // namespace mesk
