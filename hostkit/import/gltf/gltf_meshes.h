// Meshes of a glTF file, a scene's mesh for each primitive.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/import/gltf/gltf_accessors.h"
#include "hostkit/import/gltf/gltf_draco.h"
#include "hostkit/import/gltf/gltf_materials.h"

namespace hostkit::gltf {

/// A primitive that is a mesh of the scene.
struct Primitive {
  Json json;
  int mesh = -1;  ///< Index into Scene::meshes.
  /// Which of the primitive's vertices those of the mesh are.
  Selection vertices;
  std::unique_ptr<DracoGeometry> unpacked;  ///< Where it was packed so.
  bool isShared = false;                    ///< Some instance has the mesh as it is.
  bool isOwned = false;                     ///< Some instance has the mesh to itself.
};

class Meshes {
 public:
  /// All must outlive it.
  Meshes(Document& document, Buffers& buffers, Accessors& accessors, Materials& materials)
      : m_document(document), m_buffers(buffers), m_accessors(accessors), m_materials(materials) {}

  /// The primitives of a mesh that can be drawn, added to the scene when they are first asked for.
  std::vector<Primitive>& Of(int index);

  /// The primitive's mesh for instances that leave it as it is, and for one that changes it.
  int SharedMesh(Primitive& primitive);
  int OwnMesh(Primitive& primitive);

  /// An attribute of as many elements as the primitive has vertices; null without one.
  const Accessor* Attribute(const Primitive& primitive, const char* name);
  /// The same of a morph target.
  const Accessor* TargetAttribute(const Primitive& primitive, Json target, const char* name);

 private:
  bool Unpack(Primitive& primitive);
  bool ListIndices(const Primitive& primitive, std::size_t count, std::vector<std::uint32_t>* to);
  bool Make(Primitive& primitive, SceneMesh& mesh);
  bool PlaceVertices(const Accessor& positions, std::size_t corners, Primitive& primitive,
                     SceneMesh& mesh, std::vector<std::uint32_t>& faces);
  void AddNormals(Primitive& primitive, SceneMesh& mesh);
  void AddUvs(const Primitive& primitive, const MaterialUse& material, SceneMesh& mesh);
  void AddColors(const Primitive& primitive, const MaterialUse& material, SceneMesh& mesh);
  const Accessor* Checked(const Accessor* accessor, const Primitive& primitive);
  std::size_t VertexCount(const Primitive& primitive);

  Document& m_document;
  Buffers& m_buffers;
  Accessors& m_accessors;
  Materials& m_materials;
  std::map<int, std::vector<Primitive>> m_made;
  std::string m_name;  ///< Of the mesh that is being made, for messages.
  /// Corners that meshes may still have. A file of few bytes can name one array many times.
  std::size_t m_room = std::size_t{1} << 29;
};

}  // namespace hostkit::gltf
