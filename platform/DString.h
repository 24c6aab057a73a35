// Text and byte buffers of the common collections.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <platform/Export.h>

namespace mesk {

/// Bytes with a length. Two buffers compare over the length that the caller names.
class MESK_PLATFORM_API DBuffer {
 public:
  /// A copy of `length` bytes at `contents`; null with length 0 is an empty buffer.
  static DBuffer fromContents(const void* contents, std::size_t length);

  const unsigned char* data() const;
  std::size_t size() const;

  /// Negative, 0 or positive over the first `length` bytes; a buffer that is shorter than `length`
  /// is less than one that is not. So "bob" and "bobby" are equal over 3 bytes, and not over 4 when
  /// both were taken with their terminating zero.
  int compare(const DBuffer& other, std::size_t length) const;

 private:
  std::vector<unsigned char> bytes_;
};

/// Text in the process code page.
class MESK_PLATFORM_API DString {
 public:
  DString();
  explicit DString(const char* text);  ///< null is empty

  const char* text() const;  ///< never null
  std::size_t length() const;
  DString& append(const char* text);  ///< null appends nothing
  bool operator==(const DString& other) const;

 private:
  std::string text_;
};

}  // namespace mesk
