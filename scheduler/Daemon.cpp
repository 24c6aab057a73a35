#include <scheduler/Daemon.h>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <spdlog/spdlog.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <system_error>
#include <vector>

#include <mesk/history/MDTaskHistory.h>
#include <mesk/history/MDTaskStatistic.h>
#include <mesk/session/MDUtility.h>
#include <mesk/tasks/MDTask.h>
#include <platform/Clock.h>
#include <platform/Contacts.h>
#include <scheduler/Administration.h>
#include <scheduler/Outbox.h>
#include <scheduler/StoreWork.h>
#include <scheduler/Utf8.h>
#include <scheduler/Zone.h>
#include <scheduler/ZoneCheck.h>

namespace mesk::host {
namespace {

constexpr std::int64_t kAgainMillis = 5'000;
constexpr std::size_t kMostZoneWarnings = 10;
constexpr std::int64_t kPruneEveryMillis = 24LL * 3600 * 1000;

/// A clock that nobody sets: how long something takes is measured by it.
std::int64_t steadyMillis() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

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

void report(const std::string& line) { spdlog::info("{}", line); }

/// The tasks of all users are run and accounted for.
void requireSuperuser(Session& session) {
  if (Administration(session).isSuperuser(session.user())) return;
  throw HostError(
      kExitRefused,
      fmt::format("{} is no superuser of the store {}; 'meskctl user add {} --superuser' by one makes him one",
                  inCapitals(session.user()), session.address().path(), inCapitals(session.user())));
}

}  // namespace

void Daemon::blockSignals() {
  const sigset_t set = stopSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

Daemon::Daemon(const StoreAddress& address, DaemonOptions options, std::unique_ptr<MailTransport> mail)
    : options_(std::move(options)),
      lock_(takeLock(address)),
      signals_(watchSignals()),
      zoneWatch_(watchZone()),
      zone_(systemZone()),
      notice_(Notice::watch(address.path())),
      session_(address),
      client_(options_.runner, address.runsDirectory()),
      launcher_(client_),
      mail_(std::move(mail)),
      clockOffset_(clockMillis() - steadyMillis()) {
  requireSuperuser(session_);
  MDUtility::initLatch();
  // Asked by the scheduler's own work, on its thread and within its unit of work.
  setContactSource([this](const std::string& group) { return Administration(session_).contactsOf(group); });
  scheduler_ = std::make_unique<Scheduler>(
      session_, launcher_,
      Scheduler::Options{.limit = options_.limit, .agent = options_.agent, .mail = [this] { tellOfMessages(); }},
      report);
}

Daemon::~Daemon() {
  mailer_.reset();
  scheduler_.reset();
  setContactSource(nullptr);
  delete MDTaskExecList::getInstance();
  MDTask::freeLock();
  MDTaskExec::freeLock();
  MDTaskHistory::freeLock();
  MDTaskStatistic::freeLock();
}

Daemon::End Daemon::run() {
  while (!ended_ && step()) {
  }
  spdlog::info("stopped with {} run(s) still going", scheduler_->running());
  return restart_ ? End::kRestart : End::kStopped;
}

/// One round: do what is due, then wait. False when the daemon is to end.
bool Daemon::step() {
  std::optional<std::int64_t> due;
  guarded([&] {
    if (!loaded_ && steadyMillis() >= loadAt_) load();
    if (!loaded_ || stopping_) return;
    scheduler_->startDue();
    pruneHistory();
    due = scheduler_->nextDue();
  });
  if (mayEnd()) return false;

  // Deadlines by the steady clock come to the same wait.
  const auto until = [&](std::int64_t steady) {
    const std::int64_t moment = clockMillis() + std::max<std::int64_t>(steady - steadyMillis(), 0);
    due = due ? std::min(*due, moment) : moment;
  };
  if (!loaded_) {
    due.reset();
    until(loadAt_);
  }
  if (stopping_) {
    if (loaded_) due.reset();
    until(stopBy_);
  } else if (loaded_ && pruneAt_ != 0) {
    until(pruneAt_);
  }
  wait(due);
  return true;
}

void Daemon::load() {
  // Words from before are heeded by reading all of it.
  notice_.drain();
  if (failedAt_ != 0 && steadyMillis() - failedAt_ > kMissedGraceMillis) scheduler_->resumed();
  scheduler_->load();
  removeLeftovers();
  loaded_ = true;
  failedAt_ = 0;
  if (mail_ != nullptr && mailer_ == nullptr) {
    mailer_ = std::make_unique<Mailer>(session_.address(), *mail_, options_.mailGiveUpSeconds);
  }
  if (mail_ == nullptr && Outbox(session_).nextTry()) tellOfMessages();
  checkZone();
  spdlog::info("{} execution(s) in the queue of {}", MDTaskExecList::getInstance()->size(0), session_.address().path());
  if (options_.readyFd >= 0) {
    [[maybe_unused]] const ssize_t written = ::write(options_.readyFd, "ready\n", 6);
    ::close(options_.readyFd);
    options_.readyFd = -1;
  }
}

/// Says where the C library and the JVM differ about the zone. Once: neither changes its mind while it runs.
void Daemon::checkZone() {
  if (zoneChecked_) return;
  zoneChecked_ = true;
  try {
    const auto differences = compareZone(session_, clockMillis() / 1000, kZoneYears);
    for (const std::string& line : zoneWarnings(zoneName(), differences, kMostZoneWarnings)) spdlog::warn("{}", line);
  } catch (const std::exception& error) {
    spdlog::warn("the time zone could not be checked: {}", error.what());
  }
}

/// Does work on the store. When that fails, what the queue says may not be what the store says: all of it is read
/// again, after a while. Runs go on meanwhile, and what ended is found by its directory. Whatever is thrown: a
/// scheduler that gives up over one failure schedules nothing.
template <class Work>
void Daemon::guarded(Work work) {
  try {
    const StoreWork bracket;
    work();
  } catch (const std::exception& error) {
    spdlog::error("{}; trying again in {} s", error.what(), kAgainMillis / 1000);
    loaded_ = false;
    loadAt_ = steadyMillis() + kAgainMillis;
    if (failedAt_ == 0) failedAt_ = steadyMillis();
  }
}

/// There are messages in the outbox.
void Daemon::tellOfMessages() {
  if (mailer_ != nullptr) return mailer_->wake();
  if (mail_ != nullptr || toldOfMessages_) return;
  toldOfMessages_ = true;
  spdlog::warn("messages wait in the store: without --smtp nobody sends them");
}

bool Daemon::mayEnd() {
  // A message that is due is tried before the end; one that waits for another try is the next meskd's.
  const bool told = mailer_ == nullptr || mailer_->atRest();
  if (stopping_) {
    const std::size_t running = loaded_ ? scheduler_->running() : launcher_.descriptors().size();
    return (running == 0 && (told || !loaded_)) || steadyMillis() >= stopBy_;
  }
  return options_.exitWhenIdle && loaded_ && scheduler_->idle() && told;
}

void Daemon::wait(std::optional<std::int64_t> until) {
  // The ends of runs are not looked at while there is no store to record them in: unread, they would end the wait
  // at once, again and again.
  const auto runners = loaded_ ? launcher_.descriptors() : std::vector<std::pair<int, AttemptID>>();
  // The system would not let this runner be watched.
  const bool blind = std::any_of(runners.begin(), runners.end(), [](const auto& runner) { return runner.first < 0; });
  if (blind) until = std::min(until.value_or(clockMillis() + kAgainMillis), clockMillis() + kAgainMillis);

  if (!(until ? timer_.setAt(*until) : timer_.clear())) return onClock();
  std::vector<pollfd> watched{{timer_.fd(), POLLIN, 0},
                              {signals_.get(), POLLIN, 0},
                              {notice_.fd(), POLLIN, 0},
                              {zoneWatch_.get(), POLLIN, 0},
                              {mailer_ == nullptr ? -1 : mailer_->restFd(), POLLIN, 0}};  // `mayEnd` asks what it says
  const std::size_t fixed = watched.size();
  for (const auto& [fd, id] : runners) watched.push_back({fd, POLLIN, 0});
  if (::poll(watched.data(), watched.size(), -1) < 0) return;

  if (watched[0].revents != 0 && timer_.drain() == Timer::Event::kClockChanged) onClock();
  if (watched[1].revents != 0) onSignal();
  if (watched[3].revents != 0) onZone();
  guarded([&] {
    if (watched[2].revents != 0 && notice_.drain() && loaded_) scheduler_->refresh();
    for (std::size_t i = 0; loaded_ && i < runners.size(); ++i) {
      if (watched[fixed + i].revents != 0 || runners[i].first < 0) onEnded(runners[i].second);
    }
  });
}

/// The clock was set, or the machine woke from a sleep, which looks the same.
void Daemon::onClock() {
  const std::int64_t offset = clockMillis() - steadyMillis();
  const std::int64_t forward = offset - clockOffset_;
  clockOffset_ = offset;
  spdlog::warn("the system's clock was set, or the machine slept: {:+} s", forward / 1000);
  if (forward > kMissedGraceMillis) scheduler_->resumed();
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
    stopBy_ = steadyMillis() + options_.stopTimeoutSeconds * 1000;
    spdlog::info("stopping; waiting for {} run(s)", scheduler_->running());
  }
}

void Daemon::onZone() {
  drain(zoneWatch_.get());
  const std::string zone = systemZone();
  if (stopping_ || zone == zone_ || zone.empty()) return;
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
  // Children whose end nobody watched for: they were started before this process put itself in place of an older one.
  while (::waitpid(-1, nullptr, WNOHANG) > 0) {
  }
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

/// A failure waits for the next time: old history is in nobody's way.
void Daemon::pruneHistory() {
  if (options_.keepHistorySeconds == 0 || steadyMillis() < pruneAt_) return;
  pruneAt_ = steadyMillis() + kPruneEveryMillis;
  try {
    scheduler_->prune(clockMillis() - options_.keepHistorySeconds * 1000);
  } catch (const std::exception& error) {
    spdlog::error("old history stays: {}", error.what());
  }
}

}  // namespace mesk::host
