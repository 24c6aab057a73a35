#include <mesk/schedule/AllocationCount.h>

#include <cerrno>
#include <cstddef>

// What the C library's allocator is called by those who stand in its place.
extern "C" {
void* __libc_malloc(std::size_t bytes);                           // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t bytes);        // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, std::size_t bytes);            // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(std::size_t alignment, std::size_t bytes);  // NOLINT(bugprone-reserved-identifier)
}

namespace {

thread_local bool counting = false;
thread_local std::uint64_t counted = 0;

void note() {
  if (counting) ++counted;
}

}  // namespace

// Seen by the shared libraries too, above all by operator new. free needs no stand-in.
#define SEEN_BY_ALL __attribute__((visibility("default")))

extern "C" {

SEEN_BY_ALL void* malloc(std::size_t bytes) noexcept {
  note();
  return __libc_malloc(bytes);
}

SEEN_BY_ALL void* calloc(std::size_t count, std::size_t bytes) noexcept {
  note();
  return __libc_calloc(count, bytes);
}

SEEN_BY_ALL void* realloc(void* memory, std::size_t bytes) noexcept {
  note();
  return __libc_realloc(memory, bytes);
}

SEEN_BY_ALL void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  note();
  return __libc_memalign(alignment, bytes);
}

SEEN_BY_ALL void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept {
  note();
  return __libc_memalign(alignment, bytes);
}

SEEN_BY_ALL int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes) noexcept {
  note();
  *memory = __libc_memalign(alignment, bytes);
  return *memory == nullptr ? ENOMEM : 0;
}

}  // extern "C"

namespace mesk::test {

AllocationCount::AllocationCount() {
  counted = 0;
  counting = true;
}

AllocationCount::~AllocationCount() { counting = false; }

std::uint64_t AllocationCount::count() const { return counted; }

}  // namespace mesk::test
