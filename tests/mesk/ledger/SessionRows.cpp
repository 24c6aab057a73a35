// The session with the store; users and groups.
#include <mesk/ledger/Patterns.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/session/MDUtility.h>

#include <array>

namespace mesk::test::ledger {
namespace {

const std::string kUtility = std::string(kMetadata) + "MDUtility";
const std::string kPool = "com/orvik/kelvo/tools/conn/ConnectionPoolManager";

constexpr std::uint32_t kConnect = 451412397;
constexpr std::uint32_t kDisconnect = 451412398;
constexpr std::uint32_t kMarked = 451412400;
constexpr std::uint32_t kUnmarked = 451412401;

using Four = std::array<const char*, 4>;

std::string orEmpty(const char* text) { return text == nullptr ? "" : text; }
std::string orNull(const char* text) { return orEmpty(text).empty() ? "NULL" : text; }

struct Connected {
  Ref context;
  int rc = -300;
  int sqlCode = 0;
  int sqlState = 0;
};

Connected connect(Prescription& p, const Four& strings, bool withState) {
  Connected c;
  const std::uint32_t form = withState ? 100 : 0;
  const Wrapper exception = p.exceptionObject();
  p.traceEntry(kConnect);
  if (exception.live()) {
    if (const Ref cls = p.findClass(kUtility); !cls.empty()) {
      std::array<Ref, 4> texts;
      for (std::size_t i = 0; i < texts.size(); ++i) texts[i] = p.stringToJava(orEmpty(strings[i]));
      if (const Ref pool = p.findClass(kPool); !pool.empty()) {
        if (p.getStaticMethod(pool, "setDefaultPoolSize", "(I)V")) p.callStaticVoid(pool, "setDefaultPoolSize", 0);
        p.deleteLocalRef(pool);
      }
      const std::string signature =
          std::string("(") + kString + kString + kString + kString + kException + ")" + kContext;
      if (p.getStaticMethod(cls, "connectMD", signature)) {
        const Ref local =
            p.callStaticObject(cls, "connectMD", texts[0], texts[1], texts[2], texts[3], exception.object);
        c.rc = p.returnCode(exception);
        if (c.rc != 0) {
          c.sqlCode = p.nestedCode(exception);
          if (withState) c.sqlState = p.nestedCode(exception, "getNestedIntSQLState");
          p.traceError(kConnect, form + 20, c.rc);
          p.traceError(kConnect, form + 30, c.sqlCode);
          if (withState) p.traceError(kConnect, form + 35, c.sqlState);
        }
        if (!local.empty()) {
          c.context = p.newGlobalRef(local);
          p.deleteLocalRef(local);
        }
      } else {
        p.traceError(kConnect, 10, c.rc);
      }
      for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
        if (!text->empty()) p.deleteLocalRef(*text);
      }
      p.deleteLocalRef(cls);
    }
  }
  if (c.rc != 0 || c.sqlCode != 0 || c.context.empty()) {
    std::vector<Item> items = {integer(c.rc), integer(c.sqlCode)};
    if (withState) items.push_back(integer(c.sqlState));
    for (std::size_t i = 0; i < 3; ++i) items.push_back(text(orNull(strings[i])));
    p.log(0x10080125, 10, items);
    for (std::uint32_t i = 0; i < 3; ++i) p.traceError(kConnect, form + 40 + 10 * i, orNull(strings[i]));
  }
  p.traceExit(kConnect, c.rc);
  p.destroy(exception);
  return c;
}

int disconnect(Prescription& p, const Ref& context, int& sqlCode) {
  int rc = -300;
  sqlCode = 0;
  const Wrapper exception = p.exceptionObject();
  p.traceEntry(kDisconnect);
  if (context.empty() || !exception.live()) {
    p.traceError(kDisconnect, 40, rc);
  } else if (const Ref cls = p.findClass(kUtility); !cls.empty()) {
    if (p.getStaticMethod(cls, "disconnectMD", storeMethod("", "V"))) {
      p.callStaticVoid(cls, "disconnectMD", context, exception.object);
      p.outcome(exception, rc, sqlCode);
      if (rc != 0) {
        p.traceError(kDisconnect, 20, rc);
        p.traceError(kDisconnect, 30, sqlCode);
      }
    } else {
      p.traceError(kDisconnect, 10, rc);
    }
    p.deleteLocalRef(cls);
  }
  if (!context.empty()) p.deleteGlobalRef(context);
  p.traceExit(kDisconnect, rc);
  p.destroy(exception);
  return rc;
}

const std::array<Four, 3> kConnections = {
    {{"jdbc:sqlite:a.mesk", "sch\xE9ma", "joe", "s3cr3t"}, {nullptr, nullptr, nullptr, nullptr}, {"", "b", "", "d"}}};

void addConnectRows(Rows& rows) {
  int number = 0;
  for (const Four& strings : kConnections) {
    for (const bool none : {false, true}) {
      const std::string variant = "strings " + std::to_string(number) + (none ? " no context" : "");
      const auto add = [&](const std::string& symbol, bool withState) {
        Row row{symbol, variant,
                [strings, withState](Run& run) {
                  int rc = 77;
                  int sqlCode = 78;
                  int sqlState = 79;
                  jobject context = nullptr;
                  run.record([&] {
                    const auto [a, b, c, d] = strings;
                    context = withState ? MDUtility::connectMD(run.ctx, a, b, c, d, rc, sqlCode, sqlState)
                                        : MDUtility::connectMD(run.ctx, a, b, c, d, rc, sqlCode);
                  });
                  run.codes(rc, sqlCode);
                  if (withState) run.answer(sqlState);
                  run.givesGlobal(context);
                },
                [strings, withState](Prescription& p) {
                  const Connected c = connect(p, strings, withState);
                  p.result(says::codes(c.rc, c.sqlCode));
                  if (withState) p.result(says::answer(c.sqlState));
                  p.result(says::givesReference(c.context));
                }};
        if (!none) row.answers.add("connectMD", Object{"com/orvik/kelvo/common/parl/api/Context"});
        row.reports = true;
        rows.push_back(std::move(row));
      };
      using Plain = jobject (*)(ThreadContext&, const char*, const char*, const char*, const char*, int&, int&);
      using WithState =
          jobject (*)(ThreadContext&, const char*, const char*, const char*, const char*, int&, int&, int&);
      add(staticSymbol<MDUtility>("connectMD", static_cast<Plain>(&MDUtility::connectMD)), false);
      add(staticSymbol<MDUtility>("connectMD", static_cast<WithState>(&MDUtility::connectMD)), true);
    }
    ++number;
  }
}

void addSession(Rows& rows) {
  ClassRows<MDUtility> session(rows, kUtility);
  session.wraps();
  session.add({constructorSymbol<MDUtility, ThreadContext&>(), "new",
               [](Run& run) {
                 MDUtility* made = nullptr;
                 run.record([&] { made = new MDUtility(run.ctx); });
                 run.gives(made);
               },
               [](Prescription& p) {
                 const Wrapper unused = p.exceptionObject();
                 Wrapper made;
                 if (const Ref cls = p.findClass(kUtility); !cls.empty()) {
                   made.objectClass = p.newGlobalRef(cls);
                   p.deleteLocalRef(cls);
                   if (!made.objectClass.empty() && p.getMethod(made.objectClass, "<init>", "()V")) {
                     if (const Ref object = p.newObject(made.objectClass); !object.empty()) {
                       made.object = p.newGlobalRef(object);
                       p.deleteLocalRef(object);
                     }
                   }
                 }
                 p.destroy(unused);
                 p.result(says::gives(made));
               }});
  addConnectRows(rows);

  for (const bool null : {false, true}) {
    Row& row =
        session.add({staticSymbol<MDUtility>("disconnectMD", &MDUtility::disconnectMD), null ? "null" : "context",
                     [null](Run& run) {
                       const jobject context = null ? nullptr : run.context();
                       int sqlCode = 78;
                       int rc = 77;
                       run.record([&] { rc = MDUtility::disconnectMD(run.ctx, context, sqlCode); });
                       run.codes(rc, sqlCode);
                     },
                     [null](Prescription& p) {
                       int sqlCode = 0;
                       const int rc = disconnect(p, null ? "" : "context", sqlCode);
                       p.result(says::codes(rc, sqlCode));
                     }});
    row.reports = true;
  }

  for (const unsigned char on : {'\0', '\1'}) {
    Row& row = session.add({staticSymbol<MDUtility>("setAutoCommit", &MDUtility::setAutoCommit), on != 0 ? "on" : "off",
                            [on](Run& run) {
                              const jobject context = run.context();
                              int rc = 77;
                              run.record([&] { rc = MDUtility::setAutoCommit(run.ctx, context, on); });
                              run.answer(rc);
                            },
                            [on](Prescription& p) {
                              int rc = -300;
                              const Wrapper exception = p.exceptionObject();
                              if (exception.live()) {
                                if (const Ref cls = p.findClass(kUtility); !cls.empty()) {
                                  if (p.getStaticMethod(cls, "setAutoCommit", storeMethod("Z", "V"))) {
                                    p.callStaticVoid(cls, "setAutoCommit", "context", on != 0, exception.object);
                                    rc = p.returnCode(exception);
                                  }
                                  p.deleteLocalRef(cls);
                                }
                              }
                              p.destroy(exception);
                              p.result(says::answer(rc));
                            }});
    row.reports = true;
  }

  Row& rollback = session.add({staticSymbol<MDUtility>("rollback", &MDUtility::rollback), "",
                               [](Run& run) {
                                 const jobject context = run.context();
                                 int rc = 77;
                                 int sqlCode = 78;
                                 run.record([&] { rc = MDUtility::rollback(run.ctx, context, sqlCode); });
                                 run.codes(rc, sqlCode);
                               },
                               [](Prescription& p) {
                                 int rc = -300;
                                 int sqlCode = 0;
                                 const Wrapper exception = p.exceptionObject();
                                 callSession(p, exception, "rollback", rc, sqlCode);
                                 p.destroy(exception);
                                 p.result(says::codes(rc, sqlCode));
                               }});
  rollback.reports = true;

  using CommitWithCode = int (*)(ThreadContext&, jobject, int&);
  using Commit = int (*)(ThreadContext&, jobject);
  Row& commitWithCode =
      session.add({staticSymbol<MDUtility>("commit", static_cast<CommitWithCode>(&MDUtility::commit)), "",
                   [](Run& run) {
                     const jobject context = run.context();
                     int rc = 77;
                     int sqlCode = 78;
                     run.record([&] { rc = MDUtility::commit(run.ctx, context, sqlCode); });
                     run.codes(rc, sqlCode);
                   },
                   [](Prescription& p) {
                     int sqlCode = 0;
                     const int rc = committed(p, sqlCode);
                     p.result(says::codes(rc, sqlCode));
                   }});
  commitWithCode.reports = true;
  Row& commit = session.add({staticSymbol<MDUtility>("commit", static_cast<Commit>(&MDUtility::commit)), "",
                             [](Run& run) {
                               const jobject context = run.context();
                               int rc = 77;
                               run.record([&] { rc = MDUtility::commit(run.ctx, context); });
                               run.answer(rc);
                             },
                             [](Prescription& p) {
                               int unused = 0;
                               p.result(says::answer(committed(p, unused)));
                             }});
  commit.reports = true;
}

void addMarkRows(Rows& rows) {
  ClassRows<MDUtility> session(rows, kUtility);
  const auto marks = [&](const std::string& method, auto mark, std::uint32_t function) {
    for (const bool empty : {false, true}) {
      const std::array<const char*, 5> texts = empty ? std::array<const char*, 5>{nullptr, "", "c", "", nullptr}
                                                     : std::array<const char*, 5>{"a", "b", "c", "d", "e"};
      Row& row = session.add(
          {staticSymbol<MDUtility>(method, mark), empty ? "empty texts" : "texts",
           [mark, texts](Run& run) {
             int rc = 77;
             int sqlCode = 78;
             run.record([&] { rc = mark(run.ctx, texts[0], texts[1], texts[2], texts[3], texts[4], sqlCode); });
             run.codes(rc, sqlCode);
           },
           [method, texts, function](Prescription& p) {
             int rc = -300;
             int sqlCode = 0;
             const Wrapper exception = p.exceptionObject();
             p.traceEntry(function);
             const Ref cls = exception.live() ? p.findClass(kUtility) : Ref();
             if (!cls.empty()) {
               std::array<Ref, 5> java;
               for (std::size_t i = 0; i < java.size(); ++i) {
                 java[i] = p.stringToJava(orEmpty(texts[i]));
               }
               if (p.getStaticMethod(
                       cls, method,
                       std::string("(") + kString + kString + kString + kString + kString + kException + ")V")) {
                 p.callStaticVoid(cls, method, java[0], java[1], java[2], java[3], java[4], exception.object);
                 p.outcome(exception, rc, sqlCode);
               }
               for (auto text = java.rbegin(); text != java.rend(); ++text) {
                 if (!text->empty()) p.deleteLocalRef(*text);
               }
               p.deleteLocalRef(cls);
             }
             p.traceExit(function, rc);
             p.destroy(exception);
             p.result(says::codes(rc, sqlCode));
           }});
      row.reports = true;
    }
  };
  marks("markedByScheduler", &MDUtility::markedByScheduler, kMarked);
  marks("unmarkedByScheduler", &MDUtility::unmarkedByScheduler, kUnmarked);
}

void addLatchRows(Rows& rows) {
  ClassRows<MDUtility> session(rows, kUtility);
  const auto withLatch = [&](const std::string& name, void (*operation)(), OSSLatch before, auto prescribe) {
    session.add({staticSymbol<MDUtility>(name, operation), before == 0 ? "free" : "held",
                 [operation, before](Run& run) {
                   OSSLatch latch = before;
                   MDUtility::mdLock = &latch;
                   run.knowLatch(&latch);
                   run.record(operation);
                   MDUtility::mdLock = nullptr;
                   run.answer(latch != 0 ? 1 : 0);
                 },
                 prescribe});
  };
  withLatch("getLatch", &MDUtility::getLatch, 0, [](Prescription& p) {
    p.line("ossWin32Lock8ExchangeInternal latch");
    p.result(says::answer(1));
  });
  withLatch("getLatch", &MDUtility::getLatch, 1, [](Prescription& p) {
    p.line("ossWin32Lock8ExchangeInternal latch held");
    p.line("ossLockGetConflict latch");
    p.result(says::answer(1));
  });
  withLatch("freeLatch", &MDUtility::freeLatch, 1, [](Prescription& p) {
    p.line("ossWin32Lock8ReleaseInternal latch");
    p.result(says::answer(0));
  });
  session.add({staticSymbol<MDUtility>("initLatch", &MDUtility::initLatch), "",
               [](Run& run) {
                 run.record(&MDUtility::initLatch);
                 run.answer(*MDUtility::mdLock);
                 delete MDUtility::mdLock;
                 MDUtility::mdLock = nullptr;
               },
               [](Prescription& p) { p.result(says::answer(0)); }});
}

int ask(Prescription& p, const Wrapper& user, const std::string& question, const Ref& context, int& rc, int& sqlCode) {
  rc = -300;
  sqlCode = 0;
  bool yes = false;
  const Wrapper exception = p.exceptionObject();
  if (user.live() && exception.live() && p.getMethod(user.objectClass, question, storeMethod("", "Z"))) {
    yes = p.callBoolean(user.object, question, context, exception.object);
    p.outcome(exception, rc, sqlCode);
  }
  p.destroy(exception);
  return yes && rc == 0 ? 1 : 0;
}

template <class P>
void addPrincipal(Rows& rows, const std::string& className) {
  ClassRows<P> principal(rows, kMetadata + className);
  principal.wraps();
  for (const char* const name : {"Joe Bl\xF6ggs", "", static_cast<const char*>(nullptr)}) {
    principal.add({constructorSymbol<P, ThreadContext&, const char*>(), name == nullptr ? "null" : name,
                   [name](Run& run) {
                     P* made = nullptr;
                     run.record([&] { made = new P(run.ctx, name); });
                     run.gives(made);
                   },
                   [className, name](Prescription& p) { p.result(says::gives(principalOf(p, className, name))); }});
  }
}

void addUserRows(Rows& rows) {
  addPrincipal<MDUser>(rows, "MDUser");
  addPrincipal<MDGroup>(rows, "MDGroup");
  ClassRows<MDUser> user(rows, std::string(kMetadata) + "MDUser");
  for (const long long yes : {0LL, 1LL}) {
    const auto asks = [&](const std::string& question, auto operation) {
      Row& row = user.add({symbolOf(question, operation), yes != 0 ? "yes" : "no",
                           [operation](Run& run) {
                             auto& target = run.target<MDUser>(std::string(kMetadata) + "MDUser");
                             const jobject context = run.context();
                             int rc = 77;
                             int sqlCode = 78;
                             int answer = 79;
                             run.record([&] { answer = (target.*operation)(run.ctx, context, rc, sqlCode); });
                             run.codes(rc, sqlCode);
                             run.answer(answer);
                           },
                           [question](Prescription& p) {
                             int rc = 0;
                             int sqlCode = 0;
                             const int answer = ask(p, p.target(), question, "context", rc, sqlCode);
                             p.result(says::codes(rc, sqlCode));
                             p.result(says::answer(answer));
                           }});
      row.answers.add(question, yes);
      row.states = kEveryState;
      row.reports = true;
    };
    asks("isSuperuser", &MDUser::isSuperuser);
    asks("isAdmin", &MDUser::isAdmin);

    // Each of the three calls of the store in turn has a code: the connection, the question, the disconnection.
    for (int failing = -1; failing < 3; ++failing) {
      for (const Four& strings : kConnections) {
        Row& row = user.add({staticSymbol<MDUser>("isAdministrator", &MDUser::isAdministrator),
                             std::string(yes != 0 ? "yes" : "no") + " failing " + std::to_string(failing),
                             [strings](Run& run) {
                               int rc = 77;
                               int sqlCode = 78;
                               int answer = 79;
                               run.record([&] {
                                 answer = MDUser::isAdministrator(run.ctx, strings[0], strings[1], strings[2],
                                                                  strings[3], rc, sqlCode);
                               });
                               run.codes(rc, sqlCode);
                               run.answer(answer);
                             },
                             [strings](Prescription& p) {
                               const Connected c = connect(p, strings, false);
                               int rc = c.rc;
                               int sqlCode = c.sqlCode;
                               int answer = 0;
                               if (!c.context.empty()) {
                                 if (rc == 0) {
                                   const Wrapper asked = principalOf(p, "MDUser", strings[2]);
                                   answer = ask(p, asked, "isAdmin", c.context, rc, sqlCode);
                                   p.destroy(asked);
                                 }
                                 disconnect(p, c.context, sqlCode);
                               }
                               p.result(says::codes(rc, sqlCode));
                               p.result(says::answer(answer));
                             }});
        row.answers.add("connectMD", Object{"com/orvik/kelvo/common/parl/api/Context"});
        row.answers.add("isAdmin", yes);
        for (int call = 0; call < 3; ++call) row.answers.add("getRC", call == failing ? 4711LL : 0LL);
        row.answers.add("getNestedSQLCode", -803LL);
      }
    }
  }
}

}  // namespace

void addSessionRows(Rows& rows) {
  addSession(rows);
  addMarkRows(rows);
  addLatchRows(rows);
  addUserRows(rows);
}

}  // namespace mesk::test::ledger
