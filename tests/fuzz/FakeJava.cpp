#include "FakeJava.h"

#include <algorithm>
#include <cstring>

#include <platform/MeskJVM.h>

#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

FakeJava* current = nullptr;

struct Machine : JavaVM {
  Machine() : JavaVM{} {
    table.AttachCurrentThread = [](JavaVM*, void** env, void*) -> jint {
      *env = current->env();
      return JNI_OK;
    };
    functions = &table;
  }
  JNIInvokeInterface_ table{};
};

}  // namespace

struct FakeJava::Functions {
  static jclass findClass(JNIEnv* env, const char* name) {
    FakeJava& java = of(env);
    if (java.missing.contains(name)) return nullptr;
    return static_cast<jclass>(java.add({"java/lang/Class", name, false, {}}));
  }
  static jclass getObjectClass(JNIEnv* env, jobject object) {
    FakeJava& java = of(env);
    const Reference* const known = java.find(object);
    return known == nullptr ? nullptr : static_cast<jclass>(java.add({"java/lang/Class", known->className, false, {}}));
  }
  static jmethodID getMethod(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    return of(env).method(cls, name, signature);
  }
  static jobject newGlobalRef(JNIEnv* env, jobject object) {
    FakeJava& java = of(env);
    const Reference* const known = java.find(object);
    return known == nullptr ? nullptr : java.add({known->className, known->text, true, {}});
  }
  static void deleteGlobalRef(JNIEnv* env, jobject object) { of(env).drop(object, true); }
  static void deleteLocalRef(JNIEnv* env, jobject object) { of(env).drop(object, false); }

  static jobject newObject(JNIEnv* env, jclass cls, jmethodID constructor, va_list) {
    FakeJava& java = of(env);
    const Reference* const known = java.find(cls);
    if (known == nullptr || java.called(constructor) != known->text + ".<init>") java.complain("no constructor");
    return known == nullptr ? nullptr : java.add({known->text, "", false, {}});
  }
  static jint callInt(JNIEnv* env, jobject object, jmethodID method, va_list) {
    FakeJava& java = of(env);
    java.find(object);
    if (!java.called(method).ends_with("PARLException.getRC")) java.complain("a number was asked of another method");
    return java.code;
  }
  static jint callStaticInt(JNIEnv* env, jclass cls, jmethodID method, va_list) {
    FakeJava& java = of(env);
    java.find(cls);
    const std::string name = java.called(method);
    if (java.code == 0 && !java.missing.contains("getRC")) java.complain("a nested code was asked for after a success");
    if (name.ends_with(".getNestedSQLCode")) return java.sqlCode;
    if (!name.ends_with(".getNestedIntSQLState")) java.complain("a number was asked of " + name);
    return java.sqlState;
  }
  static void callStaticVoid(JNIEnv* env, jclass cls, jmethodID method, va_list arguments) {
    FakeJava& java = of(env);
    java.find(cls);
    if (!java.called(method).ends_with("ConnectionPoolManager.setDefaultPoolSize")) java.complain("another method");
    java.poolSizes.push_back(va_arg(arguments, jint));
  }
  static jobject callStaticObject(JNIEnv* env, jclass cls, jmethodID method, va_list arguments) {
    FakeJava& java = of(env);
    java.find(cls);
    if (!java.called(method).ends_with("MDUtility.connectMD")) java.complain("another method");
    std::vector<Text> texts;
    for (int i = 0; i < 4; ++i) {
      const jobject text = va_arg(arguments, jobject);
      texts.push_back(text == nullptr ? Text() : Text(java.textOf(text)));
    }
    if (java.find(va_arg(arguments, jobject)) == nullptr) java.complain("connected without an exception object");
    java.connections.push_back(texts);
    return java.givesContext ? java.add({"com/orvik/kelvo/common/parl/api/Context", "", false, {}}) : nullptr;
  }

  static jstring newString(JNIEnv* env, const char* text) {
    if (!decode(text, true)) of(env).complain("a string was made of what is not Java's form of UTF-8");
    return of(env).newString(text);
  }
  static const char* getStringChars(JNIEnv* env, jstring string, jboolean*) {
    Reference* const known = of(env).find(string);
    if (known == nullptr) return nullptr;
    char* const copy = new char[known->text.size() + 1];
    std::memcpy(copy, known->text.c_str(), known->text.size() + 1);
    known->lent.insert(copy);
    return copy;
  }
  static void releaseStringChars(JNIEnv* env, jstring string, const char* text) {
    Reference* const known = of(env).find(string);
    if (known == nullptr || known->lent.erase(text) == 0) return of(env).complain("characters of another string");
    delete[] text;
  }
};

