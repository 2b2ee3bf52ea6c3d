// "data:" URIs: bytes in the place of a file's name.
#include <strings.h>

#include <array>
#include <cstdint>
#include <string_view>

#include "hostkit/import/gltf/gltf_buffers.h"
#include "hostkit/import/number_text.h"

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
