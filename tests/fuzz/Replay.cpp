// Runs a target on inputs that are kept.
//   fuzz_TARGET FILE-OR-FOLDER...            every input must pass
//   fuzz_TARGET --plants FILE-OR-FOLDER...   and every wrong that can be planted in the target must be noticed by one
#include <algorithm>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "Fuzz.h"

namespace {

namespace fs = std::filesystem;
using namespace mesk::fuzz;

struct Input {
  std::string path;
  std::string bytes;
};

Input read(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  return {path.string(), {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}};
}

std::vector<Input> inputsOf(const std::vector<std::string>& places) {
  std::vector<Input> inputs;
  for (const std::string& place : places) {
    if (!fs::is_directory(place)) {
      inputs.push_back(read(place));
      continue;
    }
    for (const auto& entry : fs::directory_iterator(place)) inputs.push_back(read(entry.path()));
  }
  std::sort(inputs.begin(), inputs.end(), [](const Input& a, const Input& b) { return a.path < b.path; });
  return inputs;
}

/// What is wrong with the input; empty when nothing is.
std::string wrongWith(const Input& input) {
  Bytes bytes(input.bytes.data(), input.bytes.size());
  try {
    run(bytes);
    return {};
  } catch (const Broken& broken) {
    return broken.what();
  }
}

int replay(const std::vector<Input>& inputs, bool withPlants) {
  if (inputs.empty()) {
    std::cout << "there are no inputs" << std::endl;
    return 1;
  }
  int failed = 0;
  for (const Input& input : inputs) {
    std::cout << input.path << std::endl;  // first, for inputs that end the process
    const std::string wrong = wrongWith(input);
    if (wrong.empty()) continue;
    std::cout << "  broken: " << wrong << std::endl;
    failed = 1;
  }
  if (failed != 0 || !withPlants) return failed;

  const std::vector<std::string> wrongs = knownPlants();
  for (const std::string& wrong : wrongs) {
    plant(wrong);
    const bool noticed =
        std::any_of(inputs.begin(), inputs.end(), [](const Input& input) { return !wrongWith(input).empty(); });
    if (noticed) continue;
    std::cout << "planted, and noticed by no input: " << wrong << std::endl;
    failed = 1;
  }
  if (wrongs.empty()) {
    std::cout << "nothing can be planted: these claims were never seen to fail" << std::endl;
    failed = 1;
  }
  std::cout << inputs.size() << " inputs, " << wrongs.size() << " wrongs planted" << std::endl;
  return failed;
}

}  // namespace

int main(int count, char** arguments) {
  std::vector<std::string> places(arguments + 1, arguments + count);
  const bool withPlants = !places.empty() && places.front() == "--plants";
  if (withPlants) places.erase(places.begin());
  try {
    return replay(inputsOf(places), withPlants);
  } catch (const std::exception& thrown) {
    std::cout << thrown.what() << std::endl;
    return 1;
  }
}
