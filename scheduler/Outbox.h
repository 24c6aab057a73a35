// The box of messages that wait to be sent, in the store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <scheduler/Message.h>
#include <scheduler/Session.h>
#include <scheduler/StoreClass.h>

namespace mesk::host {

/// Nothing here commits. Failures are thrown as StoreError. On the session's thread.
class Outbox : public MessageBox {
 public:
  explicit Outbox(Session& session);

  /// Puts a message in. For an address that has one already of this run, action and kind: does nothing.
  void enqueue(const Message& message, std::int64_t now);

  std::optional<PostedMessage> next(std::int64_t now) override;
  std::optional<std::int64_t> nextTry() override;
  void sent(long long id, std::int64_t now) override;
  void failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt) override;

 private:
  Session& session_;
  StoreClass class_;
};

}  // namespace mesk::host
