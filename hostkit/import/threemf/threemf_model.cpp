// What a 3MF package says, before it becomes a scene.
#include "hostkit/import/threemf/threemf_model.h"

#include <limits>
#include <memory>
#include <pugixml.hpp>
#include <set>
#include <string_view>
#include <utility>

#include "hostkit/import/archive_check.h"
#include "hostkit/import/length_units.h"
#include "hostkit/import/number_text.h"

namespace hostkit {
namespace {

using Imath::M44d;
using Imath::V3d;

constexpr std::size_t kMostParts = 10'000;

/// Twelve numbers: the rows of a matrix for row vectors, without its last column. Of a text with
/// fewer numbers they are none at all.
M44d PlaceOf(std::string_view text) {
  M44d place;
  const char* at = text.data();
  const char* const end = at + text.size();
  for (int i = 0; i < 12; ++i) {
    while (at < end && IsSpace(*at)) ++at;
    if (i == 0 && at == end) return {};
    if (!ReadNumber(&at, end, &place[i / 3][i % 3])) {
      return M44d(std::numeric_limits<double>::quiet_NaN());
    }
  }
  return place;
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
        const std::string_view type = ThreeMfAttribute(relation, "Type");
        if (type.ends_with("/3dmodel")) start = ThreeMfAttribute(relation, "Target");
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
    return ReadThreeMfPart(m_archive, part, kMostUnpackedBytes, &bytes) &&
           document.load_buffer(bytes.data(), bytes.size());
  }

  bool ReadPart(const std::string& part, bool isStart) {
    pugi::xml_document document;
    if (!Load(part, document)) return false;
    m_part = part;
    m_properties = std::make_unique<ThreeMfProperties>(m_model.pictures);
    if (isStart)
      m_model.metersPerUnit = MetersOf(ThreeMfAttribute(document.document_element(), "unit"));
    for (const pugi::xml_node& child : document.document_element().children()) {
      if (ThreeMfName(child.name()) == "resources") ReadResources(child);
      if (ThreeMfName(child.name()) != "build" || !isStart) continue;
      for (const pugi::xml_node& item : child.children()) m_model.items.push_back(UseIn(item));
    }
    return true;
  }

  void ReadResources(const pugi::xml_node& resources) {
    for (const pugi::xml_node& resource : resources.children()) {
      if (ThreeMfName(resource.name()) == "object") {
        const std::uint32_t id = ThreeMfIndex(ThreeMfAttribute(resource, "id"));
        ReadObject(resource, m_model.objects[{m_part, id}]);
      } else {
        m_properties->Read(resource);
      }
    }
  }

  void ReadObject(const pugi::xml_node& node, ThreeMfObject& object) {
    object.name = ThreeMfAttribute(node, "name");
    for (const pugi::xml_node& child : node.children()) {
      if (ThreeMfName(child.name()) == "mesh") ReadMesh(node, child, object);
      if (ThreeMfName(child.name()) != "components") continue;
      for (const pugi::xml_node& component : child.children()) {
        object.components.push_back(UseIn(component));
      }
    }
  }

  void ReadMesh(const pugi::xml_node& whole, const pugi::xml_node& mesh, ThreeMfObject& object) {
    const std::uint32_t group = ThreeMfIndex(ThreeMfAttribute(whole, "pid"));
    const std::uint32_t index = ThreeMfIndex(ThreeMfAttribute(whole, "pindex"));
    for (const pugi::xml_node& list : mesh.children()) {
      const std::string_view kind = ThreeMfName(list.name());
      for (const pugi::xml_node& node : list.children()) {
        if (kind == "vertices") {
          object.positions.emplace_back(ThreeMfNumber(node.attribute("x").value()),
                                        ThreeMfNumber(node.attribute("y").value()),
                                        ThreeMfNumber(node.attribute("z").value()));
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
    if (own) group = ThreeMfIndex(own.value());
    if (first) index = ThreeMfIndex(first.value());
    constexpr const char* kCorners[] = {"v1", "v2", "v3"};
    constexpr const char* kLooks[] = {"p1", "p2", "p3"};
    for (int i = 0; i < 3; ++i) {
      triangle.corners[i] = ThreeMfIndex(node.attribute(kCorners[i]).value());
      const pugi::xml_attribute look = node.attribute(kLooks[i]);
      triangle.looks[i] = m_properties->At(group, look ? ThreeMfIndex(look.value()) : index);
    }
    return triangle;
  }

  /// An item or a component. What lies in another part is read later.
  ThreeMfUse UseIn(const pugi::xml_node& node) {
    std::string part(ThreeMfAttribute(node, "path"));
    if (part.empty()) part = m_part;
    if (m_parts.size() < kMostParts && m_parts.insert(part).second) m_pending.push_back(part);
    return {{part, ThreeMfIndex(ThreeMfAttribute(node, "objectid"))},
            PlaceOf(ThreeMfAttribute(node, "transform"))};
  }

  const Archive& m_archive;
  ThreeMfModel& m_model;
  std::set<std::string> m_parts;  ///< That are read, or will be.
  std::vector<std::string> m_pending;
  std::string m_part;  ///< The one at hand, as the next.
  std::unique_ptr<ThreeMfProperties> m_properties;
};

}  // namespace

bool ReadThreeMfPart(const Archive& archive, const std::string& part, std::uint64_t mostBytes,
                     std::string* bytes) {
  return archive.Read(part.starts_with('/') ? part.substr(1) : part, mostBytes, bytes);
}

bool ReadThreeMfModel(const Archive& archive, ThreeMfModel* model, std::string* fault) {
  return Package(archive, *model).Read(fault);
}

}  // namespace hostkit
