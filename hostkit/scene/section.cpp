// Cutting a scene open along a plane.
#include "hostkit/scene/section.h"

#include <Imath/ImathMatrix.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "hostkit/scene/node_choice.h"
#include "hostkit/scene/section_cap.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::V2d;
using Imath::V3d;
using Imath::V3f;

/// Ends of outlines that are nearer to each other count as one, as a share of the scene's size.
constexpr double kWeldShare = 1e-7;
/// By this share of its height a part of a cap reaches over the next one, or points between them
/// would show what is behind.
constexpr double kOverlapShare = 1e-5;

bool IsBefore(const V3d& a, const V3d& b) {
  return std::lexicographical_compare(a.getValue(), a.getValue() + 3, b.getValue(),
                                      b.getValue() + 3);
}

ColorBuf Mixed(const ColorBuf& a, const ColorBuf& b, double share) {
  const auto mix = [share](std::uint8_t x, std::uint8_t y) {
    return static_cast<std::uint8_t>(std::lround(x + (y - x) * share));
  };
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue), mix(a.alpha, b.alpha)};
}

/// What is left of one placement's mesh, and the outline that the cut leaves, in world space.
class MeshCut {
 public:
  MeshCut(const SceneMesh& mesh, const Imath::M44f& toWorld, const SectionPlane& plane)
      : m_mesh(mesh),
        m_toWorld(toWorld),
        m_isMirrored((m_toWorld.determinant() < 0) != mesh.isMirrored) {
    m_world.reserve(mesh.positions.size());
    m_beyond.reserve(mesh.positions.size());
    for (const V3f& position : mesh.positions) {
      m_world.push_back(V3d(position) * m_toWorld);
      m_beyond.push_back(m_world.back().dot(plane.normal) - plane.offset);
    }
  }

  bool IsAllKept() const { return std::all_of(m_beyond.begin(), m_beyond.end(), IsNear); }
  bool IsAllGone() const { return std::none_of(m_beyond.begin(), m_beyond.end(), IsNear); }

  /// Empty when nothing of it is left.
  SceneMesh Cut() {
    m_kept.assign(m_mesh.positions.size(), kNone);
    m_left.name = m_mesh.name;
    m_left.material = m_mesh.material;
    m_left.colorsHaveAlpha = m_mesh.colorsHaveAlpha;
    m_left.isMirrored = m_mesh.isMirrored;
    for (std::size_t i = 0; i + 2 < m_mesh.triangles.size(); i += 3) {
      CutTriangle(m_mesh.triangles.data() + i);
    }
    for (std::size_t i = 0; i + 1 < m_mesh.lines.size(); i += 2) {
      CutLine(m_mesh.lines[i], m_mesh.lines[i + 1]);
    }
    for (const std::uint32_t point : m_mesh.points) {
      if (IsNear(m_beyond[point])) m_left.points.push_back(Keep(point));
    }
    return std::move(m_left);
  }
  /// Where triangles were cut, the solid to the left as seen from beyond the plane.
  const std::vector<std::pair<V3d, V3d>>& Outline() const { return m_outline; }

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  struct Crossing {
    std::uint32_t vertex;
    V3d place;
  };

  static bool IsNear(double beyond) { return !(beyond > 0); }

  std::uint32_t Keep(std::uint32_t vertex) {
    std::uint32_t& kept = m_kept[vertex];
    if (kept != kNone) return kept;
    kept = static_cast<std::uint32_t>(m_left.positions.size());
    m_left.positions.push_back(m_mesh.positions[vertex]);
    if (!m_mesh.normals.empty()) m_left.normals.push_back(m_mesh.normals[vertex]);
    if (!m_mesh.uvs.empty()) m_left.uvs.push_back(m_mesh.uvs[vertex]);
    if (!m_mesh.colors.empty()) m_left.colors.push_back(m_mesh.colors[vertex]);
    return kept;
  }

