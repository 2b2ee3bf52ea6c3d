// Cameras: fitting, clipping planes, and pixels that agree with the projection window.
#include <gtest/gtest.h>

#include <Imath/ImathVec.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "hostkit/feed/light_sets.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/camera_window.h"

namespace {

using Imath::Box3f;
using Imath::V3f;

constexpr float kFov = 0.7f;

V3f Corner(const Box3f& box, int i) {
  return {i & 1 ? box.max.x : box.min.x, i & 2 ? box.max.y : box.min.y,
          i & 4 ? box.max.z : box.min.z};
}

V3f ToView(const hostkit::SceneCamera& camera, const V3f& point) {
  V3f seen;
  hostkit::WorldToView(camera).multVecMatrix(point, seen);
  return seen;
}

// How far right and left, up and down the box's corners reach, as shares of half the frame.
struct Reach {
  float right = -9, left = -9, up = -9, down = -9;
  float Most() const { return std::max({right, left, up, down}); }
};

Reach ReachOf(const hostkit::SceneCamera& camera, const Box3f& box, float aspect) {
  Reach reach;
  for (int i = 0; i < 8; ++i) {
    V3f p = ToView(camera, Corner(box, i));
    float half = camera.parallelHeight > 0 ? camera.parallelHeight / 2
                                           : -p.z * std::tan(camera.verticalFov / 2);
    reach.right = std::max(reach.right, p.x / (half * aspect));
    reach.left = std::max(reach.left, -p.x / (half * aspect));
    reach.up = std::max(reach.up, p.y / half);
    reach.down = std::max(reach.down, -p.y / half);
  }
  return reach;
}

// View-space x of a pixel edge at depth z, by the host's formula.
float ViewX(const RenderInfo& info, float pixel, float z) {
  float x = (pixel - info.originX) / info.scaleX - info.offsetX;
  return info.perspective != 0 ? x * z / info.perspective : x;
}
float ViewY(const RenderInfo& info, float pixel, float z) {
  float y = (info.originY - pixel) / info.scaleY - info.offsetY;
  return info.perspective != 0 ? y * z / info.perspective : y;
}

}  // namespace

TEST(Camera, ViewSpaceLooksDownNegativeZ) {
  hostkit::SceneCamera camera;
  camera.eye = {1, 2, 3};
  camera.forward = {1, 0, 0};
  V3f ahead = ToView(camera, {6, 2, 3}), above = ToView(camera, {1, 3, 3}),
      right = ToView(camera, {1, 2, 4});
  EXPECT_LT((ahead - V3f(0, 0, -5)).length(), 1e-5f);
  EXPECT_LT((above - V3f(0, 1, 0)).length(), 1e-5f);
  EXPECT_LT((right - V3f(1, 0, 0)).length(), 1e-5f);
}

TEST(Camera, DirectionsThatAreNoneAreReplaced) {
  const struct {
    V3f forward, up, seenForward, seenUp;
  } cases[] = {{{0, 0, -1}, V3f(0), {0, 0, -1}, {0, 1, 0}},
               {{0, 0, -1}, V3f(std::nanf("")), {0, 0, -1}, {0, 1, 0}},
               {{0, 0, -9}, {0, 0, 2}, {0, 0, -1}, {0, 1, 0}},
               {{3, 0, 0}, {4, 5, 0}, {1, 0, 0}, {0, 1, 0}},
               {{0, -2, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, -1}},
               {{0, 2, 0}, {0, 1, 0}, {0, 1, 0}, {0, 0, 1}},
               {V3f(0), {0, 1, 0}, {0, 0, -1}, {0, 1, 0}}};
  for (const auto& [forward, up, seenForward, seenUp] : cases) {
    hostkit::SceneCamera camera;
    camera.forward = forward;
    camera.up = up;
    EXPECT_LT((ToView(camera, camera.eye + seenForward) - V3f(0, 0, -1)).length(), 1e-5f) << up;
    EXPECT_LT((ToView(camera, camera.eye + seenUp) - V3f(0, 1, 0)).length(), 1e-5f) << up;
  }
}

