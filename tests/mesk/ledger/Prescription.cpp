#include <mesk/ledger/Prescription.h>

#include <cstdio>
#include <cstring>

namespace mesk::test::ledger {
namespace {

constexpr std::uint32_t kJavaToNative = 0x10080161;
constexpr std::uint32_t kNativeToJava = 0x10080162;

std::string hex(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", number);
  return text;
}

/// From a byte a character to UTF-8 and back.
std::string toUtf8(const std::string& native) {
  std::string result;
  for (const char c : native) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      result += c;
    } else {
      result += static_cast<char>(0xC0 | byte >> 6);
      result += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return result;
}

std::string fromUtf8(const std::string& utf8) {
  std::string result;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    result += byte < 0x80 ? utf8[i] : static_cast<char>((byte & 0x03) << 6 | (utf8[++i] & 0x3F));
  }
  return result;
}

std::string sized(std::size_t bytes) { return std::to_string(bytes); }

}  // namespace

Item integer(std::int32_t value) {
  std::string bytes(sizeof value, '\0');
  std::memcpy(bytes.data(), &value, sizeof value);
  return {-2, bytes};
}

Item text(const std::string& value) { return {-5, value}; }

Wrapper wrapperIn(State state, const Ref& name) {
  const bool object = state == State::live || state == State::withoutClass;
  const bool cls = state == State::live || state == State::withoutObject;
  return {object ? name : "", cls ? name + ".class" : ""};
}

Ref Prescription::answered(const std::string& call, bool there) {
  const Ref reference = there ? "#" + std::to_string(++made_) : "";
  line(call + " -> " + show(reference));
  return reference;
}

bool Prescription::lookedUp(const std::string& call) {
  const bool there = !refuses();
  line(call + (there ? "" : " -> null"));
  return there;
}

Ref Prescription::findClass(const std::string& name) { return answered("FindClass " + name, !refuses()); }

Ref Prescription::getObjectClass(const Ref& object) { return answered("GetObjectClass " + show(object), !refuses()); }

bool Prescription::getMethod(const Ref& cls, const std::string& name, const std::string& signature) {
  const std::string call = "GetMethodID " + show(cls) + " " + name + " " + signature;
  if (!cls.empty()) return lookedUp(call);
  line(call + " -> null");
  return false;
}

bool Prescription::getStaticMethod(const Ref& cls, const std::string& name, const std::string& signature) {
  return lookedUp("GetStaticMethodID " + show(cls) + " " + name + " " + signature);
}

Ref Prescription::newGlobalRef(const Ref& reference) {
  const bool refused = refuses();
  return answered("NewGlobalRef " + show(reference), !refused && !reference.empty());
}

void Prescription::deleteGlobalRef(const Ref& reference) { line("DeleteGlobalRef " + show(reference)); }

void Prescription::deleteLocalRef(const Ref& reference) { line("DeleteLocalRef " + show(reference)); }

Ref Prescription::newStringUTF(const std::string& utf8) {
  const Ref made = answered("NewStringUTF " + quoted(utf8), !refuses());
  texts_[made] = utf8;
  return made;
}

Ref Prescription::newByteArray(int length) {
  const Ref made = answered("NewByteArray " + show(length), !refuses());
  byteArrays_[made] = length;
  return made;
}

int Prescription::getArrayLength(const Ref& array) {
  line("GetArrayLength " + show(array));
  const auto bytes = byteArrays_.find(array);
  return bytes != byteArrays_.end() ? bytes->second : static_cast<int>(arrays_.at(array).size());
}

Ref Prescription::getObjectArrayElement(const Ref& array, int index) {
  const bool there = !arrays_.at(array)[static_cast<std::size_t>(index)].empty();
  return answered("GetObjectArrayElement " + show(array) + " " + show(index), there && !refuses());
}

Answer Prescription::call(const std::string& function, const Ref& target, const std::string& method,
                          const std::string& arguments) {
  line(function + " " + show(target) + " " + method + "(" + arguments + ")");
  return answers_.take(method);
}

long long Prescription::number(const Answer& answer) {
  const auto* const value = std::get_if<long long>(&answer);
  return value == nullptr ? 0 : *value;
}

Ref Prescription::object(const Answer& answer) {
  const auto* const named = std::get_if<Object>(&answer);
  const bool none = std::holds_alternative<Nothing>(answer) || std::holds_alternative<long long>(answer) ||
                    (named != nullptr && named->className.empty());
  const Ref made = none || refuses() ? "" : "#" + std::to_string(++made_);
  lines_.back() += " -> " + show(made);
  if (const auto* const given = std::get_if<Text>(&answer)) texts_[made] = given->utf8;
  if (const auto* const given = std::get_if<Bytes>(&answer)) byteArrays_[made] = given->count;
  if (const auto* const given = std::get_if<Array>(&answer)) arrays_[made] = given->classNames;
  return made;
}

Answer Prescription::contacts(const std::string& group, int count, bool names) {
  line("getAllContactNamesInGroup " + quoted(group) + " " + show(count) + (names ? " names" : " null"));
  if (refuses()) return -1LL;
  return answers_.take((names ? "names of " : "count of ") + group);
}

bool Prescription::allocate(std::size_t bytes) { return lookedUp("allocate " + sized(bytes)); }

bool Prescription::workMemory(std::size_t bytes, const std::string& source) {
  return lookedUp("_ossMemAlloc " + sized(bytes) + " 1 " + source);
}

