#include <scheduler/Chart.h>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>

#include <scheduler/Table.h>

namespace mesk::host {
namespace {

constexpr std::size_t kMargin = 6;      // "Jan  1"
constexpr std::size_t kDayColumns = 2;  // what it has, and its mark
constexpr std::size_t kMostDays = 31;
constexpr std::size_t kFewestDays = 7;
constexpr std::array<const char*, 12> kMonths{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

constexpr std::array<const char*, 6> kLegend{"· none",   "1-9 runs", "░ to 99",
                                             "▒ to 999", "▓ more",   "! changed by the clocks"};

std::string figure(std::size_t runs) {
  if (runs == 0) return "·";
  if (runs < 10) return std::to_string(runs);
  return runs < 100 ? "░" : runs < 1000 ? "▒" : "▓";
}

}  // namespace

YearChart::Day* YearChart::dayOf(WallTime wall) {
  const std::chrono::year_month_day day(
      std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(std::chrono::seconds(wall))));
  if (int{day.year()} != year_) return nullptr;
  return &days_.at(unsigned{day.month()} - 1).at(unsigned{day.day()} - 1);
}

void YearChart::addRun(WallTime wall) {
  if (Day* const day = dayOf(wall)) ++day->runs;
}

void YearChart::mark(WallTime wall) {
  if (Day* const day = dayOf(wall)) day->marked = true;
}

std::string YearChart::text(std::size_t width, bool terminal) const {
  const std::size_t room = width == 0 ? kMostDays : (std::max(width, kMargin) - kMargin) / kDayColumns;
  const std::size_t perLine = std::clamp(room, kFewestDays, kMostDays);
  std::string out;
  for (unsigned month = 0; month < kMonths.size(); ++month) {
    const std::chrono::year_month_day_last last(std::chrono::year(year_),
                                                std::chrono::month(month + 1) / std::chrono::last);
    const std::size_t length = unsigned{last.day()};
    for (std::size_t first = 0; first < length; first += perLine) {
      std::string line = fmt::format("{:3} {:2}", first == 0 ? kMonths.at(month) : "", first + 1);
      for (std::size_t i = first; i < std::min(first + perLine, length); ++i) {
        const Day& day = days_.at(month).at(i);
        const std::string shown = figure(day.runs);
        line += ' ';
        // The mark of a day stands before it, where the blank is.
        if (day.marked) line.back() = '!';
        line += day.marked && terminal ? "\x1b[7m" + shown + "\x1b[0m" : shown;
      }
      out += line + "\n";
    }
  }
  std::string line;
  for (const char* const word : kLegend) {
    if (width != 0 && !line.empty() && displayWidth(line) + 2 + displayWidth(word) > width) {
      out += line + "\n";
      line.clear();
    }
    line += (line.empty() ? "" : "  ") + std::string(word);
  }
  return out + line + "\n";
}

}  // namespace mesk::host
