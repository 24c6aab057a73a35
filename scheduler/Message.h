// Messages about runs, and where they wait and go.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <scheduler/RecordCodes.h>

namespace mesk::host {

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

/// Where messages wait. Times are milliseconds since 1970; what goes wrong is thrown.
class MessageBox {
 public:
  virtual ~MessageBox() = default;

  /// The due message that has waited longest; nothing when none is due.
  virtual std::optional<PostedMessage> next(std::int64_t now) = 0;

  /// When the first message is to be tried; nothing when the box is empty.
  virtual std::optional<std::int64_t> nextTry() = 0;

  /// Takes the message out of the box and notes it in the run's record.
  virtual void sent(long long id, std::int64_t now) = 0;

  /// Keeps the message until `retryAt`, or, without that, gives it up and notes so in the run's record.
  virtual void failed(long long id, const std::string& why, std::optional<std::int64_t> retryAt) = 0;
};

/// How sending a message ended.
struct SendResult {
  enum Kind {
    kSent,
    kRefused,      ///< for good
    kLater,        ///< the server takes this message later, and may take others now
    kUnreachable,  ///< the server takes no message at present
    kInterrupted,  ///< by `MailTransport::interrupt`
  };
  Kind kind = kSent;
  std::string why;  ///< unless it was sent; never a password
};

/// What takes messages to their addresses.
class MailTransport {
 public:
  virtual ~MailTransport() = default;

  virtual SendResult send(const PostedMessage& posted) = 0;

  /// No message comes for a while.
  virtual void rest() = 0;

  /// Ends the `send` that is under way, and each later one at once. Any thread.
  virtual void interrupt() = 0;
};

}  // namespace mesk::host
