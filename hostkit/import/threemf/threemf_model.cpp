// What a 3MF package says, before it becomes a scene.
#include "hostkit/import/threemf/threemf_model.h"

#include <fmt/format.h>

#include <algorithm>
#include <pugixml.hpp>
#include <set>
#include <string_view>

#include "hostkit/import/archive_check.h"
#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::V3d;

constexpr std::size_t kMostParts = 10'000;
constexpr std::uint32_t kNone = 0xffffffff;

/// The name without the prefix that stands for its namespace.
std::string_view LocalName(const char* name) {
  const std::string_view whole = name;
  return whole.substr(whole.find(':') + 1);  // npos + 1 is 0
}

std::string_view Attribute(const pugi::xml_node& node, std::string_view name) {
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    if (LocalName(attribute.name()) == name) return attribute.value();
  }
  return {};
}

double NumberOf(std::string_view text) {
  const char* at = text.data();
  double value = 0;
  return ReadNumber(&at, at + text.size(), &value) ? value : 0;
}

std::uint32_t IndexOf(std::string_view text) {
  const char* at = text.data();
  std::int64_t value = 0;
  const bool isGood = ReadInteger(&at, at + text.size(), &value) && value >= 0 && value < kNone;
  return isGood ? static_cast<std::uint32_t>(value) : kNone;
}

/// "#RRGGBB" or "#RRGGBBAA".
ColorBuf ColorOf(std::string_view text) {
  ColorBuf color{255, 255, 255, 255};
  std::uint8_t* const channels[] = {&color.red, &color.green, &color.blue, &color.alpha};
  for (std::size_t i = 0; i < 4 && 3 + 2 * i <= text.size(); ++i) {
    unsigned value = 0;
    for (const char digit : text.substr(1 + 2 * i, 2)) {
      const std::size_t found =
          std::string_view("0123456789abcdef")
              .find(static_cast<char>(digit >= 'A' && digit <= 'F' ? digit - 'A' + 'a' : digit));
      value = 16 * value + (found < 16 ? static_cast<unsigned>(found) : 0);
    }
    *channels[i] = static_cast<std::uint8_t>(value);
  }
  return color;
}

/// Twelve numbers: the rows of a matrix for row vectors, without its last column.
M44d PlaceOf(std::string_view text) {
  M44d place;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (int i = 0; i < 12; ++i) {
    while (at < end && IsSpace(*at)) ++at;
    if (!ReadNumber(&at, end, &place[i / 3][i % 3])) return {};
  }
  return place;
}

/// A unit by its name, in metres; without one it is the millimetre.
double MetersOf(std::string_view unit) {
  constexpr std::pair<std::string_view, double> kUnits[] = {
      {"micron", 1e-6}, {"centimeter", 0.01}, {"inch", 0.0254}, {"foot", 0.3048}, {"meter", 1}};
  for (const auto& [name, meters] : kUnits) {
    if (unit == name) return meters;
  }
  return 0.001;
}

/// Reads the parts of a package, each once.
class Package {
 public:
  Package(const Archive& archive, ThreeMfModel& model) : m_archive(archive), m_model(model) {}

  bool Read(std::string* fault) {
    std::string start = "/3D/3dmodel.model";
    pugi::xml_document relations;
    if (Load("/_rels/.rels", relations)) {
      for (const pugi::xml_node& relation : relations.first_child().children()) {
        const std::string_view type = Attribute(relation, "Type");
        if (type.ends_with("/3dmodel")) start = Attribute(relation, "Target");
      }
    }
    m_parts.insert(start);
    if (!ReadPart(start, true)) {
      *fault = "its model cannot be read; export it again";
      return false;
    }
    while (!m_pending.empty()) {
      const std::string part = m_pending.back();
      m_pending.pop_back();
      if (!ReadPart(part, false)) ++m_model.missingParts;
    }
    return true;
  }

 private:
  bool Load(const std::string& part, pugi::xml_document& document) const {
    std::string bytes;
    const std::string name = part.starts_with('/') ? part.substr(1) : part;
    return m_archive.Read(name, kMostUnpackedBytes, &bytes) &&
           document.load_buffer(bytes.data(), bytes.size());
  }

  bool ReadPart(const std::string& part, bool isStart) {
    pugi::xml_document document;
    if (!Load(part, document)) return false;
    m_part = part;
    m_colors.clear();
    m_pictures.clear();
    if (isStart) m_model.metersPerUnit = MetersOf(Attribute(document.document_element(), "unit"));
    for (const pugi::xml_node& child : document.document_element().children()) {
      if (LocalName(child.name()) == "resources") ReadResources(child);
      if (LocalName(child.name()) != "build" || !isStart) continue;
      for (const pugi::xml_node& item : child.children()) m_model.items.push_back(UseIn(item));
    }
    return true;
  }

