// mesk-runner RUN-DIRECTORY: runs one attempt of one task. meskd starts it; it outlives meskd.
#include <cstdio>
#include <cstdlib>

#include <scheduler/Runner.h>

int main(int argc, char** argv) {
  if (argc != 2 || argv[1][0] == '-') {
    std::fputs("usage: mesk-runner RUN-DIRECTORY\nStarted by meskd for each attempt at a task.\n", stderr);
    return 2;
  }
  const char* lock = std::getenv("MESK_LOCK_FD");
  return mesk::host::runAttempt(argv[1], lock == nullptr ? -1 : std::atoi(lock));
}
