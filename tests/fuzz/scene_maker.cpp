// Scenes out of a fuzzer's input.
#include "tests/fuzz/scene_maker.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

using hostkit::Scene;
using Imath::M44f;
using Imath::Quatf;
using Imath::V3f;

float Number(Input& input) {
  const float number = input.Float();
  return std::isfinite(number) ? number : 3e38f;
}

V3f Vector(Input& input) {
  const float x = Number(input), y = Number(input);
  return {x, y, Number(input)};
}

int Index(Input& input, std::size_t count) {
  return input.Below(static_cast<int>(count));
}

M44f Matrix(Input& input) {
  M44f matrix;
  switch (input.Below(6)) {
    case 0:
      break;
    case 1:
      matrix.setScale(Vector(input));
      break;
    case 2:
      matrix = M44f(0.0f);
      break;
    case 3:
      for (int i = 0; i < 16; ++i) matrix[i / 4][i % 4] = Number(input);
      break;
    default:
      matrix.setTranslation(Vector(input));
  }
  return matrix;
}

hostkit::SceneImage Image(Input& input) {
  constexpr int kSides[] = {1, 2, 3, 7, 64, 100, 257};
  hostkit::SceneImage image;
  image.repeat = input.Flag();
  const int width = input.OneOf(kSides), height = input.OneOf(kSides);
  image.bitmap = hostkit::NewByteBitmap(width, height);
  const int value = input.Byte();
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
  AttrProperty& surface = material.surface;
  surface.ambientSource = input.OneOf(kSources);
  surface.specularSource = input.OneOf(kSources);
  for (AnimatableColor* color : {&surface.base, &surface.ambient, &surface.specular}) {
    const float red = Number(input), green = Number(input);
    *color = {AnimatableValue(red), AnimatableValue(green), AnimatableValue(Number(input))};
  }
  for (AnimatableValue* value : {&surface.ambientFactor, &surface.roughness,
                                 &surface.specularFactor, &surface.transparency}) {
    *value = AnimatableValue(Number(input));
  }
  return material;
}

std::vector<std::uint32_t> Indices(Input& input, int each, std::size_t vertices) {
  std::vector<std::uint32_t> indices(vertices > 0 ? std::size_t(input.Below(9) * each) : 0);
  for (std::uint32_t& index : indices) index = static_cast<std::uint32_t>(Index(input, vertices));
  return indices;
}

hostkit::SceneMesh Mesh(Input& input, std::size_t materials) {
  constexpr int kCounts[] = {0, 1, 2, 3, 4, 5, 8, 21};
  hostkit::SceneMesh mesh;
  mesh.material = Index(input, materials);
  mesh.positions.resize(static_cast<std::size_t>(input.OneOf(kCounts)));
  for (V3f& position : mesh.positions) position = Vector(input);
  const std::size_t count = mesh.positions.size();
  if (input.Flag()) mesh.normals.resize(count);
  for (V3f& normal : mesh.normals) normal = Vector(input);
  if (input.Flag()) mesh.uvs.resize(count);
  for (Imath::V2f& uv : mesh.uvs) uv = {Number(input), Number(input)};
  if (input.Flag()) mesh.colors.resize(count);
  for (ColorBuf& color : mesh.colors) color = {input.Byte(), 2, 3, input.Byte()};
  mesh.colorsHaveAlpha = input.Flag();
  mesh.triangles = Indices(input, 3, count);
  mesh.lines = Indices(input, 2, count);
  mesh.points = Indices(input, 1, count);
  return mesh;
}

hostkit::SceneCamera Camera(Input& input) {
  constexpr float kFields[] = {0.7f, 1e-40f, 1e-4f, 3.1415925f},
                  kHeights[] = {0, 0, 2, 1e-40f, 3e38f};
  hostkit::SceneCamera camera;
  if (input.Flag()) return camera;
  camera.eye = Vector(input);
  camera.forward = Vector(input);
  camera.up = Vector(input);
  camera.verticalFov = input.OneOf(kFields);
  camera.parallelHeight = input.OneOf(kHeights);
  return camera;
}

