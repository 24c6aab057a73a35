// A function table laid over a thread's JNI environment: counts references, and lets calls fail on demand.
#pragma once

#include <jni.h>

#include <set>
#include <string>
#include <vector>

namespace mesk::test {

/// While it lives, the JNI calls that native code of the thread makes through `env` go through it. What the JDK's own
/// native methods do while Java code runs is neither counted nor failed. One at a time on a thread.
class JniTable {
 public:
  /// The functions that can be told to fail on their n-th call.
  enum Call {
    kNewObject,
    kNewGlobalRef,
    kNewStringUTF,
    kNewByteArray,
    kGetObjectClass,
    kGetStringUTFChars,
    kCallKinds
  };

  explicit JniTable(JNIEnv* env);
  ~JniTable();
  JniTable(const JniTable&) = delete;
  JniTable& operator=(const JniTable&) = delete;

  // Since construction or `forget`:
  int locals() const { return locals_; }        ///< local references made and not deleted
  int globals() const { return globals_; }      ///< global references made and not deleted
  int made() const { return made_; }            ///< references made, local and global
  int javaCalls() const { return javaCalls_; }  ///< methods and constructors called
  int calls() const { return calls_; }          ///< counted JNI calls of any kind
  void forget();

  /// From now on notes each lookup: "a/b/Class" for a class, "a/b/Class.method()V" for a method.
  void noteLookups() { noting_ = true; }
  const std::vector<std::string>& lookups() const { return lookups_; }
  const std::vector<std::string>& failedLookups() const { return failedLookups_; }

  void failClass(const char* name) { classes_.insert(name); }
  /// Static or not, of any class and signature; "<init>" for constructors.
  void failMethod(const char* name) { methods_.insert(name); }
  /// The `n`-th call from now on fails, 1 being the next; 0 lets none fail.
  void fail(Call call, int n) { countdown_[call] = n; }
  /// Nothing fails any more.
  void heal();

  /// While it lives, calls of the thread are neither counted nor failed.
  class Pause {
   public:
    explicit Pause(JNIEnv* env);
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    JNIEnv* env_;
    const JNINativeInterface_* paused_;
  };

 private:
  struct Functions;

  bool refused(Call call);
  void noteLookup(const std::string& name, bool found);
  std::string classNameOf(jclass cls);

  JNIEnv* env_;
  const JNINativeInterface_* original_;
  JNINativeInterface_ table_;
  jmethodID getName_;
  int depth_ = 0;
  int locals_ = 0;
  int globals_ = 0;
  int made_ = 0;
  int javaCalls_ = 0;
  int calls_ = 0;
  bool noting_ = false;
  std::vector<std::string> lookups_;
  std::vector<std::string> failedLookups_;
  std::set<std::string> classes_;
  std::set<std::string> methods_;
  int countdown_[kCallKinds] = {};
};

}  // namespace mesk::test
