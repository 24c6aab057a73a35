// The session with the metadata store: connection, transactions, the scheduler's latch.
#pragma once

#include <mesk/bridge/MDObject.h>
#include <platform/Latch.h>

namespace mesk {

class MESK_API MDUtility : public MDObject {
 public:
  /// A new Java session object. No operation needs one; all are static.
  explicit MDUtility(ThreadContext& ctx);
  MDUtility(ThreadContext& ctx, jobject obj);

  /// Connects to the store: `a` a JDBC URL or a file, `b` a schema, `c` a user, `d` a password, each null or
  /// empty where the store needs none. The context comes back as a global reference, which `disconnectMD`
  /// releases; null when none was obtained. A context may come with an `rc` that is not 0: test `rc`, disconnect.
  /// Failures are logged with `a`, `b` and `c`; `d` is in no record.
  static jobject connectMD(ThreadContext& ctx, const char* a, const char* b, const char* c, const char* d, int& rc,
                           int& sqlCode);

  /// As above; `sqlState` becomes the nested SQL state as a number with an `rc` that is not 0, else 0.
  static jobject connectMD(ThreadContext& ctx, const char* a, const char* b, const char* c, const char* d, int& rc,
                           int& sqlCode, int& sqlState);

  /// Ends the session and releases `context`, also when the store reports a failure. Null gives -300.
  static int disconnectMD(ThreadContext& ctx, jobject context, int& sqlCode);

  /// `on` 1: each operation is durable when it returns. 0, which a session starts with: `commit` makes it so.
  static int setAutoCommit(ThreadContext& ctx, jobject context, unsigned char on);

  static int rollback(ThreadContext& ctx, jobject context, int& sqlCode);

  /// Makes everything since the last commit durable. Failures are logged.
  static int commit(ThreadContext& ctx, jobject context, int& sqlCode);
  static int commit(ThreadContext& ctx, jobject context);

  /// The store's note of which scheduler works on it; the meaning of the texts is the store's.
  MESK_LOCAL static int markedByScheduler(ThreadContext& ctx, const char* s1, const char* s2, const char* s3,
                                          const char* s4, const char* s5, int& sqlCode);
  MESK_LOCAL static int unmarkedByScheduler(ThreadContext& ctx, const char* s1, const char* s2, const char* s3,
                                            const char* s4, const char* s5, int& sqlCode);

  /// The scheduler's latch around its work on the store. `initLatch` is called once, at start; the library itself
  /// never takes it; it is not recursive.
  static void initLatch();
  static void getLatch();
  static void freeLatch();

  MESK_LOCAL static OSSLatch* mdLock;  ///< null until `initLatch`
};

}  // namespace mesk
