// The one Java virtual machine of the process.
#pragma once

#include <jni.h>

#include <platform/Export.h>

namespace mesk {

/// Finds or starts the JVM. One object a process; any thread may call it, and a creation that is
/// raced by many threads happens once.
class MESK_PLATFORM_API MeskJVM {
 public:
  /// The results of `createJVM`.
  enum Result : int {
    kOk = 0,
    kNoJvmLibrary = -401,   ///< no libjvm found by JAVA_HOME or the `java` on the path
    kJvmRefused = -402,     ///< the JVM library refused to start one
    kNoStoreLibrary = -403  ///< no class path given and no mesk-store.jar installed
  };

  static MeskJVM* getInstance();

  /// The JVM, or null when there is none yet. A JVM that the process already has is joined.
  JavaVM* getJVM();

  /// Creates the JVM, or joins the one there is. `MESK_CLASSPATH` gives the class path (default: the
  /// installed mesk-store.jar and the JDBC drivers beside it), `MESK_JVM_OPTIONS` further options,
  /// separated by blanks, which win over the service's own: -Xrs, because the host owns the signals, and
  /// a library path with the JNI directories of Debian. Answers a `Result`; after a failure a later call
  /// tries again. Creating leaves the calling thread unattached, joining leaves it as it was. A JVM that
  /// cannot reserve its memory ends the process, after saying so on the standard error stream.
  int createJVM();

  /// What went wrong in the last `createJVM` of any thread, in words that name the file or option;
  /// empty after success. The text belongs to the calling thread until its next call.
  const char* lastError();

 private:
  MeskJVM() = default;
};

}  // namespace mesk
