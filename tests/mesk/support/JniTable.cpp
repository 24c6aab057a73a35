#include <mesk/support/JniTable.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>
#include <type_traits>

namespace mesk::test {
namespace {

thread_local JniTable* current = nullptr;

/// What the program's lookups found, each once, in the file that the environment names: for the tests that hold the
/// real store against it. Written when the program ends.
class LookupFile {
 public:
  static LookupFile& instance() {
    static LookupFile file;
    return file;
  }
  LookupFile(const LookupFile&) = delete;
  LookupFile& operator=(const LookupFile&) = delete;

  bool wanted() const { return path_ != nullptr; }

  void add(const std::string& lookup) {
    const std::lock_guard<std::mutex> guard(mutex_);
    found_.insert(lookup);
  }

 private:
  LookupFile() : path_(std::getenv("MESK_LOOKUPS")) {}
  ~LookupFile() {
    if (path_ == nullptr) return;
    std::ofstream file(path_);
    for (const std::string& lookup : found_) file << lookup << '\n';
  }

  const char* const path_;
  std::mutex mutex_;
  std::set<std::string> found_;
};

}  // namespace

struct JniTable::Functions {
  /// The original of a function, with what it does counted when it is the test's or the library's own call.
  template <auto Member>
  struct Counted;

  template <class R, class... A, R (*JNINativeInterface_::*Member)(JNIEnv*, A...)>
  struct Counted<Member> {
    static R call(JNIEnv* env, A... arguments) { return run(false, env, arguments...); }
    static R callJava(JNIEnv* env, A... arguments) { return run(true, env, arguments...); }

    static R run(bool java, JNIEnv* env, A... arguments) {
      JniTable& table = *current;
      const bool own = table.depth_ == 0;
      if (own) {
        ++table.calls_;
        if (java) ++table.javaCalls_;
      }
      if constexpr (std::is_void_v<R>) {
        ++table.depth_;
        (table.original_->*Member)(env, arguments...);
        --table.depth_;
        if (own && java) table.original_->ExceptionCheck(env);
      } else {
        ++table.depth_;
        const R result = (table.original_->*Member)(env, arguments...);
        --table.depth_;
        // The library never asks, and the JVM's check would say so after every call, with a stack trace.
        if (own && java) table.original_->ExceptionCheck(env);
        if constexpr (std::is_convertible_v<R, jobject>) {
          if (own && result != nullptr) {
            ++table.made_;
            ++table.locals_;
          }
        }
        return result;
      }
    }
  };

  static bool refused(Call call) { return current->depth_ == 0 && current->refused(call); }

  static jclass findClass(JNIEnv* env, const char* name) {
    JniTable& table = *current;
    const bool own = table.depth_ == 0;
    if (own && table.classes_.count(name) != 0) {
      table.noteLookup(name, false);
      return nullptr;
    }
    const jclass cls = Counted<&JNINativeInterface_::FindClass>::call(env, name);
    if (own) table.noteLookup(name, cls != nullptr);
    if (own && cls != nullptr && LookupFile::instance().wanted()) LookupFile::instance().add(name);
    return cls;
  }

  template <auto Member>
  static jmethodID findMethod(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    JniTable& table = *current;
    if (table.depth_ != 0) return (table.original_->*Member)(env, cls, name, signature);
    LookupFile& file = LookupFile::instance();
    std::string whole;
    if (table.noting_ || file.wanted()) whole = table.classNameOf(cls) + "." + name + signature;
    const bool refused = table.methods_.count(name) != 0;
    const jmethodID method = refused ? nullptr : Counted<Member>::call(env, cls, name, signature);
    table.noteLookup(whole, method != nullptr);
    constexpr bool kStatic = Member == &JNINativeInterface_::GetStaticMethodID;
    if (method != nullptr && file.wanted()) file.add((kStatic ? "static " : "") + whole);
    return method;
  }

  static jobject newGlobalRef(JNIEnv* env, jobject object) {
    if (refused(kNewGlobalRef)) return nullptr;
    JniTable& table = *current;
    const jobject result = table.original_->NewGlobalRef(env, object);
    if (table.depth_ == 0) {
      ++table.calls_;
      if (result != nullptr) {
        ++table.made_;
        ++table.globals_;
      }
    }
    return result;
  }

  static void deleteGlobalRef(JNIEnv* env, jobject object) {
    JniTable& table = *current;
    table.original_->DeleteGlobalRef(env, object);
    if (table.depth_ == 0) {
      ++table.calls_;
      if (object != nullptr) --table.globals_;
    }
  }

  static void deleteLocalRef(JNIEnv* env, jobject object) {
    JniTable& table = *current;
    table.original_->DeleteLocalRef(env, object);
    if (table.depth_ == 0) {
      ++table.calls_;
      if (object != nullptr) --table.locals_;
    }
  }