TEST(Camera, FittedBoxFillsTheFrameButForTheMargin) {
  const Box3f boxes[] = {{V3f(-1), V3f(1)},
                         {V3f(100, 200, -300), V3f(140, 201, -290)},
                         {V3f(0, 0, 0), V3f(5, 4, 0)},
                         {V3f(-1e-4f), V3f(1e-4f)},
                         {V3f(-1e6f, 0, -1), V3f(1e6f, 3e5f, 1)}};
  const V3f directions[] = {{0, 0, 1}, {1, 0.6f, 1.5f}, {-2, -1, 0.3f}, {0, 5, 0}, {0, -1, 0}};
  for (const Box3f& box : boxes) {
    for (const V3f& direction : directions) {
      for (float aspect : {0.5f, 16 / 9.0f}) {
        for (bool parallel : {false, true}) {
          auto camera = hostkit::FitCamera(box, direction, kFov, aspect, parallel);
          Reach reach = ReachOf(camera, box, aspect);
          float filling = reach.Most();
          EXPECT_LT(filling, 0.9505f) << box.min << box.max << direction << aspect << parallel;
          bool edgeOn = box.min.z == box.max.z && direction.z == 0;
          EXPECT_GT(filling, edgeOn ? 0.0f : 0.9f) << box.min << box.max << direction;
          EXPECT_NEAR(reach.right, reach.left, 0.01f) << box.min << box.max << direction;
          EXPECT_NEAR(reach.up, reach.down, 0.01f) << box.min << box.max << direction;
          EXPECT_NEAR(camera.forward.dot(direction.normalized()), -1, 1e-5f);
        }
      }
    }
  }
}

TEST(Camera, DegenerateBoxesGiveUsableCameras) {
  const float inf = std::numeric_limits<float>::infinity();
  const Box3f boxes[] = {
      {}, {V3f(7, 8, 9), V3f(7, 8, 9)}, {V3f(0), V3f(0, 0, 4)}, {V3f(-inf), V3f(inf)}};
  for (const Box3f& box : boxes) {
    for (const V3f& direction : {V3f(0, 0, 1), V3f(0), V3f(std::nanf(""))}) {
      for (bool parallel : {false, true}) {
        auto camera = hostkit::FitCamera(box, direction, kFov, 1.5f, parallel);
        auto view = hostkit::ViewFor(camera, box);
        ASSERT_TRUE(std::isfinite(camera.eye.length())) << box.min;
        EXPECT_NEAR(camera.forward.length(), 1, 1e-5f);
        EXPECT_EQ(camera.parallelHeight > 0, parallel);
        EXPECT_GT(view.nearDistance, 0);
        EXPECT_GT(view.farDistance, view.nearDistance);
        if (box.isEmpty() || !std::isfinite(box.min.x)) continue;
        float depth = -ToView(camera, box.center()).z;
        EXPECT_GT(depth, view.nearDistance);
        EXPECT_LT(depth, view.farDistance);
      }
    }
  }
}

TEST(Camera, PlanesHoldTheBox) {
  Box3f box(V3f(-2, -1, -3), V3f(2, 1, 3));
  hostkit::SceneCamera outside;
  outside.eye = {0, 0, 50};
  auto view = hostkit::ViewFor(outside, box);
  EXPECT_GT(view.nearDistance, 45);
  EXPECT_LT(view.nearDistance, 47);
  EXPECT_GT(view.farDistance, 53);
  EXPECT_LT(view.farDistance, 55);

  for (const auto& [nearCut, farCut] : {std::pair{49.0f, 51.0f}, {60.0f, 90.0f}, {1.0f, 20.0f}}) {
    outside.nearCut = nearCut;
    outside.farCut = farCut;
    view = hostkit::ViewFor(outside, box);
    EXPECT_GE(view.nearDistance, nearCut);
    EXPECT_LT(view.nearDistance, view.farDistance);
    if (nearCut < 50) {
      EXPECT_EQ(view.farDistance, farCut);
    }
  }
  outside.nearCut = outside.farCut = 0;

  hostkit::SceneCamera inside;
  inside.eye = {0, 0, 0};
  view = hostkit::ViewFor(inside, box);
  EXPECT_GT(view.nearDistance, 1e-5f);
  EXPECT_LT(view.nearDistance, 0.01f);
  EXPECT_GT(view.farDistance, 3);

  hostkit::SceneCamera turnedAway = outside;
  turnedAway.forward = {0, 0, 1};
  view = hostkit::ViewFor(turnedAway, box);
  EXPECT_GT(view.nearDistance, 0);
  EXPECT_GT(view.farDistance, view.nearDistance);
}

