// The one way in which an operation becomes a call of a Java method.
//
// `callMethod` is a plain call; `StoreCall` is a call of a store method, which reports through an exception
// object. Every wrapper goes through these two: a breakpoint in `StoreCall::finish` stops every operation on
// the store.
#pragma once

#include <mesk/bridge/Invoke.h>
#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/Signature.h>

namespace mesk {

/// Calls a method that knows no exception object. The wrapper must be live and the method there, else the
/// result is `unreached`.
template <class R, class... Arguments>
R callMethod(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature,
             Arguments... arguments) {
  if (isLive(target)) {
    if (const jmethodID method = ctx.env->GetMethodID(target.objectClass, name, signature); method != nullptr) {
      return invoke<R>(ctx, target.object, method, arguments...);
    }
  }
  return unreached<R>(ctx);
}

/// One operation on one method of the store: code -300 and SQL code 0 before, a fresh exception object as the
/// last argument, its code after. Used for one call, on one thread.
class StoreCall {
 public:
  StoreCall(ThreadContext& ctx, int& sqlCode) : ctx_(ctx), sqlCode_(sqlCode), exception_(ctx) { sqlCode_ = 0; }
  StoreCall(const StoreCall&) = delete;
  StoreCall& operator=(const StoreCall&) = delete;

  /// Whether the exception object can report.
  bool ready() const { return isLive(exception_); }

  /// Calls `name` of `target` with `arguments` and the exception object, and takes the code. Not reached: the
  /// code stays -300.
  template <class R, class... Arguments>
  R invoke(const MDObject& target, const char* name, const char* signature, Arguments... arguments) {
    if (isLive(target) && ready()) {
      if (const jmethodID method = ctx_.env->GetMethodID(target.objectClass, name, signature); method != nullptr) {
        return take<R>([&] { return mesk::invoke<R>(ctx_, target.object, method, arguments..., exception_.object); });
      }
    }
    return unreached<R>(ctx_);
  }

  /// As `invoke`, for a static method of `cls`, which may be null.
  template <class R, class... Arguments>
  R invokeStatic(jclass cls, const char* name, const char* signature, Arguments... arguments) {
    if (cls != nullptr && ready()) {
      if (const jmethodID method = ctx_.env->GetStaticMethodID(cls, name, signature); method != nullptr) {
        return take<R>([&] { return mesk::invokeStatic<R>(ctx_, cls, method, arguments..., exception_.object); });
      }
    }
    return unreached<R>(ctx_);
  }

  /// Whether Java was called.
  bool reached() const { return reached_; }

  /// The code as it stands; -300 before the call.
  int code() const { return code_; }

  /// The operation's result. `emptyCode` is the store's code for "nothing found", which counts as success; 0
  /// when the operation has none. For any other failure of the store the nested SQL code is fetched.
  int finish(int emptyCode = 0);

  /// The nested SQL code, for an operation that tells it beside a success too.
  void fetchSqlCode() { sqlCode_ = exception_.getSQLCode(ctx_); }

  /// The nested SQL state; for the one operation that reports it.
  int sqlState() { return exception_.getSQLState(ctx_); }

 private:
  template <class R, class Call>
  R take(Call call) {
    reached_ = true;
    if constexpr (std::is_void_v<R>) {
      call();
      code_ = exception_.getRC(ctx_);
    } else {
      R result = call();
      code_ = exception_.getRC(ctx_);
      return result;
    }
  }

  ThreadContext& ctx_;
  int& sqlCode_;
  PARLException exception_;
  int code_ = kUnreached;
  bool reached_ = false;
};

/// A method of the store whose code nobody asks for: a failure gives what Java returned with it.
template <class R, class... Arguments>
R callUnreported(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature,
                 Arguments... arguments) {
  const PARLException exception(ctx);
  return isLive(exception) ? callMethod<R>(ctx, target, name, signature, arguments..., exception.object)
                           : unreached<R>(ctx);
}

/// A record of the store by its key: `rc` and `sqlCode` are set, and what Java returned is handed out, whatever
/// the code.
template <class... Arguments>
jobject retrieveObject(ThreadContext& ctx, const MDObject& home, const char* name, const char* signature, int& rc,
                       int& sqlCode, Arguments... arguments) {
  StoreCall call(ctx, sqlCode);
  auto result = call.invoke<LocalRef<>>(home, name, signature, arguments...);
  rc = call.finish();
  return result.release();
}

/// As `retrieveObject`, but null beside a code that is not 0.
template <class... Arguments>
jobject retrieveRecord(ThreadContext& ctx, const MDObject& home, const char* name, const char* signature, int& rc,
                       int& sqlCode, Arguments... arguments) {
  LocalRef<> record(ctx.env, retrieveObject(ctx, home, name, signature, rc, sqlCode, arguments...));
  return rc == 0 ? record.release() : nullptr;
}

/// An operation of the store without a result of its own.
template <class... Arguments>
int callStore(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature, int& sqlCode,
              Arguments... arguments) {
  StoreCall call(ctx, sqlCode);
  call.invoke<void>(target, name, signature, arguments...);
  return call.finish();
}

/// As `callStore`, with `record` behind the context: -300 when that is dead.
template <class... Arguments>
int callStoreWith(ThreadContext& ctx, const MDObject& target, const char* name, const char* signature, int& sqlCode,
                  jobject context, const MDObject& record, Arguments... arguments) {
  StoreCall call(ctx, sqlCode);
  if (isLive(record)) call.invoke<void>(target, name, signature, context, record.object, arguments...);
  return call.finish();
}

}  // namespace mesk
