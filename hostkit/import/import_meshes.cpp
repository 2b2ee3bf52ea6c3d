// Meshes of model files into scene meshes.
#include "hostkit/import/import_meshes.h"

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "hostkit/import/import_checks.h"
#include "hostkit/import/import_deformations.h"
#include "hostkit/import/import_normals.h"
#include "hostkit/import/surface_colors.h"
#include "hostkit/import/vertex_checks.h"
#include "hostkit/scene/scene.h"
#include "hostkit/services/pixel_values.h"

namespace hostkit {
namespace {

using Imath::V2f;
using Imath::V3f;

static_assert(sizeof(aiVector3D) == sizeof(V3f));

std::vector<V3f> CopyVectors(const aiVector3D* source, std::size_t count) {
  std::vector<V3f> copy(count);
  if (count > 0) std::memcpy(static_cast<void*>(copy.data()), source, count * sizeof(V3f));
  return copy;
}

/// Sorts the source's faces into triangles, lines and points. Those that name a vertex which is
/// not usable are left out; returns their number.
std::size_t CopyFaces(const aiMesh& source, const std::vector<bool>& bad, SceneMesh& mesh) {
  if (source.mPrimitiveTypes & aiPrimitiveType_TRIANGLE) {
    mesh.triangles.reserve(std::size_t{source.mNumFaces} * 3);
  }
  std::size_t dropped = 0;
  std::vector<std::uint32_t>* const lists[] = {&mesh.points, &mesh.lines, &mesh.triangles};
  for (unsigned f = 0; f < source.mNumFaces; ++f) {
    const aiFace& face = source.mFaces[f];
    bool isGood = face.mNumIndices >= 1 && face.mNumIndices <= 3;
    for (unsigned i = 0; isGood && i < face.mNumIndices; ++i) {
      const unsigned index = face.mIndices[i];
      isGood = index < source.mNumVertices && (bad.empty() || !bad[index]);
    }
    if (!isGood) {
      ++dropped;
      continue;
    }
    auto& list = *lists[face.mNumIndices - 1];
    list.insert(list.end(), face.mIndices, face.mIndices + face.mNumIndices);
  }
  if (source.mNumFaces > 0) return dropped;
  // Vertices without faces are a cloud of points.
  for (std::uint32_t i = 0; i < source.mNumVertices; ++i) {
    if (bad.empty() || !bad[i]) mesh.points.push_back(i);
  }
  return dropped;
}

/// Finite texture coordinates with v = 0 at the image's top row; the import library has it at the
/// bottom for every format.
std::vector<V2f> CopyUvs(const aiVector3D* source, std::size_t count,
                         const Imath::M33f& transform) {
  const bool isTransformed = transform != Imath::M33f();
  std::vector<V2f> uvs;
  uvs.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    V2f uv(source[i].x, 1 - source[i].y);
    if (isTransformed) uv *= transform;
    uvs.push_back(std::isfinite(uv.x) && std::isfinite(uv.y) ? uv : V2f(0, 0));
  }
  return uvs;
}

/// Vertex colours, display-referred. The import library leaves alpha 0 where a file has colours
/// without alpha, so alpha counts only when some vertex has any.
void CopyColors(const aiColor4D* source, std::size_t count, SceneMesh& mesh) {
  bool hasAlpha = false;
  for (std::size_t i = 0; !hasAlpha && i < count; ++i) hasAlpha = source[i].a > 0;
  mesh.colors.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const aiColor4D& color = source[i];
    const std::uint8_t alpha = hasAlpha ? ToByte(color.a) : 255;
    mesh.colors.push_back({ToByte(color.r), ToByte(color.g), ToByte(color.b), alpha});
    mesh.colorsHaveAlpha = mesh.colorsHaveAlpha || alpha < 255;
  }
}

