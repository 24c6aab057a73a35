// Rows that many classes have in the same shape.
#pragma once

#include <mesk/ledger/Row.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Latch.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace mesk::test::ledger {

// What operations on the store have to do, with the calls said by name.

/// One call of a store method, from the exception object's making to its end; `call` says the call itself, when the
/// method can be reached.
template <class Call>
int storeCall(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
              int& sqlCode, Call call) {
  int rc = -300;
  sqlCode = 0;
  const Wrapper exception = p.exceptionObject();
  if (target.live() && exception.live() && p.getMethod(target.objectClass, method, signature)) {
    call(exception);
    p.outcome(exception, rc, sqlCode);
  }
  p.destroy(exception);
  return rc;
}

/// One that answers nothing. `arguments` stand between the context and the exception object.
template <class... A>
int storeVoid(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
              int& sqlCode, A... arguments) {
  return storeCall(p, target, method, signature, sqlCode, [&](const Wrapper& exception) {
    p.callVoid(target.object, method, "context", arguments..., exception.object);
  });
}

/// A property, as the wrapper's accessor asks for it.
int intProperty(Prescription& p, const Wrapper& target, const std::string& method);
long long longProperty(Prescription& p, const Wrapper& target, const std::string& method);
/// A text as the caller gets it: in quotes, or "null".
std::string textProperty(Prescription& p, const Wrapper& target, const std::string& method);
/// A new wrapper of a value, dead when it was refused its references; none when there is none to be had.
std::optional<Wrapper> objectProperty(Prescription& p, const Wrapper& target, const std::string& method,
                                      const std::string& type);

// The same for setters.
void setIntProperty(Prescription& p, const Wrapper& target, const std::string& method, int value);
void setLongProperty(Prescription& p, const Wrapper& target, const std::string& method, long long value);
void setTextProperty(Prescription& p, const Wrapper& target, const std::string& method, const std::string& native);
void setObjectProperty(Prescription& p, const Wrapper& target, const std::string& method, const std::string& type,
                       const Ref& value);

/// What an operation writes, beside its calls: the trace of its entry and exit, and the log of its failure with the
/// codes and, behind them, what the getters of `keys` answer.
struct Records {
  std::uint32_t log = 0;
  std::uint32_t trace = 0;
  std::vector<std::string> keys = {};
  bool logsBeforeTheEnd = false;  ///< of the exception object
};
void logFailure(Prescription& p, const Wrapper& target, const Records& records, int rc, int sqlCode);

/// The user or group of a name, which is ASCII or null.
Wrapper principalOf(Prescription& p, const std::string& simpleClass, const char* name);

/// A new object of the store.
Wrapper createdBy(Prescription& p, const std::string& className, int& rc, int& sqlCode);

/// An object of a class of Java's own, made by its constructor with `arguments`.
template <class... A>
Wrapper newObjectOf(Prescription& p, const std::string& className, const std::string& signature, A... arguments) {
  Wrapper made;
  const Ref cls = p.findClass(className);
  if (cls.empty()) return made;
  made.objectClass = p.newGlobalRef(cls);
  p.deleteLocalRef(cls);
  if (made.objectClass.empty() || !p.getMethod(made.objectClass, "<init>", signature)) return made;
  const Ref object = p.newObject(made.objectClass, arguments...);
  if (object.empty()) return made;
  made.object = p.newGlobalRef(object);
  p.deleteLocalRef(object);
  return made;
}

/// A formatter of that pattern, a date's text in it as the caller gets it, and the milliseconds of a text.
Wrapper newFormat(Prescription& p, const std::string& pattern);
std::string formatted(Prescription& p, const Wrapper& format, const Wrapper& date);
long long parsed(Prescription& p, const Wrapper& format, const std::string& native);

/// "rollback" of the session and its like, within the exception object's life.
void callSession(Prescription& p, const Wrapper& exception, const std::string& method, int& rc, int& sqlCode);
int committed(Prescription& p, int& sqlCode);

/// What a list operation gives: its lines, from the collection on.
struct Listed {
  int rc = -300;
  int sqlCode = 0;
  std::string gives = says::givesNoList();
};

/// The size of a wrapper, without fields of its own.
template <class W>
inline constexpr std::size_t kWrapperBytes = 16;

