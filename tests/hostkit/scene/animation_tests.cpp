// Animations: imported from files that the test writes, and played.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/scene/node_animation.h"
#include "samples/orrery.h"
#include "samples/reed.h"
#include "tests/hostkit/import/import_fixture.h"

namespace {

using hostkit::Scene;
using Imath::M44f;
using Imath::V3f;
using Imath::V4f;

using Animation = Import;

M44f Moved(const V3f& place) {
  return M44f().setTranslation(place);
}

V4f AroundY(float angle) {
  return {0, std::sin(angle / 2), 0, std::cos(angle / 2)};
}

/// base (lies still, moved up) > arm (turns) > spacer (lies still) > hand (moves and grows) > box,
/// camera and light; a second box hangs on nothing that moves.
samples::Document ArmDocument() {
  samples::Document document;
  document.materials.resize(1);
  document.meshes.push_back({"box", samples::Box({1, 1, 1}, 1), 0});
  document.cameras.resize(1);
  document.lights.push_back({"lamp", "point", {1, 1, 1}, 10, 0, 0.7f});
  document.nodes = {
      {"base", Moved({0, 10, 0}), -1, -1, -1, -1}, {"arm", M44f(), -1, -1, -1, 0},
      {"spacer", Moved({2, 0, 0}), -1, -1, -1, 1}, {"hand", Moved({0, 0, 1}), 0, -1, -1, 2},
      {"eye", Moved({0, 0, 3}), -1, 0, -1, 3},     {"lamp", Moved({0, 1, 0}), -1, -1, 0, 3},
      {"rock", Moved({-5, 0, 0}), 0, -1, -1, 0}};
  document.cameras[0].name = "eye";
  document.animations = {
      {"swing",
       {{1, "rotation", {1, 3}, {AroundY(0), AroundY(kPi / 2)}},
        {3, "translation", {1, 2, 3}, {{0, 0, 1, 0}, {0, 4, 1, 0}, {0, 0, 1, 0}}},
        {3, "scale", {1, 3}, {{1, 1, 1, 0}, {3, 3, 3, 0}}}}},
      {"nod", {{3, "translation", {0, 1}, {{0, 0, 0, 0}, {0, -1, 0, 0}}}}}};
  return document;
}

V3f PlaceOf(const Scene& scene, std::size_t instance) {
  return V3f(0.0f) * scene.instances.at(instance).toWorld;
}

TEST_F(Animation, MovesInstancesThroughTheTreeOfNodes) {
  Scene scene = ReadGlb(ArmDocument());
  EXPECT_EQ(scene.motion.nodes.size(), 2u) << "nodes that lie still are folded away";
  ASSERT_EQ(scene.instances.size(), 2u);
  const std::vector<int> swing = hostkit::FindAnimations(scene, "");
  ASSERT_EQ(swing.size(), 1u);
  EXPECT_EQ(scene.motion.animations[0].name, "swing");
  EXPECT_DOUBLE_EQ(scene.motion.animations[0].duration, 3);

  const float h = std::sqrt(0.5f);
  const struct {
    double time;
    V3f hand;
    float size;
  } cases[] = {
      {-5, {2, 10, 1}, 1},  // before its beginning
      {1, {2, 10, 1}, 1},
      // An eighth of a turn takes x to x - z, and z to x + z.
      {2, {2 * h + h, 14, -2 * h + h}, 2},
      {3, {1, 10, -2}, 3},
      {99, {1, 10, -2}, 3},
  };
  for (const auto& [time, hand, size] : cases) {
    SCOPED_TRACE(time);
    hostkit::PoseScene(scene, swing, time);
    ExpectNear(PlaceOf(scene, 0), hand);
    V3f across;
    scene.instances[0].toWorld.multDirMatrix(V3f(0, 1, 0), across);
    EXPECT_NEAR(across.length(), size, kNear);
    ExpectNear(PlaceOf(scene, 1), {-5, 10, 0});
  }
  // The turn is at an even pace along the arc, where straight quaternions would lag behind.
  hostkit::PoseScene(scene, swing, 1.5);
  V3f along;
  scene.instances[0].toWorld.multDirMatrix(V3f(1, 0, 0), along);
  EXPECT_NEAR(std::atan2(-along.z, along.x), kPi / 8, kNear);

  hostkit::PoseScene(scene, {}, 2);
  ExpectNear(PlaceOf(scene, 0), {2, 10, 1});
}

TEST_F(Animation, TakesCamerasAndLightsAlong) {
  Scene scene = ReadGlb(ArmDocument());
  hostkit::PoseScene(scene, hostkit::FindAnimations(scene, "swing"), 3);
  // The hand is at (1, 10, -2), three times as large, and its z axis points along x.
  ExpectNear(scene.cameras.at(0).eye, {1 + 9, 10, -2});
  ExpectNear(scene.cameras[0].forward, {-1, 0, 0});
  ExpectNear(scene.cameras[0].up, {0, 1, 0});
  ExpectNear(scene.lights.at(0).position, {1, 13, -2});
}

TEST_F(Animation, IsFoundByNameInEveryMergedModel) {
  Scene scene = ReadGlb(ArmDocument());
  EXPECT_EQ(hostkit::FindAnimations(scene, "nod"), std::vector<int>{1});
  EXPECT_TRUE(hostkit::FindAnimations(scene, "Nod").empty());
  hostkit::AppendScene(scene, ReadGlb(ArmDocument()));
  EXPECT_EQ(hostkit::FindAnimations(scene, ""), (std::vector<int>{0, 2}));
  EXPECT_EQ(hostkit::FindAnimations(scene, "nod"), (std::vector<int>{1, 3}));
  hostkit::PoseScene(scene, hostkit::FindAnimations(scene, ""), 3);
  ExpectNear(PlaceOf(scene, 0), {1, 10, -2});
  ExpectNear(PlaceOf(scene, 2), {1, 10, -2});
  ExpectNear(scene.cameras.at(1).eye, scene.cameras[0].eye);
  ExpectNear(scene.lights.at(1).position, scene.lights[0].position);
  // The second model alone moves.
  hostkit::PoseScene(scene, {3}, 1);
  ExpectNear(PlaceOf(scene, 0), {2, 10, 1});
  ExpectNear(PlaceOf(scene, 2), {2, 9, 0});
}

TEST_F(Animation, ReachHoldsEveryMomentOfIt) {
  Scene scene = ReadGlb(samples::Orrery());
  const auto orbits = hostkit::FindAnimations(scene, "Orbits");
  const hostkit::SceneReach reach = hostkit::MeasureReach(scene, orbits);
  Imath::Box3f grown = reach.bounds;  // between the moments that were looked at
  grown.min -= V3f(0.05f);
  grown.max += V3f(0.05f);
  for (int i = 0; i <= 40; ++i) {
    hostkit::PoseScene(scene, orbits, i * 0.1);
    const Imath::Box3f bounds = scene.Bounds();
    EXPECT_TRUE(grown.intersects(bounds.min) && grown.intersects(bounds.max)) << i;
  }
  EXPECT_LT(reach.bounds.max.x, 3.1f) << "2.2 + 0.5 for the arms, and the moon's size";
  EXPECT_GT(reach.bounds.max.x, 2.4f);
}

TEST_F(Animation, BendsASkinAlongItsJoints) {
  Scene scene = ReadGlb(samples::Reed());
  const auto wind = hostkit::FindAnimations(scene, "Wind");
  for (const auto& [time, bend] : {std::pair{0.0, 0.0f}, {1.0, 1.0f}, {1.5, 0.5f}, {3.0, -1.0f}}) {
    hostkit::PoseScene(scene, wind, time);
    // Each joint leans further than the one below it, and carries a piece of the stem.
    V3f tip(0.0f);
    for (int joint = 1; joint <= samples::kReedJoints; ++joint) {
      const float lean = static_cast<float>(joint) * samples::kReedBend * bend;
      tip += V3f(std::sin(lean), std::cos(lean), 0) * (samples::kReedHeight / samples::kReedJoints);
    }
    const std::vector<V3f>& positions = scene.meshes.at(0).positions;
    const bool isThere = std::any_of(positions.begin(), positions.end(), [&](const V3f& position) {
      return (position - tip).length() < 0.006f;  // the tip's radius is 0.005
    });
    EXPECT_TRUE(isThere) << time << ": nothing is at " << tip;
  }
}

TEST_F(Animation, KeysThatAreNoNumbersAreLeftOut) {
  samples::Document document = ArmDocument();
  const float nan = std::nanf("");
  document.animations = {
      {"broken", {{3, "translation", {0, 1, 2}, {{0, 0, 1, 0}, {nan, 0, 0, 0}, {0, 2, 1, 0}}}}}};
  Scene scene = ReadGlb(document);
  hostkit::PoseScene(scene, {0}, 1);
  ExpectNear(PlaceOf(scene, 0), {2, 11, 1});
}

}  // namespace
