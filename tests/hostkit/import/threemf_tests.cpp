// 3MF packages: objects, components, colours, and what they lack.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/zip_file.h"

namespace {

using hostkit::Scene;
using hostkit::SceneMesh;
using Imath::V3f;

std::string Package(const std::string& resources, const std::string& build) {
  return "<?xml version=\"1.0\"?><model unit=\"inch\" xmlns:m=\"x\" xmlns:p=\"y\"><resources>" +
         resources + "</resources><build>" + build + "</build></model>";
}

/// A mesh of two triangles in the plane z = 0, with these attributes of the second.
std::string Mesh(const std::string& object, const std::string& second) {
  return "<object " + object + R"( type="model"><mesh><vertices><vertex x="0" y="0" z="0"/>
<vertex x="2" y="0" z="0"/><vertex x="2" y="1" z="0"/><vertex x="0" y="1" z="0"/></vertices>
<triangles><triangle v1="0" v2="1" v3="2"/><triangle v1="0" v2="2" v3="3" )" +
         second + "/></triangles></mesh></object>";
}

std::vector<int> ColorOf(const SceneMesh& mesh, std::size_t corner) {
  const ColorBuf& color = mesh.colors.at(mesh.triangles.at(corner));
  return {color.red, color.green, color.blue, color.alpha};
}

class ThreeMf : public Import {
 protected:
  Scene ReadModel(const std::string& model, const std::string& other = "") {
    return Read(Write("m.3mf", Zip({{"3D/3dmodel.model", model}, {"3D/other.model", other}})));
  }
};

TEST_F(ThreeMf, ObjectsArePlacedWithTheirComponents) {
  const Scene scene = ReadModel(
      Package(Mesh("id=\"1\" name=\"plate\"", "") + Mesh("id=\"2\"", "") +
                  R"(<object id="3"><components><component objectid="1"/><component objectid="2"
transform="0 1 0 -1 0 0 0 0 1 10 0 0"/></components></object>)",
              R"(<item objectid="3" transform="1 0 0 0 1 0 0 0 1 0 0 5"/><item objectid="1"/>
<item objectid="7" p:path="/3D/other.model" transform="2 0 0 0 2 0 0 0 2 0 0 0"/>)"),
      Package(Mesh("id=\"7\"", ""), ""));
  EXPECT_TRUE(scene.warnings.empty());
  EXPECT_EQ(scene.upAxis, hostkit::UpAxis::kPlusZ);
  ASSERT_EQ(scene.meshes.size(), 3u);
  EXPECT_EQ(scene.meshes[0].name, "plate");
  const V3f corner(2, 1, 0);
  const std::pair<int, V3f> expected[] = {
      {0, {2, 1, 5}}, {1, {9, 2, 5}}, {0, {2, 1, 0}}, {2, {4, 2, 0}}};
  ASSERT_EQ(scene.instances.size(), 4u);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(scene.instances[i].mesh, expected[i].first);
    EXPECT_EQ(corner * scene.instances[i].toWorld, expected[i].second);
  }
}

TEST_F(ThreeMf, ColorsAreThoseOfObjectsTrianglesAndCorners) {
  const std::string groups =
      R"(<basematerials id="5"><base name="a" displaycolor="#10203040"/><base displaycolor="#abcdef"/>
</basematerials><m:colorgroup id="6"><m:color color="#FF0000"/><m:color color="#00FF00FF"/>
</m:colorgroup>)";
  const Scene scene = ReadModel(
      Package(groups + Mesh(R"(id="1" pid="5" pindex="1")", R"(pid="6" p1="0" p2="1" p3="0")") +
                  Mesh("id=\"2\"", R"(pid="5" p1="0")"),
              R"(<item objectid="1"/><item objectid="2"/>)"));
  EXPECT_EQ(ColorOf(scene.meshes.at(0), 2), (std::vector<int>{0xab, 0xcd, 0xef, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[0], 3), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[0], 4), (std::vector<int>{0, 255, 0, 255}));
  EXPECT_EQ(ColorOf(scene.meshes.at(1), 0), (std::vector<int>{204, 204, 204, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[1], 5), (std::vector<int>{0x10, 0x20, 0x30, 0x40}));
  EXPECT_TRUE(scene.meshes[1].colorsHaveAlpha);
  EXPECT_TRUE(scene.warnings.empty());
}