  /// The vertex where the edge goes through the plane. From the same two places the same comes out,
  /// whichever is the first: faces that met there meet in the outline.
  Crossing Cross(std::uint32_t a, std::uint32_t b) {
    if (IsBefore(m_world[b], m_world[a])) std::swap(a, b);
    const double share = m_beyond[a] / (m_beyond[a] - m_beyond[b]);
    const V3d place = m_world[a] + (m_world[b] - m_world[a]) * share;
    const auto [entry, isNew] = m_crossings.try_emplace(
        std::uint64_t{a} << 32 | b, static_cast<std::uint32_t>(m_left.positions.size()));
    if (!isNew) return {entry->second, place};
    const auto mix = [&](auto& to, const auto& from) {
      if (from.empty()) return;
      to.push_back(from[a] + (from[b] - from[a]) * static_cast<float>(share));
    };
    mix(m_left.positions, m_mesh.positions);
    mix(m_left.normals, m_mesh.normals);
    if (!m_left.normals.empty()) m_left.normals.back().normalize();
    mix(m_left.uvs, m_mesh.uvs);
    if (!m_mesh.colors.empty()) {
      m_left.colors.push_back(Mixed(m_mesh.colors[a], m_mesh.colors[b], share));
    }
    return {entry->second, place};
  }

  void CutTriangle(const std::uint32_t* corners) {
    std::uint32_t left[4];
    int count = 0, crossings = 0;
    V3d leaves, comes;
    for (int i = 0; i < 3; ++i) {
      const std::uint32_t a = corners[i], b = corners[(i + 1) % 3];
      const bool isNear = IsNear(m_beyond[a]);
      if (isNear) left[count++] = Keep(a);
      if (isNear == IsNear(m_beyond[b])) continue;
      const Crossing crossing = Cross(a, b);
      left[count++] = crossing.vertex;
      (isNear ? leaves : comes) = crossing.place;
      ++crossings;
    }
    if (count >= 3) m_left.triangles.insert(m_left.triangles.end(), {left[0], left[1], left[2]});
    if (count == 4) m_left.triangles.insert(m_left.triangles.end(), {left[0], left[2], left[3]});
    if (crossings != 2) return;
    // The face goes from where it leaves to where it comes back; the cap beside it the other way.
    if (m_isMirrored) std::swap(leaves, comes);
    m_outline.emplace_back(comes, leaves);
  }

  void CutLine(std::uint32_t a, std::uint32_t b) {
    const bool isNearA = IsNear(m_beyond[a]), isNearB = IsNear(m_beyond[b]);
    if (!isNearA && !isNearB) return;
    const std::uint32_t begin = isNearA ? Keep(a) : Cross(a, b).vertex;
    m_left.lines.insert(m_left.lines.end(), {begin, isNearB ? Keep(b) : Cross(a, b).vertex});
  }

  const SceneMesh& m_mesh;
  const M44d m_toWorld;
  const bool m_isMirrored;
  std::vector<V3d> m_world;
  std::vector<double> m_beyond;       // by vertex: its distance beyond the plane
  std::vector<std::uint32_t> m_kept;  // by vertex: its number in what is left
  std::unordered_map<std::uint64_t, std::uint32_t> m_crossings;
  SceneMesh m_left;
  std::vector<std::pair<V3d, V3d>> m_outline;
};

/// Directions along the plane, which with its normal make a right-handed system.
struct PlaneAxes {
  V3d u, v;
  explicit PlaneAxes(const V3d& normal) {
    int least = 0;
    for (int i = 1; i < 3; ++i) {
      if (std::abs(normal[i]) < std::abs(normal[least])) least = i;
    }
    V3d other(0);
    other[least] = 1;
    u = other.cross(normal).normalized();
    v = normal.cross(u);
  }
  V2d Of(const V3d& place) const { return {place.dot(u), place.dot(v)}; }
};

/// The outlines of one object, whose faces may be of several meshes.
using ObjectOutline = std::vector<std::pair<V3d, V3d>>;

class Caps {
 public:
  Caps(const SectionPlane& plane, double size)
      : m_plane(plane), m_axes(plane.normal), m_weld(std::max(size, 1e-30) * kWeldShare) {}

