// Entry, exit and error records of one traced operation.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>

#include <platform/Trace.h>

namespace mesk {

/// Writes the entry record where it stands and the exit record through `exit`. Whether the trace is on
/// is asked before each record, because it can be switched while an operation runs.
class Traced {
 public:
  explicit Traced(std::uint32_t function) : function_(function) {
    if (on()) _gtraceEntry(ossThreadID(), function_, 0, 1000000);
  }
  Traced(const Traced&) = delete;
  Traced& operator=(const Traced&) = delete;

  /// Another thread may be switching the trace; no order with what it does is asked for.
  static bool on() {
    return g_pGTCB != nullptr && std::atomic_ref<std::uint32_t>(g_pGTCB->traceOn).load(std::memory_order_relaxed) != 0;
  }

  /// A point of failure, with the bytes that tell why.
  void error(std::uint32_t probe, const void* data, std::size_t length, std::int32_t type = 4) const {
    if (on()) _gtraceErrorVar(ossThreadID(), function_, probe, type, 0, 1, 0, length, data);
  }
  void error(std::uint32_t probe, std::int32_t value) const { error(probe, &value, sizeof value); }
  void errorText(std::uint32_t probe, const char* text) const { error(probe, text, std::strlen(text)); }

  /// A local time that could not be converted: its nine numbers. What the C library keeps behind them is its own.
  void errorTime(std::uint32_t probe, const std::tm& local) const {
    constexpr std::size_t kBytes = 9 * sizeof(std::int32_t);
    static_assert(offsetof(std::tm, tm_isdst) + sizeof(std::int32_t) == kBytes);
    error(probe, &local, kBytes);
  }

  /// A value worth seeing that is no failure.
  void variable(std::uint32_t probe, std::int32_t value) const {
    if (on()) _gtraceVar(ossThreadID(), function_, probe, 4, 0, 1, 0, sizeof value, &value);
  }

  /// Writes the exit record and answers `code`.
  int exit(int code) const {
    if (on()) {
      const std::int32_t record = code;
      _gtraceExit(ossThreadID(), function_, &record, 0);
    }
    return code;
  }

 private:
  std::uint32_t function_;
};

}  // namespace mesk
