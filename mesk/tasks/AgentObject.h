// How the objects of the warehouse agent are made and asked: with no check on the way.
#pragma once

#include <mesk/bridge/MDObject.h>
#include <mesk/bridge/Reference.h>

namespace mesk {

/// Makes `wrapper` hold a new object of `className`. What is missing shows as a pending exception of Java or as a
/// failure inside it. The local reference to the class stays behind until the thread returns to Java or detaches.
template <class... Arguments>
void makeAgentObject(ThreadContext& ctx, MDObject& wrapper, const char* className, const char* signature,
                     Arguments... arguments) {
  JNIEnv* const env = ctx.env;
  wrapper.objectClass = static_cast<jclass>(env->NewGlobalRef(env->FindClass(className)));
  const LocalRef<> made(env, env->NewObject(wrapper.objectClass,
                                            env->GetMethodID(wrapper.objectClass, "<init>", signature), arguments...));
  wrapper.object = env->NewGlobalRef(made.get());
}

/// What a method of `wrapper` with an int as its result answers.
template <class... Arguments>
int askAgentObject(ThreadContext& ctx, const MDObject& wrapper, const char* method, const char* signature,
                   Arguments... arguments) {
  return ctx.env->CallIntMethod(wrapper.object, ctx.env->GetMethodID(wrapper.objectClass, method, signature),
                                arguments...);
}

}  // namespace mesk
