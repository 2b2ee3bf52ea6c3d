// Import of materials and of the pictures on them, and of pictures alone.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "hostkit/pictures/picture_in.h"
#include "tests/hostkit/import/import_fixture.h"

namespace {

using hostkit::Scene;
using Imath::V2f;
using Imath::V3f;

const unsigned char* TexelAt(const hostkit::BitmapPtr& bitmap, int x, int y) {
  auto* buffer = static_cast<HRGBABuffer*>(bitmap->FindBuffer("Color"));
  return static_cast<unsigned char*>(buffer->GetData(y)) + 4 * x;
}

float Transparency(const Scene& scene) {
  return scene.materials.at(0).surface.transparency.Current();
}

/// The picture's colour at the box corner of the front face given by signs, as red, green, blue.
std::vector<int> ColorAtFrontCorner(const Scene& scene, float signX, float signY) {
  const hostkit::SceneMesh& mesh = scene.meshes.at(0);
  for (std::size_t i = 0; i < mesh.positions.size(); ++i) {
    const V3f& p = mesh.positions[i];
    const V3f& n = mesh.normals[i];
    if (n.z < 0.9f || p.x * signX < 0 || p.y * signY < 0) continue;
    const V2f uv = mesh.uvs.at(i);
    const auto* pixel = TexelAt(scene.images.at(0).bitmap, uv.x > 0.5f, uv.y > 0.5f);
    return {pixel[0], pixel[1], pixel[2]};
  }
  return {};
}

TEST_F(Import, UnnamedMaterialsKeepTheirColors) {
  const std::string faces =
      "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl DefaultMaterial\nf 1 2 3\n";
  for (const auto& [material, red, green] :
       {std::tuple{"Kd 1 0 0", 1.0f, 0.0f}, {"Kd 0.1 0.1 0.1", 0.1f, 0.1f}, {"Ns 1", 0.8f, 0.8f}}) {
    Write("m.mtl", std::string("newmtl DefaultMaterial\n") + material + "\n");
    const Scene scene = Read(Write("m.obj", faces));
    const AttrProperty& surface = FirstMaterial(scene).surface;
    EXPECT_NEAR(surface.base.red.Current(), red, 1e-3f) << material;
    EXPECT_NEAR(surface.base.green.Current(), green, 1e-3f) << material;
  }
}

TEST_F(Import, EmbeddedPictureStandsUpright) {
  samples::Document document = PicturedBox();
  document.materials[0].color = V3f(1.0f);
  const Scene scene = ReadGlb(document);
  EXPECT_EQ(ColorAtFrontCorner(scene, -1, 1), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ(ColorAtFrontCorner(scene, 1, 1), (std::vector<int>{0, 255, 0}));
  EXPECT_EQ(ColorAtFrontCorner(scene, -1, -1), (std::vector<int>{0, 0, 255}));
  EXPECT_NEAR(scene.materials[0].surface.base.red.Current(), 1, kNear);
}

/// A square in the x-y plane with OBJ's texture origin at its lower left corner.
const char* const kSquareObj =
    "mtllib square.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
    "vn 0 0 1\nusemtl paint\nf 1/1/1 2/2/1 3/3/1 4/4/1\n";

TEST_F(Import, ExternalPictureIsFoundUnderForeignNames) {
  Write("textures/Four Colors.PNG", FourColorsPng());
  const std::string obj = Write("square.obj", kSquareObj);
  for (const char* reference : {"textures/Four Colors.PNG", "TEXTURES\\four colors.png",
                                "C:\\work\\maps\\four colors.png", "/nowhere/Four Colors.PNG"}) {
    SCOPED_TRACE(reference);
    Write("square.mtl", std::string("newmtl paint\nKd 1 0.5 1\nmap_Kd ") + reference + "\n");
    const Scene scene = Read(obj);
    EXPECT_TRUE(scene.warnings.empty());
    ASSERT_EQ(scene.images.size(), 1u);
    EXPECT_EQ(ColorAtFrontCorner(scene, -1, 1), (std::vector<int>{255, 0, 0}));
    EXPECT_EQ(ColorAtFrontCorner(scene, 1, -1), (std::vector<int>{255, 255, 255}));
    EXPECT_NEAR(FirstMaterial(scene).surface.base.green.Current(), 0.5f, kNear);
  }
}

TEST_F(Import, MissingOrBrokenPictureIsAWarning) {
  Write("square.mtl", "newmtl paint\nmap_Kd lost.png\n");
  const std::string obj = Write("square.obj", kSquareObj);
  Scene scene = Read(obj);
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_NE(scene.warnings[0].find("lost.png was not found"), std::string::npos);
  EXPECT_EQ(FirstMaterial(scene).image, -1);
  Write("lost.png", FourColorsPng().substr(0, 50));
  scene = Read(obj);
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_NE(scene.warnings[0].find("broken"), std::string::npos) << scene.warnings[0];
}

TEST_F(Import, TransmissionThinsASurface) {
  samples::Document document = OneBox();
  document.materials[0].transmission = 1;
  EXPECT_NEAR(Transparency(ReadGlb(document)), 0.75f, kNear);
}

TEST_F(Import, ObjOpacityIsKeptUnlessItHidesEverything) {
  const std::string obj = Write("square.obj", kSquareObj);
  const std::pair<const char*, float> cases[] = {{"d 0.25", 0.75f}, {"d 1", 0}, {"d 0", 0}};
  for (const auto& [line, transparency] : cases) {
    Write("square.mtl", std::string("newmtl paint\nKd 1 0 0\n") + line + "\n");
    const Scene scene = Read(obj);
    EXPECT_NEAR(FirstMaterial(scene).surface.transparency.Current(), transparency, kNear) << line;
  }
}

TEST_F(Import, MaterialsKeepColorAndHighlight) {
  samples::Document document = OneBox();
  samples::Material& material = document.materials[0];
  material.color = {0.9f, 0.6f, 0.2f};
  material.roughness = 0.4f;
  const AttrProperty plastic = ReadGlb(document).materials[0].surface;
  EXPECT_NEAR(plastic.base.red.Current(), 0.9f, 0.01f);
  EXPECT_NEAR(plastic.base.blue.Current(), 0.2f, 0.01f);
  EXPECT_NEAR(plastic.roughness.Current(), 0.591f, 0.001f);  // the exponent 76
  EXPECT_NEAR(plastic.specularFactor.Current(), 0.38f, kNear);
  EXPECT_NEAR(plastic.specular.blue.Current(), 1, kNear);
  material.metallic = 1;
  const AttrProperty metal = ReadGlb(document).materials[0].surface;
  EXPECT_NEAR(metal.base.red.Current(), 0.711f, 0.005f) << "some of it is in the highlight";
  EXPECT_NEAR(metal.specularFactor.Current(), 0.72f, kNear);
  EXPECT_NEAR(metal.specular.red.Current(), 0.925f, 0.005f);
  EXPECT_NEAR(metal.specular.blue.Current(), 0.4f, 0.005f);
  material.roughness = 1;
  EXPECT_EQ(ReadGlb(document).materials[0].surface.roughness.Current(), 0);

  Write("square.mtl", "newmtl paint\nKd 1 0 0\nKs 1 1 1\nNs 9\nillum 2\n");
  const Scene scene = Read(Write("square.obj", kSquareObj));
  EXPECT_NEAR(FirstMaterial(scene).surface.roughness.Current(), 5,
              kNear);  // the renderer's exponent 45 / 5
}

TEST_F(Import, PicturesOfEachKindAreRead) {
  std::string error;
  const std::string png = FourColorsPng();
  const hostkit::BitmapPtr bitmap = hostkit::LoadPicture(Write("four.png", png), &error);
  ASSERT_NE(bitmap, nullptr) << error;
  EXPECT_EQ(bitmap->GetWidth(), 2);
  EXPECT_TRUE(std::equal(kFourColors, kFourColors + 8, TexelAt(bitmap, 0, 0)));
  EXPECT_TRUE(std::equal(kFourColors + 8, kFourColors + 16, TexelAt(bitmap, 0, 1)));

  // A radiance picture of one pixel: 0.25 and 1 and 4, shown as sRGB encodes 0.25, and 1, 1.
  const std::string hdr =
      std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n") + "\x08\x20\x80\x83";
  const hostkit::BitmapPtr bright = hostkit::LoadPicture(Write("bright.hdr", hdr), &error);
  ASSERT_NE(bright, nullptr) << error;
  EXPECT_NEAR(TexelAt(bright, 0, 0)[0], 137, 1);
  EXPECT_EQ(TexelAt(bright, 0, 0)[2], 255);
}

TEST_F(Import, BadPicturesAreRefusedWithTheirReason) {
  // A BMP header that promises 40000 x 1 pixels.
  std::string huge("BM\0\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x40\x9c\0\0\1\0\0\0\1\0\x18\0", 30);
  huge.resize(54, '\0');
  const std::pair<std::string, const char*> cases[] = {
      {m_folder.Path("none.png"), "no such picture"},
      {m_folder.Path(""), "is a folder"},
      {Write("empty.png", ""), "is empty"},
      {Write("text.png", "not a picture at all"), "not a PNG, EXR"},
      {Write("half.png", FourColorsPng().substr(0, 50)), "broken"},
      {Write("huge.bmp", huge), "too many"}};
  for (const auto& [path, reason] : cases) {
    std::string error;
    EXPECT_EQ(hostkit::LoadPicture(path, &error), nullptr);
    EXPECT_TRUE(error.starts_with(path + ": ")) << error;
    EXPECT_NE(error.find(reason), std::string::npos) << error;
  }
}

/// The cube of a new file: flat, and white in colours that are bytes there.
TEST_F(Import, BlenderCubesAreFlatAndInTheirColors) {
  const std::string path = "/usr/share/assimp/models/BLEND/BlenderDefault_250.blend";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "assimp-testmodels is not installed";
  const Scene scene = Read(path);
  const hostkit::SceneMesh& cube = scene.meshes.at(0);
  for (const V3f& normal : cube.normals) {
    EXPECT_NEAR(std::max({std::abs(normal.x), std::abs(normal.y), std::abs(normal.z)}), 1, 1e-4f);
  }
  for (const ColorBuf& color : cube.colors) {
    EXPECT_EQ(color.red + color.green + color.blue + color.alpha, 4 * 255);
  }
}

/// A picture that is laid on along z reaches from the least x to the greatest, straight.
TEST_F(Import, PicturesAreLaidOnAsByProjectors) {
  const std::string path = "/usr/share/assimp/models/LWO/LWO2/MappingModes/earth_planar_z.lwo";
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "assimp-testmodels is not installed";
  const Scene scene = Read(path);
  const hostkit::SceneMesh& mesh = scene.meshes.at(0);
  ASSERT_EQ(mesh.uvs.size(), mesh.positions.size());
  const auto byX = [](const V3f& a, const V3f& b) { return a.x < b.x; };
  const auto [least, most] = std::minmax_element(mesh.positions.begin(), mesh.positions.end(), byX);
  for (std::size_t i = 0; i < mesh.uvs.size(); ++i) {
    EXPECT_NEAR(mesh.uvs[i].x, (mesh.positions[i].x - least->x) / (most->x - least->x), 1e-3f) << i;
  }
}

}  // namespace
