// CGL on EGL: formats, contexts without a drawable, and the current context.
#include "platform/cgl.h"

#include <memory>
#include <optional>
#include <utility>

#include "platform/coregraphics.h"
#include "platform/egl/context.h"
#include "platform/egl/handle_table.h"
#include "platform/egl/pixel_format.h"

using namespace platform;

namespace {

HandleTable<PixelFormat, HandleKind::kCglFormat>& CglFormats() {
  static auto* const table = new HandleTable<PixelFormat, HandleKind::kCglFormat>;
  return *table;
}

/// Reads an attribute list ended by 0.
CGLError ParseAttributes(const CGLPixelFormatAttribute* attributes, PixelWish& wish) {
  const CGOpenGLDisplayMask mask = CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID());
  for (const CGLPixelFormatAttribute* at = attributes; *at != 0; at++) {
    switch (*at) {
      case kCGLPFADoubleBuffer:
        wish.doubleBuffer = true;
        break;
      case kCGLPFASamples:
        wish.samples = *++at;
        break;
      case kCGLPFADisplayMask:
        if ((static_cast<CGOpenGLDisplayMask>(*++at) & mask) == 0) return kCGLBadPixelFormat;
        break;
      case kCGLPFAColorSize:
      case kCGLPFAAlphaSize:
      case kCGLPFASampleBuffers:
        at++;
        break;
      case kCGLPFAMinimumPolicy:
      case kCGLPFAAccelerated:
        break;
      default:
        return kCGLBadAttribute;
    }
  }
  return wish.samples < 0 ? kCGLBadAttribute : kCGLNoError;
}

}  // namespace

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes, CGLPixelFormatObj* format,
                              int* count) {
  if (format) *format = nullptr;
  if (count) *count = 0;
  if (!attributes || !format || !count) return kCGLBadAddress;
  PixelWish wish;
  const CGLError problem = ParseAttributes(attributes, wish);
  if (problem != kCGLNoError) return problem;
  const std::optional<PixelFormat> chosen = ChoosePixelFormat(wish);
  if (!chosen) return kCGLBadPixelFormat;
  *format =
      static_cast<CGLPixelFormatObj>(CglFormats().Add(std::make_shared<PixelFormat>(*chosen)));
  if (!*format) return kCGLBadAlloc;
  *count = 1;
  return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj format) {
  return CglFormats().Remove(format) ? kCGLNoError : kCGLBadPixelFormat;
}

CGLError CGLCreateContext(CGLPixelFormatObj format, CGLContextObj share, CGLContextObj* context) {
  if (!context) return kCGLBadAddress;
  *context = nullptr;
  const std::shared_ptr<PixelFormat> found = CglFormats().Get(format);
  if (!found) return kCGLBadPixelFormat;
  const std::shared_ptr<Context> shared = Contexts().Get(share);
  if (share && !shared) return kCGLBadContext;
  EGLint error = EGL_SUCCESS;
  std::shared_ptr<Context> made = Context::Make(*found, shared.get(), error);
  if (!made) return error == EGL_BAD_MATCH ? kCGLBadMatch : kCGLBadAlloc;
  *context = static_cast<CGLContextObj>(Contexts().Add(std::move(made)));
  return *context ? kCGLNoError : kCGLBadAlloc;
}

CGLError CGLDestroyContext(CGLContextObj context) {
  return !context || DestroyContext(context) ? kCGLNoError : kCGLBadContext;
}

CGLError CGLSetCurrentContext(CGLContextObj context) {
  if (!context) {
    MakeNoneCurrent();
    return kCGLNoError;
  }
  const std::shared_ptr<Context> found = Contexts().Get(context);
  if (!found) return kCGLBadContext;
  return MakeCurrent(context, *found) == EGL_SUCCESS ? kCGLNoError : kCGLBadContext;
}

CGLContextObj CGLGetCurrentContext(void) {
  return static_cast<CGLContextObj>(CurrentContextHandle());
}

CGLError CGLEnable(CGLContextObj context, CGLContextEnable option) {
  if (!Contexts().Get(context)) return kCGLBadContext;
  return option == kCGLCEMPEngine ? kCGLNoError : kCGLBadAttribute;
}
