#include <mesk/queue/LatchCount.h>
#include <mesk/queue/MDTaskExec.h>
#include <mesk/session/MDGroup.h>
#include <mesk/session/MDUser.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/Blob.h>
#include <mesk/values/SCTimestamp.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <thread>
#include <type_traits>

namespace mesk::test {
namespace {

using Lines = std::vector<std::string>;

class MDTaskExecTest : public JvmTest {
 protected:
  MDTaskExecTest() : exec(ctx, newFake("MDTaskExec"), context), dead(ctx, nullptr, nullptr) {}

  LocalRef<jbyteArray> bytes(const char* text) {
    const auto length = static_cast<jsize>(std::char_traits<char>::length(text));
    LocalRef<jbyteArray> array(ctx.env, ctx.env->NewByteArray(length));
    ctx.env->SetByteArrayRegion(array.get(), 0, length, reinterpret_cast<const jbyte*>(text));
    return array;
  }

  MDTaskExec exec;
  MDTaskExec dead;
};

// Construction.

TEST_F(MDTaskExecTest, ANewRecordGetsItsDefaultsInOrder) {
  int rc = 1;
  int sqlCode = 1;
  const MDTaskExec made(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), (Lines{"new MDTaskExec(context, exception)"}));
  Lines setters = script.properties();
  std::erase_if(setters, [](const std::string& call) { return call.find(".set") == std::string::npos; });
  EXPECT_EQ(setters, (Lines{"MDTaskExec.setIsRealStartTime(0)", "MDTaskExec.setNeedReschedule(1)",
                            "MDTaskExec.setStartedByRunNow(0)", "MDTaskExec.setTaskHistoryID(-1)"}));
}

TEST_F(MDTaskExecTest, ANewRecordThatTheStoreRefusesHasItsCodesAndNoDefaults) {
  script.on("new MDTaskExec").code(30001, -204);
  int rc = 1;
  int sqlCode = 1;
  const MDTaskExec made(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, 30001);
  EXPECT_EQ(sqlCode, -204);
  EXPECT_EQ(script.count("MDTaskExec.setNeedReschedule(1)"), 0);
}

TEST_F(MDTaskExecTest, ANewRecordWithoutItsClassIsUnreached) {
  jni.failClass("com/orvik/kelvo/mesk/metadata/MDTaskExec");
  int rc = 1;
  int sqlCode = 1;
  const MDTaskExec made(ctx, context, rc, sqlCode);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(made.object, nullptr);
}

TEST_F(MDTaskExecTest, WrappingTakesTheFirstReferenceAndIgnoresTheContext) {
  const MDTaskExec wrapped(ctx, exec.object, nullptr);
  EXPECT_TRUE(ctx.env->IsSameObject(wrapped.object, exec.object));
}

// Store operations.

TEST_F(MDTaskExecTest, StoreOperationsThatSucceedAreNotLogged) {
  const LogCapture log;
  int sqlCode = 1;
  EXPECT_EQ(exec.insert(ctx, context, sqlCode), 0);
  EXPECT_EQ(exec.update(ctx, context, sqlCode), 0);
  EXPECT_EQ(exec.deleteIt(ctx, context, sqlCode), 0);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExec.insert(context, exception)", "MDTaskExec.update(context, exception)",
                                   "MDTaskExec.delete(context, exception)"}));
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(MDTaskExecTest, StoreOperationsThatFailAreLoggedWithTheirCodesAndTheLowHalvesOfTheIDs) {
  exec.setTaskID(ctx, 0x5'0000'0007);
  exec.setTaskExecID(ctx, 0x1'FFFF'FFFF);
  script.on("MDTaskExec.insert").code(30012, -803);
  script.on("MDTaskExec.update").code(30015, -911);
  script.on("MDTaskExec.delete").code(30013, 100);
  const LogCapture log;
  int sqlCode = 0;
  EXPECT_EQ(exec.insert(ctx, context, sqlCode), 30012);
  EXPECT_EQ(sqlCode, -803);
  EXPECT_EQ(exec.update(ctx, context, sqlCode), 30015);
  EXPECT_EQ(sqlCode, -911);
  EXPECT_EQ(exec.deleteIt(ctx, context, sqlCode), 30013);
  EXPECT_EQ(sqlCode, 100);
  EXPECT_EQ(log.lines(),
            (Lines{"0x10080144/10 30012 -803 7 -1", "0x10080145/10 30015 -911 7 -1", "0x10080146/10 30013 100 7 -1"}));
}

