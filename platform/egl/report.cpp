// What programs ask about the layer: what the GL says of itself, and live objects.
#include <algorithm>
#include <sstream>
#include <string>

#include "platform/cgl.h"
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

/// A context of its own, current while it lives; then the one before is current again.
class Probe {
 public:
  Probe() : m_before(CGLGetCurrentContext()) {
    const CGLPixelFormatAttribute anything[] = {kCGLPFAColorSize, 24, 0};
    CGLPixelFormatObj format = nullptr;
    int count = 0;
    CGLChoosePixelFormat(anything, &format, &count);
    if (!format) return;
    CGLCreateContext(format, nullptr, &m_context);
    CGLDestroyPixelFormat(format);
    if (m_context) CGLSetCurrentContext(m_context);
  }
  Probe(const Probe&) = delete;
  Probe& operator=(const Probe&) = delete;
  ~Probe() {
    CGLDestroyContext(m_context);
    CGLSetCurrentContext(m_before);
  }
  bool IsCurrent() const { return m_context && CGLGetCurrentContext() == m_context; }

 private:
  CGLContextObj m_before;
  CGLContextObj m_context = nullptr;
};

}  // namespace

std::string CurrentRenderer() {
  return GlText(GL_RENDERER);
}
std::string CurrentVersion() {
  return GlText(GL_VERSION);
}

RendererReport DescribeRenderer() {
  RendererReport report;
  const Probe probe;
  if (!probe.IsCurrent()) return report;
  report.vendor = GlText(GL_VENDOR);
  report.renderer = GlText(GL_RENDERER);
  report.version = GlText(GL_VERSION);
  report.shadingLanguage = GlText(GL_SHADING_LANGUAGE_VERSION);
  GLint viewport[2] = {0, 0};
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport);
  report.viewportSize = std::min(viewport[0], viewport[1]);
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &report.textureSize);
  std::istringstream names(GlText(GL_EXTENSIONS));
  for (std::string name; names >> name;) report.extensions.push_back(name);
  return report;
}

HandleCounts CountHandles() {
  return {Contexts().Count(), Pbuffers().Count(), Windows().Count(), DeviceContexts().Count()};
}

}  // namespace platform
