#include <mesk/bridge/Invoke.h>
#include <mesk/session/MDUtility.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <platform/CodePage.h>

#include <functional>
#include <memory>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* kSession = "com/orvik/kelvo/mesk/metadata/MDUtility";
constexpr const char* kException = "com/orvik/kelvo/common/parl/api/PARLException";
constexpr const char* kSecret = "s3cret-w0rd";

class MDUtilityTest : public JvmTest {
 protected:
  MDUtilityTest() { setProcessCodePage(kUtf8CodePage); }
  ~MDUtilityTest() override { setProcessCodePage(0); }

  jobject connect(const char* a = "url", const char* b = "schema", const char* c = "JOE", const char* d = kSecret) {
    rc = sqlCode = 1;
    return MDUtility::connectMD(ctx, a, b, c, d, rc, sqlCode);
  }

  jobject connectWithState(const char* a = "url", const char* b = "schema", const char* c = "JOE",
                           const char* d = kSecret) {
    rc = sqlCode = sqlState = 1;
    return MDUtility::connectMD(ctx, a, b, c, d, rc, sqlCode, sqlState);
  }

  /// A context as connecting gives it, for an operation that releases it.
  jobject newContext() { return ctx.env->NewGlobalRef(context); }

  void release(jobject global) { ctx.env->DeleteGlobalRef(global); }

  void expectSecretNowhere() {
    for (const LogCapture::Record& record : log.records()) {
      for (const LogCapture::Item& item : record.items) {
        EXPECT_EQ(item.bytes.find(kSecret), std::string::npos);
      }
    }
    for (const TraceCapture::Record& record : trace.records()) {
      EXPECT_EQ(record.bytes.find(kSecret), std::string::npos);
    }
  }

  LogCapture log;
  TraceCapture trace;
  int rc = 1;
  int sqlCode = 1;
  int sqlState = 1;
};

// ---- the instance ----

TEST_F(MDUtilityTest, AnInstanceIsAJavaSessionObject) {
  const MDUtility session(ctx);
  EXPECT_TRUE(isLive(session));
  EXPECT_EQ(script.calls(), Strings{"new MDUtility()"});
  const MDUtility same(ctx, session.object);
  EXPECT_TRUE(ctx.env->IsSameObject(same.object, session.object));
  EXPECT_TRUE(trace.lines().empty());
}

TEST_F(MDUtilityTest, AnInstanceIsDeadWithoutItsClassOrConstructor) {
  jni.failClass(kSession);
  {
    const MDUtility dead(ctx);
    EXPECT_EQ(dead.object, nullptr);
    EXPECT_EQ(dead.objectClass, nullptr);
  }
  jni.heal();
  jni.failMethod("<init>");
  const MDUtility dead(ctx);
  EXPECT_EQ(dead.object, nullptr);
  EXPECT_TRUE(script.calls().empty());
}

// ---- connecting ----

TEST_F(MDUtilityTest, ConnectingPassesTheFourTextsInOrderAndKeepsThePoolEmpty) {
  const jobject session = connect("url", "schema", "JOE", "pw");
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), (Strings{"ConnectionPoolManager.setDefaultPoolSize(0)",
                                     "MDUtility.connectMD(\"url\", \"schema\", \"JOE\", \"pw\", exception)"}));
  EXPECT_EQ(ctx.env->GetObjectRefType(session), JNIGlobalRefType);
  EXPECT_EQ(jni.globals(), 1);
  EXPECT_EQ(jni.locals(), 0);
  release(session);
}

TEST_F(MDUtilityTest, ConnectingIsTracedAndNotLogged) {
  release(connect());
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AD", "exit 0x1AE801AD 0"}));
  trace.clear();
  release(connectWithState());
  EXPECT_EQ(sqlState, 0);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AD", "exit 0x1AE801AD 0"}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, EveryConnectionKeepsThePoolEmpty) {
  release(connect());
  release(connectWithState());
  EXPECT_EQ(script.count("ConnectionPoolManager.setDefaultPoolSize(0)"), 2);
}

