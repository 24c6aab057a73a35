// Kills meskd with SIGKILL at random moments under load and looks at what is in the store each time.
//
//   crash-campaign --kills 200 [--seed N] [--keep]
//
// The load: rules by the minute that began days ago, of tasks that want every missed instant run. So there is always
// an instant that is due, and each has to end up with one claim and one record. Each script writes the attempt that it
// is into a file; an attempt that stands there twice was run twice. Ends of runs start chains of other tasks and ask
// for messages, and groups run their steps by stages: each of that has to happen once for each run, and the statistics
// have to say what the records say.
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

constexpr const char* kAtTheEnd = "at the end";

/// A wrong that is planted in a copy of the store, and the check that must find it; any, when that is empty.
struct Wrong {
  const char* what;
  const char* sql;
  const char* check = "";
};

const std::vector<Wrong> kWrongsAtWork{
    {"a claim without a record",
     "DELETE FROM task_history WHERE task_history_id = (SELECT max(task_history_id) FROM run_claim)"},
    {"an instant without a claim",
     "DELETE FROM run_claim WHERE instant_ms = (SELECT min(instant_ms) + 60000 FROM run_claim)"},
    {"a record with two claims", "UPDATE run_claim SET task_history_id = (SELECT min(task_history_id) FROM run_claim)"},
    {"a result without a record", "UPDATE task_result SET task_history_id = -7"},
    {"an execution without a task", "UPDATE task_exec SET task_id = -7"},
    {"a record without a snapshot", "DELETE FROM task_snapshot"},
    {"a wrong count", "UPDATE task SET number_of_executions = 99"},
    {"a rule without its next execution", "DELETE FROM task_exec WHERE status IN (0, 1)"},
    {"an open record without an execution",
     "UPDATE task_history SET running_status = 1 WHERE task_history_id = (SELECT min(task_history_id)"
     " FROM task_history WHERE running_status = 2)"}};

