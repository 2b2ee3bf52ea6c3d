// Drawing tests: an off-screen target with the module's own classes behind it, and shorthand for
// what hosts draw.
#pragma once

#include <initializer_list>
#include <string>

#include "host/VornPoly.h"
#include "tests/support/driver_fixture.h"
#include "texture/GL3Texture.h"

/// A driver and a black target with depth buffer, scene projection and current context. Nothing
/// about it is even, so that what is exchanged or forgotten shows: the picture is oblong, a view
/// unit has another width than height, the view's origin is off the middle, and there is ambient
/// light. Positions are in view units, y up, from -36 to 28 both ways.
class DrawingFixture : public DriverFixture {
 protected:
  static constexpr int kWidth = 80, kHeight = 48;             // pixels
  static constexpr float kScaleX = 1.25f, kScaleY = 0.75f;    // pixels a view unit
  static constexpr float kOriginX = 45.0f, kOriginY = 21.0f;  // pixels from the left and the top
  static constexpr float kAmbient = 0.25f;                    // of the scene

  void SetUp() override;
  void TearDown() override;

  OffscreenTarget& Target() { return *m_target; }
  RenderInfo& Info() { return m_target->info; }
  GL3GABuffer& Buffer() { return *m_target->buffer; }
  GL3DisplayList& List() { return *m_target->list; }

 private:
  std::unique_ptr<OffscreenTarget> m_target;
};

/// A material without highlight and ambient light of its own. Under the headlight a channel that is
/// 0 or 1 shows so, whatever the scene's ambient light; that is part of its ambient colour.
AttrProperty Material(float red, float green, float blue, float transparency = 0);

/// A vertex that faces the viewer, under the winding rule of the module.
GAVertex Facing(float x, float y, float z, float u = 0, float v = 0);

/// A vertex in which every value differs, also from those of other numbers (below 10): position
/// (n, 10 + n, -20 - n), normal (30 + n, …), texture coordinates (60 + n, 70 + n).
GAVertex Numbered(int number);
/// What GlRecorder::kVertices tells of numbered vertices that were drawn: ", {(…), (…)}", each
/// with position, normal and, when asked for, texture coordinates.
std::string NumberedText(std::initializer_list<int> numbers, bool textured);

/// The calls of an indexed draw (see CallsIn) whose vertices hold one member after the other: v
/// position, n normal, t texture coordinates, c colour. `draw` are the arguments of glDrawElements.
std::string IndexedDraw(const std::string& members, int stride, const std::string& draw);

/// A square around (x, y) as the quad adders take it: lower left, lower right, upper left, upper
/// right, counter-clockwise as they use it, with texture coordinates from 0 (left, top) to 1.
std::array<GAVertex, 4> Square(float x, float y, float half, float z);

/// A counter-clockwise triangle that covers the middle, in one colour.
VornPoly Polygon(const GAColor& color, float z, float depthKey = 0);

/// A 4 x 4 texture of one colour.
std::unique_ptr<GL3GATexture> SolidTexture(std::array<int, 4> rgba);

/// The call that binds a texture.
std::string Bind(const GL3GATexture& texture);

/// Host lights as a list, in order.
class LightList {
 public:
  explicit LightList(std::vector<GALight> lights);
  LightListNode* Head() { return m_nodes.data(); }

 private:
  std::vector<GALight> m_lights;
  std::vector<LightListNode> m_nodes;
};
