// What a fuzz target is made of. A target is one source with one function, `run`, that takes an input apart, does
// something with it and claims what must hold whatever the input is. The same source is linked with libFuzzer, which
// makes inputs, and with Replay.cpp, which runs those that are kept.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace mesk::fuzz {

/// A claim that does not hold.
struct Broken : std::runtime_error {
  using std::runtime_error::runtime_error;
};

inline void claim(bool holds, const std::string& what) {
  if (!holds) throw Broken(what);
}

/// Whether the target is to do wrong what `what` says, to see that its claims notice. Never with an ordinary input: the
/// replay asks for each wrong in turn, and the environment variable MESK_FUZZ_PLANT for one, or for "any".
bool planted(const char* what);

/// All wrongs that `planted` was asked for so far, and the one that is planted from now on; empty for none.
std::vector<std::string> knownPlants();
void plant(const std::string& what);

/// Takes an input apart from the front. Behind its end everything is 0 and empty.
class Bytes {
 public:
  Bytes(const void* data, std::size_t size) : left_(static_cast<const char*>(data), size) {}

  template <class Number>
  Number number() {
    Number value{};
    const std::string_view bytes = take(sizeof value);
    if (!bytes.empty()) std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }

  bool flag() { return (number<std::uint8_t>() & 1) != 0; }
  std::size_t below(std::size_t limit) { return number<std::uint8_t>() % limit; }

  /// One of `choices`.
  template <class Choices>
  const auto& oneOf(const Choices& choices) {
    return choices[below(std::size(choices))];
  }

  /// A text behind its length.
  std::string text() {
    const std::size_t length = number<std::uint8_t>();
    return std::string(take(length));
  }

  std::string rest() { return std::string(take(left_.size())); }
  bool empty() const { return left_.empty(); }

 private:
  std::string_view take(std::size_t count) {
    const std::string_view taken = left_.substr(0, count);
    left_.remove_prefix(taken.size());
    return taken;
  }

  std::string_view left_;
};

/// The target. Throws `Broken`.
void run(Bytes& input);

}  // namespace mesk::fuzz
