// One JNI call by the type of its result.
#pragma once

#include <jni.h>

#include <type_traits>

#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/Reference.h>

namespace mesk {

/// Whether both references of `wrapper` are there.
inline bool isLive(const MDObject& wrapper) { return wrapper.object != nullptr && wrapper.objectClass != nullptr; }

/// Calls `method` on `object`. A reference comes back owned: `R` is `LocalRef<T>`.
template <class R, class... Arguments>
R invoke(ThreadContext& ctx, jobject object, jmethodID method, Arguments... arguments) {
  JNIEnv* const env = ctx.env;
  if constexpr (std::is_void_v<R>) {
    env->CallVoidMethod(object, method, arguments...);
  } else if constexpr (std::is_same_v<R, jint>) {
    return env->CallIntMethod(object, method, arguments...);
  } else if constexpr (std::is_same_v<R, jlong>) {
    return env->CallLongMethod(object, method, arguments...);
  } else if constexpr (std::is_same_v<R, jboolean>) {
    return env->CallBooleanMethod(object, method, arguments...);
  } else {
    using T = decltype(std::declval<R>().get());
    return R(env, static_cast<T>(env->CallObjectMethod(object, method, arguments...)));
  }
}

/// As `invoke`, for a static method of `cls`.
template <class R, class... Arguments>
R invokeStatic(ThreadContext& ctx, jclass cls, jmethodID method, Arguments... arguments) {
  JNIEnv* const env = ctx.env;
  if constexpr (std::is_void_v<R>) {
    env->CallStaticVoidMethod(cls, method, arguments...);
  } else if constexpr (std::is_same_v<R, jint>) {
    return env->CallStaticIntMethod(cls, method, arguments...);
  } else {
    using T = decltype(std::declval<R>().get());
    return R(env, static_cast<T>(env->CallStaticObjectMethod(cls, method, arguments...)));
  }
}

/// What an operation answers when the Java method was not reached.
template <class R>
R unreached(ThreadContext& ctx) {
  if constexpr (std::is_void_v<R>) {
    return;
  } else if constexpr (std::is_arithmetic_v<R>) {
    return R{};
  } else {
    return R(ctx.env, nullptr);
  }
}

template <class... Arguments>
bool MDObject::construct(ThreadContext& ctx, const char* signature, Arguments... arguments) {
  const jmethodID constructor = ctx.env->GetMethodID(objectClass, "<init>", signature);
  if (constructor == nullptr) return false;
  return keepObject(ctx, ctx.env->NewObject(objectClass, constructor, arguments...));
}

}  // namespace mesk
