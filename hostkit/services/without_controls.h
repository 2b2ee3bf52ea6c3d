// Text of strangers, made fit for terminals and messages.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace hostkit {
namespace detail {

/// How many bytes the UTF-8 character at `at` has; 1 for a byte that begins none.
inline std::size_t SequenceLength(std::string_view text, std::size_t at) {
  const auto byte = [&](std::size_t i) {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
  };
  const unsigned first = byte(at);
  const std::size_t length = first < 0xC2 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return 1;
  }
  return length;
}

/// Of a character of so many bytes: whether it is a control.
inline bool IsControl(std::string_view text, std::size_t at, std::size_t length) {
  if (length == 1) {
    const auto byte = static_cast<unsigned char>(text[at]);
    return byte < 0x20 || (byte >= 0x7F && byte < 0xA0);
  }
  static constexpr std::pair<std::string_view, std::string_view> kRanges[] = {
      {"\xC2\x80", "\xC2\x9F"},          // U+0080 to U+009F
      {"\xD8\x9C", "\xD8\x9C"},          // U+061C
      {"\xE2\x80\x8E", "\xE2\x80\x8F"},  // U+200E, U+200F
      {"\xE2\x80\xA8", "\xE2\x80\xAE"},  // U+2028 to U+202E
      {"\xE2\x81\xA6", "\xE2\x81\xA9"},  // U+2066 to U+2069
  };
  const std::string_view character = text.substr(at, length);
  return std::any_of(std::begin(kRanges), std::end(kRanges), [&](const auto& range) {
    return length == range.first.size() && character >= range.first && character <= range.second;
  });
}

}  // namespace detail

/// The text with `instead` for each character that would steer a terminal or turn what follows
/// around: those below U+0020 and U+007F to U+009F (also as bytes of their own), the line and
/// paragraph separators and the bidirectional controls (Unicode, UAX #9, table 4 and 2.7).
inline std::string WithoutControls(std::string_view text, char instead) {
  std::string clean;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = detail::SequenceLength(text, at);
    if (detail::IsControl(text, at, length)) {
      clean += instead;
    } else {
      clean += text.substr(at, length);
    }
    at += length;
  }
  return clean;
}

}  // namespace hostkit
