#include <scheduler/StoreClass.h>

#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/PARLException.h>

namespace mesk::host {

std::string StoreClass::signatureOf(const std::string& arguments, const std::string& result) {
  return "(Lcom/orvik/kelvo/common/parl/api/Context;" + arguments + "Lcom/orvik/kelvo/common/parl/api/PARLException;)" +
         result;
}

jvalue StoreClass::javaOf(int value) {
  jvalue java{};
  java.i = value;
  return java;
}

jvalue StoreClass::javaOf(bool value) {
  jvalue java{};
  java.z = value ? JNI_TRUE : JNI_FALSE;
  return java;
}

jvalue StoreClass::javaOf(long long value) {
  jvalue java{};
  java.j = value;
  return java;
}

jvalue StoreClass::javaOf(const std::string& value) {
  jvalue java{};
  java.l = MDObject::stringTojString(session_.ctx(), value.c_str());
  return java;
}

jvalue StoreClass::javaOf(const std::vector<int>& values) {
  JNIEnv* const env = session_.ctx().env;
  const auto length = static_cast<jsize>(values.size());
  const std::vector<jint> elements(values.begin(), values.end());
  const jintArray array = env->NewIntArray(length);
  if (array != nullptr) env->SetIntArrayRegion(array, 0, length, elements.data());
  jvalue java{};
  java.l = array;
  return java;
}

jvalue StoreClass::javaOf(const std::vector<long long>& values) {
  JNIEnv* const env = session_.ctx().env;
  const auto length = static_cast<jsize>(values.size());
  const std::vector<jlong> elements(values.begin(), values.end());
  const jlongArray array = env->NewLongArray(length);
  if (array != nullptr) env->SetLongArrayRegion(array, 0, length, elements.data());
  jvalue java{};
  java.l = array;
  return java;
}

jvalue StoreClass::javaOf(const std::vector<std::string>& values) {
  JNIEnv* const env = session_.ctx().env;
  const jclass stringClass = env->FindClass("java/lang/String");
  const jobjectArray array = env->NewObjectArray(static_cast<jsize>(values.size()), stringClass, nullptr);
  jvalue java{};
  java.l = array;
  if (array == nullptr) return java;
  jsize index = 0;
  for (const std::string& value : values) {
    const jvalue element = javaOf(value);
    env->SetObjectArrayElement(array, index++, element.l);
    env->DeleteLocalRef(element.l);
  }
  return java;
}

jvalue StoreClass::invoke(const char* method, const std::string& signature, std::vector<jvalue>& values) {
  ThreadContext& ctx = session_.ctx();
  JNIEnv* const env = ctx.env;
  code_ = kUnreached;
  message_.clear();
  jvalue answer{};
  const PARLException exception(ctx);
  const jclass type = env->ExceptionCheck() == JNI_FALSE ? env->FindClass(name_) : nullptr;
  const jmethodID id = type == nullptr ? nullptr : env->GetStaticMethodID(type, method, signature.c_str());
  if (id == nullptr || exception.object == nullptr) return answer;
  jvalue value{};
  value.l = session_.context();
  values.insert(values.begin(), value);
  value.l = exception.object;
  values.push_back(value);
  switch (signature[signature.find(')') + 1]) {
    case 'V':
      env->CallStaticVoidMethodA(type, id, values.data());
      break;
    case 'I':
      answer.i = env->CallStaticIntMethodA(type, id, values.data());
      break;
    case 'J':
      answer.j = env->CallStaticLongMethodA(type, id, values.data());
      break;
    default:
      answer.l = env->CallStaticObjectMethodA(type, id, values.data());
  }
  if (env->ExceptionCheck() != JNI_FALSE) return answer;  // `check` takes it off
  code_ = exception.getRC(ctx);
  if (code_ != 0) {
    const jmethodID getMessage = env->GetMethodID(exception.objectClass, "getMessage", "()Ljava/lang/String;");
    if (getMessage != nullptr) message_ = textOf(env->CallObjectMethod(exception.object, getMessage));
  }
  return answer;
}

bool StoreClass::check(const std::string& what, int allowed) {
  if (code_ == 0) return true;
  if (code_ == allowed) return false;
  if (code_ == kUnreached) session_.check(code_, 0, what);
  throw StoreError(what, code_, 0, message_);
}

std::string StoreClass::textOf(jobject string) {
  return text(MDObject::jStringToString(session_.ctx(), static_cast<jstring>(string)));
}

std::vector<std::string> StoreClass::textsOf(jobject list) {
  std::vector<std::string> texts;
  each(list, [&](jobject element) { texts.push_back(textOf(element)); });
  return texts;
}

}  // namespace mesk::host
