// Text of any size as a picture to lay over a frame.
#pragma once

#include <string>

#include "host/Colors.h"
#include "hostkit/feed/frame_settings.h"

namespace gl3 {

/// One line of Latin-1 in the system's sans-serif font, smooth-edged. The top of its capitals is at
/// `y`, its left at `x`, in pixels of the frame; `size` is the letters' height in pixels, those
/// that go below the line and above the others included. Without a bitmap when there is nothing to
/// be seen: blanks, no font, no memory.
hostkit::OverlayPicture TextPicture(const std::string& latin1, int size, const ColorBuf& color,
                                    int x, int y);

/// How many pixels wide that text is.
int TextWidth(const std::string& latin1, int size);

}  // namespace gl3
