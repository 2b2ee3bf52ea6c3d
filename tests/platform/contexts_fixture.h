// Contexts and pixels for the tests of the platform layer, and what their GL binding cost.
#pragma once

#include <gtest/gtest.h>

#include <array>

#include "platform/agl.h"
#include "platform/platform.h"

/// Calls of eglMakeCurrent in this process so far.
int MakeCurrentCalls();
/// Lets eglMakeCurrent refuse every context, while it lives.
class RefuseMakeCurrent {
 public:
  RefuseMakeCurrent();
  RefuseMakeCurrent(const RefuseMakeCurrent&) = delete;
  RefuseMakeCurrent& operator=(const RefuseMakeCurrent&) = delete;
  ~RefuseMakeCurrent();
};

using Rgb = std::array<int, 3>;
inline constexpr Rgb kRed{255, 0, 0};
inline constexpr Rgb kGreen{0, 255, 0};
inline constexpr Rgb kBlack{0, 0, 0};

/// A context that the fixture destroys, unless the test does.
AGLContext MakeContext(int depthBits = 32, AGLContext share = nullptr);
AGLPbuffer MakePbuffer(int width, int height);
/// The same, current with a pbuffer of that size.
AGLContext MakeCurrentContext(int width = 4, int height = 4, int depthBits = 32);
/// That a call failed, and that this is the error.
void ExpectError(GLboolean result, GLenum error);
/// Fills a rectangle of the current drawable; the origin is at the lower left.
void Fill(int x, int y, int width, int height, const Rgb& color);
Rgb PixelAt(int x, int y);

/// Ends with no context current, no error pending and no object of the layer left over.
class PlatformTest : public testing::Test {
 protected:
  void TearDown() override;
};
