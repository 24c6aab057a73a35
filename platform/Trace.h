// The trace: what a thread did, function by function, for finding out afterwards.
//
// Off unless switched on. A caller tests `g_pGTCB` before each call, so that a trace that is off
// costs a load and a branch. All functions may be called from any thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include <platform/Export.h>

extern "C" {

/// The trace control block; callers read `traceOn` only.
struct TraceControlBlock {
  std::uint32_t eyeCatcher;
  std::uint32_t version;
  std::uint32_t mask;
  std::uint32_t traceOn;  ///< non-zero while tracing is on
};

/// Never null.
extern MESK_PLATFORM_API TraceControlBlock* g_pGTCB;

/// `thread` is `ossThreadID()`; `function` a function identifier; `mask` selects component and level.
MESK_PLATFORM_API void _gtraceEntry(std::uint64_t thread, std::uint32_t function, std::uint32_t flags,
                                    std::uint32_t mask);

/// `record` starts with the 32-bit return code.
MESK_PLATFORM_API void _gtraceExit(std::uint64_t thread, std::uint32_t function, const void* record,
                                   std::uint32_t flags);

/// One data item of `length` bytes at `address`, read before the call returns.
MESK_PLATFORM_API void _gtraceVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe, std::int32_t type,
                                  std::uint32_t flags, std::uint32_t count, std::uint32_t reserved, std::size_t length,
                                  const void* address);

/// As `_gtraceVar`, at a point where something failed.
MESK_PLATFORM_API void _gtraceErrorVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe,
                                       std::int32_t type, std::uint32_t flags, std::uint32_t count,
                                       std::uint32_t reserved, std::size_t length, const void* address);

/// The operating system's number of the calling thread.
MESK_PLATFORM_API std::uint64_t ossThreadID();

}  // extern "C"

namespace mesk {

/// Writes the trace to the file at `path`, which is made anew; a trace that was being written ends.
/// True on success; false leaves the trace off. The environment variable MESK_TRACE=path does the
/// same when the library is loaded. `mesk-trace2json` makes such a file fit for trace viewers. Times
/// in it are the system's, also while the clock of the process is set. Any thread.
MESK_PLATFORM_API bool startTrace(const char* path);

/// Ends the trace and closes its file. Any thread.
MESK_PLATFORM_API void stopTrace();

/// What a trace function was called with.
struct TraceRecord {
  enum Kind { kEntry, kExit, kData, kError };

  Kind kind;
  std::uint64_t thread;
  std::uint32_t function;
  std::uint32_t flags;
  std::uint32_t mask;   ///< of an entry
  std::uint32_t probe;  ///< of data and errors
  std::int32_t type;    ///< of data and errors
  const void* address;  ///< the data, or the exit's record
  std::size_t length;   ///< of the data; 4 for an exit with a record
};

/// Receives each record while it is written, one at a time; must not trace, and must not call `setTraceSink`.
using TraceSink = void (*)(const TraceRecord& record, void* context);

/// Hands each record to `sink` too, and has the trace on for as long; null ends that, and then no call
/// of the former sink is under way any more. Any thread.
MESK_PLATFORM_API void setTraceSink(TraceSink sink, void* context);

}  // namespace mesk
