// Contexts, pbuffers and formats through AGL and CGL.
#include <EGL/egl.h>

#include <algorithm>
#include <thread>

#include "platform/cgl.h"
#include "platform/coregraphics.h"
#include "tests/platform/contexts_fixture.h"
#include "tests/support/common/replaced.h"
#include "tests/support/next_symbol.h"

// In front of the library's own.
extern "C" EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                                     EGLContext context) {
  static auto* const real = NextSymbol<decltype(eglMakeCurrent)>("eglMakeCurrent");
  g_makeCurrentCalls++;
  if (g_refusesMakeCurrent && context != EGL_NO_CONTEXT) return EGL_FALSE;
  return real(display, draw, read, context);
}

namespace {

using Contexts = PlatformTest;

TEST_F(Contexts, BindingWhatIsBoundCallsNoEgl) {
  const AGLContext context = MakeContext();
  const AGLPbuffer first = MakePbuffer(8, 8), second = MakePbuffer(8, 8);
  int calls = g_makeCurrentCalls;
  EXPECT_TRUE(aglSetPBuffer(context, first, 0, 0, 0));
  EXPECT_EQ(g_makeCurrentCalls, calls) << "a context that is not current is left alone";
  EXPECT_TRUE(aglSetCurrentContext(context));
  EXPECT_EQ(g_makeCurrentCalls, ++calls);
  for (int i = 0; i < 3; i++) {
    EXPECT_TRUE(aglSetPBuffer(context, first, 0, 0, aglGetVirtualScreen(context)));
    EXPECT_TRUE(aglSetCurrentContext(context));
    EXPECT_TRUE(aglUpdateContext(context));
  }
  EXPECT_EQ(g_makeCurrentCalls, calls);

  Fill(0, 0, 8, 8, kRed);
  EXPECT_TRUE(aglSetPBuffer(context, second, 0, 0, 0));
  EXPECT_EQ(g_makeCurrentCalls, ++calls) << "another surface is bound at once";
  Fill(0, 0, 8, 8, kGreen);
  EXPECT_TRUE(aglSetPBuffer(context, first, 0, 0, 0));
  EXPECT_EQ(PixelAt(1, 1), kRed);

  aglSetCurrentContext(nullptr);
  EXPECT_TRUE(aglSetCurrentContext(context));
  EXPECT_EQ(PixelAt(1, 1), kRed) << "a surface keeps its pixels while nothing is current";
  EXPECT_TRUE(aglDestroyContext(context));
  EXPECT_EQ(aglGetCurrentContext(), nullptr);
}

TEST_F(Contexts, BadHandlesGiveErrorsAndChangeNothing) {
  const AGLContext stale = MakeContext();
  EXPECT_TRUE(aglDestroyContext(stale));
  ExpectError(aglDestroyContext(stale), AGL_BAD_CONTEXT);
  const AGLContext context = MakeContext();  // takes the stale one's place in the table
  ASSERT_NE(context, stale);
  const AGLPbuffer pbuffer = MakePbuffer(4, 4);
  ASSERT_TRUE(aglSetPBuffer(context, pbuffer, 0, 0, 0));
  ASSERT_TRUE(aglSetCurrentContext(context));

  int object = 0;
  for (void* bad : {static_cast<void*>(nullptr), static_cast<void*>(stale),
                    static_cast<void*>(pbuffer), static_cast<void*>(&object)}) {
    const auto badContext = static_cast<AGLContext>(bad);
    const GLint rect[4] = {0, 0, 1, 1};
    ExpectError(aglSetPBuffer(badContext, pbuffer, 0, 0, 0), AGL_BAD_CONTEXT);
    ExpectError(aglSetDrawable(badContext, nullptr), AGL_BAD_CONTEXT);
    ExpectError(aglUpdateContext(badContext), AGL_BAD_CONTEXT);
    ExpectError(aglEnable(badContext, AGL_BUFFER_RECT), AGL_BAD_CONTEXT);
    ExpectError(aglSetInteger(badContext, AGL_BUFFER_RECT, rect), AGL_BAD_CONTEXT);
    ExpectError(aglUseFont(badContext, 3, 0, 10, 0, 256, 1), AGL_BAD_CONTEXT);
    aglSwapBuffers(badContext);
    ExpectError(GL_FALSE, AGL_BAD_CONTEXT);
    EXPECT_EQ(CGLEnable(static_cast<CGLContextObj>(bad), kCGLCEMPEngine), kCGLBadContext);
    if (!bad) continue;
    ExpectError(aglSetCurrentContext(badContext), AGL_BAD_CONTEXT);
    EXPECT_EQ(CGLSetCurrentContext(static_cast<CGLContextObj>(bad)), kCGLBadContext);
    EXPECT_EQ(CGLDestroyContext(static_cast<CGLContextObj>(bad)), kCGLBadContext);
    EXPECT_EQ(aglGetCurrentContext(), context);
  }
  ExpectError(aglSetPBuffer(context, nullptr, 0, 0, 0), AGL_BAD_DRAWABLE);
  ExpectError(aglSetPBuffer(context, reinterpret_cast<AGLPbuffer>(context), 0, 0, 0),
              AGL_BAD_DRAWABLE);
  ExpectError(aglSetDrawable(context, reinterpret_cast<AGLDrawable>(pbuffer)), AGL_BAD_DRAWABLE);
  EXPECT_EQ(aglCreateContext(reinterpret_cast<AGLPixelFormat>(context), nullptr), nullptr);
  ExpectError(GL_FALSE, AGL_BAD_PIXELFMT);
  EXPECT_EQ(GetPortPixMap(reinterpret_cast<CGrafPtr>(pbuffer)), nullptr);
  ExpectError(aglEnable(context, 12345), AGL_BAD_ENUM);
  Fill(0, 0, 4, 4, kGreen);
  EXPECT_EQ(PixelAt(2, 2), kGreen) << "the drawable is still set";
}

TEST_F(Contexts, ShareObjectsOnlyWithThoseTheyWereMadeWith) {
  const AGLContext driver = MakeContext();
  const AGLContext sharing = MakeContext(0, driver);
  const AGLContext alone = MakeContext();
  ASSERT_TRUE(aglSetCurrentContext(driver));
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glFlush();
  ASSERT_TRUE(aglSetCurrentContext(sharing));
  EXPECT_TRUE(glIsTexture(texture));
  ASSERT_TRUE(aglSetCurrentContext(alone));
  EXPECT_FALSE(glIsTexture(texture));
}

TEST_F(Contexts, PbufferDiesWithTheLastContextItWasSetOn) {
  const AGLContext first = MakeContext(32);
  const AGLContext second = MakeContext(0, first);  // a surface of another config is needed
  const AGLPbuffer pbuffer = MakePbuffer(4, 4);
  ASSERT_TRUE(aglSetPBuffer(first, pbuffer, 0, 0, 0));
  ASSERT_TRUE(aglSetCurrentContext(first));
  ASSERT_TRUE(aglSetPBuffer(second, pbuffer, 0, 0, 0));
  EXPECT_TRUE(aglDestroyContext(second));
  EXPECT_EQ(platform::CountHandles().pbuffers, 1);
  Fill(0, 0, 4, 4, kRed);
  EXPECT_EQ(PixelAt(0, 0), kRed);
  EXPECT_TRUE(aglDestroyContext(first));
  EXPECT_EQ(platform::CountHandles().pbuffers, 0);
  ExpectError(aglSetPBuffer(MakeContext(), pbuffer, 0, 0, 0), AGL_BAD_DRAWABLE);
}

TEST_F(Contexts, PbuffersReachTheLimitAndNotBeyond) {
  AGLPbuffer pbuffer = nullptr;
  const int limit = platform::MaxPbufferSize();
  ASSERT_GE(limit, 2048);
  for (const auto& [width, height] : {std::pair(0, 8), {8, -1}, {limit + 1, 1}, {1, limit + 1}}) {
    ExpectError(aglCreatePBuffer(width, height, 0, 0, 0, &pbuffer), AGL_BAD_VALUE);
    EXPECT_EQ(pbuffer, nullptr);
  }
  MakeCurrentContext(limit, 2);
  glViewport(0, 0, limit, 2);
  Fill(0, 0, limit, 2, kBlack);
  glColor3f(0, 1, 0);
  glRectf(-1, -1, 1, 1);
  EXPECT_EQ(PixelAt(0, 0), kGreen);
  EXPECT_EQ(PixelAt(limit - 1, 1), kGreen);
}

TEST_F(Contexts, CglRestoresAnAglContextWithItsDrawable) {
  const AGLContext context = MakeCurrentContext();
  Fill(0, 0, 4, 4, kGreen);
  const CGLContextObj before = CGLGetCurrentContext();
  ASSERT_NE(before, nullptr);
  EXPECT_EQ(CGLEnable(before, kCGLCEMPEngine), kCGLNoError);

  const int mask = static_cast<int>(CGDisplayIDToOpenGLDisplayMask(CGMainDisplayID()));
  const CGLPixelFormatAttribute attributes[] = {kCGLPFADisplayMask, mask, kCGLPFAColorSize, 24,
                                                kCGLPFAAccelerated, 0};
  CGLPixelFormatObj format = nullptr;
  int count = 0;
  ASSERT_EQ(CGLChoosePixelFormat(attributes, &format, &count), kCGLNoError);
  EXPECT_EQ(count, 1);
  CGLContextObj probe = nullptr;
  ASSERT_EQ(CGLCreateContext(format, nullptr, &probe), kCGLNoError);
  EXPECT_EQ(CGLDestroyPixelFormat(format), kCGLNoError);
  EXPECT_EQ(CGLDestroyPixelFormat(format), kCGLBadPixelFormat);
  ASSERT_EQ(CGLSetCurrentContext(probe), kCGLNoError);
  EXPECT_NE(platform::CurrentVersion(), "");
  glClear(GL_COLOR_BUFFER_BIT);  // draws nowhere
  EXPECT_EQ(CGLDestroyContext(probe), kCGLNoError);
  EXPECT_EQ(CGLGetCurrentContext(), nullptr);
  EXPECT_EQ(CGLSetCurrentContext(before), kCGLNoError);
  EXPECT_EQ(aglGetCurrentContext(), context);
  EXPECT_EQ(PixelAt(3, 3), kGreen);

  const CGLPixelFormatAttribute otherDisplay[] = {kCGLPFADisplayMask, mask << 1, 0};
  EXPECT_NE(CGLChoosePixelFormat(otherDisplay, &format, &count), kCGLNoError);
  EXPECT_EQ(format, nullptr);
  EXPECT_EQ(CGLCreateContext(format, nullptr, &probe), kCGLBadPixelFormat);
  EXPECT_EQ(CGLDestroyContext(nullptr), kCGLNoError);
}

TEST_F(Contexts, DepthIsAWishAndSamplesComeUnaskedToNobody) {
  for (const int wish : {0, 16, 32}) {
    MakeCurrentContext(4, 4, wish);
    GLint depth = -1, samples = -1, alpha = -1;
    glGetIntegerv(GL_DEPTH_BITS, &depth);
    glGetIntegerv(GL_SAMPLES, &samples);
    glGetIntegerv(GL_ALPHA_BITS, &alpha);
    if (wish == 0) {
      EXPECT_EQ(depth, 0);
    }
    EXPECT_GE(depth, std::min(wish, 24));
    EXPECT_EQ(samples, 0);
    EXPECT_EQ(alpha, 8);
  }
}

TEST_F(Contexts, EqualAttributeListsHaveOneFormat) {
  const GLint attributes[] = {AGL_DEPTH_SIZE, 32, AGL_DOUBLEBUFFER, AGL_RGBA, AGL_ACCELERATED, 0};
  const AGLPixelFormat format = aglChoosePixelFormat(nullptr, 0, attributes);
  ASSERT_NE(format, nullptr);
  for (int i = 0; i < 1000; i++) EXPECT_EQ(aglChoosePixelFormat(nullptr, 0, attributes), format);
  GLint value = 0;
  EXPECT_TRUE(aglDescribePixelFormat(format, AGL_BUFFER_SIZE, &value));
  EXPECT_EQ(value, 32);
  EXPECT_TRUE(aglDescribePixelFormat(format, AGL_DOUBLEBUFFER, &value));
  EXPECT_EQ(value, 1);
  const GLint unknown[] = {AGL_RGBA, 4711, AGL_NONE};
  EXPECT_EQ(aglChoosePixelFormat(nullptr, 0, unknown), nullptr);
  ExpectError(GL_FALSE, AGL_BAD_ATTRIBUTE);
}

TEST_F(Contexts, NothingIsCurrentWhenBindingFails) {
  const AGLContext good = MakeContext();
  const AGLContext refused = MakeContext();
  ASSERT_TRUE(aglSetCurrentContext(good));
  {
    const Replaced<bool> refuses(g_refusesMakeCurrent, true);
    EXPECT_FALSE(aglSetCurrentContext(refused));
  }
  EXPECT_NE(aglGetError(), static_cast<GLenum>(AGL_NO_ERROR));
  EXPECT_EQ(aglGetCurrentContext(), nullptr);
  EXPECT_EQ(platform::CurrentRenderer(), "");
  Fill(0, 0, 1, 1, kRed);  // GL calls do nothing, and do not crash
  EXPECT_TRUE(aglSetCurrentContext(good));
}

TEST_F(Contexts, AThreadThatEndsLetsGoOfItsContext) {
  const AGLContext context = MakeContext();
  ASSERT_TRUE(aglSetPBuffer(context, MakePbuffer(4, 4), 0, 0, 0));
  std::thread([&] {
    EXPECT_TRUE(aglSetCurrentContext(context));
    Fill(0, 0, 4, 4, kRed);
  }).join();
  EXPECT_EQ(aglGetCurrentContext(), nullptr);
  EXPECT_TRUE(aglSetCurrentContext(context));
  EXPECT_EQ(PixelAt(0, 0), kRed);
}

}  // namespace
