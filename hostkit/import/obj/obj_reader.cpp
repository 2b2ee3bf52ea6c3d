// OBJ files into scenes.
//
// Each object or group becomes a mesh for each of its materials. Faces without normals take those
// of their smoothing group, or are flat where smoothing is off; where nothing is said of smoothing
// at all, normals are made by the angle of the edges.
#include "hostkit/import/obj/obj_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "hostkit/import/corner_numbers.h"
#include "hostkit/import/obj/obj_materials.h"
#include "hostkit/import/obj/obj_model.h"
#include "hostkit/import/polygon_cutter.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/wide_text.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

/// Elements of one kind, which make a mesh together.
enum class Part { kWithNormals, kWithoutNormals, kLinesAndPoints };

class ObjAssembly {
 public:
  ObjAssembly(const ModelSource& source, ObjModel& model)
      : m_source(source),
        m_model(model),
        m_materials(source, model),
        m_placed(PlacePositions(model.positions, &source.scene.origin)),
        m_numbers(model.positions.size()) {
    float brightest = 0;
    for (const V3f& color : model.colors) {
      brightest = std::max({brightest, color.x, color.y, color.z});
    }
    // Colours are 0 to 1; with any above that they are taken for bytes.
    if (brightest > 1) m_colorScale = 1.0f / 255;
  }

  void Run() {
    MakeGroupNormals();
    if (m_model.elements.empty()) AddCloud();
    for (const auto& [key, elements] : SortedElements()) {
      const auto [object, material, part] = key;
      m_part = part;
      for (const std::uint32_t element : elements) AddElement(m_model.elements[element]);
      FinishMesh(object, material);
    }
    m_leftOut.Tell(m_source, &m_cutter);
    if (m_lostParts > 0) {
      AddWarning(m_source.scene,
                 fmt::format("{}: {} corners of faces name texture coordinates or normals that are "
                             "not there, and go without; repair the model where it was made",
                             m_source.files.ModelPath(), m_lostParts));
    }
  }

 private:
  using Key = std::tuple<std::uint32_t, std::uint32_t, Part>;  // object, material, part

  const ObjState& StateOf(const ObjElement& element) const { return m_model.states[element.state]; }

  ObjCorner* Corners(const ObjElement& element) { return m_model.corners.data() + element.first; }

  bool IsGood(const ObjElement& element) {
    const ObjCorner* const corners = Corners(element);
    return std::all_of(corners, corners + element.size, [this](const ObjCorner& corner) {
      return m_placed.IsGood(corner.position);
    });
  }

  bool HasNormals(const ObjElement& element) {
    const ObjCorner* const corners = Corners(element);
    return std::all_of(corners, corners + element.size, [this](const ObjCorner& corner) {
      return corner.normal < m_model.normals.size();
    });
  }

  /// Twice the face's area long.
  V3f AreaNormal(const ObjElement& face) {
    const ObjCorner* const corners = Corners(face);
    const V3f& origin = m_placed.positions[corners[0].position];
    V3f sum(0.0f);
    for (std::uint32_t i = 1; i + 1 < face.size; ++i) {
      sum += (m_placed.positions[corners[i].position] - origin)
                 .cross(m_placed.positions[corners[i + 1].position] - origin);
    }
    return sum;
  }

