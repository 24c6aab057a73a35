// What applying a definition did.
#pragma once

#include <string>
#include <vector>

namespace mesk::host {

struct Applied {
  enum class Kind { kCreated, kChanged, kUnchanged };

  std::string name;
  Kind kind = Kind::kUnchanged;
  std::vector<std::string> changes;  ///< which parts, in the words of a task file
  const char* what = "task";         ///< "task", "user", "group", "contact", "contact group", "schedule"
};

const char* textOf(Applied::Kind kind);

}  // namespace mesk::host
