#include <scheduler/Files.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <scheduler/UniqueFd.h>

namespace mesk::host {

namespace {

[[noreturn]] void failWith(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

std::string inTheMaking(const std::string& directory, const std::string& name) {
  return directory + "/" + name + ".new";
}

}  // namespace

std::string readFile(const std::string& path) {
  const UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file) failWith(path);
  std::string content;
  char portion[16384];
  for (;;) {
    const ssize_t count = ::read(file.get(), portion, sizeof portion);
    if (count == 0) return content;
    if (count > 0) {
      content.append(portion, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      failWith(path);
    }
  }
}

bool writeAll(int fd, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t written = ::write(fd, bytes, count);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    bytes += written;
    count -= static_cast<std::size_t>(written);
  }
  return true;
}

void reserveFile(const std::string& directory, const std::string& name, long bytes) {
  const std::string path = inTheMaking(directory, name);
  const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  if (!file) failWith(path);
  if ((errno = ::posix_fallocate(file.get(), 0, bytes)) != 0) failWith(path);
}

void replaceFile(const std::string& directory, const std::string& name, const std::string& content) {
  const std::string path = inTheMaking(directory, name);
  {
    // Not truncated on opening: that would give reserved room away.
    const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (!file) failWith(path);
    if (!writeAll(file.get(), content.data(), content.size()) ||
        ::ftruncate(file.get(), static_cast<off_t>(content.size())) != 0 || ::fsync(file.get()) != 0) {
      failWith(path);
    }
  }
  if (::rename(path.c_str(), (directory + "/" + name).c_str()) != 0) failWith(path);
  const UniqueFd folder(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder || ::fsync(folder.get()) != 0) failWith(directory);
}

}  // namespace mesk::host
