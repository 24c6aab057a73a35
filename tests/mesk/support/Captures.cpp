#include <mesk/support/Captures.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace mesk::test {
namespace {

std::string hex(std::uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", number);
  return text;
}

std::int32_t number(const std::string& bytes) {
  std::int32_t value = 0;
  if (bytes.size() != sizeof value) throw std::logic_error("not the four bytes of a number");
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

std::string show(const std::string& bytes) {
  return bytes.size() == sizeof(std::int32_t) ? std::to_string(number(bytes)) : '"' + bytes + '"';
}

std::string copyOf(const void* address, std::size_t length) {
  return address == nullptr ? std::string() : std::string(static_cast<const char*>(address), length);
}

}  // namespace

std::int32_t LogCapture::Item::integer() const {
  if (type != kLogInteger) throw std::logic_error("not a number");
  return number(bytes);
}

LogCapture::LogCapture() { setLogSink(take, this); }

LogCapture::~LogCapture() { setLogSink(nullptr, nullptr); }

void LogCapture::take(const LogRecord& record, void* self) {
  auto* const capture = static_cast<LogCapture*>(self);
  Record copy{record.function, record.code, record.probe, record.level, {}};
  for (std::uint32_t i = 0; i < record.itemCount; ++i) {
    const LogItem& item = record.items[i];
    copy.items.push_back({copyOf(item.address, item.length), item.type});
  }
  const std::lock_guard<std::mutex> guard(capture->mutex_);
  capture->records_.push_back(std::move(copy));
}

std::vector<LogCapture::Record> LogCapture::records() const {
  const std::lock_guard<std::mutex> guard(mutex_);
  return records_;
}

std::vector<std::string> LogCapture::lines() const {
  std::vector<std::string> result;
  for (const Record& record : records()) {
    std::string line = hex(record.function) + "/" + std::to_string(record.probe);
    for (const Item& item : record.items) {
      line += " ";
      line += item.type == kLogInteger ? std::to_string(item.integer()) : '"' + item.bytes + '"';
    }
    result.push_back(line);
  }
  return result;
}

void LogCapture::clear() {
  const std::lock_guard<std::mutex> guard(mutex_);
  records_.clear();
}

TraceCapture::TraceCapture() { setTraceSink(take, this); }

TraceCapture::~TraceCapture() { setTraceSink(nullptr, nullptr); }

void TraceCapture::take(const TraceRecord& record, void* self) {
  auto* const capture = static_cast<TraceCapture*>(self);
  Record copy{record.kind, record.thread, record.function, record.flags,
              record.mask, record.probe,  record.type,     copyOf(record.address, record.length)};
  const std::lock_guard<std::mutex> guard(capture->mutex_);
  capture->records_.push_back(std::move(copy));
}

std::vector<TraceCapture::Record> TraceCapture::records() const {
  const std::lock_guard<std::mutex> guard(mutex_);
  return records_;
}

std::vector<std::string> TraceCapture::lines() const {
  std::vector<std::string> result;
  for (const Record& record : records()) {
    std::string line;
    switch (record.kind) {
      case TraceRecord::kEntry:
        line = "entry " + hex(record.function);
        break;
      case TraceRecord::kExit:
        line = "exit " + hex(record.function) + (record.bytes.empty() ? "" : " " + show(record.bytes));
        break;
      case TraceRecord::kData:
        line = "data " + hex(record.function) + "/" + std::to_string(record.probe) + " " + show(record.bytes);
        break;
      case TraceRecord::kError:
        line = "error " + hex(record.function) + "/" + std::to_string(record.probe) + " " + show(record.bytes);
        break;
    }
    result.push_back(line);
  }
  return result;
}

void TraceCapture::clear() {
  const std::lock_guard<std::mutex> guard(mutex_);
  records_.clear();
}

}  // namespace mesk::test
