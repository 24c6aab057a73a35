// Binary large objects.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// Wraps a java.sql.Blob. The first byte is at position 1.
class MESK_API Blob : public MDObject {
 public:
  Blob(ThreadContext& ctx, jobject obj);

  /// A new blob of the store with a copy of `length` bytes.
  MESK_LOCAL Blob(ThreadContext& ctx, const char* bytes, int length);

  /// Bytes; 0 for a dead blob.
  long long length(ThreadContext& ctx) const;

  /// A new buffer with the bytes that Java gives for (`pos`, `length`), which the caller deletes; its size is what
  /// was asked for, or less at the end. Null when dead, when Java gives none, or out of memory.
  signed char* getBytes(ThreadContext& ctx, long long pos, int length) const;

  /// All bytes, as `getBytes`. A blob above 2,147,483,647 bytes is to be read in pieces: the length is narrowed.
  signed char* getAllBytes(ThreadContext& ctx) const;
};

}  // namespace mesk
