// glTF files: what is refused and why, scenes, nodes, cameras, lights, animations and skins.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/scene/node_animation.h"
#include "tests/hostkit/import/gltf_fixture.h"
#include "tests/support/common/holds.h"

namespace {

using hostkit::KeyCurve;
using hostkit::Scene;
using Imath::M44f;
using Imath::V3f;

/// A triangle that a node places.
const char* const kTriangle = R"("meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)";

GltfText TriangleArrays() {
  GltfText file;
  file.Floats({0, 0, 0, 2, 0, 0, 0, 1, 0}, 3);
  return file;
}

TEST_F(Gltf, BrokenFilesSayWhatIsWrong) {
  const std::string glb = samples::ToGlb(OneBox());
  const std::string size = fmt::format("{},{:03}", glb.size() / 1000, glb.size() % 1000);
  const std::string text = TriangleArrays().Text(kTriangle);
  const auto with = [&](const std::string& members) {
    return TriangleArrays().Text(kTriangle + members);
  };
  const auto replaced = [&](const std::string& from, const std::string& to) {
    return std::string(text).replace(text.find(from), from.size(), to);
  };
  const std::pair<std::string, std::string> cases[] = {
      {glb.substr(0, 1000), "ends after 1,000 of " + size + " bytes"},
      {text.substr(0, 90), "ends in the middle of its JSON, after 90 bytes"},
      {std::string(text).replace(90, 1, "\x01"), "not valid JSON at byte 91"},
      {"[1, 2]", "holds JSON, but no glTF"},
      {"\n<?xml version\x1B", "no glTF file, since it begins with \"<?xml versio\""},
      {with(R"("extensionsRequired":["KHR_mesh_quantization","KHR_texture_basisu"],)"),
       "requires the extension KHR_texture_basisu"},
      {replaced(R"("2.0")", R"("2.1","minVersion":"2.1")"), "needs glTF 2.1"},
      {replaced(R"("2.0")", R"("3.0")"), "needs glTF 3.0"},
      {replaced(R"("byteLength":36,"uri")", R"("byteLength":1236,"uri")"),
       "buffer 0 ends after 36 of 1,236 bytes"},
      {replaced("octet-stream,", "octet-stream;base64,"), "buffer 0 is no base64 text"},
      {with(
           R"("scenes":[{"nodes":[0]}],"nodes":[{"mesh":0,"children":[1]},{"children":[2]},{"name":"loop","children":[1]}],)"),
       "node 1 is below itself"}};
  for (const auto& [bytes, reason] : cases) {
    EXPECT_TRUE(Holds(Refusal(Write("m.gltf", bytes)), {reason}));
  }
}

TEST_F(Gltf, ExtensionsThatAreNotKnownAreOneWarning) {
  const Scene scene = ReadText(
      TriangleArrays(),
      std::string(kTriangle) +
          R"("extensionsUsed":["KHR_materials_sheen","KHR_materials_unlit","KHR_texture_basisu","A","B"],)");
  ASSERT_EQ(scene.warnings.size(), 1u);
  EXPECT_TRUE(
      Holds(scene.warnings[0], {": KHR_materials_sheen, KHR_texture_basisu, A and 1 more"}));
}

TEST_F(Gltf, ChunksOfOddLengthsAndBlanksAreRead) {
  const std::string text =
      R"({"asset":{"version":"2.0"},"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],)"
      R"("accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],)"
      R"("bufferViews":[{"buffer":0,"byteLength":36}],"buffers":[{"byteLength":36}]})";
  const float corners[] = {0, 0, 0, 2, 0, 0, 0, 1, 0};
  const std::string bytes(reinterpret_cast<const char*>(corners), sizeof corners);
  const auto word = [](std::size_t number) {
    const auto value = static_cast<std::uint32_t>(number);
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
  };
  for (const std::string& fill : std::vector<std::string>{"", " ", std::string(1, '\0'), "   "}) {
    const std::string json = text + fill;
    const std::string chunks =
        word(json.size()) + "JSON" + json + word(bytes.size()) + std::string("BIN\0", 4) + bytes;
    const Scene scene = Read(Write("m.glb", "glTF" + word(2) + word(12 + chunks.size()) + chunks));
    EXPECT_EQ(scene.Bounds().max, V3f(2, 1, 0)) << fill.size();
  }
}

