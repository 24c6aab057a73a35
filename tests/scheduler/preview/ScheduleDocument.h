// The examples of docs/schedules.md.
#pragma once

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <mesk/schedule/ScheduleFixture.h>
#include <scheduler/ScheduleRule.h>

namespace mesk::host {

/// A row of a table, by the titles of its columns.
struct DocumentedRun {
  std::size_t line = 0;
  bool fires = false;  ///< what the scheduler makes of it; else what the calculator does
  std::string zone;
  std::string rule;
  std::string reference;
  std::string clock;
  std::string next;

  ScheduleRule parsedRule() const {
    const std::size_t end = std::min(rule.find(" until "), rule.size());
    const bool started = rule.find(" from ") != std::string::npos;
    return ruleFromWords(started ? rule : rule.substr(0, end) + " from 2000-01-01 00:00" + rule.substr(end));
  }
};

inline std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::istringstream text(line.substr(1));
  for (std::string cell; std::getline(text, cell, '|');) {
    const std::size_t begin = cell.find_first_not_of(' ');
    cells.push_back(begin == std::string::npos ? "" : cell.substr(begin, cell.find_last_not_of(' ') - begin + 1));
  }
  return cells;
}

/// All rows of the tables that say when something runs. Throws when a row is not complete.
inline std::vector<DocumentedRun> documentedRuns(std::istream& document) {
  std::vector<DocumentedRun> runs;
  std::vector<std::string> titles;
  std::size_t number = 0;
  for (std::string line; std::getline(document, line);) {
    ++number;
    if (!line.starts_with('|')) {
      titles.clear();
      continue;
    }
    const std::vector<std::string> cells = cellsOf(line);
    if (titles.empty()) {
      titles = cells;
      continue;
    }
    if (line.starts_with("|---")) continue;
    const auto has = [&](const char* title) { return std::find(titles.begin(), titles.end(), title) != titles.end(); };
    if (!has("Next run") && !has("Fires")) continue;
    const auto cell = [&](const char* title) {
      const auto at = static_cast<std::size_t>(std::find(titles.begin(), titles.end(), title) - titles.begin());
      if (at >= cells.size()) throw std::runtime_error("line " + std::to_string(number) + " lacks " + title);
      return cells[at];
    };
    DocumentedRun run{number, has("Fires"), cell("Zone"), cell("Rule"), {}, {}, {}};
    run.reference = cell(run.fires ? "Run" : "Reference");
    run.clock = run.fires ? run.reference : cell("Clock");
    run.next = cell(run.fires ? "Fires" : "Next run");
    if (run.clock.empty()) run.clock = run.reference;
    runs.push_back(run);
  }
  return runs;
}

inline std::vector<DocumentedRun> documentedRuns(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + " cannot be read");
  return documentedRuns(file);
}

/// "2024-03-31 02:30 +0100", or without the offset where the zone of the process leaves no choice.
inline time64 documentedTime(const std::string& text) {
  const std::size_t offset = text.find_first_of("+-", 11);
  std::string full = text.substr(0, std::min(text.find(' ', 11), text.size()));
  if (full.size() == 16) full += ":00";
  if (offset != std::string::npos) return at((full + " " + text.substr(offset)).c_str());
  const time64 wall = at(full.c_str());
  std::vector<time64> moments;
  for (const time64 near : {wall - 86400, wall + 86400}) {
    const std::time_t time = near;
    std::tm local{};
    ::localtime_r(&time, &local);
    const std::time_t moment = wall - local.tm_gmtoff;
    ::localtime_r(&moment, &local);
    if (moment + local.tm_gmtoff == wall) moments.push_back(moment);
  }
  if (moments.empty() || moments.front() != moments.back()) throw std::runtime_error(text + " needs its offset");
  return moments.front();
}

}  // namespace mesk::host
