// Pbuffers and the EGL surfaces behind them.
#include "platform/egl/drawable.h"

#include <algorithm>

#include "platform/egl/display.h"

namespace platform {

EGLSurface PbufferSurfaces::Find(EGLConfig config) const {
  const std::lock_guard lock(m_mutex);
  for (const Entry& entry : m_entries) {
    if (entry.config == config) return entry.surface;
  }
  return EGL_NO_SURFACE;
}

EGLSurface PbufferSurfaces::Fit(EGLConfig config, int width, int height) {
  const std::lock_guard lock(m_mutex);
  auto entry = std::find_if(m_entries.begin(), m_entries.end(),
                            [&](const Entry& e) { return e.config == config; });
  if (entry != m_entries.end() && entry->width == width && entry->height == height) {
    return entry->surface;
  }
  const EGLint attributes[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
  const EGLDisplay display = OpenDisplay().egl;
  const EGLSurface surface = eglCreatePbufferSurface(display, config, attributes);
  if (surface == EGL_NO_SURFACE) return EGL_NO_SURFACE;
  if (entry == m_entries.end()) {
    m_entries.push_back({config, surface, width, height});
  } else {
    eglDestroySurface(display, entry->surface);
    *entry = {config, surface, width, height};
  }
  return surface;
}

void PbufferSurfaces::Clear() {
  const std::lock_guard lock(m_mutex);
  for (const Entry& entry : m_entries) eglDestroySurface(OpenDisplay().egl, entry.surface);
  m_entries.clear();
}

EGLSurface Pbuffer::SurfaceFor(EGLConfig config) {
  if (const EGLSurface surface = m_surfaces.Find(config)) return surface;
  {
    // The surface made first, of a guessed config, is of use to nobody when the first context has
    // another one.
    const std::lock_guard lock(m_mutex);
    if (m_holders == 0) m_surfaces.Clear();
  }
  return m_surfaces.Fit(config, m_width, m_height);
}

void Pbuffer::Hold() {
  const std::lock_guard lock(m_mutex);
  m_holders++;
}

bool Pbuffer::Release() {
  const std::lock_guard lock(m_mutex);
  return --m_holders == 0;
}

HandleTable<Pbuffer, HandleKind::kPbuffer>& Pbuffers() {
  static auto* const table = new HandleTable<Pbuffer, HandleKind::kPbuffer>;
  return *table;
}

}  // namespace platform
