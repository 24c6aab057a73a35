#include <mesk/ledger/Recording.h>

#include <dlfcn.h>
#include <platform/CodePage.h>
#include <platform/Contacts.h>
#include <platform/Latch.h>
#include <platform/Log.h>
#include <platform/Memory.h>
#include <platform/Trace.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace mesk::test::ledger {
namespace {

thread_local Recording* recording = nullptr;

constexpr std::size_t kContactNameBytes = 128;

std::string hex(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", number);
  return text;
}

/// The types of a method's arguments, one letter each: `L` for every reference.
std::string argumentTypes(const std::string& signature) {
  std::string types;
  for (std::size_t i = 1; signature[i] != ')'; ++i) {
    if (signature[i] == '[') {
      types += 'L';
      while (signature[i] == '[') ++i;
      if (signature[i] == 'L') i = signature.find(';', i);
    } else {
      types += signature[i];
      if (signature[i] == 'L') i = signature.find(';', i);
    }
  }
  return types;
}

std::vector<jvalue> argumentsOf(const std::string& signature, va_list given) {
  std::vector<jvalue> values;
  for (const char type : argumentTypes(signature)) {
    jvalue value{};
    switch (type) {
      case 'L':
        value.l = va_arg(given, jobject);
        break;
      case 'J':
        value.j = va_arg(given, jlong);
        break;
      case 'Z':
        value.z = static_cast<jboolean>(va_arg(given, int));
        break;
      case 'I':
        value.i = va_arg(given, jint);
        break;
      default:
        std::fprintf(stderr, "an argument of type %c in %s\n", type, signature.c_str());
        std::abort();
    }
    values.push_back(value);
  }
  return values;
}

/// What stands in every place of a table that the library has no business with.
template <std::size_t N>
void strange() {
  std::fprintf(stderr, "the library called function %zu of JNI, which it never does\n", N);
  std::abort();
}

template <class Table, std::size_t... N>
void fillWithStrange(Table& table, std::index_sequence<N...>) {
  void (*functions[])() = {strange<N>...};
  static_assert(sizeof functions == sizeof table);
  std::memcpy(&table, functions, sizeof table);
}

template <class Table>
void fillWithStrange(Table& table) {
  fillWithStrange(table, std::make_index_sequence<sizeof(Table) / sizeof(void*)>());
}

void takeLog(const LogRecord& record, void* /*context*/) {
  Recording* const current = Recording::current();
  if (current == nullptr || !current->writing()) return;
  std::string line = "log " + hex(record.function) + " code " + show(record.code) + " probe " + show(record.probe) +
                     " level " + show(record.level) + " items " + show(record.itemCount);
  for (std::uint32_t i = 0; i < record.itemCount; ++i) {
    line += itemLine(record.items[i].type, record.items[i].address, record.items[i].length);
  }
  current->addLine(line);
}

void takeTrace(const TraceRecord& record, void* /*context*/) {
  Recording* const current = Recording::current();
  if (current == nullptr || !current->writing()) return;
  std::string line;
  switch (record.kind) {
    case TraceRecord::kEntry:
      line = "trace entry " + hex(record.function) + " mask " + show(record.mask);
      break;
    case TraceRecord::kExit:
      line = "trace exit " + hex(record.function) + itemLine(4, record.address, record.length);
      break;
    case TraceRecord::kData:
    case TraceRecord::kError:
      line = (record.kind == TraceRecord::kData ? "trace data " : "trace error ") + hex(record.function) + " probe " +
             show(record.probe) + itemLine(record.type, record.address, record.length);
      break;
  }
  if (record.flags != 0) line += " flags " + show(record.flags);
  if (record.thread != ossThreadID()) line += " of another thread";
  current->addLine(line);
}

}  // namespace

