// Schedule rules: their properties, and the next run that a rule in Java gives.
#include <mesk/schedule/MDScheduleEvent.h>
#include <mesk/schedule/ScheduleCalculator.h>
#include <mesk/schedule/ScheduleFixture.h>
#include <mesk/support/WrapperTest.h>
#include <mesk/values/SimpleDateFormat.h>
#include <platform/Clock.h>

#include <cstdlib>
#include <iostream>
#include <random>

namespace mesk::test {
namespace {

// The JVM takes its zone from the environment once, when it starts; the C library must see the same.
const bool kInBerlin = (::setenv("TZ", "Europe/Berlin", 1), ::tzset(), true);

const char* const kNextTime = "0x1AE8018B";

class MDScheduleEventTest : public WrapperTest<MDScheduleEvent> {
 protected:
  MDScheduleEventTest() : WrapperTest("MDScheduleEvent") {}
  ~MDScheduleEventTest() override { resetClock(); }

  /// Makes `live` a rule that started at that local time.
  void rule(int type, int unit, int detail, const char* start = "20240101080000") {
    live.setRecurring(ctx, 1);
    live.setIntervalType(ctx, type);
    live.setIntervalUnit(ctx, unit);
    live.setDetail(ctx, detail);
    SQLDate date(ctx, millisOf(start));
    SQLTime time(ctx, millisOf(start));
    live.setStartDate(ctx, &date);
    live.setStartTime(ctx, &time);
    live.setEndDate(ctx, nullptr);
  }

  void endsOn(const char* day) {
    SQLDate date(ctx, millisOf((std::string(day) + "000000").c_str()));
    live.setEndDate(ctx, &date);
  }

  /// A local time of fourteen digits in milliseconds.
  long long millisOf(const char* local) { return SimpleDateFormat(ctx, "yyyyMMddHHmmss").parse(ctx, local); }

  /// The next run after `reference`, in milliseconds; -1 for none. The clock stands at `reference`.
  long long nextMillis(long long reference, int allowReference = 0) {
    setClock(reference);
    SCTimestamp timestamp(ctx, reference);
    const std::unique_ptr<SCTimestamp> next(live.getNextScheduledTime(ctx, &timestamp, allowReference));
    return next == nullptr ? -1 : next->getTime(ctx);
  }

  /// As above, as a local time of fourteen digits; "none".
  std::string next(const char* reference, int allowReference = 0) {
    return localOf(nextMillis(millisOf(reference), allowReference));
  }

  std::string localOf(long long millis) {
    if (millis == -1) return "none";
    const SCTimestamp timestamp(ctx, millis);
    return taken(SimpleDateFormat(ctx, "yyyyMMddHHmmss").format(ctx, timestamp));
  }