TEST_F(Gltf, ScenesAreChosenByName) {
  const std::string members =
      std::string(kTriangle) +
      R"("scene":1,"scenes":[{"name":"one","nodes":[0]},{"name":"two","nodes":[1,2]}],)"
      R"("nodes":[{"mesh":0},{"mesh":0},{"mesh":0,"translation":[0,0,5]}],)";
  const std::string path = Write("m.gltf", TriangleArrays().Text(members));
  EXPECT_EQ(Read(path).instances.size(), 2u);
  std::string error;
  hostkit::ImportOptions options;
  options.scene = "one";
  EXPECT_EQ(hostkit::ImportModel(path, &error, options)->instances.size(), 1u);
  options.scene = "three";
  EXPECT_EQ(hostkit::ImportModel(path, &error, options), nullptr);
  EXPECT_TRUE(Holds(error, {"no scene three", "one, two"}));
  // Without scenes all that is no child is there.
  EXPECT_EQ(ReadText(TriangleArrays(),
                     std::string(kTriangle) + R"("nodes":[{"mesh":0,"children":[1]},{"mesh":0}],)")
                .instances.size(),
            2u);
}

TEST_F(Gltf, NodesNestDeeply) {
  std::string nodes = R"({"mesh":0})";
  for (int i = 1; i < 20000; ++i)
    nodes += fmt::format(R"(,{{"translation":[0,0,1],"children":[{}]}})", i - 1);
  const Scene scene =
      ReadText(TriangleArrays(),
               fmt::format(R"({}"scenes":[{{"nodes":[19999]}}],"nodes":[{}],"extras":{}{},)",
                           kTriangle, nodes, std::string(100000, '['), std::string(100000, ']')));
  EXPECT_EQ(Imath::V3d(scene.Bounds().max) + scene.origin, Imath::V3d(2, 1, 19999));
}

TEST_F(Gltf, CamerasAndLightsAreThereForEachNodeThatHasThem) {
  // A quarter turn about y: what looked along -z looks along -x.
  const std::string turn = R"("rotation":[0,0.70710678,0,0.70710678])";
  const std::string members =
      std::string(kTriangle) +
      R"("cameras":[{"type":"perspective","perspective":{"yfov":0.5,"znear":0.1}},)"
      R"({"name":"plan","type":"orthographic","orthographic":{"xmag":4,"ymag":3,"znear":0,"zfar":9}}],)"
      R"("extensionsUsed":["KHR_lights_punctual"],"extensions":{"KHR_lights_punctual":{"lights":[)"
      R"({"type":"spot","spot":{"outerConeAngle":0.5},"intensity":100},{"type":"directional","color":[1,0.5,0]}]}},)"
      R"("nodes":[{"mesh":0,"translation":[-1,-0.5,0]},)"
      R"({"name":"near","camera":0,"translation":[0.5,0.5,3],"scale":[2,2,2]},)"
      R"({"camera":1,"matrix":[0,0,-1,0, 0,1,0,0, 1,0,0,0, 7,8,9,1]},)"
      R"({"name":"far","camera":0,"translation":[1,0,0],"children":[4]},{"camera":1,)" +
      turn +
      R"(,"translation":[0,2,0]},)"
      R"({"extensions":{"KHR_lights_punctual":{"light":0}},"translation":[0,0,10]},)"
      R"({"extensions":{"KHR_lights_punctual":{"light":1}},)" +
      turn +
      R"(},)"
      R"({"extensions":{"KHR_lights_punctual":{"light":1}}}],)";
  const Scene scene = ReadText(TriangleArrays(), members);
  const struct {
    const char* name;
    V3f eye, forward;
    float fov, height;
  } cases[] = {{"near", {0.5f, 0.5f, 3}, {0, 0, -1}, 0.5f, 0},
               {"plan", {7, 8, 9}, {-1, 0, 0}, 0, 6},
               {"far", {1, 0, 0}, {0, 0, -1}, 0.5f, 0},
               {"plan", {1, 2, 0}, {-1, 0, 0}, 0, 6}};
  ASSERT_EQ(scene.cameras.size(), std::size(cases));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const hostkit::SceneCamera& camera = scene.cameras[i];
    EXPECT_EQ(camera.name, cases[i].name);
    EXPECT_TRUE(camera.eye.equalWithAbsError(cases[i].eye, kNear));
    EXPECT_TRUE(camera.forward.equalWithAbsError(cases[i].forward, kNear));
    const float fov = camera.parallelHeight > 0 ? 0 : camera.verticalFov;
    EXPECT_NEAR(fov, cases[i].fov, kNear);
    EXPECT_NEAR(camera.parallelHeight, cases[i].height, kNear);
    EXPECT_NEAR(camera.aspect, cases[i].height > 0 ? 4 / 3.0f : 0, kNear);
  }
  ASSERT_EQ(scene.lights.size(), 3u);
  // 100 candela at 10 units are 1 lux, as bright as the two suns; together they reach 1.8.
  for (const hostkit::SceneLight& light : scene.lights) EXPECT_NEAR(light.intensity, 0.6f, kNear);
  EXPECT_TRUE(scene.lights[1].direction.equalWithAbsError({-1, 0, 0}, kNear));
  EXPECT_TRUE(scene.lights[2].direction.equalWithAbsError({0, 0, -1}, kNear));
  EXPECT_NEAR(scene.lights[2].green, 0.5f, kNear);
}

