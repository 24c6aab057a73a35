// Which message is tried when, and when it is given up.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>

#include <scheduler/Message.h>

namespace mesk::host {

/// Takes messages from a box to a transport. A message that does not get through is tried again after 10 and 30
/// seconds, after 1, 5 and 15 minutes, and then every 15 minutes, until those waits together would be longer than the
/// limit; one that is refused for good, or has no
/// mail address, is given up at once. Each message goes out once, unless this process dies
/// between the server's word that it has it and the note of that in the box. One thread.
class Delivery {
 public:
  /// `giveUpSeconds`: the limit; 0 tries once.
  Delivery(MessageBox& box, MailTransport& transport, std::int64_t giveUpSeconds);

  /// Tries each message that is due as it begins, once, as long as `goOn`. A server that takes no message is not
  /// asked again by the same round: all others that are due then wait as if they had been tried.
  void round(const std::function<bool()>& goOn);

  /// How long a message waits after a failure, when `tries` failed before; nothing when it is given up.
  std::optional<std::int64_t> waitSeconds(int tries) const;

 private:
  void note(const PostedMessage& posted, const SendResult& result);

  MessageBox& box_;
  MailTransport& transport_;
  std::int64_t giveUpSeconds_;
  std::set<long long> sent_;  ///< sent, but the box has not been told yet
};

}  // namespace mesk::host
