// Opening of gl3fonts.
#include <dlfcn.h>

#include <string>

#include "platform/fonts/glyphs.h"

namespace platform {
namespace {

// Beside this library, wherever that is: the search path of the process may not lead there.
GlyphRasteriser* OpenRasteriser() {
  Dl_info self{};
  if (!dladdr(reinterpret_cast<const void*>(&OpenRasteriser), &self) || !self.dli_fname) {
    return nullptr;
  }
  const std::string path(self.dli_fname);
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  void* const library = dlopen((folder + "libgl3fonts.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) return nullptr;
  return reinterpret_cast<GlyphRasteriser*>(dlsym(library, kGlyphRasteriser));
}

}  // namespace

GlyphSet LoadGlyphs(bool bold, bool italic, int size, const char*& error) {
  static GlyphRasteriser* const rasterise = OpenRasteriser();
  GlyphSet glyphs;
  error =
      "libgl3fonts.so, which belongs beside libgl3platform.so, cannot be opened; put it there, "
      "with libfreetype6 and libfontconfig1 installed";
  if (rasterise) rasterise(bold, italic, size, glyphs, error);
  return glyphs;
}

}  // namespace platform
