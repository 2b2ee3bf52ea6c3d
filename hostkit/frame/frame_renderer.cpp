// Draws scenes off the screen through a renderer module.
#include "hostkit/frame/frame_renderer.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "host/GADriver.h"
#include "hostkit/feed/seen_surfaces.h"
#include "hostkit/frame/frame_painter.h"
#include "hostkit/frame/frame_resolve.h"
#include "hostkit/frame/off_screen_surface.h"
#include "hostkit/frame/overlay_layers.h"
#include "hostkit/scene/camera_window.h"
#include "hostkit/services/bitmap_ptr.h"
#include "platform/platform.h"

namespace hostkit {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMaxPictureSide = 32768;
constexpr int kMaxSurfaceSide = 16384;  // buffers keep their size in 16 bits
constexpr int kMaxSamplesPerSide = 4;
// Samples of one surface: 270 MB of colour and depth, and as much again when it is read back.
constexpr long kMaxSurfaceSamples = 1L << 25;
constexpr float kWhite[3] = {1, 1, 1};
constexpr const char* kNoOpenGl = "there is no usable OpenGL: see what `gl3 info --check` finds";
constexpr const char* kNoMemory = "memory ran out: choose a smaller picture or fewer samples";

double MillisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
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
  const int width = settings.width * settings.samplesPerSide;
  const int height = settings.height * settings.samplesPerSide;
  if (std::max(width, height) <= kMaxSurfaceSide && long{width} * height <= kMaxSurfaceSamples &&
      platform::IsPbufferSize(width, height)) {
    return {settings.width, settings.height};
  }
  int side = std::min(platform::MaxPbufferSize(), kMaxSurfaceSide) / settings.samplesPerSide;
  if (side <= 0) return {};
  long limit = kMaxSurfaceSamples / (settings.samplesPerSide * settings.samplesPerSide);
  Tiling tiling;
  tiling.width = CeilDivide(settings.width, CeilDivide(settings.width, side));
  int rows = static_cast<int>(std::clamp(limit / tiling.width, 1L, static_cast<long>(side)));
  tiling.height = CeilDivide(settings.height, CeilDivide(settings.height, rows));
  return tiling;
}

/// Whether what the scene covers is to be found.
bool IsMatte(const FrameSettings& settings) {
  return settings.transparentBackground || settings.backdrop;
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

// Adds a buffer of floats; null when it is not wanted, or with `*isGood` false there is no memory.
HBitmapBuffer* AddFloats(bool isWanted, const char* name, int channels, HBitmapNode* picture,
                         bool* isGood) {
  if (!isWanted || !*isGood) return nullptr;
  auto* buffer = new HBitmapBuffer(name, HBitmapBuffer::kFloatChannel, channels,
                                   picture->GetWidth(), picture->GetHeight());
  picture->AddBuffer(buffer);
  *isGood = buffer->AllocateData(0) != 0;
  return buffer;
}

}  // namespace

struct FrameRenderer::State {
  explicit State(GADriver* driver) : surface(driver), layers(driver) {}

  bool Draw(const PixelWindow& samples, const float* background);
  BitmapPtr DrawAndRead(const PixelWindow& samples, const float* background, std::string* error);
  bool DrawTile(const FrameSettings& settings, const PixelWindow& tile, HBitmapBuffer* picture,
                std::string* error);
  BitmapPtr RenderTiles(const FrameSettings& settings, const Tiling& tiling, std::string* error);
  BitmapPtr Render(const FrameSettings& settings, const View& view, const Tiling& tiling,
                   std::string* error);
  bool AddPasses(const FrameSettings& settings, HBitmapNode* picture, std::string* error);

  std::unique_ptr<FramePainter> painter;
  OffScreenSurface surface;
  OverlayLayers layers;
  SeenSurfaces seen;
  Pause pause;
  double uploadMilliseconds = 0;
  FrameTimes times;
  std::string rendererName;
};

/// False when the picture is not wanted any more.
bool FrameRenderer::State::Draw(const PixelWindow& samples, const float* background) {
  const auto start = Clock::now();
  painter->Paint(surface.Target(), samples, background);
  times.draw += MillisecondsSince(start);
  return GoesOn(pause);
}

BitmapPtr FrameRenderer::State::DrawAndRead(const PixelWindow& samples, const float* background,
                                            std::string* error) {
  if (!Draw(samples, background)) return nullptr;
  const auto start = Clock::now();
  BitmapPtr bitmap = surface.Read(surface.Width(), surface.Height());
  times.readBack += MillisecondsSince(start);
  if (!bitmap) *error = kNoMemory;
  return bitmap;
}

/// Draws what the surface holds of the picture; false also when it is not wanted any more.
bool FrameRenderer::State::DrawTile(const FrameSettings& settings, const PixelWindow& tile,
                                    HBitmapBuffer* picture, std::string* error) {
  const int side = settings.samplesPerSide;
  const PixelWindow samples{tile.x * side, tile.y * side, surface.Width(), surface.Height()};
  if (!IsMatte(settings)) {
    if (!Draw(samples, settings.background)) return false;
    const auto start = Clock::now();
    const bool isRead = surface.ReadMeans(side, tile, picture);
    times.readBack += MillisecondsSince(start);
    if (!isRead) *error = kNoMemory;
    return isRead;
  }
  const BitmapPtr onBlack = DrawAndRead(samples, kBlackBackground, error);
  if (!onBlack || !GoesOn(pause)) return false;
  const BitmapPtr onWhite = DrawAndRead(samples, kWhite, error);
  if (!onWhite) return false;
  ResolveSamples(*onBlack->FindBuffer("ColorAlpha"), *onWhite->FindBuffer("ColorAlpha"), side, tile,
                 picture);
  return true;
}

