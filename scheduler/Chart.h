// The runs of a year as a calendar in characters.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <scheduler/ClockChanges.h>

namespace mesk::host {

/// Months below each other, a place a day: how many runs it has, and whether a change of the clocks touched them.
class YearChart {
 public:
  explicit YearChart(int year) : year_(year) {}

  /// Days of other years are not there, and are left out.
  void addRun(WallTime wall);
  void mark(WallTime wall);

  /// Ended lines; at most `width` columns wide, but never narrower than a week (0 is no limit). For a terminal marked
  /// days are set off by its means too.
  std::string text(std::size_t width, bool terminal) const;

 private:
  struct Day {
    std::size_t runs = 0;
    bool marked = false;
  };
  Day* dayOf(WallTime wall);

  int year_;
  std::array<std::array<Day, 31>, 12> days_{};
};

}  // namespace mesk::host
