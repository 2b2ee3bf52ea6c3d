// OBJ files: corners, normals, elements, materials and their libraries.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::Scene;
using hostkit::SceneMaterial;
using hostkit::SceneMesh;
using Imath::V2f;
using Imath::V3f;

/// Two squares that meet at a right angle along the y axis, given as corners of faces.
const std::string kBend = "v 0 0 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nv 0 0 2\nv 0 1 2\n";
const std::string kBendFaces = "f 1 3 4 2\nf 1 2 6 5\n";

class Obj : public Import {
 protected:
  Scene ReadObj(const std::string& text) { return Read(Write("m.obj", text)); }

  /// The material of a triangle with texture coordinates, of a library with these lines.
  Scene WithMaterial(const std::string& lines) {
    Write("m.mtl", "newmtl paint\n" + lines);
    return ReadObj(
        "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 0.25 1\n"
        "usemtl paint\nf 1/1 2/2 3/3\n");
  }

  static const unsigned char* Pixel(const Scene& scene, int x, int y) {
    auto* buffer = static_cast<HRGBABuffer*>(scene.images.at(0).bitmap->FindBuffer("Color"));
    return static_cast<unsigned char*>(buffer->GetData(y)) + 4 * x;
  }
};

TEST_F(Obj, CornersNameTheirPartsForwardsAndBackwards) {
  const Scene scene = ReadObj(
      "\xEF\xBB\xBF# comment\nv 9 9 9\nv +1.5e1 0 -.5 1\r\n  v\t0 2. 0\nv 0 0 3 # last\n"
      "vt 0.5\nvt 0.25 0.75\nvn 0 0 2\nvn 0 1 0\n"
      "f -3/1/-1 -2/-1/1 \\\n  4//2\n");
  const SceneMesh& mesh = scene.meshes.at(0);
  ASSERT_EQ(mesh.triangles, (std::vector<std::uint32_t>{0, 1, 2}));
  EXPECT_EQ(mesh.positions, (std::vector<V3f>{{15, 0, -0.5f}, {0, 2, 0}, {0, 0, 3}}));
  EXPECT_EQ(mesh.normals, (std::vector<V3f>{{0, 1, 0}, {0, 0, 1}, {0, 1, 0}}));
  EXPECT_EQ(mesh.uvs, (std::vector<V2f>{{0.5f, 1}, {0.25f, 0.25f}, {0, 1}}));
  EXPECT_TRUE(scene.warnings.empty());
}

TEST_F(Obj, SmoothingGroupsDecideWhatIsFlat) {
  const V3f right(0, 0, 1), left(1, 0, 0), between(std::sqrt(0.5f), 0, std::sqrt(0.5f));
  const struct {
    const char* before;
    const char* middle;
    V3f first, second;                  ///< Normals of both faces along the edge that they share.
  } kCases[] = {{"", "", right, left},  // by the angle of the edge
                {"s 1\n", "", between, between},
                {"s 1\n", "s 2\n", right, left},
                {"s 3\n", "s 4\ns 3\n", between, between},
                {"s off\n", "", right, left},
                {"s 1\n", "s 0\n", right, left}};
  for (const auto& [before, middle, first, second] : kCases) {
    SCOPED_TRACE(std::string(before) + middle);
    const Scene scene = ReadObj(kBend + before + "f 1 3 4 2\n" + middle + "f 1 2 6 5\n");
    const SceneMesh& mesh = scene.meshes.at(0);
    ASSERT_EQ(mesh.triangles.size(), 12u);
    for (std::size_t i = 0; i < 12; ++i) {
      const V3f& place = mesh.positions.at(mesh.triangles[i]);
      const V3f& flat = i < 6 ? right : left;
      const V3f& expected = place.x == 0 && place.z == 0 ? (i < 6 ? first : second) : flat;
      const V3f& normal = mesh.normals.at(mesh.triangles[i]);
      EXPECT_TRUE(normal.equalWithAbsError(expected, kNear)) << i << ": " << normal;
    }
  }
  // A nearly flat edge is one all the same where smoothing is off.
  const Scene flat = ReadObj("v 0 0 0\nv 0 1 0\nv 1 0 0\nv -1 0 -0.25\ns off\nf 1 3 2\nf 1 2 4\n");
  EXPECT_EQ(flat.meshes.at(0).positions.size(), 6u);
}

