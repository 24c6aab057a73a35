#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <platform/Trace.h>
#include "Support.h"

namespace {

constexpr std::uint32_t kFunction = 0x1AE80186;

class TraceTest : public testing::Test {
 protected:
  ~TraceTest() override {
    mesk::setTraceSink(nullptr, nullptr);
    mesk::stopTrace();
  }

  /// The lines of the trace, each without its time and thread.
  std::vector<std::string> records() {
    static const std::regex head(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} \d+ )");
    std::vector<std::string> found;
    for (const std::string& line : support::lines(support::read(path_))) {
      std::smatch match;
      EXPECT_TRUE(std::regex_search(line, match, head, std::regex_constants::match_continuous)) << line;
      found.push_back(match.suffix());
    }
    return found;
  }

  support::Directory directory_;
  std::string path_ = directory_.file("trace");
};

void data(const void* address, std::size_t length) {
  _gtraceVar(ossThreadID(), kFunction, 10, 4, 0, 1, 0, length, address);
}

void call(std::int32_t code) {
  _gtraceEntry(ossThreadID(), kFunction, 0, 1000000);
  _gtraceErrorVar(ossThreadID(), kFunction, 20, 4, 0, 1, 0, sizeof code, &code);
  _gtraceExit(ossThreadID(), kFunction, &code, 0);
}

TEST_F(TraceTest, IsOffUntilSwitchedOn) {
  ASSERT_NE(g_pGTCB, nullptr);
  EXPECT_EQ(g_pGTCB->traceOn, 0u);
  call(1);
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  EXPECT_NE(g_pGTCB->traceOn, 0u);
  mesk::stopTrace();
  EXPECT_EQ(g_pGTCB->traceOn, 0u);
  call(1);
  EXPECT_EQ(support::read(path_), "");
}

TEST_F(TraceTest, EntryErrorAndExitAreLinesOfTheFile) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  call(-300);
  EXPECT_EQ(records(), (std::vector<std::string>{"1AE80186 entry", "1AE80186 error 20 type 4 int -300",
                                                 "1AE80186 exit int -300"}));
}

TEST_F(TraceTest, DataIsShownByItsKind) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  const std::int32_t number = 30013;
  data(&number, sizeof number);
  data("abcd", 4);
  data("jdbc:x\n\"", 8);
  data(nullptr, 0);
  data(nullptr, 4);
  struct tm time {};
  time.tm_sec = 1;
  time.tm_min = 2;
  time.tm_hour = 3;
  time.tm_mday = 4;
  time.tm_mon = 5;
  time.tm_year = 126;
  time.tm_wday = 6;
  time.tm_yday = 7;
  time.tm_isdst = -1;
  data(&time, 36);
  const std::string text = "a text of exactly thirty-six bytes..";
  data(text.data(), text.size());
  std::string hex;
  for (const char c : text) hex += fmt::format("{:02x}", c);
  EXPECT_EQ(records(), (std::vector<std::string>{
                           "1AE80186 data 10 type 4 int 30013",
                           "1AE80186 data 10 type 4 int 1684234849 \"abcd\"",
                           R"(1AE80186 data 10 type 4 bytes 6a6462633a780a22 "jdbc:x\x0a\"")",
                           "1AE80186 data 10 type 4 bytes  \"\"",
                           "1AE80186 data 10 type 4 bytes  \"\"",
                           "1AE80186 data 10 type 4 tm sec=1 min=2 hour=3 mday=4 mon=5 year=126 wday=6 yday=7 isdst=-1",
                           "1AE80186 data 10 type 4 bytes " + hex + " \"" + text + "\"",
                       }));
}

TEST_F(TraceTest, ExitWithoutARecordHasNoResult) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  _gtraceExit(ossThreadID(), kFunction, nullptr, 0);
  EXPECT_EQ(records(), std::vector<std::string>{"1AE80186 exit"});
}

TEST_F(TraceTest, FileThatCannotBeWrittenLeavesTheTraceOff) {
  EXPECT_FALSE(mesk::startTrace("/proc/no/such/file"));
  EXPECT_EQ(g_pGTCB->traceOn, 0u);
}

TEST_F(TraceTest, FullDiskEndsTheTrace) {
  ASSERT_TRUE(mesk::startTrace("/dev/full"));
  call(1);
  EXPECT_EQ(g_pGTCB->traceOn, 0u);
}

TEST_F(TraceTest, FileIsForItsOwnerOnly) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  using std::filesystem::perms;
  EXPECT_EQ(std::filesystem::status(path_).permissions(), perms::owner_read | perms::owner_write);
}

