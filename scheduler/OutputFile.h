// The output of a run, kept up to a limit.
#pragma once

#include <cstdint>
#include <string>

#include <scheduler/UniqueFd.h>

namespace mesk::host {

/// Keeps what a script writes. Up to `limit` bytes everything is kept, and stands in the file as it
/// comes; of more, the first half and the last half of `limit` are kept, and between them a line says
/// how much was left out. One thread.
class OutputFile {
 public:
  /// Makes the file (mode 0600) or empties it. When that fails, output counts as lost.
  OutputFile(const std::string& path, std::int64_t limit);

  void add(const char* bytes, std::size_t count);

  /// Puts the end of cut output in its place. Once, after the last `add`.
  void finish();

  std::int64_t total() const { return total_; }  ///< bytes added
  bool lost() const { return lost_; }            ///< the disk did not take all that was to be kept

 private:
  void write(const char* bytes, std::size_t count);
  void keepTail(const char* bytes, std::size_t count);

  UniqueFd file_;
  std::int64_t limit_;
  std::int64_t headSize_;
  std::int64_t total_ = 0;
  std::string tail_;          // the last bytes after the head; a ring once it is full
  std::size_t tailNext_ = 0;  // where the ring goes on
  bool lost_ = false;
};

}  // namespace mesk::host
