// Materials and textures of a glTF file.
#pragma once

#include <Imath/ImathMatrix.h>

#include <map>
#include <string>

#include "hostkit/import/gltf/gltf_buffers.h"

namespace hostkit::gltf {

/// What becomes of a material, and what meshes need to know of it.
struct MaterialUse {
  int material = 0;         ///< Index into Scene::materials.
  int uvSet = 0;            ///< Which TEXCOORD its pictures lie by.
  Imath::M33f uvTransform;  ///< For row vectors (u, v, 1).
  bool usesVertexAlpha = false;
};

class Materials {
 public:
  /// Both must outlive it.
  Materials(Document& document, Buffers& buffers) : m_document(document), m_buffers(buffers) {}

  /// The material of that index, added to the scene when it is first asked for; the format's own
  /// where there is none.
  const MaterialUse& Get(int index);

 private:
  /// A picture and where it lies.
  struct Texture {
    int image = -1;  ///< Index into Scene::images.
    int uvSet = 0;
    Imath::M33f transform;
    bool isThere = false;  ///< The material names one, whether or not it can be had.
  };

  MaterialUse Make(Json json, int index);
  int PictureOf(Json texture, PictureUse use);
  int EmbeddedPicture(Json image, int index, const PictureUse& use);
  Texture TextureOf(Json info, AlphaUse alpha);
  void SetEmission(Json json, const Texture& base, MaterialUse& use, SceneMaterial& material);

  Document& m_document;
  Buffers& m_buffers;
  std::map<int, MaterialUse> m_made;
};

}  // namespace hostkit::gltf
