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

/// Fills `*settings`, also with the pictures of overlays and of the background, which `reader`
/// reads. Where it is null, LayerPictures does, which starts processes: on one thread alone.
/// kUnreadableInput with a message when one cannot be read.
Outcome MakeFrameSettings(const RenderOptions& options, hostkit::FrameSettings* settings,
                          PictureReader* reader = nullptr);

/// The settings for a picture from this camera, with the scale bar when one is asked for: it holds
/// `distance` in front of the camera, in world units.
hostkit::FrameSettings WithScaleBar(const hostkit::FrameSettings& settings,
                                    const DrawingOptions& drawing,
                                    const hostkit::SceneCamera& camera, float distance);

}  // namespace gl3
