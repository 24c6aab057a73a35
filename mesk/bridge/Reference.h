// Ownership of JNI references inside the library.
#pragma once

#include <jni.h>

#include <utility>

namespace mesk {

/// Owns one local reference of the thread that `env` belongs to and deletes it. Every reference that JNI
/// returns is put into one on the same line; a parameter borrows. `release` stands only in the return
/// statement of a function whose header says that the caller gets a local reference, and where `jStringToString`
/// consumes one.
template <class T = jobject>
class LocalRef {
 public:
  LocalRef(JNIEnv* env, T reference) : env_(env), reference_(reference) {}
  LocalRef(LocalRef&& other) noexcept : env_(other.env_), reference_(std::exchange(other.reference_, nullptr)) {}
  LocalRef(const LocalRef&) = delete;
  LocalRef& operator=(const LocalRef&) = delete;
  LocalRef& operator=(LocalRef&&) = delete;
  ~LocalRef() { reset(); }

  T get() const { return reference_; }
  explicit operator bool() const { return reference_ != nullptr; }

  void reset() {
    if (reference_ != nullptr) env_->DeleteLocalRef(std::exchange(reference_, nullptr));
  }
  T release() { return std::exchange(reference_, nullptr); }

 private:
  JNIEnv* env_;
  T reference_;
};

}  // namespace mesk
