// Frames of meshes whose vertices move after they were uploaded.
#include "hostkit/scene/node_animation.h"
#include "tests/hostkit/frame/frame_fixture.h"

using hostkit::DrawMode;
using hostkit::Scene;
using Imath::M44f;
using Imath::V3f;

namespace {

/// A mesh that goes along with its one target between 0 and 1 seconds.
Scene Morphing(hostkit::SceneMaterial material, const std::vector<V3f>& way, const M44f& toWorld) {
  Scene scene = SceneOf({std::move(material)}, Square(0), toWorld);
  hostkit::SceneDeformation& deformation = scene.motion.deformations.emplace_back();
  deformation.positions = scene.meshes[0].positions;
  deformation.normals = scene.meshes[0].normals;
  deformation.targets = {{way, {}}};
  deformation.weights = {0};
  scene.motion.animations.resize(1);
  scene.motion.animations[0].weights = {{0, hostkit::KeyCurve::kLinear, {0, 1}, {0, 1}}};
  return scene;
}

class Deformed : public Frames {
 protected:
  /// What is drawn at each of the times, by one renderer.
  std::vector<hostkit::Picture> RenderAt(Scene scene, const std::vector<double>& times) {
    std::vector<hostkit::Picture> pictures;
    std::unique_ptr<hostkit::FrameRenderer> renderer;
    std::string error;
    for (const double time : times) {
      hostkit::PoseScene(scene, {0}, time);
      if (!renderer) renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
      pictures.push_back(renderer->Render(m_settings, FrontView(), &error));
      EXPECT_NE(pictures.back().bitmap, nullptr) << error;
    }
    return pictures;
  }
};

}  // namespace

TEST_F(Deformed, CreasesComeAndGoAsTheMeshBends) {
  m_settings.mode = DrawMode::kLines;
  // The square's two triangles share the diagonal from its first to its third vertex.
  const auto pictures = RenderAt(
      Morphing(Material(1, 1, 1), {{0, 0, 0}, {0, 0, 4}, {0, 0, 0}, {0, 0, 0}}, M44f()), {0, 1, 0});
  EXPECT_EQ(Different(pictures[0], pictures[2], 0.01f), 0);
  EXPECT_GT(Different(pictures[0], pictures[1], 0.3f), 20) << "the diagonal, 40 pixels long";
}

TEST_F(Deformed, MirroringJointsLeaveTheOutsideOutside) {
  Scene scene = SceneOf({Material(1, 1, 1)}, Square(0));
  scene.materials[0].showsBacks = false;
  Scene plain = SceneOf({Material(1, 1, 1)}, Square(0));
  plain.materials[0].showsBacks = false;
  hostkit::SceneDeformation& deformation = scene.motion.deformations.emplace_back();
  deformation.positions = scene.meshes[0].positions;
  deformation.normals = scene.meshes[0].normals;
  deformation.joints = {{-1, M44f().setScale(V3f(-1, 1, 1))}};
  deformation.influences = 1;
  deformation.vertexJoints = {0, 0, 0, 0};
  deformation.vertexWeights = {1, 1, 1, 1};
  hostkit::PoseScene(scene, {}, 0);
  m_settings.lights = hostkit::LightSet::kThreePoint;
  for (const float eye : {10.0f, -10.0f}) {
    const hostkit::Picture mirrored = Render(scene, FrontView(eye));
    EXPECT_EQ(Different(mirrored, Render(plain, FrontView(eye)), 0.01f), 0) << eye;
  }
  EXPECT_GT(At(Render(scene), 40, 40).red, 0.3f);
}

TEST_F(Deformed, APaneThatGrowsOutOfAPointIsSeenFromBehind) {
  std::vector<V3f> toMiddle = Square(0).positions;
  for (V3f& way : toMiddle) way = -way;
  const M44f turned = M44f().rotate(V3f(0, 3.14159265f, 0));
  const auto pictures = RenderAt(Morphing(Material(1, 0, 0, 0.3f), toMiddle, turned), {1, 0});
  EXPECT_LT(At(pictures[0], 45, 45).red, 0.1f) << "it is a point at first";
  EXPECT_GT(At(pictures[1], 45, 45).red, 0.3f);
}
