#include <platform/Log.h>

#include <fmt/format.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/sinks/syslog_sink.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <platform/CodePage.h>

namespace {

using mesk::LogItem;
using mesk::LogRecord;

constexpr std::size_t kDefaultBytes = std::size_t{10} * 1024 * 1024;
constexpr std::size_t kDefaultFiles = 5;

/// Where records go. Never destroyed, because threads may log until the process is gone.
struct Log {
  std::mutex mutex;
  spdlog::sink_ptr file;
  spdlog::sink_ptr system;
  spdlog::sink_ptr standardError;
  std::size_t lost = 0;  ///< records that could not be written since the last one that could
  mesk::LogSink sink = nullptr;
  void* sinkContext = nullptr;

  bool goesNowhere() const { return file == nullptr && system == nullptr && standardError == nullptr; }
};

spdlog::sink_ptr withPattern(spdlog::sink_ptr sink, const char* pattern) {
  sink->set_pattern(pattern);
  return sink;
}

constexpr const char* kPattern = "%Y-%m-%d %H:%M:%S.%f %z %t %v";

spdlog::sink_ptr openFile(const char* path, std::size_t maxBytes, std::size_t files) {
  try {
    return withPattern(std::make_shared<spdlog::sinks::rotating_file_sink_st>(path, maxBytes, files), kPattern);
  } catch (const std::exception&) {
    return nullptr;
  }
}

Log& log() {
  static Log& instance = []() -> Log& {
    Log& made = *new Log;
    const char* path = std::getenv("MESK_LOG");
    if (path == nullptr || *path == '\0') return made;
    made.file = openFile(path, kDefaultBytes, kDefaultFiles);
    if (made.file == nullptr) fmt::print(stderr, "MESK_LOG: cannot write {}\n", path);
    return made;
  }();
  return instance;
}

/// The log is UTF-8, whatever the process speaks, and also when that is no code page.
std::string toUtf8(std::string_view text) {
  std::string utf8(text.size() * 3 + 1, '\0');
  CodePageConversion conversion{sqlogetcpcc(),
                                mesk::kUtf8CodePage,
                                0,
                                text.data(),
                                static_cast<std::uint32_t>(text.size()),
                                utf8.data(),
                                static_cast<std::uint32_t>(utf8.size()),
                                0};
  if (sqlocpcv(&conversion) == mesk::kCodePageUnusable) {
    conversion.sourceCodePage = mesk::kUtf8CodePage;
    sqlocpcv(&conversion);
  }
  utf8.resize(conversion.targetLength - 1);
  return utf8;
}

using Line = fmt::memory_buffer;

/// Quotes a text and escapes what would break the line or hide on a terminal.
void appendText(Line& line, std::string_view text) {
  line.push_back('"');
  const std::string utf8 = toUtf8(text);
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    if (c == '\xC0') {  // a zero byte within the text, which the conversion kept as C0 80
      fmt::format_to(std::back_inserter(line), "\\x00");
      ++i;
      continue;
    }
    if (c == '"' || c == '\\') {
      line.push_back('\\');
      line.push_back(c);
    } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
      fmt::format_to(std::back_inserter(line), "\\x{:02x}", static_cast<unsigned char>(c));
    } else {
      line.push_back(c);
    }
  }
  line.push_back('"');
}

template <typename Integer>
Integer readInteger(const void* address) {
  Integer value;
  std::memcpy(&value, address, sizeof value);
  return value;
}

void appendItem(Line& line, const LogItem& item) {
  const auto out = std::back_inserter(line);
  const std::string_view bytes(static_cast<const char*>(item.address), item.address == nullptr ? 0 : item.length);
  if (item.address == nullptr) {
    fmt::format_to(out, " null");
  } else if (item.type == mesk::kLogInteger && item.length == sizeof(std::int32_t)) {
    fmt::format_to(out, " int {}", readInteger<std::int32_t>(item.address));
  } else if (item.type == mesk::kLogText) {
    fmt::format_to(out, " text ");
    appendText(line, bytes);
  } else {
    fmt::format_to(out, " type {} ", item.type);
    for (const char c : bytes) fmt::format_to(out, "{:02x}", static_cast<unsigned char>(c));
  }
}

void appendRecord(Line& line, const LogRecord& record) {
  fmt::format_to(std::back_inserter(line), "0x{:08X} probe {} level {}", record.function, record.probe, record.level);
  if (record.code != 0) fmt::format_to(std::back_inserter(line), " code {}", record.code);
  for (std::uint32_t i = 0; i < record.itemCount; ++i) appendItem(line, record.items[i]);
}

bool write(spdlog::sinks::sink& sink, std::string_view text) {
  try {
    sink.log(spdlog::details::log_msg("mesk", spdlog::level::err, spdlog::string_view_t(text.data(), text.size())));
    sink.flush();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void writeEverywhere(Log& where, std::string_view text) {
  bool written = true;
  for (const spdlog::sink_ptr& sink : {where.file, where.system, where.standardError}) {
    if (sink == nullptr) continue;
    if (where.lost != 0) write(*sink, fmt::format("{} records before this one could not be written", where.lost));
    written &= write(*sink, text);
  }
  where.lost = written ? 0 : where.lost + 1;
}

void record(const LogRecord& record) {
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  if (where.sink != nullptr) where.sink(record, where.sinkContext);
  if (where.goesNowhere()) return;
  Line line;
  appendRecord(line, record);
  writeEverywhere(where, {line.data(), line.size()});
}

}  // namespace

void ossLog(void* /*reserved*/, std::uint32_t function, std::int32_t code, std::uint32_t probe, std::uint32_t level,
            std::uint32_t itemCount, ...) {
  try {
    std::vector<LogItem> items(itemCount);
    va_list arguments;
    va_start(arguments, itemCount);
    for (LogItem& item : items) {
      item.address = va_arg(arguments, const void*);
      item.length = va_arg(arguments, std::size_t);
      item.type = va_arg(arguments, std::int32_t);
    }
    va_end(arguments);
    record({function, code, probe, level, itemCount, items.data()});
  } catch (const std::exception&) {
    // No memory for the record. The caller has its own failure to handle; this one it could not help.
  }
}

namespace mesk {

bool startLog(const char* path, std::size_t maxBytes, std::size_t files) {
  spdlog::sink_ptr file = openFile(path, maxBytes, files);
  if (file == nullptr) return false;
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.file = std::move(file);
  return true;
}

void startSystemLog() {
  // The log service adds time and process itself.
  spdlog::sink_ptr system =
      withPattern(std::make_shared<spdlog::sinks::syslog_sink_st>("mesk", LOG_PID, LOG_DAEMON, true), "%t %v");
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.system = std::move(system);
}

void stopLog() {
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.file = where.system = where.standardError = nullptr;
}

void logToStandardError(bool on) {
  spdlog::sink_ptr standardError =
      on ? withPattern(std::make_shared<spdlog::sinks::stderr_sink_st>(), kPattern) : nullptr;
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.standardError = std::move(standardError);
}

void setLogSink(LogSink sink, void* context) {
  Log& where = log();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.sink = sink;
  where.sinkContext = context;
}

}  // namespace mesk
