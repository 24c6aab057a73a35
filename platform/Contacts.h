// The contact service: whom a contact group stands for.
#pragma once

#include <cstdint>

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
  kContactsUnreadable = -2,   ///< no contacts file is named, or it cannot be read
  kContactsBadRequest = -3,   ///< an argument is null, or the version is unknown
};

/// Names the file with the contact groups; null goes back to the one that the environment variable
/// MESK_CONTACTS names. It is read anew by each request. A line is `group: contact, contact`; several
/// lines of one group add up, `#` starts a comment. Names are in the process code page. Any thread.
MESK_PLATFORM_API void setContactsFile(const char* path);

}  // namespace mesk
