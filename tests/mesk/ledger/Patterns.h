// Rows that many classes have in the same shape.
#pragma once

#include <mesk/ledger/Row.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>

#include <string>
#include <utility>

namespace mesk::test::ledger {

// What operations on the store have to do, with the calls said by name.

/// One call of a store method that answers nothing, from the exception object's making to its end. `arguments` stand
/// between the context and the exception object.
template <class... A>
int storeVoid(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
              int& sqlCode, A... arguments) {
  int rc = -300;
  sqlCode = 0;
  const Wrapper exception = p.exceptionObject();
  if (target.live() && exception.live() && p.getMethod(target.objectClass, method, signature)) {
    p.callVoid(target.object, method, "context", arguments..., exception.object);
    p.outcome(exception, rc, sqlCode);
  }
  p.destroy(exception);
  return rc;
}

/// What a list operation gives: its lines, from the collection on.
struct Listed {
  int rc = -300;
  int sqlCode = 0;
  std::string gives = says::givesNoList();
};

/// An element of a list in what the caller gets.
using MakeElement = std::string (*)(Prescription&, const Ref&);
std::string wrapElement(Prescription& p, const Ref& element);
std::string textElement(Prescription& p, const Ref& element);

/// The elements of a collection, fetched by `size` and `get`; consumes it.
std::string collectionElements(Prescription& p, const Ref& collection, MakeElement make);
/// The same, through `toArray`.
std::string arrayElements(Prescription& p, const Ref& collection, MakeElement make);

/// A list of the store: `emptyCode` becomes 0.
template <class... A>
Listed storeList(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
                 std::string (*elements)(Prescription&, const Ref&, MakeElement), MakeElement make, int emptyCode,
                 A... arguments) {
  Listed list;
  const Wrapper exception = p.exceptionObject();
  if (target.live() && exception.live() && p.getMethod(target.objectClass, method, signature)) {
    const Ref collection = p.callObject(target.object, method, "context", arguments..., exception.object);
    list.rc = p.returnCode(exception);
    if (!collection.empty()) {
      if (list.rc == 0) {
        list.gives = elements(p, collection, make);
      } else {
        p.deleteLocalRef(collection);
      }
    }
    if (list.rc == emptyCode) list.rc = 0;
    if (list.rc != 0) list.sqlCode = p.nestedCode(exception);
  }
  p.destroy(exception);
  return list;
}

/// The rows of one wrapper class.
template <class W>
class ClassRows {
 public:
  /// `className` is that of the Java objects that it wraps.
  ClassRows(Rows& rows, std::string className) : rows_(rows), className_(std::move(className)) {}

  const std::string& className() const { return className_; }
  Row& add(Row row) {
    rows_.push_back(std::move(row));
    return rows_.back();
  }

  /// The constructor from an object, which stays the caller's.
  void wraps() {
    for (const bool null : {false, true}) {
      add({constructorSymbol<W, ThreadContext&, jobject>(), null ? "null" : "object",
           [this_ = *this, null](Run& run) {
             const jobject given = null ? nullptr : run.object(this_.className_, "given");
             W* made = nullptr;
             run.record([&] { made = new W(run.ctx, given); });
             run.gives(made);
           },
           [null](Prescription& p) { p.result(says::gives(p.wrap(null ? "" : "given"))); }});
    }
  }

  /// The constructor that makes an object of the store, whose codes it gives.
  void creates() {
    Row& row =
        add({constructorSymbol<W, ThreadContext&, jobject, int&, int&>(), "new",
             [](Run& run) {
               const jobject context = run.context();
               int rc = 77;
               int sqlCode = 78;
               W* made = nullptr;
               run.record([&] { made = new W(run.ctx, context, rc, sqlCode); });
               run.codes(rc, sqlCode);
               run.gives(made);
             },
             [name = className_](Prescription& p) {
               int rc = -300;
               int sqlCode = 0;
               Wrapper made;
               const Wrapper exception = p.exceptionObject();
               if (const Ref cls = p.findClass(name); !cls.empty()) {
                 if (exception.live()) made.objectClass = p.newGlobalRef(cls);
                 p.deleteLocalRef(cls);
               }
               if (!made.objectClass.empty() && p.getMethod(made.objectClass, "<init>", storeMethod("", "V"))) {
                 if (const Ref object = p.newObject(made.objectClass, "context", exception.object); !object.empty()) {
                   made.object = p.newGlobalRef(object);
                   p.deleteLocalRef(object);
                   p.outcome(exception, rc, sqlCode);
                 }
               }
               p.destroy(exception);
               p.result(says::codes(rc, sqlCode));
               p.result(says::gives(made));
             }});
    row.reports = true;
  }