TEST_F(Gltf, CopiesOfAMeshAreWhereTheirArraysSay) {
  GltfText file = TriangleArrays();
  const int moves = file.Floats({1, 0, 0, 0, 5, 0}, 3);
  const int scales = file.Floats({1, 1, 1, 3, 3, 3}, 3);
  const Scene scene = ReadText(
      file,
      fmt::format(
          R"({}"nodes":[{{"mesh":0,"translation":[0,0,7],"extensions":{{"EXT_mesh_gpu_instancing":{{"attributes":{{"TRANSLATION":{},"SCALE":{}}}}}}}}}],)",
          kTriangle, moves, scales));
  ASSERT_EQ(scene.instances.size(), 2u);
  EXPECT_EQ(V3f(2, 0, 0) * scene.instances[0].toWorld, V3f(3, 0, 7));
  EXPECT_EQ(V3f(2, 0, 0) * scene.instances[1].toWorld, V3f(6, 5, 7));
}

TEST_F(Gltf, KeysKeepTheirCurvesAndTypes) {
  GltfText file = TriangleArrays();
  const int times = file.Floats({0, 2}, 1);
  const int moves = file.Floats({0, 0, 0, 4, 0, 0}, 3);
  const int cubic = file.Floats({0, 0, 0, 1, 1, 1, 2, 0, 0, 3, 0, 0, 1, 2, 1, 0, 0, 0}, 3);
  // A half turn about y in normalised shorts.
  const int turns =
      file.Accessor(file.View(std::vector<std::int16_t>{0, 0, 0, 32767, 0, 32767, 0, 0}), 5122, 2,
                    "VEC4", R"(,"normalized":true)");
  const Scene scene = ReadText(
      file,
      fmt::format(
          R"({0}"nodes":[{{"mesh":0}},{{"mesh":0,"children":[2]}},{{"mesh":0,"translation":[1,0,0]}}],"animations":[{{"name":"go","channels":[)"
          R"({{"sampler":0,"target":{{"node":0,"path":"translation"}}}},{{"sampler":1,"target":{{"node":1,"path":"scale"}}}},{{"sampler":2,"target":{{"node":1,"path":"rotation"}}}},{{"sampler":1,"target":{{"node":2,"path":"glow"}}}}],)"
          R"("samplers":[{{"input":{1},"output":{2},"interpolation":"STEP"}},{{"input":{1},"output":{3},"interpolation":"CUBICSPLINE"}},{{"input":{1},"output":{4}}}]}}],)",
          kTriangle, times, moves, cubic, turns));
  ASSERT_EQ(scene.motion.animations.size(), 1u);
  const hostkit::SceneAnimation& animation = scene.motion.animations[0];
  EXPECT_EQ(animation.duration, 2);
  ASSERT_EQ(animation.channels.size(), 2u);
  EXPECT_EQ(scene.warnings.size(), 1u) << "of a glow";
  const auto& step = animation.channels[0].translations;
  EXPECT_EQ(step.curve, KeyCurve::kStep);
  EXPECT_EQ(step.keys.at(1).value, V3f(4, 0, 0));
  const auto& spline = animation.channels[1].scales;
  ASSERT_EQ(spline.tangents.size(), 2u);
  EXPECT_EQ(spline.keys.at(1).value, V3f(1, 2, 1));
  EXPECT_EQ(spline.tangents[0].out, V3f(2, 0, 0));
  EXPECT_EQ(spline.tangents[1].in, V3f(3, 0, 0));
  const Imath::Quatf& turned = animation.channels[1].rotations.keys.at(1).value;
  EXPECT_NEAR(turned.v.y, 1, kNear);
  EXPECT_NEAR(turned.r, 0, kNear);
  // The third instance hangs on the second node.
  ASSERT_EQ(scene.motion.instances.size(), 3u);
  EXPECT_EQ(scene.motion.instances[2].node, animation.channels[1].node);
  EXPECT_EQ(scene.motion.instances[2].toNode.translation(), V3f(1, 0, 0));
}

