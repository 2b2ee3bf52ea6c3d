// Plays the animations of a scene's nodes.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "hostkit/scene/scene.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit {

/// The animations of that name; those of an empty name are the first of each merged model. Empty
/// when there is none. Indices into SceneMotion::animations.
std::vector<int> FindAnimations(const Scene& scene, const std::string& name);

/// Where a channel's node is in its parent's space at a time in seconds: between keys translation
/// and scale run straight, rotation along the shorter arc; before the first and after the last key
/// they stand still.
NodePlace PlaceAt(const NodeChannel& channel, double seconds);

/// Puts the scene's instances, cameras and lights where the animations have them at a time in
/// seconds; where two move one node the later one counts. Without animations all goes to its rest.
/// Meshes, materials and the numbers of things stay as they are. What would come out not finite
/// stays where it was.
void PoseScene(Scene& scene, const std::vector<int>& animations, double seconds);

/// The space that a scene takes.
struct SceneReach {
  std::vector<Imath::V3f> points;  ///< As ExtremePoints.
  Imath::Box3f bounds;             ///< Of all of it, in world space.
};

/// The space that the scene takes while the animations run from their beginning to their end, found
/// by looking at a few dozen moments; without animations just as it stands. Leaves the scene posed
/// at the animations' beginning.
SceneReach MeasureReach(Scene& scene, const std::vector<int>& animations);

}  // namespace hostkit
