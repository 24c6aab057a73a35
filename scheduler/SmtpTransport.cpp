#include <scheduler/SmtpTransport.h>

#include <curl/curl.h>
#include <fmt/format.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <optional>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <platform/Clock.h>
#include <scheduler/Files.h>
#include <scheduler/MailText.h>
#include <scheduler/Units.h>

namespace mesk::host {
namespace {

constexpr long kConnectSeconds = 30;
constexpr long kAnswerSeconds = 60;  // the server's, to one command
constexpr long kMailSeconds = 300;   // for all of a mail
constexpr int kPollMillis = 60'000;  // `interrupt` wakes it
constexpr std::size_t kReplyBytes = 200;

std::string partOf(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (::curl_url_get(url, part, &text, 0) != CURLUE_OK) return {};
  std::string result = text;
  ::curl_free(text);
  return result;
}

/// The host of a server's URL. Throws FormatError.
std::string hostOf(const std::string& text) {
  const std::unique_ptr<CURLU, decltype(&::curl_url_cleanup)> url(::curl_url(), &::curl_url_cleanup);
  constexpr const char* kForm = "--smtp: smtp://HOST[:PORT] or smtps://HOST[:PORT] is expected";
  if (::curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) {
    throw FormatError(kForm);
  }
  const std::string scheme = partOf(url.get(), CURLUPART_SCHEME);
  // A password in it would be seen in the list of processes.
  for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY, CURLUPART_FRAGMENT}) {
    if (!partOf(url.get(), part).empty()) throw FormatError(kForm);
  }
  std::string host = partOf(url.get(), CURLUPART_HOST);
  const std::string path = partOf(url.get(), CURLUPART_PATH);
  if ((scheme != "smtp" && scheme != "smtps") || host.empty() || (!path.empty() && path != "/")) {
    throw FormatError(kForm);
  }
  return host;
}

bool isThisMachine(const std::string& host) {
  return host == "localhost" || host.starts_with("127.") || host == "[::1]";
}

std::string firstLineOf(const std::string& path) {
  const std::string text = readFile(path);
  return text.substr(0, text.find_first_of("\r\n"));
}

/// What the server said to the command that the library had sent it.
class Dialogue {
 public:
  void command(std::string_view line) {
    // A login's lines hold the password: nothing is kept of any line but which command it is.
    step_ = kOther;
    if (line.starts_with("MAIL FROM:")) step_ = kSender;
    if (line.starts_with("RCPT TO:")) step_ = kRecipient;
    if (line.starts_with("DATA")) step_ = kData;
  }
  void reply(std::string_view line) {
    int code = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + std::min<std::size_t>(line.size(), 3), code);
    if (error != std::errc() || end != line.data() + 3 || code < 400 || failure_ != 0) return;
    failure_ = code;
    failedStep_ = step_;
    reply_ = line.substr(0, kReplyBytes);
    std::replace_if(
        reply_.begin(), reply_.end(), [](char c) { return c < 0x20 || c > 0x7e; }, ' ');
    while (reply_.ends_with(' ')) reply_.pop_back();
  }

  /// The meaning of a mail that did not go through; `otherwise` when the server said nothing about it.
  SendResult result(const std::string& otherwise) const {
    if (failure_ == 0) return {SendResult::kUnreachable, otherwise};
    switch (failedStep_) {
      case kRecipient:
      case kData:
        return {failure_ >= 500 ? SendResult::kRefused : SendResult::kLater, "the server said: " + reply_};
      case kSender:
        return {SendResult::kUnreachable, "the server does not take the sender: " + reply_};
      case kOther:
        break;
    }
    // What is said to a login is not told: it may hold what was sent.
    return {SendResult::kUnreachable, fmt::format("the server refused to work, with code {}", failure_)};
  }

 private:
  enum Step { kOther, kSender, kRecipient, kData };
  Step step_ = kOther;
  Step failedStep_ = kOther;
  int failure_ = 0;
  std::string reply_;
};

