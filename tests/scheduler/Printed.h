// What other programs say.
#pragma once

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace mesk::host {

/// What a line of the shell prints on its standard output.
inline std::string printed(const std::string& line) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(line.c_str(), "r"), ::pclose);
  std::string text;
  std::array<char, 4096> buffer;
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe.get())) {
    text.append(buffer.data(), count);
  }
  return text;
}

}  // namespace mesk::host
