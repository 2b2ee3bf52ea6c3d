// AMF files: volumes, colours and constellations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"
#include "tests/support/common/zip_file.h"

namespace {

using hostkit::Scene;
using Imath::V3f;
using Amf = Import;

std::string Vertex(const std::string& place, const std::string& more = "") {
  return "<vertex><coordinates>" + place + "</coordinates>" + more + "</vertex>";
}

std::string Color(const std::string& red, const std::string& green) {
  return "<color><r>" + red + "</r><g>" + green + "</g><b>0</b></color>";
}

/// Two volumes of a triangle each, of materials 2 and 3, and what else is in the file.
std::string Model(const std::string& vertexColor, const std::string& triangleColor,
                  const std::string& more) {
  return "<?xml version=\"1.0\"?><amf unit=\"inch\"><object id=\"1\"><mesh><vertices>" +
         Vertex("<x>0</x><y>0</y><z>0</z>") + Vertex("<x>2</x><y>0</y><z>0</z>", vertexColor) +
         Vertex("<x>0</x><y>1</y><z>0</z>") + "</vertices><volume materialid=\"2\"><triangle>" +
         "<v1>0</v1><v2>1</v2><v3>2</v3></triangle></volume><volume materialid=\"3\"><triangle>" +
         triangleColor + "<v1>0</v1><v2>2</v2><v3>1</v3></triangle></volume></mesh></object>" +
         more + "</amf>";
}

int RedAt(const Scene& scene, std::size_t corner) {
  const hostkit::SceneMesh& mesh = scene.meshes.at(0);
  return mesh.colors.at(mesh.triangles.at(corner)).red;
}

TEST_F(Amf, ColorsAreThoseOfTrianglesVerticesAndMaterials) {
  const Scene plain = Read(Write("m.amf", Model("", "", "")));
  EXPECT_EQ(plain.TriangleCount(), 2u);
  EXPECT_EQ(plain.facts.metersPerUnit, 0.0254);
  EXPECT_TRUE(plain.meshes.at(0).colors.empty()) << "and no black";
  const std::string text = Model(Color("0.2", "1"), Color("1", "0"),
                                 "<material id=\"2\">" + Color("0.4", "0") + "</material>");
  for (const std::string& path :
       {Write("m.amf", text), Write("z.amf", Zip({{"inside.amf", text}}))}) {
    const Scene scene = Read(path);
    EXPECT_TRUE(scene.warnings.empty());
    const int reds[] = {102, 51, 102, 255, 255, 255};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(RedAt(scene, i), reds[i]) << i;
  }
}

TEST_F(Amf, ConstellationsTurnThenMove) {
  const Scene scene = Read(Write("m.amf", Model("", "", R"(
<constellation id="5"><instance objectid="1"><deltax>10</deltax><rx>90</rx><rz>90</rz></instance>
<instance objectid="9"/></constellation>
<constellation id="6"><instance objectid="5"><deltay>3</deltay></instance></constellation>)")));
  ASSERT_EQ(scene.instances.size(), 1u);
  // y goes to z by the first turn, and x to y by the second.
  EXPECT_TRUE((V3f(2, 1, 0) * scene.instances[0].toWorld).equalWithAbsError({10, 5, 1}, 1e-5f));
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"not there", "left out: 1;"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.amf", "<amf><object>")), {"not valid XML at byte"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.amf", "<a/>")), {"it is no AMF"}));
}

}  // namespace
