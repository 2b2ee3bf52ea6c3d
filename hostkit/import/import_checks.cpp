// What the import library has read, looked over before anything follows its indices.
//
// The steps of the library take indices as they come: triangulating a polygon reads the vertices
// that it names. Materials, the meshes of nodes, pictures, the vertices of bones and shapes are
// held against their counts where they are followed.
#include "hostkit/import/import_checks.h"

#include <assimp/anim.h>
#include <assimp/camera.h>
#include <assimp/light.h>
#include <assimp/material.h>
#include <assimp/mesh.h>
#include <assimp/scene.h>
#include <assimp/texture.h>
#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "hostkit/import/vertex_checks.h"

namespace hostkit {
namespace {

/// For lists that others have indices into: a new object in each gap.
template <class Object>
void FillGaps(Object** list, unsigned& count) {
  if (!list) count = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (!list[i]) list[i] = new Object;
  }
}

/// For other lists: without gaps.
template <class Object>
void CloseGaps(Object** list, unsigned& count) {
  count = list ? static_cast<unsigned>(std::remove(list, list + count, nullptr) - list) : 0;
}

bool IsFaceGood(const aiFace& face, unsigned vertices) {
  return face.mNumIndices > 0 && face.mIndices &&
         std::all_of(face.mIndices, face.mIndices + face.mNumIndices,
                     [vertices](unsigned index) { return index < vertices; });
}

/// Says again which kinds of faces there are: triangulating ends the process where polygons are
/// promised and there are none.
void TellKinds(aiMesh& mesh) {
  mesh.mPrimitiveTypes &= aiPrimitiveType_NGONEncodingFlag;
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    mesh.mPrimitiveTypes |= AI_PRIMITIVE_TYPE_FOR_N_INDICES(mesh.mFaces[f].mNumIndices);
  }
}

/// Takes the bad faces out of a mesh and returns their number. Faces own their indices, which
/// change places here: the array keeps its length, and what is behind its new end is still freed
/// with it.
std::size_t DropBadFaces(aiMesh& mesh) {
  const unsigned vertices = mesh.mVertices ? mesh.mNumVertices : 0;
  const unsigned faces = mesh.mFaces ? mesh.mNumFaces : 0;
  const bool hadFaces = mesh.mNumFaces > 0;
  unsigned kept = 0;
  for (unsigned f = 0; f < faces; ++f) {
    if (!IsFaceGood(mesh.mFaces[f], vertices)) continue;
    if (kept < f) {
      std::swap(mesh.mFaces[kept].mNumIndices, mesh.mFaces[f].mNumIndices);
      std::swap(mesh.mFaces[kept].mIndices, mesh.mFaces[f].mIndices);
    }
    ++kept;
  }
  const std::size_t dropped = mesh.mNumFaces - kept;
  mesh.mNumFaces = kept;
  if (!mesh.mVertices || (hadFaces && kept == 0)) mesh.mNumVertices = 0;
  return dropped;
}

}  // namespace

std::size_t CheckSource(aiScene& source) {
  FillGaps(source.mMeshes, source.mNumMeshes);
  FillGaps(source.mMaterials, source.mNumMaterials);
  FillGaps(source.mTextures, source.mNumTextures);
  CloseGaps(source.mCameras, source.mNumCameras);
  CloseGaps(source.mLights, source.mNumLights);
  CloseGaps(source.mAnimations, source.mNumAnimations);
  for (unsigned i = 0; i < source.mNumAnimations; ++i) {
    aiAnimation& animation = *source.mAnimations[i];
    CloseGaps(animation.mChannels, animation.mNumChannels);
    CloseGaps(animation.mMorphMeshChannels, animation.mNumMorphMeshChannels);
  }
  std::size_t dropped = 0;
  for (unsigned i = 0; i < source.mNumMeshes; ++i) {
    aiMesh& mesh = *source.mMeshes[i];
    dropped += DropBadFaces(mesh);
    TellKinds(mesh);
    CloseGaps(mesh.mBones, mesh.mNumBones);
    if (!mesh.mAnimMeshes) mesh.mNumAnimMeshes = 0;
  }
  return dropped;
}

std::string MissingVerticesText(const std::string& path, std::size_t count) {
  return count == 1
             ? fmt::format("{}: 1 face names vertices that its mesh does not have; it is left out",
                           path)
             : fmt::format(
                   "{}: {} faces name vertices that their meshes do not have; they are left out",
                   path, count);
}

std::string UnusableVerticesText(const std::string& path, std::size_t count) {
  return fmt::format(
      "{}: {} faces left out, since they use vertices that are not finite or beyond {:g}; repair "
      "the model where it was made",
      path, count, kLargestCoordinate);
}

}  // namespace hostkit
