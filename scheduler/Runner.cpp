#include <scheduler/Runner.h>

#include <fcntl.h>
#include <grp.h>
#include <linux/close_range.h>
#include <poll.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <scheduler/Files.h>
#include <scheduler/OutputFile.h>
#include <scheduler/PidFd.h>
#include <scheduler/RunRecords.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {

namespace {

// Room for a status, so that a full disk does not keep a run from telling how it ended.
constexpr long kStatusRoom = 4096;
constexpr std::size_t kFailureLimit = 1024;
// What the script says that it handled, and how much of that is read.
constexpr const char* kCounts = "/counts";
constexpr std::size_t kCountsLimit = 65536;

// An attempt that cannot start, with the code that its status gets.
struct StartFailure : std::runtime_error {
  StartFailure(int code_, const std::string& text) : std::runtime_error(text), code(code_) {}
  int code;
};

[[noreturn]] void notStarted(const char* what) {
  throw StartFailure(kRunNotStarted, std::string(what) + ": " + std::strerror(errno));
}

std::int64_t nowMillis() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

struct Account {
  uid_t uid = 0;
  gid_t gid = 0;
  std::string name;
  std::string home;
  std::string shell;
};

// The account by name, or that of `uid` when `name` is empty. No answer when there is none.
std::optional<Account> findAccount(const std::string& name, uid_t uid) {
  std::vector<char> buffer(16384);
  struct passwd entry {};
  struct passwd* found = nullptr;
  for (;;) {
    const int failure = name.empty() ? ::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found)
                                     : ::getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found);
    if (failure != ERANGE) break;
    buffer.resize(buffer.size() * 2);
  }
  if (found == nullptr) return std::nullopt;
  return Account{entry.pw_uid, entry.pw_gid, entry.pw_name, entry.pw_dir, entry.pw_shell};
}

// What the child could not do, sent to the runner through a pipe that a successful start closes.
struct ChildFailure {
  enum Step : int { kGroups, kUser, kDirectory, kStreams, kProcessor } step;
  int error;
};

// All that the child needs, made before the fork.
struct Launch {
  std::vector<std::string> arguments;
  std::vector<std::string> environment;
  std::string directory;
  Account account;
  bool changeUser = false;
  bool homeIsOptional = false;
  std::vector<UniqueFd> files;  ///< that the script's user cannot open by their paths
  pid_t runner = ::getpid();
};

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> environmentFor(const RunRequest& request, const Account& account, const std::string& counts) {
  std::map<std::string, std::string> values{{"PATH", "/usr/local/bin:/usr/bin:/bin"},
                                            {"HOME", account.home},
                                            {"USER", account.name},
                                            {"LOGNAME", account.name},
                                            {"SHELL", account.shell}};
  for (const char* name : {"LANG", "LC_ALL", "LC_CTYPE", "TZ"}) {
    if (const char* value = std::getenv(name)) values[name] = value;
  }
  for (const auto& [name, value] : request.environment) values[name] = value;
  values["MESK_ATTEMPT"] = std::to_string(request.attempt);
  values["MESK_COUNTS"] = counts;
  std::vector<std::string> result;
  result.reserve(values.size());
  for (const auto& [name, value] : values) result.push_back(name + "=" + value);
  return result;
}

// A program without a slash is looked up as the script's own PATH says.
std::string findProcessor(const RunRequest& request) {
  if (request.processor.find('/') != std::string::npos) return request.processor;
  const auto given = request.environment.find("PATH");
  std::string path = given == request.environment.end() ? "/usr/local/bin:/usr/bin:/bin" : given->second;
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find(':', begin), path.size());
    std::string candidate = path.substr(begin, end - begin) + "/" + request.processor;
    if (candidate.front() == '/' && ::access(candidate.c_str(), X_OK) == 0) return candidate;
    begin = end + 1;
  }
  throw StartFailure(kRunNoProcessor, "there is no command processor '" + request.processor + "' on the path");
}

// Above the three standard descriptors, whatever the parent left closed: the child puts its streams there.
UniqueFd aboveStandard(int fd) {
  if (fd < 0 || fd > 2) return UniqueFd(fd);
  const UniqueFd low(fd);
  return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 3));
}

// Makes a file for the script's user; answers how the script is to call it.
std::string handOver(const std::string& path, const std::string& content, Launch& launch) {
  const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (!file || !writeAll(file.get(), content.data(), content.size())) notStarted(path.c_str());
  if (!launch.changeUser) return path;
  if (::fchown(file.get(), launch.account.uid, launch.account.gid) != 0) notStarted(path.c_str());
  // The other user cannot enter the run's directory, and need not: the open file is enough.
  launch.files.push_back(aboveStandard(::open(path.c_str(), O_RDONLY | O_CLOEXEC)));
  if (!launch.files.back()) notStarted(path.c_str());
  return "/proc/self/fd/" + std::to_string(launch.files.back().get());
}

