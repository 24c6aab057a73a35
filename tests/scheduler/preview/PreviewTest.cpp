// What is foretold and what fires, by way of rules in Java.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <mesk/values/SQLDate.h>
#include <mesk/values/SQLTime.h>
#include <mesk/values/SimpleDateFormat.h>
#include <platform/Clock.h>
#include <scheduler/Definitions.h>
#include <scheduler/RandomRule.h>
#include <scheduler/Scratch.h>
#include <scheduler/Session.h>
#include <scheduler/ZoneCheck.h>

#include "ScheduleDocument.h"

namespace mesk::host {
namespace {

class PreviewTest : public testing::Test {
 protected:
  PreviewTest() : session_(StoreAddress("jdbc:sqlite:" + scratch_.at("store.mesk") + "?mesk.durability=off")) {}

  ThreadContext& ctx() { return session_.ctx(); }

  /// A rule in Java, of no store.
  StoredRule stored(const ScheduleRule& rule) {
    int rc = 0;
    int sqlCode = 0;
    auto event = std::make_unique<MDScheduleEvent>(ctx(), session_.context(), rc, sqlCode);
    session_.check(rc, sqlCode, "making a rule");
    const SimpleDateFormat day(ctx(), "yyyyMMdd");
    const SimpleDateFormat timeOfDay(ctx(), "HHmmss");
    SQLDate start(ctx(), day.parse(ctx(), rule.startDate.c_str()));
    SQLTime time(ctx(), timeOfDay.parse(ctx(), rule.startTime.c_str()));
    event->setStartDate(ctx(), &start);
    event->setStartTime(ctx(), &time);
    if (!rule.endDate.empty()) {
      SQLDate end(ctx(), day.parse(ctx(), rule.endDate.c_str()));
      event->setEndDate(ctx(), &end);
    }
    event->setIntervalType(ctx(), rule.intervalType);
    event->setIntervalUnit(ctx(), rule.intervalUnit);
    event->setDetail(ctx(), rule.detail);
    event->setRecurring(ctx(), rule.recurring);
    return {std::move(event), 1, rule, -1, {}};
  }

  /// The JVM goes into the zone that the process is in.
  void takeZoneOver(const std::string& zone) {
    JNIEnv* const env = ctx().env;
    const jclass type = env->FindClass("java/util/TimeZone");
    const jmethodID get = env->GetStaticMethodID(type, "getTimeZone", "(Ljava/lang/String;)Ljava/util/TimeZone;");
    const jmethodID set = env->GetStaticMethodID(type, "setDefault", "(Ljava/util/TimeZone;)V");
    const jstring name = env->NewStringUTF(zone.c_str());
    const jobject value = env->CallStaticObjectMethod(type, get, name);
    env->CallStaticVoidMethod(type, set, value);
    for (const jobject local : {static_cast<jobject>(type), static_cast<jobject>(name), value}) {
      env->DeleteLocalRef(local);
    }
  }

  /// What the scheduler does after each instant, by the function that it asks.
  std::vector<std::int64_t> fired(Definitions& definitions, const StoredRule& rule, std::int64_t first,
                                  std::size_t count) {
    std::vector<std::int64_t> runs;
    for (std::optional<std::int64_t> next = first; next && runs.size() < count;) {
      if (!runs.empty() && *next <= runs.back()) break;
      runs.push_back(*next);
      next = definitions.instantAfter(*rule.record, runs.back());
    }
    return runs;
  }

  Scratch scratch_;
  Session session_;
};

TEST_F(PreviewTest, FiftyThousandRulesAreForetoldAsTheyFire) {
  const char* const given = std::getenv("MESK_RULES");
  const std::size_t rules = given == nullptr ? 50'000 : std::strtoull(given, nullptr, 10);
  std::mt19937_64 random(randomSeed());
  Definitions definitions(session_);
  std::size_t several = 0;
  std::size_t marked = 0;
  for (std::size_t i = 0; i < rules; ++i) {
    ScheduleRule rule = randomRule(random);
    rule.startDate = "20150101";  // before what is in the queue, as always
    if (i % 2 == 0) rule.startTime = "023000";
    const StoredRule event = stored(rule);
    const std::int64_t first =
        (1577836800 + 3600 * std::uniform_int_distribution<std::int64_t>(0, 87600)(random)) * 1000;
    std::vector<Upcoming> starts;
    definitions.foretell(event, first, {first - 1000, INT64_MAX, 3, false}, starts);
    std::vector<std::int64_t> foretold;
    for (const Upcoming& next : starts) {
      foretold.push_back(next.start);
      if (!next.clocks.marks.empty() || !next.clocks.skipped.empty()) ++marked;
    }
    ASSERT_EQ(foretold, fired(definitions, event, first, 3)) << wordsOf(rule) << " from " << first;
    if (foretold.size() == 3) ++several;
  }
  EXPECT_GT(several, rules / 2);
  EXPECT_GT(marked, rules / 1000);
}

TEST_F(PreviewTest, WhatTheDocumentSaysOfTheSchedulerFires) {
  std::size_t rows = 0;
  std::size_t different = 0;
  for (const DocumentedRun& row : documentedRuns(MESK_DOCS "/schedules.md")) {
    SCOPED_TRACE("line " + std::to_string(row.line));
    const InZone zone(row.zone.c_str());
    takeZoneOver(row.zone);
    Definitions definitions(session_);
    const StoredRule rule = stored(row.parsedRule());
    const time64 reference = documentedTime(row.reference);
    if (row.fires) {
      ++rows;
      const auto next = definitions.instantAfter(*rule.record, reference * 1000);
      EXPECT_EQ(next ? shown(*next / 1000) : "none", shown(documentedTime(row.next)));
      // A calculator that were asked by itself would say otherwise for some: else the table would not be needed.
      const auto wrong = definitions.instantAfter(*rule.record, (reference + 86400) * 1000);
      if (wrong != next) ++different;
    }
  }
  takeZoneOver("Europe/Berlin");
  EXPECT_GE(rows, 10U);
  EXPECT_GE(different, rows / 2) << "a row that holds for any run says nothing";
}

TEST_F(PreviewTest, TheJvmsZoneIsThatOfTheCLibrary) {
  const time64 from = 1767225600;
  EXPECT_EQ(compareZone(session_, from, kZoneYears), std::vector<ZoneDifference>{});
  const ZoneRules jvm = jvmZone(session_, from, from + 365 * 86400);
  EXPECT_EQ(jvm.offset, 3600);
  EXPECT_EQ(jvm.changes, (std::vector<ClockChange>{{1774746000, 3600, 7200}, {1792890000, 7200, 3600}}));
}

TEST_F(PreviewTest, AZoneThatTheJvmReadsOtherwiseIsFound) {
  takeZoneOver("Africa/Cairo");
  const auto differences = compareZone(session_, 1767225600, kZoneYears);
  takeZoneOver("Europe/Berlin");
  ASSERT_FALSE(differences.empty());
  EXPECT_EQ(differences.front().host, 3600);
  EXPECT_EQ(differences.front().jvm, 7200);
  EXPECT_EQ(differences.front().from, 1767225600);
}

}  // namespace
}  // namespace mesk::host
