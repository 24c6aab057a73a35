// A program that answers line by line.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <sys/types.h>

namespace mesk::bench {

/// Runs `command` with its standard input and output in the hands of the owner; its standard error stays where it was.
/// The program is to end when its input does; the destructor waits for that. Throws std::system_error.
class Child {
 public:
  explicit Child(const std::vector<std::string>& command);
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// The line that the program writes after `line` was written to it, or before any was, when that is empty; empty when
  /// it has ended.
  std::string answer(const std::string& line);

 private:
  pid_t pid_ = -1;
  std::FILE* to_ = nullptr;
  std::FILE* from_ = nullptr;
};

}  // namespace mesk::bench