TEST_F(TraceTest, EnvironmentSwitchesOnWhenTheLibraryIsLoaded) {
  EXPECT_EQ(support::run(MESK_PROBE " trace", "MESK_TRACE=" + path_).status, 0);
  EXPECT_EQ(records(), std::vector<std::string>{"1AE80186 entry"});
  EXPECT_EQ(support::run(MESK_PROBE " trace").status, 3);
  const support::Result refused = support::run(MESK_PROBE " trace", "MESK_TRACE=/proc/no/such/file");
  EXPECT_EQ(refused.status, 3);
  EXPECT_NE(refused.out.find("MESK_TRACE: cannot write /proc/no/such/file"), std::string::npos);
}

TEST_F(TraceTest, SinkReceivesRawRecordsAndKeepsTheTraceOn) {
  std::vector<mesk::TraceRecord> seen;
  mesk::setTraceSink([](const mesk::TraceRecord& record,
                        void* context) { static_cast<std::vector<mesk::TraceRecord>*>(context)->push_back(record); },
                     &seen);
  EXPECT_NE(g_pGTCB->traceOn, 0u);
  call(7);
  mesk::setTraceSink(nullptr, nullptr);
  EXPECT_EQ(g_pGTCB->traceOn, 0u);
  call(7);
  ASSERT_EQ(seen.size(), 3u);
  EXPECT_EQ(seen[0].kind, mesk::TraceRecord::kEntry);
  EXPECT_EQ(seen[0].mask, 1000000u);
  EXPECT_EQ(seen[1].kind, mesk::TraceRecord::kError);
  EXPECT_EQ(seen[1].probe, 20u);
  EXPECT_EQ(seen[1].type, 4);
  EXPECT_EQ(seen[1].length, 4u);
  EXPECT_EQ(seen[2].kind, mesk::TraceRecord::kExit);
  EXPECT_EQ(seen[2].thread, ossThreadID());
}

TEST_F(TraceTest, EachThreadHasANumberOfItsOwn) {
  const std::uint64_t mine = ossThreadID();
  EXPECT_EQ(ossThreadID(), mine);
  std::uint64_t other = mine;
  std::thread([&] { other = ossThreadID(); }).join();
  EXPECT_NE(other, mine);
}

TEST_F(TraceTest, EightThreadsWriteWholeLinesWhileTheTraceIsSwitched) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  std::atomic<int> running{8};
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < 300; ++n) call(n);
      --running;
    });
  }
  for (int round = 0; running > 0; ++round) {
    mesk::setTraceSink(round % 2 == 0 ? [](const mesk::TraceRecord&, void*) {} : mesk::TraceSink{}, nullptr);
    std::this_thread::yield();
  }
  for (std::thread& thread : threads) thread.join();
  const std::vector<std::string> lines = records();
  EXPECT_EQ(lines.size(), 8u * 300 * 3);
  const std::regex whole(R"(1AE80186 (entry|error 20 type 4 int \d+|exit int \d+)( "[^"]*")?)");
  for (const std::string& line : lines) ASSERT_TRUE(std::regex_match(line, whole)) << line;
}

TEST_F(TraceTest, ConverterMakesEventsThatNest) {
  ASSERT_TRUE(mesk::startTrace(path_.c_str()));
  call(-300);
  data("\xFF\x80 no UTF-8", 11);
  mesk::stopTrace();
  const support::Result result = support::run(fmt::format(MESK_TRACE2JSON " {}", path_));
  ASSERT_EQ(result.status, 0) << result.out;
  const auto events = nlohmann::json::parse(result.out);
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[0]["ph"], "B");
  EXPECT_EQ(events[0]["name"], "0x1AE80186");
  EXPECT_EQ(events[0]["tid"], ossThreadID());
  EXPECT_EQ(events[1]["ph"], "i");
  EXPECT_EQ(events[1]["name"], "0x1AE80186 error 20");
  EXPECT_EQ(events[1]["args"]["value"], "type 4 int -300");
  EXPECT_EQ(events[2]["ph"], "E");
  EXPECT_EQ(events[2]["args"]["result"], "int -300");
  std::int64_t last = 0;
  for (const auto& event : events) {
    EXPECT_GE(event["ts"].get<std::int64_t>(), last);
    last = event["ts"];
  }
}

