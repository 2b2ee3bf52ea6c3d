// A bar that shows how long a length of the model is in a picture.
#include "apps/work/render/scale_bar.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <utility>

#include "apps/work/render/text_picture.h"
#include "hostkit/pictures/picture_in.h"
#include "hostkit/services/flat_drawing.h"

namespace gl3 {
namespace {

constexpr double kMostOfWidth = 0.25;
constexpr int kMargin = 16, kThickness = 4, kTextSize = 14, kTextGap = 6;  // pixels

}  // namespace

ScaleBar ScaleBarFor(const hostkit::SceneCamera& camera, float distance, int width, int height) {
  const float aspect = static_cast<float>(width) / static_cast<float>(height);
  const double unit = hostkit::HeightSeen(camera, distance, aspect) / height;  // of a pixel
  const double most = unit * width * kMostOfWidth;
  if (!(most > 0) || !std::isfinite(most)) return {};
  const double power = std::pow(10.0, std::floor(std::log10(most)));
  ScaleBar bar;
  // Rounding may leave the power one too large.
  for (const double step : {0.5, 1.0, 2.0, 5.0}) {
    if (step * power <= most * (1 + 1e-9)) bar.length = step * power;
  }
  bar.pixels = static_cast<int>(std::lround(bar.length / unit));
  return bar;
}

std::vector<hostkit::OverlayPicture> DrawScaleBar(const ScaleBar& bar, const std::string& unit,
                                                  const hostkit::FrameSettings& settings) {
  std::vector<hostkit::OverlayPicture> pictures;
  if (bar.pixels < 1) return pictures;
  const ColorBuf color = ContrastColor(settings);
  const auto pixels = static_cast<std::size_t>(bar.pixels) * kThickness;
  std::vector<unsigned char> rgba;
  rgba.reserve(pixels * 4);
  for (std::size_t i = 0; i < pixels; ++i) {
    rgba.insert(rgba.end(), {color.red, color.green, color.blue, 255});
  }
  const int top = settings.height - kMargin - kThickness;
  hostkit::OverlayPicture line;
  line.bitmap = hostkit::BitmapFromRgba(rgba.data(), bar.pixels, kThickness);
  line.x = kMargin;
  line.y = top;
  const std::string text = hostkit::Latin1FromUtf8(
      fmt::format("{:.12g}{}{}", bar.length, unit.empty() ? "" : " ", unit));
  pictures.push_back(std::move(line));
  pictures.push_back(TextPicture(text, kTextSize, color, kMargin, top - kTextGap - kTextSize));
  std::erase_if(pictures, [](const hostkit::OverlayPicture& one) { return !one.bitmap; });
  return pictures;
}

}  // namespace gl3
