// Several effects, one after another, on one picture.
#pragma once

#include <string>
#include <vector>

#include "hostkit/effects/byte_image.h"
#include "hostkit/effects/effect_runner.h"
#include "hostkit/effects/effect_table.h"
#include "hostkit/pictures/picture.h"
#include "hostkit/services/pause.h"

namespace hostkit {

/// What became of one effect of a chain.
struct EffectStep {
  EffectTimes times;    ///< What it took.
  int difference = -1;  ///< The largest one to the twin, in 1/255; -1 when it was not asked for.
};

/// Runs `calls`, at least one, in order on `image` and returns the result, colours premultiplied by
/// alpha where there is one. Effects that keep or filter alpha get straight colours; those that
/// make the picture opaque get it on black. Between effects the picture has 8 bits a channel. With
/// `verify` each effect is compared with its twin on what it was given. `*steps` gets one entry a
/// call. On failure returns a picture without bitmap and one line in `*error`.
Picture RunEffects(EffectRunner& runner, const std::vector<EffectCall>& calls, bool verify,
                   ByteImage image, std::vector<EffectStep>* steps, std::string* error,
                   const Pause& pause = {});

/// The same on a finished picture, in place: a "Depth" buffer stays. `*clipped` tells whether a
/// colour was above 1. On failure returns false and the picture is as it was. `pause` is asked
/// between effects; when it says that nobody wants the picture, `*error` is empty.
bool ApplyEffects(EffectRunner& runner, const std::vector<EffectCall>& calls, Picture* picture,
                  bool* clipped, std::vector<EffectStep>* steps, std::string* error,
                  const Pause& pause = {});

}  // namespace hostkit
