// Contexts and pixels for the tests of the platform layer.
#include "tests/platform/contexts_fixture.h"

#include <EGL/egl.h>

#include <utility>
#include <vector>

#include "tests/support/next_symbol.h"

namespace {
int g_makeCurrentCalls = 0;
bool g_refuse = false;
std::vector<AGLContext> g_made;
}  // namespace

// In front of the library's own.
extern "C" EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                                     EGLContext context) {
  static auto* const real = NextSymbol<decltype(eglMakeCurrent)>("eglMakeCurrent");
  g_makeCurrentCalls++;
  if (g_refuse && context != EGL_NO_CONTEXT) return EGL_FALSE;
  return real(display, draw, read, context);
}

int MakeCurrentCalls() {
  return g_makeCurrentCalls;
}
RefuseMakeCurrent::RefuseMakeCurrent() {
  g_refuse = true;
}
RefuseMakeCurrent::~RefuseMakeCurrent() {
  g_refuse = false;
}

AGLContext MakeContext(int depthBits, AGLContext share) {
  const GLint attributes[] = {AGL_RGBA, AGL_DEPTH_SIZE, depthBits, AGL_NONE};
  const AGLContext context = aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), share);
  EXPECT_NE(context, nullptr) << platform::DescribeDisplay().reason;
  g_made.push_back(context);
  return context;
}

AGLPbuffer MakePbuffer(int width, int height) {
  AGLPbuffer pbuffer = nullptr;
  EXPECT_TRUE(aglCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer));
  return pbuffer;
}

AGLContext MakeCurrentContext(int width, int height, int depthBits) {
  const AGLContext context = MakeContext(depthBits);
  EXPECT_TRUE(aglSetPBuffer(context, MakePbuffer(width, height), 0, 0, 0));
  EXPECT_TRUE(aglSetCurrentContext(context));
  return context;
}

void ExpectError(GLboolean result, GLenum error) {
  EXPECT_FALSE(result);
  EXPECT_EQ(aglGetError(), error);
}

void Fill(int x, int y, int width, int height, const Rgb& color) {
  glEnable(GL_SCISSOR_TEST);
  glScissor(x, y, width, height);
  glClearColor(static_cast<float>(color[0]) / 255, static_cast<float>(color[1]) / 255,
               static_cast<float>(color[2]) / 255, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
}

Rgb PixelAt(int x, int y) {
  GLubyte pixel[3] = {1, 2, 3};
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
  return {pixel[0], pixel[1], pixel[2]};
}

void PlatformTest::TearDown() {
  aglSetCurrentContext(nullptr);
  EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_NO_ERROR));
  for (const AGLContext context : std::exchange(g_made, {})) aglDestroyContext(context);
  aglGetError();  // of those that the test has destroyed
  const platform::HandleCounts left = platform::CountHandles();
  EXPECT_EQ(left.contexts + left.pbuffers + left.windows + left.deviceContexts, 0);
}