BitmapPtr FrameRenderer::State::RenderTiles(const FrameSettings& settings, const Tiling& tiling,
                                            std::string* error) {
  BitmapPtr picture = NewHalfBitmap(settings.width, settings.height);
  if (!picture) {
    *error = "memory ran out: choose a smaller picture";
    return nullptr;
  }
  // Tiles in the last column and row may reach over the picture's edge; the rest is cut off.
  for (int y = 0; y < settings.height; y += tiling.height) {
    for (int x = 0; x < settings.width; x += tiling.width) {
      if (!DrawTile(settings, {x, y, tiling.width, tiling.height},
                    picture->FindBuffer("ColorAlpha"), error)) {
        return nullptr;
      }
    }
  }
  return picture;
}

// What is seen at the centre of each pixel, and how far from the eye it is. The renderer tells the
// depth of one pixel a call, GetZValue, which takes 570 ms of processor time for 1280 x 720. So the
// scene is drawn once more, every triangle in a colour of its own, and the distance follows from
// the triangle that the pixel shows: 60 ms for the sample scene, 230 for a million triangles, and
// in full precision, where the depth buffer's falls off with the distance.
bool FrameRenderer::State::AddPasses(const FrameSettings& settings, HBitmapNode* picture,
                                     std::string* error) {
  auto start = Clock::now();
  bool isGood = true;
  SeenBuffers buffers;
  buffers.depths = AddFloats(settings.depth, "Depth", 1, picture, &isGood);
  buffers.normals = AddFloats(settings.normals, "Normal", 3, picture, &isGood);
  buffers.objects = AddFloats(settings.objectIds, "ObjectId", 1, picture, &isGood);
  buffers.materials = AddFloats(settings.materialIds, "MaterialId", 1, picture, &isGood);
  *error = "memory ran out: choose a smaller picture, or do without depth and passes";
  if (!isGood) return false;
  for (int y = 0; y < settings.height; y += surface.Height()) {
    for (int x = 0; x < settings.width; x += surface.Width()) {
      // The surface stays as large as it is for samples. What is read is at its lower left.
      const PixelWindow pixels{x, y, std::min(surface.Width(), settings.width - x),
                               std::min(surface.Height(), settings.height - y)};
      const PixelWindow window{x, y + pixels.height - surface.Height(), surface.Width(),
                               surface.Height()};
      if (!painter->PaintIds(surface.Target(), window, &seen)) {
        *error =
            fmt::format("a model of more than {} triangles has no depth and passes: do without",
                        SeenSurfaces::kMost);
        return false;
      }
      const BitmapPtr ids = surface.Read(pixels.width, pixels.height);
      if (!ids) return false;
      painter->FillPasses(seen, *ids->FindBuffer("ColorAlpha"), pixels, buffers);
    }
  }
  error->clear();
  times.draw += MillisecondsSince(start);
  return true;
}

BitmapPtr FrameRenderer::State::Render(const FrameSettings& settings, const View& view,
                                       const Tiling& tiling, std::string* error) {
  const int side = settings.samplesPerSide;
  if (!surface.Ensure(tiling.width * side, tiling.height * side, error)) return nullptr;
  rendererName = platform::CurrentRenderer() + ", OpenGL " + platform::CurrentVersion();
  painter->Begin(settings, view);
  BitmapPtr picture = RenderTiles(settings, tiling, error);
  if (picture && settings.backdrop) {
    PutPixelsBehind(*settings.backdrop->FindBuffer("ColorAlpha"),
                    picture->FindBuffer("ColorAlpha"));
  }
  if (!picture || !layers.LayOver(settings, picture->FindBuffer("ColorAlpha"), error)) {
    return nullptr;
  }
  const bool hasPasses =
      settings.depth || settings.normals || settings.objectIds || settings.materialIds;
  if (hasPasses && !AddPasses(settings, picture.get(), error)) return nullptr;
  return picture;
}

FrameRenderer::FrameRenderer(std::unique_ptr<State> state) : m_state(std::move(state)) {}
FrameRenderer::~FrameRenderer() = default;

std::unique_ptr<FrameRenderer> FrameRenderer::Create(GADriver* driver, const Scene& scene,
                                                     std::string* error) {
  if (!driver || !driver->IsOperational()) {
    *error = kNoOpenGl;
    return nullptr;
  }
  try {
    auto start = Clock::now();
    auto state = std::make_unique<State>(driver);
    state->painter = FramePainter::Create(driver, scene, error);
    if (!state->painter) return nullptr;
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
    *error = kNoOpenGl;
    return picture;
  }
  State& state = *m_state;
  state.times = {};
  error->clear();
  try {
    picture.bitmap = state.Render(settings, view, tiling, error);
    picture.hasAlpha = settings.transparentBackground;
  } catch (const std::bad_alloc&) {
    *error = kNoMemory;
    picture.bitmap.reset();
  }
  return picture;
}

void FrameRenderer::SetPause(Pause pause) {
  m_state->pause = pause;
  m_state->painter->SetPause(std::move(pause));
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
