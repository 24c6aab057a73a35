// The exception object through which the store reports the outcome of an operation.
#pragma once

#include <mesk/bridge/MDObject.h>

namespace mesk {

/// The code of an operation whose Java method was never reached.
inline constexpr int kUnreached = -300;

/// Made afresh for one operation, passed to Java as the last argument, read afterwards.
class MESK_API PARLException : public MDObject {
 public:
  /// A new exception object with code 0 and no message; dead when its class or constructor is missing.
  explicit PARLException(ThreadContext& ctx);
  PARLException(ThreadContext& ctx, jobject obj);

  /// The code that the store put in; -300 when it cannot be asked.
  int getRC(ThreadContext& ctx) const;

  /// 1 when the code is 0, else 0; a dead exception object is not OK.
  int isOK(ThreadContext& ctx) const;

  /// The nested SQL code, 0 when there is none or it cannot be asked.
  MESK_LOCAL int getSQLCode(ThreadContext& ctx);

  /// The nested SQL state as a number, 0 when there is none or it cannot be asked.
  MESK_LOCAL int getSQLState(ThreadContext& ctx);

 private:
  MESK_LOCAL int nestedCode(ThreadContext& ctx, const char* method);
};

}  // namespace mesk
