#include "CommandNames.h"

#include <scheduler/Commands.h>

namespace mesk::host {

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  eachCommand([&names](const std::string& name, const Command&) { names.push_back(name); });
  return names;
}

}  // namespace mesk::host
