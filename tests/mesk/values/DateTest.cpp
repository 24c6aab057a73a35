#include <mesk/bridge/Invoke.h>
#include <mesk/support/JvmTest.h>
#include <mesk/values/SCTimestamp.h>
#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <platform/Clock.h>

#include <functional>
#include <limits>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

/// With the constructors open that a derived class uses when it makes the Java object itself.
class OpenDate : public Date {
 public:
  OpenDate(ThreadContext& ctx, long long millis, unsigned char kind) : Date(ctx, millis, kind) {}
  OpenDate(ThreadContext& ctx, unsigned char kind) : Date(ctx, kind) {}
};

class DateTest : public JvmTest {
 protected:
  bool isA(const MDObject& value, const char* className) {
    const LocalRef<jclass> cls(ctx.env, ctx.env->FindClass(className));
    return ctx.env->IsInstanceOf(value.object, cls.get()) == JNI_TRUE &&
           ctx.env->IsSameObject(value.objectClass, cls.get()) == JNI_TRUE;
  }
};

TEST_F(DateTest, ADateOfZeroIsTheEpoch) { EXPECT_EQ(Date(ctx, 0LL).getTime(ctx), 0); }

TEST_F(DateTest, MillisecondsComeBackAsTheyWent) {
  using Limits = std::numeric_limits<long long>;
  for (const long long millis : {0LL, 1LL, -1LL, 1234567890123LL, -62135596800000LL, Limits::max(), Limits::min()}) {
    EXPECT_EQ(Date(ctx, millis).getTime(ctx), millis);
    EXPECT_EQ(SQLDate(ctx, millis).getTime(ctx), millis);
    EXPECT_EQ(SQLTime(ctx, millis).getTime(ctx), millis);
  }
  for (const long long millis : {0LL, 1LL, -1LL, 1234567890123LL, -62135596800000LL}) {
    EXPECT_EQ(SCTimestamp(ctx, millis).getTime(ctx), millis);
  }
}

TEST_F(DateTest, EachKindIsOfItsOwnJavaClass) {
  EXPECT_TRUE(isA(Date(ctx, 1LL), "java/util/Date"));
  EXPECT_TRUE(isA(SCTimestamp(ctx, 1), "java/sql/Timestamp"));
  EXPECT_TRUE(isA(SQLDate(ctx, 1), "java/sql/Date"));
  EXPECT_TRUE(isA(SQLTime(ctx, 1), "java/sql/Time"));
}

TEST_F(DateTest, EachKindMakesOneJavaObject) {
  for (const auto make :
       {+[](ThreadContext& c) { const SCTimestamp value(c, 1); }, +[](ThreadContext& c) { const SQLDate value(c, 1); },
        +[](ThreadContext& c) { const SQLTime value(c, 1); }, +[](ThreadContext& c) { const Date value(c, 1LL); }}) {
    jni.forget();
    make(ctx);
    EXPECT_EQ(jni.javaCalls(), 1);
    EXPECT_EQ(jni.made(), 4);  // class and object, each local, then global
  }
}

TEST_F(DateTest, ADateOfNothingIsNow) {
  const long long before = clockMillis();
  const Date now(ctx);
  const long long after = clockMillis();
  EXPECT_GE(now.getTime(ctx), before);
  EXPECT_LE(now.getTime(ctx), after);
}

TEST_F(DateTest, WrapsWhatJavaHas) {
  const Date original(ctx, 4711LL);
  EXPECT_EQ(Date(ctx, original.object).getTime(ctx), 4711);
  const SCTimestamp timestamp(ctx, 4712);
  EXPECT_EQ(SCTimestamp(ctx, timestamp.object).getTime(ctx), 4712);
  const SQLDate date(ctx, 4713);
  EXPECT_EQ(SQLDate(ctx, date.object).getTime(ctx), 4713);
  const SQLTime time(ctx, 4714);
  EXPECT_EQ(SQLTime(ctx, time.object).getTime(ctx), 4714);
}

TEST_F(DateTest, ComparesAsJavaDoes) {
  const Date early(ctx, 1000LL);
  const Date late(ctx, 2000LL);
  const Date lateToo(ctx, 2000LL);
  EXPECT_LT(early.compareTo(ctx, late), 0);
  EXPECT_GT(late.compareTo(ctx, early), 0);
  EXPECT_EQ(late.compareTo(ctx, lateToo), 0);
}

TEST_F(DateTest, ComparesTimestampsByTheirMilliseconds) {
  const SCTimestamp early(ctx, 1000);
  const SCTimestamp late(ctx, 1001);
  EXPECT_LT(early.compareTo(ctx, late), 0);
  EXPECT_GT(late.compareTo(ctx, early), 0);
  EXPECT_EQ(late.compareTo(ctx, late), 0);
}

