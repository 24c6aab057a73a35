// What an operation really does: each of its calls of JNI and of the platform, in order, and each of its records.
#pragma once

#include <jni.h>
#include <mesk/ledger/Setting.h>

#include <cstdarg>
#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

struct ContactGroupRequest;
struct ContactSqlca;

namespace mesk::test::ledger {

/// Lies over the thread's JNI environment and its JVM, and behind the platform's functions, while an operation is
/// recorded. JNI really runs, on real references; a Java method is called, and then answers what the setting says.
/// A JNI function that the library has no business with ends the program. One at a time.
class Recording {
 public:
  Recording(JNIEnv* env, const Setting& setting, Answers answers);
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  /// A reference, or a latch, that the operation is given.
  void know(const void* given, const std::string& name);

  /// It is not given any more.
  void forget(const void* given);

  /// Runs `operation` and writes down what it does.
  void record(const std::function<void()>& operation);

  /// Runs `work` without writing down what it does; references and memory are counted still.
  void count(const std::function<void()>& work);

  const std::vector<std::string>& lines() const { return lines_; }
  void addLine(const std::string& line);

  /// The name of a reference.
  Ref nameOf(const void* reference) const;

  /// References that were made and are still there, in no order, and the number of blocks of memory.
  std::vector<Ref> liveReferences() const;
  std::size_t liveBlocks() const { return blocks_.size(); }

  /// How many things could have failed so far.
  unsigned points() const { return points_; }

  // For the functions that lie over the real ones.
  static Recording* current();
  bool refuses();
  void allocated(void* block, std::size_t bytes);
  void deleted(void* block);
  void answerContacts(ContactGroupRequest& request, ContactSqlca& sqlca);
  bool writing() const { return writing_; }

 private:
  struct Functions;
  struct Method {
    std::string name;
    std::string signature;
  };

  void lay(bool on);
  jobject answered(jobject reference);  ///< gives a new reference its name
  std::string suffix(jobject reference) const;
  std::vector<jvalue> arguments(jmethodID method, va_list given) const;
  std::string called(const char* function, const std::string& target, jmethodID method, const jvalue* arguments) const;
  jobject make(const Answer& answer);
  jobject makeObject(const std::string& className);

  JNIEnv* env_;
  JavaVM* vm_ = nullptr;
  Setting setting_;
  Answers answers_;
  const JNINativeInterface_* original_;
  const JNIInvokeInterface_* originalVm_;
  JNINativeInterface_ table_;
  JNIInvokeInterface_ vmTable_;
  bool laid_ = false;
  bool writing_ = false;
  unsigned points_ = 0;
  unsigned made_ = 0;
  std::vector<std::string> lines_;
  std::map<const void*, Ref> names_;
  std::set<const void*> given_;
  std::map<jmethodID, Method> methods_;
  std::set<void*> blocks_;
};

}  // namespace mesk::test::ledger
