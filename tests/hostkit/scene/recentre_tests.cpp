// Scenes that lie far away: what is taken from their coordinates, and that all of them goes along.
#include "hostkit/scene/recentre.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/scene/node_animation.h"
#include "tests/hostkit/import/import_fixture.h"

namespace {

using hostkit::Scene;
using Imath::Box3d;
using Imath::M44d;
using Imath::M44f;
using Imath::V3d;
using Imath::V3f;

using Far = Import;

M44d PlacedAt(const V3d& place) {
  return M44d().setTranslation(place);
}

TEST_F(Far, OnlyWhatFloatsWouldBlurIsTaken) {
  const struct {
    Box3d bounds;
    V3d taken;
  } cases[] = {{Box3d(), V3d(0)},
               {{V3d(5), V3d(5)}, V3d(0)},  // a point has no size to be far for
               {{V3d(-1), V3d(1)}, V3d(0)},
               {{V3d(31), V3d(33)}, V3d(0)},   // sixteen sizes away
               {{V3d(32), V3d(34)}, V3d(34)},  // its middle, 33, in steps of its size
               {{V3d(200000.1, 0, -7), V3d(200000.4, 0.2, -7)}, V3d(200000.25, 0, -7)}};
  for (const auto& [bounds, taken] : cases) {
    EXPECT_LT((hostkit::MiddleToTake(bounds) - taken).length(), 1.001) << bounds.min;
    EXPECT_EQ(hostkit::MiddleToTake(bounds) == V3d(0), taken == V3d(0)) << bounds.min;
  }
  // Millimetres of a survey that no float holds stay: what is taken has few digits.
  const V3d corner(500000.001, 4649776.002, 120.003);
  const V3d taken = hostkit::MiddleToTake({corner, corner + V3d(0.25, 0, 0.125)});
  EXPECT_LT((taken + V3d(V3f(corner - taken)) - corner).length(), 1e-7);
  EXPECT_EQ(taken * 4,
            V3d(std::round(taken.x * 4), std::round(taken.y * 4), std::round(taken.z * 4)));
}

/// A box on a node that is 3 to the right of its animated parent, with a camera and a lamp beside
/// it; all of it under a node at `place`, which is animated, too, with `rootMoves`.
samples::Document Crane(const V3f& place, bool rootMoves) {
  samples::Document document = OneBox();
  const auto at = [](const V3f& p) { return M44f().setTranslation(p); };
  document.cameras.resize(1);
  document.lights.push_back({"lamp", "point", {1, 1, 1}, 10, 0, 0.7f});
  document.nodes = {{"base", at(place), -1, -1, -1, -1},
                    {"arm", at({1, 2, 0}), -1, -1, -1, 0},
                    {"hand", at({3, 0, 0}), 0, -1, -1, 1},
                    {"eye", at({0, 0, 5}), -1, 0, -1, 1},
                    {"lamp", at({0, 4, 1}), -1, -1, 0, 2}};
  document.cameras[0].name = "eye";
  document.animations = {{"lift", {{1, "translation", {0, 1}, {{1, 2, 0, 0}, {1, 4, 0, 0}}}}}};
  if (rootMoves) {
    const Imath::V4f start(place.x, place.y, place.z, 0);
    document.animations[0].channels.push_back(
        {0, "translation", {0, 1}, {start, start + Imath::V4f(1, 0, 0, 0)}});
  }
  return document;
}

TEST_F(Far, AllOfAModelGoesAlong) {
  const V3f away(200000, -4649776, 300000.5f);
  for (const bool rootMoves : {false, true}) {
    Scene near = ReadGlb(Crane({0, 0, 0}, rootMoves)), far = ReadGlb(Crane(away, rootMoves));
    EXPECT_EQ(near.origin, V3d(0));
    const V3f shift(V3d(away) - far.origin);  // small, and exact
    EXPECT_LT(shift.length(), 10) << far.origin;
    EXPECT_EQ(near.lights.at(0).range, far.lights.at(0).range);
    for (const double time : {-1.0, 0.0, 0.3, 2.0}) {
      if (time >= 0) {
        hostkit::PoseScene(near, {0}, time);
        hostkit::PoseScene(far, {0}, time);
      }
      const V3f box = V3f(0) * near.instances.at(0).toWorld;
      EXPECT_LT((V3f(0) * far.instances.at(0).toWorld - box - shift).length(), 1e-5f) << time;
      EXPECT_LT((far.cameras.at(0).eye - near.cameras.at(0).eye - shift).length(), 1e-5f) << time;
      EXPECT_LT((far.lights[0].position - near.lights[0].position - shift).length(), 1e-5f) << time;
    }
  }
}

/// A triangle of a unit's size, placed by the matrix.
Scene Triangle(const M44f& toWorld) {
  Scene scene;
  scene.materials.resize(1);
  scene.meshes.resize(1);
  scene.meshes[0].positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  scene.meshes[0].triangles = {0, 1, 2};
  scene.instances = {{0, toWorld}};
  return scene;
}

TEST_F(Far, SkinsGoAlongInTheWorldAndInTheSpaceOfTheirJoints) {
  Scene scene = Triangle(M44f());
  const V3f bind(5000, 0, 0), world(0, 70000, 0);
  for (V3f& position : scene.meshes[0].positions) position += world;
  hostkit::SceneDeformation skin;
  skin.positions = {bind, bind + V3f(1, 0, 0), bind + V3f(0, 1, 0)};
  skin.joints = {{-1, M44f().setTranslation(world - bind)}, {0, M44f().setTranslation(-bind)}};
  scene.motion.nodes = {{-1, M44f(), M44f().setTranslation(world)}};
  scene.motion.deformations = {skin};
  std::string why;
  ASSERT_TRUE(hostkit::Recentre(scene, {}, &why)) << why;
  const hostkit::SceneDeformation& moved = scene.motion.deformations[0];
  EXPECT_LT(moved.positions[1].length(), 4);
  const M44f toWorld = scene.motion.nodes[0].place * scene.motion.nodes[0].toParentNode;
  for (std::size_t i = 0; i < 3; ++i) {
    const V3f posed = scene.meshes[0].positions[i];
    EXPECT_EQ(scene.origin + V3d(posed), V3d(world + skin.positions[i] - bind)) << i;
    EXPECT_EQ(moved.positions[i] * moved.joints[0].toNode, posed) << i;
    EXPECT_EQ(moved.positions[i] * (moved.joints[1].toNode * toWorld), posed) << i;
  }
}

TEST_F(Far, MergedModelsKeepTheirPlaces) {
  const V3d first(200000, 0, 0), second(200003, 0.5, 0);
  Scene scene = Triangle(M44f()), other = Triangle(M44f());
  other.cameras.resize(1);
  std::string why;
  ASSERT_TRUE(hostkit::Recentre(scene, {{PlacedAt(first)}, {}, {}, {}}, &why));
  ASSERT_TRUE(
      hostkit::Recentre(other, {{PlacedAt(second)}, {second + V3d(0, 0, 9)}, {}, {}}, &why));
  hostkit::AppendScene(scene, std::move(other));
  const auto placeOf = [&](std::size_t instance) {
    return scene.origin + V3d(V3f(0) * scene.instances.at(instance).toWorld);
  };
  EXPECT_EQ(placeOf(0), first);
  EXPECT_EQ(placeOf(1), second);
  EXPECT_EQ(scene.origin + V3d(scene.cameras.at(0).eye), second + V3d(0, 0, 9));
}

TEST_F(Far, WhatIsBeyondFloatsIsRefused) {
  const std::pair<float, const char*> cases[] = {
      {1e18f, ""}, {2e-18f, ""}, {1e19f, "reach 1e+19"}, {1e-19f, "is 1e-19 large"}};
  for (const auto& [scale, says] : cases) {
    Scene scene = Triangle(M44f().setScale(scale));
    std::string why;
    EXPECT_EQ(hostkit::Recentre(scene, {}, &why), *says == 0) << scale;
    EXPECT_NE(why.find(says), std::string::npos) << why;
  }
}

}  // namespace
