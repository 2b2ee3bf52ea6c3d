// The module's texture: a host image as one two-dimensional GL texture.
#pragma once

#include <cstdint>

#include "host/GATexture.h"
#include "texture/TextureSize.h"

/// OpenGL implementation of the host's texture.
///
/// Textures live in the driver's context and are shared by every buffer's. The makers make that
/// context current, except the one for shaders, whose caller does. Each maker creates a new GL
/// texture without freeing the one before: free first, then remake. The makers answer 1 whatever
/// the GL does, and 0 only without picture or memory for its pixels or with a side of 0 or less.
class GL3GATexture final : public GATexture {
 public:
  enum Flag : std::uint8_t { kHasTransparency = 1 };

  GL3GATexture() = default;
  GL3GATexture(const GL3GATexture&) = delete;
  GL3GATexture& operator=(const GL3GATexture&) = delete;
  ~GL3GATexture() override;

  /// From m_width x m_height texels, which the caller has set, in rows of planes: a row's red
  /// bytes, then its green, blue and alpha bytes, then the next row.
  int MakeGATexture(unsigned char* planes) override;
  /// As an effect's input: clamped to its edges, neither compressed nor anisotropic.
  int MakeGATextureForShader(HBitmapNode* bitmap) override;
  /// As a surface's picture. `wrap` 0 repeats it, anything else clamps it; the two trailing
  /// arguments have no meaning.
  int MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) override;
  void FreeGATexture() override;

  bool HasTransparency() const { return (m_flags & kHasTransparency) != 0; }

  static std::int32_t m_maxlist;  // highest GL texture name made so far

  std::int32_t m_width = 0;   // texels
  std::int32_t m_height = 0;  // texels
  std::uint8_t m_flags = 0;
  std::uint32_t m_texture = 0;  // GL name, 0: there is none

 private:
  void UnbindAndRaiseHighestName();
  void SetTransparency(bool on);
  int UploadHalved(HBitmapNode* bitmap, int wrap);
};