Launch prepare(const std::string& directory, const RunRequest& request) {
  Launch launch;
  const uid_t self = ::geteuid();
  const std::optional<Account> account = findAccount(request.user, self);
  if (account) {
    launch.account = *account;
  } else if (!request.user.empty()) {
    throw StartFailure(kRunNoUser, "there is no user '" + request.user + "' on this system");
  } else {
    launch.account = Account{self, ::getegid(), std::to_string(self), "/", "/bin/sh"};
  }
  launch.changeUser = launch.account.uid != self;
  if (launch.changeUser && self != 0) {
    throw StartFailure(kRunMayNotBeUser, "to run as '" + request.user + "' the scheduler must run as root");
  }

  const std::string script = handOver(directory + "/script", request.script, launch);
  const std::string counts = handOver(directory + kCounts, "", launch);
  launch.arguments = {findProcessor(request), script};
  launch.arguments.insert(launch.arguments.end(), request.arguments.begin(), request.arguments.end());
  launch.environment = environmentFor(request, launch.account, counts);
  launch.homeIsOptional = request.directory.empty();
  launch.directory = launch.homeIsOptional ? launch.account.home : request.directory;
  return launch;
}

// The child, between fork and exec: only system calls.
[[noreturn]] void becomeScript(const Launch& launch, char* const* arguments, char* const* environment, int output,
                               int failures) {
  const auto failed = [failures](ChildFailure::Step step) {
    const ChildFailure failure{step, errno};
    writeAll(failures, reinterpret_cast<const char*>(&failure), sizeof failure);
    ::_exit(127);
  };
  ::setsid();
  ::umask(022);
  // Ignored signals would stay ignored in the script.
  for (int signal = 1; signal < NSIG; ++signal) ::signal(signal, SIG_DFL);
  if (launch.changeUser) {
    if (::initgroups(launch.account.name.c_str(), launch.account.gid) != 0) failed(ChildFailure::kGroups);
    if (::setgid(launch.account.gid) != 0 || ::setuid(launch.account.uid) != 0) failed(ChildFailure::kUser);
  }
  // Without its runner nobody would record how the script ended, and it might be started again beside
  // itself: it goes with the runner. After the change of user, which clears this.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != launch.runner) ::_exit(127);  // gone before that held
  if (::chdir(launch.directory.c_str()) != 0 && !(launch.homeIsOptional && ::chdir("/") == 0)) {
    failed(ChildFailure::kDirectory);
  }
  const int input = ::open("/dev/null", O_RDONLY);
  if (input < 0 || ::dup2(input, 0) < 0 || ::dup2(output, 1) < 0 || ::dup2(output, 2) < 0) {
    failed(ChildFailure::kStreams);
  }
  // Nothing that the runner or its parent left open reaches the script: not the lock above all.
  if (::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) != 0) failed(ChildFailure::kStreams);
  for (const UniqueFd& file : launch.files) ::fcntl(file.get(), F_SETFD, 0);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  ::execve(arguments[0], arguments, environment);
  failed(ChildFailure::kProcessor);
  ::_exit(127);
}

StartFailure explain(const ChildFailure& failure, const Launch& launch) {
  const std::string reason = std::string(": ") + std::strerror(failure.error);
  switch (failure.step) {
    case ChildFailure::kGroups:
    case ChildFailure::kUser:
      return {kRunNotStarted, "cannot become user '" + launch.account.name + "'" + reason};
    case ChildFailure::kDirectory:
      return {kRunNoDirectory, "cannot enter the working directory '" + launch.directory + "'" + reason};
    case ChildFailure::kStreams:
      return {kRunNotStarted, "cannot set up the script's input and output" + reason};
    case ChildFailure::kProcessor:
      return {kRunNoProcessor, "cannot start the command processor '" + launch.arguments[0] + "'" + reason};
  }
  return {kRunNotStarted, "cannot start" + reason};
}

struct Pipe {
  UniqueFd in;
  UniqueFd out;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) notStarted("pipe");
  return {aboveStandard(ends[0]), aboveStandard(ends[1])};
}