struct Recording::Functions {
  /// While the real function runs, the environment is the JVM's own: what the JDK's native methods do is not recorded.
  class Real {
   public:
    Real() : self_(*recording) { self_.env_->functions = self_.original_; }
    ~Real() { self_.env_->functions = &self_.table_; }
    Real(const Real&) = delete;
    Real& operator=(const Real&) = delete;
    JNIEnv* operator->() const { return self_.env_; }
    JNIEnv* get() const { return self_.env_; }

   private:
    Recording& self_;
  };

  static jclass findClass(JNIEnv* /*env*/, const char* name) {
    jclass cls = nullptr;
    if (!recording->refuses()) cls = Real()->FindClass(name);
    recording->answered(cls);
    recording->addLine(std::string("FindClass ") + name + recording->suffix(cls));
    return cls;
  }

  static jclass getObjectClass(JNIEnv* /*env*/, jobject object) {
    const std::string line = "GetObjectClass " + show(recording->nameOf(object));
    jclass cls = nullptr;
    if (!recording->refuses()) cls = Real()->GetObjectClass(object);
    recording->answered(cls);
    recording->addLine(line + recording->suffix(cls));
    return cls;
  }

  template <bool Static>
  static jmethodID getMethod(JNIEnv* /*env*/, jclass cls, const char* name, const char* signature) {
    jmethodID method = nullptr;
    // Some of the library makes no checks; what would then end the JVM is written down and not done.
    if (cls != nullptr && !recording->refuses()) {
      const Real env;
      method = Static ? env->GetStaticMethodID(cls, name, signature) : env->GetMethodID(cls, name, signature);
      if (method == nullptr) env->ExceptionDescribe();
    }
    recording->addLine(std::string(Static ? "GetStaticMethodID " : "GetMethodID ") + show(recording->nameOf(cls)) +
                       " " + name + " " + signature + (method == nullptr ? " -> null" : ""));
    if (method != nullptr) recording->methods_[method] = {name, signature};
    return method;
  }

  template <bool Global>
  static jobject newReference(JNIEnv* /*env*/, jobject object) {
    const std::string line = (Global ? "NewGlobalRef " : "NewLocalRef ") + show(recording->nameOf(object));
    jobject result = nullptr;
    if (!recording->refuses()) {
      const Real env;
      result = Global ? env->NewGlobalRef(object) : env->NewLocalRef(object);
    }
    recording->answered(result);
    recording->addLine(line + recording->suffix(result));
    return result;
  }

  template <bool Global>
  static void deleteReference(JNIEnv* /*env*/, jobject object) {
    Recording& self = *recording;
    self.addLine((Global ? "DeleteGlobalRef " : "DeleteLocalRef ") + show(self.nameOf(object)));
    if (object == nullptr) return;
    if (self.names_.count(object) == 0) {
      std::fputs("the library deleted a reference that nobody gave it\n", stderr);
      std::abort();
    }
    self.forget(object);
    const Real env;
    Global ? env->DeleteGlobalRef(object) : env->DeleteLocalRef(object);
  }

  static jobject newObject(JNIEnv* /*env*/, jclass cls, jmethodID constructor, va_list given) {
    const auto arguments = recording->arguments(constructor, given);
    const std::string line = recording->called("NewObject", recording->nameOf(cls), constructor, arguments.data());
    jobject object = nullptr;
    if (cls != nullptr && constructor != nullptr && !recording->refuses()) {
      const Real env;
      object = env->NewObjectA(cls, constructor, arguments.data());
      // A constructor that throws, for what it is given means nothing: whether there is an object is the setting's.
      if (env->ExceptionCheck()) {
        env->ExceptionClear();
        object = env->AllocObject(cls);
      }
    }
    recording->answered(object);
    recording->addLine(line + recording->suffix(object));
    return object;
  }

