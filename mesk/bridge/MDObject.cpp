#include <mesk/bridge/MDObject.h>

#include <cstring>
#include <new>

#include <mesk/bridge/Invoke.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/bridge/PARLException.h>
#include <mesk/bridge/Signature.h>
#include <mesk/bridge/StoreCall.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/CodePage.h>
#include <platform/Memory.h>
#include <platform/MeskJVM.h>

namespace mesk {
namespace {

constexpr std::uint32_t kLogJavaToNative = 0x10080161;
constexpr std::uint32_t kLogNativeToJava = 0x10080162;

void logOutOfMemory(std::uint32_t function, std::uint32_t probe) {
  logRecord(function, probe, logText("Scheduler out of memory."));
}

char* newText(std::size_t bytes) { return static_cast<char*>(::operator new(bytes, std::nothrow)); }

/// The Java object behind a value that may be null.
jobject objectOf(const MDObject* value) { return value == nullptr ? nullptr : value->object; }

}  // namespace

MDObject::MDObject() : object(nullptr), objectClass(nullptr) {}

MDObject::MDObject(ThreadContext& ctx, jobject obj) : MDObject() {
  if (obj == nullptr) return;
  object = ctx.env->NewGlobalRef(obj);
  if (object == nullptr) return;
  const LocalRef<jclass> cls(ctx.env, ctx.env->GetObjectClass(object));
  if (cls) objectClass = static_cast<jclass>(ctx.env->NewGlobalRef(cls.get()));
}

MDObject::~MDObject() {
  if (JavaVM* const jvm = MeskJVM::getInstance()->getJVM(); jvm != nullptr) {
    // Never destroyed: the thread stays attached, so that a wrapper may die on any thread.
    const ThreadContext ctx(jvm);
    if (ctx.env != nullptr) {
      if (object != nullptr) ctx.env->DeleteGlobalRef(object);
      if (objectClass != nullptr) ctx.env->DeleteGlobalRef(objectClass);
    }
  }
  object = nullptr;
  objectClass = nullptr;
}

jobject MDObject::clone(ThreadContext& ctx) {
  return callMethod<LocalRef<>>(ctx, *this, "clone", "()Ljava/lang/Object;").release();
}

char* MDObject::jStringToString(ThreadContext& ctx, jstring s) {
  if (s == nullptr) return nullptr;
  const char* const utf = ctx.env->GetStringUTFChars(s, nullptr);
  char* const java = utf == nullptr ? nullptr : newText(std::strlen(utf) + 1);
  if (java == nullptr) {
    logOutOfMemory(kLogJavaToNative, 20);
    return nullptr;
  }
  std::memcpy(java, utf, std::strlen(utf) + 1);
  ctx.env->ReleaseStringUTFChars(s, utf);
  ctx.env->DeleteLocalRef(s);

  const std::size_t bytes = std::strlen(java) + 1;
  if (bytes == 1) {
    ::operator delete(java);
    return nullptr;
  }
  const std::uint32_t codePage = sqlogetcpcc();
  char* const native = newText(bytes);
  if (native == nullptr) {
    logOutOfMemory(kLogJavaToNative, 10);
    ::operator delete(java);
    return nullptr;
  }
  *native = '\0';  // what stays of it when the code page is one that there is not
  const auto length = static_cast<std::uint32_t>(bytes);
  CodePageConversion conversion{kUtf8CodePage, codePage, kSourceIsJava, java, length, native, length, 0};
  sqlocpcv(&conversion);
  ::operator delete(java);
  return native;
}

jstring MDObject::stringTojString(ThreadContext& ctx, const char* s) {
  if (s == nullptr || *s == '\0') return nullptr;
  const std::size_t length = std::strlen(s);
  const std::uint32_t codePage = sqlogetcpcc();
  std::int32_t failed = 0;
  const auto buffer = static_cast<char*>(_ossMemAlloc(length * 3, 1, &failed, "MDObject", 215));
  if (failed != 0 || buffer == nullptr) {
    logOutOfMemory(kLogNativeToJava, 10);
    return nullptr;
  }
  CodePageConversion conversion{codePage,
                                kUtf8CodePage,
                                kTargetIsJava,
                                s,
                                static_cast<std::uint32_t>(length + 1),
                                buffer,
                                static_cast<std::uint32_t>(length * 3),
                                0};
  const bool usable = sqlocpcv(&conversion) != kCodePageUnusable;
  LocalRef<jstring> text(ctx.env, usable ? ctx.env->NewStringUTF(buffer) : nullptr);
  // It may be a password, which a core of the process is not to show.
  explicit_bzero(buffer, length * 3);
  _ossMemFree(buffer, "MDObject", 230);
  return text.release();
}

template <class Value>
void MDObject::setProperty(ThreadContext& ctx, const char* method, const char* signature, Value value) {
  if (!isLive(*this) || method == nullptr) return;
  const jmethodID id = ctx.env->GetMethodID(objectClass, method, signature);
  if (id != nullptr) invoke<void>(ctx, object, id, value);
}

void MDObject::setInt(ThreadContext& ctx, const char* method, int value) {
  setProperty(ctx, method, "(I)V", static_cast<jint>(value));
}

void MDObject::setLong(ThreadContext& ctx, const char* method, long long value) {
  setProperty(ctx, method, "(J)V", static_cast<jlong>(value));
}

void MDObject::setString(ThreadContext& ctx, const char* method, const char* value) {
  if (!isLive(*this) || method == nullptr) return;
  const LocalRef<jstring> text(ctx.env, stringTojString(ctx, value));
  setProperty(ctx, method, "(Ljava/lang/String;)V", text.get());
}

void MDObject::setBlob(ThreadContext& ctx, const char* method, Blob* value) {
  setProperty(ctx, method, "(Ljava/sql/Blob;)V", objectOf(value));
}

void MDObject::setClob(ThreadContext& ctx, const char* method, Clob* value) {
  setProperty(ctx, method, "(Ljava/sql/Clob;)V", objectOf(value));
}

void MDObject::setDate(ThreadContext& ctx, const char* method, SQLDate* value) {
  setProperty(ctx, method, "(Ljava/sql/Date;)V", objectOf(value));
}

void MDObject::setTime(ThreadContext& ctx, const char* method, SQLTime* value) {
  setProperty(ctx, method, "(Ljava/sql/Time;)V", objectOf(value));
}

void MDObject::setTimestamp(ThreadContext& ctx, const char* method, SCTimestamp* value) {
  setProperty(ctx, method, "(Ljava/sql/Timestamp;)V", objectOf(value));
}

int MDObject::getInt(ThreadContext& ctx, const char* method) const {
  return callMethod<jint>(ctx, *this, method, "()I");
}

long long MDObject::getLong(ThreadContext& ctx, const char* method) const {
  return callMethod<jlong>(ctx, *this, method, "()J");
}

char* MDObject::getString(ThreadContext& ctx, const char* method) const {
  return jStringToString(ctx, callMethod<LocalRef<jstring>>(ctx, *this, method, "()Ljava/lang/String;").release());
}

template <class Wrapper>
Wrapper* MDObject::getWrapped(ThreadContext& ctx, const char* method, const char* signature) const {
  const auto value = callMethod<LocalRef<>>(ctx, *this, method, signature);
  return value ? new (std::nothrow) Wrapper(ctx, value.get()) : nullptr;
}

Blob* MDObject::getBlob(ThreadContext& ctx, const char* method) const {
  return getWrapped<Blob>(ctx, method, "()Ljava/sql/Blob;");
}

Clob* MDObject::getClob(ThreadContext& ctx, const char* method) const {
  return getWrapped<Clob>(ctx, method, "()Ljava/sql/Clob;");
}

SQLDate* MDObject::getDate(ThreadContext& ctx, const char* method) const {
  return getWrapped<SQLDate>(ctx, method, "()Ljava/sql/Date;");
}

SQLTime* MDObject::getTime(ThreadContext& ctx, const char* method) const {
  return getWrapped<SQLTime>(ctx, method, "()Ljava/sql/Time;");
}

SCTimestamp* MDObject::getTimestamp(ThreadContext& ctx, const char* method) const {
  return getWrapped<SCTimestamp>(ctx, method, "()Ljava/sql/Timestamp;");
}

bool MDObject::bindClass(ThreadContext& ctx, const char* className) {
  const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass(className));
  if (!cls) return false;
  objectClass = static_cast<jclass>(ctx.env->NewGlobalRef(cls.get()));
  return objectClass != nullptr;
}

