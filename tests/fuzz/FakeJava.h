// A function table in the place of a JVM, for the calls that strings and the session make. It keeps what it was called
// with and counts references. A host may put a JVM service of its own in the platform's place; this is one.
#pragma once

#include <jni.h>

#include <cstdarg>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mesk::fuzz {

class FakeJava {
 public:
  FakeJava();
  ~FakeJava();
  FakeJava(const FakeJava&) = delete;
  FakeJava& operator=(const FakeJava&) = delete;

  JNIEnv* env() { return &env_; }

  // What the store does.
  std::set<std::string> missing;  ///< classes and methods by name
  int code = 0;
  int sqlCode = 0;
  int sqlState = 0;
  bool givesContext = true;

  // What happened.
  using Text = std::optional<std::string>;     ///< in Java's form of UTF-8; nothing for null
  std::vector<std::vector<Text>> connections;  ///< the four texts of each call of connectMD
  std::vector<int> poolSizes;
  std::size_t locals() const { return count(false); }
  std::size_t globals() const { return count(true); }

  /// A Java string as a local reference.
  jstring newString(const std::string& javaUtf8);
  std::string textOf(jobject string) const;

  /// Throws `Broken` when a call was one that no JVM may be given.
  void claimGoodManners() const;

 private:
  struct Functions;
  struct Environment : JNIEnv {
    FakeJava* java = nullptr;
  };
  struct Reference {
    std::string className;
    std::string text;  ///< of a string; the name of a class
    bool global = false;
    std::set<const char*> lent;  ///< characters that were not given back
  };
  struct Method {
    std::string className, name, signature;
  };

  static FakeJava& of(JNIEnv* env) { return *static_cast<Environment*>(env)->java; }
  Reference* find(jobject object) const;
  jobject add(Reference reference);
  void drop(jobject object, bool global);
  jmethodID method(jclass cls, const char* name, const char* signature);
  std::string called(jmethodID method) const;
  void complain(const std::string& what);
  std::size_t count(bool global) const;

  JNINativeInterface_ table_;
  Environment env_;
  std::vector<std::unique_ptr<Reference>> references_;
  std::vector<std::unique_ptr<Method>> methods_;
  std::string complaint_;
};

}  // namespace mesk::fuzz
