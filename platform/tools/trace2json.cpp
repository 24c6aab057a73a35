// mesk-trace2json: turns a trace file into the JSON array of events that trace viewers open.
#include <fmt/format.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include <platform/tools/TraceJson.h>

namespace {

constexpr const char* kUsage =
    "usage: mesk-trace2json [TRACE [JSON]]\n"
    "Turns a trace file (or standard input) into the JSON that trace viewers open.\n";

int run(int count, char** arguments) {
  const std::string first = count > 1 ? arguments[1] : "-";
  if (count > 3 || first == "--help" || first == "-h") {
    fmt::print(count > 3 ? stderr : stdout, "{}", kUsage);
    return count > 3 ? 2 : 0;
  }
  std::ifstream inFile;
  if (first != "-") {
    inFile.open(first, std::ios::binary);
    if (!inFile) {
      fmt::print(stderr, "mesk-trace2json: cannot read {}\n", first);
      return 1;
    }
  }
  std::ofstream outFile;
  if (count > 2) {
    outFile.open(arguments[2], std::ios::binary | std::ios::trunc);
    if (!outFile) {
      fmt::print(stderr, "mesk-trace2json: cannot write {}\n", arguments[2]);
      return 1;
    }
  }
  return mesk::traceToJson(first == "-" ? std::cin : inFile, count > 2 ? outFile : std::cout, std::cerr, first);
}

}  // namespace

int main(int count, char** arguments) {
  try {
    return run(count, arguments);
  } catch (const std::exception& error) {
    std::fputs(error.what(), stderr);
    return 1;
  }
}
