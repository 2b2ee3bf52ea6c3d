// Cameras, and the view records that the renderer draws with.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <vector>

#include "host/RenderInfo.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// Where a frame is seen from, with its clipping planes.
struct View {
  SceneCamera camera;         ///< Its place and lens.
  float nearDistance = 0.1f;  ///< World units in front of the eye, above 0.
  float farDistance = 1000;   ///< World units in front of the eye, above nearDistance.
};

/// World to view space: the eye at the origin, looking down negative z, y up.
Imath::M44f WorldToView(const SceneCamera& camera);

/// The share of the frame that FitCamera leaves free.
constexpr float kFitMargin = 0.05f;

/// A camera that sees the whole box from the given direction (from the box towards the eye; need
/// not be unit length), the box's projection filling the frame but for a `margin`, both sides
/// together as a share of the frame from 0 to below 1, where it is tightest. `parallel` asks for a
/// parallel projection; `verticalFov` in radians; `aspect` is width by height.
SceneCamera FitCamera(const Imath::Box3f& bounds, const Imath::V3f& direction, float verticalFov,
                      float aspect, bool parallel, float margin = kFitMargin);

/// The same for points, which gives a model its place in the middle of the frame where its box
/// would not: see ExtremePoints.
SceneCamera FitCamera(const std::vector<Imath::V3f>& points, const Imath::V3f& direction,
                      float verticalFov, float aspect, bool parallel, float margin = kFitMargin);

/// The height in world units of what a picture shows in a plane across the line of sight,
/// `distance` in front of the eye. `aspect` is the picture's width by its height.
float HeightSeen(const SceneCamera& camera, float distance, float aspect);

/// Enlarges what the camera sees, `factor` times, about the middle of the picture.
void ZoomCamera(float factor, SceneCamera* camera);

/// World-space points that reach about as far in every direction as all that is placed in the
/// scene does: for each of a few dozen directions the farthest point. Empty for an empty scene.
std::vector<Imath::V3f> ExtremePoints(const Scene& scene);

/// Clipping planes that hold the box, with a ratio of far to near that keeps the depth buffer
/// useful, also when the eye is inside the box or the box is empty.
View ViewFor(const SceneCamera& camera, const Imath::Box3f& bounds);

/// Fills what a view determines for a picture of `width` x `height` pixels: window at the near
/// plane, scales, origin, offsets, perspective value (the negative distance at which scales hold),
/// planes as negative z, image size and pixel rectangle. The other members stay as they are.
void FillRenderInfo(const View& view, int width, int height, RenderInfo* info);

}  // namespace hostkit
