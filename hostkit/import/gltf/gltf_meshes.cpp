// Meshes of a glTF file, a scene's mesh for each primitive.
#include "hostkit/import/gltf/gltf_meshes.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "hostkit/import/gltf/gltf_faces.h"
#include "hostkit/import/import_normals.h"
#include "hostkit/import/surface_colors.h"
#include "hostkit/import/vertex_checks.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit::gltf {
namespace {

using Imath::V2f;
using Imath::V3f;

constexpr int kUsualMode = 4;  // the mode of a primitive that tells none
constexpr const char* kDraco = "KHR_draco_mesh_compression";

/// Linear light of 16 bits as a display-referred byte.
const std::vector<std::uint8_t>& DisplayBytes() {
  static const std::vector<std::uint8_t> kBytes = [] {
    std::vector<std::uint8_t> bytes(65536);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      bytes[i] = ToByte(DisplayFromLinear(static_cast<float>(i) / 65535));
    }
    return bytes;
  }();
  return kBytes;
}

std::uint8_t DisplayByte(const std::vector<std::uint8_t>& bytes, float linear) {
  if (!(linear > 0)) return 0;
  return linear >= 1 ? 255 : bytes[static_cast<std::size_t>(linear * 65535 + 0.5f)];
}

std::vector<std::uint32_t>& ListOf(SceneMesh& mesh, std::size_t corners) {
  return corners == 3 ? mesh.triangles : corners == 2 ? mesh.lines : mesh.points;
}

/// The vertices that faces use, and their corners' indices among those: exporters that keep many
/// meshes in one array name a part of it each time.
Selection UsedVertices(std::vector<std::uint32_t>& faces) {
  constexpr std::size_t kMostUnused = 4;
  const auto [least, most] = std::minmax_element(faces.begin(), faces.end());
  Selection used{*least, std::size_t{*most} - *least + 1, {}};
  if (used.count <= kMostUnused * faces.size()) {
    const std::uint32_t first = *least;
    for (std::uint32_t& index : faces) index -= first;
    return used;
  }
  used.list = faces;
  std::sort(used.list.begin(), used.list.end());
  used.list.erase(std::unique(used.list.begin(), used.list.end()), used.list.end());
  used.count = used.list.size();
  for (std::uint32_t& index : faces) {
    const auto place = std::lower_bound(used.list.begin(), used.list.end(), index);
    index = static_cast<std::uint32_t>(place - used.list.begin());
  }
  return used;
}

/// Goes on with vertices that were split from others of the selection.
void Extend(Selection& selection, const std::vector<std::uint32_t>& splits) {
  if (splits.empty()) return;
  if (selection.list.empty()) {
    selection.list.resize(selection.count);
    for (std::size_t i = 0; i < selection.count; ++i) {
      selection.list[i] = static_cast<std::uint32_t>(selection.first + i);
    }
  }
  selection.list.reserve(selection.count + splits.size());
  for (const std::uint32_t from : splits)
    selection.list.push_back(std::uint32_t{selection.list[from]});
  selection.count = selection.list.size();
}

}  // namespace

std::vector<Primitive>& Meshes::Of(int index) {
  const auto [entry, isNew] = m_made.try_emplace(index);
  if (!isNew) return entry->second;
  const Json json = m_document.Item("meshes", index);
  const Json primitives = Member(json, "primitives");
  m_name = m_document.NameOf("mesh", json, index);
  Scene& scene = m_document.Source().scene;
  for (std::size_t i = 0; i < Length(primitives); ++i) {
    Primitive primitive;
    primitive.json = primitives[i];
    SceneMesh mesh;
    mesh.name = TextOf(json, "name");
    if (!Make(primitive, mesh)) continue;
    primitive.mesh = static_cast<int>(scene.meshes.size());
    scene.meshes.push_back(std::move(mesh));
    entry->second.push_back(std::move(primitive));
  }
  return entry->second;
}

int Meshes::SharedMesh(Primitive& primitive) {
  if (primitive.isOwned && !primitive.isShared) primitive.mesh = OwnMesh(primitive);
  primitive.isShared = true;
  return primitive.mesh;
}

