#include <fcntl.h>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <scheduler/Files.h>
#include <scheduler/PidFd.h>
#include <scheduler/Scratch.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {
namespace {

constexpr int kPatienceMillis = 120'000;
constexpr int kReadyFd = 3;
constexpr int kAlreadyRunning = 10;

enum Status { kRunning = 1, kSucceeded = 2, kFailed = 3, kInterrupted = 5 };

using Words = std::vector<std::string>;

std::pair<UniqueFd, UniqueFd> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void awaitReadable(int fd, const std::string& what) {
  pollfd wait{fd, POLLIN, 0};
  if (::poll(&wait, 1, kPatienceMillis) <= 0) throw std::runtime_error("this does not come: " + what);
}

/// A program with its standard error in a pipe, killed when the test leaves it behind.
class Process {
 public:
  explicit Process(Words words) {
    auto [readyIn, readyOut] = makePipe();
    auto [errorIn, errorOut] = makePipe();
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_ = ::fork();
    if (pid_ == 0) {
      const int nothing = ::open("/dev/null", O_RDWR);
      ::dup2(nothing, 0);
      ::dup2(nothing, 1);
      ::dup2(errorOut.get(), 2);
      // Out of the way first: it may have the number that it is to get, and would then not be inherited.
      const int high = ::fcntl(readyOut.get(), F_DUPFD_CLOEXEC, 100);
      ::dup2(high, kReadyFd);
      ::unsetenv("MESK_JVM_OPTIONS");
      ::execv(arguments[0], arguments.data());
      ::_exit(127);
    }
    ended_.reset(::pidfd_open(pid_, 0));
    ready_ = std::move(readyIn);
    error_ = std::move(errorIn);
  }
  ~Process() {
    if (pid_ > 0) {
      kill(SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  void kill(int signal) const { ::kill(pid_, signal); }

  void awaitReady() const {
    awaitReadable(ready_.get(), "meskd is ready");
    std::array<char, 16> text{};
    ASSERT_EQ(::read(ready_.get(), text.data(), text.size()), 6) << "meskd ended before it was ready";
    ASSERT_STREQ(text.data(), "ready\n");
  }

  /// Waits until the program has said this on its standard error.
  void awaitWords(const std::string& words) {
    while (said_.find(words) == std::string::npos) {
      if (!hear()) throw std::runtime_error("never said: " + words + "; but: " + said_);
    }
  }

  /// Its exit code, or 128 and the signal that ended it.
  int awaitEnd() {
    while (hear()) {
    }
    awaitReadable(ended_.get(), "the end of the program");
    int status = 0;
    ::waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  const std::string& said() const { return said_; }

 private:
  bool hear() {
    awaitReadable(error_.get(), "a word, or the end, after: " + said_);
    std::array<char, 4096> bytes;
    const ssize_t count = ::read(error_.get(), bytes.data(), bytes.size());
    if (count > 0) said_.append(bytes.data(), static_cast<std::size_t>(count));
    return count > 0;
  }

  pid_t pid_ = -1;
  UniqueFd ended_;
  UniqueFd ready_;
  UniqueFd error_;
  std::string said_;
};

class DaemonTest : public testing::Test {
 protected:
  DaemonTest() {
    for (const char* name : {"begun", "go"}) {
      if (::mkfifo(scratch_.at(name).c_str(), 0600) != 0) throw std::system_error(errno, std::generic_category(), name);
    }
  }

  std::string store() const { return scratch_.at("store.mesk"); }

  Words meskd(const Words& more = {}) const {
    Words words{MESK_D, "--store", store(), "--ready-fd", std::to_string(kReadyFd)};
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  void ctl(Words words) const {
    words.insert(words.begin(), {MESK_CTL, "--store", store()});
    Process process(words);
    ASSERT_EQ(process.awaitEnd(), 0) << process.said();
  }

  /// Tasks without a schedule: "wait" says that it has begun and then waits for the word to end with a code, "mark"
  /// leaves a mark.
  void makeTasks(const std::string& more = "") const {
    const std::string begun = scratch_.at("begun");
    const std::string go = scratch_.at("go");
    ctl({"apply", scratch_.write("tasks.yaml",
                                 fmt::format("mesk: 1\ntasks:\n"
                                             "  - name: wait\n    script: |\n      echo x >>{0}\n      echo y >{1}\n"
                                             "      read code <{2}\n      exit $code\n{3}"
                                             "  - name: mark\n    script: echo x >>{4}\n",
                                             scratch_.at("attempts"), begun, go, more, scratch_.at("mark")))});
  }

  void awaitBegun() const { EXPECT_EQ(line("begun"), "y\n"); }

  std::string line(const std::string& fifo) const {
    const UniqueFd in(::open(scratch_.at(fifo).c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    awaitReadable(in.get(), fifo);
    std::array<char, 16> text{};
    const ssize_t count = ::read(in.get(), text.data(), text.size());
    return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

  void letEnd(int code) const {
    const UniqueFd out(::open(scratch_.at("go").c_str(), O_WRONLY | O_CLOEXEC));
    const std::string text = std::to_string(code) + "\n";
    ASSERT_TRUE(writeAll(out.get(), text.data(), text.size()));
  }

  std::string query(const std::string& sql) const {
    const std::string line = fmt::format("sqlite3 -cmd '.timeout 10000' '{}' \"{}\"", store(), sql);
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(line.c_str(), "r"), ::pclose);
    std::string text;
    std::array<char, 256> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
      text.append(buffer.data(), count);
    }
    return text;
  }

  /// Status and return code of each run, oldest first.
  std::string history() const {
    return query("SELECT running_status || ' ' || return_code FROM task_history ORDER BY task_history_id");
  }

  static std::string outcome(Status status, int code) { return fmt::format("{} {}\n", static_cast<int>(status), code); }

  int attempts() const { return static_cast<int>(readFile(scratch_.at("attempts")).size() / 2); }

  /// Waits for the end of the only runner, whoever its parent is.
  void awaitRunnersEnd() const {
    for (const auto& run : std::filesystem::directory_iterator(store() + ".runs")) {
      const UniqueFd runner(::pidfd_open(std::stoi(readFile(run.path() / "lock")), 0));
      if (runner) awaitReadable(runner.get(), "the end of the runner");
    }
  }

  Scratch scratch_;
};

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
