// Pictures that show nothing of the model.
#include "apps/work/render/nothing_seen.h"

#include "hostkit/frame/blank_frame.h"
#include "hostkit/scene/in_view.h"

namespace gl3 {

std::string NothingSeen(const hostkit::Scene& scene, const hostkit::FrameSettings& settings,
                        const hostkit::View& view, const hostkit::Picture& picture) {
  const bool isBlank = !settings.backdrop && hostkit::IsBlank(picture, settings);
  const bool showsMore = settings.grid.on || settings.backdrop || !settings.overlays.empty() ||
                         !settings.texts.empty();
  if (!isBlank && !showsMore) return "";
  const float aspect = static_cast<float>(settings.width) / static_cast<float>(settings.height);
  if (!hostkit::IsInView(scene, view, aspect)) {
    return "nothing of the model is in view; move the camera, or leave --camera and --eye out to "
           "see all of it";
  }
  if (!isBlank) return "";
  return "the model is in view, and no pixel differs from the background; choose another "
         "--background, --lights, --fog or --backfaces";
}

}  // namespace gl3
