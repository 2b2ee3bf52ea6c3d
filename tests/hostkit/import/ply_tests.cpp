// PLY files: layouts of values, and what becomes of their elements.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::Scene;
using hostkit::SceneMesh;
using Imath::V2f;
using Imath::V3d;
using Imath::V3f;

const std::string kXyz = "property float x\nproperty float y\nproperty float z\n";
const std::string kFaces = "property list uchar int vertex_indices\n";

std::string Ascii(const std::string& elements, const std::string& rows) {
  return "ply\nformat ascii 1.0\n" + elements + "end_header\n" + rows;
}

/// A square in the plane z = 0, from (0, 0) to (1, 2).
std::string PlySquare(const std::string& before, const std::string& after,
                      const std::string& rows) {
  return Ascii(before + "element vertex 4\n" + kXyz + after, "0 0 0\n1 0 0\n1 2 0\n0 2 0\n" + rows);
}

template <class Value>
std::string Bytes(Value value, bool isBig) {
  const auto bytes = std::bit_cast<std::array<char, sizeof(Value)>>(value);
  std::string text(bytes.begin(), bytes.end());
  if (isBig) std::reverse(text.begin(), text.end());
  return text;
}

std::vector<int> Channels(const ColorBuf& color) {
  return {color.red, color.green, color.blue, color.alpha};
}

/// The mesh's vertex that a triangle's corner has at a place.
std::uint32_t CornerAt(const SceneMesh& mesh, std::size_t triangle, const V3f& place) {
  for (std::size_t i = 3 * triangle; i < 3 * triangle + 3; ++i) {
    if (mesh.positions.at(mesh.triangles.at(i)) == place) return mesh.triangles[i];
  }
  ADD_FAILURE() << "no such corner";
  return 0;
}

class Ply : public Import {
 protected:
  Scene ReadPly(const std::string& bytes) { return Read(Write("m.ply", bytes)); }
};

