// Draws scenes through a renderer module, exactly as any host would.
#include "hostkit/scene/frame_renderer.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "host/DisplayList.h"
#include "host/GABuffer.h"
#include "host/GADriver.h"
#include "host/RenderInfo.h"
#include "hostkit/scene/camera_window.h"
#include "hostkit/scene/frame_resolve.h"
#include "hostkit/scene/mesh_preparation.h"
#include "hostkit/scene/scene_feed.h"
#include "platform/platform.h"

namespace hostkit {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kOffScreen = 1;  // kind of buffer
constexpr int kWithDepth = 1;  // option of Reallocate
constexpr int kMaxPictureSide = 32768;
constexpr int kMaxSurfaceSide = 16384;  // buffers keep their size in 16 bits
constexpr int kMaxSamplesPerSide = 4;
// Samples of one surface: 270 MB of colour and depth, and as much again when it is read back.
constexpr long kMaxSurfaceSamples = 1L << 25;
// Light from everywhere, as a share of the base colour, so that what no light reaches is not black.
constexpr float kAmbientAmount = 0.25f;

constexpr float kIdentity[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
constexpr float kBlack[3] = {0, 0, 0}, kWhite[3] = {1, 1, 1};

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

unsigned char ToByte(float value) {
  return static_cast<unsigned char>(value > 0 ? std::min(value, 1.0f) * 255 + 0.5f : 0);
}

int CeilDivide(int a, int b) {
  return (a + b - 1) / b;
}

// How a picture is cut into surfaces of one size, in pixels of the picture.
struct Tiling {
  int width = 0, height = 0;
};

// Largest tiles whose samples fit on a surface, all alike; 0 when there is no surface.
Tiling ChooseTiling(const FrameSettings& settings) {
  int side = std::min(platform::MaxPbufferSize(), kMaxSurfaceSide) / settings.samplesPerSide;
  if (side <= 0) return {};
  long limit = kMaxSurfaceSamples / (settings.samplesPerSide * settings.samplesPerSide);
  Tiling tiling;
  tiling.width = CeilDivide(settings.width, CeilDivide(settings.width, side));
  int rows = static_cast<int>(std::clamp(limit / tiling.width, 1L, static_cast<long>(side)));
  tiling.height = CeilDivide(settings.height, CeilDivide(settings.height, rows));
  return tiling;
}

BitmapPtr NewPicture(int width, int height) {
  BitmapPtr bitmap(new HBitmapNode(width, height));
  HRGBABuffer* buffer =
      bitmap->CreateRGBABuffer("ColorAlpha", HBitmapBuffer::kHalfChannel, width, height);
  if (!buffer) return nullptr;
  bitmap->AddBuffer(buffer);
  return buffer->AllocateData(0) ? std::move(bitmap) : nullptr;
}

bool AreSettingsGood(const FrameSettings& settings, std::string* error) {
  if (settings.width < 1 || settings.height < 1 || settings.width > kMaxPictureSide ||
      settings.height > kMaxPictureSide) {
    *error = fmt::format("a picture of {}x{} pixels cannot be drawn: choose sides from 1 to {}",
                         settings.width, settings.height, kMaxPictureSide);
    return false;
  }
  if (settings.samplesPerSide < 1 || settings.samplesPerSide > kMaxSamplesPerSide) {
    *error = fmt::format("{} samples a side are out of range: choose 1 to {}",
                         settings.samplesPerSide, kMaxSamplesPerSide);
    return false;
  }
  return true;
}

}  // namespace

// The order of the members is the order they are made in; what is drawn with goes first.
struct FrameRenderer::State {
  State(GADriver* useDriver, const Scene& useScene)
      : driver(useDriver), scene(useScene), bounds(useScene.Bounds()), feed(useScene, prepared) {
    record.ambientAmount = kAmbientAmount;
    info.scene = &record;
    info.objectToView = kIdentity;
  }

  bool EnsureSurface(int width, int height, std::string* error);
  void Draw(const FrameSettings& settings, const View& view, const PixelWindow& samples,
            const float* background);
  BitmapPtr ReadBack();
  BitmapPtr DrawAndRead(const FrameSettings& settings, const View& view, const PixelWindow& samples,
                        const float* background, std::string* error);
  BitmapPtr RenderTiles(const FrameSettings& settings, const View& view, const Tiling& tiling,
                        std::string* error);

