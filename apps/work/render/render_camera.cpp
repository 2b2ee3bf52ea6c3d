// Where pictures are taken from, chosen from the options and the model.
#include "apps/work/render/render_camera.h"

#include <Imath/ImathMatrix.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "apps/base/text.h"
#include "hostkit/scene/camera.h"

namespace gl3 {
namespace {

constexpr float kDefaultFov = 40;  // degrees
constexpr double kFullTurn = 2 * 3.14159265358979323846;
constexpr double kRadiansPerDegree = kFullTurn / 360;

using hostkit::kFitMargin;
using Imath::V3d;
using Imath::V3f;

float Radians(float degrees) {
  return static_cast<float>(degrees * kRadiansPerDegree);
}

Outcome FindCamera(const std::string& name, const hostkit::Scene& scene, int* index) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < scene.cameras.size(); ++i) {
    names.push_back(scene.cameras[i].name);
    if (names.back() != name) continue;
    *index = static_cast<int>(i);
    return {};
  }
  const std::string wrong = "--camera: there is no camera " + ShellQuote(name) + "; ";
  if (names.empty()) {
    return {kWrongUsage, wrong + "the model has none, so leave it out or give --eye and --target"};
  }
  const std::string nearest = NearestName(name, names);
  return {kWrongUsage, wrong + (nearest.empty() ? "" : "did you mean " + nearest + "? ") +
                           "the model has " + JoinNames(names)};
}

/// From the model to the eye in a world with y up.
V3f ViewDirection(const RenderOptions& options, hostkit::UpAxis up) {
  if (options.framing.HasAngles()) return options.framing.Direction();
  return options.isViewNamed ? options.viewFrom : ToYUp(up, options.viewFrom);
}

/// How far in front of the eye the middle of the model lies.
float DistanceTo(const V3f& middle, const hostkit::SceneCamera& camera) {
  const V3f way = middle - camera.eye;
  const float along = way.dot(camera.forward);
  if (along > 0) return along;
  return way.length() > 0 ? way.length() : 1;
}

/// Points of a world with y up turned about the vertical line through `middle`, as often as a
/// fitted frame takes to hold them in every position of a turn.
std::vector<V3f> Turned(const std::vector<V3f>& points, const V3f& middle) {
  constexpr int kPositions = 48;
  std::vector<V3f> turned;
  for (int i = 0; i < kPositions; ++i) {
    const double angle = kFullTurn * i / kPositions;
    const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
    for (const V3f& point : points) {
      const V3f from = point - middle;
      turned.push_back(middle + V3f(c * from.x + s * from.z, from.y, c * from.z - s * from.x));
    }
  }
  return turned;
}

/// The camera moved along a circle about the line through `middle` along `axis`.
void Orbit(const V3f& middle, const V3f& axis, double angle, hostkit::SceneCamera* camera) {
  Imath::M44d turn;
  turn.setAxisAngle(Imath::V3d(axis), angle);
  const auto turned = [&](const V3f& v) { return V3f(Imath::V3d(v) * turn); };
  camera->eye = middle + turned(camera->eye - middle);
  camera->forward = turned(camera->forward);
  camera->up = turned(camera->up);
}

}  // namespace

Outcome FindCameras(const RenderOptions& options, const hostkit::Scene& scene,
                    std::vector<int>* cameras) {
  cameras->clear();
  if (options.cameras.empty()) cameras->push_back(-1);
  if (AreAllCameras(options.cameras) && !scene.cameras.empty()) {
    for (std::size_t i = 0; i < scene.cameras.size(); ++i) cameras->push_back(static_cast<int>(i));
    return {};
  }
  for (const std::string& name : options.cameras) {
    int camera = -1;
    Outcome found = FindCamera(name, scene, &camera);
    if (found.status != kDone) return found;
    if (std::find(cameras->begin(), cameras->end(), camera) == cameras->end()) {
      cameras->push_back(camera);
    }
  }
  return {};
}

