// Vertices that move with joints and targets, and the curves between keys.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene_check.h"
#include "tests/hostkit/scene/near.h"

namespace {

using hostkit::KeyCurve;
using hostkit::Scene;
using hostkit::SceneDeformation;
using Imath::M44f;
using Imath::Quatf;
using Imath::V3f;

const float kHalf = std::sqrt(0.5f);

M44f PlaceAt(const V3f& place) {
  return M44f().setTranslation(place);
}

Quatf AroundZ(float angle) {
  return {std::cos(angle / 2), 0, 0, std::sin(angle / 2)};
}

/// An arm from 0 to 2 along x, of one vertex each that hangs on the shoulder, on both joints alike
/// and on the elbow, which is node 0 at x = 1.
Scene Arm() {
  Scene scene;
  scene.materials.resize(1);
  hostkit::SceneMesh& mesh = scene.meshes.emplace_back();
  mesh.positions = {{0, 0, 0}, {2, 0, 0}, {2, 0, 0}};
  mesh.normals = {{1, 0, 0}, {1, 0, 0}, {kHalf, kHalf, 0}};
  mesh.triangles = {0, 1, 2};
  scene.instances.resize(1);
  scene.motion.nodes = {{-1, PlaceAt({1, 0, 0}), M44f()}};
  SceneDeformation arm;
  arm.positions = mesh.positions;
  arm.normals = mesh.normals;
  arm.joints = {{-1, M44f()}, {0, PlaceAt({-1, 0, 0})}};
  arm.influences = 2;
  arm.vertexJoints = {0, 1, 0, 1, 1, 0};
  arm.vertexWeights = {1, 0, 0.5f, 0.5f, 1, 0};
  scene.motion.deformations = {arm};
  return scene;
}

hostkit::NodeChannel& AddChannel(Scene& scene) {
  hostkit::SceneAnimation& animation = scene.motion.animations.emplace_back();
  animation.duration = 2;
  animation.channels.resize(1);
  animation.channels[0].rest.translation = {1, 0, 0};
  return animation.channels[0];
}

/// The elbow turns by a right angle in two seconds.
Scene BendingArm() {
  Scene scene = Arm();
  AddChannel(scene).rotations.keys = {{0, AroundZ(0)}, {2, AroundZ(kPi / 2)}};
  return scene;
}

TEST(Deform, VerticesFollowTheirJoints) {
  Scene scene = BendingArm();
  std::string why;
  ASSERT_TRUE(hostkit::CheckScene(scene, &why)) << why;
  const std::vector<V3f>&positions = scene.meshes[0].positions, &normals = scene.meshes[0].normals;
  hostkit::PoseScene(scene, {0}, 2);
  ExpectNear(positions[0], {0, 0, 0});
  ExpectNear(positions[1], {1.5f, 0.5f, 0});  // half of the way from 2,0,0 to 1,1,0
  ExpectNear(positions[2], {1, 1, 0});
  ExpectNear(normals[0], {1, 0, 0});
  ExpectNear(normals[1], {kHalf, kHalf, 0});  // the mean of the two matrices turns by 45 degrees
  ExpectNear(normals[2], {-kHalf, kHalf, 0});

  hostkit::PoseScene(scene, {}, 2);
  ExpectNear(positions[2], {2, 0, 0});
  ExpectNear(normals[2], {kHalf, kHalf, 0});
}

TEST(Deform, NormalsStayUprightHoweverJointsScale) {
  const float s = 1 / std::sqrt(5.0f);
  const struct {
    V3f scale, normal;
  } cases[] = {{{2, 1, 1}, {s, 2 * s, 0}},  // a slope becomes half as steep
               {{1e-12f, 1e-12f, 1e-12f}, {kHalf, kHalf, 0}},
               {{1, 1, 0}, {kHalf, kHalf, 0}},  // no direction is left
               {{1, 0, 1}, {0, 1, 0}},
               {{-1, 1, 1}, {kHalf, -kHalf, 0}}};  // as its triangles turn over
  for (const auto& [scale, normal] : cases) {
    SCOPED_TRACE(scale);
    Scene scene = Arm();
    scene.motion.nodes[0].place = M44f().setScale(scale);
    hostkit::PoseScene(scene, {}, 0);
    ExpectNear(scene.meshes[0].positions[2], {scale.x, 0, 0});
    ExpectNear(scene.meshes[0].normals[2], normal);
  }
}

TEST(Deform, TargetsActBeforeJoints) {
  Scene scene = BendingArm();
  SceneDeformation& arm = scene.motion.deformations[0];
  arm.targets = {{{{0, 0, 0}, {0, 0, 0}, {0, 4, 0}}, {}},
                 {{{0, 0, 8}, {0, 0, 0}, {0, 0, 0}}, {{-1, 1, 0}, {0, 0, 0}, {0, 0, 0}}}};
  arm.weights = {0.25f, 0};
  scene.motion.animations[0].weights = {{0, KeyCurve::kLinear, {0, 2}, {0, 0, 1, 0.5f}}};
  const std::vector<V3f>& positions = scene.meshes[0].positions;
  hostkit::PoseScene(scene, {}, 0);
  ExpectNear(positions[2], {2, 1, 0});  // by the weights at rest
  hostkit::PoseScene(scene, {0}, 2);
  ExpectNear(positions[0], {0, 0, 4});
  ExpectNear(positions[2], {1 - 4, 1, 0});  // 2,4,0 turned about 1,0,0
  ExpectNear(scene.meshes[0].normals[0], {kHalf, kHalf, 0});
  // The later of two animations wins, as with nodes.
  scene.motion.animations.emplace_back().weights = {{0, KeyCurve::kStep, {0}, {0, 1}}};
  hostkit::PoseScene(scene, {0, 1}, 1);
  ExpectNear(positions[0], {0, 0, 8});
}

TEST(Deform, WhatIsBeyondTheNumbersStays) {
  Scene scene = Arm();
  scene.motion.nodes[0].place = M44f().setScale(V3f(3e38f, 1, 1)) * PlaceAt({0, 7, 0});
  hostkit::PoseScene(scene, {}, 0);
  scene.meshes[0].positions[2] = {5, 5, 5};
  scene.motion.deformations[0].positions[2].x = 3;  // twice the largest number from the joint
  scene.motion.deformations[0].positions[0] = {0, 1, 0};
  hostkit::PoseScene(scene, {}, 0);
  ExpectNear(scene.meshes[0].positions[0], {0, 1, 0});
  ExpectNear(scene.meshes[0].positions[2], {5, 5, 5});
}

TEST(Deform, LargeMeshesArePosedWhole) {
  Scene scene = BendingArm();
  SceneDeformation& arm = scene.motion.deformations[0];
  constexpr std::size_t kCount = 150001;
  arm.positions.assign(kCount, {2, 0, 0});
  arm.normals.assign(kCount, {1, 0, 0});
  arm.vertexJoints.assign(2 * kCount, 1);
  arm.vertexWeights.assign(2 * kCount, 0.5f);
  scene.meshes[0].positions = arm.positions;
  scene.meshes[0].normals = arm.normals;
  hostkit::PoseScene(scene, {0}, 2);
  for (const V3f& position : scene.meshes[0].positions) {
    if (!position.equalWithAbsError({1, 1, 0}, 1e-5f)) FAIL() << position;
  }
  for (const V3f& normal : scene.meshes[0].normals) {
    if (!normal.equalWithAbsError({0, 1, 0}, 1e-5f)) FAIL() << normal;
  }
}

TEST(Deform, VerticesAreWorkedOutAnewOnlyWhenTheyMove) {
  Scene scene = BendingArm();
  AddChannel(scene).node = 0;  // an animation that moves nothing
  hostkit::ScenePoser poser(scene);
  V3f& vertex = scene.meshes[0].positions[0];
  poser.Pose({}, 0);
  vertex.x = 9;
  poser.Pose({}, 1);
  poser.Pose({1}, 1);
  EXPECT_EQ(vertex.x, 9);
  poser.Pose({0}, 1);
  EXPECT_EQ(vertex.x, 0);
}

TEST(Deform, ReachFollowsThePose) {
  Scene scene = BendingArm();
  // Up and down again: the ends of the animation alone do not show how far it reaches.
  scene.motion.animations[0].channels[0].rotations.keys.push_back({4, AroundZ(0)});
  scene.motion.animations[0].duration = 4;
  const hostkit::SceneReach reach = hostkit::MeasureReach(scene, {0});
  ExpectNear(reach.bounds.min, {0, 0, 0});
  ExpectNear(reach.bounds.max, {2, 1, 0});
  ExpectNear(scene.meshes[0].positions[2], {2, 0, 0});
  EXPECT_EQ(scene.motion.deformations[0].positions.size(), 3u);

  hostkit::PoseScene(scene, {0}, 2);
  const Imath::Box3f posed = hostkit::MeasureReach(scene, {}).bounds;
  ExpectNear(posed.max, {1.5f, 1, 0});
}

TEST(Deform, WhatNothingMovesIsForgottenOnceItIsAtRest) {
  Scene scene = Arm();
  scene.meshes.resize(3, scene.meshes[0]);
  std::vector<SceneDeformation>& all = scene.motion.deformations;
  all.resize(3, all[0]);
  for (int i : {0, 1}) {
    all[static_cast<std::size_t>(i)].joints[1] = {-1, PlaceAt({0, 3, 0})};
    all[static_cast<std::size_t>(i)].mesh = i;
  }
  all[2].mesh = 2;
  all[1].targets = {{{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}}, {}}};
  all[1].weights = {0};
  scene.motion.animations.resize(1);
  scene.motion.animations[0].weights = {{1, KeyCurve::kStep, {0}, {1}}};
  hostkit::SettleAtRest(scene);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0].mesh, 1);
  EXPECT_EQ(all[1].mesh, 2);
  for (std::size_t m : {0u, 1u}) ExpectNear(scene.meshes[m].positions[2], {2, 3, 0});
  hostkit::PoseScene(scene, {0}, 0);
  ExpectNear(scene.meshes[1].positions[2], {2, 3, 1});
}

