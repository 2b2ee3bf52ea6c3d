// A throw-away GL context for asking the GL what it can do.
#include "driver/ProbeContext.h"

#include <initializer_list>

#include "platform/coregraphics.h"

namespace {

const CGDirectDisplayID display = CGMainDisplayID();
const CGOpenGLDisplayMask myDisplayMask = CGDisplayIDToOpenGLDisplayMask(display);

}  // namespace

ProbeContext::Result ProbeContext::Open(Samples samples) {
  const auto mask = static_cast<CGLPixelFormatAttribute>(myDisplayMask);
  // The first 0 ends a list. It stands here when no multisampling is asked for.
  const CGLPixelFormatAttribute multisampling =
      samples == Samples::kFour ? CGLPixelFormatAttribute{kCGLPFAMinimumPolicy} : 0;
  const CGLPixelFormatAttribute wanted[] = {kCGLPFADisplayMask,
                                            mask,
                                            kCGLPFAColorSize,
                                            24,
                                            kCGLPFAAlphaSize,
                                            8,
                                            kCGLPFAAccelerated,
                                            kCGLPFADoubleBuffer,
                                            multisampling,
                                            kCGLPFASampleBuffers,
                                            1,
                                            kCGLPFASamples,
                                            4,
                                            0};
  const CGLPixelFormatAttribute fallback[] = {kCGLPFADisplayMask, mask, 0};
  CGLPixelFormatObj format = nullptr;
  for (const CGLPixelFormatAttribute* list : {wanted, fallback}) {
    int count = 0;
    CGLChoosePixelFormat(list, &format, &count);
    if (format) break;
  }
  if (!format) return Result::kNoFormat;
  CGLCreateContext(format, nullptr, &m_context);
  CGLDestroyPixelFormat(format);
  CGLSetCurrentContext(m_context);
  return m_context ? Result::kReady : Result::kNoContext;
}
