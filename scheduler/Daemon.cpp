#include <scheduler/Daemon.h>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <spdlog/spdlog.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <set>
#include <system_error>
#include <vector>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/session/MDUtility.h>
#include <mesk/tasks/MDTask.h>
#include <platform/Clock.h>

namespace mesk::host {
namespace {

constexpr std::int64_t kLoadAgainMillis = 5'000;
constexpr std::int64_t kPruneEveryMillis = 24LL * 3600 * 1000;

sigset_t stopSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, signal);
  return set;
}

UniqueFd takeLock(const StoreAddress& address) {
  UniqueFd lock(::open(address.lockPath().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!lock) {
    throw HostError(kExitNoStore, fmt::format("{}: {}", address.lockPath(), std::generic_category().message(errno)));
  }
  if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    throw HostError(kExitAlreadyRunning, fmt::format("another meskd works on {}", address.path()));
  }
  return lock;
}

UniqueFd watchSignals() {
  const sigset_t set = stopSignals();
  return UniqueFd(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

UniqueFd watchZone() {
  UniqueFd watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  ::inotify_add_watch(watch.get(), "/etc", IN_CREATE | IN_MOVED_TO | IN_CLOSE_WRITE | IN_ONLYDIR);
  return watch;
}

void drain(int fd) {
  std::array<char, 4096> bytes;
  while (::read(fd, bytes.data(), bytes.size()) > 0) {
  }
}

/// Brackets work on the store with the scheduler's latch, as every thread of a host does.
class StoreWork {
 public:
  StoreWork() { MDUtility::getLatch(); }
  ~StoreWork() { MDUtility::freeLatch(); }
  StoreWork(const StoreWork&) = delete;
  StoreWork& operator=(const StoreWork&) = delete;
};

void report(const std::string& line) { spdlog::info("{}", line); }

}  // namespace

std::string systemZone() {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/etc/localtime", error).string();
  constexpr std::string_view kFolder = "zoneinfo/";
  const auto at = target.find(kFolder);
  return error || at == std::string::npos ? std::string() : target.substr(at + kFolder.size());
}

void Daemon::blockSignals() {
  const sigset_t set = stopSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

Daemon::Daemon(const StoreAddress& address, DaemonOptions options)
    : options_(std::move(options)),
      lock_(takeLock(address)),
      signals_(watchSignals()),
      zoneWatch_(watchZone()),
      zone_(systemZone()),
      notice_(Notice::watch(address.path())),
      session_(address),
      client_(options_.runner, address.runsDirectory()),
      launcher_(client_) {
  MDUtility::initLatch();
  scheduler_ = std::make_unique<Scheduler>(session_, launcher_, Scheduler::Options{options_.limit}, report);
}

Daemon::~Daemon() {
  scheduler_.reset();
  delete MDTaskExecList::getInstance();
  MDTask::freeLock();
  MDTaskExec::freeLock();
  MDTaskHistory::freeLock();
}

Daemon::End Daemon::run() {
  while (!ended_ && step()) {
  }
  spdlog::info("stopped with {} run(s) still going", scheduler_->running());
  return restart_ ? End::kRestart : End::kStopped;
}

/// One round: do what is due, then wait. False when the daemon is to end.
bool Daemon::step() {
  std::optional<std::int64_t> until;
  try {
    const StoreWork work;
    if (!loaded_ && clockMillis() >= loadAt_) {
      scheduler_->load();
      removeLeftovers();
      loaded_ = true;
      spdlog::info("{} execution(s) in the queue of {}", MDTaskExecList::getInstance()->size(0),
                   session_.address().path());
      if (options_.readyFd >= 0) {
        [[maybe_unused]] const ssize_t written = ::write(options_.readyFd, "ready\n", 6);
        ::close(options_.readyFd);
        options_.readyFd = -1;
      }
    }
    if (loaded_ && !stopping_) {
      pruneHistory();
      scheduler_->startDue();
      until = scheduler_->nextDue();
    }
  } catch (const HostError& error) {
    recoverLater(error);
  }
  if (mayEnd()) return false;
  if (!loaded_) until = loadAt_;
  if (stopping_) until = stopBy_;
  if (loaded_ && pruneAt_ != 0 && !stopping_) until = until ? std::min(*until, pruneAt_) : pruneAt_;
  wait(until);
  return true;
}

/// The store failed at work: what the queue says may not be what the store says. All of it is read again, after a
/// while; runs go on meanwhile, and what ended is found by its directory.
void Daemon::recoverLater(const std::exception& error) {
  spdlog::error("{}; trying again in {} s", error.what(), kLoadAgainMillis / 1000);
  loaded_ = false;
  loadAt_ = clockMillis() + kLoadAgainMillis;
}

bool Daemon::mayEnd() {
  if (stopping_) return scheduler_->running() == 0 || clockMillis() >= stopBy_;
  return options_.exitWhenIdle && loaded_ && scheduler_->idle();
}

void Daemon::wait(std::optional<std::int64_t> until) {
  // False: the clock was set since `until` was reckoned.
  if (!(until ? timer_.setAt(*until) : timer_.clear())) return;
  std::vector<pollfd> watched{
      {timer_.fd(), POLLIN, 0}, {signals_.get(), POLLIN, 0}, {notice_.fd(), POLLIN, 0}, {zoneWatch_.get(), POLLIN, 0}};
  const std::size_t fixed = watched.size();
  const auto runners = launcher_.descriptors();
  for (const auto& [fd, id] : runners) watched.push_back({fd, POLLIN, 0});
  if (::poll(watched.data(), watched.size(), -1) < 0) return;

  if (watched[0].revents != 0 && timer_.drain() == Timer::Event::kClockChanged) {
    spdlog::warn("the system's clock was set");
  }
  if (watched[1].revents != 0) onSignal();
  if (watched[3].revents != 0) onZone();
  try {
    const StoreWork work;
    if (watched[2].revents != 0 && notice_.drain() && loaded_) scheduler_->refresh();
    for (std::size_t i = 0; loaded_ && i < runners.size(); ++i) {
      if (watched[fixed + i].revents != 0) onEnded(runners[i].second);
    }
  } catch (const HostError& error) {
    recoverLater(error);
  }
}

void Daemon::onSignal() {
  signalfd_siginfo info{};
  while (::read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
    if (info.ssi_signo == SIGHUP) continue;
    if (stopping_) {
      ended_ = true;
      return;
    }
    stopping_ = true;
    stopBy_ = clockMillis() + options_.stopTimeoutSeconds * 1000;
    spdlog::info("stopping; waiting for {} run(s)", scheduler_->running());
  }
}

void Daemon::onZone() {
  drain(zoneWatch_.get());
  const std::string zone = systemZone();
  if (zone == zone_ || zone.empty()) return;
  spdlog::warn("the system's time zone is now {}; starting again with it", zone);
  ended_ = true;
  restart_ = true;
}

void Daemon::onEnded(const AttemptID& id) {
  const RunnerState state = launcher_.ended(id);
  if (const auto* const finished = std::get_if<RunnerFinished>(&state)) {
    scheduler_->finished(id, finished->status);
  } else if (const auto* const gone = std::get_if<RunnerVanished>(&state)) {
    scheduler_->vanished(id, gone->why);
  }
}

/// Directories of attempts that the store knows as ended, or that no claim ever stood behind.
void Daemon::removeLeftovers() {
  std::set<std::string> watched;
  for (const auto& [fd, id] : launcher_.descriptors()) watched.insert(id.text());
  for (const std::string& id : client_.ids()) {
    if (watched.contains(id)) continue;
    const RunDirectory directory = client_.directory(id);
    if (std::holds_alternative<RunnerAlive>(directory.inspect())) continue;
    try {
      directory.remove();
    } catch (const std::exception& error) {
      spdlog::warn("{}", error.what());
    }
  }
}

void Daemon::pruneHistory() {
  if (options_.keepHistorySeconds == 0) return;
  const std::int64_t now = clockMillis();
  if (now < pruneAt_) return;
  scheduler_->prune(now - options_.keepHistorySeconds * 1000);
  pruneAt_ = now + kPruneEveryMillis;
}

}  // namespace mesk::host
