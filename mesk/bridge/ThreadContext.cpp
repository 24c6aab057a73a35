#include <mesk/bridge/ThreadContext.h>

#include <cstdio>

#include <platform/MeskJVM.h>

namespace mesk {
namespace {

void reportAttachError() { std::fputs("Error: cannot attach to current thread!!\n", stderr); }

}  // namespace

ThreadContext::ThreadContext() : jvm(nullptr), env(nullptr), attached(0) {
  if (!obtainJvm() || !attachThread()) reportAttachError();
}

ThreadContext::ThreadContext(JavaVM* vm) : jvm(vm), env(nullptr), attached(0) {
  if (jvm == nullptr || !attachThread()) reportAttachError();
}

ThreadContext::ThreadContext(JNIEnv* environment) : jvm(nullptr), env(environment), attached(0) {
  MeskJVM::getInstance();  // only so that the service object exists from here on
}

ThreadContext::ThreadContext(JavaVM* vm, JNIEnv* environment) : jvm(vm), env(environment), attached(0) {}

void ThreadContext::attach() {
  if (obtainJvm()) attachThread();
}

void ThreadContext::destroy() {
  if (attached != 0 && jvm != nullptr) jvm->DetachCurrentThread();
}

void ThreadContext::setEnv(JNIEnv* environment) { env = environment; }

bool ThreadContext::obtainJvm() {
  MeskJVM* const service = MeskJVM::getInstance();
  jvm = service->getJVM();
  if (jvm == nullptr) {
    service->createJVM();
    jvm = service->getJVM();
  }
  return jvm != nullptr;
}

bool ThreadContext::attachThread() {
  if (jvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr) != 0) return false;
  attached = 1;
  return true;
}

}  // namespace mesk