/// An element of a list in what the caller gets.
using MakeElement = std::string (*)(Prescription&, const Ref&);
template <class W>
std::string wrapElementOf(Prescription& p, const Ref& element) {
  const std::string made = p.newWrapper(element, kWrapperBytes<W>);
  if (!element.empty()) p.deleteLocalRef(element);
  return made;
}
inline std::string wrapElement(Prescription& p, const Ref& element) { return wrapElementOf<MDObject>(p, element); }
std::string textElement(Prescription& p, const Ref& element);

/// The elements of a collection, fetched by `size` and `get`; consumes it. Nothing when there is no array for them;
/// then `fewer` is 0, or what Java said when that is less.
template <class Make>
auto elementsOf(Prescription& p, const Ref& collection, Make make, int* fewer = nullptr) {
  std::optional<std::vector<decltype(make(p, collection))>> items;
  if (const Ref cls = p.getObjectClass(collection); !cls.empty()) {
    if (p.getMethod(cls, "size", "()I") && p.getMethod(cls, "get", "(I)Ljava/lang/Object;")) {
      const int count = p.callInt(collection, "size");
      if (fewer != nullptr && count < 0) *fewer = count;
      if (count >= 1 && p.allocate(static_cast<std::size_t>(count) * sizeof(void*))) {
        items.emplace();
        for (int i = 0; i < count; ++i) items->push_back(make(p, p.callObject(collection, "get", i)));
      }
    }
    p.deleteLocalRef(cls);
  }
  p.deleteLocalRef(collection);
  return items;
}

/// As `elementsOf`, in what the caller gets.
std::string collectionElements(Prescription& p, const Ref& collection, MakeElement make);
/// The same, through `toArray`.
std::string arrayElements(Prescription& p, const Ref& collection, MakeElement make);

/// A list of the store: `emptyCode` becomes 0. `read` consumes the collection.
template <class Read, class... A>
int storeCollection(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
                    int emptyCode, int& sqlCode, Read read, A... arguments) {
  int rc = -300;
  sqlCode = 0;
  const Wrapper exception = p.exceptionObject();
  if (target.live() && exception.live() && p.getMethod(target.objectClass, method, signature)) {
    const Ref collection = p.callObject(target.object, method, "context", arguments..., exception.object);
    rc = p.returnCode(exception);
    if (!collection.empty()) {
      if (rc == 0) {
        read(collection);
      } else {
        p.deleteLocalRef(collection);
      }
    }
    if (rc == emptyCode) rc = 0;
    if (rc != 0) sqlCode = p.nestedCode(exception);
  }
  p.destroy(exception);
  return rc;
}

