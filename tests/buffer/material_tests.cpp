// Host materials into GL materials: what is sent, and what the cache saves.
#include <algorithm>
#include <limits>
#include <tuple>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

/// A material in which every value differs, and every bit of a source but that of the base colour
/// is set. With the scene's ambient light of 0.25 its ambient colour is 0.5775, 0.374, 0.843: its
/// own (0.5, 0.25, 0.75, of the luma 0.38) and 0.62 * 0.25 of the base colour.
AttrProperty Varied() {
  AttrProperty material = Material(0.5f, 0.8f, 0.6f, 0.25f);
  material.ambientSource = material.specularSource = ~AttrProperty::kFromBaseColor;
  material.ambient = {0.5f, 0.25f, 0.75f};
  material.ambientFactor = 1.5f;
  material.specular = {1, 0.5f, 0.75f};
  material.specularFactor = 0.5f;
  material.roughness = 9;
  return material;
}

class MaterialTest : public DrawingFixture {
 protected:
  /// What is sent for the material, one line a value, without what is common to all.
  Lines Sent(AttrProperty material, float transparencyScale = 0) {
    GlRecorder gl;
    Buffer().SetMaterial(&material, transparencyScale);
    Lines sent;
    for (const std::string& call : gl.Calls()) sent.push_back(Value(call));
    return sent;
  }
  /// The ambient value of the material alone.
  std::string Ambient(AttrProperty material) {
    GlRecorder gl;
    Buffer().NeedsSetMaterial(&material, 0);
    Buffer().SetMaterial(1);
    return gl.Calls().size() == 4 ? Value(gl.Calls()[1]) : "four calls expected";
  }

  static std::string Value(const std::string& call) {
    const std::string prefix = "glMaterialfv(GL_FRONT_AND_BACK, ";
    if (!call.starts_with(prefix)) return call;
    return call.substr(prefix.size(), call.size() - prefix.size() - 1);
  }
};

TEST_F(MaterialTest, SendsEachValueOnceAndAgainOnlyWhenItDiffers) {
  AttrProperty material = Varied();
  EXPECT_EQ(Sent(material), CallsIn(R"(
      GL_DIFFUSE, {0.21125, 0.5008, 0.0942, 0.75}; GL_AMBIENT, {0.5775, 0.374, 0.843, 0.75};
      GL_SHININESS, {5, 0.374, 0.843, 0.75}; GL_SPECULAR, {0.5, 0.25, 0.375, 1})"));
  EXPECT_EQ(Sent(material), Lines());

  material.specularFactor = 2;
  EXPECT_EQ(Sent(material), Lines{"GL_SPECULAR, {2, 1, 1.5, 1}"});
  material.specularSource = AttrProperty::kFromBaseColor;
  EXPECT_EQ(Sent(material), Lines{"GL_SPECULAR, {1, 1.6, 1.2, 1}"});
  Buffer().SetMaterial(nullptr, 0.0f);
  EXPECT_EQ(Buffer().NeedsSetMaterial(nullptr, 0), 0);
  // A scale of the transparency makes the diffuse base white, and leaves the other colours theirs.
  EXPECT_EQ(Sent(material, 0.5f), CallsIn(R"(
      GL_DIFFUSE, {0.4225, 0.626, 0.157, 0.375}; GL_AMBIENT, {0.5775, 0.374, 0.843, 0.375};
      GL_SHININESS, {5, 0.374, 0.843, 0.375})"));
}

TEST_F(MaterialTest, DeferredValuesWaitUntilTheyAreAskedFor) {
  AttrProperty material = Varied();
  GlRecorder gl;
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 1);
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 0);
  EXPECT_EQ(gl.Calls(), Lines());
  Buffer().SetMaterial(0);
  EXPECT_EQ(gl.Calls().size(), 4u);

  gl.Clear();
  material.specularFactor = 2;
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 1);
  Buffer().SetMaterial(0);
  Buffer().SetMaterial(0);
  ASSERT_EQ(gl.Calls().size(), 1u);
  EXPECT_EQ(Value(gl.Calls()[0]), "GL_SPECULAR, {2, 1, 1.5, 1}");
}

TEST_F(MaterialTest, AmbientFactorsCountInWholeSteps) {
  AttrProperty material = Varied();
  const char* const none = "GL_AMBIENT, {0.125, 0.2, 0.15, 0.75}";  // the scene's part alone
  const std::pair<float, const char*> cases[] = {
      {0.0f, none},
      {0.7f, none},
      {1.5f, "GL_AMBIENT, {0.5775, 0.374, 0.843, 0.75}"},
      {-2.9f, "GL_AMBIENT, {-0.78, -0.148, -1.236, 0.75}"},  // luma -0.76
      {2147483648.0f, none},
      {-1e20f, none}};
  for (const auto& [factor, ambient] : cases) {
    material.ambientFactor = factor;
    EXPECT_EQ(Ambient(material), ambient) << factor;
  }
  material.ambientFactor = 1;
  material.ambientSource = AttrProperty::kFromBaseColor;  // luma 0.688
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.539, 0.8624, 0.6468, 0.75}");
}

