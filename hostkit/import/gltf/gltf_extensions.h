// Which extensions of glTF 2.0 are known.
#pragma once

#include <string_view>

namespace hostkit::gltf {

enum class Support {
  kNone,
  kDrawn,     ///< As it says, or approximated.
  kHarmless,  ///< It changes no picture.
};

Support SupportOf(std::string_view extension);

}  // namespace hostkit::gltf