  /// What Java really answers is dropped for what the setting says.
  template <class Call>
  static Answer callJava(const char* function, const void* target, jmethodID method, va_list given, Call call) {
    Recording& self = *recording;
    const auto arguments = self.arguments(method, given);
    self.addLine(self.called(function, self.nameOf(target), method, arguments.data()));
    if (target == nullptr || method == nullptr) return Nothing{};
    {
      const Real env;
      env->PushLocalFrame(16);
      call(env.get(), arguments.data());
      // An answer that the fake's object cannot give, for it was never constructed.
      if (env->ExceptionCheck()) env->ExceptionClear();
      env->PopLocalFrame(nullptr);
    }
    return self.answers_.take(self.methods_[method].name);
  }

  static long long number(const Answer& answer) {
    const auto* const value = std::get_if<long long>(&answer);
    return value == nullptr ? 0 : *value;
  }

  /// Null when it is refused, or when that is the answer.
  static jobject object(const Answer& answer) {
    Recording& self = *recording;
    jobject result = self.make(answer);
    if (result != nullptr && self.refuses()) {
      Real()->DeleteLocalRef(result);
      result = nullptr;
    }
    self.answered(result);
    self.lines_.back() += self.suffix(result);
    return result;
  }

  static void callVoid(JNIEnv* /*env*/, jobject target, jmethodID method, va_list given) {
    callJava("CallVoidMethod", target, method, given,
             [&](JNIEnv* env, const jvalue* a) { env->CallVoidMethodA(target, method, a); });
  }
  static jint callInt(JNIEnv* /*env*/, jobject target, jmethodID method, va_list given) {
    return static_cast<jint>(number(callJava("CallIntMethod", target, method, given, [&](JNIEnv* env, const jvalue* a) {
      env->CallIntMethodA(target, method, a);
    })));
  }
  static jlong callLong(JNIEnv* /*env*/, jobject target, jmethodID method, va_list given) {
    return number(callJava("CallLongMethod", target, method, given,
                           [&](JNIEnv* env, const jvalue* a) { env->CallLongMethodA(target, method, a); }));
  }
  static jboolean callBoolean(JNIEnv* /*env*/, jobject target, jmethodID method, va_list given) {
    return static_cast<jboolean>(
        number(callJava("CallBooleanMethod", target, method, given,
                        [&](JNIEnv* env, const jvalue* a) { env->CallBooleanMethodA(target, method, a); })));
  }
  static jobject callObject(JNIEnv* /*env*/, jobject target, jmethodID method, va_list given) {
    return object(callJava("CallObjectMethod", target, method, given,
                           [&](JNIEnv* env, const jvalue* a) { env->CallObjectMethodA(target, method, a); }));
  }
  static void callStaticVoid(JNIEnv* /*env*/, jclass cls, jmethodID method, va_list given) {
    callJava("CallStaticVoidMethod", cls, method, given,
             [&](JNIEnv* env, const jvalue* a) { env->CallStaticVoidMethodA(cls, method, a); });
  }
  static jint callStaticInt(JNIEnv* /*env*/, jclass cls, jmethodID method, va_list given) {
    return static_cast<jint>(
        number(callJava("CallStaticIntMethod", cls, method, given,
                        [&](JNIEnv* env, const jvalue* a) { env->CallStaticIntMethodA(cls, method, a); })));
  }
  static jobject callStaticObject(JNIEnv* /*env*/, jclass cls, jmethodID method, va_list given) {
    return object(callJava("CallStaticObjectMethod", cls, method, given,
                           [&](JNIEnv* env, const jvalue* a) { env->CallStaticObjectMethodA(cls, method, a); }));
  }

  static jstring newString(JNIEnv* /*env*/, const char* utf) {
    jstring text = nullptr;
    if (!recording->refuses()) text = Real()->NewStringUTF(utf);
    recording->answered(text);
    recording->addLine("NewStringUTF " + quoted(utf) + recording->suffix(text));
    return text;
  }
  static const char* getStringChars(JNIEnv* /*env*/, jstring text, jboolean* copied) {
    const char* utf = nullptr;
    if (!recording->refuses()) utf = Real()->GetStringUTFChars(text, copied);
    recording->addLine("GetStringUTFChars " + show(recording->nameOf(text)) + (utf == nullptr ? " -> null" : ""));
    return utf;
  }
  static void releaseStringChars(JNIEnv* /*env*/, jstring text, const char* utf) {
    recording->addLine("ReleaseStringUTFChars " + show(recording->nameOf(text)));
    Real()->ReleaseStringUTFChars(text, utf);
  }

