// How often latches are taken and given back in this program.
#pragma once

#include <functional>

namespace mesk::test {

/// While it lives, counts the latch calls of all threads. One at a time.
class LatchCount {
 public:
  LatchCount();
  ~LatchCount();
  LatchCount(const LatchCount&) = delete;
  LatchCount& operator=(const LatchCount&) = delete;

  int taken() const;
  int released() const;

  /// Called after each taking and before each release, on the thread that does it. Set before the first.
  std::function<void()> onTaken;
  std::function<void()> onRelease;
};

}  // namespace mesk::test
