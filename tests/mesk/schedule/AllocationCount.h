// How often memory is asked for. A program that uses this has an allocator of its own over the C library's, so it is
// not for a sanitized build.
#pragma once

#include <cstdint>

namespace mesk::test {

/// Counts what the calling thread asks the allocator for while it lives, by `operator new` or otherwise. One at a time
/// on a thread.
class AllocationCount {
 public:
  AllocationCount();
  ~AllocationCount();
  AllocationCount(const AllocationCount&) = delete;
  AllocationCount& operator=(const AllocationCount&) = delete;

  std::uint64_t count() const;
};

}  // namespace mesk::test
