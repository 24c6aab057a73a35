#include <scheduler/MailText.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <string_view>
#include <vector>

#include <scheduler/Utf8.h>

namespace mesk::host {
namespace {

constexpr std::string_view kNewLine = "\r\n";
constexpr std::string_view kSubstitute = "\xEF\xBF\xBD";
constexpr std::size_t kLine = 76;          // of a body, and where a header is folded
constexpr std::size_t kEncodedBytes = 39;  // in one encoded word, which with a header's name must fit a line

/// The text's characters, each as its bytes; what is no UTF-8 becomes the substitution character.
std::vector<std::string_view> charactersOf(const std::string& text) {
  std::vector<std::string_view> characters;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const bool good = nextCharacter(text, at) >= 0;
    characters.push_back(good ? std::string_view(text).substr(begin, at - begin) : kSubstitute);
  }
  return characters;
}

bool isControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

/// On one line: each control character is a blank.
std::string oneLine(const std::string& text) {
  std::string line;
  for (const std::string_view character : charactersOf(text)) line += character;
  std::replace_if(line.begin(), line.end(), isControl, ' ');
  return line;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string base64(std::string_view bytes) {
  constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t at = 0; at < bytes.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(bytes.size() - at, 3);
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      group = group << 8 | (i < count ? static_cast<unsigned char>(bytes[at + i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? kDigits[group >> (18 - 6 * i) & 0x3f] : '=';
  }
  return text;
}

/// As encoded words (RFC 2047), a line each.
std::string encodedWords(const std::string& line) {
  std::string words;
  std::string portion;
  const auto close = [&] {
    if (portion.empty()) return;
    words += fmt::format("{}=?UTF-8?B?{}?=", words.empty() ? "" : "\r\n ", base64(portion));
    portion.clear();
  };
  for (const std::string_view character : charactersOf(line)) {
    if (portion.size() + character.size() > kEncodedBytes) close();
    portion += character;
  }
  close();
  return words;
}

/// A free text of a header. One that says what it says in ASCII stays readable, folded where it has blanks.
std::string headerText(const std::string& text) {
  const std::string line = oneLine(text);
  std::string folded;
  std::size_t column = std::string_view("Subject: ").size();
  for (std::size_t at = 0; at < line.size();) {
    // A word with the blanks before it, which begin the next line when it is folded there.
    const std::size_t word = std::min(line.find_first_not_of(' ', at), line.size());
    const std::size_t end = std::min(line.find(' ', word), line.size());
    if (end - at > kLine || word == line.size()) return encodedWords(line);
    if (column + end - at > kLine && at != 0) {
      folded += kNewLine;
      column = 0;
    }
    folded.append(line, at, end - at);
    column += end - at;
    at = end;
  }
  return isAscii(line) && line.find("=?") == std::string::npos && !line.starts_with(' ') ? folded : encodedWords(line);
}

/// An address with the name that mail programs show for it.
std::string mailbox(const std::string& name, const std::string& address) {
  const std::string line = oneLine(name);
  if (line.empty() || line == address) return fmt::format("<{}>", address);
  if (!isAscii(line) || line.size() > kLine / 2) return fmt::format("{}\r\n <{}>", encodedWords(line), address);
  std::string quoted;
  for (const char c : line) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return fmt::format("\"{}\" <{}>", quoted, address);
}

/// In English whatever the locale, and in UTC.
std::string dateText(std::int64_t now) {
  constexpr std::array kDays{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  const std::time_t seconds = now / 1000;
  std::tm utc{};
  ::gmtime_r(&seconds, &utc);
  return fmt::format("{}, {:02} {} {} {:02}:{:02}:{:02} +0000", kDays[static_cast<std::size_t>(utc.tm_wday)],
                     utc.tm_mday, kMonths[static_cast<std::size_t>(utc.tm_mon)], utc.tm_year + 1900, utc.tm_hour,
                     utc.tm_min, utc.tm_sec);
}

/// The body, quoted-printable (RFC 2045).
class QuotedPrintable {
 public:
  void add(std::string_view character) {
    for (const char c : character) {
      const auto byte = static_cast<unsigned char>(c);
      const bool plain = (byte > 0x20 && byte < 0x7f && c != '=') || c == ' ' || c == '\t';
      append(plain ? std::string(1, c) : fmt::format("={:02X}", byte));
    }
  }
  void endLine() {
    // A blank at the end of a line would not survive.
    if (!line_.empty() && (line_.back() == ' ' || line_.back() == '\t')) {
      const auto blank = static_cast<unsigned char>(line_.back());
      line_.pop_back();
      append(fmt::format("={:02X}", blank));
    }
    text_ += line_;
    text_ += kNewLine;
    line_.clear();
  }
  std::string finish() {
    if (!line_.empty()) endLine();
    return std::move(text_);
  }

 private:
  void append(const std::string& written) {
    if (line_.size() + written.size() > kLine - 1) {
      text_ += line_ + "=";
      text_ += kNewLine;
      line_.clear();
    }
    line_ += written;
  }

  std::string text_;
  std::string line_;
};

std::string bodyText(const Message& message) {
  std::vector<std::string_view> characters = charactersOf(message.body);
  if (message.kind == kMessagePager && characters.size() > kPagerCharacters) characters.resize(kPagerCharacters);
  QuotedPrintable body;
  for (std::size_t i = 0; i < characters.size(); ++i) {
    if (characters[i] == "\r" && i + 1 < characters.size() && characters[i + 1] == "\n") continue;
    if (characters[i] == "\r" || characters[i] == "\n") {
      body.endLine();
    } else {
      body.add(characters[i]);
    }
  }
  return body.finish();
}

}  // namespace

bool isMailAddress(const std::string& text) {
  constexpr std::size_t kMost = 254;
  constexpr std::string_view kForbidden = " ()<>[]:;,\\\"";
  const std::size_t at = text.rfind('@');
  return at != std::string::npos && at != 0 && at + 1 < text.size() && text.size() <= kMost &&
         findBadUtf8(text) == std::string::npos && std::none_of(text.begin(), text.end(), isControl) &&
         text.find_first_of(kForbidden) == std::string::npos;
}

std::string mailText(const PostedMessage& posted, const std::string& from, const std::string& messageID,
                     std::int64_t now) {
  const Message& message = posted.message;
  return fmt::format(
      "Date: {}\r\n"
      "From: {}\r\n"
      "To: {}\r\n"
      "Subject: {}\r\n"
      "Message-ID: <{}>\r\n"
      "Auto-Submitted: auto-generated\r\n"
      "MIME-Version: 1.0\r\n"
      "Content-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n"
      "\r\n"
      "{}",
      dateText(now), mailbox(message.sender, from), mailbox(message.recipient, message.address),
      headerText(message.subject), messageID, bodyText(message));
}

}  // namespace mesk::host
