// From options to what a frame is drawn with.
#pragma once

#include "apps/gl3/render_options.h"
#include "hostkit/scene/frame_renderer.h"

namespace gl3 {

hostkit::FrameSettings MakeFrameSettings(const RenderOptions& options);

}  // namespace gl3
