// OpenGL, started for a run of `gl3 render`, and what all of its pictures are drawn with.
#pragma once

#include <memory>
#include <string>

#include "apps/base/messages.h"
#include "apps/base/supervised_child.h"
#include "apps/options/render_options.h"
#include "apps/work/common/driver_session.h"
#include "apps/work/common/picture_reader.h"
#include "apps/work/render/effect_stage.h"
#include "apps/work/render/render_report.h"
#include "hostkit/feed/frame_settings.h"
#include "hostkit/isolated/import_process.h"

namespace gl3 {

/// An operational driver, and what goes by the options alone.
struct RenderSession {
  std::unique_ptr<PictureReader> reader;  ///< Of overlays and a background; may be null.
  std::unique_ptr<DriverSession> driver;
  hostkit::FrameSettings settings;
  EffectStage effects;
  RenderReport report;  ///< What it tells of the start, and its warnings.
};

/// Tells a warning, and keeps it in the report.
void Warn(const std::string& text, ParentLine& line, RenderSession* session);

/// What imports for such a run may have.
hostkit::ImportLimits LimitsOfImports(const RenderOptions& options);

/// Starts what reads pictures to be laid over and under, if there are any, and confines this
/// process to what drawing the models takes: see ConfineDrawing. Imports are to be begun before.
Outcome ConfineRender(const RenderOptions& options, ParentLine& line, RenderSession* session);

/// Starts OpenGL, and reads what is laid over pictures. Warnings are told, and kept in the report.
Outcome StartSession(const RenderOptions& options, ParentLine& line, RenderSession* session);

}  // namespace gl3
