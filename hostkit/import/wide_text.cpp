// Texts of 16-bit characters.
#include "hostkit/import/wide_text.h"

#include <cstddef>

namespace hostkit {
namespace {

void Append(unsigned character, std::string& text) {
  if (character < 0x80) {
    text += static_cast<char>(character);
    return;
  }
  const int more = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
  const unsigned first[] = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(first[more] | character >> 6 * more);
  for (int i = more; i-- > 0;) text += static_cast<char>(0x80 | (character >> 6 * i & 0x3F));
}

}  // namespace

bool IsWideText(std::string_view bytes) {
  return bytes.starts_with("\xFE\xFF") || bytes.starts_with("\xFF\xFE");
}

std::string NarrowText(std::string_view bytes) {
  const std::size_t high = bytes.starts_with("\xFE\xFF") ? 0 : 1;
  const auto unit = [&bytes, high](std::size_t at) {
    return 256u * static_cast<unsigned char>(bytes[at + high]) +
           static_cast<unsigned char>(bytes[at + 1 - high]);
  };
  std::string text;
  for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
    unsigned character = unit(i);
    const bool isPair = character >= 0xD800 && character < 0xDC00 && i + 3 < bytes.size();
    if (isPair) {
      i += 2;
      character = 0x10000 + ((character - 0xD800) << 10 | (unit(i) & 0x3FF));
    }
    Append(character, text);
  }
  return text;
}

}  // namespace hostkit
