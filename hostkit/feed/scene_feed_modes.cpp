// Feeds a scene to a display list: the ways to draw that are not shaded, and markers.
#include <algorithm>
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

ColorBuf SceneFeed::PictureMean(int image, std::size_t triangle, int leastAlpha) const {
  const SceneMesh& mesh = *m_placed.mesh;
  Imath::V2f uvs[3];
  for (std::size_t k = 0; k < 3; ++k) uvs[k] = mesh.uvs[mesh.triangles[triangle + k]];
  return MeanOverTriangle(m_scene.images[static_cast<std::size_t>(image)], uvs, leastAlpha);
}

// The colour of a triangle before light falls on it: its vertices' mean times its picture's. Its
// alpha is 0 where its vertices' alphas are cut off.
ColorBuf SceneFeed::FaceColor(std::size_t triangle, const Corners& corners) const {
  const PreparedMesh& prepared = *m_placed.prepared;
  ColorBuf color = kWhite;
  int least = prepared.leastAlpha;
  if (prepared.perVertexColors) {
    const std::vector<ColorBuf>& colors = m_placed.mesh->colors;
    color = Mean(colors[corners.index[0]], colors[corners.index[1]], colors[corners.index[2]]);
    least = prepared.LeastAlphaAt(color.alpha);
    if (prepared.leastAlpha > 0) color.alpha = color.alpha < prepared.leastVertexAlpha ? 0 : 255;
  }
  if (prepared.image < 0) return color;
  return Times(color, PictureMean(prepared.image, triangle, least));
}

// What a triangle of a mesh with an emission picture shines with, from 0 to 1.
V3f SceneFeed::FaceGlow(std::size_t triangle) const {
  const ColorBuf mean = PictureMean(m_placed.prepared->emissionImage, triangle, 0);
  const SceneMaterial& material =
      m_scene.materials[static_cast<std::size_t>(m_placed.mesh->material)];
  return V3f(mean.red * material.emission[0], mean.green * material.emission[1],
             mean.blue * material.emission[2]) /
         255;
}

void SceneFeed::FeedFlatTriangles() {
  const PreparedMesh& prepared = *m_placed.prepared;
  m_lighting.SetMaterial(*prepared.surface, prepared.isUnlit, prepared.emission);
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size() && m_isWanted; i += 3) {
    const Corners corners = CornersOf(i);
    const bool facesAway = FacesAway(m_vertices[corners.index[0]], m_vertices[corners.index[1]],
                                     m_vertices[corners.index[2]]);
    if (facesAway && m_placed.hidesBacks) continue;
    if (facesAway && prepared.transparent && prepared.closed) continue;  // as the queue does
    const ColorBuf faceColor = FaceColor(i, corners);
    if (faceColor.alpha == 0) continue;
    const V3f a = PlacedAt(corners.index[0]), b = PlacedAt(corners.index[1]),
              c = PlacedAt(corners.index[2]);
    const V3f normal = (b - a).cross(c - a).normalized(), middle = (a + b + c) / 3;
    if (prepared.emissionImage >= 0) {
      m_lighting.SetMaterial(*prepared.surface, false, FaceGlow(i));
    }
    const ColorBuf color = m_lighting.Light(middle, facesAway ? -normal : normal, faceColor);
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
  const std::vector<std::uint32_t>& triangles = m_placed.mesh->triangles;
  for (std::size_t i = 0; i < triangles.size() && m_isWanted; ++i) {
    if (m_placed.hidesBacks && m_facesAway[i / 3]) continue;
    const V3f p = PlacedAt(triangles[i]);
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
  const ColorBuf usual =
      settings.mode == DrawMode::kLines ? ContrastColor(settings) : ColorBuf{0, 0, 0, 255};
  const ColorBuf color = settings.lineColor.value_or(usual);
  return {place.x, place.y, place.z, color.red, color.green, color.blue, color.alpha};
}

bool SceneFeed::IsDrawn(const MeshEdge& edge) const {
  if (m_view.settings->mode == DrawMode::kWireframe) return true;
  const bool isLeftAway = m_facesAway[edge.left];
  const bool isRightAway =
      edge.right < 0 ? isLeftAway : m_facesAway[static_cast<std::size_t>(edge.right)];
  if (m_placed.hidesBacks && isLeftAway && isRightAway) return false;
  if (edge.right < 0 || m_view.settings->mode != DrawMode::kLines) return true;
  const float crease = m_view.settings->creaseDegrees * std::numbers::pi_v<float> / 180;
  if (edge.cosine < std::cos(crease)) return true;
  // The outline: one of its triangles is seen from outside, the other one from inside.
  return (isLeftAway != isRightAway) == edge.oppositeWinding;
}

void SceneFeed::FindFacesAway() {
  m_facesAway.resize(m_placed.mesh->triangles.size() / 3);
  for (std::size_t i = 0; i < m_facesAway.size(); ++i) {
    const Corners corners = CornersOf(3 * i);
    m_facesAway[i] = FacesAway(m_vertices[corners.index[0]], m_vertices[corners.index[1]],
                               m_vertices[corners.index[2]]);
  }
}

void SceneFeed::FeedEdges(int mesh) {
  for (const MeshEdge& edge : m_edges.OfMesh(m_scene, mesh)) {
    if (IsDrawn(edge)) m_lines.Add(EdgeEnd(edge.a), EdgeEnd(edge.b));
  }
}

/// Every edge of surfaces that are drawn themselves.
void SceneFeed::FeedEdgesOver() {
  for (const SceneInstance& instance : m_scene.instances) {
    // Their triangles may have been cut for pictures; edges are the mesh's.
    if (!Place(instance) || m_placed.mesh->triangles.empty()) continue;
    FindFacesAway();
    FeedEdges(instance.mesh);
  }
}

void SceneFeed::FeedVertices() {
  const PreparedMesh& prepared = *m_placed.prepared;
  m_lighting.SetMaterial(*prepared.surface, prepared.isUnlit, prepared.emission);
  const bool isParallel = m_view.info->perspective == 0;
  for (std::uint32_t i = 0; i < m_vertices.size(); ++i) {
    if (prepared.leastVertexAlpha > 0 &&
        m_placed.mesh->colors[i].alpha < prepared.leastVertexAlpha) {
      continue;
    }
    const GAVertex& v = m_vertices[i];
    const V3f place(v.x, v.y, v.z);
    V3f normal(v.nx, v.ny, v.nz);
    if (isParallel ? normal.z < 0 : normal.dot(place) > 0) normal = -normal;
    const ColorBuf color = m_lighting.Light(place, normal, ColorOf(i));
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
  const float samples = m_view.controlPointSize * static_cast<float>(settings.samplesPerSide);
  const int size = std::max(static_cast<int>(std::lround(samples)), 1);
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
