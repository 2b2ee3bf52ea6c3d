// A host in some two hundred lines: textured panels that turn behind a pane of glass, with an
// overlay and text, as an animation; then the same at another size, and that picture blurred.
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/GAShaderProgram.h"
#include "host/GATexture.h"
#include "host/RenderInfo.h"
#include "host/Services.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/scene/camera.h"
#include "hostkit/services/flat_drawing.h"
#include "hostkit/services/module_loader.h"
#include "platform/platform.h"

// Services of the program's own come before the library's: settings as they are when new.
int GetRegistryValue(const String&, const String&, int fallback) {
  return fallback;
}
void SetRegistryValue(const String&, const String&, int) {}

namespace {

constexpr float kTurn = 6.2831853f;
constexpr int kFrames = 4, kPanels = 3;

/// Turns the host's clock into a transparency.
struct Pulse : AnimationChannel {
  float Evaluate(double time) const override {
    return 0.6f + 0.2f * std::sin(kTurn * static_cast<float>(time));
  }
  double CurrentTime() const override { return seconds; }
  double seconds = 0;
};

/// What outlives every frame that it is drawn in.
struct Things {
  std::unique_ptr<GATexture> checks, badge;
  AttrProperty panel, glass;
  GALight light;
  LightListNode lights;
  Pulse pulse;
};

/// A texture of `side` x `side` pixels; `paint` gives each its colour, from x and y of its top
/// left.
template <class Paint>
std::unique_ptr<GATexture> MakeTexture(GADriver* driver, int side, int wrap, const Paint& paint) {
  const hostkit::BitmapPtr picture = hostkit::NewByteBitmap(side, side);
  std::unique_ptr<GATexture> texture(picture ? driver->CreateTexture() : nullptr);
  if (!texture) return nullptr;
  auto* pixels = static_cast<ColorBuf*>(picture->FindBuffer("Color")->Data());
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) *pixels++ = paint(x, y);
  }
  return texture->MakeGATexture(picture.get(), wrap, 0, 0) ? std::move(texture) : nullptr;
}

/// A surface with its list, which goes before its buffer, as that before what it points to.
struct Stage {
  SceneRecord scene;
  RenderInfo info;
  std::unique_ptr<GABuffer> buffer;
  std::unique_ptr<DisplayList> list;

  bool Resize(GADriver* driver, int width, int height) {
    list.reset();  // before its buffer
    buffer.reset(driver->CreateBuffer(&info, GABuffer::kOffScreen, 0));
    if (!buffer || !buffer->Reallocate(width, height, GABuffer::kWithDepth)) return false;
    info.buffer = buffer.get();  // before the list is made
    list.reset(driver->CreateDisplayList(&info));
    hostkit::View view;
    view.camera.eye = {0, 0, 0};
    view.nearDistance = 1;
    view.farDistance = 20;
    hostkit::FillRenderInfo(view, width, height, &info);
    info.scene = &scene;
    scene.ambientAmount = 0.3f;
    buffer->ComputeProjectionMatrices();
    return list != nullptr;
  }
};

/// A square around `center`; `out` is its unit normal, as long as `right`, which spans it with the
/// y axis. What is opaque goes in clockwise as the viewer sees it, with normals to his side, and
/// glass the other way round, for the module leaves out the clockwise.
void AddPanel(DisplayList& list, Vector center, Vector right, Vector out, float half, int mode) {
  const bool facesViewer = out.x * center.x + out.y * center.y + out.z * center.z < 0;
  const float side = facesViewer == (mode == DisplayList::kQuadSorted) ? -1.f : 1.f;
  const auto corner = [&](float a, float b) {
    return GAVertex{center.x + a * half * right.x,
                    center.y + b * half,
                    center.z + a * half * right.z,
                    side * out.x,
                    side * out.y,
                    side * out.z,
                    a + 1,
                    1 - b};
  };
  std::array<GAVertex, 4> strip = {corner(side, -1), corner(-side, -1), corner(side, 1),
                                   corner(-side, 1)};
  list.AddTransformedQuad(strip.data(), mode, 1);
}

void DrawScene(Stage& stage, Things& things) {
  DisplayList& list = *stage.list;
  list.BeginInstructions();
  // A scene with glass before this one has left lighting on for the buffer and off in the GL, and
  // with a texture on it, texturing on for the list.
  list.SetDepthFunc(DisplayList::kLightingOff);
  list.SetTexture(nullptr);
  list.SetupLights(&things.lights);
  list.SetTexture(things.checks.get());
  list.SetMaterial(&things.panel, 0);
  for (int panel = 0; panel < kPanels; ++panel) {
    const float turn = kTurn * (static_cast<float>(things.pulse.seconds) + panel / float{kPanels});
    const float s = std::sin(turn), c = std::cos(turn);
    AddPanel(list, {1.2f * s, 0, -6 + 1.2f * c}, {c, 0, -s}, {s, 0, c}, 0.8f,
             DisplayList::kQuadBatched);
  }
  list.SetTexture(nullptr);
  things.glass.transparency.BringUpToDate();
  list.SetMaterial(&things.glass, 0);
  AddPanel(list, {0.5f, -0.2f, -3.5f}, {1, 0, 0}, {0, 0, 1}, 0.7f, DisplayList::kQuadSorted);
  list.EndInstructions();
}

