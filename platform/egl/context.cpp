// Rendering contexts and the current one of each thread.
#include "platform/egl/context.h"

#include <algorithm>
#include <utility>

#include "platform/egl/display.h"

namespace platform {
namespace {

// What this layer bound last on the thread. EGL is asked whether it still is: other parts of a
// process may bind contexts of their own.
struct Current {
  void* handle;
  EGLContext egl;
  EGLSurface surface;
};
thread_local Current t_current;

bool IsCurrent(EGLContext egl) {
  return egl != EGL_NO_CONTEXT && egl == t_current.egl && eglGetCurrentContext() == egl;
}

/// A thread that ends lets go of its context, so that another can use it.
struct ThreadEnd {
  ~ThreadEnd() {
    if (IsCurrent(t_current.egl)) MakeNoneCurrent();
  }
};

EGLint LastEglError() {
  const EGLint error = eglGetError();
  return error == EGL_SUCCESS ? EGL_BAD_CONTEXT : error;
}

}  // namespace

std::shared_ptr<Context> Context::Make(const PixelFormat& format, const Context* share,
                                       EGLint& eglError) {
  // No version is asked for, which EGL takes for 1.0: that gives a compatibility profile.
  eglBindAPI(EGL_OPENGL_API);
  const EGLContext egl = eglCreateContext(OpenDisplay().egl, format.config,
                                          share ? share->m_egl : EGL_NO_CONTEXT, nullptr);
  if (egl == EGL_NO_CONTEXT) {
    eglError = LastEglError();
    return nullptr;
  }
  return std::make_shared<Context>(egl, format);
}

Context::~Context() {
  eglDestroyContext(OpenDisplay().egl, m_egl);
  m_drawable.reset();
  for (void* handle : m_pbuffers) {
    const std::shared_ptr<Pbuffer> pbuffer = Pbuffers().Get(handle);
    if (pbuffer && pbuffer->Release()) Pbuffers().Remove(handle);
  }
}

Drawable* Context::Target() const {
  return m_drawable && !m_drawable->IsClosed() ? m_drawable.get() : nullptr;
}

bool Context::IsSet(const void* drawableHandle) const {
  return drawableHandle == m_drawableHandle && (Target() || !m_drawable);
}

void Context::SetDrawable(std::shared_ptr<Drawable> drawable, const void* drawableHandle) {
  m_drawable = std::move(drawable);
  m_drawableHandle = drawableHandle;
}

void Context::HoldPbuffer(void* handle, Pbuffer& pbuffer) {
  if (std::find(m_pbuffers.begin(), m_pbuffers.end(), handle) != m_pbuffers.end()) return;
  m_pbuffers.push_back(handle);
  pbuffer.Hold();
}

EGLSurface Context::WantedSurface() {
  if (Drawable* target = Target()) return target->SurfaceFor(m_format.config);
  if (OpenDisplay().surfacelessContexts) return EGL_NO_SURFACE;
  return m_placeholder.Fit(m_format.config, 1, 1);
}

EGLint Context::MakeCurrent() {
  const EGLSurface surface = WantedSurface();
  if (surface == EGL_NO_SURFACE && (Target() || !OpenDisplay().surfacelessContexts)) {
    MakeNoneCurrent();
    return EGL_BAD_ALLOC;
  }
  if (IsCurrent(m_egl) && t_current.surface == surface) return EGL_SUCCESS;
  eglBindAPI(EGL_OPENGL_API);
  if (!eglMakeCurrent(OpenDisplay().egl, surface, surface, m_egl)) {
    const EGLint error = LastEglError();
    MakeNoneCurrent();
    return error;
  }
  static thread_local const ThreadEnd threadEnd;
  static_cast<void>(&threadEnd);
  t_current = {t_current.egl == m_egl ? t_current.handle : nullptr, m_egl, surface};
  if (m_swapInterval && surface != EGL_NO_SURFACE) {
    eglSwapInterval(OpenDisplay().egl, *m_swapInterval);
  }
  return EGL_SUCCESS;
}

EGLint Context::Refit() {
  Drawable* target = Target();
  if (!target) return EGL_SUCCESS;
  if (target->Refit(m_format.config) == EGL_NO_SURFACE) {
    return target->IsClosed() ? EGL_BAD_NATIVE_WINDOW : LastEglError();
  }
  return IsCurrent(m_egl) ? MakeCurrent() : EGL_SUCCESS;
}

void Context::SetSwapInterval(EGLint interval) {
  m_swapInterval = interval;
  if (IsCurrent(m_egl) && t_current.surface != EGL_NO_SURFACE) {
    eglSwapInterval(OpenDisplay().egl, interval);
  }
}

HandleTable<Context, HandleKind::kContext>& Contexts() {
  static auto* const table = new HandleTable<Context, HandleKind::kContext>;
  return *table;
}

void* CurrentContextHandle() {
  return IsCurrent(t_current.egl) ? t_current.handle : nullptr;
}

EGLint MakeCurrent(void* handle, Context& context) {
  const EGLint error = context.MakeCurrent();
  if (error == EGL_SUCCESS) t_current.handle = handle;
  return error;
}

void MakeNoneCurrent() {
  t_current = {};
  if (eglGetCurrentContext() == EGL_NO_CONTEXT) return;
  eglBindAPI(EGL_OPENGL_API);
  eglMakeCurrent(OpenDisplay().egl, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

void LeaveSurface(EGLSurface surface) {
  if (eglGetCurrentSurface(EGL_DRAW) != surface) return;
  const EGLContext egl = eglGetCurrentContext();
  const bool stays = OpenDisplay().surfacelessContexts &&
                     eglMakeCurrent(OpenDisplay().egl, EGL_NO_SURFACE, EGL_NO_SURFACE, egl);
  if (!stays) {
    MakeNoneCurrent();
  } else if (t_current.egl == egl) {
    t_current.surface = EGL_NO_SURFACE;
  }
}

bool DestroyContext(void* handle) {
  const std::shared_ptr<Context> context = Contexts().Remove(handle);
  if (!context) return false;
  if (IsCurrent(context->Egl())) MakeNoneCurrent();
  return true;
}

}  // namespace platform
