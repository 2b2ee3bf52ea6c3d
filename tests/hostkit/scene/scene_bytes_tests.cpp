// Scenes to bytes and back; bytes and scenes that are not sound.
#include "hostkit/scene/scene_bytes.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <utility>

#include "hostkit/scene/scene_check.h"

namespace {

using hostkit::Scene;
using Imath::M44f;
using Imath::V3f;

M44f Placement(float first) {
  M44f matrix;
  for (int i = 0; i < 16; ++i) matrix.getValue()[i] = first + static_cast<float>(i);
  return matrix;
}

AttrProperty Surface() {
  AttrProperty surface;
  surface.base = {1, 2, 3};
  surface.ambient = {4, 5, 6};
  surface.specular = {7, 8, 9};
  surface.ambientSource = 10;
  surface.specularSource = 11;
  surface.ambientFactor = 12;
  surface.roughness = 13;
  surface.specularFactor = 14;
  surface.transparency = 15;
  return surface;
}

/// One of everything, no two numbers of which are equal.
Scene OneOfEverything() {
  Scene scene;
  hostkit::SceneImage& image = scene.images.emplace_back();
  image.name = "picture";
  image.wrapV = hostkit::PictureWrap::kClamp;
  image.bitmap = hostkit::NewByteBitmap(3, 2);
  auto* colors = static_cast<HRGBABuffer*>(image.bitmap->FindBuffer("Color"));
  for (int i = 0; i < 24; ++i) {
    static_cast<unsigned char*>(colors->GetData(i / 12))[i % 12] = static_cast<unsigned char>(i);
  }
  scene.materials.push_back({"paint", Surface(), 0});
  hostkit::SceneMesh& mesh = scene.meshes.emplace_back();
  mesh.name = "mesh";
  mesh.positions = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  mesh.normals = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
  mesh.uvs = {{10, 11}, {12, 13}, {14, 15}};
  mesh.colors = {{16, 17, 18, 19}, {20, 21, 22, 23}, {24, 25, 26, 27}};
  mesh.colorsHaveAlpha = true;
  mesh.triangles = {2, 1, 0};
  mesh.lines = {1, 2};
  mesh.points = {2};
  scene.instances = {{0, Placement(1), 1}};
  scene.nodeNames = {{"top", -1}, {"node", 0}};
  scene.cameras.push_back({"eye", {1, 2, 3}, {0, 1, 0}, {0, 0, 1}, 0.5f, 4});
  scene.lights.push_back({"lamp", 1, {5, 6, 7}, {1, 0, 0}, 0.1f, 0.2f, 0.3f, 0.4f, 30, 2, 8});
  hostkit::SceneMotion& motion = scene.motion;
  motion.models = 2;
  motion.nodes = {{-1, Placement(2), Placement(3)}, {0, Placement(4), Placement(5)}};
  hostkit::NodeChannel channel;
  channel.node = 1;
  channel.rest = {{1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10}};
  channel.translations.keys = {{0.5, {1, 2, 3}}, {1.5, {4, 5, 6}}};
  channel.rotations.keys = {{0.25, {1, 0, 0, 0}}};
  channel.scales = {hostkit::KeyCurve::kCubic, {{0.75, {7, 8, 9}}}, {{{1, 2, 3}, {4, 5, 6}}}};
  motion.deformations = {{0,
                          mesh.positions,
                          mesh.normals,
                          {{mesh.normals, mesh.normals}},
                          {0.5f},
                          {{1, Placement(7)}},
                          1,
                          {0, 0, 0},
                          {1, 1, 1}}};
  const hostkit::WeightChannel weights{0, hostkit::KeyCurve::kStep, {0.5, 1}, {0, 1}};
  motion.animations.push_back({"walk", 1, 1.5, {channel}, {weights}});
  motion.instances = {{0, 1, Placement(6)}};
  motion.cameras = {{0, 1, {1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
  motion.lights = {{0, 0, {1, 2, 3}, {4, 5, 6}}};
  motion.warnings = {"skinned"};
  scene.warnings = {"first", "second"};
  scene.facts = {"kind", 0.5, {"hall", ""}, {"used"}, {"needed"}};
  return scene;
}

std::string BytesOf(const Scene& scene) {
  std::string bytes(hostkit::CountSceneBytes(scene), '\0');
  hostkit::WriteScene(scene, reinterpret_cast<unsigned char*>(bytes.data()));
  return bytes;
}

std::unique_ptr<Scene> FromBytes(const std::string& bytes, std::string* why) {
  return hostkit::ReadScene(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                            why);
}

/// Writing and reading name the parts of a scene in one place: what they name comes back. What the
/// slips below leave alone is changed here, for all of it to be named.
TEST(SceneBytes, BringTheWholeSceneBack) {
  Scene scene = OneOfEverything();
  std::string why, bytes = BytesOf(scene);
  const std::unique_ptr<Scene> back = FromBytes(bytes, &why);
  ASSERT_NE(back, nullptr) << why;
  EXPECT_EQ(BytesOf(*back), bytes);
  EXPECT_EQ(back->materials[0].surface.roughness.Current(), 13);
  const auto shows = [&](const char* what) {
    const std::string before = std::exchange(bytes, BytesOf(scene));
    EXPECT_NE(bytes, before) << what;
  };
  auto& [facts, images, materials, meshes, instances, nodeNames, cameras, lights, motion, warnings,
         origin, upAxis] = scene;
  AttrProperty& surface = materials[0].surface;
  for (std::string* text :
       {&images[0].name, &materials[0].name, &meshes[0].name, &nodeNames[1].name, &cameras[0].name,
        &lights[0].name, &motion.animations[0].name, &motion.warnings[0], &warnings[1],
        &facts.format, &facts.scenes[0], &facts.extensionsUsed[0], &facts.extensionsRequired[0]}) {
    shows(std::exchange(*text, "another").c_str());
  }
  for (AnimatableValue* value :
       {&surface.base.red, &surface.base.blue, &surface.ambient.red, &surface.specular.red,
        &surface.ambientFactor, &surface.specularFactor, &surface.transparency}) {
    *value = -1;
    shows("a surface");
  }
  for (float* value : {&cameras[0].forward.x, &cameras[0].up.x, &lights[0].direction.y,
                       &lights[0].green, &lights[0].blue, &lights[0].intensity}) {
    *value = -1;
    shows("a camera or light");
  }
  facts.metersPerUnit = 2, shows("the unit");
  surface.ambientSource = 0, shows("ambient source");
  surface.specularSource = 0, shows("specular source");
  images[0].wrapU = images[0].wrapV, shows("wrap of u");
  images[0].wrapV = hostkit::PictureWrap::kMirror, shows("wrap of v");
  images[0].isNearest = true, shows("filter");
  for (float* value :
       {&materials[0].alphaCutoff, &materials[0].emission[0], &materials[0].emission[2]}) {
    *value = -1;
    shows("a material");
  }
  materials[0].isUnlit = true, shows("unlit");
  materials[0].showsBacks = false, shows("backs");
  materials[0].emissionImage = 0, shows("emission");
  meshes[0].colorsHaveAlpha = false, shows("alpha");
  meshes[0].isMirrored = true, shows("mirrored");
  origin.z = 0.5, shows("origin");
  upAxis = hostkit::UpAxis::kMinusX, shows("what is up");
  motion.animations[0].channels[0].rotations.keys[0].time = 0, shows("rotations");
  ++*static_cast<unsigned char*>(images[0].bitmap->GetBufferHead()->Data()), shows("pixels");
}

TEST(SceneBytes, ThatAreCutOrChangedAreRefusedOrSound) {
  const std::string bytes = BytesOf(OneOfEverything());
  std::string why;
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    ASSERT_EQ(FromBytes(bytes.substr(0, size), &why), nullptr) << size;
    ASSERT_EQ(why, "its bytes are no whole scene");
  }
  EXPECT_EQ(FromBytes(bytes + bytes, &why), nullptr);
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (const int value : {0, 1, 0x7F, 0x80, 0xFF}) {
      std::string changed = bytes;
      changed[at] = static_cast<char>(value);
      const std::unique_ptr<Scene> scene = FromBytes(changed, &why);
      ASSERT_TRUE(!scene || hostkit::CheckScene(*scene, &why)) << at << ": " << why;
    }
  }
}

#define GL3_SLIP(change) [](Scene& s) { s.change; }

TEST(SceneCheck, NamesWhatIsNotSound) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInfinite = std::numeric_limits<float>::infinity();
  std::string why;
  EXPECT_TRUE(hostkit::CheckScene(OneOfEverything(), &why)) << why;
  const struct {
    const char* part;
    std::vector<std::function<void(Scene&)>> slips;
  } kSlips[] = {
      {"picture 0",
       {GL3_SLIP(images[0].bitmap = nullptr),
        GL3_SLIP(images[0].bitmap = hostkit::NewHalfBitmap(3, 2)),
        GL3_SLIP(images[0].bitmap = hostkit::NewByteBitmap(32769, 1)),
        GL3_SLIP(images[0].wrapU = static_cast<hostkit::PictureWrap>(3))}},
      {"material 0",
       {GL3_SLIP(materials[0].image = 1), GL3_SLIP(materials[0].image = -2),
        GL3_SLIP(materials[0].emissionImage = 1), GL3_SLIP(materials[0].alphaCutoff = kNan),
        GL3_SLIP(materials[0].emission[1] = kInfinite),
        GL3_SLIP(materials[0].surface.base.green = kNan),
        GL3_SLIP(materials[0].surface.roughness = kInfinite)}},
      {"mesh 0",
       {GL3_SLIP(meshes[0].material = 1), GL3_SLIP(meshes[0].material = -1),
        GL3_SLIP(meshes[0].positions[2].z = kNan), GL3_SLIP(meshes[0].normals[2].z = -kInfinite),
        GL3_SLIP(meshes[0].uvs[2].y = kInfinite), GL3_SLIP(meshes[0].normals.pop_back()),
        GL3_SLIP(meshes[0].uvs.pop_back()), GL3_SLIP(meshes[0].colors.pop_back()),
        GL3_SLIP(meshes[0].triangles[0] = 3), GL3_SLIP(meshes[0].triangles.pop_back()),
        GL3_SLIP(meshes[0].lines[1] = 3), GL3_SLIP(meshes[0].lines.pop_back()),
        GL3_SLIP(meshes[0].points[0] = 3)}},
      {"instance 0",
       {GL3_SLIP(instances[0].mesh = 1), GL3_SLIP(instances[0].toWorld[3][3] = kNan),
        GL3_SLIP(instances[0].node = 2)}},
      {"node name 1", {GL3_SLIP(nodeNames[1].above = 1)}},
      {"camera 0",
       {GL3_SLIP(cameras[0].eye.x = kNan), GL3_SLIP(cameras[0].verticalFov = 0),
        GL3_SLIP(cameras[0].verticalFov = 4), GL3_SLIP(cameras[0].parallelHeight = -1)}},
      {"light 0",
       {GL3_SLIP(lights[0].type = 3), GL3_SLIP(lights[0].position.y = kNan),
        GL3_SLIP(lights[0].red = kInfinite), GL3_SLIP(lights[0].coneAngle = 91),
        GL3_SLIP(lights[0].coneSoftness = -1), GL3_SLIP(lights[0].range = -1)}},
      {"node 1",
       {GL3_SLIP(motion.nodes[1].parent = 1), GL3_SLIP(motion.nodes[1].parent = -2),
        GL3_SLIP(motion.nodes[1].toParentNode[0][0] = kNan)}},
      {"animation 0",
       {GL3_SLIP(motion.animations[0].model = 2), GL3_SLIP(motion.animations[0].duration = -1),
        GL3_SLIP(motion.animations[0].channels[0].node = 2),
        GL3_SLIP(motion.animations[0].channels[0].rest.scale.x = kNan),
        GL3_SLIP(motion.animations[0].channels[0].translations.keys[1].time = 0.5),
        GL3_SLIP(motion.animations[0].channels[0].scales.keys[0].value.x = kNan),
        GL3_SLIP(motion.animations[0].channels[0].scales.tangents[0].out.z = kNan),
        GL3_SLIP(motion.animations[0].channels[0].scales.tangents.clear()),
        GL3_SLIP(motion.animations[0].weights[0].deformation = 1),
        GL3_SLIP(motion.animations[0].weights[0].values.pop_back()),
        GL3_SLIP(motion.animations[0].weights[0].times[1] = 0.5)}},
      {"moving instance 0",
       {GL3_SLIP(motion.instances[0].instance = 1), GL3_SLIP(motion.instances[0].node = 2)}},
      {"moving camera 0", {GL3_SLIP(motion.cameras[0].camera = 1)}},
      {"moving light 0", {GL3_SLIP(motion.lights[0].light = 1)}},
      {"deformation 0",
       {GL3_SLIP(motion.deformations[0].mesh = 1),
        GL3_SLIP(motion.deformations[0].positions.pop_back()),
        GL3_SLIP(motion.deformations[0].normals.clear()),
        GL3_SLIP(motion.deformations[0].targets[0].positions.pop_back()),
        GL3_SLIP(motion.deformations[0].targets[0].normals[2].x = kNan),
        GL3_SLIP(motion.deformations[0].weights[0] = kInfinite),
        GL3_SLIP(motion.deformations[0].joints[0].node = 2),
        GL3_SLIP(motion.deformations[0].joints.clear()),
        GL3_SLIP(motion.deformations[0].influences = 2),
        GL3_SLIP(motion.deformations[0].vertexJoints[2] = 1),
        GL3_SLIP(motion.deformations[0].vertexWeights[1] = kNan)}},
      {"deformation 1", {GL3_SLIP(motion.deformations.push_back(s.motion.deformations[0]))}},
      {"no model", {GL3_SLIP(motion.models = 0)}},
      {"its world",
       {GL3_SLIP(origin.y = kNan), GL3_SLIP(upAxis = static_cast<hostkit::UpAxis>(6)),
        GL3_SLIP(facts.metersPerUnit = kInfinite), GL3_SLIP(facts.metersPerUnit = -1)}},
  };
  for (const auto& [part, slips] : kSlips) {
    for (std::size_t i = 0; i < slips.size(); ++i) {
      Scene scene = OneOfEverything();
      const std::string bytes = BytesOf(scene);
      slips[i](scene);
      if (part != std::string("picture 0")) {
        EXPECT_NE(BytesOf(scene), bytes) << part << ", slip " << i;
      }
      why.clear();
      EXPECT_FALSE(hostkit::CheckScene(scene, &why)) << part << ", slip " << i;
      EXPECT_NE(why.find(part), std::string::npos) << part << ", slip " << i << ": " << why;
    }
  }
}

}  // namespace
