// Scenes that lie far from the origin of their file, moved to their middle while that is exact.
//
// A float has 24 bits: at 200 km it steps by 1.6 cm. So a scene's own world begins near it, and
// Scene::origin tells where that is in the file. Readers that parse coordinates in doubles take the
// middle away before they round; all others hand over what they have, and what floats still tell
// stays.
#pragma once

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace hostkit {

/// What to take away from coordinates within these bounds before they become floats: a place near
/// their middle where they lie so far from the origin for their size that floats would show it,
/// else zero.
Imath::V3d MiddleToTake(const Imath::Box3d& bounds);

/// Places of a scene's parts in the file's world, in double precision, for readers that compose
/// them so. Each list is as long as the scene's, or empty: then the scene's own floats count.
struct ExactPlaces {
  std::vector<Imath::M44d> instances;  ///< SceneInstance::toWorld
  std::vector<Imath::V3d> cameras;     ///< SceneCamera::eye
  std::vector<Imath::V3d> lights;      ///< SceneLight::position
  std::vector<Imath::M44d> nodes;      ///< SceneNode::toParentNode of SceneMotion::nodes
};

/// For a scene that is all there, its motion included: where it lies far from its origin, moves it
/// to its middle, and meshes whose vertices lie far from their own origin likewise, their
/// placements the other way. The picture stays. False with one line in `*why` when the scene is so
/// large or small that floats cannot draw it.
bool Recentre(Scene& scene, const ExactPlaces& places, std::string* why);

/// The bounds of all instances in the file's world.
Imath::Box3d ExactBounds(const Scene& scene, const ExactPlaces& places);

/// Moves all that stands in the scene's world, which its origin does not follow.
void MoveScene(Scene& scene, const Imath::V3d& by);

}  // namespace hostkit
