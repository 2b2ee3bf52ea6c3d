// Values between the keys of animations.
#pragma once

#include <Imath/ImathQuat.h>
#include <Imath/ImathVec.h>

#include <vector>

#include "hostkit/scene/scene_motion.h"

namespace hostkit {

/// The value of a track at a time in seconds; `rest` when it has no keys.
Imath::V3f ValueAt(const KeyTrack<Imath::V3f>& track, double seconds, const Imath::V3f& rest);
/// The same for rotations, of unit length.
Imath::Quatf ValueAt(const KeyTrack<Imath::Quatf>& track, double seconds, const Imath::Quatf& rest);

/// Puts the weights that a channel has at a time in seconds into `weights`, which is as long as its
/// deformation has targets. They stay as they are when it has no keys.
void WeightsAt(const WeightChannel& channel, double seconds, std::vector<float>& weights);

}  // namespace hostkit
