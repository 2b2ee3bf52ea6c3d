// Feeds a scene to a display list: the ways to draw that are not shaded, and markers.
#include <cmath>
#include <numbers>

#include "hostkit/feed/picture_sampling.h"
#include "hostkit/feed/scene_feed.h"

namespace hostkit {
namespace {

using Imath::V3f;

constexpr ColorBuf kWhite{255, 255, 255, 255};
// Samples that lines and markers come out of the surface that they lie on, for each that they are
// wide: drawn beside its edge, a line stays in front of surfaces up to 80 degrees steep.
constexpr float kOutOfSurface = 3;
// Markers are batched without a limit of the renderer's own.
constexpr std::size_t kMarkersAPiece = 20000;

std::uint8_t Mean(int a, int b, int c) {
  return static_cast<std::uint8_t>((a + b + c) / 3);
}

ColorBuf Mean(const ColorBuf& a, const ColorBuf& b, const ColorBuf& c) {
  return {Mean(a.red, b.red, c.red), Mean(a.green, b.green, c.green), Mean(a.blue, b.blue, c.blue),
          Mean(a.alpha, b.alpha, c.alpha)};
}

std::uint8_t Times(int a, int b) {
  return static_cast<std::uint8_t>((a * b + 127) / 255);
}

ColorBuf Times(const ColorBuf& a, const ColorBuf& b) {
  return {Times(a.red, b.red), Times(a.green, b.green), Times(a.blue, b.blue),
          Times(a.alpha, b.alpha)};
}

}  // namespace

// The colour of a triangle before light falls on it: its vertices' mean times its picture's.
ColorBuf SceneFeed::FaceColor(std::size_t triangle, const Corners& corners) const {
  const SceneMesh& mesh = *m_placed.mesh;
  ColorBuf color = kWhite;
  if (m_placed.prepared->perVertexColors) {
    color = Mean(mesh.colors[corners.index[0]], mesh.colors[corners.index[1]],
                 mesh.colors[corners.index[2]]);
  }
  const SceneMaterial& material = m_scene.materials[static_cast<std::size_t>(mesh.material)];
  if (!m_placed.prepared->texture) return color;
  const SceneImage& image = m_scene.images[static_cast<std::size_t>(material.image)];
  Imath::V2f uvs[3];
  for (int k = 0; k < 3; ++k) uvs[k] = mesh.uvs[mesh.triangles[triangle + k]];
  return Times(color, MeanOverTriangle(image, uvs));
}

void SceneFeed::FeedFlatTriangles() {
  const PreparedMesh& prepared = *m_placed.prepared;
  m_lighting.SetMaterial(*prepared.material);
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size(); i += 3) {
    const Corners corners = CornersOf(i);
    const bool facesAway = FacesAway(m_vertices[corners.index[0]], m_vertices[corners.index[1]],
                                     m_vertices[corners.index[2]]);
    if (facesAway && prepared.transparent && prepared.closed) continue;  // as the queue does
    const V3f a = PlacedAt(corners.index[0]), b = PlacedAt(corners.index[1]),
              c = PlacedAt(corners.index[2]);
    const V3f normal = (b - a).cross(c - a).normalized(), middle = (a + b + c) / 3;
    const ColorBuf color =
        m_lighting.Light(middle, facesAway ? -normal : normal, FaceColor(i, corners));
    SortedTriangle triangle{-middle.z, nullptr, {}};
    const V3f* const places[] = {&a, &b, &c};
    for (int k = 0; k < 3; ++k) {
      triangle.corners[k] = {places[k]->x, places[k]->y, places[k]->z, 0,          0,
                             color.red,    color.green,  color.blue,   color.alpha};
    }
    AddColored(triangle);
  }
  FlushColored();
}

// Triangles in the background's colour, which hide what is behind them.
void SceneFeed::FeedFill() {
  const ColorBuf& color = m_view.background;
  for (const std::uint32_t vertex : m_placed.mesh->triangles) {
    const V3f p = PlacedAt(vertex);
    m_colored.push_back({p.x, p.y, p.z, color.red, color.green, color.blue, 255});
    if (m_colored.size() == kColoredTriangles * 3) FlushColored();
  }
  FlushColored();
}