TEST_F(Obj, ConcavePolygonsKeepTheirShape) {
  // Outlines in the plane z = 1 with their areas: an arrow head, a comb, and one with a corner on a
  // straight edge, in both directions.
  const struct {
    std::vector<V2f> outline;
    float area;
  } kCases[] = {{{{0, 0}, {4, 0}, {1, 1}, {0, 4}}, 4},
                {{{4, 0}, {1, 1}, {0, 4}, {0, 0}}, 4},
                {{{0, 0},
                  {7, 0},
                  {7, 3},
                  {6, 3},
                  {6, 1},
                  {4, 1},
                  {4, 3},
                  {3, 3},
                  {3, 1},
                  {1, 1},
                  {1, 3},
                  {0, 3}},
                 13},
                {{{0, 0}, {1, 0}, {2, 0}, {2, 2}, {1, 1}, {0, 2}}, 3}};
  for (const auto& [outline, area] : kCases) {
    for (const bool isTurned : {false, true}) {
      std::string text, face = "f";
      for (std::size_t i = 0; i < outline.size(); ++i) {
        const V2f& at = outline[isTurned ? outline.size() - 1 - i : i];
        text += "v " + std::to_string(at.x) + " " + std::to_string(at.y) + " 1\n";
        face += " " + std::to_string(i + 1);
      }
      const Scene scene = ReadObj(text + face + "\n");
      const SceneMesh& mesh = scene.meshes.at(0);
      EXPECT_EQ(mesh.triangles.size(), 3 * (outline.size() - 2));
      float sum = 0;  // above the area where triangles leave the outline or lie on one another
      for (std::size_t t = 0; t + 2 < mesh.triangles.size(); t += 3) {
        const V3f &a = mesh.positions[mesh.triangles[t]],
                  &b = mesh.positions[mesh.triangles[t + 1]],
                  &c = mesh.positions[mesh.triangles[t + 2]];
        const float twice = (b - a).cross(c - a).z * (isTurned ? -1 : 1);
        EXPECT_GE(twice, 0);
        sum += twice / 2;
      }
      EXPECT_NEAR(sum, area, kNear) << outline.size() << " corners";
    }
  }
}

TEST_F(Obj, ElementsOfAllKindsMakeMeshesOfObjectsAndMaterials) {
  Write("m.mtl", "newmtl a\nKd 1 0 0\nnewmtl b with blanks\nKd 0 0 1\n");
  const Scene scene = ReadObj(
      "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 5 5 5\no one\nusemtl a\nf 1 2 3\nf 3 2 1\nusemtl b with blanks "
      "\n"
      "f 1 2 3\ng two\nl 1 2 3\np 1 4\nf 2 1 3\n"
      "cstype bspline\nsurf 0 1 0 1 1 2 3\nend\ncall other.obj\nf 1 2 9\nf 1 2 word\nmtllib "
      "m.mtl\n");
  std::vector<std::string> told;
  for (const SceneMesh& mesh : scene.meshes) {
    const SceneMaterial& material = scene.materials.at(mesh.material);
    told.push_back(mesh.name + ", " + material.name + ": " +
                   std::to_string(mesh.triangles.size() / 3) + " triangles, " +
                   std::to_string(mesh.lines.size() / 2) + " lines, " +
                   std::to_string(mesh.points.size()) + " points");
  }
  EXPECT_EQ(told, (std::vector<std::string>{"one, a: 2 triangles, 0 lines, 0 points",
                                            "one, b with blanks: 1 triangles, 0 lines, 0 points",
                                            "two, b with blanks: 1 triangles, 0 lines, 0 points",
                                            "two, b with blanks: 0 triangles, 2 lines, 2 points"}));
  ASSERT_EQ(scene.warnings.size(), 3u);
  EXPECT_TRUE(Holds(scene.warnings[0], {"free-form curves and surfaces left out: 1;"}));
  EXPECT_TRUE(Holds(scene.warnings[1], {"files that it calls left out: 1;"}));
  EXPECT_TRUE(Holds(scene.warnings[2], {"2 faces name vertices that their meshes do not have"}));
  EXPECT_EQ(ReadObj("v 1 2 3\nv 4 5 6\n").meshes.at(0).points.size(), 2u);
}

