#include <scheduler/Programs.h>

#include <unistd.h>

#include <filesystem>

namespace mesk::host {

const char* const kVersion = MESK_VERSION;

std::string programBeside(const std::string& name) {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const auto& candidate : {folder / name, folder.parent_path() / "libexec/mesk" / name}) {
    if (::access(candidate.c_str(), X_OK) == 0) return candidate.string();
  }
  return name;
}

}  // namespace mesk::host
