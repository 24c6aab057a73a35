#include <scheduler/RunRecords.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace mesk::host {

namespace {

using Json = nlohmann::ordered_json;

// Members are visited by one function for both directions, so that they cannot differ.
template <typename Request, typename Visit>
void eachMember(Request& request, Visit visit) requires requires {
  request.processor;
}
{
  visit("processor", request.processor);
  visit("script", request.script);
  visit("arguments", request.arguments);
  visit("directory", request.directory);
  visit("user", request.user);
  visit("environment", request.environment);
  visit("timeoutMillis", request.timeoutMillis);
  visit("graceMillis", request.graceMillis);
  visit("outputLimit", request.outputLimit);
  visit("attempt", request.attempt);
}

template <typename Status, typename Visit>
void eachMember(Status& status, Visit visit) requires requires {
  status.returnCode;
}
{
  visit("returnCode", status.returnCode);
  visit("signal", status.signal);
  visit("timedOut", status.timedOut);
  visit("terminated", status.terminated);
  visit("outputLost", status.outputLost);
  visit("startedMillis", status.startedMillis);
  visit("endedMillis", status.endedMillis);
  visit("outputBytes", status.outputBytes);
  visit("rows", status.rows);
  visit("bytes", status.bytes);
  visit("failure", status.failure);
}

template <typename Value>
void put(Json& json, const Value& value) {
  json = value;
}

// What was not said is null.
template <typename Value>
void put(Json& json, const std::optional<Value>& value) {
  if (value) {
    put(json, *value);
  } else {
    json = nullptr;
  }
}

template <typename Record>
std::string write(const Record& record, Json::error_handler_t notUtf8) {
  Json json = Json::object();
  eachMember(record, [&](const char* name, const auto& value) { put(json[name], value); });
  return json.dump(2, ' ', false, notUtf8) + "\n";
}

// False, or Json::exception, for another type. The library turns truth values and fractions into whole numbers; here
// they are of another type.
template <typename Value>
bool take(const Json& json, Value& value) {
  if (std::is_integral_v<Value> && !std::is_same_v<Value, bool> && !json.is_number_integer()) return false;
  json.get_to(value);
  return true;
}

template <typename Value>
bool take(const Json& json, std::optional<Value>& value) {
  value.reset();
  return json.is_null() || take(json, value.emplace());
}

template <typename Record>
Record read(const std::string& text, const char* what) {
  const auto refuse = [&](const std::string& why) { throw std::runtime_error(std::string(what) + ": " + why); };
  const Json json = Json::parse(text, nullptr, false);
  if (!json.is_object()) refuse("no JSON object");
  Record record;
  std::size_t members = 0;
  eachMember(record, [&](const char* name, auto& value) {
    const auto found = json.find(name);
    if (found == json.end()) refuse(std::string("'") + name + "' is missing");
    bool read = false;
    try {
      read = take(*found, value);
    } catch (const Json::exception&) {
      read = false;
    }
    if (!read) refuse(std::string("'") + name + "' is of another type");
    ++members;
  });
  if (members != json.size()) refuse("it has a member that is not known");
  return record;
}

}  // namespace

std::string RunRequest::toJson() const {
  try {
    return write(*this, Json::error_handler_t::strict);
  } catch (const Json::exception&) {
    throw std::runtime_error("run.json: a text of the run is not UTF-8");
  }
}

RunRequest RunRequest::fromJson(const std::string& text) { return read<RunRequest>(text, "run.json"); }

std::string RunStatus::toJson() const { return write(*this, Json::error_handler_t::replace); }

RunStatus RunStatus::fromJson(const std::string& text) { return read<RunStatus>(text, "status.json"); }

}  // namespace mesk::host
