// Pictures of opacity on pictures of colour.
#pragma once

#include "hostkit/services/bitmap_ptr.h"

namespace hostkit {

/// The colours of `base`, white ones where it is null, with alpha from the other picture, stretched
/// over it: that one's alpha where it has any, else its brightness. Null without memory.
BitmapPtr WithOpacity(BitmapPtr base, const HBitmapNode& opacity);

}  // namespace hostkit
