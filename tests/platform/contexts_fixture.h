// Contexts and pixels for the tests of the platform layer, and what their GL binding cost.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <utility>
#include <vector>

#include "platform/agl.h"
#include "platform/platform.h"

/// Calls of eglMakeCurrent in this process so far, and whether it refuses every context.
inline int g_makeCurrentCalls = 0;
inline bool g_refusesMakeCurrent = false;
/// Contexts that the fixture destroys.
inline std::vector<AGLContext> g_made;

using Rgb = std::array<int, 3>;
inline constexpr Rgb kRed{255, 0, 0};
inline constexpr Rgb kGreen{0, 255, 0};
inline constexpr Rgb kBlack{0, 0, 0};

/// A context that the fixture destroys, unless the test does.
inline AGLContext MakeContext(int depthBits = 32, AGLContext share = nullptr) {
  const GLint attributes[] = {AGL_RGBA, AGL_DEPTH_SIZE, depthBits, AGL_NONE};
  const AGLContext context = aglCreateContext(aglChoosePixelFormat(nullptr, 0, attributes), share);
  EXPECT_NE(context, nullptr) << platform::DescribeDisplay().reason;
  return g_made.emplace_back(context);
}

inline AGLPbuffer MakePbuffer(int width, int height) {
  AGLPbuffer pbuffer = nullptr;
  EXPECT_TRUE(aglCreatePBuffer(width, height, GL_TEXTURE_RECTANGLE_EXT, GL_RGBA, 0, &pbuffer));
  return pbuffer;
}

/// The same, current with a pbuffer of that size.
inline AGLContext MakeCurrentContext(int width = 4, int height = 4, int depthBits = 32) {
  const AGLContext context = MakeContext(depthBits);
  EXPECT_TRUE(aglSetPBuffer(context, MakePbuffer(width, height), 0, 0, 0));
  EXPECT_TRUE(aglSetCurrentContext(context));
  return context;
}

/// That a call failed, and that this is the error.
inline void ExpectError(GLboolean result, GLenum error) {
  EXPECT_FALSE(result);
  EXPECT_EQ(aglGetError(), error);
}

/// Fills a rectangle of the current drawable; the origin is at the lower left.
inline void Fill(int x, int y, int width, int height, const Rgb& color) {
  glEnable(GL_SCISSOR_TEST);
  glScissor(x, y, width, height);
  glClearColor(static_cast<float>(color[0]) / 255, static_cast<float>(color[1]) / 255,
               static_cast<float>(color[2]) / 255, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
}

inline Rgb PixelAt(int x, int y) {
  GLubyte pixel[3] = {1, 2, 3};
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGB, GL_UNSIGNED_BYTE, pixel);
  return {pixel[0], pixel[1], pixel[2]};
}

/// Ends with no context current, no error pending and no object of the layer left over.
class PlatformTest : public testing::Test {
 protected:
  void TearDown() override {
    aglSetCurrentContext(nullptr);
    EXPECT_EQ(aglGetError(), static_cast<GLenum>(AGL_NO_ERROR));
    for (const AGLContext context : std::exchange(g_made, {})) aglDestroyContext(context);
    aglGetError();  // of those that the test has destroyed
    const platform::HandleCounts left = platform::CountHandles();
    EXPECT_EQ(left.contexts + left.pbuffers + left.windows + left.deviceContexts, 0);
  }
};