  static jbyteArray newBytes(JNIEnv* /*env*/, jsize length) {
    jbyteArray array = nullptr;
    if (!recording->refuses()) array = Real()->NewByteArray(length);
    recording->answered(array);
    recording->addLine("NewByteArray " + show(length) + recording->suffix(array));
    return array;
  }
  static void setBytes(JNIEnv* /*env*/, jbyteArray array, jsize start, jsize length, const jbyte* bytes) {
    recording->addLine("SetByteArrayRegion " + show(recording->nameOf(array)) + " " + show(start) + " " +
                       quoted({reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length)}));
    Real()->SetByteArrayRegion(array, start, length, bytes);
  }
  static void getBytes(JNIEnv* /*env*/, jbyteArray array, jsize start, jsize length, jbyte* bytes) {
    recording->addLine("GetByteArrayRegion " + show(recording->nameOf(array)) + " " + show(start) + " " + show(length));
    Real()->GetByteArrayRegion(array, start, length, bytes);
  }
  static jsize getLength(JNIEnv* /*env*/, jarray array) {
    recording->addLine("GetArrayLength " + show(recording->nameOf(array)));
    return Real()->GetArrayLength(array);
  }
  static jobject getElement(JNIEnv* /*env*/, jobjectArray array, jsize index) {
    const std::string line = "GetObjectArrayElement " + show(recording->nameOf(array)) + " " + show(index);
    jobject element = Real()->GetObjectArrayElement(array, index);
    if (element != nullptr && recording->refuses()) {
      Real()->DeleteLocalRef(element);
      element = nullptr;
    }
    recording->answered(element);
    recording->addLine(line + recording->suffix(element));
    return element;
  }

  static jint attach(JavaVM* /*vm*/, void** env, void* arguments) {
    const bool refused = recording->setting_.attachFails && recording->refuses();
    recording->addLine(std::string("AttachCurrentThread") + (arguments == nullptr ? "" : " with arguments") +
                       (refused ? " refused" : ""));
    return refused ? JNI_ERR : recording->originalVm_->AttachCurrentThread(recording->vm_, env, arguments);
  }

  /// The test goes on with the thread as it is.
  static jint detach(JavaVM* /*vm*/) {
    recording->addLine("DetachCurrentThread");
    return JNI_OK;
  }

  static void lay(JNINativeInterface_& t) {
    fillWithStrange(t);
    t.FindClass = findClass;
    t.GetObjectClass = getObjectClass;
    t.GetMethodID = getMethod<false>;
    t.GetStaticMethodID = getMethod<true>;
    t.NewGlobalRef = newReference<true>;
    t.NewLocalRef = newReference<false>;
    t.DeleteGlobalRef = deleteReference<true>;
    t.DeleteLocalRef = deleteReference<false>;
    t.NewObjectV = newObject;
    t.CallVoidMethodV = callVoid;
    t.CallIntMethodV = callInt;
    t.CallLongMethodV = callLong;
    t.CallBooleanMethodV = callBoolean;
    t.CallObjectMethodV = callObject;
    t.CallStaticVoidMethodV = callStaticVoid;
    t.CallStaticIntMethodV = callStaticInt;
    t.CallStaticObjectMethodV = callStaticObject;
    t.NewStringUTF = newString;
    t.GetStringUTFChars = getStringChars;
    t.ReleaseStringUTFChars = releaseStringChars;
    t.NewByteArray = newBytes;
    t.SetByteArrayRegion = setBytes;
    t.GetByteArrayRegion = getBytes;
    t.GetArrayLength = getLength;
    t.GetObjectArrayElement = getElement;
  }
};

