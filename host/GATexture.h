// The host's abstract texture.
#pragma once

#include "host/Heaps.h"

class HBitmapNode;

/// A picture that surfaces are drawn with. All makers return 1 for success and 0 without picture or
/// memory; each makes a new GL texture, so FreeGATexture comes before a second one. The picture is
/// copied: the bitmap may go. One whose sides are no multiples of four is scaled to such (to powers
/// of two by the setting "Textures Powerof2"), one with a side of the GL's limit or more to half
/// its size, without a word: texture coordinates, 0 to 1 from edge to edge, stay what they were.
/// Row 0, the top one, is at texture coordinate v = 0, the left column at u = 0. Sampled linearly,
/// without mipmaps. The texel multiplies the surface's colour, lit or its own, and its alpha the
/// surface's; highlights are added to that. A picture with any alpha below 255 makes the surfaces
/// that it is on transparent.
///
/// A texture must outlive the frame that it is drawn in: queued triangles keep a pointer to it. Its
/// picture may be exchanged, by FreeGATexture and another maker, between frames. Within a frame
/// that takes an ExecuteInstructions before and a SetTexture afterwards, and what waits for
/// EndScene with the texture is drawn with the new picture. Made by GADriver::CreateTexture, after
/// Initialize; deleted by the host before the driver. Used on the host's drawing thread alone. All
/// buffers of the driver share it.
class GATexture : public GAssistObject {
 public:
  /// How a texture goes on beyond its edges, in both directions.
  enum Wrap : int {
    kRepeat = 0,  ///< It repeats.
    /// Nothing is seen there: transparent red, blended with the edge's texels within half a texel;
    /// clamped where the GL has no borders. So is any other number.
    kBorder = 1
  };

  virtual ~GATexture() = default;
  /// From bytes by row: for each row all its reds, then greens, blues and alphas. Width and height
  /// are the module's own fields, set by another maker, so that hosts use the other two. Repeats in
  /// both directions. The driver's context is current afterwards.
  virtual int MakeGATexture(unsigned char* planes) = 0;
  /// For effects: clamped to its edges, neither compressed nor filtered anisotropically, in the
  /// context that is current.
  virtual int MakeGATextureForShader(HBitmapNode* bitmap) = 0;
  /// From a bitmap's picture, see HBitmapNode. `wrap` (Wrap) 0 repeats in both directions; else
  /// what lies outside is transparent red, where the GL has borders (GL_ARB_texture_border_clamp),
  /// or clamped. Compressed and filtered anisotropically as the settings say. The other two
  /// arguments are not used: 0. The driver's context is current afterwards.
  virtual int MakeGATexture(HBitmapNode* bitmap, int wrap, int, int) = 0;
  /// Releases the GL texture, if there is one. The driver's context is current afterwards then.
  virtual void FreeGATexture() = 0;
};
