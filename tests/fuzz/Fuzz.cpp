#include "Fuzz.h"

#include <cstdio>
#include <cstdlib>
#include <set>

namespace mesk::fuzz {
namespace {

std::set<std::string>& plants() {
  static std::set<std::string> met;
  return met;
}

std::string& plantedNow() {
  static std::string what = [] {
    const char* const asked = std::getenv("MESK_FUZZ_PLANT");
    return std::string(asked == nullptr ? "" : asked);
  }();
  return what;
}

}  // namespace

bool planted(const char* what) {
  plants().insert(what);
  return plantedNow() == "any" || plantedNow() == what;
}

std::vector<std::string> knownPlants() { return {plants().begin(), plants().end()}; }

void plant(const std::string& what) { plantedNow() = what; }

}  // namespace mesk::fuzz

/// What libFuzzer calls.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mesk::fuzz::Bytes input(data, size);
  try {
    mesk::fuzz::run(input);
  } catch (const mesk::fuzz::Broken& broken) {
    std::fprintf(stderr, "broken: %s\n", broken.what());
    std::abort();
  }
  return 0;
}
