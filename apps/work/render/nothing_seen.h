// Pictures that show nothing of the model.
#pragma once

#include <string>

#include "hostkit/feed/frame_settings.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// What there is to tell about a picture that was drawn of the scene from there, before effects:
/// that nothing of the model is in view, or that no pixel differs from the background, and what
/// helps. Empty when the model can be seen.
std::string NothingSeen(const hostkit::Scene& scene, const hostkit::FrameSettings& settings,
                        const hostkit::View& view, const hostkit::Picture& picture);

}  // namespace gl3