FakeJava::FakeJava() : table_{} {
  table_.FindClass = Functions::findClass;
  table_.GetObjectClass = Functions::getObjectClass;
  table_.GetMethodID = Functions::getMethod;
  table_.GetStaticMethodID = Functions::getMethod;
  table_.NewGlobalRef = Functions::newGlobalRef;
  table_.DeleteGlobalRef = Functions::deleteGlobalRef;
  table_.DeleteLocalRef = Functions::deleteLocalRef;
  table_.NewObjectV = Functions::newObject;
  table_.CallIntMethodV = Functions::callInt;
  table_.CallStaticIntMethodV = Functions::callStaticInt;
  table_.CallStaticVoidMethodV = Functions::callStaticVoid;
  table_.CallStaticObjectMethodV = Functions::callStaticObject;
  table_.NewStringUTF = Functions::newString;
  table_.GetStringUTFChars = Functions::getStringChars;
  table_.ReleaseStringUTFChars = Functions::releaseStringChars;
  env_.functions = &table_;
  env_.java = this;
  current = this;
}

FakeJava::~FakeJava() {
  current = nullptr;
  for (const auto& reference : references_) {
    for (const char* const text : reference->lent) delete[] text;
  }
}

jstring FakeJava::newString(const std::string& javaUtf8) {
  return static_cast<jstring>(add({"java/lang/String", javaUtf8, false, {}}));
}

std::string FakeJava::textOf(jobject string) const {
  const auto found = std::find_if(references_.begin(), references_.end(), [string](const auto& reference) {
    return reinterpret_cast<jobject>(reference.get()) == string;
  });
  claim(found != references_.end() && (*found)->className == "java/lang/String", "no string");
  return (*found)->text;
}

void FakeJava::claimGoodManners() const { claim(complaint_.empty(), complaint_); }

FakeJava::Reference* FakeJava::find(jobject object) const {
  const auto found = std::find_if(references_.begin(), references_.end(), [object](const auto& reference) {
    return reinterpret_cast<jobject>(reference.get()) == object;
  });
  if (found != references_.end()) return found->get();
  const_cast<FakeJava*>(this)->complain(object == nullptr ? "a call on null" : "a call on a reference that is gone");
  return nullptr;
}

jobject FakeJava::add(Reference reference) {
  references_.push_back(std::make_unique<Reference>(std::move(reference)));
  return reinterpret_cast<jobject>(references_.back().get());
}

void FakeJava::drop(jobject object, bool global) {
  const Reference* const known = find(object);
  if (known == nullptr) return;
  if (known->global != global) complain("a reference was deleted as one of the other kind");
  if (!known->lent.empty()) complain("a string was deleted whose characters are still lent");
  std::erase_if(references_, [known](const auto& reference) { return reference.get() == known; });
}

jmethodID FakeJava::method(jclass cls, const char* name, const char* signature) {
  const Reference* const known = find(cls);
  if (known == nullptr || missing.contains(name)) return nullptr;
  methods_.push_back(std::make_unique<Method>(Method{known->text, name, signature}));
  return reinterpret_cast<jmethodID>(methods_.back().get());
}

std::string FakeJava::called(jmethodID method) const {
  const auto* const known = reinterpret_cast<const Method*>(method);
  return known->className + "." + known->name;
}

void FakeJava::complain(const std::string& what) {
  if (complaint_.empty()) complaint_ = what;
}

std::size_t FakeJava::count(bool global) const {
  return static_cast<std::size_t>(std::count_if(references_.begin(), references_.end(),
                                                [global](const auto& one) { return one->global == global; }));
}

}  // namespace mesk::fuzz

namespace mesk {

MeskJVM* MeskJVM::getInstance() {
  static MeskJVM fake;
  return &fake;
}

JavaVM* MeskJVM::getJVM() {
  static fuzz::Machine machine;
  return &machine;
}

int MeskJVM::createJVM() { return kOk; }

const char* MeskJVM::lastError() { return ""; }

}  // namespace mesk
