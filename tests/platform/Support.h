// What the platform's tests share: other processes, files, and seeds.
#pragma once

#include <fmt/format.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace support {

namespace fs = std::filesystem;

/// A directory that goes away with its owner.
class Directory {
 public:
  Directory() {
    std::string name = (fs::temp_directory_path() / "mesk-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = name;
  }
  ~Directory() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  Directory(const Directory&) = delete;
  Directory& operator=(const Directory&) = delete;

  const fs::path& path() const { return path_; }
  std::string file(const char* name) const { return (path_ / name).string(); }

 private:
  fs::path path_;
};

inline std::string read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

inline void write(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
  if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

inline std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> found;
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t end = text.find('\n', at);
    found.push_back(text.substr(at, end == std::string::npos ? end : end - at));
    at = end == std::string::npos ? text.size() : end + 1;
  }
  return found;
}

struct Result {
  int status;       ///< exit status, or -1 when a signal ended the process
  std::string out;  ///< standard output and standard error together
};

/// Runs a command of the shell; `environment` is a list of A=b.
inline Result run(const std::string& command, const std::string& environment = "") {
  FILE* pipe = popen(fmt::format("exec env {} {} 2>&1", environment, command).c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("cannot run " + command);
  Result result{-1, {}};
  char buffer[4096];
  for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) != 0;) result.out.append(buffer, n);
  const int status = pclose(pipe);
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  return result;
}

/// Runs `work(i)` on `count` threads at once and waits for all.
template <typename Work>
void onThreads(int count, const Work& work) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back([&work, i] { work(i); });
  for (std::thread& thread : threads) thread.join();
}

/// The seed of a random test: MESK_SEED, or a new one; printed either way.
inline std::uint64_t seed() {
  const char* given = std::getenv("MESK_SEED");
  const std::uint64_t value = given != nullptr ? std::strtoull(given, nullptr, 0) : std::random_device{}();
  fmt::print("MESK_SEED={}\n", value);
  return value;
}

}  // namespace support
