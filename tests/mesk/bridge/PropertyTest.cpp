// The typed property accessors of MDObject, each on a record that has such a property.
#include <mesk/bridge/MDObject.h>
#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/Blob.h>
#include <mesk/values/Clob.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/CodePage.h>

#include <functional>
#include <limits>
#include <memory>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

/// A wrapper with its accessors open.
class Record : public MDObject {
 public:
  Record(ThreadContext& ctx, jobject obj) : MDObject(ctx, obj) {}
  using MDObject::getBlob;
  using MDObject::getClob;
  using MDObject::getDate;
  using MDObject::getInt;
  using MDObject::getLong;
  using MDObject::getString;
  using MDObject::getTime;
  using MDObject::getTimestamp;
  using MDObject::setBlob;
  using MDObject::setClob;
  using MDObject::setDate;
  using MDObject::setInt;
  using MDObject::setLong;
  using MDObject::setString;
  using MDObject::setTime;
  using MDObject::setTimestamp;
};

class PropertyTest : public JvmTest {
 protected:
  PropertyTest() { setProcessCodePage(kUtf8CodePage); }
  ~PropertyTest() override { setProcessCodePage(0); }

  Record task{ctx, newFake("MDTask")};
  Record rule{ctx, newFake("MDScheduleEvent")};
};

TEST_F(PropertyTest, AnIntegerGoesThereAndBack) {
  for (const int value : {0, 1, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    task.setInt(ctx, "setState", value);
    EXPECT_EQ(task.getInt(ctx, "getState"), value);
  }
}

TEST_F(PropertyTest, A64BitKeyGoesThereAndBack) {
  using Limits = std::numeric_limits<long long>;
  for (const long long value : {0LL, -1LL, 0x1'0000'0007LL, Limits::max(), Limits::min()}) {
    task.setLong(ctx, "setTaskID", value);
    EXPECT_EQ(task.getLong(ctx, "getTaskID"), value);
  }
}

TEST_F(PropertyTest, ATextGoesThereAndBack) {
  task.setString(ctx, "setOwner",
                 "J\xC3\xB6"
                 "rg");
  EXPECT_EQ(taken(task.getString(ctx, "getOwner")),
            "J\xC3\xB6"
            "rg");
}

TEST_F(PropertyTest, AnEmptyOrNullTextReachesTheSetterAsNull) {
  task.setString(ctx, "setOwner", "");
  task.setString(ctx, "setOwner", nullptr);
  EXPECT_EQ(script.properties(), (Strings{"MDTask.setOwner(null)", "MDTask.setOwner(null)"}));
}

TEST_F(PropertyTest, ATextForWhichThereIsNoMemoryReachesTheSetterAsNull) {
  const LogCapture log;
  task.setString(ctx, "setOwner", "JOE");
  {
    const AllocationFault fault(AllocationFault::kWorkMemory, 1);
    task.setString(ctx, "setOwner", "JIM");
  }
  EXPECT_EQ(script.properties(), (Strings{"MDTask.setOwner(\"JOE\")", "MDTask.setOwner(null)"}));
  EXPECT_EQ(log.lines(), Strings{"0x10080162/10 \"Scheduler out of memory.\""});
}

TEST_F(PropertyTest, ATextThatCannotBeHandedOutIsNullAndLogged) {
  const LogCapture log;
  task.setString(ctx, "setOwner", "JOE");
  {
    const AllocationFault fault(AllocationFault::kNew, 2);
    EXPECT_EQ(task.getString(ctx, "getOwner"), nullptr);
  }
  EXPECT_EQ(log.lines(), Strings{"0x10080161/10 \"Scheduler out of memory.\""});
}

TEST_F(PropertyTest, ABlobGoesThereAndBack) {
  Blob blob(ctx, "\x01\x02\x7F", 3);
  task.setBlob(ctx, "setPassword", &blob);
  const std::unique_ptr<Blob> back(task.getBlob(ctx, "getPassword"));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->length(ctx), 3);
}

TEST_F(PropertyTest, AClobGoesThereAndBack) {
  Clob clob(ctx, javaString("select 1"));
  task.setClob(ctx, "setScriptContent", &clob);
  const std::unique_ptr<Clob> back(task.getClob(ctx, "getScriptContent"));
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(taken(back->getString(ctx)), "select 1");
}

TEST_F(PropertyTest, ADateATimeAndATimestampGoThereAndBack) {
  SQLDate date(ctx, 86400000);
  rule.setDate(ctx, "setStartDate", &date);
  const std::unique_ptr<SQLDate> dateBack(rule.getDate(ctx, "getStartDate"));
  ASSERT_NE(dateBack, nullptr);
  EXPECT_EQ(dateBack->getTime(ctx), 86400000);

  SQLTime time(ctx, 3600000);
  rule.setTime(ctx, "setStartTime", &time);
  const std::unique_ptr<SQLTime> timeBack(rule.getTime(ctx, "getStartTime"));
  ASSERT_NE(timeBack, nullptr);
  EXPECT_EQ(timeBack->getTime(ctx), 3600000);

  SCTimestamp timestamp(ctx, 1234567890123);
  task.setTimestamp(ctx, "setNextStart", &timestamp);
  const std::unique_ptr<SCTimestamp> timestampBack(task.getTimestamp(ctx, "getNextStart"));
  ASSERT_NE(timestampBack, nullptr);
  EXPECT_EQ(timestampBack->getTime(ctx), 1234567890123);
}