/// The same, in what the caller gets.
using ReadElements = std::string (*)(Prescription&, const Ref&, MakeElement);
template <class... A>
Listed storeList(Prescription& p, const Wrapper& target, const std::string& method, const std::string& signature,
                 ReadElements elements, MakeElement make, int emptyCode, A... arguments) {
  Listed list;
  list.rc = storeCollection(
      p, target, method, signature, emptyCode, list.sqlCode,
      [&](const Ref& collection) { list.gives = elements(p, collection, make); }, arguments...);
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

  /// The constructor from two objects, of which it wraps the second, or the first, and ignores the other.
  void wrapsSecond() { wrapsOneOfTwo(true); }
  void wrapsFirst() { wrapsOneOfTwo(false); }

  /// The constructor that makes an object of the store, whose codes it gives, and on success sets the `defaults`.
  void creates(void (*defaults)(Prescription&, const Wrapper&) = nullptr) {
    Row& row = add({constructorSymbol<W, ThreadContext&, jobject, int&, int&>(), "new",
                    [](Run& run) {
                      const jobject context = run.context();
                      int rc = 77;
                      int sqlCode = 78;
                      W* made = nullptr;
                      run.record([&] { made = new W(run.ctx, context, rc, sqlCode); });
                      run.codes(rc, sqlCode);
                      run.gives(made);
                    },
                    [name = className_, defaults](Prescription& p) {
                      int rc = 0;
                      int sqlCode = 0;
                      const Wrapper made = createdBy(p, name, rc, sqlCode);
                      if (rc == 0 && defaults != nullptr) defaults(p, made);
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

  /// An operation of the store without a result of its own.
  void persists(const std::string& name, int (W::*operation)(ThreadContext&, jobject, int&), const std::string& java,
                const Records& records = {}) {
    Row& row =
        add({symbolOf(name, operation), "",
             [this_ = *this, operation](Run& run) {
               W& target = run.template target<W>(this_.className_);
               const jobject context = run.context();
               int sqlCode = 78;
               int rc = 77;
               run.record([&] { rc = (target.*operation)(run.ctx, context, sqlCode); });
               run.codes(rc, sqlCode);
             },
             [java, records](Prescription& p) {
               if (records.trace != 0) p.traceEntry(records.trace);
               const Wrapper target = p.target();
               int rc = -300;
               int sqlCode = 0;
               const Wrapper exception = p.exceptionObject();
               if (target.live() && exception.live() && p.getMethod(target.objectClass, java, storeMethod("", "V"))) {
                 p.callVoid(target.object, java, "context", exception.object);
                 p.outcome(exception, rc, sqlCode);
               }
               if (records.logsBeforeTheEnd) logFailure(p, target, records, rc, sqlCode);
               p.destroy(exception);
               if (!records.logsBeforeTheEnd) logFailure(p, target, records, rc, sqlCode);
               if (records.trace != 0) p.traceExit(records.trace, rc);
               p.result(says::codes(rc, sqlCode));
             }});
    long long key = 0x1234500000001;
    for (const std::string& getter : records.keys) row.answers.add(getter, key++);
    row.reports = true;
    row.states = kEveryState;
  }

  /// The three of the entity pattern.
  void persistsAll(const Records& insert = {}, const Records& update = {}, const Records& deleteIt = {}) {
    persists("insert", &W::insert, "insert", insert);
    persists("update", &W::update, "update", update);
    persists("deleteIt", &W::deleteIt, "delete", deleteIt);
  }

  /// `getReferenceID`.
  void handsOutKeys() {
    Row& row = add({symbolOf("getReferenceID", &W::getReferenceID), "",
                    [this_ = *this](Run& run) {
                      W& target = run.template target<W>(this_.className_);
                      const jobject context = run.context();
                      int rc = 77;
                      int sqlCode = 78;
                      long long key = 79;
                      run.record([&] { key = target.getReferenceID(run.ctx, context, rc, sqlCode); });
                      run.codes(rc, sqlCode);
                      run.answer(key);
                    },
                    [](Prescription& p) {
                      const Wrapper target = p.target();
                      long long key = 0;
                      int sqlCode = 0;
                      const int rc = storeCall(
                          p, target, "getReferenceID", storeMethod("", "J"), sqlCode, [&](const Wrapper& exception) {
                            key = p.callLong(target.object, "getReferenceID", "context", exception.object);
                          });
                      p.result(says::codes(rc, sqlCode));
                      p.result(says::answer(key));
                    }});
    row.answers.add("getReferenceID", 0x123456789ALL);
    row.reports = true;
    row.states = kEveryState;
  }

  /// An operation with a record of `itemClass`, which must be live when it is `checked`, and else goes to Java as it
  /// is.
  template <class V>
  void relates(const std::string& name, int (W::*operation)(ThreadContext&, jobject, V&, int&),
               const std::string& itemClass, bool checked, std::string java = "") {
    const std::string method = java.empty() ? name : java;
    for (const State state : kEveryState) {
      Row& row = add({symbolOf(name, operation), nameOfState(state),
                      [this_ = *this, operation, itemClass, state](Run& run) {
                        W& target = run.template target<W>(this_.className_);
                        V& item = run.template wrapper<V>(kMetadata + itemClass, "item", state);
                        const jobject context = run.context();
                        int sqlCode = 78;
                        int rc = 77;
                        run.record([&] { rc = (target.*operation)(run.ctx, context, item, sqlCode); });
                        run.codes(rc, sqlCode);
                      },
                      [method, itemClass, checked, state](Prescription& p) {
                        const Wrapper item = wrapperIn(state, "item");
                        const Wrapper target = !checked || item.live() ? p.target() : Wrapper();
                        int sqlCode = 0;
                        const int rc =
                            storeVoid(p, target, method, storeMethod("L" + (kMetadata + itemClass) + ";", "V"), sqlCode,
                                      item.object);
                        p.result(says::codes(rc, sqlCode));
                      }});
      row.reports = true;
      if (state == State::live) row.states = kEveryState;
    }
  }

  /// A list of `E`, with `keys` behind the context; `elementClass` is that of the Java elements, empty for texts.
  template <class E, class... A>
  void lists(const std::string& name,
             std::type_identity_t<int (W::*)(ThreadContext&, jobject, A..., E**&, int&, int&)> operation,
             const std::string& elementClass, int emptyCode, ReadElements elements = collectionElements,
             const Records& records = {}, A... keys) {
    const bool texts = elementClass.empty();
    const std::string element = kMetadata + elementClass;
    const Answer some = texts ? Answer(Text{"Gr\xC3\xBCn"}) : Answer(Object{element});
    const Answer empty = texts ? Answer(Text{""}) : Answer(Object{element});
    for (const std::string variant : {"some", "none", "no array", "null"}) {
      if (variant == "no array" && elements != arrayElements) continue;
      Row& row = add({symbolOf(name, operation), variant,
                      [this_ = *this, operation, keys...](Run& run) {
                        W& target = run.template target<W>(this_.className_);
                        const jobject context = run.context();
                        E* nothing = nullptr;
                        E** items = &nothing;
                        int count = 76;
                        int rc = 77;
                        int sqlCode = 78;
                        run.record([&] { rc = (target.*operation)(run.ctx, context, keys..., items, count, sqlCode); });
                        run.codes(rc, sqlCode);
                        run.givesList(items, count);
                      },
                      [name, elements, texts, emptyCode, records, keys...](Prescription& p) {
                        if (records.trace != 0) p.traceEntry(records.trace);
                        const Listed list =
                            storeList(p, p.target(), name, storeMethod(javaTypes<A...>(), kCollection), elements,
                                      MakeElement(texts ? textElement : wrapElementOf<E>), emptyCode, keys...);
                        logFailure(p, p.target(), records, list.rc, list.sqlCode);
                        if (records.trace != 0) p.traceExit(records.trace, list.rc);
                        p.result(says::codes(list.rc, list.sqlCode));
                        p.result(list.gives);
                      }});
      if (variant != "null") row.answers.add(name, Object{"java/util/ArrayList"});
      row.answers.add("size", variant == "some" ? 4LL : 0LL);
      for (const Answer& answer : {some, Answer(Nothing{}), empty, some}) row.answers.add("get", answer);
      row.answers.add("toArray", variant == "some"   ? Answer(Array{{element, "", element}})
                                 : variant == "none" ? Answer(Array{})
                                                     : Answer(Nothing{}));
      row.reports = true;
      if (variant == "some") row.states = kEveryState;
    }
  }

  /// A record by its key; null beside a code that is not 0, or what Java answered when it `answersAnyway`.
  template <class... A>
  void retrieves(const std::string& name,
                 std::type_identity_t<jobject (W::*)(ThreadContext&, jobject, A..., int&, int&)> operation,
                 const std::string& recordClass, bool answersAnyway, const Records& records, A... keys) {
    const std::string record = kMetadata + recordClass;
    for (const bool found : {true, false}) {
      Row& row = add({symbolOf(name, operation), found ? "found" : "null",
                      [this_ = *this, operation, keys...](Run& run) {
                        W& target = run.template target<W>(this_.className_);
                        const jobject context = run.context();
                        int rc = 77;
                        int sqlCode = 78;
                        jobject result = context;
                        run.record([&] { result = (target.*operation)(run.ctx, context, keys..., rc, sqlCode); });
                        run.codes(rc, sqlCode);
                        run.givesLocal(result);
                      },
                      [name, record, answersAnyway, records, keys...](Prescription& p) {
                        int rc = 0;
                        int sqlCode = 0;
                        const Ref result = retrieved(p, p.target(), name, record, answersAnyway, rc, sqlCode, keys...);
                        logKeys(p, records, rc, sqlCode, keys...);
                        p.result(says::codes(rc, sqlCode));
                        p.result(says::givesReference(result));
                      }});
      if (found) row.answers.add(name, Object{record});
      row.reports = true;
      row.states = kEveryState;
    }
  }

  /// What `retrieves` prescribes of the call.
  template <class... A>
  static Ref retrieved(Prescription& p, const Wrapper& home, const std::string& method, const std::string& record,
                       bool answersAnyway, int& rc, int& sqlCode, A... keys) {
    Ref result;
    rc = storeCall(p, home, method, storeMethod(javaTypes<A...>(), "L" + record + ";"), sqlCode,
                   [&](const Wrapper& exception) {
                     result = p.callObject(home.object, method, "context", keys..., exception.object);
                   });
    if (rc != 0 && !answersAnyway && !result.empty()) {
      p.deleteLocalRef(result);
      result.clear();
    }
    return result;
  }

  static void logKeys(Prescription& /*p*/, const Records& /*records*/, int /*rc*/, int /*sqlCode*/) {}
  /// A record of failure whose third item is the first key.
  template <class... A>
  static void logKeys(Prescription& p, const Records& records, int rc, int sqlCode, long long key, A...) {
    if (records.log != 0 && rc != 0) {
      p.log(records.log, 10, {integer(rc), integer(sqlCode), integer(static_cast<std::int32_t>(key))});
    }
  }

  /// Deletes a record by its key.
  template <class... A>
  void deletes(std::type_identity_t<int (W::*)(ThreadContext&, jobject, A..., int&)> operation, A... keys) {
    Row& row = add({symbolOf("deleteIt", operation), "by key",
                    [this_ = *this, operation, keys...](Run& run) {
                      W& target = run.template target<W>(this_.className_);
                      const jobject context = run.context();
                      int sqlCode = 78;
                      int rc = 77;
                      run.record([&] { rc = (target.*operation)(run.ctx, context, keys..., sqlCode); });
                      run.codes(rc, sqlCode);
                    },
                    [keys...](Prescription& p) {
                      int sqlCode = 0;
                      const int rc =
                          storeVoid(p, p.target(), "delete", storeMethod(javaTypes<A...>(), "V"), sqlCode, keys...);
                      p.result(says::codes(rc, sqlCode));
                    }});
    row.reports = true;
    row.states = kEveryState;
  }

  // Rights of a user or a group, whose simple Java class is `principal`.

  template <class P>
  void asks(const std::string& name, int (W::*question)(ThreadContext&, jobject, P&, int&, int&),
            const std::string& principal) {
    for (const State state : kEveryState) {
      for (const long long yes : {1LL, 0LL}) {
        Row& row = add({symbolOf(name, question), std::string(nameOfState(state)) + (yes != 0 ? " yes" : " no"),
                        [this_ = *this, question, principal, state](Run& run) {
                          W& target = run.template target<W>(this_.className_);
                          P& who = run.template wrapper<P>(kMetadata + principal, "who", state);
                          const jobject context = run.context();
                          int rc = 77;
                          int sqlCode = 78;
                          int answer = 79;
                          run.record([&] { answer = (target.*question)(run.ctx, context, who, rc, sqlCode); });
                          run.codes(rc, sqlCode);
                          run.answer(answer);
                        },
                        [name, principal, state](Prescription& p) {
                          const Wrapper who = wrapperIn(state, "who");
                          const Wrapper target = who.live() ? p.target() : Wrapper();
                          bool answered = false;
                          int sqlCode = 0;
                          const int rc = storeCall(
                              p, target, name, storeMethod("L" + (kMetadata + principal) + ";", "Z"), sqlCode,
                              [&](const Wrapper& exception) {
                                answered = p.callBoolean(target.object, name, "context", who.object, exception.object);
                              });
                          p.result(says::codes(rc, sqlCode));
                          p.result(says::answer(rc == 0 && answered ? 1 : 0));
                        }});
        row.answers.add(name, yes);
        row.reports = true;
        if (state == State::live) row.states = kEveryState;
      }
    }
  }

  /// The right goes to Java by the low byte of a number.
  template <class P>
  void grants(const std::string& name, int (W::*change)(ThreadContext&, jobject, P&, int, int&),
              const std::string& principal) {
    const std::pair<int, const char*> values[] = {{1, "true"}, {0, "false"}, {256, "false"}, {2, "neither"}};
    for (const State state : kEveryState) {
      for (const auto& [allowed, shown] : values) {
        Row& row = add({symbolOf(name, change), nameOfState(state) + std::to_string(allowed),
                        [this_ = *this, change, principal, state, value = allowed](Run& run) {
                          W& target = run.template target<W>(this_.className_);
                          P& who = run.template wrapper<P>(kMetadata + principal, "who", state);
                          const jobject context = run.context();
                          int sqlCode = 78;
                          int rc = 77;
                          run.record([&] { rc = (target.*change)(run.ctx, context, who, value, sqlCode); });
                          run.codes(rc, sqlCode);
                        },
                        [name, principal, state, byte = shown](Prescription& p) {
                          const Wrapper who = wrapperIn(state, "who");
                          int sqlCode = 0;
                          const int rc = storeVoid(p, who.live() ? p.target() : Wrapper(), name,
                                                   storeMethod("L" + (kMetadata + principal) + ";Z", "V"), sqlCode,
                                                   who.object, byte);
                          p.result(says::codes(rc, sqlCode));
                        }});
        row.reports = true;
        if (state == State::live) row.states = kEveryState;
      }
    }
  }

  /// The class-wide latch. `latch` is where the class keeps it.
  template <class... A>
  void locks(OSSLatch*& latch, void (*lockAll)(A...), void (*unlockAll)(A...), void (*freeLock)()) {
    for (const bool made : {false, true}) {
      const std::string variant = made ? "made before" : "first use";
      // The latch that the operation makes has no name yet.
      const std::string shown = made ? "latch" : "?";
      const auto with = [&latch, made](auto operation) {
        return [&latch, made, operation](Run& run) {
          if (made) {
            latch = new OSSLatch(0);
            run.knowLatch(latch);
          }
          run.record(operation);
          run.say(latch == nullptr ? "no latch" : *latch == 0 ? "free" : "held");
          delete std::exchange(latch, nullptr);
        };
      };
      add({staticSymbol<W>("lockAll", lockAll), variant, with([lockAll] { lockAll(A('x')...); }),
           [shown](Prescription& p) {
             p.line("ossWin32Lock8ExchangeInternal " + shown);
             p.result("held");
           }});
      add({staticSymbol<W>("unlockAll", unlockAll), variant, with([unlockAll] { unlockAll(A('x')...); }),
           [shown](Prescription& p) {
             p.line("ossWin32Lock8ReleaseInternal " + shown);
             p.result("free");
           }});
      add({staticSymbol<W>("freeLock", freeLock), variant, with(freeLock), [made](Prescription& p) {
             if (made) p.line("delete latch");
             p.result("no latch");
           }});
    }
    add({staticSymbol<W>("lockAll", lockAll), "held by another",
         [&latch, lockAll](Run& run) {
           latch = new OSSLatch(1);
           run.knowLatch(latch);
           run.record([lockAll] { lockAll(A('y')...); });
           delete std::exchange(latch, nullptr);
         },
         [](Prescription& p) {
           p.line("ossWin32Lock8ExchangeInternal latch held");
           p.line("ossLockGetConflict latch");
         }});
  }

 private:
  void wrapsOneOfTwo(bool second) {
    for (const char* const null : {"neither", "wrapped", "ignored"}) {
      const bool given = *null != 'w';
      add({constructorSymbol<W, ThreadContext&, jobject, jobject>(), std::string("null is ") + null,
           [this_ = *this, second, null, given](Run& run) {
             const jobject wrapped = given ? run.object(this_.className_, "given") : nullptr;
             const jobject ignored = *null != 'i' ? run.object(this_.className_, "ignored") : nullptr;
             W* made = nullptr;
             run.record([&] { made = second ? new W(run.ctx, ignored, wrapped) : new W(run.ctx, wrapped, ignored); });
             run.gives(made);
           },
           [given](Prescription& p) { p.result(says::gives(p.wrap(given ? "given" : ""))); }});
    }
  }

  template <class... A>
  static std::string javaTypes() {
    std::string types;
    ((types += std::is_same_v<A, long long> ? 'J' : 'I'), ...);
    return types;
  }

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
