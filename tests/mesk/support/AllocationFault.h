// Lack of memory on demand.
#pragma once

namespace mesk::test {

/// While it lives, one allocation of the calling thread fails. One at a time on a thread.
class AllocationFault {
 public:
  enum Kind {
    kNew,         ///< `new (std::nothrow)` of any type, array or plain memory
    kWorkMemory,  ///< `_ossMemAlloc`
  };

  /// The `n`-th allocation of that kind from now on fails, 1 being the next.
  AllocationFault(Kind kind, unsigned n);
  ~AllocationFault();
  AllocationFault(const AllocationFault&) = delete;
  AllocationFault& operator=(const AllocationFault&) = delete;

 private:
  Kind kind_;
};

}  // namespace mesk::test
