// A sample that moves: planets on turning arms around a lamp.
#include "samples/orrery.h"

#include <cmath>
#include <numbers>
#include <string>
#include <utility>

namespace samples {
namespace {

using Imath::M44f;
using Imath::V3f;
using Imath::V4f;

constexpr float kPi = std::numbers::pi_v<float>;
constexpr float kOrbitSeconds = 4;

/// Collects the nodes of the model.
class Builder {
 public:
  int AddMaterial(const std::string& name, const V3f& color, float metallic) {
    Material material;
    material.name = name;
    material.color = color;
    material.metallic = metallic;
    material.roughness = 0.35f;
    m_document.materials.push_back(material);
    return static_cast<int>(m_document.materials.size()) - 1;
  }

  int AddNode(const std::string& name, const V3f& at, int parent) {
    Node node;
    node.name = name;
    node.toParent.setTranslation(at);
    node.parent = parent;
    m_document.nodes.push_back(node);
    return static_cast<int>(m_document.nodes.size()) - 1;
  }

  int AddShape(const std::string& name, Shape shape, int material, const V3f& at, int parent) {
    m_document.meshes.push_back({name, std::move(shape), material});
    const int node = AddNode(name, at, parent);
    NodeAt(node).mesh = static_cast<int>(m_document.meshes.size()) - 1;
    return node;
  }

  /// A camera at `at` that looks towards `target`, both in the parent's space.
  void AddCamera(const std::string& name, const V3f& at, const V3f& target, int parent) {
    Camera camera;
    camera.name = name;
    camera.verticalFov = 0.8f;
    m_document.cameras.push_back(camera);
    const int node = AddNode(name, at, parent);
    NodeAt(node).camera = static_cast<int>(m_document.cameras.size()) - 1;
    const V3f back = (at - target).normalized();
    const V3f right = V3f(0, 1, 0).cross(back).normalized(), up = back.cross(right);
    NodeAt(node).toParent = M44f(right.x, right.y, right.z, 0, up.x, up.y, up.z, 0, back.x, back.y,
                                 back.z, 0, at.x, at.y, at.z, 1);
  }

  /// Full turns around y, at an even pace, in quarter turns: keys farther apart than half a turn
  /// would be taken the short way.
  void Turn(int node, int turns) {
    Channel channel{node, "rotation", {}, {}};
    const int keys = 4 * std::abs(turns);
    for (int i = 0; i <= keys; ++i) {
      const float share = static_cast<float>(i) / static_cast<float>(keys);
      const float half = kPi * static_cast<float>(turns) * share;
      channel.times.push_back(kOrbitSeconds * share);
      channel.values.emplace_back(0.0f, std::sin(half), 0.0f, std::cos(half));
    }
    m_orbits.channels.push_back(std::move(channel));
  }

  Node& NodeAt(int index) { return m_document.nodes[static_cast<std::size_t>(index)]; }
  Document& Contents() { return m_document; }

  Document Finish(Animation rise) {
    m_orbits.name = "Orbits";
    m_document.animations = {std::move(m_orbits), std::move(rise)};
    return std::move(m_document);
  }

 private:
  Document m_document;
  Animation m_orbits;
};

/// An arm that turns around the middle of `parent`, with a planet at its end; the node of the end.
int AddArm(Builder& builder, const std::string& name, float length, float planet, int turns,
           const std::pair<int, int>& materials, int parent) {
  const int arm = builder.AddNode(name + " arm", {0, 0, 0}, parent);
  builder.Turn(arm, turns);
  builder.AddShape(name + " rod", Box({length, 0.05f, 0.05f}, 4), materials.first,
                   {length / 2, 0, 0}, arm);
  return builder.AddShape(name, Sphere(planet, 48, 24), materials.second, {length, 0, 0}, arm);
}

}  // namespace

Document Orrery() {
  Builder builder;
  const int brass = builder.AddMaterial("brass", {0.8f, 0.6f, 0.25f}, 0.9f);
  const int red = builder.AddMaterial("red", {0.8f, 0.25f, 0.2f}, 0);
  const int blue = builder.AddMaterial("blue", {0.2f, 0.4f, 0.8f}, 0);
  const int gray = builder.AddMaterial("gray", {0.7f, 0.7f, 0.7f}, 0);

  builder.AddShape("plinth", Plinth(1.2f, 0.15f, 0.04f, 64), gray, {0, 0, 0}, -1);
  const int hub = builder.AddNode("hub", {0, 1, 0}, -1);
  const int lamp = builder.AddShape("lamp", Sphere(0.35f, 48, 24), brass, {0, 0, 0}, hub);
  AddArm(builder, "inner planet", 1.1f, 0.15f, 2, {brass, red}, hub);
  const int outer = AddArm(builder, "outer planet", 2.2f, 0.25f, 1, {brass, blue}, hub);
  AddArm(builder, "moon", 0.5f, 0.08f, -3, {brass, gray}, outer);

  builder.AddCamera("wide", {0, 2.4f, 6}, {0, 0.8f, 0}, -1);
  builder.AddCamera("above", {0, 7, 0.01f}, {0, 0, 0}, -1);
  builder.AddCamera("rider", {1, 1, 0}, {-2.2f, 0, 0}, outer);

  Light key;
  key.name = "key";
  key.intensity = 3;
  builder.Contents().lights.push_back(key);
  const int sun = builder.AddNode("key", {2, 4, 3}, -1);
  builder.NodeAt(sun).light = 0;
  builder.NodeAt(sun).toParent.rotate(V3f(-0.8f, 0.5f, 0));
  Animation rise{"Rise",
                 {{lamp, "translation", {0, 1, 2}, {{0, 0, 0, 0}, {0, 0.8f, 0, 0}, {0, 0, 0, 0}}}}};
  rise.channels.push_back(
      {lamp, "scale", {0, 1, 2}, {{1, 1, 1, 0}, {1.5f, 0.5f, 1.5f, 0}, {1, 1, 1, 0}}});
  return builder.Finish(std::move(rise));
}

}  // namespace samples