// A started script. It is reaped last of all: until then its process group cannot be anyone else's.
class Script {
 public:
  static Script start(Launch launch) {
    Pipe output = makePipe();
    Pipe failures = makePipe();
    std::vector<char*> arguments = pointersTo(launch.arguments);
    std::vector<char*> environment = pointersTo(launch.environment);
    Script script;
    script.pid_ = ::fork();
    if (script.pid_ < 0) notStarted("fork");
    if (script.pid_ == 0) {
      becomeScript(launch, arguments.data(), environment.data(), output.out.get(), failures.out.get());
    }
    failures.out.reset();
    ChildFailure failure{};
    ssize_t count = 0;
    do {
      count = ::read(failures.in.get(), &failure, sizeof failure);
    } while (count < 0 && errno == EINTR);
    if (count == sizeof failure) {
      ::waitpid(script.pid_, nullptr, 0);
      throw explain(failure, launch);
    }
    script.ended_.reset(::pidfd_open(script.pid_, 0));
    if (!script.ended_) notStarted("pidfd_open");
    script.output_ = std::move(output.in);
    ::fcntl(script.output_.get(), F_SETFL, O_NONBLOCK);
    return script;
  }

  int outputFd() const { return output_.get(); }
  int endedFd() const { return ended_.get(); }
  void signalGroup(int signal) const { ::kill(-pid_, signal); }

  // Moves on what there is to read; true at the end of the output, when nobody holds it open. Bounded,
  // at more than a pipe holds: a script that never stops printing must not keep its time from running out.
  bool drain(OutputFile& file) const {
    std::array<char, 65536> portion;
    for (int round = 0; round < 16; ++round) {
      const ssize_t count = ::read(output_.get(), portion.data(), portion.size());
      if (count > 0) {
        file.add(portion.data(), static_cast<std::size_t>(count));
      } else if (count == 0) {
        return true;
      } else if (errno != EINTR) {
        return false;
      }
    }
    return false;
  }

  siginfo_t reap() const {
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED) != 0 && errno == EINTR) {
    }
    return info;
  }

 private:
  pid_t pid_ = -1;
  UniqueFd ended_;
  UniqueFd output_;
};

class Alarm {
 public:
  Alarm() : fd_(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (!fd_) notStarted("timerfd_create");
  }
  int fd() const { return fd_.get(); }
  void set(std::int64_t millis) const {
    struct itimerspec when {};
    when.it_value.tv_sec = millis / 1000;
    when.it_value.tv_nsec = millis % 1000 * 1000000;
    if (millis <= 0) when.it_value.tv_nsec = 1;  // all zero would switch it off
    ::timerfd_settime(fd_.get(), 0, &when, nullptr);
  }
  bool rang() const {
    std::uint64_t times = 0;
    return ::read(fd_.get(), &times, sizeof times) == sizeof times;
  }

 private:
  UniqueFd fd_;
};

// Follows the script to its end, and no further: what it leaves in the background may hold the output
// open for ever.
void follow(const Script& script, const RunRequest& request, int stopSignals, OutputFile& output, RunStatus& status) {
  const Alarm alarm;
  if (request.timeoutMillis > 0) alarm.set(request.timeoutMillis);
  bool ended = false;       // the script itself
  bool outputOver = false;  // and all who had its output
  bool stopping = false;
  bool graceOver = false;
  const auto stop = [&] {
    if (stopping) return;
    stopping = true;
    script.signalGroup(SIGTERM);
    alarm.set(request.graceMillis);
  };
  // A run that is being stopped has the grace period for all of its group, not only for the script.
  while (!ended || (stopping && !outputOver && !graceOver)) {
    std::array<struct pollfd, 4> waits{{{ended ? -1 : script.endedFd(), POLLIN, 0},
                                        {outputOver ? -1 : script.outputFd(), POLLIN, 0},
                                        {alarm.fd(), POLLIN, 0},
                                        {stopSignals, POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), -1) < 0) continue;
    if (waits[0].revents != 0) ended = true;
    if (waits[1].revents != 0) outputOver = script.drain(output);
    if (waits[3].revents != 0) {
      struct signalfd_siginfo info {};
      if (::read(stopSignals, &info, sizeof info) == sizeof info && !ended) {
        status.terminated = true;
        stop();
      }
    }
    if (waits[2].revents != 0 && alarm.rang()) {
      if (!stopping) {
        if (ended) continue;
        status.timedOut = true;
        stop();
      } else {
        graceOver = true;
        script.signalGroup(SIGKILL);
      }
    }
  }
  if (stopping) script.signalGroup(SIGKILL);
  script.drain(output);
}

