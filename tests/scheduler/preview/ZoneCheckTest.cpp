// The C library's zone and the JVM's, as tables.
#include <gtest/gtest.h>

#include <mesk/schedule/ScheduleFixture.h>
#include <scheduler/Zone.h>
#include <scheduler/ZoneCheck.h>

namespace mesk::host {
namespace {

constexpr time64 kFrom = 1767225600;  // 2026-01-01
constexpr time64 kUntil = kFrom + 400 * 86400;
const ClockChange kSpring{1774746000, 3600, 7200};  // 2026-03-29 01:00 UTC
const ClockChange kAutumn{1792890000, 7200, 3600};  // 2026-10-25 01:00 UTC

TEST(ZoneCheckTest, EqualTablesDoNotDiffer) {
  const ZoneRules zone{3600, {kSpring, kAutumn}};
  EXPECT_EQ(zoneDifferences(zone, zone, kFrom, kUntil), std::vector<ZoneDifference>{});
  const ZoneRules flat{3600, {}};
  EXPECT_EQ(zoneDifferences(flat, flat, kFrom, kUntil), std::vector<ZoneDifference>{});
}

TEST(ZoneCheckTest, EachTimeInWhichTheyDifferIsFoundFromItsFirstToItsLastSecond) {
  const ZoneRules zone{3600, {kSpring, kAutumn}};
  EXPECT_EQ(zoneDifferences(zone, {3600, {}}, kFrom, kUntil),
            (std::vector<ZoneDifference>{{kSpring.at, kAutumn.at, 7200, 3600}}));
  EXPECT_EQ(zoneDifferences({3600, {}}, zone, kFrom, kUntil),
            (std::vector<ZoneDifference>{{kSpring.at, kAutumn.at, 3600, 7200}}));
  ClockChange later = kSpring;
  later.at += 7 * 86400;
  EXPECT_EQ(zoneDifferences(zone, {3600, {later, kAutumn}}, kFrom, kUntil),
            (std::vector<ZoneDifference>{{kSpring.at, later.at, 7200, 3600}}));
  EXPECT_EQ(zoneDifferences({3600, {}}, {3660, {}}, kFrom, kUntil),
            (std::vector<ZoneDifference>{{kFrom, kUntil, 3600, 3660}}));
  EXPECT_EQ(zoneDifferences({3600, {{kFrom + 100, 3600, 7200}}}, {3600, {{kFrom + 100, 3600, 0}}}, kFrom, kUntil),
            (std::vector<ZoneDifference>{{kFrom + 100, kUntil, 7200, 0}}));
}

TEST(ZoneCheckTest, AChangeToTheSameOffsetEndsNoDifference) {
  const ZoneRules host{3600, {{kSpring.at, 3600, 3600}}};
  EXPECT_EQ(zoneDifferences(host, {0, {}}, kFrom, kUntil), (std::vector<ZoneDifference>{{kFrom, kUntil, 3600, 0}}));
}

TEST(ZoneCheckTest, AWarningNamesZoneDateAndBothOffsets) {
  EXPECT_EQ(
      zoneWarnings("Europe/Berlin", {{kSpring.at, kAutumn.at, 7200, 3600}}, 10),
      std::vector<std::string>{"zone Europe/Berlin: from 2026-03-29 01:00 UTC to 2026-10-25 01:00 UTC it is +02:00 "
                               "for the C library and +01:00 for the JVM"});
  EXPECT_NE(zoneWarnings("X", {{0, 60, -5400, 27}}, 10).at(0).find("-01:30 for the C library and +00:00:27"),
            std::string::npos);
  EXPECT_TRUE(zoneWarnings("X", {}, 10).empty());
}

TEST(ZoneCheckTest, NoMoreLinesThanAskedForAndTheLastCountsTheRest) {
  std::vector<ZoneDifference> many;
  for (time64 i = 0; i < 12; ++i) many.push_back({i * 100, i * 100 + 50, 0, 60});
  const auto lines = zoneWarnings("X", many, 10);
  ASSERT_EQ(lines.size(), 10U);
  EXPECT_EQ(lines.back(), "zone X: and 3 more such times, the last until 1970-01-01 00:19:10 UTC");
  many.resize(10);
  EXPECT_EQ(zoneWarnings("X", many, 10).size(), 10U);
}

TEST(ZoneCheckTest, TheHostsTableIsItsZone) {
  const InZone zone("Europe/Berlin");
  const ZoneRules host = hostZone(kFrom, kUntil, {});
  EXPECT_EQ(host.offset, 3600);
  EXPECT_EQ(host.changes, (std::vector<ClockChange>{kSpring, kAutumn}));
  EXPECT_EQ(host.offsetAt(kSpring.at - 1), 3600);
  EXPECT_EQ(host.offsetAt(kSpring.at), 7200);
}

TEST(ZoneCheckTest, AZoneThatTheSystemHasIsEntered) {
  const InZone outer("UTC");
  EXPECT_TRUE(enterZone("America/New_York"));
  EXPECT_EQ(zoneName(), "America/New_York");
  EXPECT_EQ(wallAt(kFrom) - kFrom, -5 * 3600);
  for (const char* none : {"", "Nowhere", "Europe", "/etc/localtime", "../zoneinfo/UTC", "tzdata.zi", "CET-1"}) {
    EXPECT_FALSE(enterZone(none)) << none;
    EXPECT_EQ(zoneName(), "America/New_York");
  }
}

}  // namespace
}  // namespace mesk::host
