// The tests' view into the queue.
#pragma once

#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>

#include <vector>

namespace mesk {

/// Sees the list's position without moving it.
class QueueProbe {
 public:
  explicit QueueProbe(const MDTaskExecList& list) : list_(list) {}

  std::vector<MDTaskExec*> entries() const;

  /// Whether forward and backward links, sentinels and size agree.
  bool linksHold() const;

  bool latchIsFree() const { return list_.latch_ == 0; }
  bool atEnd() const { return list_.cursor_ == &list_.tail_; }
  bool nowhere() const { return list_.cursor_ == nullptr; }
  MDTaskExec* cursor() const { return nowhere() ? nullptr : list_.cursor_->exec; }
  MDTaskExec* current() const { return list_.current_ == nullptr ? nullptr : list_.current_->exec; }

 private:
  const MDTaskExecList& list_;
};

}  // namespace mesk
