// Pixels of the frame buffer: read-back into host bitmaps, blits, and showing the frame.
#include <half.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "buffer/GL3Buffer.h"
#include "host/Bitmap.h"
#include "host/Heaps.h"

namespace {

// A pixel this close to the background, channel by channel, counts as background.
constexpr float kKeyTolerance = 0.01f;

/// What the bytes of a pixel become: each channel has a table of words that hold its half float in
/// the channel's place, with the alpha of a pixel that it sets off from the background. The words
/// of three channels together are the pixel, blue lowest, since one channel that differs is enough.
class ConversionTables {
 public:
  ConversionTables(float red, float green, float blue) {
    const float background[3] = {red, green, blue};
    constexpr int kPlace[3] = {32, 16, 0};  // blue, green, red, alpha lie in this order
    constexpr int kAlphaPlace = 48;
    const std::uint64_t opaque = half(1.0f).bits();
    for (int byte = 0; byte < 256; ++byte) {
      const float channel = static_cast<float>(byte) / 255.0f;
      const std::uint64_t value = half(channel).bits();
      for (int c = 0; c < 3; ++c) {
        const bool isBackground = std::fabs(channel - background[c]) <= kKeyTolerance;
        m_words[c][byte] = value << kPlace[c] | (isBackground ? 0 : opaque << kAlphaPlace);
      }
    }
  }
  std::uint64_t Pixel(const unsigned char* rgb) const {
    return m_words[0][rgb[0]] | m_words[1][rgb[1]] | m_words[2][rgb[2]];
  }

 private:
  std::uint64_t m_words[3][256];  // red, green, blue
};

/// Turns packed red, green, blue bytes into blue, green, red, alpha half floats.
void ConvertRow(const ConversionTables& tables, const unsigned char* rgb, int width, half* bgra) {
  for (int x = 0; x < width; ++x, rgb += 3, bgra += 4) {
    const std::uint64_t pixel = tables.Pixel(rgb);
    std::memcpy(static_cast<void*>(bgra), &pixel, sizeof pixel);
  }
}

/// Adds the half-float colour buffer that a frame is read into. Null without memory.
half* AddColorBuffer(HBitmapNode* node, int width, int height) {
  HRGBABuffer* buffer =
      node->CreateRGBABuffer("ColorAlpha", HBitmapBuffer::kHalfChannel, width, height);
  if (!buffer) return nullptr;
  node->AddBuffer(buffer);
  buffer->AllocateData(0);
  return static_cast<half*>(buffer->GetData(0));
}

}  // namespace

/// Reads the frame into a new "ColorAlpha" buffer of `node`, which gives the size. What has the
/// background's colour becomes transparent. Returns 0 without bitmap or memory.
int GL3GABuffer::FillBitmapNode(HBitmapNode* node, int bottomUp) {
  if (!node) return 0;
  const int width = node->GetWidth();
  const int height = node->GetHeight();
  if (width <= 0 || height <= 0) return 1;
  const std::size_t rowBytes = static_cast<std::size_t>(width) * 3;
  auto* row = static_cast<unsigned char*>(AllocExt(rowBytes));
  if (!row) return 0;
  std::memset(row, 0, rowBytes);  // the GL writes nothing for pixels beyond the surface

  MakeCurrent(0);
  glPixelStorei(GL_PACK_ROW_LENGTH, width);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
  glPixelStorei(GL_PACK_SKIP_ROWS, 0);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);

  half* destination = AddColorBuffer(node, width, height);
  const ConversionTables tables(m_backgroundRed, m_backgroundGreen, m_backgroundBlue);
  for (int line = 0; destination && line < height; ++line) {
    const int y = bottomUp ? line : height - 1 - line;
    glReadPixels(0, y, width, 1, GL_RGB, GL_UNSIGNED_BYTE, row);
    ConvertRow(tables, row, width, destination + static_cast<std::size_t>(line) * width * 4);
  }
  FreeExt(row);
  return destination != nullptr;
}

/// Depth in window coordinates, 0 to 1, at a pixel counted from the lower left.
float GL3GABuffer::GetZValue(int x, int y) {
  MakeCurrent(0);
  float value = -100000000.0f;  // stays when nothing is read
  glReadPixels(x, y, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &value);
  return value;
}

/// Keeps a copy of a device-independent bitmap for the host; nothing is drawn. The memory has the
/// picture's size: of a bitmap that claims to be larger, what fits is copied.
int GL3GABuffer::Blit(tagBITMAPINFO* info) {
  if (!info) return 0;
  if (!m_blitMemory) {
    const std::int32_t width = m_renderInfo->imageWidth;
    const std::int32_t height = m_renderInfo->imageHeight;
    if (width <= 0 || height <= 0) return 0;
    const std::size_t bytes =
        static_cast<std::size_t>(width) * 4 * static_cast<std::size_t>(height);
    m_blitMemory = static_cast<unsigned char*>(AllocExt(bytes));
    if (!m_blitMemory) return 0;
    m_blitBytes = bytes;
  }
  const auto* pixels = reinterpret_cast<const unsigned char*>(info) + sizeof(BITMAPINFOHEADER);
  const std::size_t claimed = info->bmiHeader.biSizeImage;
  std::memcpy(m_blitMemory, pixels, std::min(claimed, m_blitBytes));
  return 1;
}

int GL3GABuffer::BlitToFront(CWnd*, unsigned short, unsigned short) {
  MakeCurrent(0);
  aglSwapBuffers(m_context);
  return 1;
}

int GL3GABuffer::RepaintFront(CRect, CWnd*, unsigned short, unsigned short) {
  return 0;
}
