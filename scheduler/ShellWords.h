// Splitting a line into words as a shell does, and writing words so that they come back.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace mesk::host {

/// A line that is no sequence of words; the text says why and at which character (from 1).
struct ShellWordsError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// The words of `line`, with the shell's quotes ('..', "..") and backslashes and without its
/// expansions: $, * and ~ are ordinary characters. Throws `ShellWordsError`.
std::vector<std::string> shellWords(const std::string& line);

/// A line that `shellWords` splits into `words` again.
std::string shellLine(const std::vector<std::string>& words);

}  // namespace mesk::host