TEST_F(MaterialTest, SurroundingsAddAmbientLight) {
  const AttrProperty material = Varied();
  const char* const own = "GL_AMBIENT, {0.5, 0.25, 0.75, 0.75}";
  // The environment's colour, times intensity and base colour, takes the place of the scene's
  // amount (0.5) in one mode alone.
  const char* const lit = "GL_AMBIENT, {0.625, 0.35, 0.99, 0.75}";
  const char* const sceneLit = "GL_AMBIENT, {0.655, 0.498, 0.936, 0.75}";
  Target().scene.ambientAmount = 0.5f;
  for (const auto& [mode, withScene, withoutScene] :
       {std::tuple{0, sceneLit, own}, {1, lit, lit}, {2, sceneLit, own}}) {
    Info().environment = {mode, 1, 0.5f, 1.6f, 0.25f};
    Info().scene = &Target().scene;
    EXPECT_EQ(Ambient(material), withScene) << mode;
    Info().scene = nullptr;
    EXPECT_EQ(Ambient(material), withoutScene) << mode;
  }
}

TEST_F(MaterialTest, HighlightsAreCappedAndLeftOut) {
  AttrProperty material = Varied();
  Sent(material);
  material.roughness = 0.1f;
  EXPECT_EQ(Sent(material), Lines{"GL_SHININESS, {128, 0.374, 0.843, 0.75}"});
  material.roughness = 0;
  const Lines none = {"GL_SHININESS, {0, 0, 0, 1}", "GL_SPECULAR, {0, 0, 0, 1}"};
  EXPECT_EQ(Sent(material), none);
  Sent(Varied());
  // Flat materials show no ambient light, and yet it darkens their diffuse colour.
  Info().flags = RenderInfo::kFlatMaterials;
  EXPECT_EQ(Sent(Varied()), (Lines{"GL_AMBIENT, {0, 0, 0, 0.75}", none[0], none[1]}));
  Info().flags = static_cast<std::uint8_t>(~RenderInfo::kFlatMaterials);
  EXPECT_EQ(Sent(Varied()).size(), 3u);
}

TEST_F(MaterialTest, ChangesOfItsTailSendTheShininessAgain) {
  AttrProperty material = Varied();
  material.base = {0, 0, 0};  // keeps the diffuse colour and the scene out of it
  Sent(material);
  material.ambient.red = 0.3f;
  EXPECT_EQ(Sent(material), Lines{"GL_AMBIENT, {0.3, 0.25, 0.75, 0.75}"});
  material.ambient.green = 0.6f;
  EXPECT_EQ(Sent(material), CallsIn(R"(
      GL_AMBIENT, {0.3, 0.6, 0.75, 0.75}; GL_SHININESS, {5, 0.6, 0.75, 0.75})"));
  material.ambient.blue = 0.1f;
  EXPECT_EQ(Sent(material), CallsIn(R"(
      GL_AMBIENT, {0.3, 0.6, 0.1, 0.75}; GL_SHININESS, {5, 0.6, 0.1, 0.75})"));
  material.transparency = 0.5f;
  EXPECT_EQ(Sent(material), CallsIn(R"(
      GL_DIFFUSE, {0, 0, 0, 0.5}; GL_AMBIENT, {0.3, 0.6, 0.1, 0.5};
      GL_SHININESS, {5, 0.6, 0.1, 0.5})"));
  material.roughness = 0;
  Sent(material);
  material.ambient.green = 0.5f;
  EXPECT_EQ(Sent(material), Lines{"GL_AMBIENT, {0.3, 0.5, 0.1, 0.5}"});
}

TEST_F(MaterialTest, DiffuseAloneGoesThroughTheSameCache) {
  AttrProperty material = Varied();
  Sent(material);
  GlRecorder gl;
  float rgba[4];
  std::copy_n(Buffer().DiffuseMaterial(), 4, rgba);
  Buffer().SetDiffuseMaterial(rgba);
  EXPECT_EQ(gl.Calls(), Lines());

  material.specularFactor = 2;
  material.base.red = 1;
  material.ambient.red = 0;
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 1);
  Buffer().SetDiffuseMaterial(rgba);
  Buffer().SetMaterial(0);  // the diffuse colour waits no longer
  ASSERT_EQ(gl.Calls().size(), 4u);
  EXPECT_EQ(Value(gl.Calls()[0]), "GL_DIFFUSE, {0.21125, 0.5008, 0.0942, 0.75}");
  EXPECT_TRUE(Value(gl.Calls()[1]).starts_with("GL_AMBIENT"));

  gl.Clear();
  for (float& channel : rgba) {  // each is compared
    channel = std::numeric_limits<float>::infinity();
    Buffer().SetDiffuseMaterial(rgba);
    Buffer().SetDiffuseMaterial(rgba);
  }
  EXPECT_EQ(gl.Count("glMaterialfv"), 4);
  rgba[1] = std::numeric_limits<float>::quiet_NaN();  // equals nothing
  Buffer().SetDiffuseMaterial(rgba);
  Buffer().SetDiffuseMaterial(rgba);
  EXPECT_EQ(gl.Count("glMaterialfv"), 6);
}

}  // namespace