TEST(Curves, StepAndCubicKeysAreAsTheirFormatSays) {
  hostkit::NodeChannel channel;
  channel.translations = {KeyCurve::kStep, {{1, {1, 0, 0}}, {3, {3, 0, 0}}}, {}};
  channel.scales = {KeyCurve::kCubic,
                    {{1, {1, 1, 1}}, {3, {3, 3, 3}}},
                    {{{9, 9, 9}, {4, 4, 4}}, {{-2, -2, -2}, {9, 9, 9}}}};
  channel.rotations = {KeyCurve::kCubic, {{1, AroundZ(0)}, {3, AroundZ(kPi / 2)}}, {}};
  const Quatf still(0, 0, 0, 0);
  channel.rotations.tangents = {{still, still}, {still, still}};
  const struct {
    double time;
    float step, cubic, angle;
  } cases[] = {{0, 1, 1, 0},
               {1, 1, 1, 0},
               // A quarter of the way, h00 = 0.84375, h10 = 0.140625, h11 = -0.046875, h01 =
               // 0.15625: 0.84375 * 1 + 2 * 0.140625 * 4 + 2 * -0.046875 * -2 + 0.15625 * 3.
               {1.5, 1, 2.625f, 2 * std::atan2(0.15625f * kHalf, 0.84375f + 0.15625f * kHalf)},
               {2, 1, 0.5f + 0.25f * 4 + 0.25f * 2 + 1.5f, kPi / 4},
               {3, 3, 3, kPi / 2},
               {9, 3, 3, kPi / 2}};
  for (const auto& [time, step, cubic, angle] : cases) {
    SCOPED_TRACE(time);
    const hostkit::NodePlace place = hostkit::PlaceAt(channel, time);
    EXPECT_FLOAT_EQ(place.translation.x, step);
    EXPECT_FLOAT_EQ(place.scale.y, cubic);
    EXPECT_NEAR(place.rotation.length(), 1, 1e-6f);
    EXPECT_NEAR(2 * std::atan2(place.rotation.v.z, place.rotation.r), angle, 1e-6f);
  }
}

TEST(Curves, CubicWeightsHaveTheirTangentsAroundThem) {
  Scene scene = Arm();
  SceneDeformation& arm = scene.motion.deformations[0];
  const std::vector<V3f> up(3, {0, 1, 0}), out(3, {0, 0, 1});
  arm.targets = {{up, {}}, {out, {}}};
  arm.weights = {0, 0};
  scene.motion.animations.resize(1);
  scene.motion.animations[0].weights = {
      {0, KeyCurve::kCubic, {1, 3}, {9, 9, 1, 0, 4, 0, -2, 0, 3, 8, 9, 9}}};
  hostkit::PoseScene(scene, {0}, 1.5);
  ExpectNear(scene.meshes[0].positions[0], {0, 2.625f, 0.15625f * 8});
}

}  // namespace