Recording::Recording(JNIEnv* env, const Setting& setting, Answers answers)
    : env_(env), setting_(setting), answers_(std::move(answers)), original_(env->functions) {
  env->GetJavaVM(&vm_);
  originalVm_ = vm_->functions;
  Functions::lay(table_);
  fillWithStrange(vmTable_);
  vmTable_.AttachCurrentThread = Functions::attach;
  vmTable_.DetachCurrentThread = Functions::detach;
  recording = this;
  setLogSink(takeLog, nullptr);
  setTraceSink(takeTrace, nullptr);
  // A record that is written all the same is seen.
  if (!setting.traced) g_pGTCB->traceOn = 0;
}

Recording::~Recording() {
  recording = nullptr;
  setLogSink(nullptr, nullptr);
  setTraceSink(nullptr, nullptr);
  for (const auto& [reference, name] : names_) {
    if (given_.count(reference) != 0) continue;
    const auto object = static_cast<jobject>(const_cast<void*>(reference));
    if (env_->GetObjectRefType(object) == JNIGlobalRefType) {
      env_->DeleteGlobalRef(object);
    } else {
      env_->DeleteLocalRef(object);
    }
  }
}

Recording* Recording::current() { return recording; }

void Recording::know(const void* given, const std::string& name) {
  if (given == nullptr) return;
  names_[given] = name;
  given_.insert(given);
}

void Recording::forget(const void* given) {
  names_.erase(given);
  given_.erase(given);
}

void Recording::lay(bool on) {
  laid_ = on;
  env_->functions = on ? &table_ : original_;
  vm_->functions = on ? &vmTable_ : originalVm_;
}

void Recording::record(const std::function<void()>& operation) {
  lay(true);
  writing_ = true;
  operation();
  writing_ = false;
  lay(false);
}

void Recording::count(const std::function<void()>& work) {
  const unsigned fault = std::exchange(setting_.fault, 0);
  lay(true);
  work();
  lay(false);
  setting_.fault = fault;
}

void Recording::addLine(const std::string& line) {
  if (writing_) lines_.push_back(line);
}

Ref Recording::nameOf(const void* reference) const {
  if (reference == nullptr) return {};
  const auto found = names_.find(reference);
  return found == names_.end() ? "?" : found->second;
}

std::vector<Ref> Recording::liveReferences() const {
  std::vector<Ref> live;
  for (const auto& [reference, name] : names_) {
    if (given_.count(reference) == 0) live.push_back(name);
  }
  return live;
}

bool Recording::refuses() { return writing_ && ++points_ == setting_.fault; }

void Recording::allocated(void* block, std::size_t bytes) {
  if (!laid_) return;
  addLine("allocate " + show(static_cast<long long>(bytes)) + (block == nullptr ? " -> null" : ""));
  if (block != nullptr) blocks_.insert(block);
}

void Recording::deleted(void* block) {
  blocks_.erase(block);
  if (given_.count(block) == 0) return;
  addLine("delete " + nameOf(block));
  forget(block);
}

jobject Recording::answered(jobject reference) {
  if (reference != nullptr) names_[reference] = "#" + std::to_string(++made_);
  return reference;
}

std::string Recording::suffix(jobject reference) const { return " -> " + show(nameOf(reference)); }

std::vector<jvalue> Recording::arguments(jmethodID method, va_list given) const {
  return method == nullptr ? std::vector<jvalue>() : argumentsOf(methods_.at(method).signature, given);
}

std::string Recording::called(const char* function, const std::string& target, jmethodID method,
                              const jvalue* arguments) const {
  if (method == nullptr) return std::string(function) + " " + show(target) + " null()";
  const Method& m = methods_.at(method);
  std::string line = std::string(function) + " " + show(target) + " " + m.name + "(";
  const std::string types = argumentTypes(m.signature);
  for (std::size_t i = 0; i < types.size(); ++i) {
    if (i != 0) line += ", ";
    switch (types[i]) {
      case 'L':
        line += show(nameOf(arguments[i].l));
        break;
      case 'Z':
        line += arguments[i].z == JNI_TRUE ? "true" : arguments[i].z == JNI_FALSE ? "false" : "neither";
        break;
      case 'J':
        line += show(arguments[i].j);
        break;
      default:
        line += show(arguments[i].i);
    }
  }
  return line + ")";
}

