// Which moment of a model's animation is shown.
#pragma once

#include <string>

#include "apps/options/render_options.h"

namespace view {

/// In the terms of `gl3 render`: frame n of so many a second shows the time (n - 1) / rate.
struct ShownTime {
  bool isAnimated = false;  ///< Else the model is at rest, and the others mean nothing.
  std::string animation;    ///< By name; empty: the first of each model that was merged.
  int frame = 1;            ///< From 1.
  double rate = 60;         ///< Frames a second.

  double Seconds() const { return (frame - 1) / rate; }
  bool IsOfSame(const ShownTime& other) const {
    return isAnimated == other.isAnimated && animation == other.animation;
  }
  /// Puts it into the options that show it.
  void Fill(gl3::SequenceOptions* options) const {
    if (!isAnimated) return;
    options->animation = animation;
    options->frames = {frame};
    options->framesPerSecond = rate;
  }
};

}  // namespace view
