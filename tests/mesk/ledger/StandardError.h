// What is written to the standard error stream.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace mesk::test::ledger {

/// Takes the stream for as long as it lives.
class StandardError {
 public:
  StandardError() : file_(std::tmpfile()), before_(dup(STDERR_FILENO)) {
    if (file_ == nullptr || before_ < 0) throw std::runtime_error("the standard error stream cannot be taken");
    std::fflush(stderr);
    dup2(fileno(file_), STDERR_FILENO);
  }
  ~StandardError() {
    std::fflush(stderr);
    dup2(before_, STDERR_FILENO);
    close(before_);
    std::fclose(file_);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

  /// So far.
  std::string text() const {
    std::fflush(stderr);
    std::string all(4096, '\0');
    const auto length = pread(fileno(file_), all.data(), all.size(), 0);
    all.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return all;
  }

 private:
  std::FILE* file_;
  int before_;
};

}  // namespace mesk::test::ledger
