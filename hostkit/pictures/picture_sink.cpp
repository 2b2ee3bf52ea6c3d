// Where decoders put their pixels.
#include "hostkit/pictures/picture_sink.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "hostkit/pictures/picture_guards.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::half;

constexpr std::uint16_t kHalfOne = 0x3c00;

/// Every half float of linear light as it is displayed, by its bits; what is not a number is 0.
const std::array<std::uint16_t, 65536>& LinearToDisplay() {
  static const auto table = [] {
    std::array<std::uint16_t, 65536> shown{};
    for (unsigned bits = 0; bits < shown.size(); ++bits) {
      const float light = FromHalf(static_cast<std::uint16_t>(bits));
      shown[bits] = light == light ? half(EncodeSrgb(light)).bits() : 0;
    }
    return shown;
  }();
  return table;
}

/// The same cut to bytes. Not by way of the other table, whose halves are rounded.
const std::array<unsigned char, 65536>& LinearToByte() {
  static const auto table = [] {
    std::array<unsigned char, 65536> bytes{};
    for (unsigned bits = 0; bits < bytes.size(); ++bits) {
      const float light = FromHalf(static_cast<std::uint16_t>(bits));
      bytes[bits] = ToByte(light > 0 ? EncodeSrgb(std::min(light, 1.0f)) : light);
    }
    return bytes;
  }();
  return table;
}

/// Bytes as half floats, 1/255 a step.
const std::array<half, 256>& ByteToHalf() {
  static const auto table = [] {
    std::array<half, 256> halves;
    for (unsigned byte = 0; byte < halves.size(); ++byte) {
      halves[byte] = half(static_cast<float>(byte) / 255);
    }
    return halves;
  }();
  return table;
}

}  // namespace

bool PictureSink::Begin(long long width, long long height, std::string* reason) {
  if (width < 1 || height < 1) {
    *reason = "the picture has no pixels; write it anew";
    return false;
  }
  *reason = SizeRefusal(width, height, m_mostBytes);
  if (!reason->empty()) return false;
  m_width = static_cast<int>(width);
  m_height = static_cast<int>(height);
  m_bitmap = m_kind == PixelKind::kBytes ? NewByteBitmap(m_width, m_height)
                                         : NewHalfBitmap(m_width, m_height);
  if (!m_bitmap) {
    *reason = NoMemoryText(m_width, m_height);
    return false;
  }
  m_buffer = static_cast<HRGBABuffer*>(m_bitmap->GetBufferHead());
  return true;
}

void PictureSink::SetLinear() {
  m_facts.wasLinear = true;
}

void PictureSink::PutBytes(int x, int y, const unsigned char* rgba, int count) {
  void* row = m_buffer->GetData(y);
  if (m_kind == PixelKind::kBytes) {
    std::memcpy(static_cast<unsigned char*>(row) + 4 * x, rgba,
                static_cast<std::size_t>(count) * 4);
    return;
  }
  const auto& halves = ByteToHalf();
  std::uint16_t* to = static_cast<std::uint16_t*>(row) + 4 * x;
  for (int i = 0; i < count; ++i, rgba += 4, to += 4) {
    const float alpha = static_cast<float>(rgba[3]) / 255;
    for (int c = 0; c < 3; ++c) {
      const half color = halves[rgba[c]];
      to[2 - c] = rgba[3] == 255 ? color.bits() : half(static_cast<float>(color) * alpha).bits();
    }
    to[3] = halves[rgba[3]].bits();
  }
}

void PictureSink::PutHalfAsByte(const half* rgba, bool isPremultiplied, unsigned char* to) {
  const auto& table = m_facts.wasLinear ? LinearToByte() : HalfToByte();
  const float alpha = rgba[3];
  to[3] = ToByte(alpha);
  const bool divides = isPremultiplied && to[3] != 0 && to[3] != 255;
  for (int c = 0; c < 3; ++c) {
    const half color = divides ? half(static_cast<float>(rgba[c]) / alpha) : rgba[c];
    m_facts.clipped |= color > kOneAfterDivision;
    to[c] = table[color.bits()];
  }
}

void PictureSink::PutHalfAsHalf(const half* rgba, bool isPremultiplied, std::uint16_t* to) {
  const float alpha = rgba[3] > half(0) ? std::min(static_cast<float>(rgba[3]), 1.0f) : 0.0f;
  to[3] = half(alpha).bits();
  const bool isPartial = to[3] != kHalfOne && alpha > 0;
  for (int c = 0; c < 3; ++c) {
    const float straight = isPartial && isPremultiplied ? static_cast<float>(rgba[c]) / alpha
                                                        : static_cast<float>(rgba[c]);
    m_facts.clipped |= straight > kOneAfterDivision;
    float shown = straight == straight ? straight : 0;
    if (m_facts.wasLinear) {
      shown = isPartial ? EncodeSrgb(shown) : FromHalf(LinearToDisplay()[rgba[c].bits()]);
    }
    const bool isHidden = alpha == 0 && !isPremultiplied;
    to[2 - c] = half(isPartial ? shown * alpha : isHidden ? 0.0f : shown).bits();
  }
}

void PictureSink::PutHalves(int x, int y, const half* rgba, int count, bool isPremultiplied) {
  void* row = m_buffer->GetData(y);
  for (int i = 0; i < count; ++i, rgba += 4) {
    if (m_kind == PixelKind::kBytes) {
      PutHalfAsByte(rgba, isPremultiplied, static_cast<unsigned char*>(row) + 4 * (x + i));
    } else {
      PutHalfAsHalf(rgba, isPremultiplied, static_cast<std::uint16_t*>(row) + 4 * (x + i));
    }
  }
}

}  // namespace hostkit
