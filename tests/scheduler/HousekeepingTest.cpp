// The scripts of the housekeeping example, really run.
#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <variant>

#include <scheduler/RunnerClient.h>
#include <scheduler/Scratch.h>
#include <scheduler/ShellWords.h>
#include <scheduler/TaskFile.h>

namespace mesk::host {
namespace {

class HousekeepingTest : public testing::Test {
 protected:
  HousekeepingTest() : client_(MESK_RUNNER, scratch_.at("runs")) {
    const TaskFileResult file = readTaskFile(MESK_EXAMPLES "/housekeeping.yaml");
    EXPECT_TRUE(file.errors.empty());
    for (const TaskDefinition& task : file.tasks) tasks_[task.name] = task;
    std::filesystem::create_directory(scratch_.at("home"));
  }

  // Runs a task in a home of its own and answers the return code; `arguments` instead of the example's.
  int run(const std::string& name, int attempt = 1, const std::string& arguments = "") {
    const TaskDefinition& task = tasks_.at(name);
    RunRequest request;
    request.processor = task.processor;
    request.script = task.script;
    request.arguments = shellWords(arguments.empty() ? task.arguments : arguments);
    request.environment = task.options.environment;
    request.environment["HOME"] = scratch_.at("home");
    request.environment["MESK_STORE"] = scratch_.at("store.db");
    request.directory = scratch_.path();
    request.attempt = attempt;
    const std::string id = std::to_string(++runs_);
    const RunnerAlive runner = client_.start(id, request);
    struct pollfd wait = {runner.ended.get(), POLLIN, 0};
    EXPECT_EQ(::poll(&wait, 1, -1), 1);
    RunnerClient::reap(runner);
    output_ = client_.directory(id).output();
    const RunnerState state = client_.directory(id).inspect();
    const auto* finished = std::get_if<RunnerFinished>(&state);
    return finished == nullptr ? -1 : finished->status.returnCode;
  }

  std::size_t backups() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(scratch_.at("home/mesk-housekeeping/backup"))) {
      EXPECT_EQ(entry.path().extension(), ".db");
      ++count;
    }
    return count;
  }

  Scratch scratch_;
  RunnerClient client_;
  std::map<std::string, TaskDefinition> tasks_;
  std::string output_;
  int runs_ = 0;
};

TEST_F(HousekeepingTest, ReportsSucceedOnThisMachine) {
  for (const char* name : {"disk-space", "temporary-files", "month-report", "year-end"}) {
    EXPECT_EQ(run(name), 0) << name << ": " << output_;
  }
  EXPECT_EQ(output_, "- renew certificates\n- archive logs\n- review who may do what\n");
}

TEST_F(HousekeepingTest, TheLargestFilesComeFirst) {
  std::filesystem::create_directory(scratch_.at("files"));
  scratch_.write("files/small", "x");
  scratch_.write("files/large one", std::string(5000, 'x'));
  scratch_.write("files/middle", std::string(2048, 'x'));
  EXPECT_EQ(run("largest-files", 1, scratch_.at("files") + " 2"), 0);
  const std::size_t large = output_.find("large one\n");
  const std::size_t middle = output_.find("middle\n");
  ASSERT_NE(large, std::string::npos) << output_;
  ASSERT_NE(middle, std::string::npos) << output_;
  EXPECT_LT(large, middle);
  EXPECT_EQ(output_.find("small"), std::string::npos) << output_;
}

TEST_F(HousekeepingTest, TheIntegrityCheckNoticesAChangedFile) {
  std::filesystem::create_directory(scratch_.at("files"));
  scratch_.write("files/a", "1");
  scratch_.write("files/b c", "2");
  EXPECT_EQ(run("integrity-check", 1, scratch_.at("files")), 0);
  EXPECT_EQ(output_, "sums of 2 files taken\n");
  EXPECT_EQ(run("integrity-check", 1, scratch_.at("files")), 0);
  EXPECT_EQ(output_, "all 2 files are as they were\n");
  scratch_.write("files/a", "changed");
  EXPECT_EQ(run("integrity-check", 1, scratch_.at("files")), 1);
  EXPECT_NE(output_.find("files/a"), std::string::npos) << output_;
}

TEST_F(HousekeepingTest, BackupsRotate) {
  ASSERT_EQ(
      std::system(("sqlite3 " + scratch_.at("store.db") + " 'create table t (x); insert into t values (42)'").c_str()),
      0);
  ASSERT_EQ(run("store-backup"), 0) << output_;
  EXPECT_EQ(backups(), 1U);
  for (const char* day : {"1", "2", "3"}) {
    scratch_.write(std::string("home/mesk-housekeeping/backup/store-2020010") + day + "-000000.db", "old");
  }
  std::filesystem::last_write_time(scratch_.at("home/mesk-housekeeping/backup/store-20200101-000000.db"),
                                   std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
  ASSERT_EQ(run("store-backup", 1, "3"), 0) << output_;
  EXPECT_EQ(backups(), 3U);
  EXPECT_FALSE(std::filesystem::exists(scratch_.at("home/mesk-housekeeping/backup/store-20200101-000000.db")));
}

TEST_F(HousekeepingTest, ABackupOfNoStoreFails) {
  EXPECT_EQ(run("store-backup"), 1);
  EXPECT_FALSE(std::filesystem::exists(scratch_.at("home/mesk-housekeeping")));
}

TEST_F(HousekeepingTest, TheSecondTrySucceeds) {
  EXPECT_EQ(run("second-try", 1), 75);
  EXPECT_EQ(run("second-try", 2), 0);
  EXPECT_EQ(output_, "attempt 2: done\n");
}

}  // namespace
}  // namespace mesk::host
