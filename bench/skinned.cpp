// Frames of a mesh that joints move, 1920x1080, against the same frame of the same mesh at rest.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include "bench/support/harness.h"
#include "bench/support/host_module.h"
#include "hostkit/frame/frame_painter.h"
#include "hostkit/frame/off_screen_surface.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/node_animation.h"
#include "platform/gl.h"

namespace bench {
namespace {

using Imath::M44f;
using Imath::V3f;

constexpr int kWidth = 1920, kHeight = 1080;
constexpr int kInfluences = 4;
constexpr std::uint16_t kJoints = 32;

struct Case {
  std::size_t triangles;
  double mostRatio;
};
constexpr Case kCases[] = {{100'000, 2.0}, {1'000'000, 2.0}};

/// A tube around the x axis from 0 to 1, of `around` vertices around and as many rings as make
/// about that many triangles.
hostkit::SceneMesh Tube(std::size_t triangles) {
  constexpr std::size_t kAround = 500;
  const std::size_t rings = triangles / 2 / kAround + 1;
  hostkit::SceneMesh tube;
  for (std::size_t r = 0; r < rings; ++r) {
    for (std::size_t i = 0; i < kAround; ++i) {
      const float angle = static_cast<float>(i) * 2 * static_cast<float>(M_PI) / kAround;
      const V3f out(0, std::cos(angle), std::sin(angle));
      tube.positions.push_back(V3f(static_cast<float>(r) / static_cast<float>(rings - 1), 0, 0) +
                               out * 0.2f);
      tube.normals.push_back(out);
      if (r == 0) continue;
      const auto a = static_cast<std::uint32_t>((r - 1) * kAround + i);
      const auto b = static_cast<std::uint32_t>((r - 1) * kAround + (i + 1) % kAround);
      const auto up = static_cast<std::uint32_t>(kAround);
      tube.triangles.insert(tube.triangles.end(), {a, b, a + up, b, b + up, a + up});
    }
  }
  return tube;
}

/// The tube on a chain of joints, each of which turns a little further.
hostkit::Scene SkinnedTube(std::size_t triangles) {
  hostkit::Scene scene;
  scene.materials.resize(1);
  scene.materials[0].surface = PlainMaterial(0.8f, 0.6f, 0.3f, 0);
  scene.meshes.push_back(Tube(triangles));
  scene.instances.resize(1);
  hostkit::SceneDeformation skin;
  skin.positions = scene.meshes[0].positions;
  skin.normals = scene.meshes[0].normals;
  skin.influences = kInfluences;
  hostkit::SceneAnimation bend;
  bend.duration = 1;
  for (int j = 0; j < kJoints; ++j) {
    const V3f step(j == 0 ? 0 : 1.0f / kJoints, 0, 0);
    scene.motion.nodes.push_back({j - 1, M44f().setTranslation(step), M44f()});
    skin.joints.push_back({j, M44f().setTranslation(V3f(-1.0f / kJoints, 0, 0) * float(j))});
    hostkit::NodeChannel& channel = bend.channels.emplace_back();
    channel.node = j;
    channel.rest.translation = step;
    channel.rotations.keys = {{0, {1, 0, 0, 0}}, {1, {std::cos(0.05f), 0, 0, std::sin(0.05f)}}};
  }
  for (const V3f& position : skin.positions) {
    const auto main = static_cast<std::uint16_t>(position.x * (kJoints - 1));
    for (int k = 0; k < kInfluences; ++k) {
      skin.vertexJoints.push_back(std::min<std::uint16_t>(main + k, kJoints - 1));
      skin.vertexWeights.push_back(0.4f - 0.1f * static_cast<float>(k));
    }
  }
  scene.motion.deformations.push_back(std::move(skin));
  scene.motion.animations.push_back(std::move(bend));
  return scene;
}

void Measure(GADriver* driver, const Case& each, const Options& options, Report& report) {
  hostkit::Scene scene = SkinnedTube(each.triangles);
  hostkit::FrameSettings settings;
  settings.width = kWidth;
  settings.height = kHeight;
  settings.samplesPerSide = 1;
  const hostkit::View view = hostkit::ViewFor(
      hostkit::FitCamera(scene.Bounds(), {0.3f, 0.4f, 1}, 0.7f, 16.0f / 9, false), scene.Bounds());
  std::string error;
  hostkit::OffScreenSurface surface(driver);
  const auto painter = hostkit::FramePainter::Create(driver, scene, &error);
  if (!painter || !surface.Ensure(kWidth, kHeight, &error)) throw std::runtime_error(error);

  hostkit::ScenePoser poser(scene);
  const auto paint = [&] {
    painter->Begin(settings, view);
    painter->Paint(surface.Target(), {0, 0, kWidth, kHeight}, settings.background);
    glFinish();
  };
  double time = 0;
  const Work floor = {[&] { poser.Pose({}, 0); }, paint, {}};
  const Work ours = {{},
                     [&] {
                       // About as bent every time, and never the same.
                       time = time < 0.1 ? time + 0.01 : 0.01;
                       poser.Pose({0}, time);
                       paint();
                     },
                     {}};
  Row row =
      MeasureRow("skinned frame", static_cast<double>(each.triangles), {floor}, ours, options);
  row.mostRatio = each.mostRatio;
  report.Add(row);
}

void Run(const Options& options, Report& report) {
  const HostModule module;
  for (const Case& each : kCases) Measure(module.Driver(), each, options, report);
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  return bench::Main(argc, argv, "skinned", bench::Run);
}
