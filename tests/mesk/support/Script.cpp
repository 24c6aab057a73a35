#include <mesk/support/Script.h>

#include <mesk/bridge/Reference.h>
#include <mesk/support/JniTable.h>

#include <algorithm>
#include <stdexcept>

namespace mesk::test {
namespace {

/// A driver that cannot drive must not look like a store that is silent.
void checkDriver(JNIEnv* env) {
  if (!env->ExceptionCheck()) return;
  env->ExceptionDescribe();
  throw std::logic_error("the script could not be driven");
}

/// Calls a static method of the Java side.
template <class... Arguments>
void callScript(JNIEnv* env, const char* method, const char* signature, Arguments... arguments) {
  const JniTable::Pause pause(env);
  const LocalRef<jclass> cls(env, env->FindClass("com/orvik/kelvo/mesk/fake/Script"));
  env->CallStaticVoidMethod(cls.get(), env->GetStaticMethodID(cls.get(), method, signature), arguments...);
  checkDriver(env);
}

std::vector<std::string> listOf(JNIEnv* env, const char* method) {
  const JniTable::Pause pause(env);
  const LocalRef<jclass> cls(env, env->FindClass("com/orvik/kelvo/mesk/fake/Script"));
  const LocalRef<jobjectArray> array(
      env, static_cast<jobjectArray>(env->CallStaticObjectMethod(
               cls.get(), env->GetStaticMethodID(cls.get(), method, "()[Ljava/lang/String;"))));
  checkDriver(env);
  std::vector<std::string> result;
  for (jsize i = 0; i < env->GetArrayLength(array.get()); ++i) {
    const LocalRef<jstring> text(env, static_cast<jstring>(env->GetObjectArrayElement(array.get(), i)));
    const char* const utf = env->GetStringUTFChars(text.get(), nullptr);
    result.emplace_back(utf);
    env->ReleaseStringUTFChars(text.get(), utf);
  }
  return result;
}

void callWithText(JNIEnv* env, const char* method, const char* signature, const char* text) {
  const JniTable::Pause pause(env);
  const LocalRef<jstring> javaText(env, env->NewStringUTF(text));
  callScript(env, method, signature, javaText.get());
}

}  // namespace

Answer& Answer::code(int code, int sqlCode, int sqlState) {
  callScript(env_, "code", "(III)V", jint{code}, jint{sqlCode}, jint{sqlState});
  return *this;
}

Answer& Answer::returns(jobject result) {
  callScript(env_, "returns", "(Ljava/lang/Object;)V", result);
  return *this;
}

Answer& Answer::returns(const char* text) {
  callWithText(env_, "returns", "(Ljava/lang/Object;)V", text);
  return *this;
}

Answer& Answer::returnsInt(int result) {
  callScript(env_, "returnsInt", "(I)V", jint{result});
  return *this;
}

Answer& Answer::returnsLong(long long result) {
  callScript(env_, "returnsLong", "(J)V", static_cast<jlong>(result));
  return *this;
}

Answer& Answer::returnsBoolean(bool result) {
  callScript(env_, "returnsBoolean", "(Z)V", static_cast<jboolean>(result));
  return *this;
}

Answer& Answer::returnsList(const std::vector<jobject>& elements) {
  const JniTable::Pause pause(env_);
  const LocalRef<jclass> cls(env_, env_->FindClass("java/lang/Object"));
  const LocalRef<jobjectArray> array(env_,
                                     env_->NewObjectArray(static_cast<jsize>(elements.size()), cls.get(), nullptr));
  for (std::size_t i = 0; i < elements.size(); ++i) {
    env_->SetObjectArrayElement(array.get(), static_cast<jsize>(i), elements[i]);
  }
  callScript(env_, "returnsList", "([Ljava/lang/Object;)V", array.get());
  return *this;
}

Answer Script::on(const char* method) {
  callWithText(env_, "on", "(Ljava/lang/String;)V", method);
  return Answer(env_);
}

std::vector<std::string> Script::calls() const { return listOf(env_, "calls"); }

std::vector<std::string> Script::properties() const { return listOf(env_, "properties"); }

int Script::count(const std::string& call) const {
  const auto in = [&](const std::vector<std::string>& all) { return std::count(all.begin(), all.end(), call); };
  return static_cast<int>(in(calls()) + in(properties()));
}

void Script::forget() { callScript(env_, "forget", "()V"); }

void Script::reset() { callScript(env_, "reset", "()V"); }

}  // namespace mesk::test
