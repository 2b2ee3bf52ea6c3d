// The nodes of a glTF file's scene, and where they are.
#include "hostkit/import/gltf/gltf_nodes.h"

#include <Imath/ImathMatrixAlgo.h>
#include <Imath/ImathQuat.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <utility>

#include "hostkit/scene/directions.h"

namespace hostkit::gltf {
namespace {

using Imath::M44d;
using Imath::M44f;
using Imath::Quatf;
using Imath::V3d;
using Imath::V3f;

constexpr std::array<double, 3> kNoMove = {0, 0, 0}, kUnitScale = {1, 1, 1};
constexpr std::array<double, 4> kNoTurn = {0, 0, 0, 1};

M44d PlaceOf(Json node) {
  if (Length(Member(node, "matrix")) == 16) {
    const M44d unit;
    std::array<double, 16> identity{};
    std::copy(unit.getValue(), unit.getValue() + 16, identity.begin());
    // Its columns, which the file has one after the other, are rows here.
    const std::array<double, 16> numbers = NumbersOf<16>(node, "matrix", identity);
    M44d matrix;
    std::copy(numbers.begin(), numbers.end(), matrix.getValue());
    return matrix;
  }
  const std::array<double, 3> scale = NumbersOf<3>(node, "scale", kUnitScale);
  const std::array<double, 4> turn = NumbersOf<4>(node, "rotation", kNoTurn);
  const std::array<double, 3> move = NumbersOf<3>(node, "translation", kNoMove);
  const Imath::Quatd given(turn[3], turn[0], turn[1], turn[2]);
  const double length = given.length();
  const bool isRotation = length > 0 && std::isfinite(length);
  const Imath::Quatd rotation = isRotation ? given / length : Imath::Quatd();
  M44d matrix, moved;
  matrix.setScale(V3d(scale[0], scale[1], scale[2]));
  moved.setTranslation(V3d(move[0], move[1], move[2]));
  return matrix * rotation.toMatrix44() * moved;
}

M44f ToFloats(const M44d& matrix) {
  M44f floats;
  std::transform(matrix.getValue(), matrix.getValue() + 16, floats.getValue(), ToFloat);
  return floats;
}

/// The names of the file's scenes, for messages.
std::string SceneNames(Json scenes) {
  constexpr std::size_t kMost = 20;
  std::string names;
  for (std::size_t i = 0; i < std::min(Length(scenes), kMost); ++i) {
    const std::string name = TextOf(scenes[i], "name");
    if (!name.empty()) names += (names.empty() ? "" : ", ") + NameForMessage(name);
  }
  return names.empty() ? "none with a name" : names;
}

/// Takes the scene that is asked for: a null value where the file has no scenes. False with
/// `*error` where there is none of that name.
bool ChooseScene(const Document& document, Json* scene, std::string* error) {
  const Json scenes = Member(document.Root(), "scenes");
  const std::string& wanted = document.Source().options.scene;
  if (wanted.empty()) {
    const Json own = document.Item("scenes", IndexOf(document.Root(), "scene"));
    *scene = own.IsObject() ? own : scenes[0];
    return true;
  }
  for (std::size_t i = 0; i < Length(scenes); ++i) {
    if (TextOf(scenes[i], "name") != wanted) continue;
    *scene = scenes[i];
    return true;
  }
  *error = fmt::format("{}: has no scene {}; there are: {}", document.Path(),
                       NameForMessage(wanted), SceneNames(scenes));
  return false;
}

/// Nodes that are no other's child: what is there where a file has no scenes.
std::vector<int> FindRoots(Json nodes) {
  std::vector<bool> isChild(Length(nodes));
  for (std::size_t node = 0; node < Length(nodes); ++node) {
    const Json children = Member(nodes[node], "children");
    for (std::size_t i = 0; i < Length(children); ++i) {
      const int child = IndexFrom(children[i]);
      if (child >= 0 && static_cast<std::size_t>(child) < isChild.size()) {
        isChild[static_cast<std::size_t>(child)] = true;
      }
    }
  }
  std::vector<int> roots;
  for (std::size_t i = 0; i < isChild.size(); ++i) {
    if (!isChild[i]) roots.push_back(static_cast<int>(i));
  }
  return roots;
}

std::vector<int> IndicesIn(Json list) {
  std::vector<int> indices;
  for (std::size_t i = 0; i < Length(list); ++i) indices.push_back(IndexFrom(list[i]));
  return indices;
}

/// Goes through the tree with a stack of its own: files may nest deeper than the program's is.
class Walk {
 public:
  Walk(Document& document, NodeTree& tree) : m_document(document), m_tree(tree) {
    const std::size_t count = Length(Member(document.Root(), "nodes"));
    m_states.resize(count);
    tree.parents.resize(count, -1);
    tree.places.resize(count);
    tree.toWorld.resize(count);
    tree.isInScene.resize(count);
  }

  bool Run(const std::vector<int>& roots, std::string* error) {
    Push(roots, -1);
    while (!m_pending.empty()) {
      const auto [node, parent] = m_pending.back();
      if (m_states[node] == kAbove) {  // all below it is done
        m_states[node] = kDone;
        m_pending.pop_back();
      } else if (m_states[node] == kNew) {
        Enter(node, parent);
      } else {
        m_document.Note("nodes are shown at the first of several places", Name(node));
        m_pending.pop_back();
      }
      if (m_loop >= 0) {
        *error =
            fmt::format("{}: its {} is below itself; export the model again", m_document.Path(),
                        NameForMessage(Name(static_cast<std::size_t>(m_loop))));
        return false;
      }
    }
    return true;
  }

