#include <scheduler/ShellWords.h>

#include <algorithm>
#include <string_view>

namespace mesk::host {

namespace {

constexpr std::string_view kEscapable = "\"\\$`\n";  // by a backslash between double quotes
constexpr std::string_view kPlainMarks = "-_./:=,@%+";

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Reads one word; `at` stands on its first character and ends behind its last.
class WordReader {
 public:
  WordReader(const std::string& line, std::size_t& at) : line_(line), at_(at) {}

  std::string read() {
    while (at_ < line_.size() && !isBlank(line_[at_])) {
      const char c = line_[at_];
      if (c == '\'') {
        single();
      } else if (c == '"') {
        twice();
      } else if (c == '\\') {
        escape();
      } else {
        word_ += c;
        ++at_;
      }
    }
    return word_;
  }

 private:
  [[noreturn]] static void refuse(const char* what, std::size_t at) {
    throw ShellWordsError(std::string(what) + " at character " + std::to_string(at + 1));
  }

  void single() {
    const std::size_t end = line_.find('\'', at_ + 1);
    if (end == std::string::npos) refuse("no closing ' for the one", at_);
    word_.append(line_, at_ + 1, end - at_ - 1);
    at_ = end + 1;
  }

  void twice() {
    const std::size_t begin = at_++;
    while (at_ < line_.size() && line_[at_] != '"') {
      if (line_[at_] == '\\' && at_ + 1 < line_.size() && kEscapable.find(line_[at_ + 1]) != std::string_view::npos) {
        escape();
      } else {
        word_ += line_[at_++];
      }
    }
    if (at_ == line_.size()) refuse("no closing \" for the one", begin);
    ++at_;
  }

  void escape() {
    if (at_ + 1 == line_.size()) refuse("nothing follows the backslash", at_);
    // A backslash at a line's end joins two lines and is no character of the word.
    if (line_[at_ + 1] != '\n') word_ += line_[at_ + 1];
    at_ += 2;
  }

  const std::string& line_;
  std::size_t& at_;
  std::string word_;
};

}  // namespace

std::vector<std::string> shellWords(const std::string& line) {
  std::vector<std::string> words;
  for (std::size_t at = 0; at < line.size();) {
    if (isBlank(line[at])) {
      ++at;
    } else if (line.compare(at, 2, "\\\n") == 0) {
      at += 2;  // the line goes on
    } else {
      words.push_back(WordReader(line, at).read());
    }
  }
  return words;
}

std::string shellLine(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) {
    if (!line.empty()) line += ' ';
    const bool plain = !word.empty() && std::all_of(word.begin(), word.end(), [](unsigned char c) {
      return c >= 0x80 || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
             kPlainMarks.find(static_cast<char>(c)) != std::string_view::npos;
    });
    if (plain) {
      line += word;
      continue;
    }
    line += '\'';
    for (const char c : word) {
      if (c == '\'') {
        line += "'\\''";
      } else {
        line += c;
      }
    }
    line += '\'';
  }
  return line;
}

}  // namespace mesk::host
