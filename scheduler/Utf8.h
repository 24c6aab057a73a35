// Walking over text character by character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mesk::host {

/// The character of UTF-8 `text` at byte `at`, which moves behind it; -1 for bytes that are none.
std::int32_t nextCharacter(const std::string& text, std::size_t& at);

/// Characters of `text`; bytes that are none count as one each.
std::size_t countCharacters(const std::string& text);

/// The first byte that belongs to no character, or npos when all is UTF-8.
std::size_t findBadUtf8(const std::string& text);

/// The text in capitals, as the store keeps the names of users.
std::string inCapitals(const std::string& text);

}  // namespace mesk::host
