#include <mesk/queue/FakeJava.h>

#include <platform/MeskJVM.h>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace mesk::test {
namespace {

struct Object;

/// What a property holds, and what a call takes or answers.
struct Value {
  long long number = 0;
  Object* object = nullptr;
};

struct Object : _jobject {
  explicit Object(const Object* itsClass, const char* itsText = "") : cls(itsClass), text(itsText) {}

  const Object* cls;
  std::atomic<int> references = 1;
  std::map<std::string, Value> properties;  ///< a date's milliseconds and an exception's code stand under ""
  std::string text;                         ///< of a string, and a class's name
};

std::atomic<long> alive = 0;

// Without an order between threads: who frees an object must have one with all who used it.
void hold(Object* object) {
  if (object != nullptr) object->references.fetch_add(1, std::memory_order_relaxed);
}

void drop(Object* object) {
  if (object == nullptr || object->references.fetch_sub(1, std::memory_order_relaxed) != 1) return;
  for (const auto& [name, value] : object->properties) drop(value.object);
  delete object;
  alive.fetch_sub(1, std::memory_order_relaxed);
}

/// Classes are never freed: each begins with a reference that nobody drops.
Object* classNamed(const char* name) {
  static Object* const* const classes = [] {
    static Object* all[] = {
        new Object(nullptr, "com/orvik/kelvo/mesk/metadata/MDTaskExec"),
        new Object(nullptr, "com/orvik/kelvo/mesk/metadata/MDTask"),
        new Object(nullptr, "com/orvik/kelvo/common/parl/api/PARLException"),
        new Object(nullptr, "com/orvik/kelvo/mesk/metadata/MDUtility"),
        new Object(nullptr, "java/sql/Timestamp"),
        new Object(nullptr, "java/text/SimpleDateFormat"),
        nullptr,
    };
    return all;
  }();
  Object* const* found = classes;
  while (*found != nullptr && (*found)->text != name) ++found;
  return *found;
}

Object* made(const Object* cls, const char* text = "") {
  alive.fetch_add(1, std::memory_order_relaxed);
  return new Object(cls, text);
}

Object* of(jobject reference) { return static_cast<Object*>(reference); }

struct Method {
  using Body = Value (*)(Object* self, const Method& method, const Value* arguments);