  void ReadResources(const pugi::xml_node& resources) {
    for (const pugi::xml_node& resource : resources.children()) {
      const std::string_view kind = LocalName(resource.name());
      const std::uint32_t id = IndexOf(Attribute(resource, "id"));
      if (kind == "basematerials" || kind == "colorgroup") {
        const char* const key = kind == "colorgroup" ? "color" : "displaycolor";
        for (const pugi::xml_node& color : resource.children()) {
          m_colors[id].push_back(ColorOf(Attribute(color, key)));
        }
      } else if (kind == "texture2dgroup") {
        m_pictures.insert(id);
      } else if (kind == "object") {
        ReadObject(resource, m_model.objects[{m_part, id}]);
      }
    }
  }

  void ReadObject(const pugi::xml_node& node, ThreeMfObject& object) {
    object.name = Attribute(node, "name");
    for (const pugi::xml_node& child : node.children()) {
      if (LocalName(child.name()) == "mesh") ReadMesh(node, child, object);
      if (LocalName(child.name()) != "components") continue;
      for (const pugi::xml_node& component : child.children()) {
        object.components.push_back(UseIn(component));
      }
    }
  }

  void ReadMesh(const pugi::xml_node& whole, const pugi::xml_node& mesh, ThreeMfObject& object) {
    const std::uint32_t group = IndexOf(Attribute(whole, "pid"));
    const std::uint32_t index = IndexOf(Attribute(whole, "pindex"));
    for (const pugi::xml_node& list : mesh.children()) {
      const std::string_view kind = LocalName(list.name());
      for (const pugi::xml_node& node : list.children()) {
        if (kind == "vertices") {
          object.positions.emplace_back(NumberOf(node.attribute("x").value()),
                                        NumberOf(node.attribute("y").value()),
                                        NumberOf(node.attribute("z").value()));
        } else if (kind == "triangles") {
          object.triangles.push_back(TriangleIn(node, group, index));
        }
      }
    }
  }

  /// `group` and `index` are what the object says for triangles that say nothing.
  ThreeMfTriangle TriangleIn(const pugi::xml_node& node, std::uint32_t group, std::uint32_t index) {
    ThreeMfTriangle triangle;
    const pugi::xml_attribute own = node.attribute("pid");
    const pugi::xml_attribute first = node.attribute("p1");
    if (own) group = IndexOf(own.value());
    if (first) index = IndexOf(first.value());
    constexpr const char* kCorners[] = {"v1", "v2", "v3"};
    constexpr const char* kColors[] = {"p1", "p2", "p3"};
    const bool isPicture = group != kNone && m_pictures.contains(group);
    if (isPicture) ++m_model.pictures;
    for (int i = 0; i < 3; ++i) {
      triangle.corners[i] = IndexOf(node.attribute(kCorners[i]).value());
      const pugi::xml_attribute color = node.attribute(kColors[i]);
      triangle.colors[i] = ColorAt(group, color ? IndexOf(color.value()) : index);
    }
    return triangle;
  }

  ColorBuf ColorAt(std::uint32_t group, std::uint32_t index) const {
    const auto found = m_colors.find(group);
    if (group == kNone || found == m_colors.end() || index >= found->second.size()) return {};
    return found->second[index];
  }

  /// An item or a component. What lies in another part is read later.
  ThreeMfUse UseIn(const pugi::xml_node& node) {
    std::string part(Attribute(node, "path"));
    if (part.empty()) part = m_part;
    if (m_parts.size() < kMostParts && m_parts.insert(part).second) m_pending.push_back(part);
    return {{part, IndexOf(Attribute(node, "objectid"))}, PlaceOf(Attribute(node, "transform"))};
  }

  const Archive& m_archive;
  ThreeMfModel& m_model;
  std::set<std::string> m_parts;  ///< That are read, or will be.
  std::vector<std::string> m_pending;
  std::string m_part;  ///< The one at hand, as the next two.
  std::map<std::uint32_t, std::vector<ColorBuf>> m_colors;
  std::set<std::uint32_t> m_pictures;
};

}  // namespace

bool ReadThreeMfModel(const Archive& archive, ThreeMfModel* model, std::string* fault) {
  return Package(archive, *model).Read(fault);
}

}  // namespace hostkit
