// What holds for every property and every operation of every wrapper, checked from tables that a test writes out.
#pragma once

#include <gtest/gtest.h>
#include <mesk/bridge/StoreList.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace mesk::test {

using Strings = std::vector<std::string>;

/// The signature of a store method, put together here so that the library's own does not check itself.
inline std::string storeMethod(const std::string& arguments, const std::string& result) {
  return "(Lcom/orvik/kelvo/common/parl/api/Context;" + arguments + "Lcom/orvik/kelvo/common/parl/api/PARLException;)" +
         result;
}

/// What an operation answered, by result or by outputs.
struct Outcome {
  int rc;
  int sqlCode;
  bool operator==(const Outcome&) const = default;
};
inline void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << "rc " << outcome.rc << ", sqlCode " << outcome.sqlCode;
}
inline constexpr Outcome kNonsense{77, 78};  ///< what outputs hold before a call

/// An operation on one store method, and what is to be seen of it.
template <class W>
struct Operation {
  const char* method;                 ///< Java name
  std::string signature;              ///< which method of that name is asked for
  const char* recorded;               ///< the call that reaches Java, without the class
  std::function<Outcome(W&)> run;     ///< made with nonsense in the outputs
  const char* log = nullptr;          ///< identifier and probe of the record of a failure, "0x10080140/10"
  const char* logKeys = "";           ///< what that record carries behind the two codes
  const char* deadLogKeys = logKeys;  ///< the same for a dead wrapper
  const char* trace = nullptr;        ///< identifier of the entry and exit records
};

/// A list operation, and which of the store's codes means that there is nothing to list.
template <class W, class Element>
struct ListOperation {
  const char* method;
  int emptyCode;  ///< 0 for none
  ListForm form;
  std::function<int(W&, Element**&, int&, int&)> run;
  bool tellsSqlCode = false;  ///< the SQL code comes out beside the empty code too
};

/// A fixture with a `live` wrapper of a fake object and a `dead` one.
template <class W>
class WrapperTest : public JvmTest {
 protected:
  explicit WrapperTest(const char* className)
      : name(className),
        record(newFake(className)),
        liveOwner_(newWrapper<W>(ctx, record)),
        deadOwner_(newWrapper<W>(ctx, nullptr)),
        live(*liveOwner_),
        dead(*deadOwner_) {
    jni.noteLookups();
  }

  /// A property in both directions.
  template <class V, class Given>
  void property(const char* getter, V (W::*get)(ThreadContext&) const, const char* setter,
                void (W::*set)(ThreadContext&, Given), std::type_identity_t<Given> value) {
    writes(setter, set, value);
    reads(getter, get, value);
  }

  /// A setter: one lookup, one call with the value; nothing without the method or of a dead wrapper.
  template <class Given>
  void writes(const char* setter, void (W::*set)(ThreadContext&, Given), std::type_identity_t<Given> value) {
    SCOPED_TRACE(setter);
    const std::string called = name + "." + nameOf(setter) + "(";
    if constexpr (std::is_pointer_v<Given>) {
      forgetSeen();
      std::invoke(set, live, ctx, nullptr);
      EXPECT_EQ(script.properties(), Strings{called + "null)"});
    }
    forgetSeen();
    jni.failMethod(nameOf(setter).c_str());
    std::invoke(set, live, ctx, value);
    jni.heal();
    std::invoke(set, dead, ctx, value);
    EXPECT_EQ(script.properties(), Strings{});

    forgetSeen();
    std::invoke(set, live, ctx, value);
    EXPECT_EQ(lookups(), Strings{path() + "." + setter});
    const Strings properties = script.properties();
    ASSERT_EQ(properties.size(), 1u);
    const std::string expected = called + shown(value);
    EXPECT_EQ(properties[0].substr(0, expected.size()), expected);
  }

  /// A getter: one lookup, one call, the value; nothing without the method or of a dead wrapper.
  template <class V, class Expected>
  void reads(const char* getter, V (W::*get)(ThreadContext&) const, const Expected& expected) {
    SCOPED_TRACE(getter);
    forgetSeen();
    EXPECT_TRUE(isSame(std::invoke(get, live, ctx), expected));
    EXPECT_EQ(lookups(), Strings{path() + "." + getter});
    EXPECT_EQ(script.properties(), Strings{name + "." + nameOf(getter) + "()"});

    forgetSeen();
    jni.failMethod(nameOf(getter).c_str());
    EXPECT_TRUE(isNothing(std::invoke(get, live, ctx)));
    jni.heal();
    const int calls = jni.calls();
    EXPECT_TRUE(isNothing(std::invoke(get, dead, ctx)));
    EXPECT_EQ(jni.calls(), calls);
    EXPECT_EQ(script.properties(), Strings{});
  }

  /// An operation whose code is its result.
  template <class Call>
  static std::function<Outcome(W&)> byResult(Call call) {
    return [call](W& wrapper) {
      Outcome outcome = kNonsense;
      outcome.rc = call(wrapper, outcome.sqlCode);
      return outcome;
    };
  }

