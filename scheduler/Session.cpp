#include <scheduler/Session.h>

#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

#include <mesk/bridge/MDObject.h>
#include <mesk/session/MDUtility.h>
#include <platform/MeskJVM.h>

namespace mesk::host {
namespace {

std::string currentUser() {
  const passwd* const entry = ::getpwuid(::geteuid());
  return entry == nullptr ? fmt::format("{}", ::geteuid()) : std::string(entry->pw_name);
}

/// A context with the JVM that it needs, or a failure that says what is missing.
ThreadContext attached() {
  MeskJVM* const service = MeskJVM::getInstance();
  if (service->getJVM() == nullptr) {
    const int result = service->createJVM();
    if (result != MeskJVM::kOk) {
      throw HostError(result == MeskJVM::kNoStoreLibrary ? kExitNoStoreClass : kExitNoJvm, service->lastError());
    }
  }
  // A thread that is attached already, by another session on it, stays so when this session ends before that one.
  JavaVM* const vm = service->getJVM();
  void* env = nullptr;
  if (vm->GetEnv(&env, JNI_VERSION_10) == JNI_OK) return {vm, static_cast<JNIEnv*>(env)};
  ThreadContext ctx(vm);
  if (ctx.env == nullptr) throw HostError(kExitNoJvm, "this thread cannot be attached to the Java virtual machine");
  return ctx;
}

}  // namespace

Session::Session(const StoreAddress& address, const std::string& user)
    : address_(address), user_(user.empty() ? currentUser() : user), ctx_(attached()) {
  int rc = 0;
  int sqlCode = 0;
  context_ = MDUtility::connectMD(ctx_, address_.url().c_str(), nullptr, user_.c_str(), nullptr, rc, sqlCode);
  if (rc != 0 || context_ == nullptr) {
    const std::string javaError = takeJavaError();
    if (context_ != nullptr) {
      int ignored = 0;
      MDUtility::disconnectMD(ctx_, context_, ignored);
    }
    throw StoreError(address_.path(), rc, sqlCode, javaError);
  }
}

Session::~Session() {
  int sqlCode = 0;
  MDUtility::disconnectMD(ctx_, context_, sqlCode);
  ctx_.destroy();
}

void Session::check(int code, int sqlCode, const std::string& what) {
  if (code != 0) throw StoreError(what, code, sqlCode, takeJavaError());
}

bool Session::checkUnless(int allowed, int code, int sqlCode, const std::string& what) {
  if (code == allowed) return false;
  check(code, sqlCode, what);
  return true;
}

void Session::commit() {
  int sqlCode = 0;
  const int rc = MDUtility::commit(ctx_, context_, sqlCode);
  check(rc, sqlCode, "committing to " + address_.path());
}

void Session::rollback() {
  int sqlCode = 0;
  MDUtility::rollback(ctx_, context_, sqlCode);
}

std::optional<std::int64_t> Session::millis(SCTimestamp* owned) {
  const std::unique_ptr<SCTimestamp> value(owned);
  if (value == nullptr) return std::nullopt;
  return value->getTime(ctx_);
}

std::string Session::takeJavaError() {
  const jthrowable pending = ctx_.env->ExceptionOccurred();
  if (pending == nullptr) return {};
  ctx_.env->ExceptionClear();
  const jclass type = ctx_.env->GetObjectClass(pending);
  const jmethodID toString = ctx_.env->GetMethodID(type, "toString", "()Ljava/lang/String;");
  const auto message = static_cast<jstring>(ctx_.env->CallObjectMethod(pending, toString));
  ctx_.env->DeleteLocalRef(type);
  ctx_.env->DeleteLocalRef(pending);
  return text(MDObject::jStringToString(ctx_, message));
}

std::string text(char* owned) {
  std::string result = owned == nullptr ? "" : owned;
  delete owned;
  return result;
}

}  // namespace mesk::host
