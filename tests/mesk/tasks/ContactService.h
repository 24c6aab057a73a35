// A contact service of the test's own, in the place of the platform's.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mesk::test {

/// While it lives, answers every request of this program and remembers it. One at a time.
class ContactService {
 public:
  struct Group {
    std::vector<std::string> members = {};
    std::int32_t countCode = 0;  ///< SQL code of the request for the count
    std::int32_t namesCode = 0;  ///< SQL code of the request for the names, which are filled in all the same
    std::uint32_t grownBy = 0;   ///< how many more the first request counts than the second finds
  };

  ContactService();
  ~ContactService();
  ContactService(const ContactService&) = delete;
  ContactService& operator=(const ContactService&) = delete;

  std::map<std::string, Group> groups;  ///< any other group is answered with SQL code -1

  /// Each request: version, group, count and whether there was room for names, such as "81 ops 0 null".
  std::vector<std::string> requests;

  /// The sizes of all buffers that came, as far as the platform's memory knows them: a build without assertions does
  /// not.
  std::vector<std::size_t> bufferBytes;

  /// The platform has no memory for the so many-th of its byte buffers from now on; 0 has it for all.
  unsigned buffersUntilNoMemory = 0;
};

}  // namespace mesk::test
