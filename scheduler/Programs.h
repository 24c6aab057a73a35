// What the programs have in common.
#pragma once

#include <string>

namespace mesk::host {

extern const char* const kVersion;

/// The program of that name in the folder of the running one, else in the installation's libexec folder.
std::string programBeside(const std::string& name);

}  // namespace mesk::host