TEST_F(ThreeMf, PicturesLieOnTheCornersThatNameThem) {
  const std::string resources =
      R"(<m:texture2d id="9" path="/3D/a.png" tilestyleu="mirror" tilestylev="none" filter="nearest"/>
<m:texture2d id="7" path="/3D/gone.png"/><m:texture2dgroup id="8" texid="9"><m:tex2coord u="0" v="0"/>
<m:tex2coord u="3" v="0.25"/><m:tex2coord u="0" v="1.5"/></m:texture2dgroup>
<m:texture2dgroup id="6" texid="7"><m:tex2coord u="0" v="0"/></m:texture2dgroup>)";
  const std::string model =
      Package(resources + Mesh("id=\"1\"", R"(pid="8" p1="0" p2="1" p3="2")") +
                  Mesh("id=\"2\"", R"(pid="6" p1="0")"),
              R"(<item objectid="1"/><item objectid="2"/>)");
  const Scene scene =
      Read(Write("m.3mf", Zip({{"3D/3dmodel.model", model}, {"3D/a.png", FourColorsPng()}})));
  ASSERT_EQ(scene.meshes.size(), 4u);
  EXPECT_EQ(scene.materials.at(scene.meshes[0].material).image, -1);
  const SceneMesh& pictured = scene.meshes[1];
  const hostkit::SceneImage& image = scene.images.at(scene.materials.at(pictured.material).image);
  EXPECT_EQ(image.wrapU, hostkit::PictureWrap::kMirror);
  EXPECT_TRUE(image.isNearest);
  // v goes up from the picture's lower left.
  const Imath::V2f expected[] = {{0, 1}, {3, 0.75f}, {0, -0.5f}};
  ASSERT_EQ(pictured.triangles.size(), 3u);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(pictured.uvs[pictured.triangles[i]], expected[i]);
  EXPECT_TRUE(pictured.colors.empty());
  ASSERT_EQ(scene.warnings.size(), 2u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"gone.png", "cannot be read from the package"}));
  EXPECT_TRUE(Holds(scene.warnings[1], {"reach beyond pictures which end there: 1;"}));
}

TEST_F(ThreeMf, MixturesAndLayersAreOneLook) {
  const std::string groups = R"(<basematerials id="1"><base displaycolor="#FF0000"/>
<base displaycolor="#0000FF"/></basematerials><m:compositematerials id="2" matid="1" matindices="0 1">
<m:composite values="0.25 0.75"/></m:compositematerials><m:colorgroup id="3">
<m:color color="#80FFFF"/><m:color color="#00FF0080"/><m:color color="#12345600"/></m:colorgroup>
<m:multiproperties id="4" pids="1 3" blendmethods="multiply"><m:multi pindices="0"/></m:multiproperties>
<m:multiproperties id="5" pids="1 3"><m:multi pindices="1 1"/></m:multiproperties>)";
  const Scene scene =
      ReadModel(Package(groups + Mesh(R"(id="10" pid="2" pindex="0")", R"(pid="4" p1="0")") +
                            Mesh(R"(id="11" pid="5" pindex="0")", R"(pid="3" p1="2")"),
                        R"(<item objectid="10"/><item objectid="11"/>)"));
  EXPECT_EQ(ColorOf(scene.meshes.at(0), 0), (std::vector<int>{64, 0, 191, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[0], 3), (std::vector<int>{128, 0, 0, 255}));
  // Green that covers a half and a little, over blue.
  EXPECT_EQ(ColorOf(scene.meshes.at(1), 0), (std::vector<int>{0, 128, 127, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[1], 3), (std::vector<int>{0x12, 0x34, 0x56, 1})) << "not grey";
}

TEST_F(ThreeMf, WhatLeadsNowhereIsTold) {
  // An object in itself, one without a place, one that is not there, and a vertex that is not.
  std::string broken = Mesh("id=\"2\"", "");
  broken.replace(broken.find("v3=\"3\""), 6, "v3=\"4\"");
  const Scene scene = ReadModel(
      Package(Mesh("id=\"1\"", "") + broken +
                  R"(<object id="4"><components><component objectid="4"/></components></object>)",
              R"(<item objectid="1"/><item objectid="2"/><item objectid="9"/><item objectid="4"/>
<item objectid="1" transform="1 0 0 0 1 0 0 0 1 nan 0 0"/><item objectid="1" transform="2 0"/>)"));
  EXPECT_EQ(scene.TriangleCount(), 3u);
  ASSERT_EQ(scene.warnings.size(), 3u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"1 face names vertices"}));
  EXPECT_TRUE(Holds(scene.warnings[1], {"objects that are not there left out: 1;"}));
  EXPECT_TRUE(Holds(scene.warnings[2], {"placed nowhere left out: 3;"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.3mf", "no archive")), {"it is no ZIP archive"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.3mf", Zip({{"a", "b"}}))), {"its model cannot be read"}));
}

TEST_F(ThreeMf, ManyComponentsOfManyComponentsAreNotPlacedForEver) {
  std::string components;
  for (int i = 0; i < 60000; ++i) components += "<component objectid=\"2\"/>";
  const Scene scene = ReadModel(Package(Mesh("id=\"1\"", "") + "<object id=\"2\"><components>" +
                                            components + "</components></object>",
                                        R"(<item objectid="1"/><item objectid="2"/>)"));
  EXPECT_EQ(scene.instances.size(), 1u);
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"objects that are too many"}));
}

}  // namespace