TEST_F(MDTaskExecTest, StoreOperationsOfADeadRecordAreUnreachedAndLogged) {
  const LogCapture log;
  int sqlCode = 1;
  EXPECT_EQ(dead.insert(ctx, context, sqlCode), -300);
  EXPECT_EQ(sqlCode, 0);
  EXPECT_EQ(dead.update(ctx, context, sqlCode), -300);
  EXPECT_EQ(dead.deleteIt(ctx, context, sqlCode), -300);
  EXPECT_EQ(log.lines(), (Lines{"0x10080144/10 -300 0 0 0", "0x10080145/10 -300 0 0 0", "0x10080146/10 -300 0 0 0"}));
}

TEST_F(MDTaskExecTest, AStoreOperationWhoseMethodIsMissingIsUnreachedAndLogged) {
  exec.setTaskID(ctx, 7);
  jni.failMethod("update");
  const LogCapture log;
  int sqlCode = 1;
  EXPECT_EQ(exec.update(ctx, context, sqlCode), -300);
  EXPECT_EQ(log.lines(), (Lines{"0x10080145/10 -300 0 7 0"}));
}

TEST_F(MDTaskExecTest, TheReferenceIDIsTheStoresNextKeyAndZeroWhenItCannotBeAsked) {
  script.on("MDTaskExec.getReferenceID").returnsLong(0x3'0000'0001);
  EXPECT_EQ(exec.getReferenceID(ctx, context), 0x3'0000'0001);
  EXPECT_EQ(dead.getReferenceID(ctx, context), 0);
  jni.failMethod("getReferenceID");
  EXPECT_EQ(exec.getReferenceID(ctx, context), 0);
}

// Properties.

struct Property {
  const char* getter;  ///< null: there is none
  const char* setter;
  const char* type;   ///< in a JNI signature
  std::string value;  ///< as the store shows what it was given
  std::function<void(ThreadContext&, MDTaskExec&)> set;
  std::function<std::string(ThreadContext&, const MDTaskExec&)> get;  ///< the same text
};

template <class T>
using Getter = T (MDTaskExec::*)(ThreadContext&) const;
template <class T>
using Setter = void (MDTaskExec::*)(ThreadContext&, T);

template <class T>
Property number(const char* getter, const char* setter, Getter<T> get, Setter<T> set, T value) {
  return {getter,
          setter,
          std::is_same_v<T, int> ? "I" : "J",
          std::to_string(value),
          [=](ThreadContext& ctx, MDTaskExec& exec) { (exec.*set)(ctx, value); },
          [=](ThreadContext& ctx, const MDTaskExec& exec) { return std::to_string((exec.*get)(ctx)); }};
}

Property text(const char* getter, const char* setter, Getter<char*> get, Setter<const char*> set) {
  const std::string value = std::string("a ") + setter;
  return {getter,
          setter,
          "Ljava/lang/String;",
          '"' + value + '"',
          [=](ThreadContext& ctx, MDTaskExec& exec) { (exec.*set)(ctx, value.c_str()); },
          [=](ThreadContext& ctx, const MDTaskExec& exec) { return '"' + taken((exec.*get)(ctx)) + '"'; }};
}

Property time(const char* getter, const char* setter, Getter<SCTimestamp*> get, Setter<SCTimestamp*> set) {
  return {getter,
          setter,
          "Ljava/sql/Timestamp;",
          "Timestamp@1234567890123",
          [=](ThreadContext& ctx, MDTaskExec& exec) {
            SCTimestamp value(ctx, 1234567890123);
            (exec.*set)(ctx, &value);
          },
          [=](ThreadContext& ctx, const MDTaskExec& exec) {
            const std::unique_ptr<SCTimestamp> value((exec.*get)(ctx));
            return "Timestamp@" + std::to_string(value->getTime(ctx));
          }};
}

