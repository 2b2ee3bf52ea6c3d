// Host images into GL textures: size, scaling, channel order, compression and upload.
#include "texture/GL3Texture.h"

#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "host/Heaps.h"
#include "platform/gl.h"

std::int32_t GL3GATexture::m_maxlist = 0;

namespace {

bool HasOption(GL3GADriver::OptionFlag flag) {
  const GL3GADriver* driver = CurrentDriver();
  return driver && driver->HasOption(flag);
}

void MakeDriverCurrent() {
  if (GL3GADriver* driver = CurrentDriver()) driver->MakeCurrent();
}

void SetParameter(GLenum parameter, GLint value) {
  glTexParameteri(GL_TEXTURE_2D, parameter, value);
}

TextureSize SizeFor(const HBitmapNode& bitmap) {
  const bool powersOfTwo =
      !GLEW_ARB_texture_non_power_of_two || HasOption(GL3GADriver::kPowerOfTwoTextures);
  return TextureSizeFor({bitmap.GetWidth(), bitmap.GetHeight()}, GL3GADriver::gl_max_texture_size,
                        powersOfTwo);
}

/// The 8-bit pixels of a bitmap at a texture's size, with everything that an upload needs to know.
/// Holds the scaled copy and the byte block, and releases them.
class TexturePixels {
 public:
  TexturePixels(HBitmapNode* bitmap, TextureSize size, int wrap) : m_size(size) {
    if (size != TextureSize{bitmap->GetWidth(), bitmap->GetHeight()}) {
      m_scaled = bitmap->ScaleBitmap(size.width, size.height);
      bitmap = m_scaled;
    }
    const int bgr = HasOption(GL3GADriver::kBgrBitmaps) ? 1 : 0;
    int alphaFlags = 0;
    if (bitmap) m_block = bitmap->CreateByteBlock(wrap, &alphaFlags, bgr);
    m_transparent = (alphaFlags & 1) != 0;
    if (!m_block) return;
    const bool alpha = m_block->GetBytesPerPixel() == 4;
    m_format = bgr ? (alpha ? GL_BGRA : GL_BGR) : (alpha ? GL_RGBA : GL_RGB);
  }
  TexturePixels(const TexturePixels&) = delete;
  TexturePixels& operator=(const TexturePixels&) = delete;
  ~TexturePixels() { Release(); }

  bool IsValid() const { return m_block != nullptr; }
  bool IsTransparent() const { return m_transparent; }
  TextureSize Size() const { return m_size; }

  void Release() {
    if (m_scaled) m_scaled->DeleteHandle();
    if (m_block) m_block->DeleteHandle();
    m_scaled = nullptr;
    m_block = nullptr;
  }

  /// Whether the GL would take a texture of this size and format.
  bool IsAcceptedByProxy() const {
    glTexImage2D(GL_PROXY_TEXTURE_2D, 0, GL_RGBA8, m_size.width, m_size.height, 0, m_format,
                 GL_UNSIGNED_BYTE, nullptr);
    GLint accepted = 0;
    glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &accepted);
    return accepted == GL_RGBA8;
  }

  void Upload(GLint internalFormat) const {
    // The GL expects rows at multiples of four bytes, and narrow or halved pictures end elsewhere.
    const bool unaligned = m_size.width * m_block->GetBytesPerPixel() % 4 != 0;
    if (unaligned) glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, m_size.width, m_size.height, 0, m_format,
                 GL_UNSIGNED_BYTE, m_block->GetByteBlock());
    if (unaligned) glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  }

 private:
  TextureSize m_size;
  HBitmapNode* m_scaled = nullptr;  // null: the caller's own bitmap has the size
  HByteBlock* m_block = nullptr;
  bool m_transparent = false;
  GLenum m_format = GL_RGB;
};

void SetWrap(int wrap) {
  GLint mode = GL_REPEAT;
  if (wrap != 0) mode = GLEW_ARB_texture_border_clamp ? GL_CLAMP_TO_BORDER : GL_CLAMP;
  SetParameter(GL_TEXTURE_WRAP_S, mode);
  SetParameter(GL_TEXTURE_WRAP_T, mode);
  if (mode != GL_CLAMP_TO_BORDER) return;
  // Nothing beyond the picture; the red shows a host that draws it without blending.
  const GLfloat border[4] = {1.0f, 0.0f, 0.0f, 0.0f};
  glTexParameterfv(GL_TEXTURE_2D, GL_TEXTURE_BORDER_COLOR, border);
}

/// Uploads compressed when that is wanted and the picture is large enough for it to pay.
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

/// A new GL texture, bound and sampled linearly without mipmaps.
void GL3GATexture::Generate() {
  glGenTextures(1, &m_texture);
  glBindTexture(GL_TEXTURE_2D, m_texture);
  SetParameter(GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  SetParameter(GL_TEXTURE_MIN_FILTER, GL_LINEAR);
}

/// Ends a maker: unbinds the texture and raises the record of names.
void GL3GATexture::NoteName() {
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
  Generate();
  SetParameter(GL_TEXTURE_WRAP_S, GL_REPEAT);
  SetParameter(GL_TEXTURE_WRAP_T, GL_REPEAT);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, m_width, m_height, 0, GL_RGBA, GL_UNSIGNED_BYTE, rgba);
  NoteName();
  FreeExt(rgba);
  return 1;
}

int GL3GATexture::MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) {
  if (!bitmap) return 0;
  const TextureSize size = SizeFor(*bitmap);
  TexturePixels pixels(bitmap, size, wrap);
  if (!pixels.IsValid()) return 0;
  SetTransparency(pixels.IsTransparent());
  m_width = size.width;
  m_height = size.height;

  MakeDriverCurrent();
  Generate();
  SetWrap(wrap);
  int result = 1;
  if (pixels.IsAcceptedByProxy()) {
    UploadPicture(pixels);
  } else {
    pixels.Release();
    result = UploadHalved(bitmap, wrap);
  }
  SetAnisotropy();
  NoteName();
  return result;
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

  Generate();
  SetParameter(GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  SetParameter(GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  pixels.Upload(GL_RGBA8);
  NoteName();
  return 1;
}

void GL3GATexture::SetTransparency(bool on) {
  m_flags =
      static_cast<std::uint8_t>(on ? m_flags | kHasTransparency : m_flags & ~kHasTransparency);
}
