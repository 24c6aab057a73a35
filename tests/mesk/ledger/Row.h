// One row of the ledger: an exported operation as it is called, beside what it has to do.
#pragma once

#include <cxxabi.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/ledger/Prescription.h>
#include <mesk/ledger/Recording.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace mesk::test::ledger {

/// What a row's operation is called with, and where it says what it gave.
class Run {
 public:
  Run(ThreadContext& threadContext, Recording& recording, const Setting& played)
      : ctx(threadContext), setting(played), recording_(recording) {}
  ~Run();
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  ThreadContext& ctx;
  const Setting& setting;

  /// The store's context, "context": a global reference.
  jobject context();

  /// The wrapper of an object of `className` that the operation is called on, in its state: "target", "target.class".
  template <class W>
  W& target(const std::string& className) {
    return wrapper<W>(className, "target", setting.state);
  }

  /// As `target`, or as `name`, made by `new`: the operation deletes it.
  template <class W>
  W* released(const std::string& className, const std::string& name = "target") {
    const jobject local = local_(className);
    W* const made = newWrapper<W>(ctx, local);
    ctx.env->DeleteLocalRef(local);
    recording_.know(made->object, name);
    recording_.know(made->objectClass, name + ".class");
    if (setting.state == State::dead || setting.state == State::withoutObject) drop_(made->object);
    if (setting.state == State::dead || setting.state == State::withoutClass) drop_(made->objectClass);
    return made;
  }

  /// A wrapper of an object of `className`, `name` and `name`.class, in that state; lives as long as this.
  template <class W>
  W& wrapper(const std::string& className, const std::string& name, State state = State::live) {
    const jobject local = local_(className);
    std::shared_ptr<W> made;
    if constexpr (std::is_constructible_v<W, ThreadContext&, const char*> &&
                  !std::is_constructible_v<W, ThreadContext&, jobject>) {
      made = std::make_shared<W>(ctx, "yyyy");  // a format is made from its pattern only
    } else if constexpr (std::is_constructible_v<W, ThreadContext&> &&
                         !std::is_constructible_v<W, ThreadContext&, jobject>) {
      made = std::make_shared<W>(ctx);  // a message is made of nothing
    } else {
      made = std::shared_ptr<W>(newWrapper<W>(ctx, local));
    }
    ctx.env->DeleteLocalRef(local);
    keep_(made, *made, name);
    if (state == State::dead || state == State::withoutObject) made->object = nullptr;
    if (state == State::dead || state == State::withoutClass) made->objectClass = nullptr;
    return *made;
  }

  /// A dead wrapper; lives as long as this.
  template <class W>
  W& deadWrapper() {
    const auto made = std::shared_ptr<W>(newWrapper<W>(ctx, nullptr));
    keep_(made, *made, "");
    return *made;
  }

  /// A local reference to an object of `className`, named `name`. The operation may delete it.
  jobject object(const std::string& className, const std::string& name);
  /// So many bytes of Java, the same.
  jbyteArray bytes(int count, const std::string& name);
  /// A Java string, the same.
  jstring text(const std::string& utf8, const std::string& name);

  /// A reference that the operation is given, made elsewhere.
  void know(const void* reference, const std::string& name) { recording_.know(reference, name); }

  /// A latch that the operation takes or frees: "latch".
  void knowLatch(const void* latch) { know(latch, "latch"); }

  void record(const std::function<void()>& operation) { recording_.record(operation); }

  // What the operation gave; deleted when the row ends.
  void answer(long long number) { say("answer " + show(number)); }
  void codes(int rc, int sqlCode) { say("codes " + show(rc) + " " + show(sqlCode)); }
  void gives(char* text) { say("gives " + owned(text)); }
  template <class W>
  requires std::is_base_of_v<MDObject, W>
  void gives(W* wrapper) { say("gives " + owned(wrapper)); }
  void givesBytes(signed char* bytes, int count);
  void givesLocal(jobject reference);
  void givesGlobal(jobject reference);
  template <class Element>
  void givesList(Element** items, int count) {
    std::string line = "gives " + show(count) + ":";
    for (int i = 0; i < count; ++i) line += " " + owned(items[i]);
    say(items == nullptr ? "gives null, " + show(count) : line);
    atEnd_.push_back([items] { delete[] items; });
  }
  void say(const std::string& line) { said_.push_back(line); }

  const std::vector<std::string>& said() const { return said_; }

  /// `work` deletes something else that the operation gave.
  void atEnd(std::function<void()> work) { atEnd_.push_back(std::move(work)); }

  /// Deletes what the operation gave.
  void deleteGiven();

