// The fixture of the queue's tests in a JVM.
#pragma once

#include <mesk/queue/QueueProbe.h>
#include <mesk/support/JvmTest.h>

#include <memory>
#include <optional>
#include <vector>

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
