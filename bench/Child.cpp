#include "Child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>

namespace mesk::bench {

Child::Child(const std::vector<std::string>& command) {
  // A program that has ended is noticed by what it answers.
  std::signal(SIGPIPE, SIG_IGN);
  std::array<int, 2> in{};
  std::array<int, 2> out{};
  if (::pipe2(in.data(), O_CLOEXEC) != 0 || ::pipe2(out.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const int failure = ::posix_spawnp(&pid_, arguments.front(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(in[0]);
  ::close(out[1]);
  to_ = ::fdopen(in[1], "w");
  from_ = ::fdopen(out[0], "r");
  if (failure != 0) {
    std::fclose(to_);
    std::fclose(from_);
    throw std::system_error(failure, std::generic_category(), command.front());
  }
}

Child::~Child() {
  std::fclose(to_);
  std::fclose(from_);
  ::waitpid(pid_, nullptr, 0);
}

std::string Child::answer(const std::string& line) {
  if (!line.empty()) {
    std::fprintf(to_, "%s\n", line.c_str());
    std::fflush(to_);
  }
  std::string text;
  for (int c = std::fgetc(from_); c != EOF && c != '\n'; c = std::fgetc(from_)) text.push_back(static_cast<char>(c));
  return text;
}

}  // namespace mesk::bench
