// ThreadContext, MDObject and PARLException.
#include <mesk/bridge/PARLException.h>
#include <mesk/ledger/Patterns.h>
#include <mesk/ledger/StandardError.h>

namespace mesk::test::ledger {
namespace {

constexpr const char* kAttachError = "Error: cannot attach to current thread!!\n";

/// What every wrapper inherits, with one property of each type.
struct Accessors : MDObject {
  using MDObject::MDObject;

  int readInt(ThreadContext& c) const { return getInt(c, "getTaskType"); }
  long long readLong(ThreadContext& c) const { return getLong(c, "getTaskID"); }
  char* readString(ThreadContext& c) const { return getString(c, "getTaskName"); }
  Blob* readBlob(ThreadContext& c) const { return getBlob(c, "getPassword"); }
  Clob* readClob(ThreadContext& c) const { return getClob(c, "getScriptContent"); }
  SQLDate* readDate(ThreadContext& c) const { return getDate(c, "getStartDate"); }
  SQLTime* readTime(ThreadContext& c) const { return getTime(c, "getStartTime"); }
  SCTimestamp* readTimestamp(ThreadContext& c) const { return getTimestamp(c, "getNextStart"); }
  void writeInt(ThreadContext& c, int value) { setInt(c, "setTaskType", value); }
  void writeLong(ThreadContext& c, long long value) { setLong(c, "setTaskID", value); }
  void writeString(ThreadContext& c, const char* value) { setString(c, "setTaskName", value); }
  void writeBlob(ThreadContext& c, Blob* value) { setBlob(c, "setPassword", value); }
  void writeClob(ThreadContext& c, Clob* value) { setClob(c, "setScriptContent", value); }
  void writeDate(ThreadContext& c, SQLDate* value) { setDate(c, "setStartDate", value); }
  void writeTime(ThreadContext& c, SQLTime* value) { setTime(c, "setStartTime", value); }
  void writeTimestamp(ThreadContext& c, SCTimestamp* value) { setTimestamp(c, "setNextStart", value); }

