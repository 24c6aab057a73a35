// What the statistics say after runs.
#include <algorithm>
#include <limits>
#include <random>

#include <mesk/history/MDTaskStatistic.h>
#include <mesk/history/MDTaskStatisticType.h>

#include "Workshop.h"

namespace mesk::host {
namespace {

constexpr int kMost = std::numeric_limits<int>::max();

class StatisticsTest : public SchedulerTest {
 protected:
  void SetUp() override { load_ = addTask({.name = "load"}); }

  std::unique_ptr<MDTaskStatistic> statistic(long long taskID) {
    int rc = 0;
    int sqlCode = 0;
    MDTaskStatisticType home(ctx(), session_->context(), rc, sqlCode);
    return wrapped<MDTaskStatistic>(ctx(), home.retrieve(ctx(), session_->context(), taskID, 0, rc, sqlCode));
  }

  /// A run of the task that starts and ends then.
  void run(std::int64_t start, std::int64_t end, std::int64_t rows, std::int64_t bytes, int returnCode = 0) {
    goTo(start);
    ask(load_);
    runDue();
    goTo(end);
    RunStatus status;
    status.rows = rows;
    status.bytes = bytes;
    endOf("load", returnCode, status);
  }

  std::int64_t at(SCTimestamp* moment) { return session_->millis(moment).value_or(-1); }

  long long load_ = 0;
};

TEST_F(StatisticsTest, TheFirstRunMakesIt) {
  EXPECT_EQ(statistic(load_), nullptr);
  run(kStart, kStart + 10'000, 5, 50);
  const auto found = statistic(load_);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()), 1);
  EXPECT_EQ(found->getTotalFailedExecutions(ctx()), 0);
  EXPECT_EQ(found->getTotalElapsedTime(ctx()), 10);
  EXPECT_EQ(found->getTotalRowCount(ctx()), 5);
  EXPECT_EQ(found->getTotalByteCount(ctx()), 50);
  EXPECT_EQ(at(found->getFirstExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getLastExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getFastestExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getSlowestExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getLargestExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getSmallestExecution(ctx())), kStart);
  EXPECT_EQ(found->getLastExecutionElapsedTime(ctx()), 10);
  EXPECT_EQ(found->getSmallestExecutionRowCount(ctx()), 5);
  EXPECT_EQ(found->getLargestExecutionByteCount(ctx()), 50);
}

TEST_F(StatisticsTest, TheFastestSlowestLargestAndSmallestAreTheFirstOfTheirKind) {
  run(kStart, kStart + 10'000, 5, 50);
  run(kStart + kHour, kStart + kHour + 10'000, 5, 50);  // equal in all: the first stays
  run(kStart + 2 * kHour, kStart + 2 * kHour + 5'000, 9, 1, 1);
  run(kStart + 3 * kHour, kStart + 3 * kHour + 60'000, 5, 49);
  run(kStart + 4 * kHour, kStart + 4 * kHour + 60'000, 9, 1);
  const auto found = statistic(load_);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()), 4);
  EXPECT_EQ(found->getTotalFailedExecutions(ctx()), 1);
  EXPECT_EQ(found->getTotalElapsedTime(ctx()), 145);
  EXPECT_EQ(found->getTotalRowCount(ctx()), 33);
  EXPECT_EQ(found->getTotalByteCount(ctx()), 151);
  EXPECT_EQ(at(found->getFirstExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getLastExecution(ctx())), kStart + 4 * kHour);
  EXPECT_EQ(at(found->getFastestExecution(ctx())), kStart + 2 * kHour);
  EXPECT_EQ(found->getFastestExecutionElapsedTime(ctx()), 5);
  EXPECT_EQ(at(found->getSlowestExecution(ctx())), kStart + 3 * kHour);
  EXPECT_EQ(found->getSlowestExecutionByteCount(ctx()), 49);
  EXPECT_EQ(at(found->getLargestExecution(ctx())), kStart + 2 * kHour) << "more rows, fewer bytes";
  EXPECT_EQ(at(found->getSmallestExecution(ctx())), kStart + 3 * kHour) << "as many rows, fewer bytes";
}

TEST_F(StatisticsTest, SumsEndAtTheLargestNumber) {
  run(kStart, kStart, std::int64_t{1} << 40, kMost);
  run(kStart + kHour, kStart + kHour, 1, 1);
  const auto found = statistic(load_);
  EXPECT_EQ(found->getTotalRowCount(ctx()), kMost);
  EXPECT_EQ(found->getTotalByteCount(ctx()), kMost);
  EXPECT_EQ(found->getLargestExecutionRowCount(ctx()), kMost);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()), 2);
}

TEST_F(StatisticsTest, RunsThatTimedOutOrWereCutOffHaveFailedAndMissedInstantsDoNotCount) {
  RunOptions options;
  options.missed = RunOptions::Missed::kSkip;
  const long long hourly = addTask({.name = "hourly", .options = options}, RuleText{1, 1});
  goTo(kStart + 2 * kHour + 10 * kMinute);
  runDue();
  EXPECT_EQ(statistic(hourly), nullptr);
  goTo(kStart + 3 * kHour);
  runDue();
  end(-510, true);
  goTo(kStart + 4 * kHour);
  runDue();
  restart();
  const auto found = statistic(hourly);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(found->getTotalFailedExecutions(ctx()), 2);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()), 0);
  EXPECT_EQ(at(found->getFirstExecution(ctx())), kStart + 3 * kHour);
}

