// meskd as its users have it: a process, told by signals and by meskctl.
#pragma once

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
#include <scheduler/Printed.h>
#include <scheduler/Scratch.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {

inline constexpr int kPatienceMillis = 120'000;
inline constexpr int kReadyFd = 3;
inline constexpr int kAlreadyRunning = 10;

enum Status { kRunning = 1, kSucceeded = 2, kFailed = 3, kInterrupted = 5 };

using Words = std::vector<std::string>;

inline std::pair<UniqueFd, UniqueFd> makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

inline void awaitReadable(int fd, const std::string& what) {
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
    return printed(fmt::format("sqlite3 -cmd '.timeout 10000' '{}' \"{}\"", store(), sql));
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

}  // namespace mesk::host
