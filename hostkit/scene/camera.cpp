// Cameras: view transforms, fitting to a box, and the render settings that a view determines.
#include "hostkit/scene/camera.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "hostkit/scene/camera_window.h"

namespace hostkit {
namespace {

using Imath::Box3f;
using Imath::V3d;
using Imath::V3f;

// Far by near. A depth buffer of 24 bits then still tells 0.06 percent of the far distance apart at
// the far end, and the inside of a 100 m hall is drawn from 1 cm on.
constexpr float kMaxDepthRatio = 10000;
// Planes of a view of nothing.
constexpr float kEmptyNear = 0.1f, kEmptyFar = 1000;

struct Axes {
  V3d right, up, back;  // unit length, in world space
};

bool IsUsable(const V3d& v) {
  return std::isfinite(v.length2()) && v.length2() > 1e-24;
}

// A cross product that is too short to be a direction means parallel vectors.
bool IsCrossUsable(const V3d& v) {
  return std::isfinite(v.length2()) && v.length2() > 1e-12;
}

// The camera's axes; a direction that is zero, not finite or parallel to the other one is replaced.
Axes AxesOf(const V3f& forward, const V3f& up) {
  Axes axes;
  axes.back = IsUsable(V3d(forward)) ? -V3d(forward).normalized() : V3d(0, 0, 1);
  V3d wishes[] = {IsUsable(V3d(up)) ? V3d(up).normalized() : V3d(0, 1, 0), V3d(0, 1, 0),
                  V3d(0, 0, axes.back.y > 0 ? -1 : 1)};
  for (const V3d& wish : wishes) {
    axes.right = wish.cross(axes.back);
    if (IsCrossUsable(axes.right)) break;
  }
  axes.right.normalize();
  axes.up = axes.back.cross(axes.right);
  return axes;
}

bool IsBoxUsable(const Box3f& box) {
  return !box.isEmpty() && std::isfinite((box.max - box.min).length()) &&
         std::isfinite(box.min.length());
}

V3d Corner(const Box3f& box, int i) {
  return {i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
          i & 4 ? box.max.z : box.min.z};
}

// The box to fit: nothing becomes a unit cube at the origin, and a single point gets a cube around
// it that is large enough to be told from the point at the float precision of its place.
Box3f BoxToFit(const Box3f& bounds) {
  if (!IsBoxUsable(bounds)) return {V3f(-0.5f), V3f(0.5f)};
  V3f center = bounds.center();
  if ((bounds.max - bounds.min).length() > center.length() * 1e-5f) return bounds;
  float half = std::max(center.length() * 1e-3f, 0.5f);
  return {center - V3f(half), center + V3f(half)};
}

float UsableFov(float verticalFov) {
  if (!std::isfinite(verticalFov)) return 0.7f;
  return std::clamp(verticalFov, 0.001f, 3.1f);
}

// Points in a camera's axes, from a centre among them: x right, y up, z to the viewer.
struct PlacedPoints {
  std::vector<V3d> at;

  // Largest of sign * coordinate + slope * z.
  double Reach(int axis, double sign, double slope) const {
    double most = -std::numeric_limits<double>::infinity();
    for (const V3d& p : at) most = std::max(most, sign * p[axis] + slope * p.z);
    return most;
  }
  double Depth() const { return Reach(2, 1, 0); }

  // Distance from which the points fit between slopes of +-slope. A point is inside when
  // |x - eyeX| <= slope (distance - z).
  double DistanceFor(int axis, double slope) const {
    return (Reach(axis, 1, slope) + Reach(axis, -1, slope)) / (2 * slope);
  }

