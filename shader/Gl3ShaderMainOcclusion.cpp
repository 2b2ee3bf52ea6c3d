// Effect 2: ambient occlusion, which is switched off.
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>

#include "buffer/GL3Buffer.h"
#include "host/Bitmap.h"
#include "shader/Gl3ShaderMain.h"
#include "shader/Gl3ShaderMainRun.h"

namespace {

/// A texture without pixels, bound.
GLuint MakeEmptyTexture(int width, int height, GLenum format, GLint filter, GLint wrap) {
  const GLuint texture = MakeWorkTexture(filter, wrap);
  glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format), width, height, 0, format,
               GL_UNSIGNED_BYTE, nullptr);
  return texture;
}

/// The buffer called "Depth" in whatever case, when it holds floats of the bitmap's size.
const HBitmapBuffer* FindDepths(const HBitmapNode& bitmap) {
  const HBitmapBuffer* buffer = bitmap.GetBufferHead();
  while (buffer && strcasecmp(buffer->Name().Text(), "Depth") != 0) buffer = buffer->Next();
  const bool good = buffer && buffer->Data() && buffer->Type() == HBitmapBuffer::kFloatChannel &&
                    buffer->Width() >= bitmap.GetWidth() && buffer->Height() >= bitmap.GetHeight();
  return good ? buffer : nullptr;
}

}  // namespace

SSAOShader::SSAOShader(RenderInfo* info) {
  m_renderInfo = info;
}

SSAOShader::~SSAOShader() {
  SSAOShader::Delete();
}

void SSAOShader::Delete() {
  for (float*& array : m_work) {
    delete[] array;
    array = nullptr;
  }
  DeleteProgram(m_firstProgram, {&m_firstShaders[0], &m_firstShaders[1]});
  DeleteProgram(m_secondProgram, {&m_secondShaders[0], &m_secondShaders[1]});
}

/// Takes size and depths of a bitmap; all background when it has no depths. False without memory.
bool SSAOShader::ReadDepths(const HBitmapNode& bitmap) {
  m_width = std::max(bitmap.GetWidth(), 0);
  m_height = std::max(bitmap.GetHeight(), 0);
  if (__builtin_mul_overflow(m_width, m_height, &m_pixels)) return false;
  delete[] m_work[kDepths];
  m_work[kDepths] = new (std::nothrow) float[static_cast<std::size_t>(m_pixels)];
  if (!m_work[kDepths]) return false;
  const HBitmapBuffer* const buffer = FindDepths(bitmap);
  float* to = m_work[kDepths];
  for (std::ptrdiff_t y = 0; y < m_height; ++y) {
    for (std::ptrdiff_t x = 0; x < m_width; ++x) {
      *to++ = buffer ? static_cast<const float*>(
                           buffer->Data())[x * buffer->PixelStep() + y * buffer->RowStep()]
                     : kBackgroundDepth;
    }
  }
  return true;
}

int SSAOShader::ProcessShader(HBitmapNode* source, HBitmapNode* destination, float) {
  if (!source || !destination) return 0;
  if (m_targetBuffer) m_targetBuffer->MakeCurrent(0);
  if (!destination->Copy(*source) || !ReadDepths(*destination)) return 0;
  const auto bytes = static_cast<std::size_t>(m_pixels);
  const std::unique_ptr<unsigned char[]> mask(new (std::nothrow) unsigned char[bytes]);
  if (!mask) return 0;
  const float* const depths = m_work[kDepths];
  std::transform(depths, depths + bytes, mask.get(), [](float depth) {
    return static_cast<unsigned char>(depth < kBackgroundDepth ? 255 : 0);
  });
  filledge(mask.get(), m_width, m_height);

  int texels = 0;
  const GLuint textures[] = {
      CreateTextureForShader(source, texels),
      MakeEmptyTexture(m_width, m_height, GL_RGBA, GL_NEAREST, GL_CLAMP),
      MakeEmptyTexture(m_width, m_height, GL_RGBA, GL_NEAREST, GL_CLAMP),
      MakeEmptyTexture(m_width, m_height, GL_LUMINANCE, GL_LINEAR, GL_CLAMP_TO_EDGE)};
  // The mask's texture is the one bound last. Its rows are as long as the picture is wide.
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, m_width, m_height, GL_LUMINANCE, GL_UNSIGNED_BYTE,
                  mask.get());
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(4, textures);
  return textures[0] ? 1 : 0;
}

int GetTileSize(int n) {
  for (int divisor = 255; divisor > 1; --divisor) {
    double whole = 0;
    if (std::modf(static_cast<double>(n) / divisor, &whole) == 0) return divisor;
  }
  return 1;
}

void filledge(unsigned char* mask, int width, int height) {
  if (width < 2 || height < 2) return;
  const std::ptrdiff_t w = width;
  unsigned char* const bottom = mask + (height - 1) * w;
  const auto lower = [](unsigned char& pixel, unsigned char neighbour) {
    pixel = std::min(pixel, neighbour);
  };
  for (std::ptrdiff_t x = 1; x < w - 1; ++x) lower(mask[x], mask[w + x]);
  for (std::ptrdiff_t x = 1; x < w - 1; ++x) lower(bottom[x], bottom[x - w]);
  for (unsigned char* row = mask + w; row < bottom; row += w) lower(row[0], row[1]);
  for (unsigned char* row = mask + w; row < bottom; row += w) lower(row[w - 1], row[w - 2]);
  lower(mask[0], std::min(mask[1], mask[w]));
  lower(mask[w - 1], std::min(mask[w - 2], mask[2 * w - 1]));
  lower(bottom[0], std::min(bottom[-w], bottom[1]));
  lower(bottom[w - 1], std::min(bottom[-1], bottom[w - 2]));
}
