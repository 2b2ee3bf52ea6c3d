// Pictures of another size.
#include "hostkit/pictures/picture_scale.h"

#include <cstddef>
#include <cstdint>

namespace hostkit {
namespace {

constexpr int kChannels = 4, kColors = 3;

std::uint16_t* HalvesAt(const HBitmapBuffer& buffer, int y) {
  return static_cast<std::uint16_t*>(buffer.Data()) +
         static_cast<std::ptrdiff_t>(y) * buffer.RowStep();
}

/// A buffer of half floats that the bitmap owns; null without memory.
HBitmapBuffer* AddHalves(HBitmapNode* bitmap, const char* name, int channels) {
  auto* buffer = new HBitmapBuffer(name, HBitmapBuffer::kHalfChannel, channels, bitmap->GetWidth(),
                                   bitmap->GetHeight());
  bitmap->AddBuffer(buffer);
  return buffer->AllocateData(0) ? buffer : nullptr;
}

/// Colours and alpha as buffers of their own: colours that were multiplied by alpha must not weigh
/// by it again, as four channels together do.
BitmapPtr Split(const HBitmapNode& picture) {
  const HBitmapBuffer& from = *picture.GetBufferHead();
  BitmapPtr parts(new HBitmapNode(picture.GetWidth(), picture.GetHeight()));
  const HBitmapBuffer* colors = AddHalves(parts.get(), "Colors", kColors);
  const HBitmapBuffer* alpha = AddHalves(parts.get(), "Alpha", 1);
  if (!colors || !alpha) return nullptr;
  for (int y = 0; y < picture.GetHeight(); ++y) {
    const std::uint16_t* pixel = HalvesAt(from, y);
    std::uint16_t *color = HalvesAt(*colors, y), *cover = HalvesAt(*alpha, y);
    for (int x = 0; x < picture.GetWidth(); ++x, pixel += kChannels) {
      for (int c = 0; c < kColors; ++c) *color++ = pixel[c];
      *cover++ = pixel[kColors];
    }
  }
  return parts;
}

BitmapPtr Join(const HBitmapNode& parts) {
  const HBitmapBuffer& colors = *parts.FindBuffer("Colors");
  const HBitmapBuffer& alpha = *parts.FindBuffer("Alpha");
  BitmapPtr picture = NewHalfBitmap(parts.GetWidth(), parts.GetHeight());
  for (int y = 0; picture && y < picture->GetHeight(); ++y) {
    std::uint16_t* pixel = HalvesAt(*picture->GetBufferHead(), y);
    const std::uint16_t *color = HalvesAt(colors, y), *cover = HalvesAt(alpha, y);
    for (int x = 0; x < picture->GetWidth(); ++x, pixel += kChannels) {
      for (int c = 0; c < kColors; ++c) pixel[c] = *color++;
      pixel[kColors] = *cover++;
    }
  }
  return picture;
}

}  // namespace

BitmapPtr ScalePicture(HBitmapNode& picture, int width, int height) {
  if (picture.GetBufferHead()->Type() == HBitmapBuffer::kByteChannel) {
    return BitmapPtr(picture.ScaleBitmap(width, height));
  }
  const BitmapPtr parts = Split(picture);
  const BitmapPtr scaled(parts ? parts->ScaleBitmap(width, height) : nullptr);
  return scaled ? Join(*scaled) : nullptr;
}

}  // namespace hostkit