TEST_F(MDUtilityTest, FourNullsReachJavaAsFourNullsAndAreLoggedAsNULL) {
  script.on("MDUtility.connectMD").code(30020, -1).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(connect(nullptr, nullptr, nullptr, nullptr), nullptr);
  EXPECT_EQ(script.calls().back(), "MDUtility.connectMD(null, null, null, null, exception)");
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 30020 -1 \"NULL\" \"NULL\" \"NULL\""});
}

TEST_F(MDUtilityTest, EmptyTextsReachJavaAsNullAndAreLoggedAsNULL) {
  script.on("MDUtility.connectMD").code(30020, -1).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(connectWithState("", "", "", ""), nullptr);
  EXPECT_EQ(script.calls().back(), "MDUtility.connectMD(null, null, null, null, exception)");
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 30020 -1 0 \"NULL\" \"NULL\" \"NULL\""});
}

TEST_F(MDUtilityTest, AFailureIsLoggedAndTracedWithAllButThePassword) {
  script.on("MDUtility.connectMD").code(30020, -30082, 8001).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, 30020);
  EXPECT_EQ(sqlCode, -30082);
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 30020 -30082 \"url\" \"schema\" \"JOE\""});
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AD", "error 0x1AE801AD/20 30020", "error 0x1AE801AD/30 -30082",
                                    "error 0x1AE801AD/40 \"url\"", "error 0x1AE801AD/50 \"schema\"",
                                    "error 0x1AE801AD/60 \"JOE\"", "exit 0x1AE801AD 30020"}));
  EXPECT_EQ(script.count("MDUtility.getNestedIntSQLState(exception)"), 0);
  expectSecretNowhere();
}

TEST_F(MDUtilityTest, TheFormWithAStateHasProbesAndAnItemOfItsOwn) {
  script.on("MDUtility.connectMD").code(30020, -30082, 8001).returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(connectWithState(), nullptr);
  EXPECT_EQ(rc, 30020);
  EXPECT_EQ(sqlCode, -30082);
  EXPECT_EQ(sqlState, 8001);
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 30020 -30082 8001 \"url\" \"schema\" \"JOE\""});
  EXPECT_EQ(trace.lines(),
            (Strings{"entry 0x1AE801AD", "error 0x1AE801AD/120 30020", "error 0x1AE801AD/130 -30082",
                     "error 0x1AE801AD/135 8001", "error 0x1AE801AD/140 \"url\"", "error 0x1AE801AD/150 \"schema\"",
                     "error 0x1AE801AD/160 \"JOE\"", "exit 0x1AE801AD 30020"}));
  expectSecretNowhere();
}

TEST_F(MDUtilityTest, TheRecordsOfAFailureHaveTheShapeThatReadersKnow) {
  script.on("MDUtility.connectMD").code(30020, -1).returns(static_cast<jobject>(nullptr));
  connect();
  const LogCapture::Record record = log.records().at(0);
  EXPECT_EQ(record.code, 0);
  EXPECT_EQ(record.level, 3u);
  ASSERT_EQ(record.items.size(), 5u);
  for (const std::size_t i : {0u, 1u}) {
    EXPECT_EQ(record.items[i].bytes.size(), 4u);
    EXPECT_EQ(record.items[i].type, -2);
  }
  for (const std::size_t i : {2u, 3u, 4u}) EXPECT_EQ(record.items[i].type, -5);
  const std::vector<TraceCapture::Record> records = trace.records();
  EXPECT_EQ(records.front().flags, 0u);
  EXPECT_EQ(records.front().mask, 1000000u);
  for (const TraceCapture::Record& traced : records) {
    EXPECT_EQ(traced.thread, ossThreadID());
    EXPECT_EQ(traced.type, traced.kind == TraceRecord::kError ? 4 : 0);
  }
}

