// A camera that is moved about a point.
#include "apps/gl3-view/orbit_camera.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "hostkit/scene/camera.h"

namespace view {
namespace {

using Imath::V3f;

constexpr float kPi = 3.14159265f;
constexpr float kDegreesPerRadian = 180 / kPi;
// How near and how far the eye goes, in sizes of the subject.
constexpr float kSmallestSubject = 1e-30f;
constexpr float kNearest = 1e-4f, kNearestParallel = 3e-3f, kFarthest = 1e3f;
// The narrowest field of view that the command line takes, in radians, with a little to spare.
constexpr float kNarrowest = 0.101f / kDegreesPerRadian;
// Directions nearer to straight up or down than this have no horizontal part to speak of.
constexpr float kVertical = 1e-5f;
// An up vector that points lower than this is upside down; straight from above it is about 0.
constexpr float kUpsideDown = 1e-3f;

V3f Rotated(const V3f& v, const V3f& axis, float angle) {  // Rodrigues; unit axis
  const float c = std::cos(angle), s = std::sin(angle);
  return v * c + axis.cross(v) * s + axis * (axis.dot(v) * (1 - c));
}

/// A box given by two opposite corners, in a world with y up.
Imath::Box3f Turned(const Imath::Box3f& corners, hostkit::UpAxis up) {
  Imath::Box3f turned(ToYUp(up, corners.min));
  turned.extendBy(ToYUp(up, corners.max));
  return turned;
}

}  // namespace

void OrbitCamera::SetSubject(const Imath::Box3f& bounds, const std::vector<V3f>& points,
                             const Imath::V3d& origin) {
  m_origin = origin;
  m_bounds = Imath::Box3f(V3f(-0.5f), V3f(0.5f));
  if (!bounds.isEmpty()) m_bounds = Turned(bounds, m_upAxis);
  m_points.clear();
  for (const V3f& point : points) m_points.push_back(ToYUp(m_upAxis, point));
}

void OrbitCamera::SetUpAxis(hostkit::UpAxis up) {
  const hostkit::UpAxis before = std::exchange(m_upAxis, up);
  if (up == before) return;
  const auto turn = [=](const V3f& point) { return ToYUp(up, FromYUp(before, point)); };
  m_target = turn(m_target);
  m_bounds = Turned({FromYUp(before, m_bounds.min), FromYUp(before, m_bounds.max)}, up);
  for (V3f& point : m_points) point = turn(point);
}

void OrbitCamera::Fit(float aspect) {
  const hostkit::SceneCamera fitted =
      hostkit::FitCamera(m_points, m_back, m_fov, aspect, m_parallel);
  // The axes stay: what was level stays level, also seen from straight above.
  const V3f middle = m_bounds.center();
  float distance = (fitted.eye - middle).dot(m_back);
  m_target = fitted.eye - m_back * distance;
  if (m_parallel) distance = fitted.parallelHeight / (2 * std::tan(m_fov / 2));
  m_distance = distance;
  KeepInReach();
}

void OrbitCamera::LookFrom(const V3f& direction, float aspect) {
  m_back = direction.normalized();
  // Seen from above or below, the world's -z, or z, is up: as the front view tips over.
  const V3f vertical(0, 0, m_back.y > 0 ? -1.f : 1.f);
  const V3f world(0, 1, 0);
  const V3f up = world.cross(m_back).length() < kVertical ? vertical : world;
  m_up = (up - m_back * up.dot(m_back)).normalized();
  Fit(aspect);
}

void OrbitCamera::Take(const hostkit::SceneCamera& camera) {
  const V3f eye = ToYUp(m_upAxis, camera.eye);
  m_back = -ToYUp(m_upAxis, camera.forward).normalized();
  const V3f right = ToYUp(m_upAxis, camera.up).cross(m_back);
  if (right.length() < kVertical) return;
  m_up = m_back.cross(right.normalized());
  m_parallel = camera.parallelHeight > 0;
  if (!m_parallel) m_fov = camera.verticalFov;
  // It turns about what lies ahead of it, as far away as the subject's middle is.
  const float ahead = (eye - m_bounds.center()).dot(m_back);
  const float distance = std::max(ahead, 0.01f * m_bounds.size().length());
  m_target = eye - m_back * distance;
  m_distance = m_parallel ? camera.parallelHeight / (2 * std::tan(m_fov / 2)) : distance;
  KeepInReach();
}

void OrbitCamera::Orbit(float right, float up) {
  const V3f world(0, 1, 0);
  m_back = Rotated(m_back, world, right);
  m_up = Rotated(m_up, world, right);
  // A camera that hangs upside down goes towards the ground when it goes towards its up.
  const float sign = m_up.y < -kUpsideDown ? -1.f : 1.f;
  const float elevation = std::asin(std::clamp(m_back.y, -1.f, 1.f));
  const float raised = std::clamp(elevation + up * sign, -kPi / 2, kPi / 2) - elevation;
  const V3f axis = Right();
  m_back = Rotated(m_back, axis, -raised * sign).normalized();
  m_up = Rotated(m_up, axis, -raised * sign);
  m_up = (m_up - m_back * m_up.dot(m_back)).normalized();
}

void OrbitCamera::Pan(float right, float up) {
  const float height = 2 * m_distance * std::tan(m_fov / 2);
  m_target += Right() * (right * height) + m_up * (up * height);
}

void OrbitCamera::Zoom(float factor) {
  m_distance *= factor;
  KeepInReach();
}

void OrbitCamera::KeepInReach() {
  const float size = std::max(m_bounds.size().length(), kSmallestSubject);
  const float nearest = m_parallel ? kNearestParallel : kNearest;
  m_distance = std::clamp(m_distance, size * nearest, size * kFarthest);
}

void OrbitCamera::Fill(gl3::RenderOptions* options) const {
  float distance = m_distance, fov = m_fov;
  if (m_parallel) {
    // The eye stands where all of the subject is in front of it, whatever height is seen.
    const float height = 2 * m_distance * std::tan(m_fov / 2);
    const float reach = m_bounds.size().length() + (m_bounds.center() - m_target).length();
    distance = std::max(distance, reach);
    fov = std::max(2 * std::atan(height / (2 * distance)), kNarrowest);
  }
  options->cameras.clear();
  options->eye = m_origin + Imath::V3d(FromYUp(m_upAxis, m_target + m_back * distance));
  options->target = m_origin + Imath::V3d(FromYUp(m_upAxis, m_target));
  options->up = Imath::V3d(FromYUp(m_upAxis, m_up));
  options->fieldOfView = fov * kDegreesPerRadian;
  options->parallel = m_parallel;
}

}  // namespace view
