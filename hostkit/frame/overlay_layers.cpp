// Pictures and text for frames that are made of samples or of parts.
#include "hostkit/frame/overlay_layers.h"

#include <algorithm>
#include <cstddef>

#include "hostkit/frame/frame_resolve.h"

namespace hostkit {
namespace {

// Larger pictures are drawn in parts of this side.
constexpr int kPartSide = 2048;
// Text is never higher than this, nor a character wider.
constexpr int kTextHeight = 18, kCharacterWidth = 16;
constexpr int kMaxTextWidth = 4096;  // pixels; what reaches beyond is cut

bool IsSame(const OverlayPicture& a, const OverlayPicture& b) {
  return a.bitmap == b.bitmap && a.x == b.x && a.y == b.y && a.alpha == b.alpha;
}

bool IsSame(const TextNote& a, const TextNote& b) {
  return a.text == b.text && a.x == b.x && a.y == b.y && a.color.red == b.color.red &&
         a.color.green == b.color.green && a.color.blue == b.color.blue &&
         a.color.alpha == b.color.alpha;
}

template <class Thing>
bool AreSame(const std::vector<Thing>& a, const std::vector<Thing>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Thing& x, const Thing& y) { return IsSame(x, y); });
}

}  // namespace

std::vector<OverlayLayers::Part> OverlayLayers::PartsOf(const FrameSettings& settings) {
  std::vector<Part> parts;
  for (const OverlayPicture& picture : settings.overlays) {
    FrameSettings content;
    content.overlays = {picture};
    const int right = std::min(settings.width, picture.x + picture.bitmap->GetWidth());
    const int bottom = std::min(settings.height, picture.y + picture.bitmap->GetHeight());
    for (int y = std::max(0, picture.y); y < bottom; y += kPartSide) {
      for (int x = std::max(0, picture.x); x < right; x += kPartSide) {
        parts.push_back(
            {x, y, std::min(kPartSide, right - x), std::min(kPartSide, bottom - y), content});
      }
    }
  }
  for (const TextNote& note : settings.texts) {
    const auto length = static_cast<int>(std::min<std::size_t>(note.text.size(), kMaxTextWidth));
    const int width = std::min((length + 1) * kCharacterWidth, kMaxTextWidth);
    if (note.x >= settings.width || note.y >= settings.height || note.x + width <= 0 ||
        note.y + kTextHeight <= 0) {
      continue;
    }
    FrameSettings content;
    content.texts = {note};
    parts.push_back({note.x, note.y, width, kTextHeight, content});
  }
  return parts;
}

BitmapPtr OverlayLayers::DrawPart(OffScreenSurface& surface, const Part& part) {
  BitmapPtr onGround[2];
  for (int ground = 0; ground < 2; ++ground) {
    GAColor color;
    const auto value = static_cast<unsigned char>(ground * 255);
    color.Set(value, value, value, 255);
    const PaintTarget target = surface.Target();
    target.buffer->SetBackground(color);
    target.buffer->Clear();
    // The part stands at the surface's lower left, where it is read from.
    const int top = part.y + part.height - surface.Height();
    if (!m_painter.Paint(target, part.content, part.x, top, surface.Width(), surface.Height())) {
      return nullptr;
    }
    onGround[ground] = surface.Read(part.width, part.height);
    if (!onGround[ground]) return nullptr;
  }
  BitmapPtr pixels = NewHalfBitmap(part.width, part.height);
  if (!pixels) return nullptr;
  ResolveSamples(*onGround[0]->FindBuffer("ColorAlpha"), *onGround[1]->FindBuffer("ColorAlpha"), 1,
                 {0, 0, part.width, part.height}, pixels->FindBuffer("ColorAlpha"));
  return pixels;
}

bool OverlayLayers::Draw(const FrameSettings& settings, std::string* error) {
  m_layers.clear();
  const std::vector<Part> parts = PartsOf(settings);
  if (parts.empty()) return true;
  int width = 0, height = 0;
  for (const Part& part : parts) {
    width = std::max(width, part.width);
    height = std::max(height, part.height);
  }
  if (!settings.texts.empty()) m_painter.MakeFonts();
  OffScreenSurface surface(m_driver);
  if (!surface.Ensure(width, height, error)) return false;
  for (const Part& part : parts) {
    m_layers.push_back({part.x, part.y, DrawPart(surface, part)});
    if (m_layers.back().pixels) continue;
    *error = "memory ran out: choose smaller overlays";
    m_layers.clear();
    return false;
  }
  return true;
}

bool OverlayLayers::LayOver(const FrameSettings& settings, HBitmapBuffer* pixels,
                            std::string* error) {
  const bool isDrawn = m_drawn.width == settings.width && m_drawn.height == settings.height &&
                       AreSame(m_drawn.overlays, settings.overlays) &&
                       AreSame(m_drawn.texts, settings.texts);
  if (!isDrawn) {
    m_drawn = {};
    if (!Draw(settings, error)) return false;
    m_drawn = settings;
  }
  for (const Layer& layer : m_layers) {
    LayPixelsOver(*layer.pixels->FindBuffer("ColorAlpha"), layer.x, layer.y, pixels);
  }
  return true;
}

}  // namespace hostkit