  /// Setters without the name of a method.
  void writeNothing(ThreadContext& c) {
    setInt(c, nullptr, 1);
    setLong(c, nullptr, 1);
    setString(c, nullptr, "text");
    setBlob(c, nullptr, nullptr);
    setClob(c, nullptr, nullptr);
    setDate(c, nullptr, nullptr);
    setTime(c, nullptr, nullptr);
    setTimestamp(c, nullptr, nullptr);
  }
};

std::string baseSymbol(const std::string& signature) { return "mesk::MDObject::" + signature; }

/// Rows that were made for `Accessors` are those of its base's operation.
template <class AddRows>
void underName(Rows& rows, const std::string& symbol, AddRows addRows) {
  const std::size_t before = rows.size();
  addRows();
  for (std::size_t i = before; i < rows.size(); ++i) rows[i].symbol = baseSymbol(symbol);
}

void addAccessorRows(Rows& rows) {
  ClassRows<Accessors> task(rows, std::string(kMetadata) + "MDTask");
  ClassRows<Accessors> rule(rows, std::string(kMetadata) + "MDScheduleEvent");
  const auto get = [&](const std::string& name, auto& of, auto getter, const std::string& java) {
    underName(rows, name + "(mesk::ThreadContext&, char const*) const", [&] { of.get(name, getter, java); });
  };
  const auto set = [&](const std::string& name, const std::string& type, auto& of, auto setter,
                       const std::string& java) {
    underName(rows, name + "(mesk::ThreadContext&, char const*, " + type + ")", [&] { of.set(name, setter, java); });
  };
  get("getInt", task, &Accessors::readInt, "getTaskType");
  get("getLong", task, &Accessors::readLong, "getTaskID");
  get("getString", task, &Accessors::readString, "getTaskName");
  get("getBlob", task, &Accessors::readBlob, "getPassword");
  get("getClob", task, &Accessors::readClob, "getScriptContent");
  get("getDate", rule, &Accessors::readDate, "getStartDate");
  get("getTime", rule, &Accessors::readTime, "getStartTime");
  get("getTimestamp", task, &Accessors::readTimestamp, "getNextStart");
  set("setInt", "int", task, &Accessors::writeInt, "setTaskType");
  set("setLong", "long long", task, &Accessors::writeLong, "setTaskID");
  set("setString", "char const*", task, &Accessors::writeString, "setTaskName");
  set("setBlob", "mesk::Blob*", task, &Accessors::writeBlob, "setPassword");
  set("setClob", "mesk::Clob*", task, &Accessors::writeClob, "setScriptContent");
  set("setDate", "mesk::SQLDate*", rule, &Accessors::writeDate, "setStartDate");
  set("setTime", "mesk::SQLTime*", rule, &Accessors::writeTime, "setStartTime");
  set("setTimestamp", "mesk::SCTimestamp*", task, &Accessors::writeTimestamp, "setNextStart");
  rows.push_back({baseSymbol("setInt(mesk::ThreadContext&, char const*, int)"), "all setters without a method",
                  [](Run& run) {
                    auto& target = run.target<Accessors>(std::string(kMetadata) + "MDTask");
                    run.record([&] { target.writeNothing(run.ctx); });
                  },
                  [](Prescription& /*p*/) {}});
}

void addBaseRows(Rows& rows) {
  ClassRows<MDObject> base(rows, std::string(kMetadata) + "MDTask");
  base.wraps();

  for (const State state : kEveryState) {
    Row& row = base.add({baseSymbol("~MDObject()"), "state " + std::to_string(static_cast<int>(state)),
                         [](Run& run) {
                           MDObject* const doomed = run.released<MDObject>(std::string(kMetadata) + "MDTask");
                           const StandardError error;
                           run.record([&] { delete doomed; });
                           run.say("error stream " + quoted(error.text()));
                         },
                         [](Prescription& p) {
                           const Wrapper target = p.target();
                           const bool attached = p.attach();
                           if (attached && !target.object.empty()) p.deleteGlobalRef(target.object);
                           if (attached && !target.objectClass.empty()) p.deleteGlobalRef(target.objectClass);
                           p.result("error stream " + quoted(attached ? "" : kAttachError));
                         }});
    row.states = {state};
    row.attachFails = true;
  }

  for (const bool null : {false, true}) {
    Row& row = base.add({symbolOf("clone", &MDObject::clone), null ? "null" : "object",
                         [](Run& run) {
                           auto& target = run.target<MDObject>(std::string(kMetadata) + "MDTask");
                           jobject made = nullptr;
                           run.record([&] { made = target.clone(run.ctx); });
                           run.givesLocal(made);
                         },
                         [](Prescription& p) {
                           const Wrapper target = p.target();
                           Ref made;
                           if (target.live() && p.getMethod(target.objectClass, "clone", "()Ljava/lang/Object;")) {
                             made = p.callObject(target.object, "clone");
                           }
                           p.result(says::givesReference(made));
                         }});
    if (!null) row.answers.add("clone", Object{std::string(kMetadata) + "MDTask"});
    row.states = kEveryState;
  }

  for (const char* const utf8 : {"Gr\xC3\xBCn", "x", "", static_cast<const char*>(nullptr)}) {
    base.add({staticSymbol<MDObject>("jStringToString", &MDObject::jStringToString),
              utf8 == nullptr ? "null" : "of" + std::to_string(std::string(utf8).size()),
              [utf8](Run& run) {
                const jstring given = utf8 == nullptr ? nullptr : run.text(utf8, "given");
                char* made = nullptr;
                run.record([&] { made = MDObject::jStringToString(run.ctx, given); });
                run.gives(made);
              },
              [utf8](Prescription& p) {
                if (utf8 != nullptr) p.know("given", utf8);
                p.result(says::gives(p.stringFromJava(utf8 == nullptr ? "" : "given")));
              }});
  }
  for (const char* const native : {"Gr\xFCn", "x", "", static_cast<const char*>(nullptr)}) {
    base.add({staticSymbol<MDObject>("stringTojString", &MDObject::stringTojString),
              native == nullptr ? "null" : "of" + std::to_string(std::string(native).size()),
              [native](Run& run) {
                jstring made = nullptr;
                run.record([&] { made = MDObject::stringTojString(run.ctx, native); });
                run.givesLocal(made);
              },
              [native](Prescription& p) {
                p.result(says::givesReference(p.stringToJava(native == nullptr ? "" : native)));
              }});
  }
}

void addExceptionRows(Rows& rows) {
  ClassRows<PARLException> exception(rows, kExceptionClass);
  exception.wraps();
  exception.add({constructorSymbol<PARLException, ThreadContext&>(), "new",
                 [](Run& run) {
                   PARLException* made = nullptr;
                   run.record([&] { made = new PARLException(run.ctx); });
                   run.gives(made);
                 },
                 [](Prescription& p) { p.result(says::gives(p.exceptionObject())); }});

  const auto asks = [&](const std::string& symbol, auto question, auto prescribe) {
    Row& row = exception.add({symbol, "",
                              [question](Run& run) {
                                auto& target = run.target<PARLException>(kExceptionClass);
                                int answer = 77;
                                run.record([&] { answer = (target.*question)(run.ctx); });
                                run.answer(answer);
                              },
                              [prescribe](Prescription& p) { p.result(says::answer(prescribe(p))); }});
    row.states = kEveryState;
    row.reports = true;
  };
  asks(symbolOf("getRC", &PARLException::getRC), &PARLException::getRC,
       [](Prescription& p) { return p.returnCode(p.target()); });
  asks(symbolOf("isOK", &PARLException::isOK), &PARLException::isOK,
       [](Prescription& p) { return p.returnCode(p.target()) == 0 ? 1 : 0; });
  asks(symbolOf("getSQLCode", &PARLException::getSQLCode), &PARLException::getSQLCode,
       [](Prescription& p) { return p.nestedCode(p.target()); });
  asks(symbolOf("getSQLState", &PARLException::getSQLState), &PARLException::getSQLState,
       [](Prescription& p) { return p.nestedCode(p.target(), "getNestedIntSQLState"); });
}

/// What a context holds afterwards, and what stands on the error stream.
std::string held(bool vm, bool env, int attached, const std::string& error) {
  return std::string(vm ? "jvm " : "no jvm ") + (env ? "env " : "no env ") + std::to_string(attached) + " " +
         quoted(error);
}

void addContextRows(Rows& rows) {
  const auto add = [&](const std::string& symbol, const std::string& variant, auto make, auto prescribe) {
    Row row{symbol, variant,
            [make](Run& run) {
              ThreadContext* made = nullptr;
              const StandardError error;
              run.record([&] { made = make(run.ctx); });
              run.say(held(made->jvm == run.ctx.jvm, made->env == run.ctx.env, made->attached, error.text()));
              delete made;
            },
            prescribe};
    row.attachFails = true;
    rows.push_back(std::move(row));
  };
  const auto attaches = [](bool says) {
    return [says](Prescription& p) {
      const bool done = p.attach();
      p.result(held(true, done, done ? 1 : 0, done || !says ? "" : kAttachError));
    };
  };
  add(
      constructorSymbol<ThreadContext>(), "", [](ThreadContext& /*c*/) { return new ThreadContext(); }, attaches(true));
  add(
      constructorSymbol<ThreadContext, JavaVM*>(), "jvm", [](ThreadContext& c) { return new ThreadContext(c.jvm); },
      attaches(true));
  add(
      constructorSymbol<ThreadContext, JavaVM*>(), "null",
      [](ThreadContext& /*c*/) { return new ThreadContext(static_cast<JavaVM*>(nullptr)); },
      [](Prescription& p) { p.result(held(false, false, 0, kAttachError)); });
  add(
      constructorSymbol<ThreadContext, JNIEnv*>(), "", [](ThreadContext& c) { return new ThreadContext(c.env); },
      [](Prescription& p) { p.result(held(false, true, 0, "")); });
  add(
      constructorSymbol<ThreadContext, JavaVM*, JNIEnv*>(), "",
      [](ThreadContext& c) { return new ThreadContext(c.jvm, c.env); },
      [](Prescription& p) { p.result(held(true, true, 0, "")); });
  add(
      symbolOf("attach", &ThreadContext::attach), "",
      [](ThreadContext& /*c*/) {
        auto* const made = new ThreadContext(nullptr, nullptr);
        made->attach();
        return made;
      },
      attaches(false));
  add(
      symbolOf("setEnv", &ThreadContext::setEnv), "",
      [](ThreadContext& c) {
        auto* const made = new ThreadContext(nullptr, nullptr);
        made->setEnv(c.env);
        return made;
      },
      [](Prescription& p) { p.result(held(false, true, 0, "")); });
  add(
      symbolOf("destroy", &ThreadContext::destroy), "of a thread that it attached, twice",
      [](ThreadContext& /*c*/) {
        auto* const made = new ThreadContext();
        made->destroy();
        made->destroy();
        return made;
      },
      [](Prescription& p) {
        const bool done = p.attach();
        if (done) p.line("DetachCurrentThread");
        if (done) p.line("DetachCurrentThread");
        p.result(held(true, done, done ? 1 : 0, done ? "" : kAttachError));
      });
  add(
      symbolOf("destroy", &ThreadContext::destroy), "of a thread that was attached before",
      [](ThreadContext& c) {
        auto* const made = new ThreadContext(c.jvm, c.env);
        made->destroy();
        return made;
      },
      [](Prescription& p) { p.result(held(true, true, 0, "")); });
}

}  // namespace

void addBridgeRows(Rows& rows) {
  addContextRows(rows);
  addBaseRows(rows);
  addAccessorRows(rows);
  addExceptionRows(rows);
}

}  // namespace mesk::test::ledger
