#include <platform/Trace.h>

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <string_view>

// A line of the file:
//   <UTC date> <time> <thread> <function> entry|exit|data|error ...
// data and error go on with the probe, the type and the value; tools/trace2json.cpp reads such lines.
namespace {

using mesk::TraceRecord;

constinit TraceControlBlock controlBlock{0x4743544D, 1, 0xFFFFFFFF, 0};

constexpr std::size_t kBrokenDownTimeFields = 9;
constexpr std::size_t kBrokenDownTimeBytes = kBrokenDownTimeFields * sizeof(std::int32_t);

/// Where records go. Never destroyed, because threads may trace until the process is gone.
struct Trace {
  std::mutex mutex;
  int file = -1;
  mesk::TraceSink sink = nullptr;
  void* sinkContext = nullptr;

  void switchOnOrOff() {
    const std::uint32_t on = file >= 0 || sink != nullptr ? 1 : 0;
    std::atomic_ref<std::uint32_t>(controlBlock.traceOn).store(on, std::memory_order_relaxed);
  }

  void closeFile() {
    if (file >= 0) ::close(file);
    file = -1;
  }
};

Trace& trace() {
  static Trace& instance = *new Trace;
  return instance;
}

using Line = fmt::memory_buffer;

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }
bool isAscii(char c) { return c >= 0x20 && c < 0x7F; }

void appendText(Line& line, std::string_view bytes) {
  line.push_back('"');
  for (const char c : bytes) {
    if (c == '"' || c == '\\') {
      line.push_back('\\');
      line.push_back(c);
    } else if (isControl(c)) {
      fmt::format_to(std::back_inserter(line), "\\x{:02x}", static_cast<unsigned char>(c));
    } else {
      line.push_back(c);
    }
  }
  line.push_back('"');
}

void appendHex(Line& line, std::string_view bytes) {
  for (const char c : bytes) fmt::format_to(std::back_inserter(line), "{:02x}", static_cast<unsigned char>(c));
}

/// The type is the same for numbers, texts and times: the length and the bytes tell them apart. Texts come
/// without a terminating zero, and in a broken-down time some byte is zero.
void appendValue(Line& line, std::string_view bytes) {
  if (bytes.size() == sizeof(std::int32_t)) {
    std::int32_t number;
    std::memcpy(&number, bytes.data(), sizeof number);
    fmt::format_to(std::back_inserter(line), " int {}", number);
    if (!std::all_of(bytes.begin(), bytes.end(), isAscii)) return;
    line.push_back(' ');
    appendText(line, bytes);
    return;
  }
  if (bytes.size() == kBrokenDownTimeBytes && bytes.find('\0') != std::string_view::npos) {
    std::int32_t f[kBrokenDownTimeFields];
    std::memcpy(f, bytes.data(), sizeof f);
    fmt::format_to(std::back_inserter(line),
                   " tm sec={} min={} hour={} mday={} mon={} year={} wday={} yday={} isdst={}", f[0], f[1], f[2], f[3],
                   f[4], f[5], f[6], f[7], f[8]);
    return;
  }
  fmt::format_to(std::back_inserter(line), " bytes ");
  appendHex(line, bytes);
  line.push_back(' ');
  appendText(line, bytes);
}

void appendRecord(Line& line, const TraceRecord& record) {
  using namespace std::chrono;
  const auto now = floor<microseconds>(system_clock::now());
  const auto second = floor<seconds>(now);
  const auto out = std::back_inserter(line);
  fmt::format_to(out, "{:%Y-%m-%d %H:%M:%S}.{:06} {} {:08X}", fmt::gmtime(system_clock::to_time_t(second)),
                 (now - second).count(), record.thread, record.function);
  const std::string_view bytes(static_cast<const char*>(record.address), record.length);
  switch (record.kind) {
    case TraceRecord::kEntry:
      fmt::format_to(out, " entry");
      break;
    case TraceRecord::kExit:
      fmt::format_to(out, " exit");
      if (!bytes.empty()) appendValue(line, bytes);
      break;
    case TraceRecord::kData:
    case TraceRecord::kError:
      fmt::format_to(out, " {} {} type {}", record.kind == TraceRecord::kData ? "data" : "error", record.probe,
                     record.type);
      appendValue(line, bytes);
      break;
  }
  line.push_back('\n');
}

/// A disk that is full must not stop the process: the trace ends, and what is in the file stays.
bool writeLine(int file, std::string_view line) {
  while (!line.empty()) {
    const ssize_t written = ::write(file, line.data(), line.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) line.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

void record(TraceRecord record) {
  if (record.address == nullptr) record.length = 0;
  Trace& where = trace();
  const std::lock_guard<std::mutex> lock(where.mutex);
  if (where.sink != nullptr) where.sink(record, where.sinkContext);
  if (where.file < 0) return;
  Line line;
  appendRecord(line, record);
  if (!writeLine(where.file, {line.data(), line.size()})) {
    where.closeFile();
    where.switchOnOrOff();
  }
}

void recordData(TraceRecord::Kind kind, std::uint64_t thread, std::uint32_t function, std::uint32_t probe,
                std::int32_t type, std::uint32_t flags, std::size_t length, const void* address) {
  record({kind, thread, function, flags, 0, probe, type, address, length});
}

/// Starts the trace that the environment asks for when the library is loaded.
const bool startedByEnvironment = [] {
  const char* path = std::getenv("MESK_TRACE");
  if (path == nullptr || *path == '\0') return false;
  if (mesk::startTrace(path)) return true;
  fmt::print(stderr, "MESK_TRACE: cannot write {}: {}\n", path, std::strerror(errno));
  return false;
}();

}  // namespace

TraceControlBlock* g_pGTCB = &controlBlock;

void _gtraceEntry(std::uint64_t thread, std::uint32_t function, std::uint32_t flags, std::uint32_t mask) {
  record({TraceRecord::kEntry, thread, function, flags, mask, 0, 0, nullptr, 0});
}

void _gtraceExit(std::uint64_t thread, std::uint32_t function, const void* exitRecord, std::uint32_t flags) {
  record({TraceRecord::kExit, thread, function, flags, 0, 0, 0, exitRecord, sizeof(std::int32_t)});
}

void _gtraceVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe, std::int32_t type,
                std::uint32_t flags, std::uint32_t /*count*/, std::uint32_t /*reserved*/, std::size_t length,
                const void* address) {
  recordData(TraceRecord::kData, thread, function, probe, type, flags, length, address);
}

void _gtraceErrorVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe, std::int32_t type,
                     std::uint32_t flags, std::uint32_t /*count*/, std::uint32_t /*reserved*/, std::size_t length,
                     const void* address) {
  recordData(TraceRecord::kError, thread, function, probe, type, flags, length, address);
}

std::uint64_t ossThreadID() {
  thread_local const auto thread = static_cast<std::uint64_t>(::gettid());
  return thread;
}

namespace mesk {

bool startTrace(const char* path) {
  // For the owner only: a trace can show what users named their tasks and connections.
  const int file = ::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
  Trace& where = trace();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.closeFile();
  where.file = file;
  where.switchOnOrOff();
  return file >= 0;
}

void stopTrace() {
  Trace& where = trace();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.closeFile();
  where.switchOnOrOff();
}

void setTraceSink(TraceSink sink, void* context) {
  Trace& where = trace();
  const std::lock_guard<std::mutex> lock(where.mutex);
  where.sink = sink;
  where.sinkContext = context;
  where.switchOnOrOff();
}

}  // namespace mesk
