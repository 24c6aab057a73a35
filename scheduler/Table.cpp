#include <scheduler/Table.h>

#include <sys/ioctl.h>
#include <unicode/uchar.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

#include <scheduler/Utf8.h>

namespace mesk::host {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 4;  // no column is cut below this
constexpr const char* kEllipsis = "…";

std::size_t widthOf(UChar32 character) {
  switch (u_charType(character)) {
    case U_NON_SPACING_MARK:
    case U_ENCLOSING_MARK:
    case U_FORMAT_CHAR:
      return 0;
    default:
      break;
  }
  const auto width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// Calls `take(bytes begin, bytes end, character)` for each character; a byte that is none comes as ?.
template <typename Take>
void eachCharacter(const std::string& text, Take take) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const UChar32 character = nextCharacter(text, at);
    if (!take(begin, at, character < 0 ? '?' : character)) return;
  }
}

bool isControl(UChar32 character) { return character < 0x20 || (character >= 0x7f && character < 0xa0); }

// What a terminal can show of any bytes.
std::string shown(const std::string& text) {
  std::string result;
  eachCharacter(text, [&](std::size_t begin, std::size_t end, UChar32 character) {
    // Marks that turn the direction of text could make one cell pose as another.
    const bool turns = (character >= 0x202a && character <= 0x202e) || (character >= 0x2066 && character <= 0x2069);
    if (isControl(character) || turns || character == '?') {
      result += '?';
    } else {
      result.append(text, begin, end - begin);
    }
    return true;
  });
  return result;
}

std::string cut(const std::string& text, std::size_t width) {
  if (displayWidth(text) <= width) return text;
  std::size_t used = 0;
  std::size_t kept = 0;
  eachCharacter(text, [&](std::size_t, std::size_t end, UChar32 character) {
    used += widthOf(character);
    if (used + 1 > width) return false;
    kept = end;
    return true;
  });
  return text.substr(0, kept) + kEllipsis;
}

}  // namespace

std::size_t displayWidth(const std::string& text) {
  std::size_t width = 0;
  eachCharacter(text, [&](std::size_t, std::size_t, UChar32 character) {
    width += widthOf(character);
    return true;
  });
  return width;
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

void Table::add(std::vector<std::string> row) {
  row.resize(columns_.size());
  rows_.push_back(std::move(row));
}

std::string Table::text(std::size_t width) const {
  std::vector<std::vector<std::string>> lines(1);
  for (const Column& column : columns_) lines[0].push_back(shown(column.title));
  for (const auto& row : rows_) {
    std::vector<std::string> line;
    line.reserve(row.size());
    for (const std::string& cell : row) line.push_back(shown(cell));
    lines.push_back(std::move(line));
  }

  std::vector<std::size_t> widths(columns_.size(), 0);
  for (const auto& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], displayWidth(line[i]));
  }
  std::size_t total = columns_.empty() ? 0 : kGap * (columns_.size() - 1);
  for (const std::size_t each : widths) total += each;
  for (; width > 0 && total > width; --total) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < widths.size(); ++i) {
      if (!columns_[i].whole && (widest == nullptr || widths[i] > *widest)) widest = &widths[i];
    }
    if (widest == nullptr || *widest <= kNarrowest) break;
    --*widest;
  }

  std::string result;
  for (const auto& line : lines) {
    std::string out;
    for (std::size_t i = 0; i < line.size(); ++i) {
      const std::string cell = cut(line[i], widths[i]);
      const std::string padding(widths[i] - std::min(displayWidth(cell), widths[i]), ' ');
      if (i > 0) out.append(kGap, ' ');
      out += columns_[i].align == Align::kRight ? padding + cell : cell + padding;
    }
    out.erase(out.find_last_not_of(' ') + 1);
    result += out + "\n";
  }
  return result;
}

std::string Table::json() const {
  using Json = nlohmann::ordered_json;
  Json array = Json::array();
  for (const auto& row : rows_) {
    Json object = Json::object();
    for (std::size_t i = 0; i < row.size(); ++i) object[columns_[i].title] = row[i];
    array.push_back(std::move(object));
  }
  return array.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

std::size_t Table::terminalWidth(int fd) {
  struct winsize size {};
  if (::isatty(fd) == 0 || ::ioctl(fd, TIOCGWINSZ, &size) != 0) return 0;
  return size.ws_col;
}

}  // namespace mesk::host
