#include <mesk/support/AllocationFault.h>

#include <platform/Memory.h>

#include <cstddef>
#include <new>

namespace {

thread_local unsigned newCountdown = 0;

/// `allocate(bytes)` unless it is this allocation's turn to fail.
template <class Allocate>
void* allocateOrFail(std::size_t bytes, Allocate allocate) noexcept {
  if (newCountdown != 0 && --newCountdown == 0) return nullptr;
  try {
    return allocate(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

// Linked into a program only when it uses AllocationFault.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  return allocateOrFail(bytes, [](std::size_t size) { return ::operator new(size); });
}

// By the ordinary form for arrays: an address sanitizer tells the two apart.
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept {
  return allocateOrFail(bytes, [](std::size_t size) { return ::operator new[](size); });
}

namespace mesk::test {

AllocationFault::AllocationFault(Kind kind, unsigned n) : kind_(kind) {
  if (kind_ == kNew) {
    newCountdown = n;
  } else {
    failAllocation(n);
  }
}

AllocationFault::~AllocationFault() {
  if (kind_ == kNew) {
    newCountdown = 0;
  } else {
    failAllocation(0);
  }
}

}  // namespace mesk::test
