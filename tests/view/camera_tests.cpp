// The camera that the mouse moves, as numbers.
#include <gtest/gtest.h>

#include <cmath>

#include "apps/gl3-view/orbit_camera.h"
#include "apps/gl3-view/render_command.h"

namespace {

using Imath::V3d;
using Imath::V3f;

const Imath::Box3f kBox(V3f(-1, -1, -1), V3f(1, 1, 1));

view::OrbitCamera Camera() {
  view::OrbitCamera camera;
  camera.SetSubject(kBox, {kBox.min, kBox.max});
  camera.LookFrom({0, 0, 1}, 1);
  return camera;
}

gl3::RenderOptions OptionsOf(const view::OrbitCamera& camera) {
  gl3::RenderOptions options;
  camera.Fill(&options);
  return options;
}

}  // namespace

TEST(OrbitCamera, TurnsAboutTheTargetAndStopsAtThePoles) {
  view::OrbitCamera camera = Camera();
  const auto distance =
      static_cast<float>((*OptionsOf(camera).eye - V3d(camera.Target())).length());
  const float quarter = static_cast<float>(M_PI) / 2;
  camera.Orbit(quarter, 0);
  gl3::RenderOptions seen = OptionsOf(camera);
  EXPECT_LT((V3f(*seen.eye) - camera.Target() - V3f(distance, 0, 0)).length(), 1e-4f);
  camera.Orbit(0, 10);
  camera.Orbit(0, 10);  // straight above, and no farther
  seen = OptionsOf(camera);
  EXPECT_LT((V3f(*seen.eye) - camera.Target() - V3f(0, distance, 0)).length(), 1e-3f);
  camera.Orbit(0, -quarter);  // and back down on the same side
  seen = OptionsOf(camera);
  EXPECT_LT((V3f(*seen.eye) - camera.Target() - V3f(distance, 0, 0)).length(), 1e-3f);
  EXPECT_LT((V3f(*seen.up) - V3f(0, 1, 0)).length(), 1e-3f);
}

TEST(OrbitCamera, AParallelViewKeepsItsHeightAndItsDistanceFromTheModel) {
  view::OrbitCamera camera = Camera();
  camera.SetParallel(true);
  camera.Fit(1);
  const auto heightOf = [](const gl3::RenderOptions& options) {
    return 2 * (*options.eye - *options.target).length() *
           std::tan(*options.fieldOfView * static_cast<float>(M_PI) / 360);
  };
  const float fitted = heightOf(OptionsOf(camera));
  camera.Zoom(0.1f);
  const gl3::RenderOptions near = OptionsOf(camera);
  EXPECT_NEAR(heightOf(near), fitted / 10, fitted * 1e-4f);
  EXPECT_GT(near.eye->z, 1) << "the model would be cut";
  camera.Zoom(1e-9f);
  EXPECT_GE(*OptionsOf(camera).fieldOfView, 0.1f);
}

TEST(RenderCommand, FilesThatLookLikeOptionsStayFiles) {
  EXPECT_EQ(view::RenderCommand({"a.obj", "-b c.obj"}, "-p.png", {"--grid"}),
            "gl3 render a.obj './-b c.obj' --merge -o ./-p.png --grid");
}

TEST(OrbitCamera, ItsArgumentsReadBackExactly) {
  view::OrbitCamera camera = Camera();
  camera.Orbit(0.7f, 0.33f);
  camera.Pan(0.1f, -0.2f);
  const gl3::RenderOptions told = OptionsOf(camera);
  gl3::RenderOptions read;
  std::string error;
  ASSERT_TRUE(view::ReadChoices(view::CameraArguments(told), &read, &error)) << error;
  EXPECT_EQ(V3f(*read.eye), V3f(*told.eye));
  EXPECT_EQ(V3f(*read.target), V3f(*told.target));
  EXPECT_EQ(V3f(*read.up), V3f(*told.up));
  EXPECT_EQ(*read.fieldOfView, *told.fieldOfView);
}

TEST(OrbitCamera, TurnsWithWhatIsUpAndTellsTheCoordinatesOfTheFile) {
  view::OrbitCamera camera;
  const V3d origin(500000, 4649776, 100);
  std::vector<V3f> corners;
  for (int i = 0; i < 8; ++i) corners.emplace_back(i & 1 ? 1 : -1, i & 2 ? 1 : -1, i & 4 ? 3 : -1);
  camera.SetSubject({corners.front(), corners.back()}, corners, origin);
  camera.SetUpAxis(hostkit::UpAxis::kPlusZ);
  camera.LookFrom({0, 0, 1}, 1);  // the front: from -y
  const V3d target = origin + V3d(0, 0, 1);
  gl3::RenderOptions seen = OptionsOf(camera);
  const double distance = target.y - seen.eye->y;
  EXPECT_GT(distance, 3);
  EXPECT_LT((*seen.eye - target - V3d(0, -distance, 0)).length(), 1e-4);
  EXPECT_LT((*seen.target - target).length(), 1e-4);
  EXPECT_EQ(*seen.up, V3d(0, 0, 1));
  camera.Orbit(static_cast<float>(M_PI) / 2, 0);  // to its right, which is x
  seen = OptionsOf(camera);
  EXPECT_LT((*seen.eye - target - V3d(distance, 0, 0)).length(), 1e-3);
  // The text reads back to the same place in the scene, to the last bit.
  gl3::RenderOptions read;
  std::string error;
  ASSERT_TRUE(view::ReadChoices(view::CameraArguments(seen), &read, &error)) << error;
  EXPECT_EQ(*read.eye, *seen.eye);
  hostkit::SceneCamera own;  // a camera of the model stays where it is
  own.eye = {0, -9, 1};
  own.forward = {0, 1, 0};
  own.up = {0, 0, 1};
  camera.Take(own);
  EXPECT_LT((*OptionsOf(camera).eye - origin - V3d(0, -9, 1)).length(), 1e-4);
}