// The last bytes of what the script left in the place of its counts. That may be anything: it is not followed
// elsewhere, nor waited for.
std::string countsText(const std::string& directory) {
  const UniqueFd file(::open((directory + kCounts).c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat entry {};
  if (!file || ::fstat(file.get(), &entry) != 0 || !S_ISREG(entry.st_mode)) return {};
  const off_t begin = std::max<off_t>(entry.st_size - static_cast<off_t>(kCountsLimit), 0);
  std::string text(kCountsLimit, '\0');
  const ssize_t count = ::pread(file.get(), text.data(), text.size(), begin);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  // Of a line that is cut nobody knows what it says.
  return begin == 0 ? text : text.substr(std::min(text.find('\n'), text.size()));
}

// Takes over what the script said: lines `rows=N` and `bytes=N`, of which the last hold; others say nothing.
void takeCounts(std::string_view text, RunStatus& status) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    for (auto [name, count] : {std::pair{"rows=", &status.rows}, {"bytes=", &status.bytes}}) {
      if (!line.starts_with(name)) continue;
      const std::string_view digits = line.substr(std::string_view(name).size());
      std::int64_t value = 0;
      const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
      if (error == std::errc() && end == digits.data() + digits.size() && value >= 0) *count = value;
    }
  }
}

void attempt(const std::string& directory, int stopSignals, RunStatus& status) {
  RunRequest request;
  try {
    request = RunRequest::fromJson(readFile(directory + "/run.json"));
  } catch (const std::exception& refused) {
    throw StartFailure(kRunBadRequest, refused.what());
  }
  OutputFile output(directory + "/output", request.outputLimit);
  const Script script = Script::start(prepare(directory, request));
  follow(script, request, stopSignals, output, status);
  output.finish();
  status.outputBytes = output.total();
  status.outputLost = output.lost();
  takeCounts(countsText(directory), status);
  const siginfo_t how = script.reap();
  if (how.si_code != CLD_EXITED) status.signal = how.si_status;
  status.returnCode = status.timedOut     ? kRunTimedOut
                      : status.terminated ? kRunTerminated
                      : status.signal > 0 ? 128 + status.signal
                                          : how.si_status;
}

// What the parent left open, its sockets above all, must not live as long as this process.
void closeInherited(int lockFd) {
  const int lowest = STDERR_FILENO + 1;
  const auto close = [](int first, unsigned last) {
    if (static_cast<unsigned>(first) <= last) ::close_range(static_cast<unsigned>(first), last, 0);
  };
  if (lockFd >= lowest) close(lowest, static_cast<unsigned>(lockFd) - 1);
  close(std::max(lockFd + 1, lowest), ~0U);
}

// Tells whoever comes by who holds the lock.
void signLock(int lockFd) {
  const std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(lockFd, 0) != 0 || ::pwrite(lockFd, pid.data(), pid.size(), 0) < 0) {
    throw std::system_error(errno, std::generic_category(), "lock");
  }
}

}  // namespace

int runAttempt(const std::string& directory, int lockFd) {
  RunStatus status;
  status.startedMillis = nowMillis();
  try {
    closeInherited(lockFd);
    ::umask(077);
    ::setsid();  // fails for the leader of a group, who has no terminal to lose that matters
    for (const int ignored : {SIGHUP, SIGPIPE, SIGXFSZ, SIGQUIT, SIGUSR1, SIGUSR2}) ::signal(ignored, SIG_IGN);
    // Whoever started this may ignore SIGCHLD, and that is inherited: the script's end would be lost.
    ::signal(SIGCHLD, SIG_DFL);
    sigset_t stops;
    sigemptyset(&stops);
    sigaddset(&stops, SIGTERM);
    sigaddset(&stops, SIGINT);
    ::sigprocmask(SIG_SETMASK, &stops, nullptr);
    const UniqueFd stopSignals(::signalfd(-1, &stops, SFD_CLOEXEC | SFD_NONBLOCK));
    if (lockFd >= 0) signLock(lockFd);
    try {
      reserveFile(directory, "status.json", kStatusRoom);
    } catch (const std::system_error&) {
      // A full disk now need not be full at the end.
    }
    try {
      attempt(directory, stopSignals.get(), status);
    } catch (const StartFailure& failure) {
      status.returnCode = failure.code;
      status.failure = std::string(failure.what()).substr(0, kFailureLimit);
    }
    status.endedMillis = std::max(nowMillis(), status.startedMillis);
    replaceFile(directory, "status.json", status.toJson());
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "mesk-runner: %s: %s\n", directory.c_str(), failure.what());
    return 1;
  }
}

}  // namespace mesk::host