  // Properties. The Java name is the operation's, where no other is given.

  void get(const std::string& name, int (W::*getter)(ThreadContext&) const, std::string java = "") {
    number(name, getter, java.empty() ? name : java, "()I", &Prescription::callInt<>);
  }
  void get(const std::string& name, long long (W::*getter)(ThreadContext&) const, std::string java = "") {
    number(name, getter, java.empty() ? name : java, "()J", &Prescription::callLong<>);
  }
  void get(const std::string& name, char* (W::*getter)(ThreadContext&) const, std::string java = "") {
    const std::string method = java.empty() ? name : java;
    for (const Answer& answer : {Answer(Text{"Gr\xC3\xBCn"}), Answer(Text{""}), Answer(Nothing{})}) {
      read(name, getter, method, answer, [method](Prescription& p) {
        const Wrapper target = p.target();
        Ref text;
        if (target.live() && p.getMethod(target.objectClass, method, std::string("()") + kString)) {
          text = p.callObject(target.object, method);
        }
        p.result(says::gives(p.stringFromJava(text)));
      });
    }
  }
  template <class V>
  requires std::is_base_of_v<MDObject, V>
  void get(const std::string& name, V* (W::*getter)(ThreadContext&) const, std::string java = "") {
    const std::string method = java.empty() ? name : java;
    const std::string type = valueType(static_cast<V*>(nullptr));
    for (const Answer& answer : {Answer(Object{valueClass(static_cast<V*>(nullptr))}), Answer(Nothing{})}) {
      read(name, getter, method, answer, [method, type](Prescription& p) {
        const Wrapper target = p.target();
        Ref value;
        if (target.live() && p.getMethod(target.objectClass, method, "()" + type)) {
          value = p.callObject(target.object, method);
        }
        const std::string given = value.empty() ? "null" : p.newWrapper(value);
        if (!value.empty()) p.deleteLocalRef(value);
        p.result(says::gives(given));
      });
    }
  }

  void set(const std::string& name, void (W::*setter)(ThreadContext&, int), std::string java = "") {
    const std::string method = java.empty() ? name : java;
    for (const int value : {0, -7}) {
      write(
          name, setter, std::to_string(value), [value](Run&) { return value; },
          [method, value](Prescription& p) {
            const Wrapper target = p.target();
            if (target.live() && p.getMethod(target.objectClass, method, "(I)V")) {
              p.callVoid(target.object, method, value);
            }
          });
    }
  }
  void set(const std::string& name, void (W::*setter)(ThreadContext&, long long), std::string java = "") {
    const std::string method = java.empty() ? name : java;
    constexpr long long kValue = 0x123456789A;
    write(
        name, setter, "number", [](Run&) { return kValue; },
        [method](Prescription& p) {
          const Wrapper target = p.target();
          if (target.live() && p.getMethod(target.objectClass, method, "(J)V"))
            p.callVoid(target.object, method, kValue);
        });
  }
  void set(const std::string& name, void (W::*setter)(ThreadContext&, const char*), std::string java = "") {
    const std::string method = java.empty() ? name : java;
    for (const char* const value : {"Gr\xFCn", "", static_cast<const char*>(nullptr)}) {
      write(
          name, setter,
          value == nullptr ? "null"
          : *value == '\0' ? "empty"
                           : "text",
          [value](Run&) { return value; },
          [method, value](Prescription& p) {
            const Wrapper target = p.target();
            if (!target.live()) return;
            const Ref text = p.stringToJava(value == nullptr ? "" : value);
            if (p.getMethod(target.objectClass, method, std::string("(") + kString + ")V")) {
              p.callVoid(target.object, method, text);
            }
            if (!text.empty()) p.deleteLocalRef(text);
          });
    }
  }
  template <class V>
  requires std::is_base_of_v<MDObject, V>
  void set(const std::string& name, void (W::*setter)(ThreadContext&, V*), std::string java = "") {
    const std::string method = java.empty() ? name : java;
    for (const bool null : {false, true}) {
      write(
          name, setter, null ? "null" : "value",
          [null](Run& run) {
            return null ? nullptr : &run.template wrapper<V>(valueClass(static_cast<V*>(nullptr)), "value");
          },
          [method, null](Prescription& p) {
            const Wrapper target = p.target();
            const std::string type = valueType(static_cast<V*>(nullptr));
            if (target.live() && p.getMethod(target.objectClass, method, "(" + type + ")V")) {
              p.callVoid(target.object, method, null ? Ref() : Ref("value"));
            }
          });
    }
  }

