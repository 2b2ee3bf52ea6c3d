// Feeds a scene to a display list: triangles that bring their colours along, lines, and points.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "hostkit/scene/scene_feed.h"

namespace hostkit {
namespace {

using Imath::V3f;

// Triangles in one call with 16-bit indices.
constexpr std::size_t kColoredTriangles = 65535 / 3;

unsigned char Times(float factor, unsigned char value) {
  return static_cast<unsigned char>(std::clamp(factor * value, 0.0f, 255.0f) + 0.5f);
}

}  // namespace

// Colours at vertices: the renderer's lit triangles have one colour a material, and its transparent
// queue drops colours. So these meshes are lit here. Opaque ones go in as they are. Transparent
// ones are sorted here, and drawn after all opaque things and before the queue: among themselves
// they blend in exact order and with their colours, as they do with glass of one colour before
// them; such glass behind them is hidden. A palette of materials through the queue would order
// both, but shows each triangle in one flat colour.
void SceneFeed::FeedUnlit() {
  m_lighting.SetLights(m_view.lights, m_view.info->scene->ambientAmount);
  m_sorted.clear();
  m_lineVertices.clear();
  m_lineIndices.clear();
  m_points.clear();
  for (const SceneInstance& instance : m_scene.instances) {
    const PreparedMesh& prepared = m_prepared.Mesh(instance.mesh);
    const SceneMesh& mesh = m_scene.meshes[static_cast<std::size_t>(instance.mesh)];
    bool colored = prepared.perVertexColors && !mesh.triangles.empty();
    if (!colored && mesh.lines.empty() && mesh.points.empty()) continue;
    if (!Place(instance)) continue;
    if (colored) FeedColoredTriangles();
    CollectLines();
    for (std::uint32_t vertex : mesh.points) m_points.push_back(FlatVertex(vertex));
  }
  UseTexture(nullptr);
  m_list->FlushArrays();
  if (!m_lineIndices.empty()) m_list->AddIndexedLineList(m_lineVertices, m_lineIndices);
  if (!m_points.empty()) FeedPoints();
  if (!m_sorted.empty()) FeedSorted();
}

ColorBuf SceneFeed::LitColor(std::uint32_t vertex, bool facesAway) {
  ColorBuf& color = m_lit[facesAway][vertex];
  if (m_isLit[facesAway][vertex]) return color;
  m_isLit[facesAway][vertex] = 1;
  const GAVertex& v = m_vertices[vertex];
  V3f outwards(v.nx, v.ny, v.nz);
  color = m_lighting.Light({v.x, v.y, v.z}, facesAway ? -outwards : outwards,
                           m_placed.mesh->colors[vertex]);
  return color;
}

void SceneFeed::FeedColoredTriangles() {
  const PreparedMesh& prepared = *m_placed.prepared;
  m_lighting.SetMaterial(*prepared.material);
  for (int side = 0; side < 2; ++side) {
    m_lit[side].resize(m_vertices.size());
    m_isLit[side].assign(m_vertices.size(), 0);
  }
  for (std::size_t i = 0; i < m_placed.mesh->triangles.size(); i += 3) {
    Corners corners = CornersOf(i);
    bool facesAway = FacesAway(m_vertices[corners.index[0]], m_vertices[corners.index[1]],
                               m_vertices[corners.index[2]]);
    if (facesAway && prepared.transparent && prepared.closed) continue;  // as the queue does
    SortedTriangle triangle{0, prepared.texture, {}};
    for (int k = 0; k < 3; ++k) {
      const GAVertex& v = m_vertices[corners.index[k]];
      ColorBuf color = LitColor(corners.index[k], facesAway);
      triangle.key -= v.z / 3;
      triangle.corners[k] = {v.x,       v.y,         v.z,        v.u,        v.v,
                             color.red, color.green, color.blue, color.alpha};
    }
    if (prepared.transparent) {
      m_sorted.push_back(triangle);
    } else if (prepared.texture) {
      UseTexture(prepared.texture);
      AddPolygon(triangle.corners);
    } else {
      for (const GALitVertexWT& c : triangle.corners) {
        m_colored.push_back({c.x, c.y, c.z, c.red, c.green, c.blue, c.alpha});
      }
      if (m_colored.size() == kColoredTriangles * 3) FlushColored();
    }
  }
  FlushColored();
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
  m_list->AddTransformedPolygon(m_polygon, 0);
}

void SceneFeed::FeedSorted() {
  m_order.resize(m_sorted.size());
  std::iota(m_order.begin(), m_order.end(), 0u);
  std::sort(m_order.begin(), m_order.end(),
            [&](std::uint32_t a, std::uint32_t b) { return m_sorted[a].key > m_sorted[b].key; });
  m_list->PrepForPolygonArray();  // ends the points
  for (std::uint32_t i : m_order) {
    UseTexture(m_sorted[i].texture);
    AddPolygon(m_sorted[i].corners);
  }
  UseTexture(nullptr);
  m_list->FlushArrays();
}

// Lines and points are not lit: the material's base colour times the vertex's.
GALitVertex SceneFeed::FlatVertex(std::uint32_t vertex) const {
  const AttrProperty& material = *m_placed.prepared->material;
  const SceneMesh& mesh = *m_placed.mesh;
  // Equal colours are in the material already.
  ColorBuf color{255, 255, 255, 255};
  if (m_placed.prepared->perVertexColors) color = mesh.colors[vertex];
  const GAVertex& v = m_vertices[vertex];
  return {v.x,
          v.y,
          v.z,
          Times(material.base.red.Current(), color.red),
          Times(material.base.green.Current(), color.green),
          Times(material.base.blue.Current(), color.blue),
          Times(1 - material.transparency.Current(), color.alpha)};
}

void SceneFeed::CollectLines() {
  const std::vector<std::uint32_t>& lines = m_placed.mesh->lines;
  for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
    AddSegment(FlatVertex(lines[i]), FlatVertex(lines[i + 1]));
  }
}

