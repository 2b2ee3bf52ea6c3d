// Primitives of all kinds into lists of triangles, lines and points.
#include "hostkit/import/gltf/gltf_faces.h"

#include <utility>

#include "hostkit/scene/directions.h"

namespace hostkit::gltf {
namespace {

using Imath::V3f;

enum Mode { kPoints, kLines, kLineLoop, kLineStrip, kTriangles, kTriangleStrip, kTriangleFan };

std::vector<std::uint32_t> ListLines(const std::vector<std::uint32_t>& path, bool isLoop) {
  std::vector<std::uint32_t> list;
  list.reserve(2 * path.size());
  for (std::size_t i = 1; i < path.size(); ++i) list.insert(list.end(), {path[i - 1], path[i]});
  if (isLoop && path.size() > 1) list.insert(list.end(), {path.back(), path.front()});
  return list;
}

std::vector<std::uint32_t> ListTriangles(const std::vector<std::uint32_t>& path, bool isFan) {
  std::vector<std::uint32_t> list;
  list.reserve(3 * path.size());
  for (std::size_t i = 0; i + 2 < path.size(); ++i) {
    if (isFan) {
      list.insert(list.end(), {path[i + 1], path[i + 2], path[0]});
    } else {
      // Every second one of a strip runs the other way.
      list.insert(list.end(), {path[i], path[i + 1 + i % 2], path[i + 2 - i % 2]});
    }
  }
  return list;
}

}  // namespace

std::size_t CornersOf(int mode) {
  if (mode < kPoints || mode > kTriangleFan) return 0;
  return mode >= kTriangles ? 3 : mode >= kLines ? 2 : 1;
}

std::vector<std::uint32_t> ListFaces(int mode, std::vector<std::uint32_t> indices) {
  if (mode == kLineLoop || mode == kLineStrip) return ListLines(indices, mode == kLineLoop);
  if (mode == kTriangleStrip || mode == kTriangleFan) {
    return ListTriangles(indices, mode == kTriangleFan);
  }
  indices.resize(indices.size() - indices.size() % CornersOf(mode));
  return indices;
}

std::size_t DropFaces(std::vector<std::uint32_t>& list, std::size_t corners, std::size_t count,
                      const std::vector<bool>& bad) {
  std::size_t kept = 0;
  for (std::size_t face = 0; face < list.size(); face += corners) {
    bool isGood = true;
    for (std::size_t i = face; i < face + corners; ++i) {
      isGood = isGood && list[i] < count && (bad.empty() || !bad[list[i]]);
    }
    if (!isGood) continue;
    for (std::size_t i = 0; i < corners; ++i) list[kept + i] = list[face + i];
    kept += corners;
  }
  const std::size_t dropped = (list.size() - kept) / corners;
  list.resize(kept);
  return dropped;
}

std::vector<std::uint32_t> MakeFlatNormals(SceneMesh& mesh) {
  constexpr float kCosSame = 0.99999f;
  const V3f kUnset(0.0f), kAnyDirection(0, 1, 0);
  const std::size_t count = mesh.positions.size();
  std::vector<std::uint32_t> splits, latest(count);  // the last one that each was split into
  for (std::size_t i = 0; i < count; ++i) latest[i] = static_cast<std::uint32_t>(i);
  for (std::vector<V3f>* grown : {&mesh.positions, &mesh.normals}) {
    grown->reserve(count + mesh.triangles.size());
  }
  mesh.normals.assign(count, kUnset);
  for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
    const std::uint32_t* corner = &mesh.triangles[i];
    const V3f& a = mesh.positions[corner[0]];
    const V3f across = (mesh.positions[corner[1]] - a).cross(mesh.positions[corner[2]] - a);
    const V3f normal = UnitOr(across, kAnyDirection);
    for (std::size_t k = i; k < i + 3; ++k) {
      const std::uint32_t vertex = mesh.triangles[k];
      if (mesh.normals[latest[vertex]] == kUnset) {
        mesh.normals[latest[vertex]] = normal;
      } else if (mesh.normals[latest[vertex]].dot(normal) < kCosSame) {
        latest[vertex] = static_cast<std::uint32_t>(mesh.positions.size());
        const V3f position = mesh.positions[vertex];
        mesh.positions.push_back(position);
        mesh.normals.push_back(normal);
        splits.push_back(vertex);
      }
      mesh.triangles[k] = latest[vertex];
    }
  }
  for (V3f& normal : mesh.normals) {
    if (normal == kUnset) normal = kAnyDirection;
  }
  return splits;
}

}  // namespace hostkit::gltf