TEST_F(TraceTest, ConverterReadsTheTimeToTheMicrosecond) {
  support::write(path_, "2026-07-11 12:34:56.123456 42 1AE80186 entry\n");
  const std::string out = directory_.file("json");
  ASSERT_EQ(support::run(fmt::format(MESK_TRACE2JSON " {} {}", path_, out)).status, 0);
  EXPECT_EQ(nlohmann::json::parse(support::read(out))[0]["ts"], 1783773296123456);
}

TEST_F(TraceTest, ConverterReportsLinesThatAreNoTrace) {
  support::write(path_, "2026-07-11 12:34:56.123456 42 1AE80186 entry\nnonsense\n");
  const support::Result result = support::run(fmt::format(MESK_TRACE2JSON " {} /dev/null", path_));
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.out.find(":2: not a line of a trace"), std::string::npos) << result.out;
}

TEST_F(TraceTest, ConverterKeepsWhatComesBeforeAnIncompleteLastLine) {
  support::write(path_, "2026-07-11 12:34:56.123456 42 1AE80186 entry\n2026-07-11 12:3");
  const std::string out = directory_.file("json");
  const support::Result result = support::run(fmt::format(MESK_TRACE2JSON " {} {}", path_, out));
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.out.find("incomplete"), std::string::npos);
  EXPECT_EQ(nlohmann::json::parse(support::read(out)).size(), 1u);
}

TEST_F(TraceTest, ConverterOfAnEmptyTraceIsAnEmptyArray) {
  support::write(path_, "");
  const support::Result result = support::run(fmt::format(MESK_TRACE2JSON " {}", path_));
  EXPECT_EQ(result.status, 0);
  EXPECT_TRUE(nlohmann::json::parse(result.out).empty());
}

TEST_F(TraceTest, ConverterTellsHowItIsUsed) {
  for (const char* const option : {"--help", "-h"}) {
    const support::Result help = support::run(fmt::format(MESK_TRACE2JSON " {}", option));
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.find("usage: mesk-trace2json [TRACE [JSON]]\n"), 0u) << help.out;
  }
  const support::Result tooMany = support::run(MESK_TRACE2JSON " a b c");
  EXPECT_EQ(tooMany.status, 2);
  EXPECT_EQ(tooMany.out.find("usage: "), 0u) << tooMany.out;
}

TEST_F(TraceTest, ConverterReadsItsStandardInput) {
  support::write(path_, "2026-07-11 12:34:56.123456 42 1AE80186 exit int 7\n");
  for (const char* const arguments : {"", "-"}) {
    const support::Result result = support::run(fmt::format(MESK_TRACE2JSON " {} <{}", arguments, path_));
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(nlohmann::json::parse(result.out)[0]["args"]["result"], "int 7");
  }
}

TEST_F(TraceTest, ConverterNamesTheFileThatItCannotReadOrWrite) {
  support::Result result = support::run(MESK_TRACE2JSON " /no/trace");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "mesk-trace2json: cannot read /no/trace\n");
  support::write(path_, "");
  result = support::run(fmt::format(MESK_TRACE2JSON " {} /no/folder", path_));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "mesk-trace2json: cannot write /no/folder\n");
  result = support::run(fmt::format(MESK_TRACE2JSON " {} /dev/full", path_));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "mesk-trace2json: cannot write\n");
}

TEST_F(TraceTest, ConverterTakesNothingForARecordThatIsNone) {
  const std::string whole = "2026-07-11 12:34:56.123456 42 1AE80186 data 10 type 4 int 1";
  const auto status = [&](const std::string& line) {
    support::write(path_, line + "\n");
    return support::run(fmt::format(MESK_TRACE2JSON " {} /dev/null", path_)).status;
  };
  ASSERT_EQ(status(whole), 0);
  const auto with = [&](const char* old, const char* other) {
    std::string line = whole;
    return line.replace(line.find(old), std::string(old).size(), other);
  };
  const std::pair<const char*, const char*> changes[] = {
      {"2026-", "2026/"}, {"07-11", "07/11"},  {"-11 ", "-111 "},       {"12:", "12."},       {"34:", "34."},
      {"56.", "56:"},     {"123456", "12345"}, {"2026", "20x6"},        {"07-", "0x-"},       {"-11", "-1x"},
      {"12:3", "x2:3"},   {"34:5", "x4:5"},    {"56.", "x6."},          {"123456", "12345x"}, {"07-11", "02-30"},
      {" 42 ", " x2 "},   {" 42 ", " 42x "},   {"1AE80186", "1AE8018"}, {"data", "date"},     {" 10 ", " x "},
  };
  for (const auto& [old, other] : changes) EXPECT_EQ(status(with(old, other)), 1) << with(old, other);
}

}  // namespace