  /// An operation whose code is an output.
  template <class Call>
  static std::function<Outcome(W&)> byOutputs(Call call) {
    return [call](W& wrapper) {
      Outcome outcome = kNonsense;
      call(wrapper, outcome.rc, outcome.sqlCode);
      return outcome;
    };
  }

  /// A list operation as one that gives nothing but its code.
  template <class Element>
  static std::function<Outcome(W&)> asOperation(const ListOperation<W, Element>& op) {
    return [run = op.run](W& wrapper) {
      Element** items = reinterpret_cast<Element**>(1);
      int count = 77;
      Outcome outcome = kNonsense;
      outcome.rc = run(wrapper, items, count, outcome.sqlCode);
      EXPECT_EQ(items, nullptr);
      EXPECT_EQ(count, 0);
      return outcome;
    };
  }

  /// Every way in which an operation on the store can end.
  void checkOperation(const Operation<W>& op) {
    SCOPED_TRACE(op.method + op.signature);
    const std::string scripted = name + "." + op.method;
    {
      SCOPED_TRACE("success");
      script.on(scripted.c_str()).code(0, 99);
      ends(op, live, {0, 0}, nullptr);
      EXPECT_EQ(script.calls(), Strings{name + "." + op.recorded});
      const Strings looked = lookups();
      EXPECT_EQ(std::count(looked.begin(), looked.end(), path() + "." + op.method + op.signature), 1);
    }
    script.reset();
    {
      SCOPED_TRACE("failure of the store");
      script.on(scripted.c_str()).code(4711, -803);
      ends(op, live, {4711, -803}, op.logKeys);
      EXPECT_EQ(script.calls(), Strings{name + "." + op.recorded});
    }
    script.reset();
    {
      SCOPED_TRACE("missing method");
      jni.failMethod(op.method);
      ends(op, live, {-300, 0}, op.logKeys);
      EXPECT_EQ(script.calls(), Strings{});
      jni.heal();
    }
    {
      SCOPED_TRACE("no exception object");
      jni.failClass("com/orvik/kelvo/common/parl/api/PARLException");
      ends(op, live, {-300, 0}, op.logKeys);
      EXPECT_EQ(script.calls(), Strings{});
      jni.heal();
    }
    {
      SCOPED_TRACE("dead wrapper");
      ends(op, dead, {-300, 0}, op.deadLogKeys);
      EXPECT_EQ(script.calls(), Strings{});
    }
  }

  /// A list from the store's collection to the array that the caller gets. `first` and `second` are its elements; a
  /// third one is null.
  template <class Element>
  void checkList(const ListOperation<W, Element>& op, jobject first, jobject second) {
    const std::string method = name + "." + op.method;
    SCOPED_TRACE(method);
    script.reset();
    script.on(method.c_str()).returnsList({first, second, nullptr});
    {
      Listed<Element> list(op, live);
      EXPECT_EQ(list.outcome, (Outcome{0, 0}));
      ASSERT_EQ(list.count, 3);
      EXPECT_TRUE(ctx.env->IsSameObject(list.items[0]->object, first));
      EXPECT_TRUE(ctx.env->IsSameObject(list.items[1]->object, second));
      ASSERT_NE(list.items[2], nullptr);
      EXPECT_EQ(list.items[2]->object, nullptr);
      EXPECT_EQ(jni.locals(), 0);
    }
    {
      SCOPED_TRACE("no memory for the second wrapper");
      const AllocationFault fault(AllocationFault::kNew, 3);
      Listed<Element> list(op, live);
      EXPECT_EQ(list.outcome, (Outcome{0, 0}));
      ASSERT_EQ(list.count, 3);
      EXPECT_NE(list.items[0], nullptr);
      EXPECT_EQ(list.items[1], nullptr);
      EXPECT_NE(list.items[2], nullptr);
    }
    {
      const AllocationFault fault(AllocationFault::kNew, 1);
      checkEmpty("no memory for the array", op, {0, 0});
    }
    for (const char* const part : {"size", "get", "toArray"}) {
      if ((op.form == ListForm::toArray) != (std::strcmp(part, "toArray") == 0)) continue;
      jni.failMethod(part);
      checkEmpty(part, op, {0, 0});
      jni.heal();
    }
    script.reset();
    script.on(method.c_str()).returnsList({});
    checkEmpty("an empty collection", op, {0, 0});
    script.reset();
    script.on(method.c_str()).returns(static_cast<jobject>(nullptr));
    checkEmpty("no collection", op, {0, 0});
    script.reset();
    script.on(method.c_str()).code(4711, -803).returnsList({first});
    checkEmpty("a collection beside a failure", op, {4711, -803});
    for (const int empty : {30013, 30014}) {
      script.reset();
      script.on(method.c_str()).code(empty, 100);
      checkEmpty("a code for nothing", op,
                 empty == op.emptyCode ? Outcome{0, op.tellsSqlCode ? 100 : 0} : Outcome{empty, 100});
    }
    script.reset();
  }

