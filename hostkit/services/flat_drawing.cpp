// Views of pixels, glyphs and texts.
#include "hostkit/services/flat_drawing.h"

#include <cstddef>
#include <memory>

#include "host/GABuffer.h"
#include "host/GADriver.h"

namespace hostkit {

void FillPixelView(int width, int height, RenderInfo* info) {
  info->perspective = 0;
  info->nearZ = kPixelViewNear;
  info->farZ = kPixelViewFar;
  info->scaleX = info->scaleY = 1;
  info->offsetX = info->offsetY = 0;
  info->originX = info->originY = 0;
  info->viewLeft = info->viewTop = 0;
  info->viewRight = static_cast<float>(width);
  info->viewBottom = static_cast<float>(-height);
  info->imageWidth = info->pixelRight = width;
  info->imageHeight = info->pixelBottom = height;
  info->pixelLeft = info->pixelTop = 0;
}

bool MakeGlyphs(GADriver* driver) {
  RenderInfo info;
  const std::unique_ptr<GABuffer> buffer(driver->CreateBuffer(&info, GABuffer::kOnScreen, 0));
  return buffer && buffer->Reallocate(1, 1, GABuffer::kWithoutDepth) != 0;
}

std::string Latin1FromUtf8(std::string_view utf8) {
  std::string text;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto first = static_cast<unsigned char>(utf8[i]);
    if (first < 0x80) {
      text += utf8[i];
      continue;
    }
    unsigned following = 0;
    while (i + 1 < utf8.size() && (static_cast<unsigned char>(utf8[i + 1]) & 0xC0) == 0x80) {
      ++i;
      ++following;
    }
    const bool isLatin = following == 1 && (first == 0xC2 || first == 0xC3);
    text += isLatin ? static_cast<char>((first << 6 & 0xC0) | (utf8[i] & 0x3F)) : '?';
  }
  return text;
}

}  // namespace hostkit
