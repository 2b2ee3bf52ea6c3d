// Between host bitmaps and the effects' textures: pictures and depths up, results down.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>

#include "driver/GL3Driver.h"
#include "host/Bitmap.h"
#include "platform/gl.h"
#include "shader/Gl3ShaderProgram.h"
#include "shader/RowMerge.h"
#include "texture/TexturePixels.h"
#include "texture/TextureSize.h"

namespace {

/// Size of the texture for a bitmap: multiples of four, or powers of two where the GL has no other
/// textures, and at most what the GL takes: cut off there, not halved as surfaces' textures are.
TextureSize ShaderTextureSize(const HBitmapNode& bitmap) {
  const auto round = GLEW_ARB_texture_non_power_of_two ? SGet2 : NearestPowerOfTwo;
  const int limit = GL3GADriver::gl_max_texture_size;
  return {std::min(round(bitmap.GetWidth()), limit), std::min(round(bitmap.GetHeight()), limit)};
}

/// A new texture, bound, sampled linearly, with a wrap mode for both directions.
GLuint MakeInputTexture(GLint wrap) {
  return MakeBoundTexture({{GL_TEXTURE_MIN_FILTER, GL_LINEAR},
                           {GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                           {GL_TEXTURE_WRAP_S, wrap},
                           {GL_TEXTURE_WRAP_T, wrap}});
}

/// Runs `work` on every share of a row's columns, in one parallel region. A setting beyond all
/// processors costs threads that the system may not have, so there is an end to it; the shares are
/// as set.
template <typename Work>
void ForColumns(int columns, const Work& work) {
  constexpr int kMostThreads = 256;
  const int wanted = GL3GADriver::m_useopenmp ? GL3GADriver::m_azprocessor : 1;
  const int shares = std::clamp(wanted, 1, std::max(columns, 1));
#pragma omp parallel for schedule(static) num_threads(std::min(shares, kMostThreads))
  for (int i = 0; i < shares; ++i) work(StaticShare(i, shares, columns));
}

/// Where a merge goes, null when it cannot: the buffer must have storage for half-float colours.
HBitmapBuffer* MergeTarget(HBitmapNode* source, HBitmapNode* destination, int mode, int width,
                           int height) {
  HBitmapBuffer* target = nullptr;
  if (mode != 0) {
    target = source ? source->GetBufferHead() : nullptr;
  } else if (destination) {
    target =
        destination->CreateRGBABuffer("ColorAlpha", HBitmapBuffer::kHalfChannel, width, height);
    if (!target) return nullptr;
    destination->AddBuffer(target);
    target->AllocateData(0);
  }
  const bool takesColors = target && target->Data() && target->Channels() >= 4 &&
                           target->Type() == HBitmapBuffer::kHalfChannel;
  return takesColors ? target : nullptr;
}

/// The depths of a bitmap of at least the given size; null when its first buffer has none.
HBitmapBuffer* DepthBuffer(const HBitmapNode& bitmap, TextureSize size) {
  HBitmapBuffer* buffer = bitmap.GetBufferHead();
  const bool isDepth = buffer && buffer->Data() && buffer->Type() == HBitmapBuffer::kFloatChannel &&
                       buffer->Width() >= size.width && buffer->Height() >= size.height;
  return isDepth ? buffer : nullptr;
}

/// Room for an image of depths; null without memory. A size beyond all addresses is refused in the
/// language's own way.
std::unique_ptr<float[]> NewDepths(TextureSize size) {
  const std::size_t count =
      static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
  if (count > std::numeric_limits<std::ptrdiff_t>::max() / sizeof(float)) {
    throw std::bad_array_new_length();
  }
  return std::unique_ptr<float[]>(new (std::nothrow) float[count]);
}

}  // namespace

int SGet2(int value) {
  constexpr int kMostSteps = 100;
  constexpr int kLast = std::numeric_limits<int>::max() - kMostSteps;
  for (int i = 0; i < kMostSteps && value % 4 != 0 && value < kLast; ++i) ++value;
  return value;
}

float SuperLerp(float a, float b, float t0, float t1, float t) {
  if (t0 >= t) return a;
  if (t >= t1) return b;
  return a + (t - t0) / (t1 - t0) * (b - a);
}

unsigned int GL3GAShaderProgram::CreateTextureForShader(HBitmapNode* bitmap, int& pixels) {
  pixels = 0;
  if (!bitmap) return 0;
  const TextureSize size = ShaderTextureSize(*bitmap);
  if (size.width <= 0 || size.height <= 0) return 0;
  pixels = size.width * size.height;
  const TexturePixels picture(bitmap, size, 0);
  if (!picture.IsValid()) return 0;
  const GLuint texture = MakeInputTexture(GL_CLAMP_TO_EDGE);
  picture.Upload(GL_RGBA8);
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

unsigned int GL3GAShaderProgram::CreateDepthTextureForShader(HBitmapNode* bitmap, float& smallest,
                                                             float& largest) {
  largest = std::numeric_limits<float>::lowest();
  smallest = std::numeric_limits<float>::max();
  if (!bitmap) return 0;
  const TextureSize size = ShaderTextureSize(*bitmap);
  if (size.width <= 0 || size.height <= 0) return 0;
  const SizedBitmap sized(bitmap, size);
  if (!sized.Bitmap()) return 0;
  const std::unique_ptr<float[]> image = NewDepths(size);
  const HBitmapBuffer* buffer = DepthBuffer(*sized.Bitmap(), size);
  if (!image || !buffer) return 0;

  float depth = 0;
  for (int y = 0; y < size.height; ++y) {
    const float* row =
        static_cast<const float*>(buffer->Data()) + std::ptrdiff_t{y} * buffer->RowStep();
    for (int x = 0; x < size.width; ++x) {
      depth = row[std::ptrdiff_t{x} * buffer->PixelStep()];
      if (!(depth < kBackgroundDepth)) continue;
      smallest = std::min(smallest, depth);
      largest = std::max(largest, depth);
    }
  }
  // Every texel gets the depth that the scan ended with, that of the last pixel, and not its own:
  // the texture is uniform, and is kept so.
  const float texel = depth >= kBackgroundDepth ? 1.0f : SuperLerp(0, 1, smallest, largest, depth);
  for (int y = 0; y < size.height; ++y) {
    float* row = image.get() + std::ptrdiff_t{y} * size.width;
    ForColumns(size.width,
               [&](ColumnShare share) { std::fill(row + share.first, row + share.end, texel); });
  }

  const GLuint texture = MakeInputTexture(GL_CLAMP);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_MODE, GL_NONE);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_DEPTH_COMPONENT24, size.width, size.height, 0,
               GL_DEPTH_COMPONENT, GL_FLOAT, image.get());
  glBindTexture(GL_TEXTURE_2D, 0);
  return texture;
}

int GL3GAShaderProgram::MergeBuffers(HBitmapNode* source, HBitmapNode* destination,
                                     unsigned char* rgba, int mode, int, float, int width,
                                     int height) {
  HBitmapBuffer* target = MergeTarget(source, destination, mode, width, height);
  if (!target || !rgba) return 1;
  const HalfTable& halves = ByteHalves();
  const int columns = std::min(width, target->Width());
  const int rows = std::min(height, target->Height());
  for (int y = 0; y < rows; ++y) {
    const RowMerge row = {
        rgba + std::ptrdiff_t{y} * width * 4,
        static_cast<std::uint16_t*>(target->Data()) + std::ptrdiff_t{y} * target->RowStep(),
        target->PixelStep(), mode == 0};
    ForColumns(columns, [&](ColumnShare share) { MergeColumns(halves, row, share); });
  }
  return 1;
}
