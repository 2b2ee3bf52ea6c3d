// WebP files into host bitmaps.
#include "hostkit/pictures/picture_webp.h"

#include <webp/decode.h>

#include <cstring>
#include <memory>

#include "hostkit/pictures/picture_guards.h"
#include "hostkit/pictures/picture_in.h"

namespace hostkit {

bool IsWebp(const unsigned char* bytes, std::size_t size) {
  return size >= 12 && std::memcmp(bytes, "RIFF", 4) == 0 && std::memcmp(bytes + 8, "WEBP", 4) == 0;
}

BitmapPtr LoadWebp(const unsigned char* bytes, std::size_t size, std::uint64_t mostBytes,
                   std::string* reason) {
  WebPBitstreamFeatures features;
  const bool isKnown = WebPGetFeatures(bytes, size, &features) == VP8_STATUS_OK;
  *reason = isKnown ? SizeRefusal(features.width, features.height, mostBytes)
                    : "the picture is broken; write it anew";
  if (isKnown && features.has_animation) *reason = "the picture is a film; save one frame of it";
  if (!reason->empty()) return nullptr;
  int width = 0, height = 0;
  const std::unique_ptr<unsigned char, decltype(&WebPFree)> rgba(
      WebPDecodeRGBA(bytes, size, &width, &height), &WebPFree);
  BitmapPtr bitmap = rgba ? BitmapFromRgba(rgba.get(), width, height) : nullptr;
  if (!rgba) *reason = "the picture is broken; write it anew";
  if (rgba && !bitmap) *reason = NoMemoryText(width, height);
  return bitmap;
}

}  // namespace hostkit