/// Colours of Blender before 2.63: bytes, of which the import library makes numbers with signs. Red
/// and blue are the other way around there, and alpha has another use. None where they are of 0 to
/// 1, as later ones are.
std::vector<aiColor4D> ColorsFromBytes(const aiColor4D* source, std::size_t count) {
  const auto isUnit = [](float part) { return part >= 0 && part <= 1; };
  const bool isColor = std::all_of(source, source + count, [&isUnit](const aiColor4D& color) {
    return isUnit(color.r) && isUnit(color.g) && isUnit(color.b);
  });
  std::vector<aiColor4D> colors;
  if (isColor) return colors;
  colors.reserve(count);
  const auto share = [](float byte) { return (byte < 0 ? byte + 256 : byte) / 255; };
  for (const aiColor4D* color = source; color < source + count; ++color) {
    colors.emplace_back(share(color->b), share(color->g), share(color->r), 1.0f);
  }
  return colors;
}

/// `*copies` gets what MakeNormals tells of vertices that it adds.
SceneMesh ImportMesh(const aiMesh& source, SourceFormat format, const MaterialTraits& traits,
                     std::size_t* dropped, std::vector<std::uint32_t>* copies) {
  SceneMesh mesh;
  mesh.name = source.mName.C_Str();
  mesh.material = static_cast<int>(source.mMaterialIndex);
  const std::size_t count = source.mNumVertices;
  if (!source.mVertices) return mesh;
  mesh.positions = CopyVectors(source.mVertices, count);
  const std::vector<bool> bad = TakeOutBadPositions(mesh.positions);
  *dropped += CopyFaces(source, bad, mesh);
  const unsigned channel = source.HasTextureCoords(static_cast<unsigned>(traits.uvChannel))
                               ? static_cast<unsigned>(traits.uvChannel)
                               : 0;
  if (source.HasTextureCoords(channel)) {
    mesh.uvs = CopyUvs(source.mTextureCoords[channel], count, traits.uvTransform);
  }
  if (source.HasVertexColors(0)) {
    const bool mayBeBytes = format == SourceFormat::kBlender;
    const std::vector<aiColor4D> colors =
        mayBeBytes ? ColorsFromBytes(source.mColors[0], count) : std::vector<aiColor4D>();
    CopyColors(colors.empty() ? source.mColors[0] : colors.data(), count, mesh);
  }
  // Which of Blender's faces are flat the library does not hand on.
  if (source.mNormals && format != SourceFormat::kBlender) {
    mesh.normals = CopyVectors(source.mNormals, count);
    RepairNormals(mesh);
  } else if (!mesh.triangles.empty()) {
    *copies = MakeNormals(mesh);
  }
  return mesh;
}

/// Index of the material for vertex colours that stand for themselves; made when first needed.
int ColorsOnlyIndex(Scene& scene, int* made) {
  if (*made >= 0) return *made;
  *made = static_cast<int>(scene.materials.size());
  scene.materials.push_back(ColorsOnlyMaterial());
  return *made;
}

}  // namespace

std::vector<int> ImportMeshes(const ImportContext& context,
                              const std::vector<MaterialTraits>& traits) {
  const aiScene& source = *context.source;
  Scene& scene = *context.scene;
  std::vector<int> indices(source.mNumMeshes, -1);
  std::size_t dropped = 0;
  int colorsOnly = -1;
  MaterialTraits standIn;
  standIn.isStandIn = true;
  scene.meshes.reserve(source.mNumMeshes);
  for (unsigned m = 0; m < source.mNumMeshes; ++m) {
    const aiMesh& from = *source.mMeshes[m];
    const bool hasMaterial = from.mMaterialIndex < traits.size();
    const MaterialTraits& its = hasMaterial ? traits[from.mMaterialIndex] : standIn;
    std::vector<std::uint32_t> copies;
    SceneMesh mesh = ImportMesh(from, context.format, its, &dropped, &copies);
    if (mesh.triangles.empty() && mesh.lines.empty() && mesh.points.empty()) continue;
    if (!hasMaterial) mesh.material = 0;
    if (scene.materials.empty()) scene.materials.push_back(StandInMaterial());
    if (its.isStandIn && !mesh.colors.empty()) {
      mesh.material = ColorsOnlyIndex(scene, &colorsOnly);
    }
    indices[m] = static_cast<int>(scene.meshes.size());
    scene.meshes.push_back(std::move(mesh));
    ImportDeformation(context, from, copies, indices[m]);
  }
  if (dropped > 0) {
    context.Warn(UnusableVerticesText(context.path, dropped));
  }
  return indices;
}

}  // namespace hostkit