TEST_F(StatisticsTest, ARunCountsOnceWhateverItsAttempts) {
  const long long tough = addTask({.name = "tough", .retryCount = 1, .retryInterval = 30});
  ask(tough);
  runDue();
  end(1);
  EXPECT_EQ(statistic(tough), nullptr);
  goTo(kStart + 30'000);
  runDue();
  goTo(kStart + 40'000);
  end(0);
  const auto found = statistic(tough);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()), 1);
  EXPECT_EQ(found->getTotalElapsedTime(ctx()), 40) << "as the record says";
}

TEST_F(StatisticsTest, GroupsAndStepsHaveTheirOwn) {
  const long long night = addGroup({.name = "night"}, {load_});
  ask(night);
  runDue();
  goTo(kStart + 7'000);
  RunStatus status;
  status.rows = 3;
  endOf("load", 0, status);
  runDue();
  EXPECT_EQ(statistic(load_)->getTotalSuccessfulExecutions(ctx()), 1);
  EXPECT_EQ(statistic(night)->getTotalSuccessfulExecutions(ctx()), 1);
  EXPECT_EQ(statistic(night)->getTotalElapsedTime(ctx()), 7);
  EXPECT_EQ(statistic(night)->getTotalRowCount(ctx()), 3);
}

TEST_F(StatisticsTest, TheyOutliveTheHistory) {
  run(kStart, kStart, 1, 1);
  scheduler().prune(kStart + kDay);
  EXPECT_TRUE(records().empty());
  run(kStart + kDay, kStart + kDay, 2, 2);
  EXPECT_EQ(statistic(load_)->getTotalRowCount(ctx()), 3);
  EXPECT_EQ(at(statistic(load_)->getFirstExecution(ctx())), kStart);
}

TEST_F(StatisticsTest, TheyComeToWhatTheRecordsSayWhateverTheOrderInWhichRunsEnd) {
  const char* const given = std::getenv("MESK_SEED");
  const unsigned seed = given != nullptr ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
  std::printf("seed %u\n", seed);
  SCOPED_TRACE("MESK_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const auto pick = [&](int low, int high) { return std::uniform_int_distribution<int>(low, high)(random); };
  struct Run {
    std::int64_t start;
    int elapsed;
    int rows;
    int bytes;
    bool good;
  };
  std::vector<Run> runs;
  for (int i = 0; i < 40; ++i) {
    runs.push_back({kStart + i * kHour, pick(0, 3), pick(0, 2), pick(0, 2), pick(0, 3) > 0});
  }
  auto ends = runs;
  std::shuffle(ends.begin(), ends.end(), random);
  for (const Run& one : ends) {
    run(one.start, one.start + one.elapsed * 1000, one.rows, one.bytes, one.good ? 0 : 1);
    if (pick(0, 9) == 0) restart();
  }
  // By their starts the runs stand in `runs`, and of equal ones these functions take the first.
  const auto fastest =
      std::min_element(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.elapsed < b.elapsed; });
  const auto slowest =
      std::min_element(runs.begin(), runs.end(), [](const Run& a, const Run& b) { return a.elapsed > b.elapsed; });
  const auto size = [](const Run& one) { return std::pair(one.rows, one.bytes); };
  const auto largest =
      std::min_element(runs.begin(), runs.end(), [&](const Run& a, const Run& b) { return size(a) > size(b); });
  const auto smallest =
      std::min_element(runs.begin(), runs.end(), [&](const Run& a, const Run& b) { return size(a) < size(b); });
  const auto found = statistic(load_);
  EXPECT_EQ(at(found->getFastestExecution(ctx())), fastest->start);
  EXPECT_EQ(at(found->getSlowestExecution(ctx())), slowest->start);
  EXPECT_EQ(at(found->getLargestExecution(ctx())), largest->start);
  EXPECT_EQ(at(found->getSmallestExecution(ctx())), smallest->start);
  EXPECT_EQ(found->getSmallestExecutionElapsedTime(ctx()), smallest->elapsed);
  EXPECT_EQ(at(found->getFirstExecution(ctx())), kStart);
  EXPECT_EQ(at(found->getLastExecution(ctx())), runs.back().start);
  EXPECT_EQ(found->getTotalSuccessfulExecutions(ctx()),
            std::count_if(runs.begin(), runs.end(), [](const Run& one) { return one.good; }));
}

}  // namespace
}  // namespace mesk::host
