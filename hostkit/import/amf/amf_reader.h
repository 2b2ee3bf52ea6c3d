// AMF files into scenes.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// A ReadModel for AMF: objects with all their volumes, placed by constellations where there are
/// any, in their colours.
bool ReadAmf(const ModelSource& source, std::string* error);

}  // namespace hostkit
