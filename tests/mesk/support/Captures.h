// What the library wrote to the log and to the trace.
#pragma once

#include <platform/Log.h>
#include <platform/Trace.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace mesk::test {

/// The log records written while it lives, by any thread. One at a time.
class LogCapture {
 public:
  struct Item {
    std::string bytes;  ///< a copy; as long as the item said
    std::int32_t type;

    /// The item as a number; it must be four bytes of the integer type.
    std::int32_t integer() const;
    bool operator==(const Item&) const = default;
  };
  struct Record {
    std::uint32_t function;
    std::int32_t code;
    std::uint32_t probe;
    std::uint32_t level;
    std::vector<Item> items;
  };

  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<Record> records() const;

  /// Each record as one line: "0x10080140/10 -300 0 7", texts in quotes.
  std::vector<std::string> lines() const;
  void clear();

 private:
  static void take(const LogRecord& record, void* self);

  mutable std::mutex mutex_;
  std::vector<Record> records_;
};

/// The trace records written while it lives, by any thread; the trace is on for as long. One at a time.
class TraceCapture {
 public:
  struct Record {
    TraceRecord::Kind kind;
    std::uint64_t thread;
    std::uint32_t function;
    std::uint32_t flags;
    std::uint32_t mask;
    std::uint32_t probe;
    std::int32_t type;
    std::string bytes;
  };

  TraceCapture();
  ~TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  std::vector<Record> records() const;

  /// Each record as one line: "entry 0x1AE801AD", "error 0x1AE801AD/20 4711", "exit 0x1AE801AD 4711". Data of four
  /// bytes is shown as a number, anything else in quotes.
  std::vector<std::string> lines() const;
  void clear();

 private:
  static void take(const TraceRecord& record, void* self);

  mutable std::mutex mutex_;
  std::vector<Record> records_;
};

}  // namespace mesk::test
