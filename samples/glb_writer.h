// Binary glTF 2.0 files from scenes made in memory.
#pragma once

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

#include <string>
#include <vector>

#include "samples/shapes.h"

namespace samples {

struct Material {
  std::string name;
  Imath::V3f color{0.8f, 0.8f, 0.8f};  ///< Display-referred (sRGB), 0 to 1.
  float metallic = 0;
  float roughness = 0.5f;
  float alpha = 1;
  std::string alphaMode = "OPAQUE";  ///< "OPAQUE", "BLEND" or "MASK" (cut off at 0.5).
  int image = -1;                    ///< Index into Document::images.
  float transmission = 0;
  Imath::V2f uvOffset{0, 0}, uvScale{1, 1};  ///< Placement of the image, as KHR_texture_transform.
  float uvRotation = 0;                      ///< Radians.
  bool isDoubleSided = true;                 ///< Seen from behind, too.
};

struct Mesh {
  std::string name;
  Shape shape;
  int material = 0;
};

struct Camera {
  std::string name;
  float verticalFov = 0.7f;  ///< Radians.
  float halfHeight = 0;      ///< Above 0: orthographic, this many units up and down.
  float aspect = 16.0f / 9;
};

struct Light {
  std::string name;
  std::string type = "directional";       ///< "directional", "point" or "spot".
  Imath::V3f color{1, 1, 1};              ///< Linear.
  float intensity = 1;                    ///< Lux for directional lights, else candela.
  float innerCone = 0, outerCone = 0.7f;  ///< Radians from the axis, for spots.
};

/// Cameras and lights look down the negative z axis of their node.
struct Node {
  std::string name;
  Imath::M44f toParent;  ///< For row vectors, as Imath has them.
  int mesh = -1, camera = -1, light = -1;
  int parent = -1;  ///< A node that stands before this one; -1: the scene.
  int skin = -1;    ///< What its mesh, which has joints, is bound to.
};

struct Skin {
  std::vector<int> joints;                ///< Nodes.
  std::vector<Imath::M44f> inverseBinds;  ///< One a joint, from the mesh to it as it is bound.
};

/// The keys of one property of a node, between which it runs straight (rotations: along the arc).
struct Channel {
  int node = 0;
  std::string path;          ///< "translation", "rotation" or "scale".
  std::vector<float> times;  ///< Seconds, rising.
  /// One a time: x, y, z of translation or scale; the quaternion x, y, z, w of rotation.
  std::vector<Imath::V4f> values;
};

struct Animation {
  std::string name;
  std::vector<Channel> channels;
};

struct Document {
  std::vector<std::string> images;  ///< PNG files.
  std::vector<Material> materials;
  std::vector<Mesh> meshes;
  std::vector<Camera> cameras;
  std::vector<Light> lights;
  std::vector<Node> nodes;  ///< Those that animations move have no shear.
  std::vector<Animation> animations;
  std::vector<Skin> skins;
};

/// The file's bytes.
std::string ToGlb(const Document& document);

}  // namespace samples