const std::vector<Property>& properties() {
  using E = MDTaskExec;
  static const std::vector<Property> all = {
      number("getTaskExecID", "setTaskExecID", &E::getTaskExecID, &E::setTaskExecID, 5'000'000'001LL),
      number("getTaskID", "setTaskID", &E::getTaskID, &E::setTaskID, 5'000'000'002LL),
      number("getSuffix", "setSuffix", &E::getSuffix, &E::setSuffix, 3),
      number("getTaskHistoryID", "setTaskHistoryID", &E::getTaskHistoryID, &E::setTaskHistoryID, 5'000'000'004LL),
      number("getSharedNamedScheduleID", "setSharedNamedScheduleID", &E::getSharedNamedScheduleID,
             &E::setSharedNamedScheduleID, 5'000'000'005LL),
      number("getScheduleEventID", "setScheduleEventID", &E::getScheduleEventID, &E::setScheduleEventID, -1LL),
      time("getNextStartDateTime", "setNextStartDateTime", &E::getNextStartDateTime, &E::setNextStartDateTime),
      time("getStartTime", "setStartTime", &E::getStartTime, &E::setStartTime),
      text("getBrixStepID", "setBrixStepID", &E::getBrixStepID, &E::setBrixStepID),
      text("getStepRC", "setStepRC", &E::getStepRC, &E::setStepRC),
      text("getPartitionNumber", "setPartitionNumber", &E::getPartitionNumber, &E::setPartitionNumber),
      number("getRookQPosition", "setRookQPosition", &E::getRookQPosition, &E::setRookQPosition, 12),
      number("getStatus", "setStatus", &E::getStatus, &E::setStatus, -13),
      text("getExecutionSystem", "setExecutionSystem", &E::getExecutionSystem, &E::setExecutionSystem),
      text("getRookJobID", "setRookJobID", &E::getRookJobID, &E::setRookJobID),
      text("getSummaryReturnCode", "SummaryReturnCode", &E::getSummaryReturnCode, &E::setSummaryReturnCode),
      number("getUseNotification", "setUseNotification", &E::getUseNotification, &E::setUseNotification, 17),
      number("getUseTaskActions", "setUseTaskActions", &E::getUseTaskActions, &E::setUseTaskActions, 18),
      number("getAcceptDefaults", "setAcceptDefaults", &E::getAcceptDefaults, &E::setAcceptDefaults, 19),
      number("getPassRunSystem", "setPassRunSystem", &E::getPassRunSystem, &E::setPassRunSystem, 20),
      number("getPassTargetDBObjects", "setPassTargetDBObjects", &E::getPassTargetDBObjects, &E::setPassTargetDBObjects,
             21),
      text("getAdditionalParameters", "setAdditionalParameters", &E::getAdditionalParameters,
           &E::setAdditionalParameters),
      number("getRowLimit", "setRowLimit", &E::getRowLimit, &E::setRowLimit, 23),
      number("getStartedByRunNow", "setStartedByRunNow", &E::getStartedByRunNow, &E::setStartedByRunNow, 24),
      text("getUserID", "setUserID", &E::getUserID, &E::setUserID),
      text("getPasswordString", "setPasswordString", &E::getPasswordString, &E::setPasswordString),
      number("getIsRealStartTime", "setIsRealStartTime", &E::getIsRealStartTime, &E::setIsRealStartTime, 27),
      number("getNeedReschedule", "setNeedReschedule", &E::getNeedReschedule, &E::setNeedReschedule, 28),
      time("getOriginalScheduleTime", "setOriginalScheduleTime", &E::getOriginalScheduleTime,
           &E::setOriginalScheduleTime),
      number("getParentGroupingTaskExecID", "setParentGroupingTaskExecID", &E::getParentGroupingTaskExecID,
             &E::setParentGroupingTaskExecID, 5'000'000'030LL),
      text(nullptr, "setExecutionPartitionID", nullptr, &E::setExecutionPartitionID),
      text(nullptr, "setExecutionSystemID", nullptr, &E::setExecutionSystemID),
      number("getV7JobID", "setV7JobID", &E::getV7JobID, &E::setV7JobID, 33),
  };
  return all;
}

const std::string kClass = "com/orvik/kelvo/mesk/metadata/MDTaskExec.";

TEST_F(MDTaskExecTest, EachPropertyGoesThroughItsOwnJavaMethodsAndComesBack) {
  jni.noteLookups();
  for (const Property& property : properties()) {
    SCOPED_TRACE(property.setter);
    script.forget();
    property.set(ctx, exec);
    EXPECT_EQ(script.properties().back(), std::string("MDTaskExec.") + property.setter + "(" + property.value + ")");
    EXPECT_NE(std::ranges::find(jni.lookups(), kClass + property.setter + "(" + property.type + ")V"),
              jni.lookups().end());
    if (property.getter == nullptr) continue;
    EXPECT_EQ(property.get(ctx, exec), property.value);
    EXPECT_EQ(script.count(std::string("MDTaskExec.") + property.getter + "()"), 1);
    EXPECT_NE(std::ranges::find(jni.lookups(), kClass + property.getter + "()" + property.type), jni.lookups().end());
  }
}

TEST_F(MDTaskExecTest, PropertiesOfADeadRecordAreZeroOrNullAndCannotBeSet) {
  for (const Property& property : properties()) {
    if (property.type[0] != 'L') property.set(ctx, dead);
    if (property.getter != nullptr && property.type[0] != 'L') {
      EXPECT_EQ(property.get(ctx, dead), "0") << property.getter;
    }
  }
  dead.setUserID(ctx, "JOE");
  dead.setNextStartDateTime(ctx, nullptr);
  dead.setPassword(ctx, nullptr);
  dead.setPasswordByteArr(ctx, nullptr);
  EXPECT_EQ(dead.getUserID(ctx), nullptr);
  EXPECT_EQ(dead.getNextStartDateTime(ctx), nullptr);
  EXPECT_EQ(dead.getPassword(ctx), nullptr);
  EXPECT_EQ(dead.getPassword(ctx, context), nullptr);
  EXPECT_EQ(script.calls(), Lines{});
}

TEST_F(MDTaskExecTest, ATimeIsClearedByNull) {
  SCTimestamp start(ctx, 1);
  exec.setNextStartDateTime(ctx, &start);
  exec.setNextStartDateTime(ctx, nullptr);
  EXPECT_EQ(exec.getNextStartDateTime(ctx), nullptr);
}

TEST_F(MDTaskExecTest, TheSummaryReturnCodeIsNotStoredWhenJavaHasNoMethodSummaryReturnCode) {
  jni.failMethod("SummaryReturnCode");
  exec.setSummaryReturnCode(ctx, "12");
  EXPECT_EQ(exec.getSummaryReturnCode(ctx), nullptr);
  EXPECT_EQ(script.count("MDTaskExec.SummaryReturnCode(\"12\")"), 0);
}

// Passwords.

TEST_F(MDTaskExecTest, ThePasswordIsALargeObject) {
  Blob password(ctx, "secret", 6);
  exec.setPassword(ctx, &password);
  const std::unique_ptr<Blob> stored(exec.getPassword(ctx));
  ASSERT_NE(stored, nullptr);
  EXPECT_TRUE(ctx.env->IsSameObject(stored->object, password.object));
  exec.setPassword(ctx, nullptr);
  EXPECT_EQ(exec.getPassword(ctx), nullptr);
}

TEST_F(MDTaskExecTest, ThePasswordIsAByteArrayThatIsHandedOnAsItIs) {
  const auto password = bytes("p\xC4");
  jni.noteLookups();
  exec.setPasswordByteArr(ctx, password.get());
  const LocalRef<jbyteArray> stored(ctx.env, exec.getPassword(ctx, context));
  EXPECT_TRUE(ctx.env->IsSameObject(stored.get(), password.get()));
  EXPECT_EQ(script.count("MDTaskExec.setPasswordByteArr([112, -60])"), 1);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExec.getPassword(context, exception)"}));
  EXPECT_NE(std::ranges::find(jni.lookups(), kClass + "setPasswordByteArr([B)V"), jni.lookups().end());
}

TEST_F(MDTaskExecTest, ThePasswordAsAByteArrayIsWhatJavaGaveWhateverTheCode) {
  const auto password = bytes("pw");
  script.on("MDTaskExec.getPassword").code(30020).returns(password.get());
  jni.noteLookups();
  const LocalRef<jbyteArray> given(ctx.env, exec.getPassword(ctx, context));
  EXPECT_TRUE(ctx.env->IsSameObject(given.get(), password.get()));
  EXPECT_EQ(std::ranges::find(jni.lookups(), "com/orvik/kelvo/common/parl/api/PARLException.getRC()I"),
            jni.lookups().end());
}

// Rights.

TEST_F(MDTaskExecTest, EachRightIsAskedOfItsOwnJavaMethodForUsersAndGroups) {
  MDUser user(ctx, "joe");
  MDGroup group(ctx, "ops");
  script.forget();
  int rc = 1;
  int sqlCode = 1;
  const auto allowed = [&](const char* method) { script.on(method).returnsBoolean(true); };
  allowed("MDTaskExec.getReadPermission");
  allowed("MDTaskExec.getUpdatePermission");
  allowed("MDTaskExec.getExecutePermission");
  EXPECT_EQ(exec.getReadPermission(ctx, context, user, rc, sqlCode), 1);
  EXPECT_EQ(exec.getReadPermission(ctx, context, group, rc, sqlCode), 1);
  EXPECT_EQ(exec.getUpdatePermission(ctx, context, user, rc, sqlCode), 1);
  EXPECT_EQ(exec.getUpdatePermission(ctx, context, group, rc, sqlCode), 1);
  EXPECT_EQ(exec.getExecutePermission(ctx, context, user, rc, sqlCode), 1);
  EXPECT_EQ(exec.getExecutePermission(ctx, context, group, rc, sqlCode), 1);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExec.getReadPermission(context, MDUser:JOE, exception)",
                                   "MDTaskExec.getReadPermission(context, MDGroup:OPS, exception)",
                                   "MDTaskExec.getUpdatePermission(context, MDUser:JOE, exception)",
                                   "MDTaskExec.getUpdatePermission(context, MDGroup:OPS, exception)",
                                   "MDTaskExec.getExecutePermission(context, MDUser:JOE, exception)",
                                   "MDTaskExec.getExecutePermission(context, MDGroup:OPS, exception)"}));
}

TEST_F(MDTaskExecTest, EachRightIsGivenThroughItsOwnJavaMethodForUsersAndGroups) {
  MDUser user(ctx, "joe");
  MDGroup group(ctx, "ops");
  script.forget();
  int sqlCode = 1;
  EXPECT_EQ(exec.setReadPermission(ctx, context, user, 1, sqlCode), 0);
  EXPECT_EQ(exec.setReadPermission(ctx, context, group, 0, sqlCode), 0);
  EXPECT_EQ(exec.setUpdatePermission(ctx, context, user, 1, sqlCode), 0);
  EXPECT_EQ(exec.setUpdatePermission(ctx, context, group, 0, sqlCode), 0);
  EXPECT_EQ(exec.setExecutePermission(ctx, context, user, 1, sqlCode), 0);
  EXPECT_EQ(exec.setExecutePermission(ctx, context, group, 0, sqlCode), 0);
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExec.setReadPermission(context, MDUser:JOE, true, exception)",
                                   "MDTaskExec.setReadPermission(context, MDGroup:OPS, false, exception)",
                                   "MDTaskExec.setUpdatePermission(context, MDUser:JOE, true, exception)",
                                   "MDTaskExec.setUpdatePermission(context, MDGroup:OPS, false, exception)",
                                   "MDTaskExec.setExecutePermission(context, MDUser:JOE, true, exception)",
                                   "MDTaskExec.setExecutePermission(context, MDGroup:OPS, false, exception)"}));
}

