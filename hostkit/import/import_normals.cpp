// Normals for triangles that come without.
#include "hostkit/import/import_normals.h"

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "hostkit/scene/directions.h"
#include "hostkit/scene/vertex_places.h"
#include "hostkit/services/share_work.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr float kCosCrease = 0.5f;  // of 60 degrees
// Of half the angle, less what rounding may do: directions that are all as close to one are as
// close to one another as the crease asks.
constexpr float kCosHalfCrease = 0.867f;
// A place with more triangles than this, such as the tip of a fan or a heap of collapsed triangles,
// is left sharp: comparing each with each would take for ever.
constexpr std::uint32_t kMostAround = 512;
constexpr float kCosSameNormal = 0.999f;  // corners closer than this share a vertex
const V3f kAnyDirection(0, 1, 0);
constexpr std::size_t kTrianglesAPiece = 32768;  // or places: less does not pay a thread

/// A power of two that brings the mesh to a size of about 1: squares of squares of coordinates, in
/// whatever units, would leave the range of a float.
float UnitOf(const SceneMesh& mesh) {
  Imath::Box3f bounds;
  for (const V3f& position : mesh.positions) bounds.extendBy(position);
  const V3f size = bounds.isEmpty() ? V3f(0.0f) : bounds.size();
  const float largest = std::max({size.x, size.y, size.z});
  return largest > 0 && std::isfinite(largest) ? std::exp2(-std::round(std::log2(largest))) : 1;
}

/// Twice the triangle's area long in square units, on the side from which it is counter-clockwise.
V3f AreaNormal(const SceneMesh& mesh, std::size_t triangle, float unit) {
  const std::uint32_t* corner = &mesh.triangles[3 * triangle];
  const V3f& a = mesh.positions[corner[0]];
  return ((mesh.positions[corner[1]] - a) * unit).cross((mesh.positions[corner[2]] - a) * unit);
}

/// The direction that a triangle faces; zero when it is thin to the point of having none, where
/// rounding alone would choose one.
V3f FacingOf(const SceneMesh& mesh, std::size_t triangle, const V3f& areaNormal, float unit) {
  constexpr float kThinnest = 1e-6f;
  const std::uint32_t* corner = &mesh.triangles[3 * triangle];
  const V3f& a = mesh.positions[corner[0]];
  const float longest = std::max(((mesh.positions[corner[1]] - a) * unit).length2(),
                                 ((mesh.positions[corner[2]] - a) * unit).length2());
  const float length = areaNormal.length();
  return length > kThinnest * longest && std::isfinite(length) ? areaNormal / length : V3f(0.0f);
}

/// What a triangle gives to the normals around it.
struct Facing {
  V3f area;       ///< See AreaNormal.
  V3f direction;  ///< See FacingOf.
};

/// The normal of a corner of `triangle`: the mean, by area, of those around its place that face
/// about the same way; a triangle that faces no way takes the mean of all.
V3f CornerNormal(const std::vector<Facing>& facings, std::size_t triangle,
                 std::span<const std::uint32_t> around) {
  const V3f& own = facings[triangle].direction;
  if (around.size() > kMostAround) return UnitOr(own, kAnyDirection);
  const float least = own == V3f(0.0f) ? -1 : kCosCrease;
  V3f sum(0.0f);
  for (std::uint32_t other : around) {
    const V3f& direction = facings[other].direction;
    if (direction != V3f(0.0f) && direction.dot(own) >= least) sum += facings[other].area;
  }
  return UnitOr(sum, kAnyDirection);
}

/// The triangles around each place, place p owning entries first[p] to first[p + 1].
struct Surroundings {
  std::vector<std::uint32_t> first;
  std::vector<std::uint32_t> triangles;

  std::span<const std::uint32_t> At(std::size_t place) const {
    return {triangles.data() + first[place], first[place + 1] - first[place]};
  }
};

Surroundings FindSurroundings(const SceneMesh& mesh, const std::vector<std::uint32_t>& places,
                              std::size_t placeCount) {
  Surroundings around;
  around.first.assign(placeCount + 1, 0);
  for (std::uint32_t vertex : mesh.triangles) ++around.first[places[vertex] + 1];
  for (std::size_t p = 0; p < placeCount; ++p) around.first[p + 1] += around.first[p];
  around.triangles.resize(mesh.triangles.size());
  std::vector<std::uint32_t> next(around.first.begin(), around.first.end() - 1);
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    around.triangles[next[places[mesh.triangles[i]]]++] = static_cast<std::uint32_t>(i / 3);
  }
  return around;
}