void Prescription::log(std::uint32_t function, std::uint32_t probe, const std::vector<Item>& items) {
  std::string record = "log " + hex(function) + " code 0 probe " + show(probe) + " level 3 items " +
                       show(static_cast<long long>(items.size()));
  for (const Item& item : items) record += itemLine(item.type, item.bytes.data(), item.bytes.size());
  line(record);
}

void Prescription::traceEntry(std::uint32_t function) {
  if (traces()) line("trace entry " + hex(function) + " mask 1000000");
}

void Prescription::traceError(std::uint32_t function, std::uint32_t probe, std::int32_t value) {
  if (traces()) line("trace error " + hex(function) + " probe " + show(probe) + itemLine(4, &value, sizeof value));
}

void Prescription::traceError(std::uint32_t function, std::uint32_t probe, const std::string& bytes) {
  if (traces()) {
    line("trace error " + hex(function) + " probe " + show(probe) + itemLine(4, bytes.data(), bytes.size()));
  }
}

void Prescription::traceData(std::uint32_t function, std::uint32_t probe, std::int32_t value) {
  if (traces()) line("trace data " + hex(function) + " probe " + show(probe) + itemLine(4, &value, sizeof value));
}

void Prescription::traceExit(std::uint32_t function, std::int32_t code) {
  if (traces()) line("trace exit " + hex(function) + itemLine(4, &code, sizeof code));
}

Ref Prescription::stringToJava(const std::string& native) {
  if (native.empty()) return {};
  line("sqlogetcpcc");
  const std::size_t length = native.size();
  if (!workMemory(length * 3, "MDObject:215")) {
    log(kNativeToJava, 10, {text("Scheduler out of memory.")});
    return {};
  }
  line("sqlocpcv 819 to 1208 " + sized(length + 1) + " into " + sized(length * 3));
  const bool unusable = refuses();
  const Ref made = unusable ? Ref() : newStringUTF(toUtf8(native));
  freeWorkMemory("MDObject:230");
  return made;
}

std::string Prescription::stringFromJava(const Ref& javaText) {
  if (javaText.empty()) return "null";
  const std::string& utf8 = texts_.at(javaText);
  const bool got = lookedUp("GetStringUTFChars " + show(javaText));
  if (!got || !allocate(utf8.size() + 1)) {
    log(kJavaToNative, 20, {text("Scheduler out of memory.")});
    leaves(javaText);
    return "null";
  }
  line("ReleaseStringUTFChars " + show(javaText));
  deleteLocalRef(javaText);
  if (utf8.empty()) return "null";
  line("sqlogetcpcc");
  if (!allocate(utf8.size() + 1)) {
    log(kJavaToNative, 10, {text("Scheduler out of memory.")});
    return "null";
  }
  line("sqlocpcv 1208 to 819 " + sized(utf8.size() + 1) + " into " + sized(utf8.size() + 1));
  return quoted(fromUtf8(utf8));
}

Wrapper Prescription::wrap(const Ref& object) {
  Wrapper made;
  if (object.empty()) return made;
  made.object = newGlobalRef(object);
  if (made.object.empty()) return made;
  const Ref cls = getObjectClass(made.object);
  if (cls.empty()) return made;
  made.objectClass = newGlobalRef(cls);
  deleteLocalRef(cls);
  return made;
}

std::string Prescription::newWrapper(const Ref& object, std::size_t bytes) {
  if (!allocate(bytes)) return "null";
  const Wrapper made = wrap(object);
  return "wrapper " + show(made.object) + " " + show(made.objectClass);
}

bool Prescription::attach() {
  const bool refused = setting_.attachFails && refuses();
  line(std::string("AttachCurrentThread") + (refused ? " refused" : ""));
  return !refused;
}

void Prescription::destroy(const Wrapper& wrapper) {
  if (!attach()) return;
  if (!wrapper.object.empty()) deleteGlobalRef(wrapper.object);
  if (!wrapper.objectClass.empty()) deleteGlobalRef(wrapper.objectClass);
}

Wrapper Prescription::exceptionObject() {
  Wrapper made;
  const Ref cls = findClass(kExceptionClass);
  if (cls.empty()) return made;
  made.objectClass = newGlobalRef(cls);
  deleteLocalRef(cls);
  if (made.objectClass.empty() || !getMethod(made.objectClass, "<init>", "(ILjava/lang/String;)V")) return made;
  const Ref object = newObject(made.objectClass, 0, Ref());
  if (object.empty()) return made;
  made.object = newGlobalRef(object);
  deleteLocalRef(object);
  return made;
}

int Prescription::returnCode(const Wrapper& exception) {
  if (!exception.live() || !getMethod(exception.objectClass, "getRC", "()I")) return -300;
  return callInt(exception.object, "getRC");
}

int Prescription::nestedCode(const Wrapper& exception, const std::string& method) {
  const Ref cls = findClass(std::string(kMetadata) + "MDUtility");
  if (cls.empty()) return 0;
  int code = 0;
  if (!exception.object.empty() && getStaticMethod(cls, method, std::string("(") + kException + ")I")) {
    code = callStaticInt(cls, method, exception.object);
  }
  deleteLocalRef(cls);
  return code;
}

void Prescription::outcome(const Wrapper& exception, int& rc, int& sqlCode) {
  rc = returnCode(exception);
  if (rc != 0) sqlCode = nestedCode(exception);
}

}  // namespace mesk::test::ledger
