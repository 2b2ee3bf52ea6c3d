// What of a scene is drawn and how: the options that `gl3 render` shares with other ways to draw.
#pragma once

#include "hostkit/scene/light_sets.h"

namespace CLI {
class App;
}

namespace gl3 {

struct DrawingOptions {
  hostkit::LightSet lights = hostkit::LightSet::kAuto;
};

/// Adds the options to `app`; parsing fills `*options`, which must live until then.
void AddDrawingOptions(CLI::App& app, DrawingOptions* options);

}  // namespace gl3
