// Rendering contexts, the one kind of object behind AGL and CGL, and which one is current.
#pragma once

#include <EGL/egl.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/egl/drawable.h"
#include "platform/egl/handle_table.h"
#include "platform/egl/pixel_format.h"

namespace platform {

/// Owns its EGL context. Used by one thread at a time, as GL asks of all contexts.
class Context {
 public:
  /// Shares objects with `share` unless that is null. Null when EGL refuses, `eglError` saying why.
  static std::shared_ptr<Context> Make(const PixelFormat& format, const Context* share,
                                       EGLint& eglError);
  Context(EGLContext egl, const PixelFormat& format) : m_egl(egl), m_format(format) {}
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;
  /// Pbuffers that were set on this context alone end with it.
  ~Context();

  EGLContext Egl() const { return m_egl; }
  const PixelFormat& Format() const { return m_format; }
  /// What is drawn into; null for nothing, or when it has been closed.
  Drawable* Target() const;
  /// Whether the live drawable of that handle is set already.
  bool IsSet(const void* drawableHandle) const;
  /// Null and null for no drawable.
  void SetDrawable(std::shared_ptr<Drawable> drawable, const void* drawableHandle);
  /// Keeps a pbuffer until the context ends.
  void HoldPbuffer(void* handle, Pbuffer& pbuffer);

  /// Binds the context with its drawable's surface on this thread; eglMakeCurrent is not called
  /// when all that is so already. Returns EGL_SUCCESS, else EGL's error, and then no context is
  /// current.
  EGLint MakeCurrent();
  /// Fits the surface to the drawable's size, at once when the context is current.
  EGLint Refit();
  /// In vertical retraces a swap; takes effect when a surface is bound.
  void SetSwapInterval(EGLint interval);

 private:
  EGLSurface WantedSurface();

  EGLContext m_egl;
  PixelFormat m_format;
  std::shared_ptr<Drawable> m_drawable;
  const void* m_drawableHandle = nullptr;
  std::vector<void*> m_pbuffers;  // each set on this context at some time
  std::optional<EGLint> m_swapInterval;
  PbufferSurfaces m_placeholder;  // 1 x 1, where EGL binds no context without a surface
};

HandleTable<Context, HandleKind::kContext>& Contexts();

/// The handle of this thread's current context; null when there is none, or one that was made by
/// someone else.
void* CurrentContextHandle();
/// Makes the context of a live handle current. Returns as Context::MakeCurrent.
EGLint MakeCurrent(void* handle, Context& context);
void MakeNoneCurrent();
/// Takes a surface that is about to go from this thread's context. The context stays current, on no
/// surface, where EGL can do that.
void LeaveSurface(EGLSurface surface);
/// Ends a context, on this thread making none current first when it is the current one. False for
/// a handle that is none.
bool DestroyContext(void* handle);

}  // namespace platform
