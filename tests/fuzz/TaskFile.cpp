// The reader of task files: a file is refused with its lines named, or it is what the writer writes and reads again.
#include <scheduler/TaskFile.h>

#include <algorithm>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "Texts.h"

namespace mesk::fuzz {
namespace {

using namespace mesk::host;

const std::string kName = "/nonexistent/tasks.yaml";

bool same(const TaskFile& a, const TaskFile& b) {
  return a.users == b.users && a.groups == b.groups && a.contacts == b.contacts && a.contactGroups == b.contactGroups &&
         a.schedules == b.schedules && a.tasks == b.tasks;
}

void claimErrors(const std::vector<std::string>& errors, long lines) {
  claim(errors.size() <= kTaskFileErrors, "more errors than one can read");
  long before = 1;
  for (const std::string& error : errors) {
    claim(error.starts_with(kName + ":"), "an error without the file's name: " + error);
    const std::string rest = error.substr(kName.size() + 1);
    const std::size_t digits = rest.find_first_not_of("0123456789");
    claim(digits != 0 && rest.compare(std::min(digits, rest.size()), 2, ": ") == 0,
          "an error without a line: " + error);
    const long line = std::stol(rest);
    claim(line >= before && line <= lines, "an error in a line that there is not, or out of order: " + error);
    std::string shown = error;
    std::replace(shown.begin(), shown.end(), '\0', ' ');
    claim(decode(shown, false).has_value(), "an error that is not UTF-8: " + error);
    before = line;
  }
}

}  // namespace

void run(Bytes& input) {
  const std::string text = input.rest();
  const long lines = std::count(text.begin(), text.end(), '\n') + std::count(text.begin(), text.end(), '\r') + 1;
  const TaskFileResult read = parseTaskFile(text, kName);
  std::vector<std::string> errors = read.errors;
  if (planted("an error names no line") && !errors.empty()) errors.front() = kName;
  claimErrors(errors, lines);
  if (!read.errors.empty()) {
    claim(read.tasks.empty() && read.users.empty(), "a refused file says something");
    return;
  }

  claimErrors(checkReferences(read, {}), lines);
  TaskFile changed = read;
  if (planted("a description is changed on the way") && !changed.tasks.empty()) changed.tasks[0].description += "?";
  const std::string written = writeTaskFile(changed);
  const TaskFileResult again = parseTaskFile(written, kName);
  claim(again.errors.empty(),
        "what was written is refused: " + (again.errors.empty() ? "" : again.errors[0]) + "\n" + written);
  claim(same(read, again), "what was written reads as something else:\n" + written);
  std::string twice = writeTaskFile(again);
  if (planted("the second writing differs")) twice += ' ';
  claim(twice == written, "the same file is written in two ways:\n" + written + "\n" + twice);
}

}  // namespace mesk::fuzz
