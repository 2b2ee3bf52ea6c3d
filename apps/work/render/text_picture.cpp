// Text of any size as a picture to lay over a frame.
#include "apps/work/render/text_picture.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <vector>

#include "hostkit/pictures/picture_in.h"
#include "platform/fonts/glyphs.h"

namespace gl3 {
namespace {

/// Glyphs are bits. They are made so many times larger, and averaged into pixels.
constexpr int kFiner = 4;

const platform::GlyphSet& GlyphsOf(int size) {
  static auto* const sets = new std::map<int, platform::GlyphSet>;
  const auto found = sets->find(size);
  if (found != sets->end()) return found->second;
  const char* error = nullptr;
  return sets->emplace(size, platform::LoadGlyphs(false, false, size * kFiner, error))
      .first->second;
}

/// Coverage of pixels, as counts of bits, in a box of glyphs' units.
class Canvas {
 public:
  /// In finer pixels from the text's beginning, y upwards from its line.
  Canvas(int left, int right, int bottom, int top)
      : m_left(Floor(left)),
        m_top(-Floor(-top)),
        m_width(-Floor(-right) - m_left),
        m_height(m_top - Floor(bottom)),
        m_counts(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height)) {}

  void Add(const platform::Glyph& glyph, int at) {
    const int rowBytes = (glyph.width + 7) / 8;
    for (int row = 0; row < glyph.height; ++row) {
      for (int column = 0; column < glyph.width; ++column) {
        const int byte = row * rowBytes + column / 8;
        if (!(glyph.bits[static_cast<std::size_t>(byte)] >> (7 - column % 8) & 1)) continue;
        const int x = Floor(at + glyph.left + column) - m_left;
        const int y = m_top - 1 - Floor(glyph.bottom + row);
        ++m_counts[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) +
                   static_cast<std::size_t>(x)];
      }
    }
  }
  hostkit::BitmapPtr Paint(const ColorBuf& color) const {
    std::vector<unsigned char> rgba;
    rgba.reserve(m_counts.size() * 4);
    for (const int count : m_counts) {
      const int alpha = std::min(255 * count / (kFiner * kFiner), 255);
      rgba.insert(rgba.end(),
                  {color.red, color.green, color.blue, static_cast<unsigned char>(alpha)});
    }
    return hostkit::BitmapFromRgba(rgba.data(), m_width, m_height);
  }
  int Left() const { return m_left; }
  int Top() const { return m_top; }

 private:
  /// Finer pixels into pixels, downwards.
  static int Floor(int finer) {
    return finer >= 0 ? finer / kFiner : -((kFiner - 1 - finer) / kFiner);
  }

  int m_left, m_top, m_width, m_height;
  std::vector<int> m_counts;
};

const platform::Glyph& GlyphOf(const platform::GlyphSet& glyphs, char c) {
  return glyphs[static_cast<unsigned char>(c)];
}

}  // namespace

hostkit::OverlayPicture TextPicture(const std::string& latin1, int size, const ColorBuf& color,
                                    int x, int y) {
  const platform::GlyphSet& glyphs = GlyphsOf(size);
  int left = 0, right = 0, bottom = 0, top = 0, at = 0;
  for (const char c : latin1) {
    const platform::Glyph& glyph = GlyphOf(glyphs, c);
    left = std::min(left, at + glyph.left);
    right = std::max(right, at + glyph.left + glyph.width);
    bottom = std::min(bottom, glyph.bottom);
    top = std::max(top, glyph.bottom + glyph.height);
    at += glyph.advance;
  }
  hostkit::OverlayPicture picture;
  if (right <= left || top <= bottom) return picture;
  Canvas canvas(left, right, bottom, top);
  at = 0;
  for (const char c : latin1) {
    canvas.Add(GlyphOf(glyphs, c), at);
    at += GlyphOf(glyphs, c).advance;
  }
  const platform::Glyph& capital = GlyphOf(glyphs, 'H');
  picture.bitmap = canvas.Paint(color);
  picture.x = x + canvas.Left();
  picture.y = y + (capital.bottom + capital.height + kFiner / 2) / kFiner - canvas.Top();
  return picture;
}

int TextWidth(const std::string& latin1, int size) {
  int width = 0;
  for (const char c : latin1) width += GlyphOf(GlyphsOf(size), c).advance;
  return (width + kFiner - 1) / kFiner;
}

}  // namespace gl3