// View units that a sample is wide at depth z.
float SceneFeed::SampleSizeAt(float z) const {
  const RenderInfo& info = *m_view.info;
  return (info.perspective != 0 ? z / info.perspective : 1) / info.scaleX;
}

// Lines are one sample wide, which averaging samples would thin out. So a line is drawn as many
// times as a pixel has samples a side, shifted across its run.
void SceneFeed::AddSegment(const GALitVertex& a, const GALitVertex& b) {
  float sizeA = SampleSizeAt(a.z), sizeB = SampleSizeAt(b.z);
  bool wide = std::abs(b.x / sizeB - a.x / sizeA) >= std::abs(b.y / sizeB - a.y / sizeA);
  for (int i = 0; i < m_view.lineWidth; ++i) {
    float shift = static_cast<float>(i) - static_cast<float>(m_view.lineWidth - 1) / 2;
    for (GALitVertex end : {a, b}) {
      (wide ? end.y : end.x) += shift * SampleSizeAt(end.z);
      m_lineIndices.push_back(static_cast<unsigned>(m_lineVertices.size()));
      m_lineVertices.push_back(end);
    }
  }
}

// Points are one sample as well, and are drawn once for each sample of a pixel.
void SceneFeed::FeedPoints() {
  m_list->PrepForPoints();
  const int width = m_view.lineWidth;
  for (const GALitVertex& point : m_points) {
    m_pointColor.Set(point.red, point.green, point.blue, point.alpha);
    float size = SampleSizeAt(point.z);
    for (int i = 0; i < width * width; ++i) {
      const int column = i % width, row = i / width;
      float shiftX = static_cast<float>(column) - static_cast<float>(width - 1) / 2;
      float shiftY = static_cast<float>(row) - static_cast<float>(width - 1) / 2;
      m_list->AddTransformedPoint({point.x + shiftX * size, point.y + shiftY * size, point.z},
                                  m_pointColor);
    }
  }
}

}  // namespace hostkit