bool MDObject::keepObject(ThreadContext& ctx, jobject local) {
  const LocalRef<> made(ctx.env, local);
  if (made) object = ctx.env->NewGlobalRef(made.get());
  return static_cast<bool>(made);
}

jmethodID MDObject::textConstructor(ThreadContext& ctx) const {
  return ctx.env->GetMethodID(objectClass, "<init>", "(Ljava/lang/String;)V");
}

void MDObject::constructFromText(ThreadContext& ctx, jmethodID constructor, const char* text) {
  const LocalRef<jstring> javaText(ctx.env, stringTojString(ctx, text));
  keepObject(ctx, ctx.env->NewObject(objectClass, constructor, javaText.get()));
}

void MDObject::create(ThreadContext& ctx, const char* className, jobject context, int& rc, int& sqlCode) {
  rc = kUnreached;
  sqlCode = 0;
  PARLException exception(ctx);
  {
    const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass(className));
    if (!cls || !isLive(exception)) return;
    objectClass = static_cast<jclass>(ctx.env->NewGlobalRef(cls.get()));
  }
  if (objectClass == nullptr) return;
  // What the store says counts once its constructor ran, also when there is no global reference to be had.
  if (!construct(ctx, storeSignature<"", "V">, context, exception.object)) return;
  rc = exception.getRC(ctx);
  if (rc != 0) sqlCode = exception.getSQLCode(ctx);
}

int MDObject::persist(ThreadContext& ctx, const char* method, jobject context, int& sqlCode) {
  return callStore(ctx, *this, method, storeSignature<"", "V">, sqlCode, context);
}

long long MDObject::referenceID(ThreadContext& ctx, jobject context, int& rc, int& sqlCode) {
  StoreCall call(ctx, sqlCode);
  const jlong key = call.invoke<jlong>(*this, "getReferenceID", storeSignature<"", "J">, context);
  rc = call.finish();
  return key;
}

}  // namespace mesk
