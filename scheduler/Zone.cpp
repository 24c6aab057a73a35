#include <scheduler/Zone.h>

#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace mesk::host {

std::string systemZone() {
  std::error_code error;
  const std::string target = std::filesystem::read_symlink("/etc/localtime", error).string();
  constexpr std::string_view kFolder = "zoneinfo/";
  const auto at = target.find(kFolder);
  return error || at == std::string::npos ? std::string() : target.substr(at + kFolder.size());
}

std::string zoneName() {
  const char* const given = std::getenv("TZ");
  std::string name = given == nullptr ? systemZone() : given;
  if (name.starts_with(':')) name.erase(0, 1);
  return name.empty() ? (given == nullptr ? "local time" : "UTC") : name;
}

bool enterZone(const std::string& name) {
  if (name.empty() || name.front() == '/' || name.find("..") != std::string::npos) return false;
  const char* const folder = std::getenv("TZDIR");
  std::ifstream file(std::filesystem::path(folder == nullptr ? "/usr/share/zoneinfo" : folder) / name,
                     std::ios::binary);
  std::array<char, 4> magic{};
  file.read(magic.data(), magic.size());
  if (!file || std::string_view(magic.data(), magic.size()) != "TZif") return false;
  ::setenv("TZ", name.c_str(), 1);
  ::tzset();
  return true;
}

}  // namespace mesk::host
