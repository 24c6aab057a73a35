// Tables for people, and the same rows for programs.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace mesk::host {

/// Rows of texts under titles.
class Table {
 public:
  enum class Align { kLeft, kRight };
  struct Column {
    std::string title;  ///< over the column, and the key in JSON
    Align align = Align::kLeft;
    bool whole = false;  ///< never cut
  };

  explicit Table(std::vector<Column> columns);

  /// One cell a column; missing ones are empty, more are dropped.
  void add(std::vector<std::string> row);

  /// Aligned lines, each ended; at most `width` columns wide where that is possible at all (0 is no
  /// limit): the widest columns that may be are cut first, and say so with an ellipsis. Characters count as wide
  /// as a terminal shows them. Control characters, which could steer the terminal, are shown as ?.
  std::string text(std::size_t width) const;

  /// An array with an object a row, all values texts, ended by a line end.
  std::string json() const;

  /// Columns of the terminal behind `fd`; 0 when there is none.
  static std::size_t terminalWidth(int fd);

 private:
  std::vector<Column> columns_;
  std::vector<std::vector<std::string>> rows_;
};

/// Columns that a terminal uses for UTF-8 text.
std::size_t displayWidth(const std::string& text);

}  // namespace mesk::host
