// A year and more of the example file in a few seconds: what fires is what was foretold.
#include <algorithm>
#include <cstdlib>
#include <map>

#include <scheduler/Definitions.h>
#include <scheduler/TaskFile.h>

#include "../cycle/Workshop.h"

namespace mesk::host {
namespace {

constexpr int kDays = 400;

class LifeTest : public SchedulerTest {
 protected:
  /// Ends what was started, at once; the task that fails on purpose fails at its first attempt.
  void endAll() {
    while (!launcher_.started.empty()) {
      const auto [id, request] = launcher_.started.front();
      launcher_.started.erase(launcher_.started.begin());
      const std::string& name = request.environment.at("MESK_TASK");
      if (id.attempt == 1) fired_[name].push_back(clockMillis());
      RunStatus status;
      status.returnCode = name == "second-try" && id.attempt == 1 ? 75 : 0;
      status.startedMillis = status.endedMillis = clockMillis();
      scheduler().finished(id, status);
    }
  }

  std::map<std::string, std::vector<std::int64_t>> fired_;
};

TEST_F(LifeTest, EveryFiringOfFourHundredDaysIsTheOneThatWasForetold) {
  const TaskFileResult file = readTaskFile(MESK_EXAMPLES "/housekeeping.yaml");
  ASSERT_TRUE(file.errors.empty()) << file.errors.front();
  const std::int64_t end = kStart + kDays * kDay;
  Definitions definitions(*session_);
  definitions.apply(file, false, [](std::size_t) {});

  std::map<std::string, std::vector<std::int64_t>> foretold;
  for (const auto& task : definitions.tasks()) {
    std::vector<std::int64_t>& starts = foretold[text(task->getTaskName(ctx()))];
    for (std::size_t count = 16; starts.empty() || starts.back() <= end; count *= 2) {
      starts.clear();
      for (const Upcoming& next : definitions.upcoming(*task, count)) starts.push_back(next.start);
      if (starts.size() < count) break;
    }
    starts.erase(std::upper_bound(starts.begin(), starts.end(), end), starts.end());
  }

  std::size_t rounds = 0;
  for (auto due = scheduler().nextDue(); due && *due <= end; due = scheduler().nextDue()) {
    setClock(std::max(*due, clockMillis()));
    scheduler().startDue();
    ASSERT_FALSE(launcher_.started.empty()) << "due at " << *due << " and not started";
    endAll();
    ++rounds;
  }

  std::size_t runs = 0;
  ASSERT_EQ(fired_.size(), foretold.size());
  for (const auto& [name, starts] : foretold) {
    EXPECT_EQ(fired_[name], starts) << name;
    runs += starts.size();
  }
  const auto all = records();
  EXPECT_EQ(all.size(), runs);
  for (const auto& record : all) ASSERT_EQ(record.status, kRunSucceeded) << record.task << ' ' << record.start;
  std::cout << runs << " runs in " << kDays << " days of " << std::getenv("TZ") << ", " << rounds << " rounds\n";

  // The comparison can fail: one instant moved by a second is told apart.
  auto wrong = foretold.begin()->second;
  ++wrong.front();
  EXPECT_NE(fired_[foretold.begin()->first], wrong);
}

}  // namespace
}  // namespace mesk::host
