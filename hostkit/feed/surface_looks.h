// Surface materials that look as a scene's materials say.
#pragma once

#include <Imath/ImathVec.h>

#include "host/AttrProperty.h"
#include "host/Colors.h"

namespace hostkit {

/// Light from everywhere, as a share of the base colour, so that what no light reaches is not
/// black. The ambient amount of the scene record that frames are drawn with.
constexpr float kAmbientAmount = 0.25f;

/// The material with a colour that all vertices have multiplied into it.
AttrProperty TintedSurface(const AttrProperty& surface, const ColorBuf& color);

/// A material that is seen in `color` exactly, whatever the lights, and as transparent as `alpha`
/// says: ambient light alone, none of which is taken from a base colour.
AttrProperty UnlitSurface(const Imath::V3f& color, float alpha);

/// The material with `emission` added to what is seen of it by light. The renderer takes ambient
/// light from the base colour's; that is made up for.
AttrProperty GlowingSurface(const AttrProperty& surface, Imath::V3f emission);

Imath::V3f BaseColor(const AttrProperty& surface);

}  // namespace hostkit
