#include <scheduler/Notice.h>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

namespace mesk::host {

namespace {

std::string noticePath(const std::string& storePath) { return storePath + ".notice"; }

// Closing a file that was open for writing is all that a watcher waits for.
void touch(const std::string& path, mode_t mode) {
  struct stat there {};
  const bool isNew = ::stat(path.c_str(), &there) != 0;
  const UniqueFd file(::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, mode));
  if (!file) throw std::system_error(errno, std::generic_category(), path);
  // Whoever may change the store must be able to say so, whatever this process's mask.
  if (isNew) ::fchmod(file.get(), mode);
}

mode_t modeOf(const std::string& storePath) {
  struct stat store {};
  return ::stat(storePath.c_str(), &store) == 0 ? store.st_mode & 0666 : 0600;
}

}  // namespace

void Notice::post(const std::string& storePath) { touch(noticePath(storePath), modeOf(storePath)); }

Notice Notice::watch(const std::string& storePath) {
  post(storePath);
  return Notice(storePath);
}

Notice::Notice(std::string storePath)
    : storePath_(std::move(storePath)), events_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!events_) throw std::system_error(errno, std::generic_category(), "inotify");
  follow();
}

void Notice::follow() {
  // The file and not its folder: the store's own files come and go there with each transaction.
  const auto watched = IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB;
  const std::string path = noticePath(storePath_);
  if (::inotify_add_watch(events_.get(), path.c_str(), watched) < 0) {
    throw std::system_error(errno, std::generic_category(), path);
  }
}

bool Notice::drain() {
  bool word = false;
  alignas(struct inotify_event) std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t count = ::read(events_.get(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    for (const char* at = buffer.data(); at < buffer.data() + count;) {
      const auto* event = reinterpret_cast<const struct inotify_event*>(at);
      word = true;
      if ((event->mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF | IN_ATTRIB)) != 0) lost_ = true;
      at += sizeof *event + event->len;
    }
  }
  if (lost_) {
    // Somebody removed, moved or replaced the file: later words come through the one that takes its place.
    post(storePath_);
    follow();
    lost_ = false;
  }
  return word;
}

}  // namespace mesk::host
