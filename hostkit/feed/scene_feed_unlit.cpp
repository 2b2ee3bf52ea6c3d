// Feeds a scene to a display list: triangles that bring their colours along, lines, and points.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <span>
#include <utility>

#include "host/GABuffer.h"
#include "hostkit/feed/scene_feed.h"

namespace hostkit {
namespace {

using Imath::V3f;

unsigned char TimesColor(float factor, unsigned char value, float more = 0) {
  const float product = factor * value + more;
  return product > 0 ? static_cast<unsigned char>(std::min(product, 255.0f) + 0.5f) : 0;
}

}  // namespace

// Colours at vertices: the renderer's lit triangles have one colour a material, and its transparent
// queue drops colours. So these meshes are lit here. Opaque ones go in as they are. Transparent
// ones are sorted here, and drawn after all opaque things and before the queue: among themselves
// they blend in exact order and with their colours, as they do with glass of one colour before
// them; such glass behind them is hidden. A palette of materials through the queue would order
// both, but shows each triangle in one flat colour.
void SceneFeed::FeedUnlit() {
  const FrameSettings& settings = *m_view.settings;
  m_lighting.SetLights(m_view.lights, m_view.info->scene->ambientAmount);
  m_sorted.clear();
  m_points.clear();
  m_lines.Begin(*m_view.info, settings.samplesPerSide);
  // The fill of lines has the background's colour, near and far.
  const bool clearFill = settings.mode == DrawMode::kLines && settings.fog.on;
  if (clearFill) m_view.info->buffer->SetFogState(0);
  const bool hasPictures = HasPictures();
  for (const SceneInstance& instance : m_scene.instances) {
    if (!IsFedUnlit(instance)) continue;
    const UvMap* const uvs = m_prepared.Mesh(instance.mesh).Uvs();
    if (hasPictures ? PlaceWithPictures(instance, uvs) : Place(instance)) {
      FeedUnlitInstance(instance);
    }
  }
  UseTexture(nullptr);
  m_list->FlushArrays();
  if (hasPictures && m_prepared.HasGlow(false)) FeedGlow(false);
  if (clearFill) m_view.info->buffer->SetFogState(1);
  if (settings.showsEdges) FeedEdgesOver();
  if (m_view.controlPointSize > 0) FeedControlPoints();
  m_lines.Draw(m_list);
  if (!m_points.empty()) FeedPoints();
  if (!m_sorted.empty()) FeedSorted();
  if (hasPictures && m_prepared.HasGlow(true)) FeedGlow(true);
}

bool SceneFeed::HasPictures() const {
  const DrawMode mode = m_view.settings->mode;
  return mode == DrawMode::kShaded || mode == DrawMode::kDriverWireframe;
}

bool SceneFeed::IsFedUnlit(const SceneInstance& instance) const {
  const SceneMesh& mesh = m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
  if (!mesh.lines.empty() || !mesh.points.empty()) return true;
  if (HasPictures() && !m_prepared.Mesh(instance.mesh).perVertexColors) return false;
  return !mesh.triangles.empty();
}

void SceneFeed::FeedUnlitInstance(const SceneInstance& instance) {
  const SceneMesh& mesh = *m_placed.mesh;
  if (!mesh.triangles.empty()) {
    switch (m_view.settings->mode) {
      case DrawMode::kShaded:
      case DrawMode::kDriverWireframe:
        if (m_placed.prepared->perVertexColors) FeedColoredTriangles();
        break;
      case DrawMode::kFlat:
        FeedFlatTriangles();
        break;
      case DrawMode::kLines:
        FindFacesAway();
        FeedFill();
        FeedEdges(instance.mesh);
        break;
      case DrawMode::kWireframe:
        FeedEdges(instance.mesh);
        break;
      case DrawMode::kPoints:
        FeedVertices();
        break;
    }
  }
  CollectLines();
  for (std::uint32_t vertex : mesh.points) m_points.push_back(FlatVertex(vertex));
}

ColorBuf SceneFeed::LitColor(std::uint32_t vertex, bool facesAway) {
  ColorBuf& color = m_lit[facesAway][vertex];
  if (m_isLit[facesAway][vertex]) return color;
  m_isLit[facesAway][vertex] = 1;
  const GAVertex& v = m_vertices[vertex];
  V3f outwards(v.nx, v.ny, v.nz);
  color = m_lighting.Light({v.x, v.y, v.z}, facesAway ? -outwards : outwards, ColorOf(vertex));
  return color;
}

/// The colour that a vertex has of its own; white where colours are in the material.
ColorBuf SceneFeed::ColorOf(std::uint32_t vertex) const {
  const PreparedMesh& prepared = *m_placed.prepared;
  const std::vector<ColorBuf>& colors = m_placed.mesh->colors;
  if (!prepared.perVertexColors) return {255, 255, 255, 255};
  ColorBuf color =
      vertex < colors.size() ? colors[vertex] : prepared.cuts->made[vertex - colors.size()].color;
  if (prepared.leastAlpha > 0) color.alpha = 255;
  return color;
}

void SceneFeed::FeedColoredTriangles() {
  const PreparedMesh& prepared = *m_placed.prepared;
  m_lighting.SetMaterial(*prepared.picturedSurface, prepared.isUnlit, prepared.picturedEmission);
  for (int side = 0; side < 2; ++side) {
    m_lit[side].resize(m_vertices.size());
    m_isLit[side].assign(m_vertices.size(), 0);
  }
  for (std::size_t i = 0; i < m_placed.triangles->size() && m_isWanted; i += 3) {
    Corners corners = CornersOf(i);
    bool facesAway = FacesAway(m_vertices[corners.index[0]], m_vertices[corners.index[1]],
                               m_vertices[corners.index[2]]);
    if (facesAway && m_placed.hidesBacks) continue;
    if (facesAway && prepared.transparent && prepared.closed) continue;  // as the queue does
    const AlphaBand* const band = prepared.BandOf(i / 3);
    SortedTriangle triangle{0, band ? band->texture : prepared.texture, {}};
    for (int k = 0; k < 3; ++k) {
      const GAVertex& v = m_vertices[corners.index[k]];
      ColorBuf color = LitColor(corners.index[k], facesAway);
      triangle.key -= v.z / 3;
      triangle.corners[k] = {v.x,       v.y,         v.z,        v.u,        v.v,
                             color.red, color.green, color.blue, color.alpha};
    }
    AddColored(triangle);
  }
  FlushColored();
}

// Takes a triangle of the mesh at hand: for later when it can be seen through.
void SceneFeed::AddColored(const SortedTriangle& triangle) {
  if (m_placed.prepared->transparent) {
    m_sorted.push_back(triangle);
  } else if (triangle.texture) {
    UseTexture(triangle.texture);
    AddPolygon(triangle.corners);
  } else {
    for (const GALitVertexWT& c : triangle.corners) {
      m_colored.push_back({c.x, c.y, c.z, c.red, c.green, c.blue, c.alpha});
    }
    if (m_colored.size() == kColoredTriangles * 3) FlushColored();
  }
}

void SceneFeed::FlushColored() {
  if (m_colored.empty()) return;
  if (m_coloredIndices.empty()) {
    m_coloredIndices.resize(kColoredTriangles * 3);
    std::iota(m_coloredIndices.begin(), m_coloredIndices.end(), static_cast<unsigned short>(0));
  }
  UseTexture(nullptr);
  m_list->AddIndexedLitTriangleList(m_colored.data(), m_colored.size(), m_coloredIndices.data(),
                                    m_colored.size(), 0);
  m_colored.clear();
  IsWanted();
}

// The renderer's indexed list of textured coloured triangles takes texture coordinates for
// positions, so these go one by one.
void SceneFeed::AddPolygon(const GALitVertexWT* corners) {
  Vector* const positions[] = {&m_polygon.p0, &m_polygon.p1, &m_polygon.p2};
  GAColor* const colors[] = {&m_polygon.c0, &m_polygon.c1, &m_polygon.c2};
  Vector2* const uvs[] = {&m_polygon.uv0, &m_polygon.uv1, &m_polygon.uv2};
  for (int k = 0; k < 3; ++k) {
    const GALitVertexWT& c = corners[k];
    *positions[k] = {c.x, c.y, c.z};
    *uvs[k] = {c.u, c.v};
    colors[k]->Set(c.red, c.green, c.blue, c.alpha);
  }
  m_list->AddTransformedPolygon(m_polygon, DisplayList::kDrawAsOpaque);
}

void SceneFeed::FeedSorted() {
  m_order.resize(m_sorted.size());
  std::iota(m_order.begin(), m_order.end(), 0u);
  std::sort(m_order.begin(), m_order.end(),
            [&](std::uint32_t a, std::uint32_t b) { return m_sorted[a].key > m_sorted[b].key; });
  for (std::uint32_t i : m_order) {
    UseTexture(m_sorted[i].texture);
    AddPolygon(m_sorted[i].corners);
  }
  UseTexture(nullptr);
  m_list->FlushArrays();
}

// Lines and points are not lit: the material's base colour times the vertex's, and its emission.
GALitVertex SceneFeed::FlatVertex(std::uint32_t vertex) const {
  const AttrProperty& material = *m_placed.prepared->surface;
  const V3f emission = m_placed.prepared->emission * 255;
  const ColorBuf color = ColorOf(vertex);
  const GAVertex& v = m_vertices[vertex];
  return {v.x,
          v.y,
          v.z,
          TimesColor(material.base.red.Current(), color.red, emission.x),
          TimesColor(material.base.green.Current(), color.green, emission.y),
          TimesColor(material.base.blue.Current(), color.blue, emission.z),
          TimesColor(1 - material.transparency.Current(), color.alpha)};
}

void SceneFeed::CollectLines() {
  const std::vector<std::uint32_t>& lines = m_placed.mesh->lines;
  for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
    m_lines.Add(FlatVertex(lines[i]), FlatVertex(lines[i + 1]));
  }
}

