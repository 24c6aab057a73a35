// The word that a store was changed, from one process to another.
#pragma once

#include <string>

#include <scheduler/UniqueFd.h>

namespace mesk::host {

/// Hears when another process says that it changed the store. The word travels through the file
/// beside the store, `<store>.notice`, whose content means nothing. One thread.
class Notice {
 public:
  /// Tells whoever watches. Throws std::system_error.
  static void post(const std::string& storePath);

  /// Watches; makes the file when it is missing, readable and writable for whom the store is. Throws
  /// std::system_error.
  static Notice watch(const std::string& storePath);

  int fd() const { return events_.get(); }  ///< readable when there is word

  /// Takes all words there are; true when there was one. Words between two calls count as one. When the file was
  /// removed and cannot be made again, throws std::system_error, and so does each further call until it can be.
  bool drain();

 private:
  explicit Notice(std::string storePath);
  void follow();

  std::string storePath_;
  UniqueFd events_;
  bool lost_ = false;  ///< the file that was watched is not the one any more
};

}  // namespace mesk::host
