// STL files into scenes.
#pragma once

#include <string>

#include "hostkit/import/model_reader.h"

namespace hostkit {

/// A ReadModel for STL, text and binary, with the colours that programs put into binary ones.
bool ReadStl(const ModelSource& source, std::string* error);

}  // namespace hostkit
