#include <scheduler/OutputFile.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include <scheduler/Files.h>

namespace mesk::host {

OutputFile::OutputFile(const std::string& path, std::int64_t limit)
    : file_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600)),
      limit_(std::max<std::int64_t>(limit, 0)),
      headSize_(limit_ / 2),
      lost_(!file_) {}

void OutputFile::add(const char* bytes, std::size_t count) {
  const std::int64_t before = total_;
  total_ += static_cast<std::int64_t>(count);
  if (before < limit_) write(bytes, static_cast<std::size_t>(std::min(total_, limit_) - before));
  const std::int64_t ofHead = std::clamp<std::int64_t>(headSize_ - before, 0, static_cast<std::int64_t>(count));
  keepTail(bytes + ofHead, count - static_cast<std::size_t>(ofHead));
}

void OutputFile::write(const char* bytes, std::size_t count) {
  if (!lost_ && !writeAll(file_.get(), bytes, count)) lost_ = true;
}

void OutputFile::keepTail(const char* bytes, std::size_t count) {
  const std::size_t room = static_cast<std::size_t>(limit_ - headSize_);
  if (count > room) {
    bytes += count - room;
    count = room;
  }
  const std::size_t growth = std::min(count, room - tail_.size());
  tail_.append(bytes, growth);
  for (bytes += growth, count -= growth; count > 0;) {
    const std::size_t portion = std::min(count, room - tailNext_);
    std::copy_n(bytes, portion, tail_.begin() + static_cast<std::ptrdiff_t>(tailNext_));
    tailNext_ = (tailNext_ + portion) % room;
    bytes += portion;
    count -= portion;
  }
}

void OutputFile::finish() {
  if (lost_ || total_ <= limit_) return;
  if (::ftruncate(file_.get(), headSize_) != 0 || ::lseek(file_.get(), headSize_, SEEK_SET) < 0) {
    lost_ = true;
    return;
  }
  const std::string note = "\n[... " + std::to_string(total_ - limit_) + " bytes left out ...]\n";
  write(note.data(), note.size());
  write(tail_.data() + tailNext_, tail_.size() - tailNext_);
  write(tail_.data(), tailNext_);
}

}  // namespace mesk::host