CameraChooser::CameraChooser(const RenderOptions& options, const hostkit::Scene& scene,
                             const hostkit::SceneReach& reach)
    : m_options(options),
      m_upAxis(options.upAxis.value_or(scene.upAxis)),
      m_origin(scene.origin),
      m_middle(reach.bounds.isEmpty() ? V3f(0) : reach.bounds.center()) {
  if (!options.cameras.empty() || options.eye) return;
  const float aspect = static_cast<float>(options.width) / static_cast<float>(options.height);
  // Fitted with y up, and then turned to where it stands.
  std::vector<V3f> points;
  points.reserve(reach.points.size());
  for (const V3f& point : reach.points) points.push_back(ToYUp(m_upAxis, point));
  if (options.sequence.turntable > 1) points = Turned(points, ToYUp(m_upAxis, m_middle));
  const float margin = options.framing.margin ? *options.framing.margin / 100 : kFitMargin;
  m_fitted = hostkit::FitCamera(points, ViewDirection(options, m_upAxis),
                                Radians(options.fieldOfView.value_or(kDefaultFov)), aspect,
                                options.parallel, margin);
  for (V3f* v : {&m_fitted.eye, &m_fitted.forward, &m_fitted.up}) *v = FromYUp(m_upAxis, *v);
}

V3f CameraChooser::Up() const {
  return m_options.up ? V3f(m_options.up->normalized()) : FromYUp(m_upAxis, V3f(0, 1, 0));
}

V3f CameraChooser::Target() const {
  return m_options.eye && m_options.target ? V3f(*m_options.target - m_origin) : m_middle;
}

hostkit::SceneCamera CameraChooser::AtEye() const {
  hostkit::SceneCamera camera;
  camera.eye = V3f(*m_options.eye - m_origin);
  const V3d sight = m_options.target ? *m_options.target - *m_options.eye
                                     : V3d(m_middle) + m_origin - *m_options.eye;
  if (sight.length() > 0) camera.forward = V3f(sight.normalized());
  camera.up = Up();
  if (camera.forward.cross(camera.up).length() < 1e-5f) {
    // Looking along what is up, as from straight above: then the back of the model is up, or its
    // top where that is the line of sight, which it is only for an --up of its own.
    const V3f back = FromYUp(m_upAxis, V3f(0, 0, -1)), top = FromYUp(m_upAxis, V3f(0, 1, 0));
    camera.up = camera.forward.cross(back).length() < 0.5f ? top : back;
  }
  return camera;
}

hostkit::SceneCamera CameraChooser::Standing(const hostkit::Scene& scene, int index) const {
  if (index < 0 && !m_options.eye) return m_fitted;
  const float fov = Radians(m_options.fieldOfView.value_or(kDefaultFov));
  hostkit::SceneCamera camera;
  if (index >= 0) {
    camera = scene.cameras[static_cast<std::size_t>(index)];
    if (m_options.fieldOfView) camera.verticalFov = fov;
  } else {
    camera = AtEye();
    camera.verticalFov = fov;
  }
  if (m_options.parallel && camera.parallelHeight <= 0) {
    // What the field of view covers at the target keeps its size.
    camera.parallelHeight = 2 * DistanceTo(Target(), camera) * std::tan(camera.verticalFov / 2);
  }
  return camera;
}

hostkit::SceneCamera CameraChooser::Choose(const hostkit::Scene& scene, int index,
                                           int frame) const {
  hostkit::SceneCamera camera = Standing(scene, index);
  const int turntable = m_options.sequence.turntable;
  if (turntable > 1 && frame != 1) {
    Orbit(m_middle, Up(), kFullTurn * (frame - 1) / turntable, &camera);
  }
  if (m_options.framing.zoom != 1) hostkit::ZoomCamera(m_options.framing.zoom, &camera);
  return camera;
}

float CameraChooser::TargetDistance(const hostkit::SceneCamera& camera) const {
  return DistanceTo(Target(), camera);
}

std::string FormatTriple(const V3d& v) {
  std::string text;
  for (int i = 0; i < 3; ++i) {
    const auto rounded = static_cast<float>(v[i]);
    text += (i > 0 ? "," : "") +
            (rounded == v[i] ? fmt::format("{}", rounded) : fmt::format("{}", v[i]));
  }
  return text;
}

std::string DescribeCamera(const hostkit::SceneCamera& camera, const V3d& origin) {
  const std::string lens =
      camera.parallelHeight > 0
          ? fmt::format("height={}", camera.parallelHeight)
          : fmt::format("fov={}", static_cast<float>(camera.verticalFov / kRadiansPerDegree));
  return fmt::format("eye={} forward={} up={} {}", FormatTriple(V3d(camera.eye) + origin),
                     FormatTriple(V3d(camera.forward)), FormatTriple(V3d(camera.up)), lens);
}

}  // namespace gl3
