// Host images into GL textures: size, parameters, compression and the retry of a refused size.
#include "texture/GL3Texture.h"

#include <cstddef>
#include <optional>

#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "host/Heaps.h"
#include "platform/gl.h"
#include "texture/TexturePixels.h"

std::int32_t GL3GATexture::m_maxlist = 0;

namespace {

bool HasOption(GL3GADriver::OptionFlag flag) {
  const GL3GADriver* driver = CurrentDriver();
  return driver && driver->HasOption(flag);
}

void MakeDriverCurrent() {
  if (GL3GADriver* driver = CurrentDriver()) driver->MakeCurrent();
}

TextureSize SizeFor(const HBitmapNode& bitmap) {
  const bool powersOfTwo =
      !GLEW_ARB_texture_non_power_of_two || HasOption(GL3GADriver::kPowerOfTwoTextures);
  return TextureSizeFor({bitmap.GetWidth(), bitmap.GetHeight()}, GL3GADriver::gl_max_texture_size,
                        powersOfTwo);
}

/// Sampled linearly without mipmaps, with a wrap mode for both directions.
GLuint MakeLinearTexture(GLint wrap) {
  return MakeBoundTexture({{GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                           {GL_TEXTURE_MIN_FILTER, GL_LINEAR},
                           {GL_TEXTURE_WRAP_S, wrap},
                           {GL_TEXTURE_WRAP_T, wrap}});
}

/// Repeated for that wrap mode; else clamped, to red without alpha where the GL has borders.
GLuint MakeSurfaceTexture(int wrap) {
  if (wrap == GATexture::kRepeat) return MakeLinearTexture(GL_REPEAT);
  if (!GLEW_ARB_texture_border_clamp) return MakeLinearTexture(GL_CLAMP);
  const GLuint texture = MakeLinearTexture(GL_CLAMP_TO_BORDER);
  const GLfloat border[4] = {1.0f, 0.0f, 0.0f, 0.0f};
  glTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, border);
  return texture;
}

/// Compressed when that is wanted, a side is above a quarter of the largest, and the GL does so.
void UploadPicture(const TexturePixels& pixels) {
  const int quarter = GL3GADriver::gl_max_texture_size / 4;
  const bool large = pixels.Size().width > quarter || pixels.Size().height > quarter;
  if (large && HasOption(GL3GADriver::kCompressTextures)) {
    pixels.Upload(GL_COMPRESSED_RGBA);
    GLint compressed = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_COMPRESSED, &compressed);
    if (compressed) return;
  }
  pixels.Upload(GL_RGBA8);
}

void SetAnisotropy() {
  if (!GLEW_EXT_texture_filter_anisotropic || !HasOption(GL3GADriver::kAnisotropicWanted)) return;
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAX_ANISOTROPY_EXT,
                  GL3GADriver::gl_max_texture_max_anisotropy_ext);
}

/// Interleaves rows of planes into red, green, blue, alpha texels. True when an alpha is below 255.
bool InterleavePlanes(const unsigned char* planes, int width, int height, unsigned char* rgba) {
  bool transparent = false;
  for (int y = 0; y < height; ++y, planes += static_cast<std::size_t>(width) * 4) {
    for (int x = 0; x < width; ++x, rgba += 4) {
      for (int channel = 0; channel < 4; ++channel) rgba[channel] = planes[channel * width + x];
      transparent |= rgba[3] < 255;
    }
  }
  return transparent;
}

}  // namespace

GL3GATexture::~GL3GATexture() {
  if (!m_texture) return;
  MakeDriverCurrent();
  glDeleteTextures(1, &m_texture);
}

void GL3GATexture::FreeGATexture() {
  if (!m_texture) return;
  MakeDriverCurrent();
  glDeleteTextures(1, &m_texture);
  m_texture = 0;
}

/// Ends a maker.
void GL3GATexture::UnbindAndRaiseHighestName() {
  glBindTexture(GL_TEXTURE_2D, 0);
  const auto name = static_cast<std::int32_t>(m_texture);
  if (name > m_maxlist) m_maxlist = name;
}

int GL3GATexture::MakeGATexture(unsigned char* planes) {
  if (!planes || m_width <= 0 || m_height <= 0) return 0;
  const std::size_t bytes = static_cast<std::size_t>(m_width) * m_height * 4;
  auto* rgba = static_cast<unsigned char*>(AllocExt(bytes));
  if (!rgba) return 0;
  if (InterleavePlanes(planes, m_width, m_height, rgba)) m_flags |= kHasTransparency;

  MakeDriverCurrent();
  m_texture = MakeLinearTexture(GL_REPEAT);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, m_width, m_height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
  UnbindAndRaiseHighestName();
  FreeExt(rgba);
  return 1;
}

int GL3GATexture::MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) {
  if (!bitmap) return 0;
  const TextureSize size = SizeFor(*bitmap);
  std::optional<TexturePixels> pixels(std::in_place, bitmap, size, wrap);
  if (!pixels->IsValid()) return 0;
  SetTransparency(pixels->IsTransparent());
  m_width = size.width;
  m_height = size.height;

  MakeDriverCurrent();
  m_texture = MakeSurfaceTexture(wrap);
  if (pixels->IsAcceptedByProxy()) {
    UploadPicture(*pixels);
  } else {
    pixels.reset();
    if (!UploadHalved(bitmap, wrap)) {
      FreeGATexture();  // a name without an image would pass for a texture
      return 0;
    }
  }
  SetAnisotropy();
  UnbindAndRaiseHighestName();
  return 1;
}

/// The one retry after the GL refused the size: half of it, from the caller's own bitmap.
int GL3GATexture::UploadHalved(HBitmapNode* bitmap, int wrap) {
  const TextureSize size = Halved({m_width, m_height});
  m_width = size.width;
  m_height = size.height;
  const TexturePixels pixels(bitmap, size, wrap);
  if (!pixels.IsValid()) return 0;
  SetTransparency(pixels.IsTransparent());
  pixels.Upload(GL_RGBA8);
  return 1;
}

int GL3GATexture::MakeGATextureForShader(HBitmapNode* bitmap) {
  if (!bitmap) return 0;
  const TextureSize size = SizeFor(*bitmap);
  const TexturePixels pixels(bitmap, size, 0);
  if (!pixels.IsValid()) return 0;
  SetTransparency(pixels.IsTransparent());
  m_width = size.width;
  m_height = size.height;

  m_texture = MakeLinearTexture(GL_CLAMP_TO_EDGE);
  pixels.Upload(GL_RGBA8);
  UnbindAndRaiseHighestName();
  return 1;
}

void GL3GATexture::SetTransparency(bool on) {
  m_flags =
      static_cast<std::uint8_t>(on ? m_flags | kHasTransparency : m_flags & ~kHasTransparency);
}
