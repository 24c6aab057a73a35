#include <scheduler/RunOptions.h>

#include <algorithm>
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
constexpr std::array<const char*, 2> kMode{"append", "replace"};

constexpr int kMostMembers = 1000;  // of a stage

struct WarehouseText {
  const char* name;
  std::string Warehouse::*text;
};
constexpr std::array<WarehouseText, 7> kWarehouseTexts{{{"source", &Warehouse::source},
                                                        {"sourceUser", &Warehouse::sourceUser},
                                                        {"sourcePasswordFile", &Warehouse::sourcePasswordFile},
                                                        {"target", &Warehouse::target},
                                                        {"targetUser", &Warehouse::targetUser},
                                                        {"targetPasswordFile", &Warehouse::targetPasswordFile},
                                                        {"table", &Warehouse::table}}};

std::int64_t longest() { return durationFromText("366d"); }

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

void readStages(const Json& json, std::vector<int>& stages) {
  if (!json.is_array()) throw FormatError("expected an array");
  for (const Json& stage : json) {
    std::int64_t members = 0;
    readNumber(stage, members, 1, kMostMembers);
    stages.push_back(static_cast<int>(members));
  }
}

Json jsonOf(const Warehouse& warehouse) {
  const Warehouse usual;
  Json json = Json::object();
  for (const auto& [name, text] : kWarehouseTexts) {
    if (!(warehouse.*text).empty()) json[name] = warehouse.*text;
  }
  if (warehouse.mode != usual.mode) json["mode"] = textOf(warehouse.mode);
  if (warehouse.batch != usual.batch) json["batch"] = warehouse.batch;
  if (warehouse.retries != usual.retries) json["retries"] = warehouse.retries;
  if (warehouse.retryIntervalSeconds != usual.retryIntervalSeconds) {
    json["retryInterval"] = warehouse.retryIntervalSeconds;
  }
  return json;
}

void readWarehouse(const Json& json, Warehouse& warehouse) {
  if (!json.is_object()) throw FormatError("expected an object");
  for (const auto& [name, value] : json.items()) {
    const auto* const text = std::find_if(kWarehouseTexts.begin(), kWarehouseTexts.end(),
                                          [&key = name](const WarehouseText& known) { return key == known.name; });
    if (text != kWarehouseTexts.end()) {
      if (!value.is_string()) throw FormatError("expected texts");
      warehouse.*(text->text) = value.get<std::string>();
    } else if (name == "mode") {
      readChoice(value, warehouse.mode);
    } else if (name == "batch") {
      readNumber(value, warehouse.batch, 1, Warehouse::kMostBatch);
    } else if (name == "retries") {
      readNumber(value, warehouse.retries, 0, Warehouse::kMostRetries);
    } else if (name == "retryInterval") {
      readNumber(value, warehouse.retryIntervalSeconds, 0, longest());
    } else {
      throw FormatError("'" + name + "' is no part of it");
    }
  }
}

}  // namespace

const char* textOf(RunOptions::Missed missed) { return kMissed[static_cast<std::size_t>(missed)]; }
const char* textOf(RunOptions::Interrupted interrupted) { return kInterrupted[static_cast<std::size_t>(interrupted)]; }
const char* textOf(RunOptions::Overlap overlap) { return kOverlap[static_cast<std::size_t>(overlap)]; }
const char* textOf(Warehouse::Mode mode) { return kMode[static_cast<std::size_t>(mode)]; }

void setFromText(RunOptions::Missed& missed, const std::string& text) { choose(missed, text, kMissed); }
void setFromText(RunOptions::Interrupted& interrupted, const std::string& text) {
  choose(interrupted, text, kInterrupted);
}
void setFromText(RunOptions::Overlap& overlap, const std::string& text) { choose(overlap, text, kOverlap); }
void setFromText(Warehouse::Mode& mode, const std::string& text) { choose(mode, text, kMode); }

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
  if (!stages.empty()) json["stages"] = stages;
  if (warehouse) json["warehouse"] = jsonOf(*warehouse);
  try {
    return json.dump();
  } catch (const Json::exception&) {
    throw FormatError("run options: a text is not UTF-8");
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
        readNumber(value, options.timeoutSeconds, 0, longest());
      } else if (name == "output-limit") {
        readNumber(value, options.outputLimit, kLeastOutput, kMostOutput);
      } else if (name == "missed") {
        readChoice(value, options.missed);
      } else if (name == "interrupted") {
        readChoice(value, options.interrupted);
      } else if (name == "overlap") {
        readChoice(value, options.overlap);
      } else if (name == "stages") {
        readStages(value, options.stages);
      } else if (name == "warehouse") {
        readWarehouse(value, options.warehouse.emplace());
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
