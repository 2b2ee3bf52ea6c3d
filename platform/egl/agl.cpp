// AGL on EGL.
#include "platform/agl.h"

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "platform/egl/agl_error.h"
#include "platform/egl/context.h"
#include "platform/mfc/window.h"
#include "platform/platform.h"

namespace platform {
namespace {

thread_local GLenum t_error = AGL_NO_ERROR;

constexpr struct {
  EGLint egl;
  GLenum agl;
} kErrors[] = {
    {EGL_BAD_ACCESS, AGL_BAD_STATE},    {EGL_BAD_ALLOC, AGL_BAD_ALLOC},
    {EGL_BAD_MATCH, AGL_BAD_MATCH},     {EGL_BAD_SURFACE, AGL_BAD_DRAWABLE},
    {EGL_BAD_CONFIG, AGL_BAD_PIXELFMT}, {EGL_BAD_NATIVE_WINDOW, AGL_BAD_DRAWABLE},
    {EGL_BAD_CONTEXT, AGL_BAD_CONTEXT}, {EGL_NOT_INITIALIZED, AGL_BAD_STATE},
};

/// Formats live as long as the process, equal wishes having the same one.
struct AglFormat {
  PixelWish wish;
  PixelFormat format;
};

HandleTable<AglFormat, HandleKind::kAglFormat>& AglFormats() {
  static auto* const table = new HandleTable<AglFormat, HandleKind::kAglFormat>;
  return *table;
}

/// Reads an attribute list. Returns AGL_NO_ERROR or what is wrong with it.
GLenum ParseAttributes(const GLint* attributes, PixelWish& wish) {
  for (const GLint* at = attributes; *at != AGL_NONE; at++) {
    switch (*at) {
      case AGL_DOUBLEBUFFER:
        wish.doubleBuffer = true;
        break;
      case AGL_DEPTH_SIZE:
        wish.depthBits = *++at;
        break;
      // Colour is 32 bits whatever is asked.
      case AGL_BUFFER_SIZE:
      case AGL_PIXEL_SIZE:
        if (*++at < 0) return AGL_BAD_VALUE;
        break;
      case AGL_RGBA:
      case AGL_OFFSCREEN:
      case AGL_ACCELERATED:
        break;
      default:
        return AGL_BAD_ATTRIBUTE;
    }
  }
  return wish.depthBits < 0 ? AGL_BAD_VALUE : AGL_NO_ERROR;
}

AGLPixelFormat InternFormat(const PixelWish& wish) {
  static std::mutex mutex;
  static auto* const known = new std::vector<std::pair<PixelWish, AGLPixelFormat>>;
  const std::lock_guard lock(mutex);
  for (const auto& [knownWish, handle] : *known) {
    if (knownWish == wish) return handle;
  }
  const std::optional<PixelFormat> format = ChoosePixelFormat(wish);
  if (!format) return nullptr;
  const auto handle = static_cast<AGLPixelFormat>(
      AglFormats().Add(std::make_shared<AglFormat>(AglFormat{wish, *format})));
  if (handle) known->emplace_back(wish, handle);
  return handle;
}

/// The context of a handle; null, with the error remembered, when there is none.
std::shared_ptr<Context> FindContext(AGLContext handle) {
  std::shared_ptr<Context> context = Contexts().Get(handle);
  if (!context) AglFailure(AGL_BAD_CONTEXT);
  return context;
}

/// Sets a drawable and draws into it from now on when the context is current. Nothing changes when
/// there can be no surface.
EGLint Attach(AGLContext handle, Context& context, std::shared_ptr<Drawable> drawable,
              const void* drawableHandle) {
  if (drawable && drawable->SurfaceFor(context.Format().config) == EGL_NO_SURFACE) {
    const EGLint error = eglGetError();
    return error == EGL_SUCCESS ? EGL_BAD_MATCH : error;  // EGL was not even asked
  }
  context.SetDrawable(std::move(drawable), drawableHandle);
  return CurrentContextHandle() == handle ? MakeCurrent(handle, context) : EGL_SUCCESS;
}

}  // namespace

GLboolean AglFailure(GLenum error) {
  if (t_error == AGL_NO_ERROR) t_error = error;
  return GL_FALSE;
}

GLboolean AglResult(EGLint eglError) {
  if (eglError == EGL_SUCCESS) return GL_TRUE;
  for (const auto& entry : kErrors) {
    if (entry.egl == eglError) return AglFailure(entry.agl);
  }
  return AglFailure(AGL_BAD_STATE);
}

}  // namespace platform

