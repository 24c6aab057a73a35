#include <gtest/gtest.h>
#include <mesk/bridge/LogRecord.h>
#include <mesk/support/Captures.h>

namespace mesk::test {
namespace {

using Strings = std::vector<std::string>;

TEST(LogRecordTest, AFailureIsItsCodesAndTheLowHalvesOfItsKeys) {
  const LogCapture log;
  logFailure(0x10080140, 30012, -803, 0x1'0000'0007LL, -1LL);
  EXPECT_EQ(log.lines(), Strings{"0x10080140/10 30012 -803 7 -1"});
  const LogCapture::Record record = log.records()[0];
  EXPECT_EQ(record.code, 0);
  EXPECT_EQ(record.level, 3u);
  for (const LogCapture::Item& item : record.items) {
    EXPECT_EQ(item.bytes.size(), 4u);
    EXPECT_EQ(item.type, -2);
  }
}

TEST(LogRecordTest, AFailureWithoutKeysIsItsCodes) {
  const LogCapture log;
  logFailure(0x10080126, -300, 0);
  EXPECT_EQ(log.lines(), Strings{"0x10080126/10 -300 0"});
}

TEST(LogRecordTest, ATextIsLoggedWithoutItsEnd) {
  const LogCapture log;
  logRecord(0x10080125, 10, logText("abc"));
  ASSERT_EQ(log.records().size(), 1u);
  EXPECT_EQ(log.records()[0].items, (std::vector<LogCapture::Item>{{"abc", -5}}));
}

}  // namespace
}  // namespace mesk::test