  /// What the exit record says of a rule without a next run.
  void expectNoneWith(int code) {
    const TraceCapture trace;
    EXPECT_EQ(next("20240301120000"), "none");
    EXPECT_EQ(trace.lines().back(), std::string("exit ") + kNextTime + " " + std::to_string(code));
    EXPECT_EQ(trace.lines().front(), std::string("entry ") + kNextTime);
  }
};

TEST_F(MDScheduleEventTest, EachPropertyIsOneJavaPropertyOfItsType) {
  SQLDate date(ctx, 1711839600000LL);
  SQLTime time(ctx, 28800000LL);
  property("getScheduleEventID()J", &MDScheduleEvent::getScheduleEventID, "setScheduleEventID(J)V",
           &MDScheduleEvent::setScheduleEventID, 5000000000LL + 1);
  property("getStartDate()Ljava/sql/Date;", &MDScheduleEvent::getStartDate, "setStartDate(Ljava/sql/Date;)V",
           &MDScheduleEvent::setStartDate, &date);
  property("getStartTime()Ljava/sql/Time;", &MDScheduleEvent::getStartTime, "setStartTime(Ljava/sql/Time;)V",
           &MDScheduleEvent::setStartTime, &time);
  property("getEndDate()Ljava/sql/Date;", &MDScheduleEvent::getEndDate, "setEndDate(Ljava/sql/Date;)V",
           &MDScheduleEvent::setEndDate, &date);
  property("getIntervalType()I", &MDScheduleEvent::getIntervalType, "setIntervalType(I)V",
           &MDScheduleEvent::setIntervalType, 105);
  property("getIntervalUnit()I", &MDScheduleEvent::getIntervalUnit, "setIntervalUnit(I)V",
           &MDScheduleEvent::setIntervalUnit, 106);
  property("getDetail()I", &MDScheduleEvent::getDetail, "setDetail(I)V", &MDScheduleEvent::setDetail, 107);
  property("getRecurring()I", &MDScheduleEvent::getRecurring, "setRecurring(I)V", &MDScheduleEvent::setRecurring, 108);
}

TEST_F(MDScheduleEventTest, CreatingMakesAJavaRule) {
  checkCreation([&](int& rc, int& sqlCode) { return std::make_unique<MDScheduleEvent>(ctx, context, rc, sqlCode); });
}

TEST_F(MDScheduleEventTest, WrappingTakesTheFirstReferenceAndIgnoresTheSecond) {
  const MDScheduleEvent event(ctx, record, newFake("MDTask"));
  EXPECT_TRUE(ctx.env->IsSameObject(event.object, record));
  const MDScheduleEvent none(ctx, nullptr, record);
  EXPECT_EQ(none.object, nullptr);
}

TEST_F(MDScheduleEventTest, StoreOperationsReportAndLogNothing) {
  const Operation<MDScheduleEvent> operations[] = {
      {"insert", storeMethod("", "V"), "insert(context, exception)",
       byResult([&](MDScheduleEvent& event, int& sqlCode) { return event.insert(ctx, context, sqlCode); })},
      {"update", storeMethod("", "V"), "update(context, exception)",
       byResult([&](MDScheduleEvent& event, int& sqlCode) { return event.update(ctx, context, sqlCode); })},
      {"delete", storeMethod("", "V"), "delete(context, exception)",
       byResult([&](MDScheduleEvent& event, int& sqlCode) { return event.deleteIt(ctx, context, sqlCode); })},
      {"getReferenceID", storeMethod("", "J"), "getReferenceID(context, exception)",
       byOutputs([&](MDScheduleEvent& event, int& rc, int& sqlCode) {
         EXPECT_EQ(event.getReferenceID(ctx, context, rc, sqlCode), 0);
       })},
  };
  for (const auto& op : operations) checkOperation(op);
}

TEST_F(MDScheduleEventTest, ARuleIsAskedForItsPropertiesInThisOrder) {
  rule(kEveryDays, 1, 0);
  endsOn("20300101");
  script.forget();
  EXPECT_EQ(next("20240301080000"), "20240302080000");
  EXPECT_EQ(script.properties(), (Strings{"MDScheduleEvent.getScheduleEventID()", "MDScheduleEvent.getRecurring()",
                                          "MDScheduleEvent.getIntervalType()", "MDScheduleEvent.getIntervalUnit()",
                                          "MDScheduleEvent.getDetail()", "MDScheduleEvent.getStartDate()",
                                          "MDScheduleEvent.getStartTime()", "MDScheduleEvent.getEndDate()"}))
      << "and no exception object is made";
  EXPECT_EQ(script.calls(), Strings{});
}

TEST_F(MDScheduleEventTest, EachKindOfRuleGivesItsNextRun) {
  struct {
    int type, unit, detail;
    const char* reference;
    const char* expected;
  } const examples[] = {
      {kEveryMinutes, 10, 0, "20240301120000", "20240301121000"},
      {kEveryHours, 6, 0, "20240301120000", "20240301180000"},
      {kEveryDays, 2, 0, "20240301080000", "20240303080000"},
      {kEveryWeeks, 1, 1, "20240301080000", "20240304080000"},  // Mondays
      {kMonthsOnDay, 1, 31, "20240131080000", "20240229080000"},
      {kMonthsOnNthWeekday, 1, 9, "20240312080000", "20240409080000"},  // second Tuesdays
      {kEveryYears, 1, 0, "20240101080000", "20250101080000"},
  };
  for (const auto& example : examples) {
    SCOPED_TRACE(example.expected);
    rule(example.type, example.unit, example.detail);
    EXPECT_EQ(next(example.reference), example.expected);
  }
}

TEST_F(MDScheduleEventTest, TheReferenceItselfMayBeTheRunOnlyWhenAllowed) {
  rule(kEveryDays, 1, 0);
  const long long reference = millisOf("20240302080000");
  SCTimestamp timestamp(ctx, reference);
  setClock(reference - 1000);
  const std::unique_ptr<SCTimestamp> allowed(live.getNextScheduledTime(ctx, &timestamp, 1));
  const std::unique_ptr<SCTimestamp> stepped(live.getNextScheduledTime(ctx, &timestamp, 0));
  EXPECT_EQ(localOf(allowed->getTime(ctx)), "20240302080000");
  EXPECT_EQ(localOf(stepped->getTime(ctx)), "20240303080000");
}

TEST_F(MDScheduleEventTest, WithoutAnEndDateARuleNeverRunsOut) {
  rule(kEveryYears, 10, 0, "20000101080000");
  for (int year = 2020; year < 2200; year += 10) {
    EXPECT_EQ(next((std::to_string(year) + "0101080000").c_str()), std::to_string(year + 10) + "0101080000");
  }
}

TEST_F(MDScheduleEventTest, TheEndDateIsTheLastDay) {
  rule(kEveryDays, 1, 0);
  endsOn("20240302");
  EXPECT_EQ(next("20240301080000"), "20240302080000");
  endsOn("20240301");
  expectNoneWith(kPastEnd);
}

TEST_F(MDScheduleEventTest, TheResultHasWholeSeconds) {
  rule(kEveryMinutes, 10, 0);
  EXPECT_EQ(nextMillis(millisOf("20240301120000") + 789), millisOf("20240301121000"));
}

TEST_F(MDScheduleEventTest, AnIntervalTypeOutOfRangeStopsBeforeAnyDateIsRead) {
  rule(7, 1, 0);
  script.forget();
  expectNoneWith(kBadIntervalType);
  EXPECT_EQ(script.properties(), (Strings{"MDScheduleEvent.getScheduleEventID()", "MDScheduleEvent.getRecurring()",
                                          "MDScheduleEvent.getIntervalType()"}));
}

TEST_F(MDScheduleEventTest, EachPropertyOutOfRangeGivesNoRun) {
  rule(kEveryDays, 1, 0);
  live.setRecurring(ctx, 2);
  expectNoneWith(kBadRecurring);
  rule(-1, 1, 0);
  expectNoneWith(kBadIntervalType);
  rule(kEveryDays, 32, 0);
  expectNoneWith(kBadIntervalUnit);
  rule(kEveryDays, 0, 0);
  expectNoneWith(kBadIntervalUnit);
  rule(kEveryDays, 1, 43);
  expectNoneWith(kBadDetail);
}

TEST_F(MDScheduleEventTest, ARuleThatFiresOnceStillHasANextRun) {
  rule(kEveryDays, 1, 0);
  live.setRecurring(ctx, 0);
  EXPECT_EQ(next("20240301080000"), "20240302080000");
}

TEST_F(MDScheduleEventTest, WithoutAStartThereIsNoRunAndNothingIsFormatted) {
  rule(kEveryDays, 1, 0);
  live.setStartDate(ctx, nullptr);
  jni.failMethod("format");
  expectNoneWith(kNotConvertible);
  jni.heal();
  rule(kEveryDays, 1, 0);
  live.setStartTime(ctx, nullptr);
  expectNoneWith(kNotConvertible);
}

TEST_F(MDScheduleEventTest, WithoutAReferenceThereIsNoRun) {
  rule(kEveryDays, 1, 0);
  SCTimestamp none(ctx, nullptr);
  EXPECT_EQ(live.getNextScheduledTime(ctx, nullptr, 0), nullptr);
  EXPECT_EQ(live.getNextScheduledTime(ctx, &none, 0), nullptr);
}

TEST_F(MDScheduleEventTest, ADeadRuleHasNoRun) {
  SCTimestamp reference(ctx, millisOf("20240301120000"));
  EXPECT_EQ(dead.getNextScheduledTime(ctx, &reference, 0), nullptr);
  EXPECT_EQ(dead.isEndToStart(ctx), 0);
}

TEST_F(MDScheduleEventTest, WithoutJavasFormatterThereIsNoRun) {
  rule(kEveryDays, 1, 0);
  const long long reference = millisOf("20240301120000");
  for (const char* const method : {"format", "<init>"}) {
    SCTimestamp timestamp(ctx, reference);
    jni.failMethod(method);
    EXPECT_EQ(live.getNextScheduledTime(ctx, &timestamp, 0), nullptr) << method;
    jni.heal();
  }
  SCTimestamp timestamp(ctx, reference);
  jni.failClass("java/text/SimpleDateFormat");
  EXPECT_EQ(live.getNextScheduledTime(ctx, &timestamp, 0), nullptr);
}

TEST_F(MDScheduleEventTest, AReferenceThatConvertsToMinusOneIsTracedWithItsBrokenDownTime) {
  rule(kEveryMinutes, 10, 0);
  const TraceCapture trace;
  EXPECT_EQ(nextMillis(-1000), -1);
  const auto records = trace.records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[1].kind, TraceRecord::kError);
  EXPECT_EQ(records[1].function, 0x1AE8018Bu);
  EXPECT_EQ(records[1].probe, 10u);
  ASSERT_EQ(records[1].bytes.size(), 36u);
  std::int32_t fields[9];
  std::memcpy(fields, records[1].bytes.data(), sizeof fields);
  EXPECT_EQ(fields[5], 70);  // 00:59:59 on 1 January 1970
  EXPECT_EQ(fields[4], 0);
  EXPECT_EQ(fields[3], 1);
  EXPECT_EQ(fields[2], 0);
  EXPECT_EQ(fields[1], 59);
  EXPECT_EQ(fields[0], 59);
  EXPECT_EQ(trace.lines().back(), "exit 0x1AE8018B -301");
}

TEST_F(MDScheduleEventTest, NothingIsTracedOrLoggedBeyondEntryAndExit) {
  rule(kEveryDays, 1, 0);
  const LogCapture log;
  const TraceCapture trace;
  next("20240301120000");
  endsOn("20240101");
  next("20240301120000");
  EXPECT_EQ(log.lines(), Strings{});
  const Strings lines = trace.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "exit 0x1AE8018B 0"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "exit 0x1AE8018B -302"), 1);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "entry 0x1AE8018B"), 2);
}

