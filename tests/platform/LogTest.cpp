#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <platform/CodePage.h>
#include <platform/Log.h>
#include "Support.h"

/// What was handed to the log service of the system, which this program is itself.
static std::vector<std::string> systemLog;

extern "C" __attribute__((visibility("default"))) void syslog(int /*priority*/, const char* format, ...) {
  char text[200];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  systemLog.emplace_back(text);
}

namespace {

constexpr std::size_t kPlenty = 1 << 30;

class LogTest : public testing::Test {
 protected:
  LogTest() { mesk::setProcessCodePage(mesk::kUtf8CodePage); }
  ~LogTest() override {
    mesk::setLogSink(nullptr, nullptr);
    mesk::stopLog();
    mesk::setProcessCodePage(0);
  }

  support::Directory directory_;
  std::string path_ = directory_.file("mesk.log");
};

void logNumber(std::int32_t number) {
  ossLog(nullptr, 0x10080140, 0, 10, 3, 1, static_cast<const void*>(&number), sizeof number, mesk::kLogInteger);
}

void logText(const std::string& text) {
  ossLog(nullptr, 0x10080161, 0, 20, 3, 1, static_cast<const void*>(text.data()), text.size(), mesk::kLogText);
}

TEST_F(LogTest, RecordShowsTimeThreadIdentifierProbeAndEachItem) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  const std::int32_t code = -300;
  const unsigned char bytes[] = {0x01, 0xAB};
  ossLog(nullptr, 0x10080125, 7, 10, 3, 4, static_cast<const void*>(&code), sizeof code, mesk::kLogInteger,
         static_cast<const void*>("jdbc"), std::size_t{4}, mesk::kLogText, static_cast<const void*>(bytes),
         sizeof bytes, std::int32_t{9}, static_cast<const void*>(nullptr), std::size_t{4}, mesk::kLogText);
  const std::regex expected(
      R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6} [+-]\d\d:\d\d \d+ 0x10080125 probe 10 level 3 code 7 int -300 text "jdbc" type 9 01ab null)"
      "\n");
  EXPECT_TRUE(std::regex_match(support::read(path_), expected)) << support::read(path_);
}

TEST_F(LogTest, TextCannotBreakItsLine) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  logText(std::string("a\n\r\x1b[31m\"\\\x7f\0z", 13));
  const std::string text = support::read(path_);
  EXPECT_EQ(support::lines(text).size(), 1u);
  EXPECT_NE(text.find(R"(text "a\x0a\x0d\x1b[31m\"\\\x7f\x00z")"), std::string::npos) << text;
}

TEST_F(LogTest, TextOfAnotherCodePageIsWrittenAsUtf8) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  mesk::setProcessCodePage(819);
  logText("caf\xE9");
  EXPECT_NE(support::read(path_).find("\"caf\xC3\xA9\""), std::string::npos);
}

TEST_F(LogTest, NobodyAskingMeansNothingIsWritten) {
  const support::Result result =
      support::run("sh -c 'cd " + directory_.path().string() + " && unset MESK_LOG && exec " MESK_PROBE " log'");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
}

TEST_F(LogTest, EnvironmentNamesAFile) {
  const support::Result result = support::run(MESK_PROBE " log", "MESK_LOG=" + path_);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(support::read(path_).find("0x10080140 probe 10 level 3 int -300 text \"hello\"\n"), std::string::npos);
}

TEST_F(LogTest, EnvironmentThatNamesNoWritableFileIsTold) {
  const support::Result result = support::run(MESK_PROBE " log", "MESK_LOG=/proc/no/such/file");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "MESK_LOG: cannot write /proc/no/such/file\n");
}

TEST_F(LogTest, FileThatCannotBeOpenedLeavesTheLogAsItWas) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  EXPECT_FALSE(mesk::startLog("/proc/no/such/file", kPlenty, 1));
  logNumber(42);
  EXPECT_NE(support::read(path_).find("int 42"), std::string::npos);
}

