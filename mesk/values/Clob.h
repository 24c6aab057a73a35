// Character large objects.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps a java.sql.Clob. The first character is at position 1.
class MESK_API Clob : public MDObject {
 public:
  /// A new clob of the store; `text` stays the caller's.
  Clob(ThreadContext& ctx, jstring text);
  Clob(ThreadContext& ctx, jobject obj);

  /// Java characters (UTF-16 units); 0 for a dead clob.
  long long length(ThreadContext& ctx) const;

  /// A new text, which the caller deletes; null when dead, null or empty.
  char* getSubString(ThreadContext& ctx, long long pos, int length) const;

  /// The whole text, as `getSubString`. The length is narrowed to 32 bits.
  char* getString(ThreadContext& ctx) const;
};

}  // namespace mesk
