// Materials of model files into the host's surface records.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <assimp/material.h>

#include <vector>

#include "hostkit/import/import_context.h"
#include "hostkit/import/model_files.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// What meshes need to know about the material that they use.
struct MaterialTraits {
  int uvChannel = 0;
  Imath::M33f uvTransform;  ///< For row vectors (u, v, 1) with v = 0 at the image's top row.
  bool ignoresVertexAlpha = false;
  /// The file has no material: vertex colours then stand for themselves.
  bool isStandIn = false;
};

/// Fills Scene::materials and Scene::images, those out of `files`; the result has one entry a
/// material of the source.
std::vector<MaterialTraits> ImportMaterials(const ImportContext& context, const ModelFiles& files);

/// A light grey for meshes of files that have no materials.
SceneMaterial StandInMaterial();

/// The same in white, for vertex colours that stand for themselves.
SceneMaterial ColorsOnlyMaterial();

/// A surface of the Phong model, without transparency. Colours are display-referred; `strength` is
/// a factor of the highlight's colour. An exponent that is no larger than 1 is taken for a share of
/// 128, and 0 means no highlight.
void SetPhong(const Imath::V3f& base, const Imath::V3f& specular, float strength, float exponent,
              AttrProperty& surface);

/// Linear light to display-referred (sRGB), 0 to 1.
float DisplayFromLinear(float linear);

}  // namespace hostkit
