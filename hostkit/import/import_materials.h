// Materials of model files into the host's surface records.
#pragma once

#include <Imath/ImathMatrix.h>
#include <assimp/material.h>

#include <vector>

#include "hostkit/import/import_context.h"
#include "hostkit/import/import_pictures.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// What meshes need to know about the material that they use.
struct MaterialTraits {
  int uvChannel = 0;
  Imath::M33f uvTransform;  ///< For row vectors (u, v, 1) with v = 0 at the image's top row.
  /// The file has no material: vertex colours then stand for themselves.
  bool isStandIn = false;
};

/// Fills Scene::materials, and Scene::images by way of `pictures`; the result has one entry a
/// material of the source.
std::vector<MaterialTraits> ImportMaterials(const ImportContext& context, PictureStore& pictures);

}  // namespace hostkit
