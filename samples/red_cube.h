// A red cube, from -0.5 to 0.5.
#pragma once

#include <string>

namespace samples {

/// Writes cube.obj with cube.mtl into `folder`. False with one line in `*error`.
bool WriteRedCubeObj(const std::string& folder, std::string* error);

}  // namespace samples
