// The runner, really run.
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <variant>

#include <scheduler/Files.h>
#include <scheduler/PidFd.h>
#include <scheduler/RunnerClient.h>
#include <scheduler/Scratch.h>

namespace mesk::host {
namespace {

// A named pipe: how a script and its test wait for each other.
class Fifo {
 public:
  explicit Fifo(std::string path) : path_(std::move(path)) {
    if (::mkfifo(path_.c_str(), 0666) != 0) throw std::system_error(errno, std::generic_category(), path_);
    ::chmod(path_.c_str(), 0666);
  }
  const std::string& path() const { return path_; }

  // Waits for a script that writes, and takes what it writes until it closes.
  std::string read() const { return readFile(path_); }

  // Waits for a script that reads, and gives it a line.
  void write() const {
    const UniqueFd out(::open(path_.c_str(), O_WRONLY | O_CLOEXEC));
    writeAll(out.get(), "go\n", 3);
  }

 private:
  std::string path_;
};

class RunnerTest : public testing::Test {
 protected:
  RunnerTest() : client_(MESK_RUNNER, scratch_.at("runs")) {
    request_.directory = scratch_.path();
    request_.graceMillis = 100;
  }

  RunnerAlive start(const std::string& script, const std::string& id = "1") {
    request_.script = script;
    return client_.start(id, request_);
  }

  static void awaitEnd(const RunnerAlive& runner) {
    struct pollfd wait = {runner.ended.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, -1), 1);
    RunnerClient::reap(runner);
  }

  RunStatus statusOf(const std::string& id = "1") {
    RunnerState state = client_.directory(id).inspect();
    if (const auto* vanished = std::get_if<RunnerVanished>(&state)) ADD_FAILURE() << "vanished: " << vanished->why;
    const auto* finished = std::get_if<RunnerFinished>(&state);
    EXPECT_NE(finished, nullptr);
    return finished == nullptr ? RunStatus() : finished->status;
  }

  RunStatus run(const std::string& script) {
    const std::string id = std::to_string(++runs_);
    awaitEnd(start(script, id));
    output_ = client_.directory(id).output();
    return statusOf(id);
  }