  /// The constructor that makes a Java object of the store's class.
  void checkCreation(const std::function<std::unique_ptr<W>(int&, int&)>& make) {
    const std::string scripted = "new " + name;
    const auto made = [&](Outcome expected, bool hasObject) {
      int rc = kNonsense.rc;
      int sqlCode = kNonsense.sqlCode;
      const auto wrapper = make(rc, sqlCode);
      EXPECT_EQ((Outcome{rc, sqlCode}), expected);
      EXPECT_EQ(wrapper->object != nullptr, hasObject);
    };
    forgetSeen();
    script.on(scripted.c_str()).code(0, 99);
    made({0, 0}, true);
    EXPECT_EQ(script.calls(), Strings{scripted + "(context, exception)"});
    const Strings looked = lookups();
    EXPECT_EQ(std::count(looked.begin(), looked.end(), path()), 1);
    EXPECT_EQ(std::count(looked.begin(), looked.end(), path() + ".<init>" + storeMethod("", "V")), 1);
    script.reset();
    script.on(scripted.c_str()).code(4711, -803);
    made({4711, -803}, true);
    script.reset();
    jni.failClass(path().c_str());
    made({-300, 0}, false);
    jni.heal();
    jni.failMethod("<init>");
    made({-300, 0}, false);
    jni.heal();
    jni.fail(JniTable::kNewObject, 2);  // the first is the exception object
    made({-300, 0}, false);
    jni.heal();
    EXPECT_EQ(script.calls().size(), 0u);
  }

  const std::string name;  ///< of the Java class, without its package
  const jobject record;    ///< what `live` wraps

 private:
  template <class Element>
  struct Listed {
    Listed(const ListOperation<W, Element>& op, W& wrapper) {
      outcome.rc = op.run(wrapper, items, count, outcome.sqlCode);
    }
    ~Listed() {
      for (int i = 0; i < count; ++i) delete items[i];
      delete[] items;
    }
    Listed(const Listed&) = delete;
    Listed& operator=(const Listed&) = delete;

    Element** items = reinterpret_cast<Element**>(1);
    int count = 77;
    Outcome outcome = kNonsense;
  };

  template <class Element>
  void checkEmpty(const char* what, const ListOperation<W, Element>& op, Outcome expected) {
    SCOPED_TRACE(what);
    const Listed<Element> list(op, live);
    EXPECT_EQ(list.outcome, expected);
    EXPECT_EQ(list.items, nullptr);
    EXPECT_EQ(list.count, 0);
    EXPECT_EQ(jni.locals(), 0);
  }

  /// Runs the operation; `logKeys` null expects no record in the log.
  void ends(const Operation<W>& op, W& wrapper, Outcome expected, const char* logKeys) {
    const LogCapture log;
    const TraceCapture trace;
    forgetSeen();
    EXPECT_EQ(op.run(wrapper), expected);
    const std::string codes = " " + std::to_string(expected.rc) + " " + std::to_string(expected.sqlCode);
    EXPECT_EQ(log.lines(), op.log == nullptr || logKeys == nullptr ? Strings{} : Strings{op.log + codes + logKeys});
    Strings traced;
    if (op.trace != nullptr) {
      traced.push_back(std::string("entry ") + op.trace);
      traced.push_back(std::string("exit ") + op.trace + " " + std::to_string(expected.rc));
    }
    EXPECT_EQ(trace.lines(), traced);
    EXPECT_EQ(jni.locals(), 0);
  }

  std::string path() const { return "com/orvik/kelvo/mesk/metadata/" + name; }

  static std::string nameOf(const char* method) { return {method, std::strchr(method, '(')}; }

  void forgetSeen() {
    script.forget();
    lookupsBefore_ = jni.lookups().size();
  }

  Strings lookups() const {
    const Strings& all = jni.lookups();
    return {all.begin() + static_cast<std::ptrdiff_t>(lookupsBefore_), all.end()};
  }

  /// As the fake store writes the value down; nothing of objects, which it may write down by their address.
  static std::string shown(int value) { return std::to_string(value) + ")"; }
  static std::string shown(long long value) { return std::to_string(value) + ")"; }
  static std::string shown(const char* value) { return '"' + std::string(value) + "\")"; }
  static std::string shown(const MDObject*) { return ""; }

  static bool isSame(int value, int expected) { return value == expected; }
  static bool isSame(long long value, long long expected) { return value == expected; }
  static bool isSame(char* value, const char* expected) { return taken(value) == expected; }
  template <class V>
  bool isSame(V* value, V* expected) {
    const std::unique_ptr<V> owned(value);
    return value != nullptr && ctx.env->IsSameObject(value->object, expected->object) == JNI_TRUE;
  }

  static bool isNothing(int value) { return value == 0; }
  static bool isNothing(long long value) { return value == 0; }
  template <class V>
  static bool isNothing(V* value) {
    return value == nullptr;
  }

  std::size_t lookupsBefore_ = 0;
  std::unique_ptr<W> liveOwner_;
  std::unique_ptr<W> deadOwner_;

 protected:
  W& live;
  W& dead;
};

}  // namespace mesk::test
