// CGL: contexts without a drawable, and the current context. A context made through AGL is current
// here too, and can be restored through CGLSetCurrentContext together with its drawable.
#pragma once

extern "C" {

typedef struct OpaqueCGLPixelFormat* CGLPixelFormatObj;
typedef struct OpaqueCGLContext* CGLContextObj;
typedef int CGLPixelFormatAttribute;

enum {
  kCGLPFADoubleBuffer = 5,
  kCGLPFAColorSize = 8,
  kCGLPFAAlphaSize = 11,
  kCGLPFAMinimumPolicy = 51,
  kCGLPFASampleBuffers = 55,
  kCGLPFASamples = 56,
  kCGLPFAAccelerated = 73,
  kCGLPFADisplayMask = 84,
};

typedef enum CGLContextEnable { kCGLCEMPEngine = 313 } CGLContextEnable;

typedef enum CGLError {
  kCGLNoError = 0,
  kCGLBadAttribute = 10000,
  kCGLBadPixelFormat = 10002,
  kCGLBadContext = 10004,
  kCGLBadMatch = 10009,
  kCGLBadAddress = 10014,
  kCGLBadAlloc = 10016,
} CGLError;

/// Chooses a format from a list ended by 0. On failure `*format` is null and `*count` 0.
CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes, CGLPixelFormatObj* format,
                              int* count);
CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format);
/// On failure `*context` is null. `share` may be null.
CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj* context);
/// Destroys a context, making none current first when it is the current one. Null is harmless.
CGLError CGLDestroyContext(CGLContextObj context);
/// Null makes no context current.
CGLError CGLSetCurrentContext(CGLContextObj context);
CGLContextObj CGLGetCurrentContext(void);
/// kCGLCEMPEngine asks for a driver that works in threads of its own. The wish is accepted and
/// changes nothing.
CGLError CGLEnable(CGLContextObj context, CGLContextEnable option);
}
