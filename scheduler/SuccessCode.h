// Which return codes are a success.
#pragma once

#include <string>

namespace mesk::host {

/// A return code that is a success, or the border of those that are.
struct SuccessCode {
  char condition = '=';  ///< the run's code is this one (=), another one (!), lower (<) or higher (>)
  int code = 0;

  bool operator==(const SuccessCode&) const = default;
};

/// Of "0", "= 0", "!= 4", "< 8", "<= 3", "> 7", ">= 8". The store has no conditions for "<=" and ">=": they become the
/// next code with "<" or ">". Throws `FormatError`.
SuccessCode successCodeFromText(const std::string& text);

/// The shortest such text.
std::string textOf(const SuccessCode& code);

}  // namespace mesk::host