const std::vector<Wrong> kWrongsAtTheEnd{
    {"an end that fired nothing",
     "DELETE FROM follow_on_fired WHERE task_history_id = (SELECT max(task_history_id) FROM follow_on_fired)",
     "each end fired its follow-on actions"},
    {"an action that fired at the wrong end",
     "UPDATE follow_on_action SET follow_on_condition = 2 - (follow_on_condition = 2)", "follow-on actions"},
    {"an action of a run that never was",
     "INSERT INTO follow_on_fired SELECT -7, follow_on_action_id, task_id, suffix, -7 FROM follow_on_fired LIMIT 1",
     "nothing else fired"},
    {"a follow-on that ran twice",
     "UPDATE task_history SET invocation_method = 3 WHERE task_history_id = (SELECT max(task_history_id) FROM"
     " task_history WHERE invocation_method = 0)",
     "each follow-on was one run"},
    {"a follow-on that never ran",
     "UPDATE task_history SET invocation_method = 2 WHERE task_history_id = (SELECT max(task_history_id) FROM"
     " task_history WHERE invocation_method = 3)",
     "each follow-on was one run"},
    {"a step that ran twice",
     "UPDATE task_history SET task_id = (SELECT task_id FROM task WHERE task_name = 'step-5') WHERE task_id ="
     " (SELECT task_id FROM task WHERE task_name = 'step-6')",
     "each step has one record"},
    {"a step that was left out",
     "UPDATE task_history SET root_task_history_id = task_history_id WHERE task_history_id = (SELECT"
     " max(task_history_id) FROM task_history WHERE task_name = 'step-4' AND root_task_history_id IN (SELECT"
     " task_history_id FROM task_history WHERE running_status = 2 AND task_type = 2))",
     "each group that succeeded"},
    {"a group that succeeded with a step that failed",
     "UPDATE task_history SET running_status = 3 WHERE task_history_id = (SELECT max(task_history_id) FROM"
     " task_history WHERE task_name = 'step-4' AND root_task_history_id IN (SELECT task_history_id FROM task_history"
     " WHERE running_status = 2 AND task_type = 2))",
     "each group that succeeded"},
    {"a group that failed without reason",
     "UPDATE task_history SET running_status = 3 WHERE task_history_id = (SELECT max(task_history_id) FROM"
     " task_history WHERE running_status = 2 AND task_type = 2 AND root_task_history_id = task_history_id)",
     "each group that failed"},
    {"a step out of its turn",
     "UPDATE task_history SET start_time = start_time - 600000 WHERE task_history_id = (SELECT max(task_history_id)"
     " FROM task_history WHERE task_name = 'step-4')",
     "each stage began after the one before"},
    {"a run that no statistic counts",
     "UPDATE task_statistic SET total_successful_executions ="
     " total_successful_executions - 1 WHERE task_id = (SELECT task_id FROM task WHERE task_name = 'task-1')",
     "the statistics say what the records say"},
    {"a run that a statistic counts twice",
     "UPDATE task_statistic SET total_row_count = total_row_count + 3 WHERE total_row_count > 0",
     "the statistics say what the records say"},
    {"a wrong fastest run", "UPDATE task_statistic SET fastest_execution = fastest_execution - 1",
     "the statistics say what the records say"},
    {"a wrong largest run", "UPDATE task_statistic SET largest_execution_row_count = largest_execution_row_count + 1",
     "the statistics say what the records say"},
    {"a task without a statistic",
     "DELETE FROM task_statistic WHERE task_id = (SELECT max(task_id)"
     " FROM task_statistic)",
     "the statistics say what the records say"},
    {"a message that was lost", "DELETE FROM outbox WHERE outbox_id = (SELECT max(outbox_id) FROM outbox)",
     "each end put its message into the box"}};

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
    proveChecks(kWrongsAtWork, "in the copy");
    proveAttempts();
    // So that there is one of each that nothing cuts off.
    for (const char* name : {"task-7", "night"}) command({MESK_BIN "/meskctl", "--store", store_, "run", name});
    drain();
    check(kAtTheEnd);
    expect("no run is left open", "SELECT count(*) FROM task_history WHERE running_status IN (1, 6)", 0);
    expect("no execution is left", "SELECT count(*) FROM task_exec", 0);
    proveChecks(kWrongsAtTheEnd, kAtTheEnd);
    fmt::print("{} follow-ons fired, {} steps of {} runs of groups, {} messages\n",
               value("SELECT count(*) FROM follow_on_fired"),
               value("SELECT count(*) FROM task_history WHERE root_task_history_id <> task_history_id"),
               value("SELECT count(*) FROM task_history WHERE task_type = 2"), value("SELECT count(*) FROM outbox"));
    // A campaign that killed nothing at work, or claimed nothing, shows nothing.
    if (value("SELECT count(*) FROM run_claim") < kills_) throw std::runtime_error("too little load to show anything");
  }

 private:
  /// Shows that the checks see what they look for: each wrong must be found.
  void proveChecks(const std::vector<Wrong>& wrongs, const std::string& when) {
    const std::string good = store_;
    for (const Wrong& wrong : wrongs) {
      store_ = folder_ + "/wrong.mesk";
      shell(fmt::format("sqlite3 '{}' \".backup '{}'\"", good, store_));
      query(std::string("PRAGMA foreign_keys = off; ") + wrong.sql);
      std::string found;
      try {
        check(when);
      } catch (const std::exception& error) {
        found = error.what();
      }
      if (found.empty()) throw std::runtime_error(fmt::format("the checks do not find {}", wrong.what));
      if (found.find(wrong.check) == std::string::npos) {
        throw std::runtime_error(fmt::format("{} was found by another check: {}", wrong.what, found));
      }
      std::filesystem::remove(store_);
    }
    store_ = good;
  }

  void proveAttempts() {
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
    const auto task = [&](const std::string& name, const std::string& script, const std::string& more) {
      file << fmt::format(
          "  - name: {}\n    script: |\n      echo \"$MESK_RUN-$MESK_ATTEMPT\" >>'{}/attempts'\n      {}\n{}", name,
          folder_, script, more);
    };
    const std::string always =
        fmt::format("    missed: all\n    schedule:\n      - {{every: 1 minute, start: {}}}\n", text.data());
    const auto scheduled = [&](const std::string& name, const std::string& script, const std::string& more) {
      task(name, script, more + always);
      scheduled_.push_back(name);
    };
    scheduled("task-1", "true", "");
    scheduled("task-2", "true", "    interrupted: rerun\n");
    scheduled("task-3", "test $MESK_ATTEMPT -gt 1", "    retry: {count: 1, interval: 0s}\n");
    scheduled("task-4", "exec sleep 0.2", "");
    scheduled("task-5", "exec sleep 0.5", "    interrupted: rerun\n");
    scheduled("task-6", "head -c 100000 /dev/zero | tr '\\0' x", "");
    // Chains, messages, success codes, rows.
    task("chain-3", "true", "");
    task("chain-2", "echo rows=$((MESK_RUN % 5)) >\"$MESK_COUNTS\"", "    follow-ons: [{on: success, run: chain-3}]\n");
    task("chain-1", "exit $((MESK_RUN % 2))",
         "    follow-ons: [{on: end, run: chain-2}, {on: failure, run: chain-4}]\n");
    task("chain-4", "true", "");
    scheduled("task-7", "exit $((MESK_RUN % 3))",
              "    success: [\"< 2\"]\n"
              "    follow-ons: [{on: success, run: chain-1}, {on: failure, run: chain-5}]\n"
              "    notifications: [{on: end, by: email, to: [ops@example.com], subject: \"${task}\"}]\n");
    task("chain-5", "true", "");
    // Groups, one in the other.
    task("step-1", "true", "");
    task("step-2", "exec sleep 0.1", "");
    task("step-3", "test $MESK_ATTEMPT -gt 1", "    retry: {count: 1, interval: 0s}\n");
    task("step-4", "echo rows=3 >\"$MESK_COUNTS\"", "    follow-ons: [{on: end, run: chain-6}]\n");
    task("chain-6", "true", "");
    task("step-5", "true", "");
    task("step-6", "true", "    interrupted: rerun\n");
    const auto group = [&](const std::string& name, const std::string& steps, const std::string& more) {
      file << fmt::format("  - name: {}\n    type: group\n    steps: [{}]\n{}", name, steps, more);
    };
    group("inner", "step-5, step-6", "");
    group("night", "step-1, [step-2, step-3], inner, step-4", always);
    scheduled_.emplace_back("night");
    // Short enough to come to its end between two kills.
    task("step-7", "true", "");
    task("step-8", "true", "    interrupted: rerun\n");
    group("pair", "step-7, step-8", always);
    scheduled_.emplace_back("pair");
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
    for (const std::string& name : scheduled_) command({MESK_BIN "/meskctl", "--store", store_, "disable", name});
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
    if (when != kAtTheEnd) {
      expect("each rule has its next execution",
             "SELECT count(*) FROM schedule_event r WHERE (SELECT count(*) FROM task_exec e WHERE"
             " e.schedule_event_id = r.schedule_event_id AND e.status IN (0, 1) AND e.task_history_id = -1) <> 1",
             0);
    }
    expect("what runs, or waits for a retry, has its execution",
           "SELECT count(*) FROM task_history h WHERE h.running_status IN (1, 6) AND (SELECT count(*) FROM task_exec e"
           " WHERE e.task_history_id = h.task_history_id"
           " AND (e.status IN (2, 3)) = (h.running_status = 1)) <> 1",
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
    checkFollowOns();
    checkGroups();
    checkStatistics();
    const std::string twice = shell(fmt::format("sort '{}/attempts' 2>/dev/null | uniq -d", folder_));
    if (!twice.empty()) throw std::runtime_error(when + ": these attempts ran twice: " + twice);
  }

  void checkFollowOns() {
    // What should have fired: for each run that has ended, the actions of its task whose condition holds.
    const std::string due =
        "SELECT h.task_history_id, a.follow_on_action_id, f.task_id, f.suffix FROM task_history h JOIN "
        "follow_on_action a"
        " ON a.parent_task_id = h.task_id AND a.parent_suffix = h.suffix JOIN follow_on_task f USING"
        " (follow_on_action_id) WHERE h.running_status IN (2, 3, 5, 7) AND (a.follow_on_condition = 0 OR"
        " (a.follow_on_condition = 1) = (h.running_status = 2))";
    const std::string fired = "SELECT task_history_id, follow_on_action_id, task_id, suffix FROM follow_on_fired";
    expect("each end fired its follow-on actions", fmt::format("SELECT count(*) FROM ({} EXCEPT {})", due, fired), 0);
    expect("nothing else fired: follow-on actions", fmt::format("SELECT count(*) FROM ({} EXCEPT {})", fired, due), 0);
    expect("each follow-on was one run",
           "SELECT count(*) FROM task t WHERE (SELECT count(*) FROM follow_on_fired f WHERE f.task_id = t.task_id) <>"
           " (SELECT count(*) FROM task_history h WHERE h.task_id = t.task_id AND h.invocation_method = 3) +"
           " (SELECT count(*) FROM task_exec e WHERE e.task_id = t.task_id AND e.started_by_run_now = 2 AND"
           " e.parent_grouping_task_exec_id = -1 AND e.task_history_id = -1)",
           0);
    expect("each end put its message into the box",
           "SELECT count(*) FROM (SELECT h.task_history_id FROM task_history h JOIN notification_action a ON"
           " a.parent_task_id = h.task_id WHERE h.running_status IN (2, 3, 5, 7) EXCEPT SELECT task_history_id FROM"
           " outbox)",
           0);
    expect("nothing else is in the box",
           "SELECT count(*) FROM (SELECT task_history_id FROM outbox EXCEPT SELECT task_history_id FROM task_history"
           " WHERE running_status IN (2, 3, 5, 7))",
           0);
  }

  void checkGroups() {
    const std::string steps = "(SELECT * FROM task_history WHERE root_task_history_id <> task_history_id)";
    expect(
        "each step has one record in its group's run",
        "SELECT count(*) FROM (SELECT 1 FROM " + steps + " GROUP BY root_task_history_id, task_id HAVING count(*) > 1)",
        0);
    expect("each step belongs to a run of its group",
           "SELECT count(*) FROM " + steps +
               " s WHERE NOT EXISTS (SELECT 1 FROM task_history g JOIN task_group_member m ON m.task_id = g.task_id"
               " WHERE g.task_history_id = s.root_task_history_id AND m.member_task_id = s.task_id)",
           0);
    expect(
        "each execution of a step has that of its group",
        "SELECT count(*) FROM task_exec e JOIN task_history h USING (task_history_id) WHERE"
        " h.root_task_history_id <> h.task_history_id AND NOT EXISTS (SELECT 1 FROM task_exec g WHERE g.task_exec_id ="
        " e.parent_grouping_task_exec_id AND g.task_history_id = h.root_task_history_id AND g.status IN (2, 3))",
        0);
    expect("no group has ended before its steps",
           "SELECT count(*) FROM " + steps +
               " s JOIN task_history g ON g.task_history_id = s.root_task_history_id WHERE"
               " s.running_status IN (1, 6) AND g.running_status <> 1",
           0);
    const std::string good = "(SELECT count(*) FROM " + steps +
                             " s WHERE s.root_task_history_id = g.task_history_id AND s.running_status = 2)";
    const std::string members = "(SELECT count(*) FROM task_group_member m WHERE m.task_id = g.task_id)";
    expect("each group that succeeded has all its steps, and all succeeded",
           "SELECT count(*) FROM task_history g WHERE g.task_type = 2 AND g.running_status = 2 AND " + good + " <> " +
               members,
           0);
    expect("each group that failed has a step that did",
           "SELECT count(*) FROM task_history g WHERE g.task_type = 2 AND g.running_status = 3 AND NOT EXISTS (SELECT 1"
           " FROM " +
               steps + " s WHERE s.root_task_history_id = g.task_history_id AND s.running_status IN (3, 5, 7))",
           0);
    expect("a group runs, succeeds or fails, or was missed",
           "SELECT count(*) FROM task_history WHERE task_type = 2 AND running_status NOT IN (1, 2, 3, 4)", 0);
    const std::string staged =
        "(SELECT h.*, CASE task_name WHEN 'step-1' THEN 1 WHEN 'step-5' THEN 1 WHEN 'step-7' THEN 1 WHEN 'step-4' THEN "
        "4 WHEN 'inner' THEN 3"
        " ELSE 2 END AS stage FROM " +
        steps + " h)";
    expect("each stage began after the one before had ended",
           "SELECT count(*) FROM " + staged + " late JOIN " + staged +
               " early ON early.root_task_history_id = late.root_task_history_id AND early.stage < late.stage WHERE"
               " early.end_time IS NULL OR early.end_time > late.start_time OR early.running_status <> 2",
           0);
  }

  void checkStatistics() {
    const std::string ended = "(SELECT * FROM task_history WHERE running_status IN (2, 3, 5, 7))";
    // The run of a task that comes first in this order, as a statistic remembers it.
    const auto run = [&](const std::string& which, const std::string& order) {
      return fmt::format(
          "(s.{0}_execution, s.{0}_execution_elapsed_time, s.{0}_execution_row_count, s.{0}_execution_byte_count) IS "
          "NOT"
          " (SELECT start_time, duration, row_count, byte_count FROM {1} r WHERE r.task_id = h.task_id ORDER BY {2}"
          " LIMIT 1)",
          which, ended, order);
    };
    expect(
        "the statistics say what the records say",
        "SELECT count(*) FROM (SELECT task_id, sum(running_status = 2) AS good, sum(running_status <> 2) AS bad,"
        " sum(duration) AS elapsed, sum(row_count) AS total_rows, sum(byte_count) AS bytes, min(start_time) AS first"
        " FROM " +
            ended +
            " GROUP BY task_id) h LEFT JOIN task_statistic s ON s.task_id = h.task_id WHERE"
            " s.task_id IS NULL OR (s.total_successful_executions, s.total_failed_executions, s.total_elapsed_time,"
            " s.total_row_count, s.total_byte_count, s.first_execution) IS NOT (h.good, h.bad, h.elapsed, h.total_rows,"
            " h.bytes, h.first) OR " +
            run("last", "start_time DESC") + " OR " + run("fastest", "duration, start_time") + " OR " +
            run("slowest", "duration DESC, start_time") + " OR " +
            run("largest", "row_count DESC, byte_count DESC, start_time") + " OR " +
            run("smallest", "row_count, byte_count, start_time"),
        0);
    expect("no task has a statistic that did not run",
           "SELECT count(*) FROM task_statistic WHERE task_id NOT IN (SELECT task_id FROM " + ended + ")", 0);
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
  std::vector<std::string> scheduled_;  ///< names of the tasks with a rule
  std::int64_t begin_ = 0;              ///< the first instant of the rules, in milliseconds
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
