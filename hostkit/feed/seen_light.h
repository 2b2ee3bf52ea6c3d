// How much light falls on what a camera sees.
#pragma once

#include <Imath/ImathMatrix.h>

#include <cstddef>
#include <vector>

#include "host/Lights.h"
#include "hostkit/scene/camera.h"
#include "hostkit/scene/scene.h"

namespace hostkit {

/// Looks at triangles spread over a scene, two thousand at most, whatever the picture's size: so
/// the answer is the same for all parts of a frame, and changes little from frame to frame.
class SeenLight {
 public:
  explicit SeenLight(const Scene& scene);

  /// The mean brightness of white surfaces under the lights (in view space, as LightRig makes them)
  /// without ambient light, 0 to 1, by the area that they show to the camera. What hides what is
  /// not looked at. 1 when nothing is seen. `aspect` is width by height.
  float Measure(const Scene& scene, const LightListNode* lights, const SceneCamera& camera,
                const Imath::M44f& worldToView, float aspect) const;

 private:
  struct Sample {
    std::size_t instance, triangle;  // its first index
  };
  std::vector<Sample> m_samples;
};

}  // namespace hostkit