void Recording::answerContacts(ContactGroupRequest& request, ContactSqlca& sqlca) {
  const std::string group = request.groupName;
  const bool named = request.names != nullptr;
  addLine("getAllContactNamesInGroup " + quoted(group) + " " + show(request.count) + (named ? " names" : " null"));
  const Answer answer = refuses() ? Answer(-1LL) : answers_.take((named ? "names of " : "count of ") + group);
  const auto* const number = std::get_if<long long>(&answer);
  const auto* const given = std::get_if<Names>(&answer);
  // What comes beside an SQL code is not to be used.
  Names names(3, "wrong");
  sqlca.sqlCode = number != nullptr ? static_cast<std::int32_t>(std::min(*number, 0LL)) : given != nullptr ? 0 : -1;
  if (given != nullptr) names = *given;
  if (number != nullptr && *number >= 0) names.resize(static_cast<std::size_t>(*number));
  for (std::size_t i = 0; named && i < std::min<std::size_t>(request.count, names.size()); ++i) {
    std::strncpy(request.names[i], names[i].c_str(), kContactNameBytes);
  }
  request.count = static_cast<std::uint32_t>(names.size());
}

jobject Recording::makeObject(const std::string& className) {
  if (className.empty()) return nullptr;
  const jclass cls = env_->FindClass(className.c_str());
  const jobject object = env_->AllocObject(cls);
  env_->DeleteLocalRef(cls);
  return object;
}

jobject Recording::make(const Answer& answer) {
  const Functions::Real env;
  if (const auto* const text = std::get_if<Text>(&answer)) return env->NewStringUTF(text->utf8.c_str());
  if (const auto* const object = std::get_if<Object>(&answer)) return makeObject(object->className);
  if (const auto* const bytes = std::get_if<Bytes>(&answer)) return env->NewByteArray(bytes->count);
  if (const auto* const array = std::get_if<Array>(&answer)) {
    const jclass cls = env->FindClass("java/lang/Object");
    const jobjectArray result = env->NewObjectArray(static_cast<jsize>(array->classNames.size()), cls, nullptr);
    env->DeleteLocalRef(cls);
    jsize i = 0;
    for (const std::string& className : array->classNames) {
      const jobject element = makeObject(className);
      env->SetObjectArrayElement(result, i++, element);
      env->DeleteLocalRef(element);
    }
    return result;
  }
  return nullptr;
}

}  // namespace mesk::test::ledger

// The platform's functions and the allocator, as the library's objects in this program see them: each goes on to the
// real one, unless it is its turn to fail.
namespace {

using mesk::test::ledger::Recording;
using mesk::test::ledger::show;

template <class Function>
Function* real(const char* name) {
  void* const found = dlsym(RTLD_NEXT, name);
  if (found == nullptr) {
    std::fprintf(stderr, "the platform has no %s\n", name);
    std::abort();
  }
  return reinterpret_cast<Function*>(found);
}

Recording* writer() {
  Recording* const current = Recording::current();
  return current != nullptr && current->writing() ? current : nullptr;
}

void* allocate(std::size_t bytes) noexcept {
  Recording* const current = Recording::current();
  if (current == nullptr) return std::malloc(bytes);
  void* const block = current->refuses() ? nullptr : std::malloc(bytes);
  current->allocated(block, bytes);
  return block;
}

thread_local bool deleting = false;

void release(void* block) noexcept {
  if (Recording* const current = Recording::current(); current != nullptr && !deleting) {
    deleting = true;
    current->deleted(block);
    deleting = false;
  }
  std::free(block);
}

}  // namespace

