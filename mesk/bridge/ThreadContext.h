// The calling thread's way into the process's one Java virtual machine.
#pragma once

#include <jni.h>

#include <mesk/bridge/Export.h>

namespace mesk {

/// The JVM, the calling thread's JNI environment, and whether this context attached the thread. The first
/// argument of every operation.
///
/// One context a thread: `env` is valid on the thread that attached and on no other. A context whose
/// construction failed has a null `env` and must not be used. There is no destructor: who wants the thread
/// detached calls `destroy`, once.
class MESK_API ThreadContext {
 public:
  /// Takes the JVM from the platform's JVM service, which creates it when there is none, and attaches the
  /// thread. On failure one line goes to standard error and `env` stays null.
  ThreadContext();

  /// Attaches the thread to `vm`. Null or a refused attach: one line on standard error, `attached` 0.
  explicit ThreadContext(JavaVM* vm);

  /// Wraps an environment that the caller already has. Never attaches or detaches; `jvm` is null.
  explicit ThreadContext(JNIEnv* environment);

  /// Wraps both; makes no call.
  ThreadContext(JavaVM* vm, JNIEnv* environment);

  /// As the default constructor, without a word on failure.
  void attach();

  /// Detaches the thread when this context attached it, also when somebody else had attached it before.
  /// Clears nothing: a second call detaches again.
  void destroy();

  /// Replaces `env` and nothing else.
  void setEnv(JNIEnv* environment);

  JavaVM* jvm;   ///< null when none could be had
  JNIEnv* env;   ///< every JNI call goes through here
  int attached;  ///< 1 when this context attached the thread, else 0

 private:
  MESK_LOCAL bool obtainJvm();
  MESK_LOCAL bool attachThread();
};

}  // namespace mesk
