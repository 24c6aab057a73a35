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

/// Null until the trace has been set up.
extern MESK_PLATFORM_API TraceControlBlock* g_pGTCB;

/// `thread` is `ossThreadID()`; `function` a function identifier; `mask` selects component and level.
MESK_PLATFORM_API void _gtraceEntry(std::uint64_t thread, std::uint32_t function, std::uint32_t flags,
                                    std::uint32_t mask);

/// `record` starts with the 32-bit return code.
MESK_PLATFORM_API void _gtraceExit(std::uint64_t thread, std::uint32_t function, const void* record,
                                   std::uint32_t flags);

/// One data item of `length` bytes at `address`, read before the call returns.
MESK_PLATFORM_API void _gtraceVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe,
                                  std::int32_t type, std::uint32_t flags, std::uint32_t count,
                                  std::uint32_t reserved, std::size_t length, const void* address);

/// As `_gtraceVar`, at a point where something failed.
MESK_PLATFORM_API void _gtraceErrorVar(std::uint64_t thread, std::uint32_t function, std::uint32_t probe,
                                       std::int32_t type, std::uint32_t flags, std::uint32_t count,
                                       std::uint32_t reserved, std::size_t length, const void* address);

/// The operating system's number of the calling thread.
MESK_PLATFORM_API std::uint64_t ossThreadID();

}  // extern "C"