  /// False where some of it stays open.
  bool Add(const ObjectOutline& outline) {
    std::vector<OutlinePiece> pieces;
    pieces.reserve(outline.size());
    for (const auto& [from, to] : outline) pieces.push_back({m_axes.Of(from), m_axes.Of(to)});
    std::vector<Trapezoid> trapezoids;
    const bool isWhole = FillOutlines(pieces, m_weld, &trapezoids);
    for (const Trapezoid& trapezoid : trapezoids) Add(trapezoid);
    return isWhole;
  }
  SceneMesh& Mesh() { return m_mesh; }

 private:
  void Add(const Trapezoid& part) {
    const double over = (part.top - part.bottom) * kOverlapShare;
    const auto first = static_cast<std::uint32_t>(m_mesh.positions.size());
    AddCorner(part.bottomLeft, part.bottom - over);
    AddCorner(part.bottomRight, part.bottom - over);
    AddCorner(part.topRight, part.top + over);
    AddCorner(part.topLeft, part.top + over);
    for (const std::uint32_t corner : {0u, 1u, 2u, 0u, 2u, 3u}) {
      m_mesh.triangles.push_back(first + corner);
    }
  }
  void AddCorner(double x, double y) {
    m_mesh.positions.emplace_back(m_plane.normal * m_plane.offset + m_axes.u * x + m_axes.v * y);
    m_mesh.normals.emplace_back(m_plane.normal);
  }

  const SectionPlane& m_plane;
  const PlaneAxes m_axes;
  const double m_weld;
  SceneMesh m_mesh;
};

void AddCapMesh(SceneMesh mesh, const V3f& color, Scene& scene) {
  if (mesh.triangles.empty()) return;
  SceneMaterial material;
  material.name = mesh.name = "section";
  material.surface.base = {AnimatableValue(color.x), AnimatableValue(color.y),
                           AnimatableValue(color.z)};
  material.isUnlit = true;
  mesh.material = static_cast<int>(scene.materials.size());
  scene.materials.push_back(std::move(material));
  scene.instances.push_back({static_cast<int>(scene.meshes.size()), Imath::M44f()});
  scene.meshes.push_back(std::move(mesh));
}

}  // namespace

bool CutScene(const SectionPlane& plane, const V3f& capColor, Scene& scene) {
  const Imath::Box3f bounds = scene.Bounds();
  const double size = bounds.isEmpty() ? 0 : (V3d(bounds.max) - V3d(bounds.min)).length();
  // Objects that a file tells apart may reach into each other; each has caps of its own.
  std::map<std::pair<int, std::string>, ObjectOutline> outlines;
  std::vector<bool> isKept(scene.instances.size(), true);
  for (std::size_t i = 0; i < isKept.size(); ++i) {
    SceneInstance& instance = scene.instances[i];
    const SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(instance.mesh)];
    MeshCut cut(mesh, instance.toWorld, plane);
    if (cut.IsAllKept()) continue;
    isKept[i] = !cut.IsAllGone();
    if (!isKept[i]) continue;
    const std::string name = instance.node < 0 ? mesh.name : "";
    SceneMesh left = cut.Cut();
    ObjectOutline& outline = outlines[{instance.node, name}];
    outline.insert(outline.end(), cut.Outline().begin(), cut.Outline().end());
    instance.mesh = static_cast<int>(scene.meshes.size());
    scene.meshes.push_back(std::move(left));
  }
  scene.motion.instances.clear();
  scene.motion.deformations.clear();
  for (SceneAnimation& animation : scene.motion.animations) animation.weights.clear();
  KeepInstances(isKept, scene);
  Caps caps(plane, size);
  bool isWhole = true;
  for (const auto& [object, outline] : outlines) isWhole = caps.Add(outline) && isWhole;
  AddCapMesh(std::move(caps.Mesh()), capColor, scene);
  return isWhole;
}

Scene CopyAsPosed(const Scene& scene) {
  Scene copy;
  copy.materials = scene.materials;
  copy.meshes = scene.meshes;
  copy.instances = scene.instances;
  copy.nodeNames = scene.nodeNames;
  copy.cameras = scene.cameras;
  copy.lights = scene.lights;
  copy.origin = scene.origin;
  copy.upAxis = scene.upAxis;
  return copy;
}

}  // namespace hostkit
