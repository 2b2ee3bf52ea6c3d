// COLLADA files: what the general importer does not hand on.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::PictureWrap;
using hostkit::Scene;
using hostkit::SceneMaterial;

/// The same text in 16-bit characters, the lower byte first.
std::string Wide(const std::string& text) {
  std::string wide = "\xFF\xFE";
  for (const char c : text) wide += {c, '\0'};
  return wide;
}

/// A triangle with an effect of the profile's technique, and a camera of that view, scaled by 0.5.
std::string Dae(const std::string& sampler, const std::string& technique, const std::string& view) {
  return R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="half" meter="1"/><up_axis>Y_UP</up_axis></asset>
<library_images><image id="i"><init_from>a.png</init_from></image></library_images>
<library_cameras><camera id="c"><optics><technique_common>)" +
         view + R"(</technique_common></optics></camera></library_cameras>
<library_effects><effect id="e"><profile_COMMON>
<newparam sid="s"><surface type="2D"><init_from>i</init_from></surface></newparam>
<newparam sid="p"><sampler2D><source>s</source>)" +
         sampler + "</sampler2D></newparam><technique sid=\"t\">" + technique +
         R"(</technique></profile_COMMON></effect></library_effects>
<library_materials><material id="m" name="paint"><instance_effect url="#e"/></material>
</library_materials>
<library_geometries><geometry id="g"><mesh><source id="p"><float_array id="a" count="9">
0 0 0 1 0 0 0 1 0</float_array><technique_common><accessor source="#a" count="3" stride="3">
<param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>
</accessor></technique_common></source><source id="w"><float_array id="b" count="6">0 0 1 0 0 1
</float_array><technique_common><accessor source="#b" count="3" stride="2">
<param name="S" type="float"/><param name="T" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1" material="x"><input semantic="VERTEX" source="#v" offset="0"/>
<input semantic="TEXCOORD" source="#w" offset="0"/><p>0 1 2</p></triangles></mesh></geometry>
</library_geometries><library_visual_scenes><visual_scene id="s"><node id="n">
<instance_geometry url="#g"><bind_material><technique_common><instance_material symbol="x"
target="#m"/></technique_common></bind_material></instance_geometry></node>
<node id="eye" name="seen"><translate>0 0 9</translate><scale>1 0.5 1</scale>
<instance_camera url="#c"/></node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
}

const char* const kView = "<perspective><xfov>60</xfov></perspective>";

TEST_F(Import, ColladaShadersAreWhatTheySay) {
  const std::string colors = "<emission><color>0.25 0.5 0 1</color></emission>";
  const std::string diffuse = "<diffuse><color>0.75 0 0 1</color></diffuse>";
  const std::string shine =
      "<specular><color>1 1 1 1</color></specular><shininess><float>45</float></shininess>";
  const struct {
    std::string technique;
    float red, roughness;
    bool isUnlit;
  } kCases[] = {
      {"<phong>" + diffuse + shine + "</phong>", 0.75f, 1, false},
      {"<lambert>" + diffuse + "</lambert>", 0.75f, 0, false},
      {"<lambert><diffuse><color>\n 0.5 0 0 1 </color></diffuse></lambert>", 0.5f, 0, false},
      {"<constant>" + colors + "</constant>", 0.25f, 0, true}};
  for (const auto& [technique, red, roughness, isUnlit] : kCases) {
    const std::string text = Dae("", technique, kView);
    for (const std::string& bytes : {text, Wide(text)}) {
      const Scene scene = Read(Write("m.dae", bytes));
      EXPECT_EQ(scene.meshes[0].name, "g");
      const SceneMaterial& material = FirstMaterial(scene);
      EXPECT_NEAR(material.surface.base.red.Current(), red, 1e-4f) << technique;
      EXPECT_NEAR(material.surface.roughness.Current(), roughness, 1e-4f) << technique;
      EXPECT_EQ(material.isUnlit, isUnlit) << technique;
    }
  }
}

TEST_F(Import, ColladaIndicesThatAreNoWholeNumbersAreRefused) {
  const std::string text = Dae("", "<lambert/>", kView), indices = "<p>0 1 2</p>";
  for (const char* odd : {"1.0", "x"}) {  // the library would take memory until there is none
    std::string broken = text;
    broken.replace(broken.find(indices), indices.size(), fmt::format("<p>0 {} 2</p>", odd));
    EXPECT_TRUE(Holds(Refusal(Write("m.dae", broken)), {odd, "no whole number"}));
  }
}

TEST_F(Import, ColladaPicturesWrapAsTheirSamplersSay) {
  Write("a.png", FourColorsPng());
  const std::string lambert =
      R"(<lambert><diffuse><texture texture="p" texcoord="u"/></diffuse></lambert>)";
  const struct {
    const char* sampler;
    PictureWrap u, v;
  } kCases[] = {
      {"", PictureWrap::kRepeat, PictureWrap::kRepeat},
      {"<wrap_s>WRAP</wrap_s><wrap_t>CLAMP</wrap_t>", PictureWrap::kRepeat, PictureWrap::kClamp},
      {"<wrap_s>MIRROR</wrap_s><wrap_t>WRAP</wrap_t>", PictureWrap::kMirror, PictureWrap::kRepeat},
      {"<wrap_s>BORDER</wrap_s>", PictureWrap::kClamp, PictureWrap::kRepeat}};
  for (const auto& [sampler, u, v] : kCases) {
    const Scene scene = Read(Write("m.dae", Dae(sampler, lambert, kView)));
    ASSERT_EQ(scene.images.size(), 1u) << sampler;
    EXPECT_EQ(scene.images[0].wrapU, u) << sampler;
    EXPECT_EQ(scene.images[0].wrapV, v) << sampler;
  }
}

TEST_F(Import, ColladaCamerasMayBeOrthographic) {
  const std::pair<const char*, float> kCases[] = {
      {"<orthographic><ymag>3</ymag></orthographic>", 3},
      {"<orthographic><xmag>6</xmag><aspect_ratio>1.5</aspect_ratio></orthographic>", 4},
      {kView, 0}};
  for (const auto& [view, height] : kCases) {
    const Scene scene = Read(Write("m.dae", Dae("", "<lambert/>", view)));
    ASSERT_EQ(scene.cameras.size(), 1u) << view;
    // Twice the magnification, by half for the node's scale.
    EXPECT_NEAR(scene.cameras[0].parallelHeight, height, 1e-4f) << view;
  }
}

}  // namespace
