// 3MF packages into scenes.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// A ReadModel for 3MF: the objects that are built, with their components and colours. z is up.
bool ReadThreeMf(const ModelSource& source, std::string* error);

}  // namespace hostkit
