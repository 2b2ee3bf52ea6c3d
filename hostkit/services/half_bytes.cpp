// From half floats to bytes, as pictures are stored.
#include "hostkit/services/half_bytes.h"

#include <Imath/half.h>

#include <cstdint>

namespace hostkit {

unsigned char ToByte(float value) {
  if (!(value > 0)) return 0;
  return value >= 1 ? 255 : static_cast<unsigned char>(value * 255 + 0.5f);
}

const std::array<unsigned char, 65536>& HalfToByte() {
  static const auto table = [] {
    std::array<unsigned char, 65536> bytes{};
    for (unsigned bits = 0; bits < bytes.size(); ++bits) {
      bytes[bits] = ToByte(Imath::half(Imath::half::FromBits, static_cast<std::uint16_t>(bits)));
    }
    return bytes;
  }();
  return table;
}

}  // namespace hostkit
