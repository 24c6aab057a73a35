// Static methods of a Java class of the store that no wrapper of libmesk stands for.
#pragma once

#include <jni.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include <scheduler/Session.h>

namespace mesk::host {

/// For a method without a result.
inline constexpr void* kNoResult = nullptr;

/// Each method takes the session's context first and an exception object last. One thread, that of the session.
class StoreClass {
 public:
  /// `name` as JNI writes it, with slashes; it must live as long as this.
  StoreClass(Session& session, const char* name) : session_(session), name_(name) {}

  /// Calls a method and answers the store's code, -300 when it was not reached. Arguments: int, bool, long long,
  /// texts, and vectors of int, long long and texts; an empty text is null. `result`, filled when the code is 0, is an
  /// int, a long long, a text (null is empty) or the texts of an ArrayList.
  template <class R, class... Arguments>
  int attempt(const char* method, R* result, const Arguments&... arguments) {
    const Frame frame(session_.ctx().env, kReferences);
    const std::string signature = signatureOf((std::string() + ... + typeOf(arguments)), typeOfResult<R>());
    std::vector<jvalue> values;
    (values.push_back(javaOf(arguments)), ...);
    const jvalue answer = invoke(method, signature, values);
    if constexpr (std::is_same_v<R, int>) {
      if (code_ == 0) *result = answer.i;
    } else if constexpr (std::is_same_v<R, long long>) {
      if (code_ == 0) *result = answer.j;
    } else if constexpr (std::is_same_v<R, std::string>) {
      if (code_ == 0) *result = textOf(answer.l);
    } else if constexpr (!std::is_void_v<R>) {
      if (code_ == 0) *result = textsOf(answer.l);
    }
    return code_;
  }

  /// As `attempt` for a method whose result is an object of the Java class `type`: a local reference for the caller.
  template <class... Arguments>
  int attemptObject(const char* method, const char* type, jobject& result, const Arguments&... arguments) {
    Frame frame(session_.ctx().env, kReferences);
    const std::string signature = signatureOf((std::string() + ... + typeOf(arguments)), "L" + std::string(type) + ";");
    std::vector<jvalue> values;
    (values.push_back(javaOf(arguments)), ...);
    const jvalue answer = invoke(method, signature, values);
    result = frame.leave(code_ == 0 ? answer.l : nullptr);
    return code_;
  }

  /// Hands each element of an ArrayList (null: none) over to `take` as a local reference.
  template <class Take>
  void each(jobject list, Take take) {
    if (list == nullptr) return;
    const Frame frame(session_.ctx().env, kReferences);
    JNIEnv* const env = session_.ctx().env;
    const jmethodID toArray = env->GetMethodID(env->GetObjectClass(list), "toArray", "()[Ljava/lang/Object;");
    const auto array = static_cast<jobjectArray>(env->CallObjectMethod(list, toArray));
    const jsize length = array == nullptr ? 0 : env->GetArrayLength(array);
    for (jsize i = 0; i < length; ++i) take(env->GetObjectArrayElement(array, i));
  }

  /// Throws StoreError, with what the store says of it, unless the last call's code is 0 or `allowed`. Answers whether
  /// it was 0.
  bool check(const std::string& what, int allowed = 0);

  /// Calls a method that must succeed.
  template <class R = void, class... Arguments>
  R call(const std::string& what, const char* method, const Arguments&... arguments) {
    if constexpr (std::is_void_v<R>) {
      attempt(method, kNoResult, arguments...);
      check(what);
    } else {
      R result{};
      attempt(method, &result, arguments...);
      check(what);
      return result;
    }
  }

 private:
  static constexpr jint kReferences = 32;  // of one call, without the elements of arrays, which are let go one by one

  /// Local references that end with it.
  class Frame {
   public:
    Frame(JNIEnv* env, jint capacity) : env_(env->PushLocalFrame(capacity) == 0 ? env : nullptr) {}
    ~Frame() { leave(nullptr); }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;
    /// Ends it, but keeps `reference`, as the one that comes back.
    jobject leave(jobject reference) {
      if (env_ == nullptr) return reference;
      JNIEnv* const env = env_;
      env_ = nullptr;
      return env->PopLocalFrame(reference);
    }

   private:
    JNIEnv* env_;  // null when it has ended, or never began
  };

  static std::string typeOf(int) { return "I"; }
  static std::string typeOf(bool) { return "Z"; }
  static std::string typeOf(long long) { return "J"; }
  static std::string typeOf(const std::string&) { return "Ljava/lang/String;"; }
  static std::string typeOf(const std::vector<int>&) { return "[I"; }
  static std::string typeOf(const std::vector<long long>&) { return "[J"; }
  static std::string typeOf(const std::vector<std::string>&) { return "[Ljava/lang/String;"; }
  template <class R>
  static std::string typeOfResult() {
    if constexpr (std::is_void_v<R>) {
      return "V";
    } else if constexpr (std::is_same_v<R, std::vector<std::string>>) {
      return "Ljava/util/ArrayList;";
    } else {
      return typeOf(R{});
    }
  }
  static std::string signatureOf(const std::string& arguments, const std::string& result);

  static jvalue javaOf(int value);
  static jvalue javaOf(bool value);
  static jvalue javaOf(long long value);
  jvalue javaOf(const std::string& value);
  jvalue javaOf(const std::vector<int>& values);
  jvalue javaOf(const std::vector<long long>& values);
  jvalue javaOf(const std::vector<std::string>& values);

  /// The result by the type that the signature ends with; the code goes to `code_`.
  jvalue invoke(const char* method, const std::string& signature, std::vector<jvalue>& values);
  std::string textOf(jobject string);
  std::vector<std::string> textsOf(jobject list);

  Session& session_;
  const char* name_;
  int code_ = 0;
  std::string message_;  ///< what the store said of the last call that failed
};

}  // namespace mesk::host
