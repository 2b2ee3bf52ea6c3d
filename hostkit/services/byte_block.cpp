// Packed 8-bit pixels from a bitmap: what textures are uploaded from.
//
// A picture is taken for opaque and packed three bytes a pixel, each pixel tested while it is at
// hand, until a row turns out not to be; only then is it packed anew with alpha. So an opaque
// picture is read once, and of a transparent one the rows down to its first transparent one twice.
#include <algorithm>
#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "host/Bitmap.h"
#include "host/Heaps.h"
#include "hostkit/services/bitmap_calls.h"
#include "hostkit/services/bitmap_storage.h"
#include "hostkit/services/ext_heap.h"
#include "hostkit/services/pixel_values.h"

namespace {

using Byte = unsigned char;

/// Where red, green, blue and alpha lie in a pixel; -1 for an alpha that is always opaque.
struct Layout {
  int red, green, blue, alpha;
};

/// Layout of a buffer: grey, grey with alpha, and colours as host/Bitmap.h orders them.
Layout LayoutOf(const HBitmapBuffer& buffer) {
  const int channels = buffer.Channels();
  if (channels < 3) return {0, 0, 0, channels == 2 ? 1 : -1};
  const int alpha = channels > 3 ? 3 : -1;
  if (buffer.Type() == HBitmapBuffer::kByteChannel) return {0, 1, 2, alpha};
  return {2, 1, 0, alpha};
}

/// Turns `count` elements of a row into bytes in `bytes`.
void RowToBytes(const HBitmapBuffer& buffer, const void* row, std::size_t count, Byte* bytes) {
  if (buffer.Type() == HBitmapBuffer::kHalfChannel) {
    const auto& table = hostkit::HalfToByte();
    const auto* halves = static_cast<const std::uint16_t*>(row);
    std::transform(halves, halves + count, bytes, [&](std::uint16_t bits) { return table[bits]; });
    return;
  }
  const auto* floats = static_cast<const float*>(row);
  std::transform(floats, floats + count, bytes, hostkit::ToByte);
}

// Four-channel pixels are packed two in a word, first byte lowest.
static_assert(std::endian::native == std::endian::little);

/// Both pixels with red and blue exchanged.
constexpr std::uint64_t SwapRedBlue(std::uint64_t pixels) {
  constexpr std::uint64_t kLow = 0x000000ff000000ffu;
  return (pixels & ~(kLow | kLow << 16)) | (pixels & kLow) << 16 | (pixels >> 16 & kLow);
}

/// The six colour bytes of both pixels, side by side.
constexpr std::uint64_t DropAlpha(std::uint64_t pixels) {
  return (pixels & 0xffffffu) | (pixels >> 8 & 0xffffff000000u);
}

/// Packs four-channel pixels into three bytes, and tells whether all of them are opaque.
bool PackRgb(const Byte* from, int width, bool swap, Byte* to) {
  std::uint64_t all = ~std::uint64_t{0};
  int x = 0;
  for (; x + 4 <= width; x += 4, from += 16, to += 12) {
    std::uint64_t first, second;
    std::memcpy(&first, from, sizeof first);
    std::memcpy(&second, from + 8, sizeof second);
    all &= first & second;
    first = DropAlpha(swap ? SwapRedBlue(first) : first);
    second = DropAlpha(swap ? SwapRedBlue(second) : second);
    const std::uint64_t start = first | second << 48;
    const auto end = static_cast<std::uint32_t>(second >> 16);
    std::memcpy(to, &start, sizeof start);
    std::memcpy(to + 8, &end, sizeof end);
  }
  Byte alphas = all >> 24 & all >> 56 & 0xff;
  for (; x < width; ++x, from += 4, to += 3) {
    to[0] = from[swap ? 2 : 0];
    to[1] = from[1];
    to[2] = from[swap ? 0 : 2];
    alphas &= from[3];
  }
  return alphas == 255;
}

void PackRgba(const Byte* from, int width, bool swap, Byte* to) {
  if (!swap) {
    std::memcpy(to, from, static_cast<std::size_t>(width) * 4);
    return;
  }
  int x = 0;
  for (; x + 2 <= width; x += 2, from += 8, to += 8) {
    std::uint64_t pixels;
    std::memcpy(&pixels, from, sizeof pixels);
    pixels = SwapRedBlue(pixels);
    std::memcpy(to, &pixels, sizeof pixels);
  }
  if (x < width) {
    const Byte pixel[4] = {from[2], from[1], from[0], from[3]};
    std::memcpy(to, pixel, sizeof pixel);
  }
}

/// Packs pixels of any layout, and tells whether all of them are opaque.
bool PackAny(const Byte* from, int width, int channels, const Layout& layout, int bytesPerPixel,
             Byte* to) {
  Byte all = 255;
  for (int x = 0; x < width; ++x, from += channels, to += bytesPerPixel) {
    const Byte alpha = layout.alpha < 0 ? Byte{255} : from[layout.alpha];
    to[0] = from[layout.red];
    to[1] = from[layout.green];
    to[2] = from[layout.blue];
    if (bytesPerPixel == 4) to[3] = alpha;
    all &= alpha;
  }
  return all == 255;
}

struct ExtDeleter {
  void operator()(Byte* bytes) const { FreeExt(bytes); }
};
using ExtBytes = std::unique_ptr<Byte, ExtDeleter>;

/// Packs one buffer.
class Packer {
 public:
  /// `layout` says where to find what is written as first, second and third byte, and the alpha.
  Packer(const HBitmapBuffer& buffer, const Layout& layout) : m_buffer(buffer), m_layout(layout) {
    if (buffer.Type() != HBitmapBuffer::kByteChannel) {
      m_row.reset(static_cast<Byte*>(AllocExt(static_cast<std::size_t>(buffer.RowStep()))));
    }
  }

