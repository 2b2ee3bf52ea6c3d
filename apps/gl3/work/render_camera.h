// Where a picture is taken from, chosen from the options and the model.
#pragma once

#include <string>

#include "apps/gl3/messages.h"
#include "apps/gl3/render_options.h"
#include "hostkit/scene/scene.h"

namespace gl3 {

/// The camera that `options` ask for: one of the scene's own by name, one at --eye, else one that
/// shows all of the scene. kWrongUsage with a message for a name that the scene does not have.
Outcome ChooseCamera(const RenderOptions& options, const hostkit::Scene& scene,
                     hostkit::SceneCamera* camera);

/// The camera in words and numbers that read back exactly: "eye=0,0,5 forward=0,0,-1 up=0,1,0
/// fov=40" (degrees), or height= (world units) in place of fov= for a parallel projection.
std::string DescribeCamera(const hostkit::SceneCamera& camera);

}  // namespace gl3