 private:
  jobject local_(const std::string& className);
  template <class Reference>
  void drop_(Reference& global) {
    recording_.forget(global);
    ctx.env->DeleteGlobalRef(global);
    global = nullptr;
  }
  void keep_(std::shared_ptr<void> owner, MDObject& wrapper, const std::string& name);
  std::string owned(char* text);
  template <class W>
  requires std::is_base_of_v<MDObject, W> std::string owned(W* wrapper) {
    if (wrapper == nullptr) return "null";
    atEnd_.push_back([wrapper] { delete wrapper; });
    return "wrapper " + show(recording_.nameOf(wrapper->object)) + " " + show(recording_.nameOf(wrapper->objectClass));
  }

  struct Kept {
    std::shared_ptr<void> owner;
    MDObject* wrapper;
    jobject object;
    jclass objectClass;
  };

  Recording& recording_;
  std::vector<std::string> said_;
  std::vector<Kept> kept_;
  std::vector<std::function<void()>> atEnd_;
  std::vector<jobject> locals_;
  jobject context_ = nullptr;
};

/// For prescriptions: what `Run` says of the same.
namespace says {
inline std::string answer(long long number) { return "answer " + show(number); }
inline std::string codes(int rc, int sqlCode) { return "codes " + show(rc) + " " + show(sqlCode); }
inline std::string gives(const std::string& what) { return "gives " + what; }
inline std::string gives(const Wrapper& wrapper) {
  return "gives wrapper " + show(wrapper.object) + " " + show(wrapper.objectClass);
}
inline std::string givesReference(const Ref& reference) { return "gives reference " + show(reference); }
inline std::string givesList(const std::vector<std::string>& items) {
  std::string line = "gives " + show(static_cast<long long>(items.size())) + ":";
  for (const std::string& item : items) line += " " + item;
  return line;
}
inline std::string givesNoList(int count = 0) { return "gives null, " + show(count); }
}  // namespace says

struct Row {
  std::string symbol;  ///< as the list of exported symbols has it; of an operation that is not exported, its like
  std::string variant;
  std::function<void(Run&)> run;
  std::function<void(Prescription&)> prescribe;
  Answers answers = {};  ///< the exception object's code comes by itself, unless it is said here
  std::vector<State> states = {State::live};
  bool reports = false;      ///< goes through the store's codes
  bool attachFails = false;  ///< lets the attaching of the thread fail too
};

inline const std::vector<State> kEveryState = {State::live, State::dead, State::withoutObject, State::withoutClass};

using Rows = std::vector<Row>;

// The rows of each folder of the library.
void addBridgeRows(Rows& rows);
void addValueRows(Rows& rows);
void addSessionRows(Rows& rows);
void addTaskRows(Rows& rows);
void addTaskRelationRows(Rows& rows);
void addActionRows(Rows& rows);
void addScheduleRows(Rows& rows);
void addQueueRows(Rows& rows);
void addHistoryRows(Rows& rows);
void addStatisticRows(Rows& rows);

// Names of symbols, from the operations themselves.

template <class T>
std::string typeText() {
  if constexpr (std::is_lvalue_reference_v<T>) {
    return typeText<std::remove_reference_t<T>>() + "&";
  } else if constexpr (std::is_const_v<T>) {
    return typeText<std::remove_const_t<T>>() + " const";
  } else if constexpr (std::is_pointer_v<T>) {
    return typeText<std::remove_pointer_t<T>>() + "*";
  } else {
    char* const demangled = abi::__cxa_demangle(typeid(T).name(), nullptr, nullptr, nullptr);
    std::string result = demangled;
    std::free(demangled);
    return result;
  }
}

template <class... A>
std::string typeList() {
  std::string result;
  ((result += (result.empty() ? "" : ", ") + typeText<A>()), ...);
  return "(" + result + ")";
}

template <class W, class R, class... A>
std::string symbolOf(const std::string& name, R (W::*)(A...)) {
  return typeText<W>() + "::" + name + typeList<A...>();
}
template <class W, class R, class... A>
std::string symbolOf(const std::string& name, R (W::*)(A...) const) {
  return typeText<W>() + "::" + name + typeList<A...>() + " const";
}
template <class W, class R, class... A>
std::string staticSymbol(const std::string& name, R (*)(A...)) {
  return typeText<W>() + "::" + name + typeList<A...>();
}
template <class W, class... A>
std::string constructorSymbol() {
  const std::string whole = typeText<W>();
  return whole + "::" + whole.substr(whole.rfind(':') + 1) + typeList<A...>();
}

}  // namespace mesk::test::ledger