hostkit::SceneLight Light(Input& input) {
  constexpr float kAngles[] = {0, 1e-40f, 45, 90}, kSoftness[] = {0, 1e-40f, 10};
  hostkit::SceneLight light;
  light.type = input.Below(3);
  light.position = Vector(input);
  light.direction = Vector(input);
  for (float* value : {&light.red, &light.green, &light.blue, &light.intensity}) {
    *value = Number(input);
  }
  light.coneAngle = input.OneOf(kAngles);
  light.coneSoftness = input.OneOf(kSoftness);
  light.range = std::abs(Number(input));
  return light;
}

Quatf Rotation(Input& input) {
  const float real = Number(input);
  return {real, Vector(input)};
}

template <class Value>
void AddKeys(std::vector<hostkit::AnimationKey<Value>>& keys, Input& input,
             Value (*value)(Input& input)) {
  constexpr double kSteps[] = {1, 0.25, 1e-300, 1e300};
  double time = Number(input);
  for (int count = input.Below(4); count > 0; --count) {
    keys.push_back({time, value(input)});
    time = std::max(time + input.OneOf(kSteps), std::nextafter(time, HUGE_VAL));
  }
}

hostkit::SceneAnimation Animation(Input& input, const hostkit::SceneMotion& motion) {
  constexpr const char* kNames[] = {"", "walk", "walk\n"};
  constexpr double kDurations[] = {1, 0, 1e-310, 1e308};
  hostkit::SceneAnimation animation;
  animation.name = input.OneOf(kNames);
  animation.model = Index(input, static_cast<std::size_t>(motion.models));
  animation.duration = input.OneOf(kDurations);
  animation.channels.resize(static_cast<std::size_t>(input.Below(3)));
  for (hostkit::NodeChannel& channel : animation.channels) {
    channel.node = Index(input, motion.nodes.size());
    channel.rest = {Vector(input), Rotation(input), Vector(input)};
    AddKeys(channel.translations, input, &Vector);
    AddKeys(channel.rotations, input, &Rotation);
    AddKeys(channel.scales, input, &Vector);
  }
  return animation;
}

void AddMotion(Input& input, Scene& scene) {
  hostkit::SceneMotion& motion = scene.motion;
  motion.models = 1 + input.Below(3);
  for (int i = 0, count = input.Below(4); i < count; ++i) {
    motion.nodes.push_back({input.Below(i + 1) - 1, Matrix(input), Matrix(input)});
  }
  if (motion.nodes.empty()) return;
  const std::size_t nodes = motion.nodes.size();
  for (int i = input.Below(4); i > 0; --i) motion.animations.push_back(Animation(input, motion));
  for (std::size_t i = 0; i < std::min<std::size_t>(scene.instances.size(), 3); ++i) {
    motion.instances.push_back({static_cast<int>(i), Index(input, nodes), Matrix(input)});
  }
  for (std::size_t i = 0; i < scene.cameras.size(); ++i) {
    const int node = Index(input, nodes);
    motion.cameras.push_back(
        {static_cast<int>(i), node, Vector(input), Vector(input), Vector(input)});
  }
  for (std::size_t i = 0; i < scene.lights.size(); ++i) {
    const int node = Index(input, nodes);
    motion.lights.push_back({static_cast<int>(i), node, Vector(input), Vector(input)});
  }
}

}  // namespace

Scene MakeScene(Input& input) {
  Scene scene;
  for (int i = input.Below(3); i > 0; --i) scene.images.push_back(Image(input));
  for (int i = 1 + input.Below(2); i > 0; --i) {
    scene.materials.push_back(Material(input, scene.images.size()));
  }
  for (int i = 1 + input.Below(3); i > 0; --i) {
    scene.meshes.push_back(Mesh(input, scene.materials.size()));
  }
  constexpr int kInstances[] = {1, 0, 2, 3, 100};
  for (int i = input.OneOf(kInstances); i > 0; --i) {
    scene.instances.push_back({Index(input, scene.meshes.size()), Matrix(input)});
  }
  for (int i = input.Below(4); i > 0; --i) scene.cameras.push_back(Camera(input));
  constexpr int kLights[] = {0, 1, 3, 9};
  for (int i = input.OneOf(kLights); i > 0; --i) scene.lights.push_back(Light(input));
  AddMotion(input, scene);
  return scene;
}