  /// Normals for faces that have none, where the file speaks of smoothing: the means, by area, of
  /// those around each position in one group.
  void MakeGroupNormals() {
    const bool isAnySaid =
        std::any_of(m_model.states.begin(), m_model.states.end(),
                    [](const ObjState& state) { return state.smoothing != ObjState::kUnsaid; });
    if (!isAnySaid) return;
    constexpr std::uint64_t kFlat = std::uint64_t{1} << 63;
    const auto given = static_cast<std::uint32_t>(m_model.normals.size());
    std::vector<V3f> made;
    for (std::uint32_t i = 0; i < m_model.elements.size(); ++i) {
      const ObjElement& face = m_model.elements[i];
      const std::int64_t group = StateOf(face).smoothing;
      const bool isWanted = face.kind == ObjKind::kFace && face.size > 2 &&
                            group != ObjState::kUnsaid && !HasNormals(face) && IsGood(face);
      if (!isWanted) continue;
      const V3f normal = AreaNormal(face);
      const std::uint64_t sharers = group > 0 ? static_cast<std::uint64_t>(group) : kFlat | i;
      for (std::uint32_t c = 0; c < face.size; ++c) {
        ObjCorner& corner = Corners(face)[c];
        const std::uint32_t number = m_numbers.NumberOf(corner.position, sharers, 0);
        made.resize(m_numbers.Corners().size(), V3f(0.0f));
        made[number] += normal;
        corner.normal = given + number;
      }
    }
    m_numbers.Clear();
    m_model.normals.insert(m_model.normals.end(), made.begin(), made.end());
  }

  std::map<Key, std::vector<std::uint32_t>> SortedElements() {
    std::map<Key, std::vector<std::uint32_t>> sorted;
    std::vector<std::uint32_t>* list = nullptr;
    Key last;
    for (std::uint32_t i = 0; i < m_model.elements.size(); ++i) {
      const ObjElement& element = m_model.elements[i];
      const bool isFace = element.kind == ObjKind::kFace && element.size > 2;
      const Part part = !isFace               ? Part::kLinesAndPoints
                        : HasNormals(element) ? Part::kWithNormals
                                              : Part::kWithoutNormals;
      const ObjState& state = StateOf(element);
      const Key key(state.object, state.material, part);
      if (!list || key != last) list = &sorted[key];
      if (i == 0) list->reserve(m_model.elements.size());
      last = key;
      list->push_back(i);
    }
    return sorted;
  }

  std::uint32_t VertexOf(const ObjCorner& corner) {
    const bool hasUv = corner.uv < m_model.uvs.size();
    const bool isNormalLost =
        corner.normal != ObjCorner::kNone && corner.normal >= m_model.normals.size();
    if ((!hasUv && corner.uv != ObjCorner::kNone) || isNormalLost) ++m_lostParts;
    m_hasUvs = m_hasUvs || hasUv;
    return m_numbers.NumberOf(corner.position, hasUv ? corner.uv : ObjCorner::kNone,
                              m_part == Part::kWithNormals ? corner.normal : 0);
  }

  void AddElement(const ObjElement& element) {
    const ObjCorner* const corners = Corners(element);
    const auto* const bad = std::find_if_not(
        corners, corners + element.size,
        [this](const ObjCorner& corner) { return m_placed.IsGood(corner.position); });
    if (bad != corners + element.size) return m_leftOut.Count(bad->position, m_placed);
    if (element.kind == ObjKind::kPoints || element.size == 1) {
      for (std::uint32_t i = 0; i < element.size; ++i) {
        m_mesh.points.push_back(VertexOf(corners[i]));
      }
    } else if (element.kind == ObjKind::kLines || element.size == 2) {
      for (std::uint32_t i = 0; i + 1 < element.size; ++i) {
        m_mesh.lines.push_back(VertexOf(corners[i]));
        m_mesh.lines.push_back(VertexOf(corners[i + 1]));
      }
    } else if (element.size == 3) {
      for (int i = 0; i < 3; ++i) m_mesh.triangles.push_back(VertexOf(corners[i]));
    } else {
      AddPolygon(corners, element.size);
    }
  }

  void AddPolygon(const ObjCorner* corners, std::uint32_t size) {
    m_outline.clear();
    m_cut.clear();
    for (std::uint32_t i = 0; i < size; ++i) {
      m_outline.push_back(m_placed.positions[corners[i].position]);
    }
    m_cutter.Cut(m_outline, m_cut);
    for (const std::uint32_t corner : m_cut) m_mesh.triangles.push_back(VertexOf(corners[corner]));
  }