using namespace platform;

GLenum aglGetError(void) {
  return std::exchange(t_error, static_cast<GLenum>(AGL_NO_ERROR));
}

AGLPixelFormat aglChoosePixelFormat(const void*, GLint, const GLint* attributes) {
  PixelWish wish;
  GLenum problem = AGL_BAD_POINTER;
  if (attributes) problem = ParseAttributes(attributes, wish);
  if (problem != AGL_NO_ERROR) {
    AglFailure(problem);
    return nullptr;
  }
  const AGLPixelFormat format = InternFormat(wish);
  if (!format) AglFailure(AGL_BAD_PIXELFMT);
  return format;
}

GLboolean aglDescribePixelFormat(AGLPixelFormat format, GLint attribute, GLint* value) {
  const std::shared_ptr<AglFormat> found = AglFormats().Get(format);
  if (!found) return AglFailure(AGL_BAD_PIXELFMT);
  if (!value) return AglFailure(AGL_BAD_POINTER);
  switch (attribute) {
    case AGL_DEPTH_SIZE:
      *value = found->format.depthBits;
      return GL_TRUE;
    case AGL_BUFFER_SIZE:
      *value = found->format.colorBits;
      return GL_TRUE;
    case AGL_RGBA:
      *value = GL_TRUE;
      return GL_TRUE;
    case AGL_DOUBLEBUFFER:
      *value = found->format.doubleBuffer;
      return GL_TRUE;
    default:
      return AglFailure(AGL_BAD_ATTRIBUTE);
  }
}

AGLContext aglCreateContext(AGLPixelFormat format, AGLContext share) {
  const std::shared_ptr<AglFormat> found = AglFormats().Get(format);
  if (!found) {
    AglFailure(AGL_BAD_PIXELFMT);
    return nullptr;
  }
  const std::shared_ptr<Context> shared = share ? FindContext(share) : nullptr;
  if (share && !shared) return nullptr;
  EGLint error = EGL_SUCCESS;
  std::shared_ptr<Context> context = Context::Make(found->format, shared.get(), error);
  if (!context) {
    AglResult(error);
    return nullptr;
  }
  const auto handle = static_cast<AGLContext>(Contexts().Add(std::move(context)));
  if (!handle) AglFailure(AGL_BAD_ALLOC);
  return handle;
}

GLboolean aglDestroyContext(AGLContext context) {
  return DestroyContext(context) ? GL_TRUE : AglFailure(AGL_BAD_CONTEXT);
}

GLboolean aglSetCurrentContext(AGLContext context) {
  if (!context) {
    MakeNoneCurrent();
    return GL_TRUE;
  }
  const std::shared_ptr<Context> found = FindContext(context);
  return found ? AglResult(MakeCurrent(context, *found)) : GL_FALSE;
}

AGLContext aglGetCurrentContext(void) {
  return static_cast<AGLContext>(CurrentContextHandle());
}

GLboolean aglSetDrawable(AGLContext context, AGLDrawable drawable) {
  const std::shared_ptr<Context> found = FindContext(context);
  if (!found) return GL_FALSE;
  const bool isPort = !drawable || IsOfKind(drawable, HandleKind::kPort);
  if (isPort && found->IsSet(drawable)) return GL_TRUE;
  std::shared_ptr<Window> window = Ports().Get(drawable);
  if (drawable && !window) return AglFailure(AGL_BAD_DRAWABLE);
  return AglResult(Attach(context, *found, std::move(window), drawable));
}