TEST_F(MDScheduleEventTest, ASummerReferenceKeepsItsHour) {
  rule(kEveryMinutes, 10, 0);
  EXPECT_EQ(nextMillis(at("2024-07-01 12:00:00 +0200") * 1000), at("2024-07-01 12:10:00 +0200") * 1000);
}

TEST_F(MDScheduleEventTest, BothPassesOfTheAutumnHourAreOneReference) {
  rule(kEveryDays, 1, 0);
  const long long first = at("2024-10-27 02:30:00 +0200") * 1000;
  const long long second = at("2024-10-27 02:30:00 +0100") * 1000;
  EXPECT_EQ(localOf(nextMillis(first)), localOf(nextMillis(second)));
}

TEST_F(MDScheduleEventTest, ARuleInJavaRunsWhenItsCalculatorSays) {
  const char* const given = std::getenv("MESK_SEED");
  const unsigned seed =
      given == nullptr ? std::random_device{}() : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
  std::cout << "MESK_SEED=" << seed << std::endl;
  std::mt19937 random(seed);
  const auto between = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  const int units[] = {1000, 24, 31, 52, 12, 12, 10};
  int runs = 0;
  for (int i = 0; i < 300; ++i) {
    const int type = between(0, 6);
    const int unit = between(1, units[type]);
    const int detail = type == kEveryWeeks           ? between(0, 7)
                       : type == kMonthsOnDay        ? between(1, 31)
                       : type == kMonthsOnNthWeekday ? between(1, 35)
                                                     : 0;
    char start[15];
    std::snprintf(start, sizeof start, "%04d%02d%02d%02d%02d%02d", between(1990, 2030), between(1, 12), between(1, 28),
                  between(4, 23), between(0, 59), between(0, 59));
    // Far from the changes of the clocks in the small hours, where a local time can name two instants.
    const long long reference = (at("1991-06-01 10:00:00") + 86400LL * between(0, 14000) + between(0, 3600)) * 1000;
    SCOPED_TRACE(::testing::Message() << type << " " << unit << " " << detail << " from " << start << " after "
                                      << localOf(reference));
    rule(type, unit, detail, start);

    ScheduleCalculator calculator;
    const auto number = [&](int first, int width) {
      return std::stoi(std::string(start).substr(static_cast<std::size_t>(first), static_cast<std::size_t>(width)));
    };
    calculator.setRecurring(1);
    calculator.setIntervalType(type);
    calculator.setIntervalUnit(unit);
    calculator.setDetail(detail);
    calculator.setStartYear(number(0, 4));
    calculator.setStartMonth(number(4, 2));
    calculator.setStartDay(number(6, 2));
    calculator.setStartHour(number(8, 2));
    calculator.setStartMinute(number(10, 2));
    calculator.setStartSecond(number(12, 2));
    time64 expected = reference / 1000;
    setClock(reference);
    const int code = computeNextTime(calculator, expected, 0);
    EXPECT_EQ(localOf(nextMillis(reference)), code == 0 ? localOf(expected * 1000) : "none");
    if (code == 0) ++runs;
  }
  EXPECT_GT(runs, 250);
}

TEST_F(MDScheduleEventTest, OnlyMinutesHoursAndDaysWithDetail1CountFromTheEnd) {
  for (const int type : {-2147483647 - 1, -1, 0, 1, 2, 3, 4, 5, 6, 7, 2147483647}) {
    for (const int detail : {-1, 0, 1, 2}) {
      live.setIntervalType(ctx, type);
      live.setDetail(ctx, detail);
      EXPECT_EQ(live.isEndToStart(ctx), type >= 0 && type <= 2 && detail == 1 ? 1 : 0) << type << " " << detail;
    }
  }
  script.forget();
  live.isEndToStart(ctx);
  EXPECT_EQ(script.properties(), (Strings{"MDScheduleEvent.getDetail()", "MDScheduleEvent.getIntervalType()"}));
}

}  // namespace
}  // namespace mesk::test
