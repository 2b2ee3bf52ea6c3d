// What of a scene is drawn and how: the options that `gl3 render` shares with other ways to draw.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/base/messages.h"
#include "apps/options/option_parser.h"
#include "hostkit/feed/frame_settings.h"

namespace gl3 {

/// A picture to lay over the frame.
struct OverlayOption {
  std::string path;
  int x = 0, y = 0;
  float alpha = 1;
};

/// Text to write over the frame.
struct TextOption {
  std::string text;  ///< UTF-8; line ends start a new line.
  /// Where it stands; without one, below the texts before it that have none either.
  struct Place {
    int x, y;
  };
  std::optional<Place> place;
  std::optional<ColorBuf> color;  ///< Without one, black or white.
  int size = 0;                   ///< Pixels; 0: ten, in the renderer's own letters.
};

struct DrawingOptions {
  hostkit::LightSet lights = hostkit::LightSet::kAuto;
  hostkit::DrawMode mode = hostkit::DrawMode::kShaded;
  bool edges = false;      ///< Of all triangles, over surfaces.
  bool backfaces = false;  ///< Also those that their materials do not show.
  std::optional<float> creaseDegrees;
  std::optional<ColorBuf> lineColor;
  int pointSize = 0;  ///< 0: by their number and spacing.
  hostkit::Fog fog;
  bool hasFogColor = false;  ///< Else fog has the background's.
  hostkit::GroundGrid grid;
  int controlPointSize = 0;  ///< As FrameSettings has it.
  std::vector<OverlayOption> overlays;
  std::vector<TextOption> texts;
  bool hasScaleBar = false;
  std::string scaleUnit;  ///< Behind the scale bar's number; may be empty.
  std::string depth;      ///< File for the distances; empty: none. May be that of the picture.
};

/// Adds the options to `parser`; parsing fills `*options`, which must live until then.
void AddDrawingOptions(const OptionParser& parser, DrawingOptions* options);

/// What a mode can make use of.
bool HasCreases(hostkit::DrawMode mode);
bool HasLineColor(hostkit::DrawMode mode);
bool HasSurfaces(hostkit::DrawMode mode);
bool HasOverlays(hostkit::DrawMode mode);

/// Combinations that mean nothing: kWrongUsage with a message, or kDone.
Outcome CheckDrawingOptions(const DrawingOptions& options);

}  // namespace gl3
