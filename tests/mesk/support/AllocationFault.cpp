#include <mesk/support/AllocationFault.h>

#include <platform/Memory.h>

#include <cstddef>
#include <new>

namespace {

thread_local unsigned newCountdown = 0;

}  // namespace

// Linked into a program only when it uses AllocationFault.
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
  if (newCountdown != 0 && --newCountdown == 0) return nullptr;
  try {
    return ::operator new(bytes);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void* operator new[](std::size_t bytes, const std::nothrow_t& tag) noexcept { return ::operator new(bytes, tag); }

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
