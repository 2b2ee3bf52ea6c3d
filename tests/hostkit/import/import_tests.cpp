// Import of models: formats, places, geometry, cameras and lights.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/Lights.h"
#include "tests/hostkit/import/import_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::Scene;
using Imath::M44f;
using Imath::V3f;

M44f Placed(const V3f& at, const V3f& scale = V3f(1.0f), float turn = 0) {
  M44f matrix;
  matrix.translate(at);
  matrix.rotate(V3f(0, turn, 0));
  matrix.scale(scale);
  return matrix;
}

TEST_F(Import, CubesOfEveryFormatComeOutAlike) {
  std::string error;
  ASSERT_TRUE(samples::WriteCubes(m_folder.Path(""), &error)) << error;
  for (const char* suffix : {"obj", "ply", "stl", "dae", "3ds", "fbx"}) {
    SCOPED_TRACE(suffix);
    const Scene scene = Read(m_folder.Path("cube.") + suffix);
    EXPECT_EQ(scene.TriangleCount(), 12u);
    EXPECT_TRUE(scene.Bounds().min.equalWithAbsError(V3f(-0.5f), kNear));
    EXPECT_TRUE(scene.Bounds().max.equalWithAbsError(V3f(0.5f), kNear));
    const hostkit::SceneMesh& mesh = scene.meshes.at(0);
    ASSERT_EQ(mesh.normals.size(), mesh.positions.size());
    // Counter-clockwise fronts that look where their flat normals do, which is outwards.
    for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
      const auto* t = &mesh.triangles[i];
      const V3f &a = mesh.positions[t[0]], &b = mesh.positions[t[1]], &c = mesh.positions[t[2]];
      const V3f outward = (b - a).cross(c - a).normalized();
      // 3DS holds no normals: its importer makes smooth ones.
      const float least = std::string(suffix) == "3ds" ? 0.3f : 0.99f;
      EXPECT_GT(outward.dot(mesh.normals[t[0]]), least);
      EXPECT_GT(outward.dot(a), 0.4f);
    }
    const AttrProperty& surface = scene.materials.at(mesh.material).surface;
    EXPECT_EQ(surface.transparency.Current(), 0);
    if (std::string(suffix) == "ply" || std::string(suffix) == "stl") continue;
    EXPECT_NEAR(surface.base.red.Current(), 0.8f, 0.01f);
    EXPECT_NEAR(surface.base.green.Current(), 0.1f, 0.01f);
  }
}

