// Reading back what the log and the trace wrote.
#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Fuzz.h"

namespace mesk::fuzz {

/// Takes a line apart from the front. What is not there is a broken claim.
class Line {
 public:
  explicit Line(std::string_view text) : left_(text) {}

  void expect(std::string_view text) {
    if (!left_.starts_with(text)) refuse(text);
    left_.remove_prefix(text.size());
  }

  bool take(std::string_view text) {
    if (!left_.starts_with(text)) return false;
    left_.remove_prefix(text.size());
    return true;
  }

  template <class Number>
  Number number(int base = 10) {
    Number value{};
    const auto [end, error] = std::from_chars(left_.data(), left_.data() + left_.size(), value, base);
    if (error != std::errc()) refuse("a number");
    left_.remove_prefix(static_cast<std::size_t>(end - left_.data()));
    return value;
  }

  /// Skips characters by a pattern in which 0 is any digit.
  void shape(std::string_view pattern) {
    for (const char c : pattern) c == '0' ? oneOf("0123456789") : expect({&c, 1});
  }

  void oneOf(std::string_view characters) {
    if (left_.empty() || characters.find(left_.front()) == std::string_view::npos) refuse(characters);
    left_.remove_prefix(1);
  }

  /// Bytes as pairs of digits.
  std::string hex() {
    std::string bytes;
    while (left_.size() >= 2 && isHex(left_[0]) && isHex(left_[1])) {
      bytes += static_cast<char>(valueOf(left_[0]) * 16 + valueOf(left_[1]));
      left_.remove_prefix(2);
    }
    return bytes;
  }

  /// A text in quotes, with what was escaped in it as it was.
  std::string quoted() {
    std::string text;
    expect("\"");
    while (!left_.empty() && left_.front() != '"') {
      if (!take("\\")) {
        text += left_.front();
        left_.remove_prefix(1);
      } else if (take("x")) {
        claim(left_.size() >= 2 && isHex(left_[0]) && isHex(left_[1]), "an escape without its number");
        text += static_cast<char>(valueOf(left_[0]) * 16 + valueOf(left_[1]));
        left_.remove_prefix(2);
      } else {
        claim(!left_.empty() && (left_.front() == '"' || left_.front() == '\\'), "an escape of what needs none");
        text += left_.front();
        left_.remove_prefix(1);
      }
    }
    expect("\"");
    return text;
  }

  bool atEnd() const { return left_.empty(); }

 private:
  [[noreturn]] void refuse(std::string_view expected) const {
    throw Broken("expected " + std::string(expected) + " before '" + std::string(left_) + "'");
  }
  static bool isHex(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); }
  static int valueOf(char c) { return c <= '9' ? c - '0' : c - 'a' + 10; }

  std::string_view left_;
};

/// The lines of a file that ends with one.
inline std::vector<std::string> linesOf(const std::string& content) {
  claim(content.empty() || content.back() == '\n', "the last line does not end");
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t end = content.find('\n', at);
    lines.push_back(content.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

inline void claimNoControls(const std::string& line) {
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    claim(byte >= 0x20 && byte != 0x7F, "a control character in a line");
  }
}

}  // namespace mesk::fuzz
