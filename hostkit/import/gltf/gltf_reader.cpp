// Reads models of glTF 2.0, as text or binary.
#include "hostkit/import/gltf/gltf_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_animations.h"
#include "hostkit/import/gltf/gltf_views.h"
#include "hostkit/scene/directions.h"
#include "hostkit/scene/node_animation.h"

namespace hostkit {
namespace gltf {
namespace {

using Imath::M44d;
using Imath::M44f;

// A file of few bytes can place many meshes of many parts at many nodes.
constexpr std::size_t kMostInstances = std::size_t{1} << 22;

/// The copies that EXT_mesh_gpu_instancing makes of a node's mesh, in its space; one without it.
std::vector<M44f> CopiesAt(Json node, Accessors& accessors) {
  const Json attributes = Member(Extension(node, "EXT_mesh_gpu_instancing"), "attributes");
  if (!attributes.IsObject() || attributes.Size() == 0) return {M44f()};
  int first = -1;
  attributes.ForEach([&first](const std::string&, Json index) {
    if (first < 0) first = IndexFrom(index);
  });
  const Accessor* any = accessors.Get(first);
  const std::size_t count = any ? std::min(any->count, kMostInstances) : 0;
  std::vector<M44f> copies(count);
  const auto read = [&](const char* name, int components, const auto& apply) {
    const Accessor* accessor = accessors.Get(IndexOf(attributes, name));
    if (!accessor || accessor->count < count || accessor->components != components) return;
    std::vector<float> numbers(count * static_cast<std::size_t>(components));
    ReadFloats(*accessor, {0, count, {}}, components, 0, numbers.data());
    for (std::size_t i = 0; i < count; ++i) {
      M44f part;
      apply(&numbers[i * static_cast<std::size_t>(components)], part);
      copies[i] *= part;
    }
  };
  read("SCALE", 3, [](const float* v, M44f& part) { part.setScale(Imath::V3f(v[0], v[1], v[2])); });
  read("ROTATION", 4, [](const float* v, M44f& part) { part = ToRotation(v).toMatrix44(); });
  read("TRANSLATION", 3,
       [](const float* v, M44f& part) { part.setTranslation(Imath::V3f(v[0], v[1], v[2])); });
  return copies;
}

/// Places the meshes of nodes.
class Instances {
 public:
  Instances(Document& document, Accessors& accessors, Meshes& meshes, const NodeTree& tree,
            const NodeHooks& hooks, Deformations& deformations)
      : m_document(document),
        m_accessors(accessors),
        m_meshes(meshes),
        m_tree(tree),
        m_hooks(hooks),
        m_deformations(deformations) {}

  void AddAll() {
    m_names.resize(m_tree.parents.size(), -1);
    for (const int node : m_tree.order) {
      AddName(node);
      AddNode(node);
    }
  }

 private:
  void AddName(int node) {
    std::vector<SceneNodeName>& names = m_document.Source().scene.nodeNames;
    const auto at = static_cast<std::size_t>(node);
    const int parent = m_tree.parents[at];
    m_names[at] = static_cast<int>(names.size());
    names.push_back({TextOf(m_document.Item("nodes", node), "name"),
                     parent < 0 ? -1 : m_names[static_cast<std::size_t>(parent)]});
  }

  void AddNode(int node) {
    const Json json = m_document.Item("nodes", node);
    const int mesh = IndexOf(json, "mesh");
    if (mesh < 0) return;
    // Found only where they are used, and there is room: every node may have millions of them.
    std::vector<M44f> copies;
    for (Primitive& primitive : m_meshes.Of(mesh)) {
      if (m_document.Source().scene.instances.size() >= kMostInstances) return NoteLeftOut(node);
      const int deformed = m_deformations.Add(node, primitive);
      if (deformed < 0) {
        const int shared = m_meshes.SharedMesh(primitive);
        if (copies.empty()) copies = CopiesAt(json, m_accessors);
        for (const M44f& copy : copies) Add(node, shared, copy);
      } else if (IsSkinned(deformed)) {
        // Its joints place it, whatever its own node says.
        m_document.Source().scene.instances.push_back(
            {deformed, M44f(), m_names[static_cast<std::size_t>(node)]});
        m_document.Source().places.instances.emplace_back();
      } else {
        Add(node, deformed, M44f());
      }
    }
  }

