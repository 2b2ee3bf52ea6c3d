// Scenes out of a fuzzer's input.
#include "tests/fuzz/scene_maker.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

namespace {

using hostkit::Scene;
using Imath::M44f;
using Imath::Quatf;
using Imath::V3f;

float Number(Input& input) {
  const float number = input.Float();
  return std::isfinite(number) ? number : 3e38f;
}

/// A vector, quaternion or matrix.
template <class Value>
Value Numbers(Input& input) {
  Value value;
  float numbers[sizeof(Value) / sizeof(float)];
  for (float& number : numbers) number = Number(input);
  std::memcpy(static_cast<void*>(&value), numbers, sizeof numbers);
  return value;
}

template <class Value>
std::vector<Value> Many(Input& input, std::size_t count) {
  std::vector<Value> values(count);
  for (Value& value : values) value = Numbers<Value>(input);
  return values;
}

int Index(Input& input, std::size_t count) {
  return input.Below(static_cast<int>(count));
}

M44f Matrix(Input& input) {
  const int kind = input.Below(6);
  if (kind == 0) return M44f(0.0f);
  if (kind == 1) return Numbers<M44f>(input);
  if (kind == 2) return M44f().setScale(Numbers<V3f>(input));
  return kind == 3 ? M44f() : M44f().setTranslation(Numbers<V3f>(input));
}

hostkit::SceneImage Image(Input& input) {
  constexpr int kSides[] = {1, 2, 3, 7, 64, 100, 257};
  hostkit::SceneImage image;
  image.wrapU = static_cast<hostkit::PictureWrap>(input.Below(3));
  image.wrapV = static_cast<hostkit::PictureWrap>(input.Below(3));
  image.isNearest = input.Flag();
  const int width = input.OneOf(kSides), height = input.OneOf(kSides), value = input.Byte();
  image.bitmap = hostkit::NewByteBitmap(width, height);
  auto* colors = static_cast<HRGBABuffer*>(image.bitmap->FindBuffer("Color"));
  for (int y = 0; y < height; ++y) {
    std::memset(colors->GetData(y), value ^ y, static_cast<std::size_t>(width) * 4);
  }
  return image;
}

hostkit::SceneMaterial Material(Input& input, std::size_t images) {
  constexpr std::uint32_t kSources[] = {0, AttrProperty::kFromBaseColor, 0xFFFFFFFF};
  hostkit::SceneMaterial material;
  material.image = Index(input, images + 1) - 1;
  material.emissionImage = Index(input, images + 1) - 1;
  material.alphaCutoff = Number(input);
  material.isUnlit = input.Flag();
  material.showsBacks = input.Flag();
  for (float& component : material.emission) component = Number(input);
  AttrProperty& surface = material.surface;
  surface.ambientSource = input.OneOf(kSources);
  surface.specularSource = input.OneOf(kSources);
  for (AnimatableColor* color : {&surface.base, &surface.ambient, &surface.specular}) {
    *color = {Number(input), Number(input), Number(input)};
  }
  for (AnimatableValue* value : {&surface.ambientFactor, &surface.roughness,
                                 &surface.specularFactor, &surface.transparency}) {
    *value = Number(input);
  }
  return material;
}

std::vector<std::uint32_t> Indices(Input& input, int each, std::size_t vertices) {
  std::vector<std::uint32_t> indices(vertices > 0 ? std::size_t(input.Below(9) * each) : 0);
  for (std::uint32_t& index : indices) index = static_cast<std::uint32_t>(Index(input, vertices));
  return indices;
}

hostkit::SceneMesh Mesh(Input& input, std::size_t materials) {
  constexpr std::size_t kCounts[] = {0, 1, 2, 3, 4, 5, 8, 21};
  hostkit::SceneMesh mesh;
  mesh.material = Index(input, materials);
  const std::size_t count = input.OneOf(kCounts);
  mesh.positions = Many<V3f>(input, count);
  if (input.Flag()) mesh.normals = Many<V3f>(input, count);
  if (input.Flag()) mesh.uvs = Many<Imath::V2f>(input, count);
  if (input.Flag()) mesh.colors.resize(count);
  for (ColorBuf& color : mesh.colors) color = {input.Byte(), 2, 3, input.Byte()};
  mesh.colorsHaveAlpha = input.Flag();
  mesh.triangles = Indices(input, 3, count);
  mesh.lines = Indices(input, 2, count);
  mesh.points = Indices(input, 1, count);
  return mesh;
}

hostkit::SceneCamera Camera(Input& input) {
  constexpr float kFields[] = {0.7f, 1e-40f, 1e-4f, 3.1415925f};
  constexpr float kHeights[] = {0, 0, 2, 1e-40f, 3e38f};
  if (input.Flag()) return {};
  const V3f eye = Numbers<V3f>(input), forward = Numbers<V3f>(input), up = Numbers<V3f>(input);
  return {"", eye, forward, up, input.OneOf(kFields), input.OneOf(kHeights)};
}

hostkit::SceneLight Light(Input& input) {
  constexpr float kAngles[] = {0, 1e-40f, 45, 90}, kSoftness[] = {0, 1e-40f, 10};
  hostkit::SceneLight light{"", input.Below(3), Numbers<V3f>(input), Numbers<V3f>(input)};
  light.red = Number(input);
  light.intensity = Number(input);
  light.coneAngle = input.OneOf(kAngles);
  light.coneSoftness = input.OneOf(kSoftness);
  light.range = std::abs(Number(input));
  return light;
}

template <class Value>
void AddKeys(Input& input, hostkit::KeyTrack<Value>& track) {
  constexpr double kSteps[] = {1, 0.25, 1e-300, 1e300};
  double time = Number(input);
  for (int i = input.Below(4); i > 0; --i) {
    track.keys.push_back({time, Numbers<Value>(input)});
    time = std::max(time + input.OneOf(kSteps), std::nextafter(time, HUGE_VAL));
  }
  track.curve = static_cast<hostkit::KeyCurve>(input.Below(3));
  if (track.curve != hostkit::KeyCurve::kCubic) return;
  for (std::size_t i = 0; i < track.keys.size(); ++i) {
    track.tangents.push_back({Numbers<Value>(input), Numbers<Value>(input)});
  }
}

hostkit::SceneAnimation Animation(Input& input, const hostkit::SceneMotion& motion) {
  constexpr const char* kNames[] = {"", "walk", "walk\n"};
  constexpr double kDurations[] = {1, 0, 1e-310, 1e308};
  hostkit::SceneAnimation animation{
      input.OneOf(kNames), input.Below(motion.models), input.OneOf(kDurations), {}, {}};
  for (int i = input.Below(3); i > 0; --i) {
    hostkit::NodeChannel& channel = animation.channels.emplace_back();
    channel.node = Index(input, motion.nodes.size());
    channel.rest = {Numbers<V3f>(input), Numbers<Quatf>(input), Numbers<V3f>(input)};
    AddKeys(input, channel.translations);
    AddKeys(input, channel.rotations);
    AddKeys(input, channel.scales);
  }
  return animation;
}

/// Of the mesh with that number.
hostkit::SceneDeformation Deformation(Input& input, const Scene& scene, int index) {
  const hostkit::SceneMesh& mesh = scene.meshes[static_cast<std::size_t>(index)];
  const std::size_t count = mesh.positions.size();
  hostkit::SceneDeformation deformation;
  deformation.mesh = index;
  deformation.positions = input.Flag() ? mesh.positions : Many<V3f>(input, count);
  deformation.normals = Many<V3f>(input, mesh.normals.size());
  for (int i = input.Below(3); i > 0; --i) {
    hostkit::MorphTarget& target = deformation.targets.emplace_back();
    target.positions = Many<V3f>(input, count);
    if (input.Flag()) target.normals = Many<V3f>(input, count);
    deformation.weights.push_back(Number(input));
  }
  const int joints = input.Below(4), nodes = static_cast<int>(scene.motion.nodes.size());
  if (joints == 0) return deformation;
  for (int i = 0; i < joints; ++i) {
    deformation.joints.push_back({input.Below(nodes + 1) - 1, Matrix(input)});
  }
  deformation.influences = 1 + input.Below(5);
  const std::size_t influences = count * static_cast<std::size_t>(deformation.influences);
  for (std::size_t i = 0; i < influences; ++i) {
    deformation.vertexJoints.push_back(static_cast<std::uint16_t>(input.Below(joints)));
    deformation.vertexWeights.push_back(Number(input));
  }
  return deformation;
}

void AddDeformations(Input& input, Scene& scene) {
  hostkit::SceneMotion& motion = scene.motion;
  for (int m = 0; m < static_cast<int>(scene.meshes.size()); ++m) {
    if (!input.Flag()) continue;
    motion.deformations.push_back(Deformation(input, scene, m));
    if (motion.animations.empty()) continue;
    hostkit::WeightChannel channel;
    channel.deformation = static_cast<int>(motion.deformations.size()) - 1;
    channel.curve = static_cast<hostkit::KeyCurve>(input.Below(3));
    const std::size_t each = channel.curve == hostkit::KeyCurve::kCubic ? 3 : 1;
    for (int i = input.Below(4); i > 0; --i) channel.times.push_back(-i);
    channel.values.resize(channel.times.size() * each * motion.deformations.back().targets.size());
    for (float& value : channel.values) value = Number(input);
    motion.animations[0].weights.push_back(std::move(channel));
  }
}

void AddMotion(Input& input, Scene& scene) {
  hostkit::SceneMotion& motion = scene.motion;
  motion.models = 1 + input.Below(3);
  const int nodes = input.Below(4);
  for (int i = 0; i < nodes; ++i) {
    motion.nodes.push_back({input.Below(i + 1) - 1, Matrix(input), Matrix(input)});
  }
  if (nodes == 0) return;
  for (int i = input.Below(4); i > 0; --i) motion.animations.push_back(Animation(input, motion));
  const auto each = [](const auto& parts) { return std::min(static_cast<int>(parts.size()), 3); };
  for (int i = 0; i < each(scene.instances); ++i) {
    motion.instances.push_back({i, input.Below(nodes), Matrix(input)});
  }
  for (int i = 0; i < each(scene.cameras); ++i) {
    motion.cameras.push_back(
        {i, input.Below(nodes), Numbers<V3f>(input), Numbers<V3f>(input), Numbers<V3f>(input)});
  }
  for (int i = 0; i < each(scene.lights); ++i) {
    motion.lights.push_back({i, input.Below(nodes), Numbers<V3f>(input), Numbers<V3f>(input)});
  }
}

}  // namespace

Scene MakeScene(Input& input) {
  constexpr int kInstances[] = {1, 0, 2, 3, 100}, kLights[] = {0, 1, 3, 9};
  constexpr double kPlaces[] = {0, 0, -7.5, 4649776, 1e17};
  Scene scene;
  for (int i = input.Below(3); i > 0; --i) scene.images.push_back(Image(input));
  for (int i = 1 + input.Below(2); i > 0; --i) {
    scene.materials.push_back(Material(input, scene.images.size()));
  }
  for (int i = 1 + input.Below(3); i > 0; --i) {
    scene.meshes.push_back(Mesh(input, scene.materials.size()));
  }
  for (int i = input.OneOf(kInstances); i > 0; --i) {
    scene.instances.push_back({Index(input, scene.meshes.size()), Matrix(input)});
  }
  for (int i = input.Below(4); i > 0; --i) scene.cameras.push_back(Camera(input));
  for (int i = input.OneOf(kLights); i > 0; --i) scene.lights.push_back(Light(input));
  AddMotion(input, scene);
  AddDeformations(input, scene);
  scene.origin.x = input.OneOf(kPlaces);
  scene.upAxis = static_cast<hostkit::UpAxis>(input.Below(6));
  return scene;
}
