// Scenes that lie far from the origin of their file, moved to their middle while that is exact.
#include "hostkit/scene/recentre.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace hostkit {
namespace {

using Imath::Box3d;
using Imath::M44d;
using Imath::M44f;
using Imath::V3d;
using Imath::V3f;

// So many sizes of it a thing is away to be far. At a thousand pixels across, floats then err by a
// thousandth of a pixel.
constexpr double kFar = 16;
// Beyond these the squares that lengths are made of leave the range of a float.
constexpr double kSmallest = 1e-18, kLargest = 1e18;

M44d ToDouble(const M44f& m) {
  return M44d(m);
}

double LargestOf(const V3d& v) {
  return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
}

/// The placement of what was moved by -`by` in its own space.
M44d MovedFirst(const M44d& placement, const V3d& by) {
  return M44d().setTranslation(by) * placement;
}

M44d MovedAfter(M44d placement, const V3d& by) {
  for (int i = 0; i < 3; ++i) placement[3][i] += by[i];
  return placement;
}

Box3d BoundsOf(const std::vector<V3f>& points) {
  Imath::Box3f bounds;
  for (const V3f& point : points) bounds.extendBy(point);
  return bounds.isEmpty() ? Box3d() : Box3d(V3d(bounds.min), V3d(bounds.max));
}

void Move(std::vector<V3f>& points, const V3d& by) {
  for (V3f& point : points) point = V3f(V3d(point) + by);
}

/// Which meshes have joints: those are posed in world space, whatever their placement was.
std::vector<bool> SkinnedMeshes(const Scene& scene) {
  std::vector<bool> skinned(scene.meshes.size());
  for (const SceneDeformation& deformation : scene.motion.deformations) {
    if (!deformation.joints.empty()) skinned[static_cast<std::size_t>(deformation.mesh)] = true;
  }
  return skinned;
}

/// What can be moved of a skinned mesh is the space that its joints take it from.
void MoveBindSpace(SceneDeformation& deformation) {
  const V3d middle = MiddleToTake(BoundsOf(deformation.positions));
  if (middle == V3d(0)) return;
  Move(deformation.positions, -middle);
  for (SceneJoint& joint : deformation.joints) {
    joint.toNode = M44f(MovedFirst(ToDouble(joint.toNode), middle));
  }
}

/// Moves meshes to their middles; what was taken from each.
std::vector<V3d> MoveMeshes(Scene& scene) {
  const std::vector<bool> skinned = SkinnedMeshes(scene);
  std::vector<V3d> taken(scene.meshes.size(), V3d(0));
  for (std::size_t i = 0; i < taken.size(); ++i) {
    if (skinned[i]) continue;
    taken[i] = MiddleToTake(BoundsOf(scene.meshes[i].positions));
    if (taken[i] != V3d(0)) Move(scene.meshes[i].positions, -taken[i]);
  }
  for (SceneDeformation& deformation : scene.motion.deformations) {
    const V3d& by = taken[static_cast<std::size_t>(deformation.mesh)];
    if (!deformation.joints.empty()) {
      MoveBindSpace(deformation);
    } else if (by != V3d(0)) {
      Move(deformation.positions, -by);
    }
  }
  return taken;
}

std::vector<M44d> PlacementsOf(const Scene& scene, const ExactPlaces& places) {
  const bool isExact = places.instances.size() == scene.instances.size();
  const std::vector<bool> skinned = SkinnedMeshes(scene);
  std::vector<M44d> placements;
  placements.reserve(scene.instances.size());
  for (std::size_t i = 0; i < scene.instances.size(); ++i) {
    const SceneInstance& instance = scene.instances[i];
    const bool isPosed = skinned[static_cast<std::size_t>(instance.mesh)];
    placements.push_back(isExact && !isPosed ? places.instances[i] : ToDouble(instance.toWorld));
  }
  return placements;
}

/// Of the boxes around the meshes as they are placed.
Box3d LooseBounds(const Scene& scene, const std::vector<M44d>& placements) {
  std::vector<Box3d> boxes;
  boxes.reserve(scene.meshes.size());
  for (const SceneMesh& mesh : scene.meshes) boxes.push_back(BoundsOf(mesh.positions));
  Box3d bounds;
  for (std::size_t i = 0; i < placements.size(); ++i) {
    const Box3d& box = boxes[static_cast<std::size_t>(scene.instances[i].mesh)];
    for (int corner = 0; !box.isEmpty() && corner < 8; ++corner) {
      const V3d at(corner & 1 ? box.max.x : box.min.x, corner & 2 ? box.max.y : box.min.y,
                   corner & 4 ? box.max.z : box.min.z);
      bounds.extendBy(at * placements[i]);
    }
  }
  return bounds;
}

bool IsWithinFloats(const Box3d& bounds, std::string* why) {
  if (bounds.isEmpty()) return true;
  const double largest = std::max(LargestOf(bounds.min), LargestOf(bounds.max));
  const double size = LargestOf(bounds.size());
  if (!(largest <= kLargest)) {
    *why = fmt::format(
        "its coordinates reach {:.3g}, and beyond {:g} nothing can be drawn; scale it "
        "down",
        largest, kLargest);
    return false;
  }
  if (size > 0 && size < kSmallest) {
    *why = fmt::format("it is {:.3g} large, and below {:g} nothing can be drawn; scale it up", size,
                       kSmallest);
    return false;
  }
  return true;
}

/// A node of the world whose own keys lead far away gets that from the way to the world.
void MoveRoot(SceneMotion& motion, std::size_t index, M44d toWorld, const V3d& by) {
  SceneNode& node = motion.nodes[index];
  const V3f at(node.place[3][0], node.place[3][1], node.place[3][2]);
  for (int i = 0; i < 3; ++i) node.place[3][i] = 0;
  for (SceneAnimation& animation : motion.animations) {
    for (NodeChannel& channel : animation.channels) {
      if (channel.node != static_cast<int>(index)) continue;
      channel.rest.translation -= at;
      for (AnimationKey<V3f>& key : channel.translations.keys) key.value -= at;
    }
  }
  toWorld = MovedAfter(MovedFirst(toWorld, V3d(at)), by);
  node.toParentNode = M44f(toWorld);
}

void MoveNodes(SceneMotion& motion, const ExactPlaces& places, const V3d& by) {
  const bool isExact = places.nodes.size() == motion.nodes.size();
  for (std::size_t i = 0; i < motion.nodes.size(); ++i) {
    SceneNode& node = motion.nodes[i];
    const M44d way = isExact ? places.nodes[i] : ToDouble(node.toParentNode);
    if (node.parent < 0 && by != V3d(0)) {
      MoveRoot(motion, i, way, by);
    } else if (isExact) {
      node.toParentNode = M44f(way);
    }
  }
}

void MoveSkins(Scene& scene, const V3d& by) {
  for (SceneDeformation& deformation : scene.motion.deformations) {
    if (deformation.joints.empty()) continue;
    Move(scene.meshes[static_cast<std::size_t>(deformation.mesh)].positions, by);
    for (SceneJoint& joint : deformation.joints) {
      if (joint.node < 0) joint.toNode = M44f(MovedAfter(ToDouble(joint.toNode), by));
    }
  }
}

void MoveInstances(Scene& scene, const std::vector<M44d>& placements, const V3d& by) {
  const std::vector<bool> skinned = SkinnedMeshes(scene);
  for (std::size_t i = 0; i < placements.size(); ++i) {
    SceneInstance& instance = scene.instances[i];
    const bool isPosed = skinned[static_cast<std::size_t>(instance.mesh)];
    instance.toWorld = M44f(isPosed ? placements[i] : MovedAfter(placements[i], by));
  }
  MoveSkins(scene, by);
}

void MovePlaces(Scene& scene, const ExactPlaces& places, const V3d& by) {
  const bool hasEyes = places.cameras.size() == scene.cameras.size();
  for (std::size_t i = 0; i < scene.cameras.size(); ++i) {
    V3f& eye = scene.cameras[i].eye;
    eye = V3f((hasEyes ? places.cameras[i] : V3d(eye)) + by);
  }
  const bool hasLights = places.lights.size() == scene.lights.size();
  for (std::size_t i = 0; i < scene.lights.size(); ++i) {
    V3f& position = scene.lights[i].position;
    position = V3f((hasLights ? places.lights[i] : V3d(position)) + by);
  }
  MoveNodes(scene.motion, places, by);
}

}  // namespace

