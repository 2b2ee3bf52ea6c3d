// Glyph bitmaps, by FreeType from a font that fontconfig finds.
#include "platform/fonts/glyphs.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include FT_FREETYPE_H

namespace platform {
namespace {

struct FontFile {
  std::string path;
  int face = 0;
};

template <auto kDestroy>
struct Destroyer {
  template <typename T>
  void operator()(T* object) const {
    kDestroy(object);
  }
};

/// The file of the preferred sans-serif font; an empty path when there is none. The configuration
/// is this call's own: other users of fontconfig in the process keep theirs.
FontFile FindFont(bool bold, bool italic) {
  using Config = std::unique_ptr<FcConfig, Destroyer<FcConfigDestroy>>;
  using Pattern = std::unique_ptr<FcPattern, Destroyer<FcPatternDestroy>>;
  const Config config(FcInitLoadConfigAndFonts());
  const Pattern wish(FcPatternCreate());
  if (!config || !wish) return {};
  FcPatternAddString(wish.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>("sans-serif"));
  FcPatternAddInteger(wish.get(), FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
  FcPatternAddInteger(wish.get(), FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
  FcPatternAddBool(wish.get(), FC_SCALABLE, FcTrue);
  FcConfigSubstitute(config.get(), wish.get(), FcMatchPattern);
  FcDefaultSubstitute(wish.get());
  FcResult result = FcResultNoMatch;
  const Pattern match(FcFontMatch(config.get(), wish.get(), &result));
  FcChar8* path = nullptr;
  if (!match || FcPatternGetString(match.get(), FC_FILE, 0, &path) != FcResultMatch) return {};
  FontFile file{reinterpret_cast<const char*>(path)};
  FcPatternGetInteger(match.get(), FC_INDEX, 0, &file.face);
  return file;
}

Glyph CopyGlyph(const FT_GlyphSlot slot) {
  const FT_Bitmap& bitmap = slot->bitmap;
  Glyph glyph;
  glyph.width = static_cast<int>(bitmap.width);
  glyph.height = static_cast<int>(bitmap.rows);
  glyph.left = slot->bitmap_left;
  glyph.bottom = slot->bitmap_top - glyph.height;
  glyph.advance = static_cast<int>((slot->advance.x + 32) >> 6);  // from 26.6 fixed point
  const auto rowBytes = static_cast<std::size_t>((glyph.width + 7) / 8);
  glyph.bits.reserve(rowBytes * bitmap.rows);
  for (int row = glyph.height - 1; row >= 0; row--) {
    const unsigned char* from = bitmap.buffer + static_cast<std::ptrdiff_t>(row) * bitmap.pitch;
    glyph.bits.insert(glyph.bits.end(), from, from + rowBytes);
  }
  return glyph;
}

}  // namespace

extern "C" void RasteriseGlyphs(bool bold, bool italic, int size, GlyphSet& glyphs,
                                const char*& error) {
  glyphs = GlyphSet();
  error = "no font found; install one, such as DejaVu (fonts-dejavu-core)";
  const FontFile file = FindFont(bold, italic);
  FT_Library library = nullptr;
  if (file.path.empty() || FT_Init_FreeType(&library) != 0) return;
  const std::unique_ptr<FT_LibraryRec_, Destroyer<FT_Done_FreeType>> libraryOwner(library);
  FT_Face face = nullptr;
  error = "the font that fontconfig chose cannot be read; reinstall it";
  if (FT_New_Face(library, file.path.c_str(), file.face, &face) != 0) return;
  const std::unique_ptr<FT_FaceRec_, Destroyer<FT_Done_Face>> faceOwner(face);
  if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size)) != 0) return;
  error = nullptr;
  for (std::size_t code = 0; code < glyphs.size(); code++) {
    const FT_UInt index = FT_Get_Char_Index(face, code);  // Latin-1 is the start of Unicode
    if (index == 0) continue;
    if (FT_Load_Glyph(face, index, FT_LOAD_RENDER | FT_LOAD_TARGET_MONO) != 0) continue;
    glyphs[code] = CopyGlyph(face->glyph);
  }
}

}  // namespace platform
