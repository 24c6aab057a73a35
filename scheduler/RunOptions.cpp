#include <scheduler/RunOptions.h>

#include <array>
#include <nlohmann/json.hpp>

#include <scheduler/Units.h>

namespace mesk::host {

namespace {

using Json = nlohmann::ordered_json;

// The words of each choice stand in the order of its values.
constexpr std::array<const char*, 3> kMissed{"once", "all", "skip"};
constexpr std::array<const char*, 2> kInterrupted{"leave", "rerun"};
constexpr std::array<const char*, 2> kOverlap{"wait", "skip"};

template <typename Choice, std::size_t count>
void choose(Choice& choice, const std::string& text, const std::array<const char*, count>& words) {
  std::string expected = "expected one of: ";
  for (std::size_t i = 0; i < count; ++i) {
    if (text == words[i]) {
      choice = static_cast<Choice>(i);
      return;
    }
    expected += std::string(i == 0 ? "" : ", ") + words[i];
  }
  throw FormatError(expected);
}

template <typename Choice>
void readChoice(const Json& json, Choice& choice) {
  setFromText(choice, json.is_string() ? json.get<std::string>() : "");
}

void readNumber(const Json& json, std::int64_t& number, std::int64_t low, std::int64_t high) {
  // Through text, so that one function knows what a number in a range is.
  number = numberFromText(json.is_number_integer() ? json.dump() : "", low, high);
}

void readEnvironment(const Json& json, std::map<std::string, std::string>& environment) {
  if (!json.is_object()) throw FormatError("expected an object");
  for (const auto& [name, value] : json.items()) {
    if (!isVariableName(name) || isReservedVariable(name)) throw FormatError("expected names of variables");
    if (!value.is_string()) throw FormatError("expected texts");
    environment[name] = value.get<std::string>();
  }
}

}  // namespace

const char* textOf(RunOptions::Missed missed) { return kMissed[static_cast<std::size_t>(missed)]; }
const char* textOf(RunOptions::Interrupted interrupted) { return kInterrupted[static_cast<std::size_t>(interrupted)]; }
const char* textOf(RunOptions::Overlap overlap) { return kOverlap[static_cast<std::size_t>(overlap)]; }

void setFromText(RunOptions::Missed& missed, const std::string& text) { choose(missed, text, kMissed); }
void setFromText(RunOptions::Interrupted& interrupted, const std::string& text) {
  choose(interrupted, text, kInterrupted);
}
void setFromText(RunOptions::Overlap& overlap, const std::string& text) { choose(overlap, text, kOverlap); }

bool isVariableName(const std::string& name) {
  if (name.empty() || (name[0] >= '0' && name[0] <= '9')) return false;
  for (const char c : name) {
    if (!(c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))) return false;
  }
  return true;
}

bool isReservedVariable(const std::string& name) { return name.starts_with("MESK_"); }

std::string RunOptions::toJson() const {
  const RunOptions usual;
  Json json = Json::object();
  if (!environment.empty()) json["environment"] = environment;
  if (timeoutSeconds != usual.timeoutSeconds) json["timeout"] = timeoutSeconds;
  if (outputLimit != usual.outputLimit) json["output-limit"] = outputLimit;
  if (missed != usual.missed) json["missed"] = textOf(missed);
  if (interrupted != usual.interrupted) json["interrupted"] = textOf(interrupted);
  if (overlap != usual.overlap) json["overlap"] = textOf(overlap);
  try {
    return json.dump();
  } catch (const Json::exception&) {
    throw FormatError("run options: a value of the environment is not UTF-8");
  }
}

RunOptions RunOptions::fromJson(const std::string& text) {
  RunOptions options;
  if (text.empty()) return options;
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) throw FormatError("run options: expected a JSON object");
  for (const auto& [name, value] : json.items()) {
    try {
      if (name == "environment") {
        readEnvironment(value, options.environment);
      } else if (name == "timeout") {
        readNumber(value, options.timeoutSeconds, 0, durationFromText("366d"));
      } else if (name == "output-limit") {
        readNumber(value, options.outputLimit, kLeastOutput, kMostOutput);
      } else if (name == "missed") {
        readChoice(value, options.missed);
      } else if (name == "interrupted") {
        readChoice(value, options.interrupted);
      } else if (name == "overlap") {
        readChoice(value, options.overlap);
      } else {
        throw FormatError("no such option");
      }
    } catch (const FormatError& refused) {
      throw FormatError("run options: '" + name + "': " + refused.what());
    }
  }
  return options;
}

}  // namespace mesk::host
