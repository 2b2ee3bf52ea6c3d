// Frames drawn through the module, for tests that look at their pixels, and shapes to draw.
#include "tests/hostkit/frame/frame_fixture.h"

#include <Imath/half.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "host/GADriver.h"
#include "hostkit/checking/checking.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"
#include "tests/support/common/misuse_fails.h"

using Imath::M44f;
using Imath::V2f;
using Imath::V3f;

int g_maxSurface = 8192;

// Stands before the layer's own, so that tests choose the size of tiles.
int platform::MaxPbufferSize() {
  return g_maxSurface;
}

Pixel At(const hostkit::Picture& picture, int x, int y) {
  auto* buffer = static_cast<HRGBABuffer*>(picture.bitmap->FindBuffer("ColorAlpha"));
  const auto* bits = static_cast<const std::uint16_t*>(buffer->GetData(y)) + 4 * x;
  float values[4];
  for (int c = 0; c < 4; ++c) {
    half value;
    value.setBits(bits[c]);
    values[c] = value;
  }
  return {values[2], values[1], values[0], values[3]};
}

int Different(const hostkit::Picture& a, const hostkit::Picture& b, float than) {
  int count = 0;
  for (int y = 0; y < a.bitmap->GetHeight(); ++y) {
    for (int x = 0; x < a.bitmap->GetWidth(); ++x) {
      const Pixel p = At(a, x, y), q = At(b, x, y);
      count += std::max({std::abs(p.red - q.red), std::abs(p.green - q.green),
                         std::abs(p.blue - q.blue)}) > than;
    }
  }
  return count;
}

hostkit::SceneMaterial Material(float red, float green, float blue, float transparency) {
  hostkit::SceneMaterial material;
  material.surface.base = {AnimatableValue(red), AnimatableValue(green), AnimatableValue(blue)};
  material.surface.transparency = AnimatableValue(transparency);
  return material;
}

hostkit::SceneMesh Square(int material) {
  hostkit::SceneMesh mesh;
  mesh.material = material;
  for (int i = 0; i < 4; ++i) {
    V2f uv(static_cast<float>(i % 2), static_cast<float>(i / 2));
    mesh.positions.push_back(V3f(2 * uv.x - 1, 2 * uv.y - 1, 0));
    mesh.normals.push_back(V3f(0, 0, 1));
    mesh.uvs.push_back(uv);
  }
  mesh.triangles = {0, 1, 3, 0, 3, 2};
  return mesh;
}

hostkit::SceneMesh Sphere(int material, int rings) {
  hostkit::SceneMesh mesh;
  mesh.material = material;
  const int columns = 2 * rings;
  for (int r = 0; r <= rings; ++r) {
    for (int c = 0; c <= columns; ++c) {
      float theta = std::numbers::pi_v<float> * static_cast<float>(r) / static_cast<float>(rings);
      float phi = 2 * std::numbers::pi_v<float> * static_cast<float>(c % columns) /
                  static_cast<float>(columns);
      // The poles and the seam meet exactly: a closed surface.
      float ring = r == 0 || r == rings ? 0 : std::sin(theta);
      V3f p(ring * std::cos(phi), std::cos(theta), ring * std::sin(phi));
      mesh.positions.push_back(p);
      mesh.normals.push_back(p);
    }
  }
  for (int r = 0; r < rings; ++r) {
    for (int c = 0; c < columns; ++c) {
      auto a = static_cast<std::uint32_t>(r * (columns + 1) + c);
      auto b = a + static_cast<std::uint32_t>(columns) + 1;
      mesh.triangles.insert(mesh.triangles.end(), {a, a + 1, b, a + 1, b + 1, b});
    }
  }
  return mesh;
}

void Add(hostkit::Scene& scene, hostkit::SceneMesh mesh, const M44f& toWorld) {
  scene.instances.push_back({static_cast<int>(scene.meshes.size()), toWorld});
  scene.meshes.push_back(std::move(mesh));
}

hostkit::Scene SceneOf(std::vector<hostkit::SceneMaterial> materials, hostkit::SceneMesh mesh,
                       const M44f& toWorld) {
  hostkit::Scene scene;
  scene.materials = std::move(materials);
  Add(scene, std::move(mesh), toWorld);
  return scene;
}

M44f At(float x, float y, float z) {
  return M44f().translate(V3f(x, y, z));
}

hostkit::View EyeView(float z, float nearDistance, float farDistance) {
  hostkit::View view;
  view.camera.eye = {0, 0, z};
  view.nearDistance = nearDistance;
  view.farDistance = farDistance;
  return view;
}

hostkit::View FrontView(float fromZ) {
  hostkit::View view = EyeView(fromZ, 1, 20);
  view.camera.forward = {0, 0, fromZ > 0 ? -1.0f : 1.0f};
  view.camera.parallelHeight = 4;
  return view;
}

void PutPicture(hostkit::Scene& scene, hostkit::BitmapPtr bitmap) {
  scene.images.resize(1);
  scene.images[0].bitmap = std::move(bitmap);
  scene.materials.at(0).image = 0;
}

static void FailUnlessItGlows(const hostkit::Misuse& misuse, void* mayBeUnlit) {
  const bool isAllowed = std::string_view(misuse.name) == "sides-unlit";
  if (!isAllowed || !*static_cast<const bool*>(mayBeUnlit)) FailTheTest(misuse, nullptr);
}

void Frames::SetUpTestSuite() {
  hostkit::CheckCalls(FailUnlessItGlows, &s_mayBeUnlit);  // what the host kit calls wrongly
  // Mesa's software renderer blurs what it filters anisotropically.
  hostkit::OverrideRegistryValue("OpenGL3", "Anisotropic", 0);
  std::string error;
  s_module = hostkit::LoadedModule::Load(GL3_LIB_DIR "/OpenGL3.so", &error);
  ASSERT_TRUE(s_module) << error;
  ASSERT_TRUE(s_module->Driver()->Initialize());
}

void Frames::SetUp() {
  s_mayBeUnlit = false;
  m_settings.width = m_settings.height = 80;
  m_settings.lights = hostkit::LightSet::kHeadlight;
  m_settings.pointSize = 1;
  std::fill_n(m_settings.background, 3, 0.0f);
  m_settings.background[2] = 1;
}

hostkit::Picture Frames::Render(const hostkit::Scene& scene, const hostkit::View& view) {
  std::string error;
  auto renderer = hostkit::FrameRenderer::Create(s_module->Driver(), scene, &error);
  if (!renderer) throw std::runtime_error(error);
  renderer->Render(m_settings, view, &error);
  auto picture = renderer->Render(m_settings, view, &error);
  if (!picture.bitmap) throw std::runtime_error(error);
  return picture;
}