TEST_F(Ply, ValuesOfEveryTypeAndOrderAreRead) {
  for (const bool isBig : {false, true}) {
    std::string bytes = std::string("ply\r\nformat binary_") + (isBig ? "big" : "little") +
                        "_endian 1.0\r\nobj_info of no use\r\nelement odd 1\r\n"
                        "property list ushort double unknown\r\nproperty int8 more\r\n"
                        "element vertex 3\r\nproperty double x\r\nproperty short y\r\n"
                        "property uint8 red\r\nproperty int z\r\nproperty uint16 green\r\n"
                        "property float32 blue\r\nelement face 1\r\n"
                        "property list uint8 uint32 vertex_index\r\nend_header\r\n";
    bytes += Bytes<std::uint16_t>(2, isBig) + Bytes(7.0, isBig) + Bytes(8.0, isBig) + '\1';
    const double xs[] = {0.25, -3, 5};
    for (int i = 0; i < 3; ++i) {
      bytes += Bytes(xs[i], isBig) + Bytes<std::int16_t>(std::int16_t(-300 * i), isBig) + '\x33' +
               Bytes<std::int32_t>(70'000 * i, isBig) + Bytes<std::uint16_t>(0x6666, isBig) +
               Bytes(0.6f, isBig);
    }
    bytes += '\3';
    for (std::uint32_t i : {2u, 0u, 1u}) bytes += Bytes(i, isBig);
    const Scene scene = ReadPly(bytes);
    const SceneMesh& mesh = scene.meshes.at(0);
    EXPECT_EQ(mesh.triangles, (std::vector<std::uint32_t>{2, 0, 1}));
    EXPECT_EQ(mesh.positions.at(1), V3f(-3, -300, 70'000));
    EXPECT_EQ(mesh.positions.at(2), V3f(5, -600, 140'000));
    EXPECT_EQ(Channels(mesh.colors.at(2)), (std::vector<int>{0x33, 0x66, 153, 255}));
  }
}

TEST_F(Ply, TextIsReadWithEveryEndOfLine) {
  for (const std::string end : {"\n", "\r\n", "\r"}) {
    std::string text = PlySquare("comment made by hand\nwithout a keyword\n",
                                 "element face 1\n" + kFaces, "4   0 1\t2 3 and more\n");
    for (std::size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += end.size()) {
      text.replace(at, 1, end);
    }
    EXPECT_EQ(ReadPly(text).TriangleCount(), 2u);
  }
}

TEST_F(Ply, FacesHaveTextureCoordinatesAndColorsOfTheirOwn) {
  Write("four colours.png", FourColorsPng());
  const Scene scene = ReadPly(PlySquare(
      "comment TextureFile   four colours.png  \n",
      "element face 2\n" + kFaces +
          "property list uchar float texcoord\nproperty uchar red\nproperty uchar green\n"
          "property uchar blue\n",
      "3 0 1 2  6 0 0 0.5 0 0.5 0.75  200 0 10\n3 0 2 3  6 1 1 0.5 0.25 1 0.5  0 100 20\n"));
  EXPECT_TRUE(scene.warnings.empty());
  ASSERT_EQ(scene.images.size(), 1u);
  EXPECT_EQ(FirstMaterial(scene).image, 0);
  EXPECT_EQ(FirstMaterial(scene).surface.base.red.Current(), 1);
  const SceneMesh& mesh = scene.meshes.at(0);
  EXPECT_EQ(mesh.positions.size(), 6u);  // no corner is as another
  const std::uint32_t first = CornerAt(mesh, 0, {0, 0, 0}), second = CornerAt(mesh, 1, {0, 0, 0});
  EXPECT_EQ(mesh.uvs.at(first), V2f(0, 1));  // v upwards in the file
  EXPECT_EQ(mesh.uvs.at(second), V2f(1, 0));
  EXPECT_EQ(mesh.uvs.at(CornerAt(mesh, 0, {1, 2, 0})), V2f(0.5f, 0.25f));
  EXPECT_EQ(Channels(mesh.colors.at(first)), (std::vector<int>{200, 0, 10, 255}));
  EXPECT_EQ(Channels(mesh.colors.at(second)), (std::vector<int>{0, 100, 20, 255}));
}

TEST_F(Ply, PicturesAndMaterialsAreThoseThatFacesName) {
  Write("a.png", FourColorsPng());
  Write("b.png", FourColorsPng().append("x"));
  const std::string uvs = "property list uchar float texcoord\n";
  const Scene pictures =
      ReadPly(PlySquare("comment TextureFile a.png\ncomment TextureFile b.png\n",
                        "element face 2\n" + kFaces + uvs + "property int texnumber\n",
                        "3 0 1 2  6 0 0 1 0 1 1  1\n3 0 2 3  6 0 0 1 1 0 1  0\n"));
  ASSERT_EQ(pictures.meshes.size(), 2u);
  for (const SceneMesh& mesh : pictures.meshes) {
    const bool isFirst = mesh.positions.at(1) == V3f(1, 0, 0);
    const int image = pictures.materials.at(mesh.material).image;
    EXPECT_EQ(pictures.images.at(image).name, isFirst ? "b.png" : "a.png");
  }
  const Scene materials = ReadPly(
      PlySquare("",
                "element material 1\nproperty uchar diffuse_red\nproperty uchar diffuse_green\n"
                "property uchar diffuse_blue\nproperty float opacity\nelement face 1\n" +
                    kFaces + "property int material_index\n",
                "51 102 153 0.25\n4 0 1 2 3 0\n"));
  const AttrProperty& surface = FirstMaterial(materials).surface;
  EXPECT_NEAR(surface.base.green.Current(), 0.4f, 1e-4f);
  EXPECT_NEAR(surface.transparency.Current(), 0.75f, 1e-4f);
}

TEST_F(Ply, StripsEdgesAndPointsAreDrawn) {
  const Scene strip = ReadPly(PlySquare(
      "", "element tristrips 1\nproperty list int int vertex_indices\n", "8 0 1 3 2 -1 3 0 1\n"));
  // Every second triangle of a strip is turned, which keeps all of them facing one way.
  EXPECT_EQ(strip.meshes.at(0).triangles, (std::vector<std::uint32_t>{0, 1, 3, 3, 1, 2, 3, 0, 1}));
  const Scene edges = ReadPly(
      PlySquare("",
                "element edge 2\nproperty int vertex1\nproperty int vertex2\nproperty uchar red\n"
                "property uchar green\nproperty uchar blue\n",
                "0 2 255 0 0\n2 1 0 0 255\n"));
  const SceneMesh& wires = edges.meshes.at(0);
  ASSERT_EQ(wires.lines.size(), 4u);
  EXPECT_EQ(wires.positions.at(wires.lines[1]), V3f(1, 2, 0));
  EXPECT_EQ(wires.positions.at(wires.lines[2]), V3f(1, 2, 0));
  EXPECT_EQ(Channels(wires.colors.at(wires.lines[1])), (std::vector<int>{255, 0, 0, 255}));
  EXPECT_EQ(Channels(wires.colors.at(wires.lines[2])), (std::vector<int>{0, 0, 255, 255}));
  // Some writers promise lists of faces in the rows of vertices, and bring none.
  EXPECT_EQ(ReadPly(PlySquare("", kFaces, "")).meshes.at(0).points.size(), 4u);
  EXPECT_EQ(ReadPly(PlySquare("", "element face 0\n" + kFaces, "")).meshes.at(0).points.size(), 4u);
}

TEST_F(Ply, PlacesFarFromTheOriginKeepTheirDigits) {
  const Scene scene =
      ReadPly(Ascii("element vertex 3\nproperty double x\nproperty double y\nproperty double "
                    "z\nelement face 1\n" +
                        kFaces,
                    "500000.125 5400000.25 100\n500001.125 5400000.25 100.5\n500000.125 "
                    "5400001.375 nan\n3 0 1 0\n"));
  const SceneMesh& mesh = scene.meshes.at(0);
  EXPECT_EQ(mesh.positions.at(1) - mesh.positions.at(0), V3f(1, 0, 0.5f));
  const V3d world = V3d(mesh.positions[0] * scene.instances.at(0).toWorld) + scene.origin;
  EXPECT_TRUE(world.equalWithAbsError({500'000.125, 5'400'000.25, 100}, 1e-5)) << world;
}

TEST_F(Ply, BrokenFilesAreToldOrRefused) {
  const std::string face = "element face 1\n" + kFaces;
  const std::string big = "element face 4000000000\n" + kFaces;
  const struct {
    std::string bytes;
    const char* reason;
  } kRefused[] = {
      {"ply\nformat ascii 1.0\n", "no line \"end_header\" up to its end at byte 21"},
      {"solid\n", "does not begin with the line \"ply\""},
      {PlySquare("element vertex -4\n", face, ""), "line 3 of its header, \"element vertex -4\""},
      {PlySquare("property long x\n", face, ""), "line 3 of its header"},
      {Ascii("element vertex 9\n" + kXyz + face, "0 0 0\n"), "promises 9 rows of vertex, more"},
      {Ascii("element vertex 2\n" + kXyz + face, "0 0 0\n0 x 0\n3 0 1 1\n"),
       "vertex 2 of the 2 that its header promises is broken at byte"},
      {PlySquare("", big, ""), "face 1 of the 4000000000"},
  };
  for (const auto& [bytes, reason] : kRefused) {
    EXPECT_TRUE(Holds(Refusal(Write("m.ply", bytes)), {reason}));
  }
  const Scene cut = ReadPly(PlySquare("", big, "4 0 1 2 3\n3 0 1 99\n2 2 -1\n3 1"));
  EXPECT_EQ(cut.TriangleCount(), 2u);
  ASSERT_EQ(cut.warnings.size(), 2u);
  EXPECT_TRUE(Holds(cut.warnings[0], {"face 4 of the 4000000000", "is cut off where it ends"}));
  EXPECT_TRUE(Holds(cut.warnings[1], {"2 faces name vertices that their meshes do not have"}));
}

}  // namespace
