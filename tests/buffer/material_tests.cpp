// Host materials into GL materials: what is sent, and what the cache saves.
#include <limits>
#include <utility>

#include "tests/support/drawing_fixture.h"
#include "tests/support/gl_recorder.h"

namespace {

/// A material in which every value differs.
AttrProperty Varied() {
  AttrProperty material = Material(0.5f, 0.25f, 1, 0.25f);
  material.ambient = {0.2f, 0.4f, 0.1f};
  material.ambientFactor = 1.5f;
  material.specular = {1, 0.5f, 0};
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
  const AttrProperty material = Varied();
  EXPECT_EQ(Sent(material), CallsIn(R"(
      GL_DIFFUSE, {0.4, 0.15, 0.9, 0.75}; GL_AMBIENT, {0.2, 0.4, 0.1, 0.75}; GL_SHININESS, {5};
      GL_SPECULAR, {0.5, 0.25, 0, 1})"));
  EXPECT_EQ(Sent(material), Lines());

  AttrProperty other = material;
  other.specularFactor = 1;
  EXPECT_EQ(Sent(other), Lines{"GL_SPECULAR, {1, 0.5, 0, 1}"});
  other.specularSource = AttrProperty::kFromBaseColor;
  EXPECT_EQ(Sent(other), Lines{"GL_SPECULAR, {0.5, 0.25, 1, 1}"});
  Buffer().SetMaterial(nullptr, 0.0f);
  EXPECT_EQ(Buffer().NeedsSetMaterial(nullptr, 0), 0);
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
  material.specularFactor = 1;
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 1);
  Buffer().SetMaterial(0);
  Buffer().SetMaterial(0);
  ASSERT_EQ(gl.Calls().size(), 1u);
  EXPECT_EQ(Value(gl.Calls()[0]), "GL_SPECULAR, {1, 0.5, 0, 1}");

  gl.Clear();
  Buffer().SetMaterial(1);
  ASSERT_EQ(gl.Calls().size(), 4u);
  EXPECT_TRUE(Value(gl.Calls()[0]).starts_with("GL_DIFFUSE"));
  EXPECT_TRUE(Value(gl.Calls()[1]).starts_with("GL_AMBIENT"));
  EXPECT_TRUE(Value(gl.Calls()[2]).starts_with("GL_SHININESS"));
}

TEST_F(MaterialTest, AmbientFactorsCountInWholeSteps) {
  AttrProperty material = Varied();
  const std::pair<float, const char*> cases[] = {{0.7f, "GL_AMBIENT, {0, 0, 0, 0.75}"},
                                                 {1.5f, "GL_AMBIENT, {0.2, 0.4, 0.1, 0.75}"},
                                                 {-2.9f, "GL_AMBIENT, {-0.4, -0.8, -0.2, 0.75}"},
                                                 {1e20f, "GL_AMBIENT, {0, 0, 0, 0.75}"}};
  for (const auto& [factor, ambient] : cases) {
    material.ambientFactor = factor;
    EXPECT_EQ(Ambient(material), ambient) << factor;
  }
  material.ambientFactor = 1;
  material.ambientSource = AttrProperty::kFromBaseColor;
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.5, 0.25, 1, 0.75}");
}

TEST_F(MaterialTest, SurroundingsAddAmbientLight) {
  AttrProperty material = Varied();
  Target().scene.ambientAmount = 0.5f;
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.37325, 0.486625, 0.4465, 0.75}");
  Info().scene = nullptr;
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.2, 0.4, 0.1, 0.75}");

  // The environment's colour takes the place of the scene's amount.
  Info().scene = &Target().scene;
  Info().environment = {1, 1, 0.5f, 0.25f, 0.5f};
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.45, 0.4625, 0.225, 0.75}");
  Info().environment.mode = 2;
  EXPECT_EQ(Ambient(material), "GL_AMBIENT, {0.37325, 0.486625, 0.4465, 0.75}");
}

TEST_F(MaterialTest, HighlightsAreCappedAndLeftOut) {
  AttrProperty material = Varied();
  Sent(material);
  material.roughness = 0.1f;
  EXPECT_EQ(Sent(material), Lines{"GL_SHININESS, {128}"});
  material.roughness = 0;
  EXPECT_EQ(Sent(material), (Lines{"GL_SHININESS, {0}", "GL_SPECULAR, {0, 0, 0, 1}"}));
  Sent(Varied());
  // Flat materials show no ambient light, and yet it darkens their diffuse colour.
  Info().flags = RenderInfo::kFlatMaterials;
  EXPECT_EQ(Sent(Varied()), (Lines{"GL_AMBIENT, {0, 0, 0, 0.75}", "GL_SHININESS, {0}",
                                   "GL_SPECULAR, {0, 0, 0, 1}"}));
}

TEST_F(MaterialTest, AmbientChangesSendTheShininessAgain) {
  AttrProperty material = Varied();
  material.base = {0, 0, 1};  // keeps the diffuse colour out of it
  Sent(material);
  material.ambient.green = 0.5f;
  EXPECT_EQ(Sent(material), (Lines{"GL_AMBIENT, {0.2, 0.5, 0.1, 0.75}", "GL_SHININESS, {5}"}));
  material.ambient.red = 0.3f;
  EXPECT_EQ(Sent(material), Lines{"GL_AMBIENT, {0.3, 0.5, 0.1, 0.75}"});
  material.roughness = 0;
  Sent(material);
  material.ambient.green = 0.6f;
  EXPECT_EQ(Sent(material), Lines{"GL_AMBIENT, {0.3, 0.6, 0.1, 0.75}"});
}

TEST_F(MaterialTest, TransparencyScaleMakesTheDiffuseColorWhite) {
  AttrProperty material = Material(0.5f, 0.25f, 1, 0.2f);
  material.ambient = {0.2f, 0.4f, 0.1f};
  material.ambientFactor = 1;
  EXPECT_EQ(Sent(material, 0.5f).front(), "GL_DIFFUSE, {0.8, 0.6, 0.9, 0.4}");
}

TEST_F(MaterialTest, DiffuseAloneGoesThroughTheSameCache) {
  AttrProperty material = Varied();
  Sent(material);
  GlRecorder gl;
  float cached[4] = {0.5f * (1 - 0.2f), 0.25f * (1 - 0.4f), 1 - 0.1f, 0.75f};
  Buffer().SetDiffuseMaterial(cached);
  EXPECT_EQ(gl.Calls(), Lines());

  material.base.red = 1;
  EXPECT_EQ(Buffer().NeedsSetMaterial(&material, 0), 1);
  Buffer().SetDiffuseMaterial(cached);
  Buffer().SetMaterial(0);  // the diffuse colour waits no longer
  EXPECT_EQ(gl.Calls(),
            Lines{"glMaterialfv(GL_FRONT_AND_BACK, GL_DIFFUSE, {0.4, 0.15, 0.9, 0.75})"});

  gl.Clear();
  cached[1] = std::numeric_limits<float>::quiet_NaN();
  Buffer().SetDiffuseMaterial(cached);
  Buffer().SetDiffuseMaterial(cached);
  EXPECT_EQ(gl.Count("glMaterialfv"), 2);
}

}  // namespace