  bool HasMemory() const { return m_buffer.Type() == HBitmapBuffer::kByteChannel || m_row; }

  /// The packed pixels, or null without memory. With three bytes a pixel it stops at the first row
  /// that is not opaque, and `*opaque` is false; with four `*opaque` means nothing.
  ExtBytes Pack(int bytesPerPixel, bool* opaque) const {
    const std::size_t rowBytes =
        static_cast<std::size_t>(m_buffer.Width()) * static_cast<std::size_t>(bytesPerPixel);
    ExtBytes packed(static_cast<Byte*>(
        hostkit::AllocExtPicture(rowBytes * static_cast<std::size_t>(m_buffer.Height()))));
    *opaque = true;
    for (int y = 0; packed && y < m_buffer.Height(); ++y) {
      *opaque &=
          PackRow(Row(y), bytesPerPixel, packed.get() + static_cast<std::size_t>(y) * rowBytes);
      if (!*opaque && bytesPerPixel == 3) break;
    }
    return packed;
  }

 private:
  const Byte* Row(int y) const {
    const auto step = static_cast<std::size_t>(m_buffer.RowStep());
    const auto* data = static_cast<const Byte*>(m_buffer.Data());
    const Byte* row =
        data + static_cast<std::size_t>(y) * step * hostkit::ElementSize(m_buffer.Type());
    if (!m_row) return row;
    RowToBytes(m_buffer, row, step, m_row.get());
    return m_row.get();
  }

  /// Packs one row; with three bytes a pixel it tells whether all of it is opaque.
  bool PackRow(const Byte* row, int bytesPerPixel, Byte* to) const {
    const int width = m_buffer.Width();
    const bool swap = m_layout.red == 2;
    if (m_buffer.Channels() != 4) {
      return PackAny(row, width, m_buffer.Channels(), m_layout, bytesPerPixel, to);
    }
    if (bytesPerPixel == 3) return PackRgb(row, width, swap, to);
    PackRgba(row, width, swap, to);
    return true;
  }

  const HBitmapBuffer& m_buffer;
  Layout m_layout;
  ExtBytes m_row;  // one row as bytes, for buffers of other types
};

/// The buffer that shows the picture: the 8-bit one, else the renderer's; null when neither has
/// pixels of the bitmap's size.
const HBitmapBuffer* FindPicture(const HBitmapNode& node) {
  for (const char* name : {"Color", "ColorAlpha"}) {
    const HBitmapBuffer* buffer = node.FindBuffer(name);
    if (buffer && buffer->Data() && buffer->Width() == node.GetWidth() &&
        buffer->Height() == node.GetHeight()) {
      return buffer;
    }
  }
  return nullptr;
}

}  // namespace

HByteBlock* HBitmapNode::CreateByteBlock(int /*wrap*/, int* flags, int bgr) {
  hostkit::LastBitmapCalls().bytesAsked = std::chrono::steady_clock::now();
  const HBitmapBuffer* picture = FindPicture(*this);
  if (!picture) return nullptr;
  Layout layout = LayoutOf(*picture);
  if (bgr) std::swap(layout.red, layout.blue);

  const Packer packer(*picture, layout);
  if (!packer.HasMemory()) return nullptr;
  bool opaque = true;
  int bytesPerPixel = 3;
  ExtBytes bytes = packer.Pack(bytesPerPixel, &opaque);
  const bool transparent = bytes && !opaque;
  if (transparent) {
    bytes.reset();
    bytesPerPixel = 4;
    bytes = packer.Pack(bytesPerPixel, &opaque);
  }
  if (!bytes) return nullptr;
  auto* block = new (std::nothrow) HByteBlock(bytes.get(), bytesPerPixel);
  if (!block) return nullptr;
  static_cast<void>(bytes.release());
  if (flags) *flags = transparent ? *flags | 1 : *flags & ~1;
  return block;
}
