// meskd: the event loop around the scheduler.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include <scheduler/Mailer.h>
#include <scheduler/Message.h>
#include <scheduler/Notice.h>
#include <scheduler/ProcessLauncher.h>
#include <scheduler/Scheduler.h>
#include <scheduler/Session.h>
#include <scheduler/Timer.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {

struct DaemonOptions {
  std::string runner;                                          ///< the mesk-runner program
  std::string agent;                                           ///< the program that runs warehouse tasks
  std::size_t limit = 4;                                       ///< runs at once
  std::int64_t stopTimeoutSeconds = 60;                        ///< how long a stop waits for runs
  std::int64_t keepHistorySeconds = std::int64_t{90} * 86400;  ///< 0 keeps it for ever
  std::int64_t mailGiveUpSeconds = std::int64_t{3} * 86400;    ///< how long a message is tried
  bool exitWhenIdle = false;                                   ///< ends when nothing runs and nothing is due
  int readyFd = -1;                                            ///< gets a line when the queue is loaded
};

/// Waits for whatever comes next - a due execution, the end of a run, a change by another process, a new time or
/// zone, a signal - and never polls. One in a process.
class Daemon {
 public:
  enum class End { kStopped, kRestart };

  /// Takes the store's lock, so that there is one meskd a store; throws HostError. Signals that stop a daemon
  /// must be blocked before the first thread is made: call `blockSignals` first thing.
  /// Messages about runs go by `mail`; without it they wait in the store.
  Daemon(const StoreAddress& address, DaemonOptions options, std::unique_ptr<MailTransport> mail);
  ~Daemon();
  Daemon(const Daemon&) = delete;
  Daemon& operator=(const Daemon&) = delete;

  static void blockSignals();

  /// Until a signal ends it. `kRestart`: the system's time zone has changed, which a process takes over only from
  /// its start; runs go on meanwhile.
  End run();

 private:
  bool step();
  void load();
  void checkZone();
  template <class Work>
  void guarded(Work work);
  void wait(std::optional<std::int64_t> until);
  void onSignal();
  void onZone();
  void onClock();
  void onEnded(const AttemptID& id);
  void removeLeftovers();
  void tellOfMessages();
  void pruneHistory();
  bool mayEnd();

  DaemonOptions options_;
  UniqueFd lock_;
  UniqueFd signals_;
  UniqueFd zoneWatch_;
  std::string zone_;
  Notice notice_;
  Timer timer_;
  Session session_;
  RunnerClient client_;
  ProcessLauncher launcher_;
  std::unique_ptr<MailTransport> mail_;
  std::unique_ptr<Mailer> mailer_;  ///< from the first load on, if mails can be sent
  std::unique_ptr<Scheduler> scheduler_;

  bool loaded_ = false;
  bool zoneChecked_ = false;
  bool stopping_ = false;
  bool ended_ = false;
  bool restart_ = false;
  bool toldOfMessages_ = false;  ///< that they wait because nobody sends them
  // By a clock that nobody sets, in milliseconds.
  std::int64_t loadAt_ = 0;    ///< while not loaded: when to try
  std::int64_t failedAt_ = 0;  ///< while not loaded: since when the store cannot be used
  std::int64_t stopBy_ = 0;    ///< while stopping: when to leave runs to the next meskd
  std::int64_t pruneAt_ = 0;
  std::int64_t clockOffset_;  ///< of the system's clock from that one, as last looked at
};

}  // namespace mesk::host
