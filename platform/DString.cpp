#include <platform/DString.h>

#include <algorithm>
#include <cstring>

namespace mesk {

DBuffer DBuffer::fromContents(const void* contents, std::size_t length) {
  DBuffer buffer;
  const auto* first = static_cast<const unsigned char*>(contents);
  if (length != 0) buffer.bytes_.assign(first, first + length);
  return buffer;
}

const unsigned char* DBuffer::data() const { return bytes_.data(); }

std::size_t DBuffer::size() const { return bytes_.size(); }

int DBuffer::compare(const DBuffer& other, std::size_t length) const {
  const bool shorter = size() < length;
  const bool otherShorter = other.size() < length;
  if (shorter != otherShorter) return shorter ? -1 : 1;

  const std::size_t common = std::min({size(), other.size(), length});
  const int difference = common == 0 ? 0 : std::memcmp(data(), other.data(), common);
  if (difference != 0 || !shorter || size() == other.size()) return difference;
  return size() < other.size() ? -1 : 1;
}

DString::DString() = default;

DString::DString(const char* text) : text_(text == nullptr ? "" : text) {}

const char* DString::text() const { return text_.c_str(); }

std::size_t DString::length() const { return text_.size(); }

DString& DString::append(const char* text) {
  if (text != nullptr) text_ += text;
  return *this;
}

bool DString::operator==(const DString& other) const { return text_ == other.text_; }

}  // namespace mesk
