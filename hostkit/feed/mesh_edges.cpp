// Edges of meshes, as drawings show them.
#include "hostkit/feed/mesh_edges.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <unordered_map>

#include "hostkit/scene/deform.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Vertices this near to each other, as a share of the mesh's diagonal, count as one: computing
// shapes and writing coordinates as text round them.
constexpr double kSamePlace = 1e-5;

// Finds vertices by their place: a grid of cells a few tolerances wide, which hold chains of those
// that stand for others.
class PlaceFinder {
 public:
  explicit PlaceFinder(const std::vector<V3f>& positions)
      : m_positions(positions), m_next(positions.size(), kNone) {
    Imath::Box3f box;
    for (const V3f& p : positions) box.extendBy(p);
    m_tolerance = (Imath::V3d(box.max) - Imath::V3d(box.min)).length() * kSamePlace;
    if (!(m_tolerance > 0)) m_tolerance = 1e-30;
    m_origin = box.min;
    m_cells.reserve(positions.size());
  }

  /// The vertex that stands for all near it: one that was asked for before, or else `vertex`.
  std::uint32_t Find(std::uint32_t vertex) {
    const Cell low = CellOf(vertex, -m_tolerance), high = CellOf(vertex, m_tolerance);
    for (auto x = low[0]; x <= high[0]; ++x) {
      for (auto y = low[1]; y <= high[1]; ++y) {
        for (auto z = low[2]; z <= high[2]; ++z) {
          const std::uint32_t near = NearIn({x, y, z}, vertex);
          if (near != kNone) return near;
        }
      }
    }
    const auto [cell, isNew] = m_cells.try_emplace(CellOf(vertex, 0), vertex);
    if (!isNew) {
      m_next[vertex] = cell->second;
      cell->second = vertex;
    }
    return vertex;
  }

 private:
  using Cell = std::array<std::int64_t, 3>;
  struct Hash {
    std::size_t operator()(const Cell& cell) const {
      std::uint64_t hash = 0;
      for (const std::int64_t c : cell) {
        hash = (hash ^ static_cast<std::uint64_t>(c)) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
      }
      return hash;
    }
  };
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  Cell CellOf(std::uint32_t vertex, double shift) const {
    Cell cell;
    for (int c = 0; c < 3; ++c) {
      const double from = static_cast<double>(m_positions[vertex][c]) - m_origin[c] + shift;
      cell[static_cast<std::size_t>(c)] =
          static_cast<std::int64_t>(std::floor(from / (8 * m_tolerance)));
    }
    return cell;
  }
  std::uint32_t NearIn(const Cell& cell, std::uint32_t vertex) const {
    const auto found = m_cells.find(cell);
    std::uint32_t other = found == m_cells.end() ? kNone : found->second;
    while (other != kNone &&
           (m_positions[other] - m_positions[vertex]).length() > static_cast<float>(m_tolerance)) {
      other = m_next[other];
    }
    return other;
  }

  const std::vector<V3f>& m_positions;
  std::vector<std::uint32_t> m_next;
  std::unordered_map<Cell, std::uint32_t, Hash> m_cells;
  double m_tolerance = 0;
  Imath::V3d m_origin;
};

std::vector<std::uint32_t> PlacesOf(const std::vector<V3f>& positions) {
  PlaceFinder finder(positions);
  std::vector<std::uint32_t> places(positions.size());
  for (std::uint32_t i = 0; i < places.size(); ++i) places[i] = finder.Find(i);
  return places;
}

// One side of a triangle: its ends' places, the lower one first, and where it is.
struct Side {
  std::uint64_t key;
  std::uint32_t corner;  // 3 * triangle + corner that it starts at
  bool isReversed;       // starts at the upper end
};

std::uint32_t NextCorner(std::uint32_t corner) {
  return corner % 3 == 2 ? corner - 2 : corner + 1;
}

std::vector<Side> SidesOf(const SceneMesh& mesh, const std::vector<V3f>& positions) {
  const std::vector<std::uint32_t> places = PlacesOf(positions);
  std::vector<Side> sides;
  sides.reserve(mesh.triangles.size());
  for (std::uint32_t i = 0; i < mesh.triangles.size(); ++i) {
    const std::uint64_t a = places[mesh.triangles[i]], b = places[mesh.triangles[NextCorner(i)]];
    if (a != b) sides.push_back({std::min(a, b) << 32 | std::max(a, b), i, a > b});
  }
  std::sort(sides.begin(), sides.end(), [](const Side& x, const Side& y) {
    return x.key != y.key ? x.key < y.key : x.corner < y.corner;
  });
  return sides;
}

V3f NormalOf(const SceneMesh& mesh, std::uint32_t triangle) {
  const std::uint32_t* corners = mesh.triangles.data() + 3 * static_cast<std::size_t>(triangle);
  const V3f& a = mesh.positions[corners[0]];
  const Imath::V3d across(mesh.positions[corners[1]] - a), along(mesh.positions[corners[2]] - a);
  return V3f(across.cross(along).normalized());
}

}  // namespace

std::vector<MeshEdge> FindEdges(const SceneMesh& mesh, const SceneDeformation* deformation) {
  const std::vector<Side> sides =
      SidesOf(mesh, deformation ? deformation->positions : mesh.positions);
  std::vector<MeshEdge> edges;
  edges.reserve(sides.size() / 2 + 1);
  for (std::size_t i = 0; i < sides.size();) {
    std::size_t end = i + 1;
    while (end < sides.size() && sides[end].key == sides[i].key) ++end;
    MeshEdge edge;
    edge.a = mesh.triangles[sides[i].corner];
    edge.b = mesh.triangles[NextCorner(sides[i].corner)];
    edge.left = sides[i].corner / 3;
    if (end - i == 2) {
      edge.right = static_cast<std::int32_t>(sides[i + 1].corner / 3);
      edge.oppositeWinding = sides[i].isReversed != sides[i + 1].isReversed;
    }
    edges.push_back(edge);
    i = end;
  }
  MeasureAngles(mesh, edges);
  return edges;
}

void MeasureAngles(const SceneMesh& mesh, std::vector<MeshEdge>& edges) {
  for (MeshEdge& edge : edges) {
    if (edge.right < 0) continue;
    const auto right = static_cast<std::uint32_t>(edge.right);
    const float cosine = NormalOf(mesh, edge.left).dot(NormalOf(mesh, right));
    edge.cosine = edge.oppositeWinding ? cosine : -cosine;
  }
}

const std::vector<MeshEdge>& SceneEdges::OfMesh(const Scene& scene, int index) {
  if (m_deformations.empty()) m_deformations = DeformationsByMesh(scene);
  const auto at = static_cast<std::size_t>(index);
  const auto [found, isNew] = m_edges.try_emplace(index);
  if (isNew) {
    found->second = FindEdges(scene.meshes[at], m_deformations[at]);
  } else if (m_deformations[at]) {
    MeasureAngles(scene.meshes[at], found->second);
  }
  return found->second;
}

}  // namespace hostkit