/// The normal that all corners of a place have, where its triangles face about the same way; zero
/// where they have to be looked at one by one.
V3f PlaceNormal(const std::vector<Facing>& facings, std::span<const std::uint32_t> around) {
  if (around.size() > kMostAround) return V3f(0.0f);
  V3f sum(0.0f);
  for (std::uint32_t triangle : around) {
    if (facings[triangle].direction != V3f(0.0f)) sum += facings[triangle].area;
  }
  const V3f normal = UnitOr(sum, V3f(0.0f));
  const bool isSmooth = std::all_of(around.begin(), around.end(), [&](std::uint32_t triangle) {
    const V3f& direction = facings[triangle].direction;
    return direction == V3f(0.0f) || direction.dot(normal) >= kCosHalfCrease;
  });
  return isSmooth ? normal : V3f(0.0f);
}

template <typename T>
void RepeatVertices(std::vector<T>& values, std::size_t index) {
  if (!values.empty()) values.push_back(T(values[index]));
}

/// Gives each corner a vertex with its normal; `chain` links the vertices that one was split into.
class CornerVertices {
 public:
  explicit CornerVertices(SceneMesh& mesh)
      : m_mesh(mesh), m_count(mesh.positions.size()), m_chain(m_count, kUnused) {
    m_mesh.normals.assign(mesh.positions.size(), kAnyDirection);
  }

  std::uint32_t VertexFor(std::uint32_t vertex, const V3f& normal) {
    if (m_chain[vertex] == kUnused) {
      m_chain[vertex] = kEnd;
      m_mesh.normals[vertex] = normal;
      return vertex;
    }
    std::uint32_t candidate = vertex;
    while (m_mesh.normals[candidate].dot(normal) < kCosSameNormal) {
      if (m_chain[candidate] == kEnd) return Split(candidate, normal);
      candidate = m_chain[candidate];
    }
    return candidate;
  }

  /// By added vertex: the one that was split.
  std::vector<std::uint32_t> TakeCopies() { return std::move(m_copies); }

 private:
  static constexpr std::uint32_t kUnused = 0xffffffff;
  static constexpr std::uint32_t kEnd = 0xfffffffe;

  std::uint32_t Split(std::uint32_t vertex, const V3f& normal) {
    const auto added = static_cast<std::uint32_t>(m_mesh.positions.size());
    RepeatVertices(m_mesh.positions, vertex);
    RepeatVertices(m_mesh.uvs, vertex);
    RepeatVertices(m_mesh.colors, vertex);
    m_mesh.normals.push_back(normal);
    m_chain[vertex] = added;
    m_chain.push_back(kEnd);
    m_copies.push_back(vertex < m_count ? vertex : m_copies[vertex - m_count]);
    return added;
  }

  SceneMesh& m_mesh;
  std::size_t m_count;  // of vertices before any was split
  std::vector<std::uint32_t> m_chain;
  std::vector<std::uint32_t> m_copies;
};

}  // namespace

std::vector<std::uint32_t> MakeNormals(SceneMesh& mesh) {
  const std::size_t triangleCount = mesh.triangles.size() / 3;
  const float unit = UnitOf(mesh);
  std::vector<Facing> facings(triangleCount);
  ShareRanges(triangleCount, kTrianglesAPiece, [&](std::size_t begin, std::size_t end) {
    for (std::size_t t = begin; t < end; ++t) {
      facings[t].area = AreaNormal(mesh, t, unit);
      facings[t].direction = FacingOf(mesh, t, facings[t].area, unit);
    }
  });
  std::size_t placeCount = 0;
  const std::vector<std::uint32_t> places = NumberPlaces(mesh.positions, &placeCount);
  const Surroundings around = FindSurroundings(mesh, places, placeCount);
  std::vector<V3f> shared(placeCount);
  ShareRanges(placeCount, kTrianglesAPiece, [&](std::size_t begin, std::size_t end) {
    for (std::size_t p = begin; p < end; ++p) shared[p] = PlaceNormal(facings, around.At(p));
  });
  CornerVertices corners(mesh);
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    const std::uint32_t place = places[mesh.triangles[i]];
    V3f normal = shared[place];
    if (normal == V3f(0.0f)) normal = CornerNormal(facings, i / 3, around.At(place));
    mesh.triangles[i] = corners.VertexFor(mesh.triangles[i], normal);
  }
  return corners.TakeCopies();
}

void RepairNormals(SceneMesh& mesh) {
  bool anyBad = false;
  for (V3f& normal : mesh.normals) {
    const float square = normal.length2();
    if (std::abs(square - 1) < 0.001f) continue;
    normal = UnitOr(normal, V3f(0.0f));
    anyBad = anyBad || normal == V3f(0.0f);
  }
  if (!anyBad) return;
  const float unit = UnitOf(mesh);
  for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
    V3f& normal = mesh.normals[mesh.triangles[i]];
    if (normal == V3f(0.0f)) normal = UnitOr(AreaNormal(mesh, i / 3, unit), V3f(0.0f));
  }
  for (V3f& normal : mesh.normals) {
    if (normal == V3f(0.0f)) normal = kAnyDirection;
  }
}

}  // namespace hostkit
