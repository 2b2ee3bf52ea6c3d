// From options to what a frame is drawn with.
#include "apps/gl3/work/frame_setup.h"

#include <algorithm>

namespace gl3 {

hostkit::FrameSettings MakeFrameSettings(const RenderOptions& options) {
  hostkit::FrameSettings settings;
  settings.width = options.width;
  settings.height = options.height;
  settings.samplesPerSide = options.samplesPerSide;
  std::copy_n(options.background, 3, settings.background);
  settings.transparentBackground = options.transparentBackground;
  settings.lights = options.drawing.lights;
  return settings;
}

}  // namespace gl3