  std::string name;
  std::string signature;
  std::string property;
  Body body;
};

Value getProperty(Object* self, const Method& method, const Value*) {
  const auto found = self->properties.find(method.property);
  return found == self->properties.end() ? Value{} : found->second;
}

Value setProperty(Object* self, const Method& method, const Value* arguments) {
  Value& property = self->properties[method.property];
  hold(arguments[0].object);
  drop(property.object);
  property = arguments[0];
  return {};
}

Value setCode(Object* exception, int code) {
  exception->properties[""].number = code;
  return {};
}

Value construct(Object* self, const Method& method, const Value* arguments) {
  if (method.signature == "(J)V" || method.signature[1] == 'I') self->properties[""] = {arguments[0].number, nullptr};
  if (method.signature.find("PARLException") != std::string::npos && FakeJava::store.refusedCreation != 0 &&
      --FakeJava::store.refusedCreation == 0) {
    setCode(arguments[1].object, 30001);
  }
  return {};
}

Value ownNumber(Object* self, const Method&, const Value*) { return self->properties[""]; }

Value compareTo(Object* self, const Method&, const Value* arguments) {
  const long long mine = self->properties[""].number;
  const long long other = arguments[0].object->properties[""].number;
  return {mine < other ? -1 : mine == other ? 0 : 1, nullptr};
}

Value format(Object*, const Method&, const Value* arguments) {
  const std::time_t seconds = arguments[0].object->properties[""].number / 1000;
  std::tm utc{};
  char text[16];
  std::strftime(text, sizeof text, "%Y%m%d%H%M%S", gmtime_r(&seconds, &utc));
  return {0, made(nullptr, text)};
}

Value insert(Object*, const Method&, const Value* arguments) {
  return setCode(arguments[1].object, FakeJava::store.insertCode);
}

Value referenceID(Object*, const Method&, const Value*) { return {FakeJava::store.nextKey++, nullptr}; }

Value nothing(Object*, const Method&, const Value*) { return {}; }

/// What a method of this name and signature does; null when there is none.
Method::Body bodyOf(const std::string& name, const std::string& signature) {
  if (name == "<init>") return construct;
  if (name == "getRC" || name == "getTime") return ownNumber;
  if (name == "compareTo") return compareTo;
  if (name == "format") return format;
  if (name == "insert") return insert;
  if (name == "getReferenceID") return referenceID;
  if (name == "getNestedSQLCode" || signature.ends_with("[B")) return nothing;
  if (name.starts_with("set") || name == "SummaryReturnCode") return setProperty;
  return name.starts_with("get") ? getProperty : nullptr;
}

std::string propertyOf(const std::string& name) { return name == "SummaryReturnCode" ? name : name.substr(3); }

/// A thread's environment. It keeps what it looked up, which is a few dozen methods.
struct Environment : JNIEnv {
  Environment();
  std::vector<std::unique_ptr<Method>> methods;
};

Environment& environment() {
  static thread_local Environment own;
  return own;
}

jmethodID findMethod(JNIEnv*, jclass, const char* name, const char* signature) {
  auto& methods = environment().methods;
  for (const auto& method : methods) {
    if (std::strcmp(method->name.c_str(), name) == 0 && std::strcmp(method->signature.c_str(), signature) == 0) {
      return reinterpret_cast<jmethodID>(method.get());
    }
  }
  const Method::Body body = bodyOf(name, signature);
  if (body == nullptr) return nullptr;
  methods.push_back(std::make_unique<Method>(Method{name, signature, propertyOf(name), body}));
  return reinterpret_cast<jmethodID>(methods.back().get());
}

Value call(jobject self, jmethodID id, va_list arguments) {
  const auto& method = *reinterpret_cast<const Method*>(id);
  Value values[4];
  Value* value = values;
  for (const char* type = method.signature.c_str() + 1; *type != ')'; ++type, ++value) {
    switch (*type) {
      case 'I':
        value->number = va_arg(arguments, jint);
        break;
      case 'J':
        value->number = va_arg(arguments, jlong);
        break;
      case 'L':
      case '[':
        value->object = of(va_arg(arguments, jobject));
        type = *type == 'L' ? std::strchr(type, ';') : type + 1;
        break;
      default:
        std::abort();
    }
  }
  return method.body(of(self), method, values);
}

template <class Result>
Result numberOf(JNIEnv*, jobject self, jmethodID id, va_list arguments) {
  return static_cast<Result>(call(self, id, arguments).number);
}

jint staticInt(JNIEnv*, jclass cls, jmethodID id, va_list arguments) {
  return static_cast<jint>(call(cls, id, arguments).number);
}

void noResult(JNIEnv*, jobject self, jmethodID id, va_list arguments) { call(self, id, arguments); }

/// The answer of a getter is one more reference to what the property holds; a new object is handed on.
jobject objectOf(JNIEnv*, jobject self, jmethodID id, va_list arguments) {
  Object* const result = call(self, id, arguments).object;
  if (reinterpret_cast<const Method*>(id)->body == getProperty) hold(result);
  return result;
}

jobject newObject(JNIEnv*, jclass cls, jmethodID id, va_list arguments) {
  Object* const object = made(of(cls));
  call(object, id, arguments);
  return object;
}

jobject oneMore(JNIEnv*, jobject object) {
  hold(of(object));
  return object;
}

void oneLess(JNIEnv*, jobject object) { drop(of(object)); }

jclass classOf(JNIEnv* env, jobject object) {
  return reinterpret_cast<jclass>(oneMore(env, const_cast<Object*>(of(object)->cls)));
}

jclass findClass(JNIEnv* env, const char* name) { return reinterpret_cast<jclass>(oneMore(env, classNamed(name))); }

jstring newString(JNIEnv*, const char* text) { return reinterpret_cast<jstring>(made(nullptr, text)); }

const char* textOf(JNIEnv*, jstring string, jboolean*) { return of(string)->text.c_str(); }

void giveBackText(JNIEnv*, jstring, const char*) {}

Environment::Environment() {
  static const JNINativeInterface_ table = [] {
    JNINativeInterface_ t{};
    t.FindClass = findClass;
    t.GetObjectClass = classOf;
    t.GetMethodID = findMethod;
    t.GetStaticMethodID = findMethod;
    t.NewObjectV = newObject;
    t.NewGlobalRef = oneMore;
    t.DeleteGlobalRef = oneLess;
    t.DeleteLocalRef = oneLess;
    t.CallVoidMethodV = noResult;
    t.CallIntMethodV = numberOf<jint>;
    t.CallLongMethodV = numberOf<jlong>;
    t.CallObjectMethodV = objectOf;
    t.CallStaticIntMethodV = staticInt;
    t.NewStringUTF = newString;
    t.GetStringUTFChars = textOf;
    t.ReleaseStringUTFChars = giveBackText;
    return t;
  }();
  functions = &table;
}

jint attach(JavaVM*, void** env, void*) {
  *env = static_cast<JNIEnv*>(&environment());
  return 0;
}

jint detach(JavaVM*) { return 0; }

}  // namespace

FakeStore FakeJava::store;

jobject FakeJava::newObject(const char* className) { return made(classNamed(className)); }

void FakeJava::deleteLocal(jobject object) { drop(of(object)); }

long FakeJava::objects() { return alive; }

}  // namespace mesk::test

// In place of the platform's.
namespace mesk {

MeskJVM* MeskJVM::getInstance() {
  static MeskJVM service;
  return &service;
}

JavaVM* MeskJVM::getJVM() {
  static const JNIInvokeInterface_ invocation = [] {
    JNIInvokeInterface_ i{};
    i.AttachCurrentThread = test::attach;
    i.DetachCurrentThread = test::detach;
    return i;
  }();
  static JavaVM vm{&invocation};
  return &vm;
}

int MeskJVM::createJVM() { return kOk; }

}  // namespace mesk
