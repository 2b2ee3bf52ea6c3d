// What the readers of single formats are given.
#pragma once

#include <string>

#include "hostkit/import/import_pictures.h"
#include "hostkit/import/model_files.h"
#include "hostkit/import/model_import.h"
#include "hostkit/scene/recentre.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// One model on its way into a scene.
struct ModelSource {
  const ModelFiles& files;  ///< Opens the model itself, and what it names.
  const ImportOptions& options;
  Scene& scene;            ///< Empty at first.
  PictureStore& pictures;  ///< Adds to the scene's images.
  ExactPlaces& places;     ///< What the reader composes in doubles; may stay empty.
};

/// Reads the model into the scene. False with one line in `*error`, which names the file, the
/// reason and the remedy, or with an empty one where the file is for the import library to read,
/// and the scene is empty still. What is left out or approximated is a warning in the scene. May
/// throw std::bad_alloc. The file is a stranger's.
using ReadModel = bool (*)(const ModelSource& source, std::string* error);

}  // namespace hostkit
