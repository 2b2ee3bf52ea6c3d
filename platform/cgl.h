// CGL: contexts without a drawable, and the current context. A context made through AGL is current
// here too, and can be restored through CGLSetCurrentContext together with its drawable.
#pragma once

extern "C" {

/// What the pixels of a context are like, until CGLDestroyPixelFormat.
typedef struct OpaqueCGLPixelFormat* CGLPixelFormatObj;
/// A rendering context, until CGLDestroyContext.
typedef struct OpaqueCGLContext* CGLContextObj;
/// One of the attributes below, or the number that follows it.
typedef int CGLPixelFormatAttribute;

/// Attributes of pixel formats.
enum {
  kCGLPFADoubleBuffer = 5,    ///< A front and a back buffer.
  kCGLPFAColorSize = 8,       ///< Bits of a colour; a number follows, which is not looked at.
  kCGLPFAAlphaSize = 11,      ///< Bits of alpha; a number follows, which is not looked at.
  kCGLPFAMinimumPolicy = 51,  ///< Accepted, without a meaning.
  kCGLPFASampleBuffers = 55,  ///< A number follows, which is not looked at.
  kCGLPFASamples = 56,        ///< Samples a pixel; a number follows.
  kCGLPFAAccelerated = 73,    ///< Accepted, without a meaning.
  kCGLPFADisplayMask = 84,    ///< Displays, a bit each; a number follows.
};

/// Options of contexts.
typedef enum CGLContextEnable {
  kCGLCEMPEngine = 313  ///< A driver with threads of its own.
} CGLContextEnable;

/// Errors.
typedef enum CGLError {
  kCGLNoError = 0,             ///< All went well.
  kCGLBadAttribute = 10000,    ///< An attribute that there is not.
  kCGLBadPixelFormat = 10002,  ///< No live pixel format, or none to be had.
  kCGLBadContext = 10004,      ///< No live context.
  kCGLBadMatch = 10009,        ///< Format and context to share with do not go together.
  kCGLBadAddress = 10014,      ///< A null pointer.
  kCGLBadAlloc = 10016,        ///< No memory, or the system refused.
} CGLError;

/// Chooses a format from a list ended by 0. On failure `*format` is null and `*count` 0.
CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes, CGLPixelFormatObj* format,
                              int* count);
/// Releases a format. Contexts made with it live on.
CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format);
/// A context without a drawable, that shares its objects with `share`, which may be null. On
/// failure
/// `*context` is null.
CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj* context);
/// Destroys a context, making none current first when it is the current one. Null is harmless.
CGLError CGLDestroyContext(CGLContextObj context);
/// Makes a context current on this thread; null makes none current.
CGLError CGLSetCurrentContext(CGLContextObj context);
/// The context that is current on this thread, one of AGL's too; null when there is none.
CGLContextObj CGLGetCurrentContext(void);
/// kCGLCEMPEngine asks for a driver that works in threads of its own. The wish is accepted and
/// changes nothing.
CGLError CGLEnable(CGLContextObj context, CGLContextEnable option);
}
