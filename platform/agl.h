// AGL: pixel formats, rendering contexts, pbuffers and drawables, with the part of the interface
// that the module uses. Implemented on EGL in platform/egl/.
//
// Handles are checked: a null, stale or foreign one makes the call return failure and leaves an
// error for aglGetError. Calls come from any thread, each thread having a current context of its
// own; a context is used by one thread at a time. GL_FALSE is failure throughout.
#pragma once

#include "platform/gl.h"
#include "platform/ports.h"

extern "C" {

/// What the pixels of a drawable are like. Lives as long as the process.
typedef struct OpaqueAGLPixelFormat* AGLPixelFormat;
/// A rendering context, until aglDestroyContext.
typedef struct OpaqueAGLContext* AGLContext;
/// An off-screen surface; goes with the last living context that it was set on.
typedef struct OpaqueAGLPbuffer* AGLPbuffer;
/// A window's port.
typedef CGrafPtr AGLDrawable;

/// Attributes of pixel formats, and options of contexts (the last two).
enum {
  AGL_NONE = 0,             ///< Ends a list.
  AGL_BUFFER_SIZE = 2,      ///< Bits of a colour; a number follows.
  AGL_RGBA = 4,             ///< Colours, no index into a palette.
  AGL_DOUBLEBUFFER = 5,     ///< A front and a back buffer.
  AGL_DEPTH_SIZE = 12,      ///< Bits of the depth buffer; a number follows.
  AGL_PIXEL_SIZE = 50,      ///< Bits of a pixel; a number follows.
  AGL_OFFSCREEN = 53,       ///< Accepted, without a meaning.
  AGL_ACCELERATED = 73,     ///< Accepted, without a meaning.
  AGL_BUFFER_RECT = 202,    ///< Accepted by aglEnable and aglSetInteger, without an effect.
  AGL_SWAP_INTERVAL = 222,  ///< Vertical retraces a frame, for aglSetInteger.
};

/// Errors of aglGetError.
enum {
  AGL_NO_ERROR = 0,           ///< All went well.
  AGL_BAD_ATTRIBUTE = 10000,  ///< An attribute of pixel formats that there is not.
  AGL_BAD_PIXELFMT = 10002,   ///< No live pixel format, or none to be had.
  AGL_BAD_CONTEXT = 10004,    ///< No live context.
  AGL_BAD_DRAWABLE = 10005,   ///< No live port or pbuffer.
  AGL_BAD_STATE = 10007,      ///< Not now: the context is not current, for one.
  AGL_BAD_VALUE = 10008,      ///< A number that cannot be.
  AGL_BAD_MATCH = 10009,      ///< Context, format and drawable do not go together.
  AGL_BAD_ENUM = 10010,       ///< An option that there is not.
  AGL_BAD_POINTER = 10014,    ///< A null pointer.
  AGL_BAD_ALLOC = 10016,      ///< No memory, or the system refused.
};

/// The first error since the last call on this thread; reading clears it.
GLenum aglGetError(void);

/// Chooses a format from a list ended by AGL_NONE. Depth is a wish: the deepest format there is
/// serves when it cannot be met. Devices, and attributes without a meaning here (acceleration, an
/// off-screen format), are accepted; an unknown attribute gives null and AGL_BAD_ATTRIBUTE, a
/// negative number AGL_BAD_VALUE. Equal lists give the same object, which lives as long as the
/// process and need not be released.
AGLPixelFormat aglChoosePixelFormat(const void* devices, GLint deviceCount,
                                    const GLint* attributes);
/// Reads AGL_DEPTH_SIZE, AGL_BUFFER_SIZE, AGL_RGBA or AGL_DOUBLEBUFFER of a format.
GLboolean aglDescribePixelFormat(AGLPixelFormat format, GLint attribute, GLint* value);

/// A context that shares its objects with `share`, which may be null. Desktop GL, compatibility
/// profile. Null on failure.
AGLContext aglCreateContext(AGLPixelFormat format, AGLContext share);
/// Destroys a context, and with it the pbuffers that were set on it and on no other living context.
GLboolean aglDestroyContext(AGLContext context);
/// Makes a context current on the drawable that was set on it; null makes none current. A context
/// that is current on its drawable already is not bound anew: no flush.
GLboolean aglSetCurrentContext(AGLContext context);
/// The context that is current on this thread; null when there is none of AGL's.
AGLContext aglGetCurrentContext(void);

/// Binds a window's port to a context; takes effect at once when the context is current. A window
/// on a screen takes contexts of double-buffered formats; others may fail with AGL_BAD_MATCH.
GLboolean aglSetDrawable(AGLContext context, AGLDrawable drawable);
/// Makes an off-screen surface. Target, internal format and levels are accepted and have no
/// meaning. Fails with AGL_BAD_VALUE when a side is not positive or too long to be drawn to its
/// end.
GLboolean aglCreatePBuffer(GLint width, GLint height, GLenum target, GLenum internalFormat,
                           long maxLevel, AGLPbuffer* pbuffer);
/// Binds a pbuffer to a context; takes effect at once when the context is current. The last three
/// arguments have no meaning.
GLboolean aglSetPBuffer(AGLContext context, AGLPbuffer pbuffer, GLint face, GLint level,
                        GLint screen);
/// 0: there is one screen. A dead handle leaves an error.
GLint aglGetVirtualScreen(AGLContext context);

/// Shows the back buffer of the context's window. The next frame begins with undefined pixels.
void aglSwapBuffers(AGLContext context);
/// Fits the context to its drawable after that changed its size.
GLboolean aglUpdateContext(AGLContext context);
/// Switches an option on.
GLboolean aglEnable(AGLContext context, GLenum pname);
/// AGL_BUFFER_RECT takes {x, y, width, height} of a view, with the origin at the lower left of the
/// frame window that it lies in. It has no effect: a view is a window of its own, whose port is as
/// large as the view. AGL_SWAP_INTERVAL takes one number of vertical retraces.
GLboolean aglSetInteger(AGLContext context, GLenum pname, const GLint* values);

/// Fills display lists `base` to `base + count - 1` of the current context with the bitmaps of the
/// characters `first` to `first + count - 1` (Latin-1), `size` pixels high, each list moving the
/// raster position on by the character's advance. All families are the system's sans-serif font;
/// bit 0 of the style is bold, bit 1 italic. The context has to be current, else AGL_BAD_STATE.
/// Where there is no font the lists are empty; that is no failure.
GLboolean aglUseFont(AGLContext context, GLint family, GLint style, GLint size, GLint first,
                     GLint count, GLint base);
}
