// What an operation has to do: its calls and records, said in the library's rules and not in its code.
#pragma once

#include <mesk/ledger/Setting.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

namespace mesk::test::ledger {

inline constexpr const char* kContext = "Lcom/orvik/kelvo/common/parl/api/Context;";
inline constexpr const char* kException = "Lcom/orvik/kelvo/common/parl/api/PARLException;";
inline constexpr const char* kString = "Ljava/lang/String;";
inline constexpr const char* kCollection = "Ljava/util/Collection;";
inline constexpr const char* kMetadata = "com/orvik/kelvo/mesk/metadata/";
inline constexpr const char* kExceptionClass = "com/orvik/kelvo/common/parl/api/PARLException";

/// The signature of a store method: the context first, the exception object last.
inline std::string storeMethod(const std::string& arguments, const std::string& result) {
  return std::string("(") + kContext + arguments + kException + ")" + result;
}

/// A wrapper's two references; live when both are there.
struct Wrapper {
  Ref object;
  Ref objectClass;
  bool live() const { return !object.empty() && !objectClass.empty(); }
};

/// The wrapper `name` in that state.
Wrapper wrapperIn(State state, const Ref& name);

/// An item of a record.
struct Item {
  std::int32_t type;
  std::string bytes;
};
Item integer(std::int32_t value);
Item text(const std::string& value);

/// The same kind of lines as a recording has, from what is said to happen. One thing can be said to fail, as in a
/// recording; what cannot be had is then null, and the lines that depend on it must not be said.
class Prescription {
 public:
  Prescription(const Setting& setting, Answers answers) : setting_(setting), answers_(std::move(answers)) {}

  const Setting& setting() const { return setting_; }

  /// A Java string that the operation is given.
  void know(const Ref& javaText, const std::string& utf8) { texts_[javaText] = utf8; }

  /// The wrapper that the operation is called on, in its state.
  Wrapper target() const { return wrapperIn(setting_.state, "target"); }

  // JNI, a line each.
  Ref findClass(const std::string& name);
  Ref getObjectClass(const Ref& object);
  bool getMethod(const Ref& cls, const std::string& name, const std::string& signature);
  bool getStaticMethod(const Ref& cls, const std::string& name, const std::string& signature);
  Ref newGlobalRef(const Ref& reference);
  void deleteGlobalRef(const Ref& reference);
  void deleteLocalRef(const Ref& reference);
  Ref newStringUTF(const std::string& utf8);
  Ref newByteArray(int length);
  int getArrayLength(const Ref& array);
  Ref getObjectArrayElement(const Ref& array, int index);
  bool attach();

  template <class... A>
  Ref newObject(const Ref& cls, A... arguments) {
    return answered("NewObject " + show(cls) + " <init>(" + list(arguments...) + ")", !refuses());
  }
  template <class... A>
  void callVoid(const Ref& object, const std::string& method, A... arguments) {
    call("CallVoidMethod", object, method, list(arguments...));
  }
  template <class... A>
  int callInt(const Ref& object, const std::string& method, A... arguments) {
    return static_cast<int>(number(call("CallIntMethod", object, method, list(arguments...))));
  }
  template <class... A>
  long long callLong(const Ref& object, const std::string& method, A... arguments) {
    return number(call("CallLongMethod", object, method, list(arguments...)));
  }
  template <class... A>
  bool callBoolean(const Ref& object, const std::string& method, A... arguments) {
    return number(call("CallBooleanMethod", object, method, list(arguments...))) != 0;
  }
  template <class... A>
  Ref callObject(const Ref& object, const std::string& method, A... arguments) {
    return this->object(call("CallObjectMethod", object, method, list(arguments...)));
  }
  template <class... A>
  void callStaticVoid(const Ref& cls, const std::string& method, A... arguments) {
    call("CallStaticVoidMethod", cls, method, list(arguments...));
  }
  template <class... A>
  int callStaticInt(const Ref& cls, const std::string& method, A... arguments) {
    return static_cast<int>(number(call("CallStaticIntMethod", cls, method, list(arguments...))));
  }
  template <class... A>
  Ref callStaticObject(const Ref& cls, const std::string& method, A... arguments) {
    return this->object(call("CallStaticObjectMethod", cls, method, list(arguments...)));
  }

