// Lines and markers whose width counts in samples of the surface, whatever their distance.
#pragma once

#include <Imath/ImathVec.h>

#include <vector>

#include "host/DisplayList.h"
#include "host/RenderInfo.h"
#include "host/Vertices.h"

namespace hostkit {

/// View units that a sample is wide at depth `z` of view space.
inline float SampleSizeAt(float z, const RenderInfo& info) {
  return (info.perspective != 0 ? z / info.perspective : 1) / info.scaleX;
}

/// The view-space point moved to the eye by as much as `samples` samples are wide there. It keeps
/// its place in the picture, and comes out of a surface that it lies on, also a steep one.
Imath::V3f TowardsEye(const Imath::V3f& point, float samples, const RenderInfo& info);

/// Gathers line segments in view space and draws them with one call. The GL's lines are one sample
/// wide, which averaging samples would thin out. So a line is drawn as many times as it is to be
/// wide, shifted across its run.
class WideLines {
 public:
  /// Forgets what was gathered. `info` must live until the lines are drawn.
  void Begin(const RenderInfo& info, int samplesWide);
  void Add(GALitVertex a, GALitVertex b);
  void Draw(DisplayList* list);

 private:
  const RenderInfo* m_info = nullptr;
  int m_width = 1;
  std::vector<GALitVertex> m_vertices;
  std::vector<unsigned int> m_indices;
};

}  // namespace hostkit