TEST_F(Import, LargeSpheresHaveTheNumberOfTrianglesAskedFor) {
  std::string error;
  for (const char* name : {"large.ply", "large.glb"}) {
    const std::string path = m_folder.Path(name);
    ASSERT_TRUE(samples::WriteBumpySphere(path, 12'345, &error)) << error;
    const Scene scene = Read(path);
    EXPECT_EQ(scene.TriangleCount(), 12'345u);
    EXPECT_NEAR(scene.Bounds().size().y, 2, 0.2f);
  }
}

TEST_F(Import, NodesPlaceSharedAndMirroredMeshes) {
  samples::Document document = OneBox();
  document.nodes[0].toParent = Placed({10, 0, 0});
  document.nodes.resize(3, document.nodes[0]);
  document.nodes[1].toParent = Placed({0, 5, 0}, {-1, 2, 1});
  document.nodes[2].toParent = Placed({3, 0, 0});
  document.nodes[2].parent = 1;
  const Scene scene = ReadGlb(document);
  ASSERT_EQ(scene.meshes.size(), 1u);
  ASSERT_EQ(scene.instances.size(), 3u);
  EXPECT_EQ(scene.TriangleCount(), 36u);
  EXPECT_GT(scene.instances[0].toWorld.determinant(), 0);
  EXPECT_LT(scene.instances[1].toWorld.determinant(), 0);
  EXPECT_TRUE((V3f(0.0f) * scene.instances[2].toWorld).equalWithAbsError({-3, 5, 0}, kNear));
  EXPECT_TRUE(scene.Bounds().min.equalWithAbsError({-3.5f, -0.5f, -0.5f}, kNear));
  EXPECT_TRUE(scene.Bounds().max.equalWithAbsError({10.5f, 6, 0.5f}, kNear));
}

TEST_F(Import, VertexColorsWithoutAlphaAreOpaque) {
  const Scene cloud = Read(Write("cloud.ply",
                                 "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\n"
                                 "property float y\nproperty float z\nproperty uchar red\n"
                                 "property uchar green\nproperty uchar blue\nend_header\n"
                                 "0 0 0 255 0 0\n1 1 1 0 0 255\n"));
  ASSERT_EQ(cloud.meshes.at(0).points.size(), 2u);
  EXPECT_EQ(cloud.meshes[0].colors.at(1).blue, 255);
  EXPECT_FALSE(cloud.meshes[0].colorsHaveAlpha);
  EXPECT_EQ(cloud.materials[cloud.meshes[0].material].surface.base.red.Current(), 1);
}

/// A COLLADA file of one triangle with a camera 60 degrees wide and a spot light 90 degrees wide.
const char* const kColladaView = R"(<?xml version="1.0"?>
<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><unit name="meter" meter="1"/><up_axis>Y_UP</up_axis></asset>
<library_cameras><camera id="c" name="c"><optics><technique_common><perspective><xfov>60</xfov>
<aspect_ratio>1.5</aspect_ratio></perspective></technique_common></optics></camera>
</library_cameras>
<library_lights><light id="l"><technique_common><spot><color>0.5 0.25 0</color>
<falloff_angle>90</falloff_angle></spot></technique_common></light></library_lights>
<library_geometries><geometry id="g"><mesh><source id="p"><float_array id="a" count="9">
0 0 0 1 0 0 0 1 0</float_array><technique_common><accessor source="#a" count="3" stride="3">
<param name="X" type="float"/><param name="Y" type="float"/><param name="Z" type="float"/>
</accessor></technique_common></source><vertices id="v"><input semantic="POSITION" source="#p"/>
</vertices><triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p>
</triangles></mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s">
<node id="gn"><instance_geometry url="#g"/></node>
<node id="cn"><translate>0 0 4</translate><instance_camera url="#c"/></node>
<node id="ln"><translate>0 3 0</translate><rotate>1 0 0 -90</rotate><instance_light url="#l"/>
</node></visual_scene></library_visual_scenes>
<scene><instance_visual_scene url="#s"/></scene></COLLADA>)";

TEST_F(Import, AnglesOfOtherFormatsAreFullOnes) {
  const Scene scene = Read(Write("view.dae", kColladaView));
  ASSERT_EQ(scene.cameras.size(), 1u);
  const float half = std::atan(std::tan(std::acos(-1.0f) / 6) / 1.5f);
  EXPECT_NEAR(scene.cameras[0].verticalFov, 2 * half, kNear);
  ASSERT_EQ(scene.lights.size(), 1u);
  EXPECT_NEAR(scene.lights[0].coneAngle, 45, 0.01f);
  EXPECT_NEAR(scene.lights[0].intensity, 0.5f, kNear);
  EXPECT_NEAR(scene.lights[0].green, 0.5f, kNear);
  EXPECT_TRUE(scene.lights[0].direction.equalWithAbsError({0, -1, 0}, kNear));
}

TEST_F(Import, PhysicalLightsAreBroughtToScreenBrightness) {
  samples::Document document = OneBox();
  const float quarter = std::acos(0.0f);
  document.lights = {{"sun", "directional", {1, 1, 1}, 1000},
                     {"bulb", "point", {1, 0.5f, 0}, 2500},
                     {"lamp", "spot", {0, 1, 0}, 2500, 0.2f, 0.5f}};
  document.nodes.resize(4);
  for (int i = 1; i < 4; ++i) {
    document.nodes[i].name = document.lights[i - 1].name;
    document.nodes[i].light = i - 1;
    document.nodes[i].toParent = Placed({5, 0, 0}, V3f(1.0f), quarter);
  }
  const Scene scene = ReadGlb(document);
  ASSERT_EQ(scene.lights.size(), 3u);
  const hostkit::SceneLight &sun = scene.lights[0], &bulb = scene.lights[1],
                            &lamp = scene.lights[2];
  EXPECT_EQ(sun.type, GALight::kDirectional);
  EXPECT_EQ(bulb.type, GALight::kPoint);
  EXPECT_EQ(lamp.type, GALight::kSpot);
  // At the box, 5 units away, 2500 candela are 100 lux: a tenth of the sun.
  EXPECT_NEAR(sun.intensity, 1, kNear);
  EXPECT_NEAR(bulb.intensity, 0.1f, kNear);
  EXPECT_NEAR(0.8333333f + 0.31259f * 25 / (bulb.range * bulb.range), 1, 0.01f);
  EXPECT_NEAR(bulb.green, 0.5f, kNear);
  EXPECT_NEAR(lamp.coneAngle, 0.5f * 180 / std::acos(-1.0f), 0.01f);
  EXPECT_TRUE(lamp.position.equalWithAbsError({5, 0, 0}, kNear));
  EXPECT_TRUE(lamp.direction.equalWithAbsError({-1, 0, 0}, kNear));
  EXPECT_TRUE(sun.direction.equalWithAbsError({-1, 0, 0}, kNear));
}

TEST_F(Import, NormalsAreMadeSmoothButForSharpEdges) {
  samples::Document document = OneBox();
  document.meshes[0].shape.normals.clear();
  const Scene box = ReadGlb(document);
  for (const V3f& n : box.meshes.at(0).normals) {
    EXPECT_NEAR(std::max({std::abs(n.x), std::abs(n.y), std::abs(n.z)}), 1, kNear);
  }
  const samples::Shape round = samples::Sphere(2, 24, 16);
  std::string faces;
  for (const V3f& p : round.positions) faces += fmt::format("v {} {} {}\n", p.x, p.y, p.z);
  for (std::size_t i = 0; i < round.indices.size(); i += 3) {
    const auto* corner = &round.indices[i];
    faces += fmt::format("f {} {} {}\n", corner[0] + 1, corner[1] + 1, corner[2] + 1);
  }
  const Scene sphere = Read(Write("sphere.obj", faces));
  const hostkit::SceneMesh& mesh = sphere.meshes.at(0);
  for (std::uint32_t i : mesh.triangles) {
    EXPECT_GT(mesh.normals[i].dot(mesh.positions[i].normalized()), 0.97f);
  }
  // Shared vertices on a sharp edge are split, with all that belongs to them.
  const Scene tent = Read(Write("tent.obj",
                                "v 0 1 0\nv 0 1 1\nv 1 0 0\nv 1 0 1\nv -1 0 0\nv -1 0 1\n"
                                "f 1 2 4 3\nf 2 1 5 6\n"));
  const hostkit::SceneMesh& roof = tent.meshes.at(0);
  EXPECT_EQ(roof.triangles.size(), 12u);
  EXPECT_EQ(roof.normals.size(), roof.positions.size());
  for (std::uint32_t i : roof.triangles) EXPECT_NEAR(std::abs(roof.normals[i].x), 0.7071f, 0.01f);
}

TEST_F(Import, LinesAndPointsAreKept) {
  const Scene scene = Read(Write("lines.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nl 1 2 3\nf 1 2 3\n"));
  std::size_t lines = 0;
  for (const hostkit::SceneMesh& mesh : scene.meshes) lines += mesh.lines.size() / 2;
  EXPECT_EQ(lines, 2u);
  EXPECT_EQ(scene.TriangleCount(), 1u);
}

TEST_F(Import, FacesThatCannotBeDrawnAreLeftOut) {
  samples::Document document = OneBox();
  samples::Shape& shape = document.meshes[0].shape;
  const std::size_t corner = shape.indices[12];
  shape.positions[corner].y = std::numeric_limits<float>::quiet_NaN();
  shape.indices[35] = 99;
  const std::size_t touching =
      static_cast<std::size_t>(std::count(shape.indices.begin(), shape.indices.end(), corner));
  const Scene scene = ReadGlb(document);
  EXPECT_EQ(scene.TriangleCount(), 12 - touching - 1);
  EXPECT_FALSE(scene.warnings.empty());
  EXPECT_TRUE(scene.Bounds().max.equalWithAbsError(V3f(0.5f), kNear));
  for (std::uint32_t index : scene.meshes.at(0).triangles) {
    EXPECT_LT(index, scene.meshes[0].positions.size());
  }
}

TEST_F(Import, BadFilesAreRefusedWithTheirReason) {
  const std::pair<std::string, const char*> cases[] = {
      {m_folder.Path("none.obj"), "no such file"},
      {m_folder.Path(""), "is a folder"},
      {Write("empty.ply", ""), "is empty"},
      {Write("model.xyz", "1 2 3"), "not known"},
      {Write("plain", "1 2 3"), "no suffix"},
      {Write("lone.obj", "vn 0 0 1\n"), "nothing to draw"}};
  for (const auto& [path, reason] : cases) EXPECT_TRUE(Holds(Refusal(path), {reason}));
  const std::string noise(300, '\xa7');
  for (const char* name : {"noise.glb", "noise.gltf", "noise.ply", "noise.dae", "noise.fbx"}) {
    Refusal(Write(name, noise));
  }
  const std::string whole = samples::ToGlb(OneBox());
  for (std::size_t size : {std::size_t{30}, whole.size() / 2}) {
    Refusal(Write("half.glb", whole.substr(0, size)));
  }
}

TEST_F(Import, AppendedScenesKeepTheirReferences) {
  samples::Document document = PicturedBox();
  Scene scene = ReadGlb(document);
  const std::size_t materials = scene.materials.size();
  hostkit::AppendScene(scene, ReadGlb(document));
  ASSERT_EQ(scene.instances.size(), 2u);
  EXPECT_EQ(scene.TriangleCount(), 24u);
  const auto& mesh = scene.meshes.at(scene.instances[1].mesh);
  EXPECT_EQ(mesh.material, static_cast<int>(materials));
  EXPECT_EQ(scene.materials[mesh.material].image, 1);
}

}  // namespace