// The renderer's points are one sample; wider ones are squares, or octagons where averaging samples
// smooths their edges.
void SceneFeed::FeedPoints() {
  constexpr float kLeastRound = 3;  // pixels
  const int side = m_view.settings->samplesPerSide;
  const float width = std::round(static_cast<float>(side) * m_view.pointSize);
  if (width > 1) {
    FeedShapes(width, side > 1 && m_view.pointSize >= kLeastRound);
    return;
  }
  m_list->PrepForPoints();
  for (const GALitVertex& point : m_points) {
    m_pointColor.Set(point.red, point.green, point.blue, point.alpha);
    m_list->AddTransformedPoint({point.x, point.y, point.z}, m_pointColor);
  }
  m_list->PrepForPolygonArray();  // ends the points
}

void SceneFeed::FeedShapes(float width, bool isRound) {
  // Corners in half widths; the octagon has the area of the circle.
  static constexpr float kLong = 0.9737f, kShort = 0.4033f;
  static constexpr std::pair<float, float> kSquare[] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
  static constexpr std::pair<float, float> kOctagon[] = {
      {-kShort, -kLong}, {kShort, -kLong}, {kLong, -kShort}, {kLong, kShort},
      {kShort, kLong},   {-kShort, kLong}, {-kLong, kShort}, {-kLong, -kShort}};
  const std::span<const std::pair<float, float>> corners =
      isRound ? std::span<const std::pair<float, float>>(kOctagon) : kSquare;
  const std::size_t count = corners.size(), shapes = 65536 / count;  // in one call, 16-bit indices
  if (m_shapeCorners != count) {
    m_shapeCorners = count;
    m_shapeIndices.clear();
    for (std::size_t first = 0; first < shapes * count; first += count) {
      for (std::size_t corner = 2; corner < count; ++corner) {
        for (const std::size_t index : {first, first + corner - 1, first + corner}) {
          m_shapeIndices.push_back(static_cast<unsigned short>(index));
        }
      }
    }
  }
  const float half = width / 2;
  for (std::size_t i = 0; i < m_points.size();) {
    m_colored.clear();
    for (; i < m_points.size() && m_colored.size() < shapes * count; ++i) {
      GALitVertex corner = m_points[i];
      const V3f middle = TowardsEye({corner.x, corner.y, corner.z}, half, *m_view.info);
      const float h = half * SampleSizeAt(middle.z, *m_view.info);
      corner.z = middle.z;
      for (const auto& [x, y] : corners) {
        corner.x = middle.x + x * h;
        corner.y = middle.y + y * h;
        m_colored.push_back(corner);
      }
    }
    m_list->AddIndexedLitTriangleList(m_colored.data(), m_colored.size(), m_shapeIndices.data(),
                                      m_colored.size() / count * (count - 2) * 3, 0);
  }
  m_colored.clear();
}

}  // namespace hostkit
