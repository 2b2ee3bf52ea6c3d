// Fuzzes the scene that an importing process hands over: its bytes are refused with one line that
// says why, or there is a scene that can be posed, measured and drawn in
// whatever mode.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/GADriver.h"
#include "hostkit/frame/frame_renderer.h"
#include "hostkit/scene/node_animation.h"
#include "hostkit/scene/scene_bytes.h"
#include "hostkit/scene/scene_check.h"
#include "hostkit/services/host_heaps.h"
#include "hostkit/services/module_loader.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"
#include "tests/fuzz/scene_maker.h"

namespace {

using hostkit::DrawMode;
using hostkit::Scene;
using Bytes = std::vector<unsigned char>;

constexpr int kModes = static_cast<int>(DrawMode::kPoints) + 1;
// The first bytes of an input tell what is damaged, the one after the next how the scene is drawn.
constexpr std::size_t kDamageBytes = 14, kModeAt = kDamageBytes + 1;

Bytes BytesOf(const Scene& scene) {
  Bytes bytes(hostkit::CountSceneBytes(scene));
  hostkit::WriteScene(scene, bytes.data());
  return bytes;
}

/// The module's driver, one for all inputs, which goes with the process.
GADriver* Driver() {
  static hostkit::LoadedModule* const module = [] {
    // Else Mesa's software renderer visits every texel under a pixel, which took 20 s a frame.
    hostkit::OverrideRegistryValue("OpenGL3", "Anisotropic", 0);
    std::string error;
    auto loaded = hostkit::LoadedModule::Load(GL3_LIB_DIR "/OpenGL3.so", &error);
    Require(loaded && loaded->Driver()->Initialize(), "no driver: " + error);
    return loaded.release();
  }();
  return module->Driver();
}

/// Up to three numbers that mean much go over the bytes, which then may lose their end.
Bytes Damaged(Bytes bytes, Input input) {
  constexpr std::uint32_t kValues[] = {0,          1,          0xFFFFFFFF, 0x7F800000,
                                       0x7FC00000, 0x80000000, 0x7FFFFFFF, 0x00010000};
  const int count = input.Below(8) - 4;
  for (int i = 0; i < count; ++i) {
    const std::size_t at = (std::size_t{input.Byte()} << 8 | input.Byte()) * 4 % bytes.size();
    const std::uint32_t value = input.Flag() ? input.OneOf(kValues) : input.Byte();
    std::memcpy(&bytes[at], &value, std::min(sizeof value, bytes.size() - at));
  }
  const int cut = input.Below(255) - 235;
  if (count > 0 && cut > 0) bytes.resize(bytes.size() - static_cast<std::size_t>(cut));
  return bytes;
}

/// Plays each animation; whatever it does, the scene stays one that may be drawn.
void Pose(Scene& scene, const std::string& name) {
  const std::vector<int> animations = hostkit::FindAnimations(scene, name);
  for (const double seconds : {-1.0, 0.1, 1e300, 0.0}) {
    hostkit::PoseScene(scene, animations, seconds);
    std::string why;
    const bool isSound = hostkit::CheckScene(scene, &why);
    Require(isSound, "posing spoils the scene: " + why);
  }
}

hostkit::FrameSettings Settings(Input& input) {
  hostkit::FrameSettings settings;
  settings.width = settings.height = 32;
  settings.mode = static_cast<DrawMode>(input.Below(kModes));
  settings.samplesPerSide = 1 + input.Below(2);
  settings.transparentBackground = input.Flag();
  settings.lights = static_cast<hostkit::LightSet>(input.Below(4));
  settings.pointSize = input.Below(4);
  settings.controlPointSize = input.Below(4) + hostkit::kSizeBySpacing;
  settings.showsEdges = input.Flag();
  settings.grid.on = input.Flag();
  settings.depth = input.Flag();
  settings.fog.on = input.Flag();
  settings.fog.exponential = input.Flag();
  return settings;
}

/// Draws a frame from where all is seen and one from each of the scene's cameras.
void Draw(const Scene& scene, const hostkit::SceneReach& reach,
          const hostkit::FrameSettings& settings) {
  std::vector<hostkit::SceneCamera> cameras = scene.cameras;
  cameras.push_back(hostkit::FitCamera(reach.points, {1, 1, 2}, 0.7f, 1, settings.depth));
  std::string error;
  auto renderer = hostkit::FrameRenderer::Create(Driver(), scene, &error);
  Require(renderer != nullptr, "a sound scene is not drawn: " + error);
  for (const hostkit::SceneCamera& camera : cameras) {
    const hostkit::Picture picture =
        renderer->Render(settings, hostkit::ViewFor(camera, reach.bounds), &error);
    Require(picture.bitmap && error.empty(), "a frame is not drawn: " + error);
    const HBitmapBuffer* depths = picture.bitmap->FindBuffer("Depth");
    for (int i = 0; depths && i < settings.width * settings.height; ++i) {
      Require(static_cast<const float*>(depths->Data())[i] >= 0, "no distance");
    }
  }
}

void Play(Input input) {
  const std::string damage = input.Text(kDamageBytes);
  if (input.Flag()) input.BeTame();
  const hostkit::FrameSettings settings = Settings(input);
  const Bytes sound = BytesOf(MakeScene(input));
  const Bytes bytes =
      Damaged(sound, {reinterpret_cast<const std::uint8_t*>(damage.data()), damage.size()});
  const bool isDamaged = bytes != sound;
  std::string why;
  const std::unique_ptr<Scene> scene = hostkit::ReadScene(bytes.data(), bytes.size(), &why);
  Require(scene || isDamaged, "a sound scene is refused: " + why);
  if (!scene) return RequireOneLine(why);
  Require(isDamaged || BytesOf(*scene) == sound, "a scene reads differently");
  for (const char* name : {"walk", ""}) Pose(*scene, name);
  const hostkit::SceneReach reach =
      hostkit::MeasureReach(*scene, hostkit::FindAnimations(*scene, ""));
  Draw(*scene, reach, settings);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Driver();
  const hostkit::HeapCounts before = hostkit::CountHeaps();
  Play({data, size});
  const hostkit::HeapCounts after = hostkit::CountHeaps();
  Require(after.gassist.blocks == before.gassist.blocks, "objects are left behind");
  Require(after.ogl.blocks == before.ogl.blocks, "transparent queues are left behind");
  Require(after.ext.blocks == before.ext.blocks, "pictures are left behind");
  return 0;
}

Inputs Seeds() {
  Inputs seeds;
  for (const char damages : {'\0', '\5'}) {
    for (const int step : {0, 7, 60, 61, 131, 160, 193, 255}) {
      std::string input(1, damages);
      for (int i = 1; i < 700; ++i) input += static_cast<char>(i * step);
      input[kModeAt] = static_cast<char>(seeds.size() % kModes);
      seeds.push_back(input);
    }
  }
  return seeds;
}

Inputs Regressions() {
  return {};
}
