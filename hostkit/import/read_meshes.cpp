// What the readers of single formats share: a file's bytes, positions, and finished meshes.
#include "hostkit/import/read_meshes.h"

#include <Imath/ImathBox.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "hostkit/import/import_checks.h"
#include "hostkit/import/import_normals.h"
#include "hostkit/import/vertex_checks.h"
#include "hostkit/scene/recentre.h"

namespace hostkit {

using Imath::V2f;
using Imath::V3d;
using Imath::V3f;

bool ReadWhole(const OpenedFile& file, FileBytes* bytes) {
  bytes->bytes.reset(new char[file.size]);
  bytes->size = file.size;
  for (std::size_t done = 0; done < bytes->size;) {
    const ssize_t count = pread(file.file.Get(), bytes->bytes.get() + done, bytes->size - done,
                                static_cast<off_t>(done));
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

bool ReadModelFile(const ModelSource& source, FileBytes* bytes, std::string* error) {
  const OpenedFile file = source.files.OpenModel();
  const std::string& path = source.files.ModelPath();
  if (!file.IsOpen()) {
    *error = fmt::format("{}: cannot be opened; check its permissions", path);
  } else if (!ReadWhole(file, bytes)) {
    *error = fmt::format("{}: reading stopped half-way; check the disk", path);
  }
  return error->empty();
}

PlacedPositions PlacePositions(const std::vector<V3d>& positions, V3d* taken) {
  PlacedPositions placed;
  Imath::Box3d bounds;
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (CanBeDrawn(positions[i])) {
      bounds.extendBy(positions[i]);
      continue;
    }
    if (placed.bad.empty()) placed.bad.resize(positions.size());
    placed.bad[i] = true;
  }
  *taken = bounds.isEmpty() ? V3d(0.0) : MiddleToTake(bounds);
  placed.positions.reserve(positions.size());
  for (const V3d& position : positions) placed.positions.emplace_back(position - *taken);
  const V3f good(bounds.isEmpty() ? V3d(0.0) : bounds.min - *taken);
  for (std::size_t i = 0; i < placed.bad.size(); ++i) {
    if (placed.bad[i]) placed.positions[i] = good;
  }
  return placed;
}

void LeftOut::Tell(const ModelSource& source, const PolygonCutter* cutter) const {
  const std::string& path = source.files.ModelPath();
  if (missing > 0) AddWarning(source.scene, MissingVerticesText(path, missing));
  if (unusable > 0) AddWarning(source.scene, UnusableVerticesText(path, unusable));
  if (cutter && cutter->IsSpent()) {
    AddWarning(
        source.scene,
        fmt::format("{}: its polygons have too many corners, and some may show wrong; export "
                    "it as triangles",
                    path));
  }
}

int AddMeshAlone(Scene& scene, SceneMesh mesh) {
  if (mesh.triangles.empty() && mesh.lines.empty() && mesh.points.empty()) return -1;
  if (!mesh.normals.empty()) {
    RepairNormals(mesh);
  } else if (!mesh.triangles.empty()) {
    MakeNormals(mesh);
  }
  mesh.colorsHaveAlpha = std::any_of(mesh.colors.begin(), mesh.colors.end(),
                                     [](const ColorBuf& color) { return color.alpha < 255; });
  scene.meshes.push_back(std::move(mesh));
  return static_cast<int>(scene.meshes.size() - 1);
}

void AddMesh(Scene& scene, SceneMesh mesh) {
  const int index = AddMeshAlone(scene, std::move(mesh));
  if (index >= 0) scene.instances.push_back({index, {}});
}

V2f TopDown(double u, double v) {
  const V2f uv(static_cast<float>(u), static_cast<float>(1 - v));
  return std::isfinite(uv.x) && std::isfinite(uv.y) ? uv : V2f(0, 0);
}

}  // namespace hostkit