TEST(Camera, PixelCornersLieOnTheWindowsEdges) {
  hostkit::View view;
  view.nearDistance = 2;
  view.farDistance = 100;
  for (float parallelHeight : {0.0f, 9.0f}) {
    view.camera.parallelHeight = parallelHeight;
    RenderInfo info;
    hostkit::FillRenderInfo(view, 640, 360, &info);
    EXPECT_EQ(info.perspective == 0, parallelHeight > 0);
    EXPECT_EQ(info.nearZ, -2);
    EXPECT_EQ(info.farZ, -100);
    float top = parallelHeight > 0 ? 4.5f : 2 * std::tan(view.camera.verticalFov / 2);
    EXPECT_NEAR(info.viewTop, top, 1e-5f);
    EXPECT_NEAR(info.viewRight, top * 640 / 360, 1e-5f);
    EXPECT_NEAR(ViewX(info, 0, -2), info.viewLeft, 1e-5f);
    EXPECT_NEAR(ViewX(info, 640, -2), info.viewRight, 1e-5f);
    EXPECT_NEAR(ViewY(info, 0, -2), info.viewTop, 1e-5f);
    EXPECT_NEAR(ViewY(info, 360, -2), info.viewBottom, 1e-5f);
    // Twice as deep: twice as wide under perspective, the same without.
    float widening = parallelHeight > 0 ? 1.0f : 2.0f;
    EXPECT_NEAR(ViewX(info, 640, -4), widening * info.viewRight, 1e-5f);

    // What is to be seen and is wider than the picture fits into its width.
    hostkit::View wide = view;
    wide.camera.aspect = 4;
    RenderInfo whole;
    hostkit::FillRenderInfo(wide, 640, 360, &whole);
    EXPECT_NEAR(whole.viewRight, 4 * top, 1e-5f);
    EXPECT_NEAR(whole.viewTop, 4 * top * 360 / 640, 1e-5f);

    // A window in the picture sees what the whole picture sees there.
    RenderInfo part;
    hostkit::FillRenderInfoWindow(view, 640, 360, {500, 300, 100, 50}, &part);
    EXPECT_NEAR(part.viewLeft, ViewX(info, 500, -2), 1e-5f);
    EXPECT_NEAR(part.viewBottom, ViewY(info, 350, -2), 1e-5f);
    EXPECT_NEAR(ViewX(part, 40, -8), ViewX(info, 540, -8), 1e-4f);
    EXPECT_NEAR(ViewY(part, 7, -8), ViewY(info, 307, -8), 1e-4f);
    EXPECT_EQ(part.pixelRight, 100);
    EXPECT_EQ(part.imageHeight, 50);
  }
}

TEST(LightSets, SceneLightsGoToViewSpaceStrongestFirst) {
  hostkit::Scene scene;
  for (int i = 0; i < 10; ++i) {
    hostkit::SceneLight light;
    light.type = i == 9 ? GALight::kDirectional : GALight::kPoint;
    light.position = {0, 0, static_cast<float>(i)};
    light.direction = {1, 0, 0};
    light.intensity = 0.1f * static_cast<float>(i + 1);
    scene.lights.push_back(light);
  }
  hostkit::SceneCamera camera;
  camera.eye = {0, 0, 20};
  hostkit::LightRig rig;
  rig.Build(scene, hostkit::LightSet::kAuto, camera, {V3f(-3), V3f(3)});
  LightListNode* node = rig.Head();
  ASSERT_TRUE(node && node->next);
  EXPECT_EQ(node->light->type, GALight::kDirectional);
  EXPECT_NEAR(node->light->target.x - node->light->position.x, 1, 1e-6f);
  EXPECT_NEAR(node->next->light->position.z, 8 - 20, 1e-5f);
  EXPECT_GT(node->next->light->range, 8);

  rig.Build(scene, hostkit::LightSet::kHeadlight, camera, {});
  EXPECT_EQ(rig.Head(), nullptr);
  rig.Build(scene, hostkit::LightSet::kThreePoint, camera, {});
  int count = 0;
  for (node = rig.Head(); node; node = node->next) ++count;
  EXPECT_EQ(count, 3);
  EXPECT_LT(rig.Head()->light->target.z, 0);  // the key shines away from the viewer
}
