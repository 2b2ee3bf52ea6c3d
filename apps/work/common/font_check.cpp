// Whether text can be drawn.
#include "apps/work/common/font_check.h"

#include "platform/fonts/glyphs.h"

namespace gl3 {

std::string FontProblem() {
  constexpr int kPixels = 12;
  const char* error = nullptr;
  const platform::GlyphSet glyphs = platform::LoadGlyphs(false, false, kPixels, error);
  if (error) return error;
  return glyphs['A'].bits.empty() ? "the font has no letters; install fonts-dejavu-core" : "";
}

}  // namespace gl3