TEST_F(MDUtilityTest, AContextThatComesWithACodeIsHandedOutAndLogged) {
  script.on("MDUtility.connectMD").code(30025, 7).returns(context);
  const jobject session = connect();
  ASSERT_NE(session, nullptr);
  EXPECT_EQ(rc, 30025);
  EXPECT_EQ(ctx.env->GetObjectRefType(session), JNIGlobalRefType);
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 30025 7 \"url\" \"schema\" \"JOE\""});
  release(session);
}

TEST_F(MDUtilityTest, NoContextAndNoCodeIsLogged) {
  script.on("MDUtility.connectMD").returns(static_cast<jobject>(nullptr));
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 0 0 \"url\" \"schema\" \"JOE\""});
}

TEST_F(MDUtilityTest, AContextThatCannotBeKeptIsNullAndLogged) {
  jni.fail(JniTable::kNewGlobalRef, 3);  // the first two are the exception object's
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(jni.locals(), 0);
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 0 0 \"url\" \"schema\" \"JOE\""});
}

TEST_F(MDUtilityTest, AMissingMethodIsTracedByProbeTenInBothForms) {
  jni.failMethod("connectMD");
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(trace.lines(),
            (Strings{"entry 0x1AE801AD", "error 0x1AE801AD/10 -300", "error 0x1AE801AD/40 \"url\"",
                     "error 0x1AE801AD/50 \"schema\"", "error 0x1AE801AD/60 \"JOE\"", "exit 0x1AE801AD -300"}));
  trace.clear();
  EXPECT_EQ(connectWithState(), nullptr);
  EXPECT_EQ(sqlState, 0);
  EXPECT_EQ(trace.lines()[1], "error 0x1AE801AD/10 -300");
  EXPECT_EQ(log.lines(), (Strings{"0x10080125/10 -300 0 \"url\" \"schema\" \"JOE\"",
                                  "0x10080125/10 -300 0 0 \"url\" \"schema\" \"JOE\""}));
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(MDUtilityTest, WithoutTheSessionsClassNothingIsCalled) {
  jni.failClass(kSession);
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_TRUE(script.calls().empty());
  EXPECT_EQ(log.lines(), Strings{"0x10080125/10 -300 0 \"url\" \"schema\" \"JOE\""});
}

TEST_F(MDUtilityTest, WithoutAnExceptionObjectNothingIsCalled) {
  jni.failClass(kException);
  jni.noteLookups();
  EXPECT_EQ(connect(), nullptr);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(jni.lookups(), Strings{kException});
  EXPECT_EQ(log.lines().size(), 1u);
}

TEST_F(MDUtilityTest, AMissingPoolIsPassedOverInSilence) {
  jni.failClass("com/orvik/kelvo/tools/conn/ConnectionPoolManager");
  release(connect());
  jni.heal();
  jni.failMethod("setDefaultPoolSize");
  release(connect());
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(script.calls().size(), 2u);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, ThePasswordIsInNoRecordOfAnyFailure) {
  const std::vector<std::function<void()>> failures = {
      [&] { jni.failClass(kException); },
      [&] { jni.failClass(kSession); },
      [&] { jni.failMethod("connectMD"); },
      [&] { jni.fail(JniTable::kNewGlobalRef, 3); },
      [&] { script.on("MDUtility.connectMD").code(30020, -1).returns(static_cast<jobject>(nullptr)); },
  };
  for (const auto& fail : failures) {
    fail();
    EXPECT_EQ(connect(), nullptr);
    if (const jobject session = connectWithState(); session != nullptr) release(session);
    jni.heal();
  }
  EXPECT_GE(log.records().size(), failures.size());
  expectSecretNowhere();
}

TEST_F(MDUtilityTest, APasswordForWhichThereIsNoMemoryReachesJavaAsNull) {
  const AllocationFault fault(AllocationFault::kWorkMemory, 4);
  release(connect());
  EXPECT_EQ(script.calls().back(), "MDUtility.connectMD(\"url\", \"schema\", \"JOE\", null, exception)");
  EXPECT_EQ(log.lines(), Strings{"0x10080162/10 \"Scheduler out of memory.\""});
}

TEST_F(MDUtilityTest, TheSessionIsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  const jobject session = connect();
  MDUtility::setAutoCommit(ctx, session, 1);
  MDUtility::rollback(ctx, session, sqlCode);
  MDUtility::commit(ctx, session);
  MDUtility::markedByScheduler(ctx, "1", "2", "3", "4", "5", sqlCode);
  MDUtility::unmarkedByScheduler(ctx, "1", "2", "3", "4", "5", sqlCode);
  MDUtility::disconnectMD(ctx, session, sqlCode);
  Strings sessionLookups;
  for (const std::string& lookup : jni.lookups()) {
    if (lookup.find("PARLException.") == std::string::npos && lookup != kException && lookup != kSession) {
      sessionLookups.push_back(lookup);
    }
  }
  const std::string s = std::string(kSession) + ".";
  const std::string t = "Ljava/lang/String;";
  const std::string c = "Lcom/orvik/kelvo/common/parl/api/Context;";
  const std::string e = "Lcom/orvik/kelvo/common/parl/api/PARLException;";
  const std::string pool = "com/orvik/kelvo/tools/conn/ConnectionPoolManager";
  EXPECT_EQ(sessionLookups,
            (Strings{pool, pool + ".setDefaultPoolSize(I)V", s + "connectMD(" + t + t + t + t + e + ")" + c,
                     s + "setAutoCommit(" + c + "Z" + e + ")V", s + "rollback(" + c + e + ")V",
                     s + "commit(" + c + e + ")V", s + "markedByScheduler(" + t + t + t + t + t + e + ")V",
                     s + "unmarkedByScheduler(" + t + t + t + t + t + e + ")V", s + "disconnectMD(" + c + e + ")V"}));
}

// ---- disconnecting ----

TEST_F(MDUtilityTest, DisconnectingReleasesTheContext) {
  EXPECT_EQ(MDUtility::disconnectMD(ctx, newContext(), sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(jni.globals(), 0);
  EXPECT_EQ(script.calls(), Strings{"MDUtility.disconnectMD(context, exception)"});
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AE", "exit 0x1AE801AE 0"}));
}

TEST_F(MDUtilityTest, DisconnectingNothingIsMinus300ByProbeForty) {
  EXPECT_EQ(MDUtility::disconnectMD(ctx, nullptr, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_TRUE(script.calls().empty());
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AE", "error 0x1AE801AE/40 -300", "exit 0x1AE801AE -300"}));
}

TEST_F(MDUtilityTest, ADisconnectionThatFailsReleasesTheContextNonetheless) {
  script.on("MDUtility.disconnectMD").code(30030, -1);
  EXPECT_EQ(MDUtility::disconnectMD(ctx, newContext(), sqlCode), 30030);
  EXPECT_EQ(sqlCode, -1);
  EXPECT_EQ(jni.globals(), 0);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AE", "error 0x1AE801AE/20 30030", "error 0x1AE801AE/30 -1",
                                    "exit 0x1AE801AE 30030"}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, ADisconnectionThatNeverReachesJavaReleasesTheContextNonetheless) {
  jni.failMethod("disconnectMD");
  EXPECT_EQ(MDUtility::disconnectMD(ctx, newContext(), sqlCode), -300);
  EXPECT_EQ(trace.lines()[1], "error 0x1AE801AE/10 -300");
  EXPECT_EQ(jni.globals(), 0);
  jni.heal();
  trace.clear();

  jni.failClass(kSession);
  EXPECT_EQ(MDUtility::disconnectMD(ctx, newContext(), sqlCode), -300);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AE", "exit 0x1AE801AE -300"}));
  EXPECT_EQ(jni.globals(), 0);
  jni.heal();
  trace.clear();

  jni.failClass(kException);
  sqlCode = 1;
  EXPECT_EQ(MDUtility::disconnectMD(ctx, newContext(), sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(trace.lines()[1], "error 0x1AE801AE/40 -300");
  EXPECT_EQ(jni.globals(), 0);
}

// ---- transactions ----

TEST_F(MDUtilityTest, AutoCommitIsPassedAsABoolean) {
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 1), 0);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 0), 0);
  EXPECT_EQ(script.calls(), (Strings{"MDUtility.setAutoCommit(context, true, exception)",
                                     "MDUtility.setAutoCommit(context, false, exception)"}));
  EXPECT_TRUE(trace.lines().empty());
}

TEST_F(MDUtilityTest, AutoCommitThatFailsFetchesNoNestedCode) {
  script.on("MDUtility.setAutoCommit").code(30026, -1);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 1), 30026);
  EXPECT_EQ(script.count("MDUtility.getNestedSQLCode(exception)"), 0);
}

