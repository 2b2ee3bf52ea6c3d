// Materials and textures of glTF files.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/hostkit/import/gltf_fixture.h"

namespace {

using hostkit::PictureWrap;
using hostkit::Scene;
using hostkit::SceneMaterial;
using Imath::V2f;

constexpr float kHalfLight = 0.7353570f;  // 0.5 of linear light on a screen

/// A triangle with texture coordinates in two sets, the second three times the first.
class GltfMaterial : public Gltf {
 protected:
  Scene ReadMaterial(const std::string& material, const std::string& rest = {}) {
    GltfText file;
    const int first = file.Floats({0, 0, 1, 0, 0, 1}, 2),
              second = file.Floats({0, 0, 3, 0, 0, 3}, 2);
    Write("four.png", FourColorsPng());
    return ReadTriangle(file, fmt::format(R"(,"TEXCOORD_0":{},"TEXCOORD_1":{})", first, second),
                        fmt::format(R"("materials":[{}],{})", material, rest), R"(,"material":0)");
  }
  static constexpr const char* kPicture =
      R"("textures":[{"source":0,"sampler":0}],"images":[{"uri":"four.png"}],)";
};

TEST_F(GltfMaterial, AlphaModesKeepWhatTheProductIsMadeOf) {
  const struct {
    const char* mode;
    float transparency, cutoff;
    int alpha;  // of the picture's half transparent pixel
  } cases[] = {{"", 0, 0, 255},
               {R"("alphaMode":"MASK",)", 0.75f, 0.5f, 128},
               {R"("alphaMode":"MASK","alphaCutoff":0.2,)", 0.75f, 0.2f, 128},
               {R"("alphaMode":"MASK","alphaCutoff":0,)", 0, 0, 255},
               {R"("alphaMode":"BLEND",)", 0.75f, 0, 128}};
  for (const auto& [mode, transparency, cutoff, alpha] : cases) {
    SCOPED_TRACE(mode);
    const Scene scene = ReadMaterial(
        fmt::format(
            R"({{{}"doubleSided":true,"pbrMetallicRoughness":{{"baseColorFactor":[1,1,1,0.25],)"
            R"("baseColorTexture":{{"index":0}}}}}})",
            mode),
        kPicture);
    const SceneMaterial& material = FirstMaterial(scene);
    EXPECT_NEAR(material.surface.transparency.Current(), transparency, kNear);
    EXPECT_NEAR(material.alphaCutoff, cutoff, kNear);
    EXPECT_TRUE(material.showsBacks);
    auto* buffer = static_cast<HRGBABuffer*>(scene.images.at(0).bitmap->FindBuffer("Color"));
    EXPECT_EQ(static_cast<unsigned char*>(buffer->GetData(1))[7], alpha);
  }
}

TEST_F(GltfMaterial, UnlitColorsAreExactAndBacksAreHidden) {
  const Scene scene = ReadMaterial(
      R"({"pbrMetallicRoughness":{"baseColorFactor":[0.5,1,0,1],"roughnessFactor":0.1},)"
      R"("emissiveFactor":[1,1,1],"extensions":{"KHR_materials_unlit":{}}})");
  const SceneMaterial& material = FirstMaterial(scene);
  EXPECT_TRUE(material.isUnlit);
  EXPECT_FALSE(material.showsBacks);
  EXPECT_NEAR(material.surface.base.red.Current(), kHalfLight, kNear);
  EXPECT_NEAR(material.surface.base.green.Current(), 1, kNear);
  EXPECT_EQ(material.surface.specularFactor.Current(), 0);
  EXPECT_EQ(material.emission[0], 0);
}

TEST_F(GltfMaterial, EmissionIsDisplayReferredAndHasItsPicture) {
  Scene scene =
      ReadMaterial(R"({"emissiveFactor":[0.125,0,1],"emissiveTexture":{"index":0},)"
                   R"("extensions":{"KHR_materials_emissive_strength":{"emissiveStrength":4}}})",
                   kPicture);
  EXPECT_NEAR(FirstMaterial(scene).emission[0], kHalfLight, kNear);
  EXPECT_NEAR(FirstMaterial(scene).emission[2], 1, kNear);
  EXPECT_EQ(FirstMaterial(scene).emissionImage, 0);
  // Where it lies otherwise than the base colour's picture there is no place for it.
  scene = ReadMaterial(R"({"emissiveFactor":[1,1,1],"emissiveTexture":{"index":0,"texCoord":1},)"
                       R"("pbrMetallicRoughness":{"baseColorTexture":{"index":0}}})",
                       kPicture);
  EXPECT_EQ(FirstMaterial(scene).emission[0], 0);
  EXPECT_EQ(scene.warnings.size(), 1u);
}

TEST_F(GltfMaterial, SpecularGlossinessIsBroughtDown) {
  const Scene scene = ReadMaterial(
      R"({"extensions":{"KHR_materials_pbrSpecularGlossiness":{"diffuseFactor":[0.5,0,0,1],)"
      R"("specularFactor":[0,0,0],"glossinessFactor":0}}})");
  const AttrProperty& surface = FirstMaterial(scene).surface;
  EXPECT_NEAR(surface.base.red.Current(), kHalfLight, kNear);
  EXPECT_EQ(surface.roughness.Current(), 0);  // no highlight
}

TEST_F(GltfMaterial, SamplersAndTransformsPlacePictures) {
  const std::string textured =
      R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0,"texCoord":1,"extensions":)"
      R"({"KHR_texture_transform":{"offset":[0.25,0.5],"rotation":1.5707963,"scale":[2,3]}}}}})";
  const Scene scene =
      ReadMaterial(textured, std::string(kPicture) +
                                 R"("samplers":[{"wrapS":33071,"wrapT":33648,"magFilter":9728}],)");
  const hostkit::SceneImage& image = scene.images.at(0);
  EXPECT_EQ(image.wrapU, PictureWrap::kClamp);
  EXPECT_EQ(image.wrapV, PictureWrap::kMirror);
  EXPECT_TRUE(image.isNearest);
  // (3, 0) scaled by 2 and 3, turned against the clock as seen (v is downwards), moved.
  EXPECT_TRUE(scene.meshes.at(0).uvs.at(1).equalWithAbsError(V2f(0.25f, 0.5f - 6), kNear));
  EXPECT_TRUE(scene.meshes[0].uvs.at(2).equalWithAbsError(V2f(0.25f + 9, 0.5f), kNear));
  // The transform's own set comes before the texture's.
  const std::string other =
      R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0,"texCoord":1,"extensions":)"
      R"({"KHR_texture_transform":{"texCoord":0}}}}})";
  EXPECT_EQ(ReadMaterial(other, kPicture).meshes.at(0).uvs.at(1), V2f(1, 0));
}

TEST_F(GltfMaterial, TexturesWithoutAPictureThatIsKnownAreTold) {
  const std::string textured = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}}})";
  const Scene scene = ReadMaterial(
      textured,
      R"("textures":[{"extensions":{"KHR_texture_basisu":{"source":0}}}],"images":[{"uri":"a.ktx2"}],)");
  EXPECT_EQ(FirstMaterial(scene).image, -1);
  EXPECT_EQ(scene.warnings.size(), 1u);
  const Scene fallback = ReadMaterial(
      textured,
      R"("textures":[{"source":1,"extensions":{"KHR_texture_basisu":{"source":0}}}],"images":[{"uri":"a.ktx2"},{"uri":"four.png"}],)");
  EXPECT_EQ(FirstMaterial(fallback).image, 0);
  EXPECT_EQ(fallback.images.at(0).wrapU, PictureWrap::kRepeat);
}

}  // namespace