  static jobject newObject(JNIEnv* env, jclass cls, jmethodID constructor, va_list arguments) {
    if (refused(kNewObject)) return nullptr;
    return Counted<&JNINativeInterface_::NewObjectV>::callJava(env, cls, constructor, arguments);
  }

  static jclass getObjectClass(JNIEnv* env, jobject object) {
    if (refused(kGetObjectClass)) return nullptr;
    return Counted<&JNINativeInterface_::GetObjectClass>::call(env, object);
  }

  static jstring newString(JNIEnv* env, const char* text) {
    if (refused(kNewStringUTF)) return nullptr;
    return Counted<&JNINativeInterface_::NewStringUTF>::call(env, text);
  }

  static jbyteArray newByteArray(JNIEnv* env, jsize length) {
    if (refused(kNewByteArray)) return nullptr;
    return Counted<&JNINativeInterface_::NewByteArray>::call(env, length);
  }

  static const char* getStringChars(JNIEnv* env, jstring text, jboolean* copied) {
    if (refused(kGetStringUTFChars)) return nullptr;
    return Counted<&JNINativeInterface_::GetStringUTFChars>::call(env, text, copied);
  }

  static void lay(JNINativeInterface_& t) {
    using N = JNINativeInterface_;
    t.FindClass = findClass;
    t.GetMethodID = findMethod<&N::GetMethodID>;
    t.GetStaticMethodID = findMethod<&N::GetStaticMethodID>;
    t.NewGlobalRef = newGlobalRef;
    t.DeleteGlobalRef = deleteGlobalRef;
    t.DeleteLocalRef = deleteLocalRef;
    t.NewObjectV = newObject;
    t.GetObjectClass = getObjectClass;
    t.NewStringUTF = newString;
    t.NewByteArray = newByteArray;
    t.GetStringUTFChars = getStringChars;
    t.NewString = Counted<&N::NewString>::call;
    t.NewLocalRef = Counted<&N::NewLocalRef>::call;
    t.GetObjectArrayElement = Counted<&N::GetObjectArrayElement>::call;
    t.CallVoidMethodV = Counted<&N::CallVoidMethodV>::callJava;
    t.CallIntMethodV = Counted<&N::CallIntMethodV>::callJava;
    t.CallLongMethodV = Counted<&N::CallLongMethodV>::callJava;
    t.CallBooleanMethodV = Counted<&N::CallBooleanMethodV>::callJava;
    t.CallObjectMethodV = Counted<&N::CallObjectMethodV>::callJava;
    t.CallStaticVoidMethodV = Counted<&N::CallStaticVoidMethodV>::callJava;
    t.CallStaticIntMethodV = Counted<&N::CallStaticIntMethodV>::callJava;
    t.CallStaticObjectMethodV = Counted<&N::CallStaticObjectMethodV>::callJava;
  }
};

JniTable::JniTable(JNIEnv* env) : env_(env), original_(env->functions), table_(*env->functions) {
  const jclass cls = env->FindClass("java/lang/Class");
  getName_ = env->GetMethodID(cls, "getName", "()Ljava/lang/String;");
  env->DeleteLocalRef(cls);
  Functions::lay(table_);
  current = this;
  env_->functions = &table_;
}

JniTable::~JniTable() {
  env_->functions = original_;
  current = nullptr;
}

void JniTable::forget() {
  locals_ = globals_ = made_ = javaCalls_ = calls_ = 0;
  lookups_.clear();
  failedLookups_.clear();
}

void JniTable::heal() {
  classes_.clear();
  methods_.clear();
  std::fill(std::begin(countdown_), std::end(countdown_), 0);
}

bool JniTable::refused(Call call) { return countdown_[call] != 0 && --countdown_[call] == 0; }

void JniTable::noteLookup(const std::string& name, bool found) {
  if (!noting_) return;
  lookups_.push_back(name);
  if (!found) failedLookups_.push_back(name);
}

std::string JniTable::classNameOf(jclass cls) {
  if (cls == nullptr || original_->ExceptionCheck(env_)) return "?";
  const Pause pause(env_);
  const auto name = static_cast<jstring>(env_->CallObjectMethod(cls, getName_));
  env_->ExceptionCheck();
  const char* const utf = env_->GetStringUTFChars(name, nullptr);
  std::string result(utf);
  env_->ReleaseStringUTFChars(name, utf);
  env_->DeleteLocalRef(name);
  std::replace(result.begin(), result.end(), '.', '/');
  return result;
}

JniTable::Pause::Pause(JNIEnv* env) : env_(env), paused_(env->functions) {
  if (current != nullptr && current->env_ == env) env_->functions = current->original_;
}

JniTable::Pause::~Pause() { env_->functions = paused_; }

}  // namespace mesk::test
