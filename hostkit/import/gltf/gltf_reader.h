// Reads models of glTF 2.0, as text or binary.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// As ReadModel says. Which of the format is drawn, approximated and told: docs/FORMATS.md.
bool ReadGltf(const ModelSource& source, std::string* error);

}  // namespace hostkit