GLboolean aglCreatePBuffer(GLint width, GLint height, GLenum, GLenum, long, AGLPbuffer* pbuffer) {
  if (!pbuffer) return AglFailure(AGL_BAD_POINTER);
  *pbuffer = nullptr;
  // A guess at the config of the context, which comes later: the depth that the module asks for by
  // default. The surface is made at once, so that a failure shows here.
  const std::optional<PixelFormat> format = ChoosePixelFormat({.depthBits = 32});
  if (!format) return AglFailure(AGL_BAD_PIXELFMT);
  if (!IsPbufferSize(width, height)) return AglFailure(AGL_BAD_VALUE);
  auto made = std::make_shared<Pbuffer>(width, height);
  if (made->SurfaceFor(format->config) == EGL_NO_SURFACE) return AglResult(EGL_BAD_ALLOC);
  *pbuffer = static_cast<AGLPbuffer>(Pbuffers().Add(std::move(made)));
  return *pbuffer ? GL_TRUE : AglFailure(AGL_BAD_ALLOC);
}

GLboolean aglSetPBuffer(AGLContext context, AGLPbuffer pbuffer, GLint, GLint, GLint) {
  const std::shared_ptr<Context> found = FindContext(context);
  if (!found) return GL_FALSE;
  if (IsOfKind(pbuffer, HandleKind::kPbuffer) && found->IsSet(pbuffer)) return GL_TRUE;
  const std::shared_ptr<Pbuffer> target = Pbuffers().Get(pbuffer);
  if (!target) return AglFailure(AGL_BAD_DRAWABLE);
  const EGLint error = Attach(context, *found, target, pbuffer);
  if (found->IsSet(pbuffer)) found->HoldPbuffer(pbuffer, *target);
  return AglResult(error);
}

GLint aglGetVirtualScreen(AGLContext context) {
  FindContext(context);
  return 0;  // one display, one screen
}

void aglSwapBuffers(AGLContext context) {
  const std::shared_ptr<Context> found = FindContext(context);
  if (!found) return;
  Drawable* target = found->Target();
  if (!target) {
    AglFailure(AGL_BAD_DRAWABLE);
    return;
  }
  void* const before = CurrentContextHandle();
  if (!AglResult(MakeCurrent(context, *found))) return;
  AglResult(target->Present());
  if (before == context) return;
  const std::shared_ptr<Context> previous = Contexts().Get(before);
  if (previous) {
    MakeCurrent(before, *previous);
  } else {
    MakeNoneCurrent();
  }
}

GLboolean aglUpdateContext(AGLContext context) {
  const std::shared_ptr<Context> found = FindContext(context);
  return found ? AglResult(found->Refit()) : GL_FALSE;
}

GLboolean aglEnable(AGLContext context, GLenum pname) {
  if (!FindContext(context)) return GL_FALSE;
  const bool known = pname == AGL_BUFFER_RECT || pname == AGL_SWAP_INTERVAL;
  return known ? GL_TRUE : AglFailure(AGL_BAD_ENUM);
}

GLboolean aglSetInteger(AGLContext context, GLenum pname, const GLint* values) {
  const std::shared_ptr<Context> found = FindContext(context);
  if (!found) return GL_FALSE;
  if (pname != AGL_BUFFER_RECT && pname != AGL_SWAP_INTERVAL) return AglFailure(AGL_BAD_ENUM);
  if (!values) return AglFailure(AGL_BAD_POINTER);
  if (pname == AGL_SWAP_INTERVAL) {
    if (values[0] < 0) return AglFailure(AGL_BAD_VALUE);
    found->SetSwapInterval(values[0]);
    return GL_TRUE;
  }
  // The window behind a port is the view itself, never the frame around it: the surface has the
  // view's size already, and there is nothing to clip.
  return values[2] < 0 || values[3] < 0 ? AglFailure(AGL_BAD_VALUE) : GL_TRUE;
}
