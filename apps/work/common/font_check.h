// Whether text can be drawn.
#pragma once

#include <string>

namespace gl3 {

/// Why text stays empty, as "reason; remedy"; empty when there is a font with letters.
std::string FontProblem();

}  // namespace gl3
