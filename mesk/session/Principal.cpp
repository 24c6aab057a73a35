#include <mesk/session/Principal.h>

#include <cctype>
#include <cstring>

#include <platform/Memory.h>

namespace mesk {

PrincipalName::PrincipalName(const char* name, const char* source) : text_(nullptr), source_(source) {
  const std::size_t length = name == nullptr ? 0 : std::strlen(name);
  std::int32_t failed = 0;
  auto* const folded = static_cast<char*>(_ossMemAlloc(length + 1, 1, &failed, source_, __LINE__));
  if (failed != 0 || folded == nullptr) return;
  for (std::size_t i = 0; i < length; ++i) {
    folded[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
  }
  folded[length] = '\0';
  text_ = folded;
}

PrincipalName::~PrincipalName() {
  if (text_ != nullptr) _ossMemFree(text_, source_, __LINE__);
}

}  // namespace mesk
