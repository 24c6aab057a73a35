#include <scheduler/StoreAddress.h>

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <scheduler/ExitCodes.h>

namespace mesk::host {
namespace {

constexpr std::string_view kSqlite = "jdbc:sqlite:";

}  // namespace

StoreAddress::StoreAddress(const std::string& fileOrUrl) {
  std::string file = fileOrUrl;
  std::string parameters;
  if (file.starts_with("jdbc:")) {
    if (!file.starts_with(kSqlite)) {
      throw HostError(kExitUsage, fmt::format("'{}' is not supported: expected a file or {}FILE", fileOrUrl, kSqlite));
    }
    file.erase(0, kSqlite.size());
    if (const auto question = file.find('?'); question != std::string::npos) {
      parameters = file.substr(question);
      file.erase(question);
    }
  }
  if (file.empty()) throw HostError(kExitUsage, "the name of the store is empty: expected a file");
  // By whatever links it is named, a store has one path: the lock and the notice beside it depend on it.
  std::error_code unresolved;
  const std::filesystem::path path = std::filesystem::weakly_canonical(std::filesystem::absolute(file), unresolved);
  path_ = (unresolved ? std::filesystem::absolute(file).lexically_normal() : path).string();
  while (path_.size() > 1 && path_.ends_with('/')) path_.pop_back();
  if (path_.find('?') != std::string::npos) {
    throw HostError(kExitUsage,
                    fmt::format("'{}' cannot be a store: in a URL, options follow the question mark", path_));
  }
  url_ = std::string(kSqlite) + path_ + parameters;
}

StoreAddress StoreAddress::choose(const std::string& option) {
  if (!option.empty()) return StoreAddress(option);
  const char* const fromEnvironment = std::getenv("MESK_STORE");
  if (fromEnvironment == nullptr || *fromEnvironment == '\0') {
    throw HostError(kExitUsage, "which store? Give --store FILE or set MESK_STORE");
  }
  return StoreAddress(fromEnvironment);
}

}  // namespace mesk::host