int Meshes::OwnMesh(Primitive& primitive) {
  std::vector<SceneMesh>& meshes = m_document.Source().scene.meshes;
  const bool isTaken = primitive.isOwned || primitive.isShared;
  primitive.isOwned = true;
  if (!isTaken) return primitive.mesh;
  SceneMesh copy = meshes[static_cast<std::size_t>(primitive.mesh)];
  meshes.push_back(std::move(copy));
  return static_cast<int>(meshes.size()) - 1;
}

std::size_t Meshes::VertexCount(const Primitive& primitive) {
  const int index = IndexOf(Member(primitive.json, "attributes"), "POSITION");
  if (primitive.unpacked) {
    const auto found = primitive.unpacked->attributes.find("POSITION");
    return found == primitive.unpacked->attributes.end() ? 0 : found->second.count;
  }
  const Accessor* positions = m_accessors.Get(index);
  return positions ? positions->count : 0;
}

const Accessor* Meshes::Checked(const Accessor* accessor, const Primitive& primitive) {
  if (accessor && accessor->count >= VertexCount(primitive)) return accessor;
  m_document.Note("attributes of meshes left out, since they are broken or too short", m_name);
  return nullptr;
}

const Accessor* Meshes::Attribute(const Primitive& primitive, const char* name) {
  if (primitive.unpacked) {
    const auto found = primitive.unpacked->attributes.find(name);
    if (found != primitive.unpacked->attributes.end()) return &found->second;
  }
  const Json accessor = Member(Member(primitive.json, "attributes"), name);
  return accessor.IsNull() ? nullptr : Checked(m_accessors.Get(IndexFrom(accessor)), primitive);
}

const Accessor* Meshes::TargetAttribute(const Primitive& primitive, Json target, const char* name) {
  const Json accessor = Member(target, name);
  return accessor.IsNull() ? nullptr : Checked(m_accessors.Get(IndexFrom(accessor)), primitive);
}

/// False where it is packed and cannot be had.
bool Meshes::Unpack(Primitive& primitive) {
  const Json packing = Extension(primitive.json, kDraco);
  if (!packing.IsObject()) return true;
  const BufferView* view = m_buffers.View(IndexOf(packing, "bufferView"));
  if (view) {
    primitive.unpacked =
        DecodeDraco(primitive.json, Member(m_document.Root(), "accessors"), view->bytes);
  }
  // Some files have the same besides, for readers that cannot unpack it.
  return primitive.unpacked || VertexCount(primitive) > 0;
}

/// The primitive's indices, or those of all vertices in their order; false where they are broken.
bool Meshes::ListIndices(const Primitive& primitive, std::size_t count,
                         std::vector<std::uint32_t>* to) {
  if (primitive.unpacked) {
    to->swap(primitive.unpacked->indices);
    return true;
  }
  const Json indices = Member(primitive.json, "indices");
  if (!indices.IsNull()) {
    const Accessor* accessor = m_accessors.Get(IndexFrom(indices));
    return accessor && ReadIndices(*accessor, to);
  }
  to->resize(count);
  for (std::size_t i = 0; i < count; ++i) (*to)[i] = static_cast<std::uint32_t>(i);
  return true;
}

bool Meshes::Make(Primitive& primitive, SceneMesh& mesh) {
  const Json mode = Member(primitive.json, "mode");
  // What is unpacked is triangles, whatever the mode was.
  int kind = mode.IsNull() ? kUsualMode : IndexFrom(mode);
  const bool isUnpacked = Unpack(primitive);
  if (primitive.unpacked) kind = kUsualMode;
  const std::size_t corners = CornersOf(kind);
  const Accessor* positions = isUnpacked ? Attribute(primitive, "POSITION") : nullptr;
  std::vector<std::uint32_t> indices;
  if (corners == 0 || !positions || !ListIndices(primitive, positions->count, &indices)) {
    m_document.Note("parts of meshes left out, since their positions or indices are broken",
                    m_name);
    return false;
  }
  std::vector<std::uint32_t> faces = ListFaces(kind, std::move(indices));
  if (faces.size() > m_room) {
    m_document.Note("parts of meshes left out, since they are too many for one file", m_name);
    return false;
  }
  m_room -= faces.size();
  if (!PlaceVertices(*positions, corners, primitive, mesh, faces)) return false;
  ListOf(mesh, corners) = std::move(faces);
  const MaterialUse& material = m_materials.Get(gltf::IndexOf(primitive.json, "material"));
  mesh.material = material.material;
  AddNormals(primitive, mesh);
  AddUvs(primitive, material, mesh);
  AddColors(primitive, material, mesh);
  return true;
}

