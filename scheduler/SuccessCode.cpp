#include <scheduler/SuccessCode.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <system_error>

#include <scheduler/Units.h>

namespace mesk::host {
namespace {

struct Condition {
  const char* text;
  char condition;
  int step;  // from the code in the text to the one that is kept
};
// Longer ones first, as they begin with shorter ones.
constexpr Condition kConditions[] = {{"==", '=', 0}, {"!=", '!', 0}, {"<=", '<', 1}, {">=", '>', -1},
                                     {"=", '=', 0},  {"<", '<', 0},  {">", '>', 0},  {"", '=', 0}};

}  // namespace

SuccessCode successCodeFromText(const std::string& text) {
  for (const auto& [mark, condition, step] : kConditions) {
    const std::string begin = mark;
    if (!text.starts_with(begin)) continue;
    const char* const end = text.data() + text.size();
    const char* const at = text.data() + std::min(text.find_first_not_of(' ', begin.size()), text.size());
    // In 64 bits, so that a border which the step carries out of 32 is refused as any other.
    std::int64_t code = 0;
    const auto [next, failure] = std::from_chars(at, end, code);
    code += step;
    if (failure != std::errc() || next != end || code != static_cast<int>(code)) break;
    return {condition, static_cast<int>(code)};
  }
  throw FormatError("expected a return code such as 0, != 4, < 8, <= 3, > 7 or >= 8");
}

std::string textOf(const SuccessCode& code) {
  std::string number = std::to_string(code.code);
  switch (code.condition) {
    case '=':
      return number;
    case '!':
      return "!= " + number;
    default:
      return std::string(1, code.condition) + " " + number;
  }
}

}  // namespace mesk::host
