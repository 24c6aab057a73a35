// The work of mesk-runner: one attempt at one task, from start to status.
#pragma once

#include <string>

namespace mesk::host {

/// Carries out `directory`/run.json and leaves `directory`/output and `directory`/status.json.
/// `lockFd` is a descriptor that holds the lock on `directory`/lock, or -1; it stays open until this
/// process ends and does not reach the script.
///
/// The script runs in a session of its own with standard input at /dev/null and only plain
/// environment: PATH, HOME, USER, LOGNAME, SHELL, the locale and zone of the runner, MESK_ATTEMPT,
/// MESK_COUNTS (a file for lines `rows=N` and `bytes=N`, which go into the status), and what the request adds. When its
/// time is up, or the runner gets SIGTERM or SIGINT, the whole process group is asked to end (SIGTERM) and after the
/// grace period made to (SIGKILL). Processes that a script which ended by itself leaves in the background are left
/// alone; what they print from then on is not kept.
///
/// Changes the signal mask and dispositions of the process: call it in a process of its own, with one
/// thread. Answers 0 when a status was written, else 1 after a line on standard error.
int runAttempt(const std::string& directory, int lockFd);

}  // namespace mesk::host
