// OpenGL with its extension entry points. The one place that includes the GL headers, since GLEW
// must come before them.
#pragma once

#include <GL/glew.h>

#ifndef GL_TEXTURE_RECTANGLE_EXT
/// Target of rectangular textures, which AGL's pbuffers are asked for.
#define GL_TEXTURE_RECTANGLE_EXT 0x84F5
#endif

/// Loads GLEW's entry points for the current context. Returns 0 for success, else glewInit's error.
/// Debian's GLEW asks GLX for its version after it has loaded everything, and fails there under
/// EGL: that one error is success when the entry points of the context's GL version are in place.
unsigned int InitializeGlew();
