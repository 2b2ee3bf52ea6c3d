// Plays the animations of a scene's nodes.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "hostkit/scene/deform.h"
#include "hostkit/scene/scene.h"
#include "hostkit/scene/scene_motion.h"

namespace hostkit {

/// The animations of that name; those of an empty name are the first of each merged model. Empty
/// when there is none. Indices into SceneMotion::animations.
std::vector<int> FindAnimations(const Scene& scene, const std::string& name);

/// Where a channel's node is in its parent's space at a time in seconds: between keys as their
/// curve tells, before the first and after the last key standing still.
NodePlace PlaceAt(const NodeChannel& channel, double seconds);

/// Poses one scene again and again, which must outlive it.
class ScenePoser {
 public:
  /// `scene` is not owned.
  explicit ScenePoser(Scene& scene) : m_scene(scene) {}

  /// Puts the scene's instances, cameras, lights and deformed vertices where the animations have
  /// them at a time in seconds; where two move one thing the later one counts. Without animations
  /// all goes to its rest. Materials and the numbers of things stay as they are. What would come
  /// out not finite stays where it was. Vertices are worked out anew only when what moves them has
  /// changed since the last time.
  void Pose(const std::vector<int>& animations, double seconds);

 private:
  Scene& m_scene;
  std::vector<DeformationPose> m_poses;  // that the deformations have; empty at first
};

/// The same once.
void PoseScene(Scene& scene, const std::vector<int>& animations, double seconds);

/// For a scene that has just been read: poses its deformations at rest, and forgets those that
/// nothing moves any more.
void SettleAtRest(Scene& scene);

/// The space that a scene takes.
struct SceneReach {
  std::vector<Imath::V3f> points;  ///< As ExtremePoints.
  Imath::Box3f bounds;             ///< Of all of it, in world space.
};

/// The space that the scene takes while the animations run from their beginning to their end, found
/// by looking at a few dozen moments, and of deformed meshes at the outermost vertices around each
/// joint; without animations just as it stands. Leaves the scene posed at the animations'
/// beginning.
SceneReach MeasureReach(Scene& scene, const std::vector<int>& animations);

}  // namespace hostkit
