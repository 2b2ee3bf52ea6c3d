// From which side a model is shown, and how large.
#pragma once

#include <Imath/ImathVec.h>

#include <optional>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"

namespace gl3 {

/// Angles are of the way from the model to the eye, in a world with y up as named views are.
struct FramingOptions {
  /// Degrees about what is up: 0 is the front, 90 the right, and so on.
  std::optional<float> azimuth;
  /// Degrees above the horizon, -90 to 90.
  std::optional<float> elevation;
  float zoom = 1;               ///< Enlarges any camera's picture about its middle.
  std::optional<float> margin;  ///< Percent of the frame that a fitted model leaves free.

  bool HasAngles() const { return azimuth || elevation; }
  /// From the model to the eye, y up, unit length; what is not told is 0. Never quite along the
  /// vertical, so that the azimuth counts there, too.
  Imath::V3f Direction() const;
};

/// Adds the options to `parser`, which has the other ones of the camera by now; parsing fills
/// `*options`, which must live until then.
void AddFramingOptions(const OptionParser& parser, FramingOptions* options);

/// Whether the zoom leaves a vertical field of view, in degrees before it, that can be drawn:
/// kWrongUsage with a message, or kDone.
Outcome CheckZoom(const FramingOptions& options, float fieldOfView);

}  // namespace gl3
