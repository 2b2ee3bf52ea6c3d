// A host in a hundred lines: loads the renderer module, draws a ring of boxes, every other one of
// glass, and writes a picture.
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"
#include "hostkit/services/module_loader.h"
#include "platform/platform.h"

namespace {

constexpr int kWidth = 640, kHeight = 360;
constexpr int kBoxes = 12;
constexpr float kNoMotion[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

AttrProperty BoxMaterial(int box) {
  const float share = static_cast<float>(box) / kBoxes;
  AttrProperty material;
  material.base = {0.9f - 0.7f * share, 0.35f, 0.2f + 0.7f * share};
  material.specular = {1, 1, 1};
  material.ambientSource = AttrProperty::kFromBaseColor;
  material.ambientFactor = 0.4f;
  material.specularFactor = 0.4f;
  material.roughness = 0.3f;
  material.transparency = box % 2 ? 0.5f : 0.f;
  return material;
}

/// One side of a box around `center`: `out` is its unit normal, `u` and `v` span it, and the three
/// are right-handed. A triangle is the elements 0, 1 and 3 of its record. Corners run
/// counter-clockwise, and normals point inwards: so glass has to be. For more frames than one see
/// tour.cpp, which turns what is opaque round.
void AddSide(DisplayList& list, Vector center, Vector out, Vector u, Vector v, float half) {
  const auto corner = [&](float a, float b) {
    return GAVertex{center.x + half * (out.x + a * u.x + b * v.x),
                    center.y + half * (out.y + a * u.y + b * v.y),
                    center.z + half * (out.z + a * u.z + b * v.z),
                    -out.x,
                    -out.y,
                    -out.z};
  };
  const GAVertex a = corner(-1, -1), b = corner(1, -1), c = corner(1, 1), d = corner(-1, 1);
  std::array<GAVertex, 4> first = {a, b, {}, c}, second = {a, c, {}, d};
  list.AddTransformedTri(first.data(), DisplayList::kCheckTransparency);
  list.AddTransformedTri(second.data(), DisplayList::kCheckTransparency);
}

void AddBox(DisplayList& list, Vector center, float angle, float half) {
  const float s = std::sin(angle), c = std::cos(angle);
  const Vector x{c, 0, -s}, y{0, 1, 0}, z{s, 0, c};
  const auto turned = [](Vector a) { return Vector{-a.x, -a.y, -a.z}; };
  AddSide(list, center, x, y, z, half);
  AddSide(list, center, turned(x), z, y, half);
  AddSide(list, center, y, z, x, half);
  AddSide(list, center, turned(y), x, z, half);
  AddSide(list, center, z, x, y, half);
  AddSide(list, center, turned(z), y, x, half);
}

/// View space: the eye at the origin, looking down negative z.
void DrawRing(DisplayList& list, std::array<AttrProperty, kBoxes>& materials) {
  list.BeginInstructions();
  list.SetupLights(nullptr);   // a light at the eye
  list.PrepForPolygonArray();  // batched; PrepForPolygons is for triangles one by one
  for (int box = 0; box < kBoxes; ++box) {
    const float angle = 6.2831853f * static_cast<float>(box) / kBoxes;
    materials[box] = BoxMaterial(box);
    list.SetMaterial(&materials[box], 0);  // 0: as transparent as the material says
    const Vector center{3.2f * std::sin(angle), 0.9f * std::cos(angle) - 0.1f,
                        -9 - 3 * std::cos(angle)};
    AddBox(list, center, angle + 0.5f, 0.6f);
  }
  list.EndInstructions();
  list.ExecuteInstructions();
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "example_host: %s\n", message.c_str());
  return 1;
}

int DrawTo(GADriver* driver, const std::string& path) {
  hostkit::View view;
  view.camera.eye = {0, 0, 0};
  view.nearDistance = 1;
  view.farDistance = 30;
  SceneRecord scene;
  scene.ambientAmount = 0.5f;
  RenderInfo info;
  info.scene = &scene;
  info.objectToView = kNoMotion;
  hostkit::FillRenderInfo(view, kWidth, kHeight, &info);

  const std::unique_ptr<GABuffer> buffer(driver->CreateBuffer(&info, GABuffer::kOffScreen, 0));
  if (!buffer || !buffer->Reallocate(kWidth, kHeight, GABuffer::kWithDepth)) {
    return Fail("no surface");
  }
  info.buffer = buffer.get();
  const std::unique_ptr<DisplayList> list(driver->CreateDisplayList(&info));
  if (!list) return Fail("no display list");

  buffer->ComputeProjectionMatrices();
  GAColor background;
  background.Set(24, 26, 30, 255);
  buffer->SetBackground(background);
  buffer->Clear();
  buffer->BeginScene();
  std::array<AttrProperty, kBoxes> materials;  // glass waits for EndScene, and keeps pointers
  DrawRing(*list, materials);
  buffer->EndScene();

  hostkit::Picture picture;
  picture.bitmap.reset(new HBitmapNode(kWidth, kHeight));
  buffer->FillBitmapNode(picture.bitmap.get(), GABuffer::kTopRowFirst);
  std::string error;
  return hostkit::WritePicture(path, picture, {}, {}, &error) ? 0 : Fail(error);
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const auto module = hostkit::LoadedModule::Load(OPENGL3_MODULE, &error);
  if (!module) return Fail(error);
  if (!module->Driver()->Initialize()) {
    return Fail("no usable OpenGL: " + platform::DescribeDisplay().reason);
  }
  return DrawTo(module->Driver(), argc > 1 ? argv[1] : "ring.png");
}
