// Messages as mails are written (RFC 5322).
#pragma once

#include <cstdint>
#include <string>

#include <scheduler/Message.h>

namespace mesk::host {

/// Whether a text can stand as an address in a mail's header and envelope: something@something, of at most 254 bytes,
/// without blanks, control characters, quotes, brackets and commas.
bool isMailAddress(const std::string& text);

/// The whole mail: header, empty line, body; lines of at most 998 bytes, ASCII alone, each ended by CR LF. Whatever the
/// texts of the message hold, none adds a line to the header. A pager gets the first `kPagerCharacters` of the body.
///
/// `from` and the message's address must be mail addresses; `messageID` is put between angle brackets; `now` is in
/// milliseconds since 1970.
std::string mailText(const PostedMessage& posted, const std::string& from, const std::string& messageID,
                     std::int64_t now);

inline constexpr std::size_t kPagerCharacters = 160;

}  // namespace mesk::host
