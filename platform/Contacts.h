// The contact service: whom a contact group stands for.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <platform/Export.h>

extern "C" {

/// Only the SQL code is read by callers: 0 is success.
struct ContactSqlca {
  char eyeCatcher[8];
  std::int32_t length;
  std::int32_t sqlCode;
};

/// With `count` 0 and `names` null the service fills in `count`; with room given (128 bytes a name,
/// terminating zero included) it fills `count` names.
struct ContactGroupRequest {
  const char* groupName;
  std::uint32_t count;
  char** names;
};

/// Lists the contacts of a group; `version` is 81. Answers 0 and sets `sqlca->sqlCode`.
MESK_PLATFORM_API int getAllContactNamesInGroup(std::uint32_t version, ContactGroupRequest* request,
                                                ContactSqlca* sqlca);

}  // extern "C"

namespace mesk {

/// What `ContactSqlca::sqlCode` says.
enum ContactResult : std::int32_t {
  kContactsOk = 0,
  kContactGroupUnknown = -1,  ///< no such group
  kContactsUnreadable = -2,   ///< no contacts file is named, or it or the host's source cannot be read
  kContactsBadRequest = -3,   ///< an argument is null, or the version is unknown
};

/// Names the file with the contact groups; null goes back to the one that the environment variable
/// MESK_CONTACTS names. It is read anew by each request. A line is `group: contact, contact`; several
/// lines of one group add up, `#` starts a comment. Names are in the process code page. Any thread.
MESK_PLATFORM_API void setContactsFile(const char* path);

/// Whom a group stands for; nothing when this source has no such group. It is called on the thread that asks the
/// contact service, and by several at once if several ask. A source that throws answers `kContactsUnreadable`. Names
/// of more than 127 bytes are cut.
using ContactSource = std::function<std::optional<std::vector<std::string>>(const std::string& group)>;

/// Puts a source before the contacts file, which is then asked only for the groups that the source does not have; an
/// empty one takes it away. When this returns, a call of the source before may still be under way on another thread.
/// Any thread.
MESK_PLATFORM_API void setContactSource(ContactSource source);

}  // namespace mesk