GALitVertex SceneFeed::EdgeEnd(std::uint32_t vertex) const {
  const FrameSettings& settings = *m_view.settings;
  GALitVertex end = FlatVertex(vertex);
  if (settings.mode == DrawMode::kWireframe && !settings.lineColor) return end;
  const V3f place =
      TowardsEye({end.x, end.y, end.z}, kOutOfSurface * static_cast<float>(settings.samplesPerSide),
                 *m_view.info);
  const ColorBuf color = settings.lineColor.value_or(ContrastColor(settings));
  return {place.x, place.y, place.z, color.red, color.green, color.blue, color.alpha};
}

bool SceneFeed::IsDrawn(const MeshEdge& edge) const {
  if (m_view.settings->mode == DrawMode::kWireframe || edge.right < 0) return true;
  const float crease = m_view.settings->creaseDegrees * std::numbers::pi_v<float> / 180;
  if (edge.cosine < std::cos(crease)) return true;
  // The outline: one of its triangles is seen from outside, the other one from inside.
  const bool differ = m_facesAway[edge.left] != m_facesAway[static_cast<std::size_t>(edge.right)];
  return differ == edge.oppositeWinding;
}

void SceneFeed::FeedEdges(int mesh) {
  const std::vector<std::uint32_t>& triangles = m_placed.mesh->triangles;
  m_facesAway.resize(triangles.size() / 3);
  if (m_view.settings->mode == DrawMode::kLines) {
    for (std::size_t i = 0; i < m_facesAway.size(); ++i) {
      m_facesAway[i] = FacesAway(m_vertices[triangles[3 * i]], m_vertices[triangles[3 * i + 1]],
                                 m_vertices[triangles[3 * i + 2]]);
    }
  }
  for (const MeshEdge& edge : m_edges.OfMesh(m_scene, mesh)) {
    if (IsDrawn(edge)) m_lines.Add(EdgeEnd(edge.a), EdgeEnd(edge.b));
  }
}

void SceneFeed::FeedVertices() {
  const SceneMesh& mesh = *m_placed.mesh;
  m_lighting.SetMaterial(*m_placed.prepared->material);
  const bool isParallel = m_view.info->perspective == 0;
  for (std::uint32_t i = 0; i < m_vertices.size(); ++i) {
    const GAVertex& v = m_vertices[i];
    const V3f place(v.x, v.y, v.z);
    V3f normal(v.nx, v.ny, v.nz);
    if (isParallel ? normal.z < 0 : normal.dot(place) > 0) normal = -normal;
    const ColorBuf color = m_lighting.Light(
        place, normal, m_placed.prepared->perVertexColors ? mesh.colors[i] : kWhite);
    m_points.push_back({v.x, v.y, v.z, color.red, color.green, color.blue, color.alpha});
  }
}

// The renderer leaves out markers that reach over the upper or lower bound of a parallel view. For
// a part of a picture that would be in the middle of it, so the bounds are the whole picture's.
void SceneFeed::FeedControlPoints() {
  RenderInfo& info = *m_view.info;
  const RenderInfo part = info;
  info.viewLeft = m_view.picture->viewLeft;
  info.viewRight = m_view.picture->viewRight;
  info.viewTop = m_view.picture->viewTop;
  info.viewBottom = m_view.picture->viewBottom;
  const FrameSettings& settings = *m_view.settings;
  const int size = settings.controlPointSize * settings.samplesPerSide;
  const ColorBuf& color = settings.controlPointColor;
  m_pointColor.Set(color.red, color.green, color.blue, color.alpha);
  std::size_t count = 0;
  for (const SceneInstance& instance : m_scene.instances) {
    if (!Place(instance)) continue;
    for (const GAVertex& v : m_vertices) {
      const V3f place = TowardsEye({v.x, v.y, v.z}, static_cast<float>(size), info);
      m_list->AddCP({place.x, place.y, place.z}, size, m_pointColor);
      if (++count % kMarkersAPiece == 0) m_list->FlushArrays();
    }
  }
  m_list->FlushArrays();
  info.viewLeft = part.viewLeft;
  info.viewRight = part.viewRight;
  info.viewTop = part.viewTop;
  info.viewBottom = part.viewBottom;
}

}  // namespace hostkit