TEST_F(Obj, ColorsOfVerticesAreSharesOrBytes) {
  for (const char* colors : {" 1 0.2 0", " 255 51 0"}) {
    const Scene scene = ReadObj("v 0 0 0\nv 1 0 0\nv 0 1 0" + std::string(colors) + "\nf 1 2 3\n");
    const std::vector<ColorBuf>& read = scene.meshes.at(0).colors;
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read[0].green, 255);  // without a colour of its own
    EXPECT_EQ((std::vector<int>{read[2].red, read[2].green, read[2].blue, read[2].alpha}),
              (std::vector<int>{255, 51, 0, 255}));
    EXPECT_EQ(FirstMaterial(scene).surface.base.green.Current(), 1);
  }
}

TEST_F(Obj, LibrariesAreFoundByNamesAsTheyAreWritten) {
  const std::string faces = "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl red\nf 1 2 3\n";
  const std::string red = "newmtl red\nKd 1 0 0\n", blue = "newmtl red\nKd 0 0 1\n";
  const struct {
    const char* line;
    const char* file;
    const char* told;  ///< In the only warning, "" for none.
    float redness;
  } kCases[] = {
      {"mtllib two words.mtl", "two words.mtl", "", 1},
      {"mtllib Lib.MTL   ", "lib.mtl", "", 1},
      {"mtllib other.mtl lib.mtl", "lib.mtl", "", 0},  // the first that has it counts
      {"mtllib none.mtl two words.mtl", "two words.mtl", "it names none.mtl, which was", 1},
      {"mtllib old name.mtl", "m.mtl", "m.mtl is taken in its place", 1},
      {"mtllib old name.mtl", "", "it names old name.mtl, which was not found; put", 0.8f},
      {"mtllib other.mtl\nusemtl red", "", "", 0},
      {"mtllib empty.mtl", "", "1 material is in none of its libraries, red;", 0.8f},
      {"", "", "", 0.8f}};
  for (const auto& [line, file, told, redness] : kCases) {
    SCOPED_TRACE(line);
    std::filesystem::remove_all(m_folder.Path("in"));
    Write("in/other.mtl", blue);
    Write("in/empty.mtl", "# none\n");
    if (*file) Write(std::string("in/") + file, red);
    const Scene scene = Read(Write("in/m.obj", line + faces));
    EXPECT_NEAR(FirstMaterial(scene).surface.base.red.Current(), redness, kNear);
    EXPECT_EQ(scene.warnings.size(), *told ? 1u : 0u);
    if (scene.warnings.size() != 1) continue;
    EXPECT_TRUE(Holds(scene.warnings[0], {told}));
  }
}

