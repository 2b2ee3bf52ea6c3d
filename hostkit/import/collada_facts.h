// What COLLADA files say and the import library does not hand on.
#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "hostkit/import/model_files.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// Cameras that are orthographic, whose magnification the library takes for an angle, and the wrap
/// modes of pictures, all of which it takes for "clamp" where they are given.
class ColladaFacts {
 public:
  /// Reads the model once more. Of archives, and of what is no COLLADA, there are no facts.
  explicit ColladaFacts(const ModelFiles& files);

  /// Height of the view, in the space of the node with that camera; 0 when it is a perspective one.
  /// The library has `count` cameras, calls this one `name` and counts it as `index`.
  float ParallelHeight(const std::string& name, std::size_t index, std::size_t count) const;

  using Wraps = std::array<PictureWrap, 2>;  // along u, along v
  /// Of the picture of a material's colour. The library calls the material `name`.
  Wraps WrapsOf(const std::string& name) const;

 private:
  struct Camera {
    std::string node;  ///< Identifier of the node that it is at, or "".
    float height = 0;
  };

  std::vector<Camera> m_cameras;  ///< Those of nodes, in their order.
  std::map<std::string, Wraps> m_wraps;
};

}  // namespace hostkit
