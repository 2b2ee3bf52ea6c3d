// Checks of what does not depend on the order of calls: views, fog and texts as they are handed in.
#pragma once

#include "host/RenderInfo.h"
#include "hostkit/checking/visit.h"

namespace hostkit::checking {

/// Notes a view that projections cannot be computed from, and one whose window and scales disagree.
void CheckView(Visit& visit, const RenderInfo& view);
/// Notes linear fog that comes out otherwise than it was asked for.
void CheckLinearFog(Visit& visit, const SceneRecord& scene);
/// Notes bytes of a text that are no Latin-1 to be seen.
void CheckText(Visit& visit, const char* text);

}  // namespace hostkit::checking
