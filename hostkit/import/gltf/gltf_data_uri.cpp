// "data:" URIs: bytes in the place of a file's name.
#include <strings.h>

#include <array>
#include <cctype>
#include <cstdint>
#include <string_view>

#include "hostkit/import/gltf/gltf_buffers.h"

namespace hostkit::gltf {
namespace {

constexpr std::uint8_t kNoDigit = 64, kSkipped = 65;

/// Each byte's value as a digit of base64, that of file names and the usual one.
constexpr std::array<std::uint8_t, 256> MakeDigits() {
  std::array<std::uint8_t, 256> digits{};
  digits.fill(kNoDigit);
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < kDigits.size(); ++i) {
    digits[static_cast<unsigned char>(kDigits[i])] = static_cast<std::uint8_t>(i);
  }
  digits['-'] = 62;
  digits['_'] = 63;
  for (const char skipped : {' ', '\t', '\r', '\n', '='}) {
    digits[static_cast<unsigned char>(skipped)] = kSkipped;
  }
  return digits;
}

std::optional<std::vector<unsigned char>> FromBase64(std::string_view text) {
  static constexpr std::array<std::uint8_t, 256> kDigits = MakeDigits();
  std::vector<unsigned char> bytes;
  bytes.reserve(text.size() / 4 * 3 + 3);
  std::uint32_t bits = 0;
  int count = 0;
  for (const char c : text) {
    const std::uint8_t digit = kDigits[static_cast<unsigned char>(c)];
    if (digit == kNoDigit) return std::nullopt;
    if (digit == kSkipped) continue;
    bits = bits << 6 | digit;
    count += 6;
    if (count < 8) continue;
    count -= 8;
    bytes.push_back(static_cast<unsigned char>(bits >> count));
  }
  return bytes;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const int letter = std::tolower(static_cast<unsigned char>(c));
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

std::string Unescaped(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
                          HexDigit(text[i + 2]) >= 0;
    plain +=
        isEscape ? static_cast<char>(16 * HexDigit(text[i + 1]) + HexDigit(text[i + 2])) : text[i];
    if (isEscape) i += 2;
  }
  return plain;
}

}  // namespace

bool IsDataUri(const std::string& uri) {
  return strncasecmp(uri.c_str(), "data:", 5) == 0;
}

std::optional<std::vector<unsigned char>> DecodeDataUri(const std::string& uri) {
  const std::size_t comma = uri.find(',');
  if (!IsDataUri(uri) || comma == std::string::npos) return std::nullopt;
  const std::string_view kind = std::string_view(uri).substr(0, comma);
  std::string_view data = std::string_view(uri).substr(comma + 1);
  std::string unescaped;
  if (data.find('%') != std::string_view::npos) data = unescaped = Unescaped(data);
  constexpr std::string_view kBase64 = ";base64";
  const bool isBase64 =
      kind.size() >= kBase64.size() &&
      strncasecmp(kind.data() + kind.size() - kBase64.size(), kBase64.data(), kBase64.size()) == 0;
  if (isBase64) return FromBase64(data);
  return std::vector<unsigned char>(data.begin(), data.end());
}

}  // namespace hostkit::gltf
