// A little Java for tests of the JVM service.
#pragma once

#include <gtest/gtest.h>
#include <jni.h>

#include <string>

namespace java {

/// A thread attached to `jvm` for as long as this lives.
class Attached {
 public:
  explicit Attached(JavaVM* jvm) : jvm_(jvm) {
    EXPECT_EQ(jvm->AttachCurrentThread(reinterpret_cast<void**>(&env_), nullptr), JNI_OK);
  }
  ~Attached() { jvm_->DetachCurrentThread(); }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

  /// A system property; "(null)" when there is none.
  std::string property(const char* name) {
    jclass system = env_->FindClass("java/lang/System");
    jmethodID get = env_->GetStaticMethodID(system, "getProperty", "(Ljava/lang/String;)Ljava/lang/String;");
    jstring key = env_->NewStringUTF(name);
    auto value = static_cast<jstring>(env_->CallStaticObjectMethod(system, get, key));
    if (env_->ExceptionCheck() || value == nullptr) return "(null)";
    const char* utf = env_->GetStringUTFChars(value, nullptr);
    std::string text = utf;
    env_->ReleaseStringUTFChars(value, utf);
    return text;
  }

 private:
  JavaVM* jvm_;
  JNIEnv* env_ = nullptr;
};

inline bool isAttached(JavaVM* jvm) {
  void* env = nullptr;
  return jvm->GetEnv(&env, JNI_VERSION_10) == JNI_OK;
}

}  // namespace java
