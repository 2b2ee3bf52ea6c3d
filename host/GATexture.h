// The host's abstract texture.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// A picture that surfaces are drawn with. All makers return 1 for success and 0 without picture or
/// memory; each makes a new GL texture, so FreeGATexture comes before a second one. A picture whose
/// sides are no multiples of four is scaled to such, one that the GL finds too large to half its
/// size. Row 0, the top one, is at texture coordinate v = 0. Sampled linearly, without mipmaps.
///
/// A texture must outlive the frame that it is drawn in: queued triangles keep a pointer to it.
class GATexture : public GAssistObject {
 public:
  virtual ~GATexture() = default;
  /// From bytes by row: for each row all its reds, then greens, blues and alphas. Width and height
  /// are the module's own fields and must have been set. Repeats in both directions.
  virtual int MakeGATexture(unsigned char* planes) = 0;
  /// For effects: clamped to its edges, in the context that is current.
  virtual int MakeGATextureForShader(HBitmapNode* bitmap) = 0;
  /// From a bitmap's picture, see HBitmapNode. `wrap` 0 repeats in both directions; else what lies
  /// outside is transparent red, where the GL has borders (GL_ARB_texture_border_clamp), or
  /// clamped. The other two arguments are not used. The driver's context is current afterwards.
  virtual int MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) = 0;
  /// Releases the GL texture, if there is one. The driver's context is current afterwards then.
  virtual void FreeGATexture() = 0;
};
