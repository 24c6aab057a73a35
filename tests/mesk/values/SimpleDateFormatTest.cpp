#include <mesk/support/AllocationFault.h>
#include <mesk/support/Captures.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* kPattern = "yyyyMMddHHmmss";

class SimpleDateFormatTest : public JvmTest {
 protected:
  /// The fourteen digits of a time in the zone of the process, which is the JVM's.
  static std::string digits(std::time_t seconds) {
    std::tm local{};
    localtime_r(&seconds, &local);
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &local);
    return text;
  }
};

TEST_F(SimpleDateFormatTest, TheEpochIsFourteenDigitsInTheJvmsZone) {
  const SimpleDateFormat format(ctx, kPattern);
  EXPECT_EQ(taken(format.format(ctx, Date(ctx, 0LL))), digits(0));
}

TEST_F(SimpleDateFormatTest, EveryKindOfDateIsFormatted) {
  const SimpleDateFormat format(ctx, kPattern);
  const long long millis = 1234567890123;
  const std::string text = digits(millis / 1000);
  EXPECT_EQ(taken(format.format(ctx, SCTimestamp(ctx, millis))), text);
  EXPECT_EQ(taken(SimpleDateFormat(ctx, "yyyyMMdd").format(ctx, SQLDate(ctx, millis))), text.substr(0, 8));
  EXPECT_EQ(taken(SimpleDateFormat(ctx, "HHmmss").format(ctx, SQLTime(ctx, millis))), text.substr(8));
}

TEST_F(SimpleDateFormatTest, WhatIsParsedIsFormattedToTheSameText) {
  const SimpleDateFormat format(ctx, kPattern);
  for (const char* text : {"19700101000000", "20000229235959", "20240704120000", "20371231235959"}) {
    const long long millis = format.parse(ctx, text);
    EXPECT_EQ(digits(static_cast<std::time_t>(millis / 1000)), text);
    EXPECT_EQ(taken(format.format(ctx, Date(ctx, millis))), text);
  }
}

TEST_F(SimpleDateFormatTest, ADeadDateIsNullWithoutACallOfJava) {
  const SimpleDateFormat format(ctx, kPattern);
  const Date dead(ctx, static_cast<jobject>(nullptr));
  const int calls = jni.calls();
  EXPECT_EQ(format.format(ctx, dead), nullptr);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(SimpleDateFormatTest, ADeadFormatterGivesNullAndZeroWithoutACallOfJava) {
  jni.failClass("java/text/SimpleDateFormat");
  const SimpleDateFormat dead(ctx, kPattern);
  const Date date(ctx, 1LL);
  const int calls = jni.calls();
  EXPECT_EQ(dead.format(ctx, date), nullptr);
  EXPECT_EQ(dead.parse(ctx, "19700101000000"), 0);
  EXPECT_EQ(jni.calls(), calls);
}

TEST_F(SimpleDateFormatTest, IsDeadWhateverOfItsMakingIsRefused) {
  const auto expectDead = [&](const char* what) {
    const SimpleDateFormat format(ctx, kPattern);
    EXPECT_EQ(format.object, nullptr) << what;
    jni.heal();
  };
  jni.failMethod("<init>");
  expectDead("constructor");
  jni.fail(JniTable::kNewObject, 1);
  expectDead("object");
  jni.fail(JniTable::kNewGlobalRef, 2);
  expectDead("reference to the object");
  jni.fail(JniTable::kNewGlobalRef, 1);
  const SimpleDateFormat format(ctx, kPattern);
  EXPECT_EQ(format.objectClass, nullptr);
}

TEST_F(SimpleDateFormatTest, MissingMethodsGiveNullAndZero) {
  const SimpleDateFormat format(ctx, kPattern);
  jni.failMethod("format");
  jni.failMethod("parse");
  EXPECT_EQ(format.format(ctx, Date(ctx, 0LL)), nullptr);
  EXPECT_EQ(format.parse(ctx, "19700101000000"), 0);
}

TEST_F(SimpleDateFormatTest, AParsedDateThatCannotBeAskedIsZero) {
  const SimpleDateFormat format(ctx, kPattern);
  jni.failClass("java/util/Date");
  EXPECT_EQ(format.parse(ctx, "20240704120000"), 0);
  jni.heal();
  jni.failMethod("getTime");
  EXPECT_EQ(format.parse(ctx, "20240704120000"), 0);
  EXPECT_EQ(jni.locals(), 0);
}

TEST_F(SimpleDateFormatTest, TextThatCannotBeParsedIsZeroAndLeavesJavasException) {
  const SimpleDateFormat format(ctx, kPattern);
  const int javaCalls = jni.javaCalls();
  EXPECT_EQ(format.parse(ctx, "tomorrow"), 0);
  EXPECT_EQ(jni.javaCalls(), javaCalls + 1);
  EXPECT_TRUE(takePendingException());
  EXPECT_EQ(format.parse(ctx, "20240704120000"), format.parse(ctx, "20240704120000"));
}

TEST_F(SimpleDateFormatTest, AnEmptyPatternReachesJavaAsNullAndMakesADeadFormatter) {
  const SimpleDateFormat format(ctx, "");  // Java refuses the null that it gets
  EXPECT_EQ(format.object, nullptr);
  EXPECT_TRUE(takePendingException());
}

TEST_F(SimpleDateFormatTest, WithoutMemoryTheTextIsNullAndThatIsLogged) {
  const LogCapture log;
  const SimpleDateFormat format(ctx, kPattern);
  const Date date(ctx, 0LL);
  const AllocationFault fault(AllocationFault::kNew, 2);
  EXPECT_EQ(format.format(ctx, date), nullptr);
  EXPECT_EQ(log.lines(), Strings{"0x10080161/10 \"Scheduler out of memory.\""});
}

TEST_F(SimpleDateFormatTest, IsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  {
    const SimpleDateFormat format(ctx, kPattern);
    taken(format.format(ctx, Date(ctx, 0LL)));
    format.parse(ctx, "20240704120000");
  }
  EXPECT_EQ(
      jni.lookups(),
      (Strings{"java/text/SimpleDateFormat", "java/text/SimpleDateFormat.<init>(Ljava/lang/String;)V", "java/util/Date",
               "java/util/Date.<init>(J)V", "java/text/SimpleDateFormat.format(Ljava/util/Date;)Ljava/lang/String;",
               "java/text/SimpleDateFormat.parse(Ljava/lang/String;)Ljava/util/Date;", "java/util/Date",
               "java/util/Date.getTime()J"}));
}

TEST_F(SimpleDateFormatTest, ATimestampPrintsItselfWithoutALineEnd) {
  SCTimestamp timestamp(ctx, 1234567890123);
  ::testing::internal::CaptureStderr();
  timestamp.print(ctx);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Timestamp: " + digits(1234567890));
}

TEST_F(SimpleDateFormatTest, ADeadTimestampPrintsNoDigits) {
  SCTimestamp dead(ctx, static_cast<jobject>(nullptr));
  ::testing::internal::CaptureStderr();
  dead.print(ctx);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Timestamp: ");
}

}  // namespace
}  // namespace mesk::test
