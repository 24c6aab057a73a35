// Mails by SMTP.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include <scheduler/Message.h>

namespace mesk::host {

/// Where mails go, and as whose.
struct SmtpOptions {
  std::string url;           ///< smtp://host[:port] or smtps://host[:port]
  std::string user;          ///< empty: no login
  std::string passwordFile;  ///< its first line is the password; read at each login
  std::string from;          ///< address of the sender
  std::string idSpace;       ///< makes message IDs of this store differ from those of others; stable
};

/// A message is one mail, with the same message ID at each try, so that a mail that came twice can be told.
///
/// smtps is TLS from the start. smtp changes to TLS when the server offers it: with a login it must, and its
/// certificate must hold; without, any will do. To this machine itself it stays as it is.
///
/// One thread, except for `interrupt`.
class SmtpTransport : public MailTransport {
 public:
  /// Throws FormatError, which names the option, for options that cannot be right; the server is not asked.
  explicit SmtpTransport(SmtpOptions options);
  ~SmtpTransport() override;
  SmtpTransport(const SmtpTransport&) = delete;
  SmtpTransport& operator=(const SmtpTransport&) = delete;

  SendResult send(const PostedMessage& posted) override;
  void rest() override;
  void interrupt() override;

 private:
  class Connection;

  SmtpOptions options_;
  bool local_ = false;  ///< the server is this machine
  std::atomic<bool> interrupted_ = false;
  std::mutex mutex_;  ///< of `connection_` itself, for `interrupt`
  std::unique_ptr<Connection> connection_;
};

}  // namespace mesk::host
