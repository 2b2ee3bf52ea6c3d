// Pictures for textures, made from those of a scene.
#pragma once

#include <Imath/ImathVec.h>

#include "hostkit/feed/picture_layout.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// What a texture shows at a texture coordinate: base times the picture `color` plus emission times
/// the picture `glow`, with the first one's alpha. A picture that is null is white and opaque.
struct PictureMix {
  const SceneImage* color = nullptr;
  const SceneImage* glow = nullptr;
  Imath::V3f base{1}, emission{0};
  /// Above 0: what has at least this alpha, of 255, is opaque, and the rest is clear.
  int leastAlpha = 0;

  /// The picture that the texture is laid out for: the larger one. Null when there is none.
  const SceneImage* Leader() const;
  bool IsPictureAlone() const;
};

/// Makes a picture of the leader's `layout`; the mix's pictures must be readable by PictureTexels.
/// Null when memory runs out.
BitmapPtr MakePicture(const PictureMix& mix, const PictureLayout& layout, Enlarging enlarging);

}  // namespace hostkit