  // The platform.
  /// What the contact service answers; an SQL code when the service fails.
  Answer contacts(const std::string& group, int count, bool names);
  bool allocate(std::size_t bytes);
  bool workMemory(std::size_t bytes, const std::string& source);
  void freeWorkMemory(const std::string& source) { line("_ossMemFree " + source); }
  void log(std::uint32_t function, std::uint32_t probe, const std::vector<Item>& items);
  void traceEntry(std::uint32_t function);
  void traceError(std::uint32_t function, std::uint32_t probe, std::int32_t value);
  void traceError(std::uint32_t function, std::uint32_t probe, const std::string& bytes);
  void traceData(std::uint32_t function, std::uint32_t probe, std::int32_t value);
  void traceExit(std::uint32_t function, std::int32_t code);

  // What every wrapper is made of.

  /// Texts are in code page 819: a native one has a byte a character.
  Ref stringToJava(const std::string& native);
  /// What the caller gets: quoted, or "null". Consumes the reference, but not when there is no memory for the copy.
  std::string stringFromJava(const Ref& javaText);

  Wrapper wrap(const Ref& object);
  /// As `wrap`, of an object that is allocated first: for getters and lists. Says what the caller gets.
  std::string newWrapper(const Ref& object, std::size_t bytes = 16);
  void destroy(const Wrapper& wrapper);
  Wrapper exceptionObject();
  /// The store's code in `exception`.
  int returnCode(const Wrapper& exception);
  int nestedCode(const Wrapper& exception, const std::string& method = "getNestedSQLCode");

  /// Takes the code of a call that was made; when it is not 0, the nested SQL code too.
  void outcome(const Wrapper& exception, int& rc, int& sqlCode);

  // What the operation gave, line by line; the same texts as the operation's side says.
  void result(const std::string& what) { results_.push_back(what); }

  void line(const std::string& text) { lines_.push_back(text); }
  /// The calls and records, and behind them the results.
  std::vector<std::string> all() const {
    std::vector<std::string> lines = lines_;
    lines.insert(lines.end(), results_.begin(), results_.end());
    return lines;
  }
  unsigned points() const { return points_; }
  bool refuses() { return ++points_ == setting_.fault; }

  /// References and blocks of memory that stay behind on purpose; one that was given is its giver's.
  void leaves(const Ref& reference) {
    if (reference.starts_with('#')) left_.push_back(reference);
  }
  void leavesBlock() { ++leftBlocks_; }
  const std::vector<Ref>& left() const { return left_; }
  std::size_t leftBlocks() const { return leftBlocks_; }

 private:
  static std::string shown(const Ref& reference) { return show(reference); }
  static std::string shown(const char* reference) { return show(Ref(reference)); }
  static std::string shown(bool value) { return value ? "true" : "false"; }
  template <class N>
  requires std::is_integral_v<N>
  static std::string shown(N value) { return show(static_cast<long long>(value)); }
  static std::string list() { return {}; }
  template <class First, class... Rest>
  static std::string list(const First& first, const Rest&... rest) {
    std::string result = shown(first);
    ((result += ", " + shown(rest)), ...);
    return result;
  }

  Ref answered(const std::string& call, bool there);
  bool lookedUp(const std::string& call);
  Answer call(const std::string& function, const Ref& target, const std::string& method, const std::string& arguments);
  Ref object(const Answer& answer);
  static long long number(const Answer& answer);
  bool traces() const { return setting_.traced; }

  Setting setting_;
  Answers answers_;
  unsigned points_ = 0;
  unsigned made_ = 0;
  std::vector<std::string> lines_;
  std::vector<std::string> results_;
  std::map<Ref, std::string> texts_;  ///< what the Java strings hold, in UTF-8
  std::map<Ref, int> byteArrays_;
  std::map<Ref, std::vector<std::string>> arrays_;
  std::vector<Ref> left_;
  std::size_t leftBlocks_ = 0;
};

}  // namespace mesk::test::ledger