 private:
  enum State : std::uint8_t { kNew, kAbove, kDone };

  std::string Name(std::size_t node) const {
    const auto index = static_cast<int>(node);
    return m_document.NameOf("node", m_document.Item("nodes", index), index);
  }

  /// The first is the next to be looked at.
  void Push(const std::vector<int>& nodes, int parent) {
    for (std::size_t i = nodes.size(); i-- > 0;) {
      const auto node = static_cast<std::size_t>(nodes[i]);
      if (nodes[i] < 0 || node >= m_states.size()) continue;
      if (m_states[node] == kAbove) m_loop = nodes[i];
      m_pending.emplace_back(node, parent);
    }
  }

  void Enter(std::size_t node, int parent) {
    m_states[node] = kAbove;
    const Json json = m_document.Item("nodes", static_cast<int>(node));
    const M44d place = PlaceOf(json);
    M44d& toWorld = m_tree.toWorld[node];
    toWorld = parent < 0 ? place : place * m_tree.toWorld[static_cast<std::size_t>(parent)];
    m_tree.places[node] = ToFloats(place);
    m_tree.parents[node] = parent;
    const Json visible = Member(Extension(json, "KHR_node_visibility"), "visible");
    if (visible.IsFlag() && !visible.Flag()) return;
    if (!IsFinite(ToFloats(toWorld)) || !IsFinite(m_tree.places[node])) {
      m_document.Note("nodes left out with all below them, since their place is not finite",
                      Name(node));
      return;
    }
    m_tree.isInScene[node] = true;
    m_tree.order.push_back(static_cast<int>(node));
    Push(IndicesIn(Member(json, "children")), static_cast<int>(node));
  }

  Document& m_document;
  NodeTree& m_tree;
  std::vector<State> m_states;
  std::vector<std::pair<std::size_t, int>> m_pending;
  int m_loop = -1;  ///< A node that was met below itself.
};

}  // namespace

bool ReadNodes(Document& document, NodeTree* tree, std::string* error) {
  Json scene;
  if (!ChooseScene(document, &scene, error)) return false;
  const std::vector<int> roots = scene.IsObject() ? IndicesIn(Member(scene, "nodes"))
                                                  : FindRoots(Member(document.Root(), "nodes"));
  return Walk(document, *tree).Run(roots, error);
}

Quatf ToRotation(const float* xyzw) {
  const Quatf rotation(xyzw[3], xyzw[0], xyzw[1], xyzw[2]);
  const float length = rotation.length();
  return length > 0 && std::isfinite(length) ? rotation / length : Quatf();
}

NodePlace RestOf(Json node, const M44f& place) {
  NodePlace rest;
  V3f shear;
  if (Length(Member(node, "matrix")) == 16) {
    M44f matrix = place;
    if (!Imath::extractAndRemoveScalingAndShear(matrix, rest.scale, shear, false)) return rest;
    rest.rotation = Imath::extractQuat(matrix).normalized();
    rest.translation = place.translation();
    return rest;
  }
  const std::array<double, 3> scale = NumbersOf<3>(node, "scale", kUnitScale);
  const std::array<double, 4> turn = NumbersOf<4>(node, "rotation", kNoTurn);
  const float xyzw[] = {ToFloat(turn[0]), ToFloat(turn[1]), ToFloat(turn[2]), ToFloat(turn[3])};
  rest.scale = {ToFloat(scale[0]), ToFloat(scale[1]), ToFloat(scale[2])};
  rest.rotation = ToRotation(xyzw);
  rest.translation = place.translation();
  return rest;
}

NodeHooks::NodeHooks(const NodeTree& tree, const std::vector<bool>& isMoved, SceneMotion& motion,
                     ExactPlaces& places)
    : m_tree(tree),
      m_kept(tree.parents.size(), -1),
      m_hooks(tree.parents.size(), -1),
      m_toHook(tree.parents.size()) {
  for (const int index : tree.order) {
    const auto node = static_cast<std::size_t>(index);
    const int parent = tree.parents[node];
    const int above = parent < 0 ? -1 : m_hooks[static_cast<std::size_t>(parent)];
    const M44d toAbove = parent < 0 ? M44d() : m_toHook[static_cast<std::size_t>(parent)];
    if (!isMoved[node]) {
      m_hooks[node] = above;
      m_toHook[node] = M44d(tree.places[node]) * toAbove;
      continue;
    }
    m_hooks[node] = m_kept[node] = static_cast<int>(motion.nodes.size());
    motion.nodes.push_back({above, tree.places[node], ToFloats(toAbove)});
    places.nodes.push_back(toAbove);
  }
}

int NodeHooks::Hang(int node, M44f* toNode) const {
  const auto at = static_cast<std::size_t>(node);
  const int hook = m_hooks[at];
  *toNode = ToFloats(hook < 0 ? m_tree.toWorld[at] : m_toHook[at]);
  return hook;
}

}  // namespace hostkit::gltf
