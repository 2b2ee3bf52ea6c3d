// What COLLADA files say and the import library does not hand on.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "hostkit/scene/scene.h"

namespace pugi {
class xml_document;
}

namespace hostkit {

/// Cameras that are orthographic, whose magnification the library takes for an angle; the wrap
/// modes of pictures, all of which it takes for "clamp" where they are given; and keys that are
/// steps.
class ColladaFacts {
 public:
  explicit ColladaFacts(const pugi::xml_document& document);

  /// Height of the view, in the space of the node with that camera; 0 when it is a perspective one.
  /// The library has `count` cameras, calls this one `name` and counts it as `index`.
  float ParallelHeight(const std::string& name, std::size_t index, std::size_t count) const;

  using Wraps = std::array<PictureWrap, 2>;  // along u, along v
  /// Of the picture of a material's colour. The library calls the material `name`.
  Wraps WrapsOf(const std::string& name) const;

  /// Whether all keys of a node, which the library calls `name`, hold until the next one.
  bool HasSteps(const std::string& name) const { return m_stepped.contains(name); }

 private:
  void ReadCameras(const pugi::xml_document& document);
  void ReadWraps(const pugi::xml_document& document);
  void ReadSteps(const pugi::xml_document& document);

  struct Camera {
    std::string node;  ///< Identifier of the node that it is at, or "".
    float height = 0;
  };

  std::vector<Camera> m_cameras;  ///< Those of nodes, in their order.
  std::map<std::string, Wraps> m_wraps;
  std::set<std::string> m_stepped;  ///< Names and identifiers of nodes.
};

}  // namespace hostkit