/// Reads the positions that the faces use; false where no face is left.
bool Meshes::PlaceVertices(const Accessor& positions, std::size_t corners, Primitive& primitive,
                           SceneMesh& mesh, std::vector<std::uint32_t>& faces) {
  const bool isInside =
      faces.empty() || *std::max_element(faces.begin(), faces.end()) < positions.count;
  std::size_t dropped = isInside ? 0 : DropFaces(faces, corners, positions.count, {});
  if (dropped > 0) {
    m_document.Note("faces left out, since they name vertices that are not there",
                    fmt::format("{} of {}", dropped, m_name));
  }
  if (faces.empty()) return false;
  primitive.vertices = UsedVertices(faces);
  mesh.positions = ReadVectors<V3f>(positions, primitive.vertices);
  const std::vector<bool> bad = TakeOutBadPositions(mesh.positions);
  if (bad.empty()) return true;
  dropped = DropFaces(faces, corners, mesh.positions.size(), bad);
  if (dropped > 0) {
    m_document.Note("faces left out, since they use vertices that are not finite",
                    fmt::format("{} of {}", dropped, m_name));
  }
  return !faces.empty();
}

/// Of triangles without normals the format wants flat ones.
void Meshes::AddNormals(Primitive& primitive, SceneMesh& mesh) {
  const Accessor* normals = Attribute(primitive, "NORMAL");
  if (normals && normals->components == 3) {
    mesh.normals = ReadVectors<V3f>(*normals, primitive.vertices);
    RepairNormals(mesh);
  } else if (!mesh.triangles.empty()) {
    Extend(primitive.vertices, MakeFlatNormals(mesh));
  }
}

void Meshes::AddUvs(const Primitive& primitive, const MaterialUse& material, SceneMesh& mesh) {
  const Accessor* uvs = Attribute(primitive, fmt::format("TEXCOORD_{}", material.uvSet).c_str());
  if (!uvs) uvs = Attribute(primitive, "TEXCOORD_0");
  if (!uvs) return;
  mesh.uvs = ReadVectors<V2f>(*uvs, primitive.vertices);
  const bool isMoved = material.uvTransform != Imath::M33f();
  for (V2f& uv : mesh.uvs) {
    if (isMoved) uv *= material.uvTransform;
    if (!std::isfinite(uv.x) || !std::isfinite(uv.y)) uv = V2f(0, 0);
  }
}

void Meshes::AddColors(const Primitive& primitive, const MaterialUse& material, SceneMesh& mesh) {
  const Accessor* found = Attribute(primitive, "COLOR_0");
  if (!found || found->components < 3) return;
  Accessor accessor = *found;
  accessor.isNormalized = true;  // which whole numbers must be
  const std::size_t count = primitive.vertices.count;
  std::vector<float> linear(4 * count);
  ReadFloats(accessor, primitive.vertices, 4, 1, linear.data());
  const std::vector<std::uint8_t>& display = DisplayBytes();
  mesh.colors.reserve(count);
  for (const float* from = linear.data(); mesh.colors.size() < count; from += 4) {
    const std::uint8_t alpha = material.usesVertexAlpha ? ToByte(from[3]) : 255;
    mesh.colors.push_back({DisplayByte(display, from[0]), DisplayByte(display, from[1]),
                           DisplayByte(display, from[2]), alpha});
    mesh.colorsHaveAlpha = mesh.colorsHaveAlpha || alpha < 255;
  }
}

}  // namespace hostkit::gltf
