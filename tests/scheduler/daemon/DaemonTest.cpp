#include "Daemon.h"

namespace mesk::host {
namespace {

TEST_F(DaemonTest, ToldToStopItWaitsForItsRunsAndStartsNoOther) {
  makeTasks();
  Process daemon(meskd());
  daemon.awaitReady();
  ctl({"run", "wait"});
  awaitBegun();
  daemon.kill(SIGTERM);
  ctl({"run", "mark"});
  letEnd(0);
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(history(), outcome(kSucceeded, 0));
  EXPECT_FALSE(std::filesystem::exists(scratch_.at("mark")));
  EXPECT_EQ(query("SELECT count(*) FROM task_exec"), "1\n") << "the request is left to the next one";
}

TEST_F(DaemonTest, WhatStillRunsWhenTheStopMayTakeNoLongerIsTheNextOnesToRecord) {
  makeTasks();
  Process first(meskd({"--stop-timeout", "0s"}));
  first.awaitReady();
  ctl({"run", "wait"});
  awaitBegun();
  first.kill(SIGTERM);
  EXPECT_EQ(first.awaitEnd(), 0) << first.said();
  EXPECT_EQ(query("SELECT running_status FROM task_history"), fmt::format("{}\n", static_cast<int>(kRunning)));

  Process second(meskd({"--exit-when-idle"}));
  second.awaitReady();
  letEnd(0);
  EXPECT_EQ(second.awaitEnd(), 0) << second.said();
  EXPECT_EQ(history(), outcome(kSucceeded, 0));
  EXPECT_EQ(attempts(), 1);
}

TEST_F(DaemonTest, ASecondSignalEndsItAtOnce) {
  makeTasks();
  Process daemon(meskd());
  daemon.awaitReady();
  ctl({"run", "wait"});
  awaitBegun();
  daemon.kill(SIGTERM);
  daemon.awaitWords("stopping; waiting for 1 run(s)");
  daemon.kill(SIGINT);
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  letEnd(0);
}

TEST_F(DaemonTest, ASecondOneOnTheSameStoreIsRefused) {
  Process first(meskd());
  first.awaitReady();
  Process second(meskd());
  EXPECT_EQ(second.awaitEnd(), kAlreadyRunning) << second.said();

  // By another name it is the same store.
  std::filesystem::create_symlink(store(), scratch_.at("link.mesk"));
  Process third({MESK_D, "--store", scratch_.at("link.mesk")});
  EXPECT_EQ(third.awaitEnd(), kAlreadyRunning) << third.said();
  first.kill(SIGTERM);
  EXPECT_EQ(first.awaitEnd(), 0);
}

TEST_F(DaemonTest, AChangeByAnotherProcessWakesIt) {
  makeTasks();
  Process daemon(meskd());
  daemon.awaitReady();
  EXPECT_EQ(query("SELECT count(*) FROM task_exec"), "0\n") << "no other moment would wake it";
  for (int i = 1; i <= 2; ++i) {
    ctl({"run", "wait"});
    awaitBegun();
    letEnd(0);
  }
  daemon.kill(SIGTERM);
  EXPECT_EQ(daemon.awaitEnd(), 0);
  EXPECT_EQ(history(), outcome(kSucceeded, 0) + outcome(kSucceeded, 0));
}

TEST_F(DaemonTest, TheWordOfAChangeIsHeardAfterItsFileWasRemoved) {
  makeTasks();
  Process daemon(meskd());
  daemon.awaitReady();
  std::filesystem::remove(store() + ".notice");
  ctl({"run", "wait"});
  awaitBegun();
  letEnd(0);
  daemon.kill(SIGTERM);
  EXPECT_EQ(daemon.awaitEnd(), 0);
}

TEST_F(DaemonTest, ARunThatOutlivesAKilledOneIsAdoptedAndRecordedOnce) {
  makeTasks();
  {
    Process killed(meskd());
    killed.awaitReady();
    ctl({"run", "wait"});
    awaitBegun();
    killed.kill(SIGKILL);
    EXPECT_EQ(killed.awaitEnd(), 128 + SIGKILL);
  }
  Process next(meskd({"--exit-when-idle"}));
  next.awaitReady();
  EXPECT_NE((next.awaitWords("still going"), next.said().find("watched again")), std::string::npos);
  letEnd(3);
  EXPECT_EQ(next.awaitEnd(), 0) << next.said();
  EXPECT_EQ(history(), outcome(kFailed, 3));
  EXPECT_EQ(query("SELECT count(*) FROM task_result"), "1\n");
  EXPECT_EQ(attempts(), 1);
  EXPECT_TRUE(std::filesystem::is_empty(store() + ".runs"));
}

TEST_F(DaemonTest, ARunThatEndsWhileNoneLivesIsRecordedAsItEnded) {
  makeTasks();
  {
    Process killed(meskd());
    killed.awaitReady();
    ctl({"run", "wait"});
    awaitBegun();
    killed.kill(SIGKILL);
    EXPECT_EQ(killed.awaitEnd(), 128 + SIGKILL);
  }
  letEnd(7);
  awaitRunnersEnd();
  for (int i = 0; i < 2; ++i) {
    Process next(meskd({"--exit-when-idle"}));
    EXPECT_EQ(next.awaitEnd(), 0) << next.said();
    EXPECT_EQ(history(), outcome(kFailed, 7));
  }
  EXPECT_EQ(attempts(), 1);
}

TEST_F(DaemonTest, ARunWhoseRunnerIsKilledWithItIsInterruptedAndRunAgainIfItsTaskSaysSo) {
  makeTasks("    interrupted: rerun\n");
  {
    Process killed(meskd());
    killed.awaitReady();
    ctl({"run", "wait"});
    awaitBegun();
    killed.kill(SIGKILL);
    EXPECT_EQ(killed.awaitEnd(), 128 + SIGKILL);
  }
  const std::filesystem::directory_entry run = *std::filesystem::directory_iterator(store() + ".runs");
  const pid_t runner = std::stoi(readFile(run.path() / "lock"));
  const UniqueFd ended(::pidfd_open(runner, 0));
  ::kill(runner, SIGKILL);
  awaitReadable(ended.get(), "the end of the runner");

  Process next(meskd({"--exit-when-idle"}));
  awaitBegun();
  letEnd(0);
  EXPECT_EQ(next.awaitEnd(), 0) << next.said();
  EXPECT_EQ(history(), outcome(kInterrupted, -521) + outcome(kSucceeded, 0));
  EXPECT_EQ(attempts(), 2);
}

TEST_F(DaemonTest, ARunThatEndsWhileTheStoreFailsIsRecordedWhenItWorksAgain) {
  makeTasks();
  ctl({"run", "wait"});
  Process daemon(meskd({"--exit-when-idle"}));
  awaitBegun();
  query("ALTER TABLE task_result RENAME TO hidden");
  letEnd(5);
  daemon.awaitWords("trying again");
  query("ALTER TABLE hidden RENAME TO task_result");
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  EXPECT_EQ(history(), outcome(kFailed, 5));
  EXPECT_EQ(attempts(), 1);
}

TEST_F(DaemonTest, AStopDoesNotLoseARunThatEndedWhileTheStoreFailed) {
  makeTasks();
  Process daemon(meskd({"--stop-timeout", "60s"}));
  daemon.awaitReady();
  ctl({"run", "wait"});
  awaitBegun();
  query("ALTER TABLE task_result RENAME TO hidden");
  letEnd(5);
  daemon.awaitWords("trying again");
  daemon.kill(SIGTERM);
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  query("ALTER TABLE hidden RENAME TO task_result");

  Process next(meskd({"--exit-when-idle"}));
  EXPECT_EQ(next.awaitEnd(), 0) << next.said();
  EXPECT_EQ(history(), outcome(kFailed, 5));
}

// A rule in place of a name is read by the C library; the JVM knows names only and has no summer time then.
TEST_F(DaemonTest, AZoneThatTheJvmReadsOtherwiseIsToldWithItsDatesAndWorkGoesOn) {
  makeTasks();
  const std::string outer = std::getenv("TZ");
  ::setenv("TZ", "XXX-1XXS,M3.5.0,M10.5.0/3", 1);
  Process daemon(meskd({"--exit-when-idle"}));
  ::setenv("TZ", outer.c_str(), 1);
  daemon.awaitReady();
  EXPECT_EQ(daemon.awaitEnd(), 0) << daemon.said();
  const std::string& said = daemon.said();
  const std::string kWarning = "warning zone XXX-1XXS,M3.5.0,M10.5.0/3: from ";
  const std::size_t first = said.find(kWarning);
  ASSERT_NE(first, std::string::npos) << said;
  const std::string line = said.substr(first, said.find('\n', first) - first);
  EXPECT_NE(line.find(" 01:00 UTC it is +02:00 for the C library and +01:00 for the JVM"), std::string::npos) << line;
  std::size_t lines = 0;
  for (std::size_t at = first; at != std::string::npos; at = said.find("warning zone ", at + 1)) ++lines;
  EXPECT_GE(lines, 9U);
  EXPECT_LE(lines, 10U);

  Process agreeing(meskd({"--exit-when-idle"}));
  EXPECT_EQ(agreeing.awaitEnd(), 0);
  EXPECT_EQ(agreeing.said().find("warning zone"), std::string::npos) << agreeing.said();
}

TEST_F(DaemonTest, SecretsOfATaskStandInNoLogAndNoCommandLine) {
  makeTasks("    environment: {TOKEN: hunter2-secret}\n");
  Process daemon(meskd());
  daemon.awaitReady();
  ctl({"run", "wait"});
  awaitBegun();
  for (const auto& process : std::filesystem::directory_iterator("/proc")) {
    if (process.path().filename().string().find_first_not_of("0123456789") != std::string::npos) continue;
    std::string words;
    try {
      words = readFile(process.path() / "cmdline");
    } catch (const std::system_error&) {
      continue;  // ended meanwhile
    }
    EXPECT_EQ(words.find("hunter2-secret"), std::string::npos) << process.path();
  }
  letEnd(1);
  daemon.kill(SIGTERM);
  EXPECT_EQ(daemon.awaitEnd(), 0);
  EXPECT_EQ(daemon.said().find("hunter2-secret"), std::string::npos);
}

}  // namespace
}  // namespace mesk::host