TEST_F(PropertyTest, ANullOrDeadValueReachesTheSetterAsNull) {
  Blob dead(ctx, nullptr);
  task.setBlob(ctx, "setPassword", nullptr);
  task.setBlob(ctx, "setPassword", &dead);
  task.setClob(ctx, "setScriptContent", nullptr);
  rule.setDate(ctx, "setStartDate", nullptr);
  rule.setTime(ctx, "setStartTime", nullptr);
  task.setTimestamp(ctx, "setNextStart", nullptr);
  EXPECT_EQ(script.properties(), (Strings{"MDTask.setPassword(null)", "MDTask.setPassword(null)",
                                          "MDTask.setScriptContent(null)", "MDScheduleEvent.setStartDate(null)",
                                          "MDScheduleEvent.setStartTime(null)", "MDTask.setNextStart(null)"}));
}

TEST_F(PropertyTest, AGetterToWhichJavaAnswersNullMakesNoWrapper) {
  const int made = jni.made();
  EXPECT_EQ(task.getString(ctx, "getOwner"), nullptr);
  EXPECT_EQ(task.getBlob(ctx, "getPassword"), nullptr);
  EXPECT_EQ(task.getClob(ctx, "getScriptContent"), nullptr);
  EXPECT_EQ(rule.getDate(ctx, "getStartDate"), nullptr);
  EXPECT_EQ(rule.getTime(ctx, "getStartTime"), nullptr);
  EXPECT_EQ(task.getTimestamp(ctx, "getNextStart"), nullptr);
  EXPECT_EQ(jni.made(), made);
  EXPECT_EQ(script.properties().size(), 6u);
}

TEST_F(PropertyTest, AGetterWithoutMemoryForTheWrapperIsNullAndKeepsNothing) {
  SCTimestamp timestamp(ctx, 1);
  task.setTimestamp(ctx, "setNextStart", &timestamp);
  const int globals = jni.globals();
  const AllocationFault fault(AllocationFault::kNew, 1);
  EXPECT_EQ(task.getTimestamp(ctx, "getNextStart"), nullptr);
  EXPECT_EQ(jni.globals(), globals);
}

/// Every accessor with a method that `record` has; setters get `null` as the method when they are told so.
void touchAll(ThreadContext& ctx, Record& record, bool named) {
  const auto name = [&](const char* method) { return named ? method : nullptr; };
  record.setInt(ctx, name("setState"), 1);
  record.setLong(ctx, name("setTaskID"), 1);
  record.setString(ctx, name("setOwner"), "JOE");
  record.setBlob(ctx, name("setPassword"), nullptr);
  record.setClob(ctx, name("setScriptContent"), nullptr);
  record.setDate(ctx, name("setStartDate"), nullptr);
  record.setTime(ctx, name("setStartTime"), nullptr);
  record.setTimestamp(ctx, name("setNextStart"), nullptr);
  if (!named) return;
  EXPECT_EQ(record.getInt(ctx, "getState"), 0);
  EXPECT_EQ(record.getLong(ctx, "getTaskID"), 0);
  EXPECT_EQ(record.getString(ctx, "getOwner"), nullptr);
  EXPECT_EQ(record.getBlob(ctx, "getPassword"), nullptr);
  EXPECT_EQ(record.getClob(ctx, "getScriptContent"), nullptr);
  EXPECT_EQ(record.getDate(ctx, "getStartDate"), nullptr);
  EXPECT_EQ(record.getTime(ctx, "getStartTime"), nullptr);
  EXPECT_EQ(record.getTimestamp(ctx, "getNextStart"), nullptr);
}

TEST_F(PropertyTest, ADeadWrapperMakesNoJniCall) {
  Record dead(ctx, nullptr);
  const int calls = jni.calls();
  touchAll(ctx, dead, true);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(PropertyTest, AWrapperWithoutItsClassMakesNoJniCall) {
  jni.fail(JniTable::kGetObjectClass, 1);
  Record half(ctx, newFake("MDTask"));
  ASSERT_NE(half.object, nullptr);
  const int calls = jni.calls();
  touchAll(ctx, half, true);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(PropertyTest, ASetterWithoutAMethodNameMakesNoJniCall) {
  const int calls = jni.calls();
  touchAll(ctx, task, false);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(PropertyTest, AMissingMethodIsLookedUpAndNothingElse) {
  const LogCapture log;
  for (const char* name : {"setState", "setTaskID", "setOwner", "setPassword", "setScriptContent", "setStartDate",
                           "setStartTime", "setNextStart", "getState", "getTaskID", "getOwner", "getPassword",
                           "getScriptContent", "getStartDate", "getStartTime", "getNextStart"}) {
    jni.failMethod(name);
  }
  jni.noteLookups();
  touchAll(ctx, task, true);
  EXPECT_EQ(jni.javaCalls(), 0);
  EXPECT_EQ(jni.failedLookups().size(), 16u);
  EXPECT_EQ(jni.lookups().size(), 16u);
  EXPECT_EQ(log.lines(), Strings{});
}

TEST_F(PropertyTest, MethodsAreLookedUpAtEachCallByNameAndSignature) {
  jni.noteLookups();
  task.getInt(ctx, "getState");
  task.getInt(ctx, "getState");
  rule.getDate(ctx, "getStartDate");
  rule.setTime(ctx, "setStartTime", nullptr);
  task.setClob(ctx, "setScriptContent", nullptr);
  EXPECT_EQ(jni.lookups(), (Strings{"com/orvik/kelvo/mesk/metadata/MDTask.getState()I",
                                    "com/orvik/kelvo/mesk/metadata/MDTask.getState()I",
                                    "com/orvik/kelvo/mesk/metadata/MDScheduleEvent.getStartDate()Ljava/sql/Date;",
                                    "com/orvik/kelvo/mesk/metadata/MDScheduleEvent.setStartTime(Ljava/sql/Time;)V",
                                    "com/orvik/kelvo/mesk/metadata/MDTask.setScriptContent(Ljava/sql/Clob;)V"}));
}

}  // namespace
}  // namespace mesk::test
