// Glyphs of the Latin-1 characters as one-bit bitmaps. They come from a library of their own,
// gl3fonts: processes that draw no text do not load the libraries that it needs.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace platform {

/// One character's picture. Lengths are in pixels; up and right are positive.
struct Glyph {
  int width = 0, height = 0;
  int left = 0;     ///< From the text's position to the bitmap's left edge.
  int bottom = 0;   ///< From the baseline to the bitmap's lower edge.
  int advance = 0;  ///< From this character's position to the next one's.
  /// Rows of (width + 7) / 8 bytes from the bottom upwards, the high bit leftmost.
  std::vector<std::uint8_t> bits;
};

using GlyphSet = std::array<Glyph, 256>;

/// Rasterises the sans-serif font that the system prefers; `size` is in pixels. Characters that
/// the font lacks are empty, and so are all when there is no font: `error` then says why, else it
/// is null.
using GlyphRasteriser = void(bool bold, bool italic, int size, GlyphSet& glyphs,
                             const char*& error);

/// What gl3fonts exports.
inline constexpr char kGlyphRasteriser[] = "RasteriseGlyphs";
extern "C" GlyphRasteriser RasteriseGlyphs;

/// The same, in the platform library: opens gl3fonts, which lies beside it, on the first call.
GlyphSet LoadGlyphs(bool bold, bool italic, int size, const char*& error);

}  // namespace platform