  /// Whether the latest deformation, of that mesh, has joints.
  bool IsSkinned(int mesh) const {
    const SceneDeformation& latest = m_document.Source().scene.motion.deformations.back();
    return latest.mesh == mesh && !latest.joints.empty();
  }

  void NoteLeftOut(int node) {
    m_document.Note(
        fmt::format("copies left out, beyond the first {} or not finite", kMostInstances),
        m_document.NameOf("node", m_document.Item("nodes", node), node));
  }

  void Add(int node, int mesh, const M44f& copy) {
    Scene& scene = m_document.Source().scene;
    const M44d exact = M44d(copy) * m_tree.toWorld[static_cast<std::size_t>(node)];
    const M44f toWorld(exact);
    if (scene.instances.size() >= kMostInstances || !IsFinite(toWorld)) {
      NoteLeftOut(node);
      return;
    }
    M44f toNode;
    const int hook = m_hooks.Hang(node, &toNode);
    if (hook >= 0) {
      scene.motion.instances.push_back(
          {static_cast<int>(scene.instances.size()), hook, copy * toNode});
    }
    scene.instances.push_back({mesh, toWorld, m_names[static_cast<std::size_t>(node)]});
    m_document.Source().places.instances.push_back(exact);
  }

  Document& m_document;
  Accessors& m_accessors;
  Meshes& m_meshes;
  const NodeTree& m_tree;
  const NodeHooks& m_hooks;
  Deformations& m_deformations;
  std::vector<int> m_names;  // by node: index into Scene::nodeNames
};

/// What the file says of itself; its unit is the metre.
void TakeFacts(const Document& document, SceneFacts& facts) {
  facts.metersPerUnit = 1;
  const Json scenes = Member(document.Root(), "scenes");
  for (std::size_t i = 0; i < Length(scenes); ++i) {
    facts.scenes.push_back(TextOf(scenes[i], "name"));
  }
  for (const auto& [member, names] : {std::pair("extensionsUsed", &facts.extensionsUsed),
                                      {"extensionsRequired", &facts.extensionsRequired}}) {
    const Json list = Member(document.Root(), member);
    for (std::size_t i = 0; i < Length(list); ++i) names->push_back(list[i].Text());
  }
}

bool Read(const ModelSource& source, std::string* error) {
  Document document(source);
  Buffers buffers(document);
  NodeTree tree;
  if (!document.Load(error) || !buffers.Load(error) || !ReadNodes(document, &tree, error)) {
    return false;
  }
  Scene& scene = source.scene;
  TakeFacts(document, scene.facts);
  const MovedNodes moved = FindMoved(document);
  const NodeHooks hooks(tree, moved.places, scene.motion, source.places);
  Accessors accessors(document, buffers);
  Materials materials(document, buffers);
  Meshes meshes(document, buffers, accessors, materials);
  Deformations deformations(document, accessors, meshes, tree, hooks, moved.weights);
  Instances(document, accessors, meshes, tree, hooks, deformations).AddAll();
  AddAnimations(document, accessors, tree, hooks, deformations);
  AddCameras(document, tree, hooks);
  AddLights(document, tree, hooks);
  if (scene.motion.animations.empty()) {
    SettleAtRest(scene);
    scene.motion = {};
    source.places.nodes.clear();
  }
  document.TellNotes();
  return true;
}

}  // namespace
}  // namespace gltf

bool ReadGltf(const ModelSource& source, std::string* error) {
  return gltf::Read(source, error);
}

}  // namespace hostkit