V3d MiddleToTake(const Box3d& bounds) {
  if (bounds.isEmpty()) return V3d(0);
  const double size = LargestOf(bounds.size());
  const V3d middle = bounds.min + bounds.size() * 0.5;
  if (!(size > 0) || !std::isfinite(size) || !(LargestOf(middle) > kFar * size)) return V3d(0);
  // Of few digits, so that adding and taking it away are exact.
  const double step = std::exp2(std::floor(std::log2(size)));
  return {std::round(middle.x / step) * step, std::round(middle.y / step) * step,
          std::round(middle.z / step) * step};
}

bool Recentre(Scene& scene, const ExactPlaces& places, std::string* why) {
  std::vector<M44d> placements = PlacementsOf(scene, places);
  const std::vector<V3d> taken = MoveMeshes(scene);
  for (std::size_t i = 0; i < placements.size(); ++i) {
    const V3d& by = taken[static_cast<std::size_t>(scene.instances[i].mesh)];
    if (by != V3d(0)) placements[i] = MovedFirst(placements[i], by);
  }
  for (MovingInstance& moving : scene.motion.instances) {
    const SceneInstance& instance = scene.instances[static_cast<std::size_t>(moving.instance)];
    const V3d& by = taken[static_cast<std::size_t>(instance.mesh)];
    if (by != V3d(0)) moving.toNode = M44f(MovedFirst(ToDouble(moving.toNode), by));
  }
  const Box3d bounds = LooseBounds(scene, placements);
  if (!IsWithinFloats(bounds, why)) return false;
  const V3d middle = MiddleToTake(bounds);
  MoveInstances(scene, placements, -middle);
  MovePlaces(scene, places, -middle);
  scene.origin += middle;
  return true;
}

Box3d ExactBounds(const Scene& scene, const ExactPlaces& places) {
  const std::vector<M44d> placements = PlacementsOf(scene, places);
  Box3d bounds;
  for (std::size_t i = 0; i < placements.size(); ++i) {
    for (const V3f& p : scene.meshes[static_cast<std::size_t>(scene.instances[i].mesh)].positions) {
      bounds.extendBy(V3d(p) * placements[i]);
    }
  }
  return bounds;
}

void MoveScene(Scene& scene, const V3d& by) {
  if (by == V3d(0)) return;
  MoveInstances(scene, PlacementsOf(scene, {}), by);
  MovePlaces(scene, {}, by);
}

}  // namespace hostkit