TEST_F(DateTest, ADeadDateIsZeroAndComparesAsEqual) {
  const Date dead(ctx, static_cast<jobject>(nullptr));
  const Date other(ctx, 1000LL);
  const int javaCalls = jni.javaCalls();
  EXPECT_EQ(dead.getTime(ctx), 0);
  EXPECT_EQ(dead.compareTo(ctx, other), 0);
  EXPECT_EQ(dead.compareTo(ctx, dead), 0);
  EXPECT_EQ(jni.javaCalls(), javaCalls);
}

TEST_F(DateTest, MissingMethodsAreZero) {
  const Date date(ctx, 1000LL);
  jni.failMethod("getTime");
  jni.failMethod("compareTo");
  EXPECT_EQ(date.getTime(ctx), 0);
  EXPECT_EQ(date.compareTo(ctx, date), 0);
}

TEST_F(DateTest, AKindOtherThanZeroLeavesTheObjectToADerivedClass) {
  for (const auto kind : std::initializer_list<unsigned char>{1, 2, 255}) {
    jni.forget();
    const OpenDate fromMillis(ctx, 4711, kind);
    const OpenDate now(ctx, kind);
    EXPECT_FALSE(isLive(fromMillis));
    EXPECT_FALSE(isLive(now));
    EXPECT_EQ(jni.calls(), 0);
  }
}

TEST_F(DateTest, KindZeroMakesAPlainDate) {
  const OpenDate fromMillis(ctx, 4711, 0);
  EXPECT_EQ(fromMillis.getTime(ctx), 4711);
  EXPECT_TRUE(isA(fromMillis, "java/util/Date"));
  const OpenDate now(ctx, static_cast<unsigned char>(0));
  EXPECT_TRUE(isA(now, "java/util/Date"));
}

TEST_F(DateTest, IsLookedUpByItsNamesAndSignatures) {
  jni.noteLookups();
  {
    const Date date(ctx, 1LL);
    const Date now(ctx);
    const SCTimestamp timestamp(ctx, 1);
    const SQLDate day(ctx, 1);
    const SQLTime time(ctx, 1);
    date.getTime(ctx);
    date.compareTo(ctx, now);
  }
  EXPECT_EQ(jni.lookups(),
            (Strings{"java/util/Date", "java/util/Date.<init>(J)V", "java/util/Date", "java/util/Date.<init>()V",
                     "java/sql/Timestamp", "java/sql/Timestamp.<init>(J)V", "java/sql/Date", "java/sql/Date.<init>(J)V",
                     "java/sql/Time", "java/sql/Time.<init>(J)V", "java/util/Date.getTime()J",
                     "java/util/Date.compareTo(Ljava/util/Date;)I"}));
}

/// One date of each kind, which must be dead.
void expectAllDead(ThreadContext& ctx, const std::function<void()>& arrange) {
  const auto expectDead = [&](const Date& date, const char* what) {
    EXPECT_FALSE(isLive(date)) << what;
    EXPECT_EQ(date.getTime(ctx), 0) << what;
  };
  arrange();
  expectDead(Date(ctx, 1LL), "from milliseconds");
  arrange();
  expectDead(Date(ctx), "now");
  arrange();
  expectDead(SCTimestamp(ctx, 1), "timestamp");
  arrange();
  expectDead(SQLDate(ctx, 1), "date");
  arrange();
  expectDead(SQLTime(ctx, 1), "time");
}

TEST_F(DateTest, IsDeadWithoutItsClass) {
  expectAllDead(ctx, [&] {
    for (const char* cls : {"java/util/Date", "java/sql/Timestamp", "java/sql/Date", "java/sql/Time"}) {
      jni.failClass(cls);
    }
  });
}

TEST_F(DateTest, IsDeadWithoutItsConstructor) {
  expectAllDead(ctx, [&] { jni.failMethod("<init>"); });
}

TEST_F(DateTest, IsDeadWhenTheObjectIsRefused) {
  expectAllDead(ctx, [&] { jni.fail(JniTable::kNewObject, 1); });
}

TEST_F(DateTest, IsDeadWhicheverGlobalReferenceIsRefused) {
  expectAllDead(ctx, [&] { jni.fail(JniTable::kNewGlobalRef, 1); });
  expectAllDead(ctx, [&] { jni.fail(JniTable::kNewGlobalRef, 2); });
}

}  // namespace
}  // namespace mesk::test
