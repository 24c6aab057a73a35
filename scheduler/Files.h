// Whole files, read and written so that a crash leaves the old one or the new one.
#pragma once

#include <string>

namespace mesk::host {

/// The whole of the file. Throws std::system_error that names the file.
std::string readFile(const std::string& path);

/// Puts `content` in the place of `directory`/`name` (mode 0600) and makes it durable: a reader sees
/// the old content or the new one, also after a power failure. `name`.new is the file in the making;
/// when it exists, its blocks are used again, so that room reserved in it is there when the disk is
/// full. Throws std::system_error; the old content then stands.
void replaceFile(const std::string& directory, const std::string& name, const std::string& content);

/// Reserves room for a later `replaceFile` of up to `bytes`. Throws std::system_error.
void reserveFile(const std::string& directory, const std::string& name, long bytes);

/// Writes all of it, whatever the portions. False with `errno` set when that fails.
bool writeAll(int fd, const char* bytes, std::size_t count);

}  // namespace mesk::host
