// Vertices of files, which may lie beyond what can be drawn.
#include "hostkit/import/vertex_checks.h"

#include <cstddef>

namespace hostkit {

using Imath::V3f;

std::vector<bool> TakeOutBadPositions(std::vector<V3f>& positions) {
  std::vector<bool> bad;
  V3f good(0.0f);
  for (std::size_t i = 0; i < positions.size(); ++i) {
    if (CanBeDrawn(positions[i])) {
      good = positions[i];
      continue;
    }
    if (bad.empty()) bad.resize(positions.size());
    bad[i] = true;
  }
  for (std::size_t i = 0; i < bad.size(); ++i) {
    if (bad[i]) positions[i] = good;
  }
  return bad;
}

}  // namespace hostkit