/// Draws a frame, with its file's name, and writes it. `picture` keeps it. Returns what went wrong.
std::string SaveFrame(Stage& stage, Things& things, const std::string& path,
                      hostkit::Picture* picture) {
  GABuffer& buffer = *stage.buffer;
  GAColor background, ink;
  background.Set(24, 26, 30, 255);
  ink.Set(255, 255, 255, 255);
  buffer.SetBackground(background);
  buffer.Clear();
  buffer.SetProjection(GABuffer::kSceneProjection);
  buffer.BeginScene();
  DrawScene(stage, things);
  buffer.EndScene();  // draws the glass
  const CRect place(8, 24, 40, 56);
  buffer.TransparentBlit(things.badge.get(), place, stage.info.nearZ, {1, 1}, 0.9f);
  buffer.TextOutA(8, 6, path.c_str() + path.rfind('/') + 1, ink, 0);

  picture->bitmap.reset(new HBitmapNode(stage.info.imageWidth, stage.info.imageHeight));
  std::string error;
  if (!buffer.FillBitmapNode(picture->bitmap.get(), GABuffer::kTopRowFirst)) return "no memory";
  hostkit::WritePicture(path, *picture, {}, {}, &error);
  return error;
}

/// Blurs a picture, whose sides are multiples of four and those of `info`, into another.
bool Blur(GADriver* driver, RenderInfo* info, HBitmapNode* source, HBitmapNode* destination) {
  using Effects = GAShaderProgram;
  const std::unique_ptr<GAShaderProgram> effects(driver->CreateShaderProgram(info));
  float parameters[Effects::kBlurParameters] = {Effects::kMergeNewBuffer, 3, 3};  // passes, radius
  parameters[Effects::kBlurWidth] = static_cast<float>(source->GetWidth());
  parameters[Effects::kBlurHeight] = static_cast<float>(source->GetHeight());
  return effects && effects->Init(Effects::kBlur, parameters, Effects::kBlurParameters) &&
         effects->Process(Effects::kBlur, source, destination, 0);
}

/// Draws everything into files of `folder`. Returns what went wrong.
std::string Tour(GADriver* driver, const std::string& folder) {
  Things things;
  things.checks = MakeTexture(driver, 64, GATexture::kRepeat, [](int x, int y) {
    return (x / 16 + y / 16) % 2 ? ColorBuf{240, 200, 120, 255} : ColorBuf{90, 40, 30, 255};
  });
  things.badge = MakeTexture(driver, 32, GATexture::kBorder, [](int x, int y) {
    const bool inside = (x - 16) * (x - 16) + (y - 16) * (y - 16) < 225;
    return inside ? ColorBuf{255, 90, 0, 255} : ColorBuf{255, 90, 0, 0};
  });
  things.panel.base = {1, 1, 1};
  things.glass.base = {0.2f, 0.7f, 0.5f};
  things.glass.transparency = AnimatableValue(&things.pulse);
  things.light.position = {2, 3, 0};
  things.light.range = 10;
  things.lights.light = &things.light;
  hostkit::MakeGlyphs(driver);

  Stage stage;
  hostkit::Picture picture, soft;
  std::string error;
  if (!things.checks || !things.badge || !stage.Resize(driver, 320, 180)) return "no surface";
  for (int frame = 0; frame < kFrames; ++frame) {
    things.pulse.seconds = static_cast<double>(frame) / (kFrames * kPanels);
    const std::string path = folder + "/frame_" + std::to_string(frame) + ".png";
    error = SaveFrame(stage, things, path, &picture);
    if (!error.empty()) return error;
  }
  if (!stage.Resize(driver, 640, 360)) return "no larger surface";
  error = SaveFrame(stage, things, folder + "/large.png", &picture);
  if (!error.empty()) return error;
  soft.bitmap.reset(new HBitmapNode(640, 360));
  if (!Blur(driver, &stage.info, picture.bitmap.get(), soft.bitmap.get())) return "no blur";
  hostkit::WritePicture(folder + "/soft.png", soft, {}, {}, &error);
  return error;
}

}  // namespace

int main(int argc, char** argv) {
  std::string error;
  const auto module = hostkit::LoadedModule::Load(OPENGL3_MODULE, &error);
  if (module && !module->Driver()->Initialize()) {
    error = "no usable OpenGL: " + platform::DescribeDisplay().reason;
  }
  if (error.empty()) error = Tour(module->Driver(), argc > 1 ? argv[1] : ".");
  if (!error.empty()) std::fprintf(stderr, "example_tour: %s\n", error.c_str());
  return error.empty() ? 0 : 1;
}
