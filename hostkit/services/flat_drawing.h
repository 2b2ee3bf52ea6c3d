// For hosts that draw in pixels and write: a view of pixels, glyphs, and texts as the module has
// them.
#pragma once

#include <string>
#include <string_view>

#include "host/RenderInfo.h"

class GADriver;

namespace hostkit {

/// Planes of the view below. The 0.005 by which the module moves things off planes are nothing of
/// what lies between them.
constexpr float kPixelViewNear = -1;
constexpr float kPixelViewFar = -1000;  ///< See above.

/// Fills a parallel view in which a view unit is a pixel, for a surface of `width` x `height`
/// pixels. In the screen's projection (x, y) is then the pixel's own place, y downwards from the
/// top left, and in the scene's it is (x, -y). What is drawn is seen at depths between the planes
/// above, which are nearZ and farZ. The members that a view does not determine stay as they are:
/// buffer, scene, viewWindow, objectToView, environment, flags.
void FillPixelView(int width, int height, RenderInfo* info);

/// Has the glyphs made that GABuffer::TextOutA writes with, once after GADriver::Initialize, for
/// hosts that draw off screen alone: buffers of windows make them, and all buffers share them. Any
/// context may be current afterwards. False when there is no memory for such a buffer.
bool MakeGlyphs(GADriver* driver);

/// A text in UTF-8 as GABuffer::TextOutA takes it: Latin-1, a byte a character. What Latin-1 does
/// not have and bytes that are no UTF-8 become '?'. Control characters stay, and have no glyphs.
std::string Latin1FromUtf8(std::string_view utf8);

}  // namespace hostkit
