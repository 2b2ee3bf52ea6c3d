// PLY files into scenes.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// A ReadModel for PLY: text and both byte orders; faces, strips, edges and clouds of points.
bool ReadPly(const ModelSource& source, std::string* error);

}  // namespace hostkit