TEST_F(MDTaskExecTest, ARightIsDeniedWhenJavaSaysFalseOrReportsACode) {
  MDUser user(ctx, "joe");
  int rc = 1;
  int sqlCode = 1;
  script.on("MDTaskExec.getReadPermission").returnsBoolean(false);
  EXPECT_EQ(exec.getReadPermission(ctx, context, user, rc, sqlCode), 0);
  EXPECT_EQ(rc, 0);
  script.on("MDTaskExec.getUpdatePermission").code(30020, -551).returnsBoolean(true);
  EXPECT_EQ(exec.getUpdatePermission(ctx, context, user, rc, sqlCode), 0);
  EXPECT_EQ(rc, 30020);
  EXPECT_EQ(sqlCode, -551);
}

TEST_F(MDTaskExecTest, RightsOfADeadUserOrOnADeadRecordReachNothing) {
  MDUser user(ctx, "joe");
  MDUser nobody(ctx, static_cast<jobject>(nullptr));
  MDGroup noGroup(ctx, static_cast<jobject>(nullptr));
  script.forget();
  int rc = 1;
  int sqlCode = 1;
  EXPECT_EQ(exec.getReadPermission(ctx, context, nobody, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(exec.setReadPermission(ctx, context, nobody, 1, sqlCode), -300);
  EXPECT_EQ(exec.setExecutePermission(ctx, context, noGroup, 1, sqlCode), -300);
  EXPECT_EQ(dead.getExecutePermission(ctx, context, user, rc, sqlCode), 0);
  EXPECT_EQ(rc, -300);
  EXPECT_EQ(script.calls(), Lines{});
}

// Decisions.

TEST_F(MDTaskExecTest, StatusZeroAndOneAreQueuedAndNoOther) {
  for (const auto& [status, queued] : {std::pair{0, 1}, {1, 1}, {2, 0}, {3, 0}, {-1, 0}}) {
    exec.setStatus(ctx, status);
    EXPECT_EQ(exec.isQueued(ctx), queued) << status;
  }
}

TEST_F(MDTaskExecTest, OnlyOneMeansRunNow) {
  for (const auto& [flag, runNow] : {std::pair{0, 0}, {1, 1}, {2, 0}, {-1, 0}}) {
    exec.setStartedByRunNow(ctx, flag);
    EXPECT_EQ(exec.isRunNowTask(ctx), runNow) << flag;
  }
}

TEST_F(MDTaskExecTest, TheInvocationIsRunNowBeforeScheduledBeforeNeither) {
  EXPECT_EQ(exec.getInvocationMethod(ctx), 2);
  SCTimestamp scheduled(ctx, 5);
  exec.setOriginalScheduleTime(ctx, &scheduled);
  EXPECT_EQ(exec.getInvocationMethod(ctx), 1);
  exec.setStartedByRunNow(ctx, 1);
  EXPECT_EQ(exec.getInvocationMethod(ctx), 0);
}

// Copying.

TEST_F(MDTaskExecTest, CopyTakesKeysOriginTimesTextsStatusAndPasswordInOrder) {
  MDTaskExec source(ctx, newFake("MDTaskExec"), context);
  for (const Property& property : properties()) property.set(ctx, source);
  const auto password = bytes("pw");
  source.setPasswordByteArr(ctx, password.get());
  script.forget();

  exec.copy(ctx, &source, context);
  Lines setters = script.properties();
  std::erase_if(setters, [](const std::string& call) {
    return call.find(".set") == std::string::npos && call.find(".Summary") == std::string::npos;
  });
  EXPECT_EQ(
      setters,
      (Lines{"MDTaskExec.setTaskExecID(5000000001)", "MDTaskExec.setTaskID(5000000002)", "MDTaskExec.setSuffix(3)",
             "MDTaskExec.setV7JobID(33)", "MDTaskExec.setSharedNamedScheduleID(5000000005)",
             "MDTaskExec.setScheduleEventID(-1)", "MDTaskExec.setStartedByRunNow(24)",
             "MDTaskExec.setNextStartDateTime(Timestamp@1234567890123)",
             "MDTaskExec.setStartTime(Timestamp@1234567890123)", "MDTaskExec.setBrixStepID(\"a setBrixStepID\")",
             "MDTaskExec.setStepRC(\"a setStepRC\")", "MDTaskExec.setPartitionNumber(\"a setPartitionNumber\")",
             "MDTaskExec.setRookQPosition(12)", "MDTaskExec.setStatus(-13)",
             "MDTaskExec.setExecutionSystem(\"a setExecutionSystem\")", "MDTaskExec.setRookJobID(\"a setRookJobID\")",
             "MDTaskExec.SummaryReturnCode(\"a SummaryReturnCode\")", "MDTaskExec.setUserID(\"a setUserID\")",
             "MDTaskExec.setPasswordByteArr([112, 119])"}));
  EXPECT_EQ(script.calls(), (Lines{"MDTaskExec.getPassword(context, exception)"}));
}

TEST_F(MDTaskExecTest, CopyLeavesTimesAndTextsThatTheSourceLacks) {
  MDTaskExec source(ctx, newFake("MDTaskExec"), context);
  SCTimestamp start(ctx, 77);
  exec.setNextStartDateTime(ctx, &start);
  exec.setStartTime(ctx, &start);
  exec.setUserID(ctx, "JOE");
  exec.setTaskHistoryID(ctx, 9);
  exec.copy(ctx, &source, context);
  const std::unique_ptr<SCTimestamp> next(exec.getNextStartDateTime(ctx));
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(next->getTime(ctx), 77);
  const std::unique_ptr<SCTimestamp> started(exec.getStartTime(ctx));
  EXPECT_NE(started, nullptr);
  EXPECT_EQ(taken(exec.getUserID(ctx)), "JOE");
  EXPECT_EQ(exec.getTaskHistoryID(ctx), 9);
}

TEST_F(MDTaskExecTest, CopyNeedsBothRecordsLive) {
  exec.copy(ctx, nullptr, context);
  exec.copy(ctx, &dead, context);
  dead.copy(ctx, &exec, context);
  EXPECT_EQ(script.calls(), Lines{});
  EXPECT_EQ(script.properties(), Lines{});
}

// Latches.

TEST_F(MDTaskExecTest, EachRecordHasALatchOfItsOwn) {
  MDTaskExec other(ctx, nullptr, nullptr);
  exec.lock();
  other.lock();
  other.unlock();
  exec.unlock();
  exec.lock();
  exec.unlock();
}

TEST_F(MDTaskExecTest, LockTakesTheLatchAndUnlockGivesItBack) {
  const LatchCount latches;
  exec.lock();
  EXPECT_EQ(latches.taken(), 1);
  EXPECT_EQ(latches.released(), 0);
  exec.unlock();
  EXPECT_EQ(latches.taken(), 1);
  EXPECT_EQ(latches.released(), 1);
}

TEST_F(MDTaskExecTest, TheLatchOfARecordKeepsOthersOut) {
  constexpr int kRounds = 5000;
  int counted = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      exec.lock();
      ++counted;
      exec.unlock();
    }
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(counted, 2 * kRounds);
}

TEST_F(MDTaskExecTest, TheLatchOfAllRecordsIsMadeByItsFirstUseAndKeepsOthersOut) {
  MDTaskExec::freeLock();
  EXPECT_EQ(MDTaskExec::lockAllData, nullptr);
  MDTaskExec::unlockAll();
  ASSERT_NE(MDTaskExec::lockAllData, nullptr);
  EXPECT_EQ(*MDTaskExec::lockAllData, 0);

  constexpr int kRounds = 5000;
  int counted = 0;
  const auto count = [&] {
    for (int i = 0; i < kRounds; ++i) {
      MDTaskExec::lockAll();
      ++counted;
      MDTaskExec::unlockAll();
    }
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(counted, 2 * kRounds);
  MDTaskExec::freeLock();
  EXPECT_EQ(MDTaskExec::lockAllData, nullptr);
}

TEST_F(MDTaskExecTest, OperationsTakeNoLatchOfTheirOwnAccord) {
  MDTaskExec source(ctx, newFake("MDTaskExec"), context);
  const LatchCount latches;
  int sqlCode = 0;
  exec.insert(ctx, context, sqlCode);
  exec.copy(ctx, &source, context);
  exec.isQueued(ctx);
  EXPECT_EQ(latches.taken(), 0);
}

}  // namespace
}  // namespace mesk::test
