// What the renderer needs to know of a scene's meshes before the first frame.
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/AttrProperty.h"
#include "host/GATexture.h"
#include "hostkit/scene/scene.h"

class GADriver;

namespace hostkit {

struct PreparedMesh {
  AttrProperty* material = nullptr;  ///< Lives as long as PreparedScene.
  GATexture* texture = nullptr;      ///< Null without one. The same.
  bool hasNormals = false, hasUvs = false;
  bool perVertexColors = false;  ///< Differing colours; equal ones are in the material.
  bool transparent = false;      ///< By its material, its picture or its colours.
  /// No edge without a neighbour. Told for transparent meshes only.
  bool closed = false;
  /// Limits of the texture coordinates, so that a clamped picture's opposite edges do not mix.
  Imath::V2f uvMin{-3e38f}, uvMax{3e38f};
};

/// Textures, materials and meshes of a scene as they are fed to a display list.
class PreparedScene {
 public:
  /// Uploads textures through `driver`, which must stay longer than this. False with one line in
  /// `*error` when the scene contradicts itself or memory runs out.
  bool Prepare(GADriver* driver, const Scene& scene, std::string* error);
  const PreparedMesh& Mesh(int index) const { return m_meshes[static_cast<std::size_t>(index)]; }

 private:
  bool PrepareMesh(GADriver* driver, const Scene& scene, const SceneMesh& mesh, std::string* error);
  GATexture* TextureOf(GADriver* driver, const SceneImage& image, int index, bool border);

  std::deque<AttrProperty> m_materials;  // the scene's first, then those with a colour folded in
  std::vector<PreparedMesh> m_meshes;
  std::map<std::pair<int, bool>, std::unique_ptr<GATexture>> m_textures;  // by image and border
  std::vector<bool> m_imageHasAlpha;
  std::vector<const SceneDeformation*> m_deformations;  // by mesh; while preparing
};

}  // namespace hostkit