  // Where an eye at `distance` has to stand sideways for the points to reach as far to both sides.
  // The slope that they reach then lies below `slope`, into which they fit.
  double CenterFrom(int axis, double distance, double slope) const {
    double low = 0, high = slope;
    for (int i = 0; i < 60; ++i) {
      double middle = (low + high) / 2;
      bool fits = DistanceFor(axis, middle) <= distance;
      (fits ? high : low) = middle;
    }
    return (Reach(axis, 1, high) - Reach(axis, -1, high)) / 2;
  }
};

PlacedPoints PlaceIn(const Axes& axes, const std::vector<V3f>& points, const V3d& center) {
  PlacedPoints placed;
  placed.at.reserve(points.size());
  for (const V3f& point : points) {
    V3d d = V3d(point) - center;
    placed.at.emplace_back(d.dot(axes.right), d.dot(axes.up), d.dot(axes.back));
  }
  return placed;
}

std::vector<V3f> CornersOf(const Box3f& box) {
  std::vector<V3f> corners;
  corners.reserve(8);
  for (int i = 0; i < 8; ++i) corners.emplace_back(Corner(box, i));
  return corners;
}

}  // namespace

Imath::M44f WorldToView(const SceneCamera& camera) {
  Axes axes = AxesOf(camera.forward, camera.up);
  V3d eye(camera.eye);
  Imath::M44f m;
  const V3d* columns[] = {&axes.right, &axes.up, &axes.back};
  for (int c = 0; c < 3; ++c) {
    for (int r = 0; r < 3; ++r) m[r][c] = static_cast<float>((*columns[c])[r]);
    m[3][c] = static_cast<float>(-eye.dot(*columns[c]));
  }
  return m;
}

SceneCamera FitCamera(const Box3f& bounds, const V3f& direction, float verticalFov, float aspect,
                      bool parallel, float margin) {
  return FitCamera(CornersOf(BoxToFit(bounds)), direction, verticalFov, aspect, parallel, margin);
}

SceneCamera FitCamera(const std::vector<V3f>& points, const V3f& direction, float verticalFov,
                      float aspect, bool parallel, float margin) {
  const float share = 1 - margin;
  Box3f bounds;
  for (const V3f& point : points) bounds.extendBy(point);
  Box3f box = BoxToFit(bounds);
  const std::vector<V3f>& fitted = box == bounds ? points : CornersOf(box);
  double diagonal = (V3d(box.max) - V3d(box.min)).length();
  if (!std::isfinite(aspect) || aspect <= 0) aspect = 1;

  SceneCamera camera;
  camera.verticalFov = UsableFov(verticalFov);
  Axes axes = AxesOf(-direction, camera.up);
  camera.forward = V3f(-axes.back);
  camera.up = V3f(axes.up);

  double tanY = std::tan(camera.verticalFov * 0.5) * share;
  double tanX = tanY * aspect;
  V3d center(box.center());
  PlacedPoints placed = PlaceIn(axes, fitted, center);
  if (parallel) {
    double left = -placed.Reach(0, -1, 0), right = placed.Reach(0, 1, 0);
    double bottom = -placed.Reach(1, -1, 0), top = placed.Reach(1, 1, 0);
    double height = std::max(top - bottom, (right - left) / aspect);
    camera.parallelHeight = static_cast<float>(std::max(height / share, 1e-3 * diagonal));
    camera.eye = V3f(center + axes.right * ((left + right) / 2) + axes.up * ((bottom + top) / 2) +
                     axes.back * diagonal);
    return camera;
  }
  // What is flat along the view keeps a distance, or the eye would sit in it.
  double distance = std::max(
      {placed.DistanceFor(0, tanX), placed.DistanceFor(1, tanY), placed.Depth() + 0.05 * diagonal});
  camera.eye = V3f(center + axes.right * placed.CenterFrom(0, distance, tanX) +
                   axes.up * placed.CenterFrom(1, distance, tanY) + axes.back * distance);
  return camera;
}

float HeightSeen(const SceneCamera& camera, float distance, float aspect) {
  const bool parallel = camera.parallelHeight > 0;
  const float height = parallel ? camera.parallelHeight
                                : 2 * distance * std::tan(UsableFov(camera.verticalFov) * 0.5f);
  return height * std::max(camera.aspect / aspect, 1.0f);
}

void ZoomCamera(float factor, SceneCamera* camera) {
  camera->parallelHeight /= factor;
  camera->verticalFov = 2 * std::atan(std::tan(UsableFov(camera->verticalFov) / 2) / factor);
}

View ViewFor(const SceneCamera& camera, const Box3f& bounds) {
  View view{camera, kEmptyNear, kEmptyFar};
  if (!IsBoxUsable(bounds)) return view;
  V3d back = AxesOf(camera.forward, camera.up).back;
  double nearest = 0, farthest = 0;
  for (int i = 0; i < 8; ++i) {
    double depth = (V3d(camera.eye) - Corner(bounds, i)).dot(back);
    nearest = i ? std::min(nearest, depth) : depth;
    farthest = i ? std::max(farthest, depth) : depth;
  }
  // A margin keeps faces that lie in the box's sides, also those of a flat box, off the planes.
  double diagonal = (V3d(bounds.max) - V3d(bounds.min)).length();
  double margin = 0.01 * diagonal + 1e-4 * std::abs(farthest);
  double farDistance = farthest + margin;
  if (!std::isfinite(farDistance) || farDistance <= 1e-30) return view;  // all of it is behind
  view.farDistance = static_cast<float>(farDistance);
  view.nearDistance = static_cast<float>(std::max(nearest - margin, farDistance / kMaxDepthRatio));
  if (camera.farCut > 0 && camera.farCut < view.farDistance) {
    view.farDistance = camera.farCut;
    view.nearDistance = std::min(view.nearDistance, view.farDistance / 2);
  }
  view.nearDistance = std::max(view.nearDistance, camera.nearCut);
  // Where all of it is nearer than that, planes still have a depth between them.
  if (view.farDistance <= view.nearDistance) view.farDistance = 2 * view.nearDistance;
  return view;
}

void FillRenderInfoWindow(const View& view, int width, int height, const PixelWindow& window,
                          RenderInfo* info) {
  const SceneCamera& camera = view.camera;
  bool parallel = camera.parallelHeight > 0;
  double halfHeight = parallel ? camera.parallelHeight * 0.5
                               : view.nearDistance * std::tan(UsableFov(camera.verticalFov) * 0.5);
  const double narrower = camera.aspect * static_cast<double>(height) / width;
  if (narrower > 1) halfHeight *= narrower;
  double scale = height / (2 * halfHeight);  // the same both ways: pixels are square
  double originX = width * 0.5 - window.x, originY = height * 0.5 - window.y;

  info->perspective = parallel ? 0 : -view.nearDistance;
  info->nearZ = -view.nearDistance;
  info->farZ = -view.farDistance;
  info->scaleX = info->scaleY = static_cast<float>(scale);
  info->offsetX = info->offsetY = 0;
  info->originX = static_cast<float>(originX);
  info->originY = static_cast<float>(originY);
  info->viewLeft = static_cast<float>(-originX / scale);
  info->viewRight = static_cast<float>((window.width - originX) / scale);
  info->viewTop = static_cast<float>(originY / scale);
  info->viewBottom = static_cast<float>((originY - window.height) / scale);
  info->imageWidth = window.width;
  info->imageHeight = window.height;
  info->pixelLeft = info->pixelTop = 0;
  info->pixelRight = window.width;
  info->pixelBottom = window.height;
}

void FillRenderInfo(const View& view, int width, int height, RenderInfo* info) {
  FillRenderInfoWindow(view, width, height, {0, 0, width, height}, info);
}

}  // namespace hostkit
