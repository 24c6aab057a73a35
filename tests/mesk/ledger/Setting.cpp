#include <mesk/ledger/Setting.h>

#include <cstdio>
#include <cstring>

namespace mesk::test::ledger {

Answer Answers::take(const std::string& method) {
  const auto found = answers_.find(method);
  if (found == answers_.end()) return Nothing{};
  std::size_t& next = taken_[method];
  const std::size_t now = next < found->second.size() ? next++ : found->second.size() - 1;
  return found->second[now];
}

const char* nameOfState(State state) {
  constexpr const char* kStates[] = {"live", "dead", "without object", "without class"};
  return kStates[static_cast<int>(state)];
}

void PrintTo(const Setting& setting, std::ostream* out) {
  *out << "target " << nameOfState(setting.state) << ", store code " << setting.code << "/" << setting.sqlCode << "/"
       << setting.sqlState << ", trace " << (setting.traced ? "on" : "off") << ", fault " << setting.fault;
}

std::string show(const Ref& reference) { return reference.empty() ? "null" : reference; }

std::string quoted(const std::string& bytes) {
  std::string result = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\') {
      result += c;
    } else {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\%02X", byte);
      result += hex;
    }
  }
  return result + "\"";
}

std::string itemLine(std::int32_t type, const void* address, std::size_t length) {
  std::string value = "(null)";
  if (address != nullptr) {
    std::int32_t number = 0;
    if (length == sizeof number && type != -5) {
      std::memcpy(&number, address, sizeof number);
      value = std::to_string(number);
    } else {
      value = quoted({static_cast<const char*>(address), length});
    }
  }
  return " [" + std::to_string(type) + "/" + std::to_string(length) + " " + value + "]";
}

}  // namespace mesk::test::ledger