TEST_F(MDUtilityTest, AutoCommitWithoutTheExceptionClassIsMinus300WithoutACallOfJava) {
  jni.failClass(kException);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 1), -300);
  EXPECT_EQ(jni.javaCalls(), 0);
  jni.heal();
  jni.failClass(kSession);
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 1), -300);
  jni.heal();
  jni.failMethod("setAutoCommit");
  EXPECT_EQ(MDUtility::setAutoCommit(ctx, context, 1), -300);
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(MDUtilityTest, RollbackGivesItsCodes) {
  EXPECT_EQ(MDUtility::rollback(ctx, context, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  script.on("MDUtility.rollback").code(30030, -5);
  EXPECT_EQ(MDUtility::rollback(ctx, context, sqlCode), 30030);
  EXPECT_EQ(sqlCode, -5);
  for (const auto& fail : std::vector<std::function<void()>>{
           [&] { jni.failClass(kException); }, [&] { jni.failClass(kSession); }, [&] { jni.failMethod("rollback"); }}) {
    fail();
    sqlCode = 1;
    EXPECT_EQ(MDUtility::rollback(ctx, context, sqlCode), -300);
    EXPECT_EQ(sqlCode, 0);
    jni.heal();
  }
  EXPECT_EQ(script.calls(),
            (Strings{"MDUtility.rollback(context, exception)", "MDUtility.rollback(context, exception)"}));
  EXPECT_TRUE(trace.lines().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, ACommitIsTracedAndNotLogged) {
  EXPECT_EQ(MDUtility::commit(ctx, context, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(MDUtility::commit(ctx, context), 0);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801AF", "exit 0x1AE801AF 0", "entry 0x1AE801AF", "exit 0x1AE801AF 0"}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, ACommitThatFailsIsLoggedInBothForms) {
  script.on("MDUtility.commit").code(30025, -13);
  EXPECT_EQ(MDUtility::commit(ctx, context, sqlCode), 30025);
  EXPECT_EQ(sqlCode, -13);
  EXPECT_EQ(MDUtility::commit(ctx, context), 30025);
  EXPECT_EQ(log.lines(), (Strings{"0x10080126/10 30025 -13", "0x10080126/10 30025 -13"}));
  EXPECT_EQ(trace.lines(),
            (Strings{"entry 0x1AE801AF", "exit 0x1AE801AF 30025", "entry 0x1AE801AF", "exit 0x1AE801AF 30025"}));
}

TEST_F(MDUtilityTest, ACommitThatNeverReachesJavaIsLoggedAsMinus300) {
  for (const auto& fail : std::vector<std::function<void()>>{
           [&] { jni.failClass(kException); }, [&] { jni.failClass(kSession); }, [&] { jni.failMethod("commit"); }}) {
    fail();
    log.clear();
    sqlCode = 1;
    EXPECT_EQ(MDUtility::commit(ctx, context, sqlCode), -300);
    EXPECT_EQ(sqlCode, 0);
    EXPECT_EQ(log.lines(), Strings{"0x10080126/10 -300 0"});
    jni.heal();
  }
  EXPECT_TRUE(script.calls().empty());
}

// ---- marks ----

TEST_F(MDUtilityTest, AMarkPassesItsFiveTextsInOrder) {
  EXPECT_EQ(MDUtility::markedByScheduler(ctx, "1", "2", "3", "4", "5", sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(MDUtility::unmarkedByScheduler(ctx, nullptr, "", "3", nullptr, "5", sqlCode), 0);
  EXPECT_EQ(script.calls(), (Strings{"MDUtility.markedByScheduler(\"1\", \"2\", \"3\", \"4\", \"5\", exception)",
                                     "MDUtility.unmarkedByScheduler(null, null, \"3\", null, \"5\", exception)"}));
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801B0", "exit 0x1AE801B0 0", "entry 0x1AE801B1", "exit 0x1AE801B1 0"}));
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(MDUtilityTest, AMarkThatFailsGivesItsCodes) {
  script.on("MDUtility.markedByScheduler").code(30011, -803);
  EXPECT_EQ(MDUtility::markedByScheduler(ctx, "1", "2", "3", "4", "5", sqlCode), 30011);
  EXPECT_EQ(sqlCode, -803);
  EXPECT_EQ(trace.lines(), (Strings{"entry 0x1AE801B0", "exit 0x1AE801B0 30011"}));
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(MDUtilityTest, AMarkThatNeverReachesJavaIsMinus300) {
  for (const auto& fail :
       std::vector<std::function<void()>>{[&] { jni.failClass(kException); }, [&] { jni.failClass(kSession); },
                                          [&] { jni.failMethod("unmarkedByScheduler"); }}) {
    fail();
    sqlCode = 1;
    EXPECT_EQ(MDUtility::unmarkedByScheduler(ctx, "1", "2", "3", "4", "5", sqlCode), -300);
    EXPECT_EQ(sqlCode, 0);
    EXPECT_EQ(jni.locals(), 0);
    jni.heal();
  }
  EXPECT_TRUE(script.calls().empty());
}

TEST_F(MDUtilityTest, NothingThatIsMadeForASessionIsLeftBehindWhateverIsRefused) {
  for (int which = 1; which <= 3; ++which) {
    for (const JniTable::Call call : {JniTable::kNewGlobalRef, JniTable::kNewObject, JniTable::kNewStringUTF}) {
      jni.fail(call, which);
      const jobject session = connect();
      jni.heal();
      jni.fail(call, which);
      if (session != nullptr) {
        MDUtility::commit(ctx, session, sqlCode);
        jni.heal();
        jni.fail(call, which);
        MDUtility::disconnectMD(ctx, session, sqlCode);
      }
      jni.heal();
      EXPECT_EQ(jni.locals(), 0) << which;
      EXPECT_EQ(jni.globals(), 0) << which;
    }
  }
}

}  // namespace

// Whether the trace is on is asked before each record, so that it can be switched while an operation runs.
namespace {

class TraceSwitchTest : public JvmTest {};

TEST_F(TraceSwitchTest, WithTheTraceOffNothingIsWritten) {
  LogCapture log;
  {
    const TraceCapture trace;
    ASSERT_NE(g_pGTCB->traceOn, 0u);
  }
  ASSERT_EQ(g_pGTCB->traceOn, 0u);
  script.on("MDUtility.commit").code(30025);
  EXPECT_EQ(MDUtility::commit(ctx, context), 30025);
  EXPECT_EQ(log.lines().size(), 1u);
}

}  // namespace
}  // namespace mesk::test