int listen(CURL*, curl_infotype type, char* bytes, std::size_t count, void* dialogue) {
  const std::string_view line(bytes, count);
  if (type == CURLINFO_HEADER_OUT) static_cast<Dialogue*>(dialogue)->command(line);
  if (type == CURLINFO_HEADER_IN) static_cast<Dialogue*>(dialogue)->reply(line);
  return 0;
}

std::size_t give(char* buffer, std::size_t size, std::size_t count, void* rest) {
  auto& text = *static_cast<std::string_view*>(rest);
  const std::size_t portion = std::min(size * count, text.size());
  std::memcpy(buffer, text.data(), portion);
  text.remove_prefix(portion);
  return portion;
}

struct ListEnd {
  void operator()(curl_slist* list) const { ::curl_slist_free_all(list); }
};

void initLibrary() {
  static const CURLcode result = ::curl_global_init(CURL_GLOBAL_DEFAULT);
  if (result != CURLE_OK) throw std::runtime_error("the mail library does not start");
}

}  // namespace

/// The library's handles; connections are kept open between mails.
class SmtpTransport::Connection {
 public:
  Connection() : multi_(::curl_multi_init()), easy_(::curl_easy_init()) {
    if (multi_ == nullptr || easy_ == nullptr) {
      close();
      throw std::runtime_error("no memory for a mail");
    }
  }
  ~Connection() { close(); }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// For the next mail: its options are to be set, and none is left of the one before.
  CURL* fresh() {
    ::curl_easy_reset(easy_);
    ::curl_easy_setopt(easy_, CURLOPT_OPENSOCKETFUNCTION, open);
    ::curl_easy_setopt(easy_, CURLOPT_OPENSOCKETDATA, this);
    ::curl_easy_setopt(easy_, CURLOPT_CLOSESOCKETFUNCTION, closed);
    ::curl_easy_setopt(easy_, CURLOPT_CLOSESOCKETDATA, this);
    return easy_;
  }
  void wake() const { ::curl_multi_wakeup(multi_); }

  /// Does what the easy handle is set up for; nothing when it was interrupted.
  std::optional<CURLcode> perform(const std::atomic<bool>& interrupted) {
    ::curl_multi_add_handle(multi_, easy_);
    int running = 1;
    while (!interrupted && ::curl_multi_perform(multi_, &running) == CURLM_OK && running > 0) {
      ::curl_multi_poll(multi_, nullptr, 0, kPollMillis, nullptr);
    }
    std::optional<CURLcode> result;
    int left = 0;
    while (const CURLMsg* const message = ::curl_multi_info_read(multi_, &left)) {
      if (message->msg == CURLMSG_DONE) result = message->data.result;
    }
    if (!result && !interrupted) result = CURLE_FAILED_INIT;
    if (!result) hearNoMore();
    ::curl_multi_remove_handle(multi_, easy_);
    return result;
  }

 private:
  static curl_socket_t open(void* self, curlsocktype, curl_sockaddr* address) {
    const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (socket < 0) return CURL_SOCKET_BAD;
    static_cast<Connection*>(self)->sockets_.insert(socket);
    return socket;
  }
  static int closed(void* self, curl_socket_t socket) {
    static_cast<Connection*>(self)->sockets_.erase(socket);
    return ::close(socket);
  }
  /// The library takes leave of a server and waits for the answer, for minutes if need be: so it finds none.
  void hearNoMore() const {
    for (const curl_socket_t socket : sockets_) ::shutdown(socket, SHUT_RD);
  }
  void close() {
    hearNoMore();
    ::curl_easy_cleanup(easy_);
    ::curl_multi_cleanup(multi_);
  }

  CURLM* multi_;
  CURL* easy_;
  std::set<curl_socket_t> sockets_;
};

SmtpTransport::SmtpTransport(SmtpOptions options) : options_(std::move(options)) {
  initLibrary();
  local_ = isThisMachine(hostOf(options_.url));
  if (!isMailAddress(options_.from)) throw FormatError("--mail-from: an address like mesk@example.org is expected");
  if (options_.user.empty() != options_.passwordFile.empty()) {
    throw FormatError("--smtp-user and --smtp-password-file belong together");
  }
  if (options_.passwordFile.empty()) return;
  try {
    firstLineOf(options_.passwordFile);
  } catch (const std::system_error& error) {
    throw FormatError(fmt::format("--smtp-password-file: {}", error.what()));
  }
}

