// A folder that goes with its test, and a seed for random tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <string>

namespace mesk::host {

class Scratch {
 public:
  Scratch() {
    std::string name = (std::filesystem::temp_directory_path() / "mesk-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch folder");
    path_ = name;
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  std::string at(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  std::string write(const std::string& name, const std::string& content) const {
    std::ofstream(at(name), std::ios::binary) << content;
    return at(name);
  }

 private:
  std::string path_;
};

/// Another seed in each run, unless MESK_SEED gives it; printed, so that a failure can be had again.
inline std::uint64_t randomSeed() {
  const char* given = std::getenv("MESK_SEED");
  const std::uint64_t seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  std::cout << "MESK_SEED=" << seed << std::endl;
  return seed;
}

}  // namespace mesk::host
