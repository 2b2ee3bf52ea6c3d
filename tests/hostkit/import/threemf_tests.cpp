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

std::string Model(const std::string& resources, const std::string& build) {
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
      Model(Mesh("id=\"1\" name=\"plate\"", "") + Mesh("id=\"2\"", "") +
                R"(<object id="3"><components><component objectid="1"/><component objectid="2"
transform="0 1 0 -1 0 0 0 0 1 10 0 0"/></components></object>)",
            R"(<item objectid="3" transform="1 0 0 0 1 0 0 0 1 0 0 5"/><item objectid="1"/>
<item objectid="7" p:path="/3D/other.model" transform="2 0 0 0 2 0 0 0 2 0 0 0"/>)"),
      Model(Mesh("id=\"7\"", ""), ""));
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
</m:colorgroup><m:texture2dgroup id="8" texid="9"/>)";
  const Scene scene = ReadModel(
      Model(groups + Mesh(R"(id="1" pid="5" pindex="1")", R"(pid="6" p1="0" p2="1" p3="0")") +
                Mesh("id=\"2\"", R"(pid="5" p1="0")") + Mesh("id=\"3\"", R"(pid="8" p1="0")"),
            R"(<item objectid="1"/><item objectid="2"/><item objectid="3"/>)"));
  EXPECT_EQ(ColorOf(scene.meshes.at(0), 2), (std::vector<int>{0xab, 0xcd, 0xef, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[0], 3), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[0], 4), (std::vector<int>{0, 255, 0, 255}));
  EXPECT_EQ(ColorOf(scene.meshes.at(1), 0), (std::vector<int>{204, 204, 204, 255}));
  EXPECT_EQ(ColorOf(scene.meshes[1], 5), (std::vector<int>{0x10, 0x20, 0x30, 0x40}));
  EXPECT_TRUE(scene.meshes[1].colorsHaveAlpha);
  EXPECT_TRUE(scene.meshes.at(2).colors.empty());
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"pictures on triangles left out: 1;"}));
}

TEST_F(ThreeMf, WhatLeadsNowhereIsTold) {
  // An object in itself, one without a place, one that is not there, and a vertex that is not.
  std::string broken = Mesh("id=\"2\"", "");
  broken.replace(broken.find("v3=\"3\""), 6, "v3=\"4\"");
  const Scene scene = ReadModel(
      Model(Mesh("id=\"1\"", "") + broken +
                R"(<object id="4"><components><component objectid="4"/></components></object>)",
            R"(<item objectid="1"/><item objectid="2"/><item objectid="9"/><item objectid="4"/>
<item objectid="1" transform="1 0 0 0 1 0 0 0 1 nan 0 0"/>)"));
  EXPECT_EQ(scene.TriangleCount(), 3u);
  ASSERT_EQ(scene.warnings.size(), 3u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"1 face names vertices"}));
  EXPECT_TRUE(Holds(scene.warnings[1], {"objects that are not there left out: 1;"}));
  EXPECT_TRUE(Holds(scene.warnings[2], {"placed nowhere left out: 2;"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.3mf", "no archive")), {"it is no ZIP archive"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.3mf", Zip({{"a", "b"}}))), {"its model cannot be read"}));
}

TEST_F(ThreeMf, ManyComponentsOfManyComponentsAreNotPlacedForEver) {
  std::string components;
  for (int i = 0; i < 60000; ++i) components += "<component objectid=\"2\"/>";
  const Scene scene = ReadModel(Model(Mesh("id=\"1\"", "") + "<object id=\"2\"><components>" +
                                          components + "</components></object>",
                                      R"(<item objectid="1"/><item objectid="2"/>)"));
  EXPECT_EQ(scene.instances.size(), 1u);
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"objects that are too many"}));
}

}  // namespace
