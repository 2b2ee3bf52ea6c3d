// Bitmaps scaled, packed and uploaded.
#include "texture/TexturePixels.h"

#include "driver/GL3Driver.h"

SizedBitmap::SizedBitmap(HBitmapNode* bitmap, TextureSize size) : m_size(size), m_bitmap(bitmap) {
  if (size == TextureSize{bitmap->GetWidth(), bitmap->GetHeight()}) return;
  m_scaled.reset(bitmap->ScaleBitmap(size.width, size.height));
  m_bitmap = m_scaled.get();
}

TexturePixels::TexturePixels(HBitmapNode* bitmap, TextureSize size, int wrap)
    : m_sized(bitmap, size) {
  const GL3GADriver* driver = CurrentDriver();
  const bool bgr = driver && driver->HasOption(GL3GADriver::kBgrBitmaps);
  int alphaFlags = 0;
  if (m_sized.Bitmap()) {
    m_block.reset(m_sized.Bitmap()->CreateByteBlock(wrap, &alphaFlags, bgr ? 1 : 0));
  }
  m_transparent = (alphaFlags & 1) != 0;
  if (!m_block) return;
  const bool alpha = m_block->GetBytesPerPixel() == 4;
  m_format = bgr ? (alpha ? GL_BGRA : GL_BGR) : (alpha ? GL_RGBA : GL_RGB);
}

bool TexturePixels::IsAcceptedByProxy() const {
  glTexImage2D(GL_PROXY_TEXTURE_2D, 0, GL_RGBA8, Size().width, Size().height, 0, m_format,
               GL_UNSIGNED_BYTE, nullptr);
  GLint accepted = 0;
  glGetTexLevelParameteriv(GL_PROXY_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &accepted);
  return accepted == GL_RGBA8;
}

void TexturePixels::Upload(GLint internalFormat) const {
  // The GL expects rows at multiples of four bytes, and those of sizes that were halved, cut off
  // or rounded to small powers of two may end elsewhere.
  const bool unaligned = Size().width * m_block->GetBytesPerPixel() % 4 != 0;
  if (unaligned) glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, Size().width, Size().height, 0, m_format,
               GL_UNSIGNED_BYTE, m_block->GetByteBlock());
  if (unaligned) glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
}

GLuint MakeBoundTexture(std::initializer_list<TextureParameter> parameters) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  for (const TextureParameter& each : parameters) {
    glTexParameteri(GL_TEXTURE_2D, each.name, each.value);
  }
  return texture;
}
