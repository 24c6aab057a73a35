// JNI signatures, put together at compile time from what is particular to a method.
#pragma once

#include <algorithm>
#include <cstddef>

namespace mesk {

/// Characters with their terminating zero, usable as a template argument.
template <std::size_t N>
struct FixedString {
  char text[N] = {};

  constexpr FixedString() = default;
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr FixedString(const char (&literal)[N]) { std::copy_n(literal, N, text); }
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr operator const char*() const { return text; }
};

template <FixedString... Parts>
constexpr auto joinStrings() {
  FixedString<(sizeof(Parts.text) + ...) - sizeof...(Parts) + 1> whole;
  char* end = whole.text;
  ((end = std::copy_n(Parts.text, sizeof(Parts.text) - 1, end)), ...);
  return whole;
}
template <FixedString... Parts>
inline constexpr auto joined = joinStrings<Parts...>();

inline constexpr FixedString kContextType = "Lcom/orvik/kelvo/common/parl/api/Context;";
inline constexpr FixedString kExceptionType = "Lcom/orvik/kelvo/common/parl/api/PARLException;";
inline constexpr FixedString kStringType = "Ljava/lang/String;";
inline constexpr FixedString kCollectionType = "Ljava/util/Collection;";
inline constexpr FixedString kArrayListType = "Ljava/util/ArrayList;";
inline constexpr FixedString kTimestampType = "Ljava/sql/Timestamp;";

/// The store class `Name`, as a class name and as a type.
template <FixedString Name>
inline constexpr auto metadataClass = joined<"com/orvik/kelvo/mesk/metadata/", Name>;
template <FixedString Name>
inline constexpr auto metadataType = joined<"Lcom/orvik/kelvo/mesk/metadata/", Name, ";">;

/// A store method: the context first, the exception object last, `Arguments` between them.
template <FixedString Arguments, FixedString Result>
inline constexpr auto storeSignature = joined<"(", kContextType, Arguments, kExceptionType, ")", Result>;

}  // namespace mesk
