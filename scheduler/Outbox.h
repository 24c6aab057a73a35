// The box of messages that wait to be sent, in the store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <scheduler/Session.h>
#include <scheduler/StoreClass.h>

namespace mesk::host {

enum MessageKind : int { kMessageEmail = 1, kMessagePager = 2 };

/// A message about a run, for one address.
struct Message {
  long long run = 0;     ///< history ID of the run
  long long action = 0;  ///< notification action that asked for it
  MessageKind kind = kMessageEmail;
  std::string recipient;  ///< name of the contact
  std::string address;
  std::string sender;  ///< whose task it was
  std::string subject;
  std::string body;
};

/// A message on its way; `message` without run and action.
struct PostedMessage {
  long long id = 0;
  int tries = 0;  ///< that failed so far
  Message message;
};

/// Nothing here commits. Failures are thrown as StoreError; times are milliseconds since 1970. On the session's thread.
class Outbox {
 public:
  explicit Outbox(Session& session);

  /// Puts a message in. For an address that has one already of this run, action and kind: does nothing.
  void enqueue(const Message& message, std::int64_t now);

  /// The due message that has waited longest; nothing when none is due.
  std::optional<PostedMessage> next(std::int64_t now);

  /// When the first message is to be tried; nothing when the box is empty.
  std::optional<std::int64_t> nextTry();

  /// Takes the message out of the box and notes it in the run's record.
  void sent(long long id, std::int64_t now);

  /// Keeps the message until `retryAt`, or, without that, gives it up and notes so in the run's record.
  void failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt);

 private:
  Session& session_;
  StoreClass class_;
};

}  // namespace mesk::host
