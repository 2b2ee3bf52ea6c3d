// From which side a model is shown, and how large: reading these options.
#include "apps/options/framing_options.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "apps/base/text.h"
#include "apps/options/option_readers.h"

namespace gl3 {
namespace {

constexpr double kRadians = std::numbers::pi / 180;  // in a degree
// Of a vertical field of view that is drawn without loss.
constexpr double kLeastFov = 0.06, kMostFov = 175;

/// A number between two others; `what` is what it is, as in "a zoom".
template <class Number>
Reader RangeReader(double least, double most, const char* what, Number* number) {
  return [=](const std::string& text, std::string* error) {
    double value = 0;
    if (ParseNumber(text, &value) && value >= least && value <= most) {
      *number = static_cast<float>(value);
      return true;
    }
    *error = fmt::format("{} is not {}; give a number from {:g} to {:g}", ShellQuote(text), what,
                         least, most);
    return false;
  };
}

}  // namespace

Imath::V3f FramingOptions::Direction() const {
  constexpr double kLeastLevel = 2e-6;
  const double turn = azimuth.value_or(0) * kRadians, rise = elevation.value_or(0) * kRadians;
  const double level = std::max(std::cos(rise), kLeastLevel);
  return Imath::V3f(Imath::V3d(std::sin(turn) * level, std::sin(rise), std::cos(turn) * level));
}

void AddFramingOptions(const OptionParser& parser, FramingOptions* options) {
  const auto exclude = [&](const Option& option, std::initializer_list<const char*> names) {
    for (const char* name : names) option.Exclude(parser.Find(name));
  };
  exclude(parser.Add("--azimuth", "DEG",
                     "From which side: degrees about what is up, 0 the front, 90 the right,\n"
                     "180 the back; shows all of the model (default 0 with --elevation)",
                     RangeReader(-360, 360, "an azimuth", &options->azimuth)),
          {"--view", "--camera", "--eye"});
  exclude(parser.Add("--elevation", "DEG",
                     "From how high: degrees above the horizon, -90 (from below) to 90 (from\n"
                     "above); shows all of the model (default 0 with --azimuth)",
                     RangeReader(-90, 90, "an elevation", &options->elevation)),
          {"--view", "--camera", "--eye"});
  exclude(parser.Add("--margin", "PERCENT",
                     "Of the frame's width or height, whichever is tighter, that stays free\n"
                     "about a model that is shown whole, 0 to 90 (default 5, both sides\n"
                     "together)",
                     RangeReader(0, 90, "a margin", &options->margin)),
          {"--camera", "--eye"});
  parser.Add("--zoom", "FACTOR",
             "Enlarges the picture about its middle, 0.1 to 100 (default 1), whatever\n"
             "camera it is from: the eye stays, and the field of view narrows",
             RangeReader(0.1, 100, "a zoom", &options->zoom));
}

Outcome CheckZoom(const FramingOptions& options, float fieldOfView) {
  const double zoomed =
      2 * std::atan(std::tan(fieldOfView * kRadians / 2) / options.zoom) / kRadians;
  if (options.zoom == 1 || (zoomed >= kLeastFov && zoomed <= kMostFov)) return {};
  return {
      kWrongUsage,
      fmt::format("--zoom: {} makes a field of view of {} degrees one of {:.3g}; choose them so "
                  "that {} to {} come out",
                  options.zoom, fieldOfView, zoomed, kLeastFov, kMostFov)};
}

}  // namespace gl3
