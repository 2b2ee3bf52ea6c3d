// Model files into scenes.
#pragma once

#include <memory>
#include <string>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// Reads a model file of any format that the import library knows, with its external pictures.
/// On failure returns null, and `*error` is one line that names the file, the reason and the
/// remedy. A file that holds nothing to draw is a failure; a picture that cannot be read is a
/// warning in the scene.
std::unique_ptr<Scene> ImportModel(const std::string& path, std::string* error);

}  // namespace hostkit
