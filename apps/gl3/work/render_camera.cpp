// Where a picture is taken from, chosen from the options and the model.
#include "apps/gl3/work/render_camera.h"

#include <fmt/format.h>

#include <cmath>
#include <vector>

#include "apps/gl3/text.h"
#include "hostkit/scene/camera.h"

namespace gl3 {
namespace {

constexpr float kDefaultFov = 40;  // degrees
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180;

float Radians(float degrees) {
  return static_cast<float>(degrees * kRadiansPerDegree);
}

Outcome FindCamera(const std::string& name, const hostkit::Scene& scene,
                   hostkit::SceneCamera* camera) {
  std::vector<std::string> names;
  for (const hostkit::SceneCamera& candidate : scene.cameras) {
    names.push_back(candidate.name);
    if (candidate.name != name) continue;
    *camera = candidate;
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

hostkit::SceneCamera CameraAtEye(const RenderOptions& options, const Imath::V3f& middle) {
  hostkit::SceneCamera camera;
  camera.eye = *options.eye;
  const Imath::V3f sight = options.target.value_or(middle) - camera.eye;
  if (sight.length() > 0) camera.forward = sight.normalized();
  camera.up = options.up.normalized();
  if (camera.forward.cross(camera.up).length() < 1e-5f) {
    // Only without --target: looking straight up or down at the middle of the model.
    camera.up = Imath::V3f(0, 0, -1);
  }
  return camera;
}

/// How far in front of the eye the middle of the model lies.
float DistanceTo(const Imath::V3f& middle, const hostkit::SceneCamera& camera) {
  const Imath::V3f way = middle - camera.eye;
  const float along = way.dot(camera.forward);
  if (along > 0) return along;
  return way.length() > 0 ? way.length() : 1;
}

}  // namespace

Outcome ChooseCamera(const RenderOptions& options, const hostkit::Scene& scene,
                     hostkit::SceneCamera* camera) {
  const Imath::Box3f bounds = scene.Bounds();
  const float fov = Radians(options.fieldOfView.value_or(kDefaultFov));
  if (options.camera.empty() && !options.eye) {
    const float aspect = static_cast<float>(options.width) / static_cast<float>(options.height);
    *camera = hostkit::FitCamera(hostkit::ExtremePoints(scene), options.viewFrom, fov, aspect,
                                 options.parallel);
    return {};
  }
  const Imath::V3f middle = bounds.isEmpty() ? Imath::V3f(0) : bounds.center();
  if (!options.camera.empty()) {
    Outcome found = FindCamera(options.camera, scene, camera);
    if (found.status != kDone) return found;
    if (options.fieldOfView) camera->verticalFov = fov;
  } else {
    *camera = CameraAtEye(options, middle);
    camera->verticalFov = fov;
  }
  if (options.parallel && camera->parallelHeight <= 0) {
    // What the field of view covers at the target keeps its size.
    const Imath::V3f target = options.eye ? options.target.value_or(middle) : middle;
    camera->parallelHeight = 2 * DistanceTo(target, *camera) * std::tan(camera->verticalFov / 2);
  }
  return {};
}

std::string DescribeCamera(const hostkit::SceneCamera& camera) {
  const auto triple = [](const Imath::V3f& v) { return fmt::format("{},{},{}", v.x, v.y, v.z); };
  const std::string lens =
      camera.parallelHeight > 0
          ? fmt::format("height={}", camera.parallelHeight)
          : fmt::format("fov={}", static_cast<float>(camera.verticalFov / kRadiansPerDegree));
  return fmt::format("eye={} forward={} up={} {}", triple(camera.eye), triple(camera.forward),
                     triple(camera.up), lens);
}

}  // namespace gl3