TEST_F(Obj, MaterialsSayWhatSurfacesAre) {
  const struct {
    const char* lines;
    float red, transparency, roughness;
    bool isUnlit;
  } kCases[] = {{"", 0.8f, 0, 0, false},
                {"Kd 0.5\nKs 1 1 1\nNs 90", 0.5f, 0, 0.5f, false},
                {"Kd 0.5 0 0\nKs 1 1 1\nNs 90\nillum 1", 0.5f, 0, 0, false},
                {"Kd 0.5 0 0\nKs 1 1 1\nNs 90\nillum 0", 0.5f, 0, 0, true},
                {"Tr 0.25", 0.8f, 0.25f, 0, false},
                {"d -halo 0.25\nTr 0.25", 0.8f, 0.75f, 0, false},
                {"Tr 1", 0.8f, 0, 0, false},
                {"\tKD 0.25 1 1\r\n", 0.25f, 0, 0, false}};
  for (const auto& [lines, red, transparency, roughness, isUnlit] : kCases) {
    const Scene scene = WithMaterial(lines);
    const SceneMaterial& material = FirstMaterial(scene);
    EXPECT_NEAR(material.surface.base.red.Current(), red, kNear) << lines;
    EXPECT_NEAR(material.surface.transparency.Current(), transparency, kNear) << lines;
    EXPECT_NEAR(material.surface.roughness.Current(), roughness, kNear) << lines;
    EXPECT_EQ(material.isUnlit, isUnlit) << lines;
  }
  const Scene glowing = WithMaterial("Kd 0 0 0\nKe 0.5 0.25 0\n");
  EXPECT_EQ(FirstMaterial(glowing).emission[1], 0.25f);
}

TEST_F(Obj, PicturesHaveOptions) {
  Write("a b.png", FourColorsPng());
  const struct {
    const char* line;
    V2f uv;  ///< Of the last corner, (0.25, 1) in the file; from the top here.
    hostkit::PictureWrap wrap;
  } kCases[] = {
      {"map_Kd a b.png  ", {0.25f, 0}, hostkit::PictureWrap::kRepeat},
      {"map_Kd \"a b.png\"", {0.25f, 0}, hostkit::PictureWrap::kRepeat},
      {"map_Kd -clamp on -mm 0 1.5 -blendu off a b.png", {0.25f, 0}, hostkit::PictureWrap::kClamp},
      {"map_Kd -s 2 3 1 -o 0.5 0.25 -t 1 1 1 a b.png", {1, -2.25f}, hostkit::PictureWrap::kRepeat},
      {"map_Kd -s 4 -clamp off a b.png", {1, 0}, hostkit::PictureWrap::kRepeat}};
  for (const auto& [line, uv, wrap] : kCases) {
    SCOPED_TRACE(line);
    const Scene scene = WithMaterial(line);
    EXPECT_TRUE(scene.warnings.empty());
    ASSERT_EQ(scene.images.size(), 1u);
    EXPECT_EQ(scene.images[0].wrapU, wrap);
    EXPECT_TRUE(scene.meshes.at(0).uvs.at(2).equalWithAbsError(uv, kNear));
  }
}

TEST_F(Obj, PicturesOfOpacityBecomeAlpha) {
  Write("color.png", FourColorsPng());
  const unsigned char greys[] = {0, 0, 0, 255, 255, 255, 255, 255};
  Write("grey.png", samples::EncodePng(greys, 2, 1));
  const unsigned char alphas[] = {9, 9, 9, 51};
  Write("alpha.png", samples::EncodePng(alphas, 1, 1));
  const struct {
    const char* lines;
    int red, alphaLeft, alphaRight;  ///< Of the upper row.
  } kCases[] = {{"map_Kd color.png\nmap_d grey.png", 255, 0, 255},
                {"map_Kd color.png\nmap_d alpha.png", 255, 51, 51},
                {"map_Kd color.png\nmap_d color.png", 255, 255, 255},
                {"Kd 1 0 0\nmap_d grey.png", 255, 0, 255}};
  for (const auto& [lines, red, alphaLeft, alphaRight] : kCases) {
    SCOPED_TRACE(lines);
    const Scene scene = WithMaterial(lines);
    ASSERT_EQ(scene.images.size(), 1u);
    EXPECT_EQ(Pixel(scene, 0, 0)[0], red);
    EXPECT_EQ(Pixel(scene, 0, 0)[3], alphaLeft);
    EXPECT_EQ(Pixel(scene, 1, 0)[3], alphaRight);
  }
  const Scene lost = WithMaterial("map_Kd color.png\nmap_d none.png\n");
  ASSERT_EQ(lost.warnings.size(), 1u);
  EXPECT_TRUE(Holds(lost.warnings[0], {"none.png, which was not found"}));
  EXPECT_EQ(lost.images.size(), 1u);
}

}  // namespace
