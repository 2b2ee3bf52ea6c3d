// How a picture is laid out in a texture.
//
// The renderer's textures repeat, blend their texels, and have sides that are multiples of four;
// other pictures it scales to such. What a model means may be something else: an edge that goes on,
// every second copy mirrored, texels that stay squares, two texels in all. All of that is had by
// choosing what the texture holds, and by moving and scaling the texture coordinates to it:
//
//   a picture that repeats, of sides that suit     itself
//   one that is shown as far as some edges         a window on it as it goes on by its wrap mode
//   one that repeats or is mirrored over and over  as many copies of it as make up such sides
//   an edge that goes on far                       itself; the coordinates are held at its edges
//   texels as squares                              each repeated, so that blending is a thin line
//
// In a window a texel of the picture is a texel of the texture, so that the texels' middles stay
// where they are and what is between them is blended as it is meant to be.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// One direction of a texture. It holds `count` texels of a picture that goes on for ever, from
/// texel `first` on, each of them `factor` times.
struct AxisLayout {
  int first = 0, count = 0, factor = 1;
  /// Coordinates outside of the picture are to be held half a texel inside of its edges, and the
  /// triangles cut there: see UvMap.
  bool isHeld = false;
};

struct PictureLayout {
  AxisLayout u, v;
};

/// What is done about texels when they are enlarged.
enum class Enlarging {
  kNone,          ///< A texel is a texel.
  kSquares,       ///< They become squares.
  kLargeSquares,  ///< The same for a picture whose texture may be as large as any.
  kSmooth,        ///< They blend: for edges that are to be found between them.
};

/// From a mesh's texture coordinates to those in a texture: held between `least` and `most`, then
/// scaled and moved. Triangles that reach across the limits have to be cut there.
struct UvMap {
  Imath::V2f least{-3e38f}, most{3e38f};
  Imath::V2f scale{1}, offset{0};

  Imath::V2f operator()(const Imath::V2f& uv) const;
};

/// Chooses the layout of a picture of `width` x `height` texels that is shown with the coordinates
/// in `uvs`. What no layout makes exact is repeated pictures of odd sizes, and mirrored ones, whose
/// copies would take too much room: their texels are moved by less than half a texel when the
/// renderer scales them. Likewise large pictures are enlarged less, or not at all.
PictureLayout LayOutPicture(const SceneImage& image, int width, int height, const Imath::Box2f& uvs,
                            Enlarging enlarging);

/// Whether a texture of that layout holds nothing but the picture itself.
bool IsPlain(const PictureLayout& layout, int width, int height);

UvMap MapInto(const PictureLayout& layout, int width, int height);

}  // namespace hostkit
