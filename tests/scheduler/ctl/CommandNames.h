// The commands of meskctl as its table has them.
#pragma once

#include <string>
#include <vector>

namespace mesk::host {

/// The whole name of each command that does something, in the order of the help.
std::vector<std::string> commandNames();

}  // namespace mesk::host
