#include <platform/Contacts.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <platform/CodePage.h>

namespace {

constexpr std::uint32_t kVersion = 81;
constexpr std::uint32_t kNameBytes = 128;

std::mutex settings;
std::string givenPath;
mesk::ContactSource givenSource;

mesk::ContactSource contactSource() {
  const std::lock_guard<std::mutex> lock(settings);
  return givenSource;
}

std::string contactsPath() {
  const std::lock_guard<std::mutex> lock(settings);
  if (!givenPath.empty()) return givenPath;
  const char* path = std::getenv("MESK_CONTACTS");
  return path == nullptr ? "" : path;
}

std::string_view trimmed(std::string_view text) {
  constexpr const char* kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Adds the contacts that `list` names, divided by commas.
void addContacts(std::string_view list, std::vector<std::string>& contacts) {
  while (!list.empty()) {
    const std::size_t comma = list.find(',');
    const std::string_view name = trimmed(list.substr(0, comma));
    if (!name.empty()) contacts.emplace_back(name);
    list.remove_prefix(comma == std::string_view::npos ? list.size() : comma + 1);
  }
}

/// The contacts of `group`; nothing when no line of the file is about it.
std::optional<std::vector<std::string>> readGroup(std::istream& file, std::string_view group) {
  std::optional<std::vector<std::string>> contacts;
  std::string line;
  while (std::getline(file, line)) {
    std::string_view rest = line;
    rest = rest.substr(0, rest.find('#'));
    const std::size_t colon = rest.find(':');
    if (colon == std::string_view::npos || trimmed(rest.substr(0, colon)) != group) continue;
    if (!contacts) contacts.emplace();
    addContacts(rest.substr(colon + 1), *contacts);
  }
  return contacts;
}

/// Copies `name` into a buffer of `kNameBytes`; a longer one is cut between two characters.
void copyName(const std::string& name, char* buffer) {
  const std::uint32_t codePage = sqlogetcpcc();
  CodePageConversion copy{codePage, codePage,   0, name.c_str(), static_cast<std::uint32_t>(name.size() + 1),
                          buffer,   kNameBytes, 0};
  sqlocpcv(&copy);
}

mesk::ContactResult fill(std::uint32_t version, ContactGroupRequest* request) {
  if (version != kVersion || request == nullptr || request->groupName == nullptr) return mesk::kContactsBadRequest;

  std::optional<std::vector<std::string>> contacts;
  try {
    if (const mesk::ContactSource source = contactSource()) contacts = source(request->groupName);
  } catch (...) {
    return mesk::kContactsUnreadable;
  }
  if (!contacts) {
    std::ifstream file(contactsPath());
    if (!file) return mesk::kContactsUnreadable;
    contacts = readGroup(file, trimmed(request->groupName));
    if (file.bad()) return mesk::kContactsUnreadable;
    if (!contacts) return mesk::kContactGroupUnknown;
  }

  const auto available = static_cast<std::uint32_t>(contacts->size());
  if (request->names == nullptr) {
    request->count = available;
    return mesk::kContactsOk;
  }
  // The group may have changed since the caller asked for the count.
  request->count = std::min(request->count, available);
  for (std::uint32_t i = 0; i < request->count; ++i) copyName((*contacts)[i], request->names[i]);
  return mesk::kContactsOk;
}

}  // namespace

int getAllContactNamesInGroup(std::uint32_t version, ContactGroupRequest* request, ContactSqlca* sqlca) {
  const mesk::ContactResult result = fill(version, request);
  if (sqlca != nullptr) sqlca->sqlCode = result;
  return 0;
}

namespace mesk {

void setContactsFile(const char* path) {
  const std::lock_guard<std::mutex> lock(settings);
  givenPath = path == nullptr ? "" : path;
}

void setContactSource(ContactSource source) {
  // What the old source holds is let go outside the lock: that may call back.
  const std::lock_guard<std::mutex> lock(settings);
  givenSource.swap(source);
}

}  // namespace mesk
