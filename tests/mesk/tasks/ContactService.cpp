#include "ContactService.h"

#include <dlfcn.h>
#include <platform/Contacts.h>
#include <platform/DString.h>
#include <platform/Memory.h>

#include <cstring>
#include <new>

namespace {

constexpr std::size_t kNameBytes = 128;

mesk::test::ContactService* serving = nullptr;

struct Search {
  const void* address;
  std::vector<std::size_t>& found;
};

void addBytes(const mesk::LiveBlock& block, void* context) {
  const auto& search = *static_cast<Search*>(context);
  if (block.address == search.address) search.found.push_back(block.bytes);
}

std::int32_t fill(const mesk::test::ContactService::Group& group, ContactGroupRequest& request) {
  const auto count = static_cast<std::uint32_t>(group.members.size());
  if (request.names == nullptr) {
    request.count = count + group.grownBy;
    return group.countCode;
  }
  // To the last byte, so that a buffer that is too short is found out.
  for (std::uint32_t i = 0; i < count; ++i) std::strncpy(request.names[i], group.members[i].c_str(), kNameBytes);
  request.count = count;
  return group.namesCode;
}

}  // namespace

// A program's own function goes before the platform library's of the same name.
extern "C" int getAllContactNamesInGroup(std::uint32_t version, ContactGroupRequest* request, ContactSqlca* sqlca) {
  if (serving == nullptr) {
    static const auto original =
        reinterpret_cast<decltype(&getAllContactNamesInGroup)>(dlsym(RTLD_NEXT, "getAllContactNamesInGroup"));
    return original(version, request, sqlca);
  }
  serving->requests.push_back(std::to_string(version) + " " + request->groupName + " " +
                              std::to_string(request->count) + (request->names == nullptr ? " null" : " names"));
  if (request->names != nullptr) {
    for (std::uint32_t i = 0; i < request->count; ++i) {
      Search search{request->names[i], serving->bufferBytes};
      mesk::reportLiveBlocks(addBytes, &search);
    }
  }
  const auto group = serving->groups.find(request->groupName);
  sqlca->sqlCode = group == serving->groups.end() ? -1 : fill(group->second, *request);
  return 0;
}

mesk::DBuffer mesk::DBuffer::fromContents(const void* contents, std::size_t length) {
  if (serving != nullptr && serving->buffersUntilNoMemory != 0 && --serving->buffersUntilNoMemory == 0) {
    throw std::bad_alloc();
  }
  static const auto original =
      reinterpret_cast<decltype(&DBuffer::fromContents)>(dlsym(RTLD_NEXT, "_ZN4mesk7DBuffer12fromContentsEPKvm"));
  return original(contents, length);
}

namespace mesk::test {

ContactService::ContactService() { serving = this; }

ContactService::~ContactService() { serving = nullptr; }

}  // namespace mesk::test