  /// A file of positions alone is a cloud of points.
  void AddCloud() {
    m_part = Part::kLinesAndPoints;
    for (std::uint32_t i = 0; i < m_placed.positions.size(); ++i) {
      if (m_placed.IsGood(i)) m_mesh.points.push_back(VertexOf({i, ObjCorner::kNone}));
    }
    FinishMesh(0, 0);
  }

  ColorBuf ColorOf(std::uint32_t position) const {
    const bool hasColor =
        position < m_model.colors.size() && m_model.colors[position] != kNoObjColor;
    if (!hasColor) return {255, 255, 255, 255};
    const V3f color = m_model.colors[position] * m_colorScale;
    return {ToByte(color.x), ToByte(color.y), ToByte(color.z), 255};
  }

  /// Makes the vertices of the mesh at hand, adds it to the scene, and begins a new one.
  void FinishMesh(std::uint32_t object, std::uint32_t material) {
    const bool hasColors = !m_model.colors.empty();
    const std::vector<CornerNumbers::Corner>& corners = m_numbers.Corners();
    m_mesh.positions.reserve(corners.size());
    for (const CornerNumbers::Corner& corner : corners) {
      m_mesh.positions.push_back(m_placed.positions[corner.place]);
    }
    for (std::size_t i = 0; m_hasUvs && i < corners.size(); ++i) {
      const bool hasUv = corners[i].a < m_model.uvs.size();
      m_mesh.uvs.push_back(
          m_materials.PlacedUv(material, hasUv ? m_model.uvs[corners[i].a] : V2f(0, 0)));
    }
    for (std::size_t i = 0; m_part == Part::kWithNormals && i < corners.size(); ++i) {
      m_mesh.normals.push_back(m_model.normals[corners[i].b]);
    }
    for (std::size_t i = 0; hasColors && i < corners.size(); ++i) {
      m_mesh.colors.push_back(ColorOf(corners[i].place));
    }
    m_numbers.Clear();
    m_hasUvs = false;
    if (!m_mesh.positions.empty()) {
      m_mesh.name = m_model.objects[object];
      m_mesh.material = m_materials.IndexOf(material, hasColors);
    }
    AddMesh(m_source.scene, std::exchange(m_mesh, {}));
  }

  const ModelSource& m_source;
  ObjModel& m_model;
  ObjMaterials m_materials;
  PlacedPositions m_placed;
  CornerNumbers m_numbers;
  float m_colorScale = 1;
  Part m_part = Part::kWithNormals;  ///< Of the mesh at hand, as the next two.
  SceneMesh m_mesh;
  bool m_hasUvs = false;
  PolygonCutter m_cutter;
  std::vector<V3f> m_outline;
  std::vector<std::uint32_t> m_cut;
  LeftOut m_leftOut;
  std::size_t m_lostParts = 0;
};

void TellUnread(const ModelSource& source, const ObjModel& model) {
  const std::string& path = source.files.ModelPath();
  if (model.freeForms > 0) {
    AddWarning(
        source.scene,
        fmt::format("{}: free-form curves and surfaces left out: {}; export them as polygons", path,
                    model.freeForms));
  }
  if (model.calls > 0) {
    AddWarning(source.scene, fmt::format("{}: files that it calls left out: {}; export it as one",
                                         path, model.calls));
  }
}

}  // namespace

bool ReadObj(const ModelSource& source, std::string* error) {
  FileBytes bytes;
  if (!ReadModelFile(source, &bytes, error)) return false;
  std::string_view text = bytes.Text();
  std::string narrow;
  if (IsWideText(text)) {
    narrow = NarrowText(text);
    text = narrow;
  }
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  ObjModel model;
  ReadObjModel(text, &model);
  bytes = {};
  TellUnread(source, model);
  ObjAssembly(source, model).Run();
  return true;
}

}  // namespace hostkit
