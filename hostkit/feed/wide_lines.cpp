// Lines and markers whose width counts in samples of the surface, whatever their distance.
#include "hostkit/feed/wide_lines.h"

#include <cmath>

namespace hostkit {
namespace {

using Imath::V3f;

// Moves the end that is nearer than depth `z` along the segment to there.
void CutAt(float z, GALitVertex& end, const GALitVertex& other) {
  const float part = (z - other.z) / (end.z - other.z);
  end.x = other.x + (end.x - other.x) * part;
  end.y = other.y + (end.y - other.y) * part;
  end.z = z;
}

}  // namespace

V3f TowardsEye(const V3f& point, float samples, const RenderInfo& info) {
  const float step = samples / info.scaleX;
  if (info.perspective == 0) return {point.x, point.y, point.z + step};
  return point * (1 + step / info.perspective);
}

void WideLines::Begin(const RenderInfo& info, int samplesWide) {
  m_info = &info;
  m_width = samplesWide;
  m_vertices.clear();
  m_indices.clear();
}

void WideLines::Add(GALitVertex a, GALitVertex b) {
  const float front = m_info->nearZ;
  if (m_info->perspective != 0) {  // behind the eye, a sample has no width
    if (a.z > front && b.z > front) return;
    if (a.z > front) CutAt(front, a, b);
    if (b.z > front) CutAt(front, b, a);
  }
  const float sizeA = SampleSizeAt(a.z, *m_info), sizeB = SampleSizeAt(b.z, *m_info);
  const bool wide = std::abs(b.x / sizeB - a.x / sizeA) >= std::abs(b.y / sizeB - a.y / sizeA);
  for (int i = 0; i < m_width; ++i) {
    const float shift = static_cast<float>(i) - static_cast<float>(m_width - 1) / 2;
    for (GALitVertex end : {a, b}) {
      (wide ? end.y : end.x) += shift * SampleSizeAt(end.z, *m_info);
      m_indices.push_back(static_cast<unsigned>(m_vertices.size()));
      m_vertices.push_back(end);
    }
  }
}

void WideLines::Draw(DisplayList* list) {
  if (!m_indices.empty()) list->AddIndexedLineList(m_vertices, m_indices);
}

}  // namespace hostkit
