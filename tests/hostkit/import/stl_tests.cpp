// STL files: text and binary, solids, and colours.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::Scene;
using hostkit::SceneMesh;
using Imath::V3f;

/// A facet of each word in the plane z = its number, facing up, of a binary file.
std::string Binary(std::string header, const std::vector<std::uint16_t>& words,
                   const V3f& normal = {0, 0, 1}) {
  header.resize(80, ' ');
  header.append({static_cast<char>(words.size()), '\0', '\0', '\0'});
  for (std::size_t i = 0; i < words.size(); ++i) {
    const auto z = static_cast<float>(i);
    const float values[] = {normal.x, normal.y, normal.z, 0, 0, z, 1, 0, z, 0, 2, z};
    header.append(reinterpret_cast<const char*>(values), sizeof values);
    header.append({static_cast<char>(words[i] & 255), static_cast<char>(words[i] >> 8)});
  }
  return header;
}

std::string Facet(const std::string& normal, const std::string& corners) {
  return "facet normal " + normal + "\n outer loop\n" + corners + " endloop\nendfacet\n";
}

const std::string kCorners = "  vertex 0 0 0\n  vertex 1 0 0\n  vertex 0 2 0\n";

class Stl : public Import {
 protected:
  Scene ReadStl(const std::string& bytes) { return Read(Write("m.stl", bytes)); }
};

TEST_F(Stl, SolidsOfTextBecomeMeshes) {
  const Scene scene = ReadStl(
      "solid first part\n" + Facet("0 0 1", kCorners) + "endsolid first part\n" + "SOLID second\n" +
      Facet("0 0 0", kCorners) + Facet("0 0 -1", kCorners + "VERTEX -1 1 0\n") + "endsolid\n");
  ASSERT_EQ(scene.meshes.size(), 2u);
  EXPECT_EQ(scene.meshes[0].name, "first part");
  EXPECT_EQ(scene.meshes[1].name, "second");
  EXPECT_EQ(scene.meshes[0].positions, (std::vector<V3f>{{0, 0, 0}, {1, 0, 0}, {0, 2, 0}}));
  EXPECT_EQ(scene.meshes[1].triangles.size(), 9u);  // of a triangle and a polygon of four
  // A facet without a normal takes that of its corners; others keep theirs.
  EXPECT_EQ(scene.meshes[1].normals.at(2), V3f(0, 0, 1));
  EXPECT_EQ(scene.meshes[1].normals.at(3), V3f(0, 0, -1));
}

TEST_F(Stl, BinaryFilesAreToldFromTextBySize) {
  const Scene scene = ReadStl(Binary("solid, so it says", {0, 0}, {0, 0, 0}));
  const SceneMesh& mesh = scene.meshes.at(0);
  EXPECT_EQ(mesh.positions.at(5), V3f(0, 2, 1));
  EXPECT_EQ(mesh.normals.at(5), V3f(0, 0, 1));
  EXPECT_TRUE(mesh.colors.empty());
}

TEST_F(Stl, ColorsAreThoseOfTheHeaderAndOfFacets) {
  const std::string whole = std::string("COLOR=\x10\x20\x30\x66", 10);
  const std::string material =
      whole + ",MATERIAL=" + "\xff\x33\x66\xff\xff\xff\xff\xff\x11\x11\x11\xff";
  using Colors = std::vector<std::vector<int>>;
  const struct {
    std::string header;
    std::vector<std::uint16_t> words;
    Colors colors;  ///< Of facets; none where the material has the colour.
    float red, transparency;
  } kCases[] = {// Highest bit set: a colour, red in the highest of its three parts.
                {"", {0x8000 | 31 << 10 | 1, 0x001f}, {{255, 0, 8}, {204, 204, 204}}, 1, 0},
                {"", {0x7fff, 0x001f}, {}, 0.8f, 0},
                // With the header's colour it is the other way round.
                {whole, {31 | 1 << 10, 0x8000 | 31}, {{255, 0, 8}, {0x10, 0x20, 0x30}}, 1, 0.6f},
                {whole, {0x8000, 0xffff}, {}, 16 / 255.0f, 0.6f},
                {whole, {0, 0}, {}, 16 / 255.0f, 0.6f},  // written by who knows of no colours
                {material, {0x8000, 0x8000}, {}, 1, 0.6f}};
  for (const auto& [header, words, colors, red, transparency] : kCases) {
    SCOPED_TRACE(header + std::to_string(words[0]));
    const Scene scene = ReadStl(Binary(header, words));
    Colors read;
    const std::vector<ColorBuf>& all = scene.meshes.at(0).colors;
    for (std::size_t i = 0; i < all.size(); i += 3) {
      read.push_back({all[i].red, all[i].green, all[i].blue});
    }
    EXPECT_EQ(read, colors);
    EXPECT_NEAR(FirstMaterial(scene).surface.base.red.Current(), red, 1e-4f);
    EXPECT_NEAR(FirstMaterial(scene).surface.transparency.Current(), transparency, 1e-4f);
  }
}

TEST_F(Stl, BrokenFilesAreRefused) {
  const std::string whole = Binary("", {0, 0});
  EXPECT_TRUE(Holds(Refusal(Write("m.stl", whole.substr(0, 150))),
                    {"it ends after 150 of the 184 bytes of its 2 facets"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.stl", whole.substr(0, 40))), {"it ends after 40 of the 84"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.stl", "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0")),
                    {"it is cut off in line 4, where it ends after 46 bytes"}));
  EXPECT_TRUE(Holds(Refusal(Write("m.stl", "solid\n" + Facet("0 0 x", kCorners))),
                    {"line 2 is none of STL"}));
}

}  // namespace
