// The fixture of the queue's tests, and their view into the list.
#pragma once

#include <mesk/queue/MDTaskExec.h>
#include <mesk/queue/MDTaskExecList.h>
#include <mesk/support/JvmTest.h>

#include <memory>
#include <optional>
#include <vector>

namespace mesk {

/// Sees the list's position without moving it.
class QueueProbe {
 public:
  explicit QueueProbe(const MDTaskExecList& list) : list_(list) {}

  std::vector<MDTaskExec*> entries() const;

  /// Whether forward and backward links, sentinels and size agree.
  bool linksHold() const;

  bool atEnd() const { return list_.cursor_ == &list_.tail_; }
  bool nowhere() const { return list_.cursor_ == nullptr; }
  MDTaskExec* cursor() const { return nowhere() ? nullptr : list_.cursor_->exec; }
  MDTaskExec* current() const { return list_.current_ == nullptr ? nullptr : list_.current_->exec; }

 private:
  const MDTaskExecList& list_;
};

}  // namespace mesk

namespace mesk::test {

/// Milliseconds of a time of day; which day does not matter to an order.
constexpr long long at(int hour, int minute = 0) { return 1'000'000'000'000 + (hour * 60LL + minute) * 60'000; }

using Entry = std::unique_ptr<MDTaskExec>;

/// The one list is new in each test, and gone with its entries afterwards.
class QueueTest : public JvmTest {
 protected:
  QueueTest();
  void TearDown() override;

  /// A record of task 1, suffix 0, for the list or for `Entry`.
  MDTaskExec* newEntry(long long taskExecID, std::optional<long long> start = {}, int status = 0);

  /// IDs in the list's order.
  std::vector<long long> ids() const;

  QueueProbe probe() const { return QueueProbe(list); }

  MDTaskExecList& list;
};

/// The milliseconds of a timestamp that an operation handed out, deleted here; none for null.
std::optional<long long> takenTime(ThreadContext& ctx, SCTimestamp* time);

using Ids = std::vector<long long>;
using Lines = std::vector<std::string>;

}  // namespace mesk::test
