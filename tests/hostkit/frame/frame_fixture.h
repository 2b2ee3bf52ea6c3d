// Frames drawn through the module, for tests that look at their pixels, and shapes to draw.
#pragma once

#include <gtest/gtest.h>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <memory>
#include <vector>

#include "hostkit/frame/frame_renderer.h"
#include "hostkit/services/module_loader.h"

struct Pixel {
  float red = 0, green = 0, blue = 0, alpha = 0;
};

/// A pixel of a picture's colours.
Pixel At(const hostkit::Picture& picture, int x, int y);

/// How many pixels of two pictures have colours that are farther apart.
int Different(const hostkit::Picture& a, const hostkit::Picture& b, float than);

hostkit::SceneMaterial Material(float red, float green, float blue, float transparency = 0);

/// A square of side 2 around the origin that faces +z.
hostkit::SceneMesh Square(int material);
/// Of radius 1 around the origin, closed.
hostkit::SceneMesh Sphere(int material, int rings = 48);

/// Places a mesh in the scene.
void Add(hostkit::Scene& scene, hostkit::SceneMesh mesh, const Imath::M44f& toWorld = {});

/// A scene of these materials with one mesh in it.
hostkit::Scene SceneOf(std::vector<hostkit::SceneMaterial> materials, hostkit::SceneMesh mesh,
                       const Imath::M44f& toWorld = {});

/// A translation.
Imath::M44f At(float x, float y, float z);

/// From z = 10 down the z axis, four units high, parallel: a pixel of a 80 x 80 frame is 0.05.
hostkit::View FrontView(float fromZ = 10);

/// In perspective from (0, 0, z) down the z axis.
hostkit::View EyeView(float z, float nearDistance, float farDistance);

/// Puts a picture on the scene's first material.
void PutPicture(hostkit::Scene& scene, hostkit::BitmapPtr bitmap);

/// The largest side of surfaces that renderers find, 8192 at each test's start.
extern int g_maxSurface;

/// The module with its driver, and frames of 80 x 80 pixels on blue with a headlight.
class Frames : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite() { s_module.reset(); }
  void SetUp() override;
  void TearDown() override { g_maxSurface = 8192; }

  /// Draws two frames and hands out the second: nothing may be left over from the first.
  /// Throws when it cannot be drawn.
  hostkit::Picture Render(const hostkit::Scene& scene, const hostkit::View& view = FrontView());

  static inline std::unique_ptr<hostkit::LoadedModule> s_module;
  /// What glows goes in once more as it lies, after what can be seen through, and is lit by
  /// nothing: calls may be told to leave sides unlit.
  static inline bool s_mayBeUnlit = false;
  hostkit::FrameSettings m_settings;
};