  Scratch scratch_;
  RunnerClient client_;
  RunRequest request_;
  std::string output_;
  int runs_ = 0;
};

TEST_F(RunnerTest, TheReturnCodeIsThatOfTheScript) {
  for (const int code : {0, 1, 3, 255}) {
    const RunStatus status = run("exit " + std::to_string(code));
    EXPECT_EQ(status.returnCode, code);
    EXPECT_EQ(status.signal, 0);
    EXPECT_FALSE(status.timedOut || status.terminated || status.outputLost);
    EXPECT_EQ(status.failure, "");
    EXPECT_GT(status.startedMillis, 0);
    EXPECT_GE(status.endedMillis, status.startedMillis);
  }
}

TEST_F(RunnerTest, BothOutputsAreKeptTogetherInTheirOrder) {
  EXPECT_EQ(run("echo one; echo two >&2; echo three").outputBytes, 14);
  EXPECT_EQ(output_, "one\ntwo\nthree\n");
}

TEST_F(RunnerTest, ArgumentsDirectoryEnvironmentAndAttemptReachTheScript) {
  request_.arguments = {"a b", "", "'$HOME'"};
  request_.environment = {{"COLOUR", "dark blue"}};
  request_.attempt = 3;
  run("echo \"$#|$1|$2|$3|$COLOUR|$MESK_ATTEMPT\"; pwd");
  EXPECT_EQ(output_, "3|a b||'$HOME'|dark blue|3\n" + scratch_.path() + "\n");
}

TEST_F(RunnerTest, WhatTheScriptCountedIsInTheStatus) {
  RunStatus status = run("echo rows=12 >>$MESK_COUNTS; (echo bytes=3400; echo rows=13) >>$MESK_COUNTS");
  EXPECT_EQ(status.rows, 13);
  EXPECT_EQ(status.bytes, 3400);
  status = run("echo no counts");
  EXPECT_EQ(status.rows, std::nullopt);
  EXPECT_EQ(status.bytes, std::nullopt);
  status = run("printf 'rows=9223372036854775807' >$MESK_COUNTS.mine; mv $MESK_COUNTS.mine $MESK_COUNTS; exit 3");
  EXPECT_EQ(status.rows, 9223372036854775807) << "the last line needs no end, and a run that failed counts too";
}

TEST_F(RunnerTest, LinesThatAreNoCountsSayNothing) {
  const RunStatus status = run(
      R"(printf '%s\n' rows=7 rows= rows=-1 rows=1x 'rows= 1' ROWS=1 rows=9223372036854775808 row=1 >$MESK_COUNTS
         printf 'rows=1\000\n' >>$MESK_COUNTS)");
  EXPECT_EQ(status.returnCode, 0);
  EXPECT_EQ(status.rows, 7);
  EXPECT_EQ(status.bytes, std::nullopt);
}

TEST_F(RunnerTest, OfManyLinesTheLastHold) {
  const RunStatus status = run("echo bytes=1 >$MESK_COUNTS; yes rows=12345 | head -n 20000 >>$MESK_COUNTS");
  EXPECT_EQ(status.rows, 12345);
  EXPECT_EQ(status.bytes, std::nullopt) << "what stood long before is not read";
}

TEST_F(RunnerTest, WhatIsNoFileInThePlaceOfTheCountsIsNotReadAndHoldsNothingUp) {
  scratch_.write("elsewhere", "rows=1\n");
  for (const char* place : {"rm $MESK_COUNTS", "rm $MESK_COUNTS; mkfifo $MESK_COUNTS",
                            "rm $MESK_COUNTS; mkdir $MESK_COUNTS", "ln -sf $PWD/elsewhere $MESK_COUNTS"}) {
    const RunStatus status = run(place);
    EXPECT_EQ(status.returnCode, 0) << place << output_;
    EXPECT_EQ(status.rows, std::nullopt) << place;
  }
}

TEST_F(RunnerTest, TheEnvironmentOfTheSchedulerStaysThere) {
  ::setenv("MESK_TEST_SECRET", "topsecret", 1);
  run("env");
  ::unsetenv("MESK_TEST_SECRET");
  EXPECT_EQ(output_.find("topsecret"), std::string::npos) << output_;
  EXPECT_EQ(output_.find("MESK_LOCK_FD"), std::string::npos) << output_;
  EXPECT_NE(output_.find("HOME="), std::string::npos) << output_;
}

TEST_F(RunnerTest, OnlyTheOwnerCanLookIntoARun) {
  run("umask");
  EXPECT_EQ(output_, "0022\n");
  for (const auto& [name, mode] : {std::pair{"", 0700U}, {"/run.json", 0600U}, {"/output", 0600U}, {"/lock", 0600U}}) {
    struct stat entry {};
    ASSERT_EQ(::stat((client_.directory("1").path() + name).c_str(), &entry), 0);
    EXPECT_EQ(entry.st_mode & 0777, mode) << name;
  }
}

TEST_F(RunnerTest, AnyProgramCanBeTheProcessor) {
  request_.processor = "cat";
  EXPECT_EQ(run("not for a shell: $(").returnCode, 0);
  EXPECT_EQ(output_, "not for a shell: $(");
}

TEST_F(RunnerTest, StandardInputIsAtItsEnd) { EXPECT_EQ(run("cat").returnCode, 0); }

TEST_F(RunnerTest, TheSignalThatEndsAScriptIsRecorded) {
  const RunStatus status = run("kill -KILL $$");
  EXPECT_EQ(status.returnCode, 128 + SIGKILL);
  EXPECT_EQ(status.signal, SIGKILL);
}

TEST_F(RunnerTest, SignalsThatTheRunnerIgnoresAreNotIgnoredInTheScript) {
  EXPECT_EQ(run("kill -HUP $$").signal, SIGHUP);
  EXPECT_EQ(run("kill -PIPE $$").signal, SIGPIPE);
}

TEST_F(RunnerTest, NoDescriptorButTheThreeStandardOnesReachesTheScript) {
  run("for f in /proc/$$/fd/*; do echo \"${f##*/} $(readlink $f)\"; done");
  EXPECT_EQ(output_.find("/lock"), std::string::npos) << output_;
  EXPECT_EQ(output_.find("run.json"), std::string::npos) << output_;
  EXPECT_EQ(output_.find("signalfd"), std::string::npos) << output_;
  EXPECT_EQ(output_.find("pidfd"), std::string::npos) << output_;
}

TEST_F(RunnerTest, TimeoutEndsGrandchildrenToo) {
  const Fifo up(scratch_.at("up"));
  const Fifo never(scratch_.at("never"));
  const UniqueFd reader(::open(up.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  // How soon the script is up is the machine's affair: a time that was too short for it is doubled.
  for (request_.timeoutMillis = 200;; request_.timeoutMillis *= 2) {
    const RunStatus status = run("(trap '' TERM; exec 9>up; echo up >&9; cat <never) & wait");
    EXPECT_TRUE(status.timedOut);
    EXPECT_FALSE(status.terminated);
    EXPECT_EQ(status.returnCode, kRunTimedOut);
    char text[8];
    if (::read(reader.get(), text, sizeof text) <= 0) continue;
    // Hangs up when the last that had the pipe open is gone.
    struct pollfd wait = {reader.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&wait, 1, -1), 1);
    EXPECT_NE(wait.revents & POLLHUP, 0);
    break;
  }
}

TEST_F(RunnerTest, AScriptThatNeverStopsPrintingRunsOutOfTime) {
  request_.timeoutMillis = 200;
  request_.outputLimit = 1000;
  const RunStatus status = run("yes");
  EXPECT_TRUE(status.timedOut);
  EXPECT_FALSE(status.outputLost);
}

TEST_F(RunnerTest, ARunThatIsToldToEndHasTimeToCleanUp) {
  const Fifo up(scratch_.at("up"));
  request_.graceMillis = 600000;
  // A shell's children can lose a signal between fork and exec; this has none, and waits without a gap.
  request_.processor = "perl";
  const RunnerAlive runner = start(R"(
    use POSIX;
    sigprocmask(SIG_BLOCK, POSIX::SigSet->new(SIGTERM));
    $SIG{TERM} = sub { print "cleaned\n"; exit 0 };
    open(my $up, '>', 'up') or die;
    print $up "up\n";
    close $up;
    sigsuspend(POSIX::SigSet->new);
  )");
  EXPECT_EQ(up.read(), "up\n");
  RunnerClient::terminate(runner);
  awaitEnd(runner);
  const RunStatus status = statusOf();
  EXPECT_TRUE(status.terminated);
  EXPECT_FALSE(status.timedOut);
  EXPECT_EQ(status.returnCode, kRunTerminated);
  EXPECT_EQ(status.signal, 0);
  EXPECT_EQ(client_.directory("1").output(), "cleaned\n");
}

TEST_F(RunnerTest, ARunThatDoesNotEndWhenToldIsMadeTo) {
  const Fifo up(scratch_.at("up"));
  const Fifo never(scratch_.at("never"));
  const RunnerAlive runner = start("trap '' TERM; echo up >up; cat <never");
  EXPECT_EQ(up.read(), "up\n");
  RunnerClient::terminate(runner);
  awaitEnd(runner);
  EXPECT_EQ(statusOf().returnCode, kRunTerminated);
  EXPECT_EQ(statusOf().signal, SIGKILL);
}

TEST_F(RunnerTest, OutputBeyondTheLimitLosesItsMiddleAndNothingElse) {
  std::string all;
  for (int i = 1; i <= 20000; ++i) all += std::to_string(i) + "\n";
  request_.outputLimit = 1001;
  const RunStatus status = run("seq 1 20000");
  EXPECT_EQ(status.outputBytes, static_cast<std::int64_t>(all.size()));
  EXPECT_EQ(output_, all.substr(0, 500) + "\n[... " + std::to_string(all.size() - 1001) + " bytes left out ...]\n" +
                         all.substr(all.size() - 501));
  request_.outputLimit = static_cast<std::int64_t>(all.size());
  run("seq 1 20000");
  EXPECT_EQ(output_, all);
  EXPECT_EQ(client_.directory("2").output(6), "20000\n");
}

TEST_F(RunnerTest, ADiskThatTakesNoMoreLosesOutputButNotTheStatus) {
  struct rlimit old {};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
  struct rlimit small = old;
  small.rlim_cur = 8192;
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  const RunnerAlive runner = start("seq 1 20000; exit 5");
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
  awaitEnd(runner);
  const RunStatus status = statusOf();
  EXPECT_TRUE(status.outputLost);
  EXPECT_EQ(status.returnCode, 5);
  EXPECT_EQ(status.outputBytes, 108894);
}

TEST_F(RunnerTest, AProcessorThatIsNotThereIsAFailureOfItsOwn) {
  request_.processor = "/nowhere/sh";
  RunStatus status = run("exit 0");
  EXPECT_EQ(status.returnCode, kRunNoProcessor);
  EXPECT_EQ(status.failure, "cannot start the command processor '/nowhere/sh': No such file or directory");
  request_.processor = "mesk-no-such-program";
  status = run("exit 0");
  EXPECT_EQ(status.returnCode, kRunNoProcessor);
  EXPECT_EQ(status.failure, "there is no command processor 'mesk-no-such-program' on the path");
  request_.processor = "/etc/passwd";
  status = run("exit 0");
  EXPECT_EQ(status.returnCode, kRunNoProcessor);
  EXPECT_EQ(status.failure, "cannot start the command processor '/etc/passwd': Permission denied");
}

TEST_F(RunnerTest, ADirectoryThatIsNotThereIsAFailureOfItsOwn) {
  request_.directory = "/nowhere";
  const RunStatus status = run("exit 0");
  EXPECT_EQ(status.returnCode, kRunNoDirectory);
  EXPECT_EQ(status.failure, "cannot enter the working directory '/nowhere': No such file or directory");
}

TEST_F(RunnerTest, AUserThatIsNotThereIsAFailureOfItsOwn) {
  request_.user = "mesk-nobody-has-this-name";
  const RunStatus status = run("exit 0");
  EXPECT_EQ(status.returnCode, kRunNoUser);
  EXPECT_EQ(status.failure, "there is no user 'mesk-nobody-has-this-name' on this system");
}

TEST_F(RunnerTest, OnlyRootRunsAsAnotherUser) {
  if (::geteuid() != 0) {
    request_.user = "nobody";
    const RunStatus status = run("exit 0");
    EXPECT_EQ(status.returnCode, kRunMayNotBeUser);
    EXPECT_EQ(status.failure, "to run as 'nobody' the scheduler must run as root");
    return;
  }
  // A runner that is not root has to be started by somebody who is not: a child that gives root up.
  ::chmod(scratch_.path().c_str(), 0755);
  const std::string base = scratch_.at("of-nobody");
  ASSERT_EQ(::mkdir(base.c_str(), 0700), 0);
  ASSERT_EQ(::chown(base.c_str(), 65534, 65534), 0);
  const std::string runner = scratch_.at("runner");  // a build tree may be closed to others
  std::filesystem::copy_file(MESK_RUNNER, runner);
  const pid_t other = ::fork();
  if (other == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(1);
    request_.user = "root";
    request_.script = "exit 0";
    awaitEnd(RunnerClient(runner, base).start("1", request_));
    ::_exit(0);
  }
  int how = 0;
  ASSERT_EQ(::waitpid(other, &how, 0), other);
  ASSERT_EQ(how, 0);
  RunnerState state = RunDirectory(base + "/1").inspect();
  ASSERT_NE(std::get_if<RunnerFinished>(&state), nullptr);
  EXPECT_EQ(std::get<RunnerFinished>(state).status.returnCode, kRunMayNotBeUser);
  EXPECT_EQ(std::get<RunnerFinished>(state).status.failure, "to run as 'root' the scheduler must run as root");
}

TEST_F(RunnerTest, RootRunsAsAnotherUserWithNothingOfItsOwnRights) {
  if (::geteuid() != 0) {
    std::cout << "NOT CHECKED: running as another user takes root\n";
    GTEST_SKIP() << "running as another user takes root";
  }
  request_.user = "nobody";
  request_.directory = "/";
  request_.arguments = {"x"};
  std::array<gid_t, 65536> groups{};
  const auto own = static_cast<std::size_t>(::getgroups(static_cast<int>(groups.size()), groups.data()));
  const gid_t extra = 4;  // a group that must not come along
  ASSERT_EQ(::setgroups(1, &extra), 0);
  const RunStatus status =
      run("id -un; id -Gn; echo $HOME $USER $1; ls " + client_.directory("1").path() + "; echo rows=5 >>$MESK_COUNTS");
  ASSERT_EQ(::setgroups(own, groups.data()), 0);
  EXPECT_EQ(status.failure, "");
  EXPECT_TRUE(output_.starts_with("nobody\nnogroup\n/nonexistent nobody x\nls: cannot")) << output_;
  EXPECT_EQ(status.rows, 5) << output_;
}

TEST_F(RunnerTest, ARunOfTheOwnUserNeedsNoRoot) {
  request_.user = ::geteuid() == 0 ? "root" : "";
  EXPECT_EQ(run("exit 0").returnCode, 0);
}

TEST_F(RunnerTest, WhatAScriptLeavesInTheBackgroundIsLeftAloneAndHoldsNothing) {
  const Fifo go(scratch_.at("go"));
  const Fifo up(scratch_.at("up"));
  const RunStatus status = run("(read x <go; echo alive >up) & exit 0");
  EXPECT_EQ(status.returnCode, 0);
  go.write();
  EXPECT_EQ(up.read(), "alive\n");
}

TEST_F(RunnerTest, AHangupDoesNotEndTheRunner) {
  const Fifo up(scratch_.at("up"));
  const Fifo go(scratch_.at("go"));
  const RunnerAlive runner = start("echo up >up; read x <go; exit 4");
  EXPECT_EQ(up.read(), "up\n");
  ASSERT_EQ(::pidfd_send_signal(runner.ended.get(), SIGHUP, nullptr, 0), 0);
  go.write();
  awaitEnd(runner);
  EXPECT_EQ(statusOf().returnCode, 4);
}

TEST_F(RunnerTest, ARunOutlivesTheSchedulerAndIsFoundAgain) {
  const Fifo up(scratch_.at("up"));
  const Fifo go(scratch_.at("go"));
  const pid_t scheduler = ::fork();
  if (scheduler == 0) {
    start("echo up >up; read x <go; echo after; exit 7");
    ::kill(::getpid(), SIGKILL);
  }
  int how = 0;
  ASSERT_EQ(::waitpid(scheduler, &how, 0), scheduler);
  ASSERT_TRUE(WIFSIGNALED(how) && WTERMSIG(how) == SIGKILL);
  EXPECT_EQ(up.read(), "up\n");

  EXPECT_EQ(client_.ids(), std::vector<std::string>{"1"});
  RunnerState state = client_.directory("1").inspect();
  auto* alive = std::get_if<RunnerAlive>(&state);
  ASSERT_NE(alive, nullptr);
  EXPECT_GT(alive->pid, 0);
  ASSERT_TRUE(alive->ended);
  go.write();
  awaitEnd(*alive);
  EXPECT_EQ(statusOf().returnCode, 7);
  EXPECT_EQ(client_.directory("1").output(), "after\n");
}

TEST_F(RunnerTest, TheLockIsHeldFromTheStartToTheEnd) {
  const Fifo go(scratch_.at("go"));
  const RunnerAlive runner = start("read x <go");
  const UniqueFd lock(::open((client_.directory("1").path() + "/lock").c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_NE(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
  go.write();
  awaitEnd(runner);
  EXPECT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
}

TEST_F(RunnerTest, AKilledRunnerHasVanishedAndItsScriptGoesWithIt) {
  const Fifo up(scratch_.at("up"));
  const Fifo never(scratch_.at("never"));
  const RunnerAlive runner = start("exec 9>up; echo up >&9; read x <never");
  ASSERT_EQ(::pidfd_send_signal(runner.ended.get(), 0, nullptr, 0), 0);
  const UniqueFd reader(::open(up.path().c_str(), O_RDONLY | O_CLOEXEC));
  char text[8];
  ASSERT_EQ(::read(reader.get(), text, sizeof text), 3);
  ASSERT_EQ(::pidfd_send_signal(runner.ended.get(), SIGKILL, nullptr, 0), 0);
  awaitEnd(runner);
  RunnerState state = client_.directory("1").inspect();
  EXPECT_NE(std::get_if<RunnerVanished>(&state), nullptr);
  EXPECT_EQ(::read(reader.get(), text, sizeof text), 0);
}

TEST_F(RunnerTest, ARunnerThatCannotWriteItsStatusVanishesAndSaysWhy) {
  const Fifo go(scratch_.at("go"));
  const RunnerAlive runner = start("read x <go");
  std::filesystem::create_directory(client_.directory("1").path() + "/status.json");
  go.write();
  awaitEnd(runner);
  RunnerState state = client_.directory("1").inspect();
  const auto* vanished = std::get_if<RunnerVanished>(&state);
  ASSERT_NE(vanished, nullptr);
  EXPECT_NE(vanished->why.find("; mesk-runner: "), std::string::npos) << vanished->why;
}

TEST_F(RunnerTest, NothingOfTheSchedulerStaysOpenInTheRunner) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);  // would be inherited
  const Fifo go(scratch_.at("go"));
  const Fifo up(scratch_.at("up"));
  const RunnerAlive runner = start("echo up >up; read x <go");
  EXPECT_EQ(up.read(), "up\n");
  ::close(ends[1]);
  char none = 0;
  EXPECT_EQ(::read(ends[0], &none, 1), 0);
  ::close(ends[0]);
  go.write();
  awaitEnd(runner);
}

TEST_F(RunnerTest, ARunThatNeverWasHasVanished) {
  RunnerState state = client_.directory("7").inspect();
  EXPECT_NE(std::get_if<RunnerVanished>(&state), nullptr);
}

TEST_F(RunnerTest, ARunThatCannotBeLookedAtForWantOfDescriptorsHasNotVanished) {
  const RunDirectory directory = client_.directory("1");
  run("true");
  struct rlimit old {};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
  struct rlimit none = old;
  none.rlim_cur = 0;
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_THROW(directory.inspect(), std::system_error);
  EXPECT_THROW(directory.output(), std::system_error);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
  EXPECT_TRUE(std::holds_alternative<RunnerFinished>(directory.inspect()));
}

TEST_F(RunnerTest, ARunnerThatHasNotSignedYetIsWaitedFor) {
  const std::string path = scratch_.at("run");
  std::filesystem::create_directory(path);
  const UniqueFd lock(::open((path + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  ASSERT_EQ(::flock(lock.get(), LOCK_EX | LOCK_NB), 0);
  pid_t found = 0;
  std::thread inspector([&] {
    RunnerState state = RunDirectory(path).inspect();
    if (const auto* alive = std::get_if<RunnerAlive>(&state)) found = alive->pid;
  });
  const std::string sign = std::to_string(::getpid()) + "\n";
  ASSERT_TRUE(writeAll(lock.get(), sign.data(), sign.size()));
  inspector.join();
  EXPECT_EQ(found, ::getpid());
}

TEST_F(RunnerTest, AnUnreadableRequestIsAFailureOfItsOwn) {
  const std::string path = scratch_.at("run");
  std::filesystem::create_directory(path);
  scratch_.write("run/run.json", "{\"processor\": 1}");
  scratch_.write("run/lock", "");
  ASSERT_EQ(std::system((std::string(MESK_RUNNER) + " " + path).c_str()), 0);
  RunnerState state = RunDirectory(path).inspect();
  ASSERT_NE(std::get_if<RunnerFinished>(&state), nullptr);
  EXPECT_EQ(std::get<RunnerFinished>(state).status.returnCode, kRunBadRequest);
  EXPECT_EQ(std::get<RunnerFinished>(state).status.failure, "run.json: 'processor' is of another type");
}

TEST_F(RunnerTest, ADirectoryThatExistsIsNotUsedAgain) {
  run("echo first");
  EXPECT_THROW(start("echo second", "1"), std::system_error);
  EXPECT_EQ(client_.directory("1").output(), "first\n");
}

TEST_F(RunnerTest, AnIdCannotLeadOutOfTheBase) {
  for (const char* id : {"", ".", "..", "../x", "a/b"}) EXPECT_THROW(start("exit 0", id), std::runtime_error) << id;
  EXPECT_EQ(client_.ids(), std::vector<std::string>{});
}

TEST_F(RunnerTest, ARunnerThatCannotBeStartedLeavesNothing) {
  const RunnerClient broken("/nowhere/mesk-runner", scratch_.at("runs"));
  EXPECT_THROW(broken.start("1", request_), std::system_error);
  EXPECT_EQ(client_.ids(), std::vector<std::string>{});
}

TEST_F(RunnerTest, ARemovedRunIsGone) {
  run("exit 0");
  client_.directory("1").remove();
  EXPECT_EQ(client_.ids(), std::vector<std::string>{});
}

}  // namespace
}  // namespace mesk::host
