// Scaling of bitmap buffers, on stb_image_resize.
//
// The filter is the tent (bilinear when enlarging, an area-weighted mean when shrinking): none of
// its weights is negative, so a scaled picture never leaves the range of its source. Sharper
// filters ring, which in a texture shows as bright fringes and in a depth buffer as depths that no
// surface has. The colour of four-channel buffers is weighted by alpha: what a transparent pixel
// hides does not bleed into its neighbours.
#include <Imath/half.h>

#include <cstddef>
#include <cstdint>

#include "host/Bitmap.h"
#include "host/Heaps.h"
#include "hostkit/services/bitmap_storage.h"

// The library's temporary memory is staging memory like any other.
#define STBIR_MALLOC(size, context) ((void)(context), AllocExt(size))
#define STBIR_FREE(block, context) ((void)(context), FreeExt(block))
// Its checks of filter sums abort debug builds over rounding of a tenth at steep ratios.
#define STBIR_ASSERT(condition) ((void)0)
#define STB_IMAGE_RESIZE_STATIC
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#include <stb/stb_image_resize.h>

namespace {

// The library computes its memory in 32 bits, and it grows with the row length times the ratio of
// shrinking. Both are kept far below the overflow: longer rows are refused, steeper ratios are
// gone through in steps.
constexpr std::int64_t kMaxRowElements = std::int64_t{1} << 22;
constexpr int kMaxShrink = 16;

/// Pixels of any channel type on the Ext heap or in a buffer.
struct Image {
  void* data;
  int width, height, channels;
  HBitmapBuffer::ChannelType type;

  std::size_t Elements() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
           static_cast<std::size_t>(channels);
  }
};

/// The side after the next step from `from` to `to`.
int NextSide(int from, int to) {
  const int nearest = (from - 1) / kMaxShrink + 1;
  return to < nearest ? nearest : to;
}

/// One step of the library, bytes or floats. Returns whether it could.
bool Resize(const Image& from, const Image& to) {
  const int alpha = from.channels == 4 ? 3 : STBIR_ALPHA_CHANNEL_NONE;
  if (from.type == HBitmapBuffer::kByteChannel) {
    return stbir_resize_uint8_generic(
               static_cast<const unsigned char*>(from.data), from.width, from.height, 0,
               static_cast<unsigned char*>(to.data), to.width, to.height, 0, from.channels, alpha,
               0, STBIR_EDGE_CLAMP, STBIR_FILTER_TRIANGLE, STBIR_COLORSPACE_LINEAR, nullptr) != 0;
  }
  return stbir_resize_float_generic(static_cast<const float*>(from.data), from.width, from.height,
                                    0, static_cast<float*>(to.data), to.width, to.height, 0,
                                    from.channels, alpha, 0, STBIR_EDGE_CLAMP,
                                    STBIR_FILTER_TRIANGLE, STBIR_COLORSPACE_LINEAR, nullptr) != 0;
}

/// Scales `from` into `to`, bytes or floats, in as many steps as the ratio takes.
bool ResizeInSteps(Image from, const Image& to) {
  void* owned = nullptr;  // the pixels of `from` after the first step
  for (;;) {
    Image next = to;
    next.width = NextSide(from.width, to.width);
    next.height = NextSide(from.height, to.height);
    const bool last = next.width == to.width && next.height == to.height;
    if (!last) next.data = AllocExt(next.Elements() * hostkit::ElementSize(next.type));
    const bool done = next.data && Resize(from, next);
    FreeExt(owned);
    owned = last ? nullptr : next.data;
    if (last || !done) {
      FreeExt(owned);
      return done;
    }
    from = next;
  }
}

/// Half floats go through floats, which the library knows.
bool ResizeHalf(const Image& from, const Image& to) {
  Image wideFrom = from, wideTo = to;
  wideFrom.type = wideTo.type = HBitmapBuffer::kFloatChannel;
  auto* source = static_cast<float*>(AllocExt(from.Elements() * sizeof(float)));
  auto* result = static_cast<float*>(AllocExt(to.Elements() * sizeof(float)));
  bool done = source && result;
  if (done) {
    const auto* halves = static_cast<const Imath::half*>(from.data);
    for (std::size_t i = 0, n = from.Elements(); i < n; ++i) source[i] = halves[i];
    wideFrom.data = source;
    wideTo.data = result;
    done = ResizeInSteps(wideFrom, wideTo);
  }
  if (done) {
    auto* halves = static_cast<Imath::half*>(to.data);
    for (std::size_t i = 0, n = to.Elements(); i < n; ++i) halves[i] = result[i];
  }
  FreeExt(source);
  FreeExt(result);
  return done;
}

}  // namespace

HBitmapBuffer* hostkit::ScaleBuffer(const HBitmapBuffer& buffer, int width, int height) {
  HBitmapBuffer* scaled = NewBufferLike(buffer, width, height);
  if (!scaled || !buffer.Data()) return scaled;
  const Image from{buffer.Data(), buffer.Width(), buffer.Height(), buffer.Channels(),
                   buffer.Type()};
  bool done = buffer.Channels() <= STBIR_MAX_CHANNELS;
  for (int side : {from.width, from.height, width, height}) {
    done = done && std::int64_t{side} * from.channels <= kMaxRowElements;
  }
  done = done && scaled->AllocateData(0);
  if (done) {
    const Image to{scaled->Data(), width, height, from.channels, from.type};
    done =
        from.type == HBitmapBuffer::kHalfChannel ? ResizeHalf(from, to) : ResizeInSteps(from, to);
  }
  if (!done) {
    scaled->DeleteHandle();
    return nullptr;
  }
  return scaled;
}
