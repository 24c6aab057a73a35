#include <scheduler/RunnerClient.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <scheduler/Files.h>
#include <scheduler/PidFd.h>

namespace mesk::host {

namespace {

// Where the runner finds the lock: the first descriptor after the three standard ones.
constexpr int kLockFd = 3;

[[noreturn]] void failWith(const std::string& what, int error) {
  throw std::system_error(error, std::generic_category(), what);
}

struct SpawnActions {
  SpawnActions() { ::posix_spawn_file_actions_init(&value); }
  ~SpawnActions() { ::posix_spawn_file_actions_destroy(&value); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;
  posix_spawn_file_actions_t value;
};

UniqueFd makeLock(const std::string& path) {
  UniqueFd lock(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) failWith(path, errno);
  return lock;
}

pid_t spawn(const std::string& runner, const std::string& directory, int lock) {
  SpawnActions actions;
  ::posix_spawn_file_actions_addopen(&actions.value, 0, "/dev/null", O_RDONLY, 0);
  // Not this process's own outputs: who waits for their end would wait for all runs.
  ::posix_spawn_file_actions_addopen(&actions.value, 1, "/dev/null", O_WRONLY, 0);
  const std::string complaints = directory + "/" + RunDirectory::kComplaints;
  ::posix_spawn_file_actions_addopen(&actions.value, 2, complaints.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  ::posix_spawn_file_actions_adddup2(&actions.value, lock, kLockFd);

  // Nothing of this process's environment but what the runner passes on: the rest may hold secrets.
  std::vector<std::string> texts{"MESK_LOCK_FD=" + std::to_string(kLockFd)};
  for (const char* name : {"LANG", "LC_ALL", "LC_CTYPE", "TZ", "LD_LIBRARY_PATH"}) {
    if (const char* value = ::getenv(name)) texts.push_back(std::string(name) + "=" + value);
  }
  std::vector<char*> environment;
  environment.reserve(texts.size() + 1);
  for (std::string& text : texts) environment.push_back(text.data());
  environment.push_back(nullptr);

  std::string program = runner;
  std::string argument = directory;
  char* arguments[] = {program.data(), argument.data(), nullptr};
  pid_t pid = 0;
  const int error = ::posix_spawn(&pid, runner.c_str(), &actions.value, nullptr, arguments, environment.data());
  if (error != 0) failWith(runner, error);
  return pid;
}

}  // namespace

RunnerClient::RunnerClient(std::string runner, std::string base) : runner_(std::move(runner)), base_(std::move(base)) {}

RunDirectory RunnerClient::directory(const std::string& id) const { return RunDirectory(base_ + "/" + id); }

RunnerAlive RunnerClient::start(const std::string& id, const RunRequest& request) const {
  if (id.empty() || id.front() == '.' || id.find('/') != std::string::npos) {
    throw std::runtime_error("'" + id + "' cannot name a run's directory");
  }
  const std::string content = request.toJson();
  if (::mkdir(base_.c_str(), 0700) != 0 && errno != EEXIST) failWith(base_, errno);
  const RunDirectory directory = this->directory(id);
  if (::mkdir(directory.path().c_str(), 0700) != 0) failWith(directory.path(), errno);
  try {
    const UniqueFd lock = makeLock(directory.path() + "/lock");
    replaceFile(directory.path(), "run.json", content);
    const pid_t pid = spawn(runner_, directory.path(), lock.get());
    // A child that nobody has reaped: the number is still its own.
    return RunnerAlive{pid, UniqueFd(::pidfd_open(pid, 0))};
  } catch (...) {
    directory.remove();
    throw;
  }
}

std::vector<std::string> RunnerClient::ids() const {
  std::vector<std::string> result;
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(base_, missing)) {
    if (entry.is_directory()) result.push_back(entry.path().filename().string());
  }
  return result;
}

void RunnerClient::terminate(const RunnerAlive& runner) {
  if (runner.ended) ::pidfd_send_signal(runner.ended.get(), SIGTERM, nullptr, 0);
}

void RunnerClient::reap(const RunnerAlive& runner) {
  if (!runner.ended) return;
  siginfo_t info{};
  ::waitid(P_PIDFD, static_cast<id_t>(runner.ended.get()), &info, WEXITED | WNOHANG);
}

}  // namespace mesk::host
