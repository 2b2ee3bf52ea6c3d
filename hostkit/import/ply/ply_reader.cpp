// PLY files into scenes.
//
// Vertices are as in the file where all that a face needs hangs on them. Where faces bring texture
// coordinates or colours of their own, a vertex is made for each different corner.
#include "hostkit/import/ply/ply_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/import/corner_numbers.h"
#include "hostkit/import/ply/ply_header.h"
#include "hostkit/import/ply/ply_model.h"
#include "hostkit/import/polygon_cutter.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/surface_colors.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

/// The value at `index` where there is one.
template <class Value>
Value At(const std::vector<Value>& values, std::size_t index, Value fallback) {
  return index < values.size() ? values[index] : fallback;
}

/// An attribute that there is none of for some vertex is no attribute.
template <class Value>
void DropUnlessWhole(std::vector<Value>& values, std::size_t count) {
  if (values.size() != count) values.clear();
}

std::uint64_t BitsOf(const V2f& uv) {
  return std::uint64_t{std::bit_cast<std::uint32_t>(uv.x)} << 32 |
         std::bit_cast<std::uint32_t>(uv.y);
}

V2f UvOf(std::uint64_t bits) {
  return {std::bit_cast<float>(static_cast<std::uint32_t>(bits >> 32)),
          std::bit_cast<float>(static_cast<std::uint32_t>(bits))};
}

class PlyAssembly {
 public:
  PlyAssembly(const ModelSource& source, const PlyHeader& header, PlyModel& model)
      : m_source(source),
        m_header(header),
        m_vertices(model.vertices),
        m_polygons(model.polygons),
        m_materials(model.materials),
        m_placed(PlacePositions(model.vertices.positions, &source.scene.origin)),
        m_numbers(m_placed.positions.size()) {
    const std::size_t count = m_placed.positions.size();
    m_vertices.positions = {};
    DropUnlessWhole(m_vertices.normals, count);
    DropUnlessWhole(m_vertices.uvs, count);
    DropUnlessWhole(m_vertices.colors, count);
  }

  void AddFaces() {
    for (auto& [key, polygons] : PolygonsByMaterial()) {
      m_mesh = {};
      m_numbers.Clear();
      for (const Polygon& polygon : polygons) AddPolygon(polygon);
      FillVertices();
      Finish(key);
    }
    m_leftOut.Tell(m_source, &m_cutter);
  }

  /// A cloud of points: all vertices.
  void AddPoints() {
    m_sharesVertices = true;
    for (std::uint32_t i = 0; i < m_placed.positions.size(); ++i) {
      if (m_placed.IsGood(i)) m_mesh.points.push_back(i);
    }
    FillVertices();
    Finish(0);
  }

 private:
  struct Polygon {
    std::size_t index = 0, first = 0;  ///< Its number, and that of its first corner.
  };

  /// The material that a polygon has, or else its picture; -1 where it has neither.
  int KeyOf(std::size_t polygon) const {
    const bool hasMaterials = !m_materials.empty();
    const std::size_t count = hasMaterials ? m_materials.size() : m_header.pictures.size();
    const int key = At(hasMaterials ? m_polygons.materials : m_polygons.pictures, polygon, 0);
    return key >= 0 && static_cast<std::size_t>(key) < count ? key : -1;
  }

  std::map<int, std::vector<Polygon>> PolygonsByMaterial() {
    std::map<int, std::vector<Polygon>> sorted;
    std::size_t first = 0;
    std::vector<Polygon>* list = nullptr;
    int lastKey = 0;
    for (std::size_t i = 0; i < m_polygons.sizes.size(); ++i) {
      const int key = KeyOf(i);
      if (!list || key != lastKey) list = &sorted[key];
      if (i == 0) list->reserve(m_polygons.sizes.size());
      lastKey = key;
      list->push_back({i, first});
      first += m_polygons.sizes[i];
    }
    m_sharesVertices = sorted.size() == 1 && m_polygons.uvs.empty() && m_polygons.colors.empty();
    return sorted;
  }

  /// The mesh's vertex for a corner.
  std::uint32_t VertexOf(const Polygon& polygon, std::size_t corner) {
    const std::uint32_t place = m_polygons.corners[corner];
    if (m_sharesVertices) return place;
    const V2f own = m_vertices.uvs.empty() ? V2f(0, 0) : m_vertices.uvs[place];
    const ColorBuf plain =
        m_vertices.colors.empty() ? ColorBuf{255, 255, 255, 255} : m_vertices.colors[place];
    const ColorBuf given = At(m_polygons.colors, polygon.index, ColorBuf());
    const ColorBuf color = given.alpha > 0 ? given : plain;
    return m_numbers.NumberOf(place, BitsOf(At(m_polygons.uvs, corner, own)),
                              std::bit_cast<std::uint32_t>(color));
  }

