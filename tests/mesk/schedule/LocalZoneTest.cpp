// The table of a zone, beside the C library's own conversions. Computations fall back on those where the table does not
// know; so here the table itself is asked.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <mesk/schedule/LocalZone.h>

#include "ScheduleFixture.h"
#include "Zones.h"

namespace mesk {
namespace {

constexpr time64 kDay = 86400;

/// Zones by name, each content once, and zones that are rules.
std::vector<std::string> differentZones() {
  std::vector<std::string> zones = zoneRules();
  std::set<std::string> met;
  for (const std::string& name : zoneNames()) {
    std::ifstream file(kZoneFolder / name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (met.insert(content).second) zones.push_back(name);
  }
  return zones;
}

std::tm localTime(time64 time) {
  const std::time_t seconds = time;
  std::tm local{};
  EXPECT_NE(::localtime_r(&seconds, &local), nullptr);
  return local;
}

std::string fields(const std::tm& local) {
  std::string text;
  for (const int field : {local.tm_year, local.tm_mon, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                          local.tm_wday, local.tm_yday, local.tm_isdst}) {
    text += std::to_string(field) + ' ';
  }
  return text;
}

unsigned seed() {
  const char* const given = std::getenv("MESK_SEED");
  const unsigned value =
      given == nullptr ? std::random_device{}() : static_cast<unsigned>(std::strtoul(given, nullptr, 10));
  std::cout << "MESK_SEED=" << value << std::endl;
  return value;
}

/// Any time of the years 1800 to 2600, or close to a change of the clocks.
class Times {
 public:
  Times(unsigned seedValue, const std::string& zone)
      : random_(seedValue), changes_(clockChanges(zone, -2208988800, 4733510400)) {}

  time64 next() {
    const auto upTo = [&](time64 last) { return std::uniform_int_distribution<time64>(0, last)(random_); };
    if (!changes_.empty() && upTo(1) == 0) {
      const auto nth = static_cast<std::size_t>(upTo(static_cast<time64>(changes_.size()) - 1));
      return changes_[nth].at + upTo(4 * 3600) - 2 * 3600;
    }
    return -5364662400 + upTo(25245648000);
  }
  int number(int lowest, int highest) { return std::uniform_int_distribution<int>(lowest, highest)(random_); }

 private:
  std::mt19937_64 random_;
  std::vector<ClockChange> changes_;
};

TEST(LocalZoneTest, EveryZoneOfTheSystemIsATableThatTellsEveryLocalTime) {
  unsigned seedValue = seed();
  const std::vector<std::string> zones = differentZones();
  for (const std::string& zone : zones) {
    const InZone inZone(zone.c_str());
    const LocalZone* const table = LocalZone::inForce();
    ASSERT_NE(table, nullptr) << zone;
    Times times(seedValue++, zone);
    ZoneTime byTable(*table, 0);
    for (int i = 0; i < 40; ++i) {
      const time64 time = times.next();
      std::tm own{};
      ASSERT_TRUE(byTable.breakDown(time, own)) << zone << ' ' << time;
      ASSERT_EQ(fields(own), fields(localTime(time))) << zone << ' ' << time;
      const Stretch stretch = table->at(time);
      ASSERT_TRUE(stretch.begin <= time && time < stretch.end) << zone << ' ' << time;
      for (const time64 moment : {stretch.begin, stretch.end - 1}) {
        if (moment < -5364662400 || moment > 19880985600) continue;
        ASSERT_EQ(localTime(moment).tm_gmtoff, stretch.offset) << zone << ' ' << moment;
        ASSERT_EQ(localTime(moment).tm_isdst != 0, stretch.summer) << zone << ' ' << moment;
      }
    }
    EXPECT_FALSE(byTable.outside());
  }
  EXPECT_GT(zones.size(), 250U) << "the zones were not found";
}

TEST(LocalZoneTest, EveryZoneOfTheSystemConvertsAsTheCLibraryWhateverTheFieldsAndTheFlag) {
  unsigned seedValue = seed();
  for (const std::string& zone : differentZones()) {
    const InZone inZone(zone.c_str());
    const LocalZone* const table = LocalZone::inForce();
    ASSERT_NE(table, nullptr) << zone;
    Times times(seedValue++, zone);
    for (int i = 0; i < 5; ++i) {
      const time64 reference = times.next();
      std::tm own = localTime(reference);
      std::tm library = own;
      // The C library carries on from its last conversion; both begin with that of the reference.
      if (::mktime(&library) != reference) continue;
      ZoneTime byTable(*table, reference);
      for (int step = 0; step < 4; ++step) {
        own = localTime(times.next());
        own.tm_isdst = times.number(0, 1);
        if (times.number(0, 4) == 0) own.tm_mon += times.number(-30, 30);
        if (times.number(0, 4) == 0) own.tm_mday += times.number(-400, 400);
        if (times.number(0, 4) == 0) own.tm_hour += times.number(-100, 100);
        if (times.number(0, 4) == 0) own.tm_min += times.number(-2000, 2000);
        // The first and the last value of a field, and what is just beyond.
        switch (times.number(0, 7)) {
          case 0:
            own.tm_mon = times.number(0, 1) * 12 + times.number(-1, 1);
            break;
          case 1:
            own.tm_mday = times.number(0, 1) * 31 + times.number(-2, 1);
            break;
          case 2:
            own.tm_hour = times.number(0, 1) * 24 + times.number(-1, 1);
            break;
          case 3:
            own.tm_min = times.number(0, 1) * 60 + times.number(-1, 1);
            break;
          default:
            break;
        }
        library = own;
        const std::string asked = fields(own);
        time64 time = 0;
        const bool converted = byTable.convert(own, time);
        ASSERT_FALSE(byTable.outside()) << zone << ": " << asked;
        const time64 expected = ::mktime(&library);
        ASSERT_EQ(time, expected) << zone << ": " << asked;
        ASSERT_EQ(converted, expected != -1) << zone << ": " << asked;
        if (converted) {
          ASSERT_EQ(fields(own), fields(library)) << zone << ": " << asked;
        }
      }
    }
  }
}

TEST(LocalZoneTest, WhatARuleMaySayIsATable) {
  const char* const rules[] = {
      "AAA0BBB,J59/0,J61/0",   // around the leap day that is not counted
      "AAA0BBB,J60/0,J60/3",   // on the day behind it
      "AAA0BBB,58/0,60/0",     // and where it is counted
      "AAA0BBB,J1/0,J365/24",  // the first and the last day
      "AAA0BBB,0/0,300/24",
      "AAA5BBB4:30:15,M1.1.0,M12.5.6",
      "AAA24BBB23,M2.4.3/1:02:03,M11.1.4/-1:02:03",
      "<A12>-24<+-0>,M3.5.0,M10.5.0",
      "AAA+3BBB+2,M4.1.0,M9.5.0",
      ":AAA3BBB,M4.1.0,M9.5.0",
      "AAA5:00:00BBB4:00:30,M4.1.0,M9.5.0",
      ":Europe/Berlin",
  };
  for (const char* const rule : rules) {
    const InZone inZone(rule);
    const LocalZone* const table = LocalZone::inForce();
    ASSERT_NE(table, nullptr) << rule;
    ZoneTime byTable(*table, 0);
    for (const char* const year : {"1969-12-25 00:00:00", "1999-12-25 00:00:00", "2099-12-25 00:00:00"}) {
      const time64 begin = at(year);
      for (time64 time = begin; time < begin + 750 * kDay; time += 3 * 3600 + 1) {
        std::tm own{};
        ASSERT_TRUE(byTable.breakDown(time, own));
        ASSERT_EQ(fields(own), fields(localTime(time))) << rule << ' ' << time;
      }
    }
  }
}

TEST(LocalZoneTest, WhatARuleMayNotSayIsNoTable) {
  const char* const rules[] = {
      "AA0",                     // a name is three letters at least
      "<A>0",                    // also in brackets
      "<AAA0",                   // which end
      "AAA",                     // an offset is there
      "AAAx",                    // and a number
      "AAA25",                   // of a day at most
      "AAA3:60",                 // and its minutes of an hour
      "AAA3:59:60",              // and its seconds of a minute
      "AAA0BB,M3.5.0,M10.5.0",   // a second name as well
      "AAA0BBB,M0.5.0,M10.5.0",  // months are 1 to 12
      "AAA0BBB,M13.5.0,M10.5.0",
      "AAA0BBB,M3.0.0,M10.5.0",  // weeks 1 to 5
      "AAA0BBB,M3.6.0,M10.5.0",
      "AAA0BBB,M3.5.7,M10.5.0",  // weekdays 0 to 6
      "AAA0BBB,M3-5.0,M10.5.0",  // with points between them
      "AAA0BBB,M3.5-0,M10.5.0",
      "AAA0BBB,J0,J300",  // days 1 to 365
      "AAA0BBB,J60,J366",
      "AAA0BBB,60,366",              // or 0 to 365
      "AAA0BBB,M3.5.0/168,M10.5.0",  // at a time of a week at most
      "AAA0BBB,M3.5.0;M10.5.0",      // both days, behind a comma
      "AAA0BBB,M3.5.0",
      "AAA0BBB,M3.5.0,M10.5.0x",  // and nothing more
      "AAA0BBB,M3.5.0,M10.5.0,J1",
  };
  for (const char* const rule : rules) {
    const InZone inZone(rule);
    EXPECT_EQ(LocalZone::inForce(), nullptr) << rule;
  }
}

TEST(LocalZoneTest, ARuleThatTheCLibraryReckonsInItsOwnWayIsNoTable) {
  // Day 365 is the next year's first where there is no leap day, and the time of day leads on from there.
  const InZone inZone("AAA0BBB,0/0,365/24");
  EXPECT_EQ(LocalZone::inForce(), nullptr);
}

TEST(LocalZoneTest, ConversionsAreSettledUntilTheClocksChange) {
  const InZone inZone("Europe/Berlin");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  const time64 winter = at("2024-02-01 12:00:00");
  const time64 spring = at("2024-03-31 01:00:00");
  const time64 autumn = at("2024-10-27 01:00:00");
  ZoneTime time(*table, winter);
  EXPECT_EQ(time.settledUntil(localTime(winter), winter), spring);
  // The last conversion was one of winter, and these are not.
  EXPECT_EQ(time.settledUntil(localTime(spring), spring), spring);
  ZoneTime summer(*table, spring);
  EXPECT_EQ(summer.settledUntil(localTime(spring), spring), autumn);
  std::tm otherFlag = localTime(spring);
  otherFlag.tm_isdst = 0;
  EXPECT_EQ(summer.settledUntil(otherFlag, spring), spring);
}

TEST(LocalZoneTest, TheSecondBefore1970SettlesNothing) {
  const InZone inZone("UTC");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  ZoneTime time(*table, 0);
  EXPECT_EQ(time.settledUntil(localTime(-2), -2), -1);
  EXPECT_GT(time.settledUntil(localTime(-1), -1), LocalZone::kFarthest);
  EXPECT_GT(time.settledUntil(localTime(0), 0), LocalZone::kFarthest);
  std::tm last = localTime(-1);
  time64 converted = 0;
  EXPECT_FALSE(time.convert(last, converted));
  EXPECT_EQ(converted, -1);
  EXPECT_FALSE(time.outside());
}

TEST(LocalZoneTest, BeyondTheFarthestTimeTheTableDoesNotAnswer) {
  const InZone inZone("UTC");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  for (const time64 farthest : {LocalZone::kFarthest, -LocalZone::kFarthest}) {
    const time64 beyond = farthest > 0 ? farthest + 1 : farthest - 1;
    std::tm local{};
    ZoneTime inside(*table, farthest);
    EXPECT_TRUE(inside.breakDown(farthest, local));
    EXPECT_FALSE(inside.outside());
    time64 time = 0;
    EXPECT_TRUE(inside.convert(local, time));
    EXPECT_EQ(time, farthest);
    EXPECT_FALSE(inside.outside());
    local.tm_sec += farthest > 0 ? 1 : -1;
    EXPECT_FALSE(inside.convert(local, time));
    EXPECT_TRUE(inside.outside());
    ZoneTime broken(*table, 0);
    EXPECT_FALSE(broken.breakDown(beyond, local));
    EXPECT_TRUE(broken.outside());
    ZoneTime settled(*table, 0);
    EXPECT_EQ(settled.settledUntil(local, beyond), beyond);
    EXPECT_TRUE(settled.outside());
    EXPECT_TRUE(ZoneTime(*table, beyond).outside());
  }
}

TEST(LocalZoneTest, SecondsBeyondAMinuteAndAnUnknownFlagAreNotTheTables) {
  const InZone inZone("UTC");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  const auto isOutside = [&](int second, int flag) {
    std::tm local = localTime(at("2024-05-05 05:05:05"));
    local.tm_sec = second;
    local.tm_isdst = flag;
    time64 time = 0;
    ZoneTime byTable(*table, 0);
    const bool converted = byTable.convert(local, time);
    EXPECT_EQ(converted, !byTable.outside());
    return byTable.outside();
  };
  EXPECT_FALSE(isOutside(0, 0));
  EXPECT_FALSE(isOutside(59, 1));
  EXPECT_TRUE(isOutside(-1, 0));
  EXPECT_TRUE(isOutside(60, 0));
  EXPECT_TRUE(isOutside(0, -1));
}

/// A folder of zones of the test's own, as the C library takes them.
class OwnZones {
 public:
  OwnZones() : folder_(std::filesystem::temp_directory_path() / ("mesk-zones-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(folder_);
    ::setenv("TZDIR", folder_.c_str(), 1);
  }
  ~OwnZones() {
    ::unsetenv("TZDIR");
    std::filesystem::remove_all(folder_);
  }
  OwnZones(const OwnZones&) = delete;
  OwnZones& operator=(const OwnZones&) = delete;

  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder_ / name, std::ios::binary) << content;
  }

 private:
  std::filesystem::path folder_;
};

std::string berlin() {
  std::ifstream file(kZoneFolder / "Europe/Berlin", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Where the part with 64-bit times begins: a header of 44 bytes, so many times and numbers of kinds, the kinds of six
/// bytes, and what follows them.
std::size_t longPart(const std::string& file) { return file.find("TZif", 4); }

std::size_t longKinds(const std::string& file) {
  const std::size_t counts = longPart(file) + 20;
  const auto times = static_cast<std::size_t>(static_cast<unsigned char>(file[counts + 14])) << 8U |
                     static_cast<unsigned char>(file[counts + 15]);
  return longPart(file) + 44 + times * 9;
}

/// The zone that `content` makes is a table, and the C library's own.
void expectTable(const OwnZones& zones, const char* name, const std::string& content) {
  zones.write(name, content);
  const InZone inZone(name);
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr) << name;
  for (time64 time = at("1850-01-01 00:00:00"); time < at("2150-01-01 00:00:00"); time += 30 * kDay) {
    ASSERT_EQ(table->at(time).offset, localTime(time).tm_gmtoff) << name << ' ' << time;
  }
}

TEST(LocalZoneTest, ZonesAreReadFromTheFolderThatTheEnvironmentNames) {
  const OwnZones zones;
  zones.write("Own", berlin());
  const InZone inZone("Own");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->at(at("2024-07-01 00:00:00")).offset, 7200);
}

TEST(LocalZoneTest, AFileWithNothingInItsPartOfShortTimesIsATable) {
  const OwnZones zones;
  std::string shortPart = "TZif2" + std::string(15 + 6 * 4 + 7, '\0');
  shortPart[20 + 19] = 1;  // one kind
  shortPart[20 + 23] = 1;  // of a name that is empty
  const std::string whole = berlin();
  expectTable(zones, "NoShortTimes", shortPart + whole.substr(longPart(whole)));
}

TEST(LocalZoneTest, BeforeItsFirstChangeAZoneHasTheFirstKindThatIsNoDaylightSaving) {
  const OwnZones zones;
  std::string file = berlin();
  ASSERT_EQ(file[longKinds(file) + 4], 0);
  file[longKinds(file) + 4] = 1;
  expectTable(zones, "FirstKindIsSummer", file);
}

TEST(LocalZoneTest, AFileWithoutARuleKeepsToItsLastChange) {
  const OwnZones zones;
  const std::string whole = berlin();
  expectTable(zones, "NoRule", whole.substr(0, whole.rfind('\n', whole.size() - 2)) + "\n\n");
  const InZone inZone("NoRule");
  const LocalZone* const table = LocalZone::inForce();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->at(at("2050-07-01 00:00:00")).offset, 3600);
}

TEST(LocalZoneTest, AFileThatEndsBeforeTheSizeThatItTellsIsNoTable) {
  const char* const file = "/sys/kernel/uevent_seqnum";
  ASSERT_GT(std::filesystem::file_size(file), 1000U) << "and what is in it is one number";
  const InZone inZone(file);
  EXPECT_EQ(LocalZone::inForce(), nullptr);
}

TEST(LocalZoneTest, AFileThatIsCutShortIsNeverATableOfItsOwn) {
  const OwnZones zones;
  const std::string whole = berlin();
  for (std::size_t length = 0; length < whole.size(); length += length < 200 || length + 60 > whole.size() ? 1 : 37) {
    const std::string name = "Cut" + std::to_string(length);
    zones.write(name, whole.substr(0, length));
    const InZone inZone(name.c_str());
    const LocalZone* const table = LocalZone::inForce();
    if (table == nullptr) continue;
    // Then it is what the C library makes of it.
    for (time64 time = at("1900-01-01 00:00:00"); time < at("2100-01-01 00:00:00"); time += 90 * kDay) {
      ASSERT_EQ(table->at(time).offset, localTime(time).tm_gmtoff) << name << ' ' << time;
    }
  }
}

TEST(LocalZoneTest, AFileWithAnyByteChangedIsWhatTheCLibraryMakesOfItOrNoTable) {
  const OwnZones zones;
  const std::string whole = berlin();
  std::mt19937 random(seed());
  for (int i = 0; i < 100; ++i) {
    std::string content = whole;
    const auto place = std::uniform_int_distribution<std::size_t>(0, i % 2 == 0 ? 200 : whole.size() - 1)(random);
    content[place] = static_cast<char>(std::uniform_int_distribution<int>(0, 255)(random));
    const std::string name = "Changed" + std::to_string(i);
    zones.write(name, content);
    const InZone inZone(name.c_str());
    const LocalZone* const table = LocalZone::inForce();
    if (table == nullptr) continue;
    for (time64 time = at("1900-01-01 00:00:00"); time < at("2100-01-01 00:00:00"); time += 90 * kDay) {
      ASSERT_EQ(table->at(time).offset, localTime(time).tm_gmtoff)
          << "byte " << place << " is " << int{content[place]} << ", time " << time;
    }
  }
}

}  // namespace
}  // namespace mesk
