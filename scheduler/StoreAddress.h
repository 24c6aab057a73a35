// Which store a program works on.
#pragma once

#include <string>

namespace mesk::host {

/// A store named by a file or a JDBC URL.
class StoreAddress {
 public:
  /// Throws HostError for an empty name, for a path with a question mark, which would end it in the URL, and for a URL
  /// of a database that is not supported.
  explicit StoreAddress(const std::string& fileOrUrl);

  /// The store that `option` names, else the one of the environment variable MESK_STORE. Throws HostError
  /// when neither does.
  static StoreAddress choose(const std::string& option);

  const std::string& url() const { return url_; }    ///< for `MDUtility::connectMD`
  const std::string& path() const { return path_; }  ///< absolute path of the store's file

  /// The folder with the directories of runs in progress.
  std::string runsDirectory() const { return path_ + ".runs"; }

  /// The file whose lock says that a meskd works on the store.
  std::string lockPath() const { return path_ + ".lock"; }

 private:
  std::string url_;
  std::string path_;
};

}  // namespace mesk::host