  /// Adds a polygon's triangles; a line or point where it has two corners or one.
  void AddPolygon(const Polygon& polygon) {
    const std::size_t size = m_polygons.sizes[polygon.index];
    const std::uint32_t* const corners = m_polygons.corners.data() + polygon.first;
    const std::uint32_t* const bad = std::find_if_not(
        corners, corners + size, [this](std::uint32_t vertex) { return m_placed.IsGood(vertex); });
    if (size == 0 || bad != corners + size) {
      m_leftOut.Count(size == 0 ? 0xffffffff : *bad, m_placed);
      return;
    }
    if (size <= 3) {
      std::vector<std::uint32_t>* const lists[] = {&m_mesh.points, &m_mesh.lines,
                                                   &m_mesh.triangles};
      for (std::size_t i = 0; i < size; ++i) {
        lists[size - 1]->push_back(VertexOf(polygon, polygon.first + i));
      }
      return;
    }
    m_outline.clear();
    m_cut.clear();
    for (std::size_t i = 0; i < size; ++i) m_outline.push_back(m_placed.positions[corners[i]]);
    m_cutter.Cut(m_outline, m_cut);
    for (const std::uint32_t corner : m_cut) {
      m_mesh.triangles.push_back(VertexOf(polygon, polygon.first + corner));
    }
  }

  void FillVertices() {
    if (m_sharesVertices) {
      m_mesh.positions = std::move(m_placed.positions);
      m_mesh.normals = std::move(m_vertices.normals);
      m_mesh.uvs = std::move(m_vertices.uvs);
      m_mesh.colors = std::move(m_vertices.colors);
      return;
    }
    for (const CornerNumbers::Corner& corner : m_numbers.Corners()) {
      m_mesh.positions.push_back(m_placed.positions[corner.place]);
      if (!m_vertices.normals.empty()) {
        m_mesh.normals.push_back(m_vertices.normals[corner.place]);
      }
      if (!m_polygons.uvs.empty() || !m_vertices.uvs.empty()) {
        m_mesh.uvs.push_back(UvOf(corner.a));
      }
      if (!m_polygons.colors.empty() || !m_vertices.colors.empty()) {
        m_mesh.colors.push_back(std::bit_cast<ColorBuf>(static_cast<std::uint32_t>(corner.b)));
      }
    }
  }

  /// Index of the material for the mesh at hand, a new one.
  int AddMaterial(int key) {
    const auto index = static_cast<std::size_t>(key);
    SceneMaterial material = m_mesh.colors.empty() ? StandInMaterial() : ColorsOnlyMaterial();
    if (index < m_materials.size()) {
      const PlyMaterial& given = m_materials[index];
      material.name = fmt::format("material {}", index);
      SetPhong(material.surface, given.diffuse, given.specular, 1, given.exponent);
      const bool isClear = given.opacity > 0 && given.opacity < 1;
      material.surface.transparency = isClear ? 1 - given.opacity : 0.0f;
    }
    const std::size_t picture = m_materials.empty() ? index : 0;
    if (!m_mesh.uvs.empty() && picture < m_header.pictures.size()) {
      material.image = m_source.pictures.IndexOf(m_header.pictures[picture], {});
      if (material.image >= 0 && m_materials.empty()) material.surface.base = {1, 1, 1};
    }
    m_source.scene.materials.push_back(std::move(material));
    return static_cast<int>(m_source.scene.materials.size() - 1);
  }

  void Finish(int key) {
    m_mesh.material = AddMaterial(key);
    AddMesh(m_source.scene, std::move(m_mesh));
  }

  const ModelSource& m_source;
  const PlyHeader& m_header;
  PlyVertices& m_vertices;
  const PlyPolygons& m_polygons;
  const std::vector<PlyMaterial>& m_materials;
  PlacedPositions m_placed;
  CornerNumbers m_numbers;
  bool m_sharesVertices = false;  ///< The mesh has the file's vertices as they are.
  SceneMesh m_mesh;               ///< The one at hand.
  PolygonCutter m_cutter;
  std::vector<V3f> m_outline;
  std::vector<std::uint32_t> m_cut;
  LeftOut m_leftOut;
};

}  // namespace

bool ReadPly(const ModelSource& source, std::string* error) {
  FileBytes bytes;
  if (!ReadModelFile(source, &bytes, error)) return false;
  PlyHeader header;
  PlyModel model;
  std::string fault;
  if (!ReadPlyHeader(bytes.Text(), &header, &fault) ||
      !ReadPlyModel(bytes.Text(), header, &model, &fault)) {
    *error = fmt::format("{}: {}", source.files.ModelPath(), fault);
    return false;
  }
  bytes = {};
  if (!model.cutOff.empty()) {
    AddWarning(source.scene, fmt::format("{}: {}", source.files.ModelPath(), model.cutOff));
  }
  PlyAssembly assembly(source, header, model);
  if (model.hasFaces) {
    assembly.AddFaces();
  } else {
    assembly.AddPoints();
  }
  return true;
}

}  // namespace hostkit
