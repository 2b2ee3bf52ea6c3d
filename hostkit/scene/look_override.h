// Other surfaces than a model's own.
#pragma once

#include <Imath/ImathVec.h>

#include <cstdint>
#include <optional>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// What all materials are made into.
enum class MaterialLook : std::uint8_t {
  kFile,   ///< As they are.
  kClay,   ///< One light grey without highlights, opaque, lit.
  kMatte,  ///< Their own colours without highlights.
  kShiny,  ///< Their own colours with a bright highlight.
  kUnlit,  ///< Their own colours exactly, whatever the lights.
};

/// What is asked for in place of a model's own surfaces.
struct LookOverride {
  MaterialLook look = MaterialLook::kFile;  ///< Of all materials.
  /// Display-referred, 0 to 1: of everything, in place of base colours, pictures, colours of
  /// vertices and light of their own. Opacity of materials stays but for kClay, that of pictures
  /// and vertices goes.
  std::optional<Imath::V3f> color;
};

/// Changes the scene's materials, and the vertices' colours, as asked.
void OverrideLook(const LookOverride& look, Scene& scene);

}  // namespace hostkit
