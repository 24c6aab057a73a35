// Kills meskd with SIGKILL at random moments under load and looks at what is in the store each time.
//
//   crash-campaign --kills 200 [--seed N] [--keep]
//
// The load: rules by the minute that began days ago, of tasks that want every missed instant run. So there is always
// an instant that is due, and each has to end up with one claim and one record. Each script writes the attempt that it
// is into a file; an attempt that stands there twice was run twice.
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <scheduler/UniqueFd.h>

extern char** environ;

namespace {

using mesk::host::UniqueFd;

constexpr int kPatienceMillis = 60'000;
constexpr int kDrainMillis = 900'000;  // every interrupted run that is to be run again, one after the other

struct Process {
  pid_t pid = -1;
  UniqueFd ended;  ///< readable when the process has ended
};

Process start(std::vector<std::string> words, const std::string& output, int inherited = -1) {
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  if (inherited >= 0) posix_spawn_file_actions_adddup2(&actions, inherited, 3);
  Process process;
  const int failed = ::posix_spawn(&process.pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) throw std::runtime_error(fmt::format("{} cannot be started", words[0]));
  process.ended.reset(static_cast<int>(::syscall(SYS_pidfd_open, process.pid, 0)));
  return process;
}

bool readable(int fd, int millis) {
  pollfd wait{fd, POLLIN, 0};
  return ::poll(&wait, 1, millis) > 0;
}

int reap(const Process& process) {
  int status = 0;
  ::waitpid(process.pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class Campaign {
 public:
  Campaign(int kills, unsigned seed) : kills_(kills), random_(seed) {
    std::string name = (std::filesystem::temp_directory_path() / "mesk-crash-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch folder");
    folder_ = name;
    store_ = name + "/store.mesk";
  }

  const std::string& folder() const { return folder_; }

  void run() {
    writeTasks();
    command({MESK_BIN "/meskctl", "--store", store_, "apply", folder_ + "/tasks.yaml"});
    // As if no scheduler had run since the rules began: each starts at its first instant.
    query(fmt::format("UPDATE task_exec SET original_schedule_time = {0}, next_start_date_time = {0}", begin_));
    for (int i = 1; i <= kills_; ++i) {
      killOne();
      check(fmt::format("after kill {}", i));
      if (i % 20 == 0 || i == kills_) {
        fmt::print("{} kills: {} claims, {} runs interrupted, {} attempts started\n", i,
                   value("SELECT count(*) FROM run_claim"),
                   value("SELECT count(*) FROM task_history WHERE running_status = 5"), attempts());
        std::fflush(stdout);
      }
    }
    proveChecks();
    drain();
    check("at the end");
    expect("no run is left open", "SELECT count(*) FROM task_history WHERE running_status IN (1, 6)", 0);
    expect("no execution is left", "SELECT count(*) FROM task_exec", 0);
    // A campaign that killed nothing at work, or claimed nothing, shows nothing.
    if (value("SELECT count(*) FROM run_claim") < kills_) throw std::runtime_error("too little load to show anything");
  }

  /// Shows that the checks see what they look for: each wrong that is planted in a copy of the store must be found.
  void proveChecks() {
    const std::string good = store_;
    const std::vector<std::pair<const char*, const char*>> wrongs{
        {"a claim without a record",
         "DELETE FROM task_history WHERE task_history_id = (SELECT max(task_history_id) FROM run_claim)"},
        {"an instant without a claim",
         "DELETE FROM run_claim WHERE instant_ms = (SELECT min(instant_ms) + 60000 FROM run_claim)"},
        {"a record with two claims",
         "UPDATE run_claim SET task_history_id = (SELECT min(task_history_id) FROM run_claim)"},
        {"a result without a record", "UPDATE task_result SET task_history_id = -7"},
        {"an execution without a task", "UPDATE task_exec SET task_id = -7"},
        {"a record without a snapshot", "DELETE FROM task_snapshot"},
        {"a wrong count", "UPDATE task SET number_of_executions = 99"},
        {"a rule without its next execution", "DELETE FROM task_exec WHERE status IN (0, 1)"},
        {"an open record without an execution",
         "UPDATE task_history SET running_status = 1 WHERE task_history_id = (SELECT min(task_history_id)"
         " FROM task_history WHERE running_status = 2)"}};
    for (const auto& [what, sql] : wrongs) {
      store_ = folder_ + "/wrong.mesk";
      shell(fmt::format("sqlite3 '{}' \".backup '{}'\"", good, store_));
      query(std::string("PRAGMA foreign_keys = off; ") + sql);
      bool found = false;
      try {
        check("in the copy");
      } catch (const std::exception&) {
        found = true;
      }
      if (!found) throw std::runtime_error(fmt::format("the checks do not find {}", what));
      std::filesystem::remove(store_);
    }
    store_ = good;
    std::ofstream(folder_ + "/attempts", std::ios::app) << "twice\ntwice\n";
    bool found = false;
    try {
      check("with an attempt that ran twice");
    } catch (const std::exception&) {
      found = true;
    }
    if (!found) throw std::runtime_error("the checks do not find an attempt that ran twice");
    shell(fmt::format("sed -i '/^twice$/d' '{}/attempts'", folder_));
  }

 private:
  void writeTasks() {
    // The zone has no part in this: what is stored are moments.
    ::setenv("TZ", "UTC", 1);
    const std::time_t begin = (std::time(nullptr) / 60 - 3 * 24 * 60) * 60;
    begin_ = std::int64_t{begin} * 1000;
    std::array<char, 32> text{};
    std::tm broken{};
    ::gmtime_r(&begin, &broken);
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &broken);
    std::ofstream file(folder_ + "/tasks.yaml");
    file << "mesk: 1\ntasks:\n";
    const auto task = [&](int i, const char* script, const char* more) {
      file << fmt::format(
          "  - name: task-{}\n    script: |\n      echo \"$MESK_RUN-$MESK_ATTEMPT\" >>'{}/attempts'\n      {}\n"
          "    missed: all\n{}    schedule:\n      - {{every: 1 minute, start: {}}}\n",
          i, folder_, script, more, text.data());
    };
    task(1, "true", "");
    task(2, "true", "    interrupted: rerun\n");
    task(3, "test $MESK_ATTEMPT -gt 1", "    retry: {count: 1, interval: 0s}\n");
    task(4, "exec sleep 0.2", "");
    task(5, "exec sleep 0.5", "    interrupted: rerun\n");
    task(6, "head -c 100000 /dev/zero | tr '\\0' x", "");
  }

  void command(const std::vector<std::string>& words, int patience = kPatienceMillis) {
    const Process process = start(words, folder_ + "/commands.log");
    if (!readable(process.ended.get(), patience)) throw std::runtime_error(words[0] + " does not end");
    if (const int code = reap(process); code != 0) {
      throw std::runtime_error(fmt::format("{} {} ended with {}; see {}", words[0], words[3], code, folder_));
    }
  }

  void killOne() {
    std::array<int, 2> ready{};
    if (::pipe2(ready.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const UniqueFd in(ready[0]);
    UniqueFd out(ready[1]);
    const Process meskd = start({MESK_BIN "/meskd", "--store", store_, "--limit", "8", "--ready-fd", "3"},
                                folder_ + "/meskd.log", out.get());
    out.reset();
    // One in four dies while it starts, which is when it settles what the one before left.
    const bool early = pick(0, 3) == 0;
    if (!early && !readable(in.get(), kPatienceMillis)) throw std::runtime_error("meskd does not get ready");
    if (readable(meskd.ended.get(), pick(0, early ? 600 : 900))) {
      throw std::runtime_error(fmt::format("meskd ended by itself with {}; see {}", reap(meskd), folder_));
    }
    ::kill(meskd.pid, SIGKILL);
    reap(meskd);
    // One in three is a crash of the machine: the runners go with it.
    if (pick(0, 2) == 0) killRunners();
  }

  void killRunners() {
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(store_ + ".runs", none)) {
      std::ifstream lock(entry.path() / "lock");
      pid_t pid = 0;
      if (lock >> pid && pid > 1 && isRunner(pid)) ::kill(pid, SIGKILL);
    }
  }

  static bool isRunner(pid_t pid) {
    std::ifstream name(fmt::format("/proc/{}/comm", pid));
    std::string text;
    return std::getline(name, text) && text == "mesk-runner";
  }

  /// Lets a last meskd settle everything: no new instants, every open run to its end.
  void drain() {
    for (int i = 1; i <= 6; ++i)
      command({MESK_BIN "/meskctl", "--store", store_, "disable", fmt::format("task-{}", i)});
    command({MESK_BIN "/meskd", "--store", store_, "--exit-when-idle", "--limit", "8"}, kDrainMillis);
  }

  void check(const std::string& when) {
    when_ = when;
    if (query("PRAGMA integrity_check") != "ok") throw std::runtime_error(when + ": the file is damaged");
    expect("each claim has one record",
           "SELECT count(*) FROM run_claim c WHERE (SELECT count(*) FROM task_history h"
           " WHERE h.task_history_id = c.task_history_id) <> 1",
           0);
    expect("each record of a scheduled run has one claim",
           "SELECT count(*) FROM task_history h WHERE h.invocation_method = 1 AND"
           " (SELECT count(*) FROM run_claim c WHERE c.task_history_id = h.task_history_id) <> 1",
           0);
    expect("no instant of a rule was left out",
           "SELECT count(*) FROM (SELECT count(*) AS n, (max(instant_ms) - min(instant_ms)) / 60000 + 1 AS span"
           " FROM run_claim GROUP BY task_id, suffix, schedule_event_id) WHERE n <> span",
           0);
    expect("the first instant of each rule was not left out",
           "SELECT count(*) FROM (SELECT min(instant_ms) AS first FROM run_claim GROUP BY schedule_event_id)"
           " WHERE first <> (SELECT min(instant_ms) FROM run_claim)",
           0);
    if (when != "at the end") {
      expect("each rule has its next execution",
             "SELECT count(*) FROM schedule_event r WHERE (SELECT count(*) FROM task_exec e WHERE"
             " e.schedule_event_id = r.schedule_event_id AND e.status IN (0, 1) AND e.task_history_id = -1) <> 1",
             0);
    }
    expect("what runs, or waits for a retry, has its execution",
           "SELECT count(*) FROM task_history h WHERE h.running_status IN (1, 6) AND (SELECT count(*) FROM task_exec e"
           " WHERE e.task_history_id = h.task_history_id"
           " AND (e.status = 2) = (h.running_status = 1)) <> 1",
           0);
    expect("each running execution has its record",
           "SELECT count(*) FROM task_exec e WHERE e.task_history_id <> -1 AND NOT EXISTS (SELECT 1 FROM task_history h"
           " WHERE h.task_history_id = e.task_history_id AND h.running_status IN (1, 6))",
           0);
    expect("each execution has its task",
           "SELECT count(*) FROM task_exec e WHERE NOT EXISTS"
           " (SELECT 1 FROM task t WHERE t.task_id = e.task_id AND t.suffix = e.suffix)",
           0);
    expect("each result has its record",
           "SELECT count(*) FROM task_result r WHERE NOT EXISTS"
           " (SELECT 1 FROM task_history h WHERE h.task_history_id = r.task_history_id)",
           0);
    expect("each record has its snapshot",
           "SELECT count(*) FROM task_history h WHERE NOT EXISTS"
           " (SELECT 1 FROM task_snapshot s WHERE s.task_snapshot_id = h.task_snapshot_id)",
           0);
    expect("each task counts its runs in progress",
           "SELECT count(*) FROM task t WHERE t.number_of_executions <> (SELECT count(*) FROM task_history h WHERE"
           " h.task_id = t.task_id AND h.running_status IN (1, 6))",
           0);
    const std::string twice = shell(fmt::format("sort '{}/attempts' 2>/dev/null | uniq -d", folder_));
    if (!twice.empty()) throw std::runtime_error(when + ": these attempts ran twice: " + twice);
  }

  void expect(const std::string& claim, const std::string& sql, long wanted) {
    if (const long found = value(sql); found != wanted) {
      throw std::runtime_error(fmt::format("{}: '{}' does not hold: {} of them; see {}", when_, claim, found, folder_));
    }
  }

  long value(const std::string& sql) { return std::stol(query(sql)); }

  std::string query(const std::string& sql) {
    return shell(fmt::format("sqlite3 -cmd '.timeout 10000' '{}' \"{}\"", store_, sql));
  }

  static std::string shell(const std::string& line) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(line.c_str(), "r"), ::pclose);
    if (pipe == nullptr) throw std::runtime_error("no shell");
    std::string text;
    std::array<char, 4096> buffer;
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
      text.append(buffer.data(), count);
    }
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  long attempts() { return std::stol(shell(fmt::format("cat '{}/attempts' 2>/dev/null | wc -l", folder_))); }

  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

  int kills_;
  std::mt19937 random_;
  std::string folder_;
  std::string store_;
  std::string when_;
  std::int64_t begin_ = 0;  ///< the first instant of the rules, in milliseconds
};

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Kills meskd at random moments under load and checks the store each time.");
  int kills = 200;
  unsigned seed = std::random_device{}();
  bool keep = false;
  app.add_option("--kills", kills, "How often")->capture_default_str();
  app.add_option("--seed", seed, "Of the random moments");
  app.add_flag("--keep", keep, "Leave the folder for a look");
  CLI11_PARSE(app, argc, argv);
  if (const char* const given = std::getenv("MESK_SEED")) seed = static_cast<unsigned>(std::stoul(given));
  fmt::print("seed {}\n", seed);
  try {
    Campaign campaign(kills, seed);
    campaign.run();
    if (!keep) std::filesystem::remove_all(campaign.folder());
    fmt::print("{} kills, and every promise held\n", kills);
    return 0;
  } catch (const std::exception& error) {
    fmt::print(stderr, "crash-campaign: seed {}: {}\n", seed, error.what());
    return 1;
  }
}