/// A triangle on two joints, the second three units up, and a morph target one unit to the right;
/// its own node is far away.
std::string SkinnedMembers(GltfText& file, bool isAnimated) {
  const int joints = file.Accessor(
      file.View(std::vector<std::uint8_t>{0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0}), 5121, 3, "VEC4");
  const int weights = file.Floats({1, 0, 0, 0, 1, 0, 0, 0, 2, 2, 0, 0}, 4);
  const int binds = file.Floats({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0,  0, 1,
                                 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -1, 0, 1},
                                16);
  const int target = file.Floats({1, 0, 0, 1, 0, 0, 1, 0, 0}, 3);
  const int times = file.Floats({0, 1}, 1), shares = file.Floats({0, 1}, 1);
  const std::string animation = fmt::format(
      R"("animations":[{{"channels":[{{"sampler":0,"target":{{"node":0,"path":"weights"}}}}],"samplers":[{{"input":{},"output":{}}}]}}],)",
      times, shares);
  return fmt::format(
      R"("meshes":[{{"weights":[0.5],"primitives":[{{"attributes":{{"POSITION":0,"JOINTS_0":{},"WEIGHTS_0":{}}},"targets":[{{"POSITION":{}}}]}}]}}],)"
      R"("skins":[{{"joints":[1,2],"inverseBindMatrices":{}}}],)"
      R"("nodes":[{{"mesh":0,"skin":0,"translation":[100,0,0]}},{{"children":[2]}},{{"translation":[0,3,0]}}],{})",
      joints, weights, target, binds, isAnimated ? animation : "");
}

TEST_F(Gltf, SkinsAndMorphTargetsAreKept) {
  GltfText file = TriangleArrays();
  const Scene scene = ReadText(file, SkinnedMembers(file, true));
  ASSERT_EQ(scene.motion.deformations.size(), 1u);
  const hostkit::SceneDeformation& deformation = scene.motion.deformations[0];
  EXPECT_EQ(scene.instances.at(0).toWorld, M44f());
  EXPECT_EQ(deformation.positions, (std::vector<V3f>{{0, 0, 0}, {2, 0, 0}, {0, 1, 0}}));
  EXPECT_EQ(deformation.weights, std::vector<float>{0.5f});
  EXPECT_EQ(deformation.vertexWeights,
            (std::vector<float>{1, 0, 0, 0, 1, 0, 0, 0, 0.5f, 0.5f, 0, 0}));
  EXPECT_EQ(deformation.joints.at(1).toNode.translation(), V3f(0, 2, 0));
  ASSERT_EQ(scene.motion.animations.at(0).weights.size(), 1u);
  EXPECT_EQ(scene.motion.animations[0].weights[0].values, (std::vector<float>{0, 1}));
}

TEST_F(Gltf, SkinnedMeshesFollowTheirJointsAtRest) {
  GltfText file = TriangleArrays();
  const Scene scene = ReadText(file, SkinnedMembers(file, false));
  EXPECT_TRUE(scene.motion.deformations.empty());  // nothing moves
  // Half of the target, then joint 0 in place and joint 1 two units up.
  const V3f expected[] = {{0.5f, 0, 0}, {2.5f, 2, 0}, {0.5f, 2, 0}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(scene.meshes.at(0).positions.at(i).equalWithAbsError(expected[i], kNear));
  }
}

TEST_F(Gltf, NodesThatDeformOneMeshHaveEachTheirOwn) {
  GltfText file;
  const int corners = file.Floats({0, 0, 0, 1, 0, 0, 0, 1, 0}, 3);
  const int target = file.Floats({0, 0, 2, 0, 0, 2, 0, 0, 2}, 3);
  const Scene scene =
      ReadText(file, fmt::format(R"("meshes":[{{"primitives":[{{"attributes":{{"POSITION":{}}},)"
                                 R"("targets":[{{"POSITION":{}}}]}}]}}],"nodes":[{{"mesh":0}},)"
                                 R"({{"mesh":0,"weights":[1]}},{{"mesh":0,"weights":[0.5]}}],)",
                                 corners, target));
  ASSERT_EQ(scene.instances.size(), 3u);
  const float depths[] = {0, 2, 1};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto mesh = static_cast<std::size_t>(scene.instances[i].mesh);
    EXPECT_NEAR(scene.meshes.at(mesh).positions.at(0).z, depths[i], kNear) << i;
  }
}

}  // namespace
