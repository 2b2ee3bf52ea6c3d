// From options to what a frame is drawn with.
#include "apps/work/render/frame_setup.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "apps/work/common/driver_session.h"
#include "apps/work/render/layer_pictures.h"
#include "apps/work/render/scale_bar.h"
#include "apps/work/render/text_picture.h"
#include "hostkit/frame/backdrop.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/flat_drawing.h"
#include "hostkit/services/module_settings.h"
#include "hostkit/services/registry.h"
#include "platform/platform.h"

namespace gl3 {
namespace {

using hostkit::FrameSettings;

// Where texts without a place begin, and how far apart their lines are, in pixels.
constexpr int kTextMargin = 8, kLineHeight = 14;

/// In the renderer's own letters when the size is 0.
void AddLine(const hostkit::TextNote& note, int size, FrameSettings* settings) {
  if (size == 0) {
    settings->texts.push_back(note);
    return;
  }
  hostkit::OverlayPicture picture = TextPicture(note.text, size, note.color, note.x, note.y);
  if (picture.bitmap) settings->overlays.push_back(std::move(picture));
}

void AddTexts(const std::vector<TextOption>& options, FrameSettings* settings) {
  int nextY = kTextMargin;
  for (const TextOption& option : options) {
    hostkit::TextNote note;
    note.x = option.place ? option.place->x : kTextMargin;
    note.y = option.place ? option.place->y : nextY;
    note.color = option.color.value_or(ContrastColor(*settings));
    std::string rest = hostkit::Latin1FromUtf8(option.text);
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find('\n'), rest.size());
      note.text = rest.substr(0, end);
      rest.erase(0, end + 1);
      AddLine(note, option.size, settings);
      note.y += option.size == 0 ? kLineHeight : option.size + option.size * 2 / 5;
    }
    if (!option.place) nextY = note.y;
  }
}

/// Reads pictures to be laid over and under frames, upright and as bytes.
class LayerSource {
 public:
  LayerSource(PictureReader* reader, bool confined) : m_reader(reader), m_confined(confined) {}

  Outcome Read(const std::string& path, std::shared_ptr<HBitmapNode>* bitmap) const {
    static LayerPictures pictures;  // of this process's windows, one frame's settings after another
    if (!m_reader) return pictures.Read(path, m_confined, bitmap);
    hostkit::BitmapPtr read;
    hostkit::PictureFacts facts;
    Outcome outcome = m_reader->Read(path, hostkit::PixelKind::kBytes, &read, &facts);
    *bitmap = std::shared_ptr<HBitmapNode>(std::move(read));
    return outcome;
  }

 private:
  PictureReader* m_reader;
  bool m_confined;
};

Outcome AddOverlays(const std::vector<OverlayOption>& options, const LayerSource& layers,
                    FrameSettings* settings) {
  for (const OverlayOption& option : options) {
    std::shared_ptr<HBitmapNode> bitmap;
    const Outcome outcome = layers.Read(option.path, &bitmap);
    if (outcome.status != kDone) return {outcome.status, "--overlay: " + outcome.message};
    settings->overlays.push_back({std::move(bitmap), option.x, option.y, option.alpha});
  }
  return {};
}

Outcome SetBackground(const BackgroundOption& option, const LayerSource& layers,
                      FrameSettings* settings) {
  std::copy_n(option.color, 3, settings->background);
  settings->transparentBackground = option.isTransparent;
  if (option.isTransparent || (!option.isGradient && option.picture.empty())) return {};
  if (option.isGradient) {
    settings->backdrop =
        hostkit::MakeGradient(settings->width, settings->height, option.color, option.bottom);
    for (int i = 0; i < 3; ++i) settings->background[i] = (option.color[i] + option.bottom[i]) / 2;
  } else {
    std::shared_ptr<HBitmapNode> picture;
    const Outcome outcome = layers.Read(option.picture, &picture);
    if (outcome.status != kDone) return {outcome.status, "--background: " + outcome.message};
    settings->backdrop =
        hostkit::CoverWith(*picture, settings->width, settings->height, settings->background);
  }
  if (settings->backdrop) return {};
  return {kRunFailed, "--background: memory ran out; choose a smaller picture"};
}

bool IsSoftware(const std::string& device) {
  return OpenDisplay(device).status == kDone && platform::DescribeDisplay().software;
}

/// Mesa 22.3 filters anisotropically in software by visiting every texel under a pixel, and there
/// is no bound to them: at the rim of a textured sphere they take it a minute. Who stores the
/// setting gets what it says. While it is not stored it is overridden on other devices as well, so
/// that the settings page, which stores all that it shows, does not store it for all of them.
void SpareAnisotropy(bool isSoftware) {
  const hostkit::ModuleSetting* setting = hostkit::FindModuleSetting("Anisotropic");
  if (!setting || hostkit::ReadModuleSetting(*setting).stored) return;
  hostkit::OverrideRegistryValue(setting->section, setting->key,
                                 isSoftware ? 0 : setting->standard);
}

}  // namespace

void ApplyDriverSettings(const RenderOptions& options) {
  SpareAnisotropy(IsSoftware(options.run.device));
  if (options.drawing.mode != hostkit::DrawMode::kDriverWireframe) return;
  hostkit::OverrideRegistryValue("OpenGL3", "Polygonmode", 1);
  // The driver's lines are as thin as a sample. So it smooths them itself.
  hostkit::OverrideRegistryValue("OpenGL3", "Antialias", options.samplesPerSide > 1);
}

hostkit::FrameSettings WithScaleBar(const FrameSettings& settings, const DrawingOptions& drawing,
                                    const hostkit::SceneCamera& camera, float distance) {
  FrameSettings annotated = settings;
  if (!drawing.hasScaleBar) return annotated;
  const ScaleBar bar = ScaleBarFor(camera, distance, settings.width, settings.height);
  for (hostkit::OverlayPicture& picture : DrawScaleBar(bar, drawing.scaleUnit, settings)) {
    annotated.overlays.push_back(std::move(picture));
  }
  return annotated;
}

Outcome MakeFrameSettings(const RenderOptions& options, FrameSettings* settings,
                          PictureReader* reader) {
  const DrawingOptions& drawing = options.drawing;
  const LayerSource layers(reader, options.run.confined);
  settings->width = options.width;
  settings->height = options.height;
  settings->mode = drawing.mode;
  const bool driverSmooths = drawing.mode == hostkit::DrawMode::kDriverWireframe;
  settings->samplesPerSide = driverSmooths ? 1 : options.samplesPerSide;
  Outcome outcome = SetBackground(options.background, layers, settings);
  if (outcome.status != kDone) return outcome;
  settings->lights = drawing.lights;
  settings->showsAllBacks = drawing.backfaces;
  settings->showsEdges = drawing.edges;
  settings->lineColor = drawing.lineColor;
  settings->creaseDegrees = drawing.creaseDegrees.value_or(settings->creaseDegrees);
  settings->pointSize = drawing.pointSize;
  settings->fog = drawing.fog;
  if (!drawing.hasFogColor) std::copy_n(settings->background, 3, settings->fog.color);
  settings->grid = drawing.grid;
  settings->upAxis = options.upAxis;
  settings->controlPointSize = drawing.controlPointSize;
  settings->depth = !drawing.depth.empty() || options.passes.z;
  settings->normals = options.passes.normal;
  settings->objectIds = options.passes.object;
  settings->materialIds = options.passes.material;
  outcome = AddOverlays(drawing.overlays, layers, settings);
  if (outcome.status == kDone) AddTexts(drawing.texts, settings);
  return outcome;
}

}  // namespace gl3
