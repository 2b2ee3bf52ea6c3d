// Pictures and text over a frame.
#include "hostkit/frame/overlay_painter.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <iterator>
#include <utility>

#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/bitmap_ptr.h"
#include "hostkit/services/flat_drawing.h"

namespace hostkit {
namespace {

// The far plane for what is behind: so far that its depth is that of a cleared buffer, but for the
// last of 24 bits.
constexpr float kBehind = -65536;

// Pictures are cut into textures of this side. Larger ones the renderer may compress or halve.
constexpr int kTileSide = 512;

// The renderer scales pictures to textures with sides of multiples of four or of powers of two, as
// its settings are. One whose sides are both is shown pixel for pixel.
int TextureSide(int side) {
  constexpr unsigned kLeast = 4;
  return static_cast<int>(std::max(kLeast, std::bit_ceil(static_cast<unsigned>(side))));
}

// A part of the picture's "Color" buffer, clear beyond its `width` x `height` pixels; null without
// memory or colours.
BitmapPtr CutOut(const HBitmapNode& picture, int left, int top, int width, int height) {
  const HBitmapBuffer* colors = picture.FindBuffer("Color");
  if (!colors || !colors->Data() || colors->Type() != HBitmapBuffer::kByteChannel) return nullptr;
  const int channels = std::min(colors->Channels(), 4);
  const int paddedWidth = TextureSide(width), paddedHeight = TextureSide(height);
  std::vector<unsigned char> rgba(static_cast<std::size_t>(paddedWidth) * paddedHeight * 4, 0);
  for (int y = 0; y < height; ++y) {
    const auto* from = static_cast<const unsigned char*>(colors->Data()) +
                       static_cast<std::ptrdiff_t>(top + y) * colors->RowStep() +
                       static_cast<std::ptrdiff_t>(left) * colors->PixelStep();
    unsigned char* to = rgba.data() + static_cast<std::size_t>(y) * paddedWidth * 4;
    for (int x = 0; x < width; ++x, from += colors->PixelStep(), to += 4) {
      to[3] = 255;
      std::copy_n(from, channels, to);
    }
  }
  return BitmapFromRgba(rgba.data(), paddedWidth, paddedHeight);
}

}  // namespace

const std::vector<OverlayPainter::Tile>* OverlayPainter::TilesOf(const OverlayPicture& picture) {
  Uploaded& uploaded = m_textures[picture.bitmap.get()];
  if (uploaded.bitmap) return &uploaded.tiles;
  uploaded.tiles.clear();
  const int width = picture.bitmap->GetWidth(), height = picture.bitmap->GetHeight();
  for (int y = 0; y < height; y += kTileSide) {
    for (int x = 0; x < width; x += kTileSide) {
      Tile tile{x, y, std::min(kTileSide, width - x), std::min(kTileSide, height - y), {}, {}};
      const BitmapPtr part = CutOut(*picture.bitmap, x, y, tile.width, tile.height);
      tile.texture.reset(part ? m_driver->CreateTexture() : nullptr);
      // Not as surfaces have it: anisotropic filtering on llvmpipe of Mesa 22.3 blurs pictures that
      // are drawn pixel for pixel, and mixes opposite edges (Frames.OverlaysStandPixelForPixel).
      if (!tile.texture || !tile.texture->MakeGATextureForShader(part.get())) return nullptr;
      tile.extent = {static_cast<float>(tile.width) / static_cast<float>(part->GetWidth()),
                     static_cast<float>(tile.height) / static_cast<float>(part->GetHeight())};
      uploaded.tiles.push_back(std::move(tile));
    }
  }
  uploaded.bitmap = picture.bitmap;
  return &uploaded.tiles;
}

bool OverlayPainter::Blit(GABuffer& buffer, const OverlayPicture& picture, int left, int top,
                          float z) {
  const std::vector<Tile>* tiles = TilesOf(picture);
  if (!tiles) return false;
  for (const Tile& tile : *tiles) {
    const int x = picture.x + tile.x - left, y = picture.y + tile.y - top;
    const CRect rect(x, y, x + tile.width, y + tile.height);
    buffer.TransparentBlit(tile.texture.get(), rect, z, tile.extent, picture.alpha);
  }
  return true;
}

// Pictures of frames before, which nobody else holds, do not stay.
void OverlayPainter::ForgetPictures() {
  for (auto it = m_textures.begin(); it != m_textures.end();) {
    it = it->second.bitmap.use_count() <= 1 ? m_textures.erase(it) : std::next(it);
  }
}

/// Has the target's list draw in the pixels of the surface.
void OverlayPainter::Begin(const PaintTarget& target, int width, int height, float far) {
  GABuffer& buffer = *target.buffer;
  // Parallel, since under perspective the renderer maps pixels only beyond a distance of 0.99,
  // where a small scene may not reach.
  FillPixelView(width, height, target.info);
  target.info->farZ = far;
  ForgetPictures();
  buffer.ComputeProjectionMatrices();
  if (buffer.IsFogEnabled()) buffer.SetFogState(0);
  target.list->BeginInstructions();
  target.list->SetTexture(nullptr);
  target.list->SetDepthFunc(DisplayList::kNormalBlending);
  target.list->SetDepthFunc(DisplayList::kLightingOff);
  buffer.SetProjection(GABuffer::kSceneProjection);
}

bool OverlayPainter::PaintBehind(const PaintTarget& target,
                                 const std::shared_ptr<HBitmapNode>& picture, int width,
                                 int height) {
  Begin(target, width, height, kBehind);
  const bool good = Blit(*target.buffer, {picture, 0, 0, 1}, 0, 0, kBehind);
  target.list->EndInstructions();
  return good;
}

bool OverlayPainter::Paint(const PaintTarget& target, const FrameSettings& settings, int left,
                           int top, int width, int height) {
  GABuffer& buffer = *target.buffer;
  Begin(target, width, height, kPixelViewFar);
  bool good = true;
  for (const OverlayPicture& picture : settings.overlays) {
    good = Blit(buffer, picture, left, top, kPixelViewNear) && good;
  }
  for (const TextNote& note : settings.texts) {
    GAColor color;
    color.Set(note.color.red, note.color.green, note.color.blue, note.color.alpha);
    buffer.TextOutA(note.x - left, note.y - top, note.text.c_str(), color, 0);
  }
  target.list->EndInstructions();
  return good;
}

// The renderer makes fonts with the contexts of windows, and all contexts share them.
void OverlayPainter::MakeFonts() {
  if (!m_hasFonts) m_hasFonts = MakeGlyphs(m_driver);
}

}  // namespace hostkit
