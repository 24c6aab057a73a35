// What holds while one operation runs: the same for the operation and for what is prescribed of it.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace mesk::test::ledger {

/// What a Java method answers, instead of what the fake store would: nothing (null, 0, false), a number, a text (in
/// UTF-8), a new object of a class, so many bytes, or an array of new objects, where an empty class name is null.
struct Nothing {};
struct Text {
  std::string utf8;
};
struct Object {
  std::string className;
};
struct Bytes {
  int count;
};
struct Array {
  std::vector<std::string> classNames;
};
/// What the contact service answers for "count of GROUP", a number, and "names of GROUP"; below 0 it is an SQL code.
using Names = std::vector<std::string>;
using Answer = std::variant<Nothing, long long, Text, Object, Bytes, Array, Names>;

/// By the name of a Java method, what its calls answer in turn; the last one stays. A method that is not named answers
/// nothing.
class Answers {
 public:
  void add(const std::string& method, Answer answer) { answers_[method].push_back(std::move(answer)); }
  Answer take(const std::string& method);
  bool has(const std::string& method) const { return answers_.contains(method); }

 private:
  std::map<std::string, std::vector<Answer>> answers_;
  std::map<std::string, std::size_t> taken_;
};

/// The wrapper that an operation is called on.
enum class State { live, dead, withoutObject, withoutClass };
const char* nameOfState(State state);

struct Setting {
  State state = State::live;
  int code = 0;  ///< what the store's exception object answers
  int sqlCode = 0;
  int sqlState = 0;
  bool traced = false;
  bool attachFails = false;  ///< attaching a thread is among what can fail
  unsigned fault = 0;        ///< the lookup, reference, object or allocation that fails, 1 being the first; 0 for none
};
void PrintTo(const Setting& setting, std::ostream* out);

// How calls and records are written down, by whoever makes them and by whoever prescribes them.

/// A reference by its name: one that was given ("context"), or "#n" for the n-th that JNI answered. Empty is null.
using Ref = std::string;

std::string show(const Ref& reference);
inline std::string show(long long number) { return std::to_string(number); }
std::string quoted(const std::string& bytes);

/// One item of a record: its type, its length, and its number or text.
std::string itemLine(std::int32_t type, const void* address, std::size_t length);

}  // namespace mesk::test::ledger
