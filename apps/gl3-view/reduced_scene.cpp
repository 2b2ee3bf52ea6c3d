// Models with fewer triangles.
#include "apps/gl3-view/reduced_scene.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "hostkit/effects/byte_image.h"
#include "hostkit/scene/deform.h"
#include "hostkit/services/bitmap_ptr.h"

namespace view {
namespace {

constexpr int kMostTexelsASide = 256;
// Meshes of so few triangles are left as they are: a box without its corners is no box.
constexpr std::size_t kFewTriangles = 64;
constexpr float kAnyError = std::numeric_limits<float>::max();

using Indices = std::vector<std::uint32_t>;

std::size_t Share(std::size_t count, double share) {
  return static_cast<std::size_t>(std::ceil(static_cast<double>(count) * share));
}

/// Every nth triangle of those that there are.
Indices EveryNth(const Indices& triangles, double share) {
  const std::size_t count = triangles.size() / 3;
  const std::size_t step =
      std::max<std::size_t>(count / std::max<std::size_t>(Share(count, share), 1), 1);
  Indices some;
  for (std::size_t i = 0; i < count; i += step) {
    some.insert(some.end(), &triangles[3 * i], &triangles[3 * i] + 3);
  }
  return some;
}

/// Triangles between fewer vertices, which stay where they are. Those of loose triangles join, too.
Indices Simplified(const hostkit::SceneMesh& mesh, double share) {
  const Indices& triangles = mesh.triangles;
  if (triangles.size() / 3 <= kFewTriangles) return triangles;
  const std::size_t wanted = 3 * Share(triangles.size() / 3, share);
  Indices fewer(triangles.size());
  fewer.resize(meshopt_simplifySloppy(fewer.data(), triangles.data(), triangles.size(),
                                      &mesh.positions[0].x, mesh.positions.size(),
                                      sizeof(Imath::V3f), wanted, kAnyError, nullptr));
  // What is thinner than its cells, such as a field of leaves, would be gone.
  if (fewer.size() * 4 < wanted) return EveryNth(triangles, share);
  return fewer;
}

/// The vertices of a mesh that are used, renumbered in the order of their use.
class UsedVertices {
 public:
  explicit UsedVertices(const hostkit::SceneMesh& mesh)
      : m_numbers(mesh.positions.size(), kUnused) {}

  std::uint32_t Use(std::uint32_t vertex) {
    std::uint32_t& number = m_numbers[vertex];
    if (number == kUnused) {
      number = static_cast<std::uint32_t>(m_used.size());
      m_used.push_back(vertex);
    }
    return number;
  }
  void Use(const Indices& from, Indices* to) {
    to->reserve(from.size());
    for (const std::uint32_t vertex : from) to->push_back(Use(vertex));
  }
  template <class Thing>
  std::vector<Thing> Of(const std::vector<Thing>& all) const {
    std::vector<Thing> used;
    if (all.empty()) return used;
    used.reserve(m_used.size());
    for (const std::uint32_t vertex : m_used) used.push_back(all[vertex]);
    return used;
  }

 private:
  static constexpr std::uint32_t kUnused = 0xFFFFFFFF;
  Indices m_numbers, m_used;
};

hostkit::SceneMesh Reduced(const hostkit::SceneMesh& mesh, double share) {
  hostkit::SceneMesh reduced;
  reduced.name = mesh.name;
  reduced.material = mesh.material;
  reduced.colorsHaveAlpha = mesh.colorsHaveAlpha;
  UsedVertices vertices(mesh);
  vertices.Use(Simplified(mesh, share), &reduced.triangles);
  vertices.Use(mesh.lines, &reduced.lines);
  const std::size_t points = mesh.points.size();
  const std::size_t step =
      std::max<std::size_t>(points / std::max<std::size_t>(Share(points, share), 1), 1);
  for (std::size_t i = 0; i < points; i += step) {
    reduced.points.push_back(vertices.Use(mesh.points[i]));
  }
  reduced.positions = vertices.Of(mesh.positions);
  reduced.normals = vertices.Of(mesh.normals);
  reduced.uvs = vertices.Of(mesh.uvs);
  reduced.colors = vertices.Of(mesh.colors);
  return reduced;
}

/// Every nth pixel of every nth row. Null without memory.
hostkit::BitmapPtr Shrunk(const HBitmapNode& bitmap) {
  const int width = bitmap.GetWidth(), height = bitmap.GetHeight();
  const int step = (std::max(width, height) + kMostTexelsASide - 1) / kMostTexelsASide;
  hostkit::BitmapPtr small =
      hostkit::NewByteBitmap((width + step - 1) / step, (height + step - 1) / step);
  if (!small) return small;
  for (int y = 0; y < small->GetHeight(); ++y) {
    const unsigned char* const from = hostkit::ByteRow(bitmap, y * step);
    unsigned char* const to = hostkit::ByteRow(*small, y);
    for (int x = 0; x < small->GetWidth(); ++x) std::copy_n(from + 4 * x * step, 4, to + 4 * x);
  }
  return small;
}

}  // namespace

std::unique_ptr<hostkit::Scene> BeginReduced(const hostkit::Scene& model) {
  auto reduced = std::make_unique<hostkit::Scene>();
  reduced->materials = model.materials;
  reduced->instances = model.instances;
  reduced->cameras = model.cameras;
  reduced->lights = model.lights;
  reduced->motion = model.motion;
  reduced->origin = model.origin;
  reduced->upAxis = model.upAxis;
  reduced->meshes.resize(model.meshes.size());
  for (const hostkit::SceneDeformation& deformation : model.motion.deformations) {
    const auto mesh = static_cast<std::size_t>(deformation.mesh);
    reduced->meshes[mesh] = model.meshes[mesh];
  }
  return reduced;
}

void FinishReduced(const hostkit::Scene& model, double share, const std::atomic<bool>& stop,
                   hostkit::Scene* reduced) {
  const std::vector<const hostkit::SceneDeformation*> deformed = hostkit::DeformationsByMesh(model);
  for (std::size_t i = 0; i < model.meshes.size() && !stop; ++i) {
    if (!deformed[i]) reduced->meshes[i] = Reduced(model.meshes[i], share);
  }
  for (const hostkit::SceneImage& image : model.images) {
    if (stop) return;
    reduced->images.push_back({image.name, nullptr, image.wrapU, image.wrapV, image.isNearest});
    if (image.bitmap) reduced->images.back().bitmap = Shrunk(*image.bitmap);
  }
}

}  // namespace view
