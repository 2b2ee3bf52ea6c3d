// aglUseFont: a font's characters as display lists.
#include <algorithm>
#include <cstdio>
#include <limits>
#include <map>
#include <mutex>
#include <tuple>
#include <utility>

#include "platform/agl.h"
#include "platform/egl/agl_error.h"
#include "platform/egl/context.h"
#include "platform/egl/entry_point.h"
#include "platform/fonts/glyphs.h"

namespace platform {
namespace {

constexpr GLint kBold = 1;
constexpr GLint kItalic = 2;
constexpr GLint kLargestSize = 1000;

/// Glyphs are kept for the process: buffers that draw on windows ask for the same font each time
/// they are allocated, and rasterising takes some milliseconds, most of them fontconfig's.
const GlyphSet& Glyphs(GLint style, GLint size) {
  static std::mutex mutex;
  static auto* const sets = new std::map<std::tuple<GLint, GLint>, GlyphSet>;
  const std::lock_guard lock(mutex);
  const std::tuple key(style & (kBold | kItalic), size);
  if (const auto found = sets->find(key); found != sets->end()) return found->second;
  const char* error = nullptr;
  GlyphSet glyphs = LoadGlyphs(style & kBold, style & kItalic, size, error);
  static bool warned = false;
  if (error && !warned) {
    std::fprintf(stderr, "aglUseFont: text stays empty: %s\n", error);
    warned = true;
  }
  return sets->emplace(key, std::move(glyphs)).first->second;
}

void CompileList(GLuint list, const Glyph& glyph) {
  glNewList(list, GL_COMPILE);
  if (glyph.advance != 0 || !glyph.bits.empty()) {
    glBitmap(glyph.width, glyph.height, static_cast<GLfloat>(-glyph.left),
             static_cast<GLfloat>(-glyph.bottom), static_cast<GLfloat>(glyph.advance), 0.0f,
             glyph.bits.empty() ? nullptr : glyph.bits.data());
  }
  glEndList();
}

}  // namespace
}  // namespace platform

using namespace platform;

GLboolean aglUseFont(AGLContext context, GLint, GLint style, GLint size, GLint first, GLint count,
                     GLint base) {
  if (!Contexts().Get(context)) return AglFailure(AGL_BAD_CONTEXT);
  if (CurrentContextHandle() != context) return AglFailure(AGL_BAD_STATE);
  constexpr GLint kMost = std::numeric_limits<GLint>::max();
  if (size <= 0 || size > kLargestSize || first < 0 || count < 0 || base < 0 ||
      count > kMost - std::max(first, base)) {
    return AglFailure(AGL_BAD_VALUE);
  }
  const GlyphSet& glyphs = Glyphs(style, size);
  const Glyph empty;
  // The client attribute group holds all of the unpack state, the bound pixel buffer too.
  glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
  GLint unpackBuffer = 0;
  glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
  if (unpackBuffer != 0) {
    EntryPoint<PFNGLBINDBUFFERPROC>("glBindBuffer")(GL_PIXEL_UNPACK_BUFFER, 0);
  }
  constexpr GLenum kStores[] = {GL_UNPACK_SWAP_BYTES, GL_UNPACK_LSB_FIRST, GL_UNPACK_ROW_LENGTH,
                                GL_UNPACK_SKIP_ROWS, GL_UNPACK_SKIP_PIXELS};
  for (const GLenum store : kStores) glPixelStorei(store, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  for (GLint i = 0; i < count; i++) {
    const std::size_t code = static_cast<std::size_t>(first) + static_cast<std::size_t>(i);
    CompileList(static_cast<GLuint>(base) + static_cast<GLuint>(i),
                code < glyphs.size() ? glyphs[code] : empty);
  }
  glPopClientAttrib();
  return GL_TRUE;
}
