// What programs ask about the layer: renderer and live objects.
#include <string>

#include "platform/egl/context.h"
#include "platform/gl.h"
#include "platform/mfc/device_context.h"
#include "platform/mfc/window.h"
#include "platform/platform.h"

namespace platform {
namespace {

std::string GlText(GLenum name) {
  const auto* text = reinterpret_cast<const char*>(glGetString(name));
  return text ? text : "";
}

}  // namespace

std::string CurrentRenderer() {
  return GlText(GL_RENDERER);
}
std::string CurrentVersion() {
  return GlText(GL_VERSION);
}

HandleCounts CountHandles() {
  return {Contexts().Count(), Pbuffers().Count(), Windows().Count(), DeviceContexts().Count()};
}

}  // namespace platform
