// Models with fewer triangles, to be drawn while things move.
#pragma once

#include <atomic>
#include <memory>

#include "hostkit/scene/scene.h"

namespace view {

/// What of `model` is cheap to copy: all but images and the meshes that nothing deforms, whose
/// places are there, but empty.
std::unique_ptr<hostkit::Scene> BeginReduced(const hostkit::Scene& model);

/// Fills what BeginReduced left out: meshes with about `share` (0 to 1) of their triangles and
/// points, images of at most 256 pixels a side. Of `model` only that is read, so that the rest may
/// change meanwhile. Returns early, with a scene of no use, once `*stop` is true.
void FinishReduced(const hostkit::Scene& model, double share, const std::atomic<bool>& stop,
                   hostkit::Scene* reduced);

}  // namespace view
