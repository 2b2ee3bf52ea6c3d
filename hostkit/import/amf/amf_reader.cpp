// AMF files into scenes.
//
// The import library drops all but the first volume of an object, and takes what has no colour for
// black.
#include "hostkit/import/amf/amf_reader.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numbers>
#include <pugixml.hpp>
#include <set>
#include <utility>
#include <vector>

#include "hostkit/import/archive.h"
#include "hostkit/import/archive_check.h"
#include "hostkit/import/corner_numbers.h"
#include "hostkit/import/length_units.h"
#include "hostkit/import/number_text.h"
#include "hostkit/import/read_meshes.h"
#include "hostkit/import/surface_colors.h"
#include "hostkit/scene/directions.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::V3d;

constexpr std::size_t kMostPlaces = 100'000;
constexpr int kDeepestGroup = 64;  // constellations of constellations
constexpr std::uint32_t kNowhere = 0xffffffff;

double NumberOf(const pugi::xml_node& node) {
  const std::string_view text = Trimmed(node.text().get());
  const char* at = text.data();
  double value = 0;
  return ReadNumber(&at, at + text.size(), &value) ? value : 0;
}

V3d VectorOf(const pugi::xml_node& node, const char* x, const char* y, const char* z) {
  return {NumberOf(node.child(x)), NumberOf(node.child(y)), NumberOf(node.child(z))};
}

std::uint32_t IndexOf(const pugi::xml_node& node) {
  const std::string_view text = Trimmed(node.text().get());
  const char* at = text.data();
  std::int64_t value = 0;
  const bool isGood = ReadInteger(&at, at + text.size(), &value) && value >= 0 && value < kNowhere;
  return isGood ? static_cast<std::uint32_t>(value) : kNowhere;
}

/// The `color` in a node; alpha 0 where there is none.
ColorBuf ColorIn(const pugi::xml_node& node) {
  const pugi::xml_node color = node.child("color");
  if (!color) return {};
  const auto byte = [&color](const char* name) {
    return ToByte(static_cast<float>(NumberOf(color.child(name))));
  };
  const std::uint8_t alpha = color.child("a") ? byte("a") : 255;
  return {byte("r"), byte("g"), byte("b"), std::max<std::uint8_t>(alpha, 1)};
}

ColorBuf FirstOf(std::initializer_list<ColorBuf> colors) {
  for (const ColorBuf& color : colors) {
    if (color.alpha > 0) return color;
  }
  return {};
}

class AmfAssembly {
 public:
  AmfAssembly(const ModelSource& source, const pugi::xml_node& root)
      : m_source(source), m_root(root) {}

  void Run() {
    for (const pugi::xml_node& material : m_root.children("material")) {
      m_colors[material.attribute("id").value()] = ColorIn(material);
    }
    std::set<std::string> placed;
    for (const pugi::xml_node& group : m_root.children("constellation")) {
      m_groups.emplace(group.attribute("id").value(), group);
      for (const pugi::xml_node& use : group.children("instance")) {
        placed.insert(use.attribute("objectid").value());
      }
    }
    for (const pugi::xml_node& object : m_root.children("object")) {
      const std::string id = object.attribute("id").value();
      m_objects.emplace(id, object);
      if (m_groups.empty()) Place(id, M44d());
    }
    for (const auto& [id, group] : m_groups) {
      if (!placed.contains(id)) Place(id, M44d());
    }
    m_leftOut.Tell(m_source);
    Tell(m_lost, "places of objects that are not there, too many, or in themselves");
    Tell(m_pictures, "triangles' pictures");
  }

 private:
  struct Step {
    std::string id;
    M44d toWorld;
    int depth;
  };
  struct Mesh {
    int index = -1;
    V3d taken{0, 0, 0};  ///< From its positions.
  };

  void Tell(std::size_t count, const char* what) const {
    if (count == 0) return;
    AddWarning(m_source.scene, fmt::format("{}: {} left out: {}; export it as 3MF or glTF",
                                           m_source.files.ModelPath(), what, count));
  }

  /// Turned about x, y and z, then moved.
  static M44d PlaceOf(const pugi::xml_node& use) {
    const V3d turn = VectorOf(use, "rx", "ry", "rz") * (std::numbers::pi / 180);
    M44d place;
    for (int axis = 0; axis < 3; ++axis) {
      V3d along(0.0);
      along[axis] = 1;
      place *= M44d().setAxisAngle(along, turn[axis]);
    }
    return place * M44d().setTranslation(VectorOf(use, "deltax", "deltay", "deltaz"));
  }

  /// Places an object, or all of a constellation.
  void Place(const std::string& first, const M44d& toWorld) {
    std::vector<Step> pending{{first, toWorld, 0}};
    while (!pending.empty()) {
      const Step step = std::move(pending.back());
      pending.pop_back();
      const auto object = m_objects.find(step.id);
      const auto group = m_groups.find(step.id);
      const bool isThere = object != m_objects.end() || group != m_groups.end();
      if (!isThere || step.depth > kDeepestGroup || m_places++ > kMostPlaces ||
          !IsFinite(M44f(step.toWorld))) {
        ++m_lost;
      } else if (object != m_objects.end()) {
        AddInstance(MeshOf(step.id, object->second), step.toWorld);
      } else {
        for (const pugi::xml_node& use : group->second.children("instance")) {
          if (pending.size() > kMostPlaces) {
            ++m_lost;
            break;
          }
          pending.push_back(
              {use.attribute("objectid").value(), PlaceOf(use) * step.toWorld, step.depth + 1});
        }
      }
    }
  }

