// A sample whose vertices move: a reed in the wind.
#include "samples/reed.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace samples {
namespace {

using Imath::M44f;
using Imath::V3f;
using Imath::V4f;

constexpr float kStep = kReedHeight / kReedJoints;
constexpr int kRingsAStep = 8;

/// A stem that becomes thinner to its tip.
Shape Stem() {
  constexpr int kRings = kReedJoints * kRingsAStep;
  std::vector<OutlinePoint> outline;
  for (int i = 0; i <= kRings; ++i) {
    const float share = static_cast<float>(i) / kRings;
    outline.push_back({0.1f * (1 - 0.95f * share), kReedHeight * share, 1, 0.0475f});
  }
  return Lathe(outline, 24);
}

/// Each vertex goes with the joint below it, and around the middle between two of them with both.
void Bind(Shape& shape) {
  for (const V3f& position : shape.positions) {
    const float at = std::clamp(position.y / kStep - 0.5f, 0.0f, kReedJoints - 1.0f);
    const auto below = static_cast<std::uint16_t>(at);
    const auto above = static_cast<std::uint16_t>(std::min(below + 1, kReedJoints - 1));
    const float share = at - static_cast<float>(below);
    shape.joints.insert(shape.joints.end(), {below, above, 0, 0});
    shape.weights.emplace_back(1 - share, share, 0.0f, 0.0f);
  }
}

/// A turn about z.
V4f Turn(float angle) {
  return {0, 0, std::sin(angle / 2), std::cos(angle / 2)};
}

}  // namespace

Document Reed() {
  Document document;
  document.materials.push_back({"reed", {0.45f, 0.6f, 0.25f}});
  document.meshes.push_back({"reed", Stem(), 0});
  Bind(document.meshes[0].shape);
  document.nodes.push_back({"reed", M44f(), 0, -1, -1, -1, 0});
  Skin& skin = document.skins.emplace_back();
  Animation& wind = document.animations.emplace_back();
  wind.name = "Wind";
  for (int j = 0; j < kReedJoints; ++j) {
    const float height = kStep * static_cast<float>(j);
    const int node = static_cast<int>(document.nodes.size());
    document.nodes.push_back({fmt::format("joint {}", j + 1),
                              M44f().setTranslation(V3f(0, j == 0 ? 0 : kStep, 0)), -1, -1, -1,
                              j == 0 ? -1 : node - 1});
    skin.joints.push_back(node);
    skin.inverseBinds.push_back(M44f().setTranslation(V3f(0, -height, 0)));
    wind.channels.push_back({node,
                             "rotation",
                             {0, 1, 2, 3, 4},
                             {Turn(0), Turn(-kReedBend), Turn(0), Turn(kReedBend), Turn(0)}});
  }
  return document;
}

}  // namespace samples
