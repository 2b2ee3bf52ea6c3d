// The effects: blur, image filters, ambient occlusion.
//
// Bodies: one file an effect (Gl3ShaderMainBlur.cpp, …Filter.cpp, …Occlusion.cpp); what blur and
// filters share is in Gl3ShaderMainRun.h, their GLSL in Gl3ShaderMainSources.h.
#pragma once

#include <cstdint>

#include "platform/gl.h"
#include "shader/Gl3ShaderProgram.h"

/// Effect 0: averages over a square, column by column and then row by row, once a pass.
///
/// The picture that is processed should have the size the effect was set up for, and sides that
/// are multiples of four: pictures of other sizes are scaled to such, and their rows no longer are
/// as long as the merge takes them to be.
class BlurShader final : public GL3GAShaderProgram {
 public:
  explicit BlurShader(RenderInfo* info);
  ~BlurShader() override;

  int IsOperational() override { return m_operational; }
  void Delete() override;

  /// Five parameters: mode of MergeBuffers, passes, radius in pixels, width and height of the
  /// picture in pixels; all but the radius truncated. Returns 1, or 0 after the log got the reason.
  int InitShader(float* parameters, int);
  /// Blurs the picture of `source` and merges it. Returns 1; 0 without picture or memory.
  int ProcessShader(HBitmapNode* source, HBitmapNode* destination);

 private:
  void SetUniforms(GLuint program, int side, float radius) const;

  std::int32_t m_passes = 0;
  std::int32_t m_mergeMode = 0;
  std::int32_t m_operational = 0;
  GLuint m_horizontalShader = 0;
  GLuint m_horizontalProgram = 0;
  GLuint m_verticalShader = 0;
  GLuint m_verticalProgram = 0;
  std::int32_t m_width = 0;
  std::int32_t m_height = 0;
};

/// Effect 1: filters over 3 x 3 pixels: 0 grey, 1 warm tint, 2 negative, 3 sharpen, 4 dilate,
/// 5 erode, 6 Laplacian, 7 Prewitt and 8 Sobel edges. On sizes see BlurShader.
class MiscShader final : public GL3GAShaderProgram {
 public:
  explicit MiscShader(RenderInfo* info);
  ~MiscShader() override;

  int IsOperational() override { return m_operational; }
  void Delete() override;

  /// Five parameters, truncated: mode of MergeBuffers, passes, filter, width and height of the
  /// picture in pixels. What a filter beyond 8 gives is undefined. Returns as BlurShader's.
  int InitShader(float* parameters, int);
  /// Filters the picture of `source` and merges it. Returns 1; 0 without picture or memory.
  int ProcessShader(HBitmapNode* source, HBitmapNode* destination);

 private:
  void SetUniforms() const;

  std::int32_t m_passes = 0;
  std::int32_t m_filter = 0;
  std::int32_t m_mergeMode = 0;
  std::int32_t m_operational = 0;
  GLuint m_shader = 0;
  GLuint m_program = 0;
  std::int32_t m_width = 0;
  std::int32_t m_height = 0;
};

/// Effect 2: ambient occlusion from a bitmap's depths. It is switched off: setting it up always
/// fails, so that no host gets to run it, and its programs are never made.
class SSAOShader final : public GL3GAShaderProgram {
 public:
  explicit SSAOShader(RenderInfo* info);
  ~SSAOShader() override;

  int IsOperational() override { return m_operational; }
  void Delete() override;

  /// Returns 0.
  int InitShader(float*, int) { return 0; }
  /// The part of the effect that stands: copies the source into the destination, masks what has a
  /// depth, and puts picture and mask into textures, which go with the call. Nothing is occluded
  /// yet. Returns 1; 0 without bitmaps or memory.
  int ProcessShader(HBitmapNode* source, HBitmapNode* destination, float);

 private:
  enum WorkArray { kDepths, kWorkArrays = 4 };  // nothing fills or reads the other three

  bool ReadDepths(const HBitmapNode& bitmap);

  [[maybe_unused]] std::int32_t m_reserved = 0;
  std::int32_t m_operational = 0;
  GLuint m_firstProgram = 0;
  GLuint m_firstShaders[2] = {};
  [[maybe_unused]] std::uint32_t m_reservedName = 0;
  GLuint m_secondProgram = 0;
  GLuint m_secondShaders[2] = {};
  float* m_work[kWorkArrays] = {};
  std::int32_t m_width = 0;
  std::int32_t m_height = 0;
  std::int32_t m_pixels = 0;
  [[maybe_unused]] std::int32_t m_reservedWords[2] = {};
};

/// The largest divisor of `n` that is at most 255: the side of tiles that `n` pixels divide into.
/// Nothing calls it.
int GetTileSize(int n);

/// Lowers the border of a mask, `height` rows of `width` bytes, to its inner neighbours where they
/// are lower: edges first, then corners from their neighbours on the edges. A mask less than two
/// pixels wide or high has no inside and stays.
// NOLINTNEXTLINE(readability-identifier-naming): the name is kept.
void filledge(unsigned char* mask, int width, int height);
