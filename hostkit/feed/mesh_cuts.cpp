// Meshes whose triangles are cut where what they show changes its rule.
#include "hostkit/feed/mesh_cuts.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <unordered_map>
#include <utility>

namespace hostkit {
namespace {

using Imath::V2f;

std::uint8_t Between(std::uint8_t a, std::uint8_t b, float share) {
  return static_cast<std::uint8_t>(std::lerp(static_cast<float>(a), static_cast<float>(b), share) +
                                   0.5f);
}

ColorBuf Between(const ColorBuf& a, const ColorBuf& b, float share) {
  return {Between(a.red, b.red, share), Between(a.green, b.green, share),
          Between(a.blue, b.blue, share), Between(a.alpha, b.alpha, share)};
}

class Cutter {
 public:
  Cutter(const SceneMesh& mesh, const std::vector<CutLine>& lines)
      : m_mesh(mesh), m_lines(lines), m_madeOn(lines.size()) {
    m_hasBands = std::any_of(lines.begin(), lines.end(), IsBandLine);
  }

  std::unique_ptr<MeshCuts> Cut() {
    const std::vector<std::uint32_t>& triangles = m_mesh.triangles;
    m_cuts->triangles.reserve(triangles.size());
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
      CutFrom(0, {triangles[i], triangles[i + 1], triangles[i + 2]});
    }
    const bool isWhole = m_cuts->made.empty() && m_cuts->triangles.size() == triangles.size();
    return isWhole && !m_hasBands ? nullptr : std::move(m_cuts);
  }

 private:
  using Polygon = std::vector<std::uint32_t>;  // convex, wound as its triangle

  static bool IsBandLine(const CutLine& line) {
    return line.of == CutLine::kAlpha && !line.dropsBelow;
  }

  std::uint8_t BandOf(const Polygon& polygon) const {
    float sum = 0;
    for (const std::uint32_t vertex : polygon) sum += static_cast<float>(ColorOf(vertex).alpha);
    const float mean = sum / static_cast<float>(polygon.size());
    return static_cast<std::uint8_t>(
        std::count_if(m_lines.begin(), m_lines.end(),
                      [mean](const CutLine& line) { return IsBandLine(line) && line.at <= mean; }));
  }

  bool IsMade(std::uint32_t vertex) const { return vertex >= m_mesh.positions.size(); }
  const CutVertex& Made(std::uint32_t vertex) const {
    return m_cuts->made[vertex - m_mesh.positions.size()];
  }
  V2f UvOf(std::uint32_t vertex) const {
    if (m_mesh.uvs.size() != m_mesh.positions.size()) return V2f(0);
    return IsMade(vertex) ? Made(vertex).uv : m_mesh.uvs[vertex];
  }
  ColorBuf ColorOf(std::uint32_t vertex) const {
    if (m_mesh.colors.size() != m_mesh.positions.size()) return {255, 255, 255, 255};
    return IsMade(vertex) ? Made(vertex).color : m_mesh.colors[vertex];
  }
  float ValueOf(std::uint32_t vertex, std::size_t line) const {
    if (m_lines[line].of == CutLine::kAlpha) return static_cast<float>(ColorOf(vertex).alpha);
    const V2f uv = UvOf(vertex);
    return m_lines[line].of == CutLine::kU ? uv.x : uv.y;
  }

  // The vertex on a line between two on different sides of it, made once. It is always computed
  // from the lower side to the upper one, whichever comes first in the triangle.
  std::uint32_t VertexOn(std::size_t line, std::uint32_t lower, std::uint32_t upper) {
    const auto next = static_cast<std::uint32_t>(m_mesh.positions.size() + m_cuts->made.size());
    const std::uint64_t key = std::uint64_t{lower} << 32 | upper;
    const auto [found, isNew] = m_madeOn[line].try_emplace(key, next);
    if (!isNew) return found->second;
    CutVertex made;
    made.a = lower;
    made.b = upper;
    const float at = m_lines[line].at, from = ValueOf(lower, line), to = ValueOf(upper, line);
    made.share = std::clamp((at - from) / (to - from), 0.0f, 1.0f);
    const V2f uv = UvOf(lower);
    made.uv = uv + (UvOf(upper) - uv) * made.share;
    if (m_lines[line].of == CutLine::kU) made.uv.x = at;
    if (m_lines[line].of == CutLine::kV) made.uv.y = at;
    made.color = Between(ColorOf(lower), ColorOf(upper), made.share);
    m_cuts->made.push_back(made);
    return next;
  }

  void Split(std::size_t line, const Polygon& polygon, Polygon* below, Polygon* above) {
    const float at = m_lines[line].at;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const std::uint32_t vertex = polygon[i], next = polygon[(i + 1) % polygon.size()];
      const float value = ValueOf(vertex, line), nextValue = ValueOf(next, line);
      if (value <= at) below->push_back(vertex);
      if (value >= at) above->push_back(vertex);
      if ((value < at && nextValue > at) || (value > at && nextValue < at)) {
        const std::uint32_t made =
            value < at ? VertexOn(line, vertex, next) : VertexOn(line, next, vertex);
        below->push_back(made);
        above->push_back(made);
      }
    }
  }

  void CutFrom(std::size_t line, const Polygon& polygon) {
    if (line == m_lines.size()) {
      for (std::size_t i = 2; i < polygon.size(); ++i) {
        m_cuts->triangles.insert(m_cuts->triangles.end(), {polygon[0], polygon[i - 1], polygon[i]});
        if (m_hasBands) m_cuts->bands.push_back(BandOf(polygon));
      }
      return;
    }
    const float at = m_lines[line].at;
    const auto isBelow = [&](std::uint32_t v) { return ValueOf(v, line) < at; };
    const auto isAbove = [&](std::uint32_t v) { return ValueOf(v, line) > at; };
    const bool reachesBelow = std::any_of(polygon.begin(), polygon.end(), isBelow);
    if (!reachesBelow) return CutFrom(line + 1, polygon);
    const bool reachesAbove = std::any_of(polygon.begin(), polygon.end(), isAbove);
    Polygon below = polygon, above;
    if (reachesAbove) {
      below.clear();
      Split(line, polygon, &below, &above);
    }
    if (!m_lines[line].dropsBelow) CutFrom(line + 1, below);
    if (reachesAbove) CutFrom(line + 1, above);
  }

  const SceneMesh& m_mesh;
  const std::vector<CutLine>& m_lines;
  bool m_hasBands = false;
  std::unique_ptr<MeshCuts> m_cuts = std::make_unique<MeshCuts>();
  // For each line the vertices on it, by the two that they lie between.
  std::vector<std::unordered_map<std::uint64_t, std::uint32_t>> m_madeOn;
};

}  // namespace

std::unique_ptr<MeshCuts> CutMesh(const SceneMesh& mesh, const std::vector<CutLine>& lines) {
  return Cutter(mesh, lines).Cut();
}

}  // namespace hostkit
