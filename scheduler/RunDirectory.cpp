#include <scheduler/RunDirectory.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <scheduler/Files.h>
#include <scheduler/PidFd.h>

namespace mesk::host {

namespace {

// What is not there, or cannot be read for good, is an answer; what cannot be looked at just now is none.
bool isMissing(int error) { return error == ENOENT || error == ENOTDIR; }
bool isShortage(int error) { return error == EMFILE || error == ENFILE || error == ENOMEM; }

[[noreturn]] void failWith(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

bool isHeld(int lock) {
  if (::flock(lock, LOCK_SH | LOCK_NB) == 0) {
    ::flock(lock, LOCK_UN);
    return false;
  }
  if (errno != EWOULDBLOCK) failWith("lock of a run");
  return true;
}

pid_t signedBy(int lock) {
  char text[32];
  const ssize_t count = ::pread(lock, text, sizeof text, 0);
  pid_t pid = 0;
  // Without its line end the number may be half written.
  if (count > 0 && text[count - 1] == '\n') std::from_chars(text, text + count, pid);
  return pid;
}

// What the runner said of its own trouble, ready to follow another text.
std::string complaints(const std::string& path) {
  try {
    const std::string said = readFile(path + "/" + RunDirectory::kComplaints);
    return said.empty() ? "" : "; " + said.substr(0, std::min<std::size_t>(said.find('\n'), 1024));
  } catch (const std::system_error&) {
    return "";
  }
}

}  // namespace

RunDirectory::RunDirectory(std::string path) : path_(std::move(path)) {}

RunnerState RunDirectory::inspect() const {
  const std::string lockPath = path_ + "/lock";
  const UniqueFd lock(::open(lockPath.c_str(), O_RDONLY | O_CLOEXEC));
  if (!lock) {
    if (!isMissing(errno)) failWith(lockPath);
    return RunnerVanished{lockPath + ": " + std::generic_category().message(errno)};
  }

  // Watched before the first look, so that a signature after it is not missed.
  const UniqueFd changes(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  ::inotify_add_watch(changes.get(), lockPath.c_str(), IN_MODIFY | IN_CLOSE_WRITE);
  while (isHeld(lock.get())) {
    const pid_t pid = signedBy(lock.get());
    if (pid > 0) {
      UniqueFd ended(::pidfd_open(pid, 0));
      // Still held after the process was taken hold of: it is the runner and not a later namesake.
      if (ended && isHeld(lock.get())) return RunnerAlive{pid, std::move(ended)};
      if (!ended && errno != ESRCH) return RunnerAlive{};
      if (ended) continue;  // the lock was given back meanwhile
    }
    // Not signed yet, or signed by one who is just ending: both change the lock file or close it.
    struct pollfd wait = {changes.get(), POLLIN, 0};
    if (::poll(&wait, 1, kSignPatienceMillis) == 0) return RunnerAlive{};
    char events[4096];
    while (::read(changes.get(), events, sizeof events) > 0) {
    }
  }

  // The lock is free for good, so the status stands, if there is one: it was written under the lock.
  try {
    return RunnerFinished{RunStatus::fromJson(readFile(path_ + "/status.json"))};
  } catch (const std::system_error& unread) {
    if (isShortage(unread.code().value())) throw;
    return RunnerVanished{unread.what() + complaints(path_)};
  } catch (const std::runtime_error& none) {
    return RunnerVanished{none.what() + complaints(path_)};
  }
}

std::string RunDirectory::output(std::size_t limit) const {
  const UniqueFd file(::open((path_ + "/output").c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) {
    if (isShortage(errno)) failWith(path_ + "/output");
    return {};
  }
  const off_t size = ::lseek(file.get(), 0, SEEK_END);
  if (size <= 0) return {};
  std::string bytes(std::min(limit, static_cast<std::size_t>(size)), '\0');
  const ssize_t count = ::pread(file.get(), bytes.data(), bytes.size(), size - static_cast<off_t>(bytes.size()));
  bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return bytes;
}

void RunDirectory::remove() const { std::filesystem::remove_all(path_); }

}  // namespace mesk::host