  void AddInstance(const Mesh& mesh, const M44d& toWorld) {
    if (mesh.index < 0) return;
    const M44d place = M44d().setTranslation(mesh.taken) * toWorld;
    m_source.scene.instances.push_back({mesh.index, M44f(place)});
    m_source.places.instances.push_back(place);
  }

  const Mesh& MeshOf(const std::string& id, const pugi::xml_node& object) {
    const auto [entry, isNew] = m_meshes.try_emplace(id);
    if (isNew) entry->second = MakeMesh(object);
    return entry->second;
  }

  Mesh MakeMesh(const pugi::xml_node& object) {
    const pugi::xml_node mesh = object.child("mesh");
    std::vector<V3d> positions;
    std::vector<ColorBuf> colors;
    for (const pugi::xml_node& vertex : mesh.child("vertices").children("vertex")) {
      positions.push_back(VectorOf(vertex.child("coordinates"), "x", "y", "z"));
      colors.push_back(ColorIn(vertex));
    }
    Mesh made;
    const PlacedPositions placed = PlacePositions(positions, &made.taken);
    CornerNumbers numbers(positions.size());
    SceneMesh to;
    for (const pugi::xml_node& name : object.children("metadata")) {
      if (std::string_view(name.attribute("type").value()) == "name") to.name = name.text().get();
    }
    for (const pugi::xml_node& volume : mesh.children("volume")) {
      const auto material = m_colors.find(volume.attribute("materialid").value());
      const ColorBuf general =
          FirstOf({ColorIn(volume), ColorIn(object),
                   material == m_colors.end() ? ColorBuf{} : material->second});
      for (const pugi::xml_node& triangle : volume.children("triangle")) {
        AddTriangle(triangle, general, colors, placed, numbers, to);
      }
    }
    FinishMesh(numbers, placed, to);
    made.index = AddMeshAlone(m_source.scene, std::move(to));
    return made;
  }

  /// A triangle's colour counts more than those of its vertices, and these more than `general`.
  void AddTriangle(const pugi::xml_node& triangle, const ColorBuf& general,
                   const std::vector<ColorBuf>& colors, const PlacedPositions& placed,
                   CornerNumbers& numbers, SceneMesh& mesh) {
    const std::uint32_t corners[] = {IndexOf(triangle.child("v1")), IndexOf(triangle.child("v2")),
                                     IndexOf(triangle.child("v3"))};
    const auto* const bad = std::find_if_not(std::begin(corners), std::end(corners),
                                             [&](std::uint32_t i) { return placed.IsGood(i); });
    if (bad != std::end(corners)) return m_leftOut.Count(*bad, placed);
    if (triangle.child("texmap") || triangle.child("map")) ++m_pictures;
    const ColorBuf own = ColorIn(triangle);
    for (const std::uint32_t corner : corners) {
      const ColorBuf color = FirstOf({own, colors[corner], general});
      mesh.triangles.push_back(numbers.NumberOf(corner, std::bit_cast<std::uint32_t>(color), 0));
    }
  }

  void FinishMesh(const CornerNumbers& numbers, const PlacedPositions& placed, SceneMesh& mesh) {
    constexpr ColorBuf kPlain{204, 204, 204, 255};
    const std::vector<CornerNumbers::Corner>& corners = numbers.Corners();
    const bool hasColors = std::any_of(corners.begin(), corners.end(),
                                       [](const auto& corner) { return corner.a != 0; });
    for (const CornerNumbers::Corner& corner : corners) {
      mesh.positions.push_back(placed.positions[corner.place]);
      const auto color = std::bit_cast<ColorBuf>(static_cast<std::uint32_t>(corner.a));
      if (hasColors) mesh.colors.push_back(color.alpha > 0 ? color : kPlain);
    }
    int& material = m_materials[hasColors ? 1 : 0];
    if (material < 0) {
      material = static_cast<int>(m_source.scene.materials.size());
      m_source.scene.materials.push_back(hasColors ? ColorsOnlyMaterial() : StandInMaterial());
    }
    mesh.material = material;
  }

  const ModelSource& m_source;
  pugi::xml_node m_root;
  std::map<std::string, ColorBuf> m_colors;  ///< Of materials.
  std::map<std::string, pugi::xml_node> m_objects, m_groups;
  std::map<std::string, Mesh> m_meshes;
  int m_materials[2] = {-1, -1};
  LeftOut m_leftOut;
  std::size_t m_places = 0, m_lost = 0, m_pictures = 0;
};

}  // namespace

bool ReadAmf(const ModelSource& source, std::string* error) {
  const std::string& path = source.files.ModelPath();
  const OpenedFile file = source.files.OpenModel();
  FileBytes bytes;
  if (!ReadModelFile(source, &bytes, error)) return false;
  std::string unpacked, fault;
  std::string_view text = bytes.Text();
  if (text.starts_with("PK")) {
    fault = ArchiveFault(file.file.Get(), file.size);
    const Archive archive(file.file.Get(), file.size);
    if (fault.empty() &&
        !archive.Read(archive.FirstWithEnding(".amf"), kMostUnpackedBytes, &unpacked)) {
      fault = "it is an archive without a model; export the model again";
    }
    text = unpacked;
  }
  pugi::xml_document document;
  if (fault.empty()) {
    const pugi::xml_parse_result result = document.load_buffer(text.data(), text.size());
    if (!result) {
      fault = fmt::format("not valid XML at byte {}; export the model again", result.offset);
    } else if (!document.child("amf")) {
      fault = "it is no AMF; export the model again";
    }
  }
  if (!fault.empty()) {
    *error = fmt::format("{}: {}", path, fault);
    return false;
  }
  const pugi::xml_node root = document.child("amf");
  source.scene.facts.metersPerUnit = MetersOf(root.attribute("unit").value());
  AmfAssembly(source, root).Run();
  return true;
}

}  // namespace hostkit
