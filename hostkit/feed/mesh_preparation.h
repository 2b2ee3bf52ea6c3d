// What the renderer needs to know of a scene's meshes before the first frame.
//
// The renderer knows materials that light falls on, textures, and triangles that are seen from both
// sides. What a scene's materials say beyond that is brought down to it here, once:
//
//   unlit                a material of ambient light alone, see surface_looks.h
//   emission             the same added to a material; with pictures a second time that the mesh is
//                        drawn, adding to the first (Glow)
//   emission of glass    goes into the picture, since nothing can be added to what waits to be
//                        blended: light falls on it with the rest
//   alpha cut-off        the picture's alpha becomes 0 or 255, enlarged first so that its edges are
//                        found between texels; vertices' alpha cuts the triangles. With both, the
//                        triangles are cut into bands of vertices' alpha, each with a picture cut
//                        off at what is left for it to give (AlphaBand)
//   wraps, filters       see picture_layout.h
#pragma once

#include <Imath/ImathVec.h>

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "host/AttrProperty.h"
#include "host/GATexture.h"
#include "hostkit/feed/mesh_cuts.h"
#include "hostkit/feed/picture_layout.h"
#include "hostkit/feed/prepared_pictures.h"
#include "hostkit/scene/scene.h"

class GADriver;

namespace hostkit {

/// Light that is added to a mesh once it is drawn. Pointers live as long as PreparedScene.
struct Glow {
  AttrProperty* material = nullptr;  ///< Null: there is none.
  GATexture* texture = nullptr;
  UvMap uvs;
};

/// What has a vertices' alpha of at least `from`, 0 to 255, up to where the next band begins.
struct AlphaBand {
  float from = 0;
  int leastAlpha = 0;            ///< Of the picture: see PreparedMesh.
  GATexture* texture = nullptr;  ///< Instead of the mesh's.
  GATexture* glow = nullptr;     ///< Likewise.
};

struct PreparedMesh {
  AttrProperty* material = nullptr;  ///< For the renderer. Lives as long as PreparedScene.
  /// For vertices that are lit by VertexLighting without pictures, and what is added: the emission,
  /// but 0 when it has a picture.
  const AttrProperty* surface = nullptr;
  Imath::V3f emission{0};
  /// The same for those with pictures, by which emission may come as well.
  const AttrProperty* picturedSurface = nullptr;
  Imath::V3f picturedEmission{0};
  bool isUnlit = false;
  int image = -1, emissionImage = -1;  ///< Of Scene::images; those without pixels or uvs are not.
  GATexture* texture = nullptr;        ///< Null without one. Lives as long as PreparedScene.
  UvMap uvs;                           ///< Of the texture.
  Glow glow;
  std::unique_ptr<MeshCuts> cuts;  ///< What is drawn with pictures; null: the mesh as it is.
  bool hasNormals = false, hasUvs = false;
  bool perVertexColors = false;  ///< Differing colours; equal ones are in the material.
  bool transparent = false;      ///< By its material, its picture or its colours.
  /// No edge without a neighbour. Told for transparent meshes only.
  bool closed = false;
  bool showsBacks = true;
  bool isInvisible = false;  ///< Cut off altogether.
  /// Above 0: what of the picture has less alpha, of 255, is not seen, and the rest is opaque.
  int leastAlpha = 0;
  float leastVertexAlpha = 0;    ///< The same of differing alphas of the vertices' colours.
  std::vector<AlphaBand> bands;  ///< Of those of `cuts`, rising; empty: the mesh is in one.

  /// Null without texture.
  const UvMap* Uvs() const { return texture ? &uvs : nullptr; }
  /// The band of a triangle that is drawn; null without bands.
  const AlphaBand* BandOf(std::size_t triangle) const {
    if (bands.empty()) return nullptr;
    return bands.size() == 1 ? &bands.front() : &bands[cuts->bands[triangle]];
  }
  /// The picture's least alpha where the vertices' colours have this one.
  int LeastAlphaAt(int vertexAlpha) const;
};

/// Textures, materials and meshes of a scene as they are fed to a display list.
class PreparedScene {
 public:
  /// Uploads textures through `driver`, which must stay longer than this, as must the scene. False
  /// with one line in `*error` when the scene contradicts itself or memory runs out.
  bool Prepare(GADriver* driver, const Scene& scene, std::string* error);
  const PreparedMesh& Mesh(int index) const { return m_meshes[static_cast<std::size_t>(index)]; }
  /// Whether there are meshes with a Glow among the opaque or the transparent ones.
  bool HasGlow(bool transparent) const { return m_hasGlow[transparent]; }

 private:
  struct Subject;  // the mesh at hand

  bool PrepareMesh(const Scene& scene, const SceneMesh& mesh, std::string* error);
  void ChooseSurface(const Subject& subject, PreparedMesh* prepared);
  void CutOff(const Subject& subject, PreparedMesh* prepared);
  void ChooseBands(const Subject& subject, float wanted, PreparedMesh* prepared);
  bool ChooseBandTextures(const TextureRecipe& recipe, GATexture* AlphaBand::*texture,
                          PreparedMesh* prepared);
  bool ChoosePictures(const Subject& subject, PreparedMesh* prepared);
  bool ChooseLook(const Subject& subject, PreparedMesh* prepared);
  bool MixEmission(const Subject& subject, PreparedMesh* prepared);
  bool AddGlow(const Subject& subject, PreparedMesh* prepared);
  static void ChooseCuts(const Subject& subject, PreparedMesh* prepared);
  AttrProperty* Keep(const AttrProperty& material);

  PreparedPictures m_pictures;
  std::deque<AttrProperty> m_materials;  // the scene's first, then those made from them
  std::vector<PreparedMesh> m_meshes;
  std::vector<const SceneDeformation*> m_deformations;  // by mesh; while preparing
  bool m_hasGlow[2] = {false, false};
};

}  // namespace hostkit
