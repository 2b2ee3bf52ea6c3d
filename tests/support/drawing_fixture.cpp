// Drawing tests: target, heap counts and shorthand.
#include "tests/support/drawing_fixture.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

void DrawingFixture::SetUp() {
  DriverFixture::SetUp();
  ASSERT_FALSE(HasFatalFailure());
  m_target = std::make_unique<OffscreenTarget>(Driver(), kWidth, kHeight);
  ASSERT_TRUE(m_target->ready);
  m_target->scene.ambientAmount = kAmbient;
  m_target->SetView(kScaleX, kScaleY, kOriginX, kOriginY);
  m_target->Begin();
}

void DrawingFixture::TearDown() {
  m_target.reset();
  DriverFixture::TearDown();
}

AttrProperty Material(float red, float green, float blue, float transparency) {
  AttrProperty material;
  material.base = {red, green, blue};
  material.transparency = transparency;
  return material;
}

GAVertex Facing(float x, float y, float z, float u, float v) {
  return {x, y, z, 0, 0, -1, u, v};
}

GAVertex Numbered(int number) {
  const auto n = static_cast<float>(number);
  return {n, 10 + n, -20 - n, 30 + n, 40 + n, 50 + n, 60 + n, 70 + n};
}

std::string NumberedText(std::initializer_list<int> numbers, bool textured) {
  Lines texts;
  for (const int n : numbers) {
    texts.push_back(
        fmt::format("({} {} {} | {} {} {}", n, 10 + n, -20 - n, 30 + n, 40 + n, 50 + n));
    texts.back() += textured ? fmt::format(" | {} {})", 60 + n, 70 + n) : ")";
  }
  return fmt::format(", {{{}}}", fmt::join(texts, ", "));
}

std::string IndexedDraw(const std::string& members, int stride, const std::string& draw) {
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

std::array<GAVertex, 4> Square(float x, float y, float half, float z) {
  return {Facing(x - half, y - half, z, 0, 1), Facing(x + half, y - half, z, 1, 1),
          Facing(x - half, y + half, z, 0, 0), Facing(x + half, y + half, z, 1, 0)};
}

VornPoly Polygon(const GAColor& color, float z, float depthKey) {
  VornPoly polygon;
  polygon.p0 = {-10, -10, z};
  polygon.p1 = {10, -10, z};
  polygon.p2 = {0, 10, z};
  polygon.c0 = polygon.c1 = polygon.c2 = color;
  polygon.depthKey = depthKey;
  return polygon;
}

std::unique_ptr<GL3GATexture> SolidTexture(std::array<int, 4> rgba) {
  auto texture = std::make_unique<GL3GATexture>();
  texture->MakeGATexture(SolidBitmap(4, 4, rgba).get(), 0, 0, 0);
  return texture;
}

std::string Bind(const GL3GATexture& texture) {
  return fmt::format("glBindTexture(GL_TEXTURE_2D, {})", texture.m_texture);
}

LightList::LightList(std::vector<GALight> lights)
    : m_lights(std::move(lights)), m_nodes(m_lights.size()) {
  for (std::size_t i = 0; i < m_nodes.size(); ++i) {
    m_nodes[i].light = &m_lights[i];
    if (i > 0) m_nodes[i - 1].next = &m_nodes[i];
  }
}
