// Drawing tests: an off-screen target with the module's own classes behind it, and shorthand for
// what hosts draw.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "buffer/GL3Buffer.h"
#include "displaylist/GL3DisplayL.h"
#include "host/VornPoly.h"
#include "tests/support/driver_fixture.h"
#include "texture/GL3Texture.h"

using Lines = std::vector<std::string>;

/// A driver and a black target of 64 x 64 pixels, with depth buffer, scene projection and current
/// context. Positions are in the target's view: pixels from the middle, y up.
class DrawingFixture : public DriverFixture {
 protected:
  static constexpr int kSize = 64;

  void SetUp() override;
  void TearDown() override;

  OffscreenTarget& Target() { return *m_target; }
  RenderInfo& Info() { return m_target->info; }
  GL3GABuffer& Buffer() { return static_cast<GL3GABuffer&>(*m_target->buffer); }
  GL3DisplayList& List() { return static_cast<GL3DisplayList&>(*m_target->list); }
  void ResetTarget() { m_target.reset(); }
  /// Red, green, blue at a place of the view.
  std::array<int, 3> ColorAt(int x, int y);

 private:
  std::unique_ptr<OffscreenTarget> m_target;
};

/// An opaque colour, 0 to 255 a channel; made without a driver, for members of fixtures.
GAColor Rgb(int red, int green, int blue);

/// A material without highlight and ambient light of its own: under the headlight it shows its
/// colour.
AttrProperty Material(float red, float green, float blue, float transparency = 0);

/// A vertex that faces the viewer, under the winding rule of the module.
GAVertex Facing(float x, float y, float z, float u = 0, float v = 0);

/// A square around (x, y) as the quad adders take it: lower left, lower right, upper left, upper
/// right, counter-clockwise as they use it, with texture coordinates from 0 (left, top) to 1.
std::array<GAVertex, 4> Square(float x, float y, float half, float z);

/// A counter-clockwise triangle that covers the middle, in one colour.
VornPoly Polygon(const GAColor& color, float z, float depthKey = 0);

/// A 4 x 4 texture of one colour.
std::unique_ptr<GL3GATexture> SolidTexture(std::array<int, 4> rgba);

/// Host lights as a list, in order.
class LightList {
 public:
  explicit LightList(std::vector<GALight> lights);
  LightListNode* Head() { return m_nodes.data(); }

 private:
  std::vector<GALight> m_lights;
  std::vector<LightListNode> m_nodes;
};

/// Channels that differ by one at most, as blending and rasterising round.
testing::AssertionResult Near(const std::array<int, 3>& actual, const std::array<int, 3>& wanted);
