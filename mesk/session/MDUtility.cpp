#include <mesk/session/MDUtility.h>

#include <mesk/bridge/Latch.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/bridge/Trace.h>

namespace mesk {
namespace {

constexpr std::uint32_t kTraceConnect = 0x1AE801AD;
constexpr std::uint32_t kTraceDisconnect = 0x1AE801AE;
constexpr std::uint32_t kTraceCommit = 0x1AE801AF;
constexpr std::uint32_t kTraceMarked = 0x1AE801B0;
constexpr std::uint32_t kTraceUnmarked = 0x1AE801B1;
constexpr std::uint32_t kLogConnect = 0x10080125;
constexpr std::uint32_t kLogCommit = 0x10080126;

constexpr auto kSessionSignature = storeSignature<"", "V">;
constexpr auto kMarkSignature =
    joined<"(", kStringType, kStringType, kStringType, kStringType, kStringType, kExceptionType, ")V">;

LocalRef<jclass> sessionClass(ThreadContext& ctx) { return {ctx.env, ctx.env->FindClass(metadataClass<"MDUtility">)}; }

LocalRef<jstring> javaText(ThreadContext& ctx, const char* text) {
  return {ctx.env, MDObject::stringTojString(ctx, text)};
}

/// Every connection of this library is one of its own: the pool keeps none. An installation without the pool
/// is none the worse.
void keepNoPool(ThreadContext& ctx) {
  const LocalRef<jclass> pool(ctx.env, ctx.env->FindClass("com/orvik/kelvo/tools/conn/ConnectionPoolManager"));
  if (!pool) return;
  const jmethodID setSize = ctx.env->GetStaticMethodID(pool.get(), "setDefaultPoolSize", "(I)V");
  if (setSize != nullptr) invokeStatic<void>(ctx, pool.get(), setSize, jint{0});
}

const char* orNull(const char* text) { return text == nullptr || *text == '\0' ? "NULL" : text; }

/// Both forms of connecting. The form with an SQL state has error probes of its own, 100 above the other's, and one
/// item more in its log record. The probe of a missing method is the same.
jobject connect(ThreadContext& ctx, const char* a, const char* b, const char* c, const char* d, int& rc, int& sqlCode,
                int* sqlState) {
  const std::uint32_t form = sqlState == nullptr ? 0 : 100;
  rc = kUnreached;
  StoreCall call(ctx, sqlCode);
  const Traced trace(kTraceConnect);
  if (sqlState != nullptr) *sqlState = 0;
  jobject context = nullptr;
  if (call.ready()) {
    if (const auto cls = sessionClass(ctx); cls) {
      const auto ja = javaText(ctx, a);
      const auto jb = javaText(ctx, b);
      const auto jc = javaText(ctx, c);
      const auto jd = javaText(ctx, d);
      keepNoPool(ctx);
      const auto local = call.invokeStatic<LocalRef<>>(
          cls.get(), "connectMD",
          joined<"(", kStringType, kStringType, kStringType, kStringType, kExceptionType, ")", kContextType>, ja.get(),
          jb.get(), jc.get(), jd.get());
      rc = call.finish();
      if (!call.reached()) {
        trace.error(10, rc);
      } else if (rc != 0) {
        if (sqlState != nullptr) *sqlState = call.sqlState();
        trace.error(form + 20, rc);
        trace.error(form + 30, sqlCode);
        if (sqlState != nullptr) trace.error(form + 35, *sqlState);
      }
      if (local) context = ctx.env->NewGlobalRef(local.get());
    }
  }
  if (rc != 0 || sqlCode != 0 || context == nullptr) {
    const auto ta = logText(orNull(a));
    const auto tb = logText(orNull(b));
    const auto tc = logText(orNull(c));
    if (sqlState == nullptr) {
      logRecord(kLogConnect, 10, logInteger(rc), logInteger(sqlCode), ta, tb, tc);
    } else {
      logRecord(kLogConnect, 10, logInteger(rc), logInteger(sqlCode), logInteger(*sqlState), ta, tb, tc);
    }
    trace.errorText(form + 40, orNull(a));
    trace.errorText(form + 50, orNull(b));
    trace.errorText(form + 60, orNull(c));
  }
  trace.exit(rc);
  return context;
}

int mark(ThreadContext& ctx, std::uint32_t function, const char* method, const char* s1, const char* s2, const char* s3,
         const char* s4, const char* s5, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  const Traced trace(function);
  if (call.ready()) {
    if (const auto cls = sessionClass(ctx); cls) {
      const auto j1 = javaText(ctx, s1);
      const auto j2 = javaText(ctx, s2);
      const auto j3 = javaText(ctx, s3);
      const auto j4 = javaText(ctx, s4);
      const auto j5 = javaText(ctx, s5);
      call.invokeStatic<void>(cls.get(), method, kMarkSignature, j1.get(), j2.get(), j3.get(), j4.get(), j5.get());
      call.finish();
    }
  }
  return trace.exit(call.code());
}

/// A static method that takes the context, perhaps more, and the exception object. A dead exception object
/// leaves even the class alone.
template <class... Arguments>
void callSession(ThreadContext& ctx, StoreCall& call, const char* method, const char* signature,
                 Arguments... arguments) {
  if (!call.ready()) return;
  const auto cls = sessionClass(ctx);
  call.invokeStatic<void>(cls.get(), method, signature, arguments...);
}

}  // namespace

OSSLatch* MDUtility::mdLock = nullptr;

MDUtility::MDUtility(ThreadContext& ctx) {
  [[maybe_unused]] const PARLException unused(ctx);
  if (bindClass(ctx, metadataClass<"MDUtility">)) construct(ctx, "()V");
}

MDUtility::MDUtility(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}

jobject MDUtility::connectMD(ThreadContext& ctx, const char* a, const char* b, const char* c, const char* d, int& rc,
                             int& sqlCode) {
  return connect(ctx, a, b, c, d, rc, sqlCode, nullptr);
}

jobject MDUtility::connectMD(ThreadContext& ctx, const char* a, const char* b, const char* c, const char* d, int& rc,
                             int& sqlCode, int& sqlState) {
  return connect(ctx, a, b, c, d, rc, sqlCode, &sqlState);
}

int MDUtility::disconnectMD(ThreadContext& ctx, jobject context, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  const Traced trace(kTraceDisconnect);
  if (context == nullptr || !call.ready()) {
    trace.error(40, call.code());
  } else if (const auto cls = sessionClass(ctx); cls) {
    call.invokeStatic<void>(cls.get(), "disconnectMD", kSessionSignature, context);
    const int rc = call.finish();
    if (!call.reached()) {
      trace.error(10, rc);
    } else if (rc != 0) {
      trace.error(20, rc);
      trace.error(30, sqlCode);
    }
  }
  if (context != nullptr) ctx.env->DeleteGlobalRef(context);
  return trace.exit(call.code());
}

int MDUtility::setAutoCommit(ThreadContext& ctx, jobject context, unsigned char on) {
  int unused = 0;
  StoreCall call(ctx, unused);
  callSession(ctx, call, "setAutoCommit", storeSignature<"Z", "V">, context, static_cast<jboolean>(on));
  return call.code();
}

int MDUtility::rollback(ThreadContext& ctx, jobject context, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  callSession(ctx, call, "rollback", kSessionSignature, context);
  return call.finish();
}

int MDUtility::commit(ThreadContext& ctx, jobject context, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  const Traced trace(kTraceCommit);
  callSession(ctx, call, "commit", kSessionSignature, context);
  const int rc = call.finish();
  if (rc != 0) logFailure(kLogCommit, rc, sqlCode);
  return trace.exit(rc);
}

int MDUtility::commit(ThreadContext& ctx, jobject context) {
  int sqlCode = 0;
  return commit(ctx, context, sqlCode);
}

int MDUtility::markedByScheduler(ThreadContext& ctx, const char* s1, const char* s2, const char* s3, const char* s4,
                                 const char* s5, int& sqlCode) {
  return mark(ctx, kTraceMarked, "markedByScheduler", s1, s2, s3, s4, s5, sqlCode);
}

int MDUtility::unmarkedByScheduler(ThreadContext& ctx, const char* s1, const char* s2, const char* s3, const char* s4,
                                   const char* s5, int& sqlCode) {
  return mark(ctx, kTraceUnmarked, "unmarkedByScheduler", s1, s2, s3, s4, s5, sqlCode);
}

void MDUtility::initLatch() { mdLock = new OSSLatch(0); }

void MDUtility::getLatch() { takeLatch(mdLock); }

void MDUtility::freeLatch() { releaseLatch(mdLock); }

}  // namespace mesk
