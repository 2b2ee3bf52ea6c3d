// WebP files into pixels.
#include <webp/decode.h>

#include <cstring>
#include <memory>

#include "hostkit/pictures/picture_decoders.h"

namespace hostkit {

bool IsWebp(const unsigned char* bytes, std::size_t size) {
  return size >= 12 && std::memcmp(bytes, "RIFF", 4) == 0 && std::memcmp(bytes + 8, "WEBP", 4) == 0;
}

bool DecodeWebp(const unsigned char* bytes, std::size_t size, PictureSink& sink,
                std::string* reason) {
  WebPBitstreamFeatures features;
  if (WebPGetFeatures(bytes, size, &features) != VP8_STATUS_OK) {
    *reason = "the picture is broken; write it anew";
    return false;
  }
  if (features.has_animation) {
    *reason = "the picture is a film; save one frame of it";
    return false;
  }
  if (!sink.Begin(features.width, features.height, reason)) return false;
  int width = 0, height = 0;
  const std::unique_ptr<unsigned char, decltype(&WebPFree)> rgba(
      WebPDecodeRGBA(bytes, size, &width, &height), &WebPFree);
  if (!rgba || width != sink.Width() || height != sink.Height()) {
    *reason = "the picture is broken; write it anew";
    return false;
  }
  for (int y = 0; y < height; ++y) {
    sink.PutBytes(0, y, rgba.get() + std::size_t{4} * static_cast<std::size_t>(width) * y, width);
  }
  return true;
}

}  // namespace hostkit
