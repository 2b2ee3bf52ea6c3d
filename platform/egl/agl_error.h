// The error that aglGetError reports, one a thread.
#pragma once

#include <EGL/egl.h>

#include "platform/agl.h"

namespace platform {

/// Remembers an error unless an earlier one is still unread. Returns GL_FALSE.
GLboolean AglFailure(GLenum error);
/// GL_TRUE for EGL_SUCCESS; else remembers AGL's counterpart of an EGL error.
GLboolean AglResult(EGLint eglError);

}  // namespace platform
