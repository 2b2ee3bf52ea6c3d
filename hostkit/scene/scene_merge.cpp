// Several scenes as one.
#include "hostkit/scene/scene_merge.h"

#include <iterator>
#include <utility>
#include <vector>

#include "hostkit/scene/recentre.h"

namespace hostkit {
namespace {

template <typename T>
void MoveAppend(std::vector<T>& to, std::vector<T>&& from) {
  if (to.empty()) {
    to = std::move(from);
    return;
  }
  to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

/// To be called before the rest of the scenes is merged: indices go by what `scene` has.
void AppendMotion(const Scene& scene, SceneMotion& motion, SceneMotion&& other) {
  const int nodes = static_cast<int>(motion.nodes.size());
  const int deformations = static_cast<int>(motion.deformations.size());
  for (SceneNode& node : other.nodes) {
    if (node.parent >= 0) node.parent += nodes;
  }
  for (SceneAnimation& animation : other.animations) {
    animation.model += motion.models;
    for (NodeChannel& channel : animation.channels) channel.node += nodes;
    for (WeightChannel& channel : animation.weights) channel.deformation += deformations;
  }
  for (MovingInstance& moving : other.instances) {
    moving.instance += static_cast<int>(scene.instances.size());
    moving.node += nodes;
  }
  for (MovingCamera& moving : other.cameras) {
    moving.camera += static_cast<int>(scene.cameras.size());
    moving.node += nodes;
  }
  for (MovingLight& moving : other.lights) {
    moving.light += static_cast<int>(scene.lights.size());
    moving.node += nodes;
  }
  for (SceneDeformation& deformation : other.deformations) {
    deformation.mesh += static_cast<int>(scene.meshes.size());
    for (SceneJoint& joint : deformation.joints) {
      if (joint.node >= 0) joint.node += nodes;
    }
  }
  motion.models += other.models;
  MoveAppend(motion.nodes, std::move(other.nodes));
  MoveAppend(motion.animations, std::move(other.animations));
  MoveAppend(motion.instances, std::move(other.instances));
  MoveAppend(motion.cameras, std::move(other.cameras));
  MoveAppend(motion.lights, std::move(other.lights));
  MoveAppend(motion.deformations, std::move(other.deformations));
  MoveAppend(motion.warnings, std::move(other.warnings));
}

}  // namespace

void AppendScene(Scene& scene, Scene&& other) {
  MoveScene(other, other.origin - scene.origin);
  AppendMotion(scene, scene.motion, std::move(other.motion));
  const int images = static_cast<int>(scene.images.size());
  const int materials = static_cast<int>(scene.materials.size());
  const int meshes = static_cast<int>(scene.meshes.size());
  for (SceneMaterial& material : other.materials) {
    if (material.image >= 0) material.image += images;
    if (material.emissionImage >= 0) material.emissionImage += images;
  }
  for (SceneMesh& mesh : other.meshes) mesh.material += materials;
  const int names = static_cast<int>(scene.nodeNames.size());
  for (SceneInstance& instance : other.instances) {
    instance.mesh += meshes;
    if (instance.node >= 0) instance.node += names;
  }
  for (SceneNodeName& node : other.nodeNames) {
    if (node.above >= 0) node.above += names;
  }
  MoveAppend(scene.images, std::move(other.images));
  MoveAppend(scene.materials, std::move(other.materials));
  MoveAppend(scene.meshes, std::move(other.meshes));
  MoveAppend(scene.instances, std::move(other.instances));
  MoveAppend(scene.nodeNames, std::move(other.nodeNames));
  MoveAppend(scene.cameras, std::move(other.cameras));
  MoveAppend(scene.lights, std::move(other.lights));
  MoveAppend(scene.warnings, std::move(other.warnings));
}

}  // namespace hostkit
