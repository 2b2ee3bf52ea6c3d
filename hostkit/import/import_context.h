// What the parts of the model importer share while they turn one file into a scene.
#pragma once

#include <string>
#include <utility>

#include "hostkit/import/collada_facts.h"
#include "hostkit/import/collada_morphs.h"
#include "hostkit/import/import_pictures.h"
#include "hostkit/scene/recentre.h"
#include "hostkit/scene/scene.h"

struct aiScene;

namespace hostkit {

/// Families of formats that need care of their own.
enum class SourceFormat {
  kOther,
  kBlender,   ///< Normals are all smooth, and colours may be bytes with signs.
  kCollada,   ///< The outer cone angle of a spot is made up; the inner one is the file's.
  kIrrlicht,  ///< Cameras give the vertical field of view times the aspect.
};

struct ImportContext {
  const aiScene* source = nullptr;  ///< Owned by the import library.
  std::string path;                 ///< Of the model file.
  SourceFormat format = SourceFormat::kOther;
  Scene* scene = nullptr;
  ExactPlaces* places = nullptr;          ///< Of what is in the scene.
  const ColladaFacts* collada = nullptr;  ///< Of COLLADA alone.
  const ColladaMorphs* morphs = nullptr;  ///< Likewise.

  /// Adds a warning line, once however often it is given.
  void Warn(std::string line) const { AddWarning(*scene, std::move(line)); }
};

}  // namespace hostkit