  /// An operation of the store without a result of its own. `log` is the record of its failure, with `keys` behind the
  /// codes, when it has one; `trace` the identifier of its entry and exit.
  void persists(const std::string& name, int (W::*operation)(ThreadContext&, jobject, int&), const std::string& java) {
    Row& row = add({symbolOf(name, operation), "",
                    [this_ = *this, operation](Run& run) {
                      W& target = run.template target<W>(this_.className_);
                      const jobject context = run.context();
                      int sqlCode = 78;
                      int rc = 77;
                      run.record([&] { rc = (target.*operation)(run.ctx, context, sqlCode); });
                      run.codes(rc, sqlCode);
                    },
                    [java](Prescription& p) {
                      int sqlCode = 0;
                      const int rc = storeVoid(p, p.target(), java, storeMethod("", "V"), sqlCode);
                      p.result(says::codes(rc, sqlCode));
                    }});
    row.reports = true;
    row.states = kEveryState;
  }

 private:
  static std::string valueType(const Blob*) { return "Ljava/sql/Blob;"; }
  static std::string valueType(const Clob*) { return "Ljava/sql/Clob;"; }
  static std::string valueType(const SQLDate*) { return "Ljava/sql/Date;"; }
  static std::string valueType(const SQLTime*) { return "Ljava/sql/Time;"; }
  static std::string valueType(const SCTimestamp*) { return "Ljava/sql/Timestamp;"; }
  static std::string valueClass(const Blob*) { return std::string(kMetadata) + "MDBlob"; }
  static std::string valueClass(const Clob*) { return std::string(kMetadata) + "MDClob"; }
  static std::string valueClass(const SQLDate*) { return "java/sql/Date"; }
  static std::string valueClass(const SQLTime*) { return "java/sql/Time"; }
  static std::string valueClass(const SCTimestamp*) { return "java/sql/Timestamp"; }

  template <class V, class Getter>
  static void say(Run& run, W& target, Getter getter) {
    V value{};
    run.record([&] { value = (target.*getter)(run.ctx); });
    if constexpr (std::is_pointer_v<V>) {
      run.gives(value);
    } else {
      run.answer(value);
    }
  }

  template <class V>
  void read(const std::string& name, V (W::*getter)(ThreadContext&) const, const std::string& method,
            const Answer& answer, std::function<void(Prescription&)> prescribe) {
    Row& row =
        add({symbolOf(name, getter), "of" + std::to_string(answer.index()),
             [this_ = *this, getter](Run& run) { say<V>(run, run.template target<W>(this_.className_), getter); },
             std::move(prescribe)});
    row.answers.add(method, answer);
    row.states = kEveryState;
  }

  template <class N>
  void number(const std::string& name, N (W::*getter)(ThreadContext&) const, const std::string& method,
              const std::string& signature, N (Prescription::*call)(const Ref&, const std::string&)) {
    read(name, getter, method, Answer(41LL << 8 * (sizeof(N) - 4)), [method, signature, call](Prescription& p) {
      const Wrapper target = p.target();
      N value = 0;
      if (target.live() && p.getMethod(target.objectClass, method, signature)) {
        value = (p.*call)(target.object, method);
      }
      p.result(says::answer(value));
    });
  }

  template <class V, class Make>
  void write(const std::string& name, void (W::*setter)(ThreadContext&, V), const std::string& variant, Make make,
             std::function<void(Prescription&)> prescribe) {
    Row& row = add({symbolOf(name, setter), variant,
                    [this_ = *this, setter, make](Run& run) {
                      W& target = run.template target<W>(this_.className_);
                      const V value = make(run);
                      run.record([&] { (target.*setter)(run.ctx, value); });
                    },
                    std::move(prescribe)});
    row.states = kEveryState;
  }

  Rows& rows_;
  std::string className_;
};

}  // namespace mesk::test::ledger
