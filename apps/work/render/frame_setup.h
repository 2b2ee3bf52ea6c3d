// From options to what a frame is drawn with.
#pragma once

#include "apps/base/messages.h"
#include "apps/options/render_options.h"
#include "apps/work/common/picture_reader.h"
#include "hostkit/frame/frame_renderer.h"

namespace gl3 {

/// Settings of the driver that the way to draw and the device ask for, for this process alone:
/// before the driver is made, which reads them then. Opens the display.
void ApplyDriverSettings(const RenderOptions& options);

/// Fills `*settings`, also with the overlays' pictures, which `reader` reads, or this process
/// where it is null. kUnreadableInput with a message when one cannot be read.
Outcome MakeFrameSettings(const RenderOptions& options, hostkit::FrameSettings* settings,
                          PictureReader* reader = nullptr);

}  // namespace gl3
