// A file without a disk.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

namespace mesk::fuzz {

class MemoryFile {
 public:
  MemoryFile() : file_(::memfd_create("mesk-fuzz", MFD_CLOEXEC)) {
    if (file_ < 0) throw std::system_error(errno, std::generic_category(), "memfd_create");
  }
  ~MemoryFile() { ::close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// By which others open it.
  std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

  void clear() {
    if (::ftruncate(file_, 0) != 0) throw std::system_error(errno, std::generic_category(), "ftruncate");
  }

  std::string content() const {
    std::string all;
    char part[65536];
    while (true) {
      const ssize_t read = ::pread(file_, part, sizeof part, static_cast<off_t>(all.size()));
      if (read < 0) throw std::system_error(errno, std::generic_category(), "pread");
      if (read == 0) return all;
      all.append(part, static_cast<std::size_t>(read));
    }
  }

 private:
  int file_;
};

}  // namespace mesk::fuzz