void* operator new(std::size_t bytes) {
  if (void* const block = std::malloc(bytes); block != nullptr) return block;
  throw std::bad_alloc();
}
void* operator new[](std::size_t bytes) { return operator new(bytes); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return allocate(bytes); }
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
// Visible to the C++ library also where the compiler takes them for functions of the program's own.
__attribute__((visibility("default"))) void operator delete(void* block, std::size_t) noexcept { release(block); }
__attribute__((visibility("default"))) void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }

extern "C" {

void* _ossMemAlloc(std::size_t bytes, std::uint32_t flags, std::int32_t* result, const char* source,
                   std::uint32_t line) {
  Recording* const current = writer();
  void* block = nullptr;
  if (current != nullptr && current->refuses()) {
    if (result != nullptr) *result = 1;
  } else {
    block = real<decltype(_ossMemAlloc)>("_ossMemAlloc")(bytes, flags, result, source, line);
  }
  if (current != nullptr) {
    current->addLine("_ossMemAlloc " + show(static_cast<long long>(bytes)) + " " + show(flags) + " " + source +
                     (std::strcmp(source, "MDObject") == 0 ? ":" + show(line) : "") +
                     (block == nullptr ? " -> null" : ""));
  }
  return block;
}

void _ossMemFree(void* block, const char* source, std::uint32_t line) {
  if (Recording* const current = writer()) {
    current->addLine(std::string("_ossMemFree ") + source +
                     (std::strcmp(source, "MDObject") == 0 ? ":" + show(line) : ""));
  }
  real<decltype(_ossMemFree)>("_ossMemFree")(block, source, line);
}

std::uint32_t sqlogetcpcc() {
  if (Recording* const current = writer()) current->addLine("sqlogetcpcc");
  return real<decltype(sqlogetcpcc)>("sqlogetcpcc")();
}

std::uint32_t sqlocpcv(CodePageConversion* conversion) {
  Recording* const current = writer();
  if (current != nullptr) {
    current->addLine("sqlocpcv " + show(conversion->sourceCodePage) + " to " + show(conversion->targetCodePage) + " " +
                     show(conversion->sourceLength) + " into " + show(conversion->targetCapacity));
    // Only towards Java does anybody ask how it went.
    if ((conversion->flags & mesk::kTargetIsJava) != 0 && current->refuses()) return mesk::kCodePageUnusable;
  }
  return real<decltype(sqlocpcv)>("sqlocpcv")(conversion);
}

int getAllContactNamesInGroup(std::uint32_t version, ContactGroupRequest* request, ContactSqlca* sqlca) {
  Recording* const current = writer();
  if (current == nullptr || version != 81) {
    return real<decltype(getAllContactNamesInGroup)>("getAllContactNamesInGroup")(version, request, sqlca);
  }
  current->answerContacts(*request, *sqlca);
  return 0;
}

int ossWin32Lock8ExchangeInternal(OSSLatch* latch) {
  const int held = real<decltype(ossWin32Lock8ExchangeInternal)>("ossWin32Lock8ExchangeInternal")(latch);
  if (Recording* const current = writer()) {
    current->addLine("ossWin32Lock8ExchangeInternal " + current->nameOf(latch) + (held != 0 ? " held" : ""));
  }
  return held;
}

void ossLockGetConflict(OSSLatch* latch) {
  // The caller would wait for itself: whoever holds the latch in a recording is nobody.
  if (Recording* const current = writer()) {
    current->addLine("ossLockGetConflict " + current->nameOf(latch));
    return;
  }
  real<decltype(ossLockGetConflict)>("ossLockGetConflict")(latch);
}

void ossWin32Lock8ReleaseInternal(OSSLatch* latch) {
  if (Recording* const current = writer()) {
    current->addLine("ossWin32Lock8ReleaseInternal " + current->nameOf(latch));
  }
  real<decltype(ossWin32Lock8ReleaseInternal)>("ossWin32Lock8ReleaseInternal")(latch);
}

}  // extern "C"
