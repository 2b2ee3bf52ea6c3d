// OBJ files into scenes.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// A ReadModel for OBJ: polygons, lines and points with their material libraries. Free-form curves
/// and surfaces are told, not drawn.
bool ReadObj(const ModelSource& source, std::string* error);

}  // namespace hostkit