TEST_F(LogTest, FilesRotateAndOldOnesGo) {
  constexpr std::size_t kBytes = 2000;
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kBytes, 2));
  for (int i = 0; i < 200; ++i) logNumber(i);
  std::size_t files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
    ++files;
    EXPECT_LE(entry.file_size(), kBytes);
  }
  EXPECT_EQ(files, 3u);
  EXPECT_NE(support::read(path_).find("int 199\n"), std::string::npos);
}

TEST_F(LogTest, StoppedLogWritesNoMore) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  logNumber(1);
  mesk::stopLog();
  logNumber(2);
  EXPECT_EQ(support::lines(support::read(path_)).size(), 1u);
}

TEST_F(LogTest, StandardErrorIsUsedOnlyWhenAsked) {
  testing::internal::CaptureStderr();
  logNumber(1);
  mesk::logToStandardError(true);
  logNumber(2);
  mesk::logToStandardError(false);
  logNumber(3);
  const std::string text = testing::internal::GetCapturedStderr();
  EXPECT_EQ(support::lines(text).size(), 1u);
  EXPECT_NE(text.find("int 2\n"), std::string::npos);
}

TEST_F(LogTest, SystemLogIsUsedOnlyWhenAskedAndAddsTheTimeItself) {
  systemLog.clear();
  logNumber(1);
  EXPECT_TRUE(systemLog.empty());
  mesk::startSystemLog();
  logNumber(2);
  mesk::stopLog();
  logNumber(3);
  ASSERT_EQ(systemLog.size(), 1u);
  EXPECT_TRUE(std::regex_match(systemLog[0], std::regex(R"(\d+ 0x10080140 probe 10 level 3 int 2\n?)")))
      << systemLog[0];
}

TEST_F(LogTest, FullDiskIsSurvivedAndCounted) {
  testing::internal::CaptureStderr();
  ASSERT_TRUE(mesk::startLog("/dev/full", kPlenty, 1));
  logNumber(1);
  logNumber(2);
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  logNumber(3);
  logNumber(4);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const std::vector<std::string> lines = support::lines(support::read(path_));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_NE(lines[0].find("2 records before this one could not be written"), std::string::npos) << lines[0];
  EXPECT_NE(lines[1].find("int 3"), std::string::npos);
  EXPECT_NE(lines[2].find("int 4"), std::string::npos);
}

struct Captured {
  int records = 0;
  std::uint32_t function = 0;
  std::uint32_t probe = 0;
  std::vector<std::string> items;
};

TEST_F(LogTest, SinkReceivesTheRawRecord) {
  Captured captured;
  mesk::setLogSink(
      [](const mesk::LogRecord& record, void* context) {
        auto& into = *static_cast<Captured*>(context);
        ++into.records;
        into.function = record.function;
        into.probe = record.probe;
        for (std::uint32_t i = 0; i < record.itemCount; ++i) {
          into.items.emplace_back(static_cast<const char*>(record.items[i].address), record.items[i].length);
        }
      },
      &captured);
  logText("one");
  mesk::setLogSink(nullptr, nullptr);
  logText("two");
  EXPECT_EQ(captured.records, 1);
  EXPECT_EQ(captured.function, 0x10080161u);
  EXPECT_EQ(captured.probe, 20u);
  EXPECT_EQ(captured.items, std::vector<std::string>{"one"});
}

TEST_F(LogTest, EightThreadsWriteWholeLines) {
  ASSERT_TRUE(mesk::startLog(path_.c_str(), kPlenty, 1));
  support::onThreads(8, [](int i) {
    for (int n = 0; n < 500; ++n) logNumber(i);
  });
  const std::regex whole(R"(.* 0x10080140 probe 10 level 3 int [0-7])");
  const std::vector<std::string> lines = support::lines(support::read(path_));
  EXPECT_EQ(lines.size(), 4000u);
  for (const std::string& line : lines) ASSERT_TRUE(std::regex_match(line, whole)) << line;
}

}  // namespace
