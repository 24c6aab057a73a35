// Sends what waits in the store's outbox.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <thread>

#include <scheduler/Message.h>
#include <scheduler/StoreAddress.h>
#include <scheduler/Timer.h>
#include <scheduler/UniqueFd.h>

namespace mesk::host {

class Delivery;
class StoreBox;

/// A thread with a session of its own, from construction to destruction. It works on the store in short units, and
/// never while it talks to the server. It wakes when it is told that messages have come and when the next one is due,
/// and never polls. The scheduler's latch must be initialised.
class Mailer {
 public:
  /// `transport` must outlive this.
  Mailer(StoreAddress address, MailTransport& transport, std::int64_t giveUpSeconds);

  /// Interrupts a mail that is under way; it stays in the box.
  ~Mailer();
  Mailer(const Mailer&) = delete;
  Mailer& operator=(const Mailer&) = delete;

  /// Messages have been committed into the box. Any thread.
  void wake();

  /// Whether nothing was due when it last looked, and nothing has come since. Messages that wait for another try are
  /// not due. One thread beside its own.
  bool atRest();

  /// Readable when that may have become so.
  int restFd() const { return rested_.get(); }

 private:
  void work();
  std::optional<std::int64_t> deliver(StoreBox& box, Delivery& delivery);
  void wait(std::optional<std::int64_t> until);

  StoreAddress address_;
  MailTransport& transport_;
  std::int64_t giveUpSeconds_;
  Timer timer_;
  UniqueFd woken_;
  UniqueFd rested_;
  std::atomic<std::uint64_t> wakes_ = 1;   ///< the first is for what an earlier meskd left in the box
  std::atomic<std::uint64_t> looked_ = 0;  ///< the last wake after which nothing was due
  std::atomic<bool> stopping_ = false;
  std::thread thread_;  ///< last: it uses all of the above
};

}  // namespace mesk::host
