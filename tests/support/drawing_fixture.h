// Drawing tests: an off-screen target with the module's own classes behind it, and shorthand for
// what hosts draw.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

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

  void SetUp() override {
    DriverFixture::SetUp();
    ASSERT_FALSE(HasFatalFailure());
    m_target = std::make_unique<OffscreenTarget>(Driver(), kWidth, kHeight);
    ASSERT_TRUE(m_target->ready);
    m_target->scene.ambientAmount = kAmbient;
    m_target->SetView(kScaleX, kScaleY, kOriginX, kOriginY);
    m_target->Begin();
  }
  void TearDown() override {
    m_target.reset();
    DriverFixture::TearDown();
  }

  OffscreenTarget& Target() { return *m_target; }
  RenderInfo& Info() { return m_target->info; }
  GL3GABuffer& Buffer() { return *m_target->buffer; }
  GL3DisplayList& List() { return *m_target->list; }

 private:
  std::unique_ptr<OffscreenTarget> m_target;
};

/// A material without highlight and ambient light of its own. Under the headlight a channel that is
/// 0 or 1 shows so, whatever the scene's ambient light; that is part of its ambient colour.
inline AttrProperty Material(float red, float green, float blue, float transparency = 0) {
  AttrProperty material;
  material.base = {red, green, blue};
  material.transparency = transparency;
  return material;
}

/// A vertex that faces the viewer, under the winding rule of the module.
inline GAVertex Facing(float x, float y, float z, float u = 0, float v = 0) {
  return {x, y, z, 0, 0, -1, u, v};
}

/// A vertex in which every value differs, also from those of other numbers (below 10): position
/// (n, 10 + n, -20 - n), normal (30 + n, …), texture coordinates (60 + n, 70 + n).
inline GAVertex Numbered(int number) {
  const auto n = static_cast<float>(number);
  return {n, 10 + n, -20 - n, 30 + n, 40 + n, 50 + n, 60 + n, 70 + n};
}
/// What GlRecorder::kVertices tells of numbered vertices that were drawn: ", {(…), (…)}", each
/// with position, normal and, when asked for, texture coordinates.
inline std::string NumberedText(std::initializer_list<int> numbers, bool textured) {
  Lines texts;
  for (const int n : numbers) {
    texts.push_back(
        fmt::format("({} {} {} | {} {} {}", n, 10 + n, -20 - n, 30 + n, 40 + n, 50 + n));
    texts.back() += textured ? fmt::format(" | {} {})", 60 + n, 70 + n) : ")";
  }
  return fmt::format(", {{{}}}", fmt::join(texts, ", "));
}

/// The calls of an indexed draw (see CallsIn) whose vertices hold one member after the other: v
/// position, n normal, t texture coordinates, c colour. `draw` are the arguments of glDrawElements.
inline std::string IndexedDraw(const std::string& members, int stride, const std::string& draw) {
  struct Array {
    const char *kind, *pointer;
    int bytes;
  };
  static const std::map<char, Array> arrays = {
      {'v', {"GL_VERTEX_ARRAY", "glVertexPointer(3, GL_FLOAT", 12}},
      {'n', {"GL_NORMAL_ARRAY", "glNormalPointer(GL_FLOAT", 12}},
      {'t', {"GL_TEXTURE_COORD_ARRAY", "glTexCoordPointer(2, GL_FLOAT", 8}},
      {'c', {"GL_COLOR_ARRAY", "glColorPointer(4, GL_UNSIGNED_BYTE", 4}}};
  std::string enable, point, disable;
  int offset = 0;
  for (const char member : members) {
    const Array& array = arrays.at(member);
    enable += fmt::format("glEnableClientState({});", array.kind);
    point += fmt::format("{}, {}, +{});", array.pointer, stride, offset);
    disable += fmt::format("glDisableClientState({});", array.kind);
    offset += array.bytes;
  }
  return enable + point + fmt::format("glDrawElements({});", draw) + disable;
}

/// A square around (x, y) as the quad adders take it: lower left, lower right, upper left, upper
/// right, counter-clockwise as they use it, with texture coordinates from 0 (left, top) to 1.
inline std::array<GAVertex, 4> Square(float x, float y, float half, float z) {
  return {Facing(x - half, y - half, z, 0, 1), Facing(x + half, y - half, z, 1, 1),
          Facing(x - half, y + half, z, 0, 0), Facing(x + half, y + half, z, 1, 0)};
}

/// A counter-clockwise triangle that covers the middle, in one colour.
inline VornPoly Polygon(const GAColor& color, float z, float depthKey = 0) {
  VornPoly polygon;
  polygon.p0 = {-10, -10, z};
  polygon.p1 = {10, -10, z};
  polygon.p2 = {0, 10, z};
  polygon.c0 = polygon.c1 = polygon.c2 = color;
  polygon.depthKey = depthKey;
  return polygon;
}

/// A 4 x 4 texture of one colour.
inline std::unique_ptr<GL3GATexture> SolidTexture(std::array<int, 4> rgba) {
  auto texture = std::make_unique<GL3GATexture>();
  texture->MakeGATexture(SolidBitmap(4, 4, rgba).get(), 0, 0, 0);
  return texture;
}

/// The call that binds a texture.
inline std::string Bind(const GL3GATexture& texture) {
  return fmt::format("glBindTexture(GL_TEXTURE_2D, {})", texture.m_texture);
}

/// Host lights as a list, in order.
class LightList {
 public:
  explicit LightList(std::vector<GALight> lights)
      : m_lights(std::move(lights)), m_nodes(m_lights.size()) {
    for (std::size_t i = 0; i < m_nodes.size(); ++i) {
      m_nodes[i].light = &m_lights[i];
      if (i > 0) m_nodes[i - 1].next = &m_nodes[i];
    }
  }
  LightListNode* Head() { return m_nodes.data(); }

 private:
  std::vector<GALight> m_lights;
  std::vector<LightListNode> m_nodes;
};