  GADriver* driver;
  const Scene& scene;
  Imath::Box3f bounds;
  SceneRecord record;
  RenderInfo info;
  PreparedScene prepared;
  LightRig rig;
  SceneFeed feed;
  std::unique_ptr<GABuffer> buffer;
  std::unique_ptr<DisplayList> list;  // holds on to the buffer's context
  int surfaceWidth = 0, surfaceHeight = 0;
  double uploadMilliseconds = 0;
  FrameTimes times;
  std::string rendererName;
};

// A buffer of the given size with a display list on it; kept from frame to frame.
bool FrameRenderer::State::EnsureSurface(int width, int height, std::string* error) {
  if (list && width == surfaceWidth && height == surfaceHeight) return true;
  list.reset();  // the list is tied to the context that Reallocate remakes
  if (!buffer) buffer.reset(driver->CreateBuffer(&info, kOffScreen, 0));
  if (!buffer || !buffer->Reallocate(width, height, kWithDepth)) {
    *error = fmt::format(
        "no drawing surface of {}x{} samples can be made: choose a smaller picture "
        "or fewer samples, or see what `gl3 info --check` finds",
        width, height);
    return false;
  }
  info.buffer = buffer.get();
  list.reset(driver->CreateDisplayList(&info));
  if (!list) {
    *error = "memory ran out: choose a smaller picture";
    return false;
  }
  surfaceWidth = width;
  surfaceHeight = height;
  rendererName = platform::CurrentRenderer() + ", OpenGL " + platform::CurrentVersion();
  return true;
}

void FrameRenderer::State::Draw(const FrameSettings& settings, const View& view,
                                const PixelWindow& samples, const float* background) {
  auto start = Clock::now();
  FillRenderInfoWindow(view, settings.width * settings.samplesPerSide,
                       settings.height * settings.samplesPerSide, samples, &info);
  buffer->ComputeProjectionMatrices();
  GAColor color;
  color.Set(ToByte(background[0]), ToByte(background[1]), ToByte(background[2]), 255);
  buffer->SetBackground(color);
  buffer->Clear();
  buffer->BeginScene();
  feed.Draw(list.get(), {WorldToView(view.camera), rig.Head(), &info, settings.samplesPerSide});
  buffer->EndScene();
  times.draw += MillisecondsSince(start);
}

BitmapPtr FrameRenderer::State::ReadBack() {
  auto start = Clock::now();
  BitmapPtr bitmap(new HBitmapNode(surfaceWidth, surfaceHeight));
  buffer->FillBitmapNode(bitmap.get(), 0);
  times.readBack += MillisecondsSince(start);
  HBitmapBuffer* colors = bitmap->FindBuffer("ColorAlpha");
  return colors && colors->Data() ? std::move(bitmap) : nullptr;
}

BitmapPtr FrameRenderer::State::DrawAndRead(const FrameSettings& settings, const View& view,
                                            const PixelWindow& samples, const float* background,
                                            std::string* error) {
  Draw(settings, view, samples, background);
  BitmapPtr bitmap = ReadBack();
  if (!bitmap) *error = "memory ran out: choose a smaller picture or fewer samples";
  return bitmap;
}

BitmapPtr FrameRenderer::State::RenderTiles(const FrameSettings& settings, const View& view,
                                            const Tiling& tiling, std::string* error) {
  BitmapPtr picture = NewPicture(settings.width, settings.height);
  if (!picture) {
    *error = "memory ran out: choose a smaller picture";
    return nullptr;
  }
  int side = settings.samplesPerSide;
  bool matte = settings.transparentBackground;
  // Tiles in the last column and row may reach over the picture's edge; the rest is cut off.
  for (int y = 0; y < settings.height; y += tiling.height) {
    for (int x = 0; x < settings.width; x += tiling.width) {
      PixelWindow samples{x * side, y * side, surfaceWidth, surfaceHeight};
      BitmapPtr first =
          DrawAndRead(settings, view, samples, matte ? kBlack : settings.background, error);
      if (!first) return nullptr;
      BitmapPtr second;
      if (matte) second = DrawAndRead(settings, view, samples, kWhite, error);
      if (matte && !second) return nullptr;
      ResolveSamples(*first->FindBuffer("ColorAlpha"),
                     second ? second->FindBuffer("ColorAlpha") : nullptr, side,
                     {x, y, tiling.width, tiling.height}, picture->FindBuffer("ColorAlpha"));
    }
  }
  return picture;
}

FrameRenderer::FrameRenderer(std::unique_ptr<State> state) : m_state(std::move(state)) {}
FrameRenderer::~FrameRenderer() = default;

std::unique_ptr<FrameRenderer> FrameRenderer::Create(GADriver* driver, const Scene& scene,
                                                     std::string* error) {
  if (!driver || !driver->IsOperational()) {
    *error = "there is no usable OpenGL: see what `gl3 info --check` finds";
    return nullptr;
  }
  try {
    auto start = Clock::now();
    auto state = std::make_unique<State>(driver, scene);
    if (!state->prepared.Prepare(driver, scene, error)) return nullptr;
    state->uploadMilliseconds = MillisecondsSince(start);
    return std::unique_ptr<FrameRenderer>(new FrameRenderer(std::move(state)));
  } catch (const std::bad_alloc&) {
    *error = "memory ran out while the model was uploaded: try a smaller model";
    return nullptr;
  }
}

Picture FrameRenderer::Render(const FrameSettings& settings, const View& view, std::string* error) {
  Picture picture;
  if (!AreSettingsGood(settings, error)) return picture;
  Tiling tiling = ChooseTiling(settings);
  if (tiling.width <= 0) {
    *error = "there is no usable OpenGL: see what `gl3 info --check` finds";
    return picture;
  }
  State& state = *m_state;
  state.times = {};
  try {
    int side = settings.samplesPerSide;
    if (!state.EnsureSurface(tiling.width * side, tiling.height * side, error)) return picture;
    state.rig.Build(state.scene, settings.lights, view.camera, state.bounds);
    bool direct = side == 1 && !settings.transparentBackground && tiling.width == settings.width &&
                  tiling.height == settings.height;
    picture.bitmap =
        direct ? state.DrawAndRead(settings, view, {0, 0, settings.width, settings.height},
                                   settings.background, error)
               : state.RenderTiles(settings, view, tiling, error);
    picture.hasAlpha = settings.transparentBackground;
  } catch (const std::bad_alloc&) {
    *error = "memory ran out: choose a smaller picture or fewer samples";
    picture.bitmap.reset();
  }
  return picture;
}

double FrameRenderer::UploadMilliseconds() const {
  return m_state->uploadMilliseconds;
}
const FrameTimes& FrameRenderer::LastTimes() const {
  return m_state->times;
}
const std::string& FrameRenderer::RendererName() const {
  return m_state->rendererName;
}

}  // namespace hostkit