SmtpTransport::~SmtpTransport() = default;

SendResult SmtpTransport::send(const PostedMessage& posted) {
  if (interrupted_) return {SendResult::kInterrupted, {}};
  if (connection_ == nullptr) {
    auto made = std::make_unique<Connection>();
    const std::lock_guard<std::mutex> lock(mutex_);
    connection_ = std::move(made);
  }
  CURL* const curl = connection_->fresh();

  Dialogue dialogue;
  std::array<char, CURL_ERROR_SIZE> error{};
  const std::string id =
      fmt::format("mesk.{}.{}@{}", options_.idSpace, posted.id, options_.from.substr(options_.from.rfind('@') + 1));
  const std::string text = mailText(posted, options_.from, id, clockMillis());
  std::string_view rest = text;
  const std::unique_ptr<curl_slist, ListEnd> recipients(
      ::curl_slist_append(nullptr, fmt::format("<{}>", posted.message.address).c_str()));

  ::curl_easy_setopt(curl, CURLOPT_URL, options_.url.c_str());
  ::curl_easy_setopt(curl, CURLOPT_PROTOCOLS_STR, "smtp,smtps");
  ::curl_easy_setopt(curl, CURLOPT_NOPROXY, "*");  // mails are not for proxies that the environment names
  ::curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
  ::curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
  ::curl_easy_setopt(curl, CURLOPT_SERVER_RESPONSE_TIMEOUT, kAnswerSeconds);
  ::curl_easy_setopt(curl, CURLOPT_TIMEOUT, kMailSeconds);
  ::curl_easy_setopt(curl, CURLOPT_MAIL_FROM, fmt::format("<{}>", options_.from).c_str());
  ::curl_easy_setopt(curl, CURLOPT_MAIL_RCPT, recipients.get());
  ::curl_easy_setopt(curl, CURLOPT_UPLOAD, 1L);
  ::curl_easy_setopt(curl, CURLOPT_READFUNCTION, give);
  ::curl_easy_setopt(curl, CURLOPT_READDATA, &rest);
  ::curl_easy_setopt(curl, CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(text.size()));
  ::curl_easy_setopt(curl, CURLOPT_ERRORBUFFER, error.data());
  // The library's own report, instead of standard error: what the server said, and to what.
  ::curl_easy_setopt(curl, CURLOPT_VERBOSE, 1L);
  ::curl_easy_setopt(curl, CURLOPT_DEBUGFUNCTION, listen);
  ::curl_easy_setopt(curl, CURLOPT_DEBUGDATA, &dialogue);

  const bool login = !options_.user.empty();
  if (login) {
    ::curl_easy_setopt(curl, CURLOPT_USERNAME, options_.user.c_str());
    try {
      ::curl_easy_setopt(curl, CURLOPT_PASSWORD, firstLineOf(options_.passwordFile).c_str());
    } catch (const std::system_error& unread) {
      return {SendResult::kUnreachable, unread.what()};
    }
  }
  if (options_.url.starts_with("smtp:") && !local_) {
    ::curl_easy_setopt(curl, CURLOPT_USE_SSL, static_cast<long>(login ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYPEER, login ? 1L : 0L);
    ::curl_easy_setopt(curl, CURLOPT_SSL_VERIFYHOST, login ? 2L : 0L);
  }

  const auto result = connection_->perform(interrupted_);
  connection_->fresh();  // what the options point to goes now
  if (!result) return {SendResult::kInterrupted, {}};
  if (*result == CURLE_OK) return {};
  return dialogue.result(error[0] != '\0' ? error.data() : ::curl_easy_strerror(*result));
}

void SmtpTransport::rest() {
  std::unique_ptr<Connection> ended;
  const std::lock_guard<std::mutex> lock(mutex_);
  connection_.swap(ended);
}

void SmtpTransport::interrupt() {
  interrupted_ = true;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (connection_ != nullptr) connection_->wake();
}

}  // namespace mesk::host
